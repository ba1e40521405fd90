#include <sinew/queries/lines.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "support/random.h"
#include "support/trials.h"

#ifdef SINEW_TEST_GMP
#include <gmpxx.h>
#endif

namespace {

using sinew::ClosestLines;
using sinew::closestLines;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

} // namespace

TEST(ClosestLines, OfSkewLines)
{
    ClosestLines const found = closestLines({0, 0, 0}, {2, 0, 0}, {6, 5, 3}, {0, 1, 0});
    EXPECT_FALSE(found.parallel);
    EXPECT_EQ(found.t1, 3.0);
    EXPECT_EQ(found.t2, -5.0);
    EXPECT_EQ(found.point1, Vector3(6, 0, 0));
    EXPECT_EQ(found.point2, Vector3(6, 0, 3));
    EXPECT_EQ(found.distance, 3.0);
}

TEST(ClosestLines, OfParallelLines)
{
    ClosestLines const found = closestLines({1, 0, 0}, {2, 0, 0}, {0, 3, 4}, {-4, 0, 0});
    EXPECT_TRUE(found.parallel);
    EXPECT_EQ(found.t1, 0.0);
    EXPECT_EQ(found.t2, -0.25);
    EXPECT_EQ(found.point1, Vector3(1, 0, 0));
    EXPECT_EQ(found.point2, Vector3(1, 3, 4));
    EXPECT_EQ(found.distance, 5.0);
}

TEST(ClosestLines, AZeroDirectionIsAPoint)
{
    ClosestLines const first = closestLines({1, 3, 0}, {0, 0, 0}, {0, 0, 0}, {2, 0, 0});
    EXPECT_TRUE(first.parallel);
    EXPECT_EQ(first.t1, 0.0);
    EXPECT_EQ(first.t2, 0.5);
    EXPECT_EQ(first.distance, 3.0);
    ClosestLines const second = closestLines({0, 0, 0}, {2, 0, 0}, {1, 3, 0}, {0, 0, 0});
    EXPECT_EQ(second.t1, 0.5);
    EXPECT_EQ(second.t2, 0.0);
    EXPECT_EQ(second.distance, 3.0);
    ClosestLines const both = closestLines({0, 0, 0}, {0, 0, 0}, {0, 3, 4}, {0, 0, 0});
    EXPECT_TRUE(both.parallel);
    EXPECT_EQ(both.distance, 5.0);
}

