#include <sinew/meshfunc/mesh_function_2d.h>

#include <algorithm>
#include <cstddef>
#include <type_traits>

#include <gtest/gtest.h>

#include "meshfunc/mesh_samples.h"
#include "support/bits.h"

using test::Mesh;
using test::Point;
using test::sameBits;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

std::vector<Vector3> loopPoints(MeshFunction2D const& f, std::size_t k)
{
    return f.boundaryProjectors.at(k)->points;
}

Vector3 at(Mesh const& mesh, int vertex)
{
    return {mesh.params[vertex].x, mesh.params[vertex].y, 0};
}

std::vector<Vector3> at(Mesh const& mesh, std::vector<int> const& vertices)
{
    std::vector<Vector3> points;
    for (int v : vertices) points.push_back(at(mesh, v));
    return points;
}

} // namespace

// ---- construction ----

TEST(MeshFunctionConstruction, EmptyFunctionHasNoGrid)
{
    for (bool flag : {false, true}) {
        MeshFunction2D const f(flag);
        EXPECT_EQ(f.extrapolateFlag, flag);
        EXPECT_EQ(f.gridSize[0], 0);
        EXPECT_EQ(f.gridSize[1], 0);
        EXPECT_EQ(f.gridScale[0], -1);
        EXPECT_EQ(f.gridScale[1], -1);
        EXPECT_TRUE(f.gridCells.empty());
        EXPECT_TRUE(f.saveString.empty());
        Point value;
        EXPECT_FALSE(f.evaluate({0, 0}, &value, nullptr));
        EXPECT_FALSE(f.extrapolate({0, 0}, &value, nullptr));
        EXPECT_FALSE(f.extrapolateOld({0, 0}, &value, nullptr));
        EXPECT_FALSE(f.getAnyPointInDomain(value));
    }
}

TEST(MeshFunctionConstruction, ConstructorFromDataSetsTheExtrapolateFlag)
{
    EXPECT_TRUE(test::oneTriangle().function().extrapolateFlag);
}

TEST(MeshFunctionConstruction, GridIsTheBoxWidenedByAHundredth)
{
    Mesh mesh;
    mesh.addVertex(1, -2);
    mesh.addVertex(3, -2);
    mesh.addVertex(1, 6);
    mesh.addTriangle(0, 1, 2);
    MeshFunction2D const f = mesh.function();
    EXPECT_EQ(f.domainMin, Point(1 - 0.01 * 2, -2 - 0.01 * 8));
    EXPECT_EQ(f.domainMax, Point(3 + 0.01 * 2, 6 + 0.01 * 8));
    EXPECT_EQ(f.gridScale[0], 20 / (f.domainMax.x - f.domainMin.x));
    EXPECT_EQ(f.gridScale[1], 20 / (f.domainMax.y - f.domainMin.y));
    EXPECT_EQ(f.gridSize[0], 20);
    EXPECT_EQ(f.gridSize[1], 20);
    EXPECT_EQ(f.gridCells.size(), 400u);
}

TEST(MeshFunctionConstruction, UnusedVerticesWidenTheGridToo)
{
    Mesh mesh = test::oneTriangle();
    mesh.addVertex(10, 10);
    EXPECT_GT(mesh.function().domainMax.x, 10);
}

TEST(MeshFunctionConstruction, EqualPointsGiveNoGridAndNoBoundary)
{
    Mesh mesh;
    for (int i = 0; i < 3; ++i) mesh.addVertex(0.5, 0.5);
    mesh.addTriangle(0, 1, 2);
    MeshFunction2D const f = mesh.function();
    EXPECT_EQ(f.gridSize[0], 0);
    EXPECT_EQ(f.gridScale[1], -1);
    EXPECT_TRUE(f.boundaryProjectors.empty());
    EXPECT_TRUE(f.boundaryFacets.empty());
}

TEST(MeshFunctionConstruction, DiagonalThresholdIsStrict)
{
    // 1e-8 squared is 1.0000000000000001e-16 in double precision. That is the threshold itself, so it is not below it.
    ASSERT_EQ(1e-8 * 1e-8, 1.0000000000000001e-16);
    for (double extent : {1e-8, 0.99e-8}) {
        Mesh mesh;
        mesh.addVertex(0, 0);
        mesh.addVertex(extent, 0);
        mesh.addVertex(0, 0);
        mesh.addTriangle(0, 1, 2);
        EXPECT_EQ(mesh.function().gridSize[0], extent < 1e-8 ? 0 : 20);
    }
}

TEST(MeshFunctionConstruction, DomainWithoutWidthUsesOnlyTheFirstColumn)
{
    Mesh mesh;
    mesh.addVertex(2, 0);
    mesh.addVertex(2, 1);
    mesh.addVertex(2, 2);
    mesh.addTriangle(0, 1, 2);
    MeshFunction2D const f = mesh.function();
    for (int cx = 0; cx < 20; ++cx) {
        for (int cy = 0; cy < 20; ++cy) {
            EXPECT_EQ(f.gridCells[cx * 20 + cy].empty(), cx != 0 || cy < 0) << cx << ' ' << cy;
        }
    }
    Point value;
    EXPECT_FALSE(f.evaluate({2, 1}, &value, nullptr)) << "the only triangle is degenerate";
    EXPECT_FALSE(f.extrapolate({3, 1}, &value, nullptr));
    EXPECT_FALSE(f.extrapolateOld({kNaN, 1}, &value, nullptr));
}

TEST(MeshFunctionConstruction, EveryCellInTheBoxOfATriangleListsIt)
{
    MeshFunction2D const f = test::oneTriangle().function();
    // The corners lie a hundredth of the extent inside the grid, which is in its corner cells.
    for (auto const& list : f.gridCells) EXPECT_EQ(list, std::vector<int>{0});
}

TEST(MeshFunctionConstruction, CellsAreIndexedColumnByColumn)
{
    Mesh mesh = test::oneTriangle();
    mesh.addVertex(0.999, 0.52);
    mesh.addVertex(1.0, 0.52);
    mesh.addVertex(1.0, 0.58);
    mesh.facets = {3, 4, 5};
    MeshFunction2D const f = mesh.function();
    for (int cx = 0; cx < 20; ++cx) {
        for (int cy = 0; cy < 20; ++cy) {
            bool const holds = !f.gridCells[cx * 20 + cy].empty();
            EXPECT_EQ(holds, cx == 19 && (cy == 10 || cy == 11)) << cx << ' ' << cy;
        }
    }
}

TEST(MeshFunctionConstruction, UpperCornerFallsIntoTheLastCell)
{
    // A vertex lies on domainMax only after rounding or after a change of public members. Here the domain is small and
    // far from the origin, so that rounding removes the margin.
    double const far = 9007199254740992.0; // 2^53: neighbouring doubles differ by 2
    Mesh mesh;
    mesh.addVertex(far, far);
    mesh.addVertex(far + 8, far);
    mesh.addVertex(far, far + 8);
    mesh.addTriangle(0, 1, 2);
    MeshFunction2D const f = mesh.function();
    ASSERT_EQ(f.domainMax.x, far + 8);
    EXPECT_EQ(f.gridCells[19 * 20 + 0], std::vector<int>{0});
    EXPECT_EQ(f.gridCells[0 * 20 + 19], std::vector<int>{0});
    Point value;
    EXPECT_TRUE(f.evaluate({far + 8, far}, &value, nullptr));
}

