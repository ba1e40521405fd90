#pragma once

/// The cyclic Jacobi eigen-solver for symmetric 3x3 matrices: at most 51 plane rotations, no allocation.
///
/// Source: C. G. J. Jacobi, Über ein leichtes Verfahren, die in der Theorie der Säcularstörungen vorkommenden
/// Gleichungen numerisch aufzulösen, 1846; in the form of W. H. Press et al., Numerical Recipes, section 11.1, but with
/// the largest off-diagonal element chosen for every rotation.

#include <sinew/core/matrix3.h>

/// The rotation in the (p, q) plane that annihilates the largest off-diagonal element of a symmetric matrix.
///
/// @param p, q  receive the row and the column of that element of the strict lower triangle (p > q). Of equally large
///              ones the last in the order (1,0), (2,0), (2,1) wins; (1,0) stays the choice where it is NaN, and a
///              later NaN is passed by. Always written.
/// @param c, s, t, tau  receive cosine, sine, tangent and s / (1 + c) of the rotation angle.
/// @return false, with c, s, t, tau unwritten, when both the doubled element and the difference of the two diagonal
///         elements are below 1e-13 in magnitude: nothing is left to rotate.
SINEW_API bool jacobiRotation(Matrix3 const& A, int& p, int& q, double& c, double& s, double& t, double& tau);

/// Eigenvalues, ascending, and unit eigenvectors of the symmetric part (A + A^T) / 2.
///
/// @param values   receives three eigenvalues; may be null.
/// @param vectors  receives three eigenvectors in the same order; may be null. Equal eigenvalues keep the order of
///                 their columns; signs are not normalised.
/// @return whether the sum of off-diagonal magnitudes fell to 1e-08 or below within 51 rotations, or nothing was
///         left to rotate. The best values found are written in either case. A random matrix takes 4 to 9 rotations;
///         NaN stops at once, with true, and gives NaN.
SINEW_API bool jacobiMethod(Matrix3 const& A, double* values, UVector3* vectors);
