#pragma once

/// Families of polylines for tests and benches, from easy to hard for a search, and queries near them.

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include <sinew/core/vector_geometry.h>

#include "support/random.h"

namespace test {

/// A space curve that winds a few times through a box of size 2 x 2 x 0.6, never closing.
inline std::vector<Vector3> smoothCurve(int vertices, double turns = 1.0)
{
    std::vector<Vector3> points;
    for (int i = 0; i < vertices; ++i) {
        double const u = 6.283185307179586 * turns * i / vertices;
        points.emplace_back(std::cos(u), std::sin(1.7 * u), 0.3 * std::cos(2.3 * u));
    }
    return points;
}

/// The same curve with random displacements of its vertices. Its arc length is many times its chord, so the bounds of
/// the bounded search are weak.
inline std::vector<Vector3> noisyCurve(int vertices, Random& random, double noise = 0.01, double turns = 1.0)
{
    std::vector<Vector3> points = smoothCurve(vertices, turns);
    for (Vector3& p : points) p += random.point() * noise;
    return points;
}

/// A closed loop in the plane z = 0 with its first vertex repeated at the end, like the boundary of a texture island.
inline std::vector<Vector3> islandBoundary(int vertices, Random& random)
{
    std::vector<Vector3> points;
    for (int i = 0; i + 1 < vertices; ++i) {
        double const u = 6.283185307179586 * i / (vertices - 1);
        double const radius = 1.0 + 0.25 * std::sin(5.0 * u) + 0.1 * std::sin(17.0 * u) + 0.01 * random.uniform();
        points.emplace_back(radius * std::cos(u), radius * std::sin(u), 0.0);
    }
    points.push_back(points.front());
    return points;
}

/// Steps of length 1, 0 or -1 along the axes. The polyline touches and retraces itself and repeats vertices.
inline std::vector<Vector3> latticeWalk(int vertices, Random& random)
{
    std::vector<Vector3> points(1);
    while (static_cast<int>(points.size()) < vertices) {
        Vector3 next = points.back();
        next[random.below(3)] += random.below(3) - 1;
        points.push_back(next);
    }
    return points;
}

/// Equally spaced vertices on a straight line that is not along an axis, so that arc lengths round.
inline std::vector<Vector3> straightLine(int vertices, double step = 0.1)
{
    std::vector<Vector3> points;
    for (int i = 0; i < vertices; ++i) points.push_back(Vector3(1, 0.7, -0.3) * (step * i));
    return points;
}

/// The vertices (0, 0, 0), (1, 0, 0), (2, 0, 0) and so on.
inline std::vector<Vector3> alongX(int vertices)
{
    std::vector<Vector3> points;
    for (int i = 0; i < vertices; ++i) points.emplace_back(i, 0, 0);
    return points;
}

/// Points at distances up to `spread` along each axis from randomly chosen vertices.
inline std::vector<Vector3> nearVertices(std::vector<Vector3> const& points, int count, double spread, Random& random)
{
    std::vector<Vector3> queries;
    for (int i = 0; i < count; ++i) {
        queries.push_back(points[random.below(static_cast<int>(points.size()))] + random.point() * spread);
    }
    return queries;
}

/// The smallest squared distance to a segment, by a scan. Infinity if there is no segment.
inline double smallestDistSq(std::vector<Vector3> const& points, Vector3 const& q)
{
    double nearest = std::numeric_limits<double>::infinity();
    for (std::size_t k = 0; k + 1 < points.size(); ++k) {
        nearest = std::min(nearest, distSqToLineSegment(q, points[k], points[k + 1], nullptr));
    }
    return nearest;
}

} // namespace test
