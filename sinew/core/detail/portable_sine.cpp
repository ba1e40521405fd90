#include <sinew/core/detail/portable_sine.h>

#include <array>
#include <cstddef>
#include <cstdint>

#include <sinew/core/detail/portable_constants.h>
#include <sinew/core/detail/portable_math.h>
#include <sinew/core/detail/portable_rounding.h>

// Sine and cosine: the argument is reduced with as many bits of 2 / pi as its exponent needs (M. H. Payne and R. N.
// Hanek, Radian reduction for trigonometric functions, 1983), and the rest of a quarter turn is split into a multiple
// of 1 / 128, whose sine and cosine are in a table, and a short series (P. T. P. Tang, Table-lookup algorithms for
// elementary functions and their error analysis, 1991). "Q71" beside a variable says that it counts units of 2^-71.

namespace sinew::detail::portable {

namespace {

constexpr std::uint64_t kSixth = 0x2aaaaaaaaaaaaaaau;       // Q64
constexpr std::uint64_t kTwentieth = 0x0cccccccccccccccu;   // Q64
constexpr std::uint64_t kFortySecond = 0x0618618618618618u; // Q64
constexpr std::uint64_t kThirtieth = 0x0888888888888888u;   // Q64

// An angle as a number of quarter turns: (negative ? -1 : 1) * (fraction / 2^128), at most 1/2, after `quarters` of
// them, counted modulo 4. The fraction may be off by 4.
struct QuarterTurns
{
    unsigned quarters;
    bool negative;
    UInt128 fraction;
};

// The word of 2 / pi that begins at `bit`.
std::uint64_t twoOverPi(int bit)
{
    int const word = bit / 64, rest = bit % 64;
    if (rest == 0) return kTwoOverPi[word];
    return kTwoOverPi[word] << rest | kTwoOverPi[word + 1] >> (64 - rest);
}

// |x| for a finite number of exponent -30 or more.
QuarterTurns reduced(Parts x)
{
    // Bits of 2 / pi whose products with x are multiples of four are left out.
    int const first = x.exponent > 65 ? x.exponent - 65 : 0;
    UInt128 const low = multiply(x.mantissa, twoOverPi(first + 128));
    UInt128 const middle = multiply(x.mantissa, twoOverPi(first + 64)) + UInt128{0, low.high};
    UInt128 const high = multiply(x.mantissa, twoOverPi(first)) + UInt128{0, middle.high};
    // The product times 2^256 in four words: high.high, high.low, middle.low, low.low; `integerBits` stand before the
    // point.
    int const integerBits = x.exponent - first + 1;
    unsigned quarters = 0;
    UInt128 fraction = {0, 0};
    if (integerBits <= 0) {
        fraction = shiftRight(high, -integerBits);
    } else if (integerBits < 64) {
        quarters = static_cast<unsigned>(high.high >> (64 - integerBits));
        fraction = {high.high << integerBits | high.low >> (64 - integerBits),
                    high.low << integerBits | middle.low >> (64 - integerBits)};
    } else if (integerBits == 64) {
        quarters = static_cast<unsigned>(high.high & 3);
        fraction = {high.low, middle.low};
    } else {
        int const shift = integerBits - 64; // at most 2
        quarters = static_cast<unsigned>((high.high << shift | high.low >> (64 - shift)) & 3);
        fraction = {high.low << shift | middle.low >> (64 - shift), middle.low << shift | low.low >> (64 - shift)};
    }
    bool const isUpperHalf = fraction.high >> 63 != 0;
    if (isUpperHalf) return {(quarters + 1) & 3, true, -fraction};
    return {quarters & 3, false, fraction};
}

// 1 - (sin t) / t in Q78, for t in Q71 below 2^-7.
std::uint64_t sineSeries(std::uint64_t t)
{
    std::uint64_t const t2 = multiplyHigh(t, t);   // Q78
    std::uint64_t const t4 = multiplyHigh(t2, t2); // Q92
    std::uint64_t const t6 = multiplyHigh(t4, t2); // Q106
    std::uint64_t const a = multiplyHigh(t2, kSixth);
    std::uint64_t const b = multiplyHigh(multiplyHigh(t4, kSixth), kTwentieth) >> 14;
    std::uint64_t const c = multiplyHigh(multiplyHigh(multiplyHigh(t6, kSixth), kTwentieth), kFortySecond) >> 28;
    return a - b + c;
}

// 1 - cos t in Q78, for t in Q71 below 2^-7.
std::uint64_t cosineSeries(std::uint64_t t)
{
    std::uint64_t const t2 = multiplyHigh(t, t);   // Q78
    std::uint64_t const t4 = multiplyHigh(t2, t2); // Q92
    std::uint64_t const t6 = multiplyHigh(t4, t2); // Q106
    std::uint64_t const b = multiplyHigh(t4, kSixth) >> 16;
    std::uint64_t const c = multiplyHigh(multiplyHigh(t6, kSixth), kThirtieth) >> 30;
    return t2 / 2 - b + c;
}

// A positive result m * 2^(exponent - 127) of a quick step, correct to the relative error 2^-bits. `bits` is 0 if
// the error is unknown.
struct Quick
{
    UInt128 m;
    int exponent;
    int bits;
};

// sin(pi / 2 f / 2^128) for a fraction below 2^-8 turns.
Quick sineOfSmall(UInt128 f)
{
    if (f.high >> 16 == 0) return {f, 0, 0}; // too few of its bits are correct
    int exponent = -1;
    UInt128 const g = normalized(f, exponent);
    // pi / 2 as pi / 4 * 2; the product of two numbers in [1/2, 1).
    UInt128 t = multiplyHigh(g, UInt128{kHalfPi[0], kHalfPi[1]});
    exponent += 1;
    t = normalized(t, exponent);
    std::uint64_t const fixed = t.high >> (-8 - exponent); // Q71
    UInt128 const change = shiftRight(multiply(t.high, sineSeries(fixed)), 14);
    UInt128 const m = normalized(t - change, exponent);
    return {m, exponent, 70};
}

// The position of the fraction in the table, and the distance from there as an angle.
struct Split
{
    std::size_t index;
    bool below;
    UInt128 angle; // Q135
};

Split split(UInt128 f)
{
    std::uint64_t const index = (f.high + (std::uint64_t{1} << 56)) >> 57;
    UInt128 distance = f - UInt128{index << 57, 0};
    bool const below = distance.high >> 63 != 0;
    if (below) distance = -distance;
    UInt128 const angle = multiplyHigh(shiftLeft(distance, 7), UInt128{kHalfPi[0], kHalfPi[1]});
    return {static_cast<std::size_t>(index), below, shiftLeft(angle, 1)};
}

// main - main (1 - cos t) +- other sin t in Q127, where main and other are the sine and the cosine of a table entry.
UInt128 combine(UInt128 main, UInt128 other, UInt128 t, bool add)
{
    UInt128 const kept = main - shiftRight(multiply(main.high, cosineSeries(t.high)), 14);
    UInt128 const sine = t - shiftRight(multiply(t.high, sineSeries(t.high)), 14); // Q135
    UInt128 const part = shiftRight(multiplyHigh(sine, other), 7);
    return add ? kept + part : kept - part;
}

// `combine` has an absolute error below 2^-75.
constexpr int kCombinedBits = 75;

Quick sineOfFraction(UInt128 f)
{
    if (f.high >> 56 == 0) return sineOfSmall(f);
    Split const s = split(f);
    SineAndCosine const& entry = kSines[s.index];
    int exponent = 0;
    UInt128 const m = normalized(combine(entry.sine, entry.cosine, s.angle, !s.below), exponent);
    return {m, exponent, kCombinedBits + exponent};
}

Quick cosineOfFraction(UInt128 f)
{
    Split const s = split(f);
    SineAndCosine const& entry = kSines[s.index];
    int exponent = 0;
    UInt128 const m = normalized(combine(entry.cosine, entry.sine, s.angle, s.below), exponent);
    return {m, exponent, kCombinedBits + exponent};
}

// |x| reduced to an angle in radians, at most pi / 4, after some quarter turns; x as in `reduced`.
template <std::size_t kWords>
Wide<kWords> wideAngle(Parts x, unsigned* quarters)
{
    // The product of the mantissa and kWords + 2 words of 2 / pi, times a power of two that makes quarters integers.
    constexpr std::size_t kCount = kWords + 3;
    int const first = x.exponent > 65 ? x.exponent - 65 : 0;
    std::uint64_t product[kCount + 1] = {};
    for (std::size_t i = kCount; i-- > 0;) {
        UInt128 const sum =
            multiply(x.mantissa, twoOverPi(first + static_cast<int>(64 * i))) + UInt128{0, product[i + 1]};
        product[i + 1] = sum.low;
        product[i] = sum.high;
    }
    // Bits before the point, taken away from the top one by one.
    *quarters = 0;
    int const integerBits = x.exponent - first + 1;
    for (int bit = 0; bit < integerBits; ++bit) {
        *quarters = (*quarters << 1 | static_cast<unsigned>(product[0] >> 63)) & 3;
        for (std::size_t i = 0; i < kCount; ++i) product[i] = product[i] << 1 | product[i + 1] >> 63;
        product[kCount] <<= 1;
    }
    Wide<kCount> turns;
    turns.exponent = integerBits < 0 ? integerBits : 0;
    for (std::size_t i = 0; i < kCount; ++i) turns.words[i] = product[i];
    normalize(turns);
    if (!isSmaller(turns, makeWide<kCount>(1, -1))) { // from one half on, count back from the next quarter
        turns = turns - makeWide<kCount>(1);
        *quarters = (*quarters + 1) & 3;
    }
    Wide<kWords> result = makeWide<kWords>(turns.words.data(), turns.exponent);
    result.negative = turns.negative;
    return result * makeWide<kWords>(kHalfPi, 1);
}

template <std::size_t kWords>
bool roundSine(Parts x, unsigned quarters, bool negative, double* result)
{
    unsigned own = 0;
    Wide<kWords> const angle = wideAngle<kWords>(x, &own);
    unsigned const place = (own + quarters) & 3;
    Wide<kWords> y = place % 2 == 0 ? wideSine(angle) : wideCosine(angle);
    y.negative = (y.negative != (place >= 2)) != negative;
    return roundIfCertain(y, y.exponent + kWideSineErrorBits - wordBits(y), result);
}

// The angles i pi / 256 of a whole turn, from those of its first quarter.
struct TurnStep
{
    TwoDoubles sine;
    TwoDoubles cosine;
};

constexpr std::size_t kStepsOfTurn = 512;
constexpr std::size_t kStepsOfQuarter = kStepsOfTurn / 4;

constexpr TwoDoubles sineOfStep(std::size_t i)
{
    std::size_t const inHalf = i % (kStepsOfTurn / 2);
    TwoDoubles const s = kSineTable[inHalf <= kStepsOfQuarter ? inHalf : kStepsOfTurn / 2 - inHalf];
    bool const isUpperHalf = i % kStepsOfTurn == inHalf;
    return isUpperHalf ? s : TwoDoubles{0.0 - s.high, 0.0 - s.low};
}

constexpr std::array<TurnStep, kStepsOfTurn> stepsOfTurn()
{
    std::array<TurnStep, kStepsOfTurn> steps{};
    for (std::size_t i = 0; i < kStepsOfTurn; ++i) steps[i] = {sineOfStep(i), sineOfStep(i + kStepsOfQuarter)};
    return steps;
}

constexpr std::array<TurnStep, kStepsOfTurn> kTurn = stepsOfTurn();

// The quick step in doubles takes arguments from 2^-27 to 2^27, signs aside.
bool isQuick(std::uint64_t magnitude)
{
    return magnitude - bitsOf(0x1p-27) < bitsOf(0x1p27) - bitsOf(0x1p-27);
}

// sin(x + shift * pi / 256).
bool quickSine(double x, std::size_t shift, double* result)
{
    double const kIntegers = 0x1.8p52; // sums with it are integers
    double const shifted = x * kStepsPerTurnPart + kIntegers;
    double const k = shifted - kIntegers;
    TurnStep const& step = kTurn[(static_cast<std::size_t>(bitsOf(shifted)) + shift) % kStepsOfTurn];

    // x - k pi / 256 as r + rest. Only the last of the four products and the last difference are rounded.
    double const first = ((x - k * kPiStep[0]) - k * kPiStep[1]) - k * kPiStep[2];
    double const last = k * kPiStep[3];
    double const r = first - last;
    double const rest = (first - r) - last; // where |first| < |last|, its error is below |last| 2^-52

    // sine cos r + cosine sin r, of which sine.high and the leading bits of cosine.high r are exact.
    double const leading = upperHalf(r);
    double const r2 = r * r;
    double const sine = r * r2 * (-0x1.5555555555555p-3 + r2 * (0x1.1111111111111p-7 + r2 * -0x1.a01a01a01a01ap-13));
    double const cosine = r2 * (-0.5 + r2 * (0x1.5555555555555p-5 + r2 * -0x1.6c16c16c16c17p-10));
    double const product = step.cosine.high * leading;
    double const high = step.sine.high + product;
    double const corrections = step.cosine.high * ((r - leading) + rest) + step.cosine.low * r + step.sine.low;
    double const series = (step.cosine.high + step.cosine.low) * sine + (step.sine.high + step.sine.low) * cosine;
    double const low = ((step.sine.high - high) + product) + (corrections + series);
    double const error = magnitudeOf(high) * 0x1p-63 + magnitudeOf(last) * 0x1p-51;
    return roundIfCertain(high, low, error, result);
}

// sin(x + quarters * pi / 2) for |x|, times the sign.
SINEW_RARE double sineOfShifted(Parts x, unsigned quarters, bool negative)
{
    QuarterTurns const turns = reduced(x);
    unsigned const place = (turns.quarters + quarters) & 3;
    bool const isSine = place % 2 == 0;
    Quick const y = isSine ? sineOfFraction(turns.fraction) : cosineOfFraction(turns.fraction);
    bool const flip = ((isSine && turns.negative) != (place >= 2)) != negative;
    double result = 0.0;
    if (y.bits > 0 && roundIfCertain(y.m, y.exponent, y.bits, flip, &result)) return result;
    if (roundSine<4>(x, quarters, negative, &result)) return result;
    roundSine<8>(x, quarters, negative, &result);
    return result;
}

} // namespace

template <std::size_t kWords>
Wide<kWords> wideSine(Wide<kWords> const& x)
{
    // sin x follows from sin(x / 3^n) by sin 3a = 3 sin a - 4 (sin a)^3.
    constexpr int kThirds = kWords <= 4 ? 10 : 20;
    constexpr int kTerms = 8; // up to x^17 / 17!
    Wide<kWords> small = x;
    for (int i = 0; i < kThirds; ++i) small = dividedBy(small, 3);
    Wide<kWords> const square = small * small;
    Wide<kWords> sum = makeWide<kWords>(1);
    for (std::uint32_t i = kTerms; i > 0; --i) {
        sum = makeWide<kWords>(1) - dividedBy(square * sum, 2 * i * (2 * i + 1));
    }
    sum = sum * small;
    for (int i = 0; i < kThirds; ++i) {
        sum = makeWide<kWords>(3) * sum - scaled(sum * sum * sum, 2);
    }
    return sum;
}

template <std::size_t kWords>
Wide<kWords> wideCosine(Wide<kWords> const& x)
{
    Wide<kWords> const half = wideSine(scaled(x, -1));
    return makeWide<kWords>(1) - scaled(half * half, 1);
}

template Wide<4> wideSine(Wide<4> const&);
template Wide<8> wideSine(Wide<8> const&);
template Wide<4> wideCosine(Wide<4> const&);
template Wide<8> wideCosine(Wide<8> const&);

double sin(double x)
{
    std::uint64_t const bits = bitsOf(x);
    std::uint64_t const magnitude = bits & ~kSignBit;
    double result = 0.0;
    if (isQuick(magnitude) && quickSine(x, 0, &result)) return result;
    if (magnitude >= kInfinityBits) return magnitude == kInfinityBits ? fromBits(kNaNBits) : x + x;
    if (magnitude < bitsOf(0x1p-27)) return x; // x^3 / 6 is less than a quarter of the last place
    return sineOfShifted(partsOf(magnitude), 0, bits != magnitude);
}

double cos(double x)
{
    std::uint64_t const magnitude = bitsOf(x) & ~kSignBit;
    double result = 0.0;
    if (isQuick(magnitude) && quickSine(x, kStepsOfQuarter, &result)) return result;
    if (magnitude >= kInfinityBits) return magnitude == kInfinityBits ? fromBits(kNaNBits) : x + x;
    if (magnitude < bitsOf(0x1p-27)) return 1.0; // x^2 / 2 is less than a half of the last place below 1
    return sineOfShifted(partsOf(magnitude), 1, false);
}

} // namespace sinew::detail::portable
