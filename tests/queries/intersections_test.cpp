#include <sinew/queries/intersections.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>

#include <gtest/gtest.h>

#include "queries/reference_intersections.h"
#include "support/bits.h"
#include "support/random.h"

namespace {

using test::sameBits;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
UVector3 const kX(1, 0, 0);
UVector3 const kY(0, 1, 0);
UVector3 const kZ(0, 0, 1);
constexpr Vector3 kOrigin;

double below(double x)
{
    return std::nextafter(x, 0.0);
}

// A direction with exactly these components. The constructor of UVector3 would normalise them.
UVector3 exactly(double x, double y, double z)
{
    UVector3 d;
    d.x = x;
    d.y = y;
    d.z = z;
    return d;
}

bool allNaN(Vector3 const& v)
{
    return std::isnan(v.x) && std::isnan(v.y) && std::isnan(v.z);
}

// Random input for all records.
struct Scene
{
    Vector3 points[4];
    UVector3 d1;
    UVector3 d2;
    double tol;

    explicit Scene(test::Random& random)
    {
        int const kind = random.below(4); // 2: a coarse lattice with many ties and degenerate cases; 3: hostile
        auto const next = [&]() -> Vector3 {
            if (kind == 3) return random.hostilePoint();
            if (kind != 2) return random.point();
            double const x = random.below(5) - 2;
            double const y = random.below(5) - 2;
            return {x, y, static_cast<double>(random.below(3) - 1)};
        };
        for (Vector3& p : points) p = next();
        d1 = UVector3(next());
        d2 = random.oneIn(4) ? d1 : UVector3(next());
        tol = kind == 3 ? random.hostile() : (random.oneIn(4) ? 0.0 : random.uniform(-0.1, 1.0));
    }
};

} // namespace

TEST(IntersectionRecords, StartWithA32BitCodeAndKeepTheOrderOfTheirFields)
{
    static_assert(std::is_same<decltype(LineLineInt::result), std::int32_t>::value);
    // Where double may stand at any multiple of 4, as on i686, nothing separates the code from the point.
    constexpr std::size_t kPoint = std::max(sizeof(std::int32_t), alignof(Vector3));
    constexpr std::size_t kNext = kPoint + sizeof(Vector3);
    static_assert(offsetof(LineLineInt, result) == 0 && offsetof(LineLineInt, point) == kPoint &&
                  offsetof(LineLineInt, t1) == kNext && offsetof(LineLineInt, t2) == kNext + sizeof(double));
    static_assert(offsetof(PlanePlaneInt, result) == 0 && offsetof(PlanePlaneInt, point) == kPoint &&
                  offsetof(PlanePlaneInt, dir) == kNext);
    static_assert(offsetof(LinePlaneInt, result) == 0 && offsetof(LinePlaneInt, point) == kPoint &&
                  offsetof(LinePlaneInt, t) == kNext);
    static_assert(offsetof(LineTriangleInt, result) == 0 && offsetof(LineTriangleInt, point) == kPoint &&
                  offsetof(LineTriangleInt, t) == kNext);
    constexpr std::size_t kAfterPoints = kNext + sizeof(Vector3);
    static_assert(offsetof(LineSphereInt, result) == 0 && offsetof(LineSphereInt, point1) == kPoint &&
                  offsetof(LineSphereInt, point2) == kNext && offsetof(LineSphereInt, t1) == kAfterPoints &&
                  offsetof(LineSphereInt, t2) == kAfterPoints + sizeof(double));
    static_assert(sizeof(TriangleWeightsFinder) == sizeof(Vector3));
}

// LineLineInt ----------------------------------------------------------------------------------------------------

TEST(LineLineInt, LinesThatMeetGiveThePointAndBothParameters)
{
    LineLineInt const unit({1, 0, 0}, kX, {4, -2, 0}, kY, 1e-6);
    EXPECT_EQ(unit.result, 0);
    EXPECT_EQ(unit.point, Vector3(4, 0, 0));
    EXPECT_EQ(unit.t1, 3.0);
    EXPECT_EQ(unit.t2, 2.0);

    LineLineInt const scaled({1, 0, 0}, Vector3(2, 0, 0), {4, -2, 0}, Vector3(0, 4, 0), 1e-6);
    EXPECT_EQ(scaled.result, 0);
    EXPECT_EQ(scaled.point, Vector3(4, 0, 0));
    EXPECT_EQ(scaled.t1, 1.5);
    EXPECT_EQ(scaled.t2, 0.5);
}

TEST(LineLineInt, SkewLinesGiveTheParametersOfTheirClosestPoints)
{
    LineLineInt const unit({1, 0, 0}, kX, {4, -2, 0.5}, kY, 0.1);
    EXPECT_EQ(unit.result, 3);
    EXPECT_EQ(unit.point, Vector3());
    EXPECT_EQ(unit.t1, 3.0);
    EXPECT_EQ(unit.t2, 2.0);
    LineLineInt const scaled({1, 0, 0}, Vector3(2, 0, 0), {4, -2, 0.5}, Vector3(0, 4, 0), 0.1);
    EXPECT_EQ(scaled.result, 3);
    EXPECT_EQ(scaled.point, Vector3());
    EXPECT_EQ(scaled.t1, 1.5);
    EXPECT_EQ(scaled.t2, 0.5);
}

