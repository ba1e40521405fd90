#include <sinew/core/matrix3.h>

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include <sinew/core/matrix.h>
#include <sinew/core/vector_geometry.h>

#include "core/reference_matrix3.h"
#include "support/bits.h"
#include "support/random.h"

namespace {

using test::Random;
using test::sameBits;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi = 3.14159265358979323846;

constexpr auto diagonal = sinew::diagonalMatrix;

Matrix3 const kZero = diagonal(0, 0, 0);

Matrix3 randomMatrix(Random& random)
{
    switch (random.below(6)) {
    case 0:
        return Matrix3(random.hostilePoint(), random.hostilePoint(), random.hostilePoint());
    case 1:
        return Matrix3::rotationMatrix(UVector3(random.point()), random.uniform(-4, 4));
    case 2: { // rank one, or nearly
        Matrix3 m;
        m.tensor(random.point(), random.point());
        m(random.below(3), random.below(3)) += random.spread(-60, -20);
        return m;
    }
    case 3: { // rank two, or nearly
        Vector3 const a = random.point(), b = random.point();
        return Matrix3(a, b, a * random.uniform() + b * random.uniform() + random.point() * random.spread(-60, -20));
    }
    case 4:
        return Matrix3(random.point(), random.point(), random.point()) * random.spread(-30, 30);
    default: {
        Matrix3 m;
        for (int k = 0; k < 9; ++k) m(k / 3, k % 3) = random.below(3) - 1;
        return m;
    }
    }
}

void expectNear(Matrix3 const& a, Matrix3 const& b, double tolerance)
{
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) EXPECT_NEAR(a(i, j), b(i, j), tolerance) << "(" << i << ", " << j << ")";
    }
}

template <typename Check>
void forMatrices(std::uint64_t seed, Check check)
{
    Random random(seed);
    for (int trial = 0; trial < 20000 && !testing::Test::HasFailure(); ++trial) {
        SCOPED_TRACE(trial);
        check(random, randomMatrix(random));
    }
}

} // namespace

TEST(DiagonalMatrix, HasItsArgumentsOnTheDiagonalAndPositiveZerosElsewhere)
{
    Matrix3 const m = sinew::diagonalMatrix(2, -3, 5);
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) EXPECT_TRUE(sameBits(m(i, j), i != j ? 0.0 : i == 0 ? 2.0 : i == 1 ? -3.0 : 5.0));
    }
}

TEST(Matrix3, DefaultIsTheIdentityOfNineDoubles)
{
    EXPECT_EQ(Matrix3(), diagonal(1, 1, 1));
    EXPECT_EQ(sizeof(Matrix3), 9 * sizeof(double));
}

TEST(Matrix3, IsStoredRowByRow)
{
    Matrix3 const m({1, 4, 7}, {2, 5, 8}, {3, 6, 9});
    double const* first = &m(0, 0);
    for (int k = 0; k < 9; ++k) EXPECT_EQ(first[k], k + 1);
}

TEST(Matrix3, ConstructorArgumentsAreColumns)
{
    Matrix3 const m({1, 2, 3}, {4, 5, 6}, {7, 8, 9});
    EXPECT_EQ(m * Vector3(1, 0, 0), Vector3(1, 2, 3));
    EXPECT_EQ(m * Vector3(0, 1, 0), Vector3(4, 5, 6));
    EXPECT_EQ(m.column(2), Vector3(7, 8, 9));
    EXPECT_EQ(m(0, 2), 7);
}

TEST(Matrix3, OfA4x4MatrixIsItsUpperLeftBlock)
{
    Matrix m;
    for (int k = 0; k < 16; ++k) m(k / 4, k % 4) = k;
    EXPECT_EQ(Matrix3(m), Matrix3({0, 4, 8}, {1, 5, 9}, {2, 6, 10}));
}

TEST(Matrix3, SettersOverwriteAllElements)
{
    Matrix3 m({1, 2, 3}, {4, 5, 6}, {7, 8, 9});
    m.zero();
    EXPECT_EQ(m, kZero);
    m.identity();
    EXPECT_EQ(m, Matrix3());
    m.tensor({1, 2, 3}, {4, 5, 6});
    EXPECT_EQ(m(0, 2), 6);
    EXPECT_EQ(m(2, 0), 12);
}

