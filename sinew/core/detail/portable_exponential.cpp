#include <sinew/core/detail/portable_exponential.h>

#include <array>

#include <sinew/core/detail/portable_constants.h>
#include <sinew/core/detail/portable_math.h>

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

// The quick step of log: one table instead of the two of quickLog, and a longer series.
bool roundQuickLog(std::uint64_t bits, double* result)
{
    Parts const x = partsOf(bits);
    std::uint64_t const m = x.mantissa >> 11; // Q52
    int const i = static_cast<int>(m >> 45 & 127);
    std::uint64_t const once = m * kLogCoarse[i].reciprocal;                                   // Q60
    double const r = static_cast<double>(static_cast<std::int64_t>(once << 4) >> 4) * 0x1p-60; // exact, below 2^-7
    double const k = i < kLogUpper ? x.exponent : x.exponent + 1;
    TwoDoubles const coarse = kLogCoarseTable[i];
    double const high = k * kLn2Table.high + coarse.high; // exact
    double const r2 = r * r;
    double const r4 = r2 * r2;
    double const early = (0x1.5555555555555p-2 + r * -0.25) + r2 * (0x1.999999999999ap-3 + r * -0x1.5555555555555p-3);
    double const late = (0x1.2492492492492p-3 + r * -0.125) + r2 * (0x1.c71c71c71c71cp-4 + r * -0x1.999999999999ap-4);
    double const series = r2 * -0.5 + r * r2 * (early + r4 * late);
    double const sum = high + r;
    double const rest = (high - sum) + r; // exact, since |high| is zero or larger than |r|
    double const low = rest + ((k * kLn2Table.low + coarse.low) + series);
    double const error = high == 0.0 ? 0x1p-60 * (r < 0 ? -r : r) : 0x1p-65;
    return roundIfCertain(sum, low, error, result);
}

// Beyond these, e^x rounds to infinity or to 0.
constexpr double kLargestExponent = 0x1.62e42fefa39efp+9;
constexpr double kSmallestExponent = -0x1.74910d52d3052p+9;

// The further steps, for an argument whose rounding the quick step does not determine.
SINEW_RARE double accurateExp(double x)
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

SINEW_RARE double accurateLog(std::uint64_t bits)
{
    double result = 0.0;
    Logarithm const y = logOf(bits);
    if (roundIfCertain(y.mantissa, y.exponent, 75, y.negative, &result)) return result;
    if (roundIfCertain(wideLog<4>(bits), kWideLogErrorBits - 256, &result)) return result;
    roundIfCertain(wideLog<8>(bits), kWideLogErrorBits - 512, &result);
    return result;
}

// Arguments of exp beyond 2^9 or below 2^-54, and those that are not finite.
SINEW_RARE double extremeExp(double x)
{
    if (x != x) return x + x;
    if (x > kLargestExponent) return fromBits(kInfinityBits);
    if (x < kSmallestExponent) return 0.0;
    if (x > -0x1p-54 && x < 0x1p-54) return 1.0 + x;
    return accurateExp(x);
}

// Zeros, negative numbers, infinity and NaN.
SINEW_RARE double extremeLog(double x)
{
    if (x == 0) return -fromBits(kInfinityBits);
    return x < 0 ? fromBits(kNaNBits) : x + x;
}

} // namespace

double exp(double x)
{
    std::uint64_t const magnitude = bitsOf(x) & ~kSignBit;
    if (magnitude - bitsOf(0x1p-54) >= bitsOf(0x1p9) - bitsOf(0x1p-54)) return extremeExp(x);
    double result = 0.0;
    return quickExp({x, 0.0, 0.0}, &result) ? result : accurateExp(x);
}

double log(double x)
{
    std::uint64_t const bits = bitsOf(x);
    if (bits - 1 >= kInfinityBits - 1) return extremeLog(x);
    if (x == 1) return 0.0;
    double result = 0.0;
    return roundQuickLog(bits, &result) ? result : accurateLog(bits);
}

bool quickExp(QuickNumber const& x, double* result)
{
    // e^x = 2^(k / 128) e^r with |r| < 2^-8.5.
    double const kIntegers = 0x1.8p52; // sums with it are integers
    double const shifted = x.high * kStepsPerLn2 + kIntegers;
    double const k = shifted - kIntegers;
    std::int32_t const steps = static_cast<std::int32_t>(bitsOf(shifted) & 0xffffffffu);
    double const r = ((x.high - k * kLn2Step.high) - k * kLn2Step.low) + x.low;
    TwoDoubles const t = kExp2Table[steps & 127];
    double const r2 = r * r;
    double const p = r + r2 * ((0.5 + r * 0x1.5555555555555p-3) +
                               r2 * (0x1.5555555555555p-5 + r * 0x1.1111111111111p-7 + r2 * 0x1.6c16c16c16c17p-10));
    double const low = t.low + t.high * p;
    double const error = 0x1p-59 + 2 * x.error;
    double scaled = 0.0;
    int const exponent = steps >> 7;
    if (!roundIfCertain(t.high, low, error, &scaled) || exponent < -1021 || exponent > 1022) return false;
    *result = fromBits(bitsOf(scaled) + (static_cast<std::uint64_t>(exponent) << 52));
    return true;
}

QuickNumber quickLog(std::uint64_t bits)
{
    LogReduction const reduced = reduceLog(bits);
    TwoDoubles const coarse = kLogCoarseTable[reduced.coarse];
    TwoDoubles const fine = kLogFineTable[reduced.fine];
    double const k = reduced.exponent;
    double const r = static_cast<double>(reduced.rest) * 0x1p-75;
    double const lost =
        static_cast<double>(reduced.rest - static_cast<std::int64_t>(static_cast<double>(reduced.rest))) * 0x1p-75;
    double const high = k * kLn2Table.high + (coarse.high + fine.high); // exact
    double const r2 = r * r;
    double const series = r2 * (-0.5 + r * 0x1.5555555555555p-2) + r2 * r2 * (-0.25 + r * 0x1.999999999999ap-3);
    double const low = (k * kLn2Table.low + (coarse.low + fine.low)) + (series + lost);
    double const sum = high + r;
    double const rest = (high - sum) + r; // exact, since |high| is zero or larger than |r|
    if (high == 0.0) return {r, low, 0x1p-64 * (r < 0 ? -r : r)};
    return {sum, rest + low, 0x1p-77};
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
