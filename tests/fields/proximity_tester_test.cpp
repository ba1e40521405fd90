#include <sinew/fields/proximity_tester.h>

#include <limits>
#include <memory>
#include <utility>

#include <gtest/gtest.h>

#include "fields/reference_proximity_tester.h"
#include "support/bits.h"
#include "support/random.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

bool isFalseEverywhere(ProximityTester const& tester)
{
    for (double x : {-1.0, 0.0, 0.5, 1e300}) {
        if (tester.test({x, x, x}) || tester.test({x, 0, 0})) return false;
    }
    return tester.occupied.empty() && tester.cellCount[0] == 0 && tester.cellCount[1] == 0 &&
           tester.cellCount[2] == 0 && tester.cellSize[0] == 1 && tester.cellSize[1] == 1 && tester.cellSize[2] == 1 &&
           tester.origin == Vector3() && tester.axes[1] == Vector3(0, 1, 0);
}

bool sameGrid(ProximityTester const& a, reference::ProximityTester const& b)
{
    for (int i = 0; i < 3; ++i) {
        if (a.cellCount[i] != b.cellCount[i] || !test::sameBits(a.cellSize[i], b.cellSize[i])) return false;
        if (!test::sameBits(a.axes[i], b.axes[i])) return false;
    }
    return test::sameBits(a.origin, b.origin) && a.occupied == b.occupied;
}

double least(double a, double b)
{
    return b < a ? b : a;
}

} // namespace

TEST(ProximityTester, EmptySetTestsFalseEverywhere)
{
    EXPECT_TRUE(isFalseEverywhere(ProximityTester({}, 1.0)));
}

TEST(ProximityTester, UnusableRadiusOrExtentTestsFalseEverywhere)
{
    std::vector<Vector3> const points = {{0, 0, 0}, {0.5, 0.5, 0.5}};
    for (double radius : {0.0, -0.0, -1.0, kNaN, kInfinity, -kInfinity}) {
        SCOPED_TRACE(radius);
        EXPECT_TRUE(isFalseEverywhere(ProximityTester(points, radius)));
    }
    EXPECT_TRUE(isFalseEverywhere(ProximityTester({{0, 0, 0}, {kInfinity, 0, 0}}, 1.0)));
    EXPECT_TRUE(isFalseEverywhere(ProximityTester({{0, -kInfinity, 0}}, 1.0)));
    EXPECT_TRUE(isFalseEverywhere(ProximityTester({{-1e308, 0, 0}, {1e308, 0, 0}}, 1e307)));
    EXPECT_TRUE(isFalseEverywhere(ProximityTester({{0, kNaN, 0}, {0, 0, 0}}, 1.0))) << "NaN in the first point";
}

TEST(ProximityTester, GridOfASinglePointHasNoBorderAbove)
{
    Vector3 const q(3, -2, 7);
    ProximityTester const tester({q}, 1.0);
    for (int a = 0; a < 3; ++a) EXPECT_EQ(tester.cellCount[a], 2);
    EXPECT_EQ(tester.origin, q - Vector3(1, 1, 1));
    EXPECT_TRUE(tester.test(q));
    EXPECT_TRUE(tester.test(q + Vector3(-0.5, 0, 0)));
    EXPECT_TRUE(tester.test(q + Vector3(0.5, 0, 0)));
    EXPECT_TRUE(tester.test(q - Vector3(1, 1, 1))) << "the lowest corner belongs to the grid";
    EXPECT_FALSE(tester.test(q + Vector3(1, 0, 0)));
    EXPECT_FALSE(tester.test(q + Vector3(0, 1, 0)));
    EXPECT_FALSE(tester.test(q + Vector3(0, 0, 1)));
    EXPECT_FALSE(tester.test(q - Vector3(1.5, 0, 0)));
}

