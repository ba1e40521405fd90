#include <sinew/queries/rays.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/random.h"
#include "support/trials.h"

#ifdef SINEW_TEST_GMP
#include <gmpxx.h>
#endif

namespace {

using sinew::Ray;
using sinew::rayTriangle;
using sinew::RayTriangle;
using limits = std::numeric_limits<double>;

constexpr double kInfinity = limits::infinity();
constexpr double kNaN = limits::quiet_NaN();
constexpr Vector3 kA(0, 0, 0);
constexpr Vector3 kB(4, 0, 0);
constexpr Vector3 kC(0, 4, 0);

RayTriangle down(double x, double y)
{
    return rayTriangle(Ray({x, y, 2}, {0, 0, -1}), kA, kB, kC);
}

// A closed mesh.
struct Mesh
{
    std::vector<Vector3> points;
    std::vector<std::array<int, 3>> triangles;
};

// A regular icosahedron; its corners have rounded coordinates, so that opposite faces are not quite parallel.
Mesh icosahedron()
{
    double const g = 0.5 + std::sqrt(1.25);
    Mesh mesh;
    mesh.points = {{-1, g, 0},  {1, g, 0},  {-1, -g, 0}, {1, -g, 0}, {0, -1, g},  {0, 1, g},
                   {0, -1, -g}, {0, 1, -g}, {g, 0, -1},  {g, 0, 1},  {-g, 0, -1}, {-g, 0, 1}};
    mesh.triangles = {{0, 11, 5},  {0, 5, 1},  {0, 1, 7},  {0, 7, 10}, {0, 10, 11}, {1, 5, 9}, {5, 11, 4},
                      {11, 10, 2}, {10, 7, 6}, {7, 1, 8},  {3, 9, 4},  {3, 4, 2},   {3, 2, 6}, {3, 6, 8},
                      {3, 8, 9},   {4, 9, 5},  {2, 4, 11}, {6, 2, 10}, {8, 6, 7},   {9, 8, 1}};
    return mesh;
}

int hits(Mesh const& mesh, Ray const& ray, double tMin = 0.0, double tMax = kInfinity)
{
    int count = 0;
    for (auto const& t : mesh.triangles) {
        std::size_t const i[] = {static_cast<std::size_t>(t[0]), static_cast<std::size_t>(t[1]),
                                 static_cast<std::size_t>(t[2])};
        count += rayTriangle(ray, mesh.points[i[0]], mesh.points[i[1]], mesh.points[i[2]], tMin, tMax).hit;
    }
    return count;
}

// A corner, a point near an edge, or a point of a face.
Vector3 onSurface(test::Random& random, Mesh const& mesh)
{
    auto const& t = mesh.triangles[static_cast<std::size_t>(random.below(static_cast<int>(mesh.triangles.size())))];
    Vector3 const a = mesh.points[static_cast<std::size_t>(t[0])];
    Vector3 const b = mesh.points[static_cast<std::size_t>(t[1])];
    Vector3 const c = mesh.points[static_cast<std::size_t>(t[2])];
    double const s = random.uniform(0, 1);
    int const kind = random.below(3);
    if (kind == 0) return a;
    if (kind == 1) return a + s * (b - a);
    double const r = random.uniform(0, 1 - s);
    return a + s * (b - a) + r * (c - a);
}

} // namespace

TEST(RayTriangle, ReportsTheCrossing)
{
    RayTriangle const found = down(1, 2);
    EXPECT_TRUE(found.hit);
    EXPECT_EQ(found.side, 1);
    EXPECT_EQ(found.t, 2.0);
    EXPECT_EQ(found.weights, Vector3(0.25, 0.25, 0.5));

    RayTriangle const below = rayTriangle(Ray({1, 2, -3}, {0, 0, 6}), kA, kB, kC);
    EXPECT_TRUE(below.hit);
    EXPECT_EQ(below.side, -1);
    EXPECT_EQ(below.t, 0.5) << "t is measured in lengths of the direction";
}

