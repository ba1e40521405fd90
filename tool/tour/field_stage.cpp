// The stage of the module `fields`: a smooth distance around a skeleton, the body that it defines, the body's
// curvature, ellipsoids of its parts, and the proximity of its limbs.

#include <tool/tour/stage.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include <sinew/core/eigen_solver.h>
#include <sinew/core/vector_geometry.h>
#include <sinew/fields/impl_ellipsoid.h>
#include <sinew/fields/proximity_tester.h>
#include <sinew/fields/smooth_distance.h>

#include <tool/draw/renderer.h>
#include <tool/figure/limb_field.h>
#include <tool/support/as_index.h>
#include <tool/support/bounds.h>

namespace tool {
namespace {

constexpr double kCellsAlong = 150; // cubes along the longest edge of the body's box, at full size

// The data that the parts of the stage share.
struct Body
{
    LimbField field;
    std::vector<Limb> limbs;
    MeshedSurface surface;
    std::vector<int> limbOfVertex; // the limb whose bones are nearest
    double size = 1;               // longest edge of the box
};

// The limb of a point: the nearest one, when distances are divided by the radius of the body.
int limbNear(Skeleton const& skeleton, std::vector<Limb> const& limbs, std::vector<double> const& radii,
             Vector3 const& p)
{
    int best = 0;
    double least = std::numeric_limits<double>::infinity();
    for (std::size_t l = 0; l < limbs.size(); ++l) {
        for (int const bone : limbs[l].bones) {
            auto const& [a, b] = skeleton.bones[asIndex(bone)];
            double t = 0;
            double const distSq = distSqToLineSegment(p, skeleton.joints[asIndex(a)], skeleton.joints[asIndex(b)], &t);
            double const radius = (1 - t) * radii[asIndex(a)] + t * radii[asIndex(b)];
            double const distance = std::sqrt(distSq) / radius;
            if (distance < least) {
                least = distance;
                best = static_cast<int>(l);
            }
        }
    }
    return best;
}

Body makeBody(TourContext& tour)
{
    Body body{LimbField(tour.skeleton), limbsOf(tour.skeleton), {}, {}};
    Vector3 low, high;
    body.field.bounds(low, high);
    body.size = std::max({high.x - low.x, high.y - low.y, high.z - low.z});
    double const cells = kCellsAlong * std::clamp(tour.options.pixels, 0.6, 1.5);
    body.surface = meshZeros(body.field, low, high, body.size / cells);
    std::vector<double> const radii = radiiOf(tour.skeleton);
    for (Vector3 const& p : body.surface.positions) {
        body.limbOfVertex.push_back(limbNear(tour.skeleton, body.limbs, radii, p));
    }
    return body;
}

// ---- a slice through the distance

constexpr double kSliceSheet = 1200;

// The numbers of the slice, relative to the figure's size.
constexpr double kSliceMargin = 0.16;
constexpr double kBand = 0.02;
constexpr double kFarthestColour = 0.36;
constexpr double kSliceBlend = 0.02; // in squared sizes

constexpr double kFarthestSq = 1e13; // smooth distances start from this square

// The plane of the slice: perpendicular to the coordinate axis along which the skeleton is shortest, through the mean
// of its joints.
struct Slice
{
    int across, up, depth;
    double at;
    Vector3 low, high;

    explicit Slice(Skeleton const& skeleton)
    {
        boundsOf(skeleton.joints, low, high);
        Vector3 const extent = high - low;
        depth = extent.z <= extent.x && extent.z <= extent.y ? 2 : extent.x <= extent.y ? 0 : 1;
        across = depth == 0 ? 2 : 0;
        up = depth == 1 ? 2 : 1;
        at = 0;
        for (Vector3 const& joint : skeleton.joints) at += joint[depth] / static_cast<double>(skeleton.joints.size());
    }

