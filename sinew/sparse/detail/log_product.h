#pragma once

/// The logarithm of a product of many numbers, with the same bits on every system.
///
/// The product is kept as a fraction and a power of two, so that it neither overflows nor loses digits. Only one
/// logarithm is then computed, by a series in plain arithmetic, because the logarithms of math libraries differ in
/// their last bit.
/// Source: M. Abramowitz, I. Stegun, Handbook of Mathematical Functions, 1964, formula 4.1.27, for the series.

#include <cmath>
#include <cstdint>

namespace sinew::detail {

/// A product as `fraction` times 2 to the power of `exponent`. The fraction is in [0.5, 1), or it is 0, infinite or
/// NaN.
class ScaledProduct
{
public:
    void multiply(double x)
    {
        takeExponent(x);
        fraction_ *= x;
        takeExponent(fraction_);
    }

    /// The natural logarithm of the magnitude of the product; minus infinity for 0.
    double logarithm() const
    {
        double fraction = std::fabs(fraction_);
        std::int64_t exponent = exponent_;
        if (fraction == 0.0) return -HUGE_VAL;
        if (!(fraction < HUGE_VAL)) return fraction;
        if (fraction < kRootOfHalf) { // the series needs fewest terms for numbers close to 1
            fraction *= 2.0;
            --exponent;
        }
        constexpr double kLogOf2 = 0.693147180559945309417232121458;
        return static_cast<double>(exponent) * kLogOf2 + logNearOne(fraction);
    }

private:
    static constexpr double kRootOfHalf = 0.7071067811865475;

    void takeExponent(double& x)
    {
        if (x == 0.0 || !(std::fabs(x) < HUGE_VAL)) return; // they have no exponent
        int exponent = 0;
        x = std::frexp(x, &exponent);
        exponent_ += exponent;
    }

    // For x between the roots of 1/2 and of 2: 2 (s + s^3 / 3 + s^5 / 5 + ...) with s = (x - 1) / (x + 1). The sum is
    // taken from the smallest term on.
    static double logNearOne(double x)
    {
        constexpr int kTerms = 11; // |s| is below 0.172: the next term is below 2^-56 of the first one
        double const s = (x - 1.0) / (x + 1.0);
        double const square = s * s;
        double sum = 0.0;
        for (int k = kTerms - 1; k > 0; --k) sum = (sum + 1.0 / (2 * k + 1)) * square;
        return 2.0 * (s + s * sum);
    }

    double fraction_ = 1.0;
    std::int64_t exponent_ = 0;
};

} // namespace sinew::detail
