#include <sinew/queries/real_roots.h>

#include <array>
#include <cfenv>
#include <cmath>
#include <initializer_list>
#include <limits>

#include <gtest/gtest.h>

#include "support/bits.h"
#include "support/random.h"
#include "support/small_stack.h"

namespace {

using sinew::RealRoots;
using sinew::realRoots;
using sinew::RootsOutcome;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kMax = std::numeric_limits<double>::max();
constexpr double kLeast = std::numeric_limits<double>::denorm_min();

struct Root
{
    double value;
    int multiplicity;
};

void expectRoots(RealRoots const& found, std::initializer_list<Root> expected)
{
    EXPECT_EQ(found.outcome, RootsOutcome::found);
    ASSERT_EQ(found.count, static_cast<int>(expected.size()));
    int i = 0;
    for (Root const& root : expected) {
        EXPECT_TRUE(test::sameBits(found.roots[i], root.value)) << found.roots[i] << " is not " << root.value;
        EXPECT_EQ(found.multiplicities[i], root.multiplicity) << root.value;
        ++i;
    }
    for (; i < 4; ++i) {
        EXPECT_TRUE(test::sameBits(found.roots[i], 0.0));
        EXPECT_EQ(found.multiplicities[i], 0);
    }
}

bool sameRoots(RealRoots const& a, RealRoots const& b)
{
    bool same = a.outcome == b.outcome && a.count == b.count;
    for (int i = 0; i < 4; ++i) {
        same = same && test::sameBits(a.roots[i], b.roots[i]) && a.multiplicities[i] == b.multiplicities[i];
    }
    return same;
}

} // namespace

TEST(RealRoots, TakeTheHighestPowerFirst)
{
    expectRoots(realRoots({2, -3}), {{1.5, 1}});
    expectRoots(realRoots({1, -3, 2}), {{1, 1}, {2, 1}});
    expectRoots(realRoots({1, -6, 11, -6}), {{1, 1}, {2, 1}, {3, 1}});
    expectRoots(realRoots({1, -10, 35, -50, 24}), {{1, 1}, {2, 1}, {3, 1}, {4, 1}});
}

TEST(RealRoots, AscendForEverySign)
{
    expectRoots(realRoots({-1, 3, -2}), {{1, 1}, {2, 1}});
    expectRoots(realRoots({-1, -6, -11, -6}), {{-3, 1}, {-2, 1}, {-1, 1}});
    expectRoots(realRoots({1, 0, -5, 0, 4}), {{-2, 1}, {-1, 1}, {1, 1}, {2, 1}});
    expectRoots(realRoots({-1, 0, 5, 0, -4}), {{-2, 1}, {-1, 1}, {1, 1}, {2, 1}});
}

TEST(RealRoots, LeadingZerosLowerTheDegree)
{
    expectRoots(realRoots({0, 0, 0, 2, -3}), {{1.5, 1}});
    expectRoots(realRoots({0, -0.0, 1, -3, 2}), {{1, 1}, {2, 1}});
    expectRoots(realRoots({1e-300, 0, 1, -3, 2}), {{1, 1}, {2, 1}}); // no threshold: the other two roots are complex
    expectRoots(realRoots({kLeast, 1, -1}), {{-kInfinity, 1}, {1, 1}});
}

TEST(RealRoots, ConstantsHaveNone)
{
    expectRoots(realRoots({1}), {});
    expectRoots(realRoots({0, 0, 0, 0, -kLeast}), {});
}

TEST(RealRoots, OfTheZeroPolynomialAreEveryNumber)
{
    for (int degree = 0; degree <= 4; ++degree) {
        double const zeros[5] = {0.0, -0.0, 0.0, -0.0, 0.0};
        RealRoots const r = realRoots(zeros, degree);
        EXPECT_EQ(r.outcome, RootsOutcome::everyNumber);
        EXPECT_EQ(r.count, 0);
    }
}

