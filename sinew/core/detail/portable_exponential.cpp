#include <sinew/core/detail/portable_exponential.h>

#include <array>

#include <sinew/core/detail/portable_constants.h>
#include <sinew/core/detail/portable_math.h>
#include <sinew/core/detail/portable_quick.h>

// The method of tables and short series: P. T. P. Tang, Table-driven implementation of the exponential function in IEEE
// floating-point arithmetic, 1989, and of the logarithm function, 1990, here in fixed-point numbers. "Q78" beside a
// variable says that it counts units of 2^-78.

namespace sinew::detail::portable {

namespace {

constexpr std::uint64_t kThird = 0x5555555555555555u; // Q64
constexpr std::uint64_t kFifth = 0x3333333333333333u; // Q64
constexpr std::uint64_t kSixth = 0x2aaaaaaaaaaaaaaau; // Q64

// ln(1 + u) / u as 1 - w for 0 < |u| < 2^-14; returns |w| in Q78, where w has the sign of u.
std::uint64_t logSeries(std::uint64_t u /* |u| in Q78 */, bool negative)
{
    std::uint64_t const u2 = multiplyHigh(u, u);   // Q92
    std::uint64_t const u3 = multiplyHigh(u2, u);  // Q106
    std::uint64_t const u4 = multiplyHigh(u2, u2); // Q120
    std::uint64_t const odd = u / 2 + (u3 >> 30);
    std::uint64_t const even = (multiplyHigh(u2, kThird) >> 14) + (multiplyHigh(u4, kFifth) >> 42);
    return negative ? odd + even : odd - even;
}

// ln(1 + u) for |u| < 2^-14, u not zero. The sign is that of u.
Logarithm logNearOne(std::uint64_t u /* |u| in Q75 */, bool negative)
{
    std::uint64_t const w = logSeries(u << 3, negative);
    int const zeros = leadingZeros(u);
    std::uint64_t const m = u << zeros;
    UInt128 const change = shiftRight(multiply(m, w), 14);
    UInt128 mantissa = negative ? UInt128{m, 0} + change : UInt128{m, 0} - change;
    int exponent = -12 - zeros;
    if (negative && mantissa.high < m) { // the sum has passed 2^128
        mantissa = shiftRight(mantissa, 1);
        mantissa.high |= kSignBit;
        ++exponent;
    }
    mantissa = normalized(mantissa, exponent);
    return {mantissa, exponent, negative};
}

// ln(1 + u) for |u| < 2^-14 as a signed Q96.
UInt128 logOfRest(std::uint64_t u /* |u| in Q75 */, bool negative)
{
    UInt128 const square = multiply(u, u);              // Q150
    std::uint64_t const u2 = square.high;               // Q86
    std::uint64_t const u3 = multiplyHigh(u2, u);       // Q97
    std::uint64_t const u4 = multiplyHigh(u2, u2);      // Q108
    std::uint64_t const u5 = multiplyHigh(u4, u);       // Q119
    UInt128 const first = shiftLeft(UInt128{0, u}, 21); // Q96
    UInt128 const second = shiftRight(square, 55);      // u^2 / 2
    UInt128 const third = {0, multiplyHigh(u3, kThird) >> 1};
    UInt128 const fourth = {0, u4 >> 14};
    UInt128 const fifth = {0, multiplyHigh(u5, kFifth) >> 23};
    UInt128 const sixth = {0, multiplyHigh(multiplyHigh(u3, u3), kSixth) >> 34}; // Q130
    UInt128 const odd = first + third + fifth;
    UInt128 const even = second + fourth + sixth;
    return negative ? -(odd + even) : odd - even;
}

// The mantissa of a Wide logarithm from a quick one.
template <std::size_t kWords>
Wide<kWords> widened(Logarithm const& quick)
{
    Wide<kWords> result;
    result.negative = quick.negative;
    result.exponent = quick.exponent + 1;
    result.words[0] = quick.mantissa.high;
    result.words[1] = quick.mantissa.low;
    return result;
}

// x = 2^exponent (1 + rest / 2^75) / (the factors of two table entries), |rest| < 2^61.
struct LogReduction
{
    int exponent;
    int coarse;
    int fine;
    std::int64_t rest;
};

inline LogReduction reduceLog(std::uint64_t bits)
{
    Parts const x = partsOf(bits);
    std::uint64_t const m = x.mantissa >> 11; // Q52
    int const i = static_cast<int>(m >> 45 & 127);
    std::uint64_t const once = m * kLogCoarse[i].reciprocal;          // Q60
    std::int64_t const z = static_cast<std::int64_t>(once << 4) >> 4; // the excess over 1, in Q60
    int const j = static_cast<int>(z >> 46) + kLogFineZero;
    // Exact: the product has the form 1 + u in Q75, of which the lowest 64 bits remain, and |u| < 2^-14.
    std::int64_t const u = static_cast<std::int64_t>(once * kLogFine[j].reciprocal);
    return {i < kLogUpper ? x.exponent : x.exponent + 1, i, j, u};
}

// The sum of three parts of the logarithm, the error of which grows with r^2 and with the exponent of x.
bool quickLog(std::uint64_t bits, double* result)
{
    QuickLogarithm const l = splitLog(bits);
    double const r = l.r;
    double const r2 = r * r;
    double const third = (0x1.5555555555555p-2 + r * -0.25) +
                         r2 * ((0x1.999999999999ap-3 + r * -0x1.5555555555555p-3) + r2 * 0x1.2492492492492p-3);
    double const series = r2 * -0.5 + (r * r2) * third;
    double const sum = l.high + r;
    double const rest = (l.high - sum) + r; // exact, since |high| is zero or larger than |r|
    double const error = r2 * 0x1.2p-52 + 0x1p-84;
    return roundIfCertain(sum, rest + (l.low + series), error, result);
}

// Beyond these, e^x rounds to infinity or to 0.
constexpr double kLargestExponent = 0x1.62e42fefa39efp+9;
constexpr double kSmallestExponent = -0x1.74910d52d3052p+9;

// The further steps, for an argument whose rounding the quick step does not determine.
double accurateExp(double x)
{
    double result = 0.0;
    Parts const parts = partsOf(bitsOf(x));
    BinaryExponent const t = timesLog2E({parts.mantissa, 0}, parts.exponent, x < 0);
    if (roundIfCertain(exp2OfFraction(t.fraction), t.whole, 69, false, &result)) return result;
    auto const attempt = [&](auto wideX) {
        wideX.negative = x < 0;
        auto const y = wideExp(wideX);
        return roundIfCertain(y, y.exponent + kWideExpErrorBits - wordBits(y), &result);
    };
    if (attempt(makeWide<4>(parts.mantissa, parts.exponent - 63))) return result;
    attempt(makeWide<8>(parts.mantissa, parts.exponent - 63));
    return result;
}

double accurateLog(std::uint64_t bits)
{
    double result = 0.0;
    Logarithm const y = logOf(bits);
    if (roundIfCertain(y.mantissa, y.exponent, 75, y.negative, &result)) return result;
    if (roundIfCertain(wideLog<4>(bits), kWideLogErrorBits - 256, &result)) return result;
    roundIfCertain(wideLog<8>(bits), kWideLogErrorBits - 512, &result);
    return result;
}

// All arguments of exp that the quick step does not round.
SINEW_RARE double rareExp(double x)
{
    if (x != x) return x + x;
    if (x > kLargestExponent) return fromBits(kInfinityBits);
    if (x < kSmallestExponent) return 0.0;
    if (x > -0x1p-54 && x < 0x1p-54) return 1.0 + x;
    return accurateExp(x);
}

// All arguments of log that the quick step does not round.
SINEW_RARE double rareLog(double x)
{
    if (x == 0) return -fromBits(kInfinityBits);
    if (x < 0) return fromBits(kNaNBits);
    if (!(x < fromBits(kInfinityBits))) return x + x;
    if (x == 1) return 0.0;
    return accurateLog(bitsOf(x));
}

} // namespace

double exp(double x)
{
    std::uint64_t const magnitude = bitsOf(x) & ~kSignBit;
    double result = 0.0;
    bool const isCertain = magnitude - bitsOf(0x1p-54) < bitsOf(kQuickExpLimit) - bitsOf(0x1p-54) &&
                           quickExp({x, 0.0}, kQuickExpError, &result);
    return isCertain ? result : rareExp(x);
}

double log(double x)
{
    std::uint64_t const bits = bitsOf(x);
    double result = 0.0;
    return isPositiveNormal(bits) && quickLog(bits, &result) ? result : rareLog(x);
}

BinaryExponent timesLog2E(UInt128 mantissa, int exponent, bool negative)
{
    // A product of two mantissas in [1, 2), in Q126.
    UInt128 const product = multiplyHigh(UInt128{kLog2E[0], kLog2E[1]}, mantissa);
    return splitExponent(product, exponent + 1, negative);
}

BinaryExponent splitExponent(UInt128 m, int exponent, bool negative)
{
    // m * 2^(exponent - 127) has its fraction in the last 127 - exponent bits.
    int whole = 0;
    UInt128 fraction = {0, 0};
    if (exponent >= 0) {
        whole = static_cast<int>(m.high >> (63 - exponent));
        fraction = shiftLeft(m, exponent + 1);
    } else if (exponent > -65) {
        fraction = shiftRight(m, -exponent - 1);
    } else if (exponent > -129) {
        fraction = shiftRight(UInt128{0, m.high}, -exponent - 65);
    }
    if (!negative) return {whole, fraction};
    // -(whole + fraction) = (-whole - 1) + (1 - fraction), with an error of one unit of the last place.
    return {-whole - 1, UInt128{~fraction.high, ~fraction.low}};
}

UInt128 exp2OfFraction(UInt128 fraction)
{
    UInt128 const coarse = kExp2Coarse[fraction.high >> 57];
    std::uint64_t const fine = kExp2Fine[fraction.high >> 50 & 127];
    UInt128 const factor = coarse + shiftRight(multiply(coarse.high, fine), 6); // Q127

    // e^u - 1 for the rest of the fraction, u = g ln 2 < 2^-14.5.
    std::uint64_t const g = shiftLeft(fraction, 14).high; // Q78
    std::uint64_t const u = multiplyHigh(g, kLn2[0]);     // Q78
    std::uint64_t const u2 = multiplyHigh(u, u);          // Q92
    std::uint64_t const u3 = multiplyHigh(u2, u);         // Q106
    std::uint64_t const u4 = multiplyHigh(u2, u2);        // Q120
    std::uint64_t const series =
        u + (u2 >> 15) + (multiplyHigh(u3, kSixth) >> 28) + (multiplyHigh(u4, kSixth) >> 44); // Q78
    return factor + shiftRight(multiply(factor.high, series), 14);
}

Logarithm logOf(std::uint64_t bits)
{
    LogReduction const r = reduceLog(bits);
    int const k = r.exponent;
    LogStep const coarse = kLogCoarse[r.coarse];
    LogStep const fine = kLogFine[r.fine];
    std::int64_t const u = r.rest;
    bool const negative = u < 0;
    std::uint64_t const magnitude = negative ? 0 - static_cast<std::uint64_t>(u) : static_cast<std::uint64_t>(u);

    bool const nearOne = k == 0 && (coarse.high | coarse.low | fine.high | fine.low) == 0;
    if (nearOne) return logNearOne(magnitude, negative);

    UInt128 const ln2 = {kLn2Fixed[0], kLn2Fixed[1]};
    std::uint64_t const turns = static_cast<std::uint64_t>(k < 0 ? -k : k);
    UInt128 const whole = {ln2.high * turns + multiply(ln2.low, turns).high, ln2.low * turns};
    UInt128 sum = k < 0 ? -whole : whole;
    sum = sum + UInt128{coarse.high, coarse.low} + UInt128{fine.high, fine.low};
    if (u != 0) sum = sum + logOfRest(magnitude, negative);
    bool const below = sum.high >> 63 != 0;
    if (below) sum = -sum;
    int exponent = 31; // of the first bit of a Q96; the sum is at least about 2^-14
    UInt128 const mantissa = normalized(sum, exponent);
    return {mantissa, exponent, below};
}

template <std::size_t kWords>
Wide<kWords> wideExp(Wide<kWords> const& x)
{
    // x = k ln 2 + 2^kHalvings r, so that e^x = 2^k (e^r)^(2^kHalvings) with |r| < 2^-(kHalvings + 1).
    constexpr int kHalvings = kWords <= 4 ? 20 : 42;
    constexpr int kTerms = 12; // r^13 / 13! < 2^-64 kWords for both sizes
    if (x.isZero()) return makeWide<kWords>(1);
    double const approximate = roundMagnitude(x) * (x.negative ? -1.4426950408889634 : 1.4426950408889634);
    int const k = static_cast<int>(approximate + (x.negative ? -0.5 : 0.5));
    Wide<kWords> const ln2 = makeWide<kWords>(kLn2, 0);
    Wide<kWords> multiple = makeWide<kWords>(static_cast<std::uint64_t>(k < 0 ? -k : k)) * ln2;
    multiple.negative = k < 0;
    Wide<kWords> const r = scaled(x - multiple, -kHalvings);

    // sum of r^i / i! = (sum of r^i kTerms! / i!) / kTerms!, by Horner's rule with integers.
    std::uint32_t quotient = 1;
    Wide<kWords> sum = makeWide<kWords>(1);
    for (std::uint32_t i = kTerms; i > 0; --i) {
        quotient *= i;
        sum = r * sum + makeWide<kWords>(quotient);
    }
    sum = dividedBy(sum, quotient);
    for (int i = 0; i < kHalvings; ++i) sum = sum * sum;
    return scaled(sum, k);
}

template <std::size_t kWords>
Wide<kWords> wideLog(std::uint64_t bits)
{
    // One step from the quick result y: ln x = y + ln(1 + d) with d = x e^-y - 1, which is below 2^-60.
    Wide<kWords> const quick = widened<kWords>(logOf(bits));
    Parts const parts = partsOf(bits);
    Wide<kWords> const x = makeWide<kWords>(parts.mantissa, parts.exponent - 63);
    Wide<kWords> const d = x * wideExp(-quick) - makeWide<kWords>(1);
    constexpr std::uint32_t kTerms = 64 * kWords / 60 + 1;
    Wide<kWords> sum;
    for (std::uint32_t i = kTerms; i > 0; --i) {
        sum = dividedBy(makeWide<kWords>(1), i) - d * sum;
    }
    return quick + d * sum;
}

template Wide<4> wideExp(Wide<4> const&);
template Wide<8> wideExp(Wide<8> const&);
template Wide<4> wideLog(std::uint64_t);
template Wide<8> wideLog(std::uint64_t);

} // namespace sinew::detail::portable
