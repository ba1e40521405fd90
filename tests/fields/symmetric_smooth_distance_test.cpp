#include <sinew/fields/symmetric_smooth_distance.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include <sinew/core/vector_geometry.h>
#include <sinew/fields/smooth_distance.h>

#include "fields/polylines.h"
#include "support/bits.h"

namespace {

using sinew::smoothDistance;
using sinew::SmoothDistance;
using Polyline = std::vector<Vector3>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Two skew segments and one far away.
Polyline const kCorner = {{-1, 0.3, 0}, {0, 0, 0.1}, {0.9, 0.4, -0.2}, {0.9, 40, 3}};

double plainDistance(Polyline const& polyline, Vector3 const& q)
{
    double nearest = kInfinity;
    for (std::size_t i = 0; i + 1 < polyline.size(); ++i) {
        nearest = std::min(nearest, std::sqrt(distSqToLineSegment(q, polyline[i], polyline[i + 1], nullptr)));
    }
    return nearest;
}

bool sameField(SmoothDistance const& a, SmoothDistance const& b)
{
    return test::sameBits(a.dist, b.dist) && test::sameBits(a.grad, b.grad) && test::sameBits(a.hess, b.hess);
}

bool isFinite(Matrix3 const& m)
{
    bool result = true;
    for (int k = 0; k < 9; ++k) result = result && std::isfinite(m(k / 3, k % 3));
    return result;
}

// The largest jump of a component of the gradient between neighbours, in steps of `step` along a straight way.
template <typename Gradient>
double largestJump(Vector3 const& from, Vector3 const& to, int steps, Gradient const& gradientAt)
{
    double jump = 0.0;
    Vector3 last = gradientAt(from);
    for (int i = 1; i <= steps; ++i) {
        Vector3 const next = gradientAt(from + (static_cast<double>(i) / steps) * (to - from));
        jump = std::max(jump, (next - last).length());
        last = next;
    }
    return jump;
}

} // namespace

TEST(SymmetricSmoothDistance, IsTheDistanceToTheBitWhereOneSegmentAloneIsWithinTheWidth)
{
    SmoothDistance const f = smoothDistance(kCorner, {0.9, 20, 1.5}, 0.25);
    SmoothDistance const alone = smoothDistance({kCorner[2], kCorner[3]}, {0.9, 20, 1.5}, 0.25);
    EXPECT_TRUE(sameField(f, alone));
    EXPECT_EQ(smoothDistance({{0, 0, 0}, {4, 0, 0}, {4, 9, 0}}, {1, 2, 0}, 1.0).dist, 2.0);
}

TEST(SymmetricSmoothDistance, SolvesItsEquation)
{
    test::Random random(20261130);
    for (int trial = 0; trial < 3000; ++trial) {
        Polyline const polyline = random.points(2 + random.below(12));
        Vector3 const q = random.point(-1.5, 1.5);
        double const width = random.uniform(0.05, 1.5);
        double const f = smoothDistance(polyline, q, width).dist;
        double sum = 0.0;
        for (std::size_t i = 0; i + 1 < polyline.size(); ++i) {
            double const d = std::sqrt(distSqToLineSegment(q, polyline[i], polyline[i + 1], nullptr));
            double const rest = std::max(0.0, 1 - (d - f) / width);
            sum += rest * rest * rest;
        }
        ASSERT_NEAR(sum, 1.0, 1e-12) << trial;
        double const nearest = plainDistance(polyline, q);
        ASSERT_LE(f, nearest + 1e-13); // the plain distance subtracts squares
        ASSERT_GT(f, nearest - width);
    }
}

TEST(SymmetricSmoothDistance, EqualDistancesLowerItByAKnownShareOfTheWidth)
{
    Polyline const corner = {{-1, 0, 0}, {0, 0, 0}, {0, -1, 0}}; // the vertex is nearest to both
    EXPECT_NEAR(smoothDistance(corner, {3, 4, 0}, 0.5).dist, 5 - 0.5 * (1 - std::cbrt(0.5)), 1e-14);
    Polyline const twice = {{0, 0, 0}, {1, 0, 0}, {0, 0, 0}, {1, 0, 0}, {0, 0, 0}};
    EXPECT_NEAR(smoothDistance(twice, {0.5, 2, 0}, 0.1).dist, 2 - 0.1 * (1 - std::cbrt(0.25)), 1e-14);
}

