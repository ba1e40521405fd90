// Rasters compared with single calls, pixel by pixel and bit for bit, at every vector width.

#include <cmath>
#include <limits>
#include <memory>

#include <gtest/gtest.h>

#include <sinew/meshfunc/detail/raster_query.h>
#include <sinew/meshfunc/raster.h>

#include "meshfunc/mesh_probes.h"
#include "meshfunc/mesh_samples.h"
#include "support/bits.h"
#include "support/vector_widths.h"

using sinew::Location;
using sinew::LocationRule;
using sinew::Outside;
using sinew::Raster;
using test::Mesh;
using test::Point;
using test::Random;
using test::sameBits;

namespace {

// What a pixel holds before a call, and afterwards where nothing is written.
Point const kUnwritten(7, 8);
constexpr float kUnwrittenScalar = 9;

std::size_t strideOf(Raster const& raster)
{
    return raster.rowStride > 0 ? raster.rowStride : static_cast<std::size_t>(raster.width);
}

// All outputs of the raster queries. The arrays are exactly as long as they must be, so that a sanitizer notices
// accesses behind their end.
struct Outputs
{
    std::vector<Point> values;
    std::vector<float> scalars;
    std::unique_ptr<bool[]> found;
    std::vector<Location> locations;
    std::size_t size;
    std::size_t foundCount = 0;
    std::size_t locatedCount = 0;

    explicit Outputs(Raster const& raster)
    {
        bool const isEmpty = raster.width <= 0 || raster.height <= 0;
        size = isEmpty ? 0
                       : strideOf(raster) * static_cast<std::size_t>(raster.height - 1) +
                             static_cast<std::size_t>(raster.width);
        values.assign(size, kUnwritten);
        scalars.assign(size, kUnwrittenScalar);
        locations.resize(size);
        for (Location& location : locations) location.triangle = -5; // differs from every result
        found = std::make_unique<bool[]>(size);
    }
};

// The oracle: one call for each pixel.
Outputs bySingleCalls(MeshFunction2D const& f, Raster const& raster, Outside outside)
{
    Outputs out(raster);
    for (int row = 0; row < raster.height; ++row) {
        for (int column = 0; column < raster.width; ++column) {
            Point const p(raster.origin.x + column * raster.step.x, raster.origin.y + row * raster.step.y);
            std::size_t const at = static_cast<std::size_t>(column) + strideOf(raster) * static_cast<std::size_t>(row);
            bool const found = outside == Outside::excluded ? f.evaluate(p, &out.values[at], &out.scalars[at])
                                                            : f.extrapolate(p, &out.values[at], &out.scalars[at]);
            out.found[at] = found;
            out.foundCount += found ? 1U : 0U;
            out.locations[at] = sinew::locate(f, p, outside);
            out.locatedCount += out.locations[at].rule != LocationRule::none ? 1U : 0U;
        }
    }
    return out;
}

void expectSame(Outputs const& out, Outputs const& expected)
{
    EXPECT_EQ(out.foundCount, expected.foundCount);
    EXPECT_EQ(out.locatedCount, expected.locatedCount);
    for (std::size_t i = 0; i < out.size; ++i) {
        SCOPED_TRACE(i);
        ASSERT_TRUE(sameBits(out.values[i], expected.values[i]));
        ASSERT_TRUE(sameBits(out.scalars[i], expected.scalars[i]));
        ASSERT_EQ(out.found[i], expected.found[i]);
        ASSERT_TRUE(test::sameLocation(out.locations[i], expected.locations[i]));
    }
}

void expectSame(MeshFunction2D const& f, Raster const& raster)
{
    SCOPED_TRACE(testing::Message() << "origin " << raster.origin.x << ' ' << raster.origin.y << " step "
                                    << raster.step.x << ' ' << raster.step.y << " size " << raster.width << " x "
                                    << raster.height << " stride " << raster.rowStride);
    for (Outside const outside : {Outside::excluded, Outside::extrapolated}) {
        Outputs const expected = bySingleCalls(f, raster, outside);
        for (auto const width : test::vectorWidths()) {
            Outputs out(raster);
            out.foundCount = sinew::detail::valuesOnRaster(f, raster, outside, out.values.data(), out.scalars.data(),
                                                           out.found.get(), width);
            out.locatedCount = sinew::detail::locationsOnRaster(f, raster, outside, out.locations.data(), width);
            expectSame(out, expected);
            if (testing::Test::HasFailure()) return;
        }
    }
}

// A raster over a part of the domain of f or more than it, of any orientation.
Raster rasterOver(Random& random, MeshFunction2D const& f, int most)
{
    Raster raster;
    raster.width = 1 + random.below(most);
    raster.height = 1 + random.below(most);
    Point const extent = f.domainMax - f.domainMin;
    for (int k = 0; k < 2; ++k) {
        int const count = k == 0 ? raster.width : raster.height;
        double const size = random.oneIn(3) ? 1.4 : std::pow(random.uniform(0, 1), 3);
        double const low = random.oneIn(3) ? -0.2 : random.uniform(-0.1, 1);
        double const step = size * extent[k] / count;
        bool const descends = random.oneIn(4);
        raster.step[k] = descends ? -step : step;
        raster.origin[k] = f.domainMin[k] + low * extent[k] + (descends ? step * count : 0);
    }
    if (random.oneIn(2)) raster.rowStride = static_cast<std::size_t>(raster.width + random.below(9));
    return raster;
}

void expectSame(Random& random, Mesh const& mesh, int rasters, int most)
{
    MeshFunction2D const f = mesh.function();
    for (int i = 0; i < rasters && !testing::Test::HasFailure(); ++i) expectSame(f, rasterOver(random, f, most));
}

} // namespace

