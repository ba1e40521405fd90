#include <sinew/queries/segments_2d.h>

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "queries/reference_segments_2d.h"
#include "support/bits.h"
#include "support/random.h"

namespace {

using test::sameBits;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
UVector3 const kRight(1, 0, 0);
constexpr Vector3 kLo(0, 0, 0);
constexpr Vector3 kHi(1, 1, 0);

bool meetsUnitSquare(Vector3 const& a, Vector3 const& b)
{
    bool const forward = segIntersectRect2D(a, b, kLo, kHi);
    EXPECT_EQ(forward, segIntersectRect2D(b, a, kLo, kHi)) << "the order of the ends does not matter";
    return forward;
}

bool strictly(Vector3 const& a, Vector3 const& b, Vector3 const& c, Vector3 const& d, double tol)
{
    return segsIntersect(a, b, c, d, tol, false);
}
bool inclusively(Vector3 const& a, Vector3 const& b, Vector3 const& c, Vector3 const& d, double tol)
{
    return segsIntersect(a, b, c, d, tol, true);
}

// Kind 0: points of a coarse grid, where ends coincide and directions repeat; 1 and 2: points in general position;
// 3: hostile points.
Vector3 nextPoint(test::Random& random, int kind)
{
    if (kind == 0) return {static_cast<double>(random.below(5)), static_cast<double>(random.below(5)), 0.0};
    if (kind == 1) return {random.uniform(0, 5), random.uniform(0, 5), 0.0};
    if (kind == 2) return random.point();
    return random.hostilePoint();
}

} // namespace

TEST(SegClipHalfPlane2D, MovesTheEndOutside)
{
    Vector3 a(0, 0, 0);
    Vector3 b(2, 0, 0);
    EXPECT_TRUE(segClipHalfPlane2D(a, b, {1, 0, 0}, kRight));
    EXPECT_EQ(a, Vector3(1, 0, 0));
    EXPECT_EQ(b, Vector3(2, 0, 0));

    a = Vector3(0, 0, 0);
    EXPECT_TRUE(segClipHalfPlane2D(a, b, {1, 0, 0}, UVector3(-1, 0, 0)));
    EXPECT_EQ(a, Vector3(0, 0, 0));
    EXPECT_EQ(b, Vector3(1, 0, 0));
}

TEST(SegClipHalfPlane2D, DoesNotChangeASegmentInside)
{
    for (double const x : {1.0, 1.5}) {
        Vector3 a(x, 3, 0);
        Vector3 b(2, 4, 0);
        EXPECT_TRUE(segClipHalfPlane2D(a, b, {1, 0, 0}, kRight)) << "an end on the boundary is inside";
        EXPECT_EQ(a, Vector3(x, 3, 0));
        EXPECT_EQ(b, Vector3(2, 4, 0));
    }
}

TEST(SegClipHalfPlane2D, RejectsSegmentsOnTheBoundaryAndContactsFromOutside)
{
    Vector3 const ends[][2] = {{{1, 0, 0}, {1, 5, 0}},
                               {{1, 0, 0}, {0, 5, 0}},
                               {{0, 0, 0}, {1, 5, 0}},
                               {{1, 2, 0}, {1, 2, 0}},
                               {{0, 0, 0}, {0.5, 1, 0}}};
    for (auto const& end : ends) {
        Vector3 a = end[0];
        Vector3 b = end[1];
        EXPECT_FALSE(segClipHalfPlane2D(a, b, {1, 0, 0}, kRight));
        EXPECT_EQ(a, end[0]);
        EXPECT_EQ(b, end[1]);
    }
}

TEST(SegClipHalfPlane2D, UsesAllThreeCoordinates)
{
    Vector3 a(0, 0, -1);
    Vector3 b(0, 0, 3);
    EXPECT_TRUE(segClipHalfPlane2D(a, b, {7, 7, 1}, UVector3(0, 0, 1)));
    EXPECT_EQ(a, Vector3(0, 0, 1));
}

