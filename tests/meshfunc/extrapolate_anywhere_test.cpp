// Extrapolation that always has a result, compared with `extrapolate` where that has one and with an exhaustive search
// elsewhere.

#include <cmath>
#include <limits>
#include <memory>

#include <gtest/gtest.h>

#include <sinew/meshfunc/extrapolate_anywhere.h>

#include "meshfunc/flat_triangles.h"
#include "meshfunc/mesh_probes.h"
#include "meshfunc/mesh_samples.h"
#include "meshfunc/reference_anywhere.h"
#include "support/bits.h"

using sinew::Location;
using sinew::LocationRule;
using test::Mesh;
using test::Point;
using test::Random;
using test::sameBits;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct Result
{
    bool found = false;
    Point value{7, 7};
    float scalar = 7;
};

Result defined(MeshFunction2D const& f, Point const& p)
{
    Result r;
    r.found = f.extrapolate(p, &r.value, &r.scalar);
    return r;
}

Result anywhere(MeshFunction2D const& f, Point const& p)
{
    Result r;
    r.found = sinew::extrapolateAnywhere(f, p, &r.value, &r.scalar);
    return r;
}

bool same(Result const& a, Result const& b)
{
    return a.found == b.found && sameBits(a.value, b.value) && sameBits(a.scalar, b.scalar);
}

// Blends everything at a location.
Result blended(MeshFunction2D const& f, Location const& location)
{
    Result r;
    r.found = sinew::blend(location, f.values.empty() ? nullptr : &f.values[0].x, 2, 2, &r.value.x);
    if (r.found && f.normaldots.size() < f.values.size()) {
        r.scalar = -1;
    } else {
        sinew::blend(location, f.normaldots.data(), 1, 1, &r.scalar);
    }
    return r;
}

// The queries agree with each other and with `extrapolate`. Returns the location.
Location expectConsistent(MeshFunction2D const& f, Point const& p)
{
    Result const expected = defined(f, p), found = anywhere(f, p);
    Location const location = sinew::locateAnywhere(f, p);
    bool const mustBeSame = expected.found && !reference::mayDiffer(f, p, location);
    EXPECT_TRUE(!mustBeSame || same(found, expected));
    EXPECT_TRUE(!mustBeSame || test::sameLocation(location, sinew::locate(f, p)));
    EXPECT_TRUE(!expected.found || found.found);
    EXPECT_TRUE(same(found, blended(f, location)));
    return location;
}

// As the exhaustive search. Returns whether `extrapolate` has refused the point.
bool expectExhaustive(MeshFunction2D const& f, Point const& p)
{
    SCOPED_TRACE(testing::Message() << std::hexfloat << p.x << ' ' << p.y);
    Location const location = expectConsistent(f, p);
    EXPECT_TRUE(test::sameLocation(location, reference::locateAnywhere(f, p)));
    return !defined(f, p).found;
}

// Whether the reference can compute with the point: products neither overflow nor underflow.
bool hasOrdinarySquares(Point const& p)
{
    auto const isOrdinary = [](double x) {
        return !std::isfinite(x) || x == 0 || (std::fabs(x) < 1e80 && std::fabs(x) > 1e-80);
    };
    return isOrdinary(p.x) && isOrdinary(p.y);
}

// Probes of a mesh until `refused` of them were refused by `extrapolate`.
void expectExhaustive(Random& random, Mesh const& mesh, MeshFunction2D const& f, int refused)
{
    int const most = 400 * refused;
    for (int i = 0; i < most && refused > 0 && !testing::Test::HasFailure(); ++i) {
        Point const p = random.oneIn(3) ? random.point2(-0.5, 1.5) : test::probe(random, mesh);
        if (!hasOrdinarySquares(p)) continue;
        refused -= expectExhaustive(f, p) ? 1 : 0;
    }
    EXPECT_EQ(refused, 0);
}

void expectExhaustive(Random& random, Mesh const& mesh, int refused)
{
    expectExhaustive(random, mesh, mesh.function(), refused);
}

// A triangle of any shape that is not flat.
Mesh triangle(Point const& a, Point const& b, Point const& c)
{
    Mesh mesh;
    for (Point const& p : {a, b, c}) mesh.addVertex(p.x, p.y);
    mesh.addTriangle(0, 1, 2);
    return mesh;
}

} // namespace

