#include <sinew/sparse/detail/graph.h>

#include <cassert>
#include <cstddef>

#include <sinew/detail/element_count.h>

namespace sinew::detail {

namespace {

// Calls visit(row, column) once for every edge, rows ascending.
template <typename Visit>
void forEachEdge(SparseRows const& rows, std::vector<int>& lastRow, Visit visit)
{
    lastRow.assign(rows.size(), -1);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        int const row = static_cast<int>(i);
        for (std::size_t k = 0; k + 1 < rows[i].size(); ++k) {
            int const column = rows[i][k].first;
            if (lastRow[asIndex(column)] == row) continue;
            lastRow[asIndex(column)] = row;
            visit(i, asIndex(column));
        }
    }
}

} // namespace

Graph graphOf(SparseRows const& rows)
{
    assert(isWellFormed(rows));
    Graph graph;
    std::size_t const n = rows.size();
    std::vector<int> lastRow;
    graph.start.assign(n + 1, 0);
    forEachEdge(rows, lastRow, [&](std::size_t row, std::size_t column) {
        ++graph.start[row + 1];
        ++graph.start[column + 1];
    });
    for (std::size_t i = 0; i < n; ++i) graph.start[i + 1] += graph.start[i];
    graph.neighbour.resize(elementCount<int>(graph.start[n]));
    std::vector<std::int64_t> next(graph.start.begin(), graph.start.end() - 1);
    forEachEdge(rows, lastRow, [&](std::size_t row, std::size_t column) {
        graph.neighbour[asIndex(next[row]++)] = static_cast<int>(column);
        graph.neighbour[asIndex(next[column]++)] = static_cast<int>(row);
    });
    return graph;
}

} // namespace sinew::detail
