#pragma once

/// Real roots of polynomials up to degree 4, at any scale: all of them, each with its multiplicity and to the last
/// place.
///
/// `solveQuadratic` and `solveCubic` of polynomial_roots.h have absolute thresholds for coefficients of the order of 1,
/// and keep their results to the bit. Take `realRoots` unless a host depends on those results: it has no threshold, so
/// that the number of roots is that of the polynomial with exactly these coefficients.
///
/// Nothing here throws, allocates or keeps state.

#include <cstddef>

#include <sinew/arithmetic.h>
#include <sinew/export.h>

namespace sinew {

/// What `realRoots` has found.
enum class RootsOutcome
{
    found,       ///< All real roots; there may be none.
    everyNumber, ///< The polynomial is zero, so that every number is a root. `count` is 0.
    notFinite,   ///< A coefficient is NaN or infinite. `count` is 0.
    badDegree    ///< The degree is below 0 or above 4. `count` is 0.
};

/// The real roots of a polynomial.
struct RealRoots
{
    RootsOutcome outcome = RootsOutcome::found;
    int count = 0; ///< The number of distinct roots, in [0, 4].
    /// In ascending order; zero from `count` on. Two roots that round to the same double stand beside each other.
    double roots[4] = {0.0, 0.0, 0.0, 0.0};
    /// How often each of the roots occurs, 1 to 4; zero from `count` on. The sum is at most the degree.
    int multiplicities[4] = {0, 0, 0, 0};
};

/// The real roots of c[0] x^n + c[1] x^(n - 1) + ... + c[n] = 0, where n is `degree`, 0 to 4.
///
/// @param coefficients  degree + 1 numbers, that of the highest power first, as in `solveCubic`. Null is allowed if the
///                      degree is out of its range.
///
/// Leading zeros lower the degree. A constant other than zero has no root; for the zero polynomial see `RootsOutcome`.
/// -0 counts as 0, and a root of zero is +0.
///
/// The number of roots and the multiplicities are those of the polynomial with exactly these coefficients: where
/// rounded arithmetic does not decide, exact integers do. The result does not depend on scale: multiplying all
/// coefficients by a power of two changes nothing, and a variable in units of a power of two changes the roots by this
/// power, as long as no number overflows or loses digits to underflow. A coefficient that is itself a rounded result
/// splits a multiple root: (x - 0.1)^2, multiplied out in doubles, has two close roots or none.
///
/// Accuracy: every root, simple or multiple, differs from the exact one by at most one unit in its last place; most
/// are the nearest double. A root beyond the largest double is given as an infinity of its sign, and one below half the
/// least subnormal number as +0.
///
/// Cost: 0.1 us to 3 us for roots that rounded arithmetic separates. Exact integers take 10 us to 100 us where roots
/// are multiple or coincide to about 15 digits, or where the coefficients, at the scale of the roots, differ by more
/// than 2^100; some milliseconds if they span the whole range of doubles. Up to about 60 KB of stack in these cases.
///
/// Sources: S. Graillat, P. Langlois, N. Louvet, Compensated Horner Scheme, 2005, for values with a bound of their
/// error; W. Kahan, On the Cost of Floating-Point Computation Without Extra-Precise Arithmetic, 2004, for quadratics;
/// C. Sturm, Mémoire sur la résolution des équations numériques, 1835, for the number of roots.
SINEW_API RealRoots realRoots(double const* coefficients, int degree);

/// The same for an array or a list of one to five numbers, such as `realRoots({1, -6, 11, -6})`.
template <std::size_t n>
RealRoots realRoots(double const (&coefficients)[n])
{
    static_assert(n <= 5, "realRoots takes polynomials up to degree 4");
    return realRoots(coefficients, static_cast<int>(n) - 1);
}

} // namespace sinew
