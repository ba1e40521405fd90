#pragma once

/// Real roots of quadratics and cubics, for geometry whose coefficients are near 1: intersections, distances, timings.
///
/// One absolute tolerance, 1e-13, decides when a coefficient is gone, a discriminant is zero and a value is a root.
/// Coefficients are therefore not scale-free: scale a polynomial so that its coefficients are of the order of 1, or an
/// honest leading coefficient of 1e-14 counts as zero. No function throws, allocates or reports an error but by its
/// count of roots.

#include <sinew/export.h>

/// Real roots of a x^2 + b x + c = 0, and their number: 0, 1 or 2.
///
/// @param roots  room for two, not null. Entries beyond the returned count are not written.
///
/// The roots are (-b - s) / (2 a) and (-b + s) / (2 a), in that order: ascending for a > 0, descending for a < 0.
/// A discriminant in [-1e-13, 1e-13) is a double root, written twice and counted as 2. |a| < 1e-13 leaves the linear
/// equation, with one root or, for |b| < 1e-13 too, none, even if c is 0. NaN goes to the regular branch: a NaN `a` or
/// a NaN discriminant gives two NaN roots. Coefficients beyond about 1e154 overflow the discriminant.
///
/// The formula is the plain one: where b^2 is much larger than 4ac, the root of smaller magnitude loses as many digits
/// as the two terms of its numerator share.
SINEW_API int solveQuadratic(double a, double b, double c, double* roots);

/// Real roots of a x^3 + b x^2 + c x + d = 0 in ascending order, and their number.
///
/// @param roots  room for three, not null. Entries beyond the returned count are not written.
/// @return 1 or 3, multiple roots counted as often as they occur; for |a| < 1e-13 what `solveQuadratic(b, c, d)`
///         returns, in its order.
///
/// There is no closed form inside. A critical point whose value is at most 1e-13 in magnitude is a root, which is how
/// double and triple roots are found; otherwise a sign change is bracketed and narrowed by alternating false position
/// and bisection, until the bracket and the values at its ends are within 1e-13, or 101 times. The rest is a quadratic.
/// The first root is as good as the polynomial's own rounding lets it be; the other two inherit its error through the
/// deflation, and the roots of a close pair are good to about half the digits.
///
/// It returns for every input. A bracket takes 30 to 55 evaluations for roots up to 1e4 (the lower end for small roots
/// and a > 0, where false position helps), never more than 101 and two for every time the bracket triples until its
/// ends differ in sign: two times for roots near 5, at most 647. A NaN or infinite coefficient, or values that
/// overflow, give a count of 1 or 3 and numbers without meaning, NaN or not; test such input beforehand.
///
/// Source for the false position kept alive by bisection: R. P. Brent, Algorithms for Minimization without Derivatives,
/// 1973, chapter 4, where the choice of step is finer.
SINEW_API int solveCubic(double a, double b, double c, double d, double* roots);
