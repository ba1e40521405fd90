#pragma once

/// The boundary of a triangulation as loops of vertices.

#include <cstddef>
#include <vector>

namespace sinew::detail {

class ProgressMeter;

/// A walk along boundary edges: segment j runs from vertices[j] to vertices[j + 1] and is an edge of triangles[j].
struct BoundaryLoop
{
    std::vector<int> vertices;
    std::vector<int> triangles;
};

/// The boundary loops of `facets`, three vertex indices a triangle.
///
/// The edges of the triangles are taken in the order of `facets`. An edge whose reverse is stored removes that reverse
/// and is not stored. Any other edge is stored, in place of an equal edge if there is one. The edges that are stored at
/// the end are the boundary. Each loop starts at the smallest vertex that has an unused leaving edge, and leaves each
/// vertex along the edge to the smallest vertex.
///
/// Triangles that name a vertex outside [0, vertexCount) do not take part. Linear cost, plus the sorting of the edges
/// at each vertex. There must be fewer than 2^31 triangles.
///
/// @param meter  receives the progress; may be null
std::vector<BoundaryLoop> boundaryLoops(std::vector<int> const& facets, std::size_t vertexCount,
                                        ProgressMeter* meter = nullptr);

} // namespace sinew::detail