TEST(ExtrapolateAnywhere, KeepsTheBitsOfExtrapolateWhereThatHasAResult)
{
    Random random(1501);
    std::vector<Mesh> meshes = {test::gridMesh(random, 5, 5), test::islands(5), test::soup(random, 200, 0.1), Mesh()};
    for (int i = 0; i < 40; ++i) meshes.push_back(test::hostileMesh(random));
    for (Mesh const& mesh : meshes) {
        MeshFunction2D f = mesh.function();
        for (bool const flag : {true, false}) {
            f.extrapolateFlag = flag;
            for (int i = 0; i < 200; ++i)
                expectConsistent(f, mesh.params.empty() ? Point() : test::probe(random, mesh));
        }
    }
}

TEST(ExtrapolateAnywhere, IsTheExhaustiveSearchAtFlatBoundaryTriangles)
{
    Random random(1502);
    for (int const one : {1, 2, 5}) {
        for (int const side : {1, 3, 12}) {
            Mesh mesh = test::gridMesh(random, side, side);
            test::attachFlatTriangles(random, &mesh, one);
            expectExhaustive(random, mesh, one == 5 && side == 1 ? 0 : 300);
        }
    }
}

TEST(ExtrapolateAnywhere, IsTheExhaustiveSearchBetweenManyLoops)
{
    Random random(1503);
    for (int const one : {2, 9}) {
        Mesh mesh = test::islands(9);
        test::attachFlatTriangles(random, &mesh, one);
        expectExhaustive(random, mesh, 1000);
    }
}

TEST(ExtrapolateAnywhere, IsTheExhaustiveSearchWithoutBoundaries)
{
    Random random(1504);
    Mesh mesh = test::gridMesh(random, 6, 6);
    MeshFunction2D f(false); // the older extrapolation
    f.params = mesh.params;
    f.values = mesh.values;
    f.facets = mesh.facets;
    f.initEvaluatorHelper();
    ASSERT_TRUE(f.boundaryProjectors.empty());
    f.extrapolateFlag = true; // refuses outside, because it has no boundaries
    expectExhaustive(random, mesh, f, 500);
    mesh.facets.push_back(0); // incomplete: no boundaries either
    expectExhaustive(random, mesh, 500);
    Mesh tiny = test::scaled(test::gridMesh(random, 6, 6), -28); // no grid
    expectExhaustive(random, tiny, 500);
}

TEST(ExtrapolateAnywhere, IsTheExhaustiveSearchInTheOlderExtrapolation)
{
    Random random(1505);
    Mesh mesh = test::islands(2);
    test::attachFlatTriangles(random, &mesh, 1);
    MeshFunction2D f = mesh.function();
    f.extrapolateFlag = false;
    expectExhaustive(random, mesh, f, 100);
}

TEST(ExtrapolateAnywhere, IsTheExhaustiveSearchInHostileMeshes)
{
    Random random(1506);
    for (int trial = 0; trial < 60; ++trial) {
        Mesh mesh = test::hostileMesh(random);
        for (Point& p : mesh.params) {
            if (!hasOrdinarySquares(p)) p = {kInfinity, 0};
        }
        MeshFunction2D const f = mesh.function();
        for (int i = 0; i < 60 && !testing::Test::HasFailure(); ++i) {
            Point const p = random.oneIn(3) ? random.point2(-0.5, 1.5) : test::probe(random, mesh);
            if (hasOrdinarySquares(p)) expectExhaustive(f, p);
        }
    }
}

TEST(ExtrapolateAnywhere, ContinuesFromTheNearestBoundaryTriangleThatIsNotFlat)
{
    Mesh mesh = test::square(); // triangle 0 below the diagonal, 1 above it
    int const middle = mesh.addVertex(1, 0.5);
    mesh.addTriangle(3, 1, middle); // flat, along the right edge
    MeshFunction2D const f = mesh.function();
    Point const p(1.5, 0.5);
    EXPECT_FALSE(defined(f, p).found);
    Location const location = sinew::locateAnywhere(f, p);
    EXPECT_EQ(location.rule, LocationRule::nearestBoundary);
    // The remaining segments are (0,0)-(1,0) of triangle 0, (1,1)-(0,1) of triangle 1 and (0,1)-(0,0) of triangle 0.
    // The first two are equally near, and the loop begins at vertex 0.
    EXPECT_EQ(location.triangle, 0);
    EXPECT_EQ(location.distSq, 0.5);
    EXPECT_EQ(location.weights[0], -1.0);
    EXPECT_EQ(location.weights[1], 1.5);
    EXPECT_EQ(location.weights[2], 0.5);
}

