/// Mesh functions that live on: saved, loaded in a foreign country, made by name; and a texture sheet that is shrunk to
/// the part a model uses, with the model unchanged.

#include <algorithm>
#include <cmath>
#include <locale>
#include <memory>
#include <sstream>

#include <sinew/framework/fields.h>
#include <sinew/meshfunc/texture_compaction.h>
#include <sinew/meshfunc/type_handlers.h>

#include <tool/draw/renderer.h>
#include <tool/tour/stage.h>
#include <tool/tour/textured_function.h>

namespace tool {
namespace {

constexpr double kStep = 0x1p-20; // of coordinates in the packed text
constexpr std::size_t kPackedLimit = 262143;

// ---- saving --------------------------------------------------------------------------------------------------------

/// The same function with a field for every vector, as older texts have it.
class PlainFields : public Serializable
{
public:
    std::vector<Vector2> params, values;
    std::vector<float> normaldots;
    std::vector<int> facets;

    explicit PlainFields(MeshFunction2D const& f)
        : params(f.params), values(f.values), normaldots(f.normaldots), facets(f.facets)
    {
    }

    smart_ptr<Field> describeFields(std::string const& name) override
    {
        ClassDesc desc;
        desc.add("params", &PlainFields::params);
        desc.add("values", &PlainFields::values);
        desc.add("normaldots", &PlainFields::normaldots);
        desc.add("facets", &PlainFields::facets);
        return new CompositeField(name, desc);
    }
};

std::string documentOf(Serializable& object)
{
    std::ostringstream out;
    sinew::writeDocument(out, object, "MeshFunction2D");
    return out.str();
}

/// A host that has set its process to a decimal comma.
class CommaCountry
{
public:
    CommaCountry() : before_(std::locale::global(std::locale(std::locale::classic(), new Comma))) {}
    ~CommaCountry() { std::locale::global(before_); }
    CommaCountry(CommaCountry const&) = delete;
    CommaCountry& operator=(CommaCountry const&) = delete;

private:
    struct Comma : std::numpunct<char>
    {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    std::locale before_;
};

double largestDifference(std::vector<Vector2> const& a, std::vector<Vector2> const& b)
{
    if (a.size() != b.size()) return HUGE_VAL;
    double largest = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        largest = std::max({largest, std::fabs(a[i].x - b[i].x), std::fabs(a[i].y - b[i].y)});
    }
    return largest;
}

/// Whether the packed text can hold the function: it is made for texture coordinates of one model.
bool fits(MeshFunction2D const& f)
{
    auto const inRange = [](Vector2 const& p) { return p.x >= -2 && p.x < 14 && p.y >= -2 && p.y < 14; };
    return f.params.size() <= kPackedLimit && f.facets.size() <= kPackedLimit &&
           std::all_of(f.params.begin(), f.params.end(), inRange) &&
           std::all_of(f.values.begin(), f.values.end(), inRange);
}

void addSizes(Section& section, MeshFunction2D const& f, std::string const& packed, std::string const& plain)
{
    auto const row = [&](std::string const& form, std::size_t bytes) {
        auto const count = static_cast<double>(std::max<std::size_t>(f.params.size(), 1));
        return std::vector<std::string>{form, niceCount(static_cast<long long>(bytes)),
                                        niceNumber(static_cast<double>(bytes) / count, 3)};
    };
    std::size_t const inMemory =
        f.params.size() * 2 * sizeof(Vector2) + f.normaldots.size() * sizeof(float) + f.facets.size() * sizeof(int);
    section.table("What the function of " + niceCount(static_cast<long long>(f.params.size())) + " vertices takes",
                  {"form", "bytes", "a vertex"},
                  {row("packed text, as it is saved", packed.size()),
                   row("a field for every vector, as older texts have it", plain.size()),
                   row("the arrays in memory", inMemory)});
}

void addSaving(TourContext& tour, Section& section)
{
    MeshFunction2D function = sideViewFunction(tour.mesh);
    if (!fits(function)) {
        section.text("This model is too large for the packed text, or its texture coordinates lie beyond [-2, 14); the "
                     "text would wrap them, so the tour leaves saving out.");
        return;
    }
    std::string const text = documentOf(function);
    PlainFields plain(function);
    addSizes(section, function, text, documentOf(plain));
    section.file("mesh-function.xml", text, "the function as it was saved");

    std::unique_ptr<Serializable> made;
    std::string foreignNumber, foreignText;
    {
        CommaCountry const abroad;
        std::ostringstream number;
        number << 1234.5;
        foreignNumber = number.str();
        foreignText = documentOf(function);
        std::istringstream in(text);
        made = sinew::createFromDocument(in);
    }
    section.check(foreignText == text, "Saving gives the same bytes in a country with a decimal comma",
                  niceCount(static_cast<long long>(text.size())) + " bytes, while 1234.5 prints as " + foreignNumber);
    auto* const loaded = dynamic_cast<MeshFunction2D*>(made.get());
    section.check(loaded != nullptr, "The name in the document makes a mesh function", "MeshFunction2D");
    if (!loaded) return;
    double const moved = std::max(largestDifference(loaded->params, function.params),
                                  largestDifference(loaded->values, function.values));
    section.check(moved <= kStep, "Loaded there, it is the same to a step of the packed text",
                  "coordinates moved by " + niceNumber(moved, 2) + " at most, a step is " + niceNumber(kStep, 2));
    section.check(loaded->facets == function.facets, "Every triangle came back",
                  niceCount(static_cast<long long>(loaded->facets.size() / 3)));
    section.check(documentOf(*loaded) == text, "Saved again, not a byte differs",
                  niceCount(static_cast<long long>(text.size())) + " bytes compared");
}

// ---- shrinking -----------------------------------------------------------------------------------------------------

/// A sheet of texels that the model shares with others, and the function from the model's own texture to the sheet.
struct SharedSheet
{
    MeshFunction2D function{true};
    Image texels{1, 1};
    std::vector<bool> used; ///< at x + width * y, y upwards
    int size = 0;
};

// Where the model lies on the sheet, which is the unit square: less than half of it along each side.
constexpr Vector2 kPlace{0.46, 0.34};
constexpr double kPlaceSize = 0.42;

/// What other models keep on the sheet: quiet stripes, none of the pattern's colours.
Colour otherModels(int x, int y, int size)
{
    double const band = std::sin(18.0 * (x + 0.6 * y) / size) * std::sin(11.0 * (y - 0.3 * x) / size);
    return mix(Colour::hex(0x9fb4b0), Colour::hex(0x5f7d86), 0.5 + 0.5 * band);
}

void markUsed(SharedSheet& sheet)
{
    sheet.used.assign(static_cast<std::size_t>(sheet.size) * static_cast<std::size_t>(sheet.size), false);
    MeshFunction2D const& f = sheet.function;
    auto const texel = [&](double v) { return clip(static_cast<int>(std::floor(v * sheet.size)), 0, sheet.size - 1); };
    for (std::size_t t = 0; t + 2 < f.facets.size(); t += 3) {
        Vector2 low = f.values[static_cast<std::size_t>(f.facets[t])], high = low;
        for (std::size_t k = 1; k < 3; ++k) {
            Vector2 const& p = f.values[static_cast<std::size_t>(f.facets[t + k])];
            low = {std::min(low.x, p.x), std::min(low.y, p.y)};
            high = {std::max(high.x, p.x), std::max(high.y, p.y)};
        }
        for (int y = texel(low.y); y <= texel(high.y); ++y) {
            for (int x = texel(low.x); x <= texel(high.x); ++x) {
                sheet.used[static_cast<std::size_t>(x) +
                           static_cast<std::size_t>(sheet.size) * static_cast<std::size_t>(y)] = true;
            }
        }
    }
}

SharedSheet makeSheet(TexturedMesh const& mesh, MeshFunction2D const& sideView, int size)
{
    SharedSheet sheet;
    sheet.size = size;
    Vector2 low = mesh.texcoords.front(), high = low;
    for (Vector2 const& p : mesh.texcoords) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y)};
    }
    double const extent = std::max({high.x - low.x, high.y - low.y, 1e-300});
    std::vector<int> facets;
    for (Triangle const& t : mesh.texTriangles) facets.insert(facets.end(), t.begin(), t.end());
    std::vector<Vector2> places;
    for (Vector2 const& p : mesh.texcoords) places.push_back(kPlace + (p - low) * (kPlaceSize / extent));
    sheet.function = MeshFunction2D(mesh.texcoords, places, facets, {});

    sheet.texels = Image(size, size);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            Vector2 const onSheet((x + 0.5) / size, (y + 0.5) / size);
            Vector2 const inside = (onSheet - kPlace) * (1 / kPlaceSize);
            bool const ours = std::min(inside.x, inside.y) > -0.02 && std::max(inside.x, inside.y) < 1.02;
            Vector2 value;
            bool const painted = ours && sideView.extrapolate(low + inside * extent, &value, nullptr);
            sheet.texels.at(x, size - 1 - y) = painted ? koiPattern(value) : otherModels(x, y, size);
        }
    }
    markUsed(sheet);
    return sheet;
}

