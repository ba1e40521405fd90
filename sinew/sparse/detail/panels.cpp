#include <sinew/sparse/detail/panels.h>

#include <algorithm>
#include <cstddef>

namespace sinew::detail {

namespace {

// Wider panels are split: two tiles' operands must stay in the first-level cache.
constexpr int kMaxWidth = 48;

// From this width the rows of a block are padded to whole vectors of eight, so that tiles need no remainder.
constexpr int kPaddedWidth = 4;

void cutColumns(PanelPlan& plan, std::vector<int> const& parent, std::vector<int> const& counts)
{
    int const n = static_cast<int>(parent.size());
    plan.panelOf.resize(static_cast<std::size_t>(n));
    for (int j = 0; j < n; ++j) {
        // Equal counts and nested patterns are the same here: what is below a column's parent includes all the rest
        // of the column.
        bool const continues =
            j > 0 && parent[j - 1] == j && counts[j - 1] == counts[j] + 1 && plan.panels.back().width < kMaxWidth;
        if (continues) {
            ++plan.panels.back().width;
        } else {
            plan.panels.push_back({0, 0, j, 1, 0, 0});
        }
        plan.panels.back().rowCount = counts[j];
        plan.panelOf[j] = static_cast<int>(plan.panels.size()) - 1;
    }
}

void layOut(PanelPlan& plan)
{
    std::int64_t rows = 0;
    for (Panel& panel : plan.panels) {
        int const height = panel.width + panel.rowCount;
        panel.stride = panel.width < kPaddedWidth ? height : panel.width + (panel.rowCount + 7) / 8 * 8;
        panel.rows = rows;
        panel.values = plan.valueCount;
        rows += panel.rowCount;
        plan.valueCount += static_cast<std::int64_t>(panel.stride) * panel.width;
    }
    plan.rowIndex.resize(static_cast<std::size_t>(rows));
}

// Climbs the tree of panels from every entry of the matrix, rows ascending.
void collectRows(PanelPlan& plan, LowerPattern const& pattern, std::vector<int> const& parent)
{
    int const n = pattern.size();
    plan.rowLength.resize(static_cast<std::size_t>(n));
    std::vector<std::int64_t> next;
    for (Panel const& panel : plan.panels) next.push_back(panel.rows);
    std::vector<int> mark(plan.panels.size(), -1);
    for (int i = 0; i < n; ++i) {
        int const own = plan.panelOf[i];
        mark[own] = i;
        int length = i - plan.panels[own].first;
        for (std::int64_t e = pattern.start[i]; e < pattern.start[i + 1]; ++e) {
            for (int p = plan.panelOf[pattern.column[e]]; mark[p] != i;) {
                Panel const& panel = plan.panels[p];
                mark[p] = i;
                plan.rowIndex[next[p]++] = i;
                length += panel.width;
                p = plan.panelOf[parent[panel.first + panel.width - 1]];
            }
        }
        plan.rowLength[i] = length;
    }
}

template <typename Visit>
void forEachUpdate(PanelPlan const& plan, Visit visit)
{
    for (std::size_t p = 0; p < plan.panels.size(); ++p) {
        Panel const& panel = plan.panels[p];
        int const* const rows = plan.rowIndex.data() + panel.rows;
        for (int begin = 0; begin < panel.rowCount;) {
            int const target = plan.panelOf[rows[begin]];
            int end = begin + 1;
            while (end < panel.rowCount && plan.panelOf[rows[end]] == target) ++end;
            visit(target, PanelUpdate{static_cast<int>(p), begin, end});
            begin = end;
        }
    }
}

void listUpdates(PanelPlan& plan)
{
    std::vector<std::int64_t>& start = plan.updateStart;
    start.assign(plan.panels.size() + 1, 0);
    forEachUpdate(plan, [&](int target, PanelUpdate const&) { ++start[target + 1]; });
    for (std::size_t p = 0; p + 1 < start.size(); ++p) start[p + 1] += start[p];
    plan.updates.resize(static_cast<std::size_t>(start.back()));
    std::vector<std::int64_t> next(start.begin(), start.end() - 1);
    forEachUpdate(plan, [&](int target, PanelUpdate const& update) { plan.updates[next[target]++] = update; });
}

template <typename T>
std::int64_t bytesOf(std::vector<T> const& list)
{
    return static_cast<std::int64_t>(list.size() * sizeof(T));
}

} // namespace

std::int64_t PanelPlan::locate(int row, int column) const
{
    Panel const& panel = panels[panelOf[column]];
    std::int64_t const top = panel.values + static_cast<std::int64_t>(panel.stride) * (column - panel.first);
    if (row < panel.first + panel.width) return top + (row - panel.first);
    auto const begin = rowIndex.begin() + panel.rows;
    return top + panel.width + (std::lower_bound(begin, begin + panel.rowCount, row) - begin);
}

std::int64_t PanelPlan::bytes() const
{
    return bytesOf(panels) + bytesOf(panelOf) + bytesOf(rowIndex) + bytesOf(updateStart) + bytesOf(updates) +
           bytesOf(rowLength);
}

PanelPlan planPanels(LowerPattern const& pattern, std::vector<int> const& parent, std::vector<int> const& counts)
{
    PanelPlan plan;
    cutColumns(plan, parent, counts);
    layOut(plan);
    collectRows(plan, pattern, parent);
    listUpdates(plan);
    return plan;
}

} // namespace sinew::detail
