// The pictures of docs/fields.md that show sets of points: a fitted and a thickened ellipsoid, and a proximity grid.

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>

#include <sinew/fields/impl_ellipsoid.h>
#include <sinew/fields/proximity_tester.h>

#include <tool/io/files.h>

#include "figure.h"
#include "support/random.h"

namespace {

using figures::Frame;
using figures::Vector2;
using tool::Canvas;
namespace colours = figures::colours;

constexpr double kPi = 3.14159265358979323846;

// The outline of an ellipsoid, seen along z.
std::vector<Vector2> outline(ImplEllipsoid const& e)
{
    // On the outline the derivative of the quadratic form along z is zero. Eliminating z gives a form in x and y, whose
    // matrix is the Schur complement of the entry (2, 2).
    Matrix3 const& s = e.shape;
    double const a = s(0, 0) - s(0, 2) * s(0, 2) / s(2, 2);
    double const b = s(0, 1) - s(0, 2) * s(1, 2) / s(2, 2);
    double const c = s(1, 1) - s(1, 2) * s(1, 2) / s(2, 2);
    std::vector<Vector2> corners;
    for (int i = 0; i < 180; ++i) {
        double const x = std::cos(2 * kPi * i / 180), y = std::sin(2 * kPi * i / 180);
        double const radius = 1 / std::sqrt(a * x * x + 2 * b * x * y + c * y * y);
        corners.emplace_back(e.centre.x + radius * x, e.centre.y + radius * y);
    }
    return corners;
}

// The points of a limb: a bent tube, rotated.
std::vector<Vector3> limbPoints()
{
    test::Random random(11);
    std::vector<Vector3> points;
    Matrix3 const turn = Matrix3::rotationMatrix(UVector3(0.2, 0.1, 1), 0.5);
    for (int i = 0; i < 260; ++i) {
        double const t = random.uniform(-1, 1), angle = random.uniform(0, 2 * kPi), radius = 0.55 - 0.15 * t;
        points.push_back(turn * Vector3(2.4 * t, radius * std::cos(angle) + 0.25 * t * t, radius * std::sin(angle)));
    }
    return points;
}

void drawEllipsoid(Canvas& canvas)
{
    std::vector<Vector3> const points = limbPoints();
    ImplEllipsoid const fitted(points);
    std::unique_ptr<ImplEllipsoid> const thick(fitted.thicken(0.4));
    auto const radius = [&fitted](Vector3 const& p) {
        double value = 0;
        fitted.evaluate(p, &value, nullptr, nullptr);
        return value;
    };

    Frame const frame{{380, 235}, 78};
    canvas.polygon(frame.line(outline(*thick)), tool::Colour::hex(0xe8f1f5));
    canvas.polyline(frame.line(outline(*thick)), {colours::blue, 1.6, {5, 5}}, true);
    canvas.polygon(frame.line(outline(fitted)), tool::Colour::hex(0xcfe3ec));
    canvas.polyline(frame.line(outline(fitted)), {colours::blue, 2.2}, true);
    std::vector<std::vector<tool::Point>> dots; // a line without length is a dot as wide as its stroke
    for (Vector3 const& p : points) dots.push_back({frame(p), frame(p)});
    canvas.polylines(dots, {tool::palette::ink.withAlpha(0.6), 2.8});
    Vector3 const& farthest = *std::max_element(
        points.begin(), points.end(), [&](Vector3 const& a, Vector3 const& b) { return radius(a) < radius(b); });
    canvas.ring(frame(farthest), 4.7, {colours::red, 2.2});
    tool::Point const at = frame(farthest);
    canvas.text({at.x - 150, at.y - 58}, "the point with the", {14, colours::red});
    canvas.text({at.x - 150, at.y - 39}, "largest radius, 1", {14, colours::red});
    canvas.text({21, 28}, "solid: fitted to the points; dashed: thickened by 0.4", {14});
}

void drawProximity(Canvas& canvas)
{
    constexpr double kRadius = 1;
    std::vector<Vector3> const points = {{0, 0, 0},   {1.1, 0.6, 0}, {2.3, 0.4, 0}, {3.2, 1.3, 0},
                                         {6.3, 4, 0}, {1.2, 4, 0},   {6.3, 1.7, 0}};
    ProximityTester const tester(points, kRadius);
    Frame const frame{{120, 378}, 72};
    figures::paint(canvas, {0, 0, canvas.width(), canvas.height()}, frame, 1, [&](Vector2 const& at) {
        Vector3 const p(at.x, at.y, 0);
        bool const near =
            std::any_of(points.begin(), points.end(), [&](Vector3 const& q) { return dist(p, q) <= kRadius; });
        bool const tested = tester.test(p);
        if (near) return tested ? colours::lightBlue : colours::red;
        return tested ? colours::paleBlue : tool::palette::paper;
    });
    std::vector<std::vector<tool::Point>> cells;
    for (int i = 0; i < tester.cellCount[0]; ++i) {
        for (int j = 0; j < tester.cellCount[1]; ++j) {
            Vector2 const low(tester.origin.x + i * tester.cellSize[0], tester.origin.y + j * tester.cellSize[1]);
            Vector2 const high(low.x + tester.cellSize[0], low.y + tester.cellSize[1]);
            cells.push_back(frame.line({low, {high.x, low.y}, high, {low.x, high.y}}));
        }
    }
    canvas.polylines(cells, {colours::grey, 0.8}, true);
    for (Vector3 const& p : points) {
        canvas.ring(frame(p), kRadius * frame.scale, {tool::palette::ink, 0.8, {3, 3}});
        canvas.circle(frame(p), 4.3, tool::palette::ink);
    }
    auto const legend = [&canvas](double x, tool::Colour colour, std::string const& words) {
        canvas.rectangle({x, 469, 16, 16}, colour);
        canvas.text({x + 24, 482}, words, {14});
    };
    legend(48, colours::lightBlue, "within the radius: the test is true");
    legend(336, colours::paleBlue, "farther, but the test is true: the permitted error");
}

} // namespace

int main(int argc, char** argv)
{
    std::string const folder = argc > 1 ? argv[1] : ".";
    tool::writeFile(folder + "/fields_ellipsoid.svg", tool::svgOf(760, 440, drawEllipsoid));
    tool::writeFile(folder + "/fields_proximity.svg", tool::svgOf(745, 500, drawProximity));
}
