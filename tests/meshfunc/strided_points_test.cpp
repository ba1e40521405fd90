// Points in arrays of a host: any type, stride and alignment, with the results of single calls.

#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include <sinew/meshfunc/location.h>

#include "meshfunc/mesh_samples.h"
#include "skinning/raw_arrays.h"
#include "support/bits.h"

using sinew::Location;
using sinew::Outside;
using test::Mesh;
using test::Point;
using test::Random;
using test::sameBits;

namespace {

bool sameLocation(Location const& a, Location const& b)
{
    bool same = a.rule == b.rule && a.triangle == b.triangle && a.loop == b.loop && a.segment == b.segment &&
                sameBits(a.distSq, b.distSq);
    for (int k = 0; k < 3; ++k) same = same && a.corners[k] == b.corners[k] && sameBits(a.weights[k], b.weights[k]);
    return same;
}

// The coordinates of `points` in an array of numbers of type T, which may round them.
template <typename T>
test::RawArray<T> arrayOf(std::vector<Point>& points, Random& random)
{
    test::RawArray<T> array(random, points.size(), 2);
    for (std::size_t i = 0; i < points.size(); ++i) {
        array.set(i, 0, static_cast<T>(points[i].x));
        array.set(i, 1, static_cast<T>(points[i].y));
        points[i] = {static_cast<double>(array.get(i, 0)), static_cast<double>(array.get(i, 1))};
    }
    return array;
}

template <typename T>
void expectResultsOfSingleCalls(MeshFunction2D const& f, std::vector<Point> points, Random& random)
{
    test::RawArray<T> const array = arrayOf<T>(points, random);
    sinew::Strided<T const> const view = array;
    std::size_t const count = points.size();
    auto const goOn = [](double) { return true; };
    for (Outside const outside : {Outside::excluded, Outside::extrapolated}) {
        for (bool const withProgress : {false, true}) {
            std::vector<Point> values(count, Point(7, 7));
            std::vector<float> scalars(count, 7);
            std::unique_ptr<bool[]> const found(new bool[count + 1]());
            std::vector<Location> locations(count);
            std::size_t hits = 0, located = 0;
            if (withProgress) {
                hits = (outside == Outside::excluded
                            ? sinew::evaluateMany(f, view, values.data(), scalars.data(), found.get(), goOn)
                            : sinew::extrapolateMany(f, view, values.data(), scalars.data(), found.get(), goOn))
                           .value();
                located = sinew::locateMany(f, view, locations.data(), outside, goOn).value();
            } else {
                hits = outside == Outside::excluded
                           ? sinew::evaluateMany(f, view, values.data(), scalars.data(), found.get())
                           : sinew::extrapolateMany(f, view, values.data(), scalars.data(), found.get());
                located = sinew::locateMany(f, view, locations.data(), outside);
            }
            std::size_t expectedHits = 0;
            for (std::size_t i = 0; i < count; ++i) {
                Point value(7, 7);
                float scalar = 7;
                bool const hit = outside == Outside::excluded ? f.evaluate(points[i], &value, &scalar)
                                                              : f.extrapolate(points[i], &value, &scalar);
                expectedHits += hit ? 1U : 0U;
                ASSERT_EQ(found[i], hit) << i;
                ASSERT_TRUE(sameBits(values[i], value) && sameBits(scalars[i], scalar)) << i;
                ASSERT_TRUE(sameLocation(locations[i], sinew::locate(f, points[i], outside))) << i;
            }
            EXPECT_EQ(hits, expectedHits);
            EXPECT_EQ(located, expectedHits);
        }
    }
}

std::vector<Point> hostilePoints(std::size_t count, Random& random)
{
    std::vector<Point> points;
    while (points.size() < count) {
        points.push_back(random.oneIn(9) ? Point(random.hostile(), random.uniform()) : random.point2(-0.2, 1.2));
    }
    return points;
}

} // namespace

TEST(StridedPoints, HaveTheResultsOfSingleCalls)
{
    Random random(20261201);
    for (Mesh const& mesh : {test::islands(3), test::gridMesh(random, 9, 7)}) {
        MeshFunction2D const f = mesh.function();
        for (std::size_t const count : {0, 1, 2, 5, 63, 64, 65, 300}) {
            for (int trial = 0; trial < 5; ++trial) {
                SCOPED_TRACE(testing::Message() << count << " points, trial " << trial);
                expectResultsOfSingleCalls<double>(f, hostilePoints(count, random), random);
                expectResultsOfSingleCalls<float>(f, hostilePoints(count, random), random);
            }
        }
    }
}

TEST(StridedPoints, AreSortedByPlaceInALargeMeshWithTheSameResults)
{
    Random random(20261202);
    MeshFunction2D const f = test::gridMesh(random, 130, 130).function(); // above the limit for sorting
    expectResultsOfSingleCalls<double>(f, hostilePoints(6000, random), random);
    expectResultsOfSingleCalls<float>(f, hostilePoints(6000, random), random);
}

TEST(StridedPoints, MayBeNoneOrAllTheSame)
{
    MeshFunction2D const f = test::islands(2).function();
    EXPECT_EQ(sinew::evaluateMany(f, sinew::RealArray(), nullptr, nullptr, nullptr), 0U);
    EXPECT_EQ(sinew::locateMany(f, sinew::RealArray(), nullptr), 0U);
    double const place[] = {0.4, 0.6};
    std::vector<Point> values(10);
    EXPECT_EQ(sinew::extrapolateMany(f, sinew::Strided<double const>(place, 10, 0), values.data(), nullptr, nullptr),
              10U);
    for (Point const& value : values) EXPECT_TRUE(sameBits(value, values.front()));
}
