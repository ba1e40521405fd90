#pragma once

/// The boundary of a triangulation as loops of vertices.

#include <cstddef>
#include <vector>

namespace sinew::detail {

/// A walk along boundary edges: segment j runs from vertices[j] to vertices[j + 1], on triangle triangles[j].
struct BoundaryLoop
{
    std::vector<int> vertices;
    std::vector<int> triangles;
};

/// The boundary loops of `facets`, three vertex indices a triangle.
///
/// Triangles are taken in order. An edge whose reverse is waiting takes that one away and is gone itself; otherwise it
/// waits, in place of an equal one. What still waits at the end is the boundary. Each loop starts at the smallest
/// vertex that an edge still leaves, and leaves each vertex by the edge to the smallest vertex.
///
/// Triangles that name a vertex outside [0, vertexCount) do not take part. Linear cost, plus the logarithm of the
/// number of edges at a vertex for crowded vertices.
std::vector<BoundaryLoop> boundaryLoops(std::vector<int> const& facets, std::size_t vertexCount);

} // namespace sinew::detail