TEST(Matrix3, ProductAppliesTheRightFactorFirst)
{
    Matrix3 const turn = Matrix3::rotationMatrix(UVector3(0, 0, 1), kPi / 2);
    Matrix3 const stretch = diagonal(2, 1, 1);
    EXPECT_NEAR(dist(turn * stretch * Vector3(1, 0, 0), {0, 2, 0}), 0, 1e-15);
    EXPECT_NEAR(dist(stretch * turn * Vector3(1, 0, 0), {0, 1, 0}), 0, 1e-15);
}

TEST(Matrix3, ArithmeticIsElementwise)
{
    Matrix3 const a({1, 2, 3}, {4, 5, 6}, {7, 8, 9});
    EXPECT_EQ(a + a, a * 2.0);
    EXPECT_EQ(2.0 * a, a * 2.0);
    EXPECT_EQ(a - a, kZero);
    EXPECT_EQ(-a, a * -1.0);
    EXPECT_EQ(a.transpose(), Matrix3({1, 4, 7}, {2, 5, 8}, {3, 6, 9}));
    EXPECT_NE(a, a.transpose());
}

TEST(Matrix3, ProductsMatchTheReference)
{
    forMatrices(201, [](Random& random, Matrix3 const& a) {
        Matrix3 const b = randomMatrix(random);
        Vector3 const v = random.hostilePoint();
        EXPECT_TRUE(sameBits(a * b, reference::product(a, b)));
        EXPECT_TRUE(sameBits(a * v, reference::map(a, v)));
        EXPECT_TRUE(sameBits(a.transpose(), reference::transposed(a)));
        EXPECT_TRUE(sameBits(a.determinant(), reference::determinant(a)));
        Matrix3 outer;
        outer.tensor(v, a.column(0));
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) EXPECT_TRUE(sameBits(outer(i, j), v[i] * a(j, 0)));
        }
    });
}

TEST(IsNearIdentity, BoundsAreIncluded)
{
    EXPECT_TRUE(diagonal(0.999999863, 1.000000137, 1).isNearIdentity());
    for (int k = 0; k < 3; ++k) {
        Matrix3 m;
        m(k, k) = std::nextafter(0.999999863, 0);
        EXPECT_FALSE(m.isNearIdentity());
        m(k, k) = std::nextafter(1.000000137, 2);
        EXPECT_FALSE(m.isNearIdentity());
        m(k, k) = kNaN;
        EXPECT_FALSE(m.isNearIdentity());
    }
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            if (i == j) continue;
            for (double const sign : {1.0, -1.0}) {
                Matrix3 m;
                m(i, j) = sign * 0.000523599;
                EXPECT_TRUE(m.isNearIdentity());
                m(i, j) = sign * std::nextafter(0.000523599, 1);
                EXPECT_FALSE(m.isNearIdentity());
                m(i, j) = kNaN;
                EXPECT_FALSE(m.isNearIdentity());
            }
        }
    }
}

TEST(IsNearZero, IsStrictForEveryElement)
{
    EXPECT_TRUE(kZero.isNearZero());
    for (int k = 0; k < 9; ++k) {
        for (double const sign : {1.0, -1.0}) {
            Matrix3 m = kZero;
            m(k / 3, k % 3) = sign * std::nextafter(1e-8, 0);
            EXPECT_TRUE(m.isNearZero());
            m(k / 3, k % 3) = sign * 1e-8;
            EXPECT_FALSE(m.isNearZero());
            m(k / 3, k % 3) = kNaN;
            EXPECT_FALSE(m.isNearZero());
        }
    }
}