TEST(LineLineInt, ThePointIsOnLineOneNotTheMidpoint)
{
    EXPECT_EQ(LineLineInt({1, 0, 0}, kX, {4, -2, 0.5}, kY, 0.6).point, Vector3(4, 0, 0));
    EXPECT_EQ(LineLineInt({4, -2, 0.5}, kY, {1, 0, 0}, kX, 0.6).point, Vector3(4, 0, 0.5));
}

TEST(LineLineInt, TheToleranceIsADistanceWhoseSignDoesNotMatter)
{
    for (double const tol : {0.5, -0.5, 0.0}) EXPECT_EQ(LineLineInt({0, 0, 0}, kX, {0, 0, 0.5}, kY, tol).result, 3);
    for (double const tol : {0.51, -0.51}) EXPECT_EQ(LineLineInt({0, 0, 0}, kX, {0, 0, 0.5}, kY, tol).result, 0);
    EXPECT_EQ(LineLineInt({0, 0, 0}, kX, {0, 0, 0}, kY, 0.0).result, 3) << "no lines meet for a tolerance of 0";
    EXPECT_EQ(LineLineInt({0, 0, 0}, kX, {0, 0, 1}, kX, 1.0).result, 1);
    EXPECT_EQ(LineLineInt({0, 0, 0}, Vector3(kX), {0, 0, 1}, Vector3(kX), 1.0).result, 1);
}

TEST(LineLineInt, ParallelLinesAreApartOrCoincident)
{
    for (double const sign : {1.0, -1.0}) {
        Vector3 const p1(5, 0, 0);
        Vector3 const p2(2, 1, 0);
        UVector3 const d2(sign, 0, 0);
        LineLineInt const apart(p1, kX, p2, d2, 0.5);
        EXPECT_EQ(apart.result, 1);
        EXPECT_EQ(apart.point, p1);
        EXPECT_EQ(apart.t1, 0.0);
        EXPECT_EQ(apart.t2, sign * 3);
        LineLineInt const coincident(p1, kX, p2, d2, 2);
        EXPECT_EQ(coincident.result, 2);
        EXPECT_EQ(coincident.point, p1);
        EXPECT_EQ(coincident.t1, 0.0);
        EXPECT_EQ(coincident.t2, sign * 3);

        LineLineInt const scaledApart(p1, Vector3(7, 0, 0), p2, Vector3(sign * 2, 0, 0), 0.5);
        EXPECT_EQ(scaledApart.result, 1);
        EXPECT_EQ(scaledApart.point, p1);
        EXPECT_EQ(scaledApart.t1, 0.0);
        EXPECT_EQ(scaledApart.t2, sign * 1.5);
        EXPECT_EQ(LineLineInt(p1, Vector3(7, 0, 0), p2, Vector3(sign * 2, 0, 0), 2).result, 2);
    }
}

TEST(LineLineInt, UnitDirectionsAreParallelOnlyIfTheCosineIsOne)
{
    UVector3 const nearly = exactly(below(1.0), 1.5e-8, 0);
    EXPECT_EQ(LineLineInt(kOrigin, kX, {0, 0, 0.5}, nearly, 0.1).result, 3);
    EXPECT_EQ(LineLineInt(kOrigin, kX, {0, 0, 0.5}, exactly(1, 1e-9, 0), 0.1).result, 1);
    EXPECT_EQ(LineLineInt(kOrigin, Vector3(kX), {0, 0, 0.5}, Vector3(nearly), 0.1).result, 1)
        << "the threshold of the other constructor is 0.03 degrees";
}

TEST(LineLineInt, GeneralDirectionsAreParallelWithin0Point03Degrees)
{
    Vector3 const p2(0, 0, 0.5);
    EXPECT_EQ(LineLineInt(kOrigin, Vector3(2, 0, 0), p2, Vector3(-1, 0.0005, 0), 0.1).result, 1);
    EXPECT_EQ(LineLineInt(kOrigin, Vector3(2, 0, 0), p2, Vector3(-1, 0.0006, 0), 0.1).result, 3);
}

TEST(LineLineInt, ANullDirectionIsSkewToEveryDirection)
{
    LineLineInt const zero(kOrigin, Vector3(), {0, 1, 0}, Vector3(1, 0, 0), 5);
    EXPECT_EQ(zero.result, 3);
    EXPECT_TRUE(std::isnan(zero.t1));
    EXPECT_EQ(zero.point, Vector3());
    EXPECT_EQ(LineLineInt(kOrigin, Vector3(), kOrigin, Vector3(), 5).result, 3);
}

TEST(LineLineInt, NaNInputGivesSkewOrApart)
{
    LineLineInt const unit({kNaN, 0, 0}, kX, {0, 1, 0}, kY, 5);
    EXPECT_EQ(unit.result, 3);
    EXPECT_TRUE(std::isnan(unit.t1));
    EXPECT_EQ(LineLineInt({kNaN, 0, 0}, kX, {0, 1, 0}, kX, 5).result, 1);
    EXPECT_EQ(LineLineInt(kOrigin, UVector3(kNaN, 0, 0), {0, 1, 0}, kX, 5).result, 3);
    EXPECT_EQ(LineLineInt(kOrigin, kX, kOrigin, kY, kNaN).result, 3);
    EXPECT_EQ(LineLineInt(kOrigin, Vector3(kNaN, 0, 0), {0, 1, 0}, Vector3(kX), 5).result, 3);
}

