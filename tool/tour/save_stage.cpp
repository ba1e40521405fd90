// The stage of persistence and of texture compaction, in the modules `framework` and `meshfunc`: a mesh function is
// saved and loaded, also under another locale; a texture sheet is reduced to the part that a model uses.

#include <tool/tour/stage.h>

#include <algorithm>
#include <cmath>
#include <locale>
#include <memory>
#include <sstream>

#include <sinew/framework/fields.h>
#include <sinew/meshfunc/texture_compaction.h>
#include <sinew/meshfunc/type_handlers.h>

#include <tool/draw/renderer.h>
#include <tool/support/as_index.h>
#include <tool/support/bounds.h>
#include <tool/tour/textured_function.h>

namespace tool {
namespace {

// The limits of the packed text.
constexpr double kStep = 0x1p-20; // of coordinates
constexpr double kLowestCoordinate = -2;
constexpr double kHighestCoordinate = 14;    // excluded
constexpr std::size_t kPackedLimit = 262143; // vertices; also indices

// ---- saving --------------------------------------------------------------------------------------------------------

// A mesh function with one field for each vector. This is the older form of the document.
class OlderForm : public Serializable
{
public:
    std::vector<Vector2> params, values;
    std::vector<float> normaldots;
    std::vector<int> facets;

    explicit OlderForm(MeshFunction2D const& f)
        : params(f.params), values(f.values), normaldots(f.normaldots), facets(f.facets)
    {
    }

    smart_ptr<Field> describeFields(std::string const& name) override
    {
        ClassDesc desc;
        desc.add("params", &OlderForm::params);
        desc.add("values", &OlderForm::values);
        desc.add("normaldots", &OlderForm::normaldots);
        desc.add("facets", &OlderForm::facets);
        return new CompositeField(name, desc);
    }
};

std::string documentOf(Serializable& object)
{
    std::ostringstream out;
    sinew::writeDocument(out, object, "MeshFunction2D");
    return out.str();
}

// Sets the global locale of the process to one with a decimal comma, and restores it at the end of the scope.
class CommaLocale
{
public:
    CommaLocale() : before_(std::locale::global(std::locale(std::locale::classic(), new Comma))) {}
    ~CommaLocale() { std::locale::global(before_); }
    CommaLocale(CommaLocale const&) = delete;
    CommaLocale& operator=(CommaLocale const&) = delete;

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

// Whether the packed text can represent the function.
bool fits(MeshFunction2D const& f)
{
    auto const inRange = [](Vector2 const& p) {
        return p.x >= kLowestCoordinate && p.x < kHighestCoordinate && p.y >= kLowestCoordinate &&
               p.y < kHighestCoordinate;
    };
    return f.params.size() <= kPackedLimit && f.facets.size() <= kPackedLimit &&
           std::all_of(f.params.begin(), f.params.end(), inRange) &&
           std::all_of(f.values.begin(), f.values.end(), inRange);
}

void addSizes(Section& section, MeshFunction2D const& f, std::string const& packed, std::string const& older)
{
    auto const row = [&](std::string const& form, std::size_t bytes) {
        auto const count = static_cast<double>(std::max<std::size_t>(f.params.size(), 1));
        return std::vector<std::string>{form, niceCount(bytes), niceNumber(static_cast<double>(bytes) / count, 3)};
    };
    std::size_t const inMemory =
        f.params.size() * 2 * sizeof(Vector2) + f.normaldots.size() * sizeof(float) + f.facets.size() * sizeof(int);
    section.table("Size of the function of " + niceCount(f.params.size()) + " vertices",
                  {"form", "bytes", "bytes a vertex"},
                  {row("packed text", packed.size()), row("one field for each vector, the older form", older.size()),
                   row("the arrays in memory", inMemory)});
}

// The results of a host that works under a locale with a decimal comma.
struct UnderCommaLocale
{
    std::string number; // 1234.5 in the locale, to show that it is in effect
    std::string saved;
    std::unique_ptr<Serializable> loaded;
};

UnderCommaLocale saveAndLoadUnderCommaLocale(MeshFunction2D& function, std::string const& text)
{
    CommaLocale const guard;
    UnderCommaLocale result;
    std::ostringstream number;
    number << 1234.5;
    result.number = number.str();
    result.saved = documentOf(function);
    std::istringstream in(text);
    result.loaded = sinew::createFromDocument(in);
    return result;
}

void addSaving(TourContext& tour, Section& section)
{
    MeshFunction2D function = sideViewFunction(tour.mesh);
    if (!fits(function)) {
        section.text(
            "This model is too large for the packed text, or some of its coordinates lie outside [-2, 14). The "
            "packed text would change such coordinates. The tour therefore omits saving.");
        return;
    }
    std::string const text = documentOf(function);
    OlderForm older(function);
    addSizes(section, function, text, documentOf(older));
    section.file("mesh-function.xml", text, "the saved mesh function");

    UnderCommaLocale const comma = saveAndLoadUnderCommaLocale(function, text);
    section.check(comma.saved == text, "Saving gives the same bytes under a locale with a decimal comma",
                  niceCount(text.size()) + " bytes; 1234.5 is printed as " + comma.number);
    auto* const loaded = dynamic_cast<MeshFunction2D*>(comma.loaded.get());
    section.check(loaded != nullptr, "The name in the document creates a mesh function", "MeshFunction2D");
    if (!loaded) return;
    double const moved = std::max(largestDifference(loaded->params, function.params),
                                  largestDifference(loaded->values, function.values));
    section.check(moved <= kStep,
                  "Loaded under that locale, no coordinate moves by more than a step of the packed text",
                  "by " + niceNumber(moved, 2) + " at most; a step is " + niceNumber(kStep, 2));
    section.check(loaded->facets == function.facets, "All triangles are loaded", niceCount(loaded->facets.size() / 3));
    section.check(documentOf(*loaded) == text, "Saving the loaded function gives the same bytes",
                  niceCount(text.size()) + " bytes compared");
}

// ---- compaction ----------------------------------------------------------------------------------------------------

// A sheet of texels that several models share, and the function from the model's texture to the sheet.
struct SharedSheet
{
    MeshFunction2D function{true};
    Image texels{1, 1};
    std::vector<bool> used; // at x + width * y, y upwards
    int size = 0;
};

// The square of the model on the sheet, which is the unit square. Its side is less than half of the sheet's, so that
// compaction can halve both sides.
constexpr Vector2 kPlace{0.46, 0.34};
constexpr double kPlaceSize = 0.42;
constexpr double kPlaceMargin = 0.02;      // around it, of its side; painted with the model's pattern too
constexpr double kSmallestExtent = 1e-300; // of texture coordinates in one place: no division by zero

// The texels of other models: stripes in colours that the model's pattern does not have.
Colour otherModels(int x, int y, int size)
{
    double const band = std::sin(18.0 * (x + 0.6 * y) / size) * std::sin(11.0 * (y - 0.3 * x) / size);
    return mix(Colour::hex(0x9fb4b0), Colour::hex(0x5f7d86), 0.5 + 0.5 * band);
}

// Marks all texels in the bounding boxes of the triangles on the sheet.
void markUsed(SharedSheet& sheet)
{
    sheet.used.assign(asIndex(sheet.size) * asIndex(sheet.size), false);
    MeshFunction2D const& f = sheet.function;
    auto const texel = [&](double v) { return clip(static_cast<int>(std::floor(v * sheet.size)), 0, sheet.size - 1); };
    for (std::size_t t = 0; t + 2 < f.facets.size(); t += 3) {
        std::vector<Vector2> corners;
        for (std::size_t k = 0; k < 3; ++k) corners.push_back(f.values[asIndex(f.facets[t + k])]);
        Vector2 low, high;
        boundsOf(corners, low, high);
        for (int y = texel(low.y); y <= texel(high.y); ++y) {
            for (int x = texel(low.x); x <= texel(high.x); ++x) {
                sheet.used[asIndex(x) + asIndex(sheet.size) * asIndex(y)] = true;
            }
        }
    }
}

// The texels whose middles lie in a model's part of the sheet, along one axis: from `begin` to before `end`.
struct TexelRange
{
    int begin = 0;
    int end = 0;

