// The stage of the module `skinning`: the figure in eight poses, in motion, mirrored, and as a file for other programs.

#include <tool/tour/stage.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include <sinew/skinning/skin.h>
#include <sinew/skinning/substitute_geometry_data.h>
#include <sinew/skinning/weights.h>

#include <tool/draw/animation.h>
#include <tool/draw/renderer.h>
#include <tool/figure/pose.h>
#include <tool/io/glb.h>
#include <tool/support/as_index.h>
#include <tool/support/bounds.h>

namespace tool {
namespace {

constexpr int kMotionFrames = 24;
constexpr int kMillisecondsPerFrame = 50;
constexpr double kShareOfPoses = 0.4; // of the stage's progress; the motion is the rest
constexpr Colour kClay = Colour::hex(0xcdb79b);

// The figure as arrays of a host. The influences of vertex v are those from offsets[v] to offsets[v + 1] - 1.
struct Actor
{
    std::vector<Vector3> positions;
    std::vector<UVector3> normals;
    std::vector<Triangle> triangles;
    std::vector<std::size_t> offsets;
    std::vector<int> bones;
    std::vector<double> weights;
};

Actor makeActor(Figure const& figure, BoneWeights const& weights)
{
    Actor actor;
    actor.positions = figure.positions;
    std::vector<Vector3> const normals =
        figure.normals.empty() ? vertexNormals(figure.positions, figure.triangles) : figure.normals;
    actor.normals.assign(normals.begin(), normals.end());
    actor.triangles = figure.triangles;
    actor.offsets.push_back(0);
    for (std::vector<double> const& row : weights) {
        for (std::size_t b = 0; b < row.size(); ++b) {
            if (!(row[b] > 0)) continue;
            actor.bones.push_back(static_cast<int>(b));
            actor.weights.push_back(row[b]);
        }
        actor.offsets.push_back(actor.bones.size());
    }
    return actor;
}

Solid posedSolid(Actor const& actor, std::vector<BoneTransform> const& bones,
                 sinew::SkinMethod method = sinew::SkinMethod::linear)
{
    std::size_t const count = actor.positions.size();
    sinew::SkinInput input;
    input.positions = sinew::coordinatesOf(actor.positions.data(), count);
    input.normals = sinew::coordinatesOf(actor.normals.data(), count);
    input.influences = {sinew::packed(actor.offsets), sinew::packed(actor.bones), sinew::packed(actor.weights)};
    input.bones = bones.data();
    input.boneCount = bones.size();
    input.method = method;
    Solid solid{std::vector<Vector3>(count), actor.triangles, std::vector<Vector3>(count)};
    solid.colour = kClay;
    sinew::skin(input, {sinew::coordinatesOf(solid.positions.data(), count),
                        sinew::coordinatesOf(solid.normals.data(), count)});
    return solid;
}

std::vector<int> indicesOf(std::vector<Triangle> const& triangles)
{
    std::vector<int> indices;
    for (Triangle const& t : triangles) indices.insert(indices.end(), t.begin(), t.end());
    return indices;
}

// A surface as display data of a host, without bones.
smart_ptr<DisplayData> displayOf(std::vector<Vector3> const& positions, std::vector<UVector3> const& normals,
                                 std::vector<Triangle> const& triangles)
{
    smart_ptr<DisplayData> const display(new DisplayData);
    display->surface = smart_ptr<SurfaceGeometryData>(new SurfaceGeometryData);
    display->surface->positions = positions;
    display->surface->normals = normals;
    display->surface->indices = indicesOf(triangles);
    return display;
}

smart_ptr<DisplayData> displayOf(Actor const& actor)
{
    smart_ptr<DisplayData> const display = displayOf(actor.positions, actor.normals, actor.triangles);
    display->boneWeights = smart_ptr<BoneWeightTable>(new BoneWeightTable);
    for (std::size_t v = 0; v + 1 < actor.offsets.size(); ++v) {
        display->boneWeights->influences.emplace_back();
        for (std::size_t k = actor.offsets[v]; k < actor.offsets[v + 1]; ++k) {
            display->boneWeights->influences.back().emplace_back(actor.bones[k], actor.weights[k]);
        }
    }
    return display;
}

// The surface that the display data shows now, in the world's frame.
Solid solidOf(DisplayData const& display)
{
    Solid solid;
    SurfaceGeometryData const& surface = *display.surface;
    Transform const directions = display.placement.linearComponent();
    for (Vector3 const& p : surface.positions) solid.positions.push_back(display.placement * p);
    for (UVector3 const& n : surface.normals) solid.normals.push_back(UVector3(directions * n));
    for (std::size_t i = 0; i + 2 < surface.indices.size(); i += 3) {
        solid.triangles.push_back({surface.indices[i], surface.indices[i + 1], surface.indices[i + 2]});
    }
    return solid;
}

bool allFinite(std::vector<Vector3> const& points)
{
    return std::all_of(points.begin(), points.end(), [](Vector3 const& p) { return std::isfinite(p.x + p.y + p.z); });
}

// The bounding box of several solids.
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

// A view of all solids that fills `where`, with a margin.
View viewOf(std::vector<Solid> const& solids, double azimuth, double elevation, Rect const& where)
{
    constexpr double kFilled = 0.88;         // of the rectangle; with the zoom, near parts become a little larger still
    constexpr double kSmallestWidest = 0.05; // of half the rectangle: limits the zoom
    Vector3 low, high;
    boundsOf(solids, low, high);
    View const probe(low, high, azimuth, elevation, where);
    double widest = kSmallestWidest;
    for (Solid const& solid : solids) {
        for (Vector3 const& p : solid.positions) {
            Point const at = probe(p);
            widest = std::max({widest, std::fabs(at.x - where.x - where.width / 2) / (where.width / 2),
                               std::fabs(at.y - where.y - where.height / 2) / (where.height / 2)});
        }
    }
    return View(low, high, azimuth, elevation, where, kFilled / widest);
}

// A solid that is too small to be seen. It keeps the ground at the height of the lowest pose in the pictures of all
// poses.
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
        solids.push_back(posedSolid(actor, takePose(tour.skeleton, pose.pose).bones));
        finite = finite && allFinite(solids.back().positions) && allFinite(solids.back().normals);
    }
    Vector3 low, high;
    boundsOf(solids, low, high);
    constexpr double kWidth = 360, kHeight = 460;
    Canvas sheet = tour.sheet(4 * kWidth, 2 * kHeight);
    for (std::size_t k = 0; k < solids.size(); ++k) {
        tour.progress.update(kShareOfPoses * static_cast<double>(k) / static_cast<double>(solids.size()));
        Rect const cell{kWidth * static_cast<double>(k % 4), kHeight * static_cast<double>(k / 4), kWidth, kHeight};
        Rect const above{cell.x, cell.y, cell.width, cell.height - 30};
        drawSolids(sheet, {solids[k], speckAt(Vector3(0.5 * (low.x + high.x), low.y, 0.5 * (low.z + high.z)))},
                   viewOf(solids, 28, 10, above));
        sheet.text({cell.x + kWidth / 2, cell.y + kHeight - 12}, poses[k].name,
                   {18, palette::faintInk, Align::centre, false});
    }
    section.picture("poses.png", sheet,
                    "Eight poses. Every vertex follows its bones by its weights. The normals are cross products of the "
                    "tangents of the deformed surface.");
    section.check(finite, "Every posed vertex and every normal is finite", niceCount(poses.size()) + " poses");
}

