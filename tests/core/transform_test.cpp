#include <sinew/core/transform.h>

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include <sinew/core/vector_geometry.h>

#include "core/reference_placements.h"
#include "support/bits.h"
#include "support/random.h"

namespace {

using test::Random;
using test::sameBits;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kPi = 3.14159265358979323846;

Transform randomTransform(Random& random)
{
    Transform t(random.point(), random.uniform(-4, 4));
    t.translation = random.point();
    t.scale = random.oneIn(2) ? random.uniform(0.2, 3) : random.uniform(-3, -0.2);
    return t;
}

Transform hostileTransform(Random& random)
{
    Transform t = randomTransform(random);
    if (random.oneIn(4)) t.translation = random.hostilePoint();
    if (random.oneIn(4)) t.scale = random.hostile();
    if (random.oneIn(8)) t.linear = Matrix3(random.hostilePoint(), random.hostilePoint(), random.hostilePoint());
    return t;
}

template <typename Check>
void forTransforms(std::uint64_t seed, Check check)
{
    Random random(seed);
    for (int trial = 0; trial < 10000 && !testing::Test::HasFailure(); ++trial) {
        SCOPED_TRACE(trial);
        check(random, hostileTransform(random));
    }
}

double mapDifference(Transform const& a, Transform const& b)
{
    double largest = 0;
    for (Vector3 const& p : {Vector3(), Vector3(1, 0, 0), Vector3(0, 1, 0), Vector3(0, 0, 1)}) {
        largest = std::fmax(largest, dist(a * p, b * p));
    }
    return largest;
}

} // namespace

TEST(Transform, DefaultIsTheIdentity)
{
    EXPECT_EQ(Transform() * Vector3(1, 2, 3), Vector3(1, 2, 3));
    EXPECT_EQ(Transform().scale, 1.0);
    EXPECT_EQ(Transform(1.0), Transform());
}

TEST(Transform, AreEqualOnlyIfAllPartsAreEqual)
{
    Transform moved;
    moved.translation = {0, 0, 1};
    EXPECT_NE(moved, Transform());
    EXPECT_NE(Transform(2.0), Transform());
    EXPECT_NE(Transform(Vector3(0, 0, 1), 1.0), Transform());
    EXPECT_EQ(Transform(moved), moved);
}

TEST(Transform, OfANumberScales)
{
    EXPECT_EQ(Transform(2.0) * Vector3(1, 0, 0), Vector3(2, 0, 0));
}

TEST(Transform, AppliesScaleThenRotationThenTranslation)
{
    Transform t(Vector3(0, 0, 9), kPi / 2);
    t.scale = 3;
    t.translation = {10, 0, 0};
    EXPECT_NEAR(dist(t * Vector3(1, 0, 0), {10, 3, 0}), 0, 1e-15);
}

TEST(Transform, OfAFrameHasTheDirectionsInColumnsTwoAndZero)
{
    Transform const t(UVector3(0, 0, 1), UVector3(1, 0, 0), {5, 6, 7});
    EXPECT_EQ(t.linear, Matrix3());
    Transform const other(UVector3(0, 1, 0), UVector3(0, 0, 1), {5, 6, 7});
    EXPECT_EQ(other.linear.column(0), Vector3(0, 0, 1));
    EXPECT_EQ(other.linear.column(1), Vector3(1, 0, 0));
    EXPECT_EQ(other.linear.column(2), Vector3(0, 1, 0));
    EXPECT_EQ(other.translation, Vector3(5, 6, 7));
    EXPECT_EQ(other.scale, 1.0);
}

TEST(Transform, AxisAndAngleNormaliseTheAxis)
{
    EXPECT_EQ(Transform(Vector3(0, 0, 5), 0.5).linear, Matrix3::rotationMatrix(UVector3(0, 0, 1), 0.5));
    EXPECT_EQ(Transform(Vector3(), 0.5).linear, Matrix3::rotationMatrix(UVector3(0, 0, 1), 0.5)) << "null fallback";
}

