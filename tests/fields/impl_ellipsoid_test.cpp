#include <sinew/fields/impl_ellipsoid.h>

#include <limits>
#include <memory>

#include <gtest/gtest.h>

#include "support/bits.h"
#include "support/random.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

constexpr auto diagonal = sinew::diagonalMatrix;

double largestDifference(Matrix3 const& a, Matrix3 const& b)
{
    double largest = 0;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) largest = std::fmax(largest, std::fabs(a(i, j) - b(i, j)));
    }
    return largest;
}

double quadraticForm(ImplEllipsoid const& e, Vector3 const& p)
{
    return (p - e.centre) * (e.shape * (p - e.centre));
}

bool isAllNaN(Matrix3 const& m)
{
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            if (m(i, j) == m(i, j)) return false;
        }
    }
    return true;
}

std::vector<Vector3> sixPoints(double a, double b, double c)
{
    return {{a, 0, 0}, {-a, 0, 0}, {0, b, 0}, {0, -b, 0}, {0, 0, c}, {0, 0, -c}};
}

// Reference implementation of the fit: each step of the definition is one statement.
Matrix3 referenceShape(std::vector<Vector3> const& points, Vector3 const& centre)
{
    Matrix3 sum;
    for (std::size_t k = 0; k < points.size(); ++k) {
        Vector3 const d = points[k] - centre;
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) sum(i, j) = k == 0 ? d[i] * d[j] : sum(i, j) + d[i] * d[j];
        }
    }
    double const share = 1.0 / static_cast<double>(points.size());
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) sum(i, j) *= share;
    }
    double values[3];
    UVector3 vectors[3];
    sum.getEigensystem(values, vectors);
    for (double& value : values) {
        if (!(value > 1e-6)) value = 1e-6;
        value = 1.0 / value;
        if (!(value > 1e-6)) value = 1e-6;
    }
    Matrix3 shape = Matrix3::getMatrixFromEigs(values, vectors);
    double m = 0;
    for (Vector3 const& p : points) {
        double const q = (p - centre) * (shape * (p - centre));
        if (q > m) m = q;
    }
    if (m < 1e-8) m = 1e-8;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) shape(i, j) = shape(i, j) / m;
    }
    return shape;
}

} // namespace

TEST(ImplEllipsoid, DefaultIsTheUnitSphere)
{
    ImplEllipsoid const e;
    EXPECT_EQ(e.centre, Vector3());
    EXPECT_EQ(e.shape, Matrix3());
}

TEST(ImplEllipsoid, SixPointsOnTheAxesGiveTheirEllipsoid)
{
    ImplEllipsoid const e(sixPoints(2, 1, 1), Vector3());
    EXPECT_LT(largestDifference(e.shape, diagonal(0.25, 1, 1)), 1e-15);
    for (Vector3 const& p : sixPoints(2, 1, 1)) EXPECT_NEAR(quadraticForm(e, p), 1.0, 1e-15);
    double value = -1;
    Vector3 gradient(1, 1, 1);
    EXPECT_TRUE(e.evaluate(Vector3(), &value, &gradient, nullptr));
    EXPECT_EQ(value, 0.0);
    EXPECT_EQ(gradient, Vector3());
}

TEST(ImplEllipsoid, FitsAboutTheMeanOrAGivenCentre)
{
    std::vector<Vector3> points = sixPoints(3, 2, 1);
    for (Vector3& p : points) p = p + Vector3(10, 20, 30);
    ImplEllipsoid const mean(points);
    EXPECT_LT(dist(mean.centre, Vector3(10, 20, 30)), 1e-13);
    EXPECT_LT(largestDifference(mean.shape, diagonal(1.0 / 9, 0.25, 1)), 1e-13);
    ImplEllipsoid const given(points, Vector3(10, 20, 31));
    EXPECT_EQ(given.centre, Vector3(10, 20, 31));
    EXPECT_GT(largestDifference(given.shape, mean.shape), 0.1);
}

TEST(ImplEllipsoid, MeanIsTheSumTimesTheReciprocalOfTheCount)
{
    std::vector<Vector3> const points = {{1, 0, 0}, {2, 0, 0}, {2, 0, 0}};
    ASSERT_NE(5.0 * (1.0 / 3.0), 5.0 / 3.0);
    EXPECT_EQ(ImplEllipsoid(points).centre.x, 5.0 * (1.0 / 3.0));
}

