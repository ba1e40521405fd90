#include <sinew/core/eigen_symmetric.h>

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "support/bits.h"
#include "support/random.h"

using test::Random;
using test::sameBits;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kGreatest = std::numeric_limits<double>::max();
constexpr double kSmallest = std::numeric_limits<double>::denorm_min();

Matrix3 symmetric(double xx, double yy, double zz, double xy, double xz, double yz)
{
    return Matrix3({xx, xy, xz}, {xy, yy, yz}, {xz, yz, zz});
}

bool sameVectors(sinew::SymmetricEigensystem const& a, sinew::SymmetricEigensystem const& b)
{
    for (int k = 0; k < 3; ++k) {
        if (!sameBits(a.vectors[k], b.vectors[k])) return false;
    }
    return true;
}

} // namespace

TEST(EigenSymmetric, ADiagonalMatrixGivesCoordinateAxesInAscendingOrder)
{
    sinew::SymmetricEigensystem const e = sinew::eigenSymmetric(sinew::diagonalMatrix(3, 1, 2));
    EXPECT_EQ(e.values[0], 1);
    EXPECT_EQ(e.values[1], 2);
    EXPECT_EQ(e.values[2], 3);
    EXPECT_EQ(e.vectors[0], Vector3(0, 1, 0));
    EXPECT_EQ(e.vectors[1], Vector3(0, 0, 1));
    EXPECT_EQ(e.vectors[2], Vector3(1, 0, 0));
    EXPECT_TRUE(e.isFinite);
}

TEST(EigenSymmetric, TheVectorsAreRightHanded)
{
    sinew::SymmetricEigensystem const e = sinew::eigenSymmetric(sinew::diagonalMatrix(2, 1, 3));
    EXPECT_EQ(e.vectors[0], Vector3(0, 1, 0));
    EXPECT_EQ(e.vectors[1], Vector3(1, 0, 0));
    EXPECT_EQ(e.vectors[2], Vector3(0, 0, -1));
}

TEST(EigenSymmetric, EqualValuesKeepTheirOrder)
{
    sinew::SymmetricEigensystem const all = sinew::eigenSymmetric(Matrix3() * 0.3);
    sinew::SymmetricEigensystem const two = sinew::eigenSymmetric(sinew::diagonalMatrix(5, 7, 5));
    for (int k = 0; k < 3; ++k) {
        EXPECT_EQ(all.values[k], 0.3);
        EXPECT_EQ(all.vectors[k], Matrix3().column(k));
    }
    EXPECT_EQ(two.vectors[0], Vector3(1, 0, 0));
    EXPECT_EQ(two.vectors[1], Vector3(0, 0, 1));
}

TEST(EigenSymmetric, TheZeroMatrixHasTheValueZeroAlongTheAxes)
{
    Matrix3 m;
    m.zero();
    sinew::SymmetricEigensystem const e = sinew::eigenSymmetric(m);
    for (int k = 0; k < 3; ++k) {
        EXPECT_EQ(e.values[k], 0);
        EXPECT_EQ(e.vectors[k], Matrix3().column(k));
    }
}

TEST(EigenSymmetric, FindsWholeValues)
{
    // The plane x = y swaps its two axes: (1, 1, 0) has the value 3 and (1, -1, 0) the value -1.
    sinew::SymmetricEigensystem const e = sinew::eigenSymmetric(symmetric(1, 1, 7, 2, 0, 0));
    EXPECT_DOUBLE_EQ(e.values[0], -1);
    EXPECT_DOUBLE_EQ(e.values[1], 3);
    EXPECT_EQ(e.values[2], 7);
    EXPECT_DOUBLE_EQ(std::fabs(e.vectors[1].x), std::sqrt(0.5));
    EXPECT_DOUBLE_EQ(e.vectors[1].x, e.vectors[1].y);
    EXPECT_DOUBLE_EQ(e.vectors[0].x, -e.vectors[0].y);
}

