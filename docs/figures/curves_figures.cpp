// The pictures of the smooth distances in docs/fields.md, as PNG.
//
// The first shows the level lines of a field with its gradient, without and with a blend. The second shows reflection
// lines: the image of stripes in a polished surface whose height is the field. They bend where the field's second
// derivative jumps. The third shows where the gradients of both smooth distances jump.

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include <sinew/sinew.h>

#include <tool/io/files.h>

#include "figure.h"

namespace {

using tool::Colour;
using tool::palette::ink;
using tool::palette::paper;
namespace colours = figures::colours;

struct Value
{
    double dist;
    Vector3 grad;
};
using Field = std::function<Value(Vector3 const&)>;

// sinew's field: the squared distance, smooth over the width h.
Field smoothField(std::vector<Vector3> polyline, double h)
{
    return [polyline = std::move(polyline), h](Vector3 const& q) {
        Value value{};
        smoothDistToPolyline(polyline, q, h, &value.dist, &value.grad, nullptr);
        return value;
    };
}

// The squared distance with the common quadratic blend, which has one continuous derivative.
Field quadraticField(std::vector<Vector3> polyline, double h)
{
    return [polyline = std::move(polyline), h](Vector3 const& q) {
        Value value{1e13, {}};
        for (std::size_t k = 0; k + 1 < polyline.size(); ++k) {
            double t = 0;
            double const d = distSqToLineSegment(q, polyline[k], polyline[k + 1], &t);
            Vector3 const grad = 2 * (q - (polyline[k] + t * (polyline[k + 1] - polyline[k])));
            double const share = std::clamp(0.5 + 0.5 * (value.dist - d) / h, 0.0, 1.0); // of d
            value = {value.dist + share * (d - value.dist) - h * share * (1 - share),
                     share * grad + (1 - share) * value.grad};
        }
        return value;
    };
}

constexpr double kPanel = 380;
constexpr double kGap = 14;
constexpr double kCaption = 30;

// A row of square panels, each showing the square [-extent, extent]^2 of the plane z = 0.
class Panels
{
public:
    Panels(int count, double extent)
        : canvas_(count * kPanel + (count + 1) * kGap, kPanel + kGap + kCaption), extent_(extent)
    {
    }

    void paint(int panel, std::function<Colour(Vector3 const&)> const& colourAt)
    {
        constexpr int kSamples = 3; // along each side of a pixel
        figures::paint(canvas_, place(panel), frame(panel), kSamples, [&](figures::Vector2 const& p) {
            return colourAt({p.x, p.y, 0});
        });
    }

    void stroke(int panel, std::vector<Vector3> const& line, Colour const& colour, double width)
    {
        std::vector<tool::Point> points;
        for (Vector3 const& p : line) points.push_back(frame(panel)(p));
        canvas_.beginClip(place(panel));
        canvas_.polyline(points, {colour, width});
        canvas_.endClip();
    }

    void arrow(int panel, Vector3 const& from, Vector3 const& step, Colour const& colour)
    {
        Vector3 const tip = from + step;
        Vector3 const across(-step.y, step.x, 0);
        stroke(panel, {from, tip}, colour, 1.3);
        stroke(panel, {tip - 0.35 * step + 0.2 * across, tip, tip - 0.35 * step - 0.2 * across}, colour, 1.3);
    }

    void caption(int panel, char const* words) { canvas_.text({place(panel).x + 2, kPanel + kGap + 20}, words, {15}); }

    void save(std::string const& file) const { tool::writeFile(file, canvas_.png()); }

private:
    static tool::Rect place(int panel) { return {kGap + panel * (kPanel + kGap), kGap, kPanel, kPanel}; }

    figures::Frame frame(int panel) const
    {
        tool::Rect const where = place(panel);
        return {{where.x + kPanel / 2, where.y + kPanel / 2}, kPanel / (2 * extent_)};
    }

