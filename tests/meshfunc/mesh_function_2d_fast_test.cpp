// The library compared with the reference implementation, bit for bit, on meshes of every kind.

#include <algorithm>

#include <gtest/gtest.h>

#include "meshfunc/mesh_probes.h"
#include "meshfunc/mesh_samples.h"
#include "meshfunc/reference_mesh_function.h"
#include "support/bits.h"

using test::Mesh;
using test::Point;
using test::Random;
using test::sameBits;

namespace {

void expectSameStructure(MeshFunction2D const& f, reference::MeshFunction2D const& oracle)
{
    EXPECT_TRUE(sameBits(f.domainMin, oracle.domainMin));
    EXPECT_TRUE(sameBits(f.domainMax, oracle.domainMax));
    for (int k = 0; k < 2; ++k) {
        EXPECT_EQ(f.gridSize[k], oracle.gridSize[k]);
        EXPECT_TRUE(sameBits(f.gridScale[k], oracle.gridScale[k]));
    }
    EXPECT_EQ(f.gridCells, oracle.gridCells);
    EXPECT_EQ(f.boundaryFacets, oracle.boundaryFacets);
    ASSERT_EQ(f.boundaryProjectors.size(), oracle.boundaryProjectors.size());
    for (std::size_t k = 0; k < oracle.boundaryProjectors.size(); ++k) {
        EXPECT_TRUE(sameBits(f.boundaryProjectors[k]->points, oracle.boundaryProjectors[k].points));
    }
}

using Query = bool (*)(MeshFunction2D const&, Point const&, Point*, float*);
using ReferenceQuery = bool (*)(reference::MeshFunction2D const&, Point const&, Point*, float*);

template <typename F>
bool evaluate(F const& f, Point const& p, Point* value, float* scalar)
{
    return f.evaluate(p, value, scalar);
}
template <typename F>
bool extrapolate(F const& f, Point const& p, Point* value, float* scalar)
{
    return f.extrapolate(p, value, scalar);
}
template <typename F>
bool extrapolateOld(F const& f, Point const& p, Point* value, float* scalar)
{
    return f.extrapolateOld(p, value, scalar);
}

// Runs both queries and compares all outputs, including unwritten ones. Returns whether there was a result.
bool expectSameResult(Query query, MeshFunction2D const& f, ReferenceQuery referenceQuery,
                      reference::MeshFunction2D const& oracle, Point const& p)
{
    Point value(7, 7), expected(7, 7);
    float scalar = 7, expectedScalar = 7;
    bool const found = query(f, p, &value, &scalar);
    EXPECT_EQ(found, referenceQuery(oracle, p, &expected, &expectedScalar)) << p.x << ' ' << p.y;
    EXPECT_TRUE(sameBits(value, expected)) << p.x << ' ' << p.y;
    EXPECT_TRUE(sameBits(scalar, expectedScalar)) << p.x << ' ' << p.y;
    return found;
}

// Builds both functions from the mesh, and compares their members and the results of queries.
void expectSame(Random& random, Mesh const& mesh, int queries)
{
    reference::MeshFunction2D oracle(mesh.params, mesh.values, mesh.facets, mesh.normaldots);
    MeshFunction2D const f = mesh.function();
    expectSameStructure(f, oracle);
    for (int i = 0; i < queries; ++i) {
        Point const p = test::probe(random, mesh);
        expectSameResult(evaluate, f, evaluate, oracle, p);
        if (i % 8 == 0) {
            expectSameResult(extrapolate, f, extrapolate, oracle, p);
            expectSameResult(extrapolateOld, f, extrapolateOld, oracle, p);
        }
        if (testing::Test::HasFailure()) return;
    }
}

} // namespace

TEST(MeshFunctionAgainstReference, EvenMeshes)
{
    Random random(101);
    for (int side : {1, 2, 5, 20, 60, 150}) {
        SCOPED_TRACE(side);
        expectSame(random, test::gridMesh(random, side, side), 4000);
        expectSame(random, test::gridMesh(random, side, 1), 500);
        expectSame(random, test::gridMesh(random, 2, side * 3), 500);
    }
}

