#include <sinew/sparse/detail/panels.h>

#include <algorithm>
#include <cassert>
#include <cstddef>

#include <sinew/detail/element_count.h>

namespace sinew::detail {

namespace {

// @param counts   for each column the number of its entries below the diagonal
// @param isNested  isNested(j): whether column j - 1 has an entry in row j, and the pattern of column j otherwise
template <typename IsNested>
void cutColumns(PanelPlan& plan, std::vector<int> const& counts, IsNested isNested)
{
    int const n = static_cast<int>(counts.size());
    plan.panelOf.resize(asIndex(n));
    for (int j = 0; j < n; ++j) {
        std::size_t const column = asIndex(j);
        bool const continues = j > 0 && plan.panels.back().width < kMaxPanelWidth && isNested(column);
        if (!continues) {
            plan.panels.emplace_back();
            plan.panels.back().first = j;
        }
        ++plan.panels.back().width;
        plan.panels.back().rowCount = counts[column];
        plan.panelOf[column] = static_cast<int>(plan.panels.size()) - 1;
    }
}

void layOut(PanelPlan& plan)
{
    std::int64_t rows = 0;
    for (Panel& panel : plan.panels) {
        int const vectors = (panel.rowCount + kWidestLanes - 1) / kWidestLanes;
        panel.stride = panel.width < kMinPaddedWidth ? panel.height() : panel.width + vectors * kWidestLanes;
        panel.rows = rows;
        panel.values = plan.valueCount;
        rows += panel.rowCount;
        plan.valueCount += static_cast<std::int64_t>(panel.stride) * panel.width;
    }
    plan.rowIndex.resize(elementCount<int>(rows));
}

// Follows the tree from every entry of the matrix, panel by panel, rows ascending.
void collectRows(PanelPlan& plan, LowerPattern const& pattern, std::vector<int> const& parent)
{
    int const n = pattern.size();
    plan.rowLength.resize(asIndex(n));
    std::vector<std::int64_t> next;
    for (Panel const& panel : plan.panels) next.push_back(panel.rows);
    std::vector<int> lastRow(plan.panels.size(), -1); // of each panel
    for (int i = 0; i < n; ++i) {
        std::size_t const own = asIndex(plan.panelOf[asIndex(i)]);
        lastRow[own] = i;
        int length = i - plan.panels[own].first;
        for (std::int64_t e = pattern.begin(i); e < pattern.end(i); ++e) {
            std::size_t p = asIndex(plan.panelOf[asIndex(pattern.column[asIndex(e)])]);
            while (lastRow[p] != i) {
                Panel const& panel = plan.panels[p];
                lastRow[p] = i;
                plan.rowIndex[asIndex(next[p]++)] = i;
                length += panel.width;
                p = asIndex(plan.panelOf[asIndex(parent[asIndex(panel.first + panel.width - 1)])]);
            }
        }
        plan.rowLength[asIndex(i)] = length;
    }
}

template <typename Visit>
void forEachUpdate(PanelPlan const& plan, Visit visit)
{
    for (std::size_t p = 0; p < plan.panels.size(); ++p) {
        Panel const& panel = plan.panels[p];
        int const* const rows = plan.rowsBelow(panel);
        auto const panelOfRow = [&](int t) { return plan.panelOf[asIndex(rows[t])]; };
        for (int begin = 0; begin < panel.rowCount;) {
            int const target = panelOfRow(begin);
            int end = begin + 1;
            while (end < panel.rowCount && panelOfRow(end) == target) ++end;
            visit(asIndex(target), PanelUpdate{static_cast<int>(p), begin, end});
            begin = end;
        }
    }
}

void listUpdates(PanelPlan& plan)
{
    std::vector<std::int64_t>& start = plan.updateStart;
    start.assign(plan.panels.size() + 1, 0);
    forEachUpdate(plan, [&](std::size_t target, PanelUpdate const&) { ++start[target + 1]; });
    for (std::size_t p = 0; p + 1 < start.size(); ++p) start[p + 1] += start[p];
    plan.updates.resize(elementCount<PanelUpdate>(start.back()));
    std::vector<std::int64_t> next(start.begin(), start.end() - 1);
    forEachUpdate(
        plan, [&](std::size_t target, PanelUpdate const& update) { plan.updates[asIndex(next[target]++)] = update; });
}

template <typename T>
std::int64_t bytesOf(std::vector<T> const& list)
{
    return static_cast<std::int64_t>(list.size() * sizeof(T));
}

} // namespace

std::int64_t PanelPlan::locate(int row, int column) const
{
    assert(row > column);
    Panel const& panel = panels[asIndex(panelOf[asIndex(column)])];
    std::int64_t const top = panel.values + static_cast<std::int64_t>(panel.stride) * (column - panel.first);
    if (row < panel.first + panel.width) return top + (row - panel.first);
    int const* const rows = rowsBelow(panel);
    int const* const found = std::lower_bound(rows, rows + panel.rowCount, row);
    assert(found != rows + panel.rowCount && *found == row);
    return top + panel.width + (found - rows);
}

std::int64_t PanelPlan::bytes() const
{
    return bytesOf(panels) + bytesOf(panelOf) + bytesOf(rowIndex) + bytesOf(updateStart) + bytesOf(updates) +
           bytesOf(rowLength);
}

PanelPlan planPanels(LowerPattern const& pattern, std::vector<int> const& parent, std::vector<int> const& counts)
{
    assert(parent.size() == asIndex(pattern.size()) && counts.size() == parent.size());
    PanelPlan plan;
    cutColumns(plan, counts, [&](std::size_t j) {
        // Counts that differ by one imply nested patterns, because the pattern of a column's parent contains the rest
        // of the column.
        return asIndex(parent[j - 1] + 1) == j + 1 && counts[j - 1] == counts[j] + 1;
    });
    layOut(plan);
    collectRows(plan, pattern, parent);
    listUpdates(plan);
    return plan;
}

PanelPlan planOfColumns(SparseRows const& columns)
{
    std::vector<int> counts(columns.size());
    for (std::size_t j = 0; j < columns.size(); ++j) counts[j] = static_cast<int>(columns[j].size());
    PanelPlan plan;
    cutColumns(plan, counts, [&](std::size_t j) {
        auto const& left = columns[j - 1];
        auto const& right = columns[j];
        auto const sameRow = [](auto const& a, auto const& b) { return a.first == b.first; };
        return left.size() == right.size() + 1 && asIndex(left.front().first) == j &&
               std::equal(right.begin(), right.end(), left.begin() + 1, sameRow);
    });
    layOut(plan);
    plan.rowLength.assign(columns.size(), 0);
    for (Panel const& panel : plan.panels) {
        auto const& last = columns[asIndex(panel.first + panel.width - 1)]; // its rows are those below the panel
        int* row = plan.rowIndex.data() + panel.rows;
        for (auto const& [r, v] : last) *row++ = r;
    }
    for (auto const& column : columns) {
        for (auto const& [r, v] : column) ++plan.rowLength[asIndex(r)];
    }
    return plan;
}

} // namespace sinew::detail
