#pragma once

/// The surface on which heat flows: distinct points, the areas around them and the conductances between them. Not
/// installed.

#include <array>
#include <cstddef>
#include <vector>

#include <sinew/core/vector3.h>

namespace sinew::detail {

/// The conductance of the edge between two places.
struct HeatEdge
{
    int high; ///< the larger one of the two places
    int low;
    double conductance;
};

/// A surface whose vertices at equal points are one place.
///
/// Places are in lexicographic order of their coordinates, and all sums follow this order. So the numbers of places do
/// not depend on the order of vertices or triangles in the mesh, nor on the corner where a triangle begins.
struct HeatSurface
{
    std::vector<Vector3> places;
    std::vector<int> placeOf;                  ///< the place of each vertex
    std::vector<std::array<int, 3>> triangles; ///< places; without triangles that have a corner twice
    std::vector<double> areas;                 ///< of each place, a third of the area of its triangles
    std::vector<HeatEdge> edges;               ///< with a conductance above 0, in the order of (high, low)
    std::vector<double> conductances;          ///< of each place, the sum of those of its edges
    std::vector<int> pieceOf;                  ///< of each place, a number below `pieceCount`
    std::size_t pieceCount = 0;                ///< parts between which no heat flows, single places among them
    std::size_t raisedEdges = 0;               ///< edges whose conductance was negative
};

/// The surface of a mesh. All coordinates are finite with magnitudes below 4, and all corners are valid vertices.
///
/// Cost: n log n for sorting.
HeatSurface heatSurface(std::vector<Vector3> const& positions, std::vector<std::array<int, 3>> const& triangles);

} // namespace sinew::detail
