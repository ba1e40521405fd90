#pragma once

/// The arithmetic of one panel, compiled once for each width of vectors.

#include <cstdint>

#include <sinew/detail/dispatch.h>
#include <sinew/sparse/detail/panels.h>

namespace sinew::detail {

/// The state of a factorisation by panels. Panels are done in order; all arrays are indexed by position in the
/// elimination order unless stated otherwise.
struct PanelWork
{
    PanelPlan const* plan;
    double* values;   // the blocks: of the matrix before a panel's turn, of the factor after it
    double* pivots;   // diagonal of the matrix, less the squares of all finished entries to its left
    double* diag;     // of the factor
    double* invDiag;  // reciprocals of `diag`
    int* position;    // row in the block of the panel at work; anything for rows that it does not have
    int* cursor;      // scratch, one for each update of a panel: its next row that is a column of the panel
    int* where;       // scratch, one for each row of an updating panel: its row in the block of the panel at work
    double* gathered; // scratch, one for each row
};

/// Finishes panel `index`; the result is the position of its first pivot that is zero or negative, or -1.
using PanelKernel = int (*)(PanelWork& work, int index);

/// The kernel for a width of vectors, or null where this build or this processor does not have it.
/// All give the same bits.
PanelKernel panelKernel(VectorWidth width);

} // namespace sinew::detail
