#include <sinew/skinning/bone_transform.h>

#include <limits>

#include <gtest/gtest.h>

#include "skinning/reference_bone_transform.h"
#include "skinning/skinning_scene.h"
#include "support/bits.h"
#include "support/random.h"

namespace {

using test::Random;
using test::randomBone;
using test::sameBits;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi = 3.14159265358979323846;
constexpr double kRounding = 1e-12; // several roundings of numbers near 1

::testing::AssertionResult near(Vector3 const& a, Vector3 const& b, double tolerance = kRounding)
{
    if (dist(a, b) <= tolerance) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << a << " is " << dist(a, b) << " away from " << b;
}

::testing::AssertionResult near(Matrix3 const& a, Matrix3 const& b, double tolerance = kRounding)
{
    for (int j = 0; j < 3; ++j) {
        if (auto result = near(a.column(j), b.column(j), tolerance); !result) return result << " in column " << j;
    }
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult near(BoneTransform const& a, BoneTransform const& b, double tolerance = kRounding)
{
    if (auto result = near(a.linear, b.linear, tolerance); !result) return result;
    return near(a.translation, b.translation, tolerance);
}

bool same(BoneTransform const& a, BoneTransform const& b)
{
    return sameBits(a.linear, b.linear) && sameBits(a.translation, b.translation);
}

BoneTransform rotation(Vector3 const& axis, double angle, Vector3 const& translation = Vector3())
{
    BoneTransform result;
    result.linear = Matrix3::rotationMatrix(UVector3(axis), angle);
    result.translation = translation;
    return result;
}

} // namespace

TEST(BoneTransform, IsTwelveDoublesAndStartsAsTheIdentity)
{
    EXPECT_EQ(sizeof(BoneTransform), 12 * sizeof(double));
    EXPECT_EQ(BoneTransform() * Vector3(1, 2, 3), Vector3(1, 2, 3));
}

TEST(BoneTransform, ABoneInItsRestPositionIsTheIdentity)
{
    BoneTransform const bone({1, 2, 3}, {4, 6, 3}, {1, 2, 3}, {4, 6, 3}, 0.0);
    EXPECT_TRUE(near(bone, BoneTransform()));
}

TEST(BoneTransform, ABoneMovedWithoutRotationIsATranslation)
{
    BoneTransform const bone({0, 0, 0}, {0, 1, 0}, {5, 6, 7}, {5, 7, 7}, 0.0);
    EXPECT_TRUE(near(bone.linear, Matrix3()));
    EXPECT_TRUE(near(bone.translation, {5, 6, 7}));
}

TEST(BoneTransform, TwistRotatesRightHandedAboutThePosedDirection)
{
    BoneTransform const bone({0, 0, 0}, {0, 0, 2}, {0, 0, 0}, {0, 0, 2}, kPi / 2);
    EXPECT_TRUE(near(bone * Vector3(1, 0, 0.5), {0, 1, 0.5}));
    EXPECT_TRUE(near(bone * Vector3(0, 0, 2), {0, 0, 2})) << "the points of the bone do not move";
}

TEST(BoneTransform, StretchesAlongTheBoneOnly)
{
    BoneTransform const bone({0, 0, 0}, {0, 1, 0}, {0, 0, 0}, {0, 2, 0}, 0.0);
    EXPECT_TRUE(near(bone * Vector3(0, 1, 0), {0, 2, 0}));
    EXPECT_TRUE(near(bone * Vector3(3, 0, 4), {3, 0, 4}));
}

TEST(BoneTransform, OppositeDirectionsAreRotatedAboutTheFirstBasisVector)
{
    // The first vector of getBasis((0, 0, 1)) is (0, 1, 0), so y does not change and x is reversed.
    BoneTransform const bone({0, 0, 0}, {0, 0, 1}, {0, 0, 0}, {0, 0, -1}, 0.0);
    EXPECT_TRUE(near(bone * Vector3(1, 2, 3), {-1, 2, -3}));
}

TEST(BoneTransform, MapsBothEndsOfRandomBones)
{
    Random random(41);
    for (int trial = 0; trial < 2000; ++trial) {
        SCOPED_TRACE(trial);
        Vector3 const p[4] = {random.point(), random.point(), random.point(), random.point()};
        BoneTransform const bone(p[0], p[1], p[2], p[3], random.uniform(-4, 4));
        double const stretch = dist(p[2], p[3]) / dist(p[0], p[1]);
        EXPECT_TRUE(near(bone * p[0], p[2], 1e-12 * (1 + stretch)));
        EXPECT_TRUE(near(bone * p[1], p[3], 1e-12 * (1 + stretch)));
        // Lengths perpendicular to the bone do not change, so the determinant is the stretch.
        EXPECT_NEAR(bone.linear.determinant(), stretch, 1e-10 * stretch);
    }
}

TEST(BoneTransform, AZeroRestLengthGivesNonFiniteNumbers)
{
    BoneTransform const bone({1, 1, 1}, {1, 1, 1}, {0, 0, 0}, {0, 0, 1}, 0.0);
    bool finite = true;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) finite = finite && std::isfinite(bone.linear(i, j));
    }
    EXPECT_FALSE(finite);
}