TEST(Matrix3Inverse, ADeterminantBelow1e8GivesZero)
{
    EXPECT_EQ(diagonal(1e-9, 1, 1).inverse(), kZero);
    EXPECT_EQ(diagonal(-1e-9, 1, 1).inverse(), kZero);
    EXPECT_EQ(diagonal(std::nextafter(1e-8, 0), 1, 1).inverse(), kZero);
    EXPECT_EQ(diagonal(1e-8, 1, 1).inverse(), diagonal(1.0 / 1e-8 * 1, 1e-8 * (1.0 / 1e-8), 1e-8 * (1.0 / 1e-8)));
}

TEST(Matrix3Inverse, ANaNDeterminantGivesNaN)
{
    EXPECT_TRUE(std::isnan(diagonal(kNaN, 1, 1).inverse()(0, 0)));
}

TEST(Matrix3Inverse, UndoesTheMap)
{
    Random random(202);
    for (int trial = 0; trial < 2000; ++trial) {
        Matrix3 const m(random.point(), random.point(), random.point());
        if (std::fabs(m.determinant()) < 0.01) continue;
        expectNear(m * m.inverse(), Matrix3(), 1e-12); // elements up to 1, their cofactors over 0.01
    }
}

TEST(Matrix3Inverse, MatchesTheReference)
{
    forMatrices(203, [](Random&, Matrix3 const& m) { EXPECT_TRUE(sameBits(m.inverse(), reference::inverse(m))); });
}

TEST(Matrix3RotationMatrix, IsRightHanded)
{
    Matrix3 const m = Matrix3::rotationMatrix(UVector3(0, 0, 1), kPi / 2);
    EXPECT_NEAR(dist(m * Vector3(1, 0, 0), {0, 1, 0}), 0, 1e-15);
    EXPECT_NEAR(dist(m * Vector3(0, 0, 5), {0, 0, 5}), 0, 1e-15);
}

TEST(Matrix3RotationMatrix, TurnsOneDirectionIntoAnother)
{
    Random random(204);
    for (int trial = 0; trial < 2000; ++trial) {
        UVector3 const from(random.point());
        UVector3 const to(random.point());
        Matrix3 const m = Matrix3::rotationMatrix(from, to);
        ASSERT_NEAR(dist(m * from, to), 0, 1e-14);
        ASSERT_NEAR(m.determinant(), 1, 1e-14);
    }
}

TEST(Matrix3RotationMatrix, EqualDirectionsGiveTheIdentityOppositeOnesAHalfTurn)
{
    UVector3 const a(3, 0, 4); // (0.6, 0, 0.8): its cross product with itself is exactly zero
    EXPECT_EQ(Matrix3::rotationMatrix(a, a), Matrix3());
    Vector3 e1, e2;
    getBasis(a, e1, e2);
    Matrix3 const half = Matrix3::rotationMatrix(a, UVector3(-a));
    EXPECT_TRUE(sameBits(half, Matrix3::rotationMatrix(UVector3(e1), reference::math::atan2(0.0, -a.lengthSq()))));
    EXPECT_NEAR(dist(half * e1, e1), 0, 1e-15);
    EXPECT_NEAR(dist(half * a, -a), 0, 1e-15);
}

TEST(Matrix3RotationMatrix, MatchesTheReference)
{
    forMatrices(205, [](Random& random, Matrix3 const& m) {
        UVector3 const a(m.column(0));
        UVector3 const b(random.oneIn(4) ? -m.column(0) : m.column(1));
        double const angle = random.hostile();
        EXPECT_TRUE(sameBits(Matrix3::rotationMatrix(a, angle), reference::rotationMatrix(a, angle)));
        EXPECT_TRUE(sameBits(Matrix3::rotationMatrix(a, b), reference::rotationBetween(a, b)));
    });
}

TEST(GetRotationAxis, OfTheIdentityIsX)
{
    EXPECT_EQ(Matrix3().getRotationAxis(), Vector3(1, 0, 0));
}

TEST(GetRotationAxis, OfARotationAboutZIsZ)
{
    Matrix3 const m = Matrix3::rotationMatrix(UVector3(0, 0, 1), 0.5);
    EXPECT_EQ(m.getRotationAxis(), Vector3(0, 0, 1));
    EXPECT_DOUBLE_EQ(m.getRotationAngle(nullptr), 0.5);
    EXPECT_DOUBLE_EQ(m.getRotationAngle(), 0.5);
}

