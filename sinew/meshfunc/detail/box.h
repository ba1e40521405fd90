#pragma once

/// Axis-aligned boxes in the plane.

#include <algorithm>
#include <limits>

#include <sinew/framework/vect2.h>

namespace sinew::detail {

/// The points whose coordinates lie between `low` and `high`, ends included. Empty at first.
struct Box
{
    static constexpr double kInfinity = std::numeric_limits<double>::infinity();

    tzNM::vect2<double> low{kInfinity, kInfinity};
    tzNM::vect2<double> high{-kInfinity, -kInfinity};

    /// The whole plane.
    static Box plane()
    {
        Box box;
        box.low = {-kInfinity, -kInfinity};
        box.high = {kInfinity, kInfinity};
        return box;
    }

    /// Grows the box to hold `p`. A NaN coordinate changes nothing.
    void include(tzNM::vect2<double> const& p)
    {
        low = {std::min(low.x, p.x), std::min(low.y, p.y)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y)};
    }

    /// Grows the box to hold another one.
    void include(Box const& other)
    {
        low = {std::min(low.x, other.low.x), std::min(low.y, other.low.y)};
        high = {std::max(high.x, other.high.x), std::max(high.y, other.high.y)};
    }

    /// Moves each side outwards by `margin`.
    void widen(double margin)
    {
        tzNM::vect2<double> const step(margin, margin);
        low -= step;
        high += step;
    }

    /// The part of this box that lies in another one. Where they do not meet, `low` is above `high`.
    Box clippedTo(Box const& other) const
    {
        Box box;
        box.low = {std::max(low.x, other.low.x), std::max(low.y, other.low.y)};
        box.high = {std::min(high.x, other.high.x), std::min(high.y, other.high.y)};
        return box;
    }

    /// Whether this is not the whole plane, for boxes that are either finite or the whole plane.
    bool isFinite() const { return high.x < kInfinity; }
};

} // namespace sinew::detail
