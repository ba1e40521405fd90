// fitLine and fitPlane against 320-bit arithmetic on the same coordinates.

#include <sinew/queries/fit.h>

#include <cmath>
#include <cstdio>

#include <gtest/gtest.h>

#include "support/random.h"
#include "support/trials.h"
#include "support/wide_real.h"

using test::Random;
using test::WideReal;

namespace {

constexpr double kUnit = 0x1p-53;

struct Cloud
{
    std::vector<Vector3> points;
    std::vector<double> weights;
};

// Points in a box of three widths, turned, moved away from the origin, at any scale.
Cloud cloud(Random& random)
{
    int const count = 3 + random.below(random.oneIn(8) ? 200 : 10);
    double const widths[3] = {1, random.oneIn(2) ? random.uniform(0.1, 1) : random.spread(-26, 0),
                              random.oneIn(2) ? random.uniform(0, 0.1) : random.spread(-50, -3)};
    UVector3 const u(random.point()), side(random.point());
    UVector3 const v(cross(u, side));
    Vector3 const w = cross(u, v);
    double const scale = std::ldexp(random.uniform(1, 2), random.below(998) - 499);
    Vector3 const away = random.oneIn(2) ? Vector3() : random.point() * std::ldexp(1.0, random.below(30));
    Cloud result;
    for (int i = 0; i < count; ++i) {
        Vector3 const p = random.point();
        result.points.push_back((away + p.x * widths[0] * u + p.y * widths[1] * v + p.z * widths[2] * w) * scale);
        result.weights.push_back(i > 0 && random.oneIn(8) ? 0.0 : random.uniform(0.1, 1) * scale);
    }
    return result;
}

struct WideFit
{
    WideReal centroid[3];
    test::WideEigensystem axes; // of the covariance
};

WideFit wideFit(Cloud const& cloud)
{
    WideFit fit;
    WideReal total;
    for (double const weight : cloud.weights) total += weight;
    for (std::size_t i = 0; i < cloud.points.size(); ++i) {
        for (int k = 0; k < 3; ++k) fit.centroid[k] += cloud.weights[i] * WideReal(cloud.points[i][k]) / total;
    }
    WideReal m[3][3];
    for (std::size_t i = 0; i < cloud.points.size(); ++i) {
        for (int j = 0; j < 3; ++j) {
            for (int k = 0; k <= j; ++k) {
                WideReal const pj = cloud.points[i][j] - fit.centroid[j], pk = cloud.points[i][k] - fit.centroid[k];
                m[j][k] += cloud.weights[i] * pj * pk / total;
            }
        }
    }
    fit.axes = test::wideEigensystem(m);
    return fit;
}

// The angle between a unit vector and an exact axis, either way round.
double angleTo(Vector3 const& found, WideReal const (&exact)[3])
{
    WideReal square;
    for (int k = 0; k < 3; ++k) {
        int const i = (k + 1) % 3, j = (k + 2) % 3;
        WideReal const component = found[i] * exact[j] - found[j] * exact[i];
        square += component * component;
    }
    return sqrt(square).toDouble();
}

double spread(WideFit const& fit, int k)
{
    return fit.axes.values[k] < 0 ? 0.0 : sqrt(fit.axes.values[k]).toDouble();
}

// Errors relative to what the docstrings promise; all in units of 2^-53.
struct Worst
{
    double angle = 0;    // times gap / largest spread
    double spread = 0;   // relative to the largest spread
    double centroid = 0; // relative to the largest coordinate
};

void compareSpreads(double const (&found)[3], WideFit const& exact, Worst& worst)
{
    for (int k = 0; k < 3; ++k) {
        double const error = std::fabs(found[k] - spread(exact, k)) / spread(exact, 2);
        worst.spread = std::fmax(worst.spread, error / kUnit);
    }
}

void compareCentroid(Vector3 const& found, Cloud const& cloud, WideFit const& exact, Worst& worst)
{
    double largest = 0;
    for (Vector3 const& p : cloud.points) largest = std::fmax(largest, p.length());
    for (int k = 0; k < 3; ++k) {
        double const error = std::fabs((exact.centroid[k] - found[k]).toDouble());
        worst.centroid = std::fmax(worst.centroid, error / largest / kUnit);
    }
}

void compareAngle(Vector3 const& found, WideFit const& exact, int axis, int rival, Worst& worst)
{
    double const gap = std::fabs(spread(exact, axis) - spread(exact, rival));
    double const error = angleTo(found, exact.axes.vectors[axis]) * gap / spread(exact, 2);
    worst.angle = std::fmax(worst.angle, error / kUnit);
}

} // namespace

TEST(Fit, ErrorsAreAFewRoundingsAgainstExactArithmetic)
{
    Random random(1510);
    Worst worst;
    long determined = 0;
    for (long trial = test::trials(300, 20000); trial > 0; --trial) {
        Cloud const c = cloud(random);
        auto const points = sinew::coordinatesOf(c.points.data(), c.points.size());
        auto const weights = sinew::packed(c.weights);
        sinew::LineFit const line = sinew::fitLine(points, weights);
        sinew::PlaneFit const plane = sinew::fitPlane(points, weights);
        WideFit const exact = wideFit(c);
        if (spread(exact, 2) == 0) continue; // one point only
        compareCentroid(line.centroid, c, exact, worst);
        compareSpreads(plane.spreads, exact, worst);
        double const residual = std::hypot(spread(exact, 0), spread(exact, 1));
        ASSERT_NEAR(line.residual, residual, 32 * kUnit * spread(exact, 2));
        ASSERT_EQ(plane.residual, plane.spreads[0]);
        if (line.outcome == sinew::FitOutcome::determined) compareAngle(line.direction, exact, 2, 1, worst);
        if (plane.outcome != sinew::FitOutcome::determined) continue;
        compareAngle(plane.normal, exact, 0, 1, worst);
        ++determined;
    }
    std::printf("angle %.1f, spread %.1f, centroid %.1f; %ld planes determined\n", worst.angle, worst.spread,
                worst.centroid, determined);
    EXPECT_LE(worst.angle, 32);
    EXPECT_LE(worst.spread, 32);
    EXPECT_LE(worst.centroid, 4);
    EXPECT_GE(determined, 100);
}
