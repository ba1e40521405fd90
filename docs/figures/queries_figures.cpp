// The pictures of docs/queries.md: the errors of the roots of cubics and of the normals of fitted planes, the outcomes
// of the intersection records, and what rays from far away hit.
//
// The exact roots of x^3 + p x + q come from Newton's iteration in 256-bit arithmetic. It starts where it converges
// from one side.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include <mpfr.h>

#include <sinew/core/vector_geometry.h>
#include <sinew/queries/best_fit.h>
#include <sinew/queries/fit.h>
#include <sinew/queries/intersections.h>
#include <sinew/queries/polynomial_roots.h>
#include <sinew/queries/rays.h>
#include <sinew/queries/real_roots.h>
#include <tool/draw/canvas.h>
#include <tool/tour/outcome_panel.h>

#include "bench/queries/closed_form_cubic.h"
#include "figure.h"
#include "support/random.h"
#include "support/wide_real.h"

namespace {

constexpr int kBits = 256;
constexpr int kNewtonSteps = 1000;
constexpr int kGuardBits = 40; // a Newton step below 2^(kGuardBits - kBits) ends the iteration
constexpr double kBest = -17;  // log10 of the error that has the best colour
constexpr double kWorst = -4;  // of the worst: about the cube root of 1e-13, with which a triple root is found
constexpr double kPanel = 520; // units along a side

class Exact
{
public:
    Exact() { mpfr_init2(value_, kBits); }
    explicit Exact(double value) : Exact() { mpfr_set_d(value_, value, MPFR_RNDN); }
    ~Exact() { mpfr_clear(value_); }
    Exact(Exact const&) = delete;
    Exact& operator=(Exact const&) = delete;

    mpfr_ptr get() { return value_; }

private:
    mpfr_t value_;
};

// The real roots of x^3 + p x + q to 256 bits.
class ExactCubic
{
public:
    ExactCubic(double p, double q) : q_(q), bound_(1 + std::fabs(p) + std::fabs(q)), exactP_(p), exactQ_(q) {}

    // 1 or 3, by the sign of the discriminant -4 p^3 - 27 q^2, which 256 bits hold exactly.
    int count()
    {
        mpfr_sqr(s_.get(), exactP_.get(), MPFR_RNDN);
        mpfr_mul(s_.get(), s_.get(), exactP_.get(), MPFR_RNDN);
        mpfr_mul_si(s_.get(), s_.get(), -4, MPFR_RNDN);
        mpfr_sqr(t_.get(), exactQ_.get(), MPFR_RNDN);
        mpfr_mul_si(t_.get(), t_.get(), 27, MPFR_RNDN);
        return mpfr_cmp(s_.get(), t_.get()) >= 0 ? 3 : 1;
    }

    // |found - root| for the lowest root (which = 0), the middle one (1) or the highest (2).
    double errorAt(double found, int which)
    {
        newton(which == 0 ? -bound_ : (which == 2 ? bound_ : 0.0));
        mpfr_sub_d(s_.get(), x_.get(), found, MPFR_RNDN);
        return std::fabs(mpfr_get_d(s_.get(), MPFR_RNDN));
    }

    // |found - root| if there is one root. Its sign is opposite to that of q.
    double errorOfOnly(double found) { return errorAt(found, q_ > 0 ? 0 : 2); }

private:
    // From a start beyond an outer root, or from the point of inflection to the middle root, no step passes the root.
    void newton(double start)
    {
        mpfr_set_d(x_.get(), start, MPFR_RNDN);
        for (int step = 0; step < kNewtonSteps; ++step) {
            mpfr_sqr(s_.get(), x_.get(), MPFR_RNDN);
            mpfr_add(t_.get(), s_.get(), exactP_.get(), MPFR_RNDN);
            mpfr_fma(t_.get(), t_.get(), x_.get(), exactQ_.get(), MPFR_RNDN);
            mpfr_mul_ui(s_.get(), s_.get(), 3, MPFR_RNDN);
            mpfr_add(s_.get(), s_.get(), exactP_.get(), MPFR_RNDN);
            if (mpfr_zero_p(t_.get()) || mpfr_zero_p(s_.get())) return;
            mpfr_div(t_.get(), t_.get(), s_.get(), MPFR_RNDN);
            mpfr_sub(x_.get(), x_.get(), t_.get(), MPFR_RNDN);
            if (mpfr_zero_p(t_.get()) || mpfr_get_exp(t_.get()) < kGuardBits - kBits) return;
        }
    }

