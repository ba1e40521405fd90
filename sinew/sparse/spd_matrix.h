#pragma once

/// A sparse symmetric positive-definite matrix. Use it to order and factor the matrix of a linear system.

#include <optional>
#include <utility>
#include <vector>

#include <sinew/core/progress.h>
#include <sinew/export.h>
#include <sinew/sparse/llt_matrix.h>

/// The lower triangle of a sparse symmetric positive-definite matrix.
///
/// Fill `rows`, call `factor`, and solve systems with the returned `LLTMatrix`. If several matrices have the same
/// pattern, `sinew::SymbolicFactor` computes the ordering only once. If a matrix does not factor, `sinew::diagnose`
/// reports the reason.
///
/// The functions do not change the matrix, so several threads may call them at once.
///
/// @code
/// SPDMatrix matrix;
/// matrix.rows = {{{0, 2.0}}, {{0, -1.0}, {1, 2.0}}}; // the rows (2) and (-1, 2) of the lower triangle
/// LLTMatrix const factor = matrix.factor();
/// std::vector<double> x = {1, 1}; // the right-hand side
/// if (factor.solve(x)) std::printf("(%g, %g)\n", x[0], x[1]); // (1, 1)
/// @endcode
class SPDMatrix
{
public:
    /// Row i of the lower triangle as pairs (column, value), the diagonal included. The last pair must be the diagonal
    /// entry (i, value). All other columns must be in [0, i), in any order.
    ///
    /// If a row holds a column several times, only the greatest of its values counts; NaN counts as greater than any
    /// number. Values are not summed. The number of rows is the size of the matrix and must fit an int.
    ///
    /// A matrix that breaks these rules is called malformed.
    std::vector<std::vector<std::pair<int, double>>> rows;

    /// The matrix without rows.
    SPDMatrix() = default;
    SPDMatrix(SPDMatrix const&) = default;
    SPDMatrix(SPDMatrix&&) noexcept = default;
    /// Strong guarantee: if an allocation fails, the matrix is unchanged.
    SPDMatrix& operator=(SPDMatrix const& other) { return *this = SPDMatrix(other); }
    SPDMatrix& operator=(SPDMatrix&&) noexcept = default;
    ~SPDMatrix() = default;

    /// The minimum-degree ordering: for each row its position in the elimination order.
    ///
    /// Each step eliminates the node with the fewest neighbours in the elimination graph. Among equal degrees it
    /// eliminates the smallest index. Degrees are exact, so the permutation is a function of the pattern. Values are
    /// not read; an explicit zero counts as an entry.
    ///
    /// Returns an empty vector for a malformed matrix and for a matrix without rows.
    ///
    /// Memory is linear in the number of entries. The time depends on the graph; the guide has measurements. Strong
    /// guarantee.
    ///
    /// Source: D. J. Rose, A graph-theoretic study of the numerical solution of sparse positive definite systems of
    /// linear equations, 1972, for the rule. A. George, J. Liu, The evolution of the minimum degree ordering algorithm,
    /// SIAM Review 31, 1989, for its efficient form. detail/minimum_degree.cpp describes the differences.
    SINEW_API std::vector<int> computePerm() const;

    /// The Cholesky factor L of the matrix A, with A = L L^T in the elimination order of `computePerm`.
    ///
    /// Returns the empty `LLTMatrix` if the matrix has no rows, is malformed, or has a pivot that is zero or negative.
    /// A NaN pivot is accepted. NaN then propagates to the rows that depend on this pivot, so that the caller sees
    /// which unknowns are lost. Infinite entries follow the rules of IEEE arithmetic.
    ///
    /// An entry of L below the diagonal is L_ir = (A_ir - sum of L_rk L_ik over k < r) / L_rr. It is computed as
    /// A_ir * (1 / L_rr), then for k ascending minus (L_rk * L_ik) * (1 / L_rr), and each operation is rounded
    /// separately. A pivot is A_ii minus the squares of L_ik, for k ascending. The bits are therefore the same on every
    /// processor. Strong guarantee.
    ///
    /// Source: T. Davis, Direct Methods for Sparse Linear Systems, 2006, section 4.7, for the up-looking method, which
    /// small matrices use. E. Ng, B. Peyton, Block sparse Cholesky algorithms on advanced uniprocessor computers, SIAM
    /// Journal on Scientific Computing 14, 1993, for the supernodal method, which all others use.
    SINEW_API LLTMatrix factor() const;
};

namespace sinew {

/// `matrix.computePerm()` with progress. See `Progress`.
SINEW_API std::optional<std::vector<int>> computePerm(SPDMatrix const& matrix, Progress const& progress);

/// `matrix.factor()` with progress. See `Progress`. The ordering and the analysis count as the first 15 percent.
SINEW_API std::optional<LLTMatrix> factor(SPDMatrix const& matrix, Progress const& progress);

} // namespace sinew
