#pragma once

/// The rules that construction and queries of a mesh function share to the bit: which cell a coordinate falls into, and
/// which triangles exist.

#include <cassert>
#include <cstddef>
#include <vector>

#include <sinew/detail/as_index.h>

namespace sinew::detail {

/// Corners of a triangle; also the number of entries that a triangle has in `facets`.
inline constexpr std::size_t kCorners = 3;

/// Cells along each axis of the public grid. Callers see this number, so it does not depend on the size of the mesh.
inline constexpr int kGridCells = 20;

/// Distance, in cells, by which a coordinate may miss the border of the grid and still count as lying on it.
inline constexpr double kCellTolerance = 1e-8;

/// The square of an extent above this would come near the largest double, 1.8e308. Finer grids are not built over such
/// domains.
inline constexpr double kLargestExtent = 1e150;

/// The cell of the coordinate `s` on an axis of `size` cells, size >= 1. `s` is measured in cells from the lower end of
/// the grid. Coordinates outside the grid fall into the outermost cell; NaN falls into cell 0.
inline int cellOfCoordinate(double s, int size)
{
    assert(size >= 1);
    if (s > size - kCellTolerance) return size - 1;
    if (!(s >= kCellTolerance)) return 0; // a NaN is meant to come here
    return static_cast<int>(s);           // equals the floor, because s is positive
}

/// Index of the cell in column `cx` and row `cy` of a grid with `rows` rows.
inline std::size_t cellIndex(int cx, int cy, int rows)
{
    return asIndex(cx) * asIndex(rows) + asIndex(cy);
}

/// Fetches the vertex indices of triangle `t`. Returns false if there is no such triangle, or if it names a vertex
/// outside [0, vertexCount); `corners` is then unspecified.
inline bool triangleCorners(std::vector<int> const& facets, std::size_t t, std::size_t vertexCount, int corners[3])
{
    if (t >= facets.size() / kCorners) return false;
    for (std::size_t k = 0; k < kCorners; ++k) {
        corners[k] = facets[kCorners * t + k];
        if (corners[k] < 0 || asIndex(corners[k]) >= vertexCount) return false;
    }
    return true;
}

} // namespace sinew::detail