TEST(EigenSymmetric, OnlyTheSymmetricPartCounts)
{
    Random random(1503);
    for (int trial = 0; trial < 1000; ++trial) {
        Matrix3 const m(random.point(), random.point(), random.point());
        sinew::SymmetricEigensystem const a = sinew::eigenSymmetric(m);
        sinew::SymmetricEigensystem const b = sinew::eigenSymmetric((m + m.transpose()) * 0.5);
        ASSERT_TRUE(sameVectors(a, b));
        for (int k = 0; k < 3; ++k) ASSERT_TRUE(sameBits(a.values[k], b.values[k]));
    }
}

TEST(EigenSymmetric, BitsDoNotDependOnTheScale)
{
    Random random(1504);
    for (int trial = 0; trial < 1000; ++trial) {
        Matrix3 const m(random.point(), random.point(), random.point());
        sinew::SymmetricEigensystem const a = sinew::eigenSymmetric(m);
        for (int const exponent : {-900, -500, -1, 1, 500, 900, 1020}) {
            double const scale = std::ldexp(1.0, exponent);
            sinew::SymmetricEigensystem const b = sinew::eigenSymmetric(m * scale);
            ASSERT_TRUE(sameVectors(a, b)) << exponent;
            for (int k = 0; k < 3; ++k) ASSERT_EQ(a.values[k] * scale, b.values[k]) << exponent;
        }
    }
}

TEST(EigenSymmetric, AnElementThatIsNotFiniteGivesNaN)
{
    for (double const bad : {kInfinity, -kInfinity, kNaN}) {
        for (int k = 0; k < 9; ++k) {
            Matrix3 m = symmetric(1, 2, 3, 0.1, 0.2, 0.3);
            m(k / 3, k % 3) = bad;
            sinew::SymmetricEigensystem const e = sinew::eigenSymmetric(m);
            EXPECT_FALSE(e.isFinite);
            for (int i = 0; i < 3; ++i) {
                EXPECT_TRUE(std::isnan(e.values[i]));
                EXPECT_TRUE(std::isnan(e.vectors[i].x) && std::isnan(e.vectors[i].y) && std::isnan(e.vectors[i].z));
            }
        }
    }
}

TEST(EigenSymmetric, AValueBeyondTheRangeIsInfiniteAndItsVectorFinite)
{
    double const g = kGreatest;
    sinew::SymmetricEigensystem const e = sinew::eigenSymmetric(symmetric(g, g, g, g, g, g));
    EXPECT_TRUE(e.isFinite);
    EXPECT_EQ(e.values[2], kInfinity);
    EXPECT_NEAR(std::fabs(e.vectors[2].x), std::sqrt(1.0 / 3), 1e-15);
    EXPECT_LE(std::fabs(e.values[0]), g * 0x1p-50);
}

TEST(EigenSymmetric, SubnormalElementsHaveTheVectorsOfOrdinaryOnes)
{
    sinew::SymmetricEigensystem const e =
        sinew::eigenSymmetric(symmetric(1 * kSmallest, 1 * kSmallest, 7 * kSmallest, 2 * kSmallest, 0, 0));
    EXPECT_EQ(e.values[0], -kSmallest);
    EXPECT_EQ(e.values[1], 3 * kSmallest);
    EXPECT_EQ(e.values[2], 7 * kSmallest);
    EXPECT_DOUBLE_EQ(std::fabs(e.vectors[1].x), std::sqrt(0.5));
}

TEST(EigenSymmetric, ATinyBlockBesideALargeElementKeepsItsVectors)
{
    // The block of x and y is 1e-200 times as large as the element at z; its squares underflow.
    double const small = 1e-200;
    sinew::SymmetricEigensystem const e = sinew::eigenSymmetric(symmetric(small, small, 1, 2 * small, 0, 0));
    EXPECT_DOUBLE_EQ(e.values[0], -small);
    EXPECT_DOUBLE_EQ(e.values[1], 3 * small);
    EXPECT_EQ(e.values[2], 1);
    EXPECT_DOUBLE_EQ(std::fabs(e.vectors[0].x), std::sqrt(0.5));
}