    Vector3 point(Point const& p) const
    {
        Vector3 result;
        result[across] = p.x;
        result[up] = p.y;
        result[depth] = at;
        return result;
    }
    Point flat(Vector3 const& p) const { return {p[across], p[up]}; }
};

// The smooth distance of each point to the whole skeleton: a smooth minimum over its limbs whose blend has the width
// `blend`, a squared length.
std::vector<double> smoothDistances(Skeleton const& skeleton, std::vector<Limb> const& limbs,
                                    std::vector<Vector3> const& points, double blend)
{
    std::vector<double> least(points.size(), kFarthestSq);
    std::vector<double> one(points.size());
    for (Limb const& limb : limbs) {
        sinew::smoothDistMany(jointsOf(skeleton, limb), points.data(), points.size(), blend, one.data(), nullptr,
                              nullptr);
        for (std::size_t i = 0; i < points.size(); ++i)
            updateSmoothDist(one[i], {}, {}, least[i], blend, nullptr, nullptr);
    }
    for (double& d : least) d = std::sqrt(std::max(d, 0.0));
    return least;
}

// The colour of a point at `distance`: bands, every second one a little paler. The body is paler still.
Colour bandColour(double distance, bool inBody, double figureSize)
{
    double const step = kBand * figureSize;
    double const band = std::floor(distance / step);
    Colour colour = viridis(1 - (band + 0.5) * step / (kFarthestColour * figureSize));
    if (std::fmod(band, 2.0) > 0.5) colour = mix(colour, {1, 1, 1}, 0.10);
    return inBody ? mix(colour, {1, 1, 1}, 0.55) : colour;
}

Image sliceImage(TourContext& tour, Body const& body, Slice const& slice, PlaneMap const& map, int pixels)
{
    Image image(pixels, pixels);
    double const unitsPerPixel = kSliceSheet / pixels;
    double const blend = kSliceBlend * body.size * body.size;
    std::vector<Vector3> row(asIndex(pixels));
    std::vector<double> inBody;
    for (int y = 0; y < pixels; ++y) {
        tour.progress.update(static_cast<double>(y) / pixels);
        for (int x = 0; x < pixels; ++x) {
            row[asIndex(x)] = slice.point(map.inverse({(x + 0.5) * unitsPerPixel, (y + 0.5) * unitsPerPixel}));
        }
        std::vector<double> const distances = smoothDistances(tour.skeleton, body.limbs, row, blend);
        body.field.values(row, inBody);
        for (int x = 0; x < pixels; ++x) {
            image.at(x, y) = bandColour(distances[asIndex(x)], inBody[asIndex(x)] < 0, body.size);
        }
    }
    return image;
}

void addSlice(TourContext& tour, Section& section, Body const& body)
{
    Slice const slice(tour.skeleton);
    Canvas sheet = tour.sheet(kSliceSheet, kSliceSheet);
    double const margin = kSliceMargin * body.size;
    Point const low = slice.flat(slice.low), high = slice.flat(slice.high);
    PlaneMap const map({low.x - margin, low.y - margin}, {high.x + margin, high.y + margin},
                       {0, 0, kSliceSheet, kSliceSheet});
    sheet.image(sliceImage(tour, body, slice, map, sheet.pixels(kSliceSheet)), {0, 0, kSliceSheet, kSliceSheet});
    for (std::size_t b = 0; b < tour.skeleton.bones.size(); ++b) {
        sheet.line(map(slice.flat(tour.skeleton.startOf(b))), map(slice.flat(tour.skeleton.endOf(b))),
                   {palette::ink, 5});
    }
    for (Vector3 const& joint : tour.skeleton.joints) {
        sheet.circle(map(slice.flat(joint)), 8, palette::ink);
        sheet.circle(map(slice.flat(joint)), 4.5, palette::paper);
    }
    section.picture("distance.png", sheet,
                    "A slice through the smooth distance to the bones. Each band is a fiftieth of the figure's size. "
                    "Where two bones are equally near, the bands are smooth and have no crease. The pale shape is the "
                    "part of the body that lies in the slice; the body is defined by the field.",
                    Width::half);
}

// ---- pictures of the body

constexpr double kAzimuth = 28;       // of the views, in degrees
constexpr double kHessianStep = 2e-4; // of the central differences, relative to the figure's size
constexpr int kStrongPercent = 97;    // this percentile of the mean curvatures gets the colour kStrongColour
constexpr double kStrongColour = 0.85;
constexpr double kSmallestCurvature = 1e-300; // where that percentile is zero: no division by zero

void addPicture(TourContext& tour, Section& section, Body const& body, std::vector<Solid> const& solids,
                char const* file, char const* caption)
{
    Canvas sheet = tour.sheet(900, 1100);
    drawSolids(sheet, solids, View::fitted(body.surface.positions, kAzimuth, 8, {0, 0, 900, 1100}));
    section.picture(file, sheet, caption, Width::half);
}

Solid solidOf(MeshedSurface const& surface)
{
    Solid solid{surface.positions, surface.triangles};
    solid.normals = surface.normals;
    return solid;
}

// Principal curvatures of the body at a vertex. Near the vertex the surface is a graph over its tangent plane; its
// second derivatives follow from those of the field.
bool curvatures(Body const& body, std::size_t v, double* k1, double* k2)
{
    Vector3 const& p = body.surface.positions[v];
    Vector3 gradient;
    body.field.value(p, &gradient);
    double const steepness = gradient.length();
    Vector3 const& n = body.surface.normals[v];
    Vector3 first[2];
    getBasis(n, first[0], first[1]);
    Vector3 rows[3];
    body.field.hessian(p, kHessianStep * body.size, rows);
    auto const second = [&](Vector3 const& a, Vector3 const& b) {
        Vector3 const hb(rows[0] * b, rows[1] * b, rows[2] * b);
        return n * (-(a * hb) / steepness);
    };
    Vector3 const seconds[3] = {second(first[0], first[0]), second(first[0], first[1]), second(first[1], first[1])};
    return principalCurvatures(first, seconds, k1, k2);
}

void addCurvature(TourContext& tour, Section& section, Body const& body)
{
    Solid solid = solidOf(body.surface);
    std::vector<double> mean(solid.positions.size(), 0);
    for (std::size_t v = 0; v < mean.size(); ++v) {
        double k1 = 0, k2 = 0;
        curvatures(body, v, &k1, &k2);
        mean[v] = -0.5 * (k1 + k2); // positive where the body is convex
    }
    std::vector<double> sorted = mean;
    std::sort(sorted.begin(), sorted.end());
    double const strong =
        sorted.empty() ? 1 : std::max(sorted[sorted.size() * kStrongPercent / 100], kSmallestCurvature);
    for (double const m : mean) solid.colours.push_back(diverging(kStrongColour * m / strong));
    addPicture(
        tour, section, body, {solid}, "curvature.png",
        "Mean curvature of the body, from the field's derivatives: rust where the body is convex, blue where it is "
        "concave. The thin rings are at the joints of a limb: the surface is smooth there, but its curvature "
        "differs on the two sides.");
}

// ---- ellipsoids

constexpr double kRounding = 1e-9; // of the ellipsoidal radius 1 of the outermost point

// A mesh of the unit sphere, mapped to the ellipsoid.
Solid ellipsoidSolid(ImplEllipsoid const& ellipsoid, Colour colour)
{
    constexpr int kRings = 24;
    constexpr int kSectors = 40;
    constexpr double kPi = 3.14159265358979323846;
    double eigenvalues[3];
    UVector3 axes[3];
    jacobiMethod(ellipsoid.shape, eigenvalues, axes);
    Solid solid;
    solid.colour = colour;
    for (int i = 0; i <= kRings; ++i) {
        for (int j = 0; j < kSectors; ++j) {
            double const polar = kPi * i / kRings, azimuth = 2 * kPi * j / kSectors;
            double const unit[3] = {std::sin(polar) * std::cos(azimuth), std::sin(polar) * std::sin(azimuth),
                                    std::cos(polar)};
            Vector3 p = ellipsoid.centre;
            for (int k = 0; k < 3; ++k) p += axes[k] * (unit[k] / std::sqrt(eigenvalues[k]));
            solid.positions.push_back(p);
            if (i == kRings) continue;
            int const a = i * kSectors + j, b = i * kSectors + (j + 1) % kSectors;
            solid.triangles.push_back({a, a + kSectors, b + kSectors});
            solid.triangles.push_back({a, b + kSectors, b});
        }
    }
    return solid;
}

std::vector<std::vector<Vector3>> pointsOfBones(Skeleton const& skeleton, MeshedSurface const& surface)
{
    std::vector<std::vector<Vector3>> points(skeleton.bones.size());
    for (Vector3 const& p : surface.positions) {
        std::size_t nearest = 0;
        for (std::size_t b = 1; b < points.size(); ++b) {
            if (distanceToBone(skeleton, b, p) < distanceToBone(skeleton, nearest, p)) nearest = b;
        }
        points[nearest].push_back(p);
    }
    return points;
}

void addEllipsoids(TourContext& tour, Section& section, Body const& body)
{
    std::vector<Solid> solids;
    double outermost = 0;
    std::vector<std::vector<Vector3>> const points = pointsOfBones(tour.skeleton, body.surface);
    for (std::size_t b = 0; b < points.size(); ++b) {
        if (points[b].size() < 4) continue; // a bone deep inside the body is nearest to few vertices or none
        ImplEllipsoid const ellipsoid(points[b]);
        std::vector<double> radii(points[b].size());
        sinew::evaluateMany(ellipsoid, points[b].data(), points[b].size(), radii.data());
        outermost = std::max(outermost, *std::max_element(radii.begin(), radii.end()));
        solids.push_back(ellipsoidSolid(ellipsoid, mix(categorical(static_cast<int>(b)), {1, 1, 1}, 0.25)));
    }
    if (solids.empty()) return;
    addPicture(
        tour, section, body, solids, "ellipsoids.png",
        "For every bone, an ellipsoid fitted to the part of the body that is nearest to the bone. Each ellipsoid "
        "contains all points of its part.");
    section.check(outermost <= 1 + kRounding, "Every ellipsoid contains the points that it was fitted to",
                  "the largest ellipsoidal radius of a point is " + niceNumber(outermost, 12));
}

// ---- nearness

// Relative to the figure's size.
constexpr double kNearRadius = 0.085;
constexpr double kFreeRadius = 0.17; // of the part around a shared joint, where two limbs are always near each other

// The vertices of a limb that are not near the joints which it shares with the other limb.
std::vector<std::size_t> freeVertices(TourContext const& tour, Body const& body, std::size_t limb, std::size_t other)
{
    std::vector<Vector3> shared;
    for (int const j : body.limbs[limb].joints) {
        auto const& joints = body.limbs[other].joints;
        if (std::find(joints.begin(), joints.end(), j) != joints.end()) {
            shared.push_back(tour.skeleton.joints[asIndex(j)]);
        }
    }
    std::vector<std::size_t> free;
    for (std::size_t v = 0; v < body.limbOfVertex.size(); ++v) {
        if (body.limbOfVertex[v] != static_cast<int>(limb)) continue;
        bool const away = std::all_of(shared.begin(), shared.end(), [&](Vector3 const& joint) {
            return dist(joint, body.surface.positions[v]) > kFreeRadius * body.size;
        });
        if (away) free.push_back(v);
    }
    return free;
}

// What the proximity grid and the exact distances say about a vertex.
enum class Nearness
{
    far,
    farButTested, // the grid's test is true, but the vertex is farther than the radius
    near
};

struct NearnessResult
{
    std::vector<Nearness> ofVertex;
    std::size_t missed = 0; // pairs of a vertex and a limb that are near, although the grid's test is false
};

double nearestDistSq(std::vector<Vector3> const& points, Vector3 const& p)
{
    double nearest = std::numeric_limits<double>::infinity();
    for (Vector3 const& q : points) nearest = std::min(nearest, distSq(q, p));
    return nearest;
}

NearnessResult findNearness(TourContext const& tour, Body const& body, double radius)
{
    NearnessResult result;
    result.ofVertex.assign(body.surface.positions.size(), Nearness::far);
    for (std::size_t limb = 0; limb < body.limbs.size(); ++limb) {
        for (std::size_t other = 0; other < body.limbs.size(); ++other) {
            if (limb == other) continue;
            std::vector<Vector3> points;
            for (std::size_t const v : freeVertices(tour, body, other, limb)) {
                points.push_back(body.surface.positions[v]);
            }
            ProximityTester const tester(points, radius);
            for (std::size_t const v : freeVertices(tour, body, limb, other)) {
                Vector3 const& p = body.surface.positions[v];
                bool const tested = tester.test(p);
                bool const near = nearestDistSq(points, p) <= radius * radius;
                if (near && !tested) ++result.missed;
                Nearness const found = near ? Nearness::near : tested ? Nearness::farButTested : Nearness::far;
                result.ofVertex[v] = std::max(result.ofVertex[v], found);
            }
        }
    }
    return result;
}

void addNearness(TourContext& tour, Section& section, Body const& body)
{
    NearnessResult const nearness = findNearness(tour, body, kNearRadius * body.size);
    Solid solid = solidOf(body.surface);
    for (Nearness const found : nearness.ofVertex) {
        solid.colours.push_back(found == Nearness::near           ? Colour::hex(0xd1495b)
                                : found == Nearness::farButTested ? Colour::hex(0xf2d3a6)
                                                                  : Colour::hex(0xe4e0d8));
    }
    addPicture(tour, section, body, {solid}, "nearness.png",
               "Where different limbs are near each other. Red: within the radius. Amber: farther, but the test of the "
               "proximity grid is true. That test takes constant time and may err in this direction only.");
    auto const countOf = [&](Nearness found) {
        return niceCount(std::count(nearness.ofVertex.begin(), nearness.ofVertex.end(), found));
    };
    section.numbers("Nearness", {{"radius, of the figure's size", niceNumber(kNearRadius)},
                                 {"vertices within the radius of another limb", countOf(Nearness::near)},
                                 {"other vertices for which the test is true", countOf(Nearness::farButTested)},
                                 {"within the radius, but outside the grid", niceCount(nearness.missed)}});
}

// ---- the body in numbers

constexpr double kOnSurface = 1e-11; // |field| of a vertex: far above what rounding leaves after the Newton steps

void addNumbers(Section& section, Body const& body)
{
    MeshedSurface const& surface = body.surface;
    SurfaceTopology const topology = topologyOf(surface.triangles, surface.positions.size());
    section.numbers("The body", {{"vertices", niceCount(surface.positions.size())},
                                 {"triangles", niceCount(surface.triangles.size())},
                                 {"blocks of cubes in the box", niceCount(surface.blocks)},
                                 {"blocks that were evaluated", niceCount(surface.visitedBlocks)},
                                 {"pieces", niceCount(topology.pieces)},
                                 {"Euler number", niceCount(topology.eulerNumber)},
                                 {"largest |field| at a vertex", niceNumber(surface.largestValue, 2)}});
    section.check(!surface.triangles.empty() && topology.openEdges == 0, "The surface is closed",
                  niceCount(topology.openEdges) + " open edges");
    section.check(surface.largestValue < kOnSurface, "Every vertex lies on the surface",
                  "largest |field| " + niceNumber(surface.largestValue, 2));
}

} // namespace

void fieldStage(TourContext& tour)
{
    Section& section = tour.report.add("Fields");
    section.text(
        "A field surrounds the bones of a skeleton: the squared distance to the nearest bone, blended where "
        "several bones are near, so that its derivatives exist everywhere. The points with a chosen value form "
        "a smooth body. It is meshed here and posed in a later section.");
    Body const body = makeBody(tour);
    addSlice(tour, section, body);
    addCurvature(tour, section, body);
    addEllipsoids(tour, section, body);
    addNearness(tour, section, body);
    addNumbers(section, body);
    if (tour.skeletonIsBundled) {
        long const euler = topologyOf(body.surface.triangles, body.surface.positions.size()).eulerNumber;
        section.check(euler == 2, "The figure is one piece without a handle", "Euler number " + niceCount(euler));
    }
    if (!tour.figure.positions.empty()) return; // the user's own mesh is posed
    tour.figure = {body.surface.positions, body.surface.normals, body.surface.triangles};
}

} // namespace tool