TEST(ExtrapolateAnywhere, UsesAnInnerTriangleIfTheWholeBoundaryIsFlat)
{
    Random random(1507);
    Mesh mesh = test::square();
    test::attachFlatTriangles(random, &mesh, 1);
    MeshFunction2D const f = mesh.function();
    Location const location = sinew::locateAnywhere(f, {1.5, 0.75});
    EXPECT_EQ(location.rule, LocationRule::nearestTriangle);
    EXPECT_EQ(location.triangle, 1);
    EXPECT_EQ(location.loop, -1);
    EXPECT_EQ(location.distSq, 0.25);
    EXPECT_EQ(sinew::locateAnywhere(f, {-1, -1}).triangle, 0);
}

TEST(ExtrapolateAnywhere, HasTheSameResultsAtEveryScale)
{
    // Below 2^-27 there is no grid, and all triangles are refused by the defined methods.
    Random random(1508);
    Mesh const mesh = test::gridMesh(random, 7, 7);
    MeshFunction2D const f = mesh.function();
    std::vector<MeshFunction2D> tiny;
    int const exponents[] = {-30, -100, -400, -520, -700, -900, -1000};
    for (int const e : exponents) tiny.push_back(test::scaled(mesh, e).function());
    for (int i = 0; i < 500; ++i) {
        Point p = random.point2(-0.5, 1.5);
        p = {std::ldexp(std::floor(std::ldexp(p.x, 30)), -30), std::ldexp(std::floor(std::ldexp(p.y, 30)), -30)};
        Location const outside = sinew::locateAnywhere(tiny[0], {std::ldexp(p.x, -30), std::ldexp(p.y, -30)});
        Result const value = anywhere(tiny[0], {std::ldexp(p.x, -30), std::ldexp(p.y, -30)});
        ASSERT_TRUE(value.found);
        Location inside = sinew::locate(f, p, sinew::Outside::excluded);
        EXPECT_TRUE(inside.rule != LocationRule::inside || test::sameLocation(inside, outside));
        for (std::size_t k = 1; k < tiny.size(); ++k) {
            Point const q(std::ldexp(p.x, exponents[k]), std::ldexp(p.y, exponents[k]));
            Location const location = sinew::locateAnywhere(tiny[k], q);
            ASSERT_EQ(location.triangle, outside.triangle) << exponents[k];
            ASSERT_EQ(location.rule, outside.rule);
            // Below 2^-970, the subnormal coordinates have fewer bits.
            if (exponents[k] < -960) continue;
            for (int c = 0; c < 3; ++c) ASSERT_TRUE(sameBits(location.weights[c], outside.weights[c]));
            ASSERT_TRUE(same(anywhere(tiny[k], q), value));
        }
    }
}

TEST(ExtrapolateAnywhere, HasTheSameResultsWhereSquaresOverflow)
{
    Random random(1513);
    Mesh const mesh = test::gridMesh(random, 7, 7);
    MeshFunction2D const f = mesh.function();
    for (int const e : {512, 513, 600, 1000}) {
        MeshFunction2D const large = test::scaled(mesh, e).function();
        int insideCount = 0;
        for (int i = 0; i < 500 && !testing::Test::HasFailure(); ++i) {
            Point const p = random.point2(-0.5, 1.5), q(std::ldexp(p.x, e), std::ldexp(p.y, e));
            Location const location = sinew::locateAnywhere(large, q);
            Location expected = sinew::locate(f, p, sinew::Outside::excluded);
            if (expected.rule == LocationRule::none) expected = reference::searchNearest(f, p);
            ASSERT_EQ(location.triangle, expected.triangle) << e << ' ' << p.x << ' ' << p.y;
            ASSERT_EQ(location.rule, expected.rule) << e;
            for (int c = 0; c < 3; ++c) ASSERT_NEAR(location.weights[c], expected.weights[c], 1e-12) << e;
            Result const value = anywhere(large, q);
            ASSERT_TRUE(same(value, blended(large, location)));
            insideCount += location.rule == LocationRule::inside ? 1 : 0;
        }
        EXPECT_GT(insideCount, 50);
    }
}