TEST(RayTriangle, IncludesEdgesAndCorners)
{
    for (auto const& p :
         {Vector3(0, 0, 0), Vector3(4, 0, 0), Vector3(0, 4, 0), Vector3(2, 0, 0), Vector3(0, 1, 0), Vector3(1, 3, 0)}) {
        EXPECT_TRUE(down(p.x, p.y).hit) << p.x << " " << p.y;
    }
    EXPECT_EQ(down(2, 0).weights, Vector3(0.5, 0.5, 0));
    EXPECT_EQ(down(4, 0).weights, Vector3(0, 1, 0));
    EXPECT_FALSE(down(-0x1p-1074, 1).hit) << "one unit outside";
    EXPECT_FALSE(down(1, -0x1p-1074).hit);
    EXPECT_FALSE(down(1, std::nextafter(3.0, 4.0)).hit);
}

TEST(RayTriangle, AMissHasZeroFields)
{
    RayTriangle const found = down(3, 3);
    EXPECT_FALSE(found.hit);
    EXPECT_EQ(found.side, 0);
    EXPECT_EQ(found.t, 0.0);
    EXPECT_EQ(found.weights, Vector3());
}

TEST(RayTriangle, RangeIncludesItsEnds)
{
    Ray const ray({1, 1, 3}, {0, 0, -1});
    auto const hit = [&](double tMin, double tMax) { return rayTriangle(ray, kA, kB, kC, tMin, tMax).hit; };
    EXPECT_TRUE(hit(3, 3));
    EXPECT_TRUE(hit(-kInfinity, kInfinity));
    EXPECT_TRUE(hit(0, 3));
    EXPECT_TRUE(hit(3, kInfinity));
    EXPECT_FALSE(hit(std::nextafter(3.0, 4.0), kInfinity));
    EXPECT_FALSE(hit(-kInfinity, std::nextafter(3.0, 2.0)));
    EXPECT_FALSE(hit(4, 2)) << "an empty range";
    EXPECT_FALSE(hit(kInfinity, kInfinity));
    EXPECT_FALSE(hit(-kInfinity, -kInfinity));
    EXPECT_FALSE(hit(kNaN, 5));
    EXPECT_FALSE(hit(0, kNaN));
}

TEST(RayTriangle, BehindTheOriginOnlyTheLineHits)
{
    Ray const ray({1, 1, 3}, {0, 0, 1});
    EXPECT_FALSE(rayTriangle(ray, kA, kB, kC).hit);
    RayTriangle const found = rayTriangle(ray, kA, kB, kC, -kInfinity);
    EXPECT_TRUE(found.hit);
    EXPECT_EQ(found.t, -3.0);
}

TEST(RayTriangle, TheOriginOnTheTriangleIsAHitAtZero)
{
    RayTriangle const found = rayTriangle(Ray({1, 1, 0}, {0.5, 0.25, 1}), kA, kB, kC);
    EXPECT_TRUE(found.hit);
    EXPECT_EQ(found.t, 0.0);
    EXPECT_FALSE(rayTriangle(Ray({1, 1, 0x1p-1074}, {0.5, 0.25, 1}), kA, kB, kC).hit);
}

TEST(RayTriangle, InThePlaneIsAMiss)
{
    EXPECT_FALSE(rayTriangle(Ray({-1, 1, 0}, {1, 0, 0}), kA, kB, kC, -kInfinity).hit);
    EXPECT_FALSE(rayTriangle(Ray({-1, 0, 0}, {1, 0, 0}), kA, kB, kC, -kInfinity).hit) << "along an edge";
    EXPECT_FALSE(rayTriangle(Ray({-1, 1, 1}, {1, 0, 0}), kA, kB, kC, -kInfinity).hit) << "parallel";
}

TEST(RayTriangle, DegenerateTrianglesAndRaysAreMisses)
{
    Ray const ray({1, 1, 3}, {0, 0, -1});
    EXPECT_FALSE(rayTriangle(ray, {0, 0, 0}, {1, 1, 0}, {2, 2, 0}).hit);
    EXPECT_FALSE(rayTriangle(ray, {1, 1, 0}, {1, 1, 0}, {1, 1, 0}).hit);
    EXPECT_FALSE(rayTriangle(ray, {1, 1, 0}, {1, 1, 0}, {2, 7, 0}).hit);
    EXPECT_FALSE(rayTriangle(Ray({1, 1, 0}, {0, 0, 0}), kA, kB, kC, -kInfinity).hit);
    EXPECT_TRUE(rayTriangle(ray, {1, 1, 0}, {1 + 0x1p-52, 1, 0}, {1, 1 + 0x1p-52, 0}).hit) << "of tiny area";
}

