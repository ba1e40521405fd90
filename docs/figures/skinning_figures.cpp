// The pictures of docs/skinning.md.
//
// The first shows a ring of vertices with normals, seen along its axis, that a bone squashes and turns: the library's
// normals, and the rest normals after a rotation. The second shows what a bone does to a tube. The third shows a
// twisted and a bent tube under two bones, blended linearly and by dual quaternions. The fourth shows a thick finger
// beside a thin one that is raised, with weights from heat that ignore visibility and with those that respect it.

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <sinew/sinew.h>

#include <tool/io/files.h>

#include "figure.h"
#include "skinning/heat_scene.h"

namespace {

using figures::Frame;
using tool::Align;
using tool::Canvas;
using tool::Colour;
using tool::Point;
namespace colours = figures::colours;

using Lines = std::vector<std::vector<Point>>;

constexpr double kPi = 3.14159265358979323846;
constexpr Colour kOurs = colours::blue;
constexpr Colour kRotated = colours::red;
constexpr Colour kSurface = colours::grey;

void addArrow(Lines& lines, Point const& from, Point const& tip)
{
    double const length = std::hypot(tip.x - from.x, tip.y - from.y);
    Point const along{(tip.x - from.x) / length, (tip.y - from.y) / length};
    Point const base{tip.x - 5 * along.x, tip.y - 5 * along.y};
    lines.push_back({from, tip});
    lines.push_back({{base.x - 3 * along.y, base.y + 3 * along.x}, tip, {base.x + 3 * along.y, base.y - 3 * along.x}});
}

smart_ptr<DisplayData> ring(int count)
{
    smart_ptr<DisplayData> display(new DisplayData);
    display->surface = smart_ptr<SurfaceGeometryData>(new SurfaceGeometryData);
    display->boneWeights = smart_ptr<BoneWeightTable>(new BoneWeightTable);
    for (int i = 0; i < count; ++i) {
        double const angle = 2 * kPi * i / count;
        UVector3 const outwards(std::cos(angle), std::sin(angle), 0);
        display->surface->positions.push_back(outwards);
        display->surface->normals.push_back(outwards);
        display->boneWeights->influences.push_back({{0, 1.0}});
    }
    return display;
}

// A ring under one bone, with the library's normals and, in red, the rest normals after `rotation` alone.
void drawRing(Canvas& canvas, BoneTransform const& bone, Matrix3 const& rotation, Frame const& frame)
{
    smart_ptr<DisplayData> const display = ring(28);
    smart_ptr<BoneTransformVector> const bones(new BoneTransformVector({bone}));
    SurfaceGeometryData const& rest = *display->surface;
    smart_ptr<SurfaceGeometryData> const posed = BoneTransformModifyer(bones)(display);
    Lines surface(1), rotated, ours;
    for (std::size_t i = 0; i < posed->positions.size(); ++i) {
        Vector3 const& p = posed->positions[i];
        surface[0].push_back(frame(p));
        addArrow(rotated, frame(p), frame(p + 0.35 * (rotation * rest.normals[i])));
        addArrow(ours, frame(p), frame(p + 0.425 * posed->normals[i]));
    }
    canvas.polylines(surface, {kSurface, 2.5}, true);
    canvas.polylines(rotated, {kRotated, 1.6});
    canvas.polylines(ours, {kOurs, 1.6});
}

void drawSquashedNormals(Canvas& canvas)
{
    canvas.text({30, 30}, "A bone squashed to 0.4 of its length: normals", {17, tool::palette::ink, Align::left, true});
    canvas.line({540, 24}, {570, 24}, {kOurs, 3});
    canvas.text({578, 30}, "sinew: cross product of deformed tangents", {14});
    canvas.line({540, 46}, {570, 46}, {kRotated, 3});
    canvas.text({578, 52}, "rest normals, rotated with the bone", {14});
    BoneTransform const still({0, 0, 0}, {1, 0, 0}, {0, 0, 0}, {1, 0, 0}, 0);
    BoneTransform const squashed({0, 0, 0}, {1, 0, 0}, {0, 0, 0}, {0.4, 0, 0}, 0);
    Vector3 const leaning(std::cos(kPi / 6), std::sin(kPi / 6), 0);
    BoneTransform const squashedAndTurned({0, 0, 0}, {1, 0, 0}, {0, 0, 0}, 0.4 * leaning, 0);
    drawRing(canvas, still, Matrix3(), {{160, 190}, 80});
    drawRing(canvas, squashed, Matrix3(), {{440, 190}, 80});
    drawRing(canvas, squashedAndTurned, Matrix3::rotationMatrix(UVector3(1, 0, 0), UVector3(leaning)),
             {{720, 190}, 80});
    tool::TextStyle const centred{14, tool::palette::ink, Align::centre};
    canvas.text({160, 322}, "at rest", centred);
    canvas.text({440, 322}, "squashed along x", centred);
    canvas.text({720, 322}, "squashed and turned by 30 degrees", centred);
}

// A grid of lines along and around a tube of unit length under a bone, seen from the side and a little from above.
void drawTube(Canvas& canvas, BoneTransform const& bone, Point const& corner, char const* title)
{
    constexpr int kLinesAlong = 12;
    constexpr int kMarked = 3; // the red line, which shows the twist
    constexpr int kRings = 7;
    Frame const frame{corner, 120};
    auto const seen = [&](double along, double angle) {
        Vector3 const p = bone * Vector3(along, 0.35 * std::cos(angle), 0.35 * std::sin(angle));
        return frame(Vector3(p.x + 0.375 * p.z, p.y + 0.21 * p.z, 0)); // oblique, so that rings show as rings
    };
    Lines surface, marked;
    for (int k = 0; k < kLinesAlong; ++k) {
        std::vector<Point> line;
        for (int i = 0; i <= 24; ++i) line.push_back(seen(i / 24.0, 2 * kPi * k / kLinesAlong));
        (k == kMarked ? marked : surface).push_back(line);
    }
    for (int i = 0; i < kRings; ++i) {
        surface.emplace_back();
        for (int k = 0; k <= 36; ++k) surface.back().push_back(seen(i / (kRings - 1.0), 2 * kPi * k / 36));
    }
    canvas.polylines(surface, {kSurface, 1});
    canvas.polylines(marked, {kRotated, 3});
    Lines axis;
    addArrow(axis, frame(bone.translation), frame(bone * Vector3(1, 0, 0)));
    canvas.polylines(axis, {kOurs, 1.6});
    canvas.text({corner.x, 238}, title, {14});
}

void drawBoneParts(Canvas& canvas)
{
    canvas.text({30, 28}, "What a bone does to a tube around it", {17, tool::palette::ink, Align::left, true});
    Vector3 const o(0, 0, 0);
    Vector3 const x(1, 0, 0);
    Vector3 const raised(std::cos(0.5), std::sin(0.5), 0);
    drawTube(canvas, BoneTransform(o, x, o, x, 0), {40, 160}, "at rest");
    drawTube(canvas, BoneTransform(o, x, o, raised, 0), {235, 175}, "turned");
    drawTube(canvas, BoneTransform(o, x, o, x, kPi / 2), {430, 160}, "twisted by a quarter turn");
    drawTube(canvas, BoneTransform(o, x, o, 1.6 * x, 0), {640, 160}, "stretched by 1.6, equally thick");
}

// A piece of a surface as it is seen, and its distance from the viewer.
struct Face
{
    double depth;
    std::vector<Point> outline;
    Colour colour;
};

// Draws from back to front.
void drawFaces(Canvas& canvas, std::vector<Face> faces)
{
    std::stable_sort(faces.begin(), faces.end(), [](Face const& a, Face const& b) { return a.depth < b.depth; });
    for (Face const& face : faces) {
        canvas.polygon(face.outline, face.colour);
        canvas.polyline(face.outline, {face.colour, 0.6}, true); // closes the gaps between neighbours
    }
}

Colour lit(Colour const& base, UVector3 const& normal)
{
    double const light = 0.45 + 0.55 * std::fabs(normal * UVector3(-0.35, 0.6, 0.75));
    return {base.r * light, base.g * light, base.b * light};
}

// A tube along x from -1.1 to 1.1, with its joint at the origin. Bone 0 keeps the left end, bone 1 moves the right one.
class JointedTube
{
public:
    static constexpr int kRings = 45;
    static constexpr int kAround = 48;

