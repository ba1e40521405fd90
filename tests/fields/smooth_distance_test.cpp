#include <sinew/fields/smooth_distance.h>

#include <limits>

#include <gtest/gtest.h>

#include "fields/polylines.h"
#include "fields/reference_smooth_distance.h"
#include "support/bits.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct Field
{
    double dist = -1;
    Vector3 grad{7, 7, 7};
    Matrix3 hess;
};

bool sameField(Field const& a, Field const& b)
{
    return test::sameBits(a.dist, b.dist) && test::sameBits(a.grad, b.grad) && test::sameBits(a.hess, b.hess);
}

Field fieldAt(std::vector<Vector3> const& polyline, Vector3 const& q, double h)
{
    Field f;
    smoothDistToPolyline(polyline, q, h, &f.dist, &f.grad, &f.hess);
    return f;
}

Field referenceFieldAt(std::vector<Vector3> const& polyline, Vector3 const& q, double h)
{
    Field f;
    reference::smoothDistToPolyline(polyline, q, h, &f.dist, &f.grad, &f.hess);
    return f;
}

} // namespace

TEST(SmoothWeight, GivesTheDefinedValues)
{
    double w = 0, dw = 0, d2w = 0;
    EXPECT_TRUE(SmoothWeight(0, 2).evaluate(1, &w, &dw, &d2w));
    EXPECT_EQ(w, 0.421875);
    EXPECT_EQ(dw, -0.84375);
    EXPECT_EQ(d2w, 0.28125);
    SmoothWeight(3, 2).evaluate(3, &w, &dw, &d2w);
    EXPECT_EQ(w, 1.0);
    EXPECT_EQ(dw, 0.0);
    EXPECT_EQ(d2w, -1.5);
}

TEST(SmoothWeight, IsZeroFromTheRadiusOutwards)
{
    SmoothWeight const weight(1, 2);
    for (double x : {-1.0, 3.0, 3.0 - 1e-8, -5.0, 1e300}) {
        double w = 7, dw = 7, d2w = 7;
        EXPECT_TRUE(weight.evaluate(x, &w, &dw, &d2w));
        EXPECT_EQ(w, 0.0) << x;
        EXPECT_EQ(dw, 0.0) << x;
        EXPECT_EQ(d2w, 0.0) << x;
    }
    double w = 0;
    weight.evaluate(3.0 - 4e-8, &w, nullptr, nullptr);
    EXPECT_GT(w, 0.0) << "the margin is 1e-8 of the radius";
}

TEST(SmoothWeight, KeepsItsParameters)
{
    SmoothWeight const weight(1, 4);
    EXPECT_EQ(weight.center, 1);
    EXPECT_EQ(weight.radius, 4);
    EXPECT_EQ(weight.invRadius, 0.25);
    EXPECT_EQ(weight.margin, 4 * 1e-8);
}

TEST(SmoothWeight, ATinyRadiusGivesABox)
{
    SmoothWeight const box(0, 1e-8);
    EXPECT_EQ(box.invRadius, 0.0);
    double w = 7, dw = 7, d2w = 7;
    box.evaluate(1e-8, &w, &dw, &d2w);
    EXPECT_EQ(w, 1.0);
    EXPECT_EQ(dw, 0.0);
    EXPECT_EQ(d2w, 0.0);
    box.evaluate(1.1e-8, &w, nullptr, nullptr);
    EXPECT_EQ(w, 0.0);
    EXPECT_EQ(SmoothWeight(0, 1.1e-8).invRadius, 1 / 1.1e-8);
    EXPECT_EQ(SmoothWeight(0, 1e-8).invRadius, 0.0) << "a radius of exactly 1e-8 gives a box";
    EXPECT_GT(SmoothWeight(0, std::nextafter(1e-8, 1.0)).invRadius, 0.0);
}

