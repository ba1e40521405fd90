#include <sinew/fields/implicit.h>

#include <cstdint>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "fields/reference_implicit.h"
#include "support/bits.h"
#include "support/comma_locale.h"
#include "support/random.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

using Input = std::vector<std::pair<Vector3, double>>;

Input randomInput(test::Random& random, int count, double scale = 1.0)
{
    Input input;
    for (int i = 0; i < count; ++i) {
        Vector3 const point = random.point(-scale, scale);
        input.emplace_back(point, random.uniform());
    }
    return input;
}

Input const kTetrahedron = {{{0, 0, 0}, 1}, {{1, 0, 0}, 3}, {{0, 1, 0}, 0}, {{0, 0, 1}, 5}};

bool sameField(Implicit const& a, reference::Implicit const& b)
{
    return test::sameBits(a.centres, b.centres) && test::sameBits(a.coefficients, b.coefficients) &&
           test::sameBits(a.constantTerm, b.constantTerm) && test::sameBits(a.linearTerm, b.linearTerm);
}

} // namespace

TEST(Implicit, FourPointsReproduceALinearFunction)
{
    // 1 + 2 x - y + 4 z
    Implicit const field(kTetrahedron);
    for (double lambda : field.coefficients) EXPECT_NEAR(lambda, 0.0, 1e-14);
    test::Random random(431);
    for (int i = 0; i < 50; ++i) {
        Vector3 const p = random.point(-10, 10);
        EXPECT_NEAR(field.evaluate(p), 1 + 2 * p.x - p.y + 4 * p.z, 1e-10); // |p|^3 times the rounding of lambda
        EXPECT_LT(dist(field.getGradient(p), Vector3(2, -1, 4)), 1e-11);
    }
}

TEST(Implicit, TakesTheGivenValuesAtTheCentres)
{
    test::Random random(432);
    for (int count : {4, 5, 10, 40, 100}) {
        SCOPED_TRACE(count);
        Input const input = randomInput(random, count);
        Implicit const field(input);
        ASSERT_EQ(field.centres.size(), input.size());
        ASSERT_EQ(field.coefficients.size(), input.size());
        for (auto const& [point, value] : input) EXPECT_NEAR(field.evaluate(point), value, 1e-9);
    }
}

TEST(Implicit, CoefficientsAreOrthogonalToLinearFunctions)
{
    test::Random random(433);
    Implicit const field(randomInput(random, 60));
    double sum = 0;
    Vector3 moment;
    for (std::size_t i = 0; i < field.centres.size(); ++i) {
        sum += field.coefficients[i];
        moment += field.coefficients[i] * field.centres[i];
    }
    EXPECT_NEAR(sum, 0.0, 1e-10);
    EXPECT_LT(moment.length(), 1e-10);
}

TEST(Implicit, GradientIsTheDerivativeOfTheValue)
{
    test::Random random(434);
    Implicit const field(randomInput(random, 30));
    double const h = 1e-5;
    for (int i = 0; i < 50; ++i) {
        Vector3 const p = random.point();
        Vector3 const gradient = field.getGradient(p);
        for (int a = 0; a < 3; ++a) {
            Vector3 step;
            step[a] = h;
            double const slope = (field.evaluate(p + step) - field.evaluate(p - step)) / (2 * h);
            EXPECT_NEAR(gradient[a], slope, 1e-6 * (1 + std::fabs(slope))); // h^2, and rounding of f divided by h
        }
    }
}

TEST(Implicit, EqualsTheReferenceInEveryBit)
{
    test::Random random(435);
    for (int count = 0; count <= 40; ++count) {
        SCOPED_TRACE(count);
        Input const input = randomInput(random, count);
        EXPECT_TRUE(sameField(Implicit(input), reference::Implicit(input)));
    }
    for (int count : {59, 60, 61, 76, 200}) {
        SCOPED_TRACE(count);
        Input const input = randomInput(random, count);
        EXPECT_TRUE(sameField(Implicit(input), reference::Implicit(input)));
    }
}

