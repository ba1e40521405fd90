// Locations compared with the queries that they explain: the same result where there is one, and the same bits after
// blending.

#include <limits>

#include <gtest/gtest.h>

#include <sinew/meshfunc/location.h>

#include "meshfunc/mesh_probes.h"
#include "meshfunc/mesh_samples.h"
#include "support/bits.h"

using sinew::Location;
using sinew::LocationRule;
using sinew::Outside;
using test::Mesh;
using test::Point;
using test::Random;
using test::sameBits;

namespace {

// The values of all vertices as plain numbers: x and y of each.
double const* numbers(std::vector<Point> const& points)
{
    static_assert(sizeof(Point) == 2 * sizeof(double), "values are packed");
    return points.empty() ? nullptr : &points[0].x;
}

void expectQueryOf(Location const& location, MeshFunction2D const& f, bool found, Point const& value, float scalar)
{
    ASSERT_EQ(location.rule != LocationRule::none, found);
    Point blended(7, 7);
    EXPECT_EQ(sinew::blend(location, numbers(f.values), 2, 2, &blended.x), found);
    EXPECT_TRUE(sameBits(blended, value));
    if (!found || f.normaldots.size() < f.values.size()) return;
    float blendedScalar = 7;
    EXPECT_TRUE(sinew::blend(location, f.normaldots.data(), 1, 1, &blendedScalar));
    EXPECT_TRUE(sameBits(blendedScalar, scalar));
}

// What a location says about itself: corners of its triangle, loop and segment of that triangle, distances.
void expectConsistent(Location const& location, MeshFunction2D const& f, Point const& p)
{
    if (location.rule == LocationRule::none) {
        EXPECT_EQ(location.triangle, -1);
        return;
    }
    for (int k = 0; k < 3; ++k) EXPECT_EQ(location.corners[k], f.facets[std::size_t(3 * location.triangle + k)]);
    bool const atBoundary = location.rule == LocationRule::nearestBoundary;
    EXPECT_EQ(location.loop >= 0, atBoundary);
    EXPECT_EQ(location.segment >= 0, atBoundary);
    EXPECT_TRUE(location.rule != LocationRule::inside || location.distSq == 0);
    if (!atBoundary) return;
    auto const loop = static_cast<std::size_t>(location.loop);
    EXPECT_EQ(f.boundaryFacets[loop][static_cast<std::size_t>(location.segment)], location.triangle);
    Vector3 const q(p.x, p.y, 0);
    sinew::PolylineHit const hit = sinew::closestPoint(*f.boundaryProjectors[loop], q);
    EXPECT_EQ(hit.segment, location.segment);
    EXPECT_TRUE(sameBits(distSq(q, hit.point), location.distSq));
}

void expectSame(MeshFunction2D const& f, Point const& p)
{
    SCOPED_TRACE(testing::Message() << p.x << ' ' << p.y);
    Point value(7, 7);
    float scalar = 7;
    bool found = f.evaluate(p, &value, &scalar);
    Location const inside = sinew::locate(f, p, Outside::excluded);
    expectQueryOf(inside, f, found, value, scalar);
    expectConsistent(inside, f, p);
    EXPECT_EQ(inside.rule == LocationRule::inside, found);

    value = {7, 7};
    scalar = 7;
    found = f.extrapolate(p, &value, &scalar);
    Location const anywhere = sinew::locate(f, p);
    expectQueryOf(anywhere, f, found, value, scalar);
    expectConsistent(anywhere, f, p);
    EXPECT_TRUE(anywhere.rule != LocationRule::inside || anywhere.triangle == inside.triangle);
    EXPECT_EQ(anywhere.rule == LocationRule::nearestEdge, found && !f.extrapolateFlag);
}

void expectSame(Random& random, Mesh const& mesh, int queries)
{
    MeshFunction2D f = mesh.function();
    for (bool const extrapolates : {true, false}) {
        f.extrapolateFlag = extrapolates;
        for (int i = 0; i < queries && !testing::Test::HasFailure(); ++i) expectSame(f, test::probe(random, mesh));
    }
}

} // namespace

