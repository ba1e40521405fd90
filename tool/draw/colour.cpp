#include <tool/draw/colour.h>

#include <cmath>
#include <iterator>

namespace tool {
namespace {

template <std::size_t n>
Colour fromTable(std::uint32_t const (&table)[n], double t)
{
    double const at = (t > 0 ? std::fmin(t, 1.0) : 0.0) * (n - 1);
    std::size_t const i = at >= n - 1 ? n - 2 : static_cast<std::size_t>(at);
    return mix(Colour::hex(table[i]), Colour::hex(table[i + 1]), at - static_cast<double>(i));
}

} // namespace

Colour mix(Colour const& a, Colour const& b, double t)
{
    double const s = t > 0 ? std::fmin(t, 1.0) : 0.0;
    return {a.r + (b.r - a.r) * s, a.g + (b.g - a.g) * s, a.b + (b.b - a.b) * s, a.a + (b.a - a.a) * s};
}

Colour desaturate(Colour const& colour, double amount)
{
    double const grey = 0.2126 * colour.r + 0.7152 * colour.g + 0.0722 * colour.b; // Rec. 709 luminance weights
    return mix(colour, {grey, grey, grey, colour.a}, amount);
}

Colour viridis(double t)
{
    static constexpr std::uint32_t kTable[] = {0x440154, 0x482878, 0x3e4989, 0x31688e, 0x26828e,
                                               0x1f9e89, 0x35b779, 0x6ece58, 0xb5de2b, 0xfde725};
    return fromTable(kTable, t);
}

Colour diverging(double t)
{
    static constexpr std::uint32_t kTable[] = {0x1d3f72, 0x3b74ad, 0x8db8d9, 0xf4f2ee, 0xe8ab7f, 0xc4622d, 0x7d2f10};
    return fromTable(kTable, 0.5 * t + 0.5);
}

Colour categorical(int index)
{
    static constexpr std::uint32_t kTable[] = {0x0072b2, 0xe69f00, 0x009e73, 0xcc79a7,
                                               0x56b4e9, 0xd55e00, 0xb8a900, 0x5b5f66};
    constexpr int count = static_cast<int>(std::size(kTable));
    return Colour::hex(kTable[(index % count + count) % count]);
}

} // namespace tool