TEST(ProximityTester, GridEndsOneCellAboveTheRoundedExtent)
{
    // The extent of 9.25 is rounded up to ten cells, and one is added, so the grid ends 1.75 above the set.
    ProximityTester const rounded({{0, 0, 0}, {9.25, 0, 0}}, 1.0);
    EXPECT_EQ(rounded.cellCount[0], 12);
    EXPECT_TRUE(rounded.test({10.999, 0, 0}));
    EXPECT_FALSE(rounded.test({11, 0, 0}));
    // An extent of ten whole cells is not rounded, so the grid ends one radius above the set. Its end is not included.
    ProximityTester const whole({{0, 0, 0}, {10, 0, 0}}, 1.0);
    EXPECT_EQ(whole.cellCount[0], 12);
    EXPECT_TRUE(whole.test({10.999, 0, 0}));
    EXPECT_FALSE(whole.test({11, 0, 0}));
    EXPECT_TRUE(whole.test({-1, 0, 0})) << "below the set there is a whole cell of border";
    // Without extent along y and z the cell of the point is the last one there.
    EXPECT_TRUE(whole.test({10, 0.999, 0}));
    EXPECT_FALSE(whole.test({10, 1, 0}));
    EXPECT_FALSE(whole.test({0, 0, 1}));
    EXPECT_TRUE(whole.test({0, 0, -1}));
}

TEST(ProximityTester, CellsOfALongLineAreDoubledFromZOn)
{
    std::vector<Vector3> points;
    for (int i = 0; i <= 1000; ++i) points.push_back({static_cast<double>(i), 0, 0});
    // 100000 cells along x and 0 along y and z: their product is 0, which is below the limit.
    ProximityTester const flat(points, 0.01);
    EXPECT_EQ(flat.cellCount[0], 100002);
    EXPECT_EQ(flat.cellSize[2], 0.01);

    points.push_back({0, 0.005, 0.005}); // now one cell along y and z
    ProximityTester const tester(points, 0.01);
    EXPECT_EQ(tester.cellSize[0], 0.01 * 16) << "6250 cells; 12500 are too many";
    EXPECT_EQ(tester.cellSize[1], 0.01 * 16);
    EXPECT_EQ(tester.cellSize[2], 0.01 * 16);
    EXPECT_EQ(tester.cellCount[0], 6252);
}

TEST(ProximityTester, DoublesZThenYThenX)
{
    // 22 x 22 x 22 = 10648 cells are too many; 22 x 22 x 11 are few enough.
    ProximityTester const once({{0, 0, 0}, {22, 22, 22}}, 1.0);
    EXPECT_EQ(once.cellSize[0], 1);
    EXPECT_EQ(once.cellSize[1], 1);
    EXPECT_EQ(once.cellSize[2], 2);
    // 30^3 = 27000, 13500 after z, 6750 after y.
    ProximityTester const twice({{0, 0, 0}, {30, 30, 30}}, 1.0);
    EXPECT_EQ(twice.cellSize[0], 1);
    EXPECT_EQ(twice.cellSize[1], 2);
    EXPECT_EQ(twice.cellSize[2], 2);
    EXPECT_EQ(twice.cellCount[0], 32);
    EXPECT_EQ(twice.cellCount[1], 17);
}

TEST(ProximityTester, TenThousandCellsAreTooMany)
{
    ProximityTester const tester({{0, 0, 0}, {100, 100, 1}}, 1.0);
    EXPECT_EQ(tester.cellSize[1], 2)
        << "10000 is not below the limit; doubling z (1 cell remains 1) does not help, so y follows";
    EXPECT_EQ(tester.cellSize[0], 1);
    ProximityTester const below({{0, 0, 0}, {99, 101, 1}}, 1.0);
    EXPECT_EQ(below.cellSize[2], 1) << "9999 cells";
}

TEST(ProximityTester, IndicesOfAFlatSetFitIntoInt)
{
    ProximityTester const tester({{0, 0, 0}, {1, 0, 0}}, 1e-12);
    double const cells = 1.0 * tester.cellCount[0] * tester.cellCount[1] * tester.cellCount[2];
    EXPECT_LE(cells, 2147483647.0);
    EXPECT_GT(cells * 2, 2147483647.0) << "cells half as large would be too many";
    EXPECT_EQ(tester.occupied.size(), static_cast<std::size_t>(cells));
    EXPECT_TRUE(tester.test({0, 0, 0}));
    EXPECT_TRUE(tester.test({1, 0, 0}));
    EXPECT_FALSE(tester.test({0.5, 0, 0}));
}

