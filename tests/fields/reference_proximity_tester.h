#pragma once

/// Reference implementation of the proximity grid: cells by floors, dilation by one sweep in each direction.

#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include <sinew/core/vector3.h>

namespace reference {

struct ProximityTester
{
    Vector3 origin;
    Vector3 axes[3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    int cellCount[3] = {0, 0, 0};
    double cellSize[3] = {1.0, 1.0, 1.0};
    std::vector<bool> occupied;

    /// Requires at least one point, finite extents and a positive finite radius.
    ProximityTester(std::vector<Vector3> const& points, double radius)
    {
        double low[3];
        double high[3];
        for (int a = 0; a < 3; ++a) {
            low[a] = high[a] = points[0] * axes[a];
            for (Vector3 const& p : points) {
                if (p * axes[a] < low[a]) low[a] = p * axes[a];
                if (p * axes[a] > high[a]) high[a] = p * axes[a];
            }
            cellSize[a] = radius;
        }
        origin = low[0] * axes[0] + low[1] * axes[1] + low[2] * axes[2];
        double m[3];
        for (;;) {
            for (int a = 0; a < 3; ++a) m[a] = std::ceil((high[a] - low[a]) / cellSize[a]);
            if (m[0] * m[1] * m[2] < 10000 && (m[0] + 2) * (m[1] + 2) * (m[2] + 2) <= 2147483647.0) break;
            double& smallest = cellSize[0] < cellSize[1] && cellSize[0] < cellSize[2] ? cellSize[0]
                               : cellSize[1] < cellSize[2]                            ? cellSize[1]
                                                                                      : cellSize[2];
            smallest *= 2;
        }
        for (int a = 0; a < 3; ++a) cellCount[a] = static_cast<int>(m[a]) + 2;
        origin = origin - (cellSize[0] * axes[0] + cellSize[1] * axes[1] + cellSize[2] * axes[2]);
        occupied.assign(static_cast<std::size_t>(cellCount[0]) * static_cast<std::size_t>(cellCount[1]) *
                            static_cast<std::size_t>(cellCount[2]),
                        false);
        for (Vector3 const& p : points) {
            int cell[3];
            if (!inside(p, cell)) return;
            occupied[index(cell[0], cell[1], cell[2])] = true;
        }
        for (int a = 0; a < 3; ++a) {
            sweep(a, 1);
            sweep(a, -1);
        }
    }

    bool test(Vector3 const& p) const
    {
        int cell[3];
        return inside(p, cell) && occupied[index(cell[0], cell[1], cell[2])];
    }

private:
    std::size_t index(int i, int j, int k) const
    {
        return static_cast<std::size_t>(i) + static_cast<std::size_t>(cellCount[0]) * static_cast<std::size_t>(j) +
               static_cast<std::size_t>(cellCount[0]) * static_cast<std::size_t>(cellCount[1]) *
                   static_cast<std::size_t>(k);
    }

    bool inside(Vector3 const& p, int cell[3]) const
    {
        bool result = true;
        for (int a = 0; a < 3; ++a) {
            double const floored = std::floor(((p - origin) * axes[a]) / cellSize[a]);
            bool const fits = floored >= std::numeric_limits<int>::min() && floored <= std::numeric_limits<int>::max();
            cell[a] = fits ? static_cast<int>(floored) : -1;
            if (cell[a] < 0 || cell[a] >= cellCount[a]) result = false;
        }
        return result;
    }

    /// Sets the bit of every cell whose neighbour at `step` along the axis is set. The sweep runs towards that
    /// neighbour, so a bit moves by one cell only.
    void sweep(int axis, int step)
    {
        int const last = cellCount[axis] - 1;
        int cell[3];
        int const b = (axis + 1) % 3;
        int const c = (axis + 2) % 3;
        for (int t = 0; t < last; ++t) {
            cell[axis] = step > 0 ? t : last - t;
            for (cell[b] = 0; cell[b] < cellCount[b]; ++cell[b]) {
                for (cell[c] = 0; cell[c] < cellCount[c]; ++cell[c]) {
                    int from[3] = {cell[0], cell[1], cell[2]};
                    from[axis] += step;
                    if (occupied[index(from[0], from[1], from[2])]) occupied[index(cell[0], cell[1], cell[2])] = true;
                }
            }
        }
    }
};

} // namespace reference