TEST(Implicit, EqualsTheReferenceAtEveryScaleAndOnHostileInput)
{
    test::Random random(436);
    for (int trial = 0; trial < 300; ++trial) {
        SCOPED_TRACE(trial);
        double const scale = trial % 3 == 0 ? 1e9 : (trial % 3 == 1 ? 1e-9 : 1.0);
        Input input = randomInput(random, random.below(30), scale);
        if (!input.empty() && random.oneIn(2)) input.push_back(input[0]); // a repeated centre
        if (!input.empty() && random.oneIn(4)) {
            input[static_cast<std::size_t>(random.below(static_cast<int>(input.size())))] = {random.hostilePoint(),
                                                                                             random.hostile()};
        }
        if (random.oneIn(4)) { // a small lattice: symmetric, full of equal distances and exact zeros
            for (auto& sample : input) {
                sample.first = Vector3(random.below(3), random.below(3), random.below(2));
            }
        }
        Implicit const field(input);
        EXPECT_TRUE(sameField(field, reference::Implicit(input)));
        for (int i = 0; i < 10; ++i) {
            Vector3 const p = random.oneIn(3) ? random.hostilePoint() : random.point(-scale, scale);
            EXPECT_TRUE(test::sameBits(field.evaluate(p), reference::Implicit::evaluate(field, p))) << p;
            EXPECT_TRUE(test::sameBits(field.getGradient(p), reference::Implicit::getGradient(field, p))) << p;
        }
    }
}

TEST(Implicit, SumsInOrderForEveryNumberOfCentres)
{
    test::Random random(437);
    for (int count = 0; count <= 150; ++count) {
        SCOPED_TRACE(count);
        Implicit field({});
        for (int i = 0; i < count; ++i) {
            field.centres.push_back(random.point());
            field.coefficients.push_back(random.spread());
        }
        field.constantTerm = random.uniform();
        field.linearTerm = random.point();
        Vector3 const p = count > 0 && random.oneIn(4) ? field.centres[0] : random.point();
        EXPECT_TRUE(test::sameBits(field.evaluate(p), reference::Implicit::evaluate(field, p)));
        EXPECT_TRUE(test::sameBits(field.getGradient(p), reference::Implicit::getGradient(field, p)));
    }
}

TEST(Implicit, LinearTermIsSummedFromZToX)
{
    Implicit field({});
    field.linearTerm = {1, 1e16, -1e16};
    field.constantTerm = 0.5;
    EXPECT_EQ(field.evaluate({1, 1, 1}), 1.5) << "((c3 z + c2 y) + c1 x) + c0";
    field.linearTerm = {1e16, 1, -1e16};
    EXPECT_EQ(field.evaluate({1, 1, 1}), 0.5);
}

TEST(Implicit, NoPointsGiveZero)
{
    Implicit const field({});
    EXPECT_TRUE(field.centres.empty());
    EXPECT_EQ(field.evaluate({1, 2, 3}), 0.0);
    EXPECT_EQ(field.getGradient({1, 2, 3}), Vector3());
}

TEST(Implicit, IgnoresSurplusCentresAndCoefficients)
{
    Implicit field(kTetrahedron);
    Implicit cut = field;
    cut.centres.resize(3);
    cut.coefficients.resize(3);
    field.coefficients.resize(3);
    Vector3 const p(0.3, 0.4, 0.5);
    EXPECT_EQ(field.evaluate(p), cut.evaluate(p));
    EXPECT_EQ(field.getGradient(p), cut.getGradient(p));
    field.coefficients.resize(9, 1.0);
    field.centres.resize(3);
    EXPECT_EQ(field.evaluate(p), cut.evaluate(p));
}

TEST(ImplicitMany, ResultsHaveTheBitsOfSingleCalls)
{
    test::Random random(438);
    for (int centreCount : {0, 4, 7, 8, 33, 64, 65, 130}) {
        Implicit const field(randomInput(random, centreCount));
        for (int count : {0, 1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 33, 100}) {
            SCOPED_TRACE(testing::Message() << centreCount << " " << count);
            std::vector<Vector3> points;
            for (int i = 0; i < count; ++i) points.push_back(random.oneIn(5) ? random.hostilePoint() : random.point());
            if (count > 2 && centreCount > 0) points[2] = field.centres[0];
            std::vector<double> values(points.size() + 1, 77.0);
            std::vector<Vector3> gradients(points.size() + 1, Vector3(7, 7, 7));
            sinew::evaluateMany(field, points.data(), points.size(), values.data());
            sinew::gradientMany(field, points.data(), points.size(), gradients.data());
            for (std::size_t i = 0; i < points.size(); ++i) {
                EXPECT_TRUE(test::sameBits(values[i], field.evaluate(points[i]))) << points[i];
                EXPECT_TRUE(test::sameBits(gradients[i], field.getGradient(points[i]))) << points[i];
            }
            EXPECT_EQ(values.back(), 77.0) << "nothing is written beyond the end";
            EXPECT_EQ(gradients.back(), Vector3(7, 7, 7));
            std::vector<Vector3> inPlace = points;
            sinew::gradientMany(field, inPlace.data(), inPlace.size(), inPlace.data());
            gradients.pop_back();
            EXPECT_TRUE(test::sameBits(inPlace, gradients));
        }
    }
}

