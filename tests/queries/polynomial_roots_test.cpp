#include <sinew/queries/polynomial_roots.h>

#include <algorithm>
#include <array>
#include <cfenv>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "queries/reference_polynomial_roots.h"
#include "support/bits.h"
#include "support/random.h"

namespace {

using test::sameBits;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kUnwritten = -12345.678;

double above(double x)
{
    return std::nextafter(x, kInfinity);
}
double below(double x)
{
    return std::nextafter(x, -kInfinity);
}

struct Roots
{
    int count = 0;
    std::array<double, 3> values = {kUnwritten, kUnwritten, kUnwritten};
};

Roots quadratic(double a, double b, double c)
{
    Roots roots;
    roots.count = solveQuadratic(a, b, c, roots.values.data());
    return roots;
}

Roots cubic(double a, double b, double c, double d)
{
    Roots roots;
    roots.count = solveCubic(a, b, c, d, roots.values.data());
    return roots;
}

// The cubic scale * (x - r0) (x - r1) (x - r2).
Roots cubicWithRoots(double scale, double r0, double r1, double r2)
{
    return cubic(scale, -scale * (r0 + r1 + r2), scale * (r0 * r1 + r0 * r2 + r1 * r2), -scale * (r0 * r1 * r2));
}

void expectRoots(Roots const& found, std::array<double, 3> const& expected, double tolerance)
{
    ASSERT_EQ(found.count, 3);
    for (std::size_t k = 0; k < 3; ++k) EXPECT_NEAR(found.values[k], expected[k], tolerance) << "root " << k;
}

// The number of cubics, of `trials` from the family, for which the library and the reference differ in any bit.
template <typename Family>
int differences(std::uint64_t seed, int trials, Family family)
{
    test::Random random(seed);
    int different = 0;
    for (int trial = 0; trial < trials; ++trial) {
        std::array<double, 4> const k = family(random);
        Roots const found = cubic(k[0], k[1], k[2], k[3]);
        Roots expected;
        expected.count = reference::solveCubic(k[0], k[1], k[2], k[3], expected.values.data());
        bool same = found.count == expected.count;
        for (std::size_t i = 0; i < 3; ++i) same = same && sameBits(found.values[i], expected.values[i]);
        if (same) continue;
        if (++different == 1) {
            ADD_FAILURE() << std::hexfloat << "the first differs at " << k[0] << " " << k[1] << " " << k[2] << " "
                          << k[3];
        }
    }
    return different;
}

std::array<double, 4> fromRoots(double scale, double r0, double r1, double r2)
{
    return {scale, -scale * (r0 + r1 + r2), scale * (r0 * r1 + r0 * r2 + r1 * r2), -scale * r0 * r1 * r2};
}

} // namespace

TEST(SolveQuadratic, RootsAscendForAPositiveLeadingCoefficient)
{
    Roots const r = quadratic(1, -3, 2);
    EXPECT_EQ(r.count, 2);
    EXPECT_EQ(r.values[0], 1.0);
    EXPECT_EQ(r.values[1], 2.0);
}

TEST(SolveQuadratic, RootsDescendForANegativeLeadingCoefficient)
{
    Roots const r = quadratic(-1, 3, -2);
    EXPECT_EQ(r.count, 2);
    EXPECT_EQ(r.values[0], 2.0);
    EXPECT_EQ(r.values[1], 1.0);
}

TEST(SolveQuadratic, DoubleRootCountsTwice)
{
    Roots const r = quadratic(1, 2, 1);
    EXPECT_EQ(r.count, 2);
    EXPECT_EQ(r.values[0], -1.0);
    EXPECT_EQ(r.values[1], -1.0);
}

TEST(SolveQuadratic, NegativeDiscriminantGivesNoRoot)
{
    Roots const r = quadratic(1, 0, 1);
    EXPECT_EQ(r.count, 0);
    EXPECT_EQ(r.values[0], kUnwritten);
}

TEST(SolveQuadratic, ADiscriminantWithinTheThresholdGivesADoubleRoot)
{
    // For a = 1 and b = 0 the discriminant is exactly -4 c.
    EXPECT_EQ(quadratic(1, 0, 2.5e-14).count, 2) << "-1e-13 itself is not below -1e-13";
    EXPECT_EQ(quadratic(1, 0, above(2.5e-14)).count, 0);

    Roots const distinct = quadratic(1, 0, -2.5e-14);
    EXPECT_NE(distinct.values[0], distinct.values[1]) << "1e-13 itself is not below 1e-13";
    Roots const equal = quadratic(1, 0, above(-2.5e-14));
    EXPECT_EQ(equal.count, 2);
    EXPECT_EQ(equal.values[0], equal.values[1]);
}

