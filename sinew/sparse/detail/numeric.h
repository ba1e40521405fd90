#pragma once

/// What the numerical factorisations return.

#include <vector>

#include <sinew/sparse/llt_matrix.h>

namespace sinew::detail {

struct NumericResult
{
    LLTMatrix factor;           // without `perm`; incomplete if a pivot failed
    std::vector<double> pivots; // the value under the root of each diagonal entry, up to the failed one
    int failedAt = -1;          // position of the first pivot that is zero or negative, or -1
};

} // namespace sinew::detail
