#pragma once

/// The factor cut into panels: consecutive columns with nested patterns, stored as dense blocks.

#include <cstdint>
#include <vector>

#include <sinew/sparse/detail/elimination.h>

namespace sinew::detail {

/// Columns first to first + width - 1 share their rows below: the `rowCount` rows that start at rowIndex[rows].
/// The block is stored by columns, `stride` apart: first the panel's own rows (above the diagonal unused), then those
/// below, then padding.
struct Panel
{
    std::int64_t rows;
    std::int64_t values;
    int first;
    int width;
    int rowCount;
    int stride;
};

/// An earlier panel that changes a later one: those of its rows that are columns of the later one are its rows
/// rowBegin to rowEnd - 1.
struct PanelUpdate
{
    int panel;
    int rowBegin;
    int rowEnd;
};

struct PanelPlan
{
    std::vector<Panel> panels;
    std::vector<int> panelOf;              // of each column
    std::vector<int> rowIndex;             // rows below the panels, ascending in each
    std::vector<std::int64_t> updateStart; // of each panel in `updates`
    std::vector<PanelUpdate> updates;      // ascending in the updating panel
    std::vector<int> rowLength;            // entries in each row of the factor, without the diagonal
    std::int64_t valueCount = 0;           // doubles in all blocks

    /// Index of an entry of the factor in the values.
    std::int64_t locate(int row, int column) const;

    std::int64_t bytes() const;
};

/// Blocks are followed by this many doubles, so that a tile of rows may be read past the end of the last.
constexpr int kPanelSlack = 32;

PanelPlan planPanels(LowerPattern const& pattern, std::vector<int> const& parent, std::vector<int> const& counts);

} // namespace sinew::detail