TEST(RealRoots, OfNaNAndInfiniteCoefficientsAreNotFinite)
{
    for (double const bad : {kNaN, kInfinity, -kInfinity}) {
        for (int place = 0; place < 5; ++place) {
            std::array<double, 5> c = {1, 2, 3, 4, 5};
            c[static_cast<std::size_t>(place)] = bad;
            RealRoots const r = realRoots(c.data(), 4);
            EXPECT_EQ(r.outcome, RootsOutcome::notFinite);
            EXPECT_EQ(r.count, 0);
        }
        EXPECT_EQ(realRoots({0, bad}).outcome, RootsOutcome::notFinite);
    }
}

TEST(RealRoots, OfOtherDegreesAreRefused)
{
    for (int const degree : {-1, 5, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        RealRoots const r = realRoots(nullptr, degree);
        EXPECT_EQ(r.outcome, RootsOutcome::badDegree);
        EXPECT_EQ(r.count, 0);
    }
}

TEST(RealRoots, ZeroIsARootWithItsMultiplicity)
{
    expectRoots(realRoots({5, 0}), {{0, 1}});
    expectRoots(realRoots({-5, 0, 0, 0, 0}), {{0, 4}});
    expectRoots(realRoots({1, 0, -1, 0}), {{-1, 1}, {0, 1}, {1, 1}});
    expectRoots(realRoots({1, 2, 1, 0, 0}), {{-1, 2}, {0, 2}});
    expectRoots(realRoots({1, -2, 1, -0.0}), {{0, 1}, {1, 2}});
    expectRoots(realRoots({1, 0, 1, 0}), {{0, 1}});
    // The other root is too small for a double, and stands on its side of 0.
    expectRoots(realRoots({21, kLeast, 0, 0}), {{0, 1}, {0, 2}});
    expectRoots(realRoots({21, -kLeast, 0, 0}), {{0, 2}, {0, 1}});
}

TEST(RealRoots, MultiplicitiesAreExact)
{
    expectRoots(realRoots({1, -2, 1}), {{1, 2}});
    expectRoots(realRoots({1, 0, -3, 2}), {{-2, 1}, {1, 2}});
    expectRoots(realRoots({1, 0, -3, -2}), {{-1, 2}, {2, 1}});
    expectRoots(realRoots({1, -3, 3, -1}), {{1, 3}});
    expectRoots(realRoots({1, -4, 6, -4, 1}), {{1, 4}});
    expectRoots(realRoots({1, -5, 9, -7, 2}), {{1, 3}, {2, 1}});
    expectRoots(realRoots({1, 0, -2, 0, 1}), {{-1, 2}, {1, 2}});
    expectRoots(realRoots({1, -2, 2, -2, 1}), {{1, 2}}); // (x - 1)^2 (x^2 + 1)
    expectRoots(realRoots({1, -1, -3, 5, -2}), {{-2, 1}, {1, 3}});
    expectRoots(realRoots({1, 0, 2, 0, 1}), {}); // (x^2 + 1)^2
    double const root2 = std::sqrt(2.0);
    expectRoots(realRoots({1, 0, -4, 0, 4}), {{-root2, 2}, {root2, 2}}); // (x^2 - 2)^2
    expectRoots(realRoots({9, -6, 1}), {{1.0 / 3, 2}});
    expectRoots(realRoots({27, -27, 9, -1}), {{1.0 / 3, 3}});
}

TEST(RealRoots, OneUnitInACoefficientSplitsADoubleRootOrRemovesIt)
{
    double const below = std::nextafter(1.0, 0.0);
    double const above = std::nextafter(1.0, 2.0);
    // 1 -+ sqrt(1 - c): 1 - 2^-26.5 and 1 + 2^-26.5 for the number below 1.
    double const step = std::sqrt(0x1p-53);
    RealRoots const split = realRoots({1, -2, below});
    ASSERT_EQ(split.count, 2);
    EXPECT_NEAR(split.roots[0], 1 - step, 0x1p-53);
    EXPECT_NEAR(split.roots[1], 1 + step, 0x1p-52);
    expectRoots(realRoots({1, -2, above}), {});
    EXPECT_EQ(realRoots({1, -4, 6, -4, below}).count, 2);
    EXPECT_EQ(realRoots({1, -4, 6, -4, above}).count, 0);
    EXPECT_EQ(realRoots({1, 0, -3, std::nextafter(2.0, 0.0)}).count, 3);
    EXPECT_EQ(realRoots({1, 0, -3, std::nextafter(2.0, 3.0)}).count, 1);
}

TEST(RealRoots, OfAQuadraticDoNotCancel)
{
    // x^2 - 1e8 x + 1: the small root is 1e-8 (1 + 1e-16 + ...).
    RealRoots const r = realRoots({1, -1e8, 1});
    ASSERT_EQ(r.count, 2);
    EXPECT_DOUBLE_EQ(r.roots[0], 1e-8);
    EXPECT_DOUBLE_EQ(r.roots[1], 1e8);
}

TEST(RealRoots, DoNotDependOnScale)
{
    test::Random random(20261120);
    for (int trial = 0; trial < 20000; ++trial) {
        int const degree = 1 + random.below(4);
        std::array<double, 5> c{};
        for (int i = 0; i <= degree; ++i) c[static_cast<std::size_t>(i)] = random.spread(-12, 12);
        RealRoots expected = realRoots(c.data(), degree);
        int const scale = random.below(32) - 16; // of the variable
        int const factor = random.below(1800) - 900;
        std::array<double, 5> scaled{};
        for (int i = 0; i <= degree; ++i) {
            auto const k = static_cast<std::size_t>(i);
            scaled[k] = std::ldexp(c[k], i * scale + factor);
        }
        for (int i = 0; i < expected.count; ++i) expected.roots[i] = std::ldexp(expected.roots[i], scale);
        ASSERT_TRUE(sameRoots(realRoots(scaled.data(), degree), expected)) << trial;
    }
}

TEST(RealRoots, MirrorWithTheVariable)
{
    test::Random random(20261121);
    for (int trial = 0; trial < 20000; ++trial) {
        int const degree = 1 + random.below(4);
        std::array<double, 5> c{};
        std::array<double, 5> mirrored{};
        for (int i = 0; i <= degree; ++i) {
            auto const k = static_cast<std::size_t>(i);
            c[k] = random.oneIn(3) ? random.below(7) - 3 : random.uniform();
            mirrored[k] = i % 2 == 0 ? c[k] : -c[k];
        }
        RealRoots const a = realRoots(c.data(), degree);
        RealRoots const b = realRoots(mirrored.data(), degree);
        ASSERT_EQ(a.count, b.count) << trial;
        for (int i = 0; i < a.count; ++i) {
            ASSERT_EQ(a.roots[i], -b.roots[a.count - 1 - i]) << trial;
            ASSERT_EQ(a.multiplicities[i], b.multiplicities[a.count - 1 - i]) << trial;
        }
    }
}

TEST(RealRoots, BeyondTheRangeOfDoublesAreInfiniteOrZero)
{
    expectRoots(realRoots({kLeast, -1}), {{kInfinity, 1}});
    expectRoots(realRoots({kMax, -kLeast}), {{0, 1}});
    expectRoots(realRoots({kMax, kLeast}), {{0, 1}}); // no negative zero
    expectRoots(realRoots({1e-300, -1e300, 1e-300}), {{0, 1}, {kInfinity, 1}});
    expectRoots(realRoots({1e-300, 1e300, 1e-300}), {{-kInfinity, 1}, {0, 1}});
    // The fourth root of 2^2098 (1 - 2^-53).
    RealRoots const wide = realRoots({kLeast, 0, 0, 0, -kMax});
    ASSERT_EQ(wide.count, 2);
    EXPECT_DOUBLE_EQ(wide.roots[1], std::sqrt(2.0) * 0x1p524);
    EXPECT_EQ(wide.roots[0], -wide.roots[1]);
}

TEST(RealRoots, OfSubnormalAndHugeCoefficientsKeepTheirCount)
{
    expectRoots(realRoots({kLeast, -3 * kLeast, 2 * kLeast}), {{1, 1}, {2, 1}});
    expectRoots(realRoots({0x1p1021, -3 * 0x1p1021, 0x1p1022}), {{1, 1}, {2, 1}});
    expectRoots(realRoots({kLeast, 0, -3 * kLeast, 2 * kLeast}), {{-2, 1}, {1, 2}});
    expectRoots(realRoots({0x1p1020, 0, -3 * 0x1p1020, 0x1p1021}), {{-2, 1}, {1, 2}});
}

TEST(RealRoots, AnswerEveryCombinationOfSpecialNumbers)
{
    double const kinds[] = {-0.0, 1.0, -1.0, kLeast, kMax, -1e154};
    for (double const a : kinds) {
        for (double const b : kinds) {
            for (double const c : kinds) {
                for (double const d : kinds) {
                    RealRoots const r = realRoots({a, b, c, d});
                    ASSERT_GE(r.count, 0);
                    ASSERT_LE(r.count, 3);
                    int sum = 0;
                    for (int i = 0; i < r.count; ++i) {
                        sum += r.multiplicities[i];
                        ASSERT_FALSE(std::isnan(r.roots[i]));
                        ASSERT_GE(r.multiplicities[i], 1);
                        ASSERT_TRUE(i == 0 || r.roots[i - 1] <= r.roots[i]);
                    }
                    ASSERT_LE(sum, 3);
                }
            }
        }
    }
}

TEST(RealRoots, NeedLittleStack)
{
    RealRoots r;
    bool const ran = test::runWithStack(256 * 1024, [&r] { r = realRoots({1e-300, 1e300, -2e300, 1e300, 1e-300}); });
    if (ran) {
        EXPECT_EQ(r.count, 2);
    }
}

#if defined(FE_UPWARD) && defined(FE_DOWNWARD) && defined(FE_TOWARDZERO) // a platform may have no other modes

TEST(RealRoots, EndInEveryRoundingMode)
{
    for (int const mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        test::Random random(20261122);
        for (int trial = 0; trial < 2000; ++trial) {
            std::array<double, 5> c{};
            for (double& x : c) x = random.oneIn(2) ? random.uniform() : random.below(5) - 2;
            std::fesetround(mode);
            RealRoots const r = realRoots(c.data(), 4);
            std::fesetround(FE_TONEAREST);
            ASSERT_LE(r.count, 4);
        }
    }
}

#endif

// (x - 1)^2 (a x^2 - b), where the roots 1 and sqrt(b / a) lie between the same two doubles: only exact arithmetic
// tells which of them is the double root.
TEST(RealRoots, ADoubleRootBesideASimpleOneThatRoundsToTheSameDouble)
{
    double const above[5] = {0x1.fffffffffffffp+52, -18014398509481982., 1., 18014398509481980., -9007199254740990.};
    sinew::RealRoots const found = sinew::realRoots(above, 4);
    ASSERT_EQ(found.count, 3);
    EXPECT_EQ(found.multiplicities[0], 1);
    EXPECT_EQ(found.multiplicities[1], 1);
    EXPECT_EQ(found.multiplicities[2], 2);
    EXPECT_EQ(found.roots[2], 1.0);

    double const mirrored[5] = {above[0], -above[1], above[2], -above[3], above[4]}; // at -x
    sinew::RealRoots const other = sinew::realRoots(mirrored, 4);
    ASSERT_EQ(other.count, 3);
    EXPECT_EQ(other.multiplicities[0], 2);
    EXPECT_EQ(other.multiplicities[1], 1);
    EXPECT_EQ(other.multiplicities[2], 1);
    EXPECT_EQ(other.roots[0], -1.0);
}
