#pragma once

/// The division of doubles into their parts, and rounding: the first and the last step of every correctly rounded
/// function.

#include <cassert>
#include <cstdint>
#include <cstring>

#include <sinew/core/detail/wide_number.h>
#include <sinew/detail/uint128.h>

// Keeps the rare steps of a function apart from the frequent one, which then needs few registers and no stack.
#if defined(__GNUC__)
#define SINEW_RARE __attribute__((noinline, cold))
#else
#define SINEW_RARE
#endif

namespace sinew::detail::portable {

constexpr std::uint64_t kSignBit = std::uint64_t{1} << 63;
constexpr std::uint64_t kInfinityBits = 0x7ff0000000000000u;
constexpr std::uint64_t kNaNBits = 0x7ff8000000000000u;

inline std::uint64_t bitsOf(double x)
{
    std::uint64_t bits;
    std::memcpy(&bits, &x, sizeof bits);
    return bits;
}

inline double fromBits(std::uint64_t bits)
{
    double x;
    std::memcpy(&x, &bits, sizeof x);
    return x;
}

inline double magnitudeOf(double x)
{
    return fromBits(bitsOf(x) & ~kSignBit);
}

/// The upper half of the places of `x`: at most 26 bits, so that the product with 27 other bits is exact.
inline double upperHalf(double x)
{
    return fromBits(bitsOf(x) & ~std::uint64_t{0x7ffffff});
}

/// A finite positive number as mantissa * 2^(exponent - 63), where the first bit of the mantissa is set.
struct Parts
{
    std::uint64_t mantissa;
    int exponent;
};

/// The magnitude of a finite number other than zero, from its bits.
inline Parts partsOf(std::uint64_t bits)
{
    int const biased = static_cast<int>(bits >> 52 & 0x7ff);
    std::uint64_t const fraction = bits << 12 >> 1;
    if (biased != 0) return {fraction | kSignBit, biased - 1023};
    int const zeros = leadingZeros(fraction);
    return {fraction << zeros, -1022 - zeros};
}

/// Shifts the first bit of `m`, whose upper word must not be zero, to the top, and lowers the exponent accordingly.
inline UInt128 normalized(UInt128 m, int& exponent)
{
    int const zeros = leadingZeros(m.high);
    exponent -= zeros;
    return shiftLeft(m, zeros);
}

/// Rounds m * 2^(exponent - 127), whose first bit must be at the top, if all numbers within a relative error of
/// 2^-bits around it round to the same normal double, or overflow alike; 60 < bits < 128.
inline bool roundIfCertain(UInt128 m, int exponent, int bits, bool negative, double* result)
{
    assert(60 < bits && bits < 128);
    UInt128 const error = shiftLeft(UInt128{0, 16}, 124 - bits);
    std::uint64_t const half = 1u << 10; // of the last place of a double
    std::uint64_t const least = (m - error).high;
    std::uint64_t const most = (m + error).high;
    std::uint64_t const rounded = (least + half) >> 11;
    if (m.high < kSignBit || m.high > ~(2 * half) || least < kSignBit) return false; // close to a power of two
    if ((most + half) >> 11 != rounded || exponent < -1022) return false;
    std::uint64_t magnitude = kInfinityBits;
    if (exponent <= 1023) {
        // A mantissa that is rounded up to the next power of two carries into the exponent.
        magnitude = (static_cast<std::uint64_t>(exponent + 1022) << 52) + rounded;
    }
    *result = fromBits(magnitude | (negative ? kSignBit : 0));
    return true;
}

/// high + low with |low| much smaller than |high|, rounded if every number within `error` of it rounds to the same
/// double. The sum must be neither subnormal nor overflow.
inline bool roundIfCertain(double high, double low, double error, double* result)
{
    *result = high + (low + error);
    return *result == high + (low - error);
}

/// The double nearest to |a|, ties to even; infinity beyond the largest one.
template <std::size_t kWords>
double roundMagnitude(Wide<kWords> const& a)
{
    int const exponent = a.exponent - 1; // of the first bit
    if (a.isZero() || exponent < -1075) return 0.0;
    if (exponent > 1023) return fromBits(kInfinityBits);
    int const places = exponent >= -1022 ? 53 : exponent + 1075; // of the result, none for half the smallest number
    std::uint64_t const first = a.words[0];
    std::uint64_t const kept = places == 0 ? 0 : first >> (64 - places);
    std::uint64_t const rest = first << places;
    bool isTie = rest == kSignBit;
    for (std::size_t i = 1; i < kWords; ++i) isTie = isTie && a.words[i] == 0;
    std::uint64_t const rounded = kept + (rest >= kSignBit && !(isTie && kept % 2 == 0) ? 1 : 0);
    if (exponent < -1022) return fromBits(rounded);
    return fromBits((static_cast<std::uint64_t>(exponent + 1022) << 52) + rounded);
}

/// Rounds `a` if all numbers within an error of 2^errorExponent around it round to the same double.
template <std::size_t kWords>
bool roundIfCertain(Wide<kWords> const& a, int errorExponent, double* result)
{
    Wide<kWords> const error = makeWide<kWords>(1, errorExponent);
    Wide<kWords> const least = a.negative ? a + error : a - error;
    Wide<kWords> const most = a.negative ? a - error : a + error;
    if (least.negative != a.negative || least.isZero()) return false;
    double const magnitude = roundMagnitude(least);
    if (magnitude != roundMagnitude(most)) return false;
    *result = a.negative ? -magnitude : magnitude;
    return true;
}

} // namespace sinew::detail::portable