TEST(SegClipHalfPlane2D, NaNMovesAnEndToNaN)
{
    Vector3 a(0, 0, 0);
    Vector3 b(kNaN, 0, 0);
    EXPECT_TRUE(segClipHalfPlane2D(a, b, {1, 0, 0}, kRight));
    EXPECT_TRUE(std::isnan(a.x)) << "a lies outside, so a is moved";
    a = Vector3(kNaN, 0, 0);
    b = Vector3(3, 0, 0);
    EXPECT_TRUE(segClipHalfPlane2D(a, b, {1, 0, 0}, kRight));
    EXPECT_TRUE(std::isnan(b.x)) << "the distance of a is not negative or zero, so b is moved";
}

TEST(SegClipRect2D, ClipsBothEnds)
{
    Vector3 a;
    Vector3 b;
    EXPECT_TRUE(segClipRect2D({-1, 0.5, 0}, {2, 0.5, 0}, kLo, kHi, a, b));
    EXPECT_EQ(a, Vector3(0, 0.5, 0));
    EXPECT_EQ(b, Vector3(1, 0.5, 0));
    EXPECT_TRUE(segClipRect2D({0.5, 2, 0}, {0.5, -1, 0}, kLo, kHi, a, b));
    EXPECT_EQ(a, Vector3(0.5, 1, 0));
    EXPECT_EQ(b, Vector3(0.5, 0, 0));
    EXPECT_TRUE(segClipRect2D({0.25, 0.25, 0}, {0.5, 0.75, 0}, kLo, kHi, a, b));
    EXPECT_EQ(a, Vector3(0.25, 0.25, 0));
    EXPECT_EQ(b, Vector3(0.5, 0.75, 0));
}

TEST(SegClipRect2D, OutputsArePartlyClippedAfterARejection)
{
    // The left side accepts the segment, the bottom side clips it, and the right side rejects it.
    Vector3 a;
    Vector3 b;
    EXPECT_FALSE(segClipRect2D({2, -1, 0}, {4, 1, 0}, kLo, kHi, a, b));
    EXPECT_EQ(a, Vector3(3, 0, 0));
    EXPECT_EQ(b, Vector3(4, 1, 0));
    // The left side is tested before the bottom side. It rejects the segment, so nothing is clipped.
    EXPECT_FALSE(segClipRect2D({-2, -1, 0}, {-1, 1, 0}, kLo, kHi, a, b));
    EXPECT_EQ(a, Vector3(-2, -1, 0));
    EXPECT_EQ(b, Vector3(-1, 1, 0));
    // The right side is tested before the top side.
    EXPECT_FALSE(segClipRect2D({0.5, 3, 0}, {1.5, 2, 0}, kLo, kHi, a, b));
    EXPECT_EQ(a, Vector3(0.5, 3, 0));
    EXPECT_EQ(b, Vector3(1, 2.5, 0));
}

TEST(SegClipRect2D, SegmentsOnASideOrThroughACornerAreRejected)
{
    Vector3 a;
    Vector3 b;
    EXPECT_FALSE(segClipRect2D({0, 0, 0}, {0, 1, 0}, kLo, kHi, a, b));
    EXPECT_FALSE(segClipRect2D({0, 1, 0}, {1, 1, 0}, kLo, kHi, a, b));
    EXPECT_FALSE(segClipRect2D({-1, 1, 0}, {1, -1, 0}, kLo, kHi, a, b));
}

TEST(SegClipRect2D, OutputsMayBeTheInputs)
{
    Vector3 a(-1, 0.5, 0);
    Vector3 b(2, 0.5, 0);
    EXPECT_TRUE(segClipRect2D(a, b, kLo, kHi, a, b));
    EXPECT_EQ(a, Vector3(0, 0.5, 0));
    EXPECT_EQ(b, Vector3(1, 0.5, 0));
    a = Vector3(-1, 0.5, 0);
    b = Vector3(2, 0.5, 0);
    EXPECT_TRUE(segClipRect2D(a, b, kLo, kHi, b, a));
    EXPECT_EQ(b, Vector3(0, 0.5, 0));
    EXPECT_EQ(a, Vector3(1, 0.5, 0));
}

