#include <tool/draw/canvas.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <stdexcept>

#include <cairo/cairo-svg.h>
#include <cairo/cairo.h>

#include <sinew/detail/number_writer.h>

#ifndef __has_feature
#define __has_feature(feature) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
// The font library keeps what it has read until the program ends. The leak checker would report that as our leak.
extern "C" char const* __lsan_default_suppressions()
{
    return "leak:libfontconfig\n";
}
extern "C" char const* __lsan_default_options()
{
    return "print_suppressions=0";
}
#endif

namespace tool {
namespace {

constexpr double kPi = 3.14159265358979323846;
char const* const kFont = "DejaVu Sans"; // comes with cairo's packages; elsewhere the system's default is used

// Images in an SVG file have two pixels a unit. They are sharp on displays of high resolution, and the file is small.
constexpr double kSvgPixelsPerUnit = 2;

// Of the part of a plane that a `PlaneMap` shows. Only a part without width or height needs it, for a finite scale.
constexpr double kSmallestExtent = 1e-300;

void setColour(cairo_t* context, Colour const& c)
{
    cairo_set_source_rgba(context, c.r, c.g, c.b, c.a);
}

void setFont(cairo_t* context, TextStyle const& style)
{
    cairo_select_font_face(context, kFont, CAIRO_FONT_SLANT_NORMAL,
                           style.bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(context, style.size);
}

std::uint32_t toByte(double value)
{
    return value > 0 ? static_cast<std::uint32_t>(std::fmin(value, 1.0) * 255.0 + 0.5) : 0;
}

// Cairo's pixel: opacity and premultiplied colours in one native 32-bit word.
std::uint32_t packed(Colour const& c)
{
    return toByte(c.a) << 24 | toByte(c.r * c.a) << 16 | toByte(c.g * c.a) << 8 | toByte(c.b * c.a);
}

Colour unpacked(std::uint32_t word)
{
    double const alpha = (word >> 24) / 255.0;
    if (alpha == 0) return {0, 0, 0, 0};
    auto const channel = [&](int shift) { return (word >> shift & 255) / 255.0 / alpha; };
    return {channel(16), channel(8), channel(0), alpha};
}

std::uint32_t* pixelRow(cairo_surface_t* surface, int y)
{
    unsigned char* const bytes = cairo_image_surface_get_data(surface) +
                                 static_cast<std::ptrdiff_t>(y) * cairo_image_surface_get_stride(surface);
    return reinterpret_cast<std::uint32_t*>(bytes);
}

int pixelsFor(double units, double pixelsPerUnit)
{
    return std::max(1, static_cast<int>(std::lround(units * pixelsPerUnit)));
}

// How cairo hands over the bytes of a file: `to` is the std::string that collects them.
cairo_status_t appendBytes(void* to, unsigned char const* data, unsigned int length)
{
    static_cast<std::string*>(to)->append(reinterpret_cast<char const*>(data), length);
    return CAIRO_STATUS_SUCCESS;
}

} // namespace

void Canvas::Release::operator()(cairo_t* context) const
{
    cairo_destroy(context);
}

Canvas::Canvas(double width, double height, double pixelsPerUnit, Colour background)
    : Canvas(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, pixelsFor(width, pixelsPerUnit),
                                        pixelsFor(height, pixelsPerUnit)),
             width, height, pixelsPerUnit, background)
{
    cairo_scale(context_.get(), pixelsPerUnit, pixelsPerUnit);
}

Canvas::Canvas(cairo_surface_t* surface, double width, double height, double pixelsPerUnit, Colour background)
    : width_(width), height_(height), pixelsPerUnit_(pixelsPerUnit), context_(cairo_create(surface))
{
    cairo_surface_destroy(surface); // the context holds it from here on
    if (cairo_status(context_.get()) != CAIRO_STATUS_SUCCESS) throw std::runtime_error("a picture cannot be created");
    cairo_set_line_join(context_.get(), CAIRO_LINE_JOIN_ROUND);
    cairo_set_line_cap(context_.get(), CAIRO_LINE_CAP_ROUND);
    setColour(context_.get(), background);
    cairo_paint(context_.get());
}

Canvas::~Canvas() = default;
Canvas::Canvas(Canvas&&) noexcept = default;
Canvas& Canvas::operator=(Canvas&&) noexcept = default;

int Canvas::pixels(double units) const
{
    return pixelsFor(units, pixelsPerUnit_);
}

void Canvas::addToPath(std::vector<Point> const& points, bool closed)
{
    cairo_new_sub_path(context_.get());
    for (Point const& p : points) cairo_line_to(context_.get(), p.x, p.y);
    if (closed) cairo_close_path(context_.get());
}

void Canvas::finish(Stroke const& stroke)
{
    setColour(context_.get(), stroke.colour);
    cairo_set_line_width(context_.get(), stroke.width);
    cairo_set_dash(context_.get(), stroke.dashes.data(), static_cast<int>(stroke.dashes.size()), 0);
    cairo_stroke(context_.get());
}

void Canvas::line(Point a, Point b, Stroke const& stroke)
{
    polyline({a, b}, stroke);
}

void Canvas::polyline(std::vector<Point> const& points, Stroke const& stroke, bool closed)
{
    polylines({points}, stroke, closed);
}

void Canvas::polylines(std::vector<std::vector<Point>> const& lines, Stroke const& stroke, bool closed)
{
    cairo_new_path(context_.get());
    for (std::vector<Point> const& points : lines) addToPath(points, closed);
    finish(stroke);
}

void Canvas::arrow(Point from, Point to, Stroke const& stroke)
{
    double const length = std::hypot(to.x - from.x, to.y - from.y);
    if (!(length > 0)) return;
    double const head = std::min(length, 4 + 3 * stroke.width);
    Point const along{(to.x - from.x) / length, (to.y - from.y) / length};
    Point const base{to.x - head * along.x, to.y - head * along.y};
    Point const side{-0.4 * head * along.y, 0.4 * head * along.x};
    line(from, base, stroke);
    polygon({to, {base.x + side.x, base.y + side.y}, {base.x - side.x, base.y - side.y}}, stroke.colour);
}

void Canvas::polygon(std::vector<Point> const& points, Colour fill)
{
    polygons({points}, fill);
}

void Canvas::polygons(std::vector<std::vector<Point>> const& outlines, Colour fill)
{
    cairo_new_path(context_.get());
    for (std::vector<Point> const& points : outlines) addToPath(points, true);
    setColour(context_.get(), fill);
    cairo_fill(context_.get());
}

void Canvas::roundedPath(Rect const& r, double radius)
{
    cairo_t* const c = context_.get();
    double const q = std::min({radius, r.width / 2, r.height / 2});
    cairo_new_path(c);
    cairo_arc(c, r.x + r.width - q, r.y + q, q, -kPi / 2, 0);
    cairo_arc(c, r.x + r.width - q, r.y + r.height - q, q, 0, kPi / 2);
    cairo_arc(c, r.x + q, r.y + r.height - q, q, kPi / 2, kPi);
    cairo_arc(c, r.x + q, r.y + q, q, kPi, 3 * kPi / 2);
    cairo_close_path(c);
}

void Canvas::rectangle(Rect const& rect, Colour fill, double cornerRadius)
{
    roundedPath(rect, cornerRadius);
    setColour(context_.get(), fill);
    cairo_fill(context_.get());
}

void Canvas::frame(Rect const& rect, Stroke const& stroke, double cornerRadius)
{
    roundedPath(rect, cornerRadius);
    finish(stroke);
}

void Canvas::circle(Point centre, double radius, Colour fill)
{
    cairo_new_path(context_.get());
    cairo_arc(context_.get(), centre.x, centre.y, radius, 0, 2 * kPi);
    setColour(context_.get(), fill);
    cairo_fill(context_.get());
}

void Canvas::ring(Point centre, double radius, Stroke const& stroke)
{
    cairo_new_path(context_.get());
    cairo_arc(context_.get(), centre.x, centre.y, radius, 0, 2 * kPi);
    finish(stroke);
}

double Canvas::textWidth(std::string const& words, TextStyle const& style) const
{
    setFont(context_.get(), style);
    cairo_text_extents_t extents;
    cairo_text_extents(context_.get(), words.c_str(), &extents);
    return extents.x_advance;
}

void Canvas::text(Point at, std::string const& words, TextStyle const& style)
{
    double const shift = style.align == Align::left ? 0 : style.align == Align::centre ? 0.5 : 1;
    double const x = at.x - shift * textWidth(words, style);
    setColour(context_.get(), style.colour);
    cairo_move_to(context_.get(), x, at.y);
    cairo_show_text(context_.get(), words.c_str());
    cairo_new_path(context_.get());
}

void Canvas::image(Image const& image, Rect const& where)
{
    cairo_surface_t* const surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, image.width(), image.height());
    for (int y = 0; y < image.height(); ++y) {
        std::uint32_t* const row = pixelRow(surface, y);
        for (int x = 0; x < image.width(); ++x) row[x] = packed(image.at(x, y));
    }
    cairo_surface_mark_dirty(surface);
    cairo_t* const c = context_.get();
    cairo_save(c);
    cairo_translate(c, where.x, where.y);
    cairo_scale(c, where.width / image.width(), where.height / image.height());
    cairo_set_source_surface(c, surface, 0, 0);
    // At the border cairo interpolates with pixels outside the image. Without this they would be transparent.
    cairo_pattern_set_extend(cairo_get_source(c), CAIRO_EXTEND_PAD);
    cairo_rectangle(c, 0, 0, image.width(), image.height());
    cairo_fill(c);
    cairo_restore(c);
    cairo_surface_destroy(surface);
}

