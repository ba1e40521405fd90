#include <sinew/core/vector_geometry.h>

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "core/reference_vector_geometry.h"
#include "support/bits.h"
#include "support/random.h"

namespace {

using test::Random;
using test::sameBits;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kPi = 3.14159265358979323846;

double below(double x)
{
    return std::nextafter(x, -kInfinity);
}

// Calls `check` with points of four kinds: hostile, nearly equal, on a small grid, and ordinary.
template <typename Check>
void forPoints(std::uint64_t seed, Check check)
{
    Random random(seed);
    for (int trial = 0; trial < 20000 && !testing::Test::HasFailure(); ++trial) {
        SCOPED_TRACE(trial);
        Vector3 points[5];
        int const kind = random.below(4);
        for (Vector3& p : points) {
            p = kind == 0 ? random.hostilePoint() : random.point();
            if (kind == 1) p = points[0] + random.point() * std::ldexp(1.0, -random.below(60));
            if (kind == 2) p = Vector3(random.below(3) - 1, random.below(3) - 1, random.below(3) - 1);
        }
        check(points);
    }
}

} // namespace

TEST(GetAngleBetween, IsCounterClockwiseAboutN)
{
    EXPECT_DOUBLE_EQ(getAngleBetween({1, 0, 0}, {0, 1, 0}, {0, 0, 1}), kPi / 2);
    EXPECT_DOUBLE_EQ(getAngleBetween({1, 0, 0}, {0, 1, 0}, {0, 0, -1}), 3 * kPi / 2);
    EXPECT_DOUBLE_EQ(getAngleBetween({2, 0, 0}, {0, 5, 0}, {7, 7, 1e-9}), kPi / 2) << "only the side of n matters";
}

TEST(GetAngleBetween, OfEqualVectorsIsZeroAndOfOppositeVectorsPi)
{
    EXPECT_EQ(getAngleBetween({1, 2, 3}, {1, 2, 3}, {0, 0, -1}), 0.0);
    EXPECT_DOUBLE_EQ(getAngleBetween({1, 2, 3}, {-1, -2, -3}, {0, 0, 1}), kPi);
}

TEST(GetAngleBetween, OfAZeroVectorIsZeroOrPi)
{
    EXPECT_EQ(getAngleBetween({0, 0, 0}, {1, 2, 3}, {0, 0, -1}), 0.0);
    EXPECT_DOUBLE_EQ(getAngleBetween({0, 0, 0}, {-1, -2, -3}, {0, 0, -1}), kPi) << "the dot product is -0.0";
}

TEST(GetAngleBetween, WithoutAnOrientationIsAtMostPi)
{
    EXPECT_DOUBLE_EQ(getAngleBetween({1, 0, 0}, {0, 1, 0}, {0, 0, 0}), kPi / 2);
    EXPECT_DOUBLE_EQ(getAngleBetween({1, 0, 0}, {0, 1, 0}, {kNaN, 0, -1}), kPi / 2) << "no comparison with NaN is true";
    EXPECT_TRUE(std::isnan(getAngleBetween({kNaN, 0, 0}, {0, 1, 0}, {0, 0, 1})));
}

TEST(GetAngleBetween, ATinyClockwiseAngleRoundsToTheFullTurn)
{
    EXPECT_EQ(getAngleBetween({1, 0, 0}, {1, -1e-20, 0}, {0, 0, 1}), 6.283185307179586);
}

TEST(GetAngleBetween, MatchesTheReference)
{
    forPoints(101, [](Vector3 const* p) {
        EXPECT_TRUE(sameBits(getAngleBetween(p[0], p[1], p[2]), reference::getAngleBetween(p[0], p[1], p[2])));
    });
}

TEST(SamePlane, NormalsMayBeOppositeAndPointsAnywhereInThePlane)
{
    UVector3 const up(0, 0, 1);
    EXPECT_TRUE(samePlane({1, 2, 3}, up, {-5, 8, 3}, up));
    EXPECT_TRUE(samePlane({1, 2, 3}, up, {-5, 8, 3}, UVector3(0, 0, -1)));
    EXPECT_TRUE(samePlane({1, 2, 3}, up, {1, 2, 3}, up));
}