TEST(SegIntersectRect2D, ASegmentWithAnEndInsideMeets)
{
    EXPECT_TRUE(meetsUnitSquare({0.5, 0.5, 0}, {5, 5, 0}));
    EXPECT_TRUE(meetsUnitSquare({0.2, 0.5, 0}, {0.8, 0.5, 0}));
    EXPECT_TRUE(meetsUnitSquare({0.5, 0.5, 0}, {0.5, 0.5, 0})) << "a point inside";
    EXPECT_TRUE(meetsUnitSquare({0, 0.5, 0}, {0.5, 0.5, 0})) << "an end on a side, from inside";
}

TEST(SegIntersectRect2D, ASegmentThatTouchesASideFromOutsideOrRunsAlongItDoesNotMeet)
{
    EXPECT_FALSE(meetsUnitSquare({0, 0, 0}, {0, 1, 0}));
    EXPECT_FALSE(meetsUnitSquare({1, 0.2, 0}, {1, 0.8, 0}));
    EXPECT_FALSE(meetsUnitSquare({0.2, 0, 0}, {0.8, 0, 0}));
    EXPECT_FALSE(meetsUnitSquare({0.2, 1, 0}, {0.8, 1, 0}));
    EXPECT_FALSE(meetsUnitSquare({-1, 0.5, 0}, {0, 0.5, 0}));
    EXPECT_FALSE(meetsUnitSquare({2, 0.5, 0}, {1, 0.5, 0}));
    EXPECT_FALSE(meetsUnitSquare({0.5, -1, 0}, {0.5, 0, 0}));
    EXPECT_FALSE(meetsUnitSquare({0.5, 1, 0}, {0.5, 3, 0}));
}

TEST(SegIntersectRect2D, DiagonalsThroughTheInteriorMeet)
{
    EXPECT_TRUE(meetsUnitSquare({-1, -1, 0}, {2, 2, 0}));
    EXPECT_TRUE(meetsUnitSquare({-1, 2, 0}, {2, -1, 0}));
    EXPECT_FALSE(meetsUnitSquare({-1, 0.5, 0}, {0.5, 2, 0})) << "the line y = x + 1.5 passes above";
    EXPECT_TRUE(meetsUnitSquare({-0.5, 0.25, 0}, {0.75, 1.5, 0})) << "cuts the corner (0, 1)";
    EXPECT_TRUE(meetsUnitSquare({0.5, -0.5, 0}, {1.5, 0.5, 0})) << "touches the corner (1, 0)";
    EXPECT_TRUE(meetsUnitSquare({-1, 1, 0}, {1, -1, 0})) << "touches the corner (0, 0)";
    EXPECT_FALSE(meetsUnitSquare({0.6, -0.5, 0}, {1.6, 0.5, 0}));
}

TEST(SegIntersectRect2D, ANonFiniteZDisablesTheDiagonalTest)
{
    Vector3 const a(-1, -1, 0);
    Vector3 const b(2, 2, 0);
    for (double const z : {kInfinity, -kInfinity, kNaN}) {
        EXPECT_FALSE(segIntersectRect2D({-1, -1, z}, b, kLo, kHi));
        EXPECT_TRUE(segIntersectRect2D(a, {2, 2, z}, kLo, kHi)) << "the z of b is not used";
        // This segment separates only the corners (0, 0) and (1, 1); the test of these uses the z of lo and hi.
        EXPECT_TRUE(segIntersectRect2D({-0.25, 0.75, 0}, {0.75, -0.25, 0}, kLo, kHi));
        EXPECT_FALSE(segIntersectRect2D({-0.25, 0.75, 0}, {0.75, -0.25, 0}, {0, 0, z}, kHi));
        EXPECT_FALSE(segIntersectRect2D({-0.25, 0.75, 0}, {0.75, -0.25, 0}, kLo, {1, 1, z}));
        EXPECT_TRUE(segIntersectRect2D(a, b, {0, 0, z}, kHi)) << "the test of the other two corners does not use z";
    }
    EXPECT_TRUE(segIntersectRect2D({-1, -1, 1e9}, b, kLo, kHi)) << "a finite z changes nothing";
}

