#include <sinew/queries/best_fit.h>

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "queries/reference_best_fit.h"
#include "support/bits.h"
#include "support/random.h"

namespace {

using test::sameBits;

constexpr Vector3 kUnwritten(-7, -8, -9);

double sumOfSquaresToLine(std::vector<Vector3> const& points, Vector3 const& center, Vector3 const& dir)
{
    double sum = 0.0;
    for (Vector3 const& p : points) sum += cross(p - center, dir).lengthSq();
    return sum;
}

double sumOfSquaresToPlane(std::vector<Vector3> const& points, Vector3 const& center, Vector3 const& normal)
{
    double sum = 0.0;
    for (Vector3 const& p : points) sum += ((p - center) * normal) * ((p - center) * normal);
    return sum;
}

} // namespace

TEST(BestFitPlane, FindsThePlaneOfASquare)
{
    Vector3 center;
    UVector3 normal(1, 0, 0);
    ASSERT_TRUE(bestFitPlane({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, &center, &normal));
    EXPECT_EQ(center, Vector3(0.5, 0.5, 0));
    EXPECT_EQ(std::fabs(normal.z), 1.0);
    EXPECT_EQ(normal.x, 0.0);
    EXPECT_EQ(normal.y, 0.0);
}

TEST(BestFitLine, HasTheDirectionOfGreatestSpread)
{
    Vector3 center;
    UVector3 dir;
    ASSERT_TRUE(bestFitLine({{0, 0, 0}, {1, 1, 0}, {2, 2, 0}, {5, 5, 0}}, &center, &dir));
    EXPECT_EQ(center, Vector3(2, 2, 0));
    EXPECT_NEAR(std::fabs(dir * Vector3(1, 1, 0)), std::sqrt(2.0), 1e-15);
    EXPECT_NEAR(dir.z, 0.0, 1e-15);
}

TEST(BestFit, ReturnsFalseAndWritesNothingForFewerThanTwoPoints)
{
    for (std::vector<Vector3> const& points : {std::vector<Vector3>{}, std::vector<Vector3>{{1, 2, 3}}}) {
        for (auto const fit : {bestFitLine, bestFitPlane}) {
            Vector3 center = kUnwritten;
            UVector3 axis(0, 1, 0);
            EXPECT_FALSE(fit(points, &center, &axis));
            EXPECT_EQ(center, kUnwritten);
            EXPECT_EQ(axis, Vector3(0, 1, 0));
        }
    }
}

TEST(BestFit, EitherOutputMayBeNull)
{
    std::vector<Vector3> const points = {{0, 0, 0}, {1, 2, 3}, {2, 5, 1}};
    Vector3 center;
    Vector3 alone;
    UVector3 dir;
    UVector3 dirAlone(0, 1, 0);
    ASSERT_TRUE(bestFitLine(points, &center, &dir));
    EXPECT_TRUE(bestFitLine(points, &alone, nullptr));
    EXPECT_TRUE(bestFitLine(points, nullptr, &dirAlone));
    EXPECT_TRUE(bestFitLine(points, nullptr, nullptr));
    EXPECT_EQ(alone, center);
    EXPECT_EQ(dirAlone, dir);
}

TEST(BestFit, CoincidentAndCollinearPointsGiveUnitVectors)
{
    Vector3 center;
    UVector3 axis;
    ASSERT_TRUE(bestFitLine({{1, 2, 3}, {1, 2, 3}}, &center, &axis));
    EXPECT_EQ(center, Vector3(1, 2, 3));
    EXPECT_EQ(axis.length(), 1.0);
    ASSERT_TRUE(bestFitPlane({{0, 0, 0}, {0, 0, 1}, {0, 0, 3}}, &center, &axis));
    EXPECT_DOUBLE_EQ(axis.length(), 1.0);
    EXPECT_NEAR(axis.z, 0.0, 1e-15) << "any normal perpendicular to the line is correct";
}

TEST(BestFit, CentroidIsTheSumTimesTheReciprocalOfTheCount)
{
    std::vector<Vector3> const points = {{0.1, 0, 0}, {0.2, 0, 0}, {0.4, 0, 0}, {0.7, 0, 0}, {0.1, 0, 0}, {0.6, 0, 0}};
    double const sum = 0.1 + 0.2 + 0.4 + 0.7 + 0.1 + 0.6;
    ASSERT_NE(sum * (1.0 / 6), sum / 6);
    Vector3 center;
    bestFitLine(points, &center, nullptr);
    EXPECT_EQ(center.x, sum * (1.0 / 6));
}

TEST(BestFit, CenterMayBeOneOfThePoints)
{
    std::vector<Vector3> points = {{0, 0, 0}, {1, 2, 3}, {2, 5, 1}};
    std::vector<Vector3> const original = points;
    Vector3 center;
    UVector3 dir;
    UVector3 expected;
    bestFitLine(original, &center, &expected);
    bestFitLine(points, &points[0], &dir);
    EXPECT_EQ(points[0], center);
    EXPECT_EQ(dir, expected);
}

TEST(BestFit, NoRotatedAxisAndNoMovedCenterFitsBetter)
{
    test::Random random(20250311);
    for (int trial = 0; trial < 300; ++trial) {
        std::vector<Vector3> points = random.points(3 + random.below(20));
        for (Vector3& p : points) p = Vector3(p.x * 3, p.y * 2, p.z) + Vector3(4, -1, 2);
        Vector3 center;
        UVector3 dir;
        UVector3 normal;
        ASSERT_TRUE(bestFitLine(points, &center, &dir) && bestFitPlane(points, &center, &normal));
        double const line = sumOfSquaresToLine(points, center, dir);
        double const plane = sumOfSquaresToPlane(points, center, normal);
        for (int k = 0; k < 20; ++k) {
            UVector3 const turn(random.point());
            EXPECT_LE(line, sumOfSquaresToLine(points, center, UVector3(dir + turn * 0.1)) + 1e-12);
            EXPECT_LE(plane, sumOfSquaresToPlane(points, center, UVector3(normal + turn * 0.1)) + 1e-12);
            EXPECT_LE(line, sumOfSquaresToLine(points, center + turn * 0.1, dir) + 1e-12);
        }
    }
}

TEST(BestFit, ANaNCoordinateGivesANaNCoordinateOfTheCentroid)
{
    double const nan = std::numeric_limits<double>::quiet_NaN();
    Vector3 center;
    EXPECT_TRUE(bestFitLine({{nan, 0, 0}, {1, 0, 0}}, &center, nullptr));
    EXPECT_TRUE(std::isnan(center.x));
    EXPECT_EQ(center.y, 0.0);
}

TEST(BestFit, HasTheBitsOfTheReference)
{
    test::Random random(20250312);
    for (int trial = 0; trial < 4000; ++trial) {
        std::vector<Vector3> points;
        int const count = random.below(30);
        bool const hostile = random.oneIn(3);
        for (int i = 0; i < count; ++i) points.push_back(hostile ? random.hostilePoint() : random.point());
        bool const largest = random.oneIn(2);
        Vector3 center;
        Vector3 referenceCenter;
        UVector3 axis;
        UVector3 referenceAxis;
        ASSERT_EQ(_getCenterAndEigv(points, &center, &axis, largest),
                  reference::getCenterAndEigv(points, &referenceCenter, &referenceAxis, largest));
        ASSERT_TRUE(sameBits(center, referenceCenter)) << "trial " << trial;
        ASSERT_TRUE(sameBits(axis, referenceAxis)) << "trial " << trial;
    }
}