    double q_;
    double bound_; // larger than the absolute value of every root
    Exact exactP_;
    Exact exactQ_;
    Exact x_;
    Exact s_;
    Exact t_;
};

using Solver = int (*)(double, double, double, double, double*);

// realRoots in the form of the others: a double root counts twice.
int anyScale(double a, double b, double c, double d, double* roots)
{
    sinew::RealRoots const found = sinew::realRoots({a, b, c, d});
    int count = 0;
    for (int i = 0; i < found.count; ++i) {
        for (int k = 0; k < found.multiplicities[i]; ++k) roots[count++] = found.roots[i];
    }
    return count;
}

// log10 of the errors of a map, sorted.
struct Errors
{
    std::vector<double> all;
    long long miscounted = 0;
};

// log10 of the largest error of a root, relative for roots above 1. NaN if the number of roots is wrong.
double errorOf(Solver solver, double p, double q)
{
    double roots[3] = {0, 0, 0};
    int const count = solver(1, 0, p, q, roots);
    ExactCubic exact(p, q);
    if (count != exact.count()) return NAN;
    double error = 0;
    for (int k = 0; k < count; ++k) {
        double const one = count == 1 ? exact.errorOfOnly(roots[0]) : exact.errorAt(roots[k], k);
        error = std::max(error, one / std::max(1.0, std::fabs(roots[k])));
    }
    return std::max(kBest, std::log10(error));
}

tool::Colour colourAt(double t)
{
    return tool::viridis(1 - t); // small errors are light
}

// One map of the plane |p| <= pHalf, |q| <= qHalf.
Errors drawMap(tool::Canvas& sheet, tool::Point at, Solver solver, double pHalf, double qHalf)
{
    int const side = sheet.pixels(kPanel);
    tool::Image image(side, side);
    Errors errors;
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            double const error =
                errorOf(solver, pHalf * ((2.0 * x + 1) / side - 1), qHalf * (1 - (2.0 * y + 1) / side));
            if (std::isnan(error)) {
                image.at(x, y) = tool::palette::accent;
                ++errors.miscounted;
                continue;
            }
            double const step = std::round(2 * (error - kBest)) / 2; // half decades, because finer colours show noise
            image.at(x, y) = colourAt(step / (kWorst - kBest));
            errors.all.push_back(error);
        }
    }
    sheet.image(image, {at.x, at.y, kPanel, kPanel});
    sheet.frame({at.x, at.y, kPanel, kPanel}, {tool::palette::faintInk, 1});
    std::sort(errors.all.begin(), errors.all.end());
    return errors;
}

void save(tool::Canvas const& sheet, std::string const& file)
{
    std::ofstream(file, std::ios::binary) << sheet.png();
    std::printf("%s\n", file.c_str());
}

struct Map
{
    char const* who;
    Solver solver;
    bool nearTripleRoot; // magnified
};

// Draws a map with its words above and below, and prints its errors.
void drawLabelledMap(tool::Canvas& sheet, tool::Point at, Map const& map)
{
    Errors const errors = drawMap(sheet, at, map.solver, map.nearTripleRoot ? 2e-8 : 3, map.nearTripleRoot ? 3e-13 : 2);
    char const* const range =
        map.nearTripleRoot ? "p from -2e-8 to 2e-8, q from -3e-13 to 3e-13" : "p from -3 to 3, q from -2 to 2";
    sheet.text({at.x, at.y - 14}, map.who, {19, tool::palette::ink, tool::Align::left, true});
    sheet.text({at.x + kPanel, at.y + kPanel + 20}, range, {14, tool::palette::faintInk, tool::Align::right});
    std::printf("%-36s median 1e%.1f, 99%% below 1e%.1f, worst 1e%.1f, wrong counts %lld\n", map.who,
                errors.all[errors.all.size() / 2], errors.all[errors.all.size() * 99 / 100], errors.all.back(),
                errors.miscounted);
}

