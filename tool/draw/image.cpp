#include <tool/draw/image.h>

#include <algorithm>
#include <cmath>

namespace tool {

Colour Image::sample(double u, double v) const
{
    // fmax and fmin turn NaN into 0.
    double const x = std::fmin(std::fmax(u * width_ - 0.5, 0.0), width_ - 1.0);
    double const y = std::fmin(std::fmax((1 - v) * height_ - 0.5, 0.0), height_ - 1.0);
    int const x0 = static_cast<int>(x);
    int const y0 = static_cast<int>(y);
    int const x1 = std::min(x0 + 1, width_ - 1);
    int const y1 = std::min(y0 + 1, height_ - 1);
    Colour const top = mix(at(x0, y0), at(x1, y0), x - x0);
    return mix(top, mix(at(x0, y1), at(x1, y1), x - x0), y - y0);
}

} // namespace tool
