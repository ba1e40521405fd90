// Memory of the search structures of mesh functions: how much they hold, and when they allocate it.

#include <gtest/gtest.h>

#include "meshfunc/mesh_samples.h"
#include "sinew/meshfunc/detail/grid_layout.h"
#include "sinew/meshfunc/detail/triangle_locator.h"
#include "support/failing_new.h"

namespace {

using sinew::detail::TriangleLocator;
using test::Mesh;
using test::Point;

// Bytes for each triangle after a query in every cell.
double bytesPerTriangle(MeshFunction2D const& f)
{
    auto const view = [&f] { return sinew::detail::viewOf(f); };
    auto const locator = TriangleLocator::build(view());
    for (std::size_t cell = 0; cell < f.gridCells.size(); ++cell) locator->triangles(cell, view);
    return static_cast<double>(locator->memory()) / (static_cast<double>(f.facets.size()) / 3);
}

} // namespace

TEST(MeshFunctionMemory, LargeMeshesTakeAtMost110BytesATriangle)
{
    test::Random random(41);
    EXPECT_LE(bytesPerTriangle(test::gridMesh(random, 500, 500).function()), 110);
    EXPECT_LE(bytesPerTriangle(test::unevenMesh(random, 500, 500, 3).function()), 110);
}

TEST(MeshFunctionMemory, OverlappingSoupsStayWithinTheBudget)
{
    test::Random random(42);
    for (double size : {0.001, 0.01, 0.1, 1.0}) {
        SCOPED_TRACE(size);
        double const triangles = 30000;
        EXPECT_LE(bytesPerTriangle(test::soup(random, int(triangles), size).function()), 108 + 1100000 / triangles);
    }
}

TEST(MeshFunctionMemory, FanAroundOneVertexStaysWithinTheBudget)
{
    Mesh mesh;
    mesh.addVertex(0, 0);
    int const count = 50000;
    for (int i = 0; i <= count; ++i) {
        double const angle = i * (6.283185307179586 / count);
        mesh.addVertex(std::cos(angle), std::sin(angle));
    }
    for (int i = 1; i <= count; ++i) mesh.addTriangle(0, i, i + 1);
    EXPECT_LE(bytesPerTriangle(mesh.function()), 108 + 1100000.0 / count);
}

// 2^16 triangles over a grid of 2^18 cells touch 2^34 cells together: 0, modulo 2^32. No list of them fits.
TEST(MeshFunctionMemory, AGridThatAllTrianglesCoverIsRefusedWithoutCountingInModuli)
{
    std::vector<Point> const params = {{0, 0}, {3, 0}, {0, 3}};
    int const corners[3] = {0, 1, 2};
    sinew::detail::PreparedTriangle triangle;
    ASSERT_TRUE(sinew::detail::prepareTriangle(params, corners, &triangle));
    std::size_t const count = std::size_t{1} << 16;
    std::vector<sinew::detail::TriangleNumber> const numbers(count, 0);
    sinew::detail::Box square;
    square.include({0, 0});
    square.include({1, 1});
    sinew::detail::CoveredTriangles const triangles = {
        &triangle, {numbers.data(), numbers.data() + count}, std::vector<sinew::detail::Box>(count, square)};
    std::size_t const budget = 400000; // three quarters of it are more than 2^18 cells
    EXPECT_EQ(sinew::detail::GridLayout().layOut(triangles, square, budget), 0u);
}

TEST(MeshFunctionMemory, SmallMeshesAllocateNothingInQueries)
{
    test::Random random(43);
    MeshFunction2D const f = test::gridMesh(random, 80, 80).function();
    std::vector<Point> points;
    for (int i = 0; i < 2000; ++i) points.push_back(random.point2(-0.1, 1.1));
    Point value;
    float scalar;
    bool onSegment;
    long long const before = test::allocationCount();
    for (Point const& p : points) {
        f.evaluate(p, &value, &scalar);
        f.extrapolateOld(p, &value, &scalar);
        f.iEvalInFacet(0, 1, 2, p, &value, &scalar, false);
        f.iDistToEdge(0, 1, p, &onSegment, false);
        f.getAnyPointInDomain(value);
    }
    EXPECT_EQ(test::allocationCount(), before);
}

TEST(MeshFunctionMemory, LargeMeshesAllocateInTheFirstQueryOfACellOnly)
{
    test::Random random(44);
    MeshFunction2D const f = test::gridMesh(random, 300, 300).function();
    std::vector<Point> points;
    for (int i = 0; i < 2000; ++i) points.push_back(random.point2(0, 1));
    long long const beforeFirst = test::allocationCount();
    for (Point const& p : points) f.evaluate(p, nullptr, nullptr);
    long long const afterFirst = test::allocationCount();
    EXPECT_GT(afterFirst, beforeFirst) << "construction does not build the structures";
    for (Point const& p : points) f.evaluate(p, nullptr, nullptr);
    EXPECT_EQ(test::allocationCount(), afterFirst);
}

// The limit that the guide and the header name: 65536 triangles and 65536 entries of `gridCells`.
TEST(MeshFunctionMemory, QueriesAllocateFromTheDocumentedNumberOfEntriesOn)
{
    // All triangles lie in one cell each, so there are as many entries as triangles.
    for (int const triangles : {65536, 65537}) {
        SCOPED_TRACE(triangles);
        Mesh mesh;
        for (int t = 0; t < triangles; ++t) {
            double const x = t % 20 + 0.5, y = t / 20 % 20 + 0.5; // the middle of a cell, away from its borders
            int const a = mesh.addVertex(x - 0.1, y - 0.1);
            mesh.addVertex(x + 0.1, y - 0.1);
            mesh.addVertex(x, y + 0.1);
            mesh.addTriangle(a, a + 1, a + 2);
        }
        // Corners of the domain, so that the cells are the unit squares but for the margin.
        mesh.addVertex(0, 0);
        mesh.addVertex(20, 20);
        MeshFunction2D const f = mesh.function();
        std::size_t entries = 0;
        for (auto const& list : f.gridCells) entries += list.size();
        ASSERT_EQ(entries, static_cast<std::size_t>(triangles));
        long long const before = test::allocationCount();
        EXPECT_TRUE(f.evaluate({10.5, 10.5}, nullptr, nullptr));
        EXPECT_EQ(test::allocationCount() > before, triangles > 65536);
    }
}
