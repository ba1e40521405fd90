#pragma once

/// Binary floating-point numbers of a few hundred bits, for the last step of the correctly rounded functions.
///
/// They are simple, not fast, because only about one argument in ten thousand needs them. All operations truncate.

#include <array>
#include <cstddef>
#include <cstdint>

#include <sinew/detail/uint128.h>

namespace sinew::detail::portable {

/// (negative ? -1 : 1) * 0.m * 2^exponent, where the mantissa m has kWords words, the most significant first, whose
/// first bit is set. Zero has a mantissa of zeros.
///
/// Every operation has a relative error below 2^(4 - 64 kWords), except a difference of nearly equal numbers.
template <std::size_t kWords>
struct Wide
{
    bool negative = false;
    int exponent = 0;
    std::array<std::uint64_t, kWords> words{};

    bool isZero() const { return words[0] == 0; }
};

/// The number of bits of the mantissa.
template <std::size_t kWords>
constexpr int wordBits(Wide<kWords> const&)
{
    return static_cast<int>(64 * kWords);
}

/// The integer `value` times 2^exponent.
template <std::size_t kWords>
Wide<kWords> makeWide(std::uint64_t value, int exponent = 0)
{
    Wide<kWords> result;
    if (value == 0) return result;
    int const zeros = leadingZeros(value);
    result.exponent = exponent + 64 - zeros;
    result.words[0] = value << zeros;
    return result;
}

/// 0.m * 2^exponent from the leading words of a longer mantissa.
template <std::size_t kWords>
Wide<kWords> makeWide(std::uint64_t const* words, int exponent)
{
    Wide<kWords> result;
    result.exponent = exponent;
    for (std::size_t i = 0; i < kWords; ++i) result.words[i] = words[i];
    return result;
}

template <std::size_t kWords>
Wide<kWords> operator-(Wide<kWords> a)
{
    a.negative = !a.negative;
    return a;
}

/// a * 2^n.
template <std::size_t kWords>
Wide<kWords> scaled(Wide<kWords> a, int n)
{
    a.exponent += n;
    return a;
}

/// Shifts the mantissa up until its first bit is set.
template <std::size_t kWords>
void normalize(Wide<kWords>& a)
{
    std::size_t empty = 0;
    while (empty < kWords && a.words[empty] == 0) ++empty;
    if (empty == kWords) {
        a = {};
        return;
    }
    int const zeros = leadingZeros(a.words[empty]);
    for (std::size_t i = 0; i < kWords; ++i) {
        std::uint64_t const here = i + empty < kWords ? a.words[i + empty] : 0;
        std::uint64_t const next = i + empty + 1 < kWords ? a.words[i + empty + 1] : 0;
        a.words[i] = zeros == 0 ? here : here << zeros | next >> (64 - zeros);
    }
    a.exponent -= zeros + static_cast<int>(64 * empty);
}

/// Whether |a| < |b|.
template <std::size_t kWords>
bool isSmaller(Wide<kWords> const& a, Wide<kWords> const& b)
{
    if (a.isZero() || b.isZero()) return !b.isZero();
    if (a.exponent != b.exponent) return a.exponent < b.exponent;
    return a.words < b.words;
}

/// The mantissa of a, shifted down by n >= 0 bits.
template <std::size_t kWords>
std::array<std::uint64_t, kWords> shiftedDown(Wide<kWords> const& a, int n)
{
    std::array<std::uint64_t, kWords> result{};
    if (n >= static_cast<int>(64 * kWords)) return result;
    std::size_t const whole = static_cast<std::size_t>(n / 64);
    int const bits = n % 64;
    for (std::size_t i = kWords; i-- > whole;) {
        std::uint64_t const here = a.words[i - whole];
        std::uint64_t const before = i > whole ? a.words[i - whole - 1] : 0;
        result[i] = bits == 0 ? here : here >> bits | before << (64 - bits);
    }
    return result;
}

template <std::size_t kWords>
Wide<kWords> operator+(Wide<kWords> const& a, Wide<kWords> const& b)
{
    if (isSmaller(a, b)) return b + a;
    if (b.isZero()) return a;
    Wide<kWords> result = a;
    auto const small = shiftedDown(b, a.exponent - b.exponent);
    if (a.negative != b.negative) {
        std::uint64_t borrow = 0;
        for (std::size_t i = kWords; i-- > 0;) {
            UInt128 const difference = UInt128{1, result.words[i]} - UInt128{0, small[i]} - UInt128{0, borrow};
            result.words[i] = difference.low;
            borrow = 1 - difference.high;
        }
        normalize(result);
        return result;
    }
    std::uint64_t carry = 0;
    for (std::size_t i = kWords; i-- > 0;) {
        UInt128 const sum = UInt128{0, result.words[i]} + UInt128{0, small[i]} + UInt128{0, carry};
        result.words[i] = sum.low;
        carry = sum.high;
    }
    if (carry != 0) {
        result.words = shiftedDown(result, 1);
        result.words[0] |= std::uint64_t{1} << 63;
        ++result.exponent;
    }
    return result;
}

template <std::size_t kWords>
Wide<kWords> operator-(Wide<kWords> const& a, Wide<kWords> const& b)
{
    return a + -b;
}

template <std::size_t kWords>
Wide<kWords> operator*(Wide<kWords> const& a, Wide<kWords> const& b)
{
    if (a.isZero() || b.isZero()) return {};
    std::array<std::uint64_t, 2 * kWords> product{};
    for (std::size_t i = kWords; i-- > 0;) {
        std::uint64_t carry = 0;
        for (std::size_t j = kWords; j-- > 0;) {
            UInt128 const sum = multiply(a.words[i], b.words[j]) + UInt128{0, product[i + j + 1]} + UInt128{0, carry};
            product[i + j + 1] = sum.low;
            carry = sum.high;
        }
        product[i] = carry;
    }
    Wide<kWords> result;
    result.negative = a.negative != b.negative;
    result.exponent = a.exponent + b.exponent;
    bool const isShort = product[0] >> 63 == 0; // two mantissas of at least 1/2 have a product of at least 1/4
    result.exponent -= isShort ? 1 : 0;
    for (std::size_t i = 0; i < kWords; ++i) {
        result.words[i] = isShort ? product[i] << 1 | product[i + 1] >> 63 : product[i];
    }
    return result;
}

/// a / divisor; 0 < divisor < 2^32.
template <std::size_t kWords>
Wide<kWords> dividedBy(Wide<kWords> a, std::uint32_t divisor)
{
    std::uint64_t remainder = 0;
    for (std::uint64_t& word : a.words) {
        std::uint64_t const upper = remainder << 32 | word >> 32;
        std::uint64_t const lower = upper % divisor << 32 | (word & 0xffffffffu);
        word = upper / divisor << 32 | lower / divisor;
        remainder = lower % divisor;
    }
    // The mantissa has lost at most 32 leading bits; the same number of bits of the quotient follow from the remainder.
    if (a.words[0] != 0 && a.words[0] >> 63 == 0) {
        int const zeros = leadingZeros(a.words[0]);
        normalize(a);
        a.words[kWords - 1] |= (remainder << zeros) / divisor;
    }
    return a;
}

/// 1 / a by Newton's iteration r (2 - a r), which doubles the correct bits; a must not be zero.
template <std::size_t kWords>
Wide<kWords> reciprocal(Wide<kWords> const& a)
{
    // The first guess has about 50 correct bits: the mantissa as a double in [1/2, 1).
    double const leading = static_cast<double>(a.words[0] >> 11) * 0x1p-53;
    Wide<kWords> r = makeWide<kWords>(static_cast<std::uint64_t>(0x1p62 / leading), -62 - a.exponent);
    r.negative = a.negative;
    Wide<kWords> const two = makeWide<kWords>(2);
    for (std::size_t bits = 48; bits < 64 * kWords; bits *= 2) r = r * (two - a * r);
    return r;
}

} // namespace sinew::detail::portable
