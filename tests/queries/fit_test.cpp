#include <sinew/queries/fit.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "support/bits.h"
#include "support/random.h"

using sinew::fitLine;
using sinew::FitOutcome;
using sinew::fitPlane;
using sinew::LineFit;
using sinew::PlaneFit;
using test::Random;
using test::sameBits;

namespace {

using Points = std::vector<Vector3>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kGreatest = std::numeric_limits<double>::max();

Points const kSquare = {{0, 0, 5}, {1, 0, 5}, {1, 1, 5}, {0, 1, 5}};
Points const kDiagonal = {{0, 0, 0}, {1, 1, 0}, {2, 2, 0}, {5, 5, 0}};

sinew::Strided<double const> view(Points const& points)
{
    return sinew::coordinatesOf(points.data(), points.size());
}
LineFit line(Points const& points)
{
    return fitLine(view(points));
}
PlaneFit plane(Points const& points)
{
    return fitPlane(view(points));
}

Points scaled(Points points, double scale)
{
    for (Vector3& p : points) p *= scale;
    return points;
}

void expectNaN(Vector3 const& v)
{
    EXPECT_TRUE(std::isnan(v.x) && std::isnan(v.y) && std::isnan(v.z));
}
void expectNaN(LineFit const& fit)
{
    expectNaN(fit.centroid);
    expectNaN(fit.direction);
    EXPECT_TRUE(std::isnan(fit.residual));
    for (double const spread : fit.spreads) EXPECT_TRUE(std::isnan(spread));
}
void expectNaN(PlaneFit const& fit)
{
    expectNaN(fit.centroid);
    expectNaN(fit.normal);
    EXPECT_TRUE(std::isnan(fit.residual));
    for (double const spread : fit.spreads) EXPECT_TRUE(std::isnan(spread));
}

bool same(PlaneFit const& a, PlaneFit const& b)
{
    bool equal = a.outcome == b.outcome && sameBits(a.centroid, b.centroid) && sameBits(a.normal, b.normal);
    for (int k = 0; k < 3; ++k) equal = equal && sameBits(a.spreads[k], b.spreads[k]);
    return equal && sameBits(a.residual, b.residual);
}

} // namespace

TEST(FitPlane, FindsThePlaneOfASquare)
{
    PlaneFit const fit = plane(kSquare);
    EXPECT_EQ(fit.outcome, FitOutcome::determined);
    EXPECT_EQ(fit.centroid, Vector3(0.5, 0.5, 5));
    EXPECT_EQ(fit.normal, Vector3(0, 0, 1));
    EXPECT_EQ(fit.residual, 0);
    EXPECT_EQ(fit.spreads[0], 0);
    EXPECT_EQ(fit.spreads[1], 0.5);
    EXPECT_EQ(fit.spreads[2], 0.5);
}

TEST(FitLine, FindsTheLineOfCollinearPoints)
{
    LineFit const fit = line(kDiagonal);
    EXPECT_EQ(fit.outcome, FitOutcome::determined);
    EXPECT_EQ(fit.centroid, Vector3(2, 2, 0));
    EXPECT_DOUBLE_EQ(fit.direction.x, std::sqrt(0.5));
    EXPECT_DOUBLE_EQ(fit.direction.y, std::sqrt(0.5));
    EXPECT_EQ(fit.direction.z, 0);
    EXPECT_LE(fit.residual, 1e-15);
    EXPECT_DOUBLE_EQ(fit.spreads[2], std::sqrt(7.0)); // coordinates -2, -1, 0, 3 times the root of 2
}

TEST(Fit, TheResidualIsTheRootOfTheMeanSquaredDistance)
{
    // Half of the points lie 3 above the plane z = 0, half 3 below it.
    EXPECT_DOUBLE_EQ(
        plane({{9, 0, 3}, {-9, 0, 3}, {9, 0, -3}, {-9, 0, -3}, {0, 20, 3}, {0, -20, -3}, {0, 20, -3}, {0, -20, 3}})
            .residual,
        3);
    EXPECT_DOUBLE_EQ(line({{50, 3, 4}, {50, -3, -4}, {-50, 3, -4}, {-50, -3, 4}}).residual, 5);
}

