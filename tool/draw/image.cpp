#include <tool/draw/image.h>

#include <cmath>

namespace tool {

Image Image::halved() const
{
    Image half(width_ / 2, height_ / 2);
    for (int y = 0; y < half.height_; ++y) {
        for (int x = 0; x < half.width_; ++x) {
            Colour sum(0, 0, 0, 0);
            for (int k = 0; k < 4; ++k) {
                Colour const& c = at(std::min(2 * x + k % 2, width_ - 1), std::min(2 * y + k / 2, height_ - 1));
                sum = {sum.r + c.r * c.a, sum.g + c.g * c.a, sum.b + c.b * c.a, sum.a + c.a};
            }
            if (sum.a > 0) half.at(x, y) = {sum.r / sum.a, sum.g / sum.a, sum.b / sum.a, sum.a / 4};
        }
    }
    return half;
}

Colour Image::sample(double u, double v) const
{
    // Written so that NaN lands on 0.
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