void drawKey(tool::Canvas& sheet, tool::Point key)
{
    sheet.text({key.x, key.y - 60}, "Roots of x\u00b3 + p x + q", {19, tool::palette::ink, tool::Align::left, true});
    tool::drawColourBar(sheet, {key.x, key.y, 400, 18}, colourAt, "1e-17", "1e-4", "largest error of a root");
    tool::drawLegend(sheet, {key.x, key.y + 80}, {{tool::palette::accent, "wrong number of roots"}});
}

void drawAccuracy(std::string const& folder)
{
    Map const maps[] = {{"solveCubic", solveCubic, false},
                        {"closed form", bench::closedFormCubic, false},
                        {"solveCubic, near the triple root", solveCubic, true}};
    tool::Canvas sheet(2 * kPanel + 120, 2 * kPanel + 180, 0.8);
    for (int k = 0; k < 3; ++k) {
        drawLabelledMap(sheet, {40 + (k % 2) * (kPanel + 40), 50 + (k / 2) * (kPanel + 80)}, maps[k]);
    }
    drawKey(sheet, {kPanel + 110, 1.5 * kPanel + 80});
    save(sheet, folder + "/queries_cubic_accuracy.png");
}

// The same maps for realRoots, side by side.
void drawAccuracyAtAnyScale(std::string const& folder)
{
    tool::Canvas sheet(2 * kPanel + 120, kPanel + 290, 0.8);
    drawLabelledMap(sheet, {40, 50}, {"realRoots", anyScale, false});
    drawLabelledMap(sheet, {80 + kPanel, 50}, {"realRoots, near the triple root", anyScale, true});
    drawKey(sheet, {40, kPanel + 170});
    save(sheet, folder + "/queries_real_roots_accuracy.png");
}

constexpr int kRings = 400;      // for each edge length
constexpr double kShortest = -9; // log10 of the edge lengths
constexpr double kLongest = 3;
constexpr double kStepsPerDecade = 4;
constexpr double kLeastError = -18; // log10 of the errors
constexpr double kGreatestError = 0;

// A vertex and its six neighbours on a curved surface, turned in space, somewhere in a model of twenty edges.
std::vector<Vector3> ring(test::Random& random, double edge)
{
    UVector3 const u(random.point());
    UVector3 const v(cross(u, random.point()));
    Vector3 const normal = cross(u, v);
    Vector3 const middle = random.point(-10, 10);
    std::vector<Vector3> points = {middle * edge};
    for (int i = 0; i < 6; ++i) {
        double const angle = (i + 0.3 * random.uniform()) * 1.0471975511965976; // sixths of a turn
        double const x = std::cos(angle) * random.uniform(0.8, 1.2), y = std::sin(angle) * random.uniform(0.8, 1.2);
        points.push_back((middle + x * u + y * v + (0.1 * x * x + 0.05 * random.uniform()) * normal) * edge);
    }
    return points;
}