TEST(LineLineInt, NoPointsNearTheClosestPointsAreCloser)
{
    test::Random random(20250321);
    for (int trial = 0; trial < 2000; ++trial) {
        Vector3 const p1 = random.point(-3, 3);
        Vector3 const p2 = random.point(-3, 3);
        Vector3 const d1 = random.point();
        Vector3 const d2 = random.point();
        LineLineInt const general(p1, d1, p2, d2, 1e9);
        if (general.result != 0) continue;
        double const gap = dist(p1 + d1 * general.t1, p2 + d2 * general.t2);
        for (double const step : {-0.5, -0.01, 0.01, 0.5}) {
            EXPECT_LE(gap, dist(p1 + d1 * (general.t1 + step), p2 + d2 * general.t2) + 1e-12);
            EXPECT_LE(gap, dist(p1 + d1 * general.t1, p2 + d2 * (general.t2 + step)) + 1e-12);
        }
        LineLineInt const unit(p1, UVector3(d1), p2, UVector3(d2), 1e9);
        EXPECT_NEAR(dist(unit.point, general.point), 0.0, 1e-6) << "nearly parallel lines are ill-conditioned";
    }
}

// PlanePlaneInt --------------------------------------------------------------------------------------------------

TEST(PlanePlaneInt, PlanesThatMeetGiveTheNearestPointOfTheirLine)
{
    PlanePlaneInt const r({0, 7, 2}, kZ, {3, 1, 1}, kX, 1e-6);
    EXPECT_EQ(r.result, 0);
    EXPECT_EQ(r.dir, Vector3(0, 1, 0));
    EXPECT_EQ(r.point, Vector3(3, 7, 2));
    EXPECT_EQ(PlanePlaneInt({0, 7, 2}, kX, {3, 1, 1}, kZ, 1e-6).dir, Vector3(0, -1, 0)) << "along N1 x N2";
}

TEST(PlanePlaneInt, ParallelPlanesLeavePointAndDirectionZero)
{
    for (UVector3 const& n : {kZ, UVector3(0, 0, -1)}) {
        PlanePlaneInt const apart({0, 0, 1}, kZ, {5, 5, 3}, n, 1);
        EXPECT_EQ(apart.result, 1);
        EXPECT_EQ(apart.point, Vector3());
        EXPECT_EQ(apart.dir, Vector3());
        PlanePlaneInt const coincident({0, 0, 1}, kZ, {5, 5, 3}, n, 3);
        EXPECT_EQ(coincident.result, 2);
        EXPECT_EQ(coincident.point, Vector3());
        EXPECT_EQ(coincident.dir, Vector3());
    }
}

TEST(PlanePlaneInt, NearlyParallelPlanesHaveNoDirection)
{
    EXPECT_EQ(PlanePlaneInt(kOrigin, kZ, {0, 0, 1}, exactly(9e-9, 0, 1), 0.1).dir, Vector3());
}

TEST(PlanePlaneInt, TheToleranceIsAStrictLimitOfADistance)
{
    EXPECT_EQ(PlanePlaneInt(kOrigin, kZ, {0, 0, 2}, kZ, 2).result, 1);
    EXPECT_EQ(PlanePlaneInt(kOrigin, kZ, {0, 0, 2}, kZ, 2.1).result, 2);
    EXPECT_EQ(PlanePlaneInt(kOrigin, kZ, {0, 0, 2}, kZ, -2.1).result, 1) << "a negative tolerance accepts nothing";
    EXPECT_EQ(PlanePlaneInt(kOrigin, kZ, kOrigin, kZ, 0).result, 1);
}

TEST(PlanePlaneInt, TheParallelTestIsStrictAtAnAngleOf1eMinus8)
{
    EXPECT_EQ(PlanePlaneInt(kOrigin, kZ, {0, 0, 1}, exactly(1e-8, 0, 1), 0.1).result, 0);
    EXPECT_EQ(PlanePlaneInt(kOrigin, kZ, {0, 0, 1}, exactly(below(1e-8), 0, 1), 0.1).result, 1);
}

TEST(PlanePlaneInt, NaNInputGivesMeetUnlessTheNormalsAreParallel)
{
    PlanePlaneInt const r(kOrigin, UVector3(kNaN, 0, 0), {0, 0, 1}, kZ, 1);
    EXPECT_EQ(r.result, 0);
    EXPECT_TRUE(allNaN(r.dir) && allNaN(r.point));
    EXPECT_EQ(PlanePlaneInt({0, 0, kNaN}, kZ, {0, 0, 1}, kZ, 1).result, 1);
    EXPECT_EQ(PlanePlaneInt(kOrigin, kZ, kOrigin, kZ, kNaN).result, 1);
}