void Canvas::beginClip(Rect const& rect)
{
    cairo_save(context_.get());
    cairo_rectangle(context_.get(), rect.x, rect.y, rect.width, rect.height);
    cairo_clip(context_.get());
}

void Canvas::endClip()
{
    cairo_restore(context_.get());
}

std::string Canvas::png() const
{
    std::string bytes;
    cairo_surface_flush(cairo_get_target(context_.get()));
    if (cairo_surface_write_to_png_stream(cairo_get_target(context_.get()), appendBytes, &bytes) !=
        CAIRO_STATUS_SUCCESS) {
        throw std::runtime_error("a picture cannot be encoded");
    }
    return bytes;
}

Image Canvas::pixelsOf() const
{
    cairo_surface_t* const surface = cairo_get_target(context_.get());
    cairo_surface_flush(surface);
    Image image(cairo_image_surface_get_width(surface), cairo_image_surface_get_height(surface));
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) image.at(x, y) = unpacked(pixelRow(surface, y)[x]);
    }
    return image;
}

std::string svgOf(double width, double height, std::function<void(Canvas&)> const& draw, Colour background)
{
    std::string text;
    cairo_surface_t* const surface = cairo_svg_surface_create_for_stream(appendBytes, &text, width, height);
    cairo_svg_surface_set_document_unit(surface, CAIRO_SVG_UNIT_PX);
    Canvas canvas(surface, width, height, kSvgPixelsPerUnit, background);
    draw(canvas);
    cairo_surface_finish(surface); // writes the rest of the text
    if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) throw std::runtime_error("a picture cannot be encoded");
    return text;
}