TEST(ProximityTester, NaNAfterValidPointsEndsTheMarking)
{
    Vector3 const first(0, 0, 0);
    for (Vector3 const& bad : {Vector3(kNaN, 0, 0), Vector3(0, kNaN, 0), Vector3(0, 0, kNaN)}) {
        ProximityTester const tester({first, {10, 10, 10}, bad, {5, 5, 5}}, 1.0);
        EXPECT_TRUE(tester.test(first));
        EXPECT_TRUE(tester.test({10, 10, 10}));
        EXPECT_FALSE(tester.test({5, 5, 5})) << "a point after the NaN";
        EXPECT_FALSE(tester.test({-0.5, 0, 0})) << "no dilation";
    }
}

TEST(ProximityTester, CoordinatesBeyondIntOrNotFiniteTestFalse)
{
    ProximityTester const tester({{0, 0, 0}, {3, 3, 3}}, 1.0);
    for (double odd : {kNaN, kInfinity, -kInfinity, 1e10, -1e10, 4294967296.0, 1e300, -1e300}) {
        EXPECT_FALSE(tester.test({odd, 0, 0})) << odd;
        EXPECT_FALSE(tester.test({0, odd, 0})) << odd;
        EXPECT_FALSE(tester.test({0, 0, odd})) << odd;
    }
}

TEST(ProximityTester, MarksEveryNeighbourAndNoOtherCell)
{
    // Two points at the corners keep the middle point away from the border. Cells are unit cubes that start at 0.
    ProximityTester const tester({{0, 0, 0}, {12, 12, 12}, {6.5, 6.5, 6.5}}, 1.0);
    for (double x = 4.5; x < 9; ++x) {
        for (double y = 4.5; y < 9; ++y) {
            for (double z = 4.5; z < 9; ++z) {
                bool const neighbour = std::fabs(x - 6.5) <= 1 && std::fabs(y - 6.5) <= 1 && std::fabs(z - 6.5) <= 1;
                EXPECT_EQ(tester.test({x, y, z}), neighbour) << x << " " << y << " " << z;
            }
        }
    }
}

TEST(ProximityTester, NearPointsInsideTheGridTestTrueAndFarOnesFalse)
{
    test::Random random(411);
    for (int trial = 0; trial < 100; ++trial) {
        SCOPED_TRACE(trial);
        std::vector<Vector3> const points = random.points(1 + random.below(40));
        double const radius = random.uniform(0.02, 0.5);
        ProximityTester const tester(points, radius);
        Vector3 const size(tester.cellSize[0], tester.cellSize[1], tester.cellSize[2]);
        for (int i = 0; i < 300; ++i) {
            Vector3 const p = random.point(-1.6, 1.6);
            double nearest = kInfinity;
            for (Vector3 const& q : points) nearest = least(nearest, dist(p, q));
            Vector3 const top = tester.origin + Vector3(size.x * tester.cellCount[0], size.y * tester.cellCount[1],
                                                        size.z * tester.cellCount[2]);
            bool const inside = p.x < top.x && p.y < top.y && p.z < top.z;
            if (nearest <= radius && inside) {
                EXPECT_TRUE(tester.test(p));
            }
            if (nearest > 2 * size.length()) {
                EXPECT_FALSE(tester.test(p));
            }
        }
    }
}