TEST(PlanePlaneInt, TheCommonLineLiesInBothPlanes)
{
    test::Random random(20250322);
    for (int trial = 0; trial < 2000; ++trial) {
        Vector3 const p1 = random.point();
        Vector3 const p2 = random.point();
        UVector3 const n1(random.point());
        UVector3 const n2(random.point());
        if (cross(n1, n2).length() < 0.05) continue;
        PlanePlaneInt const r(p1, n1, p2, n2, 1e-9);
        ASSERT_EQ(r.result, 0);
        EXPECT_NEAR(r.dir.length(), 1.0, 1e-15);
        for (double const t : {-3.0, 0.0, 2.0}) {
            EXPECT_NEAR((r.point + r.dir * t - p1) * n1, 0.0, 1e-13);
            EXPECT_NEAR((r.point + r.dir * t - p2) * n2, 0.0, 1e-12);
        }
        EXPECT_NEAR((r.point - p1) * r.dir, 0.0, 1e-12);
    }
}

// LinePlaneInt ---------------------------------------------------------------------------------------------------

TEST(LinePlaneInt, CrossesOnBothSidesOfTheOrigin)
{
    LinePlaneInt const ahead({1, 2, 5}, UVector3(0, 0, -1), {9, 9, 2}, kZ, 1e-6);
    EXPECT_EQ(ahead.result, 0);
    EXPECT_EQ(ahead.point, Vector3(1, 2, 2));
    EXPECT_EQ(ahead.t, 3.0);
    EXPECT_EQ(LinePlaneInt({1, 2, 5}, kZ, {9, 9, 2}, kZ, 1e-6).t, -3.0);
}

TEST(LinePlaneInt, AParallelLineLiesInThePlaneOrOffIt)
{
    LinePlaneInt const in({1, 2, 0}, kX, {9, 9, 0}, kZ, 0.5);
    EXPECT_EQ(in.result, 2);
    EXPECT_EQ(in.point, Vector3(1, 2, 0));
    EXPECT_EQ(in.t, 0.0);
    for (double const lift : {1.0, -1.0}) {
        LinePlaneInt const off({1, 2, lift}, kX, {9, 9, 0}, kZ, 0.5);
        EXPECT_EQ(off.result, 1);
        EXPECT_EQ(off.point, Vector3(1, 2, lift));
        EXPECT_EQ(off.t, 0.0);
    }
    EXPECT_EQ(LinePlaneInt({1, 2, 0.5}, kX, {9, 9, 0}, kZ, 0.5).result, 1) << "the comparison is strict";
}

TEST(LinePlaneInt, TheParallelTestIsStrictAndIndependentOfTheTolerance)
{
    for (double const tol : {0.0, 1.0, 100.0}) {
        EXPECT_EQ(LinePlaneInt({0, 0, 1}, exactly(1, 0, 1e-8), kOrigin, kZ, tol).result, 0);
        EXPECT_EQ(LinePlaneInt({0, 0, 1}, exactly(1, 0, -1e-8), kOrigin, kZ, tol).result, 0);
        EXPECT_NE(LinePlaneInt({0, 0, 1}, exactly(1, 0, below(1e-8)), kOrigin, kZ, tol).result, 0);
    }
}

TEST(LinePlaneInt, NaNInputGivesCrossesUnlessTheLineIsParallel)
{
    LinePlaneInt const r(kOrigin, UVector3(kNaN, 0, 0), {0, 0, 1}, kZ, 1);
    EXPECT_EQ(r.result, 0);
    EXPECT_TRUE(std::isnan(r.t) && allNaN(r.point));
    EXPECT_EQ(LinePlaneInt({0, 0, kNaN}, kX, kOrigin, kZ, 1).result, 1);
    EXPECT_EQ(LinePlaneInt(kOrigin, kX, kOrigin, kZ, kNaN).result, 1);
}

// LineTriangleInt ------------------------------------------------------------------------------------------------

namespace {

Vector3 const kA(0, 0, 0);
Vector3 const kB(10, 0, 0);
Vector3 const kC(0, 10, 0);

} // namespace

TEST(LineTriangleInt, HitsFromBothSidesInEveryOrderOfCorners)
{
    std::array<Vector3, 3> corners = {kA, kB, kC};
    int const orders[6][3] = {{0, 1, 2}, {1, 2, 0}, {2, 0, 1}, {0, 2, 1}, {2, 1, 0}, {1, 0, 2}};
    for (auto const& o : orders) {
        Vector3 const& a = corners[static_cast<std::size_t>(o[0])];
        Vector3 const& b = corners[static_cast<std::size_t>(o[1])];
        Vector3 const& c = corners[static_cast<std::size_t>(o[2])];
        for (double const side : {1.0, -1.0}) {
            LineTriangleInt const hit({2, 3, 4 * side}, kZ, a, b, c, 1e-9);
            EXPECT_EQ(hit.result, 0);
            EXPECT_EQ(hit.point, Vector3(2, 3, 0));
            EXPECT_EQ(hit.t, -4 * side);
            EXPECT_EQ(LineTriangleInt({2, 9, 4 * side}, kZ, a, b, c, 1e-9).result, 1);
            EXPECT_EQ(LineTriangleInt({-0.1, 5, 4 * side}, kZ, a, b, c, 1e-9).result, 1);
            EXPECT_EQ(LineTriangleInt({5, -0.1, 4 * side}, kZ, a, b, c, 1e-9).result, 1);
        }
    }
}

