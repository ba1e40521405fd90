// What the groups rely on: that the inputs are the same everywhere, and that the cases which they promise occur.

#include <selftest/inputs.h>

#include <cmath>
#include <set>

#include <gtest/gtest.h>

#include <selftest/record.h>

using selftest::Inputs;

// The engine's ten-thousandth number is part of the standard, [rand.predef].
TEST(Inputs, TheEngineIsTheStandardOne)
{
    Inputs in(std::mt19937_64::default_seed);
    for (int i = 1; i < 10000; ++i) in.bits();
    EXPECT_EQ(in.bits(), 9981545732273789042u);
}

TEST(Inputs, SpreadNumbersHaveTheMagnitudesThatWereAskedFor)
{
    Inputs in(1);
    std::set<int> exponents;
    for (int i = 0; i < 1000; ++i) {
        double const x = in.spread(-3, 4);
        exponents.insert(std::ilogb(x));
    }
    EXPECT_EQ(exponents, (std::set<int>{-3, -2, -1, 0, 1, 2, 3}));
    for (int i = 0; i < 100; ++i) {
        EXPECT_TRUE(std::isnormal(in.spread(-1022, -1021)));
        EXPECT_TRUE(std::isnormal(in.spread(1022, 1023)));
    }
}

TEST(Inputs, NumbersAreOfAllKinds)
{
    Inputs in(2);
    std::set<int> kinds;
    for (int i = 0; i < 10000; ++i) {
        double const x = in.number();
        kinds.insert(std::fpclassify(x));
        if (x == 0.0) kinds.insert(std::signbit(x) ? -1 : -2);
        if (std::isinf(x)) kinds.insert(x > 0 ? -3 : -4);
    }
    EXPECT_EQ(kinds, (std::set<int>{FP_NAN, FP_INFINITE, FP_ZERO, FP_SUBNORMAL, FP_NORMAL, -1, -2, -3, -4}));
}

TEST(Inputs, PointsRepeatAndLieOnLines)
{
    Inputs in(3);
    int repeated = 0;
    int collinear = 0;
    Vector3 a = in.tamePoint();
    Vector3 b = in.tamePoint();
    for (int i = 0; i < 2000; ++i) {
        Vector3 const c = in.tamePoint();
        EXPECT_LT(c.length(), 100.0);
        repeated += c == b || c == a;
        collinear += cross(b - a, c - a).isNull();
        a = b;
        b = c;
    }
    EXPECT_GT(repeated, 20);
    EXPECT_GT(collinear, repeated);
}

TEST(Inputs, RotationsAreOrthonormal)
{
    Inputs in(4);
    for (int i = 0; i < 1000; ++i) {
        Matrix3 const r = in.rotation();
        Matrix3 const difference = r * r.transpose() - Matrix3();
        EXPECT_TRUE(difference.isNearZero());
        EXPECT_GT(r.determinant(), 0.0);
    }
}
