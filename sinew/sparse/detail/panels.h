#pragma once

/// The layout of a factor in panels.

#include <cstdint>
#include <vector>

#include <sinew/detail/as_index.h>
#include <sinew/sparse/detail/elimination.h>
#include <sinew/sparse/detail/sparse_rows.h>

namespace sinew::detail {

// Numbers that the layout of the panels and the kernels agree on.

/// Number of doubles in the widest vector of all kernels.
constexpr int kWidestLanes = 8;

/// The largest number of columns of a panel. Wider supernodes are split, so that the operands of two tiles fit into the
/// first-level cache.
constexpr int kMaxPanelWidth = 48;

/// In panels of at least so many columns, the rows below the panel are padded to a multiple of `kWidestLanes`. Their
/// tiles then have no remainder. In narrower panels the padding would cost more than it saves.
constexpr int kMinPaddedWidth = 4;

/// Number of vectors in the longest tile.
constexpr int kLongTileVectors = 4;

/// All blocks are followed by this many doubles, because the last tile of the last block may read as far.
constexpr int kPanelSlack = kLongTileVectors * kWidestLanes;

/// Consecutive columns with nested patterns, from `first` to first + width - 1: a supernode, or a part of a wide one.
/// Below the panel, the columns have the same `rowCount` rows, which are listed from rowIndex[rows] on, ascending.
///
/// The block is stored by columns, which are `stride` apart. A column holds first the rows of the panel itself (those
/// above the diagonal are not used), then the rows below the panel, then padding.
struct Panel
{
    std::int64_t rows = 0;   ///< Index of the first row below the panel in PanelPlan::rowIndex.
    std::int64_t values = 0; ///< Index of the block in the values of the factor.
    int first = 0;
    int width = 0;
    int rowCount = 0;
    int stride = 0;

    /// Number of rows in the block without padding.
    int height() const { return width + rowCount; }

    /// Index of the first value of column `c` of the block in the values of the factor.
    std::int64_t columnStart(int c) const { return values + static_cast<std::int64_t>(c) * stride; }

    /// Whether the rows below the panel, with their padding, fill whole vectors of any kernel.
    bool hasWholeVectors() const { return (stride - width) % kWidestLanes == 0; }
};

/// The update of a later panel by an earlier one. Rows rowBegin to rowEnd - 1 of the earlier panel, counted from its
/// first row below the panel, are columns of the later panel.
struct PanelUpdate
{
    int panel; ///< Index of the earlier panel.
    int rowBegin;
    int rowEnd;
};

/// The updates of one panel, for range-based loops.
struct PanelUpdates
{
    PanelUpdate const* first;
    PanelUpdate const* last;

    PanelUpdate const* begin() const { return first; }
    PanelUpdate const* end() const { return last; }
    int size() const { return static_cast<int>(last - first); }
};

/// The layout of a factor in panels, and the updates of each panel in their order.
///
/// Source: E. Ng, B. Peyton, Block sparse Cholesky algorithms on advanced uniprocessor computers, SIAM Journal on
/// Scientific Computing 14, 1993, for supernodes and the left-looking order of updates. We neither merge columns of
/// different patterns nor call dense library routines, because both could change the bits of the factor.
struct PanelPlan
{
    std::vector<Panel> panels;             ///< Ascending in `first`; together they cover all columns.
    std::vector<int> panelOf;              ///< For each column the index of its panel.
    std::vector<int> rowIndex;             ///< The rows below all panels, ascending for each.
    std::vector<std::int64_t> updateStart; ///< For each panel the index of its first update in `updates`.
    std::vector<PanelUpdate> updates;      ///< Sorted by the later panel, then by the earlier one.
    std::vector<int> rowLength;            ///< For each row of the factor the number of entries left of the diagonal.
    std::int64_t valueCount = 0;           ///< Number of doubles in all blocks.

    int const* rowsBelow(Panel const& panel) const { return rowIndex.data() + panel.rows; }

    PanelUpdates updatesOf(int panel) const
    {
        return {updates.data() + updateStart[asIndex(panel)], updates.data() + updateStart[asIndex(panel) + 1]};
    }

    /// Index in the values of an entry that the factor has. Logarithmic in the number of rows of its panel.
    std::int64_t locate(int row, int column) const;

    /// Number of bytes in the lists.
    std::int64_t bytes() const;
};

/// @param parent  the elimination tree of `pattern`
/// @param counts  the column counts of `pattern`
PanelPlan planPanels(LowerPattern const& pattern, std::vector<int> const& parent, std::vector<int> const& counts);

/// The layout of a factor whose columns below the diagonal are given: for each the pairs (row, value), rows ascending
/// and greater than the column. Any such pattern will do. The plan has no updates.
PanelPlan planOfColumns(SparseRows const& columns);

} // namespace sinew::detail
