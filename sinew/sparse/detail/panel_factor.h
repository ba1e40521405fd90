#pragma once

/// The numerical factorisation by panels, the faster method for all but small matrices. Panels are finished in
/// ascending order, and each takes the updates of all earlier panels first (left-looking).

#include <sinew/detail/dispatch.h>
#include <sinew/sparse/detail/entry_slots.h>
#include <sinew/sparse/detail/numeric.h>
#include <sinew/sparse/detail/panels.h>
#include <sinew/sparse/detail/sparse_rows.h>

namespace sinew::detail {

/// @param rows   well-formed, of the pattern that the plan and the slots were made for
/// @param perm   for each row its position in the elimination order
/// @param width  at most `widestVectors()`; the bits do not depend on it
NumericResult factorPanels(PanelPlan const& plan, SparseRows const& rows, std::vector<int> const& perm,
                           EntrySlots const& slots, VectorWidth width);

} // namespace sinew::detail