TEST(SymmetricSmoothDistance, DoesNotDependOnTheOrderOfTheSegments)
{
    test::Random random(20261131);
    for (int trial = 0; trial < 1000; ++trial) {
        Polyline polyline = random.points(12);
        Vector3 const q = random.point();
        SmoothDistance const forwards = smoothDistance(polyline, q, 0.7);
        std::reverse(polyline.begin(), polyline.end());
        SmoothDistance const backwards = smoothDistance(polyline, q, 0.7);
        ASSERT_NEAR(forwards.dist, backwards.dist, 1e-14);
        ASSERT_LT((forwards.grad - backwards.grad).length(), 1e-12);
    }
}

TEST(SymmetricSmoothDistance, DerivativesMatchDifferenceQuotients)
{
    test::Random random(20261132);
    double const step = 1e-6;
    for (int trial = 0; trial < 2000; ++trial) {
        Polyline const polyline = random.points(2 + random.below(8));
        Vector3 const q = random.point(-1.5, 1.5);
        double const width = random.uniform(0.2, 1.0);
        SmoothDistance const f = smoothDistance(polyline, q, width);
        if (plainDistance(polyline, q) < 0.05) continue; // strong curvature near the polyline
        for (int k = 0; k < 3; ++k) {
            Vector3 e;
            e[k] = step;
            SmoothDistance const above = smoothDistance(polyline, q + e, width);
            SmoothDistance const below = smoothDistance(polyline, q - e, width);
            ASSERT_NEAR((above.dist - below.dist) / (2 * step), f.grad[k], 1e-7) << trial;
            Vector3 const slope = (above.grad - below.grad) * (1 / (2 * step));
            Vector3 const wide = smoothDistance(polyline, q + 2 * e, width).grad - above.grad;
            Vector3 const kink = wide * (1 / step) - slope; // large where a nearest point reaches an end
            if (kink.length() > 1e-2) continue;
            for (int i = 0; i < 3; ++i) ASSERT_NEAR(slope[i], f.hess(i, k), 3e-2) << trial;
        }
        ASSERT_LE(f.grad.length(), 1 + 1e-12);
    }
}

// Across the bisector of a corner, close to it: there the defined method narrows its width to the smaller of the two
// squared distances, and its gradient jumps.
TEST(SymmetricSmoothDistance, TheGradientDoesNotJumpWhereTheDefinedOneDoes)
{
    Polyline const corner = {{1, 0, 0}, {0, 0, 0}, {0, 1, 0}};
    Vector3 const from(0.3, 0.2, 0);
    Vector3 const to(0.2, 0.3, 0);
    double const width = 0.4;
    auto const ours = [&](Vector3 const& q) { return smoothDistance(corner, q, width).grad; };
    auto const defined = [&](Vector3 const& q) {
        double dist = 0.0;
        Vector3 grad;
        smoothDistToPolyline(corner, q, width * width, &dist, &grad, nullptr);
        return grad;
    };
    double const coarse = largestJump(from, to, 1001, ours);
    double const fine = largestJump(from, to, 10001, ours);
    EXPECT_LT(fine, 0.11 * coarse); // continuous: a tenth of the step has a tenth of the change
    double const definedCoarse = largestJump(from, to, 1001, defined);
    double const definedFine = largestJump(from, to, 10001, defined);
    EXPECT_GT(definedFine, 0.5 * definedCoarse); // a jump does not become smaller
}

// The second derivative along a way through the end of the blend, where two distances begin to differ by the width.
TEST(SymmetricSmoothDistance, TheCurvatureIsContinuousAtTheEndOfTheBlend)
{
    Polyline const lines = {{-9, 0, 0}, {9, 0, 0}, {9, 2, 0}, {-9, 2, 0}}; // nearest point inside for both long sides
    double const width = 0.5;
    double last = smoothDistance(lines, {0, 0.5, 0}, width).hess(1, 1);
    double jump = 0.0;
    for (int i = 1; i <= 10000; ++i) {
        double const next = smoothDistance(lines, {0, 0.5 + i * 1e-4, 0}, width).hess(1, 1);
        jump = std::max(jump, std::fabs(next - last));
        last = next;
    }
    // The blend ends at y = 0.75. The change of a step is that of a continuous function: about 1e-4 / width^2.
    EXPECT_LT(jump, 20 * 1e-4 / (width * width));
    EXPECT_LT(smoothDistance(lines, {0, 1, 0}, width).hess(1, 1), -0.5) << "the blend bends the field";
}

