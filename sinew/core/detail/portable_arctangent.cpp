#include <cstddef>
#include <cstdint>

#include <sinew/core/detail/portable_constants.h>
#include <sinew/core/detail/portable_math.h>
#include <sinew/core/detail/portable_rounding.h>
#include <sinew/core/detail/portable_sine.h>

// The angle of the first octant is the nearest of 129 angles of a table, plus the arctangent of a quotient below 2^-8,
// by the addition theorem atan q = atan c + atan((q - c) / (1 + q c)). P. T. P. Tang, Table-lookup algorithms for
// elementary functions and their error analysis, 1991. "Q71" beside a variable says that it counts units of 2^-71.

namespace sinew::detail::portable {

namespace {

constexpr std::uint64_t kThird = 0x5555555555555555u;   // Q64
constexpr std::uint64_t kFifth = 0x3333333333333333u;   // Q64
constexpr std::uint64_t kSeventh = 0x2492492492492492u; // Q64
constexpr std::uint64_t kNinth = 0x1c71c71c71c71c71u;   // Q64

constexpr double kPi = 0x1.921fb54442d18p+1;
constexpr double kThreeQuartersPi = 0x1.2d97c7f3321d2p+1;

// The sides of the right triangle whose angle lies in the first octant: shorter / longer = y / x * 2^-gap, where x and
// y are the mantissas.
struct Octant
{
    std::uint64_t x; // Q63
    std::uint64_t y; // Q63
    int gap;         // how much larger the exponent of the longer side is
    bool swapped;    // |y| is the longer side: the angle counts back from a right angle
    bool mirrored;   // x is negative: the angle counts back from a straight one
    bool negative;   // y is negative, and the angle with it
};

// m * 2^(exponent - 127), where the first bit of m is set.
struct Angle
{
    UInt128 m;
    int exponent;
};

// numerator / denominator * 2^(places + 64), to a relative error of 2^-95; numerator * 2^places / denominator < 2^64
// and denominator < 2^70.
UInt128 quotient(std::uint64_t numerator, UInt128 denominator, int places)
{
    double const inverse =
        1.0 / (static_cast<double>(denominator.high) * 0x1p64 + static_cast<double>(denominator.low));
    double const scale = fromBits(static_cast<std::uint64_t>(places + 1023) << 52);
    std::uint64_t const first = static_cast<std::uint64_t>(static_cast<double>(numerator) * inverse * scale);
    UInt128 const shifted =
        places < 64 ? shiftLeft(UInt128{0, numerator}, places) : UInt128{numerator << (places - 64), 0};
    // What remains is below 2^81; so is every step modulo 2^128.
    UInt128 const product = multiply(denominator.low, first) + UInt128{denominator.high * first, 0};
    UInt128 const rest = shifted - product;
    bool const below = rest.high >> 63 != 0;
    UInt128 const magnitude = below ? -rest : rest;
    double const correction =
        (static_cast<double>(magnitude.high) * 0x1p64 + static_cast<double>(magnitude.low)) * inverse;
    UInt128 const second = shiftLeft(UInt128{0, static_cast<std::uint64_t>(correction * 0x1p48)}, 16);
    UInt128 const result = {first, 0};
    return below ? result - second : result + second;
}

// 1 - (atan t) / t in Q78, for t in Q71 below 2^-7.
std::uint64_t arctangentSeries(std::uint64_t t)
{
    std::uint64_t const t2 = multiplyHigh(t, t);   // Q78
    std::uint64_t const t4 = multiplyHigh(t2, t2); // Q92
    std::uint64_t const t6 = multiplyHigh(t4, t2); // Q106
    std::uint64_t const t8 = multiplyHigh(t4, t4); // Q120
    std::uint64_t const added = multiplyHigh(t2, kThird) + (multiplyHigh(t6, kSeventh) >> 28);
    return added - (multiplyHigh(t4, kFifth) >> 14) - (multiplyHigh(t8, kNinth) >> 42);
}

// The sum of two doubles, of which `low` is much smaller than `high`.
struct Sum
{
    double high;
    double low;
};

// a + b; |a| >= |b| or a is zero.
Sum sumOf(double a, double b)
{
    double const high = a + b;
    return {high, (a - high) + b};
}

// The quick step in doubles, for gaps below 60: the magnitude of the whole angle.
bool quickAngle(Octant const& o, double* result)
{
    double const x = static_cast<double>(o.x >> 11);
    double const y = static_cast<double>(o.y >> 11) * fromBits(static_cast<std::uint64_t>(1023 - o.gap) << 52);
    double const inverse = 1.0 / x;
    double const slope = y * inverse;
    auto const i = static_cast<std::size_t>(slope * 256.0 + 1.0) / 2;
    Sum t{};
    if (i == 0) {
        // The remainder of the division, by exact products of halves.
        double const xHigh = upperHalf(x);
        double const slopeHigh = upperHalf(slope);
        double const xLow = x - xHigh, slopeLow = slope - slopeHigh;
        double const rest = (((y - xHigh * slopeHigh) - xHigh * slopeLow) - xLow * slopeHigh) - xLow * slopeLow;
        t = {slope, rest * inverse};
    } else {
        double const c = static_cast<double>(i) * 0x1p-7;
        double const xHigh = fromBits(bitsOf(x) & ~std::uint64_t{0xff}); // c has eight bits
        t = {((y - c * xHigh) - c * (x - xHigh)) / (x + c * y), 0.0};
    }
    double const t2 = t.high * t.high;
    double const series =
        t.high * t2 * (-0x1.5555555555555p-2 + t2 * (0x1.999999999999ap-3 + t2 * -0x1.2492492492492p-3));
    TwoDoubles const table = kArctangentTable[i];
    Sum angle = sumOf(table.high, t.high);
    angle.low += table.low + (t.low + series);
    if (o.swapped || o.mirrored) {
        double const factor = o.swapped ? 1.0 : 2.0;
        double const sign = o.swapped && o.mirrored ? 1.0 : -1.0;
        Sum const whole = sumOf(factor * kHalfPiTable.high, sign * angle.high);
        angle = {whole.high, whole.low + (factor * kHalfPiTable.low + sign * angle.low)};
    }
    double const error = i == 0 && !o.swapped && !o.mirrored ? angle.high * 0x1p-61 : 0x1p-60;
    return roundIfCertain(angle.high, angle.low, error, result);
}

// The angle within the octant, to a relative error of 2^-67.
Angle octantAngle(Octant const& o)
{
    std::uint64_t const x = o.x >> 11, y = o.y >> 11; // Q52
    std::uint64_t nearest = 0;                        // in 128ths
    if (o.gap < 8) {
        double const slope = static_cast<double>(y) / static_cast<double>(x << o.gap);
        nearest = static_cast<std::uint64_t>(slope * 256.0 + 1.0) / 2;
    }
    if (nearest == 0) {
        int exponent = 1 - o.gap;
        UInt128 const m = normalized(quotient(o.y, UInt128{0, o.x}, 62), exponent);
        std::uint64_t const t = -8 - exponent < 64 ? m.high >> (-8 - exponent) : 0; // Q71
        UInt128 const change = shiftRight(multiply(m.high, arctangentSeries(t)), 14);
        UInt128 const angle = normalized(m - change, exponent);
        return {angle, exponent};
    }
    std::uint64_t const longer = x << o.gap;
    std::int64_t const difference = static_cast<std::int64_t>(128 * y) - static_cast<std::int64_t>(nearest * longer);
    bool const below = difference < 0;
    std::uint64_t const magnitude = static_cast<std::uint64_t>(below ? -difference : difference);
    UInt128 const sum = shiftLeft(UInt128{0, longer}, 7) + UInt128{0, nearest * y};
    UInt128 const t = quotient(magnitude, sum, 71); // Q135
    UInt128 const part = shiftRight(t - shiftRight(multiply(t.high, arctangentSeries(t.high)), 14), 8);
    int exponent = 0;
    UInt128 const angle = normalized(below ? kArctangents[nearest] - part : kArctangents[nearest] + part, exponent);
    return {angle, exponent};
}

// The angle in the half plane y >= 0, from the angle in the first octant.
Angle wholeAngle(Octant const& o, Angle const& inOctant)
{
    if (!o.swapped && !o.mirrored) return inOctant;
    UInt128 const quarter = shiftRight(UInt128{kHalfPi[0], kHalfPi[1]}, 2); // Q125
    int const down = 2 - inOctant.exponent;
    UInt128 part = {0, 0};
    if (down < 64) {
        part = shiftRight(inOctant.m, down);
    } else if (down < 128) {
        part = {0, inOctant.m.high >> (down - 64)};
    }
    UInt128 const from = o.swapped ? quarter : shiftLeft(quarter, 1);
    int exponent = 2;
    UInt128 const m = normalized(o.swapped && o.mirrored ? from + part : from - part, exponent);
    return {m, exponent};
}

// The last step for an angle that differs from its tangent by less than 2^-260 of it: the quotient of two mantissas to
// 128 bits, corrected for this difference.
double roundTiny(Octant const& o)
{
    std::uint64_t const divisor = o.x >> 11;
    std::uint64_t remainder = o.y >> 11;
    Wide<4> result;
    result.exponent = -o.gap + 1;
    for (int bit = 0; bit < 128; ++bit) {
        bool const isOne = remainder >= divisor;
        if (isOne) remainder -= divisor;
        result.words[static_cast<std::size_t>(bit / 64)] |= static_cast<std::uint64_t>(isOne) << (63 - bit % 64);
        remainder <<= 1;
    }
    // The angle is slightly smaller than the exact quotient. If the computed quotient is exact, it is therefore
    // slightly too large; otherwise it has been truncated and is slightly too small.
    if (remainder != 0) {
        result.words[3] = 1;
        normalize(result);
    } else {
        normalize(result);
        result = result - makeWide<4>(1, result.exponent - 256);
    }
    return roundMagnitude(result);
}

template <std::size_t kWords>
bool roundAngle(Octant const& o, Angle const& quick, double* result)
{
    // One step from the quick angle a: the triangle, turned back by a, has a small angle with the tangent d.
    Wide<kWords> a;
    a.exponent = quick.exponent + 1;
    a.words[0] = quick.m.high;
    a.words[1] = quick.m.low;
    Wide<kWords> const sine = wideSine(a), cosine = wideCosine(a);
    Wide<kWords> const x = makeWide<kWords>(o.x), y = makeWide<kWords>(o.y, -o.gap);
    Wide<kWords> const d = (y * cosine - x * sine) * reciprocal(x * cosine + y * sine);
    Wide<kWords> const square = d * d;
    Wide<kWords> sum = makeWide<kWords>(1);
    sum = dividedBy(sum, 9);
    for (std::uint32_t i = 7; i >= 1; i -= 2) {
        sum = dividedBy(makeWide<kWords>(1), i) - square * sum;
        if (i == 1) break;
    }
    Wide<kWords> angle = a + d * sum;
    Wide<kWords> const quarter = makeWide<kWords>(kHalfPi, 1);
    if (o.swapped) {
        angle = o.mirrored ? quarter + angle : quarter - angle;
    } else if (o.mirrored) {
        angle = scaled(quarter, 1) - angle;
    }
    constexpr int kErrorBits = kWideSineErrorBits + 8;
    return roundIfCertain(angle, angle.exponent + kErrorBits - wordBits(angle), result);
}

// The magnitude of the angle, if the quick step does not determine its rounding.
SINEW_RARE double accurateAngle(Octant const& o)
{
    Angle const quick = octantAngle(o);
    Angle const angle = wholeAngle(o, quick);
    double result = 0.0;
    if (roundIfCertain(angle.m, angle.exponent, 67, false, &result)) return result;
    if (o.gap > 130 && !o.swapped && !o.mirrored) return roundTiny(o);
    if (!roundAngle<4>(o, quick, &result)) roundAngle<8>(o, quick, &result);
    return result;
}

// At least one of the two numbers is zero or infinite; neither is NaN. The magnitude.
double angleOfExtreme(std::uint64_t y, std::uint64_t x, bool mirrored)
{
    if (x == kInfinityBits && y == kInfinityBits) return mirrored ? kThreeQuartersPi : kPi / 4;
    if (y == 0 || x == kInfinityBits) return mirrored ? kPi : 0.0;
    return kPi / 2;
}

} // namespace

double atan2(double y, double x)
{
    if (x != x || y != y) return x + y;
    std::uint64_t const xMagnitude = bitsOf(x) & ~kSignBit;
    std::uint64_t const yMagnitude = bitsOf(y) & ~kSignBit;
    Octant o{};
    o.mirrored = bitsOf(x) != xMagnitude;
    o.negative = bitsOf(y) != yMagnitude;
    if (xMagnitude == 0 || yMagnitude == 0 || xMagnitude == kInfinityBits || yMagnitude == kInfinityBits) {
        double const angle = angleOfExtreme(yMagnitude, xMagnitude, o.mirrored);
        return o.negative ? -angle : angle;
    }
    o.swapped = yMagnitude > xMagnitude;
    Parts const longer = partsOf(o.swapped ? yMagnitude : xMagnitude);
    Parts const shorter = partsOf(o.swapped ? xMagnitude : yMagnitude);
    o.x = longer.mantissa;
    o.y = shorter.mantissa;
    o.gap = longer.exponent - shorter.exponent;
    double angle = 0.0;
    if (o.gap >= 60 || !quickAngle(o, &angle)) angle = accurateAngle(o);
    return o.negative ? -angle : angle;
}

} // namespace sinew::detail::portable