void addMethods(TourContext& tour, Section& section, Actor const& actor)
{
    constexpr double kDegrees = 150;
    constexpr double kWidth = 520, kHeight = 640;
    std::vector<BoneTransform> const bones = takePose(tour.skeleton, twisting(tour.skeleton, kDegrees)).bones;
    std::vector<Solid> const solids = {posedSolid(actor, bones, sinew::SkinMethod::linear),
                                       posedSolid(actor, bones, sinew::SkinMethod::dualQuaternion)};
    char const* const names[] = {"linear", "dual quaternions"};
    Canvas sheet = tour.sheet(2 * kWidth, kHeight);
    for (std::size_t k = 0; k < solids.size(); ++k) {
        double const x = kWidth * static_cast<double>(k);
        drawSolids(sheet, {solids[k]}, viewOf(solids, 28, 10, {x, 0, kWidth, kHeight - 30}));
        sheet.text({x + kWidth / 2, kHeight - 12}, names[k], {18, palette::faintInk, Align::centre, false});
    }
    section.picture("methods.png", sheet,
                    "The second last bones of all chains, such as forearms and lower legs, are twisted by " +
                        niceNumber(kDegrees, 3) +
                        " degrees. Where the linear method blends two bones, the limb becomes thin. Dual quaternions "
                        "keep its thickness.");
    section.check(allFinite(solids[1].positions) && allFinite(solids[1].normals),
                  "Every vertex and every normal that dual quaternions pose is finite",
                  niceCount(actor.positions.size()) + " vertices");
}

