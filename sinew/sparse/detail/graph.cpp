#include <sinew/sparse/detail/graph.h>

#include <cstddef>

namespace sinew::detail {

namespace {

// Calls visit(row, column) for every edge once, rows ascending.
template <typename Visit>
void forEachEdge(SparseRows const& rows, std::vector<int>& lastRow, Visit visit)
{
    lastRow.assign(rows.size(), -1);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        int const row = static_cast<int>(i);
        for (std::size_t k = 0; k + 1 < rows[i].size(); ++k) {
            int const column = rows[i][k].first;
            if (lastRow[column] == row) continue;
            lastRow[column] = row;
            visit(row, column);
        }
    }
}

} // namespace

Graph graphOf(SparseRows const& rows)
{
    Graph graph;
    std::size_t const n = rows.size();
    std::vector<int> lastRow;
    graph.start.assign(n + 1, 0);
    forEachEdge(rows, lastRow, [&](int row, int column) {
        ++graph.start[row + 1];
        ++graph.start[column + 1];
    });
    for (std::size_t i = 0; i < n; ++i) graph.start[i + 1] += graph.start[i];
    graph.neighbour.resize(static_cast<std::size_t>(graph.start[n]));
    std::vector<std::int64_t> next(graph.start.begin(), graph.start.end() - 1);
    forEachEdge(rows, lastRow, [&](int row, int column) {
        graph.neighbour[next[row]++] = column;
        graph.neighbour[next[column]++] = row;
    });
    return graph;
}

} // namespace sinew::detail
