#pragma once

/// The eigen-solver for symmetric 3x3 matrices: at most 51 plane rotations, no allocation.
///
/// Source: C. G. J. Jacobi, Über ein leichtes Verfahren, die in der Theorie der Säcularstörungen vorkommenden
/// Gleichungen numerisch aufzulösen, 1846. The rotation formulas are those of W. H. Press et al., Numerical Recipes,
/// section 11.1; each rotation annihilates the largest off-diagonal element, as in Jacobi's paper.

#include <sinew/core/matrix3.h>

/// The rotation in the (p, q) plane that annihilates the largest off-diagonal element of a symmetric matrix.
///
/// @param A             the matrix. Only its lower triangle is read.
/// @param p, q          receive the row and the column of the element with the largest magnitude in the strict lower
///                      triangle, so p > q. Of equally large elements the last in the order (1,0), (2,0), (2,1) is
///                      chosen. If (1,0) is NaN, it is chosen; another NaN is never chosen. Always written.
/// @param c, s, t, tau  receive the cosine, the sine and the tangent of the rotation angle, and s / (1 + c). The
///                      magnitude of the tangent is at most 1.
/// @return false, with c, s, t and tau unwritten, if both the doubled element and the difference of the two diagonal
///         elements are below 1e-13 in magnitude (strict). There is then nothing to rotate.
SINEW_API bool jacobiRotation(::Matrix3 const& A, int& p, int& q, double& c, double& s, double& t, double& tau);

/// Eigenvalues in ascending order and unit eigenvectors of the symmetric part (A + A^T) / 2.
///
/// @param values   receives three eigenvalues; may be null.
/// @param vectors  receives three eigenvectors in the order of their values; may be null. The vectors of equal
///                 eigenvalues keep the order of the columns that they were computed in. Signs are not normalised.
/// @return true if the sum of the off-diagonal magnitudes fell to 1e-08 or below within 51 rotations, or if there was
///         nothing to rotate. The results are written in either case; without convergence they are those after the
///         last rotation.
///
/// The threshold is absolute, so the elements of the matrix should be far above 1e-08. A random matrix takes 4 to 9
/// rotations. A NaN element ends the iteration at the first rotation that meets it, with true, and gives NaN.
SINEW_API bool jacobiMethod(::Matrix3 const& A, double* values, UVector3* vectors);
