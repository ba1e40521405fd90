#pragma once

/// Drawing: a canvas for lines, shapes, text and images, the map from a plane to a canvas, legends, and numbers as
/// text.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <tool/draw/colour.h>
#include <tool/draw/image.h>

typedef struct _cairo cairo_t;
typedef struct _cairo_surface cairo_surface_t;

namespace tool {

struct Point
{
    double x = 0;
    double y = 0;
};

struct Rect
{
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    Rect inset(double margin) const { return {x + margin, y + margin, width - 2 * margin, height - 2 * margin}; }
};

struct Stroke
{
    Colour colour = palette::ink;
    double width = 1.5;
    std::vector<double> dashes = {}; ///< lengths on, off, on, ... in units; empty for a solid line
};

enum class Align
{
    left,
    centre,
    right
};

struct TextStyle
{
    double size = 16;
    Colour colour = palette::ink;
    Align align = Align::left;
    bool bold = false;
};

/// A picture to draw on. Coordinates are in units, from the top left corner, with y downwards.
///
/// Only the canvas knows how many pixels a unit has. The same drawing code therefore makes a large picture for the page
/// and a small one for a test.
class Canvas
{
public:
    /// A canvas of width x height units, filled with the background, at `pixelsPerUnit` (> 0).
    Canvas(double width, double height, double pixelsPerUnit = 1, Colour background = palette::paper);
    ~Canvas();
    Canvas(Canvas&&) noexcept;
    Canvas& operator=(Canvas&&) noexcept;

    double width() const { return width_; }
    double height() const { return height_; }
    double pixelsPerUnit() const { return pixelsPerUnit_; }

    /// How many pixels a length in units covers, at least 1. An `Image` of this size is drawn there without blur.
    int pixels(double units) const;

    void line(Point a, Point b, Stroke const& stroke);
    void polyline(std::vector<Point> const& points, Stroke const& stroke, bool closed = false);
    void arrow(Point from, Point to, Stroke const& stroke);
    void polygon(std::vector<Point> const& points, Colour fill);
    /// Many polylines or polygons as one shape. That keeps an SVG file small.
    void polylines(std::vector<std::vector<Point>> const& lines, Stroke const& stroke, bool closed = false);
    void polygons(std::vector<std::vector<Point>> const& outlines, Colour fill);
    void rectangle(Rect const& rect, Colour fill, double cornerRadius = 0);
    void frame(Rect const& rect, Stroke const& stroke, double cornerRadius = 0);
    void circle(Point centre, double radius, Colour fill);
    void ring(Point centre, double radius, Stroke const& stroke);

    /// One line of text; `at` is the left end, the centre or the right end of its base line.
    void text(Point at, std::string const& words, TextStyle const& style = {});
    double textWidth(std::string const& words, TextStyle const& style) const;

    /// The image stretched over the rectangle.
    void image(Image const& image, Rect const& where);

    /// Clips all drawing to the rectangle until `endClip`. Clips may be nested.
    void beginClip(Rect const& rect);
    void endClip();

    /// The picture as the bytes of a PNG file.
    std::string png() const;
    /// The picture as pixels.
    Image pixelsOf() const;

    friend std::string svgOf(double width, double height, std::function<void(Canvas&)> const& draw, Colour background);

private:
    struct Release
    {
        void operator()(cairo_t* context) const;
    };

    Canvas(cairo_surface_t* surface, double width, double height, double pixelsPerUnit, Colour background);

    void addToPath(std::vector<Point> const& points, bool closed);
    void roundedPath(Rect const& rect, double radius);
    void finish(Stroke const& stroke);

    double width_;
    double height_;
    double pixelsPerUnit_;
    std::unique_ptr<cairo_t, Release> context_;
};

/// What `draw` draws on a canvas of width x height units, as the text of an SVG file. Shapes stay shapes, a unit is a
/// pixel, and text becomes outlines, so that the picture does not depend on the fonts of the reader. Images are
/// embedded; `Canvas::pixels` gives them two pixels a unit. `draw` must not call `png` or `pixelsOf`.
std::string svgOf(double width, double height, std::function<void(Canvas&)> const& draw,
                  Colour background = palette::paper);

/// Maps a plane with y upwards into a rectangle of a canvas, with one scale for both directions, centred.
class PlaneMap
{
public:
    /// @param low, high  opposite corners of the part of the plane that must lie in `where`.
    PlaneMap(Point low, Point high, Rect const& where);

    Point operator()(Point world) const { return {origin_.x + world.x * scale_, origin_.y - world.y * scale_}; }
    Point inverse(Point canvas) const { return {(canvas.x - origin_.x) / scale_, (origin_.y - canvas.y) / scale_}; }

    /// Canvas units for one unit of the plane.
    double scale() const { return scale_; }

private:
    Point origin_;
    double scale_;
};

struct LegendEntry
{
    Colour colour;
    std::string label;
};

/// Coloured squares with labels, one below the other; `at` is the top left corner of the first square.
void drawLegend(Canvas& canvas, Point at, std::vector<LegendEntry> const& entries, double size = 16);

/// A colour map as a bar with its two ends and a title. `colourAt` takes the position along the bar in [0, 1].
void drawColourBar(Canvas& canvas, Rect const& where, Colour (*colourAt)(double), std::string const& low,
                   std::string const& high, std::string const& title);

/// A number as text for readers: `digits` significant digits, without an exponent from 1e-4 up to 10^digits.
std::string niceNumber(double value, int digits = 4);
/// The decimal digits of a whole number in groups of three: "1 234 567" for "1234567".
std::string groupedDigits(std::string digits);
/// A whole number as text for readers, with its digits in groups.
template <typename Integer>
std::string niceCount(Integer value)
{
    return groupedDigits(std::to_string(value));
}

} // namespace tool
