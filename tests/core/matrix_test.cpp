#include <sinew/core/matrix.h>

#include <cmath>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "core/reference_placements.h"
#include "support/bits.h"
#include "support/captured_output.h"
#include "support/random.h"

namespace {

using test::Random;
using test::sameBits;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kPi = 3.14159265358979323846;

Matrix translation(double x, double y, double z)
{
    return reference::affine(Matrix3(), Vector3(x, y, z));
}

Matrix scaling(double x, double y, double z)
{
    Matrix m;
    m(0, 0) = x;
    m(1, 1) = y;
    m(2, 2) = z;
    return m;
}

Matrix counting()
{
    Matrix m;
    for (int k = 0; k < 16; ++k) m(k / 4, k % 4) = k + 1;
    return m;
}

Matrix randomPlacement(Random& random)
{
    Matrix const turn = Matrix::rotationMatrix(random.point(), random.uniform(-4, 4));
    Matrix const moved = reference::product(turn, translation(random.uniform(), random.uniform(), random.uniform()));
    return moved.scale(random.uniform(0.2, 3));
}

Matrix randomMatrix(Random& random)
{
    Matrix m = randomPlacement(random);
    switch (random.below(4)) {
    case 0:
        for (int k = 0; k < 16; ++k) m(k / 4, k % 4) = random.hostile();
        break;
    case 1:
        for (int k = 0; k < 12; ++k) m(k / 4, k % 4) = random.below(3) - 1;
        break;
    case 2:
        m(random.below(4), random.below(4)) += random.spread(-40, 1);
        break;
    default:
        break;
    }
    return m;
}

template <typename Check>
void forMatrices(std::uint64_t seed, Check check)
{
    Random random(seed);
    for (int trial = 0; trial < 10000 && !testing::Test::HasFailure(); ++trial) {
        SCOPED_TRACE(trial);
        check(random, randomMatrix(random));
    }
}

std::string printed(Matrix const& m)
{
    return test::flushedOutput([&] { m.print(); });
}

} // namespace

TEST(Matrixf, IsAnAggregateOfSixteenFloatsWithTheIdentityAsDefault)
{
    Matrixf const m = {{{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}, {13, 14, 15, 16}}};
    EXPECT_EQ(m(1, 3), 8.0f);
    EXPECT_EQ(sizeof(Matrixf), 16 * sizeof(float));
    EXPECT_EQ(Matrix(Matrixf()), Matrix());
}

TEST(Matrix, DefaultIsTheIdentityAndStorageIsRowByRow)
{
    Matrix m;
    for (int k = 0; k < 16; ++k) EXPECT_EQ(m(k / 4, k % 4), k % 5 == 0 ? 1.0 : 0.0);
    m = counting();
    double const* first = &m(0, 0);
    for (int k = 0; k < 16; ++k) EXPECT_EQ(first[k], k + 1);
    EXPECT_EQ(sizeof(Matrix), 16 * sizeof(double));
}

TEST(Matrix, WidensFloatsInOrder)
{
    Matrixf narrow;
    for (int k = 0; k < 16; ++k) narrow(k / 4, k % 4) = 0.1f * static_cast<float>(k + 1);
    Matrix const m(narrow);
    for (int k = 0; k < 16; ++k) EXPECT_EQ(m(k / 4, k % 4), static_cast<double>(0.1f * static_cast<float>(k + 1)));
}

TEST(Matrix, ProductAppliesTheRightFactorFirst)
{
    Matrix const turn = Matrix::rotationMatrix({0, 0, 2}, kPi / 2);
    Matrix const move = translation(5, 0, 0);
    EXPECT_NEAR(dist(move * turn * Vector3(1, 0, 0), {5, 1, 0}), 0, 1e-15);
    EXPECT_NEAR(dist(turn * move * Vector3(1, 0, 0), {0, 6, 0}), 0, 1e-15);
}

TEST(Matrix, ProductMayOverwriteItsOwnFactor)
{
    Matrix m = counting();
    m *= m;
    EXPECT_EQ(m, counting() * counting());
    Matrix n;
    n *= translation(1, 2, 3);
    n *= scaling(2, 2, 2);
    EXPECT_EQ(n * Vector3(1, 1, 1), Vector3(3, 4, 5));
}

TEST(Matrix, ThePointMapIgnoresTheLastRow)
{
    Matrix m = translation(1, 2, 3);
    m(3, 0) = m(3, 3) = 77;
    EXPECT_EQ(m * Vector3(1, 1, 1), Vector3(2, 3, 4));
}

