// The conductance of an edge is half the sum of the cotangents of the angles opposite to it: U. Pinkall, K. Polthier,
// Computing Discrete Minimal Surfaces and Their Conjugates, Experimental Mathematics 2, 1993.

#include <sinew/skinning/detail/heat_surface.h>

#include <algorithm>
#include <numeric>

#include <sinew/detail/as_index.h>
#include <sinew/detail/disjoint_sets.h>
#include <sinew/detail/element_count.h>

namespace sinew::detail {

namespace {

// The conductances that a triangle gives an edge are between these two in magnitude, or 0. Beyond the first one, two
// places have the same temperature in any case; below the second one, no heat flows that could be noticed. Without
// these limits, the matrix of a mesh with thin triangles is singular to rounding.
constexpr double kMostConductance = 0x1p20;
constexpr double kLeastConductance = 0x1p-20;

bool isBefore(Vector3 const& a, Vector3 const& b)
{
    if (a.x != b.x) return a.x < b.x;
    if (a.y != b.y) return a.y < b.y;
    return a.z < b.z;
}

bool areEqual(Vector3 const& a, Vector3 const& b)
{
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

void joinVertices(std::vector<Vector3> const& positions, HeatSurface& surface)
{
    std::vector<int> order(positions.size());
    std::iota(order.begin(), order.end(), 0);
    auto const position = [&](int v) { return positions[asIndex(v)]; };
    // Vertices at equal positions get the same place, so their order has no effect.
    std::sort(order.begin(), order.end(), [&](int a, int b) { return isBefore(position(a), position(b)); });
    surface.placeOf.resize(positions.size());
    for (int const v : order) {
        Vector3 const p = position(v);
        if (surface.places.empty() || !areEqual(surface.places.back(), p)) {
            surface.places.emplace_back(p.x + 0.0, p.y + 0.0, p.z + 0.0); // -0 becomes 0
        }
        surface.placeOf[asIndex(v)] = static_cast<int>(surface.places.size()) - 1;
    }
}

void takeTriangles(std::vector<std::array<int, 3>> const& triangles, HeatSurface& surface)
{
    surface.triangles.reserve(triangles.size());
    for (std::array<int, 3> corners : triangles) {
        for (int& corner : corners) corner = surface.placeOf[asIndex(corner)];
        std::sort(corners.begin(), corners.end());
        if (corners[0] == corners[1] || corners[1] == corners[2]) continue;
        surface.triangles.push_back(corners);
    }
    std::sort(surface.triangles.begin(), surface.triangles.end());
}

// Half the cotangent of the angle between the edges a and b.
double halfCotangent(Vector3 const& a, Vector3 const& b, double twiceArea)
{
    return std::clamp(0.5 * (a * b) / twiceArea, -kMostConductance, kMostConductance);
}

// The contributions of all triangles to the edges, and the areas. A triangle without area conducts nothing.
std::vector<HeatEdge> contributions(HeatSurface& surface)
{
    std::vector<HeatEdge> result;
    result.reserve(elementCount<HeatEdge>(3 * std::uint64_t{surface.triangles.size()}));
    surface.areas.assign(surface.places.size(), 0.0);
    for (std::array<int, 3> const& corners : surface.triangles) {
        Vector3 const& p = surface.places[asIndex(corners[0])];
        Vector3 const& q = surface.places[asIndex(corners[1])];
        Vector3 const& r = surface.places[asIndex(corners[2])];
        double const twiceArea = cross(q - p, r - p).length();
        if (!(twiceArea > 0.0)) continue;
        result.push_back({corners[2], corners[1], halfCotangent(q - p, r - p, twiceArea)});
        result.push_back({corners[2], corners[0], halfCotangent(p - q, r - q, twiceArea)});
        result.push_back({corners[1], corners[0], halfCotangent(p - r, q - r, twiceArea)});
        for (int const corner : corners) surface.areas[asIndex(corner)] += twiceArea / 6.0;
    }
    return result;
}

void sumEdges(std::vector<HeatEdge> parts, HeatSurface& surface)
{
    auto const order = [](HeatEdge const& a, HeatEdge const& b) {
        return a.high < b.high || (a.high == b.high && a.low < b.low);
    };
    std::stable_sort(parts.begin(), parts.end(), order); // stable, since the order of a sum changes its bits
    surface.conductances.assign(surface.places.size(), 0.0);
    for (auto part = parts.cbegin(); part != parts.cend();) {
        HeatEdge edge = *part;
        for (++part; part != parts.cend() && !order(edge, *part); ++part) edge.conductance += part->conductance;
        if (edge.conductance < 0.0) ++surface.raisedEdges;
        if (!(edge.conductance >= kLeastConductance)) continue;
        surface.edges.push_back(edge);
        surface.conductances[asIndex(edge.high)] += edge.conductance;
        surface.conductances[asIndex(edge.low)] += edge.conductance;
    }
}

void findPieces(HeatSurface& surface)
{
    DisjointSets sets(surface.places.size());
    for (HeatEdge const& edge : surface.edges) sets.join(edge.high, edge.low);
    surface.pieceOf.assign(surface.places.size(), -1);
    for (std::size_t i = 0; i < surface.places.size(); ++i) {
        int& piece = surface.pieceOf[asIndex(sets.setOf(static_cast<int>(i)))];
        if (piece < 0) piece = static_cast<int>(surface.pieceCount++);
        surface.pieceOf[i] = piece; // the same object if the place stands for its set
    }
}

} // namespace

HeatSurface heatSurface(std::vector<Vector3> const& positions, std::vector<std::array<int, 3>> const& triangles)
{
    HeatSurface surface;
    joinVertices(positions, surface);
    takeTriangles(triangles, surface);
    sumEdges(contributions(surface), surface);
    findPieces(surface);
    return surface;
}

} // namespace sinew::detail