TEST(LineTriangleInt, AMissOfTheTriangleGivesTheCrossingOfThePlane)
{
    LineTriangleInt const r({6, 6, 4}, UVector3(0, 0, -1), kA, kB, kC, 1e-9);
    EXPECT_EQ(r.result, 1);
    EXPECT_EQ(r.point, Vector3(6, 6, 0));
    EXPECT_EQ(r.t, 4.0);
}

TEST(LineTriangleInt, AMissOfTheSphereGivesAZeroPointAndParameter)
{
    LineTriangleInt const r({60, 60, 4}, UVector3(0, 0, -1), kA, kB, kC, 1e-9);
    EXPECT_EQ(r.result, 1);
    EXPECT_EQ(r.point, Vector3());
    EXPECT_EQ(r.t, 0.0);
}

TEST(LineTriangleInt, TheToleranceIsAddedTwiceToTheSquaredRadius)
{
    // The centroid is 0 and the squared radius is exactly 18, or 20 for a tolerance of 1.
    Vector3 const a(3, 0, 0);
    Vector3 const b(0, 3, 0);
    Vector3 const c(-3, -3, 0);
    auto const reachesThePlane = [&](double distanceSq, double tol) {
        return LineTriangleInt({std::sqrt(distanceSq), 0, 1}, kZ, a, b, c, tol).t != 0.0;
    };
    EXPECT_TRUE(reachesThePlane(19.5, 1));
    EXPECT_FALSE(reachesThePlane(20.5, 1));
    EXPECT_FALSE(reachesThePlane(19.5, 0.5)) << "0.5 added to the radius instead would accept this line";
    EXPECT_TRUE(reachesThePlane(18, 0)) << "the comparison is strict";
}

TEST(LineTriangleInt, TheToleranceAtTheSidesIsADoubledArea)
{
    // A point 0.0625 outside a side of length 10 gives a doubled area of 0.625. The last two lines pass the long side,
    // of length sqrt(200), at a distance of 0.0625 / sqrt(2); the area is the same.
    EXPECT_EQ(LineTriangleInt({5, -0.0625, 1}, kZ, kA, kB, kC, 0.625).result, 0) << "the comparison is not strict";
    EXPECT_EQ(LineTriangleInt({5, -0.0625, 1}, kZ, kA, kB, kC, 0.62).result, 1);
    EXPECT_EQ(LineTriangleInt({-0.0625, 5, 1}, kZ, kA, kB, kC, 0.625).result, 0);
    EXPECT_EQ(LineTriangleInt({-0.0625, 5, 1}, kZ, kA, kB, kC, 0.62).result, 1);
    EXPECT_EQ(LineTriangleInt({5.0625, 5, 1}, kZ, kA, kB, kC, 0.625).result, 0);
    EXPECT_EQ(LineTriangleInt({5.0625, 5, 1}, kZ, kA, kB, kC, 0.62).result, 1);
}

TEST(LineTriangleInt, ANegativeToleranceShrinksTheTriangle)
{
    EXPECT_EQ(LineTriangleInt({5, 0.0625, 1}, kZ, kA, kB, kC, -0.62).result, 0);
    EXPECT_EQ(LineTriangleInt({5, 0.0625, 1}, kZ, kA, kB, kC, -0.63).result, 1);
}

TEST(LineTriangleInt, LinesThroughCornersAndSidesAreHits)
{
    for (Vector3 const& p : {kA, kB, kC, Vector3(5, 0, 0), Vector3(0, 5, 0), Vector3(5, 5, 0)}) {
        EXPECT_EQ(LineTriangleInt(p + Vector3(0, 0, 3), kZ, kA, kB, kC, 0).result, 0) << p;
    }
}

TEST(LineTriangleInt, AParallelLineLiesInThePlaneOrOffIt)
{
    LineTriangleInt const in({2, 2, 0}, kX, kA, kB, kC, 0.5);
    EXPECT_EQ(in.result, 2);
    EXPECT_EQ(in.point, Vector3());
    LineTriangleInt const off({2, 2, 1}, kX, kA, kB, kC, 0.5);
    EXPECT_EQ(off.result, 3);
    EXPECT_EQ(off.point, Vector3());
    EXPECT_EQ(off.t, 0.0);
    EXPECT_EQ(LineTriangleInt({2, 2, 0.5}, kX, kA, kB, kC, 0.5).result, 3) << "the comparison is strict";
}

TEST(LineTriangleInt, DegenerateTrianglesAreReportedAfterTheSphereTest)
{
    EXPECT_EQ(LineTriangleInt({1, 0, 1}, kZ, {0, 0, 0}, {1, 0, 0}, {2, 0, 0}, 1e-9).result, 4);
    EXPECT_EQ(LineTriangleInt({0, 0, 1}, kZ, kA, kA, kA, 1e-9).result, 4);
    EXPECT_EQ(LineTriangleInt({1, 0, 1}, kX, {0, 0, 1}, {1, 0, 1}, {2, 0, 1}, 1e-9).result, 4)
        << "the degenerate test precedes the parallel test";
    EXPECT_EQ(LineTriangleInt({9, 9, 1}, kZ, {0, 0, 0}, {1, 0, 0}, {2, 0, 0}, 1e-9).result, 1)
        << "the sphere test precedes the degenerate test";
    EXPECT_EQ(LineTriangleInt({2, 2, 99}, kX, kA, kB, kC, 0.5).result, 1)
        << "the sphere test precedes the parallel test";
    // The square of 1e-13 is exactly 1e-26: a normal of this length is not null.
    EXPECT_EQ(LineTriangleInt({0, 0.25, 1}, kZ, {0, 0, 0}, {1e-13, 0, 0}, {0, 1, 0}, 1e-9).result, 0);
    EXPECT_EQ(LineTriangleInt({0, 0.25, 1}, kZ, {0, 0, 0}, {0.99e-13, 0, 0}, {0, 1, 0}, 1e-9).result, 4);
}

