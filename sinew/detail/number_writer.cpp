// Sources: R. Giulietti, The Schubfach way to render doubles, 2020, for the shortest digits; for a given number of
// digits the product with a power of ten in 128 bits decides, or an exact comparison if the number lies too close to
// the middle of two decimal numbers.

#include <sinew/detail/number_writer.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include <sinew/detail/exact_comparison.h>
#include <sinew/detail/power_of_ten.h>
#include <sinew/detail/real_format.h>
#include <sinew/detail/uint128.h>

namespace sinew::detail {

namespace {

using portable::UInt128;

// digits * 10^exponent.
struct Decimal
{
    std::uint64_t digits;
    int exponent;
};

Decimal withoutTrailingZeros(Decimal d)
{
    while (d.digits % 10 == 0) {
        d.digits /= 10;
        ++d.exponent;
    }
    return d;
}

// The multiples of one power of two by a fixed power of ten.
class ScaledPower
{
public:
    // For 2^q / 10^k. The power has 126 bits and is rounded up.
    ScaledPower(int q, int k)
    {
        PowerOfTen const power = powerOfTen(-k);
        power_ = portable::shiftRight(power.mantissa, 2) + UInt128{0, 1};
        shift_ = q + power.exponent + 129;
        assert(shift_ > 0 && shift_ < 6);
    }