TEST(ImplEllipsoid, MeanOfOnePointIsThatPoint)
{
    EXPECT_TRUE(test::sameBits(ImplEllipsoid({Vector3(-0.0, 0.1, 1e300)}).centre, Vector3(-0.0, 0.1, 1e300)));
}

TEST(ImplEllipsoid, ContainsEveryPointAndTheFarthestIsOnTheSurface)
{
    test::Random random(421);
    for (int trial = 0; trial < 200; ++trial) {
        SCOPED_TRACE(trial);
        std::vector<Vector3> points;
        Vector3 const stretch(random.uniform(0.1, 5), random.uniform(0.1, 5), random.uniform(0.1, 5));
        Matrix3 const turn = Matrix3::rotationMatrix(UVector3(random.point()), random.uniform(-3, 3));
        for (int i = 0; i < 4 + random.below(50); ++i) {
            Vector3 const p = random.point();
            points.push_back(turn * Vector3(p.x * stretch.x, p.y * stretch.y, p.z * stretch.z));
        }
        ImplEllipsoid const e(points);
        double farthest = 0;
        for (Vector3 const& p : points) farthest = std::fmax(farthest, quadraticForm(e, p));
        EXPECT_NEAR(farthest, 1.0, 1e-12); // rounding; the ratio of two axes is up to fifty
    }
}

TEST(ImplEllipsoid, EqualsTheReferenceInEveryBit)
{
    test::Random random(422);
    for (int trial = 0; trial < 500; ++trial) {
        SCOPED_TRACE(trial);
        double const scale = trial % 5 == 0 ? 1e9 : (trial % 5 == 1 ? 1e-9 : (trial % 5 == 2 ? 1e-3 : 1.0));
        std::vector<Vector3> points;
        for (int i = 0; i <= random.below(12); ++i) {
            points.push_back(trial % 7 == 0 ? random.hostilePoint() : random.point() * scale);
        }
        Vector3 const centre = random.point() * scale;
        EXPECT_TRUE(test::sameBits(ImplEllipsoid(points, centre).shape, referenceShape(points, centre)));
        ImplEllipsoid const e(points);
        EXPECT_TRUE(test::sameBits(e.shape, referenceShape(points, e.centre)));
    }
}

TEST(ImplEllipsoid, PointsOnALineOrPlaneGiveAFiniteShape)
{
    std::vector<Vector3> line;
    std::vector<Vector3> plane;
    for (int i = -5; i <= 5; ++i) {
        line.push_back({i * 1.0, i * 2.0, i * 3.0});
        for (int j = -5; j <= 5; ++j) plane.push_back({i * 1.0, j * 1.0, 0.0});
    }
    ImplEllipsoid const onLine(line);
    // The variance along the line is 140. Across it the variance is 0 and counts as 1e-06.
    double eigenvalues[3];
    onLine.shape.getEigensystem(eigenvalues, nullptr);
    EXPECT_NEAR(eigenvalues[0], 1.0 / 350, 1e-9) << "the end (5, 10, 15) lies on the surface";
    EXPECT_NEAR(eigenvalues[1] * 1e-6 / (eigenvalues[0] * 140), 1.0, 1e-6) << "variances 1e-06 and 140";
    EXPECT_NEAR(eigenvalues[2] / eigenvalues[1], 1.0, 1e-6);
    ImplEllipsoid const onPlane(plane);
    EXPECT_NEAR(onPlane.shape(0, 0), 1.0 / 50, 1e-9);
    EXPECT_NEAR(onPlane.shape(2, 2) / onPlane.shape(0, 0), 10 / 1e-6, 1.0);
}

TEST(ImplEllipsoid, SmallVariancesAndReciprocalsCountAsTheThreshold)
{
    // Variances along the axes: 8e-7 (counts as 1e-6), 3.2e-6, 2e-6.
    double const a = std::sqrt(3 * 8e-7);
    double const b = std::sqrt(3 * 3.2e-6);
    double const c = std::sqrt(3 * 2e-6);
    ImplEllipsoid const e(sixPoints(a, b, c), Vector3());
    EXPECT_NEAR(e.shape(0, 0) / e.shape(1, 1), 3.2, 1e-6);
    // The reciprocals of all variances, of about 1e8 and 3e7, count as 1e-6. So the shape is a sphere.
    ImplEllipsoid const huge(sixPoints(2e4, 1e4, 1e4), Vector3());
    EXPECT_EQ(huge.shape(0, 0), huge.shape(1, 1));
    EXPECT_NEAR(huge.shape(0, 0), 1 / 4e8, 1e-20);
}

