// The stage of the module `meshfunc`: the mesh function of a textured model, with its domain, its values, and its
// extrapolation outside the domain.

#include <tool/tour/stage.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <memory>
#include <optional>

#include <tool/draw/renderer.h>
#include <tool/figure/mesh_pieces.h>
#include <tool/support/as_index.h>
#include <tool/support/bounds.h>
#include <tool/support/stopwatch.h>
#include <tool/tour/position_map.h>
#include <tool/tour/textured_function.h>

namespace tool {
namespace {

constexpr double kSheet = 1200;
constexpr double kTexels = 800;        // along a side of the texture, at full size
constexpr double kMargin = 110;        // of the sheet around the domain, for the extrapolation
constexpr double kChequers = 24;       // along the longer edge of the side view
constexpr int kTimedEvery = 7;         // one in so many pixels is evaluated again to measure the time
constexpr double kSmallestView = 1e-9; // of the values that a side view shows: no division by zero
constexpr std::size_t kMostRings = 40; // more rings around vertices would hide the picture

// The function's values at all pixels of a sheet, counts of them, and the mean times of an evaluation.
struct Survey
{
    sinew::Raster raster;
    std::vector<Vector2> values; // row by row
    std::vector<float> scalars;
    std::unique_ptr<bool[]> isInside;
    std::unique_ptr<bool[]> isKnown; // false where the function cannot be extrapolated
    std::size_t inside = 0;
    std::size_t outside = 0;
    std::size_t unknown = 0; // part of `outside`
    double nanosecondsInside = 0;
    double nanosecondsOutside = 0;
    double nanosecondsOfRaster = 0;

    std::size_t pixelAt(int x, int y) const { return asIndex(y) * asIndex(raster.width) + asIndex(x); }
};

PlaneMap domainMap(MeshFunction2D const& function)
{
    Vector2 low, high;
    boundsOf(function.params, low, high);
    return {{low.x, low.y}, {high.x, high.y}, Rect{0, 0, kSheet, kSheet}.inset(kMargin)};
}

Point onSheet(PlaneMap const& map, Vector2 const& p)
{
    return map({p.x, p.y});
}

// Nanoseconds to evaluate the function at one of the points.
double nanosecondsPerPoint(MeshFunction2D const& function, std::vector<Vector2> const& points)
{
    if (points.empty()) return 0;
    Stopwatch const watch;
    double sum = 0;
    for (Vector2 const& p : points) {
        Vector2 value;
        float scalar = 0;
        function.extrapolate(p, &value, &scalar);
        sum += value.x + scalar;
    }
    double const seconds = watch.seconds();
    // The use of the sum keeps the compiler from removing the loop.
    return sum == sum ? 1e9 * seconds / static_cast<double>(points.size()) : 0;
}

// The times of single calls, for some of the pixels.
void timeSingleCalls(MeshFunction2D const& function, Survey& survey)
{
    std::vector<Vector2> inside, outside;
    for (int y = 0; y < survey.raster.height; ++y) {
        for (int x = 0; x < survey.raster.width; ++x) {
            if ((x + y * 3) % kTimedEvery != 0) continue;
            (survey.isInside[survey.pixelAt(x, y)] ? inside : outside).push_back(pixelPoint(survey.raster, x, y));
        }
    }
    survey.nanosecondsInside = nanosecondsPerPoint(function, inside);
    survey.nanosecondsOutside = nanosecondsPerPoint(function, outside);
}

Survey surveyOf(TourContext const& tour, MeshFunction2D const& function, PlaneMap const& map)
{
    Survey result;
    int const pixels = tour.sheet(kSheet, 1).pixels(kSheet);
    result.raster = rasterOf(map, {0, 0, kSheet, kSheet}, pixels, pixels);
    std::size_t const count = asIndex(pixels) * asIndex(pixels);
    result.values.resize(count);
    result.scalars.resize(count);
    result.isInside = std::make_unique<bool[]>(count);
    result.isKnown = std::make_unique<bool[]>(count);
    auto const show = [&tour](double fraction) {
        tour.progress.update(fraction);
        return true;
    };
    Stopwatch const watch;
    std::size_t const known = sinew::extrapolateRaster(function, result.raster, result.values.data(),
                                                       result.scalars.data(), result.isKnown.get(), show)
                                  .value(); // never cancelled
    result.nanosecondsOfRaster = 1e9 * watch.seconds() / static_cast<double>(count);
    result.inside = sinew::evaluateRaster(function, result.raster, nullptr, nullptr, result.isInside.get());
    result.outside = count - result.inside;
    result.unknown = count - known;
    timeSingleCalls(function, result);
    return result;
}

// A picture of the domain: `colourOf` the pixels, hatched outside the islands.
template <typename ColourOf>
Image paint(Survey const& survey, ColourOf const& colourOf)
{
    Image image(survey.raster.width, survey.raster.height, palette::paper);
    double const unitsPerPixel = kSheet / image.width();
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            std::size_t const i = survey.pixelAt(x, y);
            if (!survey.isKnown[i]) continue;
            Colour const colour = colourOf(i);
            image.at(x, y) = survey.isInside[i] ? colour : asOutside(colour, x * unitsPerPixel, y * unitsPerPixel);
        }
    }
    return image;
}