TEST(SegIntersectRect2D, AnEndOnASideCountsAsInside)
{
    // The infinite z disables the diagonal tests, so only the test of the end on the side can accept these segments.
    Vector3 const middle(0.5, 0.5, 0);
    for (Vector3 const& side : {Vector3(0, 0.5, 0), Vector3(1, 0.5, 0), Vector3(0.5, 0, 0), Vector3(0.5, 1, 0)}) {
        Vector3 const beyond = side + (middle - side) * 3.0;
        Vector3 const raised(0, 0, kInfinity);
        EXPECT_TRUE(segIntersectRect2D(side + raised, beyond, kLo, kHi));
        EXPECT_TRUE(segIntersectRect2D(beyond + raised, side, kLo, kHi));
    }
}

TEST(SegIntersectRect2D, ASegmentWithANaNEndMeetsOnlyIfTheOtherEndIsInside)
{
    EXPECT_FALSE(meetsUnitSquare({kNaN, 0.5, 0}, {2, 0.5, 0}));
    EXPECT_TRUE(meetsUnitSquare({kNaN, 0.5, 0}, {0.5, 0.5, 0}));
}

TEST(SegIntersectRect2D, AgreesWithClippingOnRandomSegments)
{
    test::Random random(20250331);
    for (int trial = 0; trial < 20000; ++trial) {
        Vector3 const a(random.uniform(-1, 2), random.uniform(-1, 2), 0);
        Vector3 const b(random.uniform(-1, 2), random.uniform(-1, 2), 0);
        Vector3 outA;
        Vector3 outB;
        bool const clipped = segClipRect2D(a, b, kLo, kHi, outA, outB);
        EXPECT_EQ(clipped, segIntersectRect2D(a, b, kLo, kHi)) << a << " " << b;
        if (!clipped) continue;
        for (Vector3 const& p : {outA, outB}) {
            EXPECT_GE(p.x, -1e-15);
            EXPECT_LE(p.x, 1 + 1e-15);
            EXPECT_GE(p.y, -1e-15);
            EXPECT_LE(p.y, 1 + 1e-15);
            EXPECT_NEAR(cross(b - a, p - a).z, 0.0, 1e-14);
        }
        EXPECT_GE((outB - outA) * (b - a), 0.0) << "clipping keeps the direction";
    }
}

TEST(SegsIntersect, SegmentsThatCrossIntersectInBothModes)
{
    for (bool const inclusive : {true, false}) {
        EXPECT_TRUE(segsIntersect({0, 0, 0}, {1, 0, 0}, {0.5, -1, 0}, {0.5, 1, 0}, 0.01, inclusive));
        EXPECT_TRUE(segsIntersect({1, 0, 0}, {0, 0, 0}, {0.5, 1, 0}, {0.5, -1, 0}, 0.01, inclusive));
        EXPECT_FALSE(segsIntersect({0, 0, 0}, {1, 0, 0}, {0.5, 0.5, 0}, {0.5, 1, 0}, 0.01, inclusive));
        EXPECT_FALSE(segsIntersect({0, 0, 0}, {1, 0, 0}, {2, -1, 0}, {2, 1, 0}, 0.01, inclusive));
    }
}

TEST(SegsIntersect, AContactAtAnEndIntersectsOnlyInTheInclusiveMode)
{
    EXPECT_TRUE(inclusively({0, 0, 0}, {1, 0, 0}, {1, -1, 0}, {1, 1, 0}, 0.01));
    EXPECT_FALSE(strictly({0, 0, 0}, {1, 0, 0}, {1, -1, 0}, {1, 1, 0}, 0.01));
    EXPECT_TRUE(inclusively({0, 0, 0}, {1, 0, 0}, {0, -1, 0}, {0, 1, 0}, 0.01));
    EXPECT_FALSE(strictly({0, 0, 0}, {1, 0, 0}, {0, -1, 0}, {0, 1, 0}, 0.01));
}