TEST(LineTriangleInt, NaNInputGivesAMissOrParallel)
{
    EXPECT_EQ(LineTriangleInt({kNaN, 2, 1}, kZ, kA, kB, kC, 1).result, 1);
    EXPECT_EQ(LineTriangleInt({2, 2, 1}, UVector3(kNaN, 0, 1), kA, kB, kC, 1).result, 1);
    EXPECT_EQ(LineTriangleInt({2, 2, 1}, kZ, {kNaN, 0, 0}, kB, kC, 1).result, 1);
    EXPECT_EQ(LineTriangleInt({2, 2, 1}, kZ, kA, kB, kC, kNaN).result, 1);
    EXPECT_EQ(LineTriangleInt({2, 2, 0}, kX, kA, kB, kC, kNaN).result, 3);
}

// LineSphereInt --------------------------------------------------------------------------------------------------

TEST(LineSphereInt, TheEntryComesBeforeTheExit)
{
    LineSphereInt const r({-5, 0, 0}, kX, kOrigin, 1, 1e-9);
    EXPECT_EQ(r.result, 2);
    EXPECT_EQ(r.t1, 4.0);
    EXPECT_EQ(r.t2, 6.0);
    EXPECT_EQ(r.point1, Vector3(-1, 0, 0));
    EXPECT_EQ(r.point2, Vector3(1, 0, 0));
    LineSphereInt const back({-5, 0, 0}, UVector3(-1, 0, 0), kOrigin, 1, 1e-9);
    EXPECT_EQ(back.t1, -6.0);
    EXPECT_EQ(back.t2, -4.0);
    EXPECT_EQ(back.point1, Vector3(1, 0, 0));
}

TEST(LineSphereInt, AMissGivesZeroFields)
{
    LineSphereInt const r({-5, 2, 0}, kX, kOrigin, 1, 0.1);
    EXPECT_EQ(r.result, 0);
    EXPECT_EQ(r.point1, Vector3());
    EXPECT_EQ(r.point2, Vector3());
    EXPECT_EQ(r.t1, 0.0);
    EXPECT_EQ(r.t2, 0.0);
}

TEST(LineSphereInt, ATangentGivesItsPointTwice)
{
    LineSphereInt const r({-5, 1, 0}, kX, kOrigin, 1, 1e-9);
    EXPECT_EQ(r.result, 1);
    EXPECT_EQ(r.t1, 5.0);
    EXPECT_EQ(r.t2, 5.0);
    EXPECT_EQ(r.point1, Vector3(0, 1, 0));
    EXPECT_EQ(r.point2, Vector3(0, 1, 0));
}

TEST(LineSphereInt, TheToleranceIsAStrictLimitOfSquaredLengths)
{
    // The squared distance of the line from the center is 2.25.
    auto const code = [](double radius, double tol) {
        return LineSphereInt({-5, 1.5, 0}, kX, kOrigin, radius, tol).result;
    };
    EXPECT_EQ(code(1, 1.25), 1) << "2.25 is not above 1 + 1.25";
    EXPECT_EQ(code(1, 1.24), 0) << "2.25 is above 1 + 1.24, although the distance exceeds the radius by only 0.5";
    EXPECT_EQ(code(2, 1.75), 2) << "2.25 is not above 4 - 1.75";
    EXPECT_EQ(code(2, 1.76), 1);
}

TEST(LineSphereInt, AnExactTangentIsTwoEqualPointsWithoutTolerance)
{
    LineSphereInt const r({-5, 1, 0}, kX, kOrigin, 1, 0);
    EXPECT_EQ(r.result, 2);
    EXPECT_EQ(r.t1, r.t2);
}

TEST(LineSphereInt, TheSignOfTheRadiusDoesNotMatter)
{
    EXPECT_EQ(LineSphereInt({-5, 0, 0}, kX, kOrigin, -1, 1e-9).result, 2);
    EXPECT_EQ(LineSphereInt({-5, 0, 0}, kX, kOrigin, -1, 1e-9).t1, 4.0);
}

TEST(LineSphereInt, NaNInputGivesTwoNaNPoints)
{
    LineSphereInt const r({kNaN, 0, 0}, kX, kOrigin, 1, 1e-9);
    EXPECT_EQ(r.result, 2);
    EXPECT_TRUE(std::isnan(r.t1) && std::isnan(r.t2) && allNaN(r.point2));
    EXPECT_EQ(LineSphereInt(kOrigin, kX, kOrigin, kNaN, 1e-9).result, 2);
}