    JointedTube(BoneTransform const& bone, sinew::SkinMethod method)
    {
        std::vector<Vector3> rest, normals;
        std::vector<double> weights;
        for (int i = 0; i < kRings; ++i) {
            double const x = -1.1 + 2.2 * i / (kRings - 1);
            double const s = std::clamp((x + 0.5) / 1.0, 0.0, 1.0);
            double const weight = s * s * (3 - 2 * s);
            for (int k = 0; k < kAround; ++k) {
                double const angle = 2 * kPi * k / kAround;
                normals.emplace_back(0, std::cos(angle), std::sin(angle));
                rest.push_back(Vector3(x, 0, 0) + 0.33 * normals.back());
                weights.insert(weights.end(), {1 - weight, weight});
            }
        }
        std::vector<int> bonesOfAll = {0, 1};
        std::vector<BoneTransform> const bones = {BoneTransform(), bone};
        sinew::SkinInput input;
        input.positions = sinew::coordinatesOf(rest.data(), rest.size());
        input.normals = sinew::coordinatesOf(normals.data(), normals.size());
        // Stride 0: all vertices have the same two bones.
        input.influences = {2, sinew::Strided<int const>(bonesOfAll.data(), rest.size(), 0), sinew::packed(weights, 2)};
        input.bones = bones.data();
        input.boneCount = bones.size();
        input.method = method;
        positions_.resize(rest.size());
        normals_.resize(rest.size());
        sinew::skin(input, {sinew::coordinatesOf(positions_.data(), rest.size()),
                            sinew::coordinatesOf(normals_.data(), rest.size())});
    }