Colour chequer(Vector2 const& value)
{
    bool const odd = std::fmod(std::fabs(std::floor(value.x * kChequers) + std::floor(value.y * kChequers)), 2.0) > 0.5;
    Colour const colour = viridis(0.08 + 0.84 * value.x);
    return odd ? mix(colour, {1, 1, 1}, 0.62) : colour;
}

void drawLoops(Canvas& sheet, MeshFunction2D const& function, PlaneMap const& map, double width,
               std::optional<Colour> colour = std::nullopt)
{
    for (std::size_t k = 0; k < function.boundaryProjectors.size(); ++k) {
        std::vector<Point> line;
        for (Vector3 const& p : function.boundaryProjectors[k]->points) line.push_back(map({p.x, p.y}));
        sheet.polyline(line, {colour.value_or(categorical(static_cast<int>(k))), width});
    }
}

// The positions that boundary loops visit more than once.
std::vector<Point> touchingVertices(MeshFunction2D const& function)
{
    std::map<std::pair<double, double>, int> visits;
    for (auto const& loop : function.boundaryProjectors) {
        for (std::size_t i = 0; i + 1 < loop->points.size(); ++i) ++visits[{loop->points[i].x, loop->points[i].y}];
    }
    std::vector<Point> touching;
    for (auto const& [place, count] : visits) {
        if (count > 1) touching.push_back({place.first, place.second});
    }
    return touching;
}

void drawIslands(Canvas& sheet, MeshFunction2D const& function, PlaneMap const& map, int& islandCount)
{
    std::vector<int> const island = pieceOfTriangle(function.facets, function.params.size(), islandCount);
    for (std::size_t t = 0; t < island.size(); ++t) {
        std::vector<Point> corners;
        for (std::size_t k = 0; k < 3; ++k) {
            corners.push_back(onSheet(map, function.params[asIndex(function.facets[3 * t + k])]));
        }
        Colour const colour = categorical(island[t] + 1);
        sheet.polygon(corners, mix(palette::paper, colour, 0.22));
        sheet.polyline(corners, {mix(palette::paper, colour, 0.5), 0.6}, true);
    }
}

std::string counted(std::size_t count, std::string const& one, std::string const& many)
{
    return niceCount(count) + " " + (count == 1 ? one : many);
}

int addIslands(TourContext& tour, Section& section, MeshFunction2D const& function, PlaneMap const& map)
{
    Canvas sheet = tour.sheet(kSheet, kSheet);
    int islandCount = 0;
    drawIslands(sheet, function, map, islandCount);
    drawLoops(sheet, function, map, 4);
    std::vector<Point> const touching = touchingVertices(function);
    if (touching.size() <= kMostRings) {
        for (Point const& p : touching) {
            sheet.ring(map(p), 15, {palette::paper, 7});
            sheet.ring(map(p), 15, {palette::accent, 3.5});
        }
    }
    std::string caption = "The texture of the model: " + counted(asIndex(islandCount), "island", "islands") + " and " +
                          counted(function.boundaryProjectors.size(), "boundary loop", "boundary loops") +
                          ", each loop in a different colour.";
    if (!touching.empty()) {
        caption +=
            " Rings mark " + counted(touching.size(), "vertex", "vertices") + " where the boundary touches itself.";
    }
    section.picture("islands.png", sheet, caption, Width::half);
    return islandCount;
}