TEST(LineSphereInt, ThePointsLieOnTheSphereAndTheLine)
{
    test::Random random(20250323);
    for (int trial = 0; trial < 2000; ++trial) {
        Vector3 const p = random.point(-2, 2);
        UVector3 const d(random.point());
        Vector3 const center = random.point();
        LineSphereInt const r(p, d, center, 0.8, 1e-12);
        if (r.result != 2) continue;
        EXPECT_LE(r.t1, r.t2);
        EXPECT_NEAR(dist(r.point1, center), 0.8, 1e-13);
        EXPECT_NEAR(dist(r.point2, center), 0.8, 1e-13);
        EXPECT_EQ(r.point1, p + d * r.t1);
        EXPECT_EQ(r.point2, p + d * r.t2);
    }
}

// TriangleWeightsFinder ------------------------------------------------------------------------------------------

TEST(TriangleWeightsFinder, CornersAndCentroidHaveTheirWeights)
{
    Vector3 const a(0, 0, 1);
    Vector3 const b(1, 0, 2);
    Vector3 const c(0, 1, 4);
    EXPECT_EQ(TriangleWeightsFinder(a, a, b, c).weights, Vector3(1, 0, 0));
    EXPECT_EQ(TriangleWeightsFinder(b, a, b, c).weights, Vector3(0, 1, 0));
    EXPECT_EQ(TriangleWeightsFinder(c, a, b, c).weights, Vector3(0, 0, 1));
    Vector3 const w = TriangleWeightsFinder((a + b + c) / 3, a, b, c).weights;
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(w[i], 1.0 / 3, 1e-15);
}

TEST(TriangleWeightsFinder, ProjectsAlongTheDominantAxis)
{
    for (int axis = 0; axis < 3; ++axis) {
        Vector3 corners[3];
        corners[1][(axis + 1) % 3] = 1;
        corners[2][(axis + 2) % 3] = 1;
        Vector3 p;
        p[axis] = 99; // ignored
        p[(axis + 1) % 3] = 0.25;
        p[(axis + 2) % 3] = 0.5;
        EXPECT_EQ(TriangleWeightsFinder(p, corners[0], corners[1], corners[2]).weights, Vector3(0.25, 0.25, 0.5));
    }
}

TEST(TriangleWeightsFinder, OfEqualComponentsTheFirstAxisIsUsed)
{
    // Normal (-1, -1, 0): projected along x, p is the second corner; projected along y, it is far outside.
    EXPECT_EQ(TriangleWeightsFinder({5, -1, 0}, {0, 0, 0}, {1, -1, 0}, {0, 0, 1}).weights, Vector3(0, 1, 0));
    // Normal (0, 1, 1): projected along y, not along z.
    EXPECT_EQ(TriangleWeightsFinder({0, 7, -1}, {0, 0, 0}, {1, 0, 0}, {0, 1, -1}).weights, Vector3(0, 0, 1));
    // Normal (1, 0, 1): projected along x, not along z.
    EXPECT_EQ(TriangleWeightsFinder({7, 0, -1}, {0, 0, 0}, {0, 1, 0}, {1, 0, -1}).weights, Vector3(0, 0, 1));
    // Normal (1, 1, 1): projected along x.
    EXPECT_EQ(TriangleWeightsFinder({99, 1, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}).weights, Vector3(0, 1, 0));
}

TEST(TriangleWeightsFinder, WeightsFollowTheOrderOfTheCorners)
{
    test::Random random(20250324);
    for (int trial = 0; trial < 1000; ++trial) {
        Vector3 const a = random.point();
        Vector3 const b = random.point();
        Vector3 const c = random.point();
        if (cross(b - a, c - a).length() < 0.1) continue;
        Vector3 const wanted(0.3, 1.2, -0.5);
        Vector3 const p = a * wanted.x + b * wanted.y + c * wanted.z;
        Vector3 const abc = TriangleWeightsFinder(p, a, b, c).weights;
        Vector3 const bca = TriangleWeightsFinder(p, b, c, a).weights;
        Vector3 const acb = TriangleWeightsFinder(p, a, c, b).weights;
        EXPECT_NEAR(dist(abc, wanted), 0.0, 1e-12) << "weights outside are negative, not clamped";
        EXPECT_NEAR(dist(bca, Vector3(wanted.y, wanted.z, wanted.x)), 0.0, 1e-12);
        EXPECT_NEAR(dist(acb, Vector3(wanted.x, wanted.z, wanted.y)), 0.0, 1e-12);
    }
}

TEST(TriangleWeightsFinder, SmallAndDegenerateTrianglesHaveZeroWeights)
{
    EXPECT_EQ(TriangleWeightsFinder({1, 1, 1}, kA, kA, kA).weights, Vector3());
    EXPECT_EQ(TriangleWeightsFinder({1, 0, 0}, {0, 0, 0}, {1, 0, 0}, {2, 0, 0}).weights, Vector3());
    // A determinant of 2^-26 (1.5e-8) is regular. One of 2^-28 (3.7e-9) is not, although it is far above 1e-20.
    double const large = 0x1p-13;
    double const small = 0x1p-14;
    EXPECT_EQ(TriangleWeightsFinder({0, 0, 0}, {0, 0, 0}, {large, 0, 0}, {0, large, 0}).weights, Vector3(1, 0, 0));
    EXPECT_EQ(TriangleWeightsFinder({0, 0, 0}, {0, 0, 0}, {small, 0, 0}, {0, small, 0}).weights, Vector3());
}