TEST(ImplEllipsoid, SizeIsNotScaledToPointsAtTheCentre)
{
    // All variances count as 1e-06, and the largest quadratic form, 0, counts as 1e-08: 1e6 / 1e-8 = 1e14.
    ImplEllipsoid const e({Vector3(1, 2, 3), Vector3(1, 2, 3)});
    EXPECT_EQ(e.centre, Vector3(1, 2, 3));
    EXPECT_LT(largestDifference(e.shape, diagonal(1e14, 1e14, 1e14)), 1.0);
    EXPECT_EQ(ImplEllipsoid({Vector3(4, 5, 6)}).centre, Vector3(4, 5, 6));
    // The form of this point is 1e6 * 1e-18, which is below 1e-08 as well.
    ImplEllipsoid const tiny({Vector3(1e-9, 0, 0)}, Vector3());
    EXPECT_NEAR(tiny.shape(0, 0), 1e14, 1.0);
}

TEST(ImplEllipsoid, NoPointsOrNumbersThatAreNotFiniteGiveNaN)
{
    ImplEllipsoid const empty(std::vector<Vector3>{});
    EXPECT_NE(empty.centre.x, empty.centre.x);
    EXPECT_TRUE(isAllNaN(empty.shape));
    EXPECT_TRUE(isAllNaN(ImplEllipsoid({}, Vector3(1, 2, 3)).shape));
    for (double odd : {kNaN, kInfinity}) {
        ImplEllipsoid const e({Vector3(odd, 0, 0), Vector3(1, 1, 1)}, Vector3());
        EXPECT_NE(e.shape(0, 0), e.shape(0, 0));
    }
}

TEST(ImplEllipsoid, CanBeFittedAgainAboutItsOwnCentre)
{
    ImplEllipsoid e(sixPoints(1, 2, 3), Vector3(0.5, 0, 0));
    Matrix3 const before = e.shape;
    e.computeMatrix(sixPoints(1, 2, 3), e.centre);
    EXPECT_EQ(e.shape, before);
    EXPECT_EQ(e.centre, Vector3(0.5, 0, 0));
}

TEST(ImplEllipsoidEvaluate, GradientIsDividedByTheQuadraticForm)
{
    ImplEllipsoid e;
    e.shape = diagonal(0.25, 1, 1);
    Vector3 const p(3, 2, 0);
    double const q = 0.25 * 9 + 4;
    double value = 0;
    Vector3 gradient;
    Matrix3 hessian;
    EXPECT_TRUE(e.evaluate(p, &value, &gradient, &hessian));
    EXPECT_EQ(value, std::sqrt(q));
    EXPECT_EQ(gradient, Vector3(0.75, 2, 0) / q) << "divided by q, not by its square root";
    EXPECT_EQ(hessian, e.shape);
}

TEST(ImplEllipsoidEvaluate, GradientIsZeroBelowTheThreshold)
{
    ImplEllipsoid const e;
    Vector3 gradient;
    // A square of exactly 1e-08 is not below it.
    ASSERT_EQ(1e-4 * 1e-4, 1e-8);
    e.evaluate({1e-4, 0, 0}, nullptr, &gradient, nullptr);
    EXPECT_NE(gradient.x, 0.0);
    e.evaluate({0.99e-4, 0, 0}, nullptr, &gradient, nullptr);
    EXPECT_EQ(gradient, Vector3());
    e.evaluate({kNaN, 0, 0}, nullptr, &gradient, nullptr);
    EXPECT_NE(gradient.x, gradient.x) << "NaN gives NaN";
}

TEST(ImplEllipsoidEvaluate, WritesOnlyThroughPointersThatAreNotNull)
{
    ImplEllipsoid const e;
    double value = 7;
    EXPECT_TRUE(e.evaluate({2, 0, 0}, nullptr, nullptr, nullptr));
    EXPECT_TRUE(e.evaluate({2, 0, 0}, &value, nullptr, nullptr));
    EXPECT_EQ(value, 2.0);
    Matrix3 hessian;
    hessian.zero();
    EXPECT_TRUE(e.evaluate({2, 0, 0}, nullptr, nullptr, &hessian));
    EXPECT_EQ(hessian, Matrix3());
}