TEST(Raster, EvenAndUnevenMeshes)
{
    Random random(1301);
    for (int side : {1, 2, 7, 30}) expectSame(random, test::gridMesh(random, side, side), 4, 150);
    expectSame(random, test::unevenMesh(random, 40, 40, 5), 4, 150);
}

TEST(Raster, PixelsOnVerticesEdgesAndCellBorders)
{
    Random random(1302);
    MeshFunction2D const f = test::gridMesh(random, 16, 16, 0).function(); // vertices at multiples of 1/16
    Raster raster;
    raster.origin = {-0.25, -0.25};
    raster.step = {1.0 / 32, 1.0 / 64};
    raster.width = 48;
    raster.height = 96;
    expectSame(f, raster);
    raster.origin = f.domainMin; // pixels on the borders of the 20 x 20 cells
    raster.step = 0.0125 * (f.domainMax - f.domainMin);
    raster.width = raster.height = 81;
    expectSame(f, raster);
}

TEST(Raster, LargeMeshesWithFewerAndWithMorePixelsThanTriangles)
{
    Random random(1303);
    Mesh const mesh = test::gridMesh(random, 200, 200); // more triangles than are prepared at once
    expectSame(random, mesh, 3, 12);
    expectSame(random, mesh, 3, 300);
}

TEST(Raster, OverlappingTriangles)
{
    Random random(1304);
    for (double size : {0.001, 0.02, 0.1, 1.0}) expectSame(random, test::soup(random, 2000, size), 3, 120);
    expectSame(random, test::gridMesh(random, 30, 30, 3.0), 3, 120);
}

TEST(Raster, ManyTrianglesInTheSamePlace)
{
    Random random(1305);
    Mesh mesh = test::gridMesh(random, 4, 4);
    std::vector<int> const once = mesh.facets;
    for (int i = 0; i < 100; ++i) mesh.facets.insert(mesh.facets.end(), once.begin(), once.end());
    expectSame(random, mesh, 4, 150);
}

TEST(Raster, Slivers)
{
    Random random(1306);
    for (int trial = 0; trial < 12; ++trial) {
        SCOPED_TRACE(trial);
        Mesh mesh = test::gridMesh(random, 6, 6);
        test::addSlivers(random, &mesh, 300, std::ldexp(1.0, -4 * trial));
        expectSame(random, mesh, 2, 100);
    }
}

TEST(Raster, ManyLoops)
{
    Random random(1307);
    expectSame(random, test::islands(9), 6, 150);
}

TEST(Raster, ChartsWithLongBoundaries)
{
    Random random(1317);
    for (bool const waves : {true, false}) {
        expectSame(random, test::atlas(random, 3, 8, waves), 4, 150);
        expectSame(random, test::atlas(random, 2, 40, waves), 4, 150);
        expectSame(random, test::atlas(random, 1, 90, waves), 4, 150);
    }
}

