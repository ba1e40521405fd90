#include <sinew/core/predicates.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "support/random.h"

#ifdef SINEW_TEST_GMP
#include <gmpxx.h>

#include "support/trials.h"
#endif

namespace {

using Vector2 = tzNM::vect2<double>;
using limits = std::numeric_limits<double>;

constexpr double kInfinity = limits::infinity();
constexpr double kNaN = limits::quiet_NaN();
constexpr double kSubnormal = 0x1p-1074;
constexpr double kHuge = limits::max();

int signOf(double x)
{
    return (x > 0) - (x < 0);
}

} // namespace

TEST(Orient2d, IsPositiveForCounterClockwisePoints)
{
    EXPECT_EQ(sinew::orient2d({0, 0}, {1, 0}, {0, 1}), 1.0);
    EXPECT_EQ(sinew::orient2d({0, 1}, {1, 0}, {0, 0}), -1.0);
    EXPECT_EQ(sinew::orient2d({0, 0}, {1, 1}, {3, 3}), 0.0);
}

TEST(Orient3d, IsPositiveIfTheFourthPointIsBelow)
{
    EXPECT_EQ(sinew::orient3d({0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, -1}), 1.0);
    EXPECT_EQ(sinew::orient3d({0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}), -1.0);
    EXPECT_EQ(sinew::orient3d({0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {5, 7, 0}), 0.0);
}

TEST(InCircle, IsPositiveInside)
{
    EXPECT_GT(sinew::inCircle({1, 0}, {0, 1}, {-1, 0}, {0, 0.5}), 0.0);
    EXPECT_LT(sinew::inCircle({1, 0}, {0, 1}, {-1, 0}, {0, -1.5}), 0.0);
    EXPECT_EQ(sinew::inCircle({1, 0}, {0, 1}, {-1, 0}, {0, -1}), 0.0);
    EXPECT_LT(sinew::inCircle({-1, 0}, {0, 1}, {1, 0}, {0, 0.5}), 0.0) << "clockwise";
}

TEST(InCircle, OfPointsOnALineIsTheHalfPlane)
{
    EXPECT_GT(sinew::inCircle({0, 0}, {1, 0}, {3, 0}, {0, 1}), 0.0);
    EXPECT_LT(sinew::inCircle({0, 0}, {1, 0}, {3, 0}, {0, -1}), 0.0);
    EXPECT_EQ(sinew::inCircle({0, 0}, {0, 0}, {3, 0}, {0, 1}), 0.0);
    EXPECT_EQ(sinew::inCircle({0, 0}, {1, 0}, {3, 0}, {7, 0}), 0.0);
}

// The plain determinants are wrong for these points.
TEST(Predicates, OneUnitInTheLastPlaceChangesTheSign)
{
    double const next = std::nextafter(0.5, 1.0);
    EXPECT_EQ(sinew::orient2d({0.5, 0.5}, {12, 12}, {24, 24}), 0.0);
    EXPECT_LT(sinew::orient2d({next, 0.5}, {12, 12}, {24, 24}), 0.0);
    EXPECT_GT(sinew::orient2d({0.5, next}, {12, 12}, {24, 24}), 0.0);
    EXPECT_EQ(sinew::orient3d({0.5, 0.5, 0.5}, {12, 13, 12}, {24, 24, 24}, {48, 50, 48}), 0.0);
    EXPECT_NE(sinew::orient3d({next, 0.5, 0.5}, {12, 13, 12}, {24, 24, 24}, {48, 50, 48}), 0.0);
    EXPECT_LT(sinew::inCircle({1e10, 0}, {0, 1e10}, {-1e10, 0}, {1e-10, -1e10}), 0.0);
    EXPECT_EQ(sinew::inCircle({1e10, 0}, {0, 1e10}, {-1e10, 0}, {0, -1e10}), 0.0);
}

TEST(Predicates, AreExactForSubnormalCoordinates)
{
    EXPECT_EQ(sinew::orient2d({0, 0}, {kSubnormal, 0}, {0, kSubnormal}), kSubnormal);
    EXPECT_EQ(sinew::orient2d({0, 0}, {0, kSubnormal}, {kSubnormal, 0}), -kSubnormal);
    EXPECT_EQ(sinew::orient2d({0, 0}, {kSubnormal, kSubnormal}, {2 * kSubnormal, 2 * kSubnormal}), 0.0);
    EXPECT_EQ(sinew::orient3d({0, 0, 0}, {kSubnormal, 0, 0}, {0, kSubnormal, 0}, {0, 0, -kSubnormal}), kSubnormal);
    EXPECT_EQ(sinew::inCircle({kSubnormal, 0}, {0, kSubnormal}, {-kSubnormal, 0}, {0, 0}), kSubnormal);
    EXPECT_EQ(sinew::inCircle({kSubnormal, 0}, {0, kSubnormal}, {-kSubnormal, 0}, {0, -kSubnormal}), 0.0);
}

TEST(Predicates, AreExactForHugeCoordinates)
{
    EXPECT_EQ(sinew::orient2d({-kHuge, -kHuge}, {kHuge, -kHuge}, {0, kHuge}), kInfinity);
    EXPECT_EQ(sinew::orient2d({-kHuge, -kHuge}, {0, 0}, {kHuge, kHuge}), 0.0);
    EXPECT_LT(sinew::orient2d({-kHuge, -kHuge}, {0, kSubnormal}, {kHuge, kHuge}), 0.0);
    EXPECT_EQ(sinew::orient3d({kHuge, 0, 0}, {0, kHuge, 0}, {0, 0, kHuge}, {0, 0, 0}), kInfinity);
    EXPECT_EQ(sinew::inCircle({kHuge, 0}, {0, kHuge}, {-kHuge, 0}, {0, -kHuge}), 0.0);
    EXPECT_LT(sinew::inCircle({kHuge, 0}, {0, kHuge}, {-kHuge, 0}, {kSubnormal, -kHuge}), 0.0);
    // x y overflows here, and x y z does not.
    EXPECT_EQ(sinew::orient3d({0x1p1000, 0, 0}, {0, 0x1p500, 0}, {0, 0, 0x1p-1000}, {0, 0, 0}), 0x1p500);
}

TEST(Predicates, AreNaNForNaNAndInfiniteCoordinates)
{
    for (double const bad : {kNaN, kInfinity, -kInfinity}) {
        for (int i = 0; i < 4; ++i) {
            for (int axis = 0; axis < 3; ++axis) {
                Vector2 p[] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}};
                Vector3 q[] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
                q[i][axis] = bad;
                EXPECT_TRUE(std::isnan(sinew::orient3d(q[0], q[1], q[2], q[3])));
                p[i][axis] = bad;
                EXPECT_TRUE(std::isnan(sinew::inCircle(p[0], p[1], p[2], p[3])));
                EXPECT_EQ(std::isnan(sinew::orient2d(p[0], p[1], p[2])), i < 3);
            }
        }
    }
}