TEST(SamePlane, IsFalseForAnOffsetOrAnAngle)
{
    UVector3 const up(0, 0, 1);
    EXPECT_FALSE(samePlane({1, 2, 3}, up, {1, 2, 4}, up));
    EXPECT_FALSE(samePlane({1, 2, 3}, up, {1, 2, 3}, UVector3(0, 0.1, 1)));
    EXPECT_FALSE(samePlane({1, 2, 3}, up, {1, 2, 3 + 1e-12}, up)) << "the offset is short but not null";
    EXPECT_TRUE(samePlane({1, 2, 0}, up, {1, 2, 9e-14}, up)) << "the offset is null";
}

TEST(SamePlane, TheOffsetIsComparedWithTheFirstNormal)
{
    double const degree = kPi / 180;
    UVector3 const m(0, 0, 1);
    UVector3 const n(std::sin(0.02 * degree), 0, std::cos(0.02 * degree));
    // At 0.02 degrees from the plane of m and at 0.04 degrees from that of n.
    Vector3 const q(std::cos(0.02 * degree), 0, std::sin(0.02 * degree));
    EXPECT_TRUE(samePlane({0, 0, 0}, m, q, n));
    EXPECT_FALSE(samePlane({0, 0, 0}, n, q, m));
}

TEST(SamePlane, MatchesTheReference)
{
    forPoints(102, [](Vector3 const* p) {
        UVector3 const m(p[1]);
        UVector3 const n(p[3]);
        EXPECT_EQ(samePlane(p[0], m, p[2], n), reference::samePlane(p[0], m, p[2], n));
    });
}

TEST(ProjectOnLine, GivesTheNearestPointOfTheLine)
{
    EXPECT_EQ(projectOnLine({3, 4, 5}, {1, 0, 0}, UVector3(1, 0, 0)), Vector3(3, 0, 0));
}

TEST(ProjectOnPlane, ProjectsTheFirstPointNotTheSecond)
{
    EXPECT_EQ(projectOnPlane({3, 4, 5}, {9, 9, 1}, UVector3(0, 0, 1)), Vector3(3, 4, 1));
}

TEST(ProjectOnLineAndPlane, MatchTheReference)
{
    forPoints(103, [](Vector3 const* p) {
        UVector3 const d(p[2]);
        EXPECT_TRUE(sameBits(projectOnLine(p[0], p[1], d), reference::projectOnLine(p[0], p[1], d)));
        EXPECT_TRUE(sameBits(projectOnPlane(p[0], p[1], d), reference::projectOnPlane(p[0], p[1], d)));
    });
}

TEST(DistSqToLineSegment, BeyondAnEndGivesTheEndExactly)
{
    double t = -1;
    EXPECT_EQ(distSqToLineSegment({3, 1, 0}, {0, 0, 0}, {1, 0, 0}, &t), 5.0);
    EXPECT_EQ(t, 1.0);
    EXPECT_EQ(distSqToLineSegment({-2, 1, 0}, {0, 0, 0}, {1, 0, 0}, &t), 5.0);
    EXPECT_EQ(t, 0.0);
    EXPECT_EQ(distSqToLineSegment({0, 7, 0}, {0, 0, 0}, {1, 0, 0}, &t), 49.0) << "level with a";
    EXPECT_EQ(t, 0.0);
}

TEST(DistSqToLineSegment, BetweenTheEndsGivesTheProjection)
{
    double t = -1;
    EXPECT_EQ(distSqToLineSegment({1, 2, 0}, {0, 0, 0}, {4, 0, 0}, &t), 4.0);
    EXPECT_EQ(t, 0.25);
    EXPECT_EQ(distSqToLineSegment({1, 2, 0}, {0, 0, 0}, {4, 0, 0}, nullptr), 4.0);
}

TEST(DistSqToLineSegment, EqualEndsActAsAPoint)
{
    double t = -1;
    EXPECT_EQ(distSqToLineSegment({3, 4, 0}, {0, 0, 0}, {0, 0, 0}, &t), 25.0);
    EXPECT_EQ(t, 0.0);
}

TEST(DistSqToLineSegment, AnEndIsNearestWithinItsMarginInclusively)
{
    Vector3 const a(0, 0, 0);
    Vector3 const b(1, 0, 0);
    double t = -1;
    distSqToLineSegment({1e-13, 5, 0}, a, b, &t);
    EXPECT_EQ(t, 0.0);
    distSqToLineSegment({std::nextafter(1e-13, 1), 5, 0}, a, b, &t);
    EXPECT_EQ(t, std::nextafter(1e-13, 1));

    Vector3 const c(-1, 0, 0); // the second end is the origin, so that its margin is exact too
    distSqToLineSegment({-1e-13, 5, 0}, c, a, &t);
    EXPECT_EQ(t, 1.0);
    distSqToLineSegment({below(-1e-13), 5, 0}, c, a, &t);
    EXPECT_LT(t, 1.0);
}