TEST(SmoothWeight, ANegativeRadiusGivesZeroAndANaNRadiusOne)
{
    double w = 7;
    SmoothWeight(0, -1).evaluate(0, &w, nullptr, nullptr);
    EXPECT_EQ(w, 0.0);
    SmoothWeight(0, kNaN).evaluate(1e6, &w, nullptr, nullptr);
    EXPECT_EQ(w, 1.0);
}

TEST(SmoothWeight, OutputsMayBeNull)
{
    EXPECT_TRUE(SmoothWeight(0, 1).evaluate(0.5, nullptr, nullptr, nullptr));
    EXPECT_TRUE(SmoothWeight(0, 1).evaluate(1.5, nullptr, nullptr, nullptr));
}

TEST(SmoothWeight, NaNGivesNaN)
{
    double w = 0;
    EXPECT_TRUE(SmoothWeight(0, 1).evaluate(kNaN, &w, nullptr, nullptr));
    EXPECT_TRUE(std::isnan(w));
}

TEST(SmoothWeight, DerivativesMatchDifferenceQuotients)
{
    SmoothWeight const weight(0.3, 1.7);
    double const step = 1e-5; // central differences: errors of about step^2 and 1e-16 / step
    for (double x = -1.3; x < 1.9; x += 0.1) {
        double w, dw, d2w, before, after, slopeBefore, slopeAfter;
        weight.evaluate(x, &w, &dw, &d2w);
        weight.evaluate(x - step, &before, &slopeBefore, nullptr);
        weight.evaluate(x + step, &after, &slopeAfter, nullptr);
        EXPECT_NEAR(dw, (after - before) / (2 * step), 1e-8);
        EXPECT_NEAR(d2w, (slopeAfter - slopeBefore) / (2 * step), 1e-8);
    }
}

TEST(SmoothMax, GivesTheDefinedValuesInAndOutsideTheBlend)
{
    double grad[3], hess[6];
    EXPECT_EQ(smoothMax(1, 1, 2, grad, hess), 1.375);
    EXPECT_EQ(grad[0], 0.5);
    EXPECT_EQ(grad[1], 0.5);
    EXPECT_EQ(grad[2], 0.1875);
    EXPECT_EQ(hess[0], 0.375);
    EXPECT_EQ(hess[1], -0.375);
    EXPECT_EQ(hess[2], 0.375);
    EXPECT_EQ(hess[3], 0.0);
    EXPECT_EQ(smoothMax(0, 5, 1, grad, hess), 5.0);
    EXPECT_EQ(grad[0], 0.0);
    EXPECT_EQ(grad[1], 1.0);
    EXPECT_EQ(grad[2], 0.0);
    for (double entry : hess) EXPECT_EQ(entry, 0.0);
}

TEST(SmoothMax, MixedDerivativesByTheWidthAreDividedByItOnceMore)
{
    double hess[6];
    smoothMax(1, 2, 4, nullptr, hess); // x = 1/4, k = (15/16 * 1.5) * 0.5 / 4
    double const k = 0.17578125;
    EXPECT_EQ(hess[0], k);
    EXPECT_EQ(hess[3], k / 16);
    EXPECT_EQ(hess[4], k * 0.25 / 4); // the exact derivative is k * 0.25 here and -k * 0.25 below
    EXPECT_EQ(hess[5], -k * 0.25 / 4);
}

TEST(SmoothMax, TheEndsOfTheBlendBelongToIt)
{
    double grad[3];
    EXPECT_EQ(smoothMax(0, 1, 1, grad, nullptr), 1.0); // x = 1: q = 1
    EXPECT_EQ(grad[2], 0.0);
    EXPECT_EQ(smoothMax(1, 0, 1, grad, nullptr), 1.0);
    double hess[6] = {7, 7, 7, 7, 7, 7};
    smoothMax(0, 1, 1, nullptr, hess);
    EXPECT_EQ(hess[0], 0.0);
}

