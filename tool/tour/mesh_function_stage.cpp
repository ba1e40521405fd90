/// The mesh function of a textured model: its domain, its values, and what it says beyond its border.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <map>
#include <optional>

#include <tool/draw/renderer.h>
#include <tool/figure/mesh_pieces.h>
#include <tool/tour/stage.h>
#include <tool/tour/textured_function.h>

namespace tool {
namespace {

constexpr double kSheet = 1200;
constexpr double kTexels = 800;  // a side of the texture, at full size
constexpr double kMargin = 110;  // of the sheet around the domain: "beyond it"
constexpr double kChequers = 24; // along the longer edge of the side view

constexpr int kTimedEvery = 7; // pixels of which one is asked again for the clock

/// What one pixel of the domain's picture was told.
struct Answer
{
    bool inside = false;
    bool known = false;
    Vector2 value;
    float scalar = 0;
};

/// The function asked once for every pixel of a sheet.
struct Survey
{
    int width = 0;
    int height = 0;
    std::vector<Answer> answers;
    long long inside = 0;
    long long outside = 0;
    long long unanswered = 0;
    double nanosecondsInside = 0;
    double nanosecondsOutside = 0;
};

PlaneMap domainMap(MeshFunction2D const& function)
{
    Point low{function.params[0].x, function.params[0].y};
    Point high = low;
    for (Vector2 const& p : function.params) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y)};
    }
    return {low, high, Rect{0, 0, kSheet, kSheet}.inset(kMargin)};
}

Point onSheet(PlaneMap const& map, Vector2 const& p)
{
    return map({p.x, p.y});
}

/// Nanoseconds for each of the points, asked as a host would ask.
template <typename Ask>
double timePerPoint(std::vector<Vector2> const& points, Ask const& ask)
{
    if (points.empty()) return 0;
    auto const started = std::chrono::steady_clock::now();
    double sum = 0;
    for (Vector2 const& p : points) sum += ask(p);
    double const seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    return sum == sum ? 1e9 * seconds / static_cast<double>(points.size()) : 0; // the sum must not be optimised away
}

Survey survey(TourContext& tour, MeshFunction2D const& function, PlaneMap const& map)
{
    Survey result;
    result.width = result.height = tour.sheet(kSheet, 1).pixels(kSheet);
    result.answers.reserve(static_cast<std::size_t>(result.width) * static_cast<std::size_t>(result.height));
    std::vector<Vector2> inside, outside;
    for (int y = 0; y < result.height; ++y) {
        tour.progress.update(static_cast<double>(y) / result.height);
        for (int x = 0; x < result.width; ++x) {
            Point const world = map.inverse({(x + 0.5) * kSheet / result.width, (y + 0.5) * kSheet / result.height});
            Vector2 const p(world.x, world.y);
            Answer answer;
            answer.inside = function.evaluate(p, &answer.value, &answer.scalar);
            answer.known = answer.inside || function.extrapolate(p, &answer.value, &answer.scalar);
            ++(answer.inside ? result.inside : result.outside);
            if ((x + y * 3) % kTimedEvery == 0) (answer.inside ? inside : outside).push_back(p);
            if (!answer.known) ++result.unanswered;
            result.answers.push_back(answer);
        }
    }
    auto const ask = [&](Vector2 const& p) {
        Vector2 value;
        float scalar = 0;
        function.extrapolate(p, &value, &scalar);
        return value.x + scalar;
    };
    result.nanosecondsInside = timePerPoint(inside, ask);
    result.nanosecondsOutside = timePerPoint(outside, ask);
    return result;
}

/// Paler, greyer, and hatched: the treatment of everything that the islands do not cover.
Colour asOutside(Colour const& colour, double x, double y)
{
    bool const stripe = std::fmod(x + y, 14.0) < 4;
    return mix(desaturate(colour, 0.75), palette::paper, stripe ? 0.82 : 0.55);
}

/// A picture of the domain: `colourOf` an answer, hatched outside.
template <typename ColourOf>
Image paint(Survey const& survey, ColourOf const& colourOf)
{
    Image image(survey.width, survey.height, palette::paper);
    double const unitsPerPixel = kSheet / survey.width;
    for (int y = 0; y < survey.height; ++y) {
        for (int x = 0; x < survey.width; ++x) {
            Answer const& answer = survey.answers[static_cast<std::size_t>(y * survey.width + x)];
            if (!answer.known) continue;
            Colour const colour = colourOf(answer);
            image.at(x, y) = answer.inside ? colour : asOutside(colour, x * unitsPerPixel, y * unitsPerPixel);
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

/// The places that boundary loops pass more than once.
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
            corners.push_back(onSheet(map, function.params[static_cast<std::size_t>(function.facets[3 * t + k])]));
        }
        Colour const colour = categorical(island[t] + 1);
        sheet.polygon(corners, mix(palette::paper, colour, 0.22));
        sheet.polyline(corners, {mix(palette::paper, colour, 0.5), 0.6}, true);
    }
}