TEST(DistSqToLineSegment, TheFirstEndIsNearestOnAShortSegment)
{
    double t = -1;
    distSqToLineSegment({1e-8, 0, 0}, {0, 0, 0}, {1e-8, 0, 0}, &t); // both dot products lie within the margin
    EXPECT_EQ(t, 0.0);
}

TEST(DistSqToLineSegment, NaNGivesDistanceZeroAndPositionNaN)
{
    double t = 7;
    EXPECT_EQ(distSqToLineSegment({kNaN, 0, 0}, {0, 0, 0}, {1, 0, 0}, &t), 0.0);
    EXPECT_TRUE(std::isnan(t));
    EXPECT_EQ(distSqToLineSegment({0.5, 0, 0}, {0, 0, 0}, {kNaN, 0, 0}, &t), 0.0);
    EXPECT_TRUE(std::isnan(t));
}

TEST(DistSqToLineSegment, ThePositionMayOverwriteACoordinate)
{
    Vector3 p(3, 4, 0);
    EXPECT_EQ(distSqToLineSegment(p, {0, 0, 0}, {0, 1, 0}, &p.x), 9.0 + 9.0);
    EXPECT_EQ(p.x, 1.0);
    Vector3 q(3, -4, 0);
    EXPECT_EQ(distSqToLineSegment(q, {0, 0, 0}, {0, 1, 0}, &q.y), 25.0);
}

TEST(DistSqToLineSegment, IsNeverNegativeAndNeverFartherThanASample)
{
    Random random(104);
    for (int trial = 0; trial < 3000; ++trial) {
        SCOPED_TRACE(trial);
        Vector3 const a = random.point();
        Vector3 const b = random.point();
        double const along = random.uniform(-0.5, 1.5);
        Vector3 const p = a + (b - a) * along + random.point() * std::ldexp(1.0, -random.below(60));
        double t = -1;
        double const result = distSqToLineSegment(p, a, b, &t);
        ASSERT_GE(result, 0.0);
        ASSERT_GE(t, 0.0);
        ASSERT_LE(t, 1.0);
        for (int k = 0; k <= 8; ++k)
            ASSERT_LE(result, distSq(p, a + (b - a) * (k / 8.0)) + 1e-14); // rounding of squares up to about 12
        ASSERT_NEAR(result, distSq(p, a + (b - a) * t), 1e-14);
    }
}

TEST(DistSqToLineSegment, MatchesTheReference)
{
    forPoints(105, [](Vector3 const* p) {
        double t = -1;
        double referenceT = -1;
        EXPECT_TRUE(sameBits(distSqToLineSegment(p[0], p[1], p[2], &t),
                             reference::distSqToLineSegment(p[0], p[1], p[2], &referenceT)));
        EXPECT_TRUE(sameBits(t, referenceT));
    });
}

TEST(PullBack, GivesTheCoordinatesInTheBasis)
{
    Vector3 const basis[2] = {{2, 0, 0}, {1, 3, 0}};
    Vector3 coefficients(9, 9, 9);
    ASSERT_TRUE(Vector3(5, 6, 77).pullBack(basis, &coefficients)); // the part perpendicular to the plane has no effect
    EXPECT_NEAR(coefficients.x, 1.5, 1e-15);
    EXPECT_NEAR(coefficients.y, 2.0, 1e-15);
    EXPECT_EQ(coefficients.z, 0.0);
    EXPECT_TRUE(Vector3(5, 6, 77).pullBack(basis, nullptr));
}

TEST(PullBack, ParallelBasisProjectsOnTheLongerVector)
{
    Vector3 const basis[2] = {{1, 0, 0}, {2, 0, 0}};
    Vector3 coefficients;
    ASSERT_TRUE(Vector3(6, 5, 0).pullBack(basis, &coefficients));
    EXPECT_EQ(coefficients.x, 0.0);
    EXPECT_DOUBLE_EQ(coefficients.y, 3.0);

    Vector3 const swapped[2] = {{2, 0, 0}, {1, 0, 0}};
    ASSERT_TRUE(Vector3(6, 5, 0).pullBack(swapped, &coefficients));
    EXPECT_DOUBLE_EQ(coefficients.x, 3.0);
    EXPECT_EQ(coefficients.y, 0.0);
}