TEST(SmoothMax, WidthsBelow1eMinus13GiveTheMaximumAndStepDerivatives)
{
    double grad[3], hess[6];
    EXPECT_EQ(smoothMax(2, 2, 0.99e-13, grad, hess), 2.0);
    EXPECT_EQ(grad[0], 0.0) << "equal numbers have derivatives of zero";
    EXPECT_EQ(grad[1], 0.0);
    EXPECT_EQ(smoothMax(2, 1, 0, grad, nullptr), 2.0);
    EXPECT_EQ(grad[0], 1.0);
    EXPECT_EQ(smoothMax(2, 2, 1e-13, grad, nullptr), (1e-13 * 0.375 + 2 + 2) * 0.5);
    EXPECT_EQ(grad[0], 0.5) << "a width of exactly 1e-13 blends";
    EXPECT_EQ(smoothMax(1, 2, -3, nullptr, nullptr), 2.0);
    EXPECT_FALSE(std::signbit(smoothMax(0.0, -0.0, 0.0, nullptr, nullptr))) << "the first of equal numbers";
    EXPECT_TRUE(std::signbit(smoothMax(-0.0, 0.0, 0.0, nullptr, nullptr)));
}

TEST(SmoothMax, ANaNWidthCountsAsBlend)
{
    double grad[3];
    EXPECT_TRUE(std::isnan(smoothMax(1, 5, kNaN, grad, nullptr)));
    EXPECT_TRUE(std::isnan(grad[0]));
    EXPECT_TRUE(std::isnan(smoothMax(kNaN, 5, 1, nullptr, nullptr)));
    EXPECT_TRUE(std::isnan(smoothMax(kNaN, 5, 0, nullptr, nullptr)))
        << "without a blend the first number is the result";
    EXPECT_EQ(smoothMax(5, kNaN, 0, nullptr, nullptr), 5.0);
}

TEST(SmoothMax, FirstDerivativesMatchDifferenceQuotients)
{
    test::Random random(20250310);
    double const step = 1e-5;
    for (int trial = 0; trial < 500; ++trial) {
        double const a = random.uniform(), b = random.uniform(), h = random.uniform(0.1, 1.5);
        double grad[3], hess[6];
        smoothMax(a, b, h, grad, hess);
        EXPECT_NEAR(grad[0],
                    (smoothMax(a + step, b, h, nullptr, nullptr) - smoothMax(a - step, b, h, nullptr, nullptr)) /
                        (2 * step),
                    1e-7);
        EXPECT_NEAR(grad[1],
                    (smoothMax(a, b + step, h, nullptr, nullptr) - smoothMax(a, b - step, h, nullptr, nullptr)) /
                        (2 * step),
                    1e-7);
        EXPECT_NEAR(grad[2],
                    (smoothMax(a, b, h + step, nullptr, nullptr) - smoothMax(a, b, h - step, nullptr, nullptr)) /
                        (2 * step),
                    1e-7);
        EXPECT_GE(smoothMax(a, b, h, nullptr, nullptr), std::max(a, b) - 1e-15) << "rounding of numbers below one";
    }
}

TEST(UpdateSmoothDist, ReplacesAMinimumBeyondTheBlend)
{
    double acc = 1e13;
    Vector3 grad;
    Matrix3 hess;
    hess = hess * 2.0;
    updateSmoothDist(4.0, {2, 0, 0}, {0, 0, 0}, acc, 0.5, &grad, &hess);
    EXPECT_EQ(acc, 4.0);
    EXPECT_EQ(grad, Vector3(4, 0, 0));
    EXPECT_EQ(hess(0, 0), 2.0);
    EXPECT_EQ(hess(0, 1), 0.0);
}

TEST(UpdateSmoothDist, NarrowsTheBlendToTheSmallerNumber)
{
    double acc = 0.25;
    updateSmoothDist(1.0, {1, 0, 0}, {0, 0, 0}, acc, 10.0, nullptr, nullptr);
    EXPECT_EQ(acc, 0.25) << "a blend of width 0.25 does not reach from 0.25 to 1";
    acc = 0.5;
    updateSmoothDist(0.5, {1, 0, 0}, {0, 0, 0}, acc, 10.0, nullptr, nullptr);
    EXPECT_EQ(acc, 0.5 - 3 * 0.5 / 16);
}

