#pragma once

/// The Cholesky factor of a sparse symmetric positive-definite matrix, and the solution of systems with it.
///
/// `SPDMatrix::factor` makes it; a host keeps it and solves any number of right-hand sides. All fields are public and
/// plain, so a host may store, compare or edit a factor; `solve` uses whatever they hold at the call.

#include <utility>
#include <vector>

#include <sinew/export.h>

class LLTMatrix
{
public:
    /// Row i of the lower-triangular factor L without its diagonal: (column, value), columns ascending and below i.
    /// Indices are positions in the elimination order.
    std::vector<std::vector<std::pair<int, double>>> rows;

    /// The transpose of `rows`: list c holds (i, value) for every pair (c, value) of row i, ascending in i.
    std::vector<std::vector<std::pair<int, double>>> Mt;

    /// The diagonal of L.
    std::vector<double> diag;

    /// Position of each index of the caller's numbering in the elimination order.
    std::vector<int> perm;

    /// Rebuilds `Mt` from `rows`; call it after editing `rows`. Columns must be in [0, rows.size()).
    /// Linear in the number of entries.
    SINEW_API void initMt();

    /// Replaces `b` by the solution x of A x = b, where A is the matrix that was factored. Both are in the caller's
    /// numbering.
    ///
    /// False, with `b` untouched, if `b`, `Mt`, `diag` or `perm` differ in size from `rows`. The empty factor, which
    /// stands for a failed factorisation, therefore solves nothing but an empty `b`.
    ///
    /// The forward sweep reads `rows`, the backward sweep reads `Mt`; each subtracts its products one by one in the
    /// order of the list and divides by the diagonal, so equal fields give equal bits. NaN and infinity propagate.
    /// `perm` must hold each position once; indices in `rows` and `Mt` must be in [0, rows.size()), and none may be
    /// that of its own list. Linear in the number of entries; allocates one vector of the size of `b`. Safe to call
    /// from several threads.
    SINEW_API bool solve(std::vector<double>& b) const;
};
