#include <sinew/core/bbox.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "support/bits.h"
#include "support/random.h"

namespace {

using test::Random;
using test::sameBits;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

Bbox box(Vector3 const& min, Vector3 const& max)
{
    Bbox result;
    result.min = min;
    result.max = max;
    return result;
}

Bbox const kUnit = box({0, 0, 0}, {1, 1, 1});

} // namespace

TEST(Bbox, DefaultIsInvalidOnTheZAxis)
{
    Bbox const b;
    EXPECT_EQ(b.min, Vector3(0, 0, 0));
    EXPECT_EQ(b.max, Vector3(0, 0, -2));
    EXPECT_FALSE(b.isValid());
    EXPECT_EQ(b.volume(), -2.0);
    EXPECT_FALSE(b.filter({0, 0, 0}));
    EXPECT_FALSE(b.filter({0, 0, -1}));
}

TEST(Bbox, OfNoPointsContainsOnlyTheOrigin)
{
    Bbox const b(std::vector<Vector3>{});
    EXPECT_TRUE(b.isValid());
    EXPECT_EQ(b.volume(), 0.0);
    EXPECT_TRUE(b.filter({0, 0, 0}));
    EXPECT_FALSE(b.filter({0, 0, 1e-300}));
}

TEST(Bbox, OfPointsIsTheSmallestBoxThatContainsThem)
{
    Bbox const b({{1, 5, -3}, {2, -4, 0}, {0, 0, 7}});
    EXPECT_EQ(b, box({0, -4, -3}, {2, 5, 7}));
    EXPECT_EQ(Bbox({{1, 2, 3}}), box({1, 2, 3}, {1, 2, 3}));
}

TEST(Bbox, OfEqualCoordinatesTheFirstIsKept)
{
    Bbox const b({{0.0, -0.0, 1}, {-0.0, 0.0, 1}});
    EXPECT_FALSE(std::signbit(b.min.x));
    EXPECT_FALSE(std::signbit(b.max.x));
    EXPECT_TRUE(std::signbit(b.min.y));
    EXPECT_TRUE(std::signbit(b.max.y));
}

TEST(Bbox, ANaNIsKeptFromTheFirstPointOnly)
{
    EXPECT_EQ(Bbox({{1, 1, 1}, {kNaN, 3, 3}, {2, 2, 2}}), box({1, 1, 1}, {2, 3, 3}));
    EXPECT_TRUE(std::isnan(Bbox({{kNaN, 1, 1}, {2, 2, 2}}).min.x));
}

TEST(Bbox, ResetGivesTheDefaultAndInitASinglePoint)
{
    Bbox b = kUnit;
    b.reset();
    EXPECT_EQ(b, Bbox());
    b.init({1, 2, 3});
    EXPECT_EQ(b, box({1, 2, 3}, {1, 2, 3}));
    b = kUnit;
    b.init(b.max);
    EXPECT_EQ(b, box({1, 1, 1}, {1, 1, 1}));
}

TEST(BboxIsValid, AllowsASlackOf1e13OnEveryAxis)
{
    for (int axis = 0; axis < 3; ++axis) {
        Bbox b;
        b.max.z = 0;
        b.min[axis] = 1e-13;
        EXPECT_TRUE(b.isValid());
        b.min[axis] = std::nextafter(1e-13, 1);
        EXPECT_FALSE(b.isValid());
        b.min[axis] = kNaN;
        EXPECT_TRUE(b.isValid()) << "no comparison with NaN is true";
    }
}

TEST(BboxUpdate, GrowsToContainThePoint)
{
    Bbox b;
    b.update({1, 2, 3});
    EXPECT_EQ(b, box({1, 2, 3}, {1, 2, 3}));
    b.update({0, 5, 3});
    EXPECT_EQ(b, box({0, 2, 3}, {1, 5, 3}));
    b.update({0.5, 3, 3});
    EXPECT_EQ(b, box({0, 2, 3}, {1, 5, 3}));
    b.update({kNaN, 9, 3});
    EXPECT_EQ(b, box({0, 2, 3}, {1, 9, 3}));
}