TEST(MeshFunctionConstruction, CellListsAscend)
{
    test::Random random(11);
    MeshFunction2D const f = test::soup(random, 300, 0.4).function();
    for (auto const& list : f.gridCells) {
        EXPECT_TRUE(std::is_sorted(list.begin(), list.end()));
        EXPECT_EQ(std::adjacent_find(list.begin(), list.end()), list.end());
    }
}

TEST(MeshFunctionConstruction, NaNVertexFallsIntoCellZero)
{
    Mesh mesh = test::square();
    mesh.params[3] = {kNaN, kNaN};
    MeshFunction2D const f = mesh.function();
    EXPECT_EQ(f.gridSize[0], 20);
    EXPECT_EQ(f.gridCells[0], (std::vector<int>{0, 1}));
}

TEST(MeshFunctionConstruction, NaNFirstVertexPutsEverythingIntoCellZero)
{
    Mesh mesh = test::square();
    mesh.params[0] = {kNaN, kNaN};
    MeshFunction2D const f = mesh.function();
    EXPECT_EQ(f.gridSize[0], 20) << "a NaN extent does not count as degenerate";
    EXPECT_EQ(f.gridCells[0], (std::vector<int>{0, 1}));
    for (std::size_t i = 1; i < 400; ++i) EXPECT_TRUE(f.gridCells[i].empty());
    Point value;
    EXPECT_TRUE(f.evaluate({0.9, 0.9}, &value, nullptr)) << "a NaN determinant is not rejected";
    EXPECT_TRUE(std::isnan(value.x));
}

TEST(MeshFunctionConstruction, InfiniteAndHugeVerticesAreAccepted)
{
    for (double odd : {kInf, -kInf, 1e308, -1e308, 1e154}) {
        Mesh mesh = test::square();
        mesh.params[3] = {odd, 1};
        MeshFunction2D const f = mesh.function();
        Point value;
        for (Point const& p : {Point(0, 0), Point(odd, 1), Point(kNaN, 0), Point(-odd, odd)}) {
            f.evaluate(p, &value, nullptr);
            f.extrapolate(p, &value, nullptr);
            f.extrapolateOld(p, &value, nullptr);
        }
        EXPECT_EQ(f.gridCells.size(), 400u);
    }
}

TEST(MeshFunctionConstruction, TriangleWithAMissingVertexIsIgnored)
{
    for (int missing : {-1, 4, 1000000000, std::numeric_limits<int>::min()}) {
        for (int corner = 0; corner < 3; ++corner) {
            Mesh mesh = test::square();
            mesh.facets[corner] = missing;
            MeshFunction2D const f = mesh.function();
            for (auto const& list : f.gridCells) EXPECT_TRUE(list.empty() || list == std::vector<int>{1});
            ASSERT_EQ(f.boundaryFacets.size(), 1u);
            EXPECT_EQ(f.boundaryFacets[0], (std::vector<int>{1, 1, 1}));
            Point p;
            ASSERT_TRUE(f.getAnyPointInDomain(p));
            EXPECT_GT(p.x + p.y, 1) << "the first triangle that is not ignored";
            EXPECT_FALSE(f.evaluate({0.1, 0.1}, &p, nullptr));
        }
    }
}

TEST(MeshFunctionConstruction, VertexWithoutAValueIsMissing)
{
    Mesh mesh = test::square();
    mesh.values.pop_back();
    MeshFunction2D const f = mesh.function();
    for (auto const& list : f.gridCells) EXPECT_EQ(list, std::vector<int>{0});
    ASSERT_EQ(f.boundaryFacets.size(), 1u);
    EXPECT_EQ(f.boundaryFacets[0], (std::vector<int>{0, 0, 0}));
}

TEST(MeshFunctionConstruction, AllQueriesFailIfEveryTriangleIsIgnored)
{
    Mesh mesh = test::square();
    mesh.facets = {7, 8, 9};
    MeshFunction2D f = mesh.function();
    Point p;
    EXPECT_FALSE(f.getAnyPointInDomain(p));
    EXPECT_TRUE(f.boundaryProjectors.empty());
    EXPECT_FALSE(f.extrapolate({0.5, 0.5}, &p, nullptr));
    f.extrapolateFlag = false;
    EXPECT_FALSE(f.extrapolate({0.5, 0.5}, &p, nullptr));
}

TEST(MeshFunctionConstruction, FacetsPastTheLastWholeTriangleAreIgnored)
{
    Mesh mesh = test::square();
    mesh.facets.push_back(0);
    mesh.facets.push_back(1);
    MeshFunction2D const f = mesh.function();
    Point value;
    EXPECT_TRUE(f.evaluate({0.25, 0.25}, &value, nullptr));
    EXPECT_TRUE(f.boundaryProjectors.empty()) << "a length that is no multiple of 3 gives no boundary";
    EXPECT_FALSE(f.extrapolate({2, 2}, &value, nullptr));
}

TEST(MeshFunctionConstruction, RebuildUsesTheChangedVectors)
{
    MeshFunction2D f = test::square().function();
    f.params.clear();
    f.values.clear();
    f.facets.clear();
    f.initEvaluatorHelper();
    EXPECT_EQ(f.gridSize[0], 0);
    EXPECT_EQ(f.gridScale[0], -1);
    EXPECT_TRUE(f.gridCells.empty());
    EXPECT_TRUE(f.boundaryProjectors.empty());
    EXPECT_TRUE(f.boundaryFacets.empty());
    Mesh const mesh = test::oneTriangle();
    f.params = mesh.params;
    f.values = mesh.values;
    f.facets = mesh.facets;
    f.initEvaluatorHelper();
    EXPECT_EQ(f.boundaryFacets.size(), 1u);
    f.extrapolateFlag = false;
    f.initEvaluatorHelper();
    EXPECT_TRUE(f.boundaryProjectors.empty()) << "boundaries are built only while the flag is set";
}

// ---- boundary loops ----

TEST(MeshFunctionBoundary, OneTriangleIsOneLoop)
{
    Mesh const mesh = test::oneTriangle();
    MeshFunction2D const f = mesh.function();
    ASSERT_EQ(f.boundaryProjectors.size(), 1u);
    EXPECT_EQ(loopPoints(f, 0), at(mesh, {0, 1, 2, 0}));
    EXPECT_EQ(f.boundaryFacets, (std::vector<std::vector<int>>{{0, 0, 0}}));
}

TEST(MeshFunctionBoundary, SharedEdgeInOppositeDirectionsIsInterior)
{
    Mesh const mesh = test::square();
    MeshFunction2D const f = mesh.function();
    ASSERT_EQ(f.boundaryProjectors.size(), 1u);
    EXPECT_EQ(loopPoints(f, 0), at(mesh, {0, 1, 3, 2, 0}));
    EXPECT_EQ(f.boundaryFacets[0], (std::vector<int>{0, 1, 1, 0}));
}

