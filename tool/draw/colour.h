#pragma once

/// Colours and colour maps. The maps are perceptually even and keep their order for colour-blind eyes and in grey.

#include <cstdint>

namespace tool {

/// Red, green, blue and opacity in [0, 1], in the display's encoding (sRGB).
struct Colour
{
    double r = 0;
    double g = 0;
    double b = 0;
    double a = 1;

    constexpr Colour() = default;
    constexpr Colour(double r_, double g_, double b_, double a_ = 1) : r(r_), g(g_), b(b_), a(a_) {}

    /// 0xRRGGBB.
    static constexpr Colour hex(std::uint32_t rgb, double alpha = 1)
    {
        return {(rgb >> 16 & 255) / 255.0, (rgb >> 8 & 255) / 255.0, (rgb & 255) / 255.0, alpha};
    }

    constexpr Colour withAlpha(double alpha) const { return {r, g, b, alpha}; }
};

/// From `a` at t = 0 to `b` at t = 1; t is clamped, NaN counts as 0.
Colour mix(Colour const& a, Colour const& b, double t);

/// The colour's grey of equal lightness, mixed in by `amount` in [0, 1].
Colour desaturate(Colour const& colour, double amount);

/// Dark violet through green to yellow, for quantities with a low and a high end; t in [0, 1], clamped.
Colour viridis(double t);

/// Blue through near-white to rust, for signed quantities; t in [-1, 1], clamped.
Colour diverging(double t);

/// Eight colours that colour-blind eyes tell apart, repeated for larger indices.
/// Source: M. Okabe, K. Ito, Color Universal Design, 2008.
Colour categorical(int index);

/// The colours that pictures share, so that they look like one set.
namespace palette {
constexpr Colour paper = Colour::hex(0xfbfaf7);
constexpr Colour ink = Colour::hex(0x22262b);
constexpr Colour faintInk = Colour::hex(0x6b727a);
constexpr Colour rule = Colour::hex(0xd9d6ce);
constexpr Colour accent = Colour::hex(0xd1495b);
} // namespace palette

} // namespace tool
