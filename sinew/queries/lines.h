#pragma once

/// The closest points of two lines, right at any scale.

#include <sinew/core/vector3.h>
#include <sinew/export.h>

namespace sinew {

/// The closest points of two lines. The parameter t of a line stands for the point origin + t * direction.
struct ClosestLines
{
    /// Whether the lines are parallel, or one of the directions is zero.
    bool parallel = false;
    /// The parameters of the closest points.
    double t1 = 0.0;
    double t2 = 0.0;
    /// The closest points, each on its line.
    ::Vector3 point1;
    ::Vector3 point2;
    /// The distance between the lines. It does not result from the two points, and is more accurate.
    double distance = 0.0;
};

/// The closest points of the lines p1 + t1 d1 and p2 + t2 d2.
///
/// @param d1, d2  directions of any length.
///
/// The lines are parallel if the sine of the angle between their directions is at most 2^-50 (9e-16), whatever their
/// lengths; the sine is computed with a relative error of less than 4e-15. A direction is therefore parallel to itself,
/// to its opposite and to its multiples, also after these are normalised and so rounded. Unit directions with a larger
/// angle are not parallel. For parallel lines t1 is 0, `point1` is p1 and t2 is that of the point of line 2 nearest to
/// it.
///
/// A zero direction makes its line a point: its parameter is 0, and that of the other line is the nearest point to it.
/// NaN or infinite input, or a difference p2 - p1 beyond the largest double, gives results that are NaN or infinite,
/// and `parallel` is then false. No other input overflows on the way. Parameters, distances and points beyond the
/// largest double are infinite, and so is a point whose difference from p1 or p2 is. A point does not depend on whether
/// its parameter is infinite or rounded to a subnormal number or zero.
///
/// Accuracy: the error of t1 |d1| and of t2 |d2| is at most 16 * 2^-53 |p2 - p1| / sine, and that of the distance at
/// most 16 * 2^-53 |p2 - p1|. A subnormal parameter or distance has an error of up to 2^-1075 more. Constant cost; no
/// allocation. Source: C. Ericson, Real-Time Collision Detection, 2005, section 5.1.8, for the closest points. The
/// cross product of the directions, from which `LineLineInt` loses the digits by 1 - cosine^2, is computed with exact
/// products here.
SINEW_API ClosestLines closestLines(::Vector3 const& p1, ::Vector3 const& d1, ::Vector3 const& p2, ::Vector3 const& d2);

} // namespace sinew