TEST(Matrix, AProductWithANumberScalesAllElementsAndScaleResetsTheLastRow)
{
    Matrix const m = counting();
    Matrix const product = m * 2.0;
    for (int k = 0; k < 16; ++k) EXPECT_EQ(product(k / 4, k % 4), 2.0 * (k + 1));
    EXPECT_EQ(product, 2.0 * m);
    Matrix const scaled = m.scale(2.0);
    for (int k = 0; k < 12; ++k) EXPECT_EQ(scaled(k / 4, k % 4), 2.0 * (k + 1)) << "the translation included";
    for (int k = 12; k < 16; ++k) EXPECT_EQ(scaled(k / 4, k % 4), k == 15 ? 1.0 : 0.0);
}

TEST(Matrix, TransposeSwapsRowsAndColumns)
{
    Matrix const m = counting();
    for (int k = 0; k < 16; ++k) EXPECT_EQ(m.transpose()(k / 4, k % 4), m(k % 4, k / 4));
    EXPECT_NE(m, m.transpose());
}

TEST(Matrix, DistToDependsOnEveryElement)
{
    for (int k = 0; k < 16; ++k) {
        Matrix m;
        m(k / 4, k % 4) += 3;
        EXPECT_EQ(m.distTo(Matrix()), 3.0);
        m((k + 5) % 16 / 4, (k + 5) % 4) += 4;
        EXPECT_EQ(Matrix().distTo(m), 5.0);
    }
}

TEST(Matrix, ArithmeticMatchesTheReference)
{
    forMatrices(401, [](Random& random, Matrix const& a) {
        Matrix const b = randomMatrix(random);
        double const s = random.hostile();
        EXPECT_TRUE(sameBits(a * b, reference::product(a, b)));
        EXPECT_TRUE(sameBits(a.transpose(), reference::transposed(a)));
        EXPECT_TRUE(sameBits(a.distTo(b), reference::distTo(a, b)));
        EXPECT_TRUE(sameBits(a.scale(s), reference::scaled(a, s)));
    });
}

TEST(MatrixPrint, WritesFourRowsByteForByteAndFlushes)
{
    EXPECT_EQ(printed(Matrix()), "[1.00 0.00 0.00 0.00 \n"
                                 " 0.00 1.00 0.00 0.00 \n"
                                 " 0.00 0.00 1.00 0.00 \n"
                                 " 0.00 0.00 0.00 1.00 ]\n");
}

TEST(MatrixPrint, RoundsToTwoDecimals)
{
    Matrix m;
    m(0, 0) = -1.005;
    m(0, 1) = 2.675;
    m(0, 2) = -1e-9;
    m(0, 3) = 123456.789;
    m(3, 0) = kInfinity;
    EXPECT_EQ(printed(m), "[-1.00 2.67 -0.00 123456.79 \n"
                          " 0.00 1.00 0.00 0.00 \n"
                          " 0.00 0.00 1.00 0.00 \n"
                          " inf 0.00 0.00 1.00 ]\n");
}

TEST(MatrixPrint, WritesHugeNumbersInFull)
{
    Matrix m;
    for (int k = 0; k < 16; ++k) m(k / 4, k % 4) = std::numeric_limits<double>::lowest();
    EXPECT_EQ(printed(m).size(), 16u * (1 + 309 + 3 + 1) + 4 + 1 + 4);
}

TEST(MatrixInverse, UndoesATranslation)
{
    EXPECT_EQ(translation(1, 2, 3).inverse(), translation(-1, -2, -3));
}

TEST(MatrixInverse, ASingularBlockGivesTheIdentity)
{
    EXPECT_EQ(scaling(1e-14, 1, 1).inverse(), Matrix());
    EXPECT_EQ((translation(1, 2, 3) * scaling(1, 1, 0)).inverse(), Matrix());
    EXPECT_EQ(scaling(1e-13, 1, 1).inverse(), Matrix()) << "1e-13 is not greater than the threshold";
    EXPECT_EQ(scaling(std::nextafter(1e-13, 1), 1, 1).inverse()(0, 0), 1.0 / std::nextafter(1e-13, 1));
    EXPECT_EQ(scaling(kNaN, 1, 1).inverse(), Matrix()) << "no comparison with NaN is true";
}

TEST(MatrixInverse, DoesNotReadTheLastRow)
{
    Matrix m = translation(1, 2, 3) * scaling(2, 4, 8);
    Matrix const expected = m.inverse();
    for (int j = 0; j < 4; ++j) m(3, j) = 7;
    EXPECT_EQ(m.inverse(), expected);
    EXPECT_EQ(expected(3, 3), 1.0);
    EXPECT_EQ(expected(3, 0), 0.0);
}

