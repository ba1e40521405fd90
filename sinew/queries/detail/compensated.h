#pragma once

/// Sums and products with their rounding errors, and values of about twice the digits of a double. Not installed.
///
/// The order of operations and the split of the factors are fixed, so that the results have the same bits with and
/// without fused multiplication. They are exact if no product overflows, beyond about 2^996, or is so small that its
/// rounding error is below the least subnormal number.
///
/// Sources: T. J. Dekker, A Floating-Point Technique for Extending the Available Precision, 1971; D. E. Knuth, The Art
/// of Computer Programming, volume 2, third edition, 1997, section 4.2.2.

namespace sinew::detail {

/// The unevaluated sum of two doubles, where `low` is at most half a unit in the last place of `high`.
struct DoubleDouble
{
    double high = 0.0;
    double low = 0.0;
};

/// a + b, exactly.
inline DoubleDouble exactSum(double a, double b)
{
    double const sum = a + b;
    double const ofB = sum - a;
    return {sum, (a - (sum - ofB)) + (b - ofB)};
}

/// a + b, exactly, if |a| >= |b| or a = 0.
inline DoubleDouble exactSumOfOrdered(double a, double b)
{
    double const sum = a + b;
    return {sum, b - (sum - a)};
}

/// a b, exactly.
inline DoubleDouble exactProduct(double a, double b)
{
    constexpr double kSplit = 134217729.0; // 2^27 + 1: halves of 26 bits
    double const wideA = kSplit * a;
    double const wideB = kSplit * b;
    double const highA = wideA - (wideA - a);
    double const highB = wideB - (wideB - b);
    double const lowA = a - highA;
    double const lowB = b - highB;
    double const product = a * b;
    return {product, ((highA * highB - product) + highA * lowB + lowA * highB) + lowA * lowB};
}

/// Sums and products with a relative error below 2^-100, relative to the sum of the magnitudes for a sum.
inline DoubleDouble operator+(DoubleDouble a, DoubleDouble b)
{
    DoubleDouble const high = exactSum(a.high, b.high);
    DoubleDouble const low = exactSum(a.low, b.low);
    DoubleDouble const sum = exactSumOfOrdered(high.high, high.low + low.high);
    return exactSumOfOrdered(sum.high, sum.low + low.low);
}

inline DoubleDouble operator*(DoubleDouble a, DoubleDouble b)
{
    DoubleDouble const product = exactProduct(a.high, b.high);
    return exactSumOfOrdered(product.high, product.low + (a.high * b.low + a.low * b.high));
}

inline DoubleDouble operator*(double a, DoubleDouble b)
{
    DoubleDouble const product = exactProduct(a, b.high);
    return exactSumOfOrdered(product.high, product.low + a * b.low);
}

inline DoubleDouble operator-(DoubleDouble a, DoubleDouble b)
{
    return a + DoubleDouble{-b.high, -b.low};
}

} // namespace sinew::detail