// For the same points, one exact stage computes with expansions and the other with integers.
TEST(Predicates, ExactStagesGiveTheDeterminant)
{
    test::Random random(20261126);
    constexpr double kScale = 0x1p-210; // below the range of expansions
    for (int trial = 0; trial < 10'000; ++trial) {
        Vector2 const a = random.point2(), b = random.point2(), c = random.point2(), d = random.point2();
        double const area = sinew::detail::exactOrient2d(a, b, c);
        EXPECT_NEAR(area, sinew::orient2d(a, b, c), 1e-15);
        EXPECT_NEAR(sinew::detail::exactOrient2d(a * kScale, b * kScale, c * kScale) * 0x1p420, area, 1e-15);
        double const inside = sinew::detail::exactInCircle(a, b, c, d);
        EXPECT_NEAR(inside, sinew::inCircle(a, b, c, d), 1e-14);
        EXPECT_NEAR(sinew::detail::exactInCircle(a * kScale, b * kScale, c * kScale, d * kScale) * 0x1p420 * 0x1p420,
                    inside, 1e-14);
    }
}

TEST(Predicates, ExchangingTwoPointsReversesTheSign)
{
    test::Random random(20261127);
    for (int trial = 0; trial < 10'000; ++trial) {
        Vector3 p[4];
        for (Vector3& x : p) x = random.hostilePoint();
        Vector2 const q[] = {{p[0].x, p[0].y}, {p[1].x, p[1].y}, {p[2].x, p[2].y}, {p[3].x, p[3].y}};
        EXPECT_EQ(signOf(sinew::orient2d(q[0], q[1], q[2])), -signOf(sinew::orient2d(q[2], q[1], q[0])));
        EXPECT_EQ(signOf(sinew::orient3d(p[0], p[1], p[2], p[3])), -signOf(sinew::orient3d(p[0], p[3], p[2], p[1])));
        EXPECT_EQ(signOf(sinew::inCircle(q[0], q[1], q[2], q[3])), -signOf(sinew::inCircle(q[1], q[0], q[2], q[3])));
    }
}