TEST(Fit, NoDirectionFitsBetter)
{
    Random random(1511);
    for (int trial = 0; trial < 500; ++trial) {
        Points const points = random.points(3 + random.below(20));
        LineFit const l = line(points);
        PlaneFit const p = plane(points);
        double found[2] = {0, 0}, other[2] = {0, 0};
        UVector3 const u(l.direction + random.point() * 0.01), n(p.normal + random.point() * 0.01);
        for (Vector3 const& point : points) {
            found[0] += cross(point - l.centroid, l.direction).lengthSq();
            other[0] += cross(point - l.centroid, u).lengthSq();
            found[1] += std::pow((point - p.centroid) * p.normal, 2);
            other[1] += std::pow((point - p.centroid) * n, 2);
        }
        for (int k = 0; k < 2; ++k) ASSERT_LE(found[k], other[k] * (1 + 1e-14) + 1e-28);
    }
}

TEST(Fit, BitsDoNotDependOnTheScale)
{
    Random random(1512);
    for (int trial = 0; trial < 200; ++trial) {
        Points const points = random.points(3 + random.below(90));
        PlaneFit const fit = plane(points);
        for (int const exponent : {-900, -500, -3, 500, 900}) {
            double const scale = std::ldexp(1.0, exponent);
            PlaneFit const other = plane(scaled(points, scale));
            ASSERT_EQ(other.outcome, fit.outcome);
            ASSERT_TRUE(sameBits(other.normal, fit.normal));
            ASSERT_TRUE(sameBits(other.centroid, fit.centroid * scale));
            ASSERT_EQ(other.residual, fit.residual * scale);
        }
    }
}

TEST(Fit, FarFromTheOriginTheDirectionIsThatNearIt)
{
    Points points = {{0, 0, 0}, {4, 0, 1}, {0, 8, 2}, {4, 8, 3.5}, {2, 1, 0}};
    Vector3 const normal = plane(points).normal;
    for (Vector3& p : points) p += Vector3(0x1p40, -0x1p40, 0x1p40); // exact: small multiples of 1/2
    PlaneFit const far = plane(points);
    EXPECT_EQ(far.outcome, FitOutcome::determined);
    EXPECT_LE(dist(far.normal, normal), 1e-15);
}

TEST(Fit, HugeAndTinyCoordinatesHaveADirection)
{
    for (double const scale : {kGreatest, 1e-310}) {
        PlaneFit const fit =
            plane(scaled({{-1, -1, 0.25}, {1, -1, 0.25}, {1, 1, 0.25}, {-1, 1, 0.25}, {0, 0, 0.5}}, scale));
        EXPECT_EQ(fit.outcome, FitOutcome::determined);
        EXPECT_EQ(fit.normal.z, 1);
        EXPECT_NEAR(fit.residual / scale, 0.1, 1e-12);
        EXPECT_NEAR(fit.centroid.z / scale, 0.3, 1e-12);
    }
}

TEST(Fit, EqualSpreadsLeaveTheDirectionUndetermined)
{
    EXPECT_EQ(line(kSquare).outcome, FitOutcome::undetermined);
    EXPECT_EQ(plane(kDiagonal).outcome, FitOutcome::undetermined);
    Points const cube = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}, {0, 0, 1}, {1, 0, 1}, {0, 1, 1}, {1, 1, 1}};
    EXPECT_EQ(line(cube).outcome, FitOutcome::undetermined);
    EXPECT_EQ(plane(cube).outcome, FitOutcome::undetermined);
    EXPECT_NEAR(plane(cube).normal.length(), 1, 1e-15);
}

TEST(Fit, FewerPointsThanADirectionNeedsLeaveItUndetermined)
{
    for (Points const& one : {Points{{1, 2, 3}}, Points{{1, 2, 3}, {1, 2, 3}}}) {
        EXPECT_EQ(line(one).outcome, FitOutcome::undetermined);
        EXPECT_EQ(plane(one).outcome, FitOutcome::undetermined);
        EXPECT_EQ(plane(one).centroid, Vector3(1, 2, 3));
        EXPECT_EQ(plane(one).residual, 0);
        EXPECT_EQ(line(one).direction.length(), 1);
    }
    Points const two = {{1, 2, 3}, {4, 5, 7}};
    EXPECT_EQ(line(two).outcome, FitOutcome::determined);
    EXPECT_EQ(plane(two).outcome, FitOutcome::undetermined);
}

TEST(Fit, WhatRoundingTheCoordinatesAddsDoesNotDetermineANormal)
{
    // A line in a general direction, far from the origin: the rounded points span a plane, which means nothing.
    Points points;
    std::vector<float> floats;
    for (int i = 0; i < 20; ++i) {
        points.push_back(Vector3(1e6, 2e6, 3e6) + Vector3(0.1, 0.7, 0.3) * i);
        for (double const x : {0.1 * i, 0.7 * i, 0.3 * i}) floats.push_back(static_cast<float>(x));
    }
    EXPECT_GT(plane(points).spreads[1], 0);
    EXPECT_EQ(plane(points).outcome, FitOutcome::undetermined);
    EXPECT_EQ(line(points).outcome, FitOutcome::determined);
    // As floats the rounding is larger, and the same numbers as doubles are exact.
    std::vector<double> const doubles(floats.begin(), floats.end());
    EXPECT_EQ(fitPlane(sinew::packed(floats, 3)).outcome, FitOutcome::undetermined);
    EXPECT_EQ(fitPlane(sinew::packed(doubles, 3)).outcome, FitOutcome::determined);
}