TEST(Locate, BlendsToTheBitsOfEvenAndUnevenMeshes)
{
    Random random(1201);
    for (int side : {1, 2, 5, 20, 60}) expectSame(random, test::gridMesh(random, side, side), 1500);
    expectSame(random, test::unevenMesh(random, 60, 60, 5), 1500);
}

TEST(Locate, BlendsToTheBitsOfLargeMeshes)
{
    Random random(1202); // more triangles than are prepared at once
    expectSame(random, test::gridMesh(random, 200, 200), 3000);
}

TEST(Locate, BlendsToTheBitsOfOverlappingTriangles)
{
    Random random(1203);
    for (double size : {0.001, 0.02, 0.1, 1.0}) expectSame(random, test::soup(random, 2000, size), 1000);
    expectSame(random, test::gridMesh(random, 40, 40, 3.0), 1000);
}

TEST(Locate, BlendsToTheBitsOfManyLoops)
{
    Random random(1204);
    expectSame(random, test::islands(12), 2000);
}

TEST(Locate, BlendsToTheBitsOfHostileMeshes)
{
    Random random(1205);
    for (int trial = 0; trial < 60; ++trial) {
        SCOPED_TRACE(trial);
        expectSame(random, test::hostileMesh(random), 100);
    }
}

TEST(Locate, SearchesThePublicListsOfAFunctionWithoutFinerGrids)
{
    Random random(1206);
    Mesh mesh = test::gridMesh(random, 12, 12);
    for (Point& p : mesh.params) p.y = 1e152 * p.y; // too large for finer grids
    expectSame(random, mesh, 500);
}

TEST(Locate, AnEmptyFunctionHasNoLocations)
{
    MeshFunction2D const f(true);
    for (Outside const outside : {Outside::extrapolated, Outside::excluded}) {
        Location const location = sinew::locate(f, {0, 0}, outside);
        EXPECT_EQ(location.rule, LocationRule::none);
        EXPECT_EQ(location.triangle, -1);
    }
}

TEST(Locate, NamesTheLowerTriangleOfASharedEdge)
{
    MeshFunction2D const f = test::square().function();
    Location const location = sinew::locate(f, {0.5, 0.5});
    EXPECT_EQ(location.rule, LocationRule::inside);
    EXPECT_EQ(location.triangle, 0);
}

TEST(Locate, GivesDistanceLoopAndSegmentOutside)
{
    MeshFunction2D const f = test::square().function(); // its loop: (0,0) (1,0) (1,1) (0,1) (0,0)
    Location const location = sinew::locate(f, {1.5, 0.25});
    EXPECT_EQ(location.rule, LocationRule::nearestBoundary);
    EXPECT_EQ(location.triangle, 1);
    EXPECT_EQ(location.loop, 0);
    EXPECT_EQ(location.segment, 1);
    EXPECT_EQ(location.distSq, 0.25);
}

TEST(Locate, NaNCoordinatesHaveNaNWeightsInsideOnly)
{
    Random random(1207);
    MeshFunction2D const f = test::gridMesh(random, 30, 30).function();
    double const nan = std::numeric_limits<double>::quiet_NaN();
    for (Point const& p : {Point(nan, 0.5), Point(0.5, nan), Point(nan, nan)}) {
        expectSame(f, p);
        Location const location = sinew::locate(f, p);
        EXPECT_EQ(location.rule, LocationRule::inside); // a NaN weight is accepted
        EXPECT_TRUE(location.weights[0] != location.weights[0]);
    }
}

TEST(LocateMany, GivesTheLocationsOfSingleCalls)
{
    Random random(1208);
    Mesh const mesh = test::islands(7);
    MeshFunction2D const f = mesh.function();
    std::vector<Point> points;
    for (int i = 0; i < 3000; ++i) points.push_back(test::probe(random, mesh));
    for (Outside const outside : {Outside::extrapolated, Outside::excluded}) {
        std::vector<Location> locations(points.size());
        std::size_t expected = 0;
        std::size_t const found = sinew::locateMany(f, points.data(), points.size(), locations.data(), outside);
        for (std::size_t i = 0; i < points.size(); ++i) {
            Location const single = sinew::locate(f, points[i], outside);
            EXPECT_TRUE(test::sameLocation(locations[i], single));
            expected += single.rule != LocationRule::none ? 1U : 0U;
        }
        EXPECT_EQ(found, expected);
    }
    EXPECT_EQ(sinew::locateMany(f, nullptr, 0, nullptr), 0U);
}