// A sheet with the triangles of the model in the side view, in ink on paper.
Canvas drawSilhouette(TourContext& tour, MeshFunction2D const& function, PlaneMap const& map)
{
    Canvas sheet = tour.sheet(kSheet, kSheet);
    for (std::size_t t = 0; t + 2 < function.facets.size(); t += 3) {
        std::vector<Point> corners;
        for (std::size_t k = 0; k < 3; ++k) {
            corners.push_back(onSheet(map, function.values[asIndex(function.facets[t + k])]));
        }
        sheet.polygon(corners, palette::ink);
        sheet.polyline(corners, {palette::ink, 1}, true); // covers the hairlines between neighbours
    }
    return sheet;
}

// The side view: a straight chequer, hatched outside the model.
void addSideView(TourContext& tour, Section& section, MeshFunction2D const& function)
{
    Vector2 low, high;
    boundsOf(function.values, low, high);
    PlaneMap const map({0, 0}, {std::max(high.x, kSmallestView), std::max(high.y, kSmallestView)},
                       Rect{0, 0, kSheet, kSheet}.inset(70));
    Canvas sheet = drawSilhouette(tour, function, map);
    Image image = sheet.pixelsOf();
    double const unitsPerPixel = kSheet / image.width();
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            Colour& colour = image.at(x, y);
            double const covered =
                std::clamp((palette::paper.r - colour.r) / (palette::paper.r - palette::ink.r), 0.0, 1.0);
            Point const at = map.inverse({(x + 0.5) * unitsPerPixel, (y + 0.5) * unitsPerPixel});
            Colour const inside = chequer({at.x, at.y});
            colour = mix(asOutside(inside, x * unitsPerPixel, y * unitsPerPixel), inside, covered);
        }
    }
    sheet.image(image, {0, 0, kSheet, kSheet});
    section.picture("side-view.png", sheet,
                    "The values of the mesh function: positions in a side view of the model. A straight chequer covers "
                    "the view; its colours run from dark at the left to yellow at the right.",
                    Width::half);
}

void addValues(TourContext& tour, Section& section, MeshFunction2D const& function, PlaneMap const& map,
               Survey const& survey)
{
    Canvas chequered = tour.sheet(kSheet, kSheet);
    chequered.image(paint(survey, [&](std::size_t i) { return chequer(survey.values[i]); }), {0, 0, kSheet, kSheet});
    drawLoops(chequered, function, map, 2);
    section.picture("values.png", chequered,
                    "The mesh function, evaluated at every pixel of the texture: the chequer of the side view appears "
                    "in the texture. It is bent where flattening has stretched the model. Pale and hatched: the "
                    "function outside the islands, extrapolated from the nearest boundary triangle.",
                    Width::half);

    Canvas scalar = tour.sheet(kSheet, kSheet);
    scalar.image(paint(survey, [&](std::size_t i) { return diverging(survey.scalars[i]); }), {0, 0, kSheet, kSheet});
    drawLoops(scalar, function, map, 1.5);
    drawColourBar(
        scalar, {kSheet / 2 - 210, kSheet - 62, 420, 18}, [](double t) { return diverging(2 * t - 1); },
        "-1: facing away", "1: facing the viewer", "scalar");
    section.picture("scalar.png", scalar,
                    "The scalar of the mesh function: the cosine of the angle between the surface's normal and the "
                    "direction to the viewer. It is negative (blue) on the far side.",
                    Width::half);
}

// A round eye on an island of the texture, from its bounds.
void paintEye(Image& texture, Vector2 const& low, Vector2 const& high)
{
    Vector2 const centre = (low + high) * 0.5;
    double const radius = 0.5 * (high.x - low.x);
    for (int y = 0; y < texture.height(); ++y) {
        for (int x = 0; x < texture.width(); ++x) {
            Vector2 const at((x + 0.5) / texture.width(), 1 - (y + 0.5) / texture.height());
            double const r = (at - centre).length() / radius;
            if (r > 1.3) continue;
            texture.at(x, y) = r < 0.52   ? Colour::hex(0x14161a)
                               : r < 0.74 ? Colour::hex(0xd8a531)
                                          : Colour::hex(0x2b2a2c);
        }
    }
}

