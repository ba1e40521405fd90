#pragma once

/// Constant-time answers to "may this point be near the set?".

#include <cstddef>
#include <vector>

#include <sinew/core/vector3.h>
#include <sinew/export.h>

/// A coarse grid over a fixed set of points that tells, by one bit, whether a point may lie within a radius of any.
///
/// Inside the grid the answer errs only on the side of true: a point within the radius of a point of the set tests
/// true, and points up to about two cells away may do so as well. Cells are as large as the radius, or larger by powers
/// of two so that fewer than 10000 cover the set.
/// The grid has one full border cell below the set on each axis. Above it there is only what rounding the extent up to
/// whole cells leaves, plus one cell, and upper faces lie outside: where the extent is a whole number of cells, a point
/// exactly one radius above the set tests false, and by rounding one a little closer may. A set of a single point tests
/// true from one radius below it, that distance included, to one radius above it, that distance not included.
class ProximityTester
{
public:
    Vector3 origin;                 ///< The low corner of the grid.
    Vector3 axes[3];                ///< The grid's directions: the unit x, y and z axes.
    int cellCount[3] = {0, 0, 0};   ///< Number of cells along each axis, borders included.
    double cellSize[3] = {1, 1, 1}; ///< Edge lengths of a cell.
    std::vector<bool> occupied;     ///< Bit i + nx j + nx ny k: whether a point in cell (i, j, k) tests true.

    /// Builds the grid for the points within `radius`, in the points' length unit.
    ///
    /// An empty set, a set whose extent is not finite, and a radius that is not a positive finite number give a tester
    /// that answers false everywhere. If a point with a NaN coordinate follows valid ones, the points before it mark
    /// their own cells only, and no others do: sort such points out first.
    /// Cost: linear in the points. Memory: below 12 kB, but a set that is flat along an axis has no cells to count
    /// before the border is added and is coarsened only to 2^31 - 1 cells in all (256 MB) if the radius is tiny.
    SINEW_API ProximityTester(std::vector<Vector3> const& points, double radius);

    /// Whether the cell of `p` lies in the grid and is marked. Points outside the grid and NaN give false.
    ///
    /// Lower faces of a cell belong to it, upper ones to the next. No allocation, no square root.
    SINEW_API bool test(Vector3 const& p) const;
};

namespace sinew {

/// `ProximityTester::test` for each of `count` points.
///
/// `points` and `results` may be null only when `count` is 0.
SINEW_API void testMany(ProximityTester const& tester, Vector3 const* points, std::size_t count, bool* results);

} // namespace sinew