/// What a host does with the optimizer's answer: copies the texels that move.
Image movedTexels(Image const& from, TextureOptimizer const& optimizer)
{
    Image to(optimizer.newWidth, optimizer.newHeight, palette::rule);
    for (TextureOptimizer::RectMotion const& m : optimizer.motions) {
        for (int y = m.y; y < m.y + m.h; ++y) {
            for (int x = m.x; x < m.x + m.w; ++x) {
                to.at(x + m.dx, to.height() - 1 - (y + m.dy)) = from.at(x, from.height() - 1 - y);
            }
        }
    }
    return to;
}

Canvas drawModel(TourContext& tour, MeshFunction2D const& function, Image const& texels)
{
    TexturedMesh const& mesh = tour.mesh;
    Canvas sheet = tour.sheet(800, 520);
    Vector3 low, high;
    boundsOf(mesh.positions, low, high);
    View const view(low, high, SideView(mesh.positions).towards == 0 ? 62 : 28, 16, {0, 0, 800, 520},
                    tour.meshIsBundled ? 1.5 : 1.05);
    Solid solid{mesh.positions, mesh.triangles};
    solid.gloss = 0.3;
    solid.colourAt = [&](std::size_t t, double const* weights) {
        Vector2 own;
        for (std::size_t k = 0; k < 3; ++k) {
            own += mesh.texcoords[static_cast<std::size_t>(mesh.texTriangles[t][k])] * weights[k];
        }
        Vector2 at;
        function.extrapolate(own, &at, nullptr);
        return texels.sample(at.x, at.y);
    };
    drawSolids(sheet, {solid}, view);
    return sheet;
}