TEST(BoneTransform, CompositionAppliesTheRightOperandFirst)
{
    BoneTransform const turn = rotation({0, 0, 1}, kPi / 2);
    BoneTransform move;
    move.translation = Vector3(1, 0, 0);
    EXPECT_TRUE(near((turn * move) * Vector3(0, 0, 0), {0, 1, 0}));
    EXPECT_TRUE(near((move * turn) * Vector3(0, 0, 0), {1, 0, 0}));
}

TEST(BoneTransform, CompositionWithTheInverseIsTheIdentity)
{
    Random random(42);
    for (int trial = 0; trial < 500; ++trial) {
        SCOPED_TRACE(trial);
        BoneTransform const bone = randomBone(random);
        if (std::fabs(bone.linear.determinant()) < 0.05) continue; // ill-conditioned
        EXPECT_TRUE(near(bone * bone.inverse(), BoneTransform(), 1e-10));
    }
}

TEST(BoneTransform, InverseOfASingularMapIsZero)
{
    BoneTransform flat;
    flat.linear.zero();
    flat.translation = Vector3(1, 2, 3);
    EXPECT_EQ(flat.inverse().linear(0, 0), 0.0);
    EXPECT_EQ(flat.inverse().translation, Vector3());
}

TEST(BoneInterpolate, OutsideTheOpenIntervalTheResultIsExactlyAnEnd)
{
    Random random(43);
    BoneTransform const target = randomBone(random);
    EXPECT_TRUE(same(BoneTransform::interpolate(target, 0.0), BoneTransform()));
    EXPECT_TRUE(same(BoneTransform::interpolate(target, -1.0), BoneTransform()));
    EXPECT_TRUE(same(BoneTransform::interpolate(target, 1.0), target));
    EXPECT_TRUE(same(BoneTransform::interpolate(target, 2.0), target));
}

TEST(BoneInterpolate, ANaNFractionGivesNaN)
{
    BoneTransform const target = rotation({0, 0, 1}, 1.0, {1, 2, 3});
    BoneTransform const blended = BoneTransform::interpolate(target, kNaN);
    EXPECT_TRUE(std::isnan(blended.translation.x));
    EXPECT_TRUE(std::isnan(blended.linear(0, 0)));
}

TEST(BoneInterpolate, RotatesByTheFractionOfTheAngle)
{
    Random random(44);
    for (int trial = 0; trial < 500; ++trial) {
        SCOPED_TRACE(trial);
        Vector3 const axis = random.point();
        double const angle = random.uniform(-3, 3);
        double const t = random.uniform(0.01, 0.99);
        BoneTransform const target = rotation(axis, angle, random.point());
        BoneTransform const blended = BoneTransform::interpolate(target, t);
        EXPECT_TRUE(near(blended.linear, Matrix3::rotationMatrix(UVector3(axis), t * angle), 1e-9));
        EXPECT_TRUE(sameBits(blended.translation, t * target.translation));
    }
}

TEST(BoneInterpolate, RaisesTheStretchToThePowerOfTheFraction)
{
    BoneTransform target;
    target.linear = Matrix3(Vector3(4, 0, 0), Vector3(0, 1, 0), Vector3(0, 0, 0.25));
    BoneTransform const half = BoneTransform::interpolate(target, 0.5);
    EXPECT_TRUE(near(half.linear, Matrix3(Vector3(2, 0, 0), Vector3(0, 1, 0), Vector3(0, 0, 0.5))));
}

TEST(BoneInterpolate, ApproachesTheTargetAsTheFractionApproachesOne)
{
    Random random(45);
    for (int trial = 0; trial < 500; ++trial) {
        SCOPED_TRACE(trial);
        BoneTransform const target = randomBone(random);
        double const stretch = target.linear.determinant();
        if (stretch < 0.1 || stretch > 10) continue; // the rounding of the eigenvalues dominates there
        BoneTransform const blended = BoneTransform::interpolate(target, 1 - 1e-9);
        EXPECT_TRUE(near(blended.linear, target.linear, 1e-5));
    }
}

