#include <cmath>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include <sinew/core/transform.h>
#include <sinew/queries/best_fit.h>
#include <sinew/queries/fit_diagnosis.h>

#include "support/random.h"

using sinew::FitDiagnosis;
using sinew::FitFault;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// The unit normal of the sheets below.
Vector3 tilted()
{
    return Vector3(0.36, 0.48, 0.8);
}

// Points close to a tilted plane, within about `size` of the origin; their spreads are as 1 : 0.5 : 0.01.
std::vector<Vector3> tiltedSheet(double size, int count)
{
    test::Random random(1501);
    Vector3 const u(0.8, -0.6, 0.0);
    Vector3 const v = cross(tilted(), u);
    std::vector<Vector3> points;
    for (int i = 0; i < count; ++i) {
        double const a = random.uniform(-1, 1), b = random.uniform(-0.5, 0.5), c = random.uniform(-0.01, 0.01);
        points.push_back((a * u + b * v + c * tilted()) * size);
    }
    return points;
}

std::vector<FitFault> kindsOf(FitDiagnosis const& diagnosis)
{
    std::vector<FitFault> kinds;
    for (auto const& finding : diagnosis.findings) kinds.push_back(finding.kind);
    return kinds;
}

using Kinds = std::vector<FitFault>;

} // namespace

TEST(FitDiagnosis, PointsOfTheOrderOfOneHaveNoFinding)
{
    EXPECT_EQ(kindsOf(sinew::diagnose(tiltedSheet(1, 50))), Kinds());
    EXPECT_EQ(kindsOf(sinew::diagnose(tiltedSheet(1000, 50))), Kinds());
}

TEST(FitDiagnosis, SmallPointSetsAreBelowTheThresholdOfTheEigenSolver)
{
    for (double const size : {1e-4, 1e-6, 1e-20, 1e-100}) {
        SCOPED_TRACE(size);
        FitDiagnosis const diagnosis = sinew::diagnose(tiltedSheet(size, 50));
        ASSERT_EQ(kindsOf(diagnosis), (Kinds{FitFault::inaccurateLine, FitFault::inaccuratePlane}));
        EXPECT_GT(diagnosis.findings[1].value, 0.1); // the defined method answers with a coordinate axis
        EXPECT_NE(diagnosis.findings[0].sentence.find("sinew::fitLine"), std::string::npos);
        EXPECT_NE(diagnosis.findings[1].sentence.find("sinew::fitPlane"), std::string::npos);
    }
}

TEST(FitDiagnosis, TheValueIsTheErrorOfTheNormal)
{
    std::vector<Vector3> const points = tiltedSheet(1e-3, 50);
    FitDiagnosis const diagnosis = sinew::diagnose(points);
    ASSERT_FALSE(diagnosis.findings.empty());
    ASSERT_EQ(diagnosis.findings.back().kind, FitFault::inaccuratePlane);
    std::vector<Vector3> larger; // the same plane at a scale at which the defined method is accurate
    for (Vector3 const& p : points) larger.push_back(p * 0x1p20);
    UVector3 small, right;
    ASSERT_TRUE(bestFitPlane(points, nullptr, &small) && bestFitPlane(larger, nullptr, &right));
    double const error = std::asin(cross(small, right).length());
    EXPECT_NEAR(diagnosis.findings.back().value, error, 1e-9);
}

TEST(FitDiagnosis, SmallPointSetsAlongTheAxesAreRight)
{
    std::vector<Vector3> points;
    for (int i = -2; i <= 2; ++i) {
        for (int j = -1; j <= 1; ++j) points.emplace_back(i * 0x1p-30, j * 0x1p-30, 0.0);
    }
    EXPECT_EQ(kindsOf(sinew::diagnose(points)), Kinds());
}

TEST(FitDiagnosis, EqualSpreadsDetermineNoDirection)
{
    Vector3 const p(3, 4, 5);
    EXPECT_EQ(kindsOf(sinew::diagnose(std::vector<Vector3>{p, p, p})),
              (Kinds{FitFault::undeterminedLine, FitFault::undeterminedPlane}));
    EXPECT_EQ(kindsOf(sinew::diagnose(std::vector<Vector3>{p, p + Vector3(1, 2, 2)})),
              Kinds{FitFault::undeterminedPlane});
    EXPECT_EQ(kindsOf(sinew::diagnose(std::vector<Vector3>{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}})),
              Kinds{FitFault::undeterminedLine});
}

TEST(FitDiagnosis, FewerThanTwoPointsHaveNoFit)
{
    for (std::size_t count = 0; count < 2; ++count) {
        FitDiagnosis const diagnosis = sinew::diagnose(std::vector<Vector3>(count, Vector3(1, 2, 3)));
        ASSERT_EQ(kindsOf(diagnosis), Kinds{FitFault::tooFewPoints});
        EXPECT_EQ(diagnosis.findings[0].value, static_cast<double>(count));
    }
}

TEST(FitDiagnosis, NamesEachPointThatIsNotFinite)
{
    double const nan = std::numeric_limits<double>::quiet_NaN();
    FitDiagnosis const diagnosis =
        sinew::diagnose(std::vector<Vector3>{{0, 0, 0}, {1, kInfinity, nan}, {1, 1, 1}, {nan, 0, 0}});
    ASSERT_EQ(kindsOf(diagnosis), (Kinds{FitFault::notFinite, FitFault::notFinite}));
    EXPECT_EQ(diagnosis.findings[0].indices, std::vector<std::int64_t>{1});
    EXPECT_EQ(diagnosis.findings[0].value, kInfinity);
    EXPECT_EQ(diagnosis.findings[1].indices, std::vector<std::int64_t>{3});
    EXPECT_TRUE(std::isnan(diagnosis.findings[1].value));
}

TEST(FitDiagnosis, HugeCoordinatesOverflowTheDefinedMethodOnly)
{
    FitDiagnosis const diagnosis = sinew::diagnose(tiltedSheet(1e200, 50));
    EXPECT_EQ(kindsOf(diagnosis), (Kinds{FitFault::inaccurateLine, FitFault::inaccuratePlane}));
    EXPECT_NE(diagnosis.text().find("because its squares overflow"), std::string::npos);
    EXPECT_EQ(diagnosis.text().find("close to each other"), std::string::npos);
}