TEST(MeshFunctionAgainstReference, RegularMeshesWithPointsOnCellBorders)
{
    Random random(102);
    expectSame(random, test::gridMesh(random, 64, 64, 0), 4000);
    expectSame(random, test::gridMesh(random, 50, 50, 0), 4000);
}

TEST(MeshFunctionAgainstReference, UnevenMeshes)
{
    Random random(103);
    for (double power : {2.0, 3.0, 5.0, 8.0}) {
        SCOPED_TRACE(power);
        expectSame(random, test::unevenMesh(random, 90, 90, power), 4000);
        expectSame(random, test::unevenMesh(random, 150, 4, power), 1000);
    }
}

TEST(MeshFunctionAgainstReference, FoldedMeshes)
{
    Random random(104); // vertices move so far that triangles turn over and overlap
    for (double shake : {0.8, 3.0, 20.0}) {
        SCOPED_TRACE(shake);
        expectSame(random, test::gridMesh(random, 60, 60, shake), 3000);
    }
}

TEST(MeshFunctionAgainstReference, OverlappingSoups)
{
    Random random(105);
    for (double size : {0.001, 0.02, 0.1, 1.0}) {
        SCOPED_TRACE(size);
        expectSame(random, test::soup(random, 3000, size), 3000);
    }
}

TEST(MeshFunctionAgainstReference, Slivers)
{
    Random random(106);
    for (int trial = 0; trial < 12; ++trial) {
        SCOPED_TRACE(trial);
        Mesh mesh = test::gridMesh(random, 20, 20);
        double const height = std::ldexp(1.0, -4 * trial);
        test::addSlivers(random, &mesh, 1500, height);
        expectSame(random, mesh, 1500);
    }
}

TEST(MeshFunctionAgainstReference, FansAroundOneVertex)
{
    Random random(107);
    Mesh mesh;
    mesh.addVertex(0.3, 0.4);
    for (int i = 0; i <= 3000; ++i) {
        double const angle = i * (6.283185307179586 / 3000);
        mesh.addVertex(0.3 + std::cos(angle), 0.4 + std::sin(angle));
    }
    for (int i = 1; i <= 3000; ++i) mesh.addTriangle(0, i, i + 1);
    expectSame(random, mesh, 3000);
}

TEST(MeshFunctionAgainstReference, ManyTrianglesInTheSamePlace)
{
    Random random(108);
    Mesh mesh = test::gridMesh(random, 10, 10);
    std::vector<int> const once = mesh.facets;
    for (int i = 0; i < 40; ++i) mesh.facets.insert(mesh.facets.end(), once.begin(), once.end());
    expectSame(random, mesh, 2000);
}

TEST(MeshFunctionAgainstReference, ListsOfEveryLengthAreSearchedFromFirstToLast)
{
    // Each triangle is larger than the one before by less than the width of any cell.
    double const step = 2e-7;
    for (int count = 1; count <= 40; ++count) {
        SCOPED_TRACE(count);
        Mesh mesh;
        for (int i = 0; i < count; ++i) {
            int const a = mesh.addVertex(0, 0);
            mesh.addVertex(1 + i * step, 0);
            mesh.addVertex(0, 1 + i * step);
            mesh.addTriangle(a, a + 1, a + 2);
        }
        reference::MeshFunction2D const oracle(mesh.params, mesh.values, mesh.facets, mesh.normaldots);
        MeshFunction2D const f = mesh.function();
        for (int i = 0; i <= count; ++i) { // lies in triangle i and those after it
            double const x = 0.3 + 0.01 * i;
            Point const p(x, 1 + (i - 0.5) * step - x);
            EXPECT_EQ(expectSameResult(evaluate, f, evaluate, oracle, p), i < count) << i;
        }
    }
}