TEST(TransformGetMatrix, ContainsTheScaledBlockAndTheTranslation)
{
    Matrix const m = Transform(UVector3(0, 0, 1), UVector3(1, 0, 0), {5, 6, 7}).getMatrix();
    double const rows[4][4] = {{1, 0, 0, 5}, {0, 1, 0, 6}, {0, 0, 1, 7}, {0, 0, 0, 1}};
    for (int k = 0; k < 16; ++k) EXPECT_EQ(m(k / 4, k % 4), rows[k / 4][k % 4]);
    EXPECT_EQ(Transform(-2.0).getMatrix()(1, 1), -2.0);
    EXPECT_EQ(Transform(-2.0).getMatrix()(3, 3), 1.0);
    EXPECT_EQ(Transform(-2.0).getLinear()(2, 2), -2.0);
}

TEST(TransformGetMatrix, DescribesTheSameMap)
{
    Random random(501);
    for (int trial = 0; trial < 500; ++trial) {
        Transform const t = randomTransform(random);
        Vector3 const p = random.point();
        ASSERT_NEAR(dist(t.getMatrix() * p, t * p), 0, 1e-14);
    }
}

TEST(TransformLinearComponent, RemovesOnlyTheTranslation)
{
    Random random(502);
    Transform const t = randomTransform(random);
    Transform const direction = t.linearComponent();
    EXPECT_EQ(direction.translation, Vector3());
    EXPECT_EQ(direction.linear, t.linear);
    EXPECT_EQ(direction.scale, t.scale);
}

TEST(TransformProduct, AppliesTheRightFactorFirst)
{
    Random random(503);
    for (int trial = 0; trial < 1000; ++trial) {
        Transform const A = randomTransform(random), B = randomTransform(random);
        Vector3 const p = random.point();
        ASSERT_NEAR(dist((A * B) * p, A * (B * p)), 0, 1e-13);
    }
}

TEST(TransformInverse, UndoesTheMap)
{
    Random random(504);
    for (int trial = 0; trial < 1000; ++trial) {
        Transform const t = randomTransform(random);
        ASSERT_NEAR(mapDifference(t * t.inverse(), Transform()), 0, 1e-13);
        ASSERT_NEAR(mapDifference(t.inverse() * t, Transform()), 0, 1e-13);
    }
}

TEST(TransformInverse, AZeroScaleGivesAnInfiniteOne)
{
    EXPECT_EQ(Transform(0.0).inverse().scale, kInfinity);
}

TEST(TransformInverse, TransposesAnyLinearPart)
{
    Transform t;
    t.linear = Matrix3({1, 2, 3}, {4, 5, 6}, {7, 8, 9});
    EXPECT_EQ(t.inverse().linear, t.linear.transpose());
}

TEST(TransformArithmetic, MatchesTheReference)
{
    forTransforms(505, [](Random& random, Transform const& A) {
        Transform const B = hostileTransform(random);
        Vector3 const p = random.hostilePoint();
        EXPECT_TRUE(sameBits(A * p, reference::map(A, p)));
        EXPECT_TRUE(sameBits(A * B, reference::product(A, B)));
        EXPECT_TRUE(sameBits(A.inverse(), reference::inverse(A)));
        Matrix const m = A.getMatrix();
        for (int k = 0; k < 9; ++k) {
            EXPECT_TRUE(sameBits(m(k / 3, k % 3), A.linear(k / 3, k % 3) * A.scale));
            EXPECT_TRUE(sameBits(A.getLinear()(k / 3, k % 3), m(k / 3, k % 3)));
        }
    });
}

TEST(TransformRotate, TurnsOneDirectionIntoAnother)
{
    Random random(506);
    for (int trial = 0; trial < 1000; ++trial) {
        UVector3 const a(random.point()), b(random.point());
        ASSERT_NEAR(dist(Transform::rotate(a, b) * a, b), 0, 1e-14);
    }
}

TEST(TransformRotate, EqualDirectionsGiveTheIdentityOppositeOnesAHalfTurnAboutTheSecondBasisVector)
{
    UVector3 const a(3, 0, 4); // (0.6, 0, 0.8): the cross products with itself and its opposite are exactly zero
    EXPECT_EQ(Transform::rotate(a, a), Transform());
    Vector3 e1, e2;
    getBasis(a, e1, e2);
    Transform const half = Transform::rotate(a, UVector3(-a));
    EXPECT_EQ(half, Transform(e2, 3.141592653589793));
    EXPECT_NEAR(dist(half * e2, e2), 0, 1e-15);
    EXPECT_NEAR(dist(half * a, -a), 0, 1e-15);
}