TEST(SolveQuadratic, ALeadingCoefficientEqualToTheThresholdIsNotZero)
{
    for (double const a : {1e-13, -1e-13}) EXPECT_EQ(quadratic(a, 1, 1).count, 2);
    for (double const a : {below(1e-13), above(-1e-13), 0.0, -0.0}) {
        Roots const r = quadratic(a, 2, -4);
        EXPECT_EQ(r.count, 1);
        EXPECT_EQ(r.values[0], 2.0);
        EXPECT_EQ(r.values[1], kUnwritten);
    }
}

TEST(SolveQuadratic, AConstantHasNoRoot)
{
    EXPECT_EQ(quadratic(0, 0, 1).count, 0);
    EXPECT_EQ(quadratic(0, 0, 0).count, 0);
    EXPECT_EQ(quadratic(0, below(1e-13), 1).count, 0);
    EXPECT_EQ(quadratic(0, -1e-13, 1).count, 1);
    EXPECT_EQ(quadratic(0, 0, 1).values[0], kUnwritten);
}

TEST(SolveQuadratic, RootsAreProductsWithTheReciprocalOfTheLeadingCoefficient)
{
    double const a = 3;
    double const b = -7.1;
    double const c = 1.3;
    double const s = std::sqrt(b * b + a * -4 * c);
    ASSERT_NE((-b - s) * (0.5 / a), (-b - s) / (2 * a));
    Roots const r = quadratic(a, b, c);
    EXPECT_EQ(r.values[0], (-b - s) * (0.5 / a));
    EXPECT_EQ(r.values[1], (s - b) * (0.5 / a));
}

TEST(SolveQuadratic, NaNAndInfiniteCoefficientsGiveNonFiniteRootsOrNone)
{
    for (Roots const& r : {quadratic(kNaN, 1, 1), quadratic(1, kNaN, 1), quadratic(1, 1, kNaN)}) {
        EXPECT_EQ(r.count, 2);
        EXPECT_TRUE(std::isnan(r.values[0]) && std::isnan(r.values[1]));
    }
    EXPECT_EQ(quadratic(0, kNaN, 1).count, 1);
    EXPECT_TRUE(std::isnan(quadratic(0, kNaN, 1).values[0]));
    EXPECT_EQ(quadratic(1, 0, kInfinity).count, 0);
    EXPECT_EQ(quadratic(1, 0, -kInfinity).values[1], kInfinity);
}

TEST(SolveQuadratic, HasTheBitsOfTheReference)
{
    test::Random random(20250301);
    for (int trial = 0; trial < 50000; ++trial) {
        double const a = random.hostile();
        double const b = random.hostile();
        double const c = random.hostile();
        Roots const found = quadratic(a, b, c);
        Roots expected;
        expected.count = reference::solveQuadratic(a, b, c, expected.values.data());
        ASSERT_EQ(found.count, expected.count) << a << " " << b << " " << c;
        ASSERT_TRUE(sameBits(found.values[0], expected.values[0]) && sameBits(found.values[1], expected.values[1]))
            << a << " " << b << " " << c;
    }
}

TEST(SolveCubic, ThreeRootsAscend)
{
    expectRoots(cubic(1, -6, 11, -6), {1, 2, 3}, 1e-12);
    expectRoots(cubic(-1, 6, -11, 6), {1, 2, 3}, 1e-12);
}

TEST(SolveCubic, RootsAscendForEverySignOfTheLeadingCoefficient)
{
    std::array<double, 3> const roots = {-7.25, 0.5, 41};
    for (double const scale : {1.0, -1.0, 0.25, -8.0}) {
        std::array<double, 3> order = roots;
        do {
            expectRoots(cubicWithRoots(scale, order[0], order[1], order[2]), roots, 1e-11);
        } while (std::next_permutation(order.begin(), order.end()));
        expectRoots(cubicWithRoots(scale, 7.25, -0.5, -41), {-41, -0.5, 7.25}, 1e-11);
    }
}

TEST(SolveCubic, ASingleRootIsWrittenAlone)
{
    Roots const r = cubic(1, 0, 0, -8);
    EXPECT_EQ(r.count, 1);
    EXPECT_NEAR(r.values[0], 2.0, 1e-15);
    EXPECT_EQ(r.values[1], kUnwritten);
    EXPECT_EQ(r.values[2], kUnwritten);
}

