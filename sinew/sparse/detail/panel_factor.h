#pragma once

/// The factorisation by panels, the quicker one for all but small matrices.

#include <sinew/sparse/detail/entry_slots.h>
#include <sinew/sparse/detail/numeric.h>
#include <sinew/sparse/detail/panel_kernels.h>
#include <sinew/sparse/detail/panels.h>
#include <sinew/sparse/detail/sparse_rows.h>

namespace sinew::detail {

/// @param kernel  any that panelKernel gives; the bits do not depend on it.
NumericResult factorPanels(PanelPlan const& plan, SparseRows const& rows, std::vector<int> const& perm,
                           EntrySlots const& slots, PanelKernel kernel);

} // namespace sinew::detail
