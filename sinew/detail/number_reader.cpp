// The first 19 significant digits are multiplied by a power of ten in 128 bits, once rounded down and once rounded up.
// If both products are rounded to the same number, that is the result. Otherwise the decimal number is compared exactly
// with the middle of the two numbers between which it lies.
//
// Sources: W. D. Clinger, How to read floating point numbers accurately, 1990, for the exact comparison; D. Lemire,
// Number parsing at a gigabyte per second, 2021, for the product of the first digits and a power in 128 bits. Unlike
// Lemire we compute both bounds of the product, so that no analysis of the powers is necessary.

#include <sinew/detail/number_reader.h>

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <utility>

#include <sinew/detail/exact_comparison.h>
#include <sinew/detail/power_of_ten.h>
#include <sinew/detail/real_format.h>
#include <sinew/detail/uint128.h>

namespace sinew::detail {

namespace {

using portable::UInt128;

constexpr int kWordDigits = 19; // digits that 64 bits always hold

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

std::uint64_t digitOf(char c)
{
    return static_cast<std::uint64_t>(c - '0');
}

// A decimal number: the digits and the point in [first, last), times 10^shift.
struct Decimal
{
    char const* first = nullptr;
    char const* last = nullptr;
    long long shift = 0;

    std::uint64_t leading = 0; // the first significant digits
    bool truncated = false;    // whether a digit that is not zero follows them
    long long exponent = 0;    // leading * 10^exponent is the number, up to the digits that follow
};

// Appends the digits at `at` to `number`, modulo 2^64, and returns their end.
char const* appendDigits(char const* at, char const* last, std::uint64_t& number)
{
    for (; at != last && isDigit(*at); ++at) number = 10 * number + digitOf(*at);
    return at;
}

// Finds the leading digits of a number that may have more than 64 bits hold.
void findLeadingDigits(Decimal& d)
{
    d.leading = 0;
    d.exponent = 0;
    int count = 0;
    bool pointSeen = false;
    for (char const* at = d.first; at != d.last; ++at) {
        if (*at == '.') {
            pointSeen = true;
        } else if (count < kWordDigits) {
            d.leading = 10 * d.leading + digitOf(*at);
            count += d.leading != 0 ? 1 : 0; // leading zeros do not count
            d.exponent -= pointSeen ? 1 : 0;
        } else {
            d.truncated = d.truncated || *at != '0';
            d.exponent += pointSeen ? 0 : 1;
        }
    }
}

// Reads digits and a point. Returns whether there is a digit.
bool scanMantissa(char const* first, char const* last, Decimal& d)
{
    char const* at = appendDigits(first, last, d.leading);
    std::ptrdiff_t digits = at - first;
    if (at != last && *at == '.') {
        char const* const fraction = at + 1;
        at = appendDigits(fraction, last, d.leading);
        digits += at - fraction;
        d.exponent = fraction - at;
    }
    d.first = first;
    d.last = at;
    if (digits > kWordDigits) findLeadingDigits(d);
    return digits > 0;
}

// Reads an exponent at `at`, if there is one, and returns its end.
char const* scanExponent(char const* at, char const* last, Decimal& d)
{
    // Larger than the length of any text, so that zeros before the digits cannot make up for what is cut off.
    constexpr long long kLargest = 100'000'000'000'000'000;
    if (at == last || (*at != 'e' && *at != 'E')) return at;
    char const* digit = at + 1;
    bool const negative = digit != last && *digit == '-';
    if (digit != last && (*digit == '-' || *digit == '+')) ++digit;
    if (digit == last || !isDigit(*digit)) return at;
    long long shift = 0;
    for (; digit != last && isDigit(*digit); ++digit) {
        shift = std::min(10 * shift + static_cast<long long>(digitOf(*digit)), kLargest);
    }
    d.shift = negative ? -shift : shift;
    d.exponent += d.shift;
    return digit;
}

// The bits of the number nearest to top * 2^exponent, or to a number above it by less than 2^exponent if `more`. The
// first or the second bit of `top` must be set.
template <typename Real>
std::uint64_t rounded(UInt128 top, bool more, int exponent)
{
    using Format = RealFormat<Real>;
    int const length = 128 - portable::leadingZeros(top.high);
    int const last = std::max(exponent + length - Format::kMantissaBits, Format::kSmallestExponent);
    if (last > Format::kLargestExponent) return Format::kInfinity;
    int const dropped = last - exponent; // bits of `top` below the last place
    assert(dropped > 64);
    if (dropped > 128) return 0; // less than half of the smallest number
    std::uint64_t const mantissa = dropped == 128 ? 0 : top.high >> (dropped - 64);
    std::uint64_t const half = std::uint64_t{1} << (dropped - 65);
    bool const beyondHalf = (top.high & (half - 1)) != 0 || top.low != 0 || more;
    bool const up = (top.high & half) != 0 && (beyondHalf || mantissa % 2 != 0);
    return Format::bitsOf(Magnitude{mantissa + (up ? 1 : 0), last});
}

// The bits of digits * 10^exponent: what a lower and an upper bound of the number are rounded to.
template <typename Real>
std::pair<std::uint64_t, std::uint64_t> bracketed(std::uint64_t digits, int exponent)
{
    PowerOfTen const power = powerOfTen(exponent);
    int const zeros = portable::leadingZeros(digits);
    std::uint64_t const factor = digits << zeros;
    int const productExponent = power.exponent - zeros + 64; // of the upper two of three words

    UInt128 const low = portable::multiply(power.mantissa.low, factor);
    UInt128 const top = portable::multiply(power.mantissa.high, factor) + UInt128{0, low.high};
    std::uint64_t const lower = rounded<Real>(top, low.low != 0, productExponent);
    if (power.exact) return {lower, lower};
    std::uint64_t const sum = low.low + factor; // the product with the power's mantissa plus one
    UInt128 const upperTop = top + UInt128{0, sum < factor ? 1u : 0u};
    return {lower, rounded<Real>(upperTop, sum != 0, productExponent)};
}

// Compares the decimal number with a magnitude that is near to it.
int compareWith(Decimal const& d, Magnitude m)
{
    // The middle of two doubles has fewer than 800 significant digits. Of the digits behind these only one thing
    // matters: whether one of them is not zero. A digit 1 stands for them then.
    BigInteger digits;
    int count = 0;
    long long exponent = d.shift;
    bool more = false;
    bool pointSeen = false;
    for (char const* at = d.first; at != d.last; ++at) {
        if (*at == '.') {
            pointSeen = true;
            continue;
        }
        if (count + 1 < BigInteger::kMostDigits) {
            if (count > 0 || *at != '0') ++count;
            digits.multiplyAdd(10, digitOf(*at));
            exponent -= pointSeen ? 1 : 0;
        } else {
            more = more || *at != '0';
            exponent += pointSeen ? 0 : 1;
        }
    }
    if (more) {
        digits.multiplyAdd(10, 1);
        --exponent;
    }
    return compareExactly(digits, static_cast<int>(exponent), m);
}

template <typename Real>
std::uint64_t nearestBits(Decimal const& d)
{
    using Format = RealFormat<Real>;
    // With 1 <= leading < 2^64 - 1, numbers beyond these exponents are too large, or less than half of the smallest
    // number, even for a double.
    constexpr long long kGreatestExponent = 308;
    constexpr long long kLeastExponent = -342;
    if (d.leading == 0 || d.exponent < kLeastExponent) return 0;
    if (d.exponent > kGreatestExponent) return Format::kInfinity;

    int const exponent = static_cast<int>(d.exponent);
    auto [lower, upper] = bracketed<Real>(d.leading, exponent);
    if (d.truncated) upper = bracketed<Real>(d.leading + 1, exponent).second;
    if (lower == upper) return lower;
    assert(upper == lower + 1);

    Magnitude const below = Format::magnitudeOf(lower);
    int const order = compareWith(d, {2 * below.mantissa + 1, below.exponent - 1});
    bool const up = order > 0 || (order == 0 && lower % 2 != 0);
    return up ? upper : lower;
}

// The length of `word` if [first, last) begins with it in any case; otherwise 0. `word` is in lower case.
std::size_t matches(char const* first, char const* last, std::string_view word)
{
    if (static_cast<std::size_t>(last - first) < word.size()) return 0;
    for (std::size_t i = 0; i < word.size(); ++i) {
        bool const upperCase = first[i] >= 'A' && first[i] <= 'Z';
        if ((upperCase ? static_cast<char>(first[i] - 'A' + 'a') : first[i]) != word[i]) return 0;
    }
    return word.size();
}

// The end of the "(...)" after a NaN, or `at` if there is none.
char const* skipPayload(char const* at, char const* last)
{
    if (at == last || *at != '(') return at;
    for (char const* c = at + 1; c != last; ++c) {
        if (*c == ')') return c + 1;
        bool const letter = (*c >= 'a' && *c <= 'z') || (*c >= 'A' && *c <= 'Z');
        if (!letter && !isDigit(*c) && *c != '_') return at;
    }
    return at;
}

// Reads "inf", "infinity", "nan" or "nan(...)".
template <typename Real>
NumberEnd readWord(char const* first, char const* last, bool negative, Real& value)
{
    using Format = RealFormat<Real>;
    if (std::size_t const size = matches(first, last, "nan")) {
        value = Format::make(Format::kInfinity | Format::kFirstBit / 2, negative);
        return {skipPayload(first + size, last), NumberStatus::ok};
    }
    std::size_t const size = std::max(matches(first, last, "inf"), matches(first, last, "infinity"));
    if (size == 0) return {first, NumberStatus::malformed};
    value = Format::make(Format::kInfinity, negative);
    return {first + size, NumberStatus::ok};
}

} // namespace

template <typename Real>
NumberEnd readReal(char const* first, char const* last, Real& value)
{
    using Format = RealFormat<Real>;
    bool const negative = first != last && *first == '-';
    char const* const begin = first + (negative ? 1 : 0);
    Decimal d;
    if (!scanMantissa(begin, last, d)) {
        NumberEnd const word = readWord(begin, last, negative, value);
        return word.status == NumberStatus::ok ? word : NumberEnd{first, word.status};
    }
    char const* const end = scanExponent(d.last, last, d);
    std::uint64_t const bits = nearestBits<Real>(d);
    value = Format::make(bits, negative);
    if (bits == Format::kInfinity) return {end, NumberStatus::tooLarge};
    return {end, bits == 0 && d.leading != 0 ? NumberStatus::tooSmall : NumberStatus::ok};
}

template NumberEnd readReal(char const* first, char const* last, float& value);
template NumberEnd readReal(char const* first, char const* last, double& value);

bool takeReal(std::string_view& text, double& value)
{
    char const* at = text.data();
    char const* const last = at + text.size();
    while (at != last && isSpace(*at)) ++at;
    bool const negative = at != last && *at == '-';
    if (at != last && (*at == '-' || *at == '+')) ++at;

    Decimal d;
    bool const hasDigits = scanMantissa(at, last, d);
    if (!hasDigits) return false;
    char const* const end = scanExponent(d.last, last, d);
    // A stream takes the "e" of an exponent before it knows whether digits follow.
    bool const cutShort = end == d.last && end != last && (*end == 'e' || *end == 'E');
    if (cutShort) return false;

    std::uint64_t const bits = nearestBits<double>(d);
    if (bits == RealFormat<double>::kInfinity) return false;
    value = RealFormat<double>::make(bits, negative);
    text.remove_prefix(text.size() - static_cast<std::size_t>(last - end));
    return true;
}

} // namespace sinew::detail