    // n * 2^q / 10^k, rounded down to an integer, whose last bit is then set if the number was no integer ("rounding to
    // odd"). A comparison with an even integer thus has the same result as with the exact number. n < 2^56.
    std::uint64_t timesToOdd(std::uint64_t n) const
    {
        std::uint64_t const factor = n << shift_;
        UInt128 const low = portable::multiply(power_.low, factor);
        UInt128 const high = portable::multiply(power_.high, factor) + UInt128{0, low.high};
        std::uint64_t const integer = high.high << 1 | high.low >> 63;
        // Rounding the power up adds up to `factor` < 2^61 to the product, whose unit is 2^127. The exact product is an
        // integer or differs from all integers by more than 2^61.5, for all numbers and powers that occur. (The least
        // difference of each exponent was found by continued fractions.)
        std::uint64_t const fraction = high.low << 1;
        return integer | (fraction != 0 || low.low > factor ? 1u : 0u);
    }

private:
    UInt128 power_{};
    int shift_ = 0;
};

// The shortest decimal number that is rounded to m, of several such the nearest to it. m must not be zero.
template <typename Real>
Decimal shortest(Magnitude m)
{
    using Format = RealFormat<Real>;
    // The neighbour below a power of two is nearer than the one above.
    bool const regular = m.mantissa != Format::kFirstBit || m.exponent == Format::kSmallestExponent;
    int const k = regular ? floorLog10OfPowerOfTwo(m.exponent) : floorLog10OfThreeQuarters(m.exponent);
    // Four times the number and the ends of the interval of numbers that are rounded to it, in units of 10^k. The
    // length of the interval is at least one unit and less than ten.
    ScaledPower const scale(m.exponent, k);
    std::uint64_t const number = scale.timesToOdd(4 * m.mantissa);
    std::uint64_t const open = m.mantissa % 2; // ties are rounded to even: the ends belong to an even mantissa only
    std::uint64_t const lower = scale.timesToOdd(4 * m.mantissa - (regular ? 2 : 1)) + open;
    std::uint64_t const upper = scale.timesToOdd(4 * m.mantissa + 2) - open;

    // At most one multiple of ten units lies inside.
    std::uint64_t const units = number / 4;
    std::uint64_t const tens = units / 10 * 10;
    bool const tensInside = tens > 0 && lower <= 4 * tens;
    bool const nextTensInside = 4 * (tens + 10) <= upper;
    if (tensInside || nextTensInside) return withoutTrailingZeros({tensInside ? tens : tens + 10, k});

    bool const below = lower <= 4 * units;
    bool const above = 4 * (units + 1) <= upper;
    std::uint64_t const middle = 4 * units + 2;
    bool const nearerBelow = number < middle || (number == middle && units % 2 == 0);
    bool const chooseBelow = below && (!above || nearerBelow);
    return withoutTrailingZeros({chooseBelow ? units : units + 1, k});
}

std::uint64_t powerOfTenInWord(int exponent)
{
    assert(exponent >= 0 && exponent <= 19);
    std::uint64_t power = 1;
    for (; exponent > 0; --exponent) power *= 10;
    return power;
}

// m / 10^exponent, rounded to the nearest integer, ties to even. The result must be below 2^63.
std::uint64_t roundedQuotient(Magnitude m, int exponent)
{
    PowerOfTen const power = powerOfTen(-exponent);
    int const zeros = portable::leadingZeros(m.mantissa);
    std::uint64_t const factor = m.mantissa << zeros;
    UInt128 const low = portable::multiply(power.mantissa.low, factor);
    UInt128 const top = portable::multiply(power.mantissa.high, factor) + UInt128{0, low.high};

    int const dropped = -(m.exponent - zeros + power.exponent + 64); // bits of the upper two words below the unit
    assert(dropped > 64);
    if (dropped > 128) return 0; // below one half
    std::uint64_t const integer = dropped == 128 ? 0 : top.high >> (dropped - 64);
    std::uint64_t const half = std::uint64_t{1} << (dropped - 65);
    std::uint64_t const fraction = top.high & (2 * half - 1);
    if (power.exact) {
        bool const more = top.low != 0 || low.low != 0;
        bool const up = fraction > half || (fraction == half && (more || integer % 2 != 0));
        return integer + (up ? 1 : 0);
    }
    // The exact product lies above by less than two units of `top`. If that may carry it to the middle, compare
    // exactly.
    bool const nearMiddle = fraction == half - 1 && top.low == ~std::uint64_t{0};
    if (!nearMiddle && !(fraction == half && top.low == 0)) return integer + (fraction >= half ? 1 : 0);
    int const order = compareExactly(BigInteger(10 * integer + 5), exponent - 1, m); // of the middle and the number
    return integer + (order < 0 || (order == 0 && integer % 2 != 0) ? 1 : 0);
}

// The decimal number of `count` digits that is nearest to m. m must not be zero.
Decimal nearest(Magnitude m, int count)
{
    int const log2 = m.exponent + 63 - portable::leadingZeros(m.mantissa);
    int exponent = floorLog10OfPowerOfTwo(log2) - count + 1; // right, or too small by one
    std::uint64_t const limit = powerOfTenInWord(count);
    std::uint64_t digits = roundedQuotient(m, exponent);
    if (digits >= limit) digits = roundedQuotient(m, ++exponent);
    return withoutTrailingZeros({digits, exponent});
}

char* append(std::string_view text, char* out)
{
    return std::copy(text.begin(), text.end(), out);
}

// The digits of an integer.
class Digits
{
public:
    explicit Digits(std::uint64_t n)
    {
        size_ =
            static_cast<std::size_t>(std::to_chars(text_.data(), text_.data() + text_.size(), n).ptr - text_.data());
    }

