#pragma once

/// Differences and sums of products with the rounding error of one operation, by exact products.
///
/// Source: T. Ogita, S. M. Rump, S. Oishi, Accurate Sum and Dot Product, SIAM Journal on Scientific Computing 26, 2005.

#include <sinew/core/detail/expansion.h>

namespace sinew::detail {

/// a b - c d. The error is at most 2^-52 of the result and 10 * 2^-106 of the larger product.
inline double differenceOfProducts(TwoPart const& a, double b, TwoPart const& c, double d)
{
    TwoPart const ab = twoProduct(a.high, b);
    TwoPart const cd = twoProduct(c.high, d);
    return (ab.high - cd.high) + ((ab.low - cd.low) + (a.low * b - c.low * d));
}

/// A sum of products, as if it were computed in twice the precision and then rounded.
class CompensatedSum
{
public:
    void add(double a, double b)
    {
        TwoPart const product = twoProduct(a, b);
        TwoPart const sum = twoSum(high_, product.high);
        high_ = sum.high;
        low_ += sum.low + product.low;
    }
    /// Adds a number that is small compared with the products, such as the product of a lower part.
    void addSmall(double a) { low_ += a; }
    double value() const { return high_ + low_; }

private:
    double high_ = 0.0;
    double low_ = 0.0;
};

} // namespace sinew::detail
