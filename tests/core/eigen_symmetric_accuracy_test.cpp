// eigenSymmetric against MPFR: matrices with known eigenvalues, built in 320-bit arithmetic and rounded, and any
// others.

#include <sinew/core/eigen_symmetric.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

#include <gtest/gtest.h>

#include "support/random.h"
#include "support/trials.h"
#include "support/wide_real.h"

using test::Random;
using test::WideReal;

namespace {

constexpr double kUnit = 0x1p-53;
constexpr double kGreatest = std::numeric_limits<double>::max();

// R diag(values) R^T, rounded to doubles. R is the rotation of a random quaternion, exact but for its 320 bits.
Matrix3 rotated(double const (&values)[3], Random& random)
{
    WideReal const w = random.uniform(), x = random.uniform(), y = random.uniform(), z = random.uniform();
    WideReal const n = w * w + x * x + y * y + z * z;
    WideReal const r[3][3] = {{(w * w + x * x - y * y - z * z) / n, 2 * (x * y - w * z) / n, 2 * (x * z + w * y) / n},
                              {2 * (x * y + w * z) / n, (w * w - x * x + y * y - z * z) / n, 2 * (y * z - w * x) / n},
                              {2 * (x * z - w * y) / n, 2 * (y * z + w * x) / n, (w * w - x * x - y * y + z * z) / n}};
    Matrix3 m;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            WideReal sum;
            for (int k = 0; k < 3; ++k) sum += r[i][k] * values[k] * r[j][k];
            m(i, j) = sum.toDouble();
        }
    }
    return m;
}

Matrix3 general(Random& random)
{
    Matrix3 const m(random.point(), random.point(), random.point());
    return random.oneIn(4) ? m : (m + m.transpose()) * 0.5;
}

// Elements of very different size.
Matrix3 graded(Random& random)
{
    Matrix3 m = general(random);
    double const sizes[3] = {random.spread(-300, 0), random.spread(-60, 0), random.spread(-10, 0)};
    int const turn = random.below(3);
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) m(i, j) *= sizes[(i + turn) % 3] * sizes[(j + turn) % 3];
    }
    return m;
}

Matrix3 clustered(Random& random)
{
    double const a = random.uniform();
    return rotated({a, a + random.spread(-60, -10), random.oneIn(2) ? a + random.spread(-60, -10) : random.uniform()},
                   random);
}

Matrix3 equalEigenvalues(Random& random)
{
    double const a = random.uniform();
    return rotated({a, random.oneIn(3) ? -a : a, random.oneIn(4) ? a : random.uniform()}, random);
}

Matrix3 rankOne(Random& random)
{
    if (random.oneIn(2)) return rotated({0, 0, random.uniform()}, random);
    Matrix3 m; // small integers: exactly singular
    Vector3 const v(random.below(9) - 4, random.below(9) - 4, random.below(9) - 4);
    m.tensor(v, v);
    return m;
}

Matrix3 rankTwo(Random& random)
{
    return rotated({0, random.spread(-60, 0), random.uniform()}, random);
}

Matrix3 wideSpectrum(Random& random)
{
    return rotated({random.spread(-300, 0), random.spread(-60, 0), random.uniform()}, random);
}

Matrix3 diagonal(Random& random)
{
    double const a = random.spread(-300, 300);
    return sinew::diagonalMatrix(a, random.oneIn(2) ? a : random.spread(-300, 300), random.spread(-300, 300));
}

Matrix3 nearlyDiagonal(Random& random)
{
    return general(random) * random.spread(-60, 0) + sinew::diagonalMatrix(random.uniform(), 0.5, random.below(3));
}

// Any bits of finite numbers: elements may be subnormal or the greatest double.
Matrix3 anyBits(Random& random)
{
    Matrix3 m;
    for (int k = 0; k < 9; ++k) {
        std::uint64_t const bits = random.bits();
        double x = 0;
        std::memcpy(&x, &bits, sizeof x);
        m(k / 3, k % 3) =
            std::isfinite(x) ? x : (random.oneIn(2) ? kGreatest : std::numeric_limits<double>::denorm_min());
    }
    return m;
}

struct Kind
{
    char const* name;
    Matrix3 (*make)(Random&);
};
constexpr Kind kKinds[] = {{"general", general},
                           {"graded", graded},
                           {"clustered", clustered},
                           {"equal eigenvalues", equalEigenvalues},
                           {"rank 1", rankOne},
                           {"rank 2", rankTwo},
                           {"wide spectrum", wideSpectrum},
                           {"diagonal", diagonal},
                           {"nearly diagonal", nearlyDiagonal},
                           {"any bits", anyBits}};

// As it is, at a scale from 1e-150 to 1e150, of subnormal elements, or of elements up to the greatest double.
Matrix3 scaled(Matrix3 m, Random& random)
{
    double largest = 0;
    for (int k = 0; k < 9; ++k) largest = std::fmax(largest, std::fabs(m(k / 3, k % 3)));
    int const kind = random.below(8);
    if (kind > 4 || !(largest > 0)) return m;
    int exponent = 0;
    (void)std::frexp(largest, &exponent);
    int const target = kind == 0 ? -1020 - random.below(50) : (kind == 1 ? 1024 : random.below(998) - 499);
    for (int k = 0; k < 9; ++k) m(k / 3, k % 3) = std::ldexp(m(k / 3, k % 3), target - exponent);
    return m;
}