TEST(ImplEllipsoidEvaluate, NegativeQuadraticFormGivesNaN)
{
    ImplEllipsoid e;
    e.shape = diagonal(-1, 1, 1);
    double value = 0;
    Vector3 gradient(1, 1, 1);
    e.evaluate({1, 0, 0}, &value, &gradient, nullptr);
    EXPECT_NE(value, value);
    EXPECT_EQ(gradient, Vector3());
}

TEST(ImplEllipsoidThicken, AddsTheDistanceToEverySemiAxis)
{
    ImplEllipsoid e(sixPoints(2, 1, 0.5), Vector3());
    e.centre = {1, 2, 3};
    std::unique_ptr<ImplEllipsoid> const thick(e.thicken(0.5));
    EXPECT_EQ(thick->centre, Vector3(1, 2, 3));
    EXPECT_LT(largestDifference(thick->shape, diagonal(1 / 6.25, 1 / 2.25, 1)), 1e-14);
    std::unique_ptr<ImplEllipsoid> const thin(e.thicken(-0.25));
    EXPECT_LT(largestDifference(thin->shape, diagonal(1 / 3.0625, 1 / 0.5625, 16)), 1e-12);
}

TEST(ImplEllipsoidThicken, ByZeroReproducesTheShape)
{
    test::Random random(423);
    for (int trial = 0; trial < 100; ++trial) {
        ImplEllipsoid const e(random.points(20));
        std::unique_ptr<ImplEllipsoid> const same(e.thicken(0));
        EXPECT_LT(largestDifference(same->shape, e.shape),
                  2e-8); // the eigen-solver stops at an off-diagonal sum of 1e-08
    }
}

TEST(ImplEllipsoidThicken, NegativeDistanceBeyondASemiAxisGivesTheMagnitudeOfTheSum)
{
    ImplEllipsoid const e(sixPoints(2, 1, 1), Vector3());
    std::unique_ptr<ImplEllipsoid> const turned(e.thicken(-3));
    EXPECT_LT(largestDifference(turned->shape, diagonal(1, 0.25, 0.25)), 1e-14);
    ImplEllipsoid const unit;
    std::unique_ptr<ImplEllipsoid> const point(unit.thicken(-1));
    EXPECT_FALSE(std::isfinite(point->shape(0, 0)));
}

TEST(ImplEllipsoidThicken, SemiAxesBeyondAThousandCountAsAThousand)
{
    ImplEllipsoid e;
    e.shape = diagonal(1e-8, 1, 1);
    std::unique_ptr<ImplEllipsoid> const thick(e.thicken(1));
    EXPECT_NEAR(thick->shape(0, 0), 1.0 / (1001.0 * 1001.0), 1e-18);
    e.shape = diagonal(kNaN, 1, 1);
    std::unique_ptr<ImplEllipsoid> const odd(e.thicken(1));
    EXPECT_NEAR(odd->shape(0, 0), 1.0 / (1001.0 * 1001.0), 1e-18) << "a NaN eigenvalue counts as 1e-06";
}

TEST(ImplEllipsoidMany, ResultsHaveTheBitsOfSingleCalls)
{
    test::Random random(424);
    ImplEllipsoid const e(random.points(20));
    for (int count : {0, 1, 2, 3, 5, 8, 17, 100}) {
        std::vector<Vector3> points;
        for (int i = 0; i < count; ++i) points.push_back(random.oneIn(5) ? random.hostilePoint() : random.point());
        if (count > 2) points[1] = e.centre;
        std::vector<double> values(points.size());
        std::vector<Vector3> gradients(points.size());
        sinew::evaluateMany(e, points.data(), points.size(), values.data());
        sinew::gradientMany(e, points.data(), points.size(), gradients.data());
        for (std::size_t i = 0; i < points.size(); ++i) {
            double value = 0;
            Vector3 gradient;
            e.evaluate(points[i], &value, &gradient, nullptr);
            EXPECT_TRUE(test::sameBits(values[i], value)) << points[i];
            EXPECT_TRUE(test::sameBits(gradients[i], gradient)) << points[i];
        }
        std::vector<Vector3> inPlace = points;
        sinew::gradientMany(e, inPlace.data(), inPlace.size(), inPlace.data());
        EXPECT_TRUE(test::sameBits(inPlace, gradients));
    }
}