TEST(RayTriangle, NaNAndInfinityAreMisses)
{
    for (double const bad : {kNaN, kInfinity, -kInfinity}) {
        for (int i = 0; i < 15; ++i) {
            Vector3 p[] = {{1, 1, 3}, {0.1, 0.2, -1}, kA, kB, kC};
            EXPECT_TRUE(rayTriangle(Ray(p[0], p[1]), p[2], p[3], p[4], -kInfinity).hit);
            p[i / 3][i % 3] = bad;
            EXPECT_FALSE(rayTriangle(Ray(p[0], p[1]), p[2], p[3], p[4], -kInfinity).hit) << i << " " << bad;
        }
    }
}

TEST(RayTriangle, AnyScaleIsAllowed)
{
    for (double const size : {0x1p-1060, 0x1p-600, 1e-30, 1e30, 0x1p600, 0x1p1020}) {
        for (double const length : {0x1p-1060, 1.0, 0x1p1020}) {
            Ray const ray(Vector3(1, 2, 2) * size, Vector3(0, 0, -length));
            RayTriangle const found = rayTriangle(ray, kA * size, kB * size, kC * size);
            EXPECT_TRUE(found.hit);
            EXPECT_LE(dist(found.weights, Vector3(0.25, 0.25, 0.5)), 1e-15);
            EXPECT_DOUBLE_EQ(found.t, std::max(2 * size / length, limits::denorm_min())) << size << " " << length;
        }
    }
}

// The volumes span 1200 powers of two, within the range of expansions.
TEST(RayTriangle, AParameterBelowTheSmallestDoubleKeepsItsSign)
{
    constexpr double kLarge = 0x1p200;
    constexpr double kSmall = 0x1p-200;
    Ray const ray({0, 0, 0}, {0, 0, kLarge});
    for (double const sign : {1.0, -1.0}) { // the exact parameter is sign * 2^-1200
        Vector3 const a(kSmall, 0, 0), b(-kLarge, kSmall, 0), c(0, -kLarge, sign * kSmall);
        RayTriangle const after = rayTriangle(ray, a, b, c);
        RayTriangle const before = rayTriangle(ray, a, b, c, -kInfinity, 0.0);
        EXPECT_EQ(after.hit, sign > 0);
        EXPECT_EQ(before.hit, sign < 0);
        EXPECT_EQ(after.t, sign > 0 ? limits::denorm_min() : 0.0);
        EXPECT_EQ(before.t, sign < 0 ? -limits::denorm_min() : 0.0);
        RayTriangle const line = rayTriangle(ray, a, b, c, -kInfinity, kInfinity);
        EXPECT_TRUE(line.hit);
        EXPECT_EQ(line.t, sign * limits::denorm_min());
    }
}

// The exact parameter is the largest double; rounding errors can make it infinite.
TEST(RayTriangle, AParameterOfTheLargestDoubleIsInTheRange)
{
    constexpr double kLargest = limits::max();
    constexpr double kAway = kLargest * 0x1p-1000;
    test::Random random(20261128);
    int count = 0;
    for (int trial = 0; trial < 20'000; ++trial) {
        Vector3 corners[3];
        for (Vector3& corner : corners) {
            Vector3 const p = random.point(-1e7, 1e7);
            corner = {p.x, p.y, kAway};
        }
        for (double const sign : {1.0, -1.0}) {
            Ray const ray({0, 0, 0}, {0, 0, sign * 0x1p-1000});
            auto const hit = [&](double tMin, double tMax) {
                return rayTriangle(ray, corners[0], corners[1], corners[2], tMin, tMax).hit;
            };
            bool const line = hit(-kInfinity, kInfinity);
            count += line;
            ASSERT_EQ(sign > 0 ? hit(0.0, kLargest) : hit(-kLargest, 0.0), line) << "trial " << trial;
            ASSERT_EQ(sign > 0 ? hit(kLargest, kInfinity) : hit(-kInfinity, -kLargest), line) << "trial " << trial;
            ASSERT_FALSE(sign > 0 ? hit(0.0, std::nextafter(kLargest, 0.0)) : hit(std::nextafter(-kLargest, 0.0), 0.0));
        }
    }
    EXPECT_GT(count, 2000);
}