double ulpOf(double x)
{
    double const magnitude = std::fmin(std::fabs(x), std::nextafter(kGreatest, 0.0));
    return std::nextafter(magnitude, kGreatest) - magnitude;
}

struct Worst
{
    double values = 0;      // in units in the last place of the largest value
    double orthonormal = 0; // largest element of |V V^T - 1|, in units of 2^-53
    double residual = 0;    // |S v - value v|, in units of 2^-53 times the largest value
};

// Errors are doubles that the difference of wide numbers was rounded to. A value beyond the range of doubles must be
// infinite.
void compareValues(sinew::SymmetricEigensystem const& found, test::WideEigensystem const& exact, double ulp,
                   Worst& worst)
{
    for (int k = 0; k < 3; ++k) {
        double const rounded = exact.values[k].toDouble();
        if (std::isinf(found.values[k])) {
            ASSERT_GE(std::fabs(rounded), kGreatest * (1 - 8 * kUnit));
            ASSERT_EQ(found.values[k] > 0, rounded > 0);
        } else {
            worst.values = std::fmax(worst.values, std::fabs((exact.values[k] - found.values[k]).toDouble()) / ulp);
        }
    }
}

void compareVectors(sinew::SymmetricEigensystem const& found, Worst& worst)
{
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j <= i; ++j) {
            WideReal sum = i == j ? -1 : 0;
            for (int k = 0; k < 3; ++k) sum += WideReal(found.vectors[i][k]) * found.vectors[j][k];
            worst.orthonormal = std::fmax(worst.orthonormal, std::fabs(sum.toDouble()) / kUnit);
        }
    }
    Vector3 const third = cross(found.vectors[0], found.vectors[1]);
    ASSERT_GT(third * found.vectors[2], 0.5);
}

void checkOne(Matrix3 const& m, Worst& worst)
{
    sinew::SymmetricEigensystem const found = sinew::eigenSymmetric(m);
    ASSERT_TRUE(found.isFinite);
    WideReal s[3][3], w[3][3];
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) w[i][j] = s[i][j] = (WideReal(m(i, j)) + m(j, i)) / 2;
    }
    test::WideEigensystem const exact = test::wideEigensystem(w);
    WideReal const size = abs(exact.values[0]) < abs(exact.values[2]) ? abs(exact.values[2]) : abs(exact.values[0]);
    compareValues(found, exact, ulpOf(size.toDouble()), worst);
    compareVectors(found, worst);
    if (size.isZero()) return;
    for (int k = 0; k < 3; ++k) {
        WideReal square;
        for (int i = 0; i < 3; ++i) {
            WideReal rest = -1 * exact.values[k] * found.vectors[k][i];
            for (int j = 0; j < 3; ++j) rest += s[i][j] * found.vectors[k][j];
            square += rest * rest;
        }
        worst.residual = std::fmax(worst.residual, (sqrt(square) / size).toDouble() / kUnit);
    }
}

} // namespace

TEST(EigenSymmetric, ValuesWithinFourUlpAndVectorsOrthonormalAgainstExactArithmetic)
{
    long const trials = test::trials(100, 100000);
    for (Kind const& kind : kKinds) {
        Random random(1501);
        Worst worst;
        for (long trial = 0; trial < trials; ++trial) {
            SCOPED_TRACE(std::string(kind.name) + " " + std::to_string(trial));
            checkOne(scaled(kind.make(random), random), worst);
            if (HasFatalFailure()) return;
        }
        std::printf("%-18s values %.2f ulp, orthonormal to %.1f u, residual %.1f u\n", kind.name, worst.values,
                    worst.orthonormal, worst.residual);
        EXPECT_LE(worst.values, 4) << kind.name;
        EXPECT_LE(worst.orthonormal, 8) << kind.name;
        EXPECT_LE(worst.residual, 16) << kind.name;
    }
}

TEST(EigenSymmetric, SmallValuesOfGradedMatricesAreRelativelyAccurateAgainstExactArithmetic)
{
    Random random(1502);
    double worst = 0;
    for (long trial = test::trials(500, 100000); trial > 0; --trial) {
        // Ones on the diagonal, all else at most 0.4: positive definite and far from singular. Then rows and columns
        // are multiplied by powers of two.
        double const half[3] = {random.uniform(-0.4, 0.4), random.uniform(-0.4, 0.4), random.uniform(-0.4, 0.4)};
        double sizes[3];
        for (double& size : sizes) size = std::ldexp(1.0, random.below(200) - 100);
        Matrix3 m;
        WideReal w[3][3];
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) {
                m(i, j) = (i == j ? 1.0 : half[3 - i - j]) * sizes[i] * sizes[j];
                w[i][j] = m(i, j);
            }
        }
        sinew::SymmetricEigensystem const found = sinew::eigenSymmetric(m);
        test::WideEigensystem const exact = test::wideEigensystem(w);
        for (int k = 0; k < 3; ++k) {
            worst = std::fmax(worst, std::fabs((found.values[k] / exact.values[k] - 1).toDouble()) / kUnit);
        }
    }
    std::printf("relative error of graded values %.1f u\n", worst);
    EXPECT_LE(worst, 32);
}
