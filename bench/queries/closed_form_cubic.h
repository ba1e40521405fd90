#pragma once

/// The closed form of the roots of a cubic: a cube root for one real root, three cosines for three.
/// Source: W. H. Press et al., Numerical Recipes in C, second edition, 1992, section 5.6, after G. Cardano and F.
/// Viète.

#include <algorithm>
#include <cmath>

namespace bench {

/// The real roots of a x^3 + b x^2 + c x + d in ascending order. Returns their number, 1 or 3. `a` must not be zero.
inline int closedFormCubic(double a, double b, double c, double d, double* roots)
{
    double const shift = b / (3 * a);
    double const p = (c / a) / 3 - shift * shift;
    double const q = shift * shift * shift - shift * (c / a) / 2 + d / a / 2;
    double const discriminant = q * q + p * p * p;
    if (discriminant > 0) {
        double const u = std::cbrt(std::fabs(q) + std::sqrt(discriminant));
        roots[0] = (q > 0 ? p / u - u : u - p / u) - shift;
        return 1;
    }
    double const size = 2 * std::sqrt(-p);
    double const cosine = p < 0 ? -q / std::sqrt(-p * p * p) : 0;
    double const angle = std::acos(std::max(-1.0, std::min(1.0, cosine))) / 3;
    constexpr double kThirdOfATurn = 2.0943951023931953; // radians
    roots[0] = size * std::cos(angle + kThirdOfATurn) - shift;
    roots[1] = size * std::cos(angle - kThirdOfATurn) - shift;
    roots[2] = size * std::cos(angle) - shift;
    return 3;
}

} // namespace bench