TEST(ProximityTester, EqualsTheReference)
{
    test::Random random(412);
    for (int trial = 0; trial < 400; ++trial) {
        SCOPED_TRACE(trial);
        double const scale = trial % 4 == 0 ? 1e9 : (trial % 4 == 1 ? 1e-9 : 1.0);
        Vector3 const stretch(random.oneIn(4) ? 0.0 : scale, random.oneIn(4) ? 0.0 : scale, scale);
        std::vector<Vector3> points;
        Vector3 const centre = random.point(-scale, scale) * (random.oneIn(3) ? 1e6 : 1.0);
        for (int i = 0; i <= random.below(60); ++i) {
            Vector3 const p = random.point();
            points.push_back(centre + Vector3(p.x * stretch.x, p.y * stretch.y, p.z * stretch.z));
        }
        if (random.oneIn(3)) points.push_back(points[0]); // a repeated point
        if (random.oneIn(10)) points.push_back({kNaN, 0, 0});
        double const radius = scale * random.uniform(0.001, 0.7);
        ProximityTester const tester(points, radius);
        reference::ProximityTester const expected(points, radius);
        ASSERT_TRUE(sameGrid(tester, expected));
        for (int i = 0; i < 200; ++i) {
            Vector3 const p = random.oneIn(10) ? random.hostilePoint() : centre + random.point(-1.5, 1.5) * scale;
            EXPECT_EQ(tester.test(p), expected.test(p)) << p;
        }
    }
}

TEST(ProximityTester, ManyTestsGiveTheResultsOfSingleTests)
{
    test::Random random(413);
    ProximityTester const tester(random.points(30), 0.1);
    for (int count : {0, 1, 2, 3, 7, 8, 9, 63, 1000}) {
        std::vector<Vector3> points;
        for (int i = 0; i < count; ++i) points.push_back(random.oneIn(5) ? random.hostilePoint() : random.point());
        std::unique_ptr<bool[]> const results(new bool[points.size() + 1]());
        sinew::testMany(tester, points.data(), points.size(), results.get());
        for (std::size_t i = 0; i < points.size(); ++i) EXPECT_EQ(results[i], tester.test(points[i])) << points[i];
        EXPECT_FALSE(results[points.size()]) << "nothing is written beyond the end";
    }
    sinew::testMany(tester, nullptr, 0, nullptr);
    bool result = true;
    Vector3 const p;
    sinew::testMany(ProximityTester({}, 1.0), &p, 1, &result);
    EXPECT_FALSE(result);
}

TEST(ProximityTester, FieldsThatContradictEachOtherReadNothingBeyondTheBits)
{
    test::Random random(414);
    ProximityTester const made(random.points(40), 0.2);
    int const counts[] = {-2147483647 - 1, -1, 0, 1, 3, 1000, 65536, 46341, 2147483647};
    for (int trial = 0; trial < 2000; ++trial) {
        SCOPED_TRACE(trial);
        ProximityTester edited = made;
        for (int a = 0; a < 3; ++a) {
            if (!random.oneIn(3)) edited.cellCount[a] = counts[random.below(9)];
            if (random.oneIn(4)) edited.cellSize[a] = random.hostile();
        }
        if (random.oneIn(3)) edited.occupied.resize(static_cast<std::size_t>(random.below(100)), true);
        for (int i = 0; i < 20; ++i) {
            Vector3 const p = random.oneIn(3) ? random.hostilePoint() : random.point(-1, 1) * random.spread(0, 31);
            bool const result = edited.test(p);
            EXPECT_FALSE(result && edited.occupied.empty());
        }
    }
}

TEST(ProximityTester, WithoutBitsTestsFalseEverywhere)
{
    test::Random random(415);
    std::vector<Vector3> const points = random.points(10);
    ProximityTester emptied(points, 0.5);
    ProximityTester const kept = std::move(emptied);
    for (Vector3 const& p : points) {
        EXPECT_TRUE(kept.test(p));
        EXPECT_FALSE(emptied.test(p)) << "moved from"; // NOLINT(bugprone-use-after-move)
    }
}

TEST(ProximityTester, AnIndexThatWouldOverflowAnIntIsBeyondTheBits)
{
    ProximityTester tester({{0, 0, 0}}, 1.0);
    tester.occupied.assign(8, true);
    tester.origin = {0, 0, 0};
    for (int& count : tester.cellCount) count = 65536;
    EXPECT_TRUE(tester.test({7, 0, 0}));
    EXPECT_FALSE(tester.test({8, 0, 0}));
    // 65536 * 65536 is 0 modulo 2^32.
    EXPECT_FALSE(tester.test({0, 0, 1}));
    EXPECT_FALSE(tester.test({0, 32768, 1}));
}
