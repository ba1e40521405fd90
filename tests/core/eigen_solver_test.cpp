#include <sinew/core/eigen_solver.h>

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "core/reference_matrix3.h"
#include "support/bits.h"
#include "support/random.h"

namespace {

using test::Random;
using test::sameBits;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

Matrix3 symmetric(double xx, double yy, double zz, double yx, double zx, double zy)
{
    return Matrix3({xx, yx, zx}, {yx, yy, zy}, {zx, zy, zz});
}

struct Rotation
{
    bool found = false;
    int p = -1;
    int q = -1;
    double c = 9;
    double s = 9;
    double t = 9;
    double tau = 9;
};

Rotation rotationOf(Matrix3 const& m)
{
    Rotation r;
    r.found = jacobiRotation(m, r.p, r.q, r.c, r.s, r.t, r.tau);
    return r;
}

void expectPlane(Matrix3 const& m, int p, int q)
{
    Rotation const r = rotationOf(m);
    EXPECT_EQ(r.p, p);
    EXPECT_EQ(r.q, q);
}

struct Eigensystem
{
    bool converged = false;
    double values[3];
    UVector3 vectors[3];
};

Eigensystem solve(Matrix3 const& m)
{
    Eigensystem result;
    result.converged = jacobiMethod(m, result.values, result.vectors);
    return result;
}

} // namespace

TEST(JacobiRotation, PicksTheLargestOffDiagonalElement)
{
    expectPlane(symmetric(1, 2, 3, 0.9, 0.1, 0.2), 1, 0);
    expectPlane(symmetric(1, 2, 3, 0.1, -0.9, 0.2), 2, 0);
    expectPlane(symmetric(1, 2, 3, 0.1, 0.2, 0.9), 2, 1);
}

TEST(JacobiRotation, TiesGoToTheLaterElement)
{
    expectPlane(symmetric(1, 2, 3, 0.5, -0.5, 0.5), 2, 1);
    expectPlane(symmetric(1, 2, 3, 0.5, -0.5, 0.1), 2, 0);
    expectPlane(symmetric(1, 2, 3, 0, 0, 0), 2, 1);
}

TEST(JacobiRotation, ANaNIsChosenOnlyAsTheFirstElement)
{
    expectPlane(symmetric(1, 2, 3, kNaN, 5, 7), 1, 0);
    expectPlane(symmetric(1, 2, 3, 0.5, kNaN, 0.1), 1, 0);
    expectPlane(symmetric(1, 2, 3, 0.1, kNaN, 0.5), 2, 1);
}

TEST(JacobiRotation, ReadsTheLowerTriangleOnly)
{
    Matrix3 m = symmetric(1, 2, 3, 0.1, 0.2, 0.3);
    m(0, 1) = m(0, 2) = 99;
    expectPlane(m, 2, 1);
}

TEST(JacobiRotation, ReturnsFalseIfElementAndDifferenceAreBelow1e13)
{
    Rotation const r = rotationOf(symmetric(1, 1, 1, 0, 0, 4.9e-14));
    EXPECT_FALSE(r.found);
    EXPECT_EQ(r.p, 2) << "the plane is written in this case too";
    EXPECT_EQ(r.q, 1);
    for (double const unwritten : {r.c, r.s, r.t, r.tau}) EXPECT_EQ(unwritten, 9);

    EXPECT_TRUE(rotationOf(symmetric(1, 1, 1, 0, 0, 5e-14)).found)
        << "the doubled element is exactly 1e-13, which is not below it";
    EXPECT_TRUE(rotationOf(symmetric(1, 0, 1e-13, 0, 0, 0)).found) << "a difference of exactly 1e-13";
    EXPECT_FALSE(rotationOf(symmetric(1, 0, 9e-14, 0, 0, 0)).found);
}

TEST(JacobiRotation, AnEqualDiagonalRotatesByMinus45Degrees)
{
    Rotation const r = rotationOf(symmetric(0, 2, 2, 0, 0, 1)); // theta = 0 counts as negative
    EXPECT_EQ(r.t, -1);
    EXPECT_DOUBLE_EQ(r.c, std::sqrt(0.5));
    EXPECT_DOUBLE_EQ(r.s, -std::sqrt(0.5));
    EXPECT_DOUBLE_EQ(r.tau, r.s / (1 + r.c));
}

TEST(JacobiRotation, ALargeThetaUsesTheQuotient)
{
    Rotation const steep = rotationOf(symmetric(0, 1, 0, 0, 0, 1e-14)); // theta = 5e13
    EXPECT_EQ(steep.t, 1e-14);
    Rotation const infinite = rotationOf(symmetric(0, 1, 0, 0, 0, 0));
    EXPECT_EQ(infinite.t, 0.0);
    EXPECT_EQ(infinite.c, 1.0);
    EXPECT_EQ(infinite.s, 0.0);
}

TEST(JacobiRotation, AnnihilatesTheElement)
{
    Random random(301);
    for (int trial = 0; trial < 2000; ++trial) {
        Matrix3 const any(random.point(), random.point(), random.point());
        Matrix3 const m = (any + any.transpose()) * 0.5;
        Rotation const r = rotationOf(m);
        ASSERT_TRUE(r.found);
        ASSERT_LE(std::fabs(r.t), 1.0) << "the smaller of the two angles";
        Matrix3 turn;
        turn(r.p, r.p) = turn(r.q, r.q) = r.c;
        turn(r.p, r.q) = r.s;
        turn(r.q, r.p) = -r.s;
        ASSERT_NEAR((turn.transpose() * m * turn)(r.p, r.q), 0, 1e-15);
    }
}