TEST(RayTriangle, OrderOfCornersChangesOnlyTheOrderOfTheWeights)
{
    test::Random random(20261123);
    int count = 0;
    for (int trial = 0; trial < 20'000; ++trial) {
        Vector3 const a = random.point(), b = random.point(), c = random.point();
        Vector3 const target = random.oneIn(2) ? a + random.uniform(0, 1) * (b - a) : random.point();
        Vector3 const origin = random.point(-3, 3);
        Ray const ray(origin, target - origin);
        RayTriangle const abc = rayTriangle(ray, a, b, c);
        RayTriangle const bca = rayTriangle(ray, b, c, a);
        RayTriangle const acb = rayTriangle(ray, a, c, b);
        ASSERT_EQ(abc.hit, bca.hit);
        ASSERT_EQ(abc.hit, acb.hit);
        EXPECT_EQ(abc.side, bca.side);
        EXPECT_EQ(abc.side, -acb.side);
        EXPECT_LE(dist(abc.weights, Vector3(bca.weights.z, bca.weights.x, bca.weights.y)), 2e-9);
        EXPECT_LE(dist(abc.weights, Vector3(acb.weights.x, acb.weights.z, acb.weights.y)), 2e-9);
        count += abc.hit;
    }
    EXPECT_GT(count, 4000);
}

