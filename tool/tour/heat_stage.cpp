// The stage of the module `sparse`: bone weights by heat balance on the surface of the figure.

#include <tool/tour/stage.h>

#include <algorithm>
#include <cmath>

#include <tool/draw/renderer.h>
#include <tool/io/weights.h>
#include <tool/support/bounds.h>
#include <tool/support/user_error.h>

namespace tool {
namespace {

// The azimuth of a view on the broad side of a figure, turned a little.
double azimuthOf(Vector3 const& low, Vector3 const& high)
{
    return high.z - low.z > high.x - low.x ? 65 : 25;
}

Solid solidOf(Figure const& figure)
{
    Solid solid{figure.positions, figure.triangles};
    solid.normals = figure.normals;
    solid.gloss = 0.06;
    return solid;
}

Colour boneColour(std::size_t bone)
{
    Colour const base = categorical(static_cast<int>(bone));
    // Every eight bones the colours repeat in a paler shade, so that bones with equal colours are rare.
    return mix(base, {1, 1, 1}, 0.3 * static_cast<double>(bone / 8 % 3));
}

void addBoneColours(TourContext& tour, Section& section)
{
    Figure const& figure = tour.figure;
    Solid solid = solidOf(figure);
    for (auto const& row : tour.weights) {
        Vector3 sum; // the mean of linear values, which are about the squares of the channels
        for (std::size_t b = 0; b < row.size(); ++b) {
            Colour const c = boneColour(b);
            sum += Vector3(c.r * c.r, c.g * c.g, c.b * c.b) * row[b];
        }
        solid.colours.emplace_back(std::sqrt(sum.x), std::sqrt(sum.y), std::sqrt(sum.z));
    }
    Vector3 low, high;
    boundsOf(figure.positions, low, high);
    bool const upright = high.y - low.y > high.x - low.x;
    double const width = upright ? 900 : 1200, height = upright ? 1100 : 800;
    Canvas sheet = tour.sheet(width, height);
    View const view = View::fitted(figure.positions, azimuthOf(low, high), 10, {0, 0, width, height});
    drawSolids(sheet, {solid}, view);
    section.picture(
        "bone-colours.png", sheet,
        "Every bone has a colour. The colour of a point is the mean of the colours of its bones, weighted by "
        "the bone weights. It changes gradually at the joints.",
        Width::half);
}

// One sheet with a small picture for each bone.
void addBones(TourContext& tour, Section& section)
{
    std::size_t const bones = tour.skeleton.bones.size();
    Vector3 low, high;
    boundsOf(tour.figure.positions, low, high);
    bool const upright = high.y - low.y > high.x - low.x;
    std::size_t const columns = std::min<std::size_t>(bones, upright ? 7 : bones <= 4 ? 2 : 3);
    std::size_t const rows = (bones + columns - 1) / columns;
    double const width = 1200.0 / static_cast<double>(columns);
    double const height = upright ? 1.55 * width : 0.7 * width;
    Canvas sheet = tour.sheet(1200, height * static_cast<double>(rows) + 60);
    View const view = View::fitted(tour.figure.positions, azimuthOf(low, high), 8, {0, 0, width, height - 20}, 0.92);

    std::vector<std::vector<Colour>> colours(bones);
    for (std::size_t b = 0; b < bones; ++b) {
        for (auto const& row : tour.weights) colours[b].push_back(mix({0.90, 0.89, 0.86}, viridis(row[b]), 3 * row[b]));
    }
    RenderOptions options;
    options.ground = false;
    std::vector<Image> const images =
        renderColours(solidOf(tour.figure), colours, view, sheet.pixelsPerUnit(), options);
    for (std::size_t b = 0; b < bones; ++b) {
        double const x = width * static_cast<double>(b % columns), y = height * static_cast<double>(b / columns);
        sheet.image(images[b], {x, y, width, height - 20});
        sheet.text({x + width / 2, y + height - 4}, tour.skeleton.boneName(b),
                   {upright ? 11.0 : 16.0, palette::faintInk, Align::centre});
    }
    drawColourBar(sheet, {400, sheet.height() - 44, 400, 14}, viridis, "0", "1", "weight");
    section.picture(
        "bone-weights.png", sheet,
        "One picture for each bone: its weight at every point of the surface. The weight of grey parts is 0.");
}

// A grid over the unit square, the labels of its lines and axes, and the line on which both weights are equal.
void drawAxes(Canvas& sheet, PlaneMap const& map)
{
    for (int i = 0; i <= 5; ++i) {
        double const t = i / 5.0;
        sheet.line(map({t, 0}), map({t, 1}), {palette::rule, 1});
        sheet.line(map({0, t}), map({1, t}), {palette::rule, 1});
        Point const below = map({t, 0}), left = map({0, t});
        sheet.text({below.x, below.y + 26}, niceNumber(t), {17, palette::faintInk, Align::centre});
        sheet.text({left.x - 12, left.y + 6}, niceNumber(t), {17, palette::faintInk, Align::right});
    }
    sheet.line(map({0, 0}), map({1, 1}), {palette::faintInk, 1.5, {7, 6}});
    sheet.text({sheet.width() / 2, sheet.height() - 26}, "given weight", {19, palette::ink, Align::centre});
    sheet.text({24, 50}, "weight by heat", {19, palette::ink});
}

// A comparison with the weights of the user: a dot for each vertex and bone.
void addScatter(TourContext& tour, Section& section)
{
    constexpr double kSize = 1000;
    Canvas sheet = tour.sheet(kSize, kSize);
    PlaneMap const map({0, 0}, {1, 1}, Rect{0, 0, kSize, kSize}.inset(90));
    drawAxes(sheet, map);
    double squares = 0, count = 0, sum = 0;
    std::vector<LegendEntry> legend;
    for (std::size_t b = 0; b < tour.skeleton.bones.size(); ++b) {
        for (std::size_t v = 0; v < tour.weights.size(); ++v) {
            double const given = tour.givenWeights[v][b], ours = tour.weights[v][b];
            sheet.circle(map({given, ours}), 1.7, boneColour(b).withAlpha(0.35));
            squares += (ours - given) * (ours - given);
            sum += std::fabs(ours - given);
            ++count;
        }
        if (b < 8) legend.push_back({boneColour(b), tour.skeleton.boneName(b)});
    }
    drawLegend(sheet, map({0.03, 0.96}), legend, 17);
    section.picture("against-given.png", sheet,
                    "Weights by heat against the given weights. On the dashed line they are equal. The differences are "
                    "largest near 0 and 1: weights by heat approach these values but do not reach them. Weights that "
                    "were painted, or computed with bounds, are exactly 0 or 1 away from the joints. Between 0 and 1, "
                    "heat changes over a distance that depends on the thickness of the limb.",
                    Width::half);
    section.numbers("Against the given weights",
                    {{"mean difference", niceNumber(sum / count, 3)},
                     {"root mean square difference", niceNumber(std::sqrt(squares / count), 3)}});
}

void addNumbers(Section& section, BoneHeat const& heat, std::size_t bones)
{
    section.numbers("The system", {{"unknowns", niceCount(heat.unknowns)},
                                   {"entries of the matrix's lower triangle", niceCount(heat.matrixEntries)},
                                   {"entries of its factor", niceCount(heat.factorEntries)},
                                   {"milliseconds to order and factor, once", niceNumber(1e3 * heat.factorSeconds, 3)},
                                   {"milliseconds to solve, for each bone",
                                    niceNumber(1e3 * heat.solveSeconds / static_cast<double>(bones), 3)},
                                   {"largest residual, relative", niceNumber(heat.largestResidual, 2)}});
    section.numbers("The surface",
                    {{"pieces", niceCount(heat.pieces)},
                     {"vertices joined to one at an equal position", niceCount(heat.joined)},
                     {"vertices on no triangle, which follow their nearest bone", niceCount(heat.withoutArea)},
                     {"edges with a negative cotangent weight, set to 0", niceCount(heat.raisedEdges)}});
    if (heat.pieces > 1) {
        section.text("The surface has " + niceCount(heat.pieces) +
                     " separate pieces. Heat does not flow between them. Each piece is heated by its nearest bones.");
    }
}

} // namespace

void heatStage(TourContext& tour)
{
    Section& section = tour.report.add("Bone weights");
    section.text("The figure follows the bones of its skeleton. For that, every point of the surface needs a weight "
                 "for each bone. "
                 "If one bone is hot and all others are cold, the temperature of the surface in balance is the weight "
                 "of the hot "
                 "bone. The temperatures are the solutions of one sparse system. It is factored once and solved for "
                 "every bone.");
    BoneHeat heat = boneHeat(tour.figure.positions, tour.figure.triangles, tour.skeleton,
                             [&tour](double fraction) { tour.progress.update(fraction); });
    section.check(!heat.weights.empty(), "The system is positive definite",
                  heat.fault.empty() ? niceCount(heat.unknowns) + " unknowns" : heat.fault);
    if (heat.weights.empty()) return;
    tour.weights = std::move(heat.weights);

    addBoneColours(tour, section);
    if (!tour.givenWeights.empty()) addScatter(tour, section);
    addBones(tour, section);
    addNumbers(section, heat, tour.skeleton.bones.size());
    constexpr double kRounding = 1e-9;
    section.check(heat.lowest >= -kRounding && heat.highest <= 1 + kRounding, "All weights lie between 0 and 1",
                  "as solved: lowest " + niceNumber(heat.lowest, 2) + ", highest " + niceNumber(heat.highest, 12));
    section.check(heat.largestSumError <= kRounding, "The weights of every vertex sum to 1",
                  "as solved: within " + niceNumber(heat.largestSumError, 2));
    section.file("weights.dmat", printDmat(tour.weights),
                 "The weights as text: columns, rows, then the numbers, column by column. A column is a bone.");
}

} // namespace tool
