// The pictures of the smooth distance in docs/fields.md, as PNG.
//
// Left to right, the same field with less and more care for how it blends: its level lines with gradient arrows, and
// the lines that a striped room would leave on a polished surface of that height.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include <cairo.h>

#include <sinew/sinew.h>

namespace {

struct Value
{
    double dist;
    Vector3 grad;
};
using Field = std::function<Value(Vector3 const&)>;

// sinew's field: the squared distance, smooth over the width h.
Field smoothField(std::vector<Vector3> polyline, double h)
{
    return [polyline = std::move(polyline), h](Vector3 const& q) {
        Value value{};
        smoothDistToPolyline(polyline, q, h, &value.dist, &value.grad, nullptr);
        return value;
    };
}

// The same with the common quadratic blend, which has one continuous derivative.
Field quadraticField(std::vector<Vector3> polyline, double h)
{
    return [polyline = std::move(polyline), h](Vector3 const& q) {
        Value value{1e13, {}};
        for (std::size_t k = 0; k + 1 < polyline.size(); ++k) {
            double t = 0;
            double const d = distSqToLineSegment(q, polyline[k], polyline[k + 1], &t);
            Vector3 const grad = 2 * (q - (polyline[k] + t * (polyline[k + 1] - polyline[k])));
            double const share = std::clamp(0.5 + 0.5 * (value.dist - d) / h, 0.0, 1.0); // of d
            value = {value.dist + share * (d - value.dist) - h * share * (1 - share),
                     share * grad + (1 - share) * value.grad};
        }
        return value;
    };
}

struct Colour
{
    double r, g, b;
};
Colour mix(Colour const& a, Colour const& b, double share)
{
    return {a.r + (b.r - a.r) * share, a.g + (b.g - a.g) * share, a.b + (b.b - a.b) * share};
}

Colour const kPaper{0.988, 0.984, 0.973};
Colour const kInk{0.17, 0.17, 0.17};
Colour const kBlue{0.04, 0.44, 0.64};
Colour const kRed{0.82, 0.29, 0.36};

constexpr int kPanel = 380;
constexpr int kGap = 14;
constexpr int kCaption = 30;

// A row of square panels, each showing the square [-extent, extent]^2 of the plane z = 0.
class Sheet
{
public:
    Sheet(int panels, double extent)
        : extent_(extent), width_(panels * kPanel + (panels + 1) * kGap), height_(kPanel + kGap + kCaption),
          surface_(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width_, height_)), cairo_(cairo_create(surface_))
    {
        cairo_set_source_rgb(cairo_, kPaper.r, kPaper.g, kPaper.b);
        cairo_paint(cairo_);
    }
    ~Sheet()
    {
        cairo_destroy(cairo_);
        cairo_surface_destroy(surface_);
    }
    Sheet(Sheet const&) = delete;
    Sheet& operator=(Sheet const&) = delete;

    // The mean of 3 x 3 samples a pixel.
    void paint(int panel, std::function<Colour(Vector3 const&)> const& colourAt)
    {
        cairo_surface_flush(surface_);
        unsigned char* const data = cairo_image_surface_get_data(surface_);
        int const stride = cairo_image_surface_get_stride(surface_);
        for (int y = 0; y < kPanel; ++y) {
            auto* const row = reinterpret_cast<std::uint32_t*>(data + (y + kGap) * stride) + left(panel);
            for (int x = 0; x < kPanel; ++x) {
                Colour sum{0, 0, 0};
                for (int sample = 0; sample < 9; ++sample) {
                    Colour const c = colourAt(place(x + (sample % 3 + 0.5) / 3, y + (sample / 3 + 0.5) / 3));
                    sum = {sum.r + c.r / 9, sum.g + c.g / 9, sum.b + c.b / 9};
                }
                auto const byte = [](double v) { return static_cast<std::uint32_t>(std::lround(255 * v)); };
                row[x] = byte(sum.r) << 16 | byte(sum.g) << 8 | byte(sum.b);
            }
        }
        cairo_surface_mark_dirty(surface_);
    }

    void stroke(int panel, std::vector<Vector3> const& line, Colour const& colour, double width)
    {
        cairo_save(cairo_);
        cairo_rectangle(cairo_, left(panel), kGap, kPanel, kPanel);
        cairo_clip(cairo_);
        for (Vector3 const& p : line) cairo_line_to(cairo_, pixelX(panel, p), pixelY(p));
        cairo_set_source_rgb(cairo_, colour.r, colour.g, colour.b);
        cairo_set_line_width(cairo_, width);
        cairo_set_line_cap(cairo_, CAIRO_LINE_CAP_ROUND);
        cairo_set_line_join(cairo_, CAIRO_LINE_JOIN_ROUND);
        cairo_stroke(cairo_);
        cairo_restore(cairo_);
    }

    void arrow(int panel, Vector3 const& from, Vector3 const& step, Colour const& colour)
    {
        Vector3 const tip = from + step;
        Vector3 const across(-step.y, step.x, 0);
        stroke(panel, {from, tip}, colour, 1.3);
        stroke(panel, {tip - 0.35 * step + 0.2 * across, tip, tip - 0.35 * step - 0.2 * across}, colour, 1.3);
    }