// log10 of the angle between `found` and the exact normal of the points, either way round.
double errorOfNormal(std::vector<Vector3> const& points, Vector3 const& found)
{
    using test::WideReal;
    WideReal centroid[3], covariance[3][3];
    for (Vector3 const& p : points) {
        for (int k = 0; k < 3; ++k) centroid[k] += WideReal(p[k]) / static_cast<double>(points.size());
    }
    for (Vector3 const& p : points) {
        for (int k = 0; k < 9; ++k)
            covariance[k / 3][k % 3] += (p[k / 3] - centroid[k / 3]) * (p[k % 3] - centroid[k % 3]);
    }
    test::WideEigensystem const exact = test::wideEigensystem(covariance);
    WideReal square;
    for (int k = 0; k < 3; ++k) {
        int const i = (k + 1) % 3, j = (k + 2) % 3;
        WideReal const component = found[i] * exact.vectors[0][j] - found[j] * exact.vectors[0][i];
        square += component * component;
    }
    return std::clamp(std::log10(sqrt(square).toDouble()), kLeastError, kGreatestError);
}

struct NormalErrors
{
    char const* who;
    tool::Colour colour;
    std::vector<figures::Vector2> median; // log10 of the edge length, log10 of the error
    std::vector<figures::Vector2> most;   // 99 % of the errors are below

    void add(double edge, std::vector<double> errors)
    {
        std::sort(errors.begin(), errors.end());
        median.emplace_back(edge, errors[errors.size() / 2]);
        most.emplace_back(edge, errors[errors.size() * 99 / 100]);
        std::printf("%-16s edge 1e%-6.2f median 1e%.1f, 99%% below 1e%.1f\n", who, edge, median.back().y,
                    most.back().y);
    }
};

void measureNormals(NormalErrors& defined, NormalErrors& anyScale)
{
    test::Random random(20251123);
    for (int step = 0; step <= (kLongest - kShortest) * kStepsPerDecade; ++step) {
        double const edge = kShortest + step / kStepsPerDecade;
        std::vector<double> errors[2];
        for (int i = 0; i < kRings; ++i) {
            std::vector<Vector3> const points = ring(random, std::pow(10.0, edge));
            UVector3 normal;
            bestFitPlane(points, nullptr, &normal);
            errors[0].push_back(errorOfNormal(points, normal));
            auto const coordinates = sinew::coordinatesOf(points.data(), points.size());
            errors[1].push_back(errorOfNormal(points, sinew::fitPlane(coordinates).normal));
        }
        defined.add(edge, errors[0]);
        anyScale.add(edge, errors[1]);
    }
}

void drawNormals(std::string const& folder)
{
    NormalErrors curves[] = {{"bestFitPlane", figures::colours::red, {}, {}},
                             {"sinew::fitPlane", figures::colours::blue, {}, {}}};
    measureNormals(curves[0], curves[1]);

    constexpr double kUnitsPerDecade = 26;
    double const stretch = 2; // a decade of lengths is wider than one of errors
    tool::Canvas sheet(stretch * kUnitsPerDecade * (kLongest - kShortest) + 130,
                       kUnitsPerDecade * (kGreatestError - kLeastError) + 120);
    figures::Frame const frame{{90 - stretch * kUnitsPerDecade * kShortest, 40}, kUnitsPerDecade};
    auto const at = [&](figures::Vector2 const& p) { return frame(figures::Vector2(stretch * p.x, p.y)); };
    for (double y = kLeastError; y <= kGreatestError; y += 3) {
        sheet.line(at({kShortest, y}), at({kLongest, y}), {tool::palette::faintInk, 0.5});
        tool::Point const label = at({kShortest, y});
        sheet.text({label.x - 8, label.y + 5}, "1e" + std::to_string(static_cast<int>(y)),
                   {14, tool::palette::faintInk, tool::Align::right});
    }
    for (double x = kShortest; x <= kLongest; x += 3) {
        sheet.line(at({x, kLeastError}), at({x, kGreatestError}), {tool::palette::faintInk, 0.5});
        tool::Point const label = at({x, kLeastError});
        sheet.text({label.x, label.y + 22}, "1e" + std::to_string(static_cast<int>(x)),
                   {14, tool::palette::faintInk, tool::Align::centre});
    }
    std::vector<tool::LegendEntry> legend;
    for (NormalErrors const& curve : curves) {
        for (auto const& [values, width] : {std::pair(&curve.most, 1.5), std::pair(&curve.median, 3.5)}) {
            std::vector<tool::Point> line;
            for (figures::Vector2 const& p : *values) line.push_back(at(p));
            sheet.polyline(line, {curve.colour, width});
        }
        legend.push_back({curve.colour, curve.who});
    }
    sheet.text({90, 24}, "Angle between the normal and the exact one (radians)", {16, tool::palette::ink});
    sheet.text(at({(kShortest + kLongest) / 2, kLeastError - 1.8}), "length of the edges",
               {16, tool::palette::ink, tool::Align::centre});
    tool::drawLegend(sheet, at({-8.2, -6}), legend);
    save(sheet, folder + "/queries_fit_accuracy.png");
}