    tool::Canvas canvas_;
    double extent_;
};

// Bands between level lines of the distance. The lines are about one pixel wide, independent of the slope.
Colour levelColour(Value const& value, double spacing, double pixel)
{
    double const distance = std::sqrt(std::max(0.0, value.dist));
    double const slope = distance > 0 ? value.grad.length() / (2 * distance) : 1.0;
    double const level = distance / spacing;
    double const away = std::fabs(level - std::round(level)) * spacing / std::max(slope, 1e-3) / pixel;
    double const tint = 0.55 * std::exp(-1.2 * distance);
    return mix(ink, mix(paper, colours::blue, tint), std::clamp(away - 0.1, 0.0, 1.0));
}

void drawLevelLines(std::string const& folder)
{
    std::vector<Vector3> const polyline = {
        {-0.95, -0.5, 0}, {-0.45, 0.6, 0}, {-0.1, -0.35, 0}, {0.35, -0.35, 0}, {0.75, 0.7, 0}};
    double const extent = 1.3;
    Field const fields[] = {smoothField(polyline, 1e-6), smoothField(polyline, 0.35)};
    char const* const captions[] = {"almost no blend: the distance, with creases", "h = 0.35: the smooth distance"};
    Panels panels(2, extent);
    for (int panel = 0; panel < 2; ++panel) {
        Field const& field = fields[panel];
        panels.paint(panel, [&](Vector3 const& p) { return levelColour(field(p), 0.1, 2 * extent / kPanel); });
        for (double y = -1.17; y < extent; y += 0.26) {
            for (double x = -1.17; x < extent; x += 0.26) {
                Vector3 const p(x, y, 0);
                Vector3 const grad = field(p).grad;
                if (grad.length() > 0.02) panels.arrow(panel, p, grad * 0.075, colours::red);
            }
        }
        panels.stroke(panel, polyline, ink, 3.5);
        panels.caption(panel, captions[panel]);
    }
    panels.save(folder + "/fields_smooth_distance.png");
}

// Stripes of the surroundings, reflected in a polished surface of height scale * field that is seen from straight
// above.
Colour reflectionColour(Value const& value, double scale)
{
    UVector3 const normal(-scale * value.grad.x, -scale * value.grad.y, 1.0);
    Vector3 const mirrored = 2 * normal.z * normal - Vector3(0, 0, 1);
    double const angle = std::atan2(0.8 * mirrored.x + 0.6 * mirrored.y, mirrored.z);
    double const wave = 0.5 + 0.5 * std::tanh(5 * std::sin(45 * angle));
    return mix(ink, paper, wave);
}

void drawReflectionLines(std::string const& folder)
{
    std::vector<Vector3> const polyline = {{-3.2, 2.5, 0}, {-2.2, -2.8, 0}, {2.8, -2.2, 0}};
    double const h = 2.0; // below every squared distance in the picture, so that the width is never reduced
    Field const fields[] = {smoothField(polyline, 1e-6), quadraticField(polyline, h), smoothField(polyline, h)};
    char const* const captions[] = {"minimum: the lines break", "quadratic blend: the lines bend sharply",
                                    "sinew: the lines stay smooth"};
    Panels panels(3, 1.0);
    for (int panel = 0; panel < 3; ++panel) {
        Field const& field = fields[panel];
        panels.paint(panel, [&](Vector3 const& p) { return reflectionColour(field(p), 0.1); });
        panels.caption(panel, captions[panel]);
    }
    panels.save(folder + "/fields_reflection_lines.png");
}

// The gradient of the distance from a field of squared distances.
Vector3 lengthGradient(Value const& value)
{
    return value.dist > 0 ? value.grad * (0.5 / std::sqrt(value.dist)) : Vector3();
}

// How much the gradient changes across a pixel: a jump shows as a line.
template <typename Gradient>
Colour jumpColour(Gradient const& gradientAt, Vector3 const& p, double pixel)
{
    constexpr double kStrongest = 0.25; // of gradients of length 1
    double change = 0.0;
    for (Vector3 const& step : {Vector3(0.5 * pixel, 0, 0), Vector3(0, 0.5 * pixel, 0)}) {
        change = std::max(change, (gradientAt(p + step) - gradientAt(p - step)).length());
    }
    return mix(paper, colours::red, std::clamp(change / kStrongest, 0.0, 1.0));
}

void drawGradientJumps(std::string const& folder)
{
    std::vector<Vector3> const polyline = {
        {-0.95, -0.5, 0}, {-0.45, 0.6, 0}, {-0.1, -0.35, 0}, {0.35, -0.35, 0}, {0.75, 0.7, 0}};
    double const extent = 1.3;
    double const pixel = 2 * extent / kPanel;
    double const width = 0.35;
    Field const defined = smoothField(polyline, width * width);
    auto const symmetricColour = [&](Vector3 const& q) {
        sinew::SmoothDistance const f = sinew::smoothDistance(polyline, q, width);
        if (f.dist < 0) return mix(paper, colours::blue, 0.85);
        return levelColour({f.dist * f.dist, 2 * f.dist * f.grad}, 0.1, pixel);
    };
    Panels panels(4, extent);
    panels.paint(0, [&](Vector3 const& p) { return levelColour(defined(p), 0.1, pixel); });
    panels.paint(1, [&](Vector3 const& p) {
        return jumpColour([&](Vector3 const& q) { return lengthGradient(defined(q)); }, p, pixel);
    });
    panels.paint(2, symmetricColour);
    panels.paint(3, [&](Vector3 const& p) {
        return jumpColour([&](Vector3 const& q) { return sinew::smoothDistance(polyline, q, width).grad; }, p, pixel);
    });
    char const* const captions[] = {"smoothDistToPolyline, h = 0.35 squared", "changes of its gradient",
                                    "smoothDistance, width 0.35; blue: negative", "changes of its gradient"};
    for (int panel = 0; panel < 4; ++panel) {
        panels.stroke(panel, polyline, ink, 2.0);
        panels.caption(panel, captions[panel]);
    }
    panels.save(folder + "/fields_smooth_distance_jumps.png");
}

} // namespace

int main(int argc, char** argv)
{
    std::string const folder = argc > 1 ? argv[1] : ".";
    drawLevelLines(folder);
    drawReflectionLines(folder);
    drawGradientJumps(folder);
}