    TexelRange(double place, int size)
    {
        auto const isOurs = [=](int texel) {
            double const inside = ((texel + 0.5) / size - place) * (1 / kPlaceSize);
            return inside > -kPlaceMargin && inside < 1 + kPlaceMargin;
        };
        while (begin < size && !isOurs(begin)) ++begin;
        for (end = begin; end < size && isOurs(end);) ++end;
    }
};

// Paints the model's part of the sheet, which shows the square of its texture with the corner `low`.
void paintModel(Image& texels, MeshFunction2D const& sideView, Vector2 const& low, double extent)
{
    int const size = texels.width();
    TexelRange const columns(kPlace.x, size), rows(kPlace.y, size);
    sinew::Raster raster;
    Vector2 const first((columns.begin + 0.5) / size, (rows.begin + 0.5) / size);
    raster.origin = low + (first - kPlace) * (extent / kPlaceSize);
    raster.step = Vector2(1, 1) * (extent / kPlaceSize / size);
    raster.width = columns.end - columns.begin;
    raster.height = rows.end - rows.begin;
    std::size_t const count = asIndex(raster.width) * asIndex(raster.height);
    std::vector<Vector2> values(count);
    auto const found = std::make_unique<bool[]>(count);
    sinew::extrapolateRaster(sideView, raster, values.data(), nullptr, found.get());
    for (std::size_t i = 0; i < count; ++i) {
        if (!found[i]) continue;
        int const x = columns.begin + static_cast<int>(i) % raster.width;
        int const y = rows.begin + static_cast<int>(i) / raster.width;
        texels.at(x, size - 1 - y) = koiPattern(values[i]);
    }
}

SharedSheet makeSheet(TexturedMesh const& mesh, MeshFunction2D const& sideView, int size)
{
    SharedSheet sheet;
    sheet.size = size;
    Vector2 low, high;
    boundsOf(mesh.texcoords, low, high);
    double const extent = std::max({high.x - low.x, high.y - low.y, kSmallestExtent});
    std::vector<int> facets;
    for (Triangle const& t : mesh.texTriangles) facets.insert(facets.end(), t.begin(), t.end());
    std::vector<Vector2> places;
    for (Vector2 const& p : mesh.texcoords) places.push_back(kPlace + (p - low) * (kPlaceSize / extent));
    sheet.function = MeshFunction2D(mesh.texcoords, places, facets, {});

    sheet.texels = Image(size, size);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) sheet.texels.at(x, size - 1 - y) = otherModels(x, y, size);
    }
    paintModel(sheet.texels, sideView, low, extent);
    markUsed(sheet);
    return sheet;
}

// The smaller sheet, with the texels that a host copies as the optimiser says.
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
    View const view(low, high, sideAzimuth(mesh), 16, {0, 0, 800, 520}, tour.meshIsBundled ? 1.5 : 1.05);
    auto const colourAt = [&](Vector2 const& texcoord) -> Colour {
        // A texture triangle without area can be the nearest boundary of its own points, and gives no value there.
        Vector2 onSheet;
        if (!function.extrapolate(texcoord, &onSheet, nullptr)) return palette::rule;
        return texels.sample(onSheet.x, onSheet.y);
    };
    drawSolids(sheet, {texturedSolid(mesh, colourAt)}, view);
    return sheet;
}