TEST(JacobiMethod, SortsADiagonalMatrix)
{
    Eigensystem const e = solve(symmetric(3, 1, 2, 0, 0, 0));
    EXPECT_TRUE(e.converged);
    EXPECT_EQ(e.values[0], 1);
    EXPECT_EQ(e.values[1], 2);
    EXPECT_EQ(e.values[2], 3);
    EXPECT_EQ(e.vectors[0], Vector3(0, 1, 0));
    EXPECT_EQ(e.vectors[1], Vector3(0, 0, 1));
    EXPECT_EQ(e.vectors[2], Vector3(1, 0, 0));
}

TEST(JacobiMethod, EqualEigenvaluesKeepTheirOrder)
{
    Eigensystem const e = solve(symmetric(2, 1, 2, 0, 0, 0));
    EXPECT_EQ(e.vectors[0], Vector3(0, 1, 0));
    EXPECT_EQ(e.vectors[1], Vector3(1, 0, 0));
    EXPECT_EQ(e.vectors[2], Vector3(0, 0, 1));
}

TEST(JacobiMethod, UsesTheSymmetricPart)
{
    Matrix3 const any({1, 2, 3}, {4, 5, 6}, {-7, 8, 10});
    Eigensystem const e = solve(any);
    Eigensystem const ofPart = solve((any + any.transpose()) * 0.5);
    for (int k = 0; k < 3; ++k) {
        EXPECT_TRUE(sameBits(e.values[k], ofPart.values[k]));
        EXPECT_TRUE(sameBits(Vector3(e.vectors[k]), Vector3(ofPart.vectors[k])));
    }
}

TEST(JacobiMethod, OutputsMayBeNull)
{
    Matrix3 const m = symmetric(1, 2, 3, 0.1, 0.2, 0.3);
    double values[3];
    UVector3 vectors[3];
    EXPECT_TRUE(jacobiMethod(m, nullptr, nullptr));
    EXPECT_TRUE(jacobiMethod(m, values, nullptr));
    EXPECT_TRUE(jacobiMethod(m, nullptr, vectors));
    Eigensystem const e = solve(m);
    for (int k = 0; k < 3; ++k) {
        EXPECT_TRUE(sameBits(values[k], e.values[k]));
        EXPECT_TRUE(sameBits(Vector3(vectors[k]), Vector3(e.vectors[k])));
    }
}

TEST(JacobiMethod, StopsAtASumOfOffDiagonalsOf1e8)
{
    // One rotation annihilates (2,1), the largest element, and hardly changes the others. The iteration stops if
    // their sum is 1e-8 or less and continues otherwise.
    Eigensystem const stopped = solve(symmetric(1, 2, 3, 4e-9, 4e-9, 1e-3));
    EXPECT_TRUE(stopped.converged);
    EXPECT_EQ(stopped.vectors[0].x, 1.0) << "the x axis was not rotated";
    EXPECT_EQ(stopped.vectors[0].y, 0.0);
    Eigensystem const continued = solve(symmetric(1, 2, 3, 2e-8, 2e-8, 1e-3));
    EXPECT_NE(continued.vectors[0].y, 0.0);
}

TEST(JacobiMethod, NaNEndsTheIteration)
{
    Eigensystem const e = solve(symmetric(1, kNaN, 3, 0.1, 0.2, 0.3));
    EXPECT_TRUE(e.converged);
    EXPECT_TRUE(std::isnan(e.values[0]) || std::isnan(e.values[1]) || std::isnan(e.values[2]));
}

TEST(JacobiMethod, FindsTheDecompositionItWasBuiltFrom)
{
    Random random(302);
    for (int trial = 0; trial < 2000; ++trial) {
        SCOPED_TRACE(trial);
        Matrix3 const turn = Matrix3::rotationMatrix(UVector3(random.point()), random.uniform(-4, 4));
        double expected[3] = {random.uniform(-3, -1), random.uniform(-0.9, 0.9), random.uniform(1, 3)};
        if (random.oneIn(4)) expected[1] = expected[0];
        Matrix3 stretch;
        for (int k = 0; k < 3; ++k) stretch(k, k) = expected[k];
        Matrix3 const m = turn * stretch * turn.transpose();
        Eigensystem const e = solve(m);
        ASSERT_TRUE(e.converged);
        for (int k = 0; k < 3; ++k) {
            ASSERT_NEAR(e.values[k], expected[k], 1e-8); // off-diagonals up to 1e-8 may remain
            ASSERT_NEAR(dist(m * e.vectors[k], e.vectors[k] * e.values[k]), 0, 2e-8);
            ASSERT_NEAR(e.vectors[k] * e.vectors[(k + 1) % 3], 0, 1e-14);
        }
    }
}

TEST(JacobiMethod, MatchesTheReference)
{
    Random random(303);
    for (int trial = 0; trial < 20000; ++trial) {
        SCOPED_TRACE(trial);
        Matrix3 m(random.point(), random.point(), random.point());
        if (random.oneIn(4)) m = m * random.spread(-500, 500);
        if (random.oneIn(4)) m = Matrix3(random.hostilePoint(), random.hostilePoint(), random.hostilePoint());
        if (random.oneIn(8)) {
            for (int k = 0; k < 9; ++k) m(k / 3, k % 3) = random.below(3) - 1;
        }
        Eigensystem const e = solve(m);
        double values[3];
        Vector3 vectors[3];
        ASSERT_EQ(e.converged, reference::jacobiMethod(m, values, vectors));
        for (int k = 0; k < 3; ++k) {
            ASSERT_TRUE(sameBits(e.values[k], values[k]));
            ASSERT_TRUE(sameBits(Vector3(e.vectors[k]), vectors[k]));
        }
    }
}