TEST(PullBack, OfEquallyLongParallelVectorsTheFirstIsUsed)
{
    Vector3 const basis[2] = {{2, 0, 0}, {-2, 0, 0}};
    Vector3 coefficients;
    ASSERT_TRUE(Vector3(6, 0, 0).pullBack(basis, &coefficients));
    EXPECT_EQ(coefficients, Vector3(3, 0, 0));
}

TEST(PullBack, ATinyBasisFailsStrictlyBelowItsThreshold)
{
    ASSERT_EQ(1e-8 * 1e-8, 1.0000000000000001e-16);
    Vector3 const atThreshold[2] = {{1e-8, 0, 0}, {0, 0, 0}};
    Vector3 const belowThreshold[2] = {{below(1e-8), 0, 0}, {0, 0, 0}};
    Vector3 coefficients(9, 9, 9);
    EXPECT_FALSE(Vector3(1, 0, 0).pullBack(belowThreshold, &coefficients));
    EXPECT_EQ(coefficients, Vector3(9, 9, 9)) << "left unwritten";
    EXPECT_TRUE(Vector3(1, 0, 0).pullBack(atThreshold, &coefficients));
    EXPECT_DOUBLE_EQ(coefficients.x, 1e8);
    EXPECT_FALSE(Vector3(1, 0, 0).pullBack(belowThreshold, nullptr));
}

TEST(PullBack, ABasisWhoseSizeOverflowsFails)
{
    Vector3 const basis[2] = {{1e154, 0, 0}, {0, 1e154, 0}}; // each square is finite, their sum is not
    Vector3 coefficients(9, 9, 9);
    EXPECT_FALSE(Vector3(1, 1, 0).pullBack(basis, &coefficients));
    EXPECT_EQ(coefficients, Vector3(9, 9, 9));
}

TEST(PullBack, NaNGivesTrueAndNaN)
{
    Vector3 const basis[2] = {{kNaN, 0, 0}, {0, 1, 0}};
    Vector3 coefficients;
    EXPECT_TRUE(Vector3(1, 1, 0).pullBack(basis, &coefficients));
    EXPECT_TRUE(std::isnan(coefficients.x));
    EXPECT_TRUE(std::isnan(coefficients.y));
    EXPECT_EQ(coefficients.z, 0.0);
}

TEST(PullBack, CoefficientsMayOverwriteTheBasis)
{
    Vector3 basis[2] = {{2, 0, 0}, {0, 2, 0}};
    ASSERT_TRUE(Vector3(6, 4, 0).pullBack(basis, &basis[1]));
    EXPECT_EQ(basis[1], Vector3(3, 2, 0));
}

TEST(PullBack, MatchesTheReferenceForNearlyParallelVectorsToo)
{
    Random random(106);
    int fallbacks = 0;
    for (int trial = 0; trial < 20000; ++trial) {
        SCOPED_TRACE(trial);
        Vector3 basis[2] = {random.point(), random.point()};
        if (random.oneIn(2)) basis[1] = basis[0] * random.uniform() + random.point() * random.spread(-40, 0) * 1e-8;
        if (random.oneIn(4)) basis[random.below(2)] = random.hostilePoint();
        Vector3 const w = random.oneIn(8) ? random.hostilePoint() : random.point();
        Vector3 coefficients(9, 9, 9);
        Vector3 expected(9, 9, 9);
        ASSERT_EQ(w.pullBack(basis, &coefficients), reference::pullBack(w, basis, &expected));
        ASSERT_TRUE(sameBits(coefficients, expected));
        fallbacks += coefficients.x == 0.0 || coefficients.y == 0.0;
    }
    EXPECT_GT(fallbacks, 100) << "the nearly parallel case was not reached";
}

TEST(IsInTriangle, HoldsForTheCentroidAndForNoCornerOrEdge)
{
    Vector3 const corners[3] = {{1, 2, 3}, {4, -1, 2}, {0, 5, 5}};
    Vector3 const &a = corners[0], &b = corners[1], &c = corners[2];
    EXPECT_TRUE(((a + b + c) / 3.0).isInTriangle(a, b, c));
    for (int k = 0; k < 3; ++k) {
        EXPECT_FALSE(corners[k].isInTriangle(a, b, c));
        EXPECT_FALSE(((corners[k] + corners[(k + 1) % 3]) * 0.5).isInTriangle(a, b, c));
    }
}

