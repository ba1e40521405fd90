#pragma once

/// The solution of several systems with the same factor. This is faster than several calls of `LLTMatrix::solve`.

#include <optional>
#include <vector>

#include <sinew/core/progress.h>
#include <sinew/export.h>
#include <sinew/sparse/llt_matrix.h>

namespace sinew {

/// Replaces each right-hand side by its solution, with the same bits as `LLTMatrix::solve`.
///
/// Returns false and leaves all right-hand sides unchanged if one has the wrong size, or if the fields of the factor
/// differ in size. Returns true if there are no right-hand sides. The preconditions of `LLTMatrix::solve` hold for the
/// factor.
///
/// Reads the factor once for every eight right-hand sides. For a large factor this reading takes most of the time.
/// Allocates up to eight vectors of the size of a right-hand side, before anything changes (strong guarantee). Several
/// threads may call it at once with different right-hand sides.
SINEW_API bool solveMany(LLTMatrix const& factor, std::vector<std::vector<double>>& rightHandSides);

/// The same with progress. See `Progress`: the value is empty if the host has cancelled. The solutions are computed in
/// memory of their own and copied at the end. The progress is reported before each group of eight.
SINEW_API std::optional<bool> solveMany(LLTMatrix const& factor, std::vector<std::vector<double>>& rightHandSides,
                                        Progress const& progress);

} // namespace sinew
