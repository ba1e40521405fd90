#pragma once

/// Forward and back substitution with a factor in panels, for several right-hand sides at once.

#include <cstddef>

#include <sinew/detail/dispatch.h>
#include <sinew/sparse/detail/panels.h>

namespace sinew::detail {

/// The numbers of a factor in panels. Nothing is owned.
struct PanelFactorView
{
    PanelPlan const* plan;
    double const* values; ///< the blocks
    double const* diag;   ///< the diagonal of the factor
};

/// The number of rows below the panel that has most of them.
std::size_t largestRowCount(PanelPlan const& plan);

/// Replaces `Count` right-hand sides (1, 4 or 8) by the solutions, with the bits of `substitute` (substitution.h): each
/// unknown takes the same products in the same order. Both are in the elimination order.
///
/// @param y         unknown i has its `Count` values from y + i * Count on
/// @param gathered  scratch of `largestRowCount` doubles
/// @param width     at most `widestVectors()`; the bits do not depend on it
template <std::size_t Count>
void substitutePanels(PanelFactorView const& factor, double* y, double* gathered, VectorWidth width = widestVectors());

} // namespace sinew::detail
