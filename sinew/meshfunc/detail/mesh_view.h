#pragma once

/// The parts of a mesh function that its search structures read. Those structures take this view instead of the public
/// class, so that they depend on nothing above them.

#include <algorithm>
#include <cstddef>
#include <vector>

#include <sinew/framework/vect2.h>

namespace sinew::detail {

/// References to the members of one mesh function that have the same names. Valid until that function is moved or
/// destroyed.
struct MeshView
{
    std::vector<tzNM::vect2<double>> const& params;
    std::vector<int> const& facets;
    std::vector<std::vector<int>> const& gridCells;
    tzNM::vect2<double> const& domainMin;
    tzNM::vect2<double> const& domainMax;
    double const (&gridScale)[2];
    int const (&gridSize)[2];
    /// Number of vertices that have a position and a value. Triangles may name these only.
    std::size_t vertexCount;
};

/// The view of a mesh function. A template, because this header must not include the class `MeshFunction2D`.
template <typename Function>
MeshView viewOf(Function const& f)
{
    return {f.params,    f.facets,    f.gridCells, f.domainMin,
            f.domainMax, f.gridScale, f.gridSize,  std::min(f.params.size(), f.values.size())};
}

} // namespace sinew::detail
