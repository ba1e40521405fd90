#pragma once

/// A sparse symmetric positive-definite matrix, its fill-reducing ordering and its factorisation.
///
/// Fill `rows`, call `factor`, keep the factor, solve. Where several matrices share one pattern, `SymbolicFactor`
/// saves the ordering; where a matrix does not factor, `sinew::diagnose` says why.

#include <utility>
#include <vector>

#include <sinew/export.h>
#include <sinew/sparse/llt_matrix.h>

class SPDMatrix
{
public:
    /// Row i of the lower triangle, diagonal included: pairs (column, value), columns in any order, except that the
    /// diagonal entry (i, value) must be there, once, as the last pair. No column may be above i or below 0.
    ///
    /// A column given more than once in a row counts once, with the greatest of its values (NaN counts as greater
    /// than any number); values are not summed. The number of rows is the size of the matrix and fits an int.
    /// A matrix that breaks these rules is called malformed.
    std::vector<std::vector<std::pair<int, double>>> rows;

    /// The minimum-degree ordering of the matrix: for each row its position in the elimination order.
    ///
    /// The node with the fewest neighbours in the elimination graph goes next; among equal degrees the smallest index.
    /// Degrees are exact, never estimated, so the permutation is a function of the pattern alone. Explicit zeros count
    /// as entries. A malformed matrix gives an empty vector, and so does one without rows.
    ///
    /// Source: D. J. Rose, A graph-theoretic study of the numerical solution of sparse positive definite systems of
    /// linear equations, 1972, for the rule.
    SINEW_API std::vector<int> computePerm() const;

    /// The Cholesky factor: A = L L^T in the elimination order of `computePerm`.
    ///
    /// The result is the empty `LLTMatrix` if the matrix has no rows, is malformed, or meets a pivot that is zero or
    /// negative. A NaN pivot is not an error: it spreads into the rows that depend on it, so that the caller sees
    /// which unknowns are lost. Infinite entries likewise follow IEEE arithmetic.
    ///
    /// Every entry of the factor is a fixed sequence of roundings over ascending columns, the same on every machine.
    SINEW_API LLTMatrix factor() const;
};
