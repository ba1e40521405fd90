#pragma once

/// Families of polylines for tests and benches: what a search finds easy, and what it finds hard.

#include <cmath>
#include <vector>

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

/// The same with every vertex shaken: its arc length is many times its chord, so ellipse bounds say little.
inline std::vector<Vector3> noisyCurve(int vertices, Random& random, double noise = 0.01, double turns = 1.0)
{
    std::vector<Vector3> points = smoothCurve(vertices, turns);
    for (Vector3& p : points) p += random.point() * noise;
    return points;
}

/// A closed loop in the plane, first vertex repeated at the end: a texture island's boundary with its steps and inlets.
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

/// Steps of length 1, 0 or -1 along the axes: touches and retraces itself, and repeats vertices.
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

/// Equally spaced vertices on a straight line, not along an axis, so that arc lengths round.
inline std::vector<Vector3> straightLine(int vertices, double step = 0.1)
{
    std::vector<Vector3> points;
    for (int i = 0; i < vertices; ++i) points.push_back(Vector3(1, 0.7, -0.3) * (step * i));
    return points;
}

} // namespace test