TEST(ClosestLines, DirectionsAreParallelToThemselvesTheirOppositesAndTheirMultiples)
{
    test::Random random(20261123);
    long const trials = test::trials(100'000, 1'000'000);
    for (long trial = 0; trial < trials; ++trial) {
        double const x = random.spread(-4, 4);
        double const y = random.spread(-4, 4);
        double const z = random.spread(-4, 4);
        Vector3 const v(x, y, z);
        UVector3 const unit(v);
        UVector3 const again(v * random.uniform(0.1, 10)); // the multiple is rounded before it is normalised
        Vector3 const p = random.point();
        ASSERT_TRUE(closestLines(p, unit, {1, 2, 3}, unit).parallel);
        ASSERT_TRUE(closestLines(p, unit, {1, 2, 3}, -unit).parallel);
        ASSERT_TRUE(closestLines(p, unit, {1, 2, 3}, again).parallel);
        ASSERT_TRUE(closestLines(p, v, {1, 2, 3}, unit).parallel);
    }
}

TEST(ClosestLines, ASmallAngleIsNotParallel)
{
    EXPECT_TRUE(closestLines({0, 0, 0}, {1, 0, 0}, {0, 0, 1}, {1, 0x1p-50, 0}).parallel);
    ClosestLines const found = closestLines({0, 0, 0}, {1, 0, 0}, {0, 0x1p-49, 1}, {1, 0x1p-49, 0});
    EXPECT_FALSE(found.parallel);
    EXPECT_EQ(found.t1, -1.0);
    EXPECT_EQ(found.t2, -1.0);
    EXPECT_EQ(found.distance, 1.0);
}

TEST(ClosestLines, AnyScaleIsAllowed)
{
    for (double const size : {0x1p-1050, 0x1p-500, 1.0, 0x1p500, 0x1p1018}) {
        for (double const length : {0x1p-1050, 0x1p-500, 0x1p500, 0x1p1018}) {
            ClosestLines const found = closestLines({0, 0, 0}, Vector3(2, 0, 0) * length, Vector3(6, 5, 3) * size,
                                                    Vector3(0, 1, 0) * 0x1p-300);
            EXPECT_FALSE(found.parallel);
            EXPECT_EQ(found.t1, 3 * size / length);
            EXPECT_EQ(found.t2, -5 * size * 0x1p300);
            EXPECT_EQ(found.distance, 3 * size);
        }
    }
}

// The points are ordinary although t1 is infinite, zero or subnormal.
TEST(ClosestLines, PointsDoNotNeedOrdinaryParameters)
{
    for (double const length : {0x1p-1060, 0x1p-1074, 0x1p1020}) {
        for (double const size : {0x1p-60, 1.0, 0x1p30, 0x1p300}) {
            Vector3 const d(length, 0, 0);
            Vector3 const p = Vector3(1, 1, 1) * size;
            ClosestLines const first = closestLines({0, 0, 0}, d, p, {0, 1, 0});
            EXPECT_FALSE(first.parallel);
            EXPECT_EQ(first.point1, Vector3(size, 0, 0));
            EXPECT_EQ(first.point2, Vector3(size, 0, size));
            EXPECT_EQ(first.t1, size / length);
            ClosestLines const second = closestLines(p, {0, 1, 0}, {0, 0, 0}, d);
            EXPECT_EQ(second.point1, Vector3(size, 0, size));
            EXPECT_EQ(second.point2, Vector3(size, 0, 0));
            ClosestLines const same = closestLines(p, d, {0, 0, 0}, d);
            EXPECT_TRUE(same.parallel);
            EXPECT_EQ(same.point1, p);
            EXPECT_EQ(same.point2, Vector3(size, 0, 0));
            ClosestLines const toPoint = closestLines({0, 0, 0}, d, p, {0, 0, 0});
            EXPECT_TRUE(toPoint.parallel);
            EXPECT_EQ(toPoint.point1, Vector3(size, 0, 0));
            EXPECT_EQ(toPoint.point2, p);
        }
    }
}

TEST(ClosestLines, PointsThatAreNotFiniteAreNeverParallel)
{
    constexpr double kHuge = 0x1.8p1023;
    Vector3 const directions[] = {{1, 0, 0}, {0, 0, 0}, {0, 0, 1}};
    for (Vector3 const& d1 : directions) {
        for (Vector3 const& d2 : directions) {
            for (double const bad : {kNaN, kInfinity, -kInfinity}) {
                EXPECT_FALSE(closestLines({bad, 0, 0}, d1, {0, 0, 1}, d2).parallel) << bad;
                EXPECT_FALSE(closestLines({0, 0, 1}, d1, {0, bad, 0}, d2).parallel) << bad;
            }
            ClosestLines const found = closestLines({-kHuge, 0, 0}, d1, {kHuge, 0, 1}, d2);
            EXPECT_FALSE(found.parallel) << "a difference beyond the largest double";
            EXPECT_FALSE(std::isfinite(found.t1) && std::isfinite(found.t2) && std::isfinite(found.distance));
        }
    }
}

TEST(ClosestLines, NaNAndInfinityGiveResultsThatAreNotFinite)
{
    for (double const bad : {kNaN, kInfinity, -kInfinity}) {
        for (int i = 0; i < 12; ++i) {
            Vector3 p[] = {{0, 1, 2}, {1, 2, 3}, {4, 4, 1}, {-1, 2, 0.5}};
            p[i / 3][i % 3] = bad;
            ClosestLines const found = closestLines(p[0], p[1], p[2], p[3]);
            bool const finite = std::isfinite(found.t1) && std::isfinite(found.t2) && std::isfinite(found.distance);
            EXPECT_FALSE(finite) << i << " " << bad;
            EXPECT_FALSE(found.parallel) << i << " " << bad;
        }
    }
}

#ifdef SINEW_TEST_GMP

namespace {

using Exact = std::array<mpq_class, 3>;

Exact exact(Vector3 const& a)
{
    return {mpq_class(a.x), mpq_class(a.y), mpq_class(a.z)};
}
Exact cross(Exact const& a, Exact const& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
mpq_class dot(Exact const& a, Exact const& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

double distanceTo(double found, mpq_class const& expected)
{
    return std::fabs(mpq_class(expected - mpq_class(found)).get_d());
}

} // namespace

TEST(ClosestLines, ErrorsAgainstExactArithmetic)
{
    test::Random random(20261124);
    double worstT = 0;
    double worstDistance = 0;
    long const trials = test::trials(20'000, 1'000'000);
    for (long trial = 0; trial < trials; ++trial) {
        double const away = random.oneIn(2) ? 1.0 : 1e8;
        Vector3 const p1 = random.point() * away, p2 = random.point() * away;
        Vector3 const direction = random.point();
        Vector3 const d1 = direction * std::fabs(random.spread(-20, 20));
        // Half of the pairs are nearly parallel, some beyond the threshold.
        bool const nearlyParallel = random.oneIn(2);
        Vector3 const other = random.point();
        double const factor = random.uniform(-2, 2);
        double const deviation = std::ldexp(d1.length(), -random.below(56));
        Vector3 const d2 = nearlyParallel ? d1 * factor + other * deviation : other;
        ClosestLines const found = closestLines(p1, d1, p2, d2);

        Exact const a = exact(d1), b = exact(d2), n = cross(a, b);
        mpq_class const nn = dot(n, n);
        mpq_class const sineSq = nn / (dot(a, a) * dot(b, b));
        double const relative = mpq_class(sineSq * (mpz_class(1) << 100)).get_d(); // to the square of the threshold
        bool const nearThreshold = std::fabs(relative - 1) <= 1e-14;
        ASSERT_TRUE(nearThreshold || found.parallel == (relative < 1)) << "trial " << trial;
        if (found.parallel) continue;
        Exact gap = exact(p2);
        for (int axis = 0; axis < 3; ++axis) gap[axis] -= mpq_class(p1[axis]);
        double const unit = 0x1p-53 * (p2 - p1).length();
        double const sine = std::sqrt(sineSq.get_d());
        double const error1 = distanceTo(found.t1, dot(cross(gap, b), n) / nn) * d1.length();
        double const error2 = distanceTo(found.t2, dot(cross(gap, a), n) / nn) * d2.length();
        worstT = std::max(worstT, std::max(error1, error2) * sine / unit);
        mpf_class const distance = sqrt(mpf_class(mpq_class(dot(gap, n) * dot(gap, n) / nn), 300));
        worstDistance = std::max(worstDistance, std::fabs(mpf_class(distance - found.distance).get_d()) / unit);
    }
    RecordProperty("worst_t_in_roundings", std::to_string(worstT));
    RecordProperty("worst_distance_in_roundings", std::to_string(worstDistance));
    EXPECT_LT(worstT, 16.0);
    EXPECT_LT(worstDistance, 16.0);
}

#endif
