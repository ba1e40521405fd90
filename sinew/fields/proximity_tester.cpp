#include <sinew/fields/proximity_tester.h>

#include <algorithm>
#include <cmath>

namespace {

// Cells before the border, at most: what keeps the memory small whatever the radius.
double const kMostInnerCells = 10000;

// Cells in all, at most: their indices are ints. Sets without extent along an axis have no inner cells, so the
// first bound alone would let them grow without end.
double const kMostCells = 2147483647;

struct Range
{
    double low;
    double high;
};

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

// The axis whose cells are to be doubled: from equal sizes on z, y, x in turn.
int axisToCoarsen(double const size[3])
{
    if (size[0] < size[1] && size[0] < size[2]) return 0;
    return size[1] < size[2] ? 1 : 2;
}

// Doubles cells until few enough of them cover the ranges, and leaves their sizes and counts.
void chooseCells(Range const ranges[3], double size[3], int count[3])
{
    for (;;) {
        double inner[3];
        for (int a = 0; a < 3; ++a) inner[a] = std::ceil((ranges[a].high - ranges[a].low) / size[a]);
        bool const fits = inner[0] * inner[1] * inner[2] < kMostInnerCells &&
                          (inner[0] + 2) * (inner[1] + 2) * (inner[2] + 2) <= kMostCells;
        if (fits) {
            for (int a = 0; a < 3; ++a) count[a] = static_cast<int>(inner[a]) + 2;
            return;
        }
        size[axisToCoarsen(size)] *= 2;
    }
}

// Index of the bit of p's cell, or -1 outside the grid.
int cellIndex(ProximityTester const& grid, Vector3 const& p)
{
    Vector3 const d = p - grid.origin;
    double along[3];
    bool isInside = true;
    for (int a = 0; a < 3; ++a) {
        // A quotient that is not negative is truncated to its floor, and it lies below the count exactly if its
        // floor does; so everything outside, NaN included, is turned away without forming an int that does not fit.
        along[a] = (d * grid.axes[a]) / grid.cellSize[a];
        // No short cut: which side of the grid a point lies on is more than a processor can guess.
        isInside = isInside & (along[a] >= 0) & (along[a] < grid.cellCount[a]);
    }
    if (!isInside) return -1;
    int const i = static_cast<int>(along[0]);
    int const j = static_cast<int>(along[1]);
    int const k = static_cast<int>(along[2]);
    return i + grid.cellCount[0] * (j + grid.cellCount[1] * k);
}

// Marks all cells within one cell, along each axis, of the listed ones.
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
                    grid.occupied[static_cast<std::size_t>(ii + nx * (jj + ny * kk))] = true;
                }
            }
        }
    }
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

    occupied.assign(static_cast<std::size_t>(cellCount[0]) * static_cast<std::size_t>(cellCount[1]) *
                        static_cast<std::size_t>(cellCount[2]),
                    false);
    // Each marked cell once: spreading from these costs no more than the points, however many cells there are.
    std::vector<int> marked;
    for (Vector3 const& p : points) {
        int const cell = cellIndex(*this, p);
        if (cell < 0) return; // a NaN: what was marked stays as it is, without a border
        std::vector<bool>::reference bit = occupied[static_cast<std::size_t>(cell)];
        if (!bit) marked.push_back(cell);
        bit = true;
    }
    dilate(*this, marked);
}

bool ProximityTester::test(Vector3 const& p) const
{
    int const cell = cellIndex(*this, p);
    return cell >= 0 && occupied[static_cast<std::size_t>(cell)];
}

namespace sinew {

void testMany(ProximityTester const& tester, Vector3 const* points, std::size_t count, bool* results)
{
    for (std::size_t i = 0; i < count; ++i) results[i] = tester.test(points[i]);
}

} // namespace sinew
