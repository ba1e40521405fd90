#pragma once

/// The minimum-degree ordering with exact degrees.

#include <vector>

#include <sinew/sparse/detail/graph.h>

namespace sinew::detail {

/// The default value of `denseDegree` for a graph of `nodeCount` nodes.
int defaultDenseDegree(int nodeCount);

/// For each node its position in the minimum-degree elimination order. Among equal degrees the smallest index is first.
///
/// @param graph        is taken by value, because its lists of neighbours become the working memory.
/// @param denseDegree  Nodes with more neighbours than this are dense: the elimination of a neighbour does not update
///                     their lists and degrees. Must not be negative. The result does not depend on it, only the
///                     time. Tests vary it.
///
/// Memory is proportional to the graph. The source describes the algorithm and names its literature.
std::vector<int> minimumDegree(Graph graph, int denseDegree);

} // namespace sinew::detail
