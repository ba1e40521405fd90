#pragma once

/// The adjacency graph of a sparse symmetric matrix, stored flat.

#include <cstdint>
#include <vector>

#include <sinew/sparse/detail/sparse_rows.h>

namespace sinew::detail {

/// Node i has the neighbours neighbour[start[i]] to neighbour[start[i + 1] - 1], each once, none of them i.
struct Graph
{
    std::vector<std::int64_t> start;
    std::vector<int> neighbour;

    int size() const { return static_cast<int>(start.size()) - 1; }
    int degree(int i) const { return static_cast<int>(start[i + 1] - start[i]); }
};

/// The graph of well-formed rows: an edge for every column that is not the diagonal, however often it is given.
Graph graphOf(SparseRows const& rows);

} // namespace sinew::detail
