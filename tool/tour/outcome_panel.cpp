#include <tool/tour/outcome_panel.h>

#include <cmath>
#include <functional>

#include <sinew/core/vector_geometry.h>
#include <sinew/queries/intersections.h>

#include <tool/draw/view.h>

namespace tool {
namespace {

constexpr double kTitleHeight = 36;
constexpr double kCell = 192;
constexpr double kLineHalf = 1.25; // how far lines are drawn in both directions
constexpr double kTol = 1e-6;
constexpr double kPi = 3.14159265358979323846;

Colour const kFirst = Colour::hex(0x0072b2);
Colour const kSecond = Colour::hex(0xd55e00);
Colour const kFace = Colour::hex(0xbfd7ea, 0.75);
Colour const kOtherFace = Colour::hex(0xf3d2b3, 0.75);

UVector3 const kX(1, 0, 0);
UVector3 const kY(0, 1, 0);
UVector3 const kZ(0, 0, 1);

// Draws in the box [-1, 1]^3, seen from the front right and a little from above.
class Pen
{
public:
    Pen(Canvas& sheet, Rect const& cell) : sheet_(sheet), view_({-1, -1, -1}, {1, 1, 1}, 28, 22, cell, 1.5) {}

    void line(Vector3 const& p, Vector3 const& d, Colour colour, double width = 2.5)
    {
        segment(p - d * kLineHalf, p + d * kLineHalf, {colour, width});
    }

    // The half of a line that is nearer to the eye, from the point where it crosses a face.
    void nearHalf(Vector3 const& p, Vector3 const& d, Vector3 const& hit, Colour colour)
    {
        Vector3 const end = p + d * (d * view_.forward() < 0 ? kLineHalf : -kLineHalf);
        segment(hit, end, {colour, 2.5});
    }

    void dashed(Vector3 const& a, Vector3 const& b) { segment(a, b, {palette::faintInk, 1.5, {4, 4}}); }

    void plane(Vector3 const& q, UVector3 const& n, Colour fill, double half = 0.85)
    {
        Vector3 e1;
        Vector3 e2;
        getBasis(n, e1, e2);
        face({q + (e1 + e2) * half, q + (e1 - e2) * half, q - (e1 + e2) * half, q - (e1 - e2) * half}, fill);
    }

    void face(std::vector<Vector3> const& corners, Colour fill)
    {
        std::vector<Point> outline;
        for (Vector3 const& p : corners) outline.push_back(view_(p));
        sheet_.polygon(outline, fill);
        sheet_.polyline(outline, {palette::faintInk, 1}, true);
    }

    void sphere(Vector3 const& centre, double radius)
    {
        Point const middle = view_(centre);
        Point const side = view_(centre + view_.right() * radius);
        double const onSheet = std::hypot(side.x - middle.x, side.y - middle.y);
        sheet_.circle(middle, onSheet, kFace);
        sheet_.ring(middle, onSheet, {palette::faintInk, 1});
        std::vector<Point> equator;
        for (int i = 0; i < 48; ++i) {
            double const angle = 2 * kPi * i / 48;
            equator.push_back(view_(centre + Vector3(std::cos(angle), 0, std::sin(angle)) * radius));
        }
        sheet_.polyline(equator, {palette::rule, 1}, true);
    }

    void point(Vector3 const& p)
    {
        sheet_.circle(view_(p), 6, palette::paper);
        sheet_.circle(view_(p), 4.5, palette::accent);
    }

private:
    void segment(Vector3 const& a, Vector3 const& b, Stroke const& stroke) { sheet_.line(view_(a), view_(b), stroke); }