TEST(BoneInterpolate, ASingularTargetGivesFiniteNumbers)
{
    BoneTransform flat;
    flat.linear.zero();
    BoneTransform const half = BoneTransform::interpolate(flat, 0.5);
    EXPECT_EQ(half.translation, Vector3());
    EXPECT_EQ(half.linear(0, 0), 0.0);
}

TEST(BoneInterpolate, HalfwayBetweenTwoTranslationsIsTheirMean)
{
    BoneTransform a;
    BoneTransform b;
    a.translation = Vector3(1, 2, 3);
    b.translation = Vector3(3, 2, 1);
    EXPECT_TRUE(near(BoneTransform::interpolate(a, b, 0.5), rotation({0, 0, 1}, 0.0, {2, 2, 2})));
}

TEST(BoneInterpolate, BetweenTwoTransformsIsTheFirstTimesTheInterpolatedDifference)
{
    Random random(46);
    for (int trial = 0; trial < 200; ++trial) {
        SCOPED_TRACE(trial);
        BoneTransform const a = randomBone(random);
        BoneTransform const b = randomBone(random);
        for (double const t : {-1.0, 0.0, 0.25, 1.0, 3.0, kNaN}) {
            EXPECT_TRUE(same(BoneTransform::interpolate(a, b, t), a * BoneTransform::interpolate(a.inverse() * b, t)));
        }
    }
}

// A different grouping of the products would round differently and fail here.
TEST(BoneTransform, HasTheBitsOfTheReference)
{
    Random random(47);
    for (int trial = 0; trial < 3000; ++trial) {
        SCOPED_TRACE(trial);
        bool const hostile = random.oneIn(6);
        auto const point = [&] { return hostile ? random.hostilePoint() : random.point(); };
        Vector3 p[4] = {point(), point(), point(), point()};
        if (random.oneIn(8)) p[3] = p[2] + (p[1] - p[0]); // the same direction and length
        if (random.oneIn(8)) p[3] = p[2] - (p[1] - p[0]); // the opposite direction
        if (random.oneIn(20)) p[1] = p[0];
        if (random.oneIn(20)) p[3] = p[2];
        double const twist = random.oneIn(4) ? 0.0 : random.uniform(-4, 4);
        EXPECT_TRUE(same(BoneTransform(p[0], p[1], p[2], p[3], twist),
                         reference::boneTransform(p[0], p[1], p[2], p[3], twist)));
    }
}

TEST(BoneInterpolate, HasTheBitsOfTheReference)
{
    Random random(48);
    for (int trial = 0; trial < 3000; ++trial) {
        SCOPED_TRACE(trial);
        BoneTransform a = randomBone(random);
        BoneTransform b = randomBone(random);
        if (random.oneIn(4)) b.linear = Matrix3(random.point(), random.point(), random.point()); // sheared or mirrored
        if (random.oneIn(8)) b.linear = random.uniform(-2, 2) * Matrix3();
        if (random.oneIn(8)) b.linear.tensor(random.point(), random.point());
        if (random.oneIn(10)) b.linear = Matrix3(random.hostilePoint(), random.point(), random.point());
        if (random.oneIn(10)) a = BoneTransform(); // the translation of its inverse is -0.0
        if (random.oneIn(10)) b.translation = Vector3();
        double const t = random.uniform(-0.2, 1.2);
        EXPECT_TRUE(same(BoneTransform::interpolate(b, t), reference::interpolate(b, t)));
        EXPECT_TRUE(same(BoneTransform::interpolate(a, b, t), reference::interpolate(a, b, t)));
        EXPECT_TRUE(same(a.inverse(), reference::inverse(a)));
        EXPECT_TRUE(same(a * b, reference::compose(a, b)));
    }
}

TEST(BoneInterpolate, TheMagnitudeOfANegativeEigenvalueIsUsed)
{
    // Singular except for rounding, and so large that the determinant exceeds the threshold of the inverse. Rounding
    // makes some eigenvalues negative; their square roots would be NaN.
    Random random(49);
    int negative = 0;
    for (int trial = 0; trial < 500; ++trial) {
        SCOPED_TRACE(trial);
        Vector3 const u = random.point() * 100.0;
        Vector3 const v = random.point() * 100.0;
        BoneTransform flat;
        flat.linear = Matrix3(u, v, u + v);
        double lambda[3];
        Matrix3(flat.linear * flat.linear.transpose()).getEigensystem(lambda, nullptr);
        negative += lambda[0] < 0 ? 1 : 0;
        BoneTransform const half = BoneTransform::interpolate(flat, 0.5);
        EXPECT_TRUE(same(half, reference::interpolate(flat, 0.5)));
        EXPECT_FALSE(std::isnan(half.linear(0, 0)));
    }
    EXPECT_GT(negative, 50);
}
