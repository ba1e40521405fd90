#include <sinew/core/vector3.h>

#include <limits>
#include <sstream>

#include <gtest/gtest.h>

#include "core/reference_vector_geometry.h"
#include "support/bits.h"
#include "support/random.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

Vector3 atDegrees(double degrees)
{
    double const radians = degrees * 3.14159265358979323846 / 180;
    return {std::cos(radians), std::sin(radians), 0.0};
}

} // namespace

TEST(Vector3, DefaultIsZero)
{
    EXPECT_EQ(Vector3(), Vector3(0, 0, 0));
}

TEST(Vector3, IsThreeConsecutiveDoubles)
{
    EXPECT_EQ(sizeof(Vector3), 3 * sizeof(double));
    EXPECT_EQ(sizeof(UVector3), sizeof(Vector3));
}

TEST(Vector3, IndexGivesEachComponent)
{
    Vector3 v(1, 2, 3);
    EXPECT_EQ(v[0], 1);
    EXPECT_EQ(v[1], 2);
    EXPECT_EQ(v[2], 3);
    v[1] = 7;
    EXPECT_EQ(v, Vector3(1, 7, 3));
}

TEST(Vector3, DivisionMultipliesByOneReciprocal)
{
    // 5 * (1 / 3.0) and 5 / 3.0 differ in the last bit.
    ASSERT_NE(5 * (1 / 3.0), 5 / 3.0);
    EXPECT_EQ((Vector3(5, 0, 0) / 3.0).x, 5 * (1 / 3.0));
}

TEST(Vector3, CrossIsRightHanded)
{
    EXPECT_EQ(cross(Vector3(1, 0, 0), Vector3(0, 1, 0)), Vector3(0, 0, 1));
}

TEST(Vector3, IsNullIsStrict)
{
    EXPECT_TRUE(Vector3(9.9e-14, 0, 0).isNull());
    EXPECT_FALSE(Vector3(1e-13, 0, 0).isNull()) << "a squared length of exactly 1e-26 is not below it";
    ASSERT_EQ(1e-13 * 1e-13, 1e-26);
    EXPECT_FALSE(Vector3(kNaN, 0, 0).isNull());
}

TEST(Vector3, AutoNormalizeLeavesANullVectorUnchanged)
{
    Vector3 v(1e-14, 2e-14, 0);
    EXPECT_FALSE(v.autoNormalize());
    EXPECT_EQ(v, Vector3(1e-14, 2e-14, 0));
}

TEST(Vector3, AutoNormalizeMultipliesByOneReciprocal)
{
    Vector3 v(1, 2, 3);
    double const r = 1.0 / v.length();
    ASSERT_TRUE(v.autoNormalize());
    EXPECT_EQ(v, Vector3(1 * r, 2 * r, 3 * r));
}

TEST(UVector3, NullKeepsXAndYAndSetsZ)
{
    EXPECT_EQ(UVector3(Vector3()), Vector3(0, 0, 1));
    EXPECT_EQ(UVector3(Vector3(1e-14, 2e-14, 5e-15)), Vector3(1e-14, 2e-14, 1));
    EXPECT_EQ(UVector3(), Vector3(0, 0, 1));
    EXPECT_EQ(Vector3(1e-14, 0, 0).normalize(), Vector3(1e-14, 0, 1));
}

TEST(UVector3, BothConstructorsNormalise)
{
    EXPECT_EQ(UVector3(0, 3, 4), UVector3(Vector3(0, 3, 4)));
    EXPECT_DOUBLE_EQ(UVector3(0, 3, 4).length(), 1.0);
}

TEST(IsParallel, TheToleranceIsSquaredAndTheComparisonStrict)
{
    EXPECT_FALSE(Vector3(1, 0, 0).isParallel(Vector3(2, 0, 0), 1.0));
    EXPECT_TRUE(Vector3(1, 0, 0).isParallel(Vector3(2, 0, 0), 0.999));
    // The squared cosine of 60 degrees is 0.25. It exceeds the square of 0.4 but not 0.4 itself.
    EXPECT_FALSE(Vector3(1, 0, 0).isParallel(atDegrees(60), 0.6));
    EXPECT_TRUE(Vector3(1, 0, 0).isParallel(atDegrees(60), 0.4));
}

TEST(IsParallel, DefaultIsThreeHundredthsOfADegree)
{
    EXPECT_TRUE(Vector3(1, 0, 0).isParallel(atDegrees(0.0299), -1.0));
    EXPECT_FALSE(Vector3(1, 0, 0).isParallel(atDegrees(0.0301), -1.0));
}

TEST(IsParallel, HoldsForOppositeDirections)
{
    EXPECT_TRUE(Vector3(1, 2, 3).isParallel(Vector3(-1, -2, -3), -1.0));
}