    // Shaded quadrilaterals from back to front; a stripe along the tube shows the twist.
    void draw(Canvas& canvas, Point const& centre) const
    {
        Matrix3 const view = Matrix3::rotationMatrix(UVector3(1, 0, 0), 0.35);
        Frame const frame{centre, 84};
        std::vector<Face> faces;
        for (int i = 0; i + 1 < kRings; ++i) {
            for (int k = 0; k < kAround; ++k) {
                int const corners[4] = {at(i, k), at(i + 1, k), at(i + 1, k + 1), at(i, k + 1)};
                Face face = {0, {}, kOurs};
                Vector3 normal;
                for (int const corner : corners) {
                    Vector3 const p = view * positions_[static_cast<std::size_t>(corner)];
                    face.outline.push_back(frame(p));
                    face.depth += p.z;
                    normal += view * normals_[static_cast<std::size_t>(corner)];
                }
                bool const isStripe = k % 16 < 3;
                face.colour = lit(isStripe ? kRotated : colours::lightBlue, UVector3(normal));
                faces.push_back(face);
            }
        }
        drawFaces(canvas, faces);
    }

private:
    static int at(int ring, int around) { return ring * kAround + around % kAround; }

    std::vector<Vector3> positions_;
    std::vector<Vector3> normals_;
};

void drawMethods(Canvas& canvas)
{
    canvas.text({30, 28}, "One joint, two methods", {17, tool::palette::ink, Align::left, true});
    BoneTransform twisted;
    twisted.linear = Matrix3::rotationMatrix(UVector3(1, 0, 0), 0.98 * kPi);
    BoneTransform bent;
    bent.linear = Matrix3::rotationMatrix(UVector3(0, 0, 1), 1.75);
    BoneTransform both;
    both.linear =
        Matrix3::rotationMatrix(UVector3(0, 0, 1), 1.1) * twisted.linear * sinew::diagonalMatrix(1.15, 1.3, 1.3);
    struct Pose
    {
        BoneTransform bone;
        double x;
        char const* title;
    };
    tool::TextStyle const centred{14, tool::palette::ink, Align::centre};
    double const rows[] = {150, 330};
    canvas.text({30, rows[0] - 48}, "linear", {14, tool::palette::ink, Align::left, true});
    canvas.text({30, rows[1] - 48}, "dual quaternions", {14, tool::palette::ink, Align::left, true});
    for (Pose const& pose : {Pose{twisted, 170, "twisted by 176 degrees"}, Pose{bent, 440, "bent by 100 degrees"},
                             Pose{both, 710, "bent, twisted, stretched"}}) {
        JointedTube(pose.bone, sinew::SkinMethod::linear).draw(canvas, {pose.x, rows[0]});
        JointedTube(pose.bone, sinew::SkinMethod::dualQuaternion).draw(canvas, {pose.x, rows[1]});
        canvas.text({pose.x, 402}, pose.title, centred);
    }
}

// A thick finger, and a thin one that touches it nearly and is raised by its bone. Colours show the weights.
void drawFingers(Canvas& canvas, sinew::BoneVisibility visibility, Point const& corner)
{
    test::HeatScene hand = test::tube(3, 0.4, 91, 72);
    hand.add(test::tube(3, 0.12, 91, 36, {0, 0.55, 0}));
    Vector3 const root(0, 0.55, 0), tip(3, 0.55, 0);
    sinew::HeatWeights const heat = sinew::heatWeights(hand.mesh(), {{{0, 0, 0}, {3, 0, 0}}, {root, tip}}, visibility);
    std::vector<BoneTransform> const bones = {
        BoneTransform(), BoneTransform(root, tip, root, root + 3 * Vector3(std::cos(0.35), std::sin(0.35), 0), 0)};
    std::vector<int> const bonesOfAll = {0, 1};
    sinew::SkinInput input;
    std::vector<Vector3> posed(hand.positions.size());
    input.positions = sinew::coordinatesOf(hand.positions.data(), posed.size());
    input.influences = {2, sinew::Strided<int const>(bonesOfAll.data(), posed.size(), 0),
                        sinew::packed(heat.weights, 2)};
    input.bones = bones.data();
    input.boneCount = bones.size();
    sinew::skin(input, {sinew::coordinatesOf(posed.data(), posed.size()), {}});

    Matrix3 const view = Matrix3::rotationMatrix(UVector3(1, 0, 0), 0.25);
    Frame const frame{corner, 118};
    std::vector<Face> faces;
    for (auto const& t : hand.triangles) {
        Face face = {0, {}, kOurs};
        Vector3 p[3];
        double weight = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            std::size_t const v = static_cast<std::size_t>(t[k]);
            p[k] = view * posed[v];
            face.outline.push_back(frame(p[k]));
            face.depth += p[k].z;
            weight += heat.weight(v, 1) / 3;
        }
        face.colour = lit(tool::mix(colours::lightBlue, kRotated, weight), UVector3(cross(p[1] - p[0], p[2] - p[0])));
        faces.push_back(face);
    }
    drawFaces(canvas, faces);
}