TEST(GetRotationAxis, TiesKeepTheLowerIndex)
{
    // A quarter turn about z: rows 0 and 1 of (transpose - identity) are (-1, 1, 0), (-1, -1, 0), row 2 is zero.
    Matrix3 const quarter({0, 1, 0}, {-1, 0, 0}, {0, 0, 1});
    EXPECT_EQ(quarter.getRotationAxis(), Vector3(0, 0, 1));
    // A third of a turn about (1, 1, 1): all three cross products are equally long and equal.
    Matrix3 const third({0, 1, 0}, {0, 0, 1}, {1, 0, 0});
    EXPECT_TRUE(sameBits(Vector3(third.getRotationAxis()), Vector3(UVector3(1, 1, 1))));
}

TEST(GetRotationAxis, BelowTheThresholdIsAColumnOfTheMatrix)
{
    // The cross product of the first two rows has the length 2 (1 - cos a), which is a^2: the threshold lies at 1e-4.
    Matrix3 const near = Matrix3::rotationMatrix(UVector3(0, 0, 1), 0.9e-4);
    EXPECT_TRUE(sameBits(Vector3(near.getRotationAxis()), Vector3(UVector3(near.column(2))))) << "the shortest row";
    Matrix3 const aboutY = Matrix3::rotationMatrix(UVector3(0, 1, 0), 0.9e-4);
    EXPECT_TRUE(sameBits(Vector3(aboutY.getRotationAxis()), Vector3(UVector3(aboutY.column(1)))));
    Matrix3 const aboutX = Matrix3::rotationMatrix(UVector3(1, 0, 0), 0.9e-4);
    EXPECT_TRUE(sameBits(Vector3(aboutX.getRotationAxis()), Vector3(UVector3(aboutX.column(0)))));

    Matrix3 const tilted = Matrix3::rotationMatrix(UVector3(1, 2, 3), 1.2e-4);
    EXPECT_NEAR(dist(tilted.getRotationAxis(), UVector3(1, 2, 3)), 0, 1e-7) << "above the threshold it is the axis";
}

TEST(GetRotationAxis, ThresholdIs1e16AndNotTheStepAboveIt)
{
    // The rows (1, 0, 0), (0, q, r) and 0 have the cross product (0, -r, q). The loops choose r and q so that its
    // squared length equals the threshold or differs from it by units in the last place.
    int atThreshold = 0;
    int justBelow = 0;
    double r = 1e-8;
    for (int step = 0; step < 8; ++step, r = std::nextafter(r, 0)) {
        for (int k = 0; k < 6; ++k) {
            Matrix3 const m({2, 0, 0}, {0, 1 - k * 0x1p-53, r}, {0, 0, 1});
            double const q = m(1, 1) - 1;
            double const lengthSq = r * r + q * q;
            EXPECT_NEAR(m.getRotationAxis().y, lengthSq >= 1e-16 ? -1 : 0, 1e-6) << lengthSq;
            atThreshold += lengthSq == 1e-16;
            justBelow += lengthSq == std::nextafter(1e-16, 0);
        }
    }
    EXPECT_GT(atThreshold, 0);
    EXPECT_GT(justBelow, 0);
    EXPECT_LT(1e-16, 1e-8 * 1e-8);
}

TEST(GetRotationAngle, IsSignedAboutTheGivenAxis)
{
    UVector3 const axis(1, -2, 0.5);
    UVector3 const opposite(-axis);
    for (double const angle : {0.3, 1.5, 3.1, -0.3, -3.1}) {
        Matrix3 const m = Matrix3::rotationMatrix(axis, angle);
        EXPECT_NEAR(m.getRotationAngle(&axis), angle, 1e-14);
        EXPECT_NEAR(m.getRotationAngle(&opposite), -angle, 1e-14);
    }
}

TEST(GetRotationAngle, AHalfTurnIsPlusPi)
{
    UVector3 const z(0, 0, 1);
    EXPECT_DOUBLE_EQ(diagonal(-1, -1, 1).getRotationAngle(&z), kPi);
}

