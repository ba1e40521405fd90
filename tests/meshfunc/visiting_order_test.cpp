// Arrays of points that are looked up in another order than from first to last.

#include <cmath>
#include <memory>

#include <gtest/gtest.h>

#include <sinew/meshfunc/detail/visiting_order.h>
#include <sinew/meshfunc/location.h>

#include "meshfunc/mesh_probes.h"
#include "meshfunc/mesh_samples.h"
#include "support/bits.h"
#include "support/failing_new.h"

using sinew::Location;
using sinew::Outside;
using sinew::detail::PointArray;
using sinew::detail::VisitingOrder;
using test::Mesh;
using test::Point;
using test::Random;
using test::sameBits;

namespace {

// Large enough for sorting to pay.
MeshFunction2D const& largeFunction()
{
    static MeshFunction2D const function = [] {
        Random random(1401);
        return test::gridMesh(random, 150, 150).function();
    }();
    return function;
}

std::vector<Point> scatteredPoints(std::size_t count)
{
    Random random(1402);
    std::vector<Point> points;
    while (points.size() < count) {
        points.push_back(random.oneIn(50) ? Point(random.hostile(), random.uniform()) : random.point2(-0.02, 1.02));
    }
    return points;
}

std::vector<std::size_t> orderOf(MeshFunction2D const& f, std::vector<Point> const& points)
{
    std::vector<std::size_t> order;
    PointArray const array = {points.data(), points.size()};
    VisitingOrder(f, array).visit(array, [&](std::size_t i, Point const&) { order.push_back(i); });
    return order;
}

bool isFromFirstToLast(std::vector<std::size_t> const& order)
{
    for (std::size_t i = 0; i < order.size(); ++i) {
        if (order[i] != i) return false;
    }
    return true;
}

// Whether each of `count` indices occurs once.
bool isComplete(std::vector<std::size_t> const& order, std::size_t count)
{
    std::vector<bool> seen(count);
    for (std::size_t const i : order) {
        if (i >= count || seen[i]) return false;
        seen[i] = true;
    }
    return order.size() == count;
}

// Compares arrays of points with single calls.
void expectArraysAgree(MeshFunction2D const& f, std::vector<Point> const& points, Outside outside)
{
    std::vector<Point> values(points.size(), Point(7, 7));
    std::vector<float> scalars(points.size(), 7);
    std::unique_ptr<bool[]> const found(new bool[points.size()]);
    std::vector<Location> locations(points.size());
    std::size_t (*many)(MeshFunction2D const&, Point const*, std::size_t, Point*, float*, bool*) = sinew::evaluateMany;
    if (outside == Outside::extrapolated) many = sinew::extrapolateMany;
    std::size_t const count = many(f, points.data(), points.size(), values.data(), scalars.data(), found.get());
    EXPECT_EQ(sinew::locateMany(f, points.data(), points.size(), locations.data(), outside), count);
    std::size_t expectedCount = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        Point value(7, 7);
        float scalar = 7;
        bool const isFound = outside == Outside::excluded ? f.evaluate(points[i], &value, &scalar)
                                                          : f.extrapolate(points[i], &value, &scalar);
        expectedCount += isFound ? 1U : 0U;
        ASSERT_EQ(found[i], isFound);
        ASSERT_TRUE(sameBits(values[i], value));
        ASSERT_TRUE(sameBits(scalars[i], scalar));
        ASSERT_TRUE(test::sameLocation(locations[i], sinew::locate(f, points[i], outside)));
    }
    EXPECT_EQ(count, expectedCount);
}

} // namespace