TEST(Fit, NoPointThatCountsGivesNaN)
{
    for (LineFit const& fit :
         {line({}), fitLine({}), fitLine(view(kSquare), sinew::packed(std::vector<double>{0, -1, kNaN}))}) {
        EXPECT_EQ(fit.outcome, FitOutcome::noPoints);
        expectNaN(fit);
    }
    EXPECT_EQ(plane({}).outcome, FitOutcome::noPoints);
    expectNaN(plane({}));
}

TEST(Fit, AnInfiniteOrNaNCoordinateGivesNaN)
{
    for (double const bad : {kInfinity, -kInfinity, kNaN}) {
        for (int k = 0; k < 3; ++k) {
            Points points = kSquare;
            points[2][k] = bad;
            EXPECT_EQ(line(points).outcome, FitOutcome::notFinite);
            EXPECT_EQ(plane(points).outcome, FitOutcome::notFinite);
            expectNaN(line(points));
            expectNaN(plane(points));
        }
    }
    std::vector<double> const weights = {1, 1, kInfinity, 1};
    EXPECT_EQ(fitPlane(view(kSquare), sinew::packed(weights)).outcome, FitOutcome::notFinite);
}

TEST(Fit, PointsWithoutAPositiveWeightDoNotCount)
{
    Points points = kSquare;
    std::vector<double> weights(points.size(), 1.0);
    for (double const weight : {0.0, -0.0, -1.0, kNaN, -kInfinity}) {
        points.insert(points.begin() + 2, {kNaN, kInfinity, 7});
        weights.insert(weights.begin() + 2, weight);
    }
    points.emplace_back(100, 100, 100); // without a weight
    PlaneFit const fit = fitPlane(view(points), sinew::packed(weights));
    EXPECT_TRUE(same(fit, plane(kSquare)));
}

TEST(Fit, AWeightCountsAsThatManyPoints)
{
    Points points, repeated;
    std::vector<float> weights;
    Random random(1513);
    for (int i = 0; i < 40; ++i) {
        points.push_back(random.point());
        weights.push_back(static_cast<float>(1 + random.below(5)));
        for (int k = 0; k < static_cast<int>(weights.back()); ++k) repeated.push_back(points.back());
    }
    PlaneFit const weighted = fitPlane(view(points), sinew::packed(weights));
    PlaneFit const expected = plane(repeated);
    EXPECT_LE(dist(weighted.normal, expected.normal), 1e-14);
    EXPECT_LE(dist(weighted.centroid, expected.centroid), 1e-15);
    EXPECT_NEAR(weighted.residual, expected.residual, 1e-15);
}

TEST(Fit, OnlyTheRatiosOfWeightsMatter)
{
    Random random(1514);
    Points const points = random.points(30);
    std::vector<double> weights;
    for (int i = 0; i < 30; ++i) weights.push_back(random.uniform(0.5, 2));
    PlaneFit const fit = fitPlane(view(points), sinew::packed(weights));
    for (double const scale : {0x1p-1000, 0x1p1000}) {
        std::vector<double> other = weights;
        for (double& weight : other) weight *= scale;
        EXPECT_TRUE(same(fit, fitPlane(view(points), sinew::packed(other)))) << scale;
    }
}

TEST(Fit, ReadsFloatsAtAnyStrideAndAlignment)
{
    Random random(1515);
    Points points;
    std::vector<float> weights;
    std::vector<unsigned char> bytes(1 + 70 * 23);
    for (std::size_t i = 0; i < 70; ++i) {
        float const xyz[3] = {static_cast<float>(random.uniform()), static_cast<float>(random.uniform()),
                              static_cast<float>(random.uniform())};
        weights.push_back(static_cast<float>(random.uniform()));
        std::memcpy(&bytes[1 + 23 * i], xyz, sizeof xyz);
        std::memcpy(&bytes[1 + 23 * i + 15], &weights.back(), sizeof(float));
        points.emplace_back(double{xyz[0]}, double{xyz[1]}, double{xyz[2]});
    }
    // The casts only carry addresses; the numbers are accessed byte by byte.
    sinew::Strided<float const> const positions(reinterpret_cast<float const*>(&bytes[1]), 70, 23);
    sinew::Strided<float const> const strided(reinterpret_cast<float const*>(&bytes[16]), 70, 23);
    EXPECT_TRUE(same(fitPlane(positions, strided), fitPlane(view(points), sinew::packed(weights))));
}