/// The largest difference of any channel of any pixel, of 255.
int largestDifference(Image const& a, Image const& b)
{
    int largest = 0;
    auto const channel = [](double c) { return static_cast<int>(std::lround(255 * std::clamp(c, 0.0, 1.0))); };
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            Colour const& p = a.at(x, y);
            Colour const& q = b.at(x, y);
            largest = std::max({largest, std::abs(channel(p.r) - channel(q.r)), std::abs(channel(p.g) - channel(q.g)),
                                std::abs(channel(p.b) - channel(q.b))});
        }
    }
    return largest;
}

void drawTexture(TourContext& tour, Section& section, char const* file, Image const& texels, int fullSize,
                 TextureOptimizer::RectMotion const& m, int dx, int dy, std::string const& caption)
{
    constexpr double kSide = 760;
    Canvas sheet = tour.sheet(kSide + 40, kSide + 40);
    double const unit = kSide / fullSize; // one scale for both sheets: the smaller one looks smaller
    Rect const where{20, 20 + kSide - unit * texels.height(), unit * texels.width(), unit * texels.height()};
    sheet.image(texels, where);
    sheet.frame(where, {palette::faintInk, 1.5});
    Rect const moved{where.x + unit * (m.x + dx), where.y + unit * (texels.height() - (m.y + dy) - m.h), unit * m.w,
                     unit * m.h};
    sheet.frame(moved, {palette::accent, 4});
    section.picture(file, sheet, caption, Width::half);
}