TEST(SegsIntersect, LimitsAlongTheReferenceAreIncluded)
{
    // For a tolerance of 0.25 the limits are -0.25 and 1.25 in the inclusive mode, 0.25 and 0.75 in the strict mode.
    for (double const x : {1.25, -0.25}) {
        EXPECT_TRUE(inclusively({0, 0, 0}, {1, 0, 0}, {x, -1, 0}, {x, 1, 0}, 0.25));
        EXPECT_FALSE(inclusively({0, 0, 0}, {1, 0, 0}, {x, -1, 0}, {x, 1, 0}, 0.24));
    }
    for (double const x : {0.75, 0.25}) {
        EXPECT_TRUE(strictly({0, 0, 0}, {1, 0, 0}, {x, -1, 0}, {x, 1, 0}, 0.25));
        EXPECT_FALSE(strictly({0, 0, 0}, {1, 0, 0}, {x, -1, 0}, {x, 1, 0}, 0.26));
    }
}

TEST(SegsIntersect, AnEndOnALimitAlongTheReferenceIsNotRejected)
{
    // The other end is beyond the limit. Both ends are close to the line, so only the overlap along it decides.
    for (double const y : {0.125, -0.125}) {
        EXPECT_TRUE(inclusively({0, 0, 0}, {1, 0, 0}, {-0.25, 0, 0}, {-0.5, y, 0}, 0.25));
        EXPECT_TRUE(inclusively({0, 0, 0}, {1, 0, 0}, {-0.5, y, 0}, {-0.25, 0, 0}, 0.25));
        EXPECT_TRUE(inclusively({0, 0, 0}, {1, 0, 0}, {1.25, 0, 0}, {1.5, y, 0}, 0.25));
        EXPECT_TRUE(inclusively({0, 0, 0}, {1, 0, 0}, {1.5, y, 0}, {1.25, 0, 0}, 0.25));
    }
    EXPECT_FALSE(inclusively({0, 0, 0}, {1, 0, 0}, {-0.26, 0, 0}, {-0.5, 0.125, 0}, 0.25));
    EXPECT_FALSE(inclusively({0, 0, 0}, {1, 0, 0}, {1.26, 0, 0}, {1.5, 0.125, 0}, 0.25));
}

TEST(SegsIntersect, LimitsAcrossTheReferenceAreExcluded)
{
    // If both ends of c-d are at the distance tol on one side, the segments do not intersect.
    EXPECT_FALSE(inclusively({0, 0, 0}, {1, 0, 0}, {0.2, 0.25, 0}, {0.8, 0.25, 0}, 0.25));
    EXPECT_FALSE(inclusively({0, 0, 0}, {1, 0, 0}, {0.2, -0.25, 0}, {0.8, -0.25, 0}, 0.25));
    EXPECT_TRUE(inclusively({0, 0, 0}, {1, 0, 0}, {0.5, 0.24, 0}, {0.5, 3, 0}, 0.25));
    EXPECT_TRUE(inclusively({0, 0, 0}, {1, 0, 0}, {0.5, -0.24, 0}, {0.5, -3, 0}, 0.25));
    EXPECT_FALSE(inclusively({0, 0, 0}, {1, 0, 0}, {0.5, 0, 0}, {0.5, 1, 0}, 0)) << "a contact without tolerance";
}

TEST(SegsIntersect, TheStrictModeRequiresAnOverlapOnBothSides)
{
    // In the strict mode one end must lie above tol and the other below -tol.
    EXPECT_TRUE(strictly({0, 0, 0}, {1, 0, 0}, {0.5, -0.26, 0}, {0.5, 0.26, 0}, 0.25));
    EXPECT_FALSE(strictly({0, 0, 0}, {1, 0, 0}, {0.5, -1, 0}, {0.5, 0.25, 0}, 0.25));
    EXPECT_FALSE(strictly({0, 0, 0}, {1, 0, 0}, {0.5, -0.25, 0}, {0.5, 1, 0}, 0.25));
}

