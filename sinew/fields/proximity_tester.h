#pragma once

/// A constant-time test whether a point may be near a fixed set of points. Use it to discard points before an exact
/// test.

#include <cstddef>
#include <vector>

#include <sinew/core/progress.h>
#include <sinew/core/strided.h>
#include <sinew/core/vector3.h>
#include <sinew/export.h>

/// A regular grid over a fixed set of points with one bit for each cell: whether a point in the cell may lie within a
/// radius of a point of the set.
///
/// The bit of a cell is set if the cell itself or one of its 26 neighbours contains a point of the set. Cells are as
/// large as the radius, or larger by powers of two so that fewer than 10000 of them cover the set.
///
/// Meaning of the result of `test` for a point p:
///
/// - false, p inside the grid: no point of the set is within the radius of p.
/// - true: a point of the set may be within the radius of p. Every p inside the grid that has a point of the set within
///   the radius tests true. Other points up to about two cells away from the set may test true as well.
/// - false, p outside the grid: no point of the set is within the radius of p, with one exception. On each axis the
///   grid begins one whole cell below the set. Above the set it ends one cell after the extent rounded up to whole
///   cells, and the upper face is not part of it. If the extent is a whole number of cells, a p exactly one radius
///   above the set therefore tests false, and rounding can make a p that is slightly nearer test false too.
///
/// For a set of one point, the points that test true on a line along an axis reach from one radius below it (included)
/// to one radius above it (not included).
class ProximityTester
{
public:
    ::Vector3 origin;               ///< The corner of the grid with the smallest coordinates.
    ::Vector3 axes[3];              ///< The directions of the grid: the unit vectors of x, y and z.
    int cellCount[3] = {0, 0, 0};   ///< Numbers of cells nx, ny, nz along the axes, borders included.
    double cellSize[3] = {1, 1, 1}; ///< Edge lengths of a cell.
    std::vector<bool> occupied;     ///< Bit i + nx j + nx ny k: whether a point in cell (i, j, k) tests true.

    /// Builds the grid for `points` and `radius`, both in the same length unit.
    ///
    /// The tester returns false everywhere if there are no points, if the extent of the points is not finite, or if the
    /// radius is not a positive finite number. A NaN coordinate in the first point makes the extent NaN. If a point
    /// with a NaN coordinate follows, the points before it mark only the cells that contain them, and all later points
    /// are ignored; remove such points first.
    ///
    /// Cost: linear in the number of points. Memory: less than 12 kB for a set with extent along all three axes. A set
    /// without extent along an axis has no cells there before the border is added, so the limit of 10000 does not apply
    /// to it; its cells are enlarged only until there are at most 2^31 - 1 of them, which take 256 MB. Strong
    /// guarantee.
    SINEW_API ProximityTester(std::vector<::Vector3> const& points, double radius);

    ProximityTester(ProximityTester const&) = default;
    ProximityTester(ProximityTester&&) noexcept = default;
    /// Strong guarantee: if an allocation fails, the tester is unchanged.
    ProximityTester& operator=(ProximityTester const& other) { return *this = ProximityTester(other); }
    ProximityTester& operator=(ProximityTester&&) noexcept = default;
    ~ProximityTester() = default;

    /// Whether the cell that contains `p` is in the grid and marked. False outside the grid and for NaN.
    ///
    /// The lower faces of a cell belong to it, the upper faces to the next cell. Constant cost, no allocation, never
    /// throws. If the fields contradict each other, because a host has changed them or the object was moved from, the
    /// results have no meaning, but nothing is read beyond the end of `occupied`.
    SINEW_API bool test(::Vector3 const& p) const;
};

namespace sinew {

/// Writes the result of `ProximityTester::test` for each of `count` points.
///
/// `points` and `results` may be null only if `count` is 0, and must not overlap. It is more than twice as fast as
/// single calls, and waits for the memory of many points at the same time if the grid is larger than the caches. No
/// allocation, never throws.
SINEW_API void testMany(ProximityTester const& tester, ::Vector3 const* points, std::size_t count, bool* results);

/// The same for points in an array of the host, with three coordinates an element. It needs no copy of them.
SINEW_API void testMany(ProximityTester const& tester, RealArray const& points, bool* results);

/// The same with progress. See `Progress`: false if the host has cancelled. The results are computed in memory of their
/// own, a byte a point, and copied at the end. Strong guarantee. Points as `Vector3` are passed by `coordinatesOf`.
SINEW_API bool testMany(ProximityTester const& tester, RealArray const& points, bool* results,
                        Progress const& progress);

} // namespace sinew
