/// Fields around a skeleton: a smooth distance, the body it makes, its curvature, ellipsoids of its parts, and where
/// parts come near each other.

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
#include <tool/tour/stage.h>

namespace tool {
namespace {

constexpr double kCellsAlong = 150; // cubes along the longest edge of the body's box, at full size
constexpr double kSliceSheet = 1200;

/// What the parts of the stage share.
struct Body
{
    LimbField field;
    std::vector<Limb> limbs;
    MeshedSurface surface;
    std::vector<int> limbOfVertex; ///< the limb whose bones are nearest
    double size = 1;               ///< longest edge of the box
};

double distanceToBone(Skeleton const& skeleton, std::size_t bone, Vector3 const& p)
{
    auto const& [a, b] = skeleton.bones[bone];
    return std::sqrt(distSqToLineSegment(p, skeleton.joints[static_cast<std::size_t>(a)],
                                         skeleton.joints[static_cast<std::size_t>(b)], nullptr));
}

/// The limb that a point belongs to: nearest in the body's radii there.
int limbNear(Skeleton const& skeleton, std::vector<Limb> const& limbs, std::vector<double> const& radii,
             Vector3 const& p)
{
    int best = 0;
    double least = std::numeric_limits<double>::infinity();
    for (std::size_t l = 0; l < limbs.size(); ++l) {
        for (int const bone : limbs[l].bones) {
            auto const& [a, b] = skeleton.bones[static_cast<std::size_t>(bone)];
            double t = 0;
            distSqToLineSegment(p, skeleton.joints[static_cast<std::size_t>(a)],
                                skeleton.joints[static_cast<std::size_t>(b)], &t);
            double const radius = (1 - t) * radii[static_cast<std::size_t>(a)] + t * radii[static_cast<std::size_t>(b)];
            double const distance = distanceToBone(skeleton, static_cast<std::size_t>(bone), p) / radius;
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

/// The plane in which a skeleton spreads most: two coordinate axes, and the third at the mean of the joints.
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

/// Smooth distance of each point to the whole skeleton, limb by limb; no more than `blend` below the plain one.
std::vector<double> smoothDistances(Skeleton const& skeleton, std::vector<Limb> const& limbs,
                                    std::vector<Vector3> const& points, double blend)
{
    std::vector<double> least(points.size(), 1e13);
    std::vector<double> one(points.size());
    for (Limb const& limb : limbs) {
        std::vector<Vector3> polyline;
        for (int const j : limb.joints) polyline.push_back(skeleton.joints[static_cast<std::size_t>(j)]);
        sinew::smoothDistMany(polyline, points.data(), points.size(), blend, one.data(), nullptr, nullptr);
        for (std::size_t i = 0; i < points.size(); ++i)
            updateSmoothDist(one[i], {}, {}, least[i], blend, nullptr, nullptr);
    }
    for (double& d : least) d = std::sqrt(std::max(d, 0.0));
    return least;
}

void addSlice(TourContext& tour, Section& section, Body const& body)
{
    Slice const slice(tour.skeleton);
    Canvas sheet = tour.sheet(kSliceSheet, kSliceSheet);
    double const margin = 0.16 * body.size;
    Point const low = slice.flat(slice.low), high = slice.flat(slice.high);
    PlaneMap const map({low.x - margin, low.y - margin}, {high.x + margin, high.y + margin},
                       {0, 0, kSliceSheet, kSliceSheet});
    int const pixels = sheet.pixels(kSliceSheet);
    Image image(pixels, pixels);
    double const farthest = 0.36 * body.size;
    double const step = 0.02 * body.size;
    double const blend = 0.02 * body.size * body.size;
    std::vector<Vector3> points(static_cast<std::size_t>(pixels));
    std::vector<double> inBody;
    for (int y = 0; y < pixels; ++y) {
        tour.progress.update(static_cast<double>(y) / pixels);
        for (int x = 0; x < pixels; ++x) {
            points[static_cast<std::size_t>(x)] =
                slice.point(map.inverse({(x + 0.5) * kSliceSheet / pixels, (y + 0.5) * kSliceSheet / pixels}));
        }
        std::vector<double> const distances = smoothDistances(tour.skeleton, body.limbs, points, blend);
        body.field.values(points, inBody);
        for (int x = 0; x < pixels; ++x) {
            double const d = distances[static_cast<std::size_t>(x)];
            double const band = std::floor(d / step);
            Colour colour = viridis(1 - (band + 0.5) * step / farthest);
            if (std::fmod(band, 2.0) > 0.5) colour = mix(colour, {1, 1, 1}, 0.10);
            bool const inside = inBody[static_cast<std::size_t>(x)] < 0;
            image.at(x, y) = inside ? mix(colour, {1, 1, 1}, 0.55) : colour;
        }
    }
    sheet.image(image, {0, 0, kSliceSheet, kSliceSheet});
    for (auto const& [a, b] : tour.skeleton.bones) {
        sheet.line(map(slice.flat(tour.skeleton.joints[static_cast<std::size_t>(a)])),
                   map(slice.flat(tour.skeleton.joints[static_cast<std::size_t>(b)])), {palette::ink, 5});
    }
    for (Vector3 const& joint : tour.skeleton.joints) {
        sheet.circle(map(slice.flat(joint)), 8, palette::ink);
        sheet.circle(map(slice.flat(joint)), 4.5, palette::paper);
    }
    section.picture(
        "distance.png", sheet,
        "A slice through the smooth distance to the bones: each band is a fiftieth of the figure's size. Where "
        "two bones are equally near the bands turn round smoothly, without a crease. The pale shape is where "
        "the slice cuts the body that is made from the field.",
        Width::half);
}

// ---- pictures of the body

struct Portrait
{
    char const* file;
    char const* caption;
    double azimuth;
};

void addPortrait(TourContext& tour, Section& section, Body const& body, std::vector<Solid> const& solids,
                 Portrait const& portrait)
{
    Canvas sheet = tour.sheet(900, 1100);
    drawSolids(sheet, solids, View::fitted(body.surface.positions, portrait.azimuth, 8, {0, 0, 900, 1100}));
    section.picture(portrait.file, sheet, portrait.caption, Width::half);
}

Solid solidOf(MeshedSurface const& surface)
{
    Solid solid{surface.positions, surface.triangles};
    solid.normals = surface.normals;
    return solid;
}

/// Principal curvatures of the body at a vertex. The surface near it is written as a graph over its tangent plane,
/// whose second derivatives follow from the field's.
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
    body.field.hessian(p, 2e-4 * body.size, rows);
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
        mean[v] = -0.5 * (k1 + k2); // positive where the body bulges
    }
    std::vector<double> sorted = mean;
    std::sort(sorted.begin(), sorted.end());
    double const strong = sorted.empty() ? 1 : std::max(sorted[sorted.size() * 97 / 100], 1e-300);
    for (double const m : mean) solid.colours.push_back(diverging(0.85 * m / strong));
    addPortrait(
        tour, section, body, {solid},
        {"curvature.png",
         "Mean curvature on the body, by the field's derivatives: rust where it bulges, blue where it is hollow. The "
         "thin rings are where the bones of a limb meet: the surface is smooth there, but bends differently on either "
         "side.",
         28});
}

// ---- ellipsoids

/// The unit sphere's mesh carried onto the ellipsoid.
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
        if (points[b].size() < 4) continue; // a bone deep inside others has no surface of its own
        ImplEllipsoid const ellipsoid(points[b]);
        std::vector<double> radii(points[b].size());
        sinew::evaluateMany(ellipsoid, points[b].data(), points[b].size(), radii.data());
        outermost = std::max(outermost, *std::max_element(radii.begin(), radii.end()));
        solids.push_back(ellipsoidSolid(ellipsoid, mix(categorical(static_cast<int>(b)), {1, 1, 1}, 0.25)));
    }
    if (solids.empty()) return;
    addPortrait(tour, section, body, solids,
                {"ellipsoids.png",
                 "An ellipsoid fitted to the piece of the body around every bone. Each holds its whole piece.", 28});
    section.check(outermost <= 1 + 1e-9, "Every ellipsoid holds the points it was fitted to",
                  "largest ellipsoidal radius of a point " + niceNumber(outermost, 12));
}

// ---- nearness

/// The vertices of a limb away from the joints that it shares with another one, where limbs are near by nature.
std::vector<std::size_t> freeVertices(TourContext const& tour, Body const& body, std::size_t limb, std::size_t other)
{
    std::vector<Vector3> shared;
    for (int const j : body.limbs[limb].joints) {
        auto const& joints = body.limbs[other].joints;
        if (std::find(joints.begin(), joints.end(), j) != joints.end()) {
            shared.push_back(tour.skeleton.joints[static_cast<std::size_t>(j)]);
        }
    }
    std::vector<std::size_t> free;
    for (std::size_t v = 0; v < body.limbOfVertex.size(); ++v) {
        if (body.limbOfVertex[v] != static_cast<int>(limb)) continue;
        bool const away = std::all_of(shared.begin(), shared.end(), [&](Vector3 const& joint) {
            return dist(joint, body.surface.positions[v]) > 0.17 * body.size;
        });
        if (away) free.push_back(v);
    }
    return free;
}

void addNearness(TourContext& tour, Section& section, Body const& body)
{
    double const radius = 0.085 * body.size;
    std::vector<int> mark(body.surface.positions.size(), 0); // 1: the grid says maybe; 2: truly near
    long long missed = 0;
    auto const at = [&](std::size_t v) { return body.surface.positions[v]; };
    for (std::size_t l = 0; l < body.limbs.size(); ++l) {
        for (std::size_t m = 0; m < body.limbs.size(); ++m) {
            if (l == m) continue;
            std::vector<std::size_t> const mine = freeVertices(tour, body, l, m);
            std::vector<Vector3> theirs;
            for (std::size_t const v : freeVertices(tour, body, m, l)) theirs.push_back(at(v));
            ProximityTester const tester(theirs, radius);
            for (std::size_t const v : mine) {
                bool const maybe = tester.test(at(v));
                double nearest = std::numeric_limits<double>::infinity();
                for (std::size_t i = 0; i < theirs.size(); ++i) nearest = std::min(nearest, distSq(theirs[i], at(v)));
                bool const near = nearest <= radius * radius;
                if (near && !maybe) ++missed;
                mark[v] = std::max(mark[v], near ? 2 : maybe ? 1 : 0);
            }
        }
    }
    Solid solid = solidOf(body.surface);
    for (int const m : mark) {
        solid.colours.push_back(m == 2   ? Colour::hex(0xd1495b)
                                : m == 1 ? Colour::hex(0xf2d3a6)
                                         : Colour::hex(0xe4e0d8));
    }
    addPortrait(
        tour, section, body, {solid},
        {"nearness.png",
         "Where different limbs come near each other. Red: truly within the radius. Amber: the proximity grid says "
         "maybe; it answers in constant time and errs on that side.",
         28});
    section.numbers("Nearness",
                    {{"radius, of the figure's size", niceNumber(radius / body.size)},
                     {"vertices truly near another limb", niceCount(std::count(mark.begin(), mark.end(), 2))},
                     {"vertices where the grid says maybe", niceCount(std::count(mark.begin(), mark.end(), 1))},
                     {"near, but beyond the grid's upper border", niceCount(missed)}});
}

void addNumbers(Section& section, Body const& body)
{
    MeshedSurface const& surface = body.surface;
    SurfaceTopology const topology = topologyOf(surface.triangles, surface.positions.size());
    section.numbers("The body",
                    {{"vertices", niceCount(static_cast<long long>(surface.positions.size()))},
                     {"triangles", niceCount(static_cast<long long>(surface.triangles.size()))},
                     {"blocks of cubes in the box", niceCount(static_cast<long long>(surface.blocks))},
                     {"blocks that had to be evaluated", niceCount(static_cast<long long>(surface.visitedBlocks))},
                     {"pieces", niceCount(topology.pieces)},
                     {"Euler number", niceCount(topology.eulerNumber)},
                     {"largest |field| at a vertex", niceNumber(surface.largestValue, 2)}});
    section.check(!surface.triangles.empty() && topology.openEdges == 0, "The surface is closed",
                  niceCount(static_cast<long long>(topology.openEdges)) + " open edges");
    section.check(surface.largestValue < 1e-11, "Every vertex lies on the surface",
                  "largest |field| " + niceNumber(surface.largestValue, 2));
}

} // namespace

void fieldStage(TourContext& tour)
{
    Section& section = tour.report.add("Fields");
    section.text(
        "Around the bones of a skeleton lies a field: the squared distance to the nearest bone, but blended where "
        "several are near, so that it can be differentiated everywhere. Where it reaches a chosen value lies a "
        "smooth body, which is meshed here and posed further down.");
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
