#include <sinew/fields/detail/proximity_batch.h>

#include <algorithm>
#include <cstdint>
#include <limits>

#include <sinew/fields/proximity_tester.h>

namespace sinew::detail {

namespace {

constexpr std::size_t kBlock = 64; // points whose cells are computed before their bits are looked up

// The fields of a grid in local variables: the compiler need not read them again after each write.
struct Grid
{
    Vector3 origin;
    Vector3 axes[3];
    double sizes[3];
    double counts[3];
    std::int32_t columns;
    std::int32_t rows;

    explicit Grid(ProximityTester const& tester)
        : origin(tester.origin), axes{tester.axes[0], tester.axes[1], tester.axes[2]}, sizes{tester.cellSize[0],
                                                                                             tester.cellSize[1],
                                                                                             tester.cellSize[2]},
          counts{static_cast<double>(tester.cellCount[0]), static_cast<double>(tester.cellCount[1]),
                 static_cast<double>(tester.cellCount[2])},
          columns(tester.cellCount[0]), rows(tester.cellCount[1])
    {
    }

    // Whether the index of every cell is an int and the index of a bit. Otherwise a host has changed the fields, or the
    // tester returns false everywhere.
    bool hasBitOfEachCell(std::size_t bits) const
    {
        double cells = 1.0;
        for (double const count : counts) {
            if (!(count > 0)) return false;
            cells *= count; // rounds only far above the limit
        }
        return cells <= std::numeric_limits<std::int32_t>::max() && cells <= static_cast<double>(bits);
    }
};

// Writes the index of the bit of each point's cell, or -1 for a point outside the grid. The comparisons and quotients
// are those of a single test.
struct FindCells
{
    Grid const& grid;
    Vector3 const* points;
    std::size_t count;
    std::int32_t* cells;

    template <VectorWidth>
    SINEW_KERNEL void run() const
    {
        Grid const g = grid;
        for (std::size_t i = 0; i < count; ++i) {
            Vector3 const d = points[i] - g.origin;
            double const x = (d * g.axes[0]) / g.sizes[0];
            double const y = (d * g.axes[1]) / g.sizes[1];
            double const z = (d * g.axes[2]) / g.sizes[2];
            bool const isInside =
                (x >= 0) & (x < g.counts[0]) & (y >= 0) & (y < g.counts[1]) & (z >= 0) & (z < g.counts[2]);
            // Outside these are -1, 0 and 0, so that the index below is -1 and the conversions are defined.
            auto const column = static_cast<std::int32_t>(isInside ? x : -1.0);
            auto const row = static_cast<std::int32_t>(isInside ? y : 0.0);
            auto const layer = static_cast<std::int32_t>(isInside ? z : 0.0);
            cells[i] = column + g.columns * (row + g.rows * layer);
        }
    }
};

} // namespace

void testPoints(ProximityTester const& tester, Vector3 const* points, std::size_t count, bool* results,
                VectorWidth width)
{
    Grid const grid(tester);
    if (!grid.hasBitOfEachCell(tester.occupied.size())) {
        for (std::size_t i = 0; i < count; ++i) results[i] = tester.test(points[i]);
        return;
    }
    std::int32_t cells[kBlock];
    for (std::size_t first = 0; first < count; first += kBlock) {
        std::size_t const size = std::min(kBlock, count - first);
        dispatch(width, FindCells{grid, points + first, size, cells});
        for (std::size_t i = 0; i < size; ++i) {
            bool const isMarked = tester.occupied[static_cast<std::uint32_t>(std::max(cells[i], 0))];
            results[first + i] = isMarked & (cells[i] >= 0);
        }
    }
}

} // namespace sinew::detail