    Canvas& sheet_;
    View view_;
};

struct Scene
{
    int expected;
    char const* label;
    std::function<int(Pen&)> draw; // returns the record's code
};

struct Row
{
    char const* record;
    std::vector<Scene> scenes;
};

int lineLine(Pen& pen, Vector3 const& p1, UVector3 const& d1, Vector3 const& p2, UVector3 const& d2,
             bool drawSecond = true)
{
    LineLineInt const r(p1, d1, p2, d2, kTol);
    if (drawSecond) pen.line(p2, d2, kSecond);
    pen.line(p1, d1, kFirst);
    if (r.result == 1 || r.result == 3) pen.dashed(p1 + d1 * r.t1, p2 + d2 * r.t2);
    if (r.result == 0) pen.point(r.point);
    return r.result;
}

Row lineLineRow()
{
    UVector3 const rising(1, 0.6, 0);
    return {"LineLineInt",
            {{0, "the lines meet",
              [=](Pen& pen) {
                  return lineLine(pen, {-0.2, 0, 0}, kX, {0.3, 0, 0}, UVector3(0.2, 1, 0));
              }},
             {1, "parallel, apart",
              [=](Pen& pen) {
                  return lineLine(pen, {0, 0.4, 0}, rising, {0, -0.4, 0}, rising);
              }},
             {2, "parallel, coincident",
              [=](Pen& pen) {
                  pen.line({0, 0, 0}, rising, kSecond, 8); // visible on both sides of the first line
                  return lineLine(pen, {0, 0, 0}, rising, Vector3(rising) * 0.5, rising, false);
              }},
             {3, "skew", [=](Pen& pen) {
                  return lineLine(pen, {0, 0.5, 0}, UVector3(1, 0, 0.3), {0, -0.5, 0}, UVector3(0.3, 0, 1));
              }}}};
}

Row planePlaneRow()
{
    return {"PlanePlaneInt",
            {{0, "they meet in a line",
              [](Pen& pen) {
                  UVector3 const tilted(0.55, 1, 0);
                  PlanePlaneInt const r({0, -0.1, 0}, kY, {0, -0.1, 0}, tilted, kTol);
                  pen.plane({0, -0.1, 0}, kY, kFace);
                  pen.plane({0, -0.1, 0}, tilted, kOtherFace);
                  pen.line(r.point, r.dir * 0.72, palette::accent);
                  return r.result;
              }},
             {1, "parallel, apart",
              [](Pen& pen) {
                  pen.plane({0, -0.45, 0}, kY, kFace);
                  pen.plane({0, 0.45, 0}, kY, kOtherFace);
                  return PlanePlaneInt({0, -0.45, 0}, kY, {0, 0.45, 0}, kY, kTol).result;
              }},
             {2, "parallel, coincident", [](Pen& pen) {
                  pen.plane({-0.2, 0, -0.1}, kY, kFace, 0.75);
                  pen.plane({0.2, 0, 0.1}, kY, kOtherFace, 0.75);
                  return PlanePlaneInt({-0.2, 0, -0.1}, kY, {0.2, 0, 0.1}, kY, kTol).result;
              }}}};
}

int linePlane(Pen& pen, Vector3 const& p, UVector3 const& d)
{
    LinePlaneInt const r(p, d, {0, -0.2, 0}, kY, kTol);
    if (r.result != 2) pen.line(p, d, kFirst);
    pen.plane({0, -0.2, 0}, kY, kFace);
    if (r.result == 0) pen.nearHalf(p, d, r.point, kFirst);
    if (r.result != 0) pen.line(p, d, kFirst);
    if (r.result == 1) pen.dashed(p, {p.x, -0.2, p.z});
    pen.point(r.point);
    return r.result;
}

Row linePlaneRow()
{
    return {"LinePlaneInt",
            {{0, "it crosses the plane",
              [](Pen& pen) {
                  return linePlane(pen, {0, 0, 0}, UVector3(0.35, 1, 0.1));
              }},
             {1, "parallel, off the plane",
              [](Pen& pen) {
                  return linePlane(pen, {0, 0.55, 0}, kX);
              }},
             {2, "it lies in the plane", [](Pen& pen) {
                  return linePlane(pen, {0, -0.2, 0}, kX);
              }}}};
}

int lineTriangle(Pen& pen, Vector3 const& p, UVector3 const& d, bool degenerate = false)
{
    Vector3 const a(-0.8, -0.2, 0.7);
    Vector3 const b(0.9, -0.2, 0.4);
    Vector3 const c = degenerate ? (a + b) / 2 : Vector3(0, -0.2, -0.9);
    LineTriangleInt const r(p, d, a, b, c, kTol);
    bool const crosses = r.t != 0;
    if (crosses) pen.line(p, d, kFirst);
    pen.face({a, b, c}, kFace);
    if (crosses) {
        pen.nearHalf(p, d, r.point, kFirst);
        pen.point(r.point);
    } else {
        pen.line(p, d, kFirst);
    }
    return r.result;
}

Row lineTriangleRow()
{
    UVector3 const down(0.25, -1, 0.1);
    return {"LineTriangleInt",
            {{0, "it hits",
              [=](Pen& pen) {
                  return lineTriangle(pen, {0, 0.1, 0.05}, down);
              }},
             {1, "it misses",
              [=](Pen& pen) {
                  return lineTriangle(pen, {0.62, 0.1, -0.35}, down);
              }},
             {2, "it lies in the plane",
              [=](Pen& pen) {
                  return lineTriangle(pen, {0, -0.2, 0.1}, kX);
              }},
             {3, "parallel to the plane",
              [=](Pen& pen) {
                  return lineTriangle(pen, {0, 0.5, 0}, kX);
              }},
             {4, "degenerate triangle", [=](Pen& pen) {
                  return lineTriangle(pen, {0.1, 0.1, 0.4}, down, true);
              }}}};
}

int lineSphere(Pen& pen, Vector3 const& p)
{
    Vector3 const centre(0, -0.15, 0);
    double const radius = 0.75;
    LineSphereInt const r(p, kX, centre, radius, kTol);
    pen.sphere(centre, radius);
    if (r.result == 2) {
        pen.dashed(r.point1, r.point2);
        pen.line(r.point2 + Vector3(kX) * 0.33, Vector3(kX) * 0.26, kFirst);
        pen.line(r.point1 - Vector3(kX) * 0.33, Vector3(kX) * 0.26, kFirst);
    } else {
        pen.line(p, kX, kFirst);
    }
    if (r.result > 0) pen.point(r.point1);
    if (r.result > 1) pen.point(r.point2);
    return r.result;
}

Row lineSphereRow()
{
    return {"LineSphereInt",
            {{0, "it misses",
              [](Pen& pen) {
                  return lineSphere(pen, {0, 0.85, 0});
              }},
             {1, "tangent, one point",
              [](Pen& pen) {
                  return lineSphere(pen, {0, 0.6, 0});
              }},
             {2, "two points", [](Pen& pen) {
                  return lineSphere(pen, {0, 0.1, 0.2});
              }}}};
}

} // namespace

std::vector<OutcomeScene> drawOutcomePanel(Canvas& sheet)
{
    std::vector<OutcomeScene> outcomes;
    double y = 10;
    for (Row const& row : {lineLineRow(), planePlaneRow(), linePlaneRow(), lineTriangleRow(), lineSphereRow()}) {
        sheet.text({30, y + 24}, row.record, {20, palette::ink, Align::left, true});
        double x = 30;
        for (Scene const& scene : row.scenes) {
            Rect const cell{x, y + kTitleHeight, kCell + 24, kCell - 12};
            sheet.rectangle(cell.inset(4), {1, 1, 1}, 6);
            sheet.beginClip(cell.inset(4));
            Pen pen(sheet, {cell.x + 10, cell.y + 6, cell.width - 20, cell.height - 42}); // above the label
            int const result = scene.draw(pen);
            sheet.endClip();
            sheet.text({x + 16, cell.y + cell.height - 14}, std::to_string(result),
                       {24, palette::accent, Align::left, true});
            sheet.text({x + 40, cell.y + cell.height - 15}, scene.label, {15});
            outcomes.push_back({row.record, scene.expected, result});
            x += kCell + 36;
        }
        y += kTitleHeight + kCell;
    }
    return outcomes;
}

} // namespace tool
