#pragma once

/// The result of a numerical factorisation.

#include <vector>

#include <sinew/sparse/llt_matrix.h>

namespace sinew::detail {

/// What the factorisation of a matrix computes from its values.
struct NumericResult
{
    LLTMatrix factor;           ///< Without `perm`. Incomplete if a pivot failed.
    std::vector<double> pivots; ///< The squares of the diagonal entries before the root, up to the failed pivot.
    int failedAt = -1;          ///< Position of the first pivot that is zero or negative, or -1.
};

} // namespace sinew::detail