    int size() const { return static_cast<int>(size_); }
    std::string_view text() const { return {text_.data(), size_}; }

private:
    std::array<char, 20> text_;
    std::size_t size_;
};

// The exponent of the first digit.
int leadingExponent(Digits const& digits, int exponent)
{
    return digits.size() + exponent - 1;
}

// d.ddde+XX; the exponent has at least two digits.
char* writeScientific(std::string_view digits, int exponent, char* out)
{
    *out++ = digits[0];
    if (digits.size() > 1) {
        *out++ = '.';
        out = append(digits.substr(1), out);
    }
    *out++ = 'e';
    *out++ = exponent < 0 ? '-' : '+';
    int const magnitude = exponent < 0 ? -exponent : exponent;
    if (magnitude < 10) *out++ = '0';
    return append(Digits(static_cast<std::uint64_t>(magnitude)).text(), out);
}

char* writeFixed(std::string_view digits, int exponent, char* out)
{
    if (exponent >= 0) return std::fill_n(append(digits, out), exponent, '0');
    int const before = static_cast<int>(digits.size()) + exponent; // digits before the point
    if (before > 0) {
        out = append(digits.substr(0, static_cast<std::size_t>(before)), out);
        *out++ = '.';
        return append(digits.substr(static_cast<std::size_t>(before)), out);
    }
    out = std::fill_n(append("0.", out), -before, '0');
    return append(digits, out);
}

int scientificLength(int digits, int leading)
{
    constexpr int kShortExponent = 4; // e+XX
    return digits + (digits > 1 ? 1 : 0) + kShortExponent + (leading > 99 || leading < -99 ? 1 : 0);
}

int fixedLength(int digits, int exponent)
{
    if (exponent >= 0) return digits + exponent;
    return digits + exponent > 0 ? digits + 1 : 2 - exponent; // 2 for "0."
}

// An integer that is too large to have all digits in its mantissa: its exact digits, as printf's %f writes them.
char* writeLargeInteger(Magnitude m, char* out)
{
    constexpr std::uint64_t kBillion = 1'000'000'000;
    constexpr std::uint64_t kWordQuotient = 18'446'744'073; // 2^64 = kWordQuotient * kBillion + kWordRemainder
    constexpr std::uint64_t kWordRemainder = 709'551'616;
    assert(m.exponent > 0 && m.exponent < 64);
    UInt128 const integer = portable::shiftLeft(UInt128{0, m.mantissa}, m.exponent);
    assert(integer.high < kBillion); // it has fewer than 24 digits, since scientific notation would be shorter
    std::uint64_t const lowest = integer.low % kBillion + integer.high * kWordRemainder;
    std::uint64_t const upper = integer.low / kBillion + integer.high * kWordQuotient + lowest / kBillion;
    if (upper == 0) return append(Digits(lowest).text(), out);
    out = append(Digits(upper).text(), out);
    Digits const rest(lowest % kBillion);
    return append(rest.text(), std::fill_n(out, 9 - rest.size(), '0'));
}

char* writeShortest(Decimal d, Magnitude m, char* out)
{
    Digits const digits(d.digits);
    int const leading = leadingExponent(digits, d.exponent);
    if (fixedLength(digits.size(), d.exponent) > scientificLength(digits.size(), leading))
        return writeScientific(digits.text(), leading, out);
    if (d.exponent >= 0 && m.exponent > 0) return writeLargeInteger(m, out);
    return writeFixed(digits.text(), d.exponent, out);
}

// Writes the sign, and zero, infinity or NaN. Returns whether it was one of these.
template <typename Real>
bool writeSpecial(Real value, char*& out)
{
    using Format = RealFormat<Real>;
    std::uint64_t const bits = Format::bitsOf(value);
    if (Format::isNegative(value)) *out++ = '-';
    if (bits != 0 && bits < Format::kInfinity) return false;
    out = append(bits == 0 ? "0" : bits == Format::kInfinity ? "inf" : "nan", out);
    return true;
}

} // namespace

template <typename Real>
char* writeReal(Real value, char* out)
{
    using Format = RealFormat<Real>;
    if (writeSpecial(value, out)) return out;
    Magnitude const m = Format::magnitudeOf(Format::bitsOf(value));
    return writeShortest(shortest<Real>(m), m, out);
}

template char* writeReal(float value, char* out);
template char* writeReal(double value, char* out);

std::string realText(double value, int digits)
{
    assert(digits >= 1 && digits <= 17);
    constexpr int kLeastFixedExponent = -4; // as printf's %g
    using Format = RealFormat<double>;
    char text[kLongestReal];
    char* out = text;
    if (!writeSpecial(value, out)) {
        Decimal const d = nearest(Format::magnitudeOf(Format::bitsOf(value)), digits);
        Digits const all(d.digits);
        int const leading = leadingExponent(all, d.exponent);
        bool const fixed = leading >= kLeastFixedExponent && leading < digits;
        out = fixed ? writeFixed(all.text(), d.exponent, out) : writeScientific(all.text(), leading, out);
    }
    return {text, out};
}

} // namespace sinew::detail