TEST(IsInTriangle, EachEdgeHasAMarginOf1e13)
{
    Vector3 const a(0, 0, 0), b(1, 0, 0), c(0, 1, 0);
    for (double const inside : {2e-13, 1e-12}) {
        EXPECT_TRUE(Vector3(inside, 0.5, 0).isInTriangle(a, b, c));
        EXPECT_TRUE(Vector3(0.5, inside, 0).isInTriangle(a, b, c));
        EXPECT_TRUE(Vector3(0.5 - inside, 0.5, 0).isInTriangle(a, b, c));
    }
    for (double const outside : {1e-14, 1e-13, 0.0, -1e-14}) {
        EXPECT_FALSE(Vector3(outside, 0.5, 0).isInTriangle(a, b, c)) << outside;
        EXPECT_FALSE(Vector3(0.5, outside, 0).isInTriangle(a, b, c)) << outside;
    }
    EXPECT_FALSE(Vector3(0.5 - 1e-14, 0.5, 0).isInTriangle(a, b, c));
    EXPECT_TRUE(Vector3(std::nextafter(1e-13, 1), 0.5, 0).isInTriangle(a, b, c))
        << "the next double above the margin is inside";
}

TEST(IsInTriangle, APointOffThePlaneIsProjectedOnIt)
{
    EXPECT_TRUE(Vector3(0.25, 0.25, 1e6).isInTriangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0}));
}

TEST(IsInTriangle, IsFalseForADegenerateTriangle)
{
    EXPECT_FALSE(Vector3(0.5, 0, 0).isInTriangle({0, 0, 0}, {1, 0, 0}, {2, 0, 0}));
    EXPECT_FALSE(Vector3(0, 0, 0).isInTriangle({0, 0, 0}, {0, 0, 0}, {0, 0, 0}));
    EXPECT_FALSE(Vector3(kNaN, 0, 0).isInTriangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0}));
}

TEST(IsInTriangle, MatchesTheReference)
{
    forPoints(107, [](Vector3 const* p) {
        EXPECT_EQ(p[0].isInTriangle(p[1], p[2], p[3]), reference::isInTriangle(p[0], p[1], p[2], p[3]));
    });
}

TEST(Reflect, IsAMirrorOnlyForALineOfLengthTwo)
{
    Vector3 const origin;
    EXPECT_EQ(Vector3(0, 1, 0).reflect(origin, {2, 0, 0}), Vector3(0, -1, 0));
    EXPECT_EQ(Vector3(1, 1, 0).reflect(origin, {1, 0, 0}), Vector3(0, -1, 0));
    EXPECT_EQ(Vector3(1, 1, 0).reflect(origin, {2, 0, 0}), Vector3(1, -1, 0));
}

TEST(Reflect, EqualPointsGiveAPointReflection)
{
    EXPECT_EQ(Vector3(3, 4, 5).reflect({1, 1, 1}, {1, 1, 1}), Vector3(-1, -2, -3));
}

TEST(Reflect, MatchesTheReference)
{
    forPoints(108, [](Vector3 const* p) {
        EXPECT_TRUE(sameBits(p[0].reflect(p[1], p[2]), reference::reflect(p[0], p[1], p[2])));
    });
}

TEST(GetBasis, TiesPreferZThenY)
{
    struct
    {
        Vector3 n, e1, e2;
    } const cases[] = {
        {{0, 0, 1}, {0, 1, 0}, {-1, 0, 0}}, {{1, 0, 0}, {0, 0, 1}, {0, -1, 0}}, {{0, 1, 0}, {0, 0, 1}, {1, 0, 0}}};
    for (auto const& c : cases) {
        Vector3 e1, e2;
        getBasis(c.n, e1, e2);
        EXPECT_EQ(e1, c.e1);
        EXPECT_EQ(e2, c.e2);
    }
}

TEST(GetBasis, OfEqualComponentsZIsTakenAndAStrictlySmallerOneDecides)
{
    Vector3 e1, e2;
    double const third = 1 / std::sqrt(3.0);
    getBasis({third, third, third}, e1, e2);
    EXPECT_GT(e1.z, std::fabs(e1.x) + 0.1);
    getBasis(UVector3(1, 2, -2), e1, e2);
    EXPECT_GT(e1.x, 0.9);
    getBasis(UVector3(-2, 1, 2), e1, e2);
    EXPECT_GT(e1.y, 0.9);
    getBasis(UVector3(1, 1, 2), e1, e2); // |x| is not smaller than |y|, so y is taken
    EXPECT_GT(e1.y, 0.9);
}