TEST(ExtrapolateAnywhere, UsesSmallInnerTrianglesBeforeItContinuesTheBoundary)
{
    // Sides of 2^-26 and determinants around 1e-16: evaluation refuses some inner triangles, and `extrapolate`
    // continues a boundary triangle there.
    Random random(1514);
    Mesh const mesh = test::gridMesh(random, 64, 64);
    Mesh const small = test::scaled(mesh, -20);
    MeshFunction2D const f = mesh.function(), tiny = small.function();
    int continued = 0;
    for (int i = 0; i < 2000; ++i) {
        Point const p = random.point2(0.05, 0.95), q(std::ldexp(p.x, -20), std::ldexp(p.y, -20));
        Location const location = expectConsistent(tiny, q), expected = sinew::locate(f, p);
        ASSERT_EQ(location.rule, LocationRule::inside) << p.x << ' ' << p.y;
        ASSERT_EQ(location.triangle, expected.triangle);
        for (int c = 0; c < 3; ++c) ASSERT_NEAR(location.weights[c], expected.weights[c], 1e-12);
        if (i < 200) expectExhaustive(tiny, q);
        continued += sinew::locate(tiny, q).rule == LocationRule::nearestBoundary ? 1 : 0;
    }
    EXPECT_GT(continued, 20);
}

TEST(ExtrapolateAnywhere, DistancesToShortSegmentsDoNotUnderflow)
{
    for (double const side : {1e-30, 1e-158, 1e-160, 2.2e-161, 2e-161, 5e-162}) {
        Mesh mesh = triangle({0, 0}, {side, 0}, {0, -side});
        mesh.addVertex(-1, 1.995);
        mesh.addVertex(1, 1.995);
        mesh.addVertex(0, 3);
        mesh.addTriangle(3, 4, 5);
        MeshFunction2D f = mesh.function();
        f.boundaryProjectors.clear(); // so that all triangles are searched
        f.boundaryFacets.clear();
        Location const location = sinew::locateAnywhere(f, {0.3 * side, 1});
        EXPECT_EQ(location.triangle, 1) << side;
        EXPECT_NEAR(location.distSq, 0.995 * 0.995, 1e-12) << side;
    }
}

TEST(ExtrapolateAnywhere, FindsSmallTrianglesThatEvaluationRefuses)
{
    Mesh mesh = test::square();
    // A well-shaped triangle with sides of 2^-30: its determinant is 2^-60, below 1e-16.
    int const a = mesh.addVertex(2, 2);
    mesh.addVertex(2 + 0x1p-30, 2);
    mesh.addVertex(2, 2 + 0x1p-30);
    mesh.addTriangle(a, a + 1, a + 2);
    MeshFunction2D const f = mesh.function();
    Point const inside(2 + 0x1p-32, 2 + 0x1p-32);
    EXPECT_FALSE(defined(f, inside).found);
    Location const location = sinew::locateAnywhere(f, inside);
    EXPECT_EQ(location.rule, LocationRule::inside);
    EXPECT_EQ(location.triangle, 2);
    EXPECT_EQ(location.weights[1], 0.25);
    EXPECT_EQ(location.weights[2], 0.25);
    EXPECT_EQ(sinew::locateAnywhere(f, {2.5, 2.25}).triangle, 2);
}

TEST(ExtrapolateAnywhere, GoodIsRelativeToTheLongestEdge)
{
    for (int const e : {-1000, -500, -30, 0, 30, 500, 1000}) {
        for (double const height : {0x1.001p-40, 0x1p-40}) { // of a longest edge of 1: above the limit, and at it
            Mesh const mesh = test::scaled(triangle({0, 0}, {1, 0}, {0.5, height}), e);
            MeshFunction2D f = mesh.function();
            f.boundaryProjectors.clear(); // so that `extrapolate` refuses all points outside
            f.boundaryFacets.clear();
            Point const p(std::ldexp(0.5, e), std::ldexp(-1.0, e));
            ASSERT_FALSE(defined(f, p).found) << e;
            EXPECT_EQ(anywhere(f, p).found, height > 0x1p-40) << e;
        }
    }
}

