#include <sinew/skinning/detail/rotation_factor.h>

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "support/bits.h"
#include "support/random.h"

using sinew::diagonalMatrix;
using sinew::detail::Quaternion;
using sinew::detail::rotationFactor;
using test::Random;

namespace {

Matrix3 matrixOf(Quaternion const& q)
{
    return Matrix3({1 - 2 * (q.y * q.y + q.z * q.z), 2 * (q.x * q.y + q.w * q.z), 2 * (q.x * q.z - q.w * q.y)},
                   {2 * (q.x * q.y - q.w * q.z), 1 - 2 * (q.x * q.x + q.z * q.z), 2 * (q.y * q.z + q.w * q.x)},
                   {2 * (q.x * q.z + q.w * q.y), 2 * (q.y * q.z - q.w * q.x), 1 - 2 * (q.x * q.x + q.y * q.y)});
}

double distance(Matrix3 const& a, Matrix3 const& b)
{
    double largest = 0;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) largest = std::max(largest, std::fabs(a(i, j) - b(i, j)));
    }
    return largest;
}

Matrix3 randomRotation(Random& random)
{
    Vector3 const axis = random.point();
    return Matrix3::rotationMatrix(UVector3(axis), random.uniform(-3.2, 3.2));
}

// R axes diag(a, b, c) axes^T.
Matrix3 stretched(Matrix3 const& rotation, Matrix3 const& axes, double a, double b, double c)
{
    return rotation * (axes * diagonalMatrix(a, b, c) * axes.transpose());
}

} // namespace

TEST(RotationFactor, OfARotationIsThatRotation)
{
    Random random(20261160);
    for (int trial = 0; trial < 2000; ++trial) {
        Matrix3 const rotation = randomRotation(random);
        Quaternion const q = rotationFactor(rotation);
        EXPECT_LE(distance(matrixOf(q), rotation), 3e-15);
        EXPECT_NEAR(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w, 1, 5e-16);
    }
}

TEST(RotationFactor, IsFoundUnderAnyStretch)
{
    Random random(20261161);
    for (int trial = 0; trial < 2000; ++trial) {
        Matrix3 const rotation = randomRotation(random);
        Matrix3 const axes = randomRotation(random);
        double const c = std::fabs(random.spread(-12, 0));
        double const b = c + std::fabs(random.spread(-12, 0));
        Matrix3 const m = stretched(rotation, axes, 1.0, b, c);
        // The construction rounds too: to units of the largest stretch, divided by the sum of the smaller ones.
        EXPECT_LE(distance(matrixOf(rotationFactor(m)), rotation), 8e-15 / (b + c)) << b << " " << c;
    }
}

TEST(RotationFactor, OfAMirroringMatrixIsThatOfItsNegative)
{
    Random random(20261162);
    for (int trial = 0; trial < 500; ++trial) {
        Matrix3 const rotation = randomRotation(random);
        double const a = random.uniform(0.3, 2);
        double const b = random.uniform(0.3, 2);
        Matrix3 const axes = randomRotation(random);
        Matrix3 const m = stretched(rotation, axes, a, b, random.uniform(0.3, 2));
        EXPECT_LE(distance(matrixOf(rotationFactor(-m)), rotation), 1e-13);
    }
}

TEST(RotationFactor, OfAFlatMatrixIsUnique)
{
    Random random(20261163);
    for (int trial = 0; trial < 500; ++trial) {
        Matrix3 const rotation = randomRotation(random);
        Matrix3 const axes = randomRotation(random);
        Matrix3 const m = stretched(rotation, axes, 1.0, random.uniform(0.3, 2), 0.0);
        EXPECT_LE(distance(matrixOf(rotationFactor(m)), rotation), 1e-13);
    }
}

TEST(RotationFactor, OfAMatrixOfRankOneIsTheSmallestRotation)
{
    Random random(20261164);
    for (int trial = 0; trial < 500; ++trial) {
        UVector3 const from(random.point());
        UVector3 const to(random.point());
        Matrix3 m;
        m.tensor(to, from);
        Matrix3 const smallest = Matrix3::rotationMatrix(from, to);
        double const halfTurn = (from + to).length(); // near 0 the axis of the smallest rotation is not determined
        EXPECT_LE(distance(matrixOf(rotationFactor(m)), smallest), 1e-13 / halfTurn);
    }
    Quaternion const q = rotationFactor(diagonalMatrix(-1, 0, 0)); // a half turn, about any axis perpendicular to x
    EXPECT_NEAR((matrixOf(q) * Vector3(1, 0, 0)).x, -1, 1e-15);
}

TEST(RotationFactor, OfZeroIsTheIdentity)
{
    Matrix3 zero;
    zero.zero();
    for (Matrix3 const& m : {zero, -zero}) {
        Quaternion const q = rotationFactor(m);
        EXPECT_EQ(q.x, 0);
        EXPECT_EQ(q.y, 0);
        EXPECT_EQ(q.z, 0);
        EXPECT_EQ(q.w, 1);
    }
}

TEST(RotationFactor, HasTheSameBitsAtEveryPowerOfTwo)
{
    Random random(20261165);
    for (int trial = 0; trial < 500; ++trial) {
        Matrix3 const m = {random.point(), random.point(), random.point()}; // in this order
        Quaternion const expected = rotationFactor(m);
        for (int const exponent : {-900, -1, 1, 900}) {
            Quaternion const q = rotationFactor(m * std::ldexp(1.0, exponent));
            EXPECT_TRUE(test::sameBits(q.x, expected.x) && test::sameBits(q.y, expected.y));
            EXPECT_TRUE(test::sameBits(q.z, expected.z) && test::sameBits(q.w, expected.w));
        }
    }
    double const least = std::numeric_limits<double>::denorm_min();
    EXPECT_LE(distance(matrixOf(rotationFactor(diagonalMatrix(least, least, least))), Matrix3()), 1e-15);
    double const most = std::numeric_limits<double>::max();
    EXPECT_LE(distance(matrixOf(rotationFactor(diagonalMatrix(most, most, most))), Matrix3()), 1e-15);
}

TEST(RotationFactor, OfAnElementThatIsNotFiniteIsNaN)
{
    for (double const number : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        for (int element = 0; element < 9; ++element) {
            Matrix3 m;
            m(element / 3, element % 3) = number;
            Quaternion const q = rotationFactor(m);
            EXPECT_TRUE(std::isnan(q.x) && std::isnan(q.y) && std::isnan(q.z) && std::isnan(q.w));
        }
    }
}
