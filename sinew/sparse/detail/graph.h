#pragma once

/// The adjacency graph of a sparse symmetric matrix.

#include <cstdint>
#include <vector>

#include <sinew/detail/as_index.h>
#include <sinew/sparse/detail/sparse_rows.h>

namespace sinew::detail {

/// An undirected graph with all lists of neighbours in one array.
///
/// Node i has the neighbours neighbour[start[i]] to neighbour[start[i + 1] - 1]. Each neighbour occurs once, and node i
/// is not its own neighbour.
struct Graph
{
    std::vector<std::int64_t> start;
    std::vector<int> neighbour;

    int size() const { return static_cast<int>(start.size()) - 1; }
    int degree(int i) const { return static_cast<int>(start[asIndex(i) + 1] - start[asIndex(i)]); }
};

/// The graph of well-formed rows. Each pair (column, value) of row i with column != i is an edge between i and the
/// column. A column that occurs several times in a row gives one edge. Linear in the number of pairs.
Graph graphOf(SparseRows const& rows);

} // namespace sinew::detail