TEST(ExtrapolateAnywhere, AnswersFarAwayAndForExtremeCoordinates)
{
    double const largest = std::numeric_limits<double>::max(), smallest = std::numeric_limits<double>::denorm_min();
    for (int const e : {-1070, -1000, -30, 0, 500, 1020}) {
        MeshFunction2D const f = test::scaled(triangle({0, 0}, {8, 0}, {0, 8}), e).function();
        for (double const x : {largest, -largest, 1e300, 1e13, 3.2e6, 1.0, 1e-200, smallest, 0.0, -0.0, -1e-300}) {
            for (double const y : {largest, -largest, 1e200, 1.0, 0.0, -smallest}) {
                Location const location = expectConsistent(f, {x, y});
                EXPECT_EQ(location.triangle, 0) << e << ' ' << x << ' ' << y;
                EXPECT_TRUE(location.distSq >= 0);
            }
        }
    }
    // The nearer of two triangles, where squares overflow.
    Mesh two = triangle({1, 0}, {2, 0}, {1, 1});
    for (double const x : {9.0, 10.0, 9.0}) two.addVertex(x, x == 9.0 && two.params.size() == 5 ? 1 : 0);
    two.addTriangle(3, 4, 5);
    MeshFunction2D const f = test::scaled(two, 1000).function();
    EXPECT_EQ(sinew::locateAnywhere(f, {0, 0}).triangle, 0);
    EXPECT_EQ(sinew::locateAnywhere(f, {std::ldexp(3.0, 1000), 0}).triangle, 0);
    EXPECT_EQ(sinew::locateAnywhere(f, {std::ldexp(8.0, 1000), 0}).triangle, 1);
    EXPECT_EQ(sinew::locateAnywhere(f, {std::ldexp(12.0, 1000), 0}).triangle, 1);
}

TEST(ExtrapolateAnywhere, PointsThatAreNotFiniteHaveWhatExtrapolateReturns)
{
    Random random(1509);
    Mesh mesh = test::gridMesh(random, 4, 4);
    test::attachFlatTriangles(random, &mesh, 2);
    for (Mesh const& m : {mesh, test::scaled(mesh, -40)}) {
        MeshFunction2D const f = m.function();
        for (double const x : {kNaN, kInfinity, -kInfinity, 0.5}) {
            for (double const y : {kNaN, kInfinity, -kInfinity}) {
                EXPECT_TRUE(same(anywhere(f, {x, y}), defined(f, {x, y})));
                EXPECT_TRUE(same(anywhere(f, {y, x}), defined(f, {y, x})));
            }
        }
    }
}

TEST(ExtrapolateAnywhere, LeavesTheOutputsUnwrittenWithoutAGoodTriangle)
{
    Mesh flat = triangle({0, 0}, {0.5, 0}, {1, 0});
    flat.addTriangle(0, 1, 9); // no such vertex
    for (MeshFunction2D const& f : {flat.function(), MeshFunction2D(true), MeshFunction2D(false)}) {
        for (Point const& p : {Point(2, 3), Point(-1e9, 0)}) {
            EXPECT_TRUE(same(anywhere(f, p), Result())) << p.x;
            EXPECT_EQ(sinew::locateAnywhere(f, p).triangle, -1);
        }
    }
    EXPECT_FALSE(sinew::extrapolateAnywhere(flat.function(), {2, 3}, nullptr, nullptr));
    flat.addVertex(kNaN, 1);
    flat.addVertex(kInfinity, 1);
    flat.addTriangle(0, 1, 3);
    flat.addTriangle(0, 1, 4); // `evaluate` accepts some points in these two and gives NaN
    MeshFunction2D const f = flat.function();
    for (Point const& p : {Point(2, 3), Point(-1e9, 0), Point(0.5, 0.5)}) {
        EXPECT_TRUE(same(anywhere(f, p), defined(f, p)));
    }
}

TEST(ExtrapolateAnywhere, UsesTheGoodTrianglesBesideVerticesThatAreNotFinite)
{
    for (double const bad : {kNaN, kInfinity, -kInfinity}) {
        Mesh mesh = triangle({0, 0}, {1, 0}, {0, 1});
        int const v = mesh.addVertex(bad, 0);
        mesh.addTriangle(0, v, 1);
        MeshFunction2D const f = mesh.function();
        for (Point const& p : {Point(2, 2), Point(-3, 0.5), Point(0.2, 0.2), Point(1e100, -1e10)}) {
            Location const location = expectConsistent(f, p);
            EXPECT_TRUE(defined(f, p).found || location.triangle == 0);
        }
    }
}

