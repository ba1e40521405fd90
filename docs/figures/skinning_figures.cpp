// The pictures of docs/skinning.md, as SVG.
//
// A ring of vertices with normals, seen along its axis, is squashed, stretched or twisted by a bone; the library's
// normals stand beside those that a rotation of the rest normals would give.

#include <cmath>
#include <string>

#include <sinew/sinew.h>

#include "svg.h"

namespace {

double const kPi = 3.14159265358979323846;

using figures::Point;
using figures::Svg;

Point flat(Vector3 const& v)
{
    return {v.x, v.y};
}

void line(Svg& drawing, Vector3 const& a, Vector3 const& b, char const* colour, double thickness)
{
    drawing.line(flat(a), flat(b), colour, thickness);
}

void arrow(Svg& drawing, Vector3 const& from, Vector3 const& step, char const* colour)
{
    Vector3 const tip = from + step;
    UVector3 const along(step);
    Vector3 const across(-along.y, along.x, 0);
    line(drawing, from, tip, colour, 1.6);
    line(drawing, tip, tip - 5 * along + 3 * across, colour, 1.6);
    line(drawing, tip, tip - 5 * along - 3 * across, colour, 1.6);
}

char const* const kOurs = "#0b6fa4";
char const* const kRotated = "#d1495b";
char const* const kSurface = "#8a8378";

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

// A ring under one bone, at `centre`, with the library's normals and, in red, the rest normals merely rotated.
void drawRing(Svg& drawing, BoneTransform const& bone, Matrix3 const& rotation, Vector3 const& centre)
{
    smart_ptr<DisplayData> const display = ring(28);
    smart_ptr<BoneTransformVector> const bones(new BoneTransformVector({bone}));
    SurfaceGeometryData const& rest = *display->surface;
    smart_ptr<SurfaceGeometryData> const posed = BoneTransformModifyer(bones)(display);
    double const radius = 80;
    auto const at = [&](std::size_t i) { return centre + radius * posed->positions[i % posed->positions.size()]; };
    for (std::size_t i = 0; i < posed->positions.size(); ++i) {
        line(drawing, at(i), at(i + 1), kSurface, 2.5);
        arrow(drawing, at(i), 28 * (rotation * rest.normals[i]), kRotated);
        arrow(drawing, at(i), 34 * posed->normals[i], kOurs);
    }
}

void squashedNormals(std::string const& folder)
{
    Svg drawing(900, 330);
    drawing.text({30, 300}, "A bone squashed to 0.4 of its length: normals", "font-size='17' font-weight='bold'");
    line(drawing, {500, 306, 0}, {530, 306, 0}, kOurs, 3);
    drawing.text({538, 300}, "sinew: cross of deformed tangents");
    line(drawing, {500, 284, 0}, {530, 284, 0}, kRotated, 3);
    drawing.text({538, 278}, "rest normals, rotated with the bone");
    BoneTransform const still({0, 0, 0}, {1, 0, 0}, {0, 0, 0}, {1, 0, 0}, 0);
    BoneTransform const squashed({0, 0, 0}, {1, 0, 0}, {0, 0, 0}, {0.4, 0, 0}, 0);
    Vector3 const leaning(std::cos(kPi / 6), std::sin(kPi / 6), 0);
    BoneTransform const leaningToo({0, 0, 0}, {1, 0, 0}, {0, 0, 0}, 0.4 * leaning, 0);
    drawRing(drawing, still, Matrix3(), {160, 140, 0});
    drawRing(drawing, squashed, Matrix3(), {440, 140, 0});
    drawRing(drawing, leaningToo, Matrix3::rotationMatrix(UVector3(1, 0, 0), UVector3(leaning)), {720, 140, 0});
    drawing.text({160, 8}, "at rest", "text-anchor='middle'");
    drawing.text({440, 8}, "squashed along x", "text-anchor='middle'");
    drawing.text({720, 8}, "squashed and turned by 30 degrees", "text-anchor='middle'");
    drawing.save(folder + "/skinning_normals.svg");
}

// A grid of lines along and around a unit tube under a bone, seen from the side and a little from above.
void drawTube(Svg& drawing, BoneTransform const& bone, Vector3 const& corner, char const* title)
{
    auto const seen = [&](double along, double angle) {
        Vector3 const p = bone * Vector3(along, 0.35 * std::cos(angle), 0.35 * std::sin(angle));
        return corner + Vector3(120 * p.x + 45 * p.z, 120 * p.y + 25 * p.z, 0); // oblique, so that rings show as rings
    };
    int const steps = 24;
    for (int k = 0; k < 12; ++k) {
        double const angle = 2 * kPi * k / 12;
        for (int i = 0; i < steps; ++i) {
            line(drawing, seen(i / 24.0, angle), seen((i + 1) / 24.0, angle), k == 3 ? kRotated : kSurface,
                 k == 3 ? 3 : 1);
        }
    }
    for (int i = 0; i <= steps; i += 4) {
        for (int k = 0; k < 36; ++k) {
            line(drawing, seen(i / 24.0, 2 * kPi * k / 36), seen(i / 24.0, 2 * kPi * (k + 1) / 36), kSurface, 1);
        }
    }
    Vector3 const start = corner + Vector3(120 * bone.translation.x, 120 * bone.translation.y, 0);
    Vector3 const end = corner + 120 * (bone * Vector3(1, 0, 0));
    arrow(drawing, start, end - start, kOurs);
    drawing.text({corner.x, 12}, title);
}

void boneParts(std::string const& folder)
{
    Svg drawing(900, 250);
    drawing.text({30, 222}, "What a bone does to the tube around it", "font-size='17' font-weight='bold'");
    Vector3 const o(0, 0, 0);
    Vector3 const x(1, 0, 0);
    Vector3 const raised(std::cos(0.5), std::sin(0.5), 0);
    drawTube(drawing, BoneTransform(o, x, o, x, 0), {40, 90, 0}, "at rest");
    drawTube(drawing, BoneTransform(o, x, o, raised, 0), {235, 75, 0}, "turned");
    drawTube(drawing, BoneTransform(o, x, o, x, kPi / 2), {430, 90, 0}, "twisted by a quarter turn");
    drawTube(drawing, BoneTransform(o, x, o, 1.6 * x, 0), {640, 90, 0}, "stretched by 1.6, as thick as before");
    drawing.save(folder + "/skinning_bone.svg");
}

} // namespace

int main(int argc, char** argv)
{
    std::string const folder = argc > 1 ? argv[1] : ".";
    squashedNormals(folder);
    boneParts(folder);
    return 0;
}
