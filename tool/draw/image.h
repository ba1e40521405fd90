#pragma once

/// A grid of pixels, for pictures that are computed pixel by pixel: numerical pictures, renderings, textures.

#include <algorithm>
#include <cstddef>
#include <vector>

#include <tool/draw/colour.h>
#include <tool/support/as_index.h>

namespace tool {

class Image
{
public:
    /// A size below 1 counts as 1.
    Image(int width, int height, Colour fill = {0, 0, 0, 0})
        : width_(std::max(width, 1)), height_(std::max(height, 1)), pixels_(asIndex(width_) * asIndex(height_), fill)
    {
    }

    int width() const { return width_; }
    int height() const { return height_; }

    /// Column x from the left, row y from the top.
    Colour& at(int x, int y) { return pixels_[index(x, y)]; }
    Colour const& at(int x, int y) const { return pixels_[index(x, y)]; }

    /// The colour at (u, v) in [0, 1] x [0, 1], with v upwards: linear between pixel centres, clamped at the border.
    /// NaN counts as 0.
    Colour sample(double u, double v) const;

private:
    std::size_t index(int x, int y) const { return asIndex(y) * asIndex(width_) + asIndex(x); }

    int width_;
    int height_;
    std::vector<Colour> pixels_;
};

} // namespace tool