void drawOutcomes(std::string const& folder)
{
    tool::Canvas sheet(tool::kOutcomePanelWidth, tool::kOutcomePanelHeight);
    tool::drawOutcomePanel(sheet);
    save(sheet, folder + "/queries_outcomes.png");
}

// The unit sphere as a mesh: an octahedron whose faces are divided.
std::vector<Vector3> sphereMesh(int divisions)
{
    std::vector<Vector3> corners; // three for each triangle
    auto const add = [&](Vector3 const& sign, double i, double j) {
        double const k = divisions - i - j;
        corners.push_back(UVector3(Vector3(sign.x * i, sign.y * j, sign.z * k)));
    };
    for (int octant = 0; octant < 8; ++octant) {
        Vector3 const sign(octant & 1 ? -1 : 1, octant & 2 ? -1 : 1, octant & 4 ? -1 : 1);
        for (int i = 0; i < divisions; ++i) {
            for (int j = 0; i + j < divisions; ++j) {
                add(sign, i, j), add(sign, i + 1, j), add(sign, i, j + 1);
                if (i + j + 1 < divisions) add(sign, i + 1, j), add(sign, i + 1, j + 1), add(sign, i, j + 1);
            }
        }
    }
    return corners;
}

constexpr double kAway = 1e8;  // the distance of the origins of the rays, in radii
constexpr int kRays = 260;     // along a side of a panel
constexpr double kView = 1.15; // half the side of a panel, in radii

struct FarView
{
    UVector3 direction = UVector3(Vector3(-2, -3, -6));
    Vector3 right;
    Vector3 up;
};

// A unit normal towards the viewer at what the ray hits first; zero if it hits nothing.
using FirstHit = Vector3 (*)(Vector3 const& origin, UVector3 const& direction);

std::vector<Vector3> const& mesh()
{
    static std::vector<Vector3> const corners = sphereMesh(10);
    return corners;
}

template <typename Parameter>
Vector3 firstOfMesh(Parameter const& parameter)
{
    double nearest = INFINITY;
    Vector3 normal;
    for (std::size_t i = 0; i < mesh().size(); i += 3) {
        Vector3 const* const p = &mesh()[i];
        double const t = parameter(p);
        if (!(t < nearest)) continue;
        nearest = t;
        Vector3 const n = UVector3(cross(p[1] - p[0], p[2] - p[0]));
        normal = n * p[0] > 0 ? n : -n;
    }
    return normal;
}

Vector3 byLineTriangleInt(Vector3 const& origin, UVector3 const& direction)
{
    return firstOfMesh([&](Vector3 const* p) {
        LineTriangleInt const hit(origin, direction, p[0], p[1], p[2], 1e-9);
        return hit.result == 0 ? hit.t : INFINITY;
    });
}

Vector3 byRayTriangle(Vector3 const& origin, UVector3 const& direction)
{
    sinew::Ray const ray(origin, direction);
    return firstOfMesh([&](Vector3 const* p) {
        sinew::RayTriangle const hit = sinew::rayTriangle(ray, p[0], p[1], p[2]);
        return hit.hit ? hit.t : INFINITY;
    });
}

Vector3 byLineSphereInt(Vector3 const& origin, UVector3 const& direction)
{
    LineSphereInt const hit(origin, direction, {0, 0, 0}, 1, 1e-9);
    return hit.result == 0 ? Vector3() : Vector3(UVector3(hit.point1));
}