    void caption(int panel, char const* words)
    {
        cairo_set_source_rgb(cairo_, kInk.r, kInk.g, kInk.b);
        cairo_select_font_face(cairo_, "Helvetica", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
        cairo_set_font_size(cairo_, 15);
        cairo_move_to(cairo_, left(panel) + 2, kPanel + kGap + 20);
        cairo_show_text(cairo_, words);
    }

    void save(std::string const& file)
    {
        if (cairo_surface_write_to_png(surface_, file.c_str()) != CAIRO_STATUS_SUCCESS) {
            std::fprintf(stderr, "cannot write %s\n", file.c_str());
        }
    }

private:
    int left(int panel) const { return kGap + panel * (kPanel + kGap); }
    Vector3 place(double x, double y) const
    {
        return {(2 * x / kPanel - 1) * extent_, (1 - 2 * y / kPanel) * extent_, 0.0};
    }
    double pixelX(int panel, Vector3 const& p) const { return left(panel) + (p.x / extent_ + 1) * kPanel / 2; }
    double pixelY(Vector3 const& p) const { return kGap + (1 - p.y / extent_) * kPanel / 2; }

    double extent_;
    int width_;
    int height_;
    cairo_surface_t* surface_;
    cairo_t* cairo_;
};

// Bands between level lines of the distance, the lines about one pixel wide wherever the field is steep or flat.
Colour levelColour(Value const& value, double spacing, double pixel)
{
    double const distance = std::sqrt(std::max(0.0, value.dist));
    double const slope = distance > 0 ? value.grad.length() / (2 * distance) : 1.0;
    double const level = distance / spacing;
    double const away = std::fabs(level - std::round(level)) * spacing / std::max(slope, 1e-3) / pixel;
    double const tint = 0.55 * std::exp(-1.2 * distance);
    return mix(kInk, mix(kPaper, kBlue, tint), std::clamp(away - 0.1, 0.0, 1.0));
}

void drawLevelLines(std::string const& folder)
{
    std::vector<Vector3> const polyline = {
        {-0.95, -0.5, 0}, {-0.45, 0.6, 0}, {-0.1, -0.35, 0}, {0.35, -0.35, 0}, {0.75, 0.7, 0}};
    double const extent = 1.3;
    Field const fields[] = {smoothField(polyline, 1e-6), smoothField(polyline, 0.35)};
    char const* const captions[] = {"hardly any blend: the distance, with creases", "h = 0.35: the smooth distance"};
    Sheet sheet(2, extent);
    for (int panel = 0; panel < 2; ++panel) {
        Field const& field = fields[panel];
        sheet.paint(panel, [&](Vector3 const& p) { return levelColour(field(p), 0.1, 2 * extent / kPanel); });
        for (double y = -1.17; y < extent; y += 0.26) {
            for (double x = -1.17; x < extent; x += 0.26) {
                Vector3 const p(x, y, 0);
                Vector3 const grad = field(p).grad;
                if (grad.length() > 0.02) sheet.arrow(panel, p, grad * 0.075, kRed);
            }
        }
        sheet.stroke(panel, polyline, kInk, 3.5);
        sheet.caption(panel, captions[panel]);
    }
    sheet.save(folder + "/fields_smooth_distance.png");
}

// Stripes of a room seen in a polished surface of height scale * field, looked at from straight above.
Colour reflectionColour(Value const& value, double scale)
{
    UVector3 const normal(-scale * value.grad.x, -scale * value.grad.y, 1.0);
    Vector3 const mirrored = 2 * normal.z * normal - Vector3(0, 0, 1);
    double const angle = std::atan2(0.8 * mirrored.x + 0.6 * mirrored.y, mirrored.z);
    double const wave = 0.5 + 0.5 * std::tanh(5 * std::sin(45 * angle));
    return mix(kInk, kPaper, wave);
}

void drawReflectionLines(std::string const& folder)
{
    std::vector<Vector3> const polyline = {{-3.2, 2.5, 0}, {-2.2, -2.8, 0}, {2.8, -2.2, 0}};
    double const h = 2.0; // below every squared distance in the picture, so that it is nowhere narrowed
    Field const fields[] = {smoothField(polyline, 1e-6), quadraticField(polyline, h), smoothField(polyline, h)};
    char const* const captions[] = {"minimum: the lines break", "quadratic blend: the lines bend sharply",
                                    "sinew: the lines stay smooth"};
    Sheet sheet(3, 1.0);
    for (int panel = 0; panel < 3; ++panel) {
        Field const& field = fields[panel];
        sheet.paint(panel, [&](Vector3 const& p) { return reflectionColour(field(p), 0.1); });
        sheet.caption(panel, captions[panel]);
    }
    sheet.save(folder + "/fields_reflection_lines.png");
}

} // namespace

int main(int argc, char** argv)
{
    std::string const folder = argc > 1 ? argv[1] : ".";
    drawLevelLines(folder);
    drawReflectionLines(folder);
}