TEST(TransformRotate, MatchesTheReference)
{
    forTransforms(507, [](Random& random, Transform const&) {
        UVector3 const a(random.oneIn(8) ? random.hostilePoint() : random.point());
        UVector3 b(random.oneIn(8) ? random.hostilePoint() : random.point());
        if (random.oneIn(4)) b = UVector3(random.oneIn(2) ? Vector3(a) : -a);
        EXPECT_TRUE(sameBits(Transform::rotate(a, b), reference::rotate(a, b)));
    });
}

TEST(TransformReflection, IsAHalfTurnWithNegativeScale)
{
    Transform const mirror = Transform::reflection({0, 0, 1}, UVector3(0, 0, 1));
    EXPECT_EQ(mirror * Vector3(1, 2, 3), Vector3(1, 2, -1));
    EXPECT_EQ(mirror.scale, -1.0);
    EXPECT_EQ(mirror.linear, Matrix3({-1, 0, 0}, {0, -1, 0}, {0, 0, 1}));
}

TEST(TransformReflection, ReflectsInThePlane)
{
    Random random(508);
    for (int trial = 0; trial < 1000; ++trial) {
        Vector3 const p = random.point(), q = random.point();
        UVector3 const n(random.point());
        Transform const mirror = Transform::reflection(p, n);
        ASSERT_NEAR(dist(mirror * q, q - 2 * (n * (q - p)) * n), 0, 1e-14);
        ASSERT_NEAR(dist(mirror * (mirror * q), q), 0, 1e-14);
        ASSERT_NEAR(mirror.linear.determinant(), 1, 1e-14) << "a proper rotation";
        ASSERT_TRUE(sameBits(mirror, reference::reflection(p, n)));
    }
}

TEST(TransformInterpolate, EndsAreReturnedUnchanged)
{
    Random random(509);
    Transform const A = randomTransform(random), B = randomTransform(random);
    EXPECT_EQ(Transform::interpolate(A, B, 0.0), A);
    EXPECT_EQ(Transform::interpolate(A, B, -kInfinity), A);
    EXPECT_EQ(Transform::interpolate(A, B, 1.0), B);
    EXPECT_EQ(Transform::interpolate(A, B, 5.0), B);
    EXPECT_TRUE(std::isnan(Transform::interpolate(A, B, kNaN).translation.x));
}

TEST(TransformInterpolate, TheScaleIsInterpolatedGeometrically)
{
    EXPECT_DOUBLE_EQ(Transform::interpolate(Transform(1.0), Transform(4.0), 0.5).scale, 2.0);
    EXPECT_DOUBLE_EQ(Transform::interpolate(Transform(-1.0), Transform(-4.0), 0.5).scale, -2.0);
}

TEST(TransformInterpolate, TheSignOfTheScaleChangesJustAboveTheMiddle)
{
    Transform const A(1.0), B(-1.0);
    EXPECT_EQ(Transform::interpolate(A, B, 0.5).scale, 1.0);
    EXPECT_EQ(Transform::interpolate(A, B, std::nextafter(0.5, 1)).scale, -1.0);
    EXPECT_EQ(Transform::interpolate(B, A, 0.5).scale, -1.0);
    EXPECT_EQ(Transform::interpolate(B, A, std::nextafter(0.5, 1)).scale, 1.0);
}

TEST(TransformInterpolate, RotationAndTranslationHaveConstantRates)
{
    Random random(510);
    for (int trial = 0; trial < 500; ++trial) {
        Transform A = randomTransform(random);
        Transform B = Transform(random.point(), random.uniform(0.1, 3.0)) * A;
        Transform const quarter = Transform::interpolate(A, B, 0.25);
        Transform const half = Transform::interpolate(A, B, 0.5);
        ASSERT_NEAR(mapDifference(Transform::interpolate(A, half, 0.5), quarter), 0, 1e-12);
        ASSERT_NEAR(dist(half.translation, (A.translation + B.translation) * 0.5), 0, 1e-15);
    }
}

TEST(TransformInterpolate, MatchesTheReference)
{
    forTransforms(511, [](Random& random, Transform const& A) {
        Transform const B = hostileTransform(random);
        double const w = random.oneIn(4) ? random.hostile() : random.uniform(0, 1);
        EXPECT_TRUE(sameBits(Transform::interpolate(A, B, w), reference::interpolate(A, B, w)));
    });
}