TEST(Blend, InterpolatesAnyNumberOfComponentsAtAnyStride)
{
    Random random(1209);
    Mesh const mesh = test::gridMesh(random, 6, 6);
    MeshFunction2D const f = mesh.function();
    for (std::size_t components = 0; components <= 9; ++components) {
        for (std::size_t const stride : {components, components + 1, components + 7}) {
            std::vector<double> attributes(stride * mesh.params.size() + 1);
            for (double& a : attributes) a = random.uniform();
            Location const location = sinew::locate(f, random.point2(-0.2, 1.2));
            std::vector<double> out(components + 1, 7.0);
            ASSERT_TRUE(sinew::blend(location, attributes.data(), components, stride, out.data()));
            for (std::size_t c = 0; c < components; ++c) {
                auto const at = [&](int k) { return attributes[stride * std::size_t(location.corners[k]) + c]; };
                double const* const w = location.weights;
                EXPECT_TRUE(sameBits(out[c], w[1] * at(1) + w[2] * at(2) + w[0] * at(0)));
            }
            EXPECT_EQ(out[components], 7.0);
        }
    }
}

TEST(Blend, LeavesTheOutputUnwrittenWithoutALocation)
{
    double const attribute = 1;
    double out = 7;
    EXPECT_FALSE(sinew::blend(Location(), &attribute, 1, 1, &out));
    EXPECT_EQ(out, 7);
}

TEST(Blend, FloatSumsAreRoundedAfterEachTerm)
{
    Location location;
    location.rule = LocationRule::inside;
    for (int k = 0; k < 3; ++k) location.corners[k] = k;
    location.weights[0] = 0x1p-25; // lost twice against 1 in float, but not if both were summed first
    location.weights[1] = 1;
    location.weights[2] = 0x1p-25;
    float const attributes[3] = {1, 1, 1};
    float out = 0;
    ASSERT_TRUE(sinew::blend(location, attributes, 1, 1, &out));
    EXPECT_EQ(out, 1.0F);
    location.weights[0] = location.weights[2] = 0x1.8p-25; // the sum of both would round up
    ASSERT_TRUE(sinew::blend(location, attributes, 1, 1, &out));
    EXPECT_EQ(out, 1.0F);
}

TEST(BlendMany, GivesTheBitsOfSingleCallsAndSkipsPointsWithoutALocation)
{
    Random random(1210);
    Mesh const mesh = test::gridMesh(random, 9, 9);
    MeshFunction2D const f = mesh.function();
    std::vector<float> attributes(5 * mesh.params.size());
    for (float& a : attributes) a = static_cast<float>(random.uniform());
    std::vector<Location> locations;
    for (int i = 0; i < 500; ++i) locations.push_back(sinew::locate(f, random.point2(-0.3, 1.3), Outside::excluded));
    std::vector<float> out(4 * locations.size(), 7.0F);
    std::size_t found = 0;
    std::size_t const blended =
        sinew::blendMany(locations.data(), locations.size(), attributes.data() + 1, 3, 5, out.data(), 4);
    for (std::size_t i = 0; i < locations.size(); ++i) {
        float expected[4] = {7, 7, 7, 7};
        found += sinew::blend(locations[i], attributes.data() + 1, 3, 5, expected) ? 1U : 0U;
        for (std::size_t c = 0; c < 4; ++c) EXPECT_TRUE(sameBits(out[4 * i + c], expected[c]));
    }
    EXPECT_EQ(blended, found);
    EXPECT_GT(found, 0U);
    EXPECT_LT(found, locations.size());
    EXPECT_EQ(sinew::blendMany(nullptr, 0, attributes.data(), 3, 5, nullptr, 3), 0U);
}
