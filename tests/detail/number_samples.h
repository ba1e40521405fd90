#pragma once

/// Numbers and texts for the tests of the conversions between them, and what judges the results.
///
/// Where the standard library converts exactly, it is an oracle (SINEW_TEST_STANDARD_CONVERSIONS). Where MPFR is
/// installed, it is another one (SINEW_TEST_MPFR). Elsewhere tables of published cases, exact decimal expansions and
/// hashes, which were recorded where both oracles agree, judge alone.
///
/// SINEW_TEST_NUMBER_COUNT sets the number of random values; `./dev numbers` runs many.

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

#ifdef SINEW_TEST_MPFR
#include <mpfr.h>
#endif

#include <sinew/detail/real_format.h>

#include "support/random.h"

// Debian's libstdc++ for i386 rounds twice when it reads.
#if defined(__cpp_lib_to_chars) && !defined(__i386__)
#define SINEW_TEST_STANDARD_CONVERSIONS
#endif

namespace test {

/// The number of random values in a test.
inline long numberCount()
{
    char const* const text = std::getenv("SINEW_TEST_NUMBER_COUNT");
    return text ? std::atol(text) : 1'000'000;
}

template <typename Real>
Real fromBits(std::uint64_t bits)
{
    std::uint64_t const sign = std::uint64_t{1} << (8 * sizeof(Real) - 1);
    return sinew::detail::RealFormat<Real>::make(bits & (sign - 1), (bits & sign) != 0);
}

/// A number of one of the kinds that occur in files, or with any bits; NaN and infinities included.
template <typename Real>
Real randomReal(Random& random)
{
    using Format = sinew::detail::RealFormat<Real>;
    std::uint64_t const bits = random.bits();
    switch (random.below(6)) {
    case 0:
    case 1:
        return fromBits<Real>(bits);
    case 2:
        return static_cast<Real>(random.uniform(-1000, 1000));
    case 3: { // few decimal places
        Real const numerator = static_cast<Real>(random.below(2'000'000) - 1'000'000);
        return numerator / static_cast<Real>(random.oneIn(2) ? 1000 : 64);
    }
    case 4: { // integers, also beyond those that all are representable
        Real const integer = static_cast<Real>(static_cast<std::int64_t>(bits) >> random.below(50));
        return integer * static_cast<Real>(1 << random.below(20));
    }
    default: // mantissas with few bits set, next to a power of two or subnormal
        return fromBits<Real>((bits & ~(Format::kFirstBit - 1)) + static_cast<std::uint64_t>(random.below(7)) - 3);
    }
}

/// A decimal number of up to 25 digits, seldom of up to 900, with a point and an exponent or without.
inline std::string randomDecimal(Random& random)
{
    std::string text = random.oneIn(8) ? "-" : "";
    int const digits = 1 + random.below(random.oneIn(50) ? 900 : 25);
    int const point = random.below(digits + 4);
    for (int i = 0; i < digits; ++i) {
        if (i == point) text += '.';
        text += static_cast<char>('0' + random.below(10));
    }
    if (random.oneIn(3)) return text;
    text += random.oneIn(2) ? 'e' : 'E';
    if (!random.oneIn(3)) text += random.oneIn(2) ? '-' : '+';
    return text + std::to_string(random.below(random.oneIn(4) ? 345 : 30));
}

/// Up to nine characters, most of which occur in numbers.
inline std::string hostileText(Random& random)
{
    constexpr char kCharacters[] = "0123456789..eE+-+-xXnaifINFty()p \t\n,_'"; // and the zero at the end
    std::string text;
    for (int i = random.below(10); i > 0; --i) {
        text += kCharacters[random.below(static_cast<int>(sizeof kCharacters))];
    }
    return text;
}

/// A hash of any bytes (FNV-1a), to compare many results with a recorded value.
class Hash
{
public:
    void add(std::string_view bytes)
    {
        for (char const c : bytes) value_ = (value_ ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    }
    void add(std::uint64_t word)
    {
        for (int i = 0; i < 8; ++i) value_ = (value_ ^ (word >> 8 * i & 0xff)) * 0x100000001b3;
    }
    std::uint64_t value() const { return value_; }

private:
    std::uint64_t value_ = 0xcbf29ce484222325;
};

/// The decimal expansion of a magnitude: `digits` * 10^exponent, exactly.
struct ExactDecimal
{
    std::string digits; ///< without zeros in front
    int exponent;

    /// The digits with a point after the first, an exponent, and more digits before it.
    std::string text(std::string const& more = "") const
    {
        int const leading = exponent + static_cast<int>(digits.size()) - 1;
        return digits.substr(0, 1) + "." + digits.substr(1) + more + "e" + std::to_string(leading);
    }

    /// The same number without a point.
    std::string integerText(std::string const& more = "") const
    {
        return digits + more + "e" + std::to_string(exponent - static_cast<int>(more.size()));
    }
};

/// By repeated multiplication by 2, or by 5 and a division by 10, digit for digit.
inline ExactDecimal exactDecimal(sinew::detail::Magnitude m)
{
    std::string reversed = std::to_string(m.mantissa);
    reversed.assign(reversed.rbegin(), reversed.rend());
    int const factor = m.exponent < 0 ? 5 : 2;
    for (int i = m.exponent < 0 ? -m.exponent : m.exponent; i > 0; --i) {
        int carry = 0;
        for (char& c : reversed) {
            int const product = (c - '0') * factor + carry;
            c = static_cast<char>('0' + product % 10);
            carry = product / 10;
        }
        if (carry != 0) reversed += static_cast<char>('0' + carry);
    }
    return {std::string(reversed.rbegin(), reversed.rend()), m.exponent < 0 ? m.exponent : 0};
}

#ifdef SINEW_TEST_MPFR
/// A number of MPFR with the precision and the exponents of `Real`.
template <typename Real>
class Exact
{
    using Limits = std::numeric_limits<Real>;

public:
    Exact()
    {
        mpfr_init2(value_, Limits::digits);
        mpfr_set_emin(Limits::min_exponent - Limits::digits + 1); // with the subnormal numbers
        mpfr_set_emax(Limits::max_exponent);
    }
    ~Exact()
    {
        mpfr_clear(value_);
        mpfr_set_emin(mpfr_get_emin_min());
        mpfr_set_emax(mpfr_get_emax_max());
    }
    Exact(Exact const&) = delete;
    Exact& operator=(Exact const&) = delete;

    /// The number nearest to a decimal number, which must fill the text.
    Real read(std::string const& text)
    {
        int const inexact = mpfr_strtofr(value_, text.c_str(), nullptr, 10, MPFR_RNDN);
        mpfr_subnormalize(value_, inexact, MPFR_RNDN);
        return static_cast<Real>(mpfr_get_d(value_, MPFR_RNDN));
    }

    /// The `count` significant digits of the decimal number that is nearest to a number above zero, and the text of
    /// that number. At least two digits.
    std::pair<std::string, std::string> nearest(Real value, int count)
    {
        mpfr_set_d(value_, static_cast<double>(value), MPFR_RNDN);
        mpfr_exp_t exponent = 0;
        char* const found = mpfr_get_str(nullptr, &exponent, 10, static_cast<std::size_t>(count), value_, MPFR_RNDN);
        std::string const digits = found;
        mpfr_free_str(found);
        return {digits, digits + "e" + std::to_string(exponent - count)};
    }

private:
    mpfr_t value_;
};
#endif

} // namespace test
