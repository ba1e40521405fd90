// The stage of the modules `core` and `queries`: a line, a plane and a box for every limb of the skeleton, drawn by the
// library's debug-drawing callbacks; and all outcomes of the intersection records.

#include <tool/tour/stage.h>

#include <algorithm>
#include <cmath>

#include <sinew/core/bbox.h>
#include <sinew/core/func_binder.h>
#include <sinew/core/vector_geometry.h>
#include <sinew/queries/best_fit.h>

#include <tool/draw/renderer.h>
#include <tool/draw/view.h>
#include <tool/figure/limbs.h>
#include <tool/support/as_index.h>
#include <tool/support/user_error.h>
#include <tool/tour/outcome_panel.h>

namespace tool {
namespace {

constexpr double kWidth = 1200;
constexpr double kHeight = 800;
constexpr double kAzimuth = 36; // degrees; turned from the front, so that sideways planes are not seen edge-on
constexpr double kElevation = 10;
constexpr int kPointsPerBone = 12;
constexpr double kLargestCoordinate = 1e100; // its square is finite
constexpr int kInk = -1;                     // the debug drawing's colour number for ink; others are numbers of limbs

// While this object lives, the debug drawing appears on a sheet. Colours are numbers of limbs; the thickness of vectors
// and the size of points are in units of the sheet.
class DebugDisplay
{
public:
    explicit DebugDisplay(Canvas& sheet) : sheet_(sheet)
    {
        current_ = this;
        vxFuncBinder::registerDrawVector([](Vector3 const& a, Vector3 const& b, int colour, double thickness) {
            ++current_->calls_;
            current_->sheet_.line(current_->at(a), current_->at(b), {colourOf(colour), thickness});
        });
        vxFuncBinder::registerDrawPoint([](Vector3 const& p, int colour) { current_->dot(p, colour, 5); });
        vxFuncBinder::registerDrawPoints([](std::vector<Vector3> const& points, int colour, int size) {
            for (Vector3 const& p : points) current_->dot(p, colour, size);
        });
    }
    ~DebugDisplay()
    {
        vxFuncBinder::iGet()->iReset();
        current_ = nullptr;
    }
    DebugDisplay(DebugDisplay const&) = delete;
    DebugDisplay& operator=(DebugDisplay const&) = delete;

    void show(View const& view) { view_ = &view; }
    int calls() const { return calls_; }

private:
    static Colour colourOf(int colour) { return colour == kInk ? Colour::hex(0x9aa0a6) : categorical(colour + 1); }

    Point at(Vector3 const& p) const { return (*view_)(p); }

    void dot(Vector3 const& p, int colour, double radius)
    {
        ++calls_;
        sheet_.circle(at(p), radius, colourOf(colour));
    }

    static DebugDisplay* current_; // the callbacks have no other access to the object
    Canvas& sheet_;
    View const* view_ = nullptr;
    int calls_ = 0;
};
DebugDisplay* DebugDisplay::current_ = nullptr;

// A limb, and the line, the plane and the box that fit it.
struct FittedLimb
{
    Limb limb;
    std::vector<Vector3> points;
    Vector3 centre;
    UVector3 along;
    UVector3 normal;
    Bbox box;

    // Root mean square distance of the points from the line, and from the plane.
    double fromLine() const
    {
        return rootMeanSquare([&](Vector3 const& p) { return cross(p - centre, along).length(); });
    }
    double fromPlane() const
    {
        return rootMeanSquare([&](Vector3 const& p) { return (p - centre) * normal; });
    }

    template <typename Distance>
    double rootMeanSquare(Distance const& distance) const
    {
        double sum = 0;
        for (Vector3 const& p : points) sum += distance(p) * distance(p);
        return std::sqrt(sum / static_cast<double>(points.size()));
    }