std::vector<KeyFrame> motionOf(Skeleton const& skeleton)
{
    std::vector<KeyFrame> frames;
    for (int f = 0; f <= kMotionFrames; ++f) {
        double const phase = static_cast<double>(f % kMotionFrames) / kMotionFrames; // the last frame equals the first
        Pose const pose = hasNamesOfTheFigure(skeleton) ? walking(skeleton, phase) : waving(skeleton, phase);
        frames.push_back({f * kMillisecondsPerFrame / 1000.0, takePose(skeleton, pose).bones});
    }
    return frames;
}

void addMotion(TourContext& tour, Section& section, Actor const& actor, std::vector<KeyFrame> const& motion)
{
    std::vector<Solid> solids;
    for (std::size_t f = 0; f + 1 < motion.size(); ++f) solids.push_back(posedSolid(actor, motion[f].bones));
    std::vector<std::string> frames;
    int width = 0, height = 0;
    for (std::size_t f = 0; f < solids.size(); ++f) {
        double const done = static_cast<double>(f) / static_cast<double>(solids.size());
        tour.progress.update(kShareOfPoses + (1 - kShareOfPoses) * done);
        Canvas sheet = tour.sheet(420, 520);
        drawSolids(sheet, {solids[f]}, viewOf(solids, 50, 8, {0, 0, 420, 520}));
        frames.push_back(sheet.png());
        width = sheet.pixels(420);
        height = sheet.pixels(520);
    }
    bool const walks = hasNamesOfTheFigure(tour.skeleton);
    section.picture("motion.png", animatedPng(frames, kMillisecondsPerFrame), width, height,
                    walks ? "A walk, repeated without end (an animated PNG)."
                          : "A wave through every chain of bones, repeated without end (an animated PNG).",
                    Width::half);
}

// The mirror image of a solid in a plane beside it. Display data with a reflection as its placement is shown through a
// guard, without bones.
Solid mirrorImage(Solid const& solid)
{
    Vector3 low, high;
    tool::boundsOf(solid.positions, low, high);
    std::vector<UVector3> const normals(solid.normals.begin(), solid.normals.end());
    smart_ptr<DisplayData> const image = displayOf(solid.positions, normals, solid.triangles);
    Vector3 const beside(high.x + 0.06 * (high - low).length(), 0, 0);
    image->placement = Transform::reflection(beside, UVector3(1, 0, 0));
    SubstituteGeometryData const guard(image);
    Solid mirrored = solidOf(*image);
    mirrored.colour = Colour::hex(0x9bb4cd);
    return mirrored;
}

// The share of the triangles whose corners run counter-clockwise around their normals.
double agreementWithNormals(Solid const& solid)
{
    if (solid.triangles.empty()) return 1;
    std::size_t agree = 0;
    for (Triangle const& t : solid.triangles) {
        auto const at = [&](std::size_t corner) { return solid.positions[asIndex(t[corner])]; };
        Vector3 const normal = cross(at(1) - at(0), at(2) - at(0));
        if (normal * solid.normals[asIndex(t[0])] > 0) ++agree;
    }
    return static_cast<double>(agree) / static_cast<double>(solid.triangles.size());
}