TEST(MeshFunctionBoundary, SharedEdgeInTheSameDirectionBelongsToTheLaterTriangle)
{
    Mesh mesh = test::square();
    mesh.facets = {0, 1, 2, 1, 2, 3}; // both have the edge 1 -> 2
    MeshFunction2D const f = mesh.function();
    // Boundary edges and their triangles: 0 -> 1 (0), 1 -> 2 (1), 2 -> 0 (0), 2 -> 3 (1), 3 -> 1 (1).
    ASSERT_EQ(f.boundaryFacets.size(), 2u);
    EXPECT_EQ(loopPoints(f, 0), at(mesh, {0, 1, 2, 0}));
    EXPECT_EQ(f.boundaryFacets[0], (std::vector<int>{0, 1, 0}));
    EXPECT_EQ(loopPoints(f, 1), at(mesh, {2, 3, 1}));
    EXPECT_EQ(f.boundaryFacets[1], (std::vector<int>{1, 1}));
}

TEST(MeshFunctionBoundary, ThirdTriangleAtAnInteriorEdgeAddsABoundaryEdge)
{
    Mesh mesh = test::square();
    mesh.addVertex(2, 2);
    // The third triangle has the edge 2 -> 1, like the second one. The pair 1 -> 2, 2 -> 1 was removed before.
    mesh.addTriangle(1, 4, 2);
    MeshFunction2D const f = mesh.function();
    std::size_t segments = 0;
    for (auto const& loop : f.boundaryFacets) segments += loop.size();
    EXPECT_EQ(segments, 7u);
}

TEST(MeshFunctionBoundary, LoopsLeaveASharedVertexTowardsTheSmallerVertexFirst)
{
    Mesh mesh; // two triangles that touch at vertex 2 only
    mesh.addVertex(0, 0);
    mesh.addVertex(1, 0);
    mesh.addVertex(1, 1);
    mesh.addVertex(2, 1);
    mesh.addVertex(2, 2);
    mesh.facets = {2, 3, 4, 0, 1, 2};
    MeshFunction2D const f = mesh.function();
    ASSERT_EQ(f.boundaryFacets.size(), 2u);
    EXPECT_EQ(loopPoints(f, 0), at(mesh, {0, 1, 2, 0}));
    EXPECT_EQ(f.boundaryFacets[0], (std::vector<int>{1, 1, 1}));
    EXPECT_EQ(loopPoints(f, 1), at(mesh, {2, 3, 4, 2}));
}

TEST(MeshFunctionBoundary, LoopContinuesThroughAVertexWithUnusedEdges)
{
    Mesh mesh = test::oneTriangle(); // touches the second triangle at vertex 0, where the first loop starts
    mesh.addVertex(-1, 0);
    mesh.addVertex(0, -1);
    mesh.addTriangle(0, 3, 4);
    MeshFunction2D const f = mesh.function();
    ASSERT_EQ(f.boundaryFacets.size(), 1u) << "a loop ends only at a vertex without an unused edge";
    EXPECT_EQ(loopPoints(f, 0), at(mesh, {0, 1, 2, 0, 3, 4, 0}));
    EXPECT_EQ(f.boundaryFacets[0], (std::vector<int>{0, 0, 0, 1, 1, 1}));
}

TEST(MeshFunctionBoundary, LoopsStartAtTheSmallestUnusedVertex)
{
    Mesh mesh = test::islands(3);
    MeshFunction2D const f = mesh.function();
    ASSERT_EQ(f.boundaryFacets.size(), 9u);
    for (int k = 0; k < 9; ++k) EXPECT_EQ(loopPoints(f, k).front(), at(mesh, 4 * k));
}

TEST(MeshFunctionBoundary, EdgeFromAVertexToItselfIsItsOwnReverse)
{
    Mesh mesh = test::oneTriangle();
    mesh.facets = {0, 0, 1};
    MeshFunction2D once = mesh.function();
    ASSERT_EQ(once.boundaryFacets.size(), 1u);
    EXPECT_EQ(loopPoints(once, 0), at(mesh, {0, 0}));
    mesh.facets = {0, 0, 1, 0, 0, 2};
    EXPECT_TRUE(mesh.function().boundaryFacets.empty());
}

TEST(MeshFunctionBoundary, ClosedSurfaceHasNoBoundary)
{
    Mesh mesh = test::square();
    mesh.facets = {0, 1, 2, 0, 2, 3, 0, 3, 1, 1, 3, 2}; // a tetrahedron, flattened
    MeshFunction2D const f = mesh.function();
    EXPECT_TRUE(f.boundaryFacets.empty());
    Point value;
    EXPECT_FALSE(f.extrapolate({5, 5}, &value, nullptr));
}

TEST(MeshFunctionBoundary, LoopsOfAManifoldAreClosed)
{
    test::Random random(12);
    for (int trial = 0; trial < 20; ++trial) {
        SCOPED_TRACE(trial);
        Mesh mesh = test::gridMesh(random, 2 + random.below(12), 2 + random.below(12));
        std::vector<int> kept; // with holes, which may touch
        for (std::size_t t = 0; t < mesh.facets.size() / 3; ++t) {
            if (!random.oneIn(4)) kept.insert(kept.end(), &mesh.facets[3 * t], &mesh.facets[3 * t] + 3);
        }
        mesh.facets = kept;
        MeshFunction2D const f = mesh.function();
        ASSERT_EQ(f.boundaryProjectors.size(), f.boundaryFacets.size());
        for (std::size_t k = 0; k < f.boundaryFacets.size(); ++k) {
            auto const points = loopPoints(f, k);
            EXPECT_EQ(points.front(), points.back());
            ASSERT_EQ(points.size(), f.boundaryFacets[k].size() + 1);
            for (std::size_t j = 0; j < f.boundaryFacets[k].size(); ++j) {
                int const* corners = &f.facets[3 * f.boundaryFacets[k][j]];
                bool found = false; // the segment is an edge of its triangle, in its direction
                for (int c = 0; c < 3; ++c) {
                    found |= at(mesh, corners[c]) == points[j] && at(mesh, corners[(c + 1) % 3]) == points[j + 1];
                }
                EXPECT_TRUE(found);
            }
        }
    }
}

// ---- evaluation ----

TEST(MeshFunctionEvaluate, CornersGiveTheirValues)
{
    Mesh const mesh = test::oneTriangle();
    MeshFunction2D const f = mesh.function();
    for (int i = 0; i < 3; ++i) {
        Point value;
        float scalar;
        ASSERT_TRUE(f.evaluate(mesh.params[i], &value, &scalar));
        EXPECT_EQ(value, mesh.values[i]);
        EXPECT_EQ(scalar, mesh.normaldots[i]);
    }
}

TEST(MeshFunctionEvaluate, IsLinearInATriangle)
{
    Mesh mesh = test::oneTriangle();
    mesh.values = {{1, 2}, {5, 2}, {1, 10}};
    Point value;
    ASSERT_TRUE(mesh.function().evaluate({0.25, 0.5}, &value, nullptr));
    EXPECT_EQ(value, Point(2, 6));
}

