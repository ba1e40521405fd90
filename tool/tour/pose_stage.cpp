/// The figure in motion: eight poses, a walk, a mirror image, and a file that other programs open.

#include <algorithm>
#include <cmath>

#include <sinew/skinning/substitute_geometry_data.h>
#include <sinew/skinning/weights.h>

#include <tool/draw/animation.h>
#include <tool/draw/renderer.h>
#include <tool/figure/pose.h>
#include <tool/io/glb.h>
#include <tool/tour/stage.h>

namespace tool {
namespace {

constexpr int kMotionFrames = 24;
constexpr int kMillisecondsPerFrame = 50;
Colour const kClay = Colour::hex(0xcdb79b);

/// The figure as a host holds it: on display, with its weights; and copies to compare with afterwards.
struct Actor
{
    smart_ptr<DisplayData> display{new DisplayData};
    smart_ptr<SurfaceGeometryData> original;
    SurfaceGeometryData before;
};

Actor makeActor(Figure const& figure, BoneWeights const& weights)
{
    Actor actor;
    actor.original = smart_ptr<SurfaceGeometryData>(new SurfaceGeometryData);
    actor.original->positions = figure.positions;
    std::vector<Vector3> const normals =
        figure.normals.empty() ? vertexNormals(figure.positions, figure.triangles) : figure.normals;
    actor.original->normals.assign(normals.begin(), normals.end());
    for (Triangle const& t : figure.triangles) {
        actor.original->indices.insert(actor.original->indices.end(), t.begin(), t.end());
    }
    smart_ptr<BoneWeightTable> const table(new BoneWeightTable);
    for (std::vector<double> const& row : weights) {
        table->influences.emplace_back();
        for (std::size_t b = 0; b < row.size(); ++b) {
            if (row[b] > 0) table->influences.back().emplace_back(static_cast<int>(b), row[b]);
        }
    }
    actor.display->surface = actor.original;
    actor.display->boneWeights = table;
    actor.before = *actor.original;
    return actor;
}

/// What the display data shows at this moment, in the world.
Solid solidOf(DisplayData const& display)
{
    Solid solid;
    solid.colour = kClay;
    SurfaceGeometryData const& surface = *display.surface;
    Transform const directions = display.placement.linearComponent();
    for (Vector3 const& p : surface.positions) solid.positions.push_back(display.placement * p);
    for (UVector3 const& n : surface.normals) solid.normals.push_back(UVector3(directions * n));
    for (std::size_t i = 0; i + 2 < surface.indices.size(); i += 3) {
        solid.triangles.push_back({surface.indices[i], surface.indices[i + 1], surface.indices[i + 2]});
    }
    return solid;
}

Solid posedSolid(Actor const& actor, PosedSkeleton const& posed)
{
    SubstituteGeometryData const guard(actor.display,
                                       smart_ptr<BoneTransformVector>(new BoneTransformVector(posed.bones)));
    return solidOf(*actor.display);
}

bool allFinite(std::vector<Vector3> const& points)
{
    return std::all_of(points.begin(), points.end(), [](Vector3 const& p) { return std::isfinite(p.x + p.y + p.z); });
}

/// The box around several solids.
void boundsOf(std::vector<Solid> const& solids, Vector3& low, Vector3& high)
{
    std::vector<Vector3> corners;
    for (Solid const& solid : solids) {
        Vector3 a, b;
        tool::boundsOf(solid.positions, a, b);
        corners.push_back(a);
        corners.push_back(b);
    }
    tool::boundsOf(corners, low, high);
}

/// A view of all solids, as near as it can be with each of them inside `where`.
View viewOf(std::vector<Solid> const& solids, double azimuth, double elevation, Rect const& where)
{
    constexpr double kFilled = 0.88; // of the rectangle: the rest is air, and what a nearer eye sees larger
    Vector3 low, high;
    boundsOf(solids, low, high);
    View const probe(low, high, azimuth, elevation, where);
    double widest = 0.05;
    for (Solid const& solid : solids) {
        for (Vector3 const& p : solid.positions) {
            Point const at = probe(p);
            widest = std::max({widest, std::fabs(at.x - where.x - where.width / 2) / (where.width / 2),
                               std::fabs(at.y - where.y - where.height / 2) / (where.height / 2)});
        }
    }
    return View(low, high, azimuth, elevation, where, kFilled / widest);
}

/// Too small to be seen: it keeps the ground where the lowest pose stands while another one leaps.
Solid speckAt(Vector3 const& p)
{
    Solid speck;
    speck.positions = {p, p, p};
    speck.triangles = {{0, 1, 2}};
    speck.normals.assign(3, Vector3(0, 1, 0));
    return speck;
}

void addPoses(TourContext& tour, Section& section, Actor const& actor)
{
    std::vector<NamedPose> const poses = eightPoses(tour.skeleton);
    std::vector<Solid> solids;
    bool finite = true;
    for (NamedPose const& pose : poses) {
        solids.push_back(posedSolid(actor, takePose(tour.skeleton, pose.pose)));
        finite = finite && allFinite(solids.back().positions) && allFinite(solids.back().normals);
    }
    Vector3 low, high;
    boundsOf(solids, low, high);
    constexpr double kWidth = 360, kHeight = 460;
    Canvas sheet = tour.sheet(4 * kWidth, 2 * kHeight);
    for (std::size_t k = 0; k < solids.size(); ++k) {
        tour.progress.update(0.4 * static_cast<double>(k) / 8);
        Rect const cell{kWidth * static_cast<double>(k % 4), kHeight * static_cast<double>(k / 4), kWidth, kHeight};
        Rect const above{cell.x, cell.y, cell.width, cell.height - 30};
        drawSolids(sheet, {solids[k], speckAt(Vector3(0.5 * (low.x + high.x), low.y, 0.5 * (low.z + high.z)))},
                   viewOf(solids, 28, 10, above));
        sheet.text({cell.x + kWidth / 2, cell.y + kHeight - 12}, poses[k].name,
                   {18, palette::faintInk, Align::centre, false});
    }
    section.picture("poses.png", sheet,
                    "Eight poses. Every vertex follows its bones by its weights; the normals that the light falls on "
                    "are the crossed tangents of the deformed surface.");
    section.check(finite, "Every posed vertex and normal is a finite number", niceCount(8) + " poses");
}

std::vector<KeyFrame> motionOf(Skeleton const& skeleton)
{
    std::vector<KeyFrame> frames;
    for (int f = 0; f <= kMotionFrames; ++f) {
        double const phase = static_cast<double>(f % kMotionFrames) / kMotionFrames; // the last frame is the first
        Pose const pose = hasNamesOfTheFigure(skeleton) ? walking(skeleton, phase) : waving(skeleton, phase);
        frames.push_back({f * kMillisecondsPerFrame / 1000.0, takePose(skeleton, pose).bones});
    }
    return frames;
}

void addMotion(TourContext& tour, Section& section, Actor const& actor, std::vector<KeyFrame> const& motion)
{
    std::vector<Solid> solids;
    for (std::size_t f = 0; f + 1 < motion.size(); ++f) {
        solids.push_back(posedSolid(actor, PosedSkeleton{{}, motion[f].bones}));
    }
    std::vector<std::string> frames;
    int width = 0, height = 0;
    for (std::size_t f = 0; f < solids.size(); ++f) {
        tour.progress.update(0.4 + 0.5 * static_cast<double>(f) / static_cast<double>(solids.size()));
        Canvas sheet = tour.sheet(420, 520);
        drawSolids(sheet, {solids[f]}, viewOf(solids, 50, 8, {0, 0, 420, 520}));
        frames.push_back(sheet.png());
        width = sheet.pixels(420);
        height = sheet.pixels(520);
    }
    bool const walks = hasNamesOfTheFigure(tour.skeleton);
    section.picture("motion.png", animatedPng(frames, kMillisecondsPerFrame), width, height,
                    walks ? "A walk of two steps, again and again (an animated PNG)."
                          : "A wave through every chain of bones, again and again (an animated PNG).",
                    Width::half);
}

/// The mirror in a plane beside the figure, through the guard for display data alone.
void addMirror(TourContext& tour, Section& section, Actor const& actor)
{
    Pose const pose = eightPoses(tour.skeleton)[2].pose;
    Solid const posed = posedSolid(actor, takePose(tour.skeleton, pose));
    Vector3 low, high;
    tool::boundsOf(posed.positions, low, high);

    smart_ptr<DisplayData> const image(new DisplayData);
    image->surface = smart_ptr<SurfaceGeometryData>(new SurfaceGeometryData);
    image->surface->positions = posed.positions;
    image->surface->normals.assign(posed.normals.begin(), posed.normals.end());
    for (Triangle const& t : posed.triangles) {
        image->surface->indices.insert(image->surface->indices.end(), t.begin(), t.end());
    }
    Vector3 const beside(high.x + 0.06 * (high - low).length(), 0, 0);
    image->placement = Transform::reflection(beside, UVector3(1, 0, 0));
    Solid mirrored;
    {
        SubstituteGeometryData const guard(image);
        mirrored = solidOf(*image);
    }
    mirrored.colour = Colour::hex(0x9bb4cd);

    // With its winding reversed the image's faces look outwards as the original's do.
    auto const agreement = [](Solid const& solid) {
        long agree = 0;
        for (Triangle const& t : solid.triangles) {
            auto const at = [&](int corner) {
                return solid.positions[static_cast<std::size_t>(t[static_cast<std::size_t>(corner)])];
            };
            Vector3 const normal = cross(at(1) - at(0), at(2) - at(0));
            agree += normal * solid.normals[static_cast<std::size_t>(t[0])] > 0 ? 1 : 0;
        }
        return solid.triangles.empty() ? 1.0 : static_cast<double>(agree) / static_cast<double>(solid.triangles.size());
    };
    Canvas sheet = tour.sheet(420, 520);
    drawSolids(sheet, {posed, mirrored}, viewOf({posed, mirrored}, 12, 8, {0, 0, 420, 520}));
    section.picture("mirror.png", sheet,
                    "The figure and its mirror image, shown through the guard: its triangles are wound the other way, "
                    "so that they still face outwards.",
                    Width::half);
    section.check(std::fabs(agreement(mirrored) - agreement(posed)) < 1e-3,
                  "The mirror image faces outwards as the original does",
                  niceNumber(100 * agreement(mirrored), 4) + " % of its triangles agree with their normals, " +
                      niceNumber(100 * agreement(posed), 4) + " % of the original's");
}

bool sameBits(std::vector<double> const& a, std::vector<double> const& b)
{
    return a == b; // finite numbers; checked above
}

std::vector<double> numbersOf(SurfaceGeometryData const& surface)
{
    std::vector<double> numbers;
    for (Vector3 const& p : surface.positions) numbers.insert(numbers.end(), {p.x, p.y, p.z});
    for (Vector3 const& n : surface.normals) numbers.insert(numbers.end(), {n.x, n.y, n.z});
    return numbers;
}

void checkThatTheOriginalIsBack(Section& section, Actor const& actor)
{
    bool const same = actor.display->surface == actor.original &&
                      sameBits(numbersOf(*actor.original), numbersOf(actor.before)) &&
                      actor.original->indices == actor.before.indices && actor.display->placement == Transform();
    section.check(same, "After all guards the original surface and placement are back, bit for bit",
                  niceCount(static_cast<long long>(actor.before.positions.size())) + " vertices compared");
    section.check(actor.original->referenceCount == 2 && actor.display->referenceCount == 1,
                  "Every reference that a guard took was given back",
                  "surface held " + niceCount(actor.original->referenceCount) + " times, display data " +
                      niceCount(actor.display->referenceCount) + " time");
}

} // namespace

void poseStage(TourContext& tour)
{
    bool const given = !tour.givenWeights.empty();
    BoneWeights const& weights = given ? tour.givenWeights : tour.weights;
    if (tour.figure.positions.empty() || weights.size() != tour.figure.positions.size()) return;

    Section& section = tour.report.add("Poses");
    section.text(std::string("Bones carry the figure into poses, ") +
                 (given ? "with the weights that came with it" : "with the weights that heat gave its vertices") +
                 ". Each picture is drawn inside a guard that shows the display data deformed and puts the original "
                 "back when it goes out of scope.");
    Actor const actor = makeActor(tour.figure, weights);
    auto const found =
        sinew::diagnose(*actor.display->boneWeights, tour.figure.positions.size(), tour.skeleton.bones.size()).findings;
    for (std::size_t k = 0; k < found.size() && k < 3; ++k) section.text("A look at the weights: " + found[k].sentence);

    addPoses(tour, section, actor);
    std::vector<KeyFrame> const motion = motionOf(tour.skeleton);
    addMotion(tour, section, actor, motion);
    addMirror(tour, section, actor);
    std::vector<Vector3> const normals(actor.original->normals.begin(), actor.original->normals.end());
    section.file("figure.glb",
                 skinnedGlb({tour.figure.positions, normals, tour.figure.triangles, weights, tour.skeleton}, motion),
                 "The figure, skinned and moving, for any program that opens glTF.");
    checkThatTheOriginalIsBack(section, actor);
}

} // namespace tool
