#pragma once

/// The exact minimum-degree ordering, from a quotient graph.

#include <vector>

#include <sinew/sparse/detail/graph.h>

namespace sinew::detail {

/// Nodes with more neighbours than this are handled lazily (see the source): a hub that every elimination touches must
/// not be rescanned every time. Only speed depends on it.
int defaultHeavyDegree(int nodeCount);

/// For each node its position in the minimum-degree elimination order, ties by smallest index.
///
/// @param heavyDegree  see defaultHeavyDegree; tests vary it.
///
/// The graph is taken by value, for its neighbour lists become the working memory.
///
/// Source: P. Amestoy, T. Davis, I. Duff, An approximate minimum degree ordering algorithm, 1996, for the quotient
/// graph, the measure of elements outside a pivot's, and merging by hashes. We differ in the degrees, which are exact:
/// the queue holds lower bounds, and a node's degree is formed when the node arrives at the front.
std::vector<int> minimumDegree(Graph graph, int heavyDegree);

} // namespace sinew::detail