void drawVisibility(Canvas& canvas)
{
    canvas.text({30, 28}, "A thin finger is raised beside a thick one", {17, tool::palette::ink, Align::left, true});
    canvas.text({548, 28}, "red: weight of the thin finger's bone", {14});
    drawFingers(canvas, sinew::BoneVisibility::ignored, {50, 260});
    drawFingers(canvas, sinew::BoneVisibility::respected, {490, 260});
    tool::TextStyle const centred{14, tool::palette::ink, Align::centre};
    canvas.text({227, 342}, "the nearest bone counts, seen or not", centred);
    canvas.text({667, 342}, "a hidden bone does not count", centred);
}

} // namespace

int main(int argc, char** argv)
{
    std::string const folder = argc > 1 ? argv[1] : ".";
    tool::writeFile(folder + "/skinning_normals.svg", tool::svgOf(900, 330, drawSquashedNormals));
    tool::writeFile(folder + "/skinning_bone.svg", tool::svgOf(900, 250, drawBoneParts));
    Canvas methods(900, 420, 2);
    drawMethods(methods);
    tool::writeFile(folder + "/skinning_methods.png", methods.png());
    Canvas visibility(900, 360, 2);
    drawVisibility(visibility);
    tool::writeFile(folder + "/skinning_heat.png", visibility.png());
}