// The largest difference of a colour channel of any pixel, where the largest value of a channel is 255.
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
    double const unit = kSide / fullSize; // the same for both sheets, so that their sizes can be compared
    Rect const where{20, 20 + kSide - unit * texels.height(), unit * texels.width(), unit * texels.height()};
    sheet.image(texels, where);
    sheet.frame(where, {palette::faintInk, 1.5});
    Rect const moved{where.x + unit * (m.x + dx), where.y + unit * (texels.height() - (m.y + dy) - m.h), unit * m.w,
                     unit * m.h};
    sheet.frame(moved, {palette::accent, 4});
    section.picture(file, sheet, caption, Width::half);
}

void addCompaction(TourContext& tour, Section& section)
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
                  niceCount(optimizer.motions.size()) + " motion");
    if (optimizer.motions.size() != 1) return;
    TextureOptimizer::RectMotion const& m = optimizer.motions.front();
    Image const shrunk = movedTexels(before.texels, optimizer);

    drawTexture(tour, section, "sheet-before.png", before.texels, size, m, 0, 0,
                "A texture sheet that several models share. The frame contains the part that one model uses, with a "
                "margin of one texel.");
    drawTexture(tour, section, "sheet-after.png", shrunk, size, m, m.dx, m.dy,
                "The sheet after compaction, in the same scale. The framed rectangle has moved to the corner of the "
                "smallest sheet whose sides are powers of two.");
    Canvas const with = drawModel(tour, before.function, before.texels);
    Canvas const without = drawModel(tour, after, shrunk);
    section.picture("model-before.png", with, "The model, with its texture on the shared sheet.", Width::half);
    section.picture("model-after.png", without, "The model, with its texture on the smaller sheet.", Width::half);

    auto const texelsOf = [](int w, int h) { return niceCount(static_cast<long long>(w) * h); };
    section.numbers("The compaction", {
                                          {"texels before", texelsOf(size, size)},
                                          {"texels after", texelsOf(optimizer.newWidth, optimizer.newHeight)},
                                          {"columns moved by", niceCount(m.dx)},
                                          {"rows moved by", niceCount(m.dy)},
                                      });
    int const difference = largestDifference(with.pixelsOf(), without.pixelsOf());
    section.check(difference <= 1, "The picture of the model does not change",
                  "the largest difference of any pixel is " + niceCount(difference) + " of 255");
    section.check(optimizer.newWidth * optimizer.newHeight * 4 <= size * size,
                  "The new sheet has a quarter of the texels or less",
                  niceCount(optimizer.newWidth) + " x " + niceCount(optimizer.newHeight));
}

} // namespace

void saveStage(TourContext& tour)
{
    Section& section = tour.report.add("Saving and texture compaction");
    section.text(
        "A mesh function is saved as XML, with its long vectors packed into printable characters. The bytes do "
        "not depend on the locale. The name of the root element suffices to create the object when it is loaded.");
    addSaving(tour, section);
    section.text(
        "Several models may share a texture sheet; each uses a part of it. Compaction finds the smallest sheet "
        "that can hold the part of one model, and the rectangle of texels to copy. It then changes the mesh "
        "function so that it gives positions on the new sheet.");
    addCompaction(tour, section);
}

} // namespace tool
