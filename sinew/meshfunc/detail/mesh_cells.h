#pragma once

/// The rules that construction and queries of a mesh function must share to the bit: which cell a coordinate falls
/// into, which triangles exist, which determinants are degenerate.

#include <cmath>
#include <cstddef>
#include <vector>

namespace sinew::detail {

/// Cells along each axis of the public grid. Part of what callers see, so it does not follow the size of the mesh.
constexpr int kGridCells = 20;

/// How far, in cells, a coordinate may miss a cell's border and still count as on it.
constexpr double kCellTolerance = 1e-8;

/// Barycentric weights down to minus this count as inside, so that points on shared edges are never lost to rounding.
constexpr double kInsideTolerance = 1e-8;

/// Determinants and squared lengths below this are degenerate. Absolute: the domain is expected to be of order one.
constexpr double kDegenerate = 1.0000000000000001e-16;

/// The cell of the coordinate `s`, measured in cells, on an axis of `size` cells; NaN falls into cell 0.
inline int cellOfCoordinate(double s, int size)
{
    if (s > size - kCellTolerance) return size - 1;
    if (!(s >= kCellTolerance)) return 0; // the NaN side is meant
    return static_cast<int>(s);           // s is positive: that is its floor
}

/// Fetches the corners of triangle `t`; false if there is no such triangle or it names a vertex outside `vertexCount`.
inline bool triangleCorners(std::vector<int> const& facets, std::size_t t, std::size_t vertexCount, int corners[3])
{
    if (t >= facets.size() / 3) return false;
    for (std::size_t k = 0; k < 3; ++k) {
        corners[k] = facets[3 * t + k];
        if (corners[k] < 0 || static_cast<std::size_t>(corners[k]) >= vertexCount) return false;
    }
    return true;
}

} // namespace sinew::detail