TEST(SolveCubic, ATripleRootIsFoundAtTheCriticalPoint)
{
    Roots const r = cubic(1, -3, 3, -1);
    EXPECT_EQ(r.count, 3);
    for (double const root : r.values) EXPECT_EQ(root, 1.0);
}

TEST(SolveCubic, ADoubleRootIsFoundAtTheCriticalPoint)
{
    Roots const right = cubic(1, 0, -3, 2);
    EXPECT_EQ(right.count, 3);
    EXPECT_EQ(right.values, (std::array<double, 3>{-2, 1, 1}));
    Roots const left = cubic(1, 0, -3, -2);
    EXPECT_EQ(left.count, 3);
    EXPECT_EQ(left.values, (std::array<double, 3>{-1, -1, 2}));
}

TEST(SolveCubic, ACriticalPointWithAValueEqualToTheThresholdIsARoot)
{
    // The only critical point of x^3 + d is 0, and its value is d.
    EXPECT_EQ(cubic(1, 0, 0, 1e-13).count, 3);
    EXPECT_EQ(cubic(1, 0, 0, 1e-13).values[0], 0.0);
    Roots const beyond = cubic(1, 0, 0, above(1e-13));
    EXPECT_EQ(beyond.count, 1);
    EXPECT_NEAR(beyond.values[0], -std::cbrt(1e-13), 1e-9);
    EXPECT_EQ(cubic(1, 0, 0, -1e-13).count, 3);
    EXPECT_EQ(cubic(1, 0, 0, below(-1e-13)).count, 1);
}

TEST(SolveCubic, TheFirstOfTwoCriticalPointsWithinTheThresholdIsARoot)
{
    for (double const sign : {1.0, -1.0}) {
        double const c = -1e-10;
        Roots const critical = quadratic(sign * 3, 0, sign * c);
        ASSERT_NE(critical.values[0], critical.values[1]);
        Roots const r = cubic(sign, 0, sign * c, 0);
        ASSERT_EQ(r.count, 3);
        auto const holds = [&r](double x) { return std::count(r.values.begin(), r.values.end(), x) > 0; };
        EXPECT_TRUE(holds(critical.values[0]));
        EXPECT_FALSE(holds(critical.values[1]));
    }
}

TEST(SolveCubic, WithoutACubicTermTheRootsAreThoseOfTheQuadratic)
{
    EXPECT_EQ(cubic(0, -1, 3, -2).values[0], 2.0) << "in the order of solveQuadratic, not sorted";
    EXPECT_EQ(cubic(below(1e-13), 1, -3, 2).count, 2);
    EXPECT_EQ(cubic(0, 0, 2, -4).count, 1);
    EXPECT_EQ(cubic(0, 0, 0, 5).count, 0);
    EXPECT_EQ(cubic(0, 0, 0, 5).values[0], kUnwritten);
    EXPECT_NE(cubic(1e-13, 1, -3, 2).count, 2) << "1e-13 itself counts as a cubic term";
}

TEST(SolveCubic, FindsRootsFarOutsideTheFirstBracket)
{
    for (double const root : {30.0, -30.0, 1e4, -1e6, 1e9}) {
        Roots const r = cubic(1, 0, 0, -root * root * root);
        EXPECT_EQ(r.count, 1);
        EXPECT_NEAR(r.values[0] / root, 1.0, 1e-15) << root;
    }
    expectRoots(cubicWithRoots(1, 1e5, -3e5, 2e6), {-3e5, 1e5, 2e6}, 1e-8);
}

TEST(SolveCubic, ValuesAtTheRootsAreZeroToRounding)
{
    test::Random random(20250302);
    for (int trial = 0; trial < 20000; ++trial) {
        double const a = random.uniform(0.5, 2);
        double const b = random.uniform(-5, 5);
        double const c = random.uniform(-5, 5);
        double const d = random.uniform(-5, 5);
        Roots const r = cubic(a, b, c, d);
        ASSERT_TRUE(r.count == 1 || r.count == 3);
        for (int k = 0; k < r.count; ++k) {
            double const x = r.values[static_cast<std::size_t>(k)];
            // The rounding of the terms, and the residual of the first root, up to 1e-13, that the others inherit.
            double const terms = ((a * std::fabs(x) + 5) * std::fabs(x) + 5) * std::fabs(x) + 5;
            EXPECT_NEAR(((a * x + b) * x + c) * x + d, 0.0, 1e-12 + 1e-14 * terms) << "trial " << trial;
            if (k > 0) {
                EXPECT_LE(r.values[static_cast<std::size_t>(k) - 1], x);
            }
        }
    }
}

