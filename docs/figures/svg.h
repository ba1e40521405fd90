#pragma once

/// Just enough SVG for the figures: shapes in a frame of the figure's own units, y up, and text.

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <sinew/framework/vect2.h>

namespace figures {

using Point = tzNM::vect2<double>;

/// A picture of `width` x `height` pixels. Shapes are placed by `origin`, in pixels from the lower left corner, and
/// `scale`, pixels a unit, both of which may change between shapes.
class Svg
{
public:
    Point origin;
    double scale = 1;

    Svg(double width, double height) : width_(width), height_(height) {}

    void rect(Point const& low, Point const& high, std::string const& style)
    {
        Point const a = pixel({low.x, high.y}), b = pixel({high.x, low.y});
        body_ << "<rect x='" << a.x << "' y='" << a.y << "' width='" << b.x - a.x << "' height='" << b.y - a.y << "' "
              << style << "/>\n";
    }
    void circle(Point const& centre, double radius, std::string const& style)
    {
        Point const c = pixel(centre);
        body_ << "<circle cx='" << c.x << "' cy='" << c.y << "' r='" << radius * scale << "' " << style << "/>\n";
    }
    void polygon(std::vector<Point> const& corners, std::string const& style)
    {
        body_ << "<polygon points='";
        for (Point const& corner : corners) body_ << pixel(corner).x << "," << pixel(corner).y << " ";
        body_ << "' " << style << "/>\n";
    }
    void line(Point const& a, Point const& b, char const* colour, double thickness)
    {
        Point const p = pixel(a), q = pixel(b);
        body_ << "<line x1='" << p.x << "' y1='" << p.y << "' x2='" << q.x << "' y2='" << q.y << "' stroke='" << colour
              << "' stroke-width='" << thickness << "' stroke-linecap='round'/>\n";
    }
    void text(Point const& at, std::string const& words, std::string const& style = "")
    {
        body_ << "<text x='" << pixel(at).x << "' y='" << pixel(at).y << "' " << style << ">" << words << "</text>\n";
    }

    void save(std::string const& file) const
    {
        std::ofstream out(file);
        out << "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 " << width_ << " " << height_ << "' width='"
            << width_ << "' font-family='Helvetica, Arial, sans-serif' font-size='14' fill='#2b2b2b'>\n"
            << "<rect width='100%' height='100%' fill='#fcfbf8'/>\n"
            << body_.str() << "</svg>\n";
        if (!out) std::fprintf(stderr, "cannot write %s\n", file.c_str());
    }

private:
    Point pixel(Point const& p) const { return {origin.x + p.x * scale, height_ - (origin.y + p.y * scale)}; }

    double width_;
    double height_;
    std::ostringstream body_;
};

} // namespace figures