// ---- diagnosis and cost ----

namespace {

using sinew::ImplicitFault;

struct Expected
{
    ImplicitFault kind;
    std::vector<std::int64_t> indices;
    double value;
};

void expectFindings(Input const& input, std::vector<Expected> const& expected)
{
    sinew::ImplicitDiagnosis const diagnosis = sinew::diagnose(input);
    ASSERT_EQ(diagnosis.findings.size(), expected.size());
    std::string lines;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        auto const& finding = diagnosis.findings[i];
        SCOPED_TRACE(finding.sentence);
        EXPECT_EQ(finding.kind, expected[i].kind);
        EXPECT_EQ(finding.indices, expected[i].indices);
        EXPECT_TRUE(test::sameBits(finding.value, expected[i].value));
        ASSERT_FALSE(finding.sentence.empty());
        EXPECT_EQ(finding.sentence.back(), '.');
        lines += finding.sentence + "\n";
    }
    EXPECT_EQ(diagnosis.text(), lines);
}

} // namespace

TEST(ImplicitDiagnose, UsableInputGivesNoFindings)
{
    test::Random random(441);
    expectFindings(kTetrahedron, {});
    expectFindings(randomInput(random, 50), {});
    expectFindings(randomInput(random, 20, 1e-9), {});
    expectFindings(randomInput(random, 20, 1e9), {});
    Input far = randomInput(random, 20); // the distance from the origin does not matter
    for (auto& sample : far) sample.first += Vector3(1e6, 1e6, 1e6);
    expectFindings(far, {});
}

TEST(ImplicitDiagnose, TooFewPointsAreCounted)
{
    expectFindings({}, {{ImplicitFault::tooFewPoints, {}, 0}});
    expectFindings({kTetrahedron[0], kTetrahedron[1], kTetrahedron[2]}, {{ImplicitFault::tooFewPoints, {}, 3}});
}

TEST(ImplicitDiagnose, RepeatedCentresAreReportedInPairs)
{
    Input input = kTetrahedron;
    input.push_back(input[2]);
    input.push_back(input[0]);
    input.push_back(input[2]);
    input.emplace_back(Vector3(-0.0, 0.0, -0.0), 9);
    expectFindings(input, {{ImplicitFault::repeatedCentre, {0, 5}, 0},
                           {ImplicitFault::repeatedCentre, {0, 7}, 0},
                           {ImplicitFault::repeatedCentre, {2, 4}, 0},
                           {ImplicitFault::repeatedCentre, {2, 6}, 0}});
}

TEST(ImplicitDiagnose, PointsInAPlaneOnALineOrInOnePlaceAreCoplanar)
{
    test::Random random(442);
    std::vector<Expected> const coplanar = {{ImplicitFault::coplanar, {}, 0}};
    for (double scale : {1e-9, 1.0, 1e9, 1e200, 1.7e308}) {
        SCOPED_TRACE(scale);
        Input plane, line;
        UVector3 const u(random.point()), v(random.point());
        for (int i = 0; i < 10; ++i) {
            double const s = random.uniform(-0.4, 0.4), t = random.uniform(-0.4, 0.4);
            plane.emplace_back((s * u + t * v) * scale, 0);
            line.emplace_back(s * u * scale, 0);
        }
        expectFindings(plane, coplanar);
        expectFindings(line, coplanar);
    }
    Input const same(5, kTetrahedron[1]);
    expectFindings(same, {{ImplicitFault::repeatedCentre, {0, 1}, 0},
                          {ImplicitFault::repeatedCentre, {0, 2}, 0},
                          {ImplicitFault::repeatedCentre, {0, 3}, 0},
                          {ImplicitFault::repeatedCentre, {0, 4}, 0},
                          {ImplicitFault::coplanar, {}, 0}});
}

TEST(ImplicitDiagnose, ThicknessBelowTheThresholdIsCoplanar)
{
    Input nearly = {{{0, 0, 0}, 0}, {{1, 0, 0}, 0}, {{0, 1, 0}, 0}, {{1, 1, 0}, 0}, {{0.3, 0.4, 1e-9}, 0}};
    expectFindings(nearly, {});
    nearly.back().first.z = 1e-13;
    expectFindings(nearly, {{ImplicitFault::coplanar, {}, 0}});
}