#ifdef SINEW_TEST_GMP

namespace {

// The coordinates of points as integers in units of a common power of two: the sign of a determinant does not depend on
// it, and integers are much faster than fractions, which are reduced after each operation.
class Integers
{
public:
    template <typename Vector, int n>
    Integers(Vector const (&points)[n], int dimensions)
    {
        for (Vector const& p : points) {
            for (int axis = 0; axis < dimensions; ++axis) unit_ = std::min(unit_, unitOf(p[axis]));
        }
    }

    mpz_class operator()(double x) const
    {
        if (x == 0) return 0;
        int const unit = unitOf(x);
        mpz_class result(std::ldexp(x, -unit));
        mpz_mul_2exp(result.get_mpz_t(), result.get_mpz_t(), static_cast<mp_bitcnt_t>(unit - unit_));
        return result;
    }

private:
    static int unitOf(double x)
    {
        int exponent = 0;
        std::frexp(x, &exponent);
        return x == 0 ? 2000 : std::max(exponent - 53, -1074);
    }

    int unit_ = 2000;
};

mpz_class cross(mpz_class const (&a)[2], mpz_class const (&b)[2])
{
    return a[0] * b[1] - a[1] * b[0];
}

int exactOrient2d(Vector2 const (&p)[3])
{
    Integers const integer(p, 2);
    mpz_class const x = integer(p[2].x), y = integer(p[2].y);
    mpz_class const a[] = {integer(p[0].x) - x, integer(p[0].y) - y};
    mpz_class const b[] = {integer(p[1].x) - x, integer(p[1].y) - y};
    return sgn(cross(a, b));
}

int exactOrient3d(Vector3 const (&p)[4])
{
    Integers const integer(p, 3);
    mpz_class m[3][3];
    for (int i = 0; i < 3; ++i) {
        for (int axis = 0; axis < 3; ++axis) m[i][axis] = integer(p[i][axis]) - integer(p[3][axis]);
    }
    mpz_class determinant = 0;
    for (int i = 0; i < 3; ++i) {
        determinant += m[0][i] * (m[1][(i + 1) % 3] * m[2][(i + 2) % 3] - m[1][(i + 2) % 3] * m[2][(i + 1) % 3]);
    }
    return sgn(determinant);
}

int exactInCircle(Vector2 const (&p)[4])
{
    Integers const integer(p, 2);
    mpz_class m[3][2];
    for (int i = 0; i < 3; ++i) {
        for (int axis = 0; axis < 2; ++axis) m[i][axis] = integer(p[i][axis]) - integer(p[3][axis]);
    }
    mpz_class determinant = 0;
    for (int i = 0; i < 3; ++i) {
        determinant += (m[i][0] * m[i][0] + m[i][1] * m[i][1]) * cross(m[(i + 1) % 3], m[(i + 2) % 3]);
    }
    return sgn(determinant);
}

double moved(test::Random& random, double x, int most)
{
    for (int steps = random.below(most + 1); steps > 0; --steps) {
        x = std::nextafter(x, random.oneIn(2) ? kInfinity : -kInfinity);
    }
    return std::isfinite(x) ? x : kHuge;
}

// Multiplies by a power of two that leaves ordinary numbers ordinary, or makes them subnormal or huge.
double scaleOf(test::Random& random)
{
    switch (random.below(8)) {
    case 0:
        return 0x1p-1072;
    case 1:
        return 0x1p-1040;
    case 2:
        return 0x1p1018;
    case 3:
        return std::ldexp(1.0, random.below(2000) - 1000);
    default:
        return 1.0;
    }
}

// How the points of a trial are chosen.
enum class Kind
{
    grid,         // points of a small grid: often equal, on a line or in a plane
    anyMagnitude, // coordinates of any magnitude, independent of each other
    anywhere,     // points of a square or cube
    onLine,       // points on the line or plane of the first ones, often exactly
    nearLine      // the same, moved by up to 3 units in the last place
};

Kind nextKind(test::Random& random)
{
    static constexpr Kind kKinds[] = {Kind::grid,   Kind::grid,     Kind::anyMagnitude, Kind::anywhere, Kind::onLine,
                                      Kind::onLine, Kind::nearLine, Kind::nearLine,     Kind::nearLine, Kind::nearLine};
    return kKinds[random.below(10)];
}

double coordinate(test::Random& random, Kind kind)
{
    if (kind == Kind::grid) return random.below(7) - 3;
    if (kind == Kind::anyMagnitude) return random.spread(-1070, 1023);
    return random.uniform();
}

// A point of the line or plane through `others`, of which there are `count`.
template <typename Vector>
Vector inSpanOf(test::Random& random, Kind kind, Vector const* others, int count, int dimensions)
{
    bool const eighths = kind == Kind::onLine;
    double const s = eighths ? random.below(17) / 8.0 : random.uniform(-2, 2);
    double const t = dimensions < 3 || count < 3 ? 0.0 : (eighths ? random.below(17) / 8.0 : random.uniform(-2, 2));
    Vector result;
    for (int axis = 0; axis < dimensions; ++axis) {
        double const from = others[0][axis];
        double const on = from + s * (others[1][axis] - from) + t * (others[count - 1][axis] - from);
        result[axis] = moved(random, on, eighths ? 0 : 3);
    }
    return result;
}

template <int dimensions, typename Vector, int n>
void fill(test::Random& random, Vector (&points)[n])
{
    Kind const kind = nextKind(random);
    for (int i = 0; i < n; ++i) {
        for (int axis = 0; axis < dimensions; ++axis) points[i][axis] = coordinate(random, kind);
        bool const inSpan = i >= 2 && (kind == Kind::onLine || kind == Kind::nearLine);
        if (inSpan) points[i] = inSpanOf(random, kind, points, i, dimensions);
    }
    double const scale = kind == Kind::anyMagnitude ? 1.0 : scaleOf(random);
    for (Vector& p : points) p = p * scale;
    for (int i = n - 1; i > 0; --i) std::swap(points[i], points[random.below(i + 1)]);
}

// Integer points of one circle: (x, y) with x^2 + y^2 = 5^2 13^2 17^2, the mirror images of a few of them.
void fillCocircular(test::Random& random, Vector2 (&points)[4])
{
    static constexpr double kOnCircle[][2] = {{1105, 0},   {1104, 47},  {1073, 264}, {1071, 272}, {1020, 425},
                                              {975, 520},  {943, 576},  {884, 663},  {855, 700},  {817, 744},
                                              {1092, 169}, {1100, 105}, {952, 561},  {1001, 468}};
    double const shiftX = random.oneIn(2) ? 0.0 : random.below(1 << 20);
    double const shiftY = random.oneIn(2) ? 0.0 : std::ldexp(random.below(1 << 20), 20);
    double const scale = scaleOf(random);
    for (Vector2& p : points) {
        double const* const on = kOnCircle[random.below(14)];
        bool const swap = random.oneIn(2);
        double const x = on[swap ? 1 : 0] * (random.oneIn(2) ? 1 : -1) + shiftX;
        double const y = on[swap ? 0 : 1] * (random.oneIn(2) ? 1 : -1) + shiftY;
        p = Vector2(x, y) * (scale > 0x1p970 ? 0x1p970 : scale);
    }
    if (random.oneIn(2)) {
        double& x = points[random.below(4)][random.below(2)];
        x = moved(random, x, 2);
    }
}

} // namespace

