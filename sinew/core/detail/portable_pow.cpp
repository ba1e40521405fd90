#include <sinew/core/detail/portable_exponential.h>
#include <sinew/core/detail/portable_math.h>
#include <sinew/core/detail/portable_quick.h>

namespace sinew::detail::portable {

namespace {

constexpr std::uint64_t kOneBits = 0x3ff0000000000000u;

// How y behaves as an exponent of a negative base.
enum class Parity
{
    notInteger,
    even,
    odd
};

Parity parityOf(std::uint64_t y) // of a finite number other than 0, from its bits
{
    Parts const parts = partsOf(y);
    if (parts.exponent < 0) return Parity::notInteger;
    if (parts.exponent >= 53) return Parity::even; // all bits of such numbers stand for 2 or more
    std::uint64_t const fraction = parts.mantissa << parts.exponent << 1;
    if (fraction != 0) return Parity::notInteger;
    return (parts.mantissa >> (63 - parts.exponent)) % 2 != 0 ? Parity::odd : Parity::even;
}

// An integer m * 2^exponent with odd m.
struct OddTimesPower
{
    std::uint64_t odd;
    int exponent;
};

OddTimesPower oddPart(std::uint64_t bits)
{
    Parts const parts = partsOf(bits);
    OddTimesPower result = {parts.mantissa, parts.exponent - 63};
    while (result.odd % 2 == 0) {
        result.odd /= 2;
        ++result.exponent;
    }
    return result;
}

bool takeSquareRoot(OddTimesPower& x)
{
    if (x.exponent % 2 != 0) return false;
    std::uint64_t root = 0;
    for (int bit = 31; bit >= 0; --bit) {
        std::uint64_t const larger = root | std::uint64_t{1} << bit;
        if (larger * larger <= x.odd) root = larger;
    }
    if (root * root != x.odd) return false;
    x = {root, x.exponent / 2};
    return true;
}

// Whether x^y has so few significant bits (at most 64) that it may be a double or lie half-way between two; then
// *power receives it. x and |y| from their bits, x > 0.
//
// Such powers are those of an odd part that is 1, or whose exponent is a positive integer after as many square roots as
// y has binary places. An approximation cannot determine their rounding. All other powers are irrational, or
// rational with more digits.
bool isExactPower(std::uint64_t xBits, std::uint64_t yMagnitude, bool isInverse, OddTimesPower* power)
{
    OddTimesPower x = oddPart(xBits);
    OddTimesPower y = oddPart(yMagnitude);
    for (; y.exponent < 0; ++y.exponent) {
        if (!takeSquareRoot(x)) return false;
    }
    if (x.odd != 1) {
        if (isInverse || y.exponent > 5 || y.odd > 40) return false; // 3^41 has more than 64 bits
        std::uint64_t const count = y.odd << y.exponent;
        std::uint64_t product = 1;
        for (std::uint64_t i = 0; i < count; ++i) {
            UInt128 const next = multiply(product, x.odd);
            if (next.high != 0) return false;
            product = next.low;
        }
        *power = {product, x.exponent * static_cast<int>(count)};
        return true;
    }
    // A power of two. Its exponent is bounded, because the caller has handled results out of range.
    if (x.exponent == 0) {
        *power = {1, 0};
        return true;
    }
    if (y.exponent > 11 || y.odd > 2048) return false;
    int const exponent = x.exponent * static_cast<int>(y.odd << y.exponent);
    *power = {1, isInverse ? -exponent : exponent};
    return true;
}

double slowPow(std::uint64_t x, double y, bool negative)
{
    double result = 0.0;
    std::uint64_t const yBits = bitsOf(y);
    OddTimesPower power{};
    if (isExactPower(x, yBits & ~kSignBit, y < 0, &power)) {
        result = roundMagnitude(makeWide<4>(power.odd, power.exponent));
        return negative ? -result : result;
    }
    Parts const parts = partsOf(yBits);
    auto const attempt = [&](auto logarithm) {
        constexpr std::size_t kWords = decltype(logarithm.words){}.size();
        Wide<kWords> wideY = makeWide<kWords>(parts.mantissa, parts.exponent - 63);
        wideY.negative = y < 0;
        Wide<kWords> const t = logarithm * wideY;
        Wide<kWords> const z = wideExp(t);
        // The error of the logarithm, times y, is a relative error of the power.
        int const error = parts.exponent + 1 + kWideLogErrorBits;
        return roundIfCertain(z, z.exponent + (error > kWideExpErrorBits ? error : kWideExpErrorBits) + 1 - wordBits(z),
                              &result);
    };
    if (!attempt(wideLog<4>(x))) attempt(wideLog<8>(x));
    return negative ? -result : result;
}

// ln x for a positive normal x as a sum of two doubles, of which the low one may reach 2^-19 of the high one; the
// relative error is below 2^-69.
TwoDoubles longerLog(std::uint64_t x)
{
    QuickLogarithm const l = splitLog(x);
    double const r = l.r;
    double const rHigh = upperHalf(r);
    double const rLow = r - rHigh;
    double const halfSquare = rHigh * rHigh * -0.5; // exact
    double const squareRest = (r + rHigh) * rLow * -0.5;
    double const r2 = r * r;
    double const third = (0x1.5555555555555p-2 + r * -0.25) + r2 * ((0x1.999999999999ap-3 + r * -0x1.5555555555555p-3) +
                                                                    r2 * (0x1.2492492492492p-3 + r * -0.125));
    // The rests of both sums are exact, since each first summand is zero or the larger one.
    double const sum = l.high + r;
    double const sumRest = (l.high - sum) + r;
    double const high = sum + halfSquare;
    double const highRest = (sum - high) + halfSquare;
    return {high, (l.low + (sumRest + highRest)) + ((r * r2) * third + squareRest)};
}

// The quick step: x^y = e^(y ln x) in sums of two doubles, for finite y.
bool quickPow(std::uint64_t x, double y, double* result)
{
    if (!isPositiveNormal(x)) return false;
    TwoDoubles const l = longerLog(x);
    double const lHigh = upperHalf(l.high);
    double const yHigh = fromBits(bitsOf(y) & ~std::uint64_t{0x3ffffff}); // 27 bits: the product below is exact
    double const high = yHigh * lHigh;
    double const low = yHigh * ((l.high - lHigh) + l.low) + (y - yHigh) * (l.high + l.low);
    double const size = magnitudeOf(high);
    return size < kQuickExpLimit && quickExp({high, low}, kQuickExpError + size * 0x1p-67, result);
}

// x^y for finite x > 0 other than 1 and finite y other than 0, with the sign given.
double accuratePow(std::uint64_t x, double y, bool negative)
{
    double const huge = fromBits(kInfinityBits | (negative ? kSignBit : 0));
    double const tiny = negative ? -0.0 : 0.0;
    Logarithm const l = logOf(x);
    Parts const parts = partsOf(bitsOf(y));
    bool const below = l.negative != (y < 0); // whether the power is below 1
    int exponent = l.exponent + parts.exponent;
    if (exponent >= 11) return below ? tiny : huge;                                 // |y ln x| >= 2^11
    if (exponent < -60) return fromBits(negative ? kOneBits | kSignBit : kOneBits); // |y ln x| < 2^-58
    UInt128 product = multiplyHigh(l.mantissa, parts.mantissa);
    ++exponent;
    product = normalized(product, exponent);
    BinaryExponent const t = timesLog2E(product, exponent, below);
    if (t.whole >= 1024) return huge;
    if (t.whole < -1076) return tiny;
    double result = 0.0;
    // The relative error of the logarithm, 2^-75, times |y ln x| < 2^(exponent + 1), and that of the power of two,
    // 2^-69.
    int const bits = exponent <= 5 ? 68 : 73 - exponent;
    if (roundIfCertain(exp2OfFraction(t.fraction), t.whole, bits, negative, &result)) return result;
    return slowPow(x, y, negative);
}

// All arguments, those that the quick step rounds included.
SINEW_RARE double rarePow(double x, double y)
{
    std::uint64_t const xMagnitude = bitsOf(x) & ~kSignBit;
    std::uint64_t const yMagnitude = bitsOf(y) & ~kSignBit;
    if (yMagnitude == 0 || bitsOf(x) == kOneBits) return 1.0; // a NaN in the other argument does not matter
    if (x != x || y != y) return x + y;
    bool const xIsNegative = bitsOf(x) != xMagnitude;
    if (yMagnitude == kInfinityBits) {
        if (xMagnitude == kOneBits) return 1.0;
        return (xMagnitude > kOneBits) == (y > 0) ? fromBits(kInfinityBits) : 0.0;
    }
    Parity const parity = xIsNegative ? parityOf(yMagnitude) : Parity::even;
    bool const negative = parity == Parity::odd;
    if (xMagnitude == 0 || xMagnitude == kInfinityBits) {
        double const magnitude = (xMagnitude == 0) == (y > 0) ? 0.0 : fromBits(kInfinityBits);
        return negative ? -magnitude : magnitude;
    }
    if (parity == Parity::notInteger) return fromBits(kNaNBits);
    if (xMagnitude == kOneBits) return negative ? -1.0 : 1.0;
    double power = 0.0;
    if (quickPow(xMagnitude, y, &power)) return negative ? -power : power;
    return accuratePow(xMagnitude, y, negative);
}

} // namespace

double pow(double x, double y)
{
    double result = 0.0;
    bool const isFinite = (bitsOf(y) & ~kSignBit) < kInfinityBits;
    return isFinite && quickPow(bitsOf(x), y, &result) ? result : rarePow(x, y);
}

} // namespace sinew::detail::portable