// The eyes of the bundled model: its islands whose names begin with "eye".
void paintEyes(TexturedMesh const& mesh, Image& texture)
{
    for (std::size_t g = 0; g < mesh.groups.size(); ++g) {
        if (mesh.groups[g].rfind("eye", 0) != 0) continue;
        std::vector<Vector2> corners;
        for (std::size_t t = 0; t < mesh.texTriangles.size(); ++t) {
            if (asIndex(mesh.groupOfTriangle[t]) != g) continue;
            for (int const i : mesh.texTriangles[t]) corners.push_back(mesh.texcoords[asIndex(i)]);
        }
        Vector2 low, high;
        boundsOf(corners, low, high);
        paintEye(texture, low, high);
    }
}

void addModel(TourContext& tour, Section& section, MeshFunction2D const& function)
{
    TexturedMesh const& mesh = tour.mesh;
    Canvas flat = tour.sheet(kSheet, kSheet);
    Image texture = bakeTexture(function, flat.pixels(kTexels));
    if (tour.meshIsBundled) paintEyes(mesh, texture);

    Canvas sheet = tour.sheet(1200, 720);
    View const view = View::fitted(mesh.positions, sideAzimuth(mesh), 16, {0, 0, 1200, 720}, 0.84);
    auto const sample = [&texture](Vector2 const& at) { return texture.sample(at.x, at.y); };
    drawSolids(sheet, {texturedSolid(mesh, sample)}, view);
    section.picture("model.png", sheet,
                    mesh.name +
                        " with a texture that was made with its mesh function: for every texel, the function gives the "
                        "position in the side view, and a flat pattern gives the colour there.");

    flat.image(texture, {0, 0, kSheet, kSheet});
    PlaneMap const map({0, 0}, {1, 1}, {0, 0, kSheet, kSheet});
    drawLoops(flat, function, map, 5, palette::paper); // a pale rim makes the outline visible on dark patches
    drawLoops(flat, function, map, 2, palette::ink);
    section.picture(
        "texture.png", flat,
        "This texture. Outside the islands it is painted with the extrapolated function, so that no seam of "
        "the model shows a wrong colour.",
        Width::half);
}

// Compares the map with the mesh function: seen from the side, both must give the same positions.
void checkPositions(Section& section, TexturedMesh const& mesh, MeshFunction2D const& function, PositionMap const& map)
{
    constexpr double kRounding = 1e-9; // of the largest coordinate
    std::vector<Vector2> values(map.positions.size());
    sinew::evaluateRaster(function, map.raster, values.data(), nullptr, nullptr);
    SideProjection const inSideView(mesh.positions);
    double largest = 0, farthest = 0;
    std::size_t compared = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (!map.isInside(i)) continue;
        largest = std::max(largest, (inSideView(map.positions[i]) - values[i]).length());
        ++compared;
    }
    for (Vector3 const& p : mesh.positions)
        farthest = std::max({farthest, std::fabs(p.x), std::fabs(p.y), std::fabs(p.z)});
    section.check(largest <= kRounding * (1 + farthest / inSideView.longestEdge()),
                  "Seen from the side, the position map gives the values of the mesh function",
                  niceCount(compared) + " texels, within " + niceNumber(largest, 2));
}

// The map on the left, and on the right the model drawn from it.
void addPositionMap(TourContext& tour, Section& section, MeshFunction2D const& function)
{
    constexpr double kSide = 540;     // of the map
    constexpr int kMostTexels = 1600; // along a side; each is a vertex of the model on the right
    Vector2 low, high;
    boundsOf(function.params, low, high);
    Rect const left{0, 0, kSide, kSide}, right{kSide, 0, kSheet - kSide, kSide};
    PlaneMap const onSheet({low.x, low.y}, {high.x, high.y}, left.inset(kSide * kMargin / kSheet));
    Canvas sheet = tour.sheet(kSheet, kSide);
    int const texels = std::min(sheet.pixels(kSide), kMostTexels);
    PositionMap const map = bakePositions(tour.mesh, function, rasterOf(onSheet, left, texels, texels));
    PositionColours const colours(tour.mesh.positions);
    Solid const model = solidOf(map, function.facets, function.params.size(), colours);
    drawSolids(sheet, {model}, View::fitted(tour.mesh.positions, sideAzimuth(tour.mesh), 16, right, 0.84));
    sheet.image(pictureOf(map, colours, kSide / texels), left);
    drawLoops(sheet, function, onSheet, 1.5, palette::ink);
    section.picture("position-map.png", sheet,
                    "Left: a position map. For every texel it holds the point of the model in space: red, green and "
                    "blue grow with x, y and z. Right: the model, drawn from this map alone, a vertex for each of " +
                        niceCount(model.positions.size()) +
                        " texels. The texels around the islands are extrapolated (pale and hatched); those nearest to "
                        "an island close the seams.");
    checkPositions(section, tour.mesh, function, map);
}