TEST(GetBasis, ZeroGivesTheNullFallbackTwice)
{
    Vector3 e1, e2;
    getBasis({0, 0, 0}, e1, e2);
    EXPECT_EQ(e1, Vector3(0, 0, 1));
    EXPECT_EQ(e2, Vector3(0, 0, 1));
}

TEST(GetBasis, OutputsMayBeTheInput)
{
    Vector3 n(0, 0, 1), e2;
    getBasis(n, n, e2);
    EXPECT_EQ(n, Vector3(0, 1, 0));
    EXPECT_EQ(e2, Vector3(-1, 0, 0));
}

TEST(GetBasis, IsOrthonormalAndRightHanded)
{
    Random random(109);
    for (int trial = 0; trial < 2000; ++trial) {
        UVector3 const n(random.point());
        Vector3 e1, e2;
        getBasis(n, e1, e2);
        ASSERT_NEAR(e1.length(), 1, 1e-15);
        ASSERT_NEAR(e2.length(), 1, 1e-15);
        ASSERT_NEAR(dist(cross(e1, e2), n), 0, 1e-14); // the projection shortens the axis by a factor of 1.3 at most
    }
}

TEST(GetBasis, MatchesTheReference)
{
    forPoints(110, [](Vector3 const* p) {
        Vector3 e1, e2, f1, f2;
        getBasis(p[0], e1, e2);
        reference::getBasis(p[0], f1, f2);
        EXPECT_TRUE(sameBits(e1, f1));
        EXPECT_TRUE(sameBits(e2, f2));
    });
}

TEST(CalcCurvature, OfACircleIsItsInverseRadius)
{
    for (double const r : {0.25, 1.0, 7.0}) EXPECT_DOUBLE_EQ(calcCurvature({-r, 0, 0}, {0, -r, 0}), 1 / r);
    // The part of the second derivative along the curve has no effect.
    EXPECT_DOUBLE_EQ(calcCurvature({3, 0, 0}, {5, 18, 0}), 2.0);
}

TEST(CalcCurvature, IsZeroForANullFirstDerivative)
{
    double x = std::sqrt(1e-13);
    while (x * x >= 1e-13) x = below(x);
    EXPECT_EQ(calcCurvature({x, 0, 0}, {0, 1, 0}), 0.0);
    while (x * x < 1e-13) x = std::nextafter(x, 1);
    EXPECT_GT(calcCurvature({x, 0, 0}, {0, 1, 0}), 1e12);
    EXPECT_TRUE(std::isnan(calcCurvature({kNaN, 0, 0}, {0, 1, 0}))) << "no comparison with NaN is true";
}

TEST(CalcCurvature, MatchesTheReference)
{
    forPoints(111, [](Vector3 const* p) {
        EXPECT_TRUE(sameBits(calcCurvature(p[0], p[1]), reference::calcCurvature(p[0], p[1])));
    });
}

namespace {

struct Curvatures
{
    bool found = false;
    double k1 = 99;
    double k2 = 99;
};

Curvatures curvatures(Vector3 const (&first)[2], Vector3 const (&second)[3])
{
    Curvatures result;
    result.found = principalCurvatures(first, second, &result.k1, &result.k2);
    return result;
}

} // namespace

TEST(PrincipalCurvatures, OfAPlaneAreZero)
{
    Curvatures const c = curvatures({{1, 0, 0}, {1, 2, 0}}, {{}, {}, {}});
    EXPECT_TRUE(c.found);
    EXPECT_EQ(c.k1, 0.0);
    EXPECT_EQ(c.k2, 0.0);
}

