#pragma once

/// The numerical factorisation by panels, the faster method for all but small matrices. Panels are finished in
/// ascending order, and each takes the updates of all earlier panels first (left-looking).

#include <vector>

#include <sinew/detail/dispatch.h>
#include <sinew/sparse/detail/entry_slots.h>
#include <sinew/sparse/detail/numeric.h>
#include <sinew/sparse/detail/panel_kernels.h>
#include <sinew/sparse/detail/panels.h>
#include <sinew/sparse/detail/sparse_rows.h>

namespace sinew::detail {

class ProgressMeter;

/// The numbers of a factor in panels.
struct PanelNumbers
{
    std::vector<double> values; ///< The blocks of all panels, and kPanelSlack doubles.
    std::vector<double> diag;   ///< The diagonal of the factor.

    PanelNumbers() = default;
    /// Zeros, as many as the plan needs.
    explicit PanelNumbers(PanelPlan const& plan);
};

/// What a factorisation by panels needs besides its result. See `PanelWork`.
struct PanelScratch
{
    std::vector<double> pivots, invDiag, gathered;
    std::vector<int> position, nextRow, where;

    PanelScratch() = default;
    explicit PanelScratch(PanelPlan const& plan);
};

/// Writes the entries of the matrix into `numbers`, whose values must be zero, and prepares the factorisation in these
/// arrays. Allocates nothing.
///
/// @param rows   well-formed, of the pattern that the plan and the slots were made for
/// @param perm   for each row its position in the elimination order
PanelWork loadPanels(PanelPlan const& plan, SparseRows const& rows, std::vector<int> const& perm,
                     EntrySlots const& slots, PanelNumbers& numbers, PanelScratch& scratch);

/// Replaces the loaded matrix by its factor. Allocates nothing. Returns the position of the first pivot that is zero or
/// negative, where it stops, or -1.
/// @param width  at most `widestVectors()`; the bits do not depend on it
/// @param meter  receives the progress; may be null
int factorInPlace(PanelWork const& work, VectorWidth width, ProgressMeter* meter = nullptr);

/// Sets the lists `rows` and `Mt` of the result, which must be empty, to the factor in `values`.
void writeLists(PanelPlan const& plan, double const* values, LLTMatrix& result);

/// The factor of a matrix as lists. The parameters are those of `loadPanels` and `factorInPlace`.
NumericResult factorPanels(PanelPlan const& plan, SparseRows const& rows, std::vector<int> const& perm,
                           EntrySlots const& slots, VectorWidth width, ProgressMeter* meter = nullptr);

} // namespace sinew::detail