TEST(ExtrapolateAnywhere, WritesOnlyWhatIsWanted)
{
    Random random(1510);
    Mesh mesh = test::square();
    test::attachFlatTriangles(random, &mesh, 1);
    MeshFunction2D f = mesh.function();
    Point const p(3, 0.5);
    Result const both = anywhere(f, p);
    ASSERT_FALSE(defined(f, p).found);
    Result one;
    EXPECT_TRUE(sinew::extrapolateAnywhere(f, p, &one.value, nullptr));
    EXPECT_TRUE(sinew::extrapolateAnywhere(f, p, nullptr, &one.scalar));
    EXPECT_TRUE(sameBits(one.value, both.value) && sameBits(one.scalar, both.scalar));
    f.normaldots.clear();
    EXPECT_EQ(anywhere(f, p).scalar, -1);
}

TEST(ExtrapolateAnywhere, ReadsNothingOutOfBoundsAfterAnEdit)
{
    Random random(1511);
    for (int trial = 0; trial < 200; ++trial) {
        Mesh mesh = test::gridMesh(random, 3, 3);
        test::attachFlatTriangles(random, &mesh, 2);
        MeshFunction2D f = mesh.function();
        if (random.oneIn(2)) f.params.resize(static_cast<std::size_t>(random.below(20)));
        if (random.oneIn(2)) f.values.resize(static_cast<std::size_t>(random.below(20)));
        if (random.oneIn(2)) f.facets.resize(static_cast<std::size_t>(random.below(50)), -1);
        if (random.oneIn(3)) f.boundaryFacets.pop_back();
        if (random.oneIn(3)) f.boundaryProjectors[0].reset();
        if (random.oneIn(3)) f.gridCells.clear();
        for (int i = 0; i < 20; ++i) sinew::locateAnywhere(f, random.point2(-2, 2));
    }
}

TEST(ExtrapolateAnywhereMany, GivesTheResultsOfSingleCalls)
{
    Random random(1512);
    Mesh mesh = test::islands(4);
    test::attachFlatTriangles(random, &mesh, 2);
    MeshFunction2D const f = mesh.function();
    constexpr std::size_t kCount = 700, kStride = 3;
    std::vector<double> numbers;
    for (std::size_t i = 0; i < kCount; ++i) {
        Point const p = test::probe(random, mesh);
        numbers.insert(numbers.end(), {p.x, p.y, 99});
    }
    sinew::Strided<double const> const points(numbers.data(), kCount, kStride * sizeof(double));
    for (bool const withProgress : {false, true}) {
        std::vector<Point> values(kCount, Point(7, 7));
        std::vector<float> scalars(kCount, 7);
        std::unique_ptr<bool[]> const found(new bool[kCount]());
        std::vector<Location> locations(kCount);
        auto const goOn = [](double) { return true; };
        std::size_t count = 0, located = 0, expected = 0;
        if (withProgress) {
            count = sinew::extrapolateAnywhereMany(f, points, values.data(), scalars.data(), found.get(), goOn).value();
            located = sinew::locateAnywhereMany(f, points, locations.data(), goOn).value();
        } else {
            count = sinew::extrapolateAnywhereMany(f, points, values.data(), scalars.data(), found.get());
            located = sinew::locateAnywhereMany(f, points, locations.data());
        }
        for (std::size_t i = 0; i < kCount; ++i) {
            Point const p(points.get(i, 0), points.get(i, 1));
            Result const single = anywhere(f, p);
            ASSERT_TRUE(same(Result{found[i], values[i], scalars[i]}, single)) << i;
            ASSERT_TRUE(test::sameLocation(locations[i], sinew::locateAnywhere(f, p))) << i;
            expected += single.found ? 1U : 0U;
        }
        EXPECT_EQ(count, expected);
        EXPECT_EQ(located, expected);
    }
    EXPECT_EQ(sinew::extrapolateAnywhereMany(f, sinew::RealArray(), nullptr, nullptr, nullptr), 0U);
    EXPECT_EQ(sinew::locateAnywhereMany(f, sinew::RealArray(), nullptr), 0U);
}
