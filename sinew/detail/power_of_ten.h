#pragma once

/// Powers of ten in 128 bits, for the conversion between numbers and text. Not installed.

#include <sinew/detail/uint128.h>

namespace sinew::detail {

inline constexpr int kLeastPowerOfTen = -364;   ///< the least argument of `powerOfTen`
inline constexpr int kGreatestPowerOfTen = 363; ///< the greatest argument of `powerOfTen`

/// mantissa * 2^exponent; the first bit of the mantissa is set.
struct PowerOfTen
{
    portable::UInt128 mantissa;
    int exponent;
    bool exact; ///< whether this is the power itself; otherwise the power lies above, by less than 2^exponent
};

/// 10^k, truncated to 128 bits.
PowerOfTen powerOfTen(int k);

/// floor(log2(10^k)); |k| <= 1233.
inline int floorLog2OfPowerOfTen(int k)
{
    return (k * 1741647) >> 19; // 2^19 log2(10), rounded
}

/// floor(log10(2^q)); |q| <= 1100.
inline int floorLog10OfPowerOfTwo(int q)
{
    return (q * 1262611) >> 22; // 2^22 log10(2), rounded
}

/// floor(log10(3/4 * 2^q)); |q| <= 1100.
inline int floorLog10OfThreeQuarters(int q)
{
    return (q * 1262611 - 524031) >> 22; // the same, and 2^22 log10(4/3)
}

} // namespace sinew::detail
