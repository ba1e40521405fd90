// The stage of the modules `sparse` and `skinning`: bone weights by heat balance on the surface of the figure.

#include <tool/tour/stage.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <sinew/skinning/heat_weights.h>

#include <tool/draw/renderer.h>
#include <tool/io/weights.h>
#include <tool/support/bounds.h>
#include <tool/support/stopwatch.h>

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

// The largest and the mean difference between two sets of weights.
std::vector<std::pair<std::string, std::string>> differences(std::vector<double> const& a, std::vector<double> const& b)
{
    double largest = 0, sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        largest = std::max(largest, std::fabs(a[i] - b[i]));
        sum += std::fabs(a[i] - b[i]);
    }
    return {{"largest difference from weights that ignore visibility", niceNumber(largest, 3)},
            {"mean difference", niceNumber(sum / static_cast<double>(std::max<std::size_t>(a.size(), 1)), 3)}};
}

void addNumbers(Section& section, sinew::HeatWeights const& heat, sinew::HeatWeights const& unhidden, double seconds)
{
    section.numbers("The system",
                    {{"unknowns", niceCount(heat.unknowns)},
                     {"entries of the matrix's lower triangle", niceCount(heat.matrixEntries)},
                     {"entries of its factor", niceCount(heat.factorEntries)},
                     {"milliseconds for the weights of all bones", niceNumber(1e3 * seconds, 3)},
                     {"largest difference of a sum from 1, as solved", niceNumber(heat.largestCorrection, 2)}});
    section.numbers("The surface", {{"pieces", niceCount(heat.pieces)},
                                    {"vertices joined to one at an equal position", niceCount(heat.joined)},
                                    {"vertices without an edge that conducts, which follow their nearest bone",
                                     niceCount(heat.isolated)},
                                    {"edges with a negative cotangent weight, set to 0", niceCount(heat.raisedEdges)}});
    auto visibility = differences(heat.weights, unhidden.weights);
    visibility.insert(visibility.begin(), {{"vertices from which the nearest bone is hidden", niceCount(heat.shaded)},
                                           {"vertices that see no bone", niceCount(heat.sightless)}});
    section.numbers("What the surface hides", visibility);
    if (heat.pieces > 1) {
        section.text("The surface has " + niceCount(heat.pieces) +
                     " separate pieces. Heat does not flow between them. Each piece is heated by its nearest bones.");
    }
}

// The input of the library.
struct HeatInput
{
    sinew::HeatMesh mesh;
    std::vector<sinew::BoneSegment> bones;

    HeatInput(Figure const& figure, Skeleton const& skeleton)
    {
        int const* const corners = figure.triangles.empty() ? nullptr : figure.triangles[0].data();
        mesh = {sinew::coordinatesOf(figure.positions.data(), figure.positions.size()),
                sinew::packed(corners, figure.triangles.size(), 3)};
        for (std::size_t b = 0; b < skeleton.bones.size(); ++b) {
            bones.push_back({skeleton.startOf(b), skeleton.endOf(b)});
        }
    }
};

BoneWeights rowsOf(sinew::HeatWeights const& heat)
{
    BoneWeights rows;
    for (auto row = heat.weights.begin(); row != heat.weights.end();) {
        auto const next = row + static_cast<std::ptrdiff_t>(heat.boneCount);
        rows.emplace_back(row, next);
        row = next;
    }
    return rows;
}

void addChecks(Section& section, BoneWeights const& weights)
{
    constexpr double kRounding = 1e-12;
    double lowest = 1, highest = 0, largestError = 0;
    for (auto const& row : weights) {
        double sum = 0;
        for (double const w : row) {
            sum += w;
            lowest = std::min(lowest, w);
            highest = std::max(highest, w);
        }
        largestError = std::max(largestError, std::fabs(sum - 1));
    }
    section.check(lowest >= 0 && highest <= 1, "All weights lie between 0 and 1",
                  "lowest " + niceNumber(lowest, 2) + ", highest " + niceNumber(highest, 12));
    section.check(largestError <= kRounding, "The weights of every vertex sum to 1",
                  "within " + niceNumber(largestError, 2));
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
    section.text(
        "A bone heats only what it sees: a vertex takes no heat through the surface. So the bones of a finger do "
        "not move the finger beside it.");
    HeatInput const input(tour.figure, tour.skeleton);
    auto const show = [&tour](double fraction) {
        tour.progress.update(fraction);
        return true;
    };
    Stopwatch const watch;
    sinew::HeatWeights const heat =
        sinew::heatWeights(input.mesh, input.bones, sinew::BoneVisibility::respected, show).value(); // never cancelled
    double const seconds = watch.seconds();
    section.check(heat.succeeded(), "Every vertex has weights",
                  heat.succeeded() ? niceCount(tour.figure.positions.size()) + " vertices" : heat.text());
    if (!heat.succeeded()) return;
    tour.weights = rowsOf(heat);
    sinew::HeatWeights const unhidden = sinew::heatWeights(input.mesh, input.bones, sinew::BoneVisibility::ignored);

    addBoneColours(tour, section);
    if (!tour.givenWeights.empty()) addScatter(tour, section);
    addBones(tour, section);
    addNumbers(section, heat, unhidden, seconds);
    addChecks(section, tour.weights);
    section.file("weights.dmat", printDmat(tour.weights),
                 "The weights as text: columns, rows, then the numbers, column by column. A column is a bone.");
}

} // namespace tool