TEST(BboxUpdate, PointByPointEqualsTheBoxOfAllPoints)
{
    Random random(601);
    for (int trial = 0; trial < 200; ++trial) {
        std::vector<Vector3> const points = random.points(1 + random.below(20));
        Bbox b;
        for (Vector3 const& p : points) b.update(p);
        ASSERT_EQ(b, Bbox(points));
        for (Vector3 const& p : points) ASSERT_TRUE(b.filter(p));
    }
}

TEST(BboxUpdate, ALoweredMinimumLeavesTheMaximumOfThatAxisUnchanged)
{
    // The lower corner may exceed the upper one by 1e-13, so a point can lie below the lower and above the upper
    // corner. Only the lower corner then moves.
    Bbox b = box({1e-13, 0, 0}, {0, 0, 0});
    b.update({5e-14, 0, 0});
    EXPECT_EQ(b, box({5e-14, 0, 0}, {0, 0, 0}));
}

TEST(BboxIsec, OfDisjointBoxesIsInvalid)
{
    Bbox b = kUnit;
    b.isec(box({2, 2, 2}, {3, 3, 3}));
    EXPECT_EQ(b, box({2, 2, 2}, {1, 1, 1}));
    EXPECT_FALSE(b.isValid());
}

TEST(BboxIsec, KeepsTheCommonPart)
{
    Bbox b = kUnit;
    b.isec(box({0.25, -1, 0.5}, {2, 0.75, 0.625}));
    EXPECT_EQ(b, box({0.25, 0, 0.5}, {1, 0.75, 0.625}));
    b.isec(b);
    EXPECT_EQ(b, box({0.25, 0, 0.5}, {1, 0.75, 0.625}));
}

TEST(BboxIsec, AnInvalidBoxIsUnchangedAndAnInvalidArgumentResets)
{
    Bbox const odd = box({5, 5, 5}, {1, 2, 3});
    Bbox b = odd;
    b.isec(kUnit);
    EXPECT_EQ(b, odd);
    b.isec(odd);
    EXPECT_EQ(b, odd);
    b = kUnit;
    b.isec(odd);
    EXPECT_EQ(b, Bbox());
}

TEST(BboxSum, IsTheSmallestBoxThatContainsBoth)
{
    EXPECT_EQ(kUnit + box({2, -1, 0}, {3, 0.5, 9}), box({0, -1, 0}, {3, 1, 9}));
}

TEST(BboxSum, OfAnInvalidBoxIsTheDefault)
{
    Bbox const odd = box({5, 5, 5}, {1, 2, 3});
    EXPECT_EQ(kUnit + odd, Bbox());
    EXPECT_EQ(odd + kUnit, Bbox());
}

TEST(BboxAdd, AnInvalidLeftBoxBecomesTheRightOneAndAnInvalidRightBoxGivesTheDefault)
{
    Bbox b = kUnit;
    b += box({2, 2, 2}, {3, 3, 3});
    EXPECT_EQ(b, box({0, 0, 0}, {3, 3, 3}));
    b += Bbox();
    EXPECT_EQ(b, Bbox());
    b += kUnit;
    EXPECT_EQ(b, kUnit);
    Bbox const odd = box({5, 5, 5}, {1, 2, 3});
    Bbox c;
    c += odd;
    EXPECT_EQ(c, odd) << "copied without change";
    b += b;
    EXPECT_EQ(b, kUnit);
}

TEST(BboxFilter, IncludesFacesWithoutTolerance)
{
    EXPECT_TRUE(kUnit.filter({0, 0, 0}));
    EXPECT_TRUE(kUnit.filter({1, 1, 1}));
    for (int axis = 0; axis < 3; ++axis) {
        for (double const outside : {-1e-300, std::nextafter(1.0, 2), kNaN}) {
            Vector3 p(0.5, 0.5, 0.5);
            p[axis] = outside;
            EXPECT_FALSE(kUnit.filter(p));
        }
    }
    EXPECT_FALSE(box({0, 0, 2}, {1, 1, 1}).filter({0, 0, 1.5}));
}

TEST(BboxVolume, IsTheProductOfTheSides)
{
    EXPECT_EQ(box({0, 1, 2}, {2, 4, 7}).volume(), 30.0);
}