TEST(Raster, PixelsAtEqualDistancesFromSeveralSegmentsAndLoops)
{
    Random random(1318);
    for (int const side : {4, 5, 8, 16, 33}) {
        SCOPED_TRACE(side);
        MeshFunction2D const discs = test::atlas(random, 2, side, false).function();
        Raster raster; // symmetric about the lines between the charts and about the middles of charts
        raster.origin = {-0.25, -0.25};
        raster.step = {1.0 / 64, 1.0 / 64};
        raster.width = raster.height = 97;
        expectSame(discs, raster);
        MeshFunction2D const square = test::gridMesh(random, side, side, 0).function();
        raster.step = {1.0 / (4 * side), 1.0 / (4 * side)}; // on the lines between equal segments
        raster.origin = {-raster.step.x * 8, -raster.step.y * 8};
        expectSame(square, raster);
    }
}

TEST(Raster, HostileMeshes)
{
    Random random(1308);
    for (int trial = 0; trial < 80 && !HasFailure(); ++trial) {
        SCOPED_TRACE(trial);
        expectSame(random, test::hostileMesh(random), 2, 40);
    }
}

TEST(Raster, HostileOriginsAndSteps)
{
    Random random(1309);
    MeshFunction2D const f = test::gridMesh(random, 10, 10).function();
    for (int trial = 0; trial < 400 && !HasFailure(); ++trial) {
        Raster raster;
        for (int k = 0; k < 2; ++k) {
            raster.origin[k] = random.oneIn(2) ? random.hostile() : random.uniform(0, 1);
            raster.step[k] = random.oneIn(2) ? random.hostile() : random.uniform(-0.1, 0.1);
        }
        raster.width = random.below(12);
        raster.height = random.below(12);
        expectSame(f, raster);
    }
}

TEST(Raster, StepsOfZeroAndBelowTheSpacingOfDoubles)
{
    Random random(1310);
    Mesh mesh = test::gridMesh(random, 10, 10);
    for (double const step : {0.0, -0.0, 1e-17, 1e-13, -1e-13}) {
        for (double const offset : {0.0, 4096.0}) {
            Mesh moved = mesh;
            for (Point& p : moved.params) p = p + Point(offset, offset);
            Raster raster;
            raster.origin = {offset + 0.3, offset + 0.7};
            raster.step = {step, random.oneIn(2) ? step : 0.01};
            raster.width = 200;
            raster.height = 20;
            expectSame(moved.function(), raster);
        }
    }
}

TEST(Raster, DomainsOfEveryScale)
{
    Random random(1311);
    for (double scale : {1e-7, 1e-3, 1e6, 1e60, 1e140, 1e152}) {
        for (double offset : {0.0, 1e4, 1e9}) {
            SCOPED_TRACE(testing::Message() << scale << ' ' << offset);
            Mesh mesh = test::gridMesh(random, 12, 12);
            for (Point& p : mesh.params) p = scale * (p + Point(offset, -offset));
            expectSame(random, mesh, 2, 60);
        }
    }
}

TEST(Raster, DomainsWithoutExtentAlongAnAxis)
{
    Random random(1312);
    Mesh mesh;
    for (int i = 0; i < 5; ++i) mesh.addVertex(0.5, i);
    for (int i = 0; i < 3; ++i) mesh.addTriangle(i, i + 1, i + 2);
    Raster raster;
    raster.origin = {0.25, -1};
    raster.step = {0.0625, 0.25};
    raster.width = 9;
    raster.height = 30;
    expectSame(mesh.function(), raster);
    mesh.addVertex(std::numeric_limits<double>::quiet_NaN(), 1);
    mesh.addTriangle(5, 0, 1);
    expectSame(mesh.function(), raster);
}

TEST(Raster, FunctionsWithoutTrianglesAndWithoutAGrid)
{
    Raster raster;
    raster.width = raster.height = 3;
    expectSame(MeshFunction2D(true), raster);
    Mesh mesh;
    mesh.addVertex(0, 0);
    mesh.addVertex(2, 2);
    expectSame(mesh.function(), raster);
}