TEST(PrincipalCurvatures, OfASphereAreEqualAndHaveTheSignOfTheNormal)
{
    double const u = 0.7, v = 0.4; // longitude, latitude: Xu x Xv points outwards
    double const cu = std::cos(u), su = std::sin(u), cv = std::cos(v), sv = std::sin(v);
    Vector3 const Xu(-cv * su, cv * cu, 0), Xv(-sv * cu, -sv * su, cv);
    Vector3 const Xuu(-cv * cu, -cv * su, 0), Xuv(sv * su, -sv * cu, 0), Xvv(-cv * cu, -cv * su, -sv);
    Curvatures const c = curvatures({Xu, Xv}, {Xuu, Xuv, Xvv});
    ASSERT_TRUE(c.found);
    EXPECT_NEAR(c.k1, -1, 1e-7); // the square root of a rounding error near 1e-16
    EXPECT_NEAR(c.k2, -1, 1e-7);
    Curvatures const flipped = curvatures({Xv, Xu}, {Xvv, Xuv, Xuu});
    EXPECT_NEAR(flipped.k1, 1, 1e-7);
}

TEST(PrincipalCurvatures, AreOrdered)
{
    // The saddle z = (a x^2 + b y^2) / 2 at its centre, then a saddle with a mixed derivative only.
    Curvatures const saddle = curvatures({{1, 0, 0}, {0, 1, 0}}, {{0, 0, 3}, {0, 0, 0}, {0, 0, -2}});
    EXPECT_DOUBLE_EQ(saddle.k1, -2);
    EXPECT_DOUBLE_EQ(saddle.k2, 3);
    Curvatures const mixed = curvatures({{1, 0, 0}, {0, 1, 0}}, {{0, 0, 0}, {0, 0, 5}, {0, 0, 0}});
    EXPECT_DOUBLE_EQ(mixed.k1, -5);
    EXPECT_DOUBLE_EQ(mixed.k2, 5);
}

TEST(PrincipalCurvatures, ADiscriminantBelow1e16IsAnUmbilic)
{
    // Curvatures 1 and 1 + d have the discriminant d^2 / 4.
    Curvatures const below = curvatures({{1, 0, 0}, {0, 1, 0}}, {{0, 0, 1}, {}, {0, 0, 1 + 1e-8}});
    EXPECT_EQ(below.k1, below.k2);
    Curvatures const above = curvatures({{1, 0, 0}, {0, 1, 0}}, {{0, 0, 1}, {}, {0, 0, 1 + 4e-8}});
    EXPECT_LT(above.k1, above.k2);
}

TEST(PrincipalCurvatures, DependentDerivativesGiveFalseAndLeaveTheOutputsUnwritten)
{
    Curvatures c = curvatures({{1, 2, 3}, {2, 4, 6}}, {{0, 0, 1}, {}, {}}); // null normal
    EXPECT_FALSE(c.found);
    EXPECT_EQ(c.k1, 99);
    EXPECT_EQ(c.k2, 99);
    // The normal is not null, but the determinant is 1e-16.
    c = curvatures({{1e-4, 0, 0}, {0, 1e-4, 0}}, {{0, 0, 1}, {}, {}});
    EXPECT_FALSE(c.found);
    EXPECT_EQ(c.k1, 99);
}

TEST(PrincipalCurvatures, NaNGivesTrueAndOutputsMayBeNull)
{
    Curvatures const c = curvatures({{1, 0, 0}, {0, 1, 0}}, {{0, 0, kNaN}, {}, {}});
    EXPECT_TRUE(c.found);
    EXPECT_TRUE(std::isnan(c.k1));
    EXPECT_TRUE(std::isnan(c.k2));
    EXPECT_TRUE(curvatures({{kNaN, 0, 0}, {0, 1, 0}}, {{}, {}, {}}).found);

    Vector3 const first[2] = {{1, 0, 0}, {0, 1, 0}};
    Vector3 const second[3] = {{0, 0, 3}, {0, 0, 0}, {0, 0, -2}};
    double k = 99;
    EXPECT_TRUE(principalCurvatures(first, second, &k, nullptr));
    EXPECT_DOUBLE_EQ(k, -2);
    EXPECT_TRUE(principalCurvatures(first, second, nullptr, &k));
    EXPECT_DOUBLE_EQ(k, 3);
}

TEST(PrincipalCurvatures, MatchesTheReference)
{
    forPoints(112, [](Vector3 const* p) {
        double k[2] = {99, 99};
        double expected[2] = {99, 99};
        EXPECT_EQ(principalCurvatures(p, p + 2, &k[0], &k[1]),
                  reference::principalCurvatures(p, p + 2, &expected[0], &expected[1]));
        EXPECT_TRUE(sameBits(k[0], expected[0]));
        EXPECT_TRUE(sameBits(k[1], expected[1]));
    });
}
