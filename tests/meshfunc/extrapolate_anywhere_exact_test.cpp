// Extrapolation that always has a result, against rational arithmetic: the triangle is the nearest good one, and its
// value is that of the exact affine map up to rounding.

#include <cmath>

#include <gtest/gtest.h>

#include <gmpxx.h>

#include <sinew/meshfunc/extrapolate_anywhere.h>

#include "meshfunc/flat_triangles.h"
#include "meshfunc/mesh_samples.h"
#include "support/trials.h"

using sinew::Location;
using sinew::LocationRule;
using test::Mesh;
using test::Point;
using test::Random;

namespace {

struct Exact
{
    mpq_class x, y;

    explicit Exact(Point const& p) : x(p.x), y(p.y) {}
    Exact(mpq_class x_, mpq_class y_) : x(std::move(x_)), y(std::move(y_)) {}
    Exact operator-(Exact const& b) const { return {x - b.x, y - b.y}; }
    mpq_class operator*(Exact const& b) const { return x * b.x + y * b.y; }
};

mpq_class cross(Exact const& a, Exact const& b)
{
    return a.x * b.y - a.y * b.x;
}

mpq_class segmentDistSq(Exact const& p, Exact const& a, Exact const& b)
{
    Exact const d = b - a, v = p - a;
    mpq_class const t = d * v, l2 = d * d;
    if (t <= 0) return v * v;
    if (t >= l2) return (p - b) * (p - b);
    mpq_class const c = cross(d, v);
    return c * c / l2;
}

struct Triangle
{
    Exact a, b, c;

    Triangle(MeshFunction2D const& f, std::size_t t) : a(at(f, 3 * t)), b(at(f, 3 * t + 1)), c(at(f, 3 * t + 2)) {}

    static Exact at(MeshFunction2D const& f, std::size_t i)
    {
        return Exact(f.params[static_cast<std::size_t>(f.facets[i])]);
    }
    mpq_class det() const { return cross(b - a, c - a); }
    // The determinant divided by the square of the longest edge.
    mpq_class flatness() const
    {
        mpq_class longest = (b - a) * (b - a);
        for (mpq_class const& l : {mpq_class((c - a) * (c - a)), mpq_class((c - b) * (c - b))}) {
            if (l > longest) longest = l;
        }
        return longest == 0 ? mpq_class(0) : mpq_class(abs(det()) / longest);
    }
    // The samples have no triangle near the limit of 2^-40.
    bool isGood() const { return flatness() > 1e-9; }
    mpq_class distSq(Exact const& p) const
    {
        mpq_class const signs[] = {cross(b - a, p - a), cross(c - b, p - b), cross(a - c, p - c)};
        bool const isInside =
            (signs[0] >= 0 && signs[1] >= 0 && signs[2] >= 0) || (signs[0] <= 0 && signs[1] <= 0 && signs[2] <= 0);
        if (isInside) return 0;
        mpq_class least = segmentDistSq(p, a, b);
        for (mpq_class const& d : {segmentDistSq(p, b, c), segmentDistSq(p, c, a)}) {
            if (d < least) least = d;
        }
        return least;
    }
};

// The exact squared distance to what the rule names, for the location and for the best candidate.
struct Distances
{
    mpq_class found = -1;
    mpq_class best = -1;