    // Smallest and largest coordinate of the points along a direction, measured from the centre.
    std::pair<double, double> extent(Vector3 const& direction) const
    {
        std::pair<double, double> range{0, 0};
        for (Vector3 const& p : points) {
            double const t = (p - centre) * direction;
            range = {std::min(range.first, t), std::max(range.second, t)};
        }
        return range;
    }
};

// The skeleton, moved to the origin and scaled to a size of 2, because the library's tolerances are absolute: a
// skeleton in microns or in miles would be too small or too large for them. The page gives lengths in the user's unit.
struct Stage
{
    Skeleton skeleton;
    double unit = 1; // a unit of this skeleton in the user's units
    std::vector<FittedLimb> limbs;
};

Stage prepare(TourContext const& tour)
{
    Stage stage;
    stage.skeleton = tour.skeleton;
    for (Vector3 const& p : tour.skeleton.joints) {
        for (int k = 0; k < 3; ++k) {
            if (!(std::fabs(p[k]) < kLargestCoordinate)) {
                throw UserError(tour.options.skeletonFile, "a coordinate is beyond 1e100",
                                "Export the skeleton in another unit");
            }
        }
    }
    Bbox const box(tour.skeleton.joints);
    Vector3 const size = box.max - box.min;
    double const largest = std::max({size.x, size.y, size.z});
    if (!(largest > 0)) {
        throw UserError(tour.options.skeletonFile, "all joints have the same position",
                        "Give the joints different positions");
    }
    stage.unit = largest / 2;
    for (Vector3& p : stage.skeleton.joints) {
        p -= box.min + size * 0.5;
        for (int k = 0; k < 3; ++k) p[k] /= stage.unit; // the reciprocal of a tiny unit would be infinite
    }
    for (Limb& limb : limbsOf(stage.skeleton)) {
        FittedLimb fitted;
        fitted.limb = std::move(limb);
        fitted.points = pointsAlong(stage.skeleton, fitted.limb, kPointsPerBone);
        bestFitLine(fitted.points, &fitted.centre, &fitted.along);
        bestFitPlane(fitted.points, nullptr, &fitted.normal);
        fitted.box = Bbox(fitted.points);
        stage.limbs.push_back(std::move(fitted));
    }
    return stage;
}

// The view that fills `where` with the skeleton.
View viewOf(Skeleton const& skeleton, Rect const& where)
{
    Bbox const box(skeleton.joints);
    View const whole(box.min, box.max, kAzimuth, kElevation, where);
    Point const middle{where.x + where.width / 2, where.y + where.height / 2};
    double filled = 0;
    for (Vector3 const& p : skeleton.joints) {
        Point const at = whole(p);
        filled = std::max(
            {filled, std::fabs(at.x - middle.x) / (where.width / 2), std::fabs(at.y - middle.y) / (where.height / 2)});
    }
    return {box.min, box.max, kAzimuth, kElevation, where, filled > 0 ? 0.9 / filled : 1};
}

void drawBones(Skeleton const& skeleton, double thickness)
{
    for (auto const& bone : skeleton.bones) {
        vxFuncBinder::drawVector(skeleton.joints[asIndex(bone[0])], skeleton.joints[asIndex(bone[1])], kInk, thickness);
    }
    vxFuncBinder::drawPoints(skeleton.joints, kInk, 4);
}

void drawLine(FittedLimb const& limb, int colour)
{
    auto const [from, to] = limb.extent(limb.along);
    double const beyond = 0.12 * (to - from);
    vxFuncBinder::drawVector(limb.centre + limb.along * (from - beyond), limb.centre + limb.along * (to + beyond),
                             colour, 3.5);
    vxFuncBinder::drawPoint(limb.centre, colour);
}

// A part of the plane as a grid, with lines along and across the limb.
void drawPlane(FittedLimb const& limb, int colour)
{
    constexpr int kAlong = 8;
    constexpr int kAcross = 4;
    UVector3 const across(cross(limb.normal, limb.along));
    auto const [from, to] = limb.extent(limb.along);
    auto const [left, right] = limb.extent(across);
    double const half = std::max({-left, right, 0.08 * (to - from)}) * 1.25;
    auto const at = [&, from = from, to = to](double s, double t) {
        return limb.centre + limb.along * (from + s * (to - from)) + across * ((2 * t - 1) * half);
    };
    for (int i = 0; i <= kAlong; ++i) {
        double const s = static_cast<double>(i) / kAlong;
        vxFuncBinder::drawVector(at(s, 0), at(s, 1), colour, i % kAlong == 0 ? 2.5 : 1);
    }
    for (int i = 0; i <= kAcross; ++i) {
        double const t = static_cast<double>(i) / kAcross;
        vxFuncBinder::drawVector(at(0, t), at(1, t), colour, i % kAcross == 0 ? 2.5 : 1);
    }
}

void drawBox(FittedLimb const& limb, int colour)
{
    Vector3 const corners[2] = {limb.box.min, limb.box.max};
    for (int axis = 0; axis < 3; ++axis) {
        int const u = (axis + 1) % 3;
        int const v = (axis + 2) % 3;
        for (int k = 0; k < 4; ++k) {
            Vector3 a = corners[0];
            a[u] = corners[k % 2][u];
            a[v] = corners[k / 2][v];
            Vector3 b = a;
            b[axis] = corners[1][axis];
            vxFuncBinder::drawVector(a, b, colour, 2);
        }
    }
}

void drawNames(Canvas& sheet, std::vector<FittedLimb> const& limbs)
{
    constexpr std::size_t kNamed = 9; // more names do not fit, and the colours repeat
    double x = 40;
    double y = kHeight - 76;
    for (std::size_t k = 0; k < std::min(limbs.size(), kNamed); ++k) {
        double const width = sheet.textWidth(limbs[k].limb.name, {15}) + 52;
        if (x + width > kWidth - 20) {
            x = 40;
            y += 26;
        }
        sheet.circle({x, y - 5}, 7, categorical(static_cast<int>(k) + 1));
        sheet.text({x + 14, y}, limbs[k].limb.name, {15});
        x += width;
    }
}

// Draws the three fits side by side. Returns the number of calls of the debug-drawing callbacks.
int drawFits(Canvas& sheet, Stage const& stage)
{
    struct Fit
    {
        char const* title;
        void (*draw)(FittedLimb const&, int);
    };
    constexpr Fit kFits[] = {{"best-fit lines", drawLine}, {"best-fit planes", drawPlane}, {"boxes", drawBox}};
    DebugDisplay display(sheet);
    double x = 20;
    for (Fit const& fit : kFits) {
        Rect const panel{x, 56, (kWidth - 80) / 3, kHeight - 156};
        sheet.text({panel.x + panel.width / 2, 40}, fit.title, {20, palette::ink, Align::centre, true});
        View const view = viewOf(stage.skeleton, panel);
        display.show(view);
        drawBones(stage.skeleton, 5);
        for (std::size_t k = 0; k < stage.limbs.size(); ++k) fit.draw(stage.limbs[k], static_cast<int>(k));
        x += panel.width + 20;
    }
    return display.calls();
}

void addTable(Section& section, Stage const& stage)
{
    constexpr std::size_t kRows = 12;
    std::vector<std::vector<std::string>> rows;
    for (std::size_t k = 0; k < std::min(stage.limbs.size(), kRows); ++k) {
        FittedLimb const& limb = stage.limbs[k];
        Vector3 const size = (limb.box.max - limb.box.min) * stage.unit;
        rows.push_back({limb.limb.name, niceCount(static_cast<long long>(limb.limb.joints.size()) - 1),
                        niceNumber(lengthOf(stage.skeleton, limb.limb) * stage.unit, 3),
                        niceNumber(limb.fromLine() * stage.unit, 3), niceNumber(limb.fromPlane() * stage.unit, 3),
                        niceNumber(size.x, 3) + " x " + niceNumber(size.y, 3) + " x " + niceNumber(size.z, 3)});
    }
    std::string const more = stage.limbs.size() > kRows ? " (the first " + niceCount(kRows) + ")" : "";
    section.table("The limbs, in the unit of the file" + more,
                  {"limb", "bones", "length", "RMS distance from its line", "from its plane", "box"}, rows);
}

void addChecks(Section& section, Stage const& stage, int drawn)
{
    constexpr double kRounding = 1e-7; // of lengths near 1; the eigen-solver leaves up to 1e-8 off the diagonal
    int lines = 0;
    int planes = 0;
    int boxes = 0;
    for (FittedLimb const& limb : stage.limbs) {
        // The line through the limb's ends must not fit better than the best-fit line; nor must a coordinate plane fit
        // better than the best-fit plane.
        Vector3 const start = limb.points.front();
        UVector3 const chord(limb.points.back() - start);
        double const chordDistance =
            limb.rootMeanSquare([&](Vector3 const& p) { return dist(p, projectOnLine(p, start, chord)); });
        lines += limb.fromLine() <= chordDistance + kRounding;
        double axisDistance = 4;
        for (int k = 0; k < 3; ++k) {
            axisDistance =
                std::min(axisDistance, limb.rootMeanSquare([&](Vector3 const& p) { return p[k] - limb.centre[k]; }));
        }
        planes += limb.fromPlane() <= std::min(axisDistance, limb.fromLine()) + kRounding;
        boxes +=
            std::all_of(limb.points.begin(), limb.points.end(), [&](Vector3 const& p) { return limb.box.filter(p); });
    }
    int const count = static_cast<int>(stage.limbs.size());
    auto const ofAll = [count](int n) { return niceCount(n) + " of " + niceCount(count) + " limbs"; };
    section.check(lines == count, "The best-fit line is at least as near as the line through the limb's ends",
                  ofAll(lines));
    section.check(planes == count, "The best-fit plane is at least as near as any coordinate plane", ofAll(planes));
    section.check(boxes == count, "The box contains its limb", ofAll(boxes));
    section.check(drawn > 0 && vxFuncBinder::iGet()->drawVectorSlot == nullptr,
                  "The debug-drawing callbacks drew everything, and are unregistered again",
                  niceCount(drawn) + " calls");
}

void addOutcomes(TourContext& tour)
{
    Section& section = tour.report.add("Intersections and their outcomes");
    section.text("The constructor of an intersection record computes the intersection. The record's first field is an "
                 "outcome code, which the host reads before the other fields. Each picture below shows a scene for one "
                 "of the codes; its number is the code that the library returned.");
    Canvas sheet = tour.sheet(kOutcomePanelWidth, kOutcomePanelHeight);
    std::vector<OutcomeScene> const scenes = drawOutcomePanel(sheet);
    section.picture(
        "outcomes.png", sheet,
        "All outcomes of the five records. Blue: the line, or the first of two. Orange: the second. Red: the "
        "points and lines of the result.");
    auto const right = std::count_if(scenes.begin(), scenes.end(),
                                     [](OutcomeScene const& scene) { return scene.result == scene.expected; });
    section.check(right == static_cast<long>(scenes.size()), "Every scene has the expected outcome",
                  niceCount(right) + " of " + niceCount(scenes.size()));
}

} // namespace

void skeletonStage(TourContext& tour)
{
    Stage const stage = prepare(tour);
    Section& section = tour.report.add("Lines, planes and boxes of a skeleton");
    section.text(
        "A skeleton consists of joints and of the bones between them. A limb is a part of it without branches. "
        "For each limb, the library computes the line and the plane that fit it best, and its box. The library "
        "has no graphics: the pictures are drawn by callbacks that the host registers to look at its geometry.");
    Canvas sheet = tour.sheet(kWidth, kHeight);
    int const drawn = drawFits(sheet, stage);
    drawNames(sheet, stage.limbs);
    section.picture(
        "limbs.png", sheet,
        std::string(tour.skeletonIsBundled ? "The standing figure that comes with the program" : "Your skeleton") +
            ", with the lines, the planes and the boxes of its limbs. The points of a limb vary most along its line, "
            "and "
            "least along the normal of its plane.");
    addTable(section, stage);
    addChecks(section, stage, drawn);
    addOutcomes(tour);
}

} // namespace tool