TEST(SymmetricSmoothDistance, ManyPointsHaveTheBitsOfSingleCalls)
{
    test::Random random(20261133);
    for (int trial = 0; trial < 60; ++trial) {
        int const vertices = 2 + random.below(trial < 40 ? 40 : 700);
        Polyline polyline = trial % 3 == 0   ? test::latticeWalk(vertices, random)
                            : trial % 3 == 1 ? test::noisyCurve(vertices, random)
                                             : test::smoothCurve(vertices);
        double const scale = std::ldexp(1.0, random.below(200) - 100);
        for (Vector3& p : polyline) p = p * scale;
        if (trial % 7 == 0) polyline[static_cast<std::size_t>(random.below(vertices))].y = kNaN;
        double const width = random.oneIn(8) ? 0.0 : scale * std::fabs(random.spread(-12, 3));
        std::vector<Vector3> queries;
        for (int i = 0; i < 60; ++i) {
            Vector3 const& p = polyline[static_cast<std::size_t>(random.below(vertices))];
            queries.push_back(random.oneIn(4) ? p : p + random.point() * (scale * std::fabs(random.spread(-8, 2))));
        }
        std::vector<double> dists(queries.size());
        std::vector<Vector3> grads(queries.size());
        std::vector<Matrix3> hessians(queries.size());
        sinew::smoothDistanceMany(polyline, sinew::coordinatesOf(queries.data(), queries.size()), width, dists.data(),
                                  grads.data(), hessians.data());
        std::vector<double> distsAlone(queries.size());
        sinew::smoothDistanceMany(polyline, sinew::coordinatesOf(queries.data(), queries.size()), width,
                                  distsAlone.data(), nullptr, nullptr);
        for (std::size_t i = 0; i < queries.size(); ++i) {
            SCOPED_TRACE(trial);
            SmoothDistance const expected = smoothDistance(polyline, queries[i], width);
            ASSERT_TRUE(sameField({dists[i], grads[i], hessians[i]}, expected)) << i;
            ASSERT_TRUE(test::sameBits(distsAlone[i], expected.dist)) << i;
        }
    }
}

TEST(SymmetricSmoothDistance, WithoutAWidthIsTheMinimum)
{
    for (double const width : {0.0, -0.0, -3.0}) {
        SmoothDistance const f = smoothDistance({{-1, 0, 0}, {0, 0, 0}, {0, -1, 0}}, {3, 4, 0}, width);
        EXPECT_EQ(f.dist, 5.0);
        EXPECT_NEAR((f.grad - Vector3(0.6, 0.8, 0)).length(), 0.0, 1e-15);
    }
}

TEST(SymmetricSmoothDistance, WithoutSegmentsIsInfinite)
{
    for (Polyline const& polyline : {Polyline{}, Polyline{{1, 2, 3}}, Polyline{{kNaN, 0, 0}, {1, 0, 0}}}) {
        SmoothDistance const f = smoothDistance(polyline, {0, 0, 0}, 1.0);
        EXPECT_EQ(f.dist, kInfinity);
        EXPECT_EQ(f.grad.length(), 0.0);
        double dist = 0.0;
        Vector3 const q;
        sinew::smoothDistanceMany(polyline, sinew::coordinatesOf(&q, 1), 1.0, &dist, nullptr, nullptr);
        EXPECT_EQ(dist, kInfinity);
    }
}

TEST(SymmetricSmoothDistance, ASegmentWithoutLengthIsAPoint)
{
    SmoothDistance const f = smoothDistance({{1, 2, 3}, {1, 2, 3}}, {1, 2, 5}, 0.5);
    EXPECT_EQ(f.dist, 2.0);
    EXPECT_TRUE(test::sameBits(f.grad, Vector3(0, 0, 1)));
    EXPECT_EQ(f.hess(0, 0), 0.5);
    EXPECT_EQ(f.hess(2, 2), 0.0);
}

TEST(SymmetricSmoothDistance, OnThePolylineItsOwnDerivativesAreZero)
{
    SmoothDistance const f = smoothDistance({{0, 0, 0}, {2, 0, 0}}, {1, 0, 0}, 0.5);
    EXPECT_EQ(f.dist, 0.0);
    EXPECT_EQ(f.grad.length(), 0.0);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(f.hess(i, i), 0.0);
}