TEST(MeshFunctionEvaluate, EitherOutputMayBeNull)
{
    MeshFunction2D const f = test::oneTriangle().function();
    Point value(7, 7);
    float scalar = 7;
    EXPECT_TRUE(f.evaluate({0.25, 0.25}, nullptr, nullptr));
    EXPECT_TRUE(f.evaluate({0.25, 0.25}, &value, nullptr));
    EXPECT_TRUE(f.evaluate({0.25, 0.25}, nullptr, &scalar));
    EXPECT_NE(value, Point(7, 7));
    EXPECT_NE(scalar, 7);
}

TEST(MeshFunctionEvaluate, PointOutsideLeavesTheOutputsUnwritten)
{
    MeshFunction2D const f = test::oneTriangle().function();
    for (Point const& p : {Point(0.6, 0.6), Point(-0.1, 0.5), Point(5, 5), Point(-1e300, 0), Point(kInf, kInf)}) {
        Point value(7, 7);
        float scalar = 7;
        EXPECT_FALSE(f.evaluate(p, &value, &scalar));
        EXPECT_EQ(value, Point(7, 7));
        EXPECT_EQ(scalar, 7);
    }
}

TEST(MeshFunctionEvaluate, PointOnASharedEdgeUsesTheTriangleWithTheSmallerIndex)
{
    Mesh mesh = test::square();
    std::vector<Point> const onEdge = {{0.5, 0.5}, {0.25, 0.75}, {1, 0}};
    for (Point const& p : onEdge) {
        // Each triangle has its own vertices and values, so that the value shows which triangle was used.
        Mesh split;
        for (int i : mesh.facets) split.addVertex(mesh.params[i].x, mesh.params[i].y);
        for (int i = 0; i < 6; ++i) split.values[i] = {double(i / 3), 0};
        split.facets = {0, 1, 2, 3, 4, 5};
        Point value;
        ASSERT_TRUE(split.function().evaluate(p, &value, nullptr));
        EXPECT_EQ(value.x, 0);
        split.facets = {3, 4, 5, 0, 1, 2};
        ASSERT_TRUE(split.function().evaluate(p, &value, nullptr));
        EXPECT_EQ(value.x, 1);
    }
}

TEST(MeshFunctionEvaluate, WeightsDownToMinus1e8AreInside)
{
    MeshFunction2D const f = test::oneTriangle().function();
    EXPECT_TRUE(f.evaluate({-0.9e-8, 0.5}, nullptr, nullptr));
    EXPECT_FALSE(f.evaluate({-1.1e-8, 0.5}, nullptr, nullptr));
    EXPECT_TRUE(f.evaluate({0.5, -0.9e-8}, nullptr, nullptr));
    EXPECT_FALSE(f.evaluate({0.5, -1.1e-8}, nullptr, nullptr));
    EXPECT_TRUE(f.evaluate({0.5 + 0.9e-8, 0.5}, nullptr, nullptr));
    EXPECT_FALSE(f.evaluate({0.5 + 1.1e-8, 0.5}, nullptr, nullptr));
    EXPECT_TRUE(f.evaluate({-1e-8, 0.5}, nullptr, nullptr)) << "exactly -1e-8 is not below it";
}

TEST(MeshFunctionEvaluate, RangeTestAcceptsPointsUpTo1e8OfACellOutsideTheGrid)
{
    // The triangle is larger than the grid, so that only the range test can reject a point. The test reads the public
    // grid.
    MeshFunction2D f = test::oneTriangle().function();
    f.domainMin = {0.25, 0.25};
    f.domainMax = {0.35, 0.35};
    f.gridScale[0] = f.gridScale[1] = 100; // 0.1 of length is 10 cells; the grid ends at 0.45
    auto const cells = [](double s) { return 0.25 + s * 0.01; };
    EXPECT_TRUE(f.evaluate({cells(-0.9e-8), cells(1)}, nullptr, nullptr));
    EXPECT_FALSE(f.evaluate({cells(-1.2e-8), cells(1)}, nullptr, nullptr));
    EXPECT_TRUE(f.evaluate({cells(1), cells(20 + 0.9e-8)}, nullptr, nullptr));
    EXPECT_FALSE(f.evaluate({cells(1), cells(20 + 1.3e-8)}, nullptr, nullptr));
}

TEST(MeshFunctionEvaluate, MissingScalarsGiveMinusOne)
{
    Mesh mesh = test::oneTriangle();
    for (std::size_t count : {0u, 1u, 2u}) {
        mesh.normaldots.resize(count);
        Point value;
        float scalar = 7;
        EXPECT_TRUE(mesh.function().evaluate({0.25, 0.25}, &value, &scalar));
        EXPECT_EQ(scalar, -1);
        EXPECT_EQ(value, Point(2 * 0.25 - 0.25, 0.25 * 1 + 0.25 * 0.5));
    }
    mesh.normaldots = {1, 1, 1, 99};
    float scalar = 7;
    EXPECT_TRUE(mesh.function().evaluate({0.25, 0.25}, nullptr, &scalar));
    EXPECT_EQ(scalar, 1);
}

TEST(MeshFunctionEvaluate, EachPartialSumOfScalarsIsRoundedToFloat)
{
    Mesh mesh = test::oneTriangle();
    // Floats near 2^23 differ by 1. Two summands of 0.4 each are rounded away one after the other; their sum would
    // round up.
    mesh.normaldots = {1.6f, 16777216.0f, 1.6f};
    double const u = 0.5, v = 0.25, w = 0.25;
    float s = static_cast<float>(16777216.0f * u);
    s = static_cast<float>(s + 1.6f * v);
    s = static_cast<float>(s + 1.6f * w);
    ASSERT_NE(s, static_cast<float>(16777216.0f * u + 1.6f * v + 1.6f * w));
    float scalar;
    ASSERT_TRUE(mesh.function().evaluate({0.5, 0.25}, nullptr, &scalar));
    EXPECT_EQ(scalar, s);
}

TEST(MeshFunctionEvaluate, DeterminantThresholdIsStrict)
{
    for (double height : {1.0000000000000001e-16, 0.99e-16}) {
        Mesh mesh = test::oneTriangle();
        mesh.params[2] = {0, height};
        EXPECT_EQ(mesh.function().evaluate({0.5, 0}, nullptr, nullptr), height >= 1e-16);
        mesh.facets = {0, 2, 1}; // the threshold applies to the magnitude
        EXPECT_EQ(mesh.function().evaluate({0.5, 0}, nullptr, nullptr), height >= 1e-16);
    }
}

TEST(MeshFunctionEvaluate, NaNPointUsesTheFirstTriangleOfCellZero)
{
    MeshFunction2D const f = test::square().function();
    Point value;
    EXPECT_TRUE(f.evaluate({kNaN, 0.9}, &value, nullptr));
    EXPECT_TRUE(std::isnan(value.x));
    EXPECT_TRUE(f.evaluate({kNaN, kNaN}, &value, nullptr));
    EXPECT_FALSE(f.evaluate({kNaN, 5}, &value, nullptr)) << "the other coordinate is out of range";
}