TEST(UpdateSmoothDist, AWidthEqualToANumberIsNotNarrowed)
{
    // x = -1/2 and 1/2 in the blend. A narrowed width would have the same value, but its derivative would be added to
    // the gradient.
    double acc = 1.0;
    Vector3 grad(4, 0, 0);
    updateSmoothDist(1.5, {1, 0, 0}, {0, 0, 0}, acc, 1.0, &grad, nullptr);
    EXPECT_EQ(grad, Vector3(0.15625 * 2 + 0.84375 * 4, 0, 0));
    acc = 1.5;
    grad = Vector3(4, 0, 0);
    updateSmoothDist(1.0, {1, 0, 0}, {0, 0, 0}, acc, 1.0, &grad, nullptr);
    EXPECT_EQ(grad, Vector3(0.84375 * 2 + 0.15625 * 4, 0, 0));
}

TEST(UpdateSmoothDist, AgreesWithTheReferenceWithAndWithoutNarrowing)
{
    test::Random random(20250311);
    for (int trial = 0; trial < 4000; ++trial) {
        bool const hostile = random.oneIn(5);
        double const d = hostile ? random.hostile() : random.uniform(0, 2);
        double const h = random.oneIn(3) ? random.uniform(0, 3) : random.uniform(0, 0.3);
        Vector3 const x = hostile ? random.hostilePoint() : random.point();
        Vector3 const y = random.point();
        Field ours, expected;
        ours.dist = expected.dist = random.oneIn(6) ? d : random.uniform(0, 2);
        ours.grad = expected.grad = random.point();
        ours.hess = expected.hess = Matrix3(random.point(), random.point(), random.point());
        updateSmoothDist(d, x, y, ours.dist, h, &ours.grad, &ours.hess);
        reference::updateSmoothDist(d, x, y, expected.dist, h, &expected.grad, &expected.hess);
        EXPECT_TRUE(sameField(ours, expected)) << "trial " << trial;
    }
}

TEST(UpdateSmoothDist, TheHessianDependsOnTheIncomingGradient)
{
    // Equal numbers in the blend: H = (k, -k, k), so the (0, 0) entry is -k (g - e)^2 + hess / 2 + 1 with g = 3, e = 2.
    double acc = 1.0;
    Vector3 grad(3, 0, 0);
    Matrix3 hess;
    updateSmoothDist(1.0, {1, 0, 0}, {0, 0, 0}, acc, 0.5, &grad, &hess);
    double const k = 1.5 * 0.5 / 0.5;
    EXPECT_EQ(hess(0, 0), -k * 9 + k * 12 - k * 4 + 0.5 + 1.0);
    EXPECT_EQ(grad, Vector3(2.5, 0, 0));
}

TEST(UpdateSmoothDist, WithoutAGradientTheIncomingGradientCountsAsZero)
{
    double acc = 1.0;
    double other = 1.0;
    Vector3 zero;
    Matrix3 alone;
    Matrix3 together;
    updateSmoothDist(1.1, {1, 0.5, 0}, {0, 0, 0.3}, acc, 0.5, nullptr, &alone);
    updateSmoothDist(1.1, {1, 0.5, 0}, {0, 0, 0.3}, other, 0.5, &zero, &together);
    EXPECT_TRUE(test::sameBits(alone, together));
    EXPECT_EQ(acc, other);
}

TEST(SmoothDistToPolyline, IsZeroOnASegment)
{
    for (double h : {1e-14, 0.1, 10.0}) EXPECT_EQ(fieldAt({{0, 0, 0}, {4, 0, 0}}, {1, 0, 0}, h).dist, 0.0);
}

TEST(SmoothDistToPolyline, FewerThanTwoVerticesWriteNothing)
{
    for (int n : {0, 1}) {
        Field const f = fieldAt(std::vector<Vector3>(n), {1, 2, 3}, 1);
        EXPECT_TRUE(sameField(f, Field()));
        Field many;
        Vector3 const q(1, 2, 3);
        sinew::smoothDistMany(std::vector<Vector3>(n), &q, 1, 1.0, &many.dist, &many.grad, &many.hess);
        EXPECT_TRUE(sameField(many, Field()));
    }
}