TEST(SymmetricSmoothDistance, NaNAndInfiniteInputGiveNaN)
{
    for (double const bad : {kNaN, kInfinity, -kInfinity}) {
        for (SmoothDistance const& f :
             {smoothDistance(kCorner, {0, bad, 0}, 1.0), smoothDistance(kCorner, {0, 1, 0}, bad)}) {
            EXPECT_TRUE(std::isnan(f.dist));
            EXPECT_TRUE(std::isnan(f.grad.x) && std::isnan(f.grad.y) && std::isnan(f.grad.z));
            EXPECT_TRUE(std::isnan(f.hess(0, 0)) && std::isnan(f.hess(2, 1)));
        }
    }
}

TEST(SymmetricSmoothDistance, SegmentsThatAreNotFiniteAreLeftOut)
{
    Polyline polyline = {{-1, 5, 0}, {kInfinity, 0, 0}, {-1, 0, 0}, {1, 0, 0}, {kNaN, 1, 0}, {0, 1, 0}};
    EXPECT_EQ(smoothDistance(polyline, {0, 2, 0}, 1.0).dist, 2.0);
}

TEST(SymmetricSmoothDistance, HasTheSameBitsAtEveryScaleAtWhichSquaresAreFinite)
{
    Vector3 const q(0.2, 1, 0);
    for (double const scale : {0x1p-465, 0x1p332, 0x1p498}) {
        Polyline polyline = kCorner;
        for (Vector3& p : polyline) p = p * scale;
        for (double const width : {0.0, 1e-3, 1.0}) {
            SmoothDistance const expected = smoothDistance(kCorner, q, width);
            SmoothDistance const f = smoothDistance(polyline, q * scale, width * scale);
            EXPECT_EQ(f.dist, expected.dist * scale);
            EXPECT_TRUE(test::sameBits(f.grad, expected.grad));
            for (int k = 0; k < 9; ++k) EXPECT_EQ(f.hess(k / 3, k % 3) * scale, expected.hess(k / 3, k % 3));
        }
    }
}

TEST(SymmetricSmoothDistance, HugeAndSubnormalInputEnds)
{
    for (double const scale : {1e-310, 1e-160, 1e160, 1e307}) {
        SCOPED_TRACE(scale);
        Polyline polyline = kCorner;
        for (Vector3& p : polyline) p = p * scale;
        for (double const width : {1e-320, 1e-8, 1e300}) {
            SmoothDistance const f = smoothDistance(polyline, Vector3(0.2, 1, 0) * scale, width);
            EXPECT_TRUE(f.dist == kInfinity || (f.dist >= -width && f.dist <= 2 * scale));
            EXPECT_LE(f.grad.length(), 1 + 1e-15);
        }
    }
}

TEST(SymmetricSmoothDistance, AVeryShortSegmentLeavesTheHessianFinite)
{
    Polyline const polyline = {{-1, 0, 0}, {0, 0, 0}, {1e-155, 0, 0}, {1e-155, -1, 0}};
    SmoothDistance const f = smoothDistance(polyline, {5e-156, 1, 0}, 0.1);
    EXPECT_TRUE(isFinite(f.hess));
    EXPECT_NEAR(f.grad.y, 1.0, 1e-15);
    Polyline const huge = {{0, 0, 0}, {1e155, 0, 0}, {1e155, 1e155, 0}};
    EXPECT_TRUE(isFinite(smoothDistance(huge, {2, -1, 0}, 0).hess));
}

// Two segments share the nearest vertex, so that their gradients are equal up to rounding.
TEST(SymmetricSmoothDistance, ANarrowBlendDoesNotEnlargeRoundingErrors)
{
    Polyline const polyline = {{-1, 0.1, 0.3}, {0.1, 0.2, 0.3}, {1, -0.5, 0.2}};
    Vector3 const q(0.2, 1.7, 0.35);
    Matrix3 const expected = smoothDistance(polyline, q, 0).hess;
    for (double const width : {1e-3, 1e-40, 1e-100, 1e-300, 1e-310}) {
        SCOPED_TRACE(width);
        Matrix3 const found = smoothDistance(polyline, q, width).hess;
        for (int k = 0; k < 9; ++k) EXPECT_NEAR(found(k / 3, k % 3), expected(k / 3, k % 3), 1e-14);
    }
}
