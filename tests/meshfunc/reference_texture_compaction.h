#pragma once

/// The reference implementation of texture compaction: the definition, texel by texel.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <set>
#include <vector>

#include <sinew/meshfunc/mesh_function_2d.h>
#include <sinew/meshfunc/texture_compaction.h>

namespace reference {

/// The column of a coordinate in texels: the coordinate is floored and shifted, then clamped to the texture. NaN gives
/// column 0.
inline int texel(double coordinate, double shift, int size)
{
    double const shifted = std::floor(coordinate) + shift;
    if (!(shifted > 0)) return 0;
    return static_cast<int>(std::min<double>(shifted, size - 1));
}

/// `emptyTexels` as `EmptyRectTester` holds it, of width * height entries.
inline bool isRectEmpty(std::vector<int> const& emptyTexels, int width, int height, double minX, double minY,
                        double maxX, double maxY)
{
    int const x0 = texel(width * minX, -1.0, width);
    int const x1 = texel(width * maxX, 1.0, width);
    int const y0 = texel(height * minY, -1.0, height);
    int const y1 = texel(height * maxY, 1.0, height);
    for (int x = x0; x <= x1; ++x) {
        for (int y = y0; y <= y1; ++y) {
            if (!emptyTexels[static_cast<std::size_t>(x) +
                             static_cast<std::size_t>(width) * static_cast<std::size_t>(y)])
                return false;
        }
    }
    return true;
}

/// The compacted texture: its size, and the motion of the box of used texels unless nothing moves.
struct Optimized
{
    int newWidth;
    int newHeight;
    std::vector<TextureOptimizer::RectMotion> motions;
};

inline Optimized optimize(std::vector<bool> const& mask, int width, int height)
{
    int minX = width, minY = height, maxX = 0, maxY = 0;
    for (int x = 0; x < width; ++x) {
        for (int y = 0; y < height; ++y) {
            if (!mask[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)])
                continue;
            minX = std::min(minX, x);
            minY = std::min(minY, y);
            maxX = std::max(maxX, x);
            maxY = std::max(maxY, y);
        }
    }
    if (minX > maxX || minY > maxY) return {0, 0, {}};
    int const x0 = std::max(minX - 1, 0), x1 = std::min(maxX + 1, width - 1);
    int const y0 = std::max(minY - 1, 0), y1 = std::min(maxY + 1, height - 1);
    int const w = x1 - x0 + 1, h = y1 - y0 + 1;
    if (2 * w >= width && 2 * h >= height) return {width, height, {}};
    int newWidth = 1, newHeight = 1;
    while (newWidth < w) newWidth *= 2;
    while (newHeight < h) newHeight *= 2;
    return {newWidth, newHeight, {{x0, y0, w, h, -x0, -y0}}};
}

/// The vectors of a mesh function after erasing.
struct Erased
{
    std::vector<tzNM::vect2<double>> params, values;
    std::vector<float> normaldots;
    std::vector<int> facets;
};

/// All triangles must name vertices that exist.
inline Erased eraseExtraTriangles(MeshFunction2D const& f, EmptyRectTester const& tester)
{
    Erased result{f.params, f.values, f.normaldots, f.facets};
    if (f.facets.size() % 3 != 0) return result;
    std::vector<int>& facets = result.facets;
    std::size_t i = 0;
    while (i < facets.size()) {
        auto const& a = f.values[static_cast<std::size_t>(facets[i])];
        auto const& b = f.values[static_cast<std::size_t>(facets[i + 1])];
        auto const& c = f.values[static_cast<std::size_t>(facets[i + 2])];
        if (tester.isRectEmpty(std::min({a.x, b.x, c.x}), std::min({a.y, b.y, c.y}), std::max({a.x, b.x, c.x}),
                               std::max({a.y, b.y, c.y}))) {
            std::copy(facets.end() - 3, facets.end(), facets.begin() + static_cast<std::ptrdiff_t>(i));
            facets.resize(facets.size() - 3);
        } else {
            i += 3;
        }
    }
    std::set<int> const used(facets.begin(), facets.end());
    result.params.clear();
    result.values.clear();
    if (f.normaldots.size() == f.params.size()) result.normaldots.clear();
    for (int vertex : used) {
        result.params.push_back(f.params[static_cast<std::size_t>(vertex)]);
        result.values.push_back(f.values[static_cast<std::size_t>(vertex)]);
        if (f.normaldots.size() == f.params.size()) {
            result.normaldots.push_back(f.normaldots[static_cast<std::size_t>(vertex)]);
        }
    }
    for (int& vertex : facets) vertex = static_cast<int>(std::distance(used.begin(), used.find(vertex)));
    return result;
}

} // namespace reference