void addShrinking(TourContext& tour, Section& section)
{
    int size = 128;
    while (size < 512 && size < 512 * tour.options.pixels) size *= 2;
    MeshFunction2D const sideView = sideViewFunction(tour.mesh);
    SharedSheet const before = makeSheet(tour.mesh, sideView, size);

    TextureOptimizer const optimizer(before.used, size, size);
    MeshFunction2D after = before.function;
    after.eraseExtraTriangles(EmptyRectTester(before.used, size, size));
    after.remapToOptimized(optimizer);
    section.check(optimizer.motions.size() == 1, "The used part of the sheet moves as one rectangle",
                  niceCount(static_cast<long long>(optimizer.motions.size())) + " motion");
    if (optimizer.motions.size() != 1) return;
    TextureOptimizer::RectMotion const& m = optimizer.motions.front();
    Image const shrunk = movedTexels(before.texels, optimizer);

    drawTexture(
        tour, section, "sheet-before.png", before.texels, size, m, 0, 0,
        "A texture sheet that a model shares with others. Framed: what the model uses, and a margin of one texel.");
    drawTexture(
        tour, section, "sheet-after.png", shrunk, size, m, m.dx, m.dy,
        "The sheet after compaction, drawn to the same scale: the framed rectangle has moved to the corner of the "
        "smallest sheet with sides of powers of two.");
    Canvas const with = drawModel(tour, before.function, before.texels);
    Canvas const without = drawModel(tour, after, shrunk);
    section.picture("model-before.png", with, "The model, drawn from the shared sheet.", Width::half);
    section.picture("model-after.png", without, "The model, drawn from the small one.", Width::half);

    auto const texelsOf = [](int w, int h) { return niceCount(static_cast<long long>(w) * h); };
    section.numbers("Shrinking the sheet", {
                                               {"texels before", texelsOf(size, size)},
                                               {"texels after", texelsOf(optimizer.newWidth, optimizer.newHeight)},
                                               {"columns moved by", niceCount(m.dx)},
                                               {"rows moved by", niceCount(m.dy)},
                                           });
    int const difference = largestDifference(with.pixelsOf(), without.pixelsOf());
    section.check(difference <= 1, "The picture of the model does not change",
                  "the largest difference of any pixel is " + niceCount(difference) + " of 255");
    section.check(optimizer.newWidth * optimizer.newHeight * 4 <= size * size, "The sheet shrinks to a quarter or less",
                  niceCount(optimizer.newWidth) + " x " + niceCount(optimizer.newHeight));
}

} // namespace

void saveStage(TourContext& tour)
{
    Section& section = tour.report.add("Saving, and smaller textures");
    section.text(
        "A mesh function is saved as text: well-formed XML in which the long vectors are packed into printable "
        "characters. Any country's settings read and write the same bytes, and the name of the root element is "
        "enough to make the object again.");
    addSaving(tour, section);
    section.text(
        "Models that share a texture sheet use a part of it each. The compaction finds the smallest sheet that "
        "holds one model's part, says which rectangle to copy, and points the mesh function to it.");
    addShrinking(tour, section);
}

} // namespace tool
