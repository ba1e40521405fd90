#pragma once

/// The points of a batch: an array of points, or two numbers an element in an array of the host. Not installed.

#include <cstddef>

#include <sinew/core/detail/real_array.h>
#include <sinew/core/strided.h>
#include <sinew/framework/vect2.h>

namespace sinew::detail {

/// An array of points.
struct PointArray
{
    tzNM::vect2<double> const* points;
    std::size_t count;

    tzNM::vect2<double> const& operator[](std::size_t i) const { return points[i]; }
    void const* address(std::size_t i) const { return points + i; }
};

/// Elements of two coordinates, whatever their type and alignment are.
struct PointView
{
    RealArray points;
    std::size_t count;

    explicit PointView(RealArray const& array) : points(array), count(array.count) {}

    tzNM::vect2<double> operator[](std::size_t i) const { return pointAt(points, i); }
    void const* address(std::size_t i) const { return elementAt(points, i); }
};

} // namespace sinew::detail
