#pragma once

/// The pixels of a triangle, for the renderer and its depth maps.

#include <algorithm>
#include <cmath>

#include <sinew/core/vector3.h>

namespace tool {

/// Calls visit(x, y, wa, wb, wc) for every pixel of a width x height grid whose centre (x + 0.5, y + 0.5) lies in the
/// triangle. The triangle is given by the x and y of its corners, in either orientation. wa, wb and wc are barycentric
/// weights with the sum 1. A triangle without area has no pixels.
template <typename Visit>
void forEachPixelInTriangle(Vector3 const (&corner)[3], int width, int height, Visit visit)
{
    // Pixel centres are 1 apart, so a triangle with less area than this can contain one only by coincidence.
    constexpr double kSmallestTwiceArea = 1e-12;
    Vector3 const &a = corner[0], &b = corner[1], &c = corner[2];
    double const area = (b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y);
    if (!(std::fabs(area) > kSmallestTwiceArea)) return; // also when a corner is NaN
    auto const bound = [](double value, int limit) {
        return static_cast<int>(std::fmin(std::fmax(value, 0.0), limit)); // NaN becomes 0
    };
    int const left = bound(std::floor(std::min({a.x, b.x, c.x}) - 0.5), width);
    int const right = bound(std::ceil(std::max({a.x, b.x, c.x}) + 0.5), width);
    int const top = bound(std::floor(std::min({a.y, b.y, c.y}) - 0.5), height);
    int const bottom = bound(std::ceil(std::max({a.y, b.y, c.y}) + 0.5), height);
    for (int y = top; y < bottom; ++y) {
        double const py = y + 0.5;
        for (int x = left; x < right; ++x) {
            double const px = x + 0.5;
            double const wb = ((px - a.x) * (c.y - a.y) - (c.x - a.x) * (py - a.y)) / area;
            double const wc = ((b.x - a.x) * (py - a.y) - (px - a.x) * (b.y - a.y)) / area;
            double const wa = 1 - wb - wc;
            if (wa >= 0 && wb >= 0 && wc >= 0) visit(x, y, wa, wb, wc);
        }
    }
}

} // namespace tool
