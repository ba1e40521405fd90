#pragma once

/// A picture to draw on: lines, shapes, text, images, legends. Coordinates are units from the top left corner, y down;
/// how many pixels a unit has is the picture's business alone, so that the same drawing code makes a large picture for
/// the page and a tiny one for a test.

#include <memory>
#include <string>
#include <vector>

#include <tool/draw/colour.h>
#include <tool/draw/image.h>

typedef struct _cairo cairo_t;

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

class Canvas
{
public:
    /// A sheet of width x height units at `pixelsPerUnit` (> 0).
    Canvas(double width, double height, double pixelsPerUnit = 1, Colour background = palette::paper);
    ~Canvas();
    Canvas(Canvas&&) noexcept;
    Canvas& operator=(Canvas&&) noexcept;

    double width() const { return width_; }
    double height() const { return height_; }
    double pixelsPerUnit() const { return pixelsPerUnit_; }

    /// How many pixels a length in units covers, at least 1: the size of an `Image` that is to be drawn there sharply.
    int pixels(double units) const;

    void line(Point a, Point b, Stroke const& stroke);
    void polyline(std::vector<Point> const& points, Stroke const& stroke, bool closed = false);
    void arrow(Point from, Point to, Stroke const& stroke);
    void polygon(std::vector<Point> const& points, Colour fill);
    void rectangle(Rect const& rect, Colour fill, double cornerRadius = 0);
    void frame(Rect const& rect, Stroke const& stroke, double cornerRadius = 0);
    void circle(Point centre, double radius, Colour fill);
    void ring(Point centre, double radius, Stroke const& stroke);

    /// One line of text; `at` is the left end, centre or right end of its base line.
    void text(Point at, std::string const& words, TextStyle const& style = {});
    double textWidth(std::string const& words, TextStyle const& style) const;

    /// The image stretched over the rectangle.
    void image(Image const& image, Rect const& where);

    /// Drawing stays inside the rectangle until `endClip`; clips nest.
    void beginClip(Rect const& rect);
    void endClip();

    /// The picture as the bytes of a PNG file.
    std::string png() const;
    /// The picture as pixels.
    Image pixelsOf() const;

private:
    struct Release
    {
        void operator()(cairo_t* context) const;
    };

    void path(std::vector<Point> const& points, bool closed);
    void roundedPath(Rect const& rect, double radius);
    void finish(Stroke const& stroke);

    double width_;
    double height_;
    double pixelsPerUnit_;
    std::unique_ptr<cairo_t, Release> context_;
};

/// Maps a plane with y upwards into a rectangle of a canvas, with one scale for both directions, centred.
class PlaneMap
{
public:
    /// @param low, high  opposite corners of the part of the plane that must fit into `where`.
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

/// Swatches with labels below each other, the first at the height of `at`.
void drawLegend(Canvas& canvas, Point at, std::vector<LegendEntry> const& entries, double size = 16);

/// A colour map as a bar with its two ends and a title. `colourAt` takes the position along the bar in [0, 1].
void drawColourBar(Canvas& canvas, Rect const& where, Colour (*colourAt)(double), std::string const& low,
                   std::string const& high, std::string const& title);

/// A number for people: `digits` significant digits, no exponent for ordinary sizes, "1 234 567" for large integers.
std::string niceNumber(double value, int digits = 4);
std::string niceCount(long long value);

} // namespace tool
