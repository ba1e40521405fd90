#pragma once

/// Real roots of quadratics and cubics with coefficients of the order of 1, as they occur in geometry.
///
/// One absolute threshold, 1e-13 (`sinew::kGeometricZero`), decides whether a coefficient is zero, whether a
/// discriminant is zero and whether a value is a root. The result therefore depends on the scale of the coefficients: a
/// leading coefficient of 1e-14 counts as zero even if all others are as small. Scale a polynomial first so that its
/// coefficients are of the order of 1.
///
/// The functions do not throw, do not allocate, and report errors only through the number of roots.

#include <sinew/export.h>

/// The real roots of a x^2 + b x + c = 0.
///
/// @param roots  an array of at least two, not null. Elements beyond the returned number are not written.
/// @return the number of roots: 0, 1 or 2.
///
/// The roots are (-b - s) / (2 a) and (-b + s) / (2 a), in this order, where s is the square root of the discriminant.
/// They ascend for a > 0 and descend for a < 0. A discriminant in [-1e-13, 1e-13) gives a double root, which is written
/// twice and counted as 2. |a| < 1e-13 leaves a linear equation with one root; if |b| < 1e-13 too, there is no root,
/// even for c = 0. NaN counts as a regular coefficient: a NaN `a` or a NaN discriminant gives two NaN roots, and a NaN
/// in a linear equation gives one. Coefficients beyond about 1e154 overflow the discriminant.
///
/// Accuracy: the formula is evaluated without a rearrangement. Where b^2 is much larger than 4ac, the two terms of one
/// numerator cancel, and the root of smaller magnitude loses as many digits as they share.
SINEW_API int solveQuadratic(double a, double b, double c, double* roots);

/// The real roots of a x^3 + b x^2 + c x + d = 0, in ascending order.
///
/// @param roots  an array of at least three, not null. Elements beyond the returned number are not written.
/// @return the number of roots: 1 or 3, where a multiple root counts as often as it occurs. For |a| < 1e-13 the result
///         and the roots are those of `solveQuadratic(b, c, d, roots)`, in its order.
///
/// The method is a numerical search, not a closed form. A critical point whose value is at most 1e-13 in magnitude is
/// taken as a root; double and triple roots are found in this way. Otherwise the function brackets a change of sign and
/// alternates false position and bisection until the width of the bracket and the sum of the magnitudes at its ends are
/// at most 1e-13, or for 101 iterations. The other two roots are those of the quadratic that remains after division by
/// the first factor.
///
/// Accuracy: the error of the first root is that of the rounding in the polynomial's own values. The other two roots
/// inherit this error through the division. The roots of a close pair are accurate to about half of the digits.
///
/// The function returns for every input. A NaN or infinite coefficient, or coefficients for which a value overflows,
/// give a count of 1 or 3 and roots without meaning, which may be NaN; callers must exclude such input.
///
/// Cost: 30 to 55 evaluations of the polynomial for roots up to 1e4 in magnitude. The lower number holds for small
/// roots and a > 0, where false position helps. The upper limit is 101, plus two for every time that the bracket is
/// tripled until its ends differ in sign: two times for roots near 5, at most 647 times.
///
/// Sources: R. P. Brent, Algorithms for Minimization without Derivatives, 1973, chapter 4, which combines interpolation
/// with bisection but chooses between them in a finer way; W. H. Press et al., Numerical Recipes in C, second edition,
/// 1992, sections 9.1, 9.2 and 9.5 for bracketing, false position and deflation.
SINEW_API int solveCubic(double a, double b, double c, double d, double* roots);