std::string counted(long long count, std::string const& one, std::string const& many)
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
    if (touching.size() <= 40) { // more than that and the rings hide the picture
        for (Point const& p : touching) {
            sheet.ring(map(p), 15, {palette::paper, 7});
            sheet.ring(map(p), 15, {palette::accent, 3.5});
        }
    }
    std::string caption = "The texture of the model falls into " + counted(islandCount, "island", "islands") +
                          ", bounded by " +
                          counted(static_cast<long long>(function.boundaryProjectors.size()), "loop", "loops") +
                          "; every loop has a colour of its own.";
    if (!touching.empty()) {
        caption += " Rings mark " + counted(static_cast<long long>(touching.size()), "vertex", "vertices") +
                   " where the border meets itself.";
    }
    section.picture("islands.png", sheet, caption, Width::half);
    return islandCount;
}

/// The side view with its straight chequer, the triangles of the model lightly over it.
void addSideView(TourContext& tour, Section& section, MeshFunction2D const& function)
{
    Canvas sheet = tour.sheet(kSheet, kSheet);
    Point high{1e-9, 1e-9};
    for (Vector2 const& v : function.values) high = {std::max(high.x, v.x), std::max(high.y, v.y)};
    PlaneMap const map({0, 0}, high, Rect{0, 0, kSheet, kSheet}.inset(70));
    for (std::size_t t = 0; t + 2 < function.facets.size(); t += 3) {
        std::vector<Point> corners;
        for (std::size_t k = 0; k < 3; ++k) {
            corners.push_back(onSheet(map, function.values[static_cast<std::size_t>(function.facets[t + k])]));
        }
        sheet.polygon(corners, palette::ink);
        sheet.polyline(corners, {palette::ink, 1}, true); // closes the hairlines between neighbours
    }
    Image image = sheet.pixelsOf();
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            Colour& colour = image.at(x, y);
            double const covered =
                std::clamp((palette::paper.r - colour.r) / (palette::paper.r - palette::ink.r), 0.0, 1.0);
            Point const value = map.inverse({(x + 0.5) * kSheet / image.width(), (y + 0.5) * kSheet / image.height()});
            Vector2 const at(value.x, value.y);
            double const unitsPerPixel = kSheet / image.width();
            colour = mix(asOutside(chequer(at), x * unitsPerPixel, y * unitsPerPixel), chequer(at), covered);
        }
    }
    sheet.image(image, {0, 0, kSheet, kSheet});
    section.picture("side-view.png", sheet,
                    "What is mapped to: the model seen from its side, on a straight chequer that runs from dark at the "
                    "left to yellow at the right.",
                    Width::half);
}

void addValues(TourContext& tour, Section& section, MeshFunction2D const& function, PlaneMap const& map,
               Survey const& answers)
{
    Canvas chequered = tour.sheet(kSheet, kSheet);
    chequered.image(paint(answers, [](Answer const& a) { return chequer(a.value); }), {0, 0, kSheet, kSheet});
    drawLoops(chequered, function, map, 2);
    section.picture("values.png", chequered,
                    "The mesh function, asked at every pixel of the texture: the same chequer, pulled back. Where it "
                    "bends, flattening has stretched the model. Pale and hatched: outside the islands, where the "
                    "nearest border triangle is continued.",
                    Width::half);

    Canvas scalar = tour.sheet(kSheet, kSheet);
    scalar.image(paint(answers, [](Answer const& a) { return diverging(a.scalar); }), {0, 0, kSheet, kSheet});
    drawLoops(scalar, function, map, 1.5);
    drawColourBar(
        scalar, {kSheet / 2 - 210, kSheet - 62, 420, 18}, [](double t) { return diverging(2 * t - 1); },
        "-1, facing away", "facing us, 1", "scalar");
    section.picture("scalar.png", scalar,
                    "The scalar channel: the cosine between the surface's normal and the direction to the onlooker. "
                    "Negative (blue) is the far side.",
                    Width::half);
}

