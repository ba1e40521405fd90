#pragma once

// What the programs of the figures share: the colours of the guides' pictures, and a frame of a figure's own units with
// y upwards.

#include <string>
#include <vector>

#include <sinew/core/vector3.h>
#include <sinew/framework/vect2.h>

#include <tool/draw/canvas.h>

namespace figures {

using Vector2 = tzNM::vect2<double>;

namespace colours {
constexpr tool::Colour blue = tool::Colour::hex(0x0b6fa4);
constexpr tool::Colour lightBlue = tool::Colour::hex(0x7fb6d0);
constexpr tool::Colour paleBlue = tool::Colour::hex(0xd7e8f0);
constexpr tool::Colour red = tool::Colour::hex(0xd1495b);
constexpr tool::Colour green = tool::Colour::hex(0x2f8f5b);
constexpr tool::Colour grey = tool::Colour::hex(0x8a8378);
} // namespace colours

// Maps points of a plane to a canvas: the plane's origin lies at `origin` on the canvas, y points upwards, and a unit
// of the plane is `scale` units of the canvas.
struct Frame
{
    tool::Point origin;
    double scale = 1;

    tool::Point operator()(Vector2 const& p) const { return {origin.x + p.x * scale, origin.y - p.y * scale}; }
    // The point seen along z.
    tool::Point operator()(Vector3 const& p) const { return (*this)(Vector2(p.x, p.y)); }

    Vector2 inverse(tool::Point const& at) const { return {(at.x - origin.x) / scale, (origin.y - at.y) / scale}; }

    tool::Rect box(Vector2 const& low, Vector2 const& high) const
    {
        return {origin.x + low.x * scale, origin.y - high.y * scale, (high.x - low.x) * scale,
                (high.y - low.y) * scale};
    }

    std::vector<tool::Point> line(std::vector<Vector2> const& points) const
    {
        std::vector<tool::Point> mapped;
        for (Vector2 const& p : points) mapped.push_back((*this)(p));
        return mapped;
    }
};

// Fills a rectangle of the canvas: each pixel gets the mean of samples x samples colours of the plane under it.
template <typename ColourAt>
void paint(tool::Canvas& canvas, tool::Rect const& where, Frame const& frame, int samples, ColourAt const& colourAt)
{
    tool::Image image(canvas.pixels(where.width), canvas.pixels(where.height));
    double const stepX = where.width / image.width() / samples, stepY = where.height / image.height() / samples;
    double const share = 1.0 / (samples * samples);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            tool::Colour sum(0, 0, 0);
            for (int k = 0; k < samples * samples; ++k) {
                double const column = x * samples + k % samples + 0.5, row = y * samples + k / samples + 0.5;
                tool::Colour const c = colourAt(frame.inverse({where.x + column * stepX, where.y + row * stepY}));
                sum = {sum.r + share * c.r, sum.g + share * c.g, sum.b + share * c.b};
            }
            image.at(x, y) = sum;
        }
    }
    canvas.image(image, where);
}

} // namespace figures