TEST(VisitingOrder, SortsScatteredPointsOfALargeMesh)
{
    std::vector<Point> const points = scatteredPoints(50000);
    std::vector<std::size_t> const order = orderOf(largeFunction(), points);
    EXPECT_TRUE(isComplete(order, points.size()));
    double way = 0, unsorted = 0; // along x, without special coordinates
    for (std::size_t k = 1; k < order.size(); ++k) {
        double const steps[2] = {points[order[k]].x - points[order[k - 1]].x, points[k].x - points[k - 1].x};
        way += std::fabs(steps[0]) < 1 ? std::fabs(steps[0]) : 0;
        unsorted += std::fabs(steps[1]) < 1 ? std::fabs(steps[1]) : 0;
    }
    EXPECT_LT(way, 0.1 * unsorted);
}

TEST(VisitingOrder, VisitsEachPointOfSeveralPartsOnce)
{
    std::vector<Point> const points = scatteredPoints((std::size_t{2} << 20) + 12345);
    EXPECT_TRUE(isComplete(orderOf(largeFunction(), points), points.size()));
}

TEST(VisitingOrder, KeepsTheOrderWhereSortingDoesNotPay)
{
    Random random(1403);
    std::vector<Point> const few = scatteredPoints(1000);
    EXPECT_TRUE(isFromFirstToLast(orderOf(largeFunction(), few)));
    std::vector<Point> const many = scatteredPoints(50000);
    EXPECT_TRUE(isFromFirstToLast(orderOf(test::gridMesh(random, 20, 20).function(), many)));
    std::vector<Point> near; // each one beside its predecessor
    for (std::size_t i = 0; i < 50000; ++i) near.emplace_back(static_cast<double>(i % 223) / 223, i / 223 / 225.0);
    EXPECT_TRUE(isFromFirstToLast(orderOf(largeFunction(), near)));
    EXPECT_TRUE(orderOf(largeFunction(), {}).empty());
}

TEST(VisitingOrder, KeepsTheOrderWithoutMemory)
{
    std::vector<Point> const points = scatteredPoints(50000);
    std::vector<std::size_t> order;
    order.reserve(points.size());
    MeshFunction2D const& f = largeFunction();
    {
        test::FailingNew const failing(0, test::Failing::all);
        PointArray const array = {points.data(), points.size()};
        VisitingOrder(f, array).visit(array, [&](std::size_t i, Point const&) { order.push_back(i); });
    }
    EXPECT_TRUE(isFromFirstToLast(order));
}

TEST(VisitingOrder, ArraysOfALargeMeshHaveTheBitsOfSingleCalls)
{
    std::vector<Point> const points = scatteredPoints(60000);
    for (Outside const outside : {Outside::excluded, Outside::extrapolated}) {
        expectArraysAgree(largeFunction(), points, outside);
    }
}

// Look-ups that are not sorted are fetched ahead.

TEST(LookupAhead, AnyNumberOfPointsHasTheBitsOfSingleCalls)
{
    Random random(1404);
    MeshFunction2D const f = test::gridMesh(random, 50, 50).function();
    for (std::size_t count = 0; count < 3 * sinew::detail::LookupAhead::kPoints; ++count) {
        SCOPED_TRACE(count);
        expectArraysAgree(f, scatteredPoints(count), Outside::excluded);
    }
    expectArraysAgree(f, scatteredPoints(20000), Outside::extrapolated);
}

TEST(LookupAhead, CellsThatNobodyHasQueriedHaveNothingToFetch)
{
    Random random(1405);
    MeshFunction2D const f = test::gridMesh(random, 200, 200).function(); // builds its cells when they are queried
    expectArraysAgree(f, scatteredPoints(500), Outside::excluded);
}

TEST(LookupAhead, FunctionsWhoseVectorsHaveChangedAreSearchedAsSingleCallsDo)
{
    Random random(1406);
    MeshFunction2D f = test::gridMesh(random, 50, 50).function();
    f.params.resize(1000);
    expectArraysAgree(f, scatteredPoints(2000), Outside::excluded);
    f.gridCells.clear();
    expectArraysAgree(f, scatteredPoints(2000), Outside::excluded);
    expectArraysAgree(MeshFunction2D(true), scatteredPoints(100), Outside::extrapolated);
}