Vector3 byRaySphere(Vector3 const& origin, UVector3 const& direction)
{
    sinew::RaySphere const hit = sinew::raySphere(sinew::Ray(origin, direction), {0, 0, 0}, 1);
    return hit.hit ? Vector3(UVector3(origin + direction * hit.tEnter)) : Vector3();
}

// Draws one panel; returns the share of rays whose answer is wrong, of those that are aimed at the inside.
double drawFarPanel(tool::Canvas& sheet, tool::Point at, double side, FirstHit firstHit, bool isMesh)
{
    FarView view;
    getBasis(view.direction, view.right, view.up);
    tool::Image image(kRays, kRays);
    long inside = 0, wrong = 0;
    for (int y = 0; y < kRays; ++y) {
        for (int x = 0; x < kRays; ++x) {
            double const u = kView * ((2.0 * x + 1) / kRays - 1), v = kView * (1 - (2.0 * y + 1) / kRays);
            Vector3 const target = view.right * u + view.up * v;
            Vector3 const normal = firstHit(target - view.direction * kAway, view.direction);
            // The mesh lies between two spheres.
            bool const mustHit = u * u + v * v<(isMesh ? 0.95 : 1.0) - 1e-6, mustMiss = u * u + v * v> 1 + 1e-6;
            bool const hit = normal.lengthSq() > 0;
            bool const bad = (mustHit && !hit) || (mustMiss && hit);
            inside += mustHit;
            wrong += mustHit && !hit;
            double const light = 0.35 + 0.65 * std::max(0.0, normal * UVector3(Vector3(3, 2, 6)));
            tool::Colour const lit(0.25 + 0.6 * light, 0.4 + 0.55 * light, 0.55 + 0.42 * light);
            image.at(x, y) = bad ? tool::palette::accent : (hit ? lit : tool::Colour(1, 1, 1));
        }
    }
    sheet.image(image, {at.x, at.y, side, side});
    sheet.frame({at.x, at.y, side, side}, {tool::palette::faintInk, 1});
    return static_cast<double>(wrong) / static_cast<double>(inside);
}

void drawFarRays(std::string const& folder)
{
    struct Panel
    {
        char const* who;
        FirstHit firstHit;
        bool isMesh;
    };
    Panel const panels[] = {{"LineTriangleInt", byLineTriangleInt, true},
                            {"sinew::rayTriangle", byRayTriangle, true},
                            {"LineSphereInt", byLineSphereInt, false},
                            {"sinew::raySphere", byRaySphere, false}};
    constexpr double kSide = 390;
    tool::Canvas sheet(2 * kSide + 110, 2 * kSide + 190, 1.0);
    for (int k = 0; k < 4; ++k) {
        tool::Point const at{40 + (k % 2) * (kSide + 30), 50 + (k / 2) * (kSide + 60)};
        double const wrong = drawFarPanel(sheet, at, kSide, panels[k].firstHit, panels[k].isMesh);
        sheet.text({at.x, at.y - 14}, panels[k].who, {19, tool::palette::ink, tool::Align::left, true});
        char text[80];
        std::snprintf(text, sizeof text, "%.1f %% missed", 100 * wrong);
        sheet.text({at.x + kSide, at.y - 14}, text, {16, tool::palette::faintInk, tool::Align::right});
        std::printf("%-28s %s\n", panels[k].who, text);
    }
    tool::drawLegend(sheet, {40, 2 * kSide + 150}, {{tool::palette::accent, "hit or miss is wrong"}});
    save(sheet, folder + "/queries_far_rays.png");
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <folder>\n", argv[0]);
        return 2;
    }
    drawAccuracy(argv[1]);
    drawAccuracyAtAnyScale(argv[1]);
    drawNormals(argv[1]);
    drawOutcomes(argv[1]);
    drawFarRays(argv[1]);
}