void addMirror(TourContext& tour, Section& section, Solid const& posed)
{
    Solid const mirrored = mirrorImage(posed);
    Canvas sheet = tour.sheet(420, 520);
    drawSolids(sheet, {posed, mirrored}, viewOf({posed, mirrored}, 12, 8, {0, 0, 420, 520}));
    section.picture("mirror.png", sheet,
                    "The figure and its mirror image, shown through the guard. The guard reverses the order of the "
                    "corners of each triangle, so that the triangles of the image face outwards too.",
                    Width::half);
    constexpr double kRounding = 1e-3; // rounding may change the side of triangles that are seen edge-on
    double const agreement = agreementWithNormals(posed), mirroredAgreement = agreementWithNormals(mirrored);
    section.check(std::fabs(mirroredAgreement - agreement) < kRounding,
                  "The triangles of the mirror image face outwards as those of the original do",
                  niceNumber(100 * mirroredAgreement, 4) + " % of its triangles agree with their normals, " +
                      niceNumber(100 * agreement, 4) + " % of the original's");
}

// Vector3 or UVector3, compared as bits.
template <typename A, typename B>
bool sameBits(std::vector<A> const& a, std::vector<B> const& b)
{
    static_assert(sizeof(A) == sizeof(Vector3) && sizeof(B) == sizeof(Vector3), "three doubles and nothing else");
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(A)) == 0);
}

// The same pose through display data: while the guard lives, they show the deformed surface.
void checkTheGuard(Section& section, Actor const& actor, std::vector<BoneTransform> const& bones, Solid const& posed)
{
    smart_ptr<DisplayData> const display = displayOf(actor);
    smart_ptr<SurfaceGeometryData> const original = display->surface;
    std::string const compared = niceCount(actor.positions.size()) + " vertices compared";
    {
        SubstituteGeometryData const guard(display, smart_ptr<BoneTransformVector>(new BoneTransformVector(bones)));
        SurfaceGeometryData const& shown = *display->surface;
        section.check(sameBits(shown.positions, posed.positions) && sameBits(shown.normals, posed.normals),
                      "Display data under the guard show the same pose as the arrays, bit for bit", compared);
    }
    bool const same = display->surface == original && sameBits(original->positions, actor.positions) &&
                      sameBits(original->normals, actor.normals) && original->indices == indicesOf(actor.triangles) &&
                      display->placement == Transform();
    section.check(same, "After the guard, surface and placement are the original ones, bit for bit", compared);
    section.check(original->referenceCount == 2 && display->referenceCount == 1,
                  "The guard has released all its references",
                  "reference counts: surface " + niceCount(original->referenceCount) + ", display data " +
                      niceCount(display->referenceCount));
}

} // namespace

void poseStage(TourContext& tour)
{
    bool const given = !tour.givenWeights.empty();
    BoneWeights const& weights = given ? tour.givenWeights : tour.weights;
    if (tour.figure.positions.empty() || weights.size() != tour.figure.positions.size()) return;

    Section& section = tour.report.add("Poses");
    section.text(
        std::string("The bones move the figure into poses, with ") +
        (given ? "the weights that came with it" : "the weights that heat gave to its vertices") +
        ". One call moves positions and normals from arrays to arrays. A host that keeps its surfaces in display data "
        "uses a guard instead: while the guard lives, the display data show the deformed surface, and at the end of "
        "its "
        "scope they show the original again.");
    Actor const actor = makeActor(tour.figure, weights);
    auto const found =
        sinew::diagnose(*displayOf(actor)->boneWeights, actor.positions.size(), tour.skeleton.bones.size()).findings;
    for (std::size_t k = 0; k < found.size() && k < 3; ++k) section.text("A look at the weights: " + found[k].sentence);

    addPoses(tour, section, actor);
    addMethods(tour, section, actor);
    std::vector<KeyFrame> const motion = motionOf(tour.skeleton);
    addMotion(tour, section, actor, motion);
    std::vector<BoneTransform> const bones = takePose(tour.skeleton, eightPoses(tour.skeleton)[2].pose).bones;
    Solid const posed = posedSolid(actor, bones);
    addMirror(tour, section, posed);
    std::vector<Vector3> const normals(actor.normals.begin(), actor.normals.end());
    section.file("figure.glb",
                 skinnedGlb({tour.figure.positions, normals, tour.figure.triangles, weights, tour.skeleton}, motion),
                 "The figure with its bones and the motion, for programs that read glTF.");
    checkTheGuard(section, actor, bones, posed);
}

} // namespace tool