TEST(MatrixInverse, UndoesTheMap)
{
    Random random(402);
    for (int trial = 0; trial < 2000; ++trial) {
        Matrix const m = randomPlacement(random);
        ASSERT_NEAR((m * m.inverse()).distTo(Matrix()), 0, 1e-13);
        ASSERT_NEAR((m.inverse() * m).distTo(Matrix()), 0, 1e-13);
    }
}

TEST(MatrixInverse, MatchesTheReference)
{
    forMatrices(403, [](Random&, Matrix const& m) { EXPECT_TRUE(sameBits(m.inverse(), reference::inverse(m))); });
}

TEST(IsRigid, HoldsForRotationAndTranslation)
{
    Random random(404);
    for (int trial = 0; trial < 500; ++trial) {
        Matrix const turn = Matrix::rotationMatrix(random.point(), random.uniform(-4, 4));
        ASSERT_TRUE((translation(random.uniform(-1e6, 1e6), 2, 3) * turn).isRigid());
    }
    EXPECT_TRUE(scaling(1, 1, -1).isRigid()) << "a reflection keeps distances too";
}

TEST(IsRigid, FailsForScaleAndShear)
{
    EXPECT_FALSE(scaling(2, 2, 2).isRigid());
    EXPECT_FALSE(scaling(1, 1, 1.001).isRigid());
    Matrix sheared;
    sheared(0, 1) = 0.001;
    EXPECT_FALSE(sheared.isRigid());
}

TEST(IsRigid, AUniformScaleMayDifferByHalfTheThreshold)
{
    // N * transpose(N) differs from the identity only in element (3, 3), which is 1 / scale^2. Its relative change is
    // twice that of the scale.
    EXPECT_TRUE(scaling(1.00004, 1.00004, 1.00004).isRigid());
    EXPECT_FALSE(scaling(1.00006, 1.00006, 1.00006).isRigid());
}

TEST(IsRigid, TheLastRowMustBeExact)
{
    for (int j = 0; j < 4; ++j) {
        Matrix m;
        m(3, j) = std::nextafter(m(3, j), 2);
        EXPECT_FALSE(m.isRigid()) << j;
        m(3, j) = kNaN;
        EXPECT_FALSE(m.isRigid()) << j;
    }
    Matrix m;
    m(3, 3) = 0.5;
    EXPECT_FALSE(m.isRigid());
    m(3, 3) = 1;
    m(3, 0) = -0.0;
    EXPECT_TRUE(m.isRigid());
}

TEST(IsRigid, ANaNDistanceGivesTrue)
{
    EXPECT_TRUE(scaling(0, 1, 1).isRigid());
    EXPECT_TRUE(scaling(1, kNaN, 1).isRigid());
}

TEST(IsRigid, MatchesTheReference)
{
    forMatrices(405, [](Random& random, Matrix const& any) {
        Matrix m = any;
        if (random.oneIn(2)) m = m.scale(1 / reference::firstRowLength(m) * (1 + random.spread(-30, -8)));
        EXPECT_EQ(m.isRigid(), reference::isRigid(m));
    });
}

TEST(MatrixRotationAxis, DoesNotDependOnTheScale)
{
    Matrix const turn = Matrix::rotationMatrix({1, 2, 3}, 0.7);
    EXPECT_NEAR(dist(turn.getRotationAxis(), UVector3(1, 2, 3)), 0, 1e-14);
    EXPECT_NEAR(dist(turn.scale(7).getRotationAxis(), UVector3(1, 2, 3)), 0, 1e-14);
}

TEST(MatrixRotationAxis, TriesThePairsInOrder)
{
    // The pair (0, 1) gives the axis z. Column 0 of a rotation about x does not move, so the pair (1, 2) gives x. For
    // y it is the pair (2, 0).
    for (int axis = 0; axis < 3; ++axis) {
        Vector3 direction;
        direction[axis] = 1;
        EXPECT_EQ(Matrix::rotationMatrix(direction, 0.5).getRotationAxis(), direction) << axis;
    }
}

TEST(MatrixRotationAxis, WithoutAUsablePairIsX)
{
    EXPECT_EQ(Matrix().getRotationAxis(), Vector3(1, 0, 0));
    EXPECT_EQ(scaling(0, 0, 0).getRotationAxis(), Vector3(1, 0, 0));
    EXPECT_EQ(scaling(-1, 0, 0).getRotationAxis(), Vector3(1, 0, 0)) << "one usable column is not a pair";
}