void addChecks(Section& section, MeshFunction2D const& function, Survey const& survey, bool bundled)
{
    std::size_t tested = 0;
    std::size_t inside = 0;
    std::size_t same = 0;
    for (std::size_t t = 0; t + 2 < function.facets.size(); t += 3) {
        int const a = function.facets[t], b = function.facets[t + 1], c = function.facets[t + 2];
        Vector2 const middle =
            (function.params[asIndex(a)] + function.params[asIndex(b)] + function.params[asIndex(c)]) / 3.0;
        Vector2 value, extrapolated;
        if (!function.iEvalInFacet(a, b, c, middle, &value, nullptr, true)) continue; // a triangle without area
        ++tested;
        if (!function.evaluate(middle, &value, nullptr)) continue;
        ++inside;
        bool const known = function.extrapolate(middle, &extrapolated, nullptr);
        if (known && std::memcmp(&value, &extrapolated, sizeof value) == 0) ++same;
    }
    section.check(inside == tested, "The middle of every triangle is inside",
                  niceCount(inside) + " of " + niceCount(tested));
    section.check(same == tested, "Inside, extrapolate gives the same bits as evaluate",
                  niceCount(same) + " of " + niceCount(tested));
    std::size_t closed = 0;
    for (auto const& loop : function.boundaryProjectors) {
        if (loop->points.front() == loop->points.back()) ++closed;
    }
    section.check(closed == function.boundaryProjectors.size(), "Every boundary loop is closed",
                  niceCount(closed) + " of " + niceCount(function.boundaryProjectors.size()));
    // Not for every mesh: a boundary triangle without area, or one that is too far away, gives no value.
    if (!bundled) return;
    section.check(survey.unknown == 0, "Every pixel outside the islands has a value",
                  niceCount(survey.outside - survey.unknown) + " of " + niceCount(survey.outside));
}

} // namespace

void meshFunctionStage(TourContext& tour)
{
    Section& section = tour.report.add("Mesh functions");
    section.text(
        "A texture is the flattened surface of a model. A mesh function gives, for any point of the texture, a "
        "position on the model: exactly inside the islands, and extrapolated outside them.");
    MeshFunction2D const function = sideViewFunction(tour.mesh);
    PlaneMap const map = domainMap(function);
    addModel(tour, section, function);
    int const islands = addIslands(tour, section, function, map);
    addSideView(tour, section, function);
    Survey const survey = surveyOf(tour, function, map);
    addValues(tour, section, function, map, survey);
    addPositionMap(tour, section, function);
    section.numbers("In numbers",
                    {
                        {"vertices", niceCount(function.params.size())},
                        {"triangles", niceCount(function.facets.size() / 3)},
                        {"islands", niceCount(islands)},
                        {"boundary loops", niceCount(function.boundaryProjectors.size())},
                        {"vertices where the boundary touches itself", niceCount(touchingVertices(function).size())},
                        {"pixels inside", niceCount(survey.inside)},
                        {"pixels outside with a value", niceCount(survey.outside - survey.unknown)},
                        {"nanoseconds for a point inside", niceNumber(survey.nanosecondsInside, 3)},
                        {"nanoseconds for a point outside", niceNumber(survey.nanosecondsOutside, 3)},
                        {"nanoseconds for a pixel of a raster", niceNumber(survey.nanosecondsOfRaster, 3)},
                    });
    addChecks(section, function, survey, tour.meshIsBundled);
}

} // namespace tool
