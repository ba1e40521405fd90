#pragma once

/// The minimum-degree ordering with exact degrees.

#include <vector>

#include <sinew/sparse/detail/graph.h>
#include <sinew/sparse/detail/sparse_rows.h>

namespace sinew::detail {

class ProgressMeter;

/// The default value of `denseDegree` for a graph of `nodeCount` nodes.
int defaultDenseDegree(int nodeCount);

/// For each node its position in the minimum-degree elimination order. Among equal degrees the smallest index is first.
///
/// @param graph        is taken by value, because its lists of neighbours become the working memory.
/// @param denseDegree  Nodes with more neighbours than this are dense: the elimination of a neighbour does not update
///                     their lists and degrees. Must not be negative. The result does not depend on it, only the
///                     time. Tests vary it.
/// @param meter        receives the progress; may be null
///
/// Memory is proportional to the graph. The source describes the algorithm and names its literature.
std::vector<int> minimumDegree(Graph graph, int denseDegree, ProgressMeter* meter = nullptr);

/// The ordering of a matrix. Empty if it is malformed or has no rows.
/// @param meter  receives the progress; may be null
std::vector<int> orderingOf(SparseRows const& rows, ProgressMeter* meter = nullptr);

} // namespace sinew::detail