TEST(Raster, FunctionsWithTheOlderExtrapolationOrWithoutBoundaries)
{
    Random random(1313);
    Mesh const mesh = test::gridMesh(random, 8, 8);
    MeshFunction2D f = mesh.function();
    f.extrapolateFlag = false;
    expectSame(f, rasterOver(random, f, 50));
    f.initEvaluatorHelper(); // drops the boundaries
    f.extrapolateFlag = true;
    expectSame(f, rasterOver(random, f, 50));
}

TEST(Raster, OneVectorOfTheMeshMayHaveChangedItsLength)
{
    Random random(1314);
    for (int trial = 0; trial < 20; ++trial) {
        Mesh const mesh = test::gridMesh(random, 8, 8);
        MeshFunction2D f = mesh.function();
        Raster const raster = rasterOver(random, f, 50);
        auto const shorter = [&random](std::size_t size) {
            return static_cast<std::size_t>(random.below(static_cast<int>(size)));
        };
        if (random.oneIn(2)) f.values.resize(shorter(f.values.size()));
        if (random.oneIn(2)) f.normaldots.resize(shorter(f.normaldots.size()));
        if (random.oneIn(2)) f.facets.resize(shorter(f.facets.size()));
        if (random.oneIn(4)) f.gridCells.resize(shorter(f.gridCells.size()));
        expectSame(f, raster);
    }
}

TEST(Raster, WithoutPixelsNothingIsTouched)
{
    MeshFunction2D const f = test::square().function();
    for (int const width : {0, -1, 3}) {
        Raster raster;
        raster.width = width;
        raster.height = width == 3 ? 0 : 3;
        EXPECT_EQ(sinew::evaluateRaster(f, raster, nullptr, nullptr, nullptr), 0U);
        EXPECT_EQ(sinew::extrapolateRaster(f, raster, nullptr, nullptr, nullptr), 0U);
        EXPECT_EQ(sinew::locateRaster(f, raster, nullptr), 0U);
    }
}

TEST(Raster, OutputsThatAreNotWantedMayBeNull)
{
    Random random(1315);
    MeshFunction2D const f = test::gridMesh(random, 8, 8).function();
    Raster const raster = rasterOver(random, f, 90);
    Outputs const expected = bySingleCalls(f, raster, Outside::excluded);
    Outputs const extrapolated = bySingleCalls(f, raster, Outside::extrapolated);
    EXPECT_EQ(sinew::evaluateRaster(f, raster, nullptr, nullptr, nullptr), expected.foundCount);
    EXPECT_EQ(sinew::extrapolateRaster(f, raster, nullptr, nullptr, nullptr), extrapolated.foundCount);
    Outputs out(raster);
    sinew::evaluateRaster(f, raster, out.values.data(), nullptr, nullptr);
    EXPECT_TRUE(sameBits(out.values, expected.values));
    sinew::evaluateRaster(f, raster, nullptr, out.scalars.data(), nullptr);
    EXPECT_TRUE(sameBits(out.scalars, expected.scalars));
    sinew::evaluateRaster(f, raster, nullptr, nullptr, out.found.get());
    for (std::size_t i = 0; i < out.size; ++i) EXPECT_EQ(out.found[i], expected.found[i]);
}

TEST(Raster, ThePublicCallsUseTheWidestVectors)
{
    Random random(1316);
    MeshFunction2D const f = test::gridMesh(random, 8, 8).function();
    Raster const raster = rasterOver(random, f, 90);
    for (Outside const outside : {Outside::excluded, Outside::extrapolated}) {
        Outputs out(raster);
        std::size_t (*query)(MeshFunction2D const&, Raster const&, Point*, float*, bool*) = sinew::evaluateRaster;
        if (outside == Outside::extrapolated) query = sinew::extrapolateRaster;
        out.foundCount = query(f, raster, out.values.data(), out.scalars.data(), out.found.get());
        out.locatedCount = sinew::locateRaster(f, raster, out.locations.data(), outside);
        expectSame(out, bySingleCalls(f, raster, outside));
    }
}

TEST(PixelPoint, IsOneProductAndOneSum)
{
    Raster raster;
    raster.origin = {0.1, -3};
    raster.step = {0.3, -0.7};
    EXPECT_TRUE(sameBits(sinew::pixelPoint(raster, 3, 5), Point(0.1 + 3 * 0.3, -3 + 5 * -0.7)));
}