TEST(Fit, TheGreatestComponentOfADirectionIsPositive)
{
    Random random(1516);
    for (int trial = 0; trial < 200; ++trial) {
        Points const points = random.points(6);
        for (Vector3 const& v : {line(points).direction, plane(points).normal}) {
            double const high = std::fmax(v.x, std::fmax(v.y, v.z)), low = std::fmin(v.x, std::fmin(v.y, v.z));
            ASSERT_GE(high, -low);
            ASSERT_NEAR(v.length(), 1, 4e-16);
        }
    }
}

TEST(Fit, SmallSpreadsOfPointsInAPlaneAreRoundingErrors)
{
    // The covariance alone would give 1e-8 here.
    Random random(1517);
    for (int trial = 0; trial < 200; ++trial) {
        UVector3 const u(random.point());
        UVector3 const v(cross(u, random.point()));
        Points points;
        for (int i = 0; i < 30; ++i) {
            double const x = random.uniform();
            points.push_back(x * u + random.uniform() * v);
        }
        ASSERT_LE(plane(points).residual, 1e-15);
    }
}

TEST(Fit, HostileInputAlwaysHasAnOutcome)
{
    Random random(1518);
    for (int trial = 0; trial < 20000; ++trial) {
        Points points;
        std::vector<double> weights;
        for (int i = random.below(9); i > 0; --i) {
            points.push_back(random.hostilePoint());
            weights.push_back(random.hostile());
        }
        PlaneFit const fit = random.oneIn(2) ? plane(points) : fitPlane(view(points), sinew::packed(weights));
        bool const isNumber = fit.outcome == FitOutcome::determined || fit.outcome == FitOutcome::undetermined;
        ASSERT_EQ(isNumber, std::isfinite(fit.normal.x) && std::isfinite(fit.centroid.x));
        if (isNumber) {
            ASSERT_NEAR(fit.normal.length(), 1, 1e-15);
            ASSERT_LE(fit.spreads[0], fit.spreads[1]);
            ASSERT_LE(fit.spreads[1], fit.spreads[2]);
        } else {
            expectNaN(fit);
        }
    }
}

// As a robust fit leaves it, which lowers the weights of outliers.
TEST(Fit, FarPointsOfSmallWeightDoNotDisturbTheOthers)
{
    test::Random random(1502);
    std::vector<Vector3> points;
    for (int i = 0; i < 6; ++i) points.push_back(random.point(-1e-3, 1e-3));
    sinew::LineFit const line = sinew::fitLine(sinew::coordinatesOf(points.data(), points.size()));
    sinew::PlaneFit const plane = sinew::fitPlane(sinew::coordinatesOf(points.data(), points.size()));
    for (double const far : {1e6, 1e9}) {
        for (double const weight : {1e-50, 1e-100}) {
            std::vector<Vector3> all = points;
            all.push_back(Vector3(1, 3, -2) * far);
            std::vector<double> weights(6, 1.0);
            weights.push_back(weight);
            auto const coordinates = sinew::coordinatesOf(all.data(), all.size());
            sinew::LineFit const otherLine = sinew::fitLine(coordinates, sinew::packed(weights));
            sinew::PlaneFit const otherPlane = sinew::fitPlane(coordinates, sinew::packed(weights));
            EXPECT_LT((otherLine.direction - line.direction).length(), 1e-14);
            EXPECT_LT((otherPlane.normal - plane.normal).length(), 1e-14);
            for (int k = 0; k < 3; ++k) EXPECT_NEAR(otherLine.spreads[k] / line.spreads[k], 1.0, 1e-13);
        }
    }
}

TEST(Fit, NoComponentOfADirectionIsNegativeZero)
{
    std::vector<Vector3> const points = {{1.7e308, 0, 0}, {-1.7e308, 0, 0}, {1e308, 1.7e308, 0}};
    auto const coordinates = sinew::coordinatesOf(points.data(), points.size());
    EXPECT_FALSE(std::signbit(sinew::fitLine(coordinates).direction.z));
    EXPECT_FALSE(std::signbit(sinew::fitPlane(coordinates).normal.x));
    EXPECT_FALSE(std::signbit(sinew::fitPlane(coordinates).normal.y));
}