    void offer(mpq_class const& d, bool isFound)
    {
        if (best < 0 || d < best) best = d;
        if (isFound) found = d;
    }
};

Distances boundaryDistances(MeshFunction2D const& f, Exact const& p, Location const& location)
{
    Distances result;
    for (std::size_t k = 0; k < f.boundaryFacets.size(); ++k) {
        std::vector<Vector3> const& points = f.boundaryProjectors[k]->points;
        for (std::size_t j = 0; j < f.boundaryFacets[k].size(); ++j) {
            if (!Triangle(f, static_cast<std::size_t>(f.boundaryFacets[k][j])).isGood()) continue;
            Exact const a(Point(points[j].x, points[j].y)), b(Point(points[j + 1].x, points[j + 1].y));
            bool const isFound = location.loop == static_cast<int>(k) && location.segment == static_cast<int>(j);
            result.offer(segmentDistSq(p, a, b), isFound);
        }
    }
    return result;
}

Distances triangleDistances(MeshFunction2D const& f, Exact const& p, Location const& location)
{
    Distances result;
    for (std::size_t t = 0; t < f.facets.size() / 3; ++t) {
        Triangle const triangle(f, t);
        if (triangle.isGood()) result.offer(triangle.distSq(p), location.triangle == static_cast<int>(t));
    }
    return result;
}

// |value - exact value| in units of the rounding of the sum's terms: weights are as inexact as the triangle is flat.
double valueError(MeshFunction2D const& f, Location const& location, Point const& p, Point const& value)
{
    Triangle const triangle(f, static_cast<std::size_t>(location.triangle));
    Exact const d = Exact(p) - triangle.a;
    mpq_class const det = triangle.det();
    mpq_class const u = cross(d, triangle.c - triangle.a) / det, v = cross(triangle.b - triangle.a, d) / det;
    mpq_class const w = 1 - u - v;
    mpq_class x = 0, terms = 0;
    mpq_class const weights[] = {w, u, v};
    for (std::size_t k = 0; k < 3; ++k) {
        mpq_class const term = weights[k] * mpq_class(f.values[static_cast<std::size_t>(location.corners[k])].x);
        x += term;
        terms += abs(weights[k]) + abs(term);
    }
    mpq_class const scale = (terms + 1) / triangle.flatness();
    mpq_class const error = abs(x - mpq_class(value.x)) / scale;
    return error.get_d() * 0x1p53;
}

// A mesh with a mixture of flat and good boundary triangles, at any scale.
Mesh anyMesh(Random& random)
{
    int const columns = 1 + random.below(3), rows = 1 + random.below(3), one = 1 + random.below(3);
    Mesh mesh = random.oneIn(4) ? test::islands(2) : test::gridMesh(random, columns, rows, 0.2);
    test::attachFlatTriangles(random, &mesh, one);
    return test::scaled(mesh, random.oneIn(3) ? 0 : random.below(300) - 150);
}

} // namespace

TEST(ExtrapolateAnywhere, IsNearestAgainstExactArithmetic)
{
    Random random(1521);
    long const trials = test::trials(1500, 100000);
    long refused = 0;
    double worst = 0;
    while (refused < trials && !testing::Test::HasFailure()) {
        MeshFunction2D const f = anyMesh(random).function();
        double const size = f.params.empty() ? 1
                                             : std::fabs(f.params[0].x) + std::fabs(f.params.back().x) +
                                                   std::fabs(f.params[1].y) + std::fabs(f.params.back().y);
        for (int i = 0; i < 40 && refused < trials; ++i) {
            Point const p = size * random.point2(-1, 2);
            if (f.extrapolate(p, nullptr, nullptr)) continue;
            ++refused;
            Location const location = sinew::locateAnywhere(f, p);
            ASSERT_NE(location.rule, LocationRule::none);
            Distances const d = location.rule == LocationRule::nearestBoundary
                                    ? boundaryDistances(f, Exact(p), location)
                                    : triangleDistances(f, Exact(p), location);
            ASSERT_GE(d.found, 0) << "a good triangle";
            // A distance is rounded by some units in the last place of the coordinates; near-ties may fall either way.
            mpq_class const slack = mpq_class(size) * mpq_class(size) * mpq_class(0x1p-48);
            ASSERT_LE(d.found, d.best + slack);
            // Rule 3 only if no boundary triangle is good.
            if (location.rule == LocationRule::nearestTriangle) {
                ASSERT_LT(boundaryDistances(f, Exact(p), location).best, 0);
            }
            Point value;
            ASSERT_TRUE(sinew::extrapolateAnywhere(f, p, &value, nullptr));
            worst = std::max(worst, valueError(f, location, p, value));
        }
    }
    EXPECT_LT(worst, 8.0);
    RecordProperty("worstError", std::to_string(worst));
    RecordProperty("points", std::to_string(refused));
    std::printf("%ld points, worst error of the value %.2f units\n", refused, worst);
}
