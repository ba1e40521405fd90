#pragma once

/// Arithmetic with about twice the digits of a double: values are unevaluated sums of two doubles. Not installed.
///
/// The order of operations is fixed, so that the results have the same bits with and without fused multiplication. The
/// bounds hold if no product overflows, beyond about 2^996, or is so small that its rounding error is below the least
/// subnormal number.
///
/// Sources: T. J. Dekker, A Floating-Point Technique for Extending the Available Precision, 1971; D. E. Knuth, The Art
/// of Computer Programming, volume 2, third edition, 1997, section 4.2.2.

#include <sinew/core/detail/expansion.h>

namespace sinew::detail {

/// Sums and products with a relative error below 2^-100, relative to the sum of the magnitudes for a sum.
inline TwoPart operator+(TwoPart const& a, TwoPart const& b)
{
    TwoPart const high = twoSum(a.high, b.high);
    TwoPart const low = twoSum(a.low, b.low);
    TwoPart const sum = fastTwoSum(high.high, high.low + low.high);
    return fastTwoSum(sum.high, sum.low + low.low);
}

inline TwoPart operator*(TwoPart const& a, TwoPart const& b)
{
    TwoPart const product = twoProduct(a.high, b.high);
    return fastTwoSum(product.high, product.low + (a.high * b.low + a.low * b.high));
}

inline TwoPart operator*(double a, TwoPart const& b)
{
    TwoPart const product = twoProduct(a, b.high);
    return fastTwoSum(product.high, product.low + a * b.low);
}

inline TwoPart operator-(TwoPart const& a, TwoPart const& b)
{
    return a + TwoPart{-b.high, -b.low};
}

} // namespace sinew::detail