TEST(IsParallel, NullAndNaNAreParallelToNothing)
{
    EXPECT_FALSE(Vector3().isParallel(Vector3(), 0.0));
    EXPECT_FALSE(Vector3(1, 0, 0).isParallel(Vector3(), 0.0));
    EXPECT_FALSE(Vector3(kNaN, 0, 0).isParallel(Vector3(1, 0, 0), 0.0));
    EXPECT_FALSE(Vector3(1, 0, 0).isParallel(Vector3(1, 0, 0), kNaN)) << "a NaN tolerance does not select the default";
}

TEST(IsParallel, AlmostMeansFiveDegrees)
{
    EXPECT_TRUE(Vector3(1, 0, 0).isAlmostParallel(atDegrees(4.9)));
    EXPECT_FALSE(Vector3(1, 0, 0).isAlmostParallel(atDegrees(5.1)));
}

TEST(IsNormal, TheToleranceIsSquaredAndTheComparisonStrict)
{
    EXPECT_FALSE(Vector3(1, 0, 0).isNormal(Vector3(0, 1, 0), 0.0));
    EXPECT_FALSE(Vector3(1, 0, 0).isNormal(Vector3(1, 0, 0), 1.0));
    EXPECT_TRUE(Vector3(1, 0, 0).isNormal(atDegrees(60), 0.6));
    EXPECT_FALSE(Vector3(1, 0, 0).isNormal(atDegrees(60), 0.4));
}

TEST(IsNormal, DefaultIsThreeHundredthsOfADegree)
{
    EXPECT_TRUE(Vector3(1, 0, 0).isNormal(atDegrees(90.0299), -1.0));
    EXPECT_FALSE(Vector3(1, 0, 0).isNormal(atDegrees(90.0301), -1.0));
}

TEST(IsNormal, NullAndNaNAreNormalToNothing)
{
    EXPECT_FALSE(Vector3().isNormal(Vector3(1, 0, 0), 0.5));
    EXPECT_FALSE(Vector3(0, 1, 0).isNormal(Vector3(1, 0, 0), kNaN));
    EXPECT_FALSE(Vector3(0, kNaN, 0).isNormal(Vector3(1, 0, 0), 0.5));
}

TEST(IsNormal, AlmostMeansFiveDegrees)
{
    EXPECT_TRUE(Vector3(1, 0, 0).isAlmostNormal(atDegrees(85.1)));
    EXPECT_FALSE(Vector3(1, 0, 0).isAlmostNormal(atDegrees(84.9)));
}

TEST(Dist, SumsInOrder)
{
    EXPECT_EQ(distSq({1, 2, 3}, {4, 6, 3}), 25.0);
    EXPECT_EQ(dist({1, 2, 3}, {4, 6, 3}), 5.0);
}

TEST(StreamOutput, UsesTheFormatOfTheStreamAndNoNewline)
{
    std::ostringstream out;
    out << Vector3(1, 2.5, -3);
    EXPECT_EQ(out.str(), "(1, 2.5, -3)");
}

TEST(Vector3, MatchesTheReferenceOnHostileInput)
{
    test::Random random(1);
    for (int trial = 0; trial < 20000; ++trial) {
        SCOPED_TRACE(trial);
        Vector3 const a = random.oneIn(2) ? random.hostilePoint() : random.point() * random.spread(-50, -38);
        Vector3 b = random.oneIn(2) ? random.hostilePoint() : random.point();
        if (random.oneIn(4)) b = a * random.spread() + random.point() * random.spread(-60, -10);
        double const tol = random.oneIn(4) ? random.hostile() : random.uniform(-0.2, 1.0);
        Vector3 normalised = a;
        Vector3 expected = a;
        ASSERT_EQ(normalised.autoNormalize(), reference::autoNormalize(expected));
        ASSERT_TRUE(test::sameBits(normalised, expected));
        ASSERT_TRUE(test::sameBits(Vector3(UVector3(a)), reference::unit(a)));
        ASSERT_EQ(a.isNull(), reference::isNull(a));
        ASSERT_EQ(a.isParallel(b, tol), reference::isParallel(a, b, tol));
        ASSERT_EQ(a.isNormal(b, tol), reference::isNormal(a, b, tol));
        ASSERT_TRUE(test::sameBits(cross(a, b), reference::crossProduct(a, b)));
        ASSERT_TRUE(test::sameBits(a * b, reference::dot(a, b)));
        ASSERT_TRUE(test::sameBits(a / tol, reference::times(a, 1.0 / tol)));
    }
}

TEST(IsNormal, AZeroToleranceGivesFalse)
{
    test::Random random(2);
    for (int trial = 0; trial < 1000; ++trial) {
        EXPECT_FALSE(random.hostilePoint().isNormal(random.hostilePoint(), 0.0));
    }
}