TEST(SmoothDistToPolyline, WithoutABlendItIsTheSquaredDistance)
{
    test::Random random(20250312);
    std::vector<Vector3> const polyline = test::smoothCurve(15);
    for (int trial = 0; trial < 200; ++trial) {
        Vector3 const q = random.point();
        double nearest = 1e13;
        for (int k = 0; k < 14; ++k)
            nearest = std::min(nearest, distSqToLineSegment(q, polyline[k], polyline[k + 1], nullptr));
        EXPECT_EQ(fieldAt(polyline, q, 0).dist, nearest);
    }
}

TEST(SmoothDistToPolyline, From20VerticesOnChunksStartWithAPointInsteadOfTheirFirstSegment)
{
    // The first segment is the nearest one. It is not folded in with 20 vertices, but its ends are.
    std::vector<Vector3> points;
    for (int i = 0; i < 19; ++i) points.emplace_back(i, 0, 0);
    EXPECT_EQ(fieldAt(points, {0.5, 1, 0}, 0).dist, 1.0);
    points.emplace_back(19, 0, 0);
    EXPECT_EQ(fieldAt(points, {0.5, 1, 0}, 0).dist, 1.25);
    EXPECT_EQ(fieldAt(points, {1.5, 1, 0}, 0).dist, 1.0);
    EXPECT_EQ(fieldAt(points, {10.5, 1, 0}, 0).dist, 1.25) << "the second chunk starts at vertex 10";
}

TEST(SmoothDistToPolyline, ARestOfThreeSegmentsJoinsTheLastChunk)
{
    // With 25 vertices segment 20 is the first one of the third chunk, which is not folded in. With 24 vertices the
    // second chunk extends to the last vertex.
    for (int n : {24, 25}) {
        std::vector<Vector3> points;
        for (int i = 0; i < n; ++i) points.emplace_back(i, 0, 0);
        EXPECT_EQ(fieldAt(points, {20.5, 1, 0}, 0).dist, n == 24 ? 1.0 : 1.25) << n;
    }
}

TEST(SmoothDistToPolyline, TheLimitForVisitedChunksGrowsWithWidthAndVertices)
{
    // A chunk is skipped if its squared bound exceeds the squared distance of the nearest vertex folded in so far by
    // more than the width times (0.375 n + 1). With a positive width such a chunk cannot change the result; a negative
    // width shows the limit. Here the vertices are at a squared distance of 26 and the chunk between them at 1.
    for (int const n : {20, 21}) {
        std::vector<Vector3> polyline;
        for (int i = 0; i < n; ++i) polyline.push_back(Vector3(i - 5, 0, 0));
        double const limit = -25 / (0.375 * n + 1);
        double dist = 0.0;
        smoothDistToPolyline(polyline, {0, 1, 0}, limit * 0.999, &dist, nullptr, nullptr);
        EXPECT_EQ(dist, 1.0) << n;
        smoothDistToPolyline(polyline, {0, 1, 0}, limit * 1.001, &dist, nullptr, nullptr);
        EXPECT_EQ(dist, 26.0) << n;
    }
}