TEST(RayTriangle, ARayFromInsideAClosedMeshNeverLeaks)
{
    Mesh const mesh = icosahedron();
    test::Random random(20261124);
    long const trials = test::trials(100'000, 10'000'000);
    for (long trial = 0; trial < trials; ++trial) {
        Vector3 const origin = random.point(-0.5, 0.5);
        ASSERT_GE(hits(mesh, Ray(origin, onSurface(random, mesh) - origin)), 1) << "trial " << trial;
    }
}

TEST(RayTriangle, ALineThroughAClosedMeshFrom1e8AwayHitsTwice)
{
    Mesh const mesh = icosahedron();
    test::Random random(20261125);
    long const trials = test::trials(30'000, 1'000'000);
    for (long trial = 0; trial < trials; ++trial) {
        Vector3 const inside = random.point(-0.5, 0.5);
        // The rounded direction makes the ray pass the aim at a distance of about 1e-8.
        Vector3 const origin = UVector3(random.point()) * 1e8;
        ASSERT_GE(hits(mesh, Ray(origin, UVector3(inside - origin))), 2) << "trial " << trial;
    }
}

TEST(RaySphere, ReportsBothCrossings)
{
    sinew::RaySphere const found = sinew::raySphere(Ray({-5, 3, 0}, {2, 0, 0}), {0, 0, 0}, 5);
    EXPECT_TRUE(found.hit);
    EXPECT_TRUE(found.lineHit);
    EXPECT_EQ(found.tEnter, 0.5);
    EXPECT_EQ(found.tLeave, 4.5);
    EXPECT_TRUE(sinew::raySphere(Ray({-5, 3, 0}, {2, 0, 0}), {0, 0, 0}, -5).hit) << "the sign of the radius";
}

TEST(RaySphere, ATangentIsAHit)
{
    sinew::RaySphere const found = sinew::raySphere(Ray({-7, 5, 0}, {1, 0, 0}), {0, 0, 0}, 5);
    EXPECT_TRUE(found.hit);
    EXPECT_EQ(found.tEnter, 7.0);
    EXPECT_EQ(found.tLeave, 7.0);
    EXPECT_FALSE(sinew::raySphere(Ray({-7, std::nextafter(5.0, 6.0), 0}, {1, 0, 0}), {0, 0, 0}, 5).lineHit);
    EXPECT_TRUE(sinew::raySphere(Ray({0, 0, 0}, {3, 4, 5}), {3, 4, 5}, 0).hit) << "a point is a sphere of radius 0";
    EXPECT_FALSE(sinew::raySphere(Ray({0, 0, 0}, {3, 4, 5}), {3, 4, 5.5}, 0).hit);
}

TEST(RaySphere, TheRangeAppliesToTheSurface)
{
    Ray const ray({0, 0, 0}, {1, 0, 0});
    EXPECT_TRUE(sinew::raySphere(ray, {1, 0, 0}, 2).hit) << "the ray leaves the ball";
    EXPECT_FALSE(sinew::raySphere(ray, {-5, 0, 0}, 2).hit) << "behind the origin";
    EXPECT_TRUE(sinew::raySphere(ray, {-5, 0, 0}, 2).lineHit);
    EXPECT_TRUE(sinew::raySphere(ray, {-5, 0, 0}, 2, -kInfinity).hit);
    EXPECT_FALSE(sinew::raySphere(ray, {0, 0, 0}, 2, -1, 1).hit) << "both ends inside";
    EXPECT_TRUE(sinew::raySphere(ray, {0, 0, 0}, 2, -1, 2).hit) << "ends included";
    EXPECT_FALSE(sinew::raySphere(ray, {0, 0, 0}, 2, 3, 1).hit);
    EXPECT_FALSE(sinew::raySphere(ray, {0, 0, 0}, 2, kNaN, 9).hit);
}

TEST(RaySphere, ASmallSphereFarAwayIsNotMissed)
{
    Vector3 const origin(1e8, -2e8, 3e8);
    sinew::RaySphere const found = sinew::raySphere(Ray(origin, -origin), {0, 0, 0}, 1e-9);
    EXPECT_TRUE(found.hit);
    EXPECT_DOUBLE_EQ(found.tEnter, 1.0);
    EXPECT_LE(found.tEnter, found.tLeave);
}

TEST(RaySphere, AnOriginNearTheSurfaceKeepsItsDigits)
{
    double const gap = 0x1p-50;
    sinew::RaySphere const found = sinew::raySphere(Ray({-1 - gap, 0, 0}, {1, 0, 0}), {0, 0, 0}, 1);
    EXPECT_EQ(found.tEnter, gap);
}

TEST(RaySphere, NaNInfinityAndZeroDirectionAreMisses)
{
    for (double const bad : {kNaN, kInfinity, -kInfinity}) {
        for (int i = 0; i < 10; ++i) {
            Vector3 p[] = {{-5, 0.5, 0.25}, {1, 0, 0}, {0, 0, 0}, {2, 0, 0}};
            EXPECT_TRUE(sinew::raySphere(Ray(p[0], p[1]), p[2], p[3].x).lineHit);
            p[i / 3][i % 3] = bad;
            EXPECT_FALSE(sinew::raySphere(Ray(p[0], p[1]), p[2], p[3].x).lineHit) << i;
        }
    }
    EXPECT_FALSE(sinew::raySphere(Ray({0, 0, 0}, {0, 0, 0}), {0, 0, 0}, 1).lineHit);
}

TEST(RaySphere, AnyScaleIsAllowed)
{
    for (double const size : {0x1p-1060, 0x1p-600, 1e30, 0x1p600, 0x1p1019}) {
        for (double const length : {0x1p-1060, 1.0, 0x1p1019}) {
            sinew::RaySphere const found =
                sinew::raySphere(Ray(Vector3(-10, 3, 0) * size, {length, 0, 0}), {0, 0, 0}, 5 * size);
            EXPECT_TRUE(found.hit);
            EXPECT_DOUBLE_EQ(found.tEnter, 6 * size / length);
            EXPECT_DOUBLE_EQ(found.tLeave, 14 * size / length);
        }
    }
}

TEST(RaySphere, CoordinatesOfOneSubnormalUnitAreExact)
{
    constexpr double kUnit = limits::denorm_min();
    for (double const length : {kUnit, 1.0, 0x1p1000}) {
        auto const sphere = [&](Vector3 const& origin, double radius) {
            return sinew::raySphere(Ray(origin * kUnit, {length, 0, 0}), {0, 0, 0}, radius * kUnit, -kInfinity);
        };
        sinew::RaySphere const tangent = sphere({-20, 3, 4}, 5);
        EXPECT_TRUE(tangent.lineHit) << length;
        EXPECT_EQ(tangent.tEnter, 20 * kUnit / length);
        EXPECT_EQ(tangent.tLeave, 20 * kUnit / length);
        sinew::RaySphere const crossed = sphere({-7, 0, 3}, 5);
        EXPECT_TRUE(crossed.lineHit) << length;
        EXPECT_EQ(crossed.tEnter, 3 * kUnit / length);
        EXPECT_EQ(crossed.tLeave, 11 * kUnit / length);
        EXPECT_FALSE(sphere({-20, 3, 5}, 5).lineHit) << length;
        EXPECT_FALSE(sphere({-20, 1, 1}, 1).lineHit) << length;
        EXPECT_TRUE(sphere({-20, 1, 0}, 1).lineHit) << length;
    }
}

#ifdef SINEW_TEST_GMP

namespace {

using Exact = std::array<mpq_class, 3>;

Exact exact(Vector3 const& a)
{
    return {mpq_class(a.x), mpq_class(a.y), mpq_class(a.z)};
}
Exact minus(Exact const& a, Exact const& b)
{
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
Exact cross(Exact const& a, Exact const& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
mpq_class dot(Exact const& a, Exact const& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

struct Scene
{
    Vector3 origin;
    Vector3 direction;
    Vector3 corners[3];
    double tMin = 0;
    double tMax = kInfinity;
};

struct ExactCrossing
{
    bool hit = false;
    double t = 0;
    double weights[3] = {0, 0, 0};
};

ExactCrossing exactCrossing(Scene const& scene)
{
    Exact const o = exact(scene.origin);
    Exact const d = exact(scene.direction);
    Exact p[3];
    for (int i = 0; i < 3; ++i) p[i] = minus(exact(scene.corners[i]), o);
    mpq_class volumes[3];
    for (int i = 0; i < 3; ++i) volumes[i] = dot(d, cross(p[(i + 1) % 3], p[(i + 2) % 3]));
    mpq_class const sum = volumes[0] + volumes[1] + volumes[2];
    if (sum == 0) return {};
    for (mpq_class const& volume : volumes) {
        if (sgn(volume) * sgn(sum) < 0) return {};
    }
    mpq_class const t = dot(p[0], cross(p[1], p[2])) / sum;
    if (scene.tMin == kInfinity || scene.tMax == -kInfinity) return {};
    bool const inRange = (scene.tMin == -kInfinity || t >= mpq_class(scene.tMin)) &&
                         (scene.tMax == kInfinity || t <= mpq_class(scene.tMax));
    if (!inRange) return {};
    ExactCrossing result;
    result.hit = true;
    result.t = t.get_d();
    for (int i = 0; i < 3; ++i) result.weights[i] = mpq_class(volumes[i] / sum).get_d();
    return result;
}

// Corners of a grid or anywhere, and a ray at a corner, an edge or the inside, from a distance of up to 1e8 sizes. On
// the grid many rays meet edges and corners exactly, others lie in the plane.
Scene nextScene(test::Random& random)
{
    bool const grid = random.oneIn(2);
    auto const point = [&] {
        if (!grid) return random.point();
        double const x = random.below(5) - 2, y = random.below(5) - 2;
        return Vector3(x, y, random.below(5) - 2);
    };
    Scene scene;
    for (Vector3& corner : scene.corners) corner = point();
    double const s = random.oneIn(3) ? 0.0 : (grid ? random.below(5) / 4.0 : random.uniform(-0.2, 1.2));
    double const r = random.oneIn(3) ? 0.0 : (grid ? random.below(5) / 4.0 : random.uniform(-0.2, 1.2));
    Vector3 const target =
        scene.corners[0] + s * (scene.corners[1] - scene.corners[0]) + r * (scene.corners[2] - scene.corners[0]);
    double const distances[] = {1, 1, 4, 1024, 0x1p27};
    scene.origin = point() * distances[random.below(5)];
    scene.direction = target - scene.origin;
    if (random.oneIn(4)) scene.direction = UVector3(scene.direction);
    double const ends[] = {-kInfinity, 0.0, 0.5, 1.0, std::nextafter(1.0, 2.0), kInfinity};
    scene.tMin = ends[random.oneIn(2) ? 1 : random.below(6)];
    scene.tMax = ends[random.oneIn(2) ? 5 : random.below(6)];
    if (random.oneIn(16)) {
        double const scale = random.oneIn(2) ? 0x1p-540 : 0x1p600;
        for (Vector3& corner : scene.corners) corner *= scale;
        scene.origin *= scale;
        scene.direction *= scale;
    }
    return scene;
}

} // namespace

TEST(RayTriangle, HitsAndErrorsAgainstExactArithmetic)
{
    test::Random random(20261126);
    long hitCount = 0;
    double worstWeight = 0;
    double worstT = 0;
    long const trials = test::trials(50'000, 10'000'000);
    for (long trial = 0; trial < trials; ++trial) {
        Scene const scene = nextScene(random);
        Vector3 const* const p = scene.corners;
        RayTriangle const found =
            rayTriangle(Ray(scene.origin, scene.direction), p[0], p[1], p[2], scene.tMin, scene.tMax);
        ExactCrossing const expected = exactCrossing(scene);
        ASSERT_EQ(found.hit, expected.hit) << "trial " << trial;
        if (!found.hit) continue;
        ++hitCount;
        for (int i = 0; i < 3; ++i) {
            worstWeight = std::max(worstWeight, std::fabs(found.weights[i] - expected.weights[i]));
        }
        double const far = std::max({dist(p[0], scene.origin), dist(p[1], scene.origin), dist(p[2], scene.origin)});
        worstT = std::max(worstT, std::fabs(found.t - expected.t) * scene.direction.length() / far);
        ASSERT_TRUE(found.t >= scene.tMin && found.t <= scene.tMax);
    }
    RecordProperty("worst_weight", std::to_string(worstWeight * 1e12) + "e-12");
    RecordProperty("worst_t", std::to_string(worstT * 1e12) + "e-12");
    EXPECT_GT(hitCount, trials / 8);
    EXPECT_LT(worstWeight, 1e-9);
    EXPECT_LT(worstT, 1e-9);
}

namespace {

struct SphereScene
{
    Vector3 origin;
    Vector3 direction;
    Vector3 center;
    double radius = 0;
};

// Spheres of radius 1e-3 to 1e3 at distances of up to 1e8, half of the rays near their outline.
SphereScene nextSphere(test::Random& random)
{
    SphereScene scene;
    scene.radius = std::fabs(random.spread(-10, 10));
    scene.center = random.point();
    double const away = std::fabs(random.spread(-3, 27));
    UVector3 const back(random.point());
    scene.origin = scene.center + back * away;
    UVector3 const across(cross(back, random.point()));
    double const aim = random.oneIn(2) ? random.uniform(0, 1.2) : 1 - std::fabs(random.spread(-50, -1));
    scene.direction = scene.center + across * (aim * scene.radius) - scene.origin;
    if (random.oneIn(4)) scene.direction = UVector3(scene.direction);
    return scene;
}

// Exact up to the square root, which has 400 bits.
struct ExactChord
{
    bool meets = false;
    double half = 0; // half the chord, as a length
    mpf_class enter{0, 400};
    mpf_class leave{0, 400};
};

ExactChord exactChord(SphereScene const& scene)
{
    Exact const gap = minus(exact(scene.center), exact(scene.origin));
    Exact const d = exact(scene.direction);
    Exact const moment = cross(gap, d);
    mpq_class const r(scene.radius);
    mpq_class const lengthSq = dot(d, d);
    mpq_class const height = r * r * lengthSq - dot(moment, moment);
    ExactChord result;
    if (sgn(height) < 0) return result;
    result.meets = true;
    mpf_class const half = sqrt(mpf_class(height, 400)) / mpf_class(lengthSq, 400);
    mpf_class const middle = mpf_class(dot(gap, d), 400) / mpf_class(lengthSq, 400);
    result.half = half.get_d() * std::sqrt(lengthSq.get_d());
    result.enter = middle - half;
    result.leave = middle + half;
    return result;
}

} // namespace

// The error of a crossing is a few roundings of its distance from the origin, and of r^2 / (half the chord): the chord
// of a line near the outline changes with the root of its distance from it.
TEST(RaySphere, HitsAndErrorsAgainstExactArithmetic)
{
    test::Random random(20261127);
    double worst = 0;
    long hitCount = 0;
    long const trials = test::trials(20'000, 1'000'000);
    for (long trial = 0; trial < trials; ++trial) {
        SphereScene const scene = nextSphere(random);
        sinew::RaySphere const found =
            sinew::raySphere(Ray(scene.origin, scene.direction), scene.center, scene.radius, -kInfinity);
        ExactChord const expected = exactChord(scene);
        ASSERT_EQ(found.lineHit, expected.meets) << "trial " << trial;
        if (!expected.meets) continue;
        ++hitCount;
        double const length = scene.direction.length();
        double const r = scene.radius;
        double const ofChord = std::min(r * r / expected.half, 0x1p26 * r);
        for (auto const& [t, exactT] :
             {std::pair(found.tEnter, expected.enter), std::pair(found.tLeave, expected.leave)}) {
            double const error = std::fabs(mpf_class(exactT - t).get_d()) * length;
            worst = std::max(worst, error / (std::fabs(t) * length + ofChord));
        }
    }
    RecordProperty("worst_in_roundings", std::to_string(worst * 0x1p53));
    EXPECT_GT(hitCount, trials / 2);
    EXPECT_LT(worst, 8 * 0x1p-53);
}

#endif