TEST(MatrixRotationAxis, SkipsAColumnThatCannotBeNormalised)
{
    Matrix m = Matrix::rotationMatrix({1, 1, 1}, 1.0);
    for (int i = 0; i < 3; ++i) m(i, 0) = 0;
    EXPECT_NEAR(dist(m.getRotationAxis(), UVector3(1, 1, 1)), 0, 1e-14) << "columns 1 and 2 remain";
}

TEST(MatrixRotationAngle, IsSignedAboutAnAxisOfAnyLength)
{
    Matrix const m = translation(9, 9, 9) * Matrix::rotationMatrix({1, 2, 3}, 0.7).scale(5);
    EXPECT_NEAR(m.getRotationAngle({1, 2, 3}), 0.7, 1e-14);
    EXPECT_NEAR(m.getRotationAngle({-10, -20, -30}), -0.7, 1e-14);
}

TEST(MatrixRotationAxisAndAngle, MatchTheReference)
{
    forMatrices(406, [](Random& random, Matrix const& m) {
        Vector3 const axis = random.oneIn(4) ? random.hostilePoint() : random.point();
        EXPECT_TRUE(sameBits(m.getRotationAxis(), reference::getRotationAxis(m)));
        EXPECT_TRUE(sameBits(m.getRotationAngle(axis), reference::getRotationAngle(m, axis)));
    });
}

TEST(Vvt, IsTheOuterProductInTheBlock)
{
    Matrix const m = Matrix::vvt({2, 3, 5});
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) EXPECT_EQ(m(i, j), Vector3(2, 3, 5)[i] * Vector3(2, 3, 5)[j]);
        EXPECT_EQ(m(i, 3), 0.0);
        EXPECT_EQ(m(3, i), 0.0);
    }
    EXPECT_EQ(m(3, 3), 1.0);
}

TEST(MatrixRotationMatrix, IsRightHandedForAnAxisOfAnyLength)
{
    Matrix const m = Matrix::rotationMatrix({0, 0, 2}, kPi / 2);
    EXPECT_NEAR(dist(m * Vector3(1, 0, 0), {0, 1, 0}), 0, 1e-15);
    EXPECT_EQ(m(3, 3), 1.0);
    EXPECT_EQ(m(0, 3), 0.0);
}

TEST(MatrixRotationMatrix, AShortAxisIsComparedWithTheAngle)
{
    EXPECT_EQ(Matrix::rotationMatrix({0, 0, 1e-5}, 0.0), Matrix());
    EXPECT_EQ(Matrix::rotationMatrix({0, 0, 1e-5}, -1.0), Matrix());
    EXPECT_EQ(Matrix::rotationMatrix({0, 0, 1e-5}, 1e-5), Matrix()) << "a length equal to the angle is not below it";
    EXPECT_NE(Matrix::rotationMatrix({0, 0, 1e-5}, 1.01e-5), Matrix());
    EXPECT_NE(Matrix::rotationMatrix({0, 0, 1e-4}, -1.0), Matrix()) << "0.0001 is not below 0.0001";
    EXPECT_NEAR(Matrix::rotationMatrix({0, 0, 1e-5}, 1.0).distTo(Matrix::rotationMatrix({0, 0, 1}, 1.0)), 0, 1e-15);
}

TEST(MatrixRotationMatrix, AZeroAxisWithAnAngleGivesNaN)
{
    EXPECT_TRUE(std::isnan(Matrix::rotationMatrix({0, 0, 0}, 1.0)(0, 0)));
    EXPECT_EQ(Matrix::rotationMatrix({0, 0, 0}, 0.0), Matrix());
}

TEST(MatrixRotationMatrix, MatchesTheReference)
{
    forMatrices(407, [](Random& random, Matrix const&) {
        Vector3 const axis = random.oneIn(2) ? random.hostilePoint() : random.point() * random.spread(-30, 4);
        double const angle = random.oneIn(2) ? random.hostile() : random.spread(-30, 2);
        EXPECT_TRUE(sameBits(Matrix::rotationMatrix(axis, angle), reference::rotation(axis, angle)));
    });
}

