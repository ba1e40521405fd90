#pragma once

/// The arithmetic of one panel, compiled once for each vector width.

#include <sinew/detail/dispatch.h>
#include <sinew/sparse/detail/panels.h>

namespace sinew::detail {

/// The state of a factorisation by panels, in which the panels are finished one after the other. All arrays are indexed
/// by the position in the elimination order unless stated otherwise.
struct PanelWork
{
    PanelPlan const* plan;
    double* values;   ///< The blocks: entries of the matrix until their panel is finished, then entries of the factor.
    double* pivots;   ///< The diagonal of the matrix, less the squares of all finished entries to its left.
    double* diag;     ///< The diagonal of the factor.
    double* invDiag;  ///< The reciprocals of `diag`.
    int* position;    ///< For each row below the current panel its row in the block. Others are undefined.
    int* nextRow;     ///< For each update of the current panel: its next row that is a column of the panel.
    int* where;       ///< Scratch: for each row of an updating panel its row in the block of the current panel.
    double* gathered; ///< Scratch: one for each row.

    double* columnOf(Panel const& panel, int c) const { return values + panel.columnStart(c); }
};

/// Finishes the panel with this index, once all earlier panels are finished. Stops at the first pivot that is zero
/// or negative and returns its position; returns -1 if there is none.
using PanelKernel = int (*)(PanelWork const& work, int index);

/// The kernel for a vector width, which must not exceed `widestVectors()`. All kernels return the same bits.
PanelKernel panelKernel(VectorWidth width);

} // namespace sinew::detail