TEST(SmoothDistToPolyline, GradientMatchesDifferenceQuotientsBetweenTwoParallelSegments)
{
    // One segment is above and one below; they are joined far away. The nearest points move along the segments only,
    // which does not change the distances to first order, so the gradient for fixed points is exact.
    std::vector<Vector3> const polyline = {{-5, 1, 0}, {5, 1, 0}, {5, -1, 0}, {-5, -1, 0}};
    double const step =
        1e-5; // squared distances near 25 cancel to 1: the error 25 * 1e-16 / step is below the tolerance
    for (double y = -0.4; y < 0.45; y += 0.05) {
        Field const f = fieldAt(polyline, {0, y, 0}, 0.9);
        double const slope =
            (fieldAt(polyline, {0, y + step, 0}, 0.9).dist - fieldAt(polyline, {0, y - step, 0}, 0.9).dist) /
            (2 * step);
        EXPECT_NEAR(f.grad.y, slope, 1e-8) << y;
        double const bend =
            (fieldAt(polyline, {0, y + step, 0}, 0.9).grad.y - fieldAt(polyline, {0, y - step, 0}, 0.9).grad.y) /
            (2 * step);
        if (f.dist > 0.9) {
            EXPECT_NEAR(f.hess(1, 1), bend, 1e-7) << y;
        }
    }
}

// The chunks have equal bounds at this query, and the order in which they are folded in changes the value. It must be
// the same with every standard library.
TEST(SmoothDistToPolyline, ChunksOfEqualBoundsAreTakenInAFixedOrder)
{
    std::vector<Vector3> points;
    for (int i = 0; i < 41; ++i) points.emplace_back(i % 3, i / 10, i % 7);
    Vector3 const q(-1.5, 2.25, 0.5);
    EXPECT_EQ(fieldAt(points, q, 4.0).dist, 0x1.10f7d6d778f4p+1); // by ascending index: 0x1.0a4185e8e1caap+1
    EXPECT_TRUE(sameField(fieldAt(points, q, 4.0), referenceFieldAt(points, q, 4.0)));
}

TEST(SmoothDistToPolyline, NaNAndInfiniteInputGiveTheDocumentedMinimum)
{
    for (int n : {2, 19, 20, 40}) {
        std::vector<Vector3> points = test::alongX(n);
        bool const isChunked = n >= 20;
        Field f = fieldAt(points, {kNaN, 0, 0}, 0.1);
        EXPECT_EQ(std::isnan(f.dist), isChunked) << n;
        EXPECT_TRUE(isChunked || f.dist == 0.0) << n;
        EXPECT_TRUE(std::isnan(f.grad.x)) << n;
        f = fieldAt(points, {kNaN, 0, 0}, 0.0);
        EXPECT_EQ(f.dist, 0.0) << n;
        EXPECT_TRUE(std::isnan(f.grad.x)) << n;
        f = fieldAt(points, {kInfinity, 0, 0}, 0.1);
        EXPECT_EQ(f.dist, 1e13) << n;
        EXPECT_TRUE(std::isnan(f.grad.x)) << n;
        EXPECT_TRUE(std::isnan(fieldAt(points, {0, 1, 0}, kNaN).dist)) << n;
        points[1].z = kNaN;
        f = fieldAt(points, {0.5, 1, 0}, 0.1);
        EXPECT_TRUE(f.dist == 0.0 || std::isnan(f.dist)) << n;
        EXPECT_TRUE(std::isnan(f.grad.x)) << n;
    }
}

TEST(SmoothDistToPolyline, WantedOutputsDoNotChangeEachOther)
{
    test::Random random(20250313);
    for (int n : {5, 60}) {
        std::vector<Vector3> const polyline = random.points(n);
        for (int trial = 0; trial < 100; ++trial) {
            Vector3 const q = random.point();
            Field const all = fieldAt(polyline, q, 0.2);
            Field single;
            smoothDistToPolyline(polyline, q, 0.2, &single.dist, nullptr, nullptr);
            smoothDistToPolyline(polyline, q, 0.2, nullptr, &single.grad, nullptr);
            smoothDistToPolyline(polyline, q, 0.2, nullptr, nullptr, &single.hess);
            EXPECT_TRUE(sameField(single, all));
        }
    }
}

// Comparisons with the reference implementation: single calls, and calls for many points.
class SmoothDistReference : public testing::Test
{
protected:
    test::Random random{20250314};

