#pragma once

/// A grid of pixels, for what is computed pixel by pixel: numerical pictures, renderings, textures.

#include <algorithm>
#include <vector>

#include <tool/draw/colour.h>

namespace tool {

class Image
{
public:
    Image(int width, int height, Colour fill = {0, 0, 0, 0})
        : width_(std::max(width, 1)), height_(std::max(height, 1)),
          pixels_(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_), fill)
    {
    }

    int width() const { return width_; }
    int height() const { return height_; }

    /// Column x from the left, row y from the top.
    Colour& at(int x, int y) { return pixels_[index(x, y)]; }
    Colour const& at(int x, int y) const { return pixels_[index(x, y)]; }

    /// Half the size in each direction, by averages of four with their opacities: what turns a picture drawn at double
    /// size into one with smooth edges.
    Image halved() const;

    /// The colour at (u, v) in [0, 1] x [0, 1], v upwards, linear between pixel centres and clamped at the border.
    Colour sample(double u, double v) const;

private:
    std::size_t index(int x, int y) const
    {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(x);
    }

    int width_;
    int height_;
    std::vector<Colour> pixels_;
};

} // namespace tool