TEST(TriangleWeightsFinder, BothThresholdsOfTheDeterminantAreStrict)
{
    auto const weights = [](double determinant, double x) {
        return TriangleWeightsFinder({x, 0, 0}, {0, 0, 0}, {determinant, 0, 0}, {0, 1, 0}).weights;
    };
    EXPECT_EQ(weights(1e-8, 1e-8), Vector3(0, 1, 0)) << "regular";
    EXPECT_EQ(weights(std::nextafter(1e-8, 0.0), 1e-8), Vector3());
    // Between the thresholds the weights are a product with the zero matrix, which is NaN for an infinite point. Up to
    // the lower threshold they are (0, 0, 0) without a product.
    double const infinity = std::numeric_limits<double>::infinity();
    EXPECT_TRUE(std::isnan(weights(std::nextafter(1e-20, 1.0), infinity).x));
    EXPECT_EQ(weights(1e-20, infinity), Vector3());
}

TEST(TriangleWeightsFinder, NaNInputGivesZeroOrNaN)
{
    EXPECT_EQ(TriangleWeightsFinder({0, 0, 0}, {kNaN, 0, 0}, kB, kC).weights, Vector3());
    EXPECT_TRUE(std::isnan(TriangleWeightsFinder({kNaN, 0, 0}, kA, kB, kC).weights.x));
}

// All records ---------------------------------------------------------------------------------------------------

TEST(IntersectionRecords, HaveTheBitsOfTheReference)
{
    test::Random random(20250325);
    int codes[5][5] = {};
    for (int trial = 0; trial < 100000; ++trial) {
        SCOPED_TRACE(trial);
        Scene const s(random);
        Vector3 const& p = s.points[0];
        Vector3 const& q = s.points[1];

        LineLineInt const unit(p, s.d1, q, s.d2, s.tol);
        reference::LineLine const referenceUnit = reference::lineLineUnit(p, s.d1, q, s.d2, s.tol);
        ASSERT_EQ(unit.result, referenceUnit.result);
        ASSERT_TRUE(sameBits(unit.point, referenceUnit.point) && sameBits(unit.t1, referenceUnit.t1) &&
                    sameBits(unit.t2, referenceUnit.t2));

        Vector3 const& e1 = s.points[2];
        Vector3 const e2 = random.oneIn(4) ? e1 * -3 : s.points[3];
        LineLineInt const general(p, e1, q, e2, s.tol);
        reference::LineLine const referenceGeneral = reference::lineLine(p, e1, q, e2, s.tol);
        ASSERT_EQ(general.result, referenceGeneral.result);
        ASSERT_TRUE(sameBits(general.point, referenceGeneral.point) && sameBits(general.t1, referenceGeneral.t1) &&
                    sameBits(general.t2, referenceGeneral.t2));

        PlanePlaneInt const planes(p, s.d1, q, s.d2, s.tol);
        reference::PlanePlane const referencePlanes = reference::planePlane(p, s.d1, q, s.d2, s.tol);
        ASSERT_EQ(planes.result, referencePlanes.result);
        ASSERT_TRUE(sameBits(planes.point, referencePlanes.point) && sameBits(planes.dir, referencePlanes.dir));

        LinePlaneInt const plane(p, s.d1, q, s.d2, s.tol);
        reference::LinePlane const referencePlane = reference::linePlane(p, s.d1, q, s.d2, s.tol);
        ASSERT_EQ(plane.result, referencePlane.result);
        ASSERT_TRUE(sameBits(plane.point, referencePlane.point) && sameBits(plane.t, referencePlane.t));

        LineTriangleInt const triangle(p, s.d1, q, s.points[2], s.points[3], s.tol);
        reference::LinePlane const referenceTriangle =
            reference::lineTriangle(p, s.d1, q, s.points[2], s.points[3], s.tol);
        ASSERT_EQ(triangle.result, referenceTriangle.result);
        ASSERT_TRUE(sameBits(triangle.point, referenceTriangle.point) && sameBits(triangle.t, referenceTriangle.t));

        double const radius = s.points[2].x;
        LineSphereInt const sphere(p, s.d1, q, radius, s.tol);
        reference::LineSphere const referenceSphere = reference::lineSphere(p, s.d1, q, radius, s.tol);
        ASSERT_EQ(sphere.result, referenceSphere.result);
        ASSERT_TRUE(sameBits(sphere.point1, referenceSphere.point1) &&
                    sameBits(sphere.point2, referenceSphere.point2) && sameBits(sphere.t1, referenceSphere.t1) &&
                    sameBits(sphere.t2, referenceSphere.t2));

        ASSERT_TRUE(sameBits(TriangleWeightsFinder(p, q, s.points[2], s.points[3]).weights,
                             reference::triangleWeights(p, q, s.points[2], s.points[3])));

        std::int32_t const found[5] = {unit.result, planes.result, plane.result, triangle.result, sphere.result};
        for (int k = 0; k < 5; ++k) ++codes[k][found[k]];
    }
    int const numbers[5] = {4, 3, 3, 5, 3};
    for (int k = 0; k < 5; ++k) {
        for (int code = 0; code < numbers[k]; ++code) EXPECT_GT(codes[k][code], 50) << "record " << k << ", " << code;
    }
}