/// A round eye painted over the islands of the bundled model that are called eyes.
void paintEyes(TexturedMesh const& mesh, Image& texture)
{
    for (std::size_t g = 0; g < mesh.groups.size(); ++g) {
        if (mesh.groups[g].rfind("eye", 0) != 0) continue;
        Vector2 low(1, 1), high(0, 0);
        for (std::size_t t = 0; t < mesh.texTriangles.size(); ++t) {
            if (mesh.groupOfTriangle[t] != static_cast<int>(g)) continue;
            for (int const i : mesh.texTriangles[t]) {
                Vector2 const& p = mesh.texcoords[static_cast<std::size_t>(i)];
                low = {std::min(low.x, p.x), std::min(low.y, p.y)};
                high = {std::max(high.x, p.x), std::max(high.y, p.y)};
            }
        }
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
}

void addModel(TourContext& tour, Section& section, MeshFunction2D const& function)
{
    TexturedMesh const& mesh = tour.mesh;
    Canvas flat = tour.sheet(kSheet, kSheet);
    Image texture = bakeTexture(function, flat.pixels(kTexels));
    if (tour.meshIsBundled) paintEyes(mesh, texture);

    Canvas sheet = tour.sheet(1200, 720);
    SideView const side(mesh.positions);
    double const azimuth = side.towards == 0 ? 62 : 28;
    View const view = View::fitted(mesh.positions, azimuth, 16, {0, 0, 1200, 720}, 0.84);
    Solid solid{mesh.positions, mesh.triangles};
    solid.gloss = 0.3;
    solid.colourAt = [&](std::size_t t, double const* weights) {
        Vector2 at;
        for (std::size_t k = 0; k < 3; ++k) {
            at += mesh.texcoords[static_cast<std::size_t>(mesh.texTriangles[t][k])] * weights[k];
        }
        return texture.sample(at.x, at.y);
    };
    drawSolids(sheet, {solid}, view);
    section.picture("model.png", sheet,
                    mesh.name +
                        ", wearing a texture that was painted through its mesh function: a flat pattern, drawn in "
                        "the side view, was looked up for every texel.");

    flat.image(texture, {0, 0, kSheet, kSheet});
    PlaneMap const map({0, 0}, {1, 1}, {0, 0, kSheet, kSheet});
    drawLoops(flat, function, map, 5, palette::paper); // a pale rim keeps the outline visible on dark patches
    drawLoops(flat, function, map, 2, palette::ink);
    section.picture("texture.png", flat,
                    "That texture. Beyond the islands' borders the continued function goes on painting, so that no "
                    "seam of the model shows a wrong colour.",
                    Width::half);
}

void addChecks(Section& section, MeshFunction2D const& function, Survey const& answers, bool bundled)
{
    long long inside = 0;
    long long asked = 0;
    long long same = 0;
    for (std::size_t t = 0; t + 2 < function.facets.size(); t += 3) {
        int const a = function.facets[t], b = function.facets[t + 1], c = function.facets[t + 2];
        Vector2 const third =
            (function.params[static_cast<std::size_t>(a)] + function.params[static_cast<std::size_t>(b)] +
             function.params[static_cast<std::size_t>(c)]) /
            3.0;
        Vector2 value, continued;
        if (!function.iEvalInFacet(a, b, c, third, &value, nullptr, true)) continue; // a triangle without area
        ++asked;
        if (!function.evaluate(third, &value, nullptr)) continue;
        ++inside;
        if (function.extrapolate(third, &continued, nullptr) && std::memcmp(&value, &continued, sizeof value) == 0)
            ++same;
    }
    section.check(inside == asked, "The middle of every triangle is inside",
                  niceCount(inside) + " of " + niceCount(asked));
    section.check(same == asked, "Inside, continuing changes no bit", niceCount(same) + " of " + niceCount(asked));
    std::size_t closed = 0;
    for (auto const& loop : function.boundaryProjectors) closed += loop->points.front() == loop->points.back() ? 1 : 0;
    section.check(closed == function.boundaryProjectors.size(), "Every boundary loop closes",
                  niceCount(static_cast<long long>(closed)) + " of " +
                      niceCount(static_cast<long long>(function.boundaryProjectors.size())));
    // No promise for any mesh: a border triangle without area, or one that is too far away, continues nothing.
    if (!bundled) return;
    section.check(answers.unanswered == 0, "Every pixel beyond the islands has a value",
                  niceCount(answers.outside - answers.unanswered) + " of " + niceCount(answers.outside));
}

} // namespace

void meshFunctionStage(TourContext& tour)
{
    Section& section = tour.report.add("Mesh functions");
    section.text(
        "A texture is a flattened skin. A mesh function knows, for any point of the flat skin, where on the model "
        "it belongs: exactly inside the islands, and sensibly continued beyond their borders.");
    MeshFunction2D const function = sideViewFunction(tour.mesh);
    PlaneMap const map = domainMap(function);
    addModel(tour, section, function);
    int const islands = addIslands(tour, section, function, map);
    addSideView(tour, section, function);
    Survey const answers = survey(tour, function, map);
    addValues(tour, section, function, map, answers);
    section.numbers("In numbers",
                    {
                        {"vertices", niceCount(static_cast<long long>(function.params.size()))},
                        {"triangles", niceCount(static_cast<long long>(function.facets.size() / 3))},
                        {"islands", niceCount(islands)},
                        {"boundary loops", niceCount(static_cast<long long>(function.boundaryProjectors.size()))},
                        {"vertices where the border meets itself",
                         niceCount(static_cast<long long>(touchingVertices(function).size()))},
                        {"points answered inside", niceCount(answers.inside)},
                        {"points answered outside", niceCount(answers.outside - answers.unanswered)},
                        {"nanoseconds a point, inside", niceNumber(answers.nanosecondsInside, 3)},
                        {"nanoseconds a point, outside", niceNumber(answers.nanosecondsOutside, 3)},
                    });
    addChecks(section, function, answers, tour.meshIsBundled);
}

} // namespace tool