TEST(SolveCubic, HasTheBitsOfTheReferenceOnOrdinaryCubics)
{
    EXPECT_EQ(
        differences(
            1, 60000,
            [](test::Random& random) {
                return std::array<double, 4>{random.uniform(), random.uniform(), random.uniform(), random.uniform()};
            }),
        0);
    EXPECT_EQ(differences(2, 40000,
                          [](test::Random& random) {
                              // Small integer coefficients. The values are exact, so some roots are found exactly
                              // and some ends of a bracket have equal values.
                              auto const integer = [&random] { return static_cast<double>(random.below(19) - 9); };
                              double const a = integer();
                              double const b = integer();
                              double const c = integer();
                              return std::array<double, 4>{a, b, c, integer()};
                          }),
              0);
}

TEST(SolveCubic, HasTheBitsOfTheReferenceOnLargeRoots)
{
    EXPECT_EQ(differences(3, 60000,
                          [](test::Random& random) {
                              double const size = std::ldexp(1.0, 5 + random.below(20));
                              double const r0 = random.uniform(-size, size);
                              double const r1 = random.uniform(-size, size);
                              return fromRoots(random.uniform(-2, 2), r0, r1, random.uniform(-size, size));
                          }),
              0);
    EXPECT_EQ(differences(4, 40000,
                          [](test::Random& random) {
                              // One real root.
                              double const r = random.spread(4, 60);
                              double const p = random.spread(0, 30);
                              double const q = p * p * random.uniform(0.26, 4);
                              double const a = random.spread(-3, 3);
                              return std::array<double, 4>{a, a * (p - r), a * (q - p * r), -a * q * r};
                          }),
              0);
}

TEST(SolveCubic, HasTheBitsOfTheReferenceOnCloseRoots)
{
    EXPECT_EQ(differences(5, 40000,
                          [](test::Random& random) {
                              double const r = random.uniform(-40, 40);
                              double const gap = random.oneIn(3) ? 0.0 : random.spread(-40, -2);
                              double const other = random.oneIn(3) ? r - gap : random.uniform(-40, 40);
                              return fromRoots(random.spread(-4, 4), r, r + gap, other);
                          }),
              0);
}

TEST(SolveCubic, HasTheBitsOfTheReferenceOnHostileCoefficients)
{
    EXPECT_EQ(differences(6, 40000,
                          [](test::Random& random) {
                              double const a = random.hostile();
                              double const b = random.hostile();
                              double const c = random.hostile();
                              return std::array<double, 4>{a, b, c, random.hostile()};
                          }),
              0);
    EXPECT_EQ(differences(7, 40000,
                          [](test::Random& random) {
                              // Exponents of the whole range of doubles: values overflow and products underflow.
                              double const a = random.spread(-43, 1000);
                              double const b = random.spread(-1000, 1000);
                              double const c = random.spread(-1000, 1000);
                              return std::array<double, 4>{a, b, c, random.spread(-1000, 1000)};
                          }),
              0);
}

TEST(SolveCubic, ReturnsForEveryCombinationOfSpecialNumbers)
{
    double const kinds[] = {0.0,   -0.0,   1.0,       -1.0,       1e-13, -1e-13, 5e-324, 1e300,
                            1e308, -1e308, kInfinity, -kInfinity, kNaN,  1e154,  1e-300};
    for (double const a : kinds) {
        for (double const b : kinds) {
            for (double const c : kinds) {
                for (double const d : kinds) {
                    Roots const r = cubic(a, b, c, d);
                    ASSERT_TRUE(r.count >= 0 && r.count <= 3);
                    for (std::size_t k = 0; k < 3; ++k) {
                        ASSERT_EQ(r.values[k] == kUnwritten, static_cast<int>(k) >= r.count);
                    }
                }
            }
        }
    }
}

#if defined(FE_UPWARD) && defined(FE_DOWNWARD) && defined(FE_TOWARDZERO) // a platform may have no other modes

// Where rounding does not lead to infinity, the ends of the bracket stay at the largest double.
TEST(SolveCubic, EndsInEveryRoundingMode)
{
    for (int const mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        SCOPED_TRACE(mode);
        for (double const sign : {1.0, -1.0}) {
            double roots[3] = {};
            std::fesetround(mode);
            int const huge = solveCubic(1e-12, sign * 1e300, 1, 1, roots);
            int const ordinary = solveCubic(1, -6, 11, -6, roots);
            std::fesetround(FE_TONEAREST);
            EXPECT_TRUE(huge == 1 || huge == 3);
            EXPECT_EQ(ordinary, 3);
        }
    }
}

#endif