    void compare(std::vector<Vector3> const& polyline, std::vector<Vector3> const& queries)
    {
        for (double h : {0.0, 1e-13, 1e-4, 0.03, 0.5, 20.0, -1.0, 1e12, kNaN}) {
            std::vector<double> dists(queries.size());
            std::vector<double> distsAlone(queries.size());
            std::vector<Vector3> grads(queries.size());
            std::vector<Vector3> gradsAlone(queries.size());
            std::vector<Matrix3> hessians(queries.size());
            sinew::smoothDistMany(polyline, queries.data(), queries.size(), h, dists.data(), grads.data(),
                                  hessians.data());
            sinew::smoothDistMany(polyline, queries.data(), queries.size(), h, distsAlone.data(), nullptr, nullptr);
            sinew::smoothDistMany(polyline, queries.data(), queries.size(), h, nullptr, gradsAlone.data(), nullptr);
            for (std::size_t i = 0; i < queries.size(); ++i) {
                Field const expected = referenceFieldAt(polyline, queries[i], h);
                std::string const where = "query " + std::to_string(i) + ", h " + std::to_string(h) + ", " +
                                          std::to_string(polyline.size()) + " vertices";
                EXPECT_TRUE(sameField(fieldAt(polyline, queries[i], h), expected)) << where;
                EXPECT_TRUE(sameField({dists[i], grads[i], hessians[i]}, expected)) << where;
                EXPECT_TRUE(test::sameBits(distsAlone[i], expected.dist)) << where;
                EXPECT_TRUE(test::sameBits(gradsAlone[i], expected.grad)) << where;
            }
        }
    }

    std::vector<int> const sizes{2, 3, 12, 19, 20, 24, 25, 26, 64, 333};
};

TEST_F(SmoothDistReference, AgreesOnSmoothNoisyAndClosedPolylines)
{
    for (int n : sizes) {
        compare(test::smoothCurve(n), random.points(15));
        compare(test::noisyCurve(n, random, 0.1), random.points(15));
        compare(test::islandBoundary(n, random), random.points(15));
    }
}

TEST_F(SmoothDistReference, AgreesInAPlaneWithZerosOfBothSigns)
{
    for (int n : sizes) {
        std::vector<Vector3> queries = random.points(15);
        for (Vector3& q : queries) q.z = random.oneIn(2) ? 0.0 : -0.0;
        compare(test::islandBoundary(n, random), queries);
        std::vector<Vector3> mirrored = test::islandBoundary(n, random);
        for (Vector3& p : mirrored) p.z = -0.0;
        compare(mirrored, queries);
    }
}

TEST_F(SmoothDistReference, AgreesOnSelfTouchingRepeatedAndStraightPolylines)
{
    for (int n : sizes) {
        std::vector<Vector3> queries;
        for (int i = 0; i < 15; ++i)
            queries.emplace_back(random.below(5) - 2, random.below(5) - 2, 0.5 * random.below(5));
        compare(test::latticeWalk(n, random), queries);
        compare(std::vector<Vector3>(n, Vector3(1, 1, 1)), queries);
        compare(test::straightLine(n, 0.5), queries);
    }
}

TEST_F(SmoothDistReference, AgreesOnHostileInput)
{
    for (int trial = 0; trial < 200; ++trial) {
        std::vector<Vector3> polyline = random.points(2 + random.below(60));
        std::vector<Vector3> queries = random.points(3);
        if (random.oneIn(2)) polyline[random.below(static_cast<int>(polyline.size()))] = random.hostilePoint();
        queries.push_back(random.hostilePoint());
        queries.push_back(polyline[random.below(static_cast<int>(polyline.size()))]);
        compare(polyline, queries);
    }
}

TEST_F(SmoothDistReference, AgreesAtEveryScale)
{
    for (double scale : {1e-160, 1e-9, 1e-6, 1e6, 1e9, 1e90, 1e120, 1e155, 1e300}) {
        for (int n : {7, 40}) {
            std::vector<Vector3> polyline = random.points(n);
            std::vector<Vector3> queries = random.points(5);
            for (Vector3& p : polyline) p *= scale;
            for (Vector3& q : queries) q *= scale;
            compare(polyline, queries);
        }
    }
}