TEST(MeshFunctionEvaluate, VerticesAndEdgesOfAMeshAreInside)
{
    test::Random random(13);
    for (int trial = 0; trial < 40; ++trial) {
        SCOPED_TRACE(trial);
        Mesh const mesh = trial % 2 ? test::gridMesh(random, 1 + random.below(40), 1 + random.below(40))
                                    : test::unevenMesh(random, 1 + random.below(30), 1 + random.below(30), 3);
        MeshFunction2D const f = mesh.function();
        for (Point const& p : mesh.params) EXPECT_TRUE(f.evaluate(p, nullptr, nullptr));
        for (std::size_t i = 0; i < mesh.facets.size(); ++i) {
            Point const a = mesh.params[mesh.facets[i]];
            Point const b = mesh.params[mesh.facets[i % 3 == 2 ? i - 2 : i + 1]];
            double const s = random.uniform(0, 1);
            EXPECT_TRUE(f.evaluate(a + s * (b - a), nullptr, nullptr));
        }
    }
}

// ---- one triangle ----

TEST(MeshFunctionInFacet, AppliesToPointsOutsideUnlessChecked)
{
    Mesh mesh = test::oneTriangle();
    mesh.values = {{0, 0}, {1, 0}, {0, 1}};
    MeshFunction2D const f = mesh.function();
    Point value;
    EXPECT_FALSE(f.iEvalInFacet(0, 1, 2, {3, -5}, &value, nullptr, true));
    ASSERT_TRUE(f.iEvalInFacet(0, 1, 2, {3, -5}, &value, nullptr, false));
    EXPECT_EQ(value, Point(3, -5));
}

TEST(MeshFunctionInFacet, MultipliesByTheReciprocalOfTheDeterminant)
{
    test::Random random(14);
    bool differs = false;
    for (int trial = 0; trial < 200; ++trial) {
        Mesh mesh = test::oneTriangle();
        for (Point& p : mesh.params) p = random.point2();
        for (Point& p : mesh.values) p = random.point2();
        MeshFunction2D const f = mesh.function();
        Point const p = random.point2();
        Point const e1 = mesh.params[1] - mesh.params[0], e2 = mesh.params[2] - mesh.params[0];
        double const det = e1.x * e2.y - e2.x * e1.y;
        Point const d = p - mesh.params[0];
        double const u = (1 / det) * e2.y * d.x + (1 / det) * -e2.x * d.y;
        double const v = (1 / det) * -e1.y * d.x + (1 / det) * e1.x * d.y;
        double const w = 1 - u - v;
        Point value;
        ASSERT_TRUE(f.iEvalInFacet(0, 1, 2, p, &value, nullptr, false));
        EXPECT_TRUE(sameBits(value, u * mesh.values[1] + v * mesh.values[2] + w * mesh.values[0]));
        differs |= !sameBits(value, w * mesh.values[0] + u * mesh.values[1] + v * mesh.values[2]);
    }
    EXPECT_TRUE(differs) << "the order of the sum changes the bits";
}

