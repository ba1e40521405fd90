// J. L. Bentley and J. H. Friedman, Data Structures for Range Searching, ACM Computing Surveys 11, 1979, for regular
// grids as a search structure. J. Serra, Image Analysis and Mathematical Morphology, 1982, for dilation. Where a hash
// table would hold the marked cells of an unbounded grid, this grid is bounded and holds one bit for each cell.

#include <sinew/fields/proximity_tester.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include <sinew/detail/as_index.h>

using sinew::detail::asIndex;

namespace {

// The number of cells without the border stays below this, so that memory stays small whatever the radius.
constexpr double kInnerCellLimit = 10000;

// Largest number of all cells, since their indices are ints. Without it the grid of a set that has no extent along an
// axis could grow without limit: such a set has 0 inner cells whatever the size of the cells.
constexpr double kMostCells = std::numeric_limits<int>::max();

struct Range
{
    double low;
    double high;
};

// Smallest and largest coordinate of the points along the axis. NaN in the first point stays, in others it is ignored.
Range projections(std::vector<Vector3> const& points, Vector3 const& axis)
{
    Range range{points[0] * axis, points[0] * axis};
    for (Vector3 const& p : points) {
        double const along = p * axis;
        if (along < range.low) range.low = along;
        if (along > range.high) range.high = along;
    }
    return range;
}

// The axis along which the cells are doubled next. From equal sizes on this is z, y, x, z and so on.
int axisToCoarsen(double const size[3])
{
    if (size[0] < size[1] && size[0] < size[2]) return 0;
    return size[1] < size[2] ? 1 : 2;
}

// Doubles the cells until few enough of them cover the ranges. `size` holds the sizes to begin with and receives the
// final ones; `count` receives the numbers of cells, borders included.
void chooseCells(Range const ranges[3], double size[3], int count[3])
{
    for (;;) {
        double inner[3];
        for (int a = 0; a < 3; ++a) inner[a] = std::ceil((ranges[a].high - ranges[a].low) / size[a]);
        bool const fits = inner[0] * inner[1] * inner[2] < kInnerCellLimit &&
                          (inner[0] + 2) * (inner[1] + 2) * (inner[2] + 2) <= kMostCells;
        if (fits) {
            for (int a = 0; a < 3; ++a) count[a] = static_cast<int>(inner[a]) + 2;
            return;
        }
        size[axisToCoarsen(size)] *= 2;
    }
}

constexpr std::uint64_t kOutside = std::numeric_limits<std::uint64_t>::max(); // no bit

// Index of the bit of the cell that contains p, or kOutside if p is outside the grid or NaN. If a host has changed
// `cellCount`, the index can be any number, modulo 2^64.
std::uint64_t cellIndex(ProximityTester const& grid, Vector3 const& p)
{
    Vector3 const d = p - grid.origin;
    double along[3];
    bool isInside = true;
    for (int a = 0; a < 3; ++a) {
        // The quotient itself is compared, not its floor. For a quotient of at least 0 the floor is below the count
        // exactly if the quotient is, and the conversion to int gives the floor. All other quotients, NaN included,
        // are rejected before the conversion, which is undefined for values that do not fit.
        along[a] = (d * grid.axes[a]) / grid.cellSize[a];
        // All six comparisons without branches, since a processor cannot predict whether a point is in the grid.
        isInside = isInside & (along[a] >= 0) & (along[a] < grid.cellCount[a]);
    }
    if (!isInside) return kOutside;
    auto const i = static_cast<std::uint64_t>(static_cast<int>(along[0]));
    auto const j = static_cast<std::uint64_t>(static_cast<int>(along[1]));
    auto const k = static_cast<std::uint64_t>(static_cast<int>(along[2]));
    // Unsigned, because the counts of a host may overflow. A point is inside only if all three are positive.
    auto const columns = static_cast<std::uint64_t>(grid.cellCount[0]);
    auto const rows = static_cast<std::uint64_t>(grid.cellCount[1]);
    return i + columns * (j + rows * k);
}

// Marks the neighbours of the listed cells: all cells whose indices differ by at most 1 along each axis.
void dilate(ProximityTester& grid, std::vector<int> const& cells)
{
    int const nx = grid.cellCount[0];
    int const ny = grid.cellCount[1];
    int const nz = grid.cellCount[2];
    for (int cell : cells) {
        int const i = cell % nx;
        int const j = cell / nx % ny;
        int const k = cell / nx / ny;
        for (int kk = std::max(k - 1, 0); kk <= std::min(k + 1, nz - 1); ++kk) {
            for (int jj = std::max(j - 1, 0); jj <= std::min(j + 1, ny - 1); ++jj) {
                for (int ii = std::max(i - 1, 0); ii <= std::min(i + 1, nx - 1); ++ii) {
                    grid.occupied[asIndex(ii + nx * (jj + ny * kk))] = true;
                }
            }
        }
    }
}

// Marks the cells that contain the points, and lists each of them once. Stops at a NaN coordinate and returns false.
bool markCells(ProximityTester& grid, std::vector<Vector3> const& points, std::vector<int>& marked)
{
    for (Vector3 const& p : points) {
        std::uint64_t const cell = cellIndex(grid, p);
        if (cell == kOutside) return false;
        std::vector<bool>::reference bit = grid.occupied[static_cast<std::size_t>(cell)];
        if (!bit) marked.push_back(static_cast<int>(cell));
        bit = true;
    }
    return true;
}

} // namespace

ProximityTester::ProximityTester(std::vector<Vector3> const& points, double radius)
    : axes{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}
{
    if (points.empty() || !(radius > 0) || !std::isfinite(radius)) return;
    Range ranges[3];
    for (int a = 0; a < 3; ++a) {
        ranges[a] = projections(points, axes[a]);
        if (!std::isfinite(ranges[a].high - ranges[a].low)) return;
    }
    for (double& size : cellSize) size = radius;
    chooseCells(ranges, cellSize, cellCount);
    origin = ranges[0].low * axes[0] + ranges[1].low * axes[1] + ranges[2].low * axes[2];
    origin = origin - (cellSize[0] * axes[0] + cellSize[1] * axes[1] + cellSize[2] * axes[2]);

    occupied.assign(asIndex(cellCount[0]) * asIndex(cellCount[1]) * asIndex(cellCount[2]), false);
    // Dilation starts from the marked cells instead of sweeping over the grid, so it costs no more than the points do,
    // however many cells there are.
    std::vector<int> marked;
    if (markCells(*this, points, marked)) dilate(*this, marked);
}

bool ProximityTester::test(Vector3 const& p) const
{
    std::uint64_t const cell = cellIndex(*this, p);
    // Also false for kOutside. The fields are public, so the counts need not match the bits.
    return cell < occupied.size() && occupied[static_cast<std::size_t>(cell)];
}