TEST(SegsIntersect, NearlyCollinearSegmentsIntersectWhereTheyOverlap)
{
    EXPECT_TRUE(inclusively({0, 0, 0}, {1, 0, 0}, {0.9, 0.001, 0}, {3, 0.001, 0}, 0.01));
    EXPECT_FALSE(inclusively({0, 0, 0}, {1, 0, 0}, {1.1, 0.001, 0}, {3, 0.001, 0}, 0.01));
    EXPECT_TRUE(inclusively({0, 0, 0}, {1, 0, 0}, {0.2, 0.004, 0}, {0.8, 0.006, 0}, 0.01))
        << "the sum of the distances is not less than 0.01, so the crossing point decides; it lies inside";
    EXPECT_FALSE(strictly({0, 0, 0}, {1, 0, 0}, {0.2, 0, 0}, {0.8, 0, 0}, 0.01))
        << "c-d does not extend to both sides of the line";
}

TEST(SegsIntersect, AReferenceOfLengthZeroIntersectsEverythingForAPositiveTolerance)
{
    EXPECT_TRUE(inclusively({3, 3, 0}, {3, 3, 0}, {0, 0, 0}, {1, 0, 0}, 0.01));
    EXPECT_FALSE(inclusively({3, 3, 0}, {3, 3, 0}, {2, 3, 0}, {4, 3, 0}, 0));
    EXPECT_FALSE(strictly({3, 3, 0}, {3, 3, 0}, {2, 3, 0}, {4, 3, 0}, 0.01));
}

TEST(SegsIntersect, ASegmentWithNaNDoesNotIntersect)
{
    for (bool const inclusive : {true, false}) {
        EXPECT_FALSE(segsIntersect({0, 0, 0}, {1, 0, 0}, {kNaN, -1, 0}, {0.5, 1, 0}, 0.01, inclusive));
        EXPECT_FALSE(segsIntersect({0, 0, 0}, {1, 0, 0}, {0.5, -1, 0}, {0.5, kNaN, 0}, 0.01, inclusive));
    }
}

TEST(Segments2D, HaveTheBitsOfTheReference)
{
    test::Random random(20250332);
    int accepted[4] = {};
    constexpr int trials = 100000;
    for (int trial = 0; trial < trials; ++trial) {
        SCOPED_TRACE(trial);
        int const kind = random.below(4);
        Vector3 const a = nextPoint(random, kind);
        Vector3 const b = nextPoint(random, kind);
        Vector3 const c = nextPoint(random, kind);
        Vector3 const d = nextPoint(random, kind);
        double const tol = kind == 3 ? random.hostile() : (random.oneIn(3) ? 0.0 : random.uniform(0, 0.5));
        bool const inclusive = random.oneIn(2);
        UVector3 const n(nextPoint(random, kind));

        Vector3 a1 = a;
        Vector3 b1 = b;
        Vector3 a2 = a;
        Vector3 b2 = b;
        bool const half = segClipHalfPlane2D(a1, b1, c, n);
        ASSERT_EQ(half, reference::segClipHalfPlane2D(a2, b2, c, n));
        ASSERT_TRUE(sameBits(a1, a2) && sameBits(b1, b2));

        bool const rect = segClipRect2D(a, b, c, d, a1, b1);
        ASSERT_EQ(rect, reference::segClipRect2D(a, b, c, d, a2, b2));
        ASSERT_TRUE(sameBits(a1, a2) && sameBits(b1, b2));

        bool const meets = segIntersectRect2D(a, b, c, d);
        ASSERT_EQ(meets, reference::segIntersectRect2D(a, b, c, d));
        bool const crosses = segsIntersect(a, b, c, d, tol, inclusive);
        ASSERT_EQ(crosses, reference::segsIntersect(a, b, c, d, tol, inclusive));

        accepted[0] += half;
        accepted[1] += rect;
        accepted[2] += meets;
        accepted[3] += crosses;
    }
    for (int const count : accepted) {
        EXPECT_GT(count, trials / 50);
        EXPECT_LT(count, trials - trials / 50);
    }
}
