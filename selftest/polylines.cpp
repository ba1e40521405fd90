#include <selftest/polylines.h>

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace selftest {

namespace {

// Up and down in turn: rungs at equal distances.
Polyline ladder(int vertices)
{
    Polyline points;
    for (int i = 0; i < vertices; ++i) {
        int const rung = (i + 1) / 2;
        points.emplace_back(rung % 2 == 0 ? 0.0 : 1.0, 0.5 * (i / 2), 0.0);
    }
    return points;
}

// Teeth of equal height.
Polyline comb(int vertices)
{
    constexpr double kHeights[] = {0.0, 2.0, 2.0, 0.0};
    Polyline points;
    for (int i = 0; i < vertices; ++i) points.emplace_back(0.5 * (i / 2), kHeights[i % 4], 0.0);
    return points;
}

// Symmetric in both axes. From the tangent of the half angle, without sines.
Polyline circle(int vertices)
{
    Polyline quarter;
    int const steps = std::max(1, vertices / 4);
    for (int i = 0; i < steps; ++i) {
        double const t = static_cast<double>(i) / steps;
        quarter.emplace_back((1 - t * t) / (1 + t * t), 2 * t / (1 + t * t), 0.0);
    }
    Polyline points;
    for (int turn = 0; turn < 4; ++turn) {
        for (Vector3& p : quarter) {
            points.push_back(p);
            p = Vector3(-p.y, p.x, p.z);
        }
    }
    return points;
}

// Row by row, the rows in alternating directions.
Polyline grid(int vertices)
{
    int side = 2;
    while (side * side < vertices) ++side;
    Polyline points;
    for (int i = 0; i < vertices; ++i) {
        int const row = i / side;
        int const column = row % 2 == 0 ? i % side : side - 1 - i % side;
        points.emplace_back(column, row, 0.0);
    }
    return points;
}

// Sides of length 1, 1, 2, 2, 3, 3 and so on, with a vertex at each unit.
Polyline spiral(int vertices)
{
    Polyline points = {Vector3()};
    Vector3 step(1.0, 0.0, 0.0);
    for (int side = 2; static_cast<int>(points.size()) < vertices; ++side) {
        for (int i = 0; i < side / 2; ++i) points.push_back(points.back() + step);
        step = Vector3(-step.y, step.x, 0.0);
    }
    return points;
}

Polyline straight(int vertices, Vector3 const& step)
{
    Polyline points;
    for (int i = 0; i < vertices; ++i) points.push_back(step * i);
    return points;
}

int vertexCount(Inputs& in)
{
    constexpr int kAroundLimits[] = {2, 3, 10, 18, 19, 20, 21, 22, 24, 29, 30, 31};
    if (in.oneIn(2)) return kAroundLimits[in.below(static_cast<int>(std::size(kAroundLimits)))];
    return in.oneIn(3) ? 100 + in.below(300) : 2 + in.below(80);
}

} // namespace

Polyline regularPolyline(Inputs& in)
{
    int const vertices = vertexCount(in);
    Polyline points;
    switch (in.below(8)) {
    case 0:
    case 1:
        points = ladder(vertices);
        break;
    case 2:
        points = comb(vertices);
        break;
    case 3:
    case 4:
        points = circle(vertices);
        break;
    case 5:
        points = grid(vertices);
        break;
    case 6:
        points = spiral(vertices);
        break;
    default:
        points = straight(vertices, in.oneIn(4) ? Vector3() : Vector3(0.5, 0.0, 0.0));
        break;
    }
    if (in.oneIn(4)) points.push_back(points.front());
    if (in.oneIn(4)) { // into another plane, with exact coordinates
        for (Vector3& p : points) p = Vector3(p.z, p.x, -p.y);
    }
    if (in.oneIn(4)) points.insert(points.begin() + in.below(static_cast<int>(points.size())), 3, points.back());
    if (in.oneIn(4)) std::reverse(points.begin(), points.end());
    return points;
}

Polyline irregularPolyline(Inputs& in)
{
    int const kind = in.below(16);
    Polyline points;
    if (kind == 0) { // short ones, also empty ones
        for (int i = in.below(4); i > 0; --i) points.push_back(in.point());
        return points;
    }
    int const vertices = vertexCount(in);
    bool const hostile = kind == 1;
    double const step = in.oneIn(4) ? 1.0 : 0.1;
    Vector3 p;
    for (int i = 0; i < vertices; ++i) {
        if (kind < 4) {
            p = hostile ? in.point() : in.tamePoint();
        } else {
            p += Vector3(0.1, 0.0, 0.0) + step * Vector3{in.uniform(), in.uniform(), in.uniform()};
        }
        points.push_back(p);
    }
    return points;
}

Vector3 queryNear(Inputs& in, Polyline const& polyline)
{
    int const kind = in.below(8);
    if (kind == 0 || polyline.empty()) return in.point();
    int const count = static_cast<int>(polyline.size());
    Vector3 const a = polyline[static_cast<std::size_t>(in.below(count))];
    Vector3 const b = polyline[static_cast<std::size_t>(in.below(count))];
    if (kind == 1) return a;
    if (kind == 2) return 0.5 * (a + b);
    Vector3 const lattice = 0.5 * Vector3{in.lattice(), in.lattice(), in.oneIn(2) ? 0.0 : in.lattice()};
    if (kind < 6) return Vector3(a.x, b.y, a.z) + lattice;
    return a + Vector3{in.uniform(), in.uniform(), in.uniform()};
}

} // namespace selftest
