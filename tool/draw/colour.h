#pragma once

/// Colours and colour maps. Equal steps of a map's argument look equally large. `viridis` also keeps its order in grey
/// and for colour-blind readers.

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

/// The colour, mixed with the grey of equal luminance: `amount` 0 gives the colour, 1 the grey; clamped.
Colour desaturate(Colour const& colour, double amount);

/// From dark violet (t = 0) over green to yellow (t = 1), for quantities with a low and a high end. t is clamped; NaN
/// counts as 0. Source of the map: S. van der Walt, N. Smith, matplotlib's viridis, 2015, as ten samples.
Colour viridis(double t);

/// From blue (t = -1) over near-white (0) to rust (1), for signed quantities. t is clamped; NaN counts as -1.
Colour diverging(double t);

/// Eight colours that colour-blind readers can distinguish. Other indices, also negative ones, repeat them.
/// Source: M. Okabe, K. Ito, Color Universal Design, 2008.
Colour categorical(int index);

/// The colours that all pictures share.
namespace palette {
constexpr Colour paper = Colour::hex(0xfbfaf7);
constexpr Colour ink = Colour::hex(0x22262b);
constexpr Colour faintInk = Colour::hex(0x6b727a);
constexpr Colour rule = Colour::hex(0xd9d6ce);
constexpr Colour accent = Colour::hex(0xd1495b);
} // namespace palette

} // namespace tool
