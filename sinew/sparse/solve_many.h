#pragma once

/// Several right-hand sides with one factor, faster than one after the other.

#include <vector>

#include <sinew/export.h>
#include <sinew/sparse/llt_matrix.h>

namespace sinew {

/// Replaces every right-hand side by its solution, with the bits that `LLTMatrix::solve` gives each.
///
/// False, with all of them untouched, if one has the wrong size or the factor's fields disagree in size. No right-hand
/// sides at all are solved trivially. The contract of `LLTMatrix::solve` holds for the factor.
///
/// The factor is read once for every eight right-hand sides, which is what their solution costs when it is large.
/// Allocates eight vectors of the size of one. Safe to call from several threads.
SINEW_API bool solveMany(LLTMatrix const& factor, std::vector<std::vector<double>>& rightHandSides);

} // namespace sinew