TEST(RigidTransform, MovesThePointAndTurnsTheDirection)
{
    Random random(408);
    for (int trial = 0; trial < 1000; ++trial) {
        Vector3 const a0 = random.point(), d0 = random.point(), a1 = random.point(), d1 = random.point();
        Matrix const m = Matrix::rigidTransform(a0, d0, a1, d1);
        ASSERT_TRUE(m.isRigid());
        ASSERT_NEAR(dist(m * a0, a1), 0, 1e-14);
        ASSERT_NEAR(dist(m * (a0 + d0), a1 + d1.normalize() * d0.length()), 0, 1e-13);
    }
}

TEST(RigidTransform, EqualDirectionsGiveATranslation)
{
    EXPECT_NEAR(Matrix::rigidTransform({1, 2, 3}, {0, 3, 4}, {5, 5, 5}, {0, 6, 8}).distTo(translation(4, 3, 2)), 0,
                1e-15);
}

TEST(RigidTransform, OppositeDirectionsTurnAboutZ)
{
    Matrix const m = Matrix::rigidTransform({0, 0, 0}, {1, 0, 0}, {0, 0, 0}, {-1, 0, 0});
    EXPECT_NEAR(dist(m * Vector3(1, 0, 0), {-1, 0, 0}), 0, 1e-15);
    Matrix const kept = Matrix::rigidTransform({0, 0, 0}, {0, 0, 1}, {0, 0, 0}, {0, 0, -1});
    EXPECT_NEAR(dist(kept * Vector3(0, 0, 1), {0, 0, 1}), 0, 1e-15) << "the fallback axis is the direction itself";
}

TEST(RigidTransform, MatchesTheReference)
{
    forMatrices(409, [](Random& random, Matrix const&) {
        Vector3 p[4];
        for (Vector3& v : p) v = random.oneIn(8) ? random.hostilePoint() : random.point();
        if (random.oneIn(8)) p[3] = p[1] * random.uniform();
        EXPECT_TRUE(sameBits(Matrix::rigidTransform(p[0], p[1], p[2], p[3]),
                             reference::rigidTransform(p[0], p[1], p[2], p[3])));
    });
}

TEST(MatrixInterpolate, EndsAreReturnedUnchanged)
{
    Matrix const A = counting();
    Matrix const B = counting() * 3.0;
    EXPECT_EQ(Matrix::interpolate(A, B, 0.0), A);
    EXPECT_EQ(Matrix::interpolate(A, B, -7.0), A);
    EXPECT_EQ(Matrix::interpolate(A, B, 1.0), B);
    EXPECT_EQ(Matrix::interpolate(A, B, kInfinity), B);
    EXPECT_TRUE(std::isnan(Matrix::interpolate(Matrix(), Matrix(), kNaN)(0, 3)));
}

TEST(MatrixInterpolate, HalvesRotationScaleAndTranslation)
{
    Matrix const turned = Matrix::rotationMatrix({0, 0, 1}, kPi / 2);
    EXPECT_NEAR(Matrix::interpolate(Matrix(), turned, 0.5).distTo(Matrix::rotationMatrix({0, 0, 1}, kPi / 4)), 0,
                1e-15);
    EXPECT_NEAR(Matrix::interpolate(Matrix(), scaling(4, 4, 4), 0.5).distTo(scaling(2, 2, 2)), 0, 1e-15);
    EXPECT_EQ(Matrix::interpolate(translation(1, 2, 3), translation(3, 6, 3), 0.5), translation(2, 4, 3));
}

TEST(MatrixInterpolate, TurnsAtConstantRate)
{
    Random random(410);
    for (int trial = 0; trial < 500; ++trial) {
        Matrix const A = randomPlacement(random);
        Matrix const B =
            A * Matrix::rotationMatrix(random.point(), random.uniform(0.1, 3.0)).scale(random.uniform(1, 2));
        Matrix const quarter = Matrix::interpolate(A, B, 0.25);
        Matrix const half = Matrix::interpolate(A, B, 0.5);
        ASSERT_NEAR(Matrix::interpolate(A, half, 0.5).distTo(quarter), 0, 1e-12);
    }
}

TEST(MatrixInterpolate, AZeroFirstRowGivesNoFiniteScale)
{
    Matrix const m = Matrix::interpolate(scaling(0, 1, 1), Matrix(), 0.5);
    EXPECT_FALSE(std::isfinite(m(0, 0)));
}

TEST(MatrixInterpolate, MatchesTheReference)
{
    forMatrices(411, [](Random& random, Matrix const& A) {
        Matrix const B = randomMatrix(random);
        double const w = random.oneIn(4) ? random.hostile() : random.uniform(0, 1);
        EXPECT_TRUE(sameBits(Matrix::interpolate(A, B, w), reference::interpolate(A, B, w)));
    });
}