TEST(GetRotationAngle, UsesTheSmallestComponentBySign)
{
    // Of (-0.9, 0.1, 0.4) the smallest signed component is x and the smallest magnitude is y. The result for a
    // stretched matrix depends on which of them is used.
    UVector3 const axis(-0.9, 0.1, 0.4);
    Matrix3 m = Matrix3::rotationMatrix(axis, 0.5);
    for (int i = 0; i < 3; ++i) m(i, 0) += 0.1 * (i + 1);
    Vector3 const p = cross(axis, Vector3(1, 0, 0));
    Vector3 const q = cross(axis, m.column(0));
    EXPECT_EQ(m.getRotationAngle(&axis), reference::math::atan2(cross(p, q) * axis, p * q));
}

TEST(GetRotationAxisAndAngle, ReproduceTheRotation)
{
    Random random(206);
    for (int trial = 0; trial < 2000; ++trial) {
        Matrix3 const m = Matrix3::rotationMatrix(UVector3(random.point()), random.uniform(0.01, 3.1));
        expectNear(Matrix3::rotationMatrix(m.getRotationAxis(), m.getRotationAngle()), m, 1e-10);
    }
}

TEST(GetRotationAxisAndAngle, MatchTheReference)
{
    forMatrices(207, [](Random& random, Matrix3 const& any) {
        Matrix3 m = any;
        if (random.oneIn(2)) m = Matrix3::rotationMatrix(UVector3(any.column(0)), random.spread(-40, 2));
        UVector3 const axis(any.column(1));
        Vector3 const expectedAxis = reference::getRotationAxis(m);
        EXPECT_TRUE(sameBits(Vector3(m.getRotationAxis()), expectedAxis));
        EXPECT_TRUE(sameBits(m.getRotationAngle(&axis), reference::getRotationAngle(m, &axis)));
        EXPECT_TRUE(sameBits(m.getRotationAngle(), reference::getRotationAngle(m, nullptr)));
    });
}

TEST(GetMatrixFromEigs, ReassemblesASymmetricMatrix)
{
    Random random(208);
    for (int trial = 0; trial < 1000; ++trial) {
        Matrix3 const any(random.point(), random.point(), random.point());
        double values[3];
        UVector3 vectors[3];
        ASSERT_EQ(any.getEigensystem(values, vectors), 3);
        Vector3 const columns[3] = {vectors[0], vectors[1], vectors[2]};
        expectNear(Matrix3::getMatrixFromEigs(values, columns), (any + any.transpose()) * 0.5,
                   2e-8); // the solver's bound
    }
}

TEST(GetMatrixFromEigs, AcceptsVectorsOfAnyLengthAndAngle)
{
    double const values[3] = {1, 2, 3};
    Vector3 const vectors[3] = {{2, 0, 0}, {1, 1, 0}, {0, 1, 4}};
    Matrix3 const m = Matrix3::getMatrixFromEigs(values, vectors);
    for (int k = 0; k < 3; ++k) EXPECT_NEAR(dist(m * vectors[k], vectors[k] * values[k]), 0, 1e-13);
}

TEST(GetMatrixFromEigs, SingularVectorsGiveZero)
{
    double const values[3] = {1, 2, 3};
    Vector3 const vectors[3] = {{1, 0, 0}, {2, 0, 0}, {0, 0, 1}};
    EXPECT_EQ(Matrix3::getMatrixFromEigs(values, vectors), kZero);
}

TEST(GetMatrixFromEigs, MatchesTheReference)
{
    forMatrices(209, [](Random& random, Matrix3 const& m) {
        double const values[3] = {random.hostile(), random.uniform(), random.spread()};
        Vector3 const vectors[3] = {m.column(0), m.column(1), m.column(2)};
        EXPECT_TRUE(
            sameBits(Matrix3::getMatrixFromEigs(values, vectors), reference::getMatrixFromEigs(values, vectors)));
    });
}

namespace {

UVector3 const kUnwritten(3, 0, 4);

void expectUnwritten(UVector3 const* out, int from)
{
    for (int k = from; k < 3; ++k) EXPECT_EQ(out[k], kUnwritten) << k;
}

} // namespace