TEST(Orient2d, HasTheSignAgainstExactArithmetic)
{
    test::Random random(20261123);
    long zeros = 0;
    long const trials = test::trials(100'000, 10'000'000);
    for (long trial = 0; trial < trials; ++trial) {
        Vector2 p[3];
        fill<2>(random, p);
        int const expected = exactOrient2d(p);
        zeros += expected == 0;
        ASSERT_EQ(signOf(sinew::orient2d(p[0], p[1], p[2])), expected) << "trial " << trial;
    }
    EXPECT_GT(zeros, trials / 30) << "degenerate input is a part of the test";
}

TEST(Orient3d, HasTheSignAgainstExactArithmetic)
{
    test::Random random(20261124);
    long zeros = 0;
    long const trials = test::trials(100'000, 10'000'000);
    for (long trial = 0; trial < trials; ++trial) {
        Vector3 p[4];
        fill<3>(random, p);
        int const expected = exactOrient3d(p);
        zeros += expected == 0;
        ASSERT_EQ(signOf(sinew::orient3d(p[0], p[1], p[2], p[3])), expected) << "trial " << trial;
    }
    EXPECT_GT(zeros, trials / 30);
}

TEST(InCircle, HasTheSignAgainstExactArithmetic)
{
    test::Random random(20261125);
    long zeros = 0;
    long const trials = test::trials(50'000, 10'000'000);
    for (long trial = 0; trial < trials; ++trial) {
        Vector2 p[4];
        if (random.oneIn(2)) {
            fillCocircular(random, p);
        } else {
            fill<2>(random, p);
        }
        int const expected = exactInCircle(p);
        zeros += expected == 0;
        ASSERT_EQ(signOf(sinew::inCircle(p[0], p[1], p[2], p[3])), expected) << "trial " << trial;
    }
    EXPECT_GT(zeros, trials / 30);
}

namespace {

mpq_class absolute(mpq_class const& a)
{
    return abs(a);
}

// The worst errors of a predicate: of its value, relative to a sum of magnitudes, and of its exact stage, relative to
// the determinant.
struct Worst
{
    double value = 0;
    double exactStage = 0;
    bool signs = true; // each error is less than the magnitude of the value

    void add(double found, double fromExactStage, mpq_class const& expected, mpq_class const& magnitudes)
    {
        mpq_class const error = absolute(mpq_class(found) - expected);
        signs = signs && (expected == 0 ? found == 0 : error < absolute(mpq_class(found)));
        if (magnitudes != 0) value = std::max(value, mpq_class(error / magnitudes).get_d());
        if (expected == 0) return;
        mpq_class const ofStage = absolute(mpq_class(fromExactStage) - expected) / absolute(expected);
        exactStage = std::max(exactStage, ofStage.get_d());
    }
};

// Points anywhere, on a line or plane, or near to it, of ordinary magnitudes.
template <int dimensions, typename Vector, int n>
void fillOrdinary(test::Random& random, Vector (&points)[n])
{
    static constexpr Kind kKinds[] = {Kind::anywhere, Kind::onLine, Kind::nearLine};
    Kind const kind = kKinds[random.below(3)];
    for (int i = 0; i < n; ++i) {
        for (int axis = 0; axis < dimensions; ++axis) points[i][axis] = coordinate(random, kind);
        if (i >= 2 && kind != Kind::anywhere) points[i] = inSpanOf(random, kind, points, i, dimensions);
    }
}

} // namespace

TEST(Orient2d, HasTheDocumentedErrorAgainstExactArithmetic)
{
    test::Random random(20261128);
    Worst worst;
    long const trials = test::trials(30'000, 1'000'000);
    for (long trial = 0; trial < trials; ++trial) {
        Vector2 p[3];
        fillOrdinary<2>(random, p);
        mpq_class const x(p[2].x), y(p[2].y);
        mpq_class const left = (mpq_class(p[0].x) - x) * (mpq_class(p[1].y) - y);
        mpq_class const right = (mpq_class(p[0].y) - y) * (mpq_class(p[1].x) - x);
        worst.add(sinew::orient2d(p[0], p[1], p[2]), sinew::detail::exactOrient2d(p[0], p[1], p[2]), left - right,
                  absolute(left) + absolute(right));
    }
    RecordProperty("worst_value", std::to_string(worst.value * 1e16) + "e-16");
    RecordProperty("worst_exact_stage", std::to_string(worst.exactStage * 1e16) + "e-16");
    EXPECT_TRUE(worst.signs);
    EXPECT_LT(worst.value, 4e-16);
    EXPECT_LT(worst.exactStage, 1e-15);
}

TEST(Orient3d, HasTheDocumentedErrorAgainstExactArithmetic)
{
    test::Random random(20261129);
    Worst worst;
    long const trials = test::trials(20'000, 1'000'000);
    for (long trial = 0; trial < trials; ++trial) {
        Vector3 p[4];
        fillOrdinary<3>(random, p);
        mpq_class m[3][3];
        mpq_class magnitudes = 1;
        for (int i = 0; i < 3; ++i) {
            mpq_class sum = 0;
            for (int axis = 0; axis < 3; ++axis) {
                m[i][axis] = mpq_class(p[i][axis]) - mpq_class(p[3][axis]);
                sum += absolute(m[i][axis]);
            }
            magnitudes *= sum;
        }
        mpq_class determinant = 0;
        for (int i = 0; i < 3; ++i) {
            determinant += m[0][i] * (m[1][(i + 1) % 3] * m[2][(i + 2) % 3] - m[1][(i + 2) % 3] * m[2][(i + 1) % 3]);
        }
        worst.add(sinew::orient3d(p[0], p[1], p[2], p[3]), sinew::detail::exactOrient3d(p[0], p[1], p[2], p[3]),
                  determinant, magnitudes);
    }
    RecordProperty("worst_value", std::to_string(worst.value * 1e16) + "e-16");
    RecordProperty("worst_exact_stage", std::to_string(worst.exactStage * 1e16) + "e-16");
    EXPECT_TRUE(worst.signs);
    EXPECT_LT(worst.value, 1e-15);
    EXPECT_LT(worst.exactStage, 1e-15);
}

TEST(InCircle, HasTheDocumentedErrorAgainstExactArithmetic)
{
    test::Random random(20261130);
    Worst worst;
    long const trials = test::trials(5'000, 200'000);
    for (long trial = 0; trial < trials; ++trial) {
        Vector2 p[4];
        fillOrdinary<2>(random, p);
        mpq_class m[3][2];
        mpq_class squares[3];
        for (int i = 0; i < 3; ++i) {
            for (int axis = 0; axis < 2; ++axis) m[i][axis] = mpq_class(p[i][axis]) - mpq_class(p[3][axis]);
            squares[i] = m[i][0] * m[i][0] + m[i][1] * m[i][1];
        }
        mpq_class determinant = 0;
        for (int i = 0; i < 3; ++i) {
            auto const& a = m[(i + 1) % 3];
            auto const& b = m[(i + 2) % 3];
            determinant += squares[i] * (a[0] * b[1] - a[1] * b[0]);
        }
        mpq_class const sum = squares[0] + squares[1] + squares[2];
        worst.add(sinew::inCircle(p[0], p[1], p[2], p[3]), sinew::detail::exactInCircle(p[0], p[1], p[2], p[3]),
                  determinant, sum * sum);
    }
    RecordProperty("worst_value", std::to_string(worst.value * 1e16) + "e-16");
    RecordProperty("worst_exact_stage", std::to_string(worst.exactStage * 1e16) + "e-16");
    EXPECT_TRUE(worst.signs);
    EXPECT_LT(worst.value, 5e-16);
    EXPECT_LT(worst.exactStage, 1e-15);
}

// The exact determinants are 1.5 units and 1.25 units.
TEST(Orient2d, ASubnormalValueHasAnErrorOfHalfItsUnit)
{
    EXPECT_LE(std::fabs(sinew::orient2d({0, 0}, {0x1p-537, 0}, {0, 0x3p-538}) / kSubnormal - 1.5), 0.5);
    EXPECT_EQ(sinew::orient2d({0, 0}, {0x1p-537, 0}, {0, 0x5p-539}), kSubnormal);
}

#endif