TEST(ImplicitDiagnose, NumbersThatAreNotFiniteAreReported)
{
    Input input = kTetrahedron;
    input.insert(input.begin() + 1, {{Vector3(0, kNaN, 0), 0}, {Vector3(3, 3, 3), kInfinity}});
    input.push_back({{-kInfinity, 0, 0}, kNaN});
    expectFindings(input, {{ImplicitFault::notFinite, {1}, kNaN},
                           {ImplicitFault::notFinite, {2}, kInfinity},
                           {ImplicitFault::notFinite, {6}, -kInfinity}});
    expectFindings({{Vector3(kNaN, 0, 0), 0}, {Vector3(1, 1, 1), 0}, {Vector3(0, 0, kInfinity), 0}},
                   {{ImplicitFault::notFinite, {0}, kNaN},
                    {ImplicitFault::notFinite, {2}, kInfinity},
                    {ImplicitFault::tooFewPoints, {}, 1}});
}

TEST(ImplicitDiagnose, ZeroPivotCausedByRoundingIsFound)
{
    // The points differ, but the cubes of their distances underflow to zero. The four linear rows then serve as the
    // pivot rows of four columns, and the fifth column has no pivot.
    Input input;
    for (int i = 0; i < 8; ++i) {
        input.emplace_back(Vector3(i & 1 ? 1e-120 : 0, i & 2 ? 1e-120 : 0, i & 4 ? 1e-120 : 0), i);
    }
    sinew::ImplicitDiagnosis const diagnosis = sinew::diagnose(input);
    ASSERT_EQ(diagnosis.findings.size(), 1U);
    EXPECT_EQ(diagnosis.findings[0].kind, ImplicitFault::zeroPivot);
    ASSERT_EQ(diagnosis.findings[0].indices.size(), 1U);
    EXPECT_GE(diagnosis.findings[0].indices[0], 3);
    EXPECT_LE(diagnosis.findings[0].indices[0], 4);
}

TEST(ImplicitDiagnose, OverflowIsFound)
{
    test::Random random(443);
    expectFindings(randomInput(random, 10, 1e120), {{ImplicitFault::outOfRange, {}, 0}});
}

TEST(ImplicitCost, IsThatOfTheDenseSystem)
{
    sinew::ImplicitCost const cost = sinew::estimateCost(20000);
    EXPECT_NEAR(cost.flops, 1.6e13, 1e11);
    EXPECT_NEAR(cost.bytes, 3.2e9, 1e7);
    EXPECT_GE(sinew::estimateCost(100).bytes, 104 * 104 * 8.0);
    EXPECT_GT(sinew::estimateCost(0).bytes, 0);
    EXPECT_TRUE(std::isfinite(sinew::estimateCost(~std::size_t(0)).flops));
}

TEST(ImplicitDiagnose, RepeatedCentresAscendByTheirIndicesWhateverTheirPlaces)
{
    // Later points come first in the order of coordinates, and there are too many of each for a sort that is stable
    // only for short lists.
    Input input;
    std::vector<Expected> expected;
    std::int64_t const places = 5, copies = 60;
    for (std::int64_t i = 0; i < places * copies; ++i) {
        double const x = -static_cast<double>(i % places);
        input.emplace_back(Vector3(x, x * x, x * x * x), 0);
    }
    for (std::int64_t first = 0; first < places; ++first) {
        for (std::int64_t k = 1; k < copies; ++k) {
            expected.push_back({ImplicitFault::repeatedCentre, {first, first + k * places}, 0});
        }
    }
    expectFindings(input, expected);
}

TEST(ImplicitDiagnose, SentencesAreTheSameUnderADecimalComma)
{
    Input input(1300, kTetrahedron[0]); // indices above 999, which a locale may group
    input.emplace_back(Vector3(0.5, kNaN, 0), 1234.5);
    std::string const expected = sinew::diagnose(input).text();
    EXPECT_NE(expected.find("Points 0 and 1299 are equal"), std::string::npos);
    test::CommaLocale const comma;
    ASSERT_TRUE(test::CommaLocale::inCLibrary()) << "no locale with a decimal comma: install the package 'locales'";
    EXPECT_EQ(sinew::diagnose(input).text(), expected);
}