PlaneMap::PlaneMap(Point low, Point high, Rect const& where)
{
    double const width = std::max(high.x - low.x, kSmallestExtent);
    double const height = std::max(high.y - low.y, kSmallestExtent);
    scale_ = std::min(where.width / width, where.height / height);
    origin_.x = where.x + where.width / 2 - scale_ * (low.x + high.x) / 2;
    origin_.y = where.y + where.height / 2 + scale_ * (low.y + high.y) / 2;
}

void drawLegend(Canvas& canvas, Point at, std::vector<LegendEntry> const& entries, double size)
{
    for (LegendEntry const& entry : entries) {
        canvas.rectangle({at.x, at.y, size, size}, entry.colour, size / 4);
        canvas.text({at.x + 1.6 * size, at.y + 0.85 * size}, entry.label, {size});
        at.y += 1.6 * size;
    }
}

void drawColourBar(Canvas& canvas, Rect const& where, Colour (*colourAt)(double), std::string const& low,
                   std::string const& high, std::string const& title)
{
    int const steps = std::max(2, canvas.pixels(where.width));
    Image bar(steps, 1);
    for (int i = 0; i < steps; ++i) bar.at(i, 0) = colourAt(i / (steps - 1.0));
    canvas.image(bar, where);
    canvas.frame(where, {palette::rule, 1});
    double const base = where.y + where.height + 20;
    canvas.text({where.x, base}, low, {15, palette::faintInk});
    canvas.text({where.x + where.width, base}, high, {15, palette::faintInk, Align::right});
    canvas.text({where.x + where.width / 2, base}, title, {15, palette::ink, Align::centre});
}

std::string niceNumber(double value, int digits)
{
    return sinew::detail::realText(value, digits);
}

std::string groupedDigits(std::string digits)
{
    int const first = digits[0] == '-' ? 1 : 0;
    for (int i = static_cast<int>(digits.size()) - 3; i > first; i -= 3) {
        digits.insert(static_cast<std::size_t>(i), "\u202f"); // a narrow space at which no line breaks
    }
    return digits;
}

} // namespace tool
