// The pictures of docs/fields.md that show sets of points: a fitted and a thickened ellipsoid, and a proximity grid.

#include <cmath>
#include <memory>

#include <sinew/fields/impl_ellipsoid.h>
#include <sinew/fields/proximity_tester.h>

#include "support/random.h"
#include "svg.h"

using figures::Point;
using figures::Svg;

namespace {

constexpr double kPi = 3.14159265358979323846;

// The outline of an ellipsoid, seen along z.
std::vector<Point> outline(ImplEllipsoid const& e)
{
    // On the outline the derivative of the quadratic form along z is zero. Eliminating z gives a form in x and y, whose
    // matrix is the Schur complement of the entry (2, 2).
    Matrix3 const& s = e.shape;
    double const a = s(0, 0) - s(0, 2) * s(0, 2) / s(2, 2);
    double const b = s(0, 1) - s(0, 2) * s(1, 2) / s(2, 2);
    double const c = s(1, 1) - s(1, 2) * s(1, 2) / s(2, 2);
    std::vector<Point> corners;
    for (int i = 0; i < 180; ++i) {
        double const x = std::cos(2 * kPi * i / 180), y = std::sin(2 * kPi * i / 180);
        double const radius = 1 / std::sqrt(a * x * x + 2 * b * x * y + c * y * y);
        corners.emplace_back(e.centre.x + radius * x, e.centre.y + radius * y);
    }
    return corners;
}

void drawEllipsoid(std::string const& file)
{
    // The points of a limb: a bent tube, rotated.
    test::Random random(11);
    std::vector<Vector3> points;
    Matrix3 const turn = Matrix3::rotationMatrix(UVector3(0.2, 0.1, 1), 0.5);
    for (int i = 0; i < 260; ++i) {
        double const t = random.uniform(-1, 1), angle = random.uniform(0, 2 * kPi), radius = 0.55 - 0.15 * t;
        points.push_back(turn * Vector3(2.4 * t, radius * std::cos(angle) + 0.25 * t * t, radius * std::sin(angle)));
    }
    ImplEllipsoid const fitted(points);
    std::unique_ptr<ImplEllipsoid> const thick(fitted.thicken(0.4));

    Svg svg(760, 440);
    svg.origin = {380, 205};
    svg.scale = 78;
    svg.polygon(outline(*thick), "fill='#e8f1f5' stroke='#0b6fa4' stroke-width='1.6' stroke-dasharray='6 4'");
    svg.polygon(outline(fitted), "fill='#cfe3ec' stroke='#0b6fa4' stroke-width='2.2'");
    Vector3 const* farthest = &points[0];
    auto const radius = [&fitted](Vector3 const& p) {
        double value = 0;
        fitted.evaluate(p, &value, nullptr, nullptr);
        return value;
    };
    for (Vector3 const& p : points) {
        svg.circle({p.x, p.y}, 0.018, "fill='#2b2b2b' fill-opacity='0.6'");
        if (radius(p) > radius(*farthest)) farthest = &p;
    }
    svg.circle({farthest->x, farthest->y}, 0.06, "fill='none' stroke='#d1495b' stroke-width='2.2'");
    svg.text({farthest->x - 1.9, farthest->y + 0.75}, "the point with the", "fill='#d1495b'");
    svg.text({farthest->x - 1.9, farthest->y + 0.5}, "largest radius, 1", "fill='#d1495b'");
    svg.text({-4.6, 2.65}, "solid: fitted to the points; dashed: thickened by 0.4");
    svg.save(file);
}

void drawProximity(std::string const& file)
{
    constexpr double kRadius = 1;
    std::vector<Vector3> const points = {{0, 0, 0},   {1.1, 0.6, 0}, {2.3, 0.4, 0}, {3.2, 1.3, 0},
                                         {6.3, 4, 0}, {1.2, 4, 0},   {6.3, 1.7, 0}};
    ProximityTester const tester(points, kRadius);
    auto const isNear = [&](Vector3 const& p) {
        for (Vector3 const& q : points) {
            if (dist(p, q) <= kRadius) return true;
        }
        return false;
    };
    Svg svg(745, 500);
    svg.origin = {120, 122};
    svg.scale = 72;

    // The plane is coloured row by row, with one rectangle for each run of points of the same kind. Bit 0 of a kind
    // says whether the point is within the radius, bit 1 whether it tests true.
    char const* const colours[] = {"", "#d1495b", "#d7e8f0", "#7fb6d0"};
    char const* const kCrisp = " shape-rendering='crispEdges'";
    constexpr double kStep = 0.02;
    for (double y = -1.4; y < 5.6; y += kStep) {
        double start = -1.5;
        int kind = 0;
        for (double x = -1.5; x < 8; x += kStep) {
            Vector3 const p(x + kStep / 2, y + kStep / 2, 0);
            int const next = (isNear(p) ? 1 : 0) + (tester.test(p) ? 2 : 0);
            if (next == kind) continue;
            if (kind) svg.rect({start, y}, {x, y + kStep * 1.05}, std::string("fill='") + colours[kind] + "'" + kCrisp);
            start = x;
            kind = next;
        }
    }
    for (int i = 0; i < tester.cellCount[0]; ++i) {
        for (int j = 0; j < tester.cellCount[1]; ++j) {
            Point const low(tester.origin.x + i * tester.cellSize[0], tester.origin.y + j * tester.cellSize[1]);
            svg.rect(low, {low.x + tester.cellSize[0], low.y + tester.cellSize[1]},
                     "fill='none' stroke='#8a8378' stroke-width='0.8'");
        }
    }
    for (Vector3 const& p : points) {
        svg.circle({p.x, p.y}, kRadius, "fill='none' stroke='#2b2b2b' stroke-width='0.8' stroke-dasharray='3 3'");
        svg.circle({p.x, p.y}, 0.06, "fill='#2b2b2b'");
    }
    svg.origin = {48, 15};
    svg.scale = 1;
    auto const legend = [&svg](double x, std::string const& colour, std::string const& words) {
        svg.rect({x, 0}, {x + 16, 16}, "fill='" + colour + "'");
        svg.text({x + 24, 3}, words);
    };
    legend(0, colours[3], "within the radius, tests true");
    legend(270, colours[2], "farther than the radius, tests true as well");
    svg.save(file);
}

} // namespace

int main(int argc, char** argv)
{
    std::string const folder = argc > 1 ? argv[1] : ".";
    drawEllipsoid(folder + "/fields_ellipsoid.svg");
    drawProximity(folder + "/fields_proximity.svg");
}