TEST(MeshFunctionInFacet, IndexOutsideTheVerticesReturnsFalse)
{
    MeshFunction2D const f = test::oneTriangle().function();
    Point value(7, 7);
    for (int odd : {-1, 3, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        EXPECT_FALSE(f.iEvalInFacet(odd, 1, 2, {0, 0}, &value, nullptr, false));
        EXPECT_FALSE(f.iEvalInFacet(0, odd, 2, {0, 0}, &value, nullptr, false));
        EXPECT_FALSE(f.iEvalInFacet(0, 1, odd, {0, 0}, &value, nullptr, false));
        EXPECT_TRUE(std::isnan(f.iDistToEdge(0, odd, {0, 0}, nullptr, false)));
        EXPECT_TRUE(std::isnan(f.iDistToEdge(odd, 0, {0, 0}, nullptr, true)));
    }
    EXPECT_EQ(value, Point(7, 7));
}

// ---- distance to an edge ----

TEST(MeshFunctionDistToEdge, MeasuresToTheSegment)
{
    MeshFunction2D const f = test::oneTriangle().function(); // vertex 0 at the origin, vertex 1 at (1, 0)
    bool on = false;
    EXPECT_EQ(f.iDistToEdge(0, 1, {0.5, 2}, &on, false), 4);
    EXPECT_TRUE(on);
    EXPECT_EQ(f.iDistToEdge(0, 1, {-3, 4}, &on, false), 25);
    EXPECT_FALSE(on);
    EXPECT_EQ(f.iDistToEdge(0, 1, {4, 4}, &on, false), 25);
    EXPECT_FALSE(on);
    EXPECT_EQ(f.iDistToEdge(0, 1, {4, 4}, nullptr, false), 25);
}

TEST(MeshFunctionDistToEdge, MarginBeyondTheEndsIsPartOfTheSegment)
{
    MeshFunction2D const f = test::oneTriangle().function();
    bool on;
    f.iDistToEdge(0, 1, {-1e-8, 1}, &on, false);
    EXPECT_TRUE(on) << "exactly -1e-8 is not below it";
    f.iDistToEdge(0, 1, {-1.1e-8, 1}, &on, false);
    EXPECT_FALSE(on);
    f.iDistToEdge(0, 1, {1.00000001, 1}, &on, false);
    EXPECT_TRUE(on);
    f.iDistToEdge(0, 1, {1.000000011, 1}, &on, false);
    EXPECT_FALSE(on);
}

TEST(MeshFunctionDistToEdge, SegmentWithoutLengthActsAsAPoint)
{
    MeshFunction2D const f = test::oneTriangle().function();
    bool on = true;
    EXPECT_EQ(f.iDistToEdge(1, 1, {4, 4}, &on, false), 25);
    EXPECT_FALSE(on);
}

TEST(MeshFunctionDistToEdge, MeasuresBetweenValuesOnRequest)
{
    Mesh mesh = test::oneTriangle();
    mesh.values = {{0, 10}, {1, 10}, {0, 0}};
    EXPECT_EQ(mesh.function().iDistToEdge(0, 1, {0.5, 7}, nullptr, true), 9);
}

// ---- extrapolation ----

TEST(MeshFunctionExtrapolate, InsideEqualsEvaluate)
{
    test::Random random(15);
    Mesh const mesh = test::gridMesh(random, 7, 5);
    MeshFunction2D const f = mesh.function();
    for (int trial = 0; trial < 200; ++trial) {
        Point const p = random.point2(0, 1);
        Point inside, any;
        float s, t;
        ASSERT_TRUE(f.evaluate(p, &inside, &s));
        ASSERT_TRUE(f.extrapolate(p, &any, &t));
        EXPECT_TRUE(sameBits(inside, any));
        EXPECT_TRUE(sameBits(s, t));
    }
}

TEST(MeshFunctionExtrapolate, OutsideUsesTheNearestBoundaryTriangle)
{
    Mesh const mesh = test::square();
    MeshFunction2D const f = mesh.function();
    Point value, expected;
    float scalar, expectedScalar;
    ASSERT_TRUE(f.extrapolate({3, 0.9}, &value, &scalar));
    ASSERT_TRUE(f.iEvalInFacet(1, 3, 2, {3, 0.9}, &expected, &expectedScalar, false));
    EXPECT_TRUE(sameBits(value, expected));
    EXPECT_TRUE(sameBits(scalar, expectedScalar));
    ASSERT_TRUE(f.extrapolate({0.2, -8}, &value, nullptr));
    ASSERT_TRUE(f.iEvalInFacet(0, 1, 2, {0.2, -8}, &expected, nullptr, false));
    EXPECT_TRUE(sameBits(value, expected));
}

TEST(MeshFunctionExtrapolate, EarlierLoopWinsATie)
{
    for (bool swapped : {false, true}) {
        Mesh mesh;
        double const side = swapped ? -1 : 1; // mirror images about x = 0
        for (double sign : {-side, side}) {
            int const a = mesh.addVertex(sign * 1, 0);
            mesh.addVertex(sign * 2, 0);
            mesh.addVertex(sign * 1, 1);
            mesh.addTriangle(a, a + 1, a + 2);
        }
        for (int i = 0; i < 6; ++i) mesh.values[i] = {double(i / 3), 0};
        Point value;
        ASSERT_TRUE(mesh.function().extrapolate({0, 0.5}, &value, nullptr));
        EXPECT_EQ(value.x, 0);
    }
}

TEST(MeshFunctionExtrapolate, FarInfiniteAndNaNPointsReturnFalse)
{
    MeshFunction2D const f = test::square().function();
    Point value(7, 7);
    EXPECT_TRUE(f.extrapolate({3e6, 0}, nullptr, nullptr));
    EXPECT_FALSE(f.extrapolate({3.2e6, 0}, &value, nullptr)) << "a squared distance of 1e13 or more";
    EXPECT_FALSE(f.extrapolate({kInf, 0}, &value, nullptr));
    EXPECT_FALSE(f.extrapolate({kNaN, 9}, &value, nullptr));
    EXPECT_EQ(value, Point(7, 7));
}

TEST(MeshFunctionExtrapolate, LongLoopsFollowTheSameRules)
{
    test::Random random(16);
    MeshFunction2D const f = test::gridMesh(random, 30, 30).function(); // 120 segments: enough for the indexed search
    Point value(7, 7);
    EXPECT_TRUE(f.extrapolate({-3, 0.5}, nullptr, nullptr));
    EXPECT_FALSE(f.extrapolate({3.2e6, 0}, &value, nullptr));
    EXPECT_FALSE(f.extrapolate({kNaN, 9}, &value, nullptr));
    EXPECT_EQ(value, Point(7, 7));
}

TEST(MeshFunctionExtrapolate, DegenerateNearestTriangleReturnsFalse)
{
    Mesh mesh = test::oneTriangle();
    int const a = mesh.addVertex(5, 0);
    mesh.addVertex(6, 0);
    mesh.addVertex(7, 0);
    mesh.addTriangle(a, a + 1, a + 2);
    EXPECT_FALSE(mesh.function().extrapolate({6, 1}, nullptr, nullptr));
}

TEST(MeshFunctionExtrapolate, WithoutTheFlagEqualsExtrapolateOld)
{
    test::Random random(17);
    MeshFunction2D f = test::islands(2).function();
    f.extrapolateFlag = false;
    for (int trial = 0; trial < 200; ++trial) {
        Point const p = random.point2(-1, 2);
        Point a(7, 7), b(7, 7);
        EXPECT_EQ(f.extrapolate(p, &a, nullptr), f.extrapolateOld(p, &b, nullptr));
        EXPECT_TRUE(sameBits(a, b));
    }
}

TEST(MeshFunctionExtrapolateOld, DoesNotTryToEvaluateFirst)
{
    // The two triangles overlap. The point lies in the first one; the second one has the nearer edge.
    Mesh mesh = test::oneTriangle();
    int const a = mesh.addVertex(0.2, 0.21);
    mesh.addVertex(0.4, 0.21);
    mesh.addVertex(0.2, 0.4);
    mesh.addTriangle(a, a + 1, a + 2);
    for (int i = 0; i < 6; ++i) mesh.values[i] = {double(i / 3), 0};
    MeshFunction2D const f = mesh.function();
    Point value;
    ASSERT_TRUE(f.evaluate({0.25, 0.2}, &value, nullptr));
    EXPECT_EQ(value.x, 0);
    ASSERT_TRUE(f.extrapolateOld({0.25, 0.2}, &value, nullptr));
    EXPECT_EQ(value.x, 1);
}

TEST(MeshFunctionExtrapolateOld, EmptyCellWalksTowardsTheMiddle)
{
    // Small triangles at the middle of the domain, on the way to it from the lower corner, and beside that way.
    Mesh mesh;
    auto const add = [&](double x, double y) {
        int const a = mesh.addVertex(x, y);
        mesh.addVertex(x + 0.001, y);
        mesh.addVertex(x, y + 0.001);
        mesh.addTriangle(a, a + 1, a + 2);
    };
    add(0.5, 0.5);
    add(0.3, 0.3);
    add(0.0, 0.2);
    mesh.addVertex(0, 0);
    mesh.addVertex(1, 1);
    for (int i = 0; i < 9; ++i) mesh.values[i] = {double(i / 3), 0};
    MeshFunction2D const f = mesh.function();
    Point value;
    ASSERT_TRUE(f.extrapolateOld({0, 0}, &value, nullptr));
    EXPECT_EQ(value.x, 1) << "the first cell with triangles on the diagonal, not the nearest triangle";
    ASSERT_TRUE(f.extrapolateOld({-50, -50}, &value, nullptr)) << "clamped without a range test";
    EXPECT_EQ(value.x, 1);
}

TEST(MeshFunctionExtrapolateOld, EmptyMiddleCellReturnsFalse)
{
    Mesh mesh;
    int const a = mesh.addVertex(0, 0);
    mesh.addVertex(0.01, 0);
    mesh.addVertex(0, 0.01);
    mesh.addTriangle(a, a + 1, a + 2);
    mesh.addVertex(1, 1);
    MeshFunction2D const f = mesh.function();
    EXPECT_FALSE(f.extrapolateOld({0.51, 0.51}, nullptr, nullptr))
        << "from cell (10, 10) there is no direction to walk";
    EXPECT_TRUE(f.extrapolateOld({0.6, 0.6}, nullptr, nullptr)) << "through the middle to the corner";
    EXPECT_FALSE(f.extrapolateOld({0.6, 0.2}, nullptr, nullptr)) << "leaves the grid without meeting a triangle";
}

TEST(MeshFunctionExtrapolateOld, AmongTiesALaterEdgeThatHoldsTheProjectionWins)
{
    // The corner (0.5, 0.5) ends edges of the first triangle. An edge of the second triangle passes through it.
    Mesh mesh;
    mesh.addVertex(0, 0);
    mesh.addVertex(0.5, 0);
    mesh.addVertex(0.5, 0.5);
    mesh.addTriangle(0, 1, 2);
    int const a = mesh.addVertex(0, 0.5);
    mesh.addVertex(1, 0.5);
    mesh.addVertex(0.5, 0.2);
    mesh.addTriangle(a, a + 1, a + 2);
    for (int i = 0; i < 6; ++i) mesh.values[i] = {double(i / 3), 0};
    Point value;
    ASSERT_TRUE(mesh.function().extrapolateOld({0.52, 0.9}, &value, nullptr));
    EXPECT_EQ(value.x, 1);
    // An edge that ties but does not hold the projection of the point does not replace an earlier one.
    ASSERT_TRUE(mesh.function().extrapolateOld({0.5, 0.6}, &value, nullptr));
    std::swap(mesh.facets[0], mesh.facets[3]);
    std::swap(mesh.facets[1], mesh.facets[4]);
    std::swap(mesh.facets[2], mesh.facets[5]);
    ASSERT_TRUE(mesh.function().extrapolateOld({0.5, 0.6}, &value, nullptr));
    EXPECT_EQ(value.x, 1) << "the same triangle, now the first";
}

TEST(MeshFunctionExtrapolateOld, NaNPointStartsAtCellZero)
{
    MeshFunction2D const f = test::square().function();
    Point value(7, 7);
    EXPECT_TRUE(f.extrapolateOld({kNaN, kNaN}, &value, nullptr));
    EXPECT_TRUE(std::isnan(value.x));
}

TEST(MeshFunctionAnyPoint, MultipliesByTheConstantForOneThird)
{
    Mesh mesh = test::oneTriangle();
    mesh.params = {{0.1, 0.7}, {0.9, 0.2}, {0.4, 0.6}};
    Point p;
    ASSERT_TRUE(mesh.function().getAnyPointInDomain(p));
    EXPECT_TRUE(sameBits(p, Point((0.1 + 0.9 + 0.4) * 0.3333333333333333, (0.7 + 0.2 + 0.6) * 0.3333333333333333)));
    EXPECT_TRUE(mesh.function().evaluate(p, nullptr, nullptr));
}

TEST(MeshFunctionAnyPoint, NeedsAWholeTriangle)
{
    Mesh mesh = test::oneTriangle();
    mesh.facets.pop_back();
    Point p(7, 7);
    EXPECT_FALSE(mesh.function().getAnyPointInDomain(p));
    EXPECT_EQ(p, Point(7, 7));
}

TEST(MeshFunctionAnyPoint, NeedsNoGrid)
{
    Mesh mesh;
    for (int i = 0; i < 3; ++i) mesh.addVertex(0.5, 0.5);
    mesh.addTriangle(0, 1, 2);
    Point p;
    EXPECT_TRUE(mesh.function().getAnyPointInDomain(p));
}

// ---- many points at once ----

TEST(MeshFunctionMany, SameBitsAsSingleQueries)
{
    test::Random random(20);
    MeshFunction2D const f = test::gridMesh(random, 9, 9).function();
    constexpr std::size_t kCount = 300;
    std::vector<Point> points;
    for (std::size_t i = 0; i < kCount; ++i) points.push_back(random.point2(-0.5, 1.5));
    points[7] = {kNaN, 9};
    for (bool outside : {false, true}) {
        std::vector<Point> values(kCount, Point(7, 7));
        std::vector<float> scalars(kCount, 7);
        auto const found = std::make_unique<bool[]>(kCount);
        std::size_t (*many)(MeshFunction2D const&, Point const*, std::size_t, Point*, float*, bool*) =
            sinew::evaluateMany;
        if (outside) many = sinew::extrapolateMany;
        std::size_t const foundCount = many(f, points.data(), kCount, values.data(), scalars.data(), found.get());
        std::size_t expectedCount = 0;
        for (std::size_t i = 0; i < kCount; ++i) {
            Point value(7, 7);
            float scalar = 7;
            bool const hit =
                outside ? f.extrapolate(points[i], &value, &scalar) : f.evaluate(points[i], &value, &scalar);
            EXPECT_EQ(found[i], hit);
            EXPECT_TRUE(sameBits(values[i], value)) << "unwritten where there is no value";
            EXPECT_TRUE(sameBits(scalars[i], scalar));
            expectedCount += hit;
        }
        EXPECT_EQ(foundCount, expectedCount);
        EXPECT_GT(foundCount, 0u);
        EXPECT_LT(foundCount, kCount);
    }
}

TEST(MeshFunctionMany, EveryOutputMayBeNull)
{
    MeshFunction2D const f = test::square().function();
    Point const points[] = {{0.5, 0.25}, {3, 3}};
    EXPECT_EQ(sinew::evaluateMany(f, points, 2, nullptr, nullptr, nullptr), 1u);
    EXPECT_EQ(sinew::extrapolateMany(f, points, 2, nullptr, nullptr, nullptr), 2u);
    EXPECT_EQ(sinew::evaluateMany(f, nullptr, 0, nullptr, nullptr, nullptr), 0u);
}

// ---- copies and moves ----

TEST(MeshFunctionCopy, RemainsValidAfterItsSourceIsDestroyed)
{
    test::Random random(18);
    Mesh const mesh = test::gridMesh(random, 6, 6);
    auto source = std::make_unique<MeshFunction2D>(mesh.params, mesh.values, mesh.facets, mesh.normaldots);
    Point before, after;
    ASSERT_TRUE(source->extrapolate({3, 3}, &before, nullptr));
    std::unique_ptr<MeshFunction2D> const copy(source->copy());
    ASSERT_EQ(copy->boundaryProjectors.size(), source->boundaryProjectors.size());
    EXPECT_NE(copy->boundaryProjectors[0].get(), source->boundaryProjectors[0].get());
    EXPECT_TRUE(sameBits(copy->params, source->params));
    EXPECT_TRUE(sameBits(copy->values, source->values));
    EXPECT_EQ(copy->normaldots, source->normaldots);
    EXPECT_EQ(copy->facets, source->facets);
    EXPECT_EQ(copy->gridCells, source->gridCells);
    EXPECT_EQ(copy->boundaryFacets, source->boundaryFacets);
    EXPECT_EQ(copy->gridSize[0], 20);
    EXPECT_EQ(copy->gridScale[1], source->gridScale[1]);
    EXPECT_EQ(copy->domainMin, source->domainMin);
    EXPECT_EQ(copy->domainMax, source->domainMax);
    source.reset();
    ASSERT_TRUE(copy->extrapolate({3, 3}, &after, nullptr));
    EXPECT_TRUE(sameBits(before, after));
}

TEST(MeshFunctionCopy, KeepsTheFlag)
{
    for (bool flag : {false, true}) {
        MeshFunction2D f = test::oneTriangle().function();
        f.extrapolateFlag = flag;
        EXPECT_EQ(std::unique_ptr<MeshFunction2D>(f.copy())->extrapolateFlag, flag);
    }
}

TEST(MeshFunctionCopy, ChangesToTheCopyDoNotAffectTheSource)
{
    MeshFunction2D const source = test::square().function();
    MeshFunction2D copy = source;
    copy.params[0] = {-3, -3};
    copy.values[0] = {9, 9};
    copy.initEvaluatorHelper();
    Point value;
    EXPECT_FALSE(source.evaluate({-1, -1}, &value, nullptr));
    ASSERT_TRUE(copy.evaluate({-3, -3}, &value, nullptr));
    EXPECT_EQ(value, Point(9, 9));
    copy = source;
    EXPECT_FALSE(copy.evaluate({-1, -1}, &value, nullptr));
    MeshFunction2D& self = copy;
    copy = self;
    EXPECT_TRUE(copy.evaluate({0.2, 0.2}, &value, nullptr));
}

TEST(MeshFunctionMove, MovesEverythingAndLeavesAReusableObject)
{
    static_assert(std::is_nothrow_move_constructible_v<MeshFunction2D>);
    static_assert(std::is_nothrow_move_assignable_v<MeshFunction2D>);
    MeshFunction2D source = test::square().function();
    MeshFunction2D f = std::move(source);
    EXPECT_TRUE(f.evaluate({0.2, 0.2}, nullptr, nullptr));
    EXPECT_TRUE(f.extrapolate({2, 2}, nullptr, nullptr));
    EXPECT_FALSE(source.evaluate({0.2, 0.2}, nullptr, nullptr));
    EXPECT_FALSE(source.extrapolate({2, 2}, nullptr, nullptr));
    EXPECT_FALSE(source.extrapolateOld({2, 2}, nullptr, nullptr));
    source = std::move(f);
    EXPECT_TRUE(source.evaluate({0.2, 0.2}, nullptr, nullptr));
    EXPECT_FALSE(f.evaluate({0.2, 0.2}, nullptr, nullptr));
    f.initEvaluatorHelper();
    EXPECT_EQ(f.gridSize[0], 0);
}

TEST(MeshFunctionCopy, EmptyFunctionsCopyToo)
{
    MeshFunction2D const empty(false);
    std::unique_ptr<MeshFunction2D> const copy(empty.copy());
    EXPECT_EQ(copy->gridSize[0], 0);
    EXPECT_FALSE(copy->evaluate({0, 0}, nullptr, nullptr));
}

// ---- public members changed without a rebuild ----

TEST(MeshFunctionStale, NewValuesTakeEffectImmediately)
{
    MeshFunction2D f = test::oneTriangle().function();
    f.values = {{4, 4}, {4, 4}, {4, 4}};
    f.normaldots = {2, 2, 2};
    Point value;
    float scalar;
    ASSERT_TRUE(f.evaluate({0.25, 0.25}, &value, &scalar));
    EXPECT_EQ(value, Point(4, 4));
    EXPECT_EQ(scalar, 2);
    f.normaldots.clear();
    ASSERT_TRUE(f.evaluate({0.25, 0.25}, &value, &scalar));
    EXPECT_EQ(scalar, -1);
}

TEST(MeshFunctionStale, RemovedValuesAreNotRead)
{
    // The mesh is so large that queries build the structures of its cells. Here a query builds one while there are
    // values that are removed afterwards.
    test::Random random(21);
    test::Mesh mesh = test::gridMesh(random, 200, 200);
    std::size_t const count = mesh.params.size();
    mesh.params.resize(2 * count);
    std::copy_n(mesh.params.begin(), count, mesh.params.begin() + static_cast<std::ptrdiff_t>(count));
    MeshFunction2D f = mesh.function();
    f.values.resize(2 * count);
    for (int& i : f.facets) i += static_cast<int>(count); // the same positions, other vertices
    EXPECT_TRUE(f.evaluate({0.3, 0.4}, nullptr, nullptr));
    f.values = mesh.values;
    EXPECT_FALSE(f.evaluate({0.3, 0.4}, nullptr, nullptr));
}

namespace {

// Changes one public member at random, as a host might by mistake.
void changeOneMember(test::Random& random, MeshFunction2D& f)
{
    switch (random.below(12)) {
    case 0:
        f.params.resize(random.below(5));
        break;
    case 1:
        f.values.resize(random.below(5));
        break;
    case 2:
        f.normaldots.resize(random.below(5));
        break;
    case 3:
        f.facets.resize(random.below(10));
        break;
    case 4:
        for (int& i : f.facets) i = static_cast<int>(random.bits());
        break;
    case 5:
        f.gridCells.resize(random.below(400));
        break;
    case 6:
        for (auto& list : f.gridCells) list.assign(2, static_cast<int>(random.bits()));
        break;
    case 7:
        f.gridSize[random.below(2)] = static_cast<int>(random.bits());
        break;
    case 8:
        f.boundaryProjectors.clear();
        break;
    case 9:
        f.boundaryFacets.clear();
        break;
    case 10:
        for (auto& loop : f.boundaryFacets) loop.assign(2, static_cast<int>(random.bits()));
        break;
    default:
        for (auto& projector : f.boundaryProjectors) projector.reset();
        break;
    }
}

} // namespace

TEST(MeshFunctionStale, NothingIsReadOutOfBounds)
{
    test::Random random(19);
    for (int trial = 0; trial < 400; ++trial) {
        SCOPED_TRACE(trial);
        MeshFunction2D f = test::gridMesh(random, 12, 12).function();
        f.extrapolateFlag = random.oneIn(2);
        for (int change = 0; change < 2; ++change) changeOneMember(random, f);
        if (random.oneIn(3)) f = MeshFunction2D(f);
        Point value;
        float scalar;
        for (int query = 0; query < 30; ++query) {
            Point const p = random.point2(-0.5, 1.5);
            f.evaluate(p, &value, &scalar);
            f.extrapolate(p, &value, &scalar);
            f.extrapolateOld(p, &value, &scalar);
            f.getAnyPointInDomain(value);
        }
        f.initEvaluatorHelper();
    }
}

TEST(InitBoundaries, ASecondCallGivesTheSameBoundaries)
{
    for (int const count : {1, 2, 9}) {
        SCOPED_TRACE(count);
        MeshFunction2D f = test::islands(count).function();
        MeshFunction2D const before = f;
        f.initBoundaries();
        ASSERT_EQ(f.boundaryProjectors.size(), before.boundaryProjectors.size());
        EXPECT_EQ(f.boundaryFacets, before.boundaryFacets);
        for (std::size_t k = 0; k < before.boundaryProjectors.size(); ++k) {
            EXPECT_TRUE(test::sameBits(f.boundaryProjectors[k]->points, before.boundaryProjectors[k]->points));
        }
        test::Random random(33);
        for (int i = 0; i < 200; ++i) {
            test::Point const p = random.point2(-1, 2);
            test::Point value, expected;
            EXPECT_EQ(f.extrapolate(p, &value, nullptr), before.extrapolate(p, &expected, nullptr));
            EXPECT_TRUE(test::sameBits(value, expected));
        }
        f.facets.resize(f.facets.size() - 1);
        f.initBoundaries();
        EXPECT_TRUE(f.boundaryProjectors.empty() && f.boundaryFacets.empty()) << "an incomplete triangle";
    }
}