TEST(GetNullspace, OfARegularMatrixIsEmptyWithoutForce)
{
    UVector3 out[3] = {kUnwritten, kUnwritten, kUnwritten};
    EXPECT_EQ(diagonal(3, 2, 1e-3).getNullspace(out, false), 0);
    expectUnwritten(out, 0);
    EXPECT_EQ(diagonal(3, 2, 1e-3).getNullspace(out, true), 1);
    EXPECT_NEAR(std::fabs(out[0].z), 1, 1e-6) << "the direction that the matrix shortens most";
    expectUnwritten(out, 1);
}

TEST(GetNullspace, ADeterminantOf1e8IsStillSingular)
{
    UVector3 out[3];
    EXPECT_EQ(diagonal(1, 1, 1e-8).getNullspace(out, false), 1);
    EXPECT_EQ(diagonal(1, 1, std::nextafter(1e-8, 1)).getNullspace(out, false), 0);
}

TEST(GetNullspace, OfTheZeroMatrixIsTheWholeSpace)
{
    UVector3 out[3] = {kUnwritten, kUnwritten, kUnwritten};
    EXPECT_EQ(kZero.getNullspace(out, false), 3);
    EXPECT_EQ(out[0], Vector3(1, 0, 0));
    EXPECT_EQ(out[1], Vector3(0, 1, 0));
    EXPECT_EQ(out[2], Vector3(0, 0, 1));
    EXPECT_EQ(diagonal(9e-9, -9e-9, 9e-9).getNullspace(out, true), 3);
}

TEST(GetNullspace, OfRankTwoIsALine)
{
    UVector3 out[3] = {kUnwritten, kUnwritten, kUnwritten};
    EXPECT_EQ(diagonal(1, 1, 0).getNullspace(out, false), 1);
    EXPECT_EQ(std::fabs(out[0].z), 1);
    expectUnwritten(out, 1);
}

TEST(GetNullspace, OfRankOneIsAPlane)
{
    Matrix3 m;
    m.tensor({1, 0, 0}, {1, 0, 0});
    UVector3 out[3] = {kUnwritten, kUnwritten, kUnwritten};
    EXPECT_EQ(m.getNullspace(out, false), 2);
    for (int k = 0; k < 2; ++k) {
        EXPECT_EQ(out[k].x, 0);
        EXPECT_DOUBLE_EQ(out[k].length(), 1);
    }
    EXPECT_NEAR(out[0] * out[1], 0, 1e-15);
    expectUnwritten(out, 2);
}

TEST(GetNullspace, IsMappedToZero)
{
    Random random(210);
    for (int trial = 0; trial < 2000; ++trial) {
        SCOPED_TRACE(trial);
        Vector3 const a = random.point(), b = random.point();
        Matrix3 const rankTwo(a, b, a * random.uniform() + b * random.uniform());
        Matrix3 rankOne;
        rankOne.tensor(a, b);
        for (Matrix3 const& m : {rankTwo, rankOne}) {
            UVector3 out[3];
            int const count = m.getNullspace(out, false);
            ASSERT_GE(count, 1);
            for (int k = 0; k < count; ++k) ASSERT_NEAR((m * out[k]).length(), 0, 1e-7); // singular to 1e-8
        }
    }
}

TEST(GetNullspace, MatchesTheReference)
{
    int counts[4] = {};
    forMatrices(211, [&](Random& random, Matrix3 const& m) {
        bool const force = random.oneIn(2);
        UVector3 out[3] = {kUnwritten, kUnwritten, kUnwritten};
        Vector3 expected[3] = {kUnwritten, kUnwritten, kUnwritten};
        int const count = m.getNullspace(out, force);
        ++counts[count];
        ASSERT_EQ(count, reference::getNullspace(m, expected, force));
        for (int k = 0; k < 3; ++k) EXPECT_TRUE(sameBits(Vector3(out[k]), expected[k])) << k;
    });
    for (int const count : counts) EXPECT_GT(count, 20) << "a number of vectors occurred too rarely";
}
