#pragma once

/// The Cholesky factor of a sparse symmetric positive-definite matrix. Use it to solve linear systems.

#include <utility>
#include <vector>

#include <sinew/export.h>

/// The lower triangular factor L with A = L L^T, where A is a sparse symmetric positive-definite matrix whose rows and
/// columns are in the elimination order.
///
/// `SPDMatrix::factor` returns it, and `solve` solves any number of systems with it. The empty factor, in which all
/// fields are empty, stands for a factorisation that failed.
///
/// All fields are public, so that a host may store, compare or edit a factor. `solve` uses what the fields hold at the
/// call. A copy is as large as the factor; moving is cheap. Memory: 32 bytes for each entry below the diagonal and 60
/// for each row (`sinew::SymbolicFactor::factorBytes`).
class LLTMatrix
{
public:
    /// Row i of L without its diagonal, as pairs (column, value). `factor` sorts them by ascending column; all columns
    /// are below i. Rows and columns are positions in the elimination order.
    std::vector<std::vector<std::pair<int, double>>> rows;

    /// The transpose of `rows`. List c holds (i, value) for every pair (c, value) of row i, in ascending order of i.
    std::vector<std::vector<std::pair<int, double>>> Mt;

    /// The diagonal of L.
    std::vector<double> diag;

    /// For each index in the caller's numbering its position in the elimination order.
    std::vector<int> perm;

    /// The empty factor.
    LLTMatrix() = default;
    LLTMatrix(LLTMatrix const&) = default;
    LLTMatrix(LLTMatrix&&) noexcept = default;
    /// Strong guarantee: if an allocation fails, the factor is unchanged.
    LLTMatrix& operator=(LLTMatrix const& other) { return *this = LLTMatrix(other); }
    LLTMatrix& operator=(LLTMatrix&&) noexcept = default;
    ~LLTMatrix() = default;

    /// Sets `Mt` to the transpose of `rows`. Call it after `rows` has been edited.
    ///
    /// Columns must be in [0, rows.size()). Linear in the number of entries. Each list of `Mt` is allocated once, at
    /// its exact size. Strong guarantee: if an allocation fails, `Mt` is unchanged.
    SINEW_API void initMt();

    /// Replaces `b` by the solution x of A x = b. Both vectors are in the caller's numbering, not in elimination order.
    ///
    /// Returns false and leaves `b` unchanged if `b`, `Mt`, `diag` or `perm` differ in size from `rows`. The empty
    /// factor therefore solves only an empty `b`, and returns true for it.
    ///
    /// Preconditions, which are not checked: `perm` holds each position once. The indices in `rows` and `Mt` are in
    /// [0, rows.size()), and none is the index of its own list.
    ///
    /// The forward substitution reads `rows`, the back substitution reads `Mt`. Each subtracts its products one by one
    /// in the order of the list, then divides by the diagonal. Equal fields therefore give equal bits. NaN and infinity
    /// propagate by the rules of IEEE arithmetic; a zero in `diag` gives infinity or NaN.
    ///
    /// Linear in the number of entries. Allocates one vector of the size of `b`; if that fails, `b` is unchanged
    /// (strong guarantee). Several threads may call it at once with different `b`.
    SINEW_API bool solve(std::vector<double>& b) const;
};