TEST(BboxExpand, ScalesAboutTheCentre)
{
    Bbox b = box({0, 0, 0}, {2, 2, 2});
    b.expand(1.0);
    EXPECT_EQ(b, box({-1, -1, -1}, {3, 3, 3}));
    b.expand(0.0);
    EXPECT_EQ(b, box({-1, -1, -1}, {3, 3, 3}));
    b.expand(-1.0);
    EXPECT_EQ(b, box({1, 1, 1}, {1, 1, 1}));
    Bbox exchanged = kUnit;
    exchanged.expand(-3.0);
    EXPECT_EQ(exchanged, box({1.5, 1.5, 1.5}, {-0.5, -0.5, -0.5}));
}

TEST(BboxBoundsInDir, TiesKeepTheStartingCorners)
{
    Vector3 lo, hi;
    kUnit.boundsInDir(UVector3(0, 0, 1), &lo, &hi);
    EXPECT_EQ(lo, Vector3(0, 0, 0));
    EXPECT_EQ(hi, Vector3(1, 1, 1));
    kUnit.boundsInDir(UVector3(0, 0, -1), &lo, &hi);
    EXPECT_EQ(lo, Vector3(1, 1, 1));
    EXPECT_EQ(hi, Vector3(0, 0, 0));
}

TEST(BboxBoundsInDir, FindsCornersOffTheDiagonal)
{
    Vector3 lo, hi;
    kUnit.boundsInDir(UVector3(1, -1, 0), &lo, &hi);
    EXPECT_EQ(lo, Vector3(0, 1, 0));
    EXPECT_EQ(hi, Vector3(1, 0, 0));
}

TEST(BboxBoundsInDir, ADifferenceOf1e13IsATie)
{
    // Along z the upper corners exceed the lower ones by exactly 1e-13. The box is flat in y.
    Vector3 lo, hi;
    Bbox const thin = box({0, 0, 0}, {1, 0, 1e-13});
    thin.boundsInDir(UVector3(0, 0, 1), &lo, &hi);
    EXPECT_EQ(lo, Vector3(0, 0, 0));
    EXPECT_EQ(hi, Vector3(1, 0, 1e-13));
    // Along -z the product of the diagonal and the direction is exactly -1e-13, so min and max are not exchanged.
    thin.boundsInDir(UVector3(0, 0, -1), &lo, &hi);
    EXPECT_EQ(lo, Vector3(0, 0, 0));
    Bbox const thicker = box({0, 0, 0}, {1, 0, std::nextafter(1e-13, 1)});
    thicker.boundsInDir(UVector3(0, 0, -1), &lo, &hi);
    EXPECT_EQ(lo, Vector3(1, 0, std::nextafter(1e-13, 1)));
}

TEST(BboxBoundsInDir, OutputsMayBeNull)
{
    Vector3 corner;
    kUnit.boundsInDir(UVector3(1, 1, 1), &corner, nullptr);
    EXPECT_EQ(corner, Vector3(0, 0, 0));
    kUnit.boundsInDir(UVector3(1, 1, 1), nullptr, &corner);
    EXPECT_EQ(corner, Vector3(1, 1, 1));
    kUnit.boundsInDir(UVector3(1, 1, 1), nullptr, nullptr);
}

TEST(BboxBoundsInDir, OutputsMayBeTheCornersOfTheBox)
{
    Bbox b = kUnit;
    b.boundsInDir(UVector3(-1, -1, -1), &b.min, &b.max);
    EXPECT_EQ(b, box({1, 1, 1}, {0, 0, 0}));
}

TEST(BboxBoundsInDir, NoCornerExceedsTheResults)
{
    Random random(602);
    for (int trial = 0; trial < 5000; ++trial) {
        SCOPED_TRACE(trial);
        Bbox const b(random.points(2));
        UVector3 const d(random.point());
        Vector3 lo, hi;
        b.boundsInDir(d, &lo, &hi);
        for (int k = 0; k < 8; ++k) {
            Vector3 const q(k & 4 ? b.max.x : b.min.x, k & 2 ? b.max.y : b.min.y, k & 1 ? b.max.z : b.min.z);
            ASSERT_GE((q - lo) * d, -1e-13);
            ASSERT_LE((q - hi) * d, 1e-13);
        }
    }
}
