#pragma once

/// The real roots of a polynomial by exact arithmetic, for the polynomials about which rounded arithmetic does not
/// decide: with multiple or nearly multiple roots, or with coefficients of very different magnitudes. Not installed.

namespace sinew::detail {

/// The distinct real roots in ascending order, each the double nearest to it, and their multiplicities. Returns their
/// number.
///
/// @param coefficients  of x^0 to x^degree; all finite, the first and the last not zero.
/// @param degree  2 to 4.
/// @param roots, multiplicities  arrays of `degree` elements. Elements beyond the returned number are not written.
///
/// A root beyond the largest double gives an infinity, one near zero a zero of its sign. Up to about 60 KB of stack, no
/// allocation.
int exactRealRoots(double const* coefficients, int degree, double* roots, int* multiplicities);

} // namespace sinew::detail