TEST(MeshFunctionAgainstReference, FarFromTheOriginAndAtEveryScale)
{
    Random random(109);
    for (double scale : {1e-6, 1e-3, 1.0, 1e6, 1e60, 1e140, 1e152}) {
        for (double offset : {0.0, 1.0, 1e4, 1e9}) {
            SCOPED_TRACE(scale);
            SCOPED_TRACE(offset);
            Mesh mesh = test::gridMesh(random, 25, 25);
            for (Point& p : mesh.params) p = scale * (p + Point(offset, -offset));
            expectSame(random, mesh, 300);
        }
    }
}

TEST(MeshFunctionAgainstReference, HostileCoordinates)
{
    Random random(110);
    for (int trial = 0; trial < 60; ++trial) {
        SCOPED_TRACE(trial);
        Mesh mesh = test::gridMesh(random, 30, 30);
        int const replaced = random.oneIn(2) ? 1 : random.below(300);
        for (int i = 0; i < replaced; ++i) {
            mesh.params[random.below(static_cast<int>(mesh.params.size()))] = {random.hostile(), random.hostile()};
        }
        expectSame(random, mesh, 300);
    }
}

TEST(MeshFunctionAgainstReference, NaNTrianglesAcceptAnyPointOfTheirCells)
{
    Random random(111);
    Mesh mesh = test::gridMesh(random, 60, 60);
    // With one NaN corner a triangle is listed from cell 0 to its other corners. Some of these cells are crowded.
    mesh.params[static_cast<std::size_t>(7 * 61 + 7)] = {std::numeric_limits<double>::quiet_NaN(), 0.1};
    expectSame(random, mesh, 4000);
}

TEST(MeshFunctionAgainstReference, HostileFacets)
{
    Random random(112);
    for (int trial = 0; trial < 30; ++trial) {
        SCOPED_TRACE(trial);
        Mesh mesh = test::gridMesh(random, 25, 25);
        int const vertices = static_cast<int>(mesh.params.size());
        for (int i = 0; i < 200; ++i) {
            int const any = random.oneIn(3) ? static_cast<int>(random.bits()) : random.below(vertices);
            mesh.facets[random.below(static_cast<int>(mesh.facets.size()))] = any;
        }
        if (random.oneIn(3)) mesh.values.resize(mesh.values.size() - random.below(50));
        if (random.oneIn(3)) mesh.normaldots.resize(random.below(vertices));
        if (random.oneIn(4)) mesh.facets.pop_back();
        expectSame(random, mesh, 300);
    }
}

TEST(MeshFunctionAgainstReference, TinyRandomMeshes)
{
    Random random(113); // few vertices, so that many triangles share edges, in both directions
    for (int trial = 0; trial < 3000; ++trial) {
        SCOPED_TRACE(trial);
        Mesh mesh;
        int const vertices = 1 + random.below(7);
        for (int i = 0; i < vertices; ++i) mesh.addVertex(random.below(4), random.below(4));
        int const triangles = random.below(10);
        for (int i = 0; i < 3 * triangles; ++i) mesh.facets.push_back(random.below(vertices));
        expectSame(random, mesh, 10);
    }
}

TEST(MeshFunctionAgainstReference, ManyLoops)
{
    Random random(114);
    Mesh const mesh = test::islands(30);
    reference::MeshFunction2D const oracle(mesh.params, mesh.values, mesh.facets, mesh.normaldots);
    MeshFunction2D const f = mesh.function();
    for (int i = 0; i < 400; ++i) {
        double const reach = random.oneIn(3) ? 1e6 : (random.oneIn(2) ? 10 : 1);
        Point const p(random.uniform(-reach, 1 + reach), random.uniform(-reach, 1 + reach));
        expectSameResult(extrapolate, f, extrapolate, oracle, p);
    }
    for (int i = 0; i < 200; ++i) { // on the lines of symmetry, where loops are equally near
        Point const p((random.below(31) - 0.2) / 30, (random.below(31) - 0.2) / 30);
        expectSameResult(extrapolate, f, extrapolate, oracle, p);
    }
}
