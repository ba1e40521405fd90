#pragma once

/// Line segments in the plane: clipping to half-planes and rectangles, and intersection tests.
///
/// Points are `Vector3` whose z is meant to be 0; each function states what happens for other values. A rectangle is
/// given by its corners with the smallest and the largest coordinates. Their order is not checked. The functions do not
/// throw and do not allocate, and their cost is constant.

#include <sinew/core/vector3.h>

/// Clips the segment from `a` to `b` to the half-plane n * x >= n * p.
///
/// @param a, b  the ends of the segment. At most one of them is changed; it is moved onto the boundary line.
/// @param p, n  a point of the boundary, and the unit normal that points into the half-plane.
/// @return true if a part of the segment remains; false, with both points unchanged, if neither end lies strictly
///         inside the half-plane. This rejects a segment on the boundary line, and one that only touches the line from
///         outside.
///
/// All three coordinates enter the result, so the function also clips to a half-space. If the signed distance of one
/// end from the boundary is NaN, the function returns true and moves one end, to a point with NaN coordinates: `a` if
/// its distance is zero or negative, otherwise `b`.
SINEW_API bool segClipHalfPlane2D(::Vector3& a, ::Vector3& b, ::Vector3 const& p, UVector3 const& n);

/// Clips the segment from `a` to `b` to the rectangle [lo, hi].
///
/// @param outA, outB  receive the ends of the clipped segment, in the direction from a to b. They are written in every
///                    case: if the result is false, they hold the segment as clipped by the sides before the one that
///                    rejected it. They may be the same objects as `a` and `b`, in either order.
/// @return true if a part of the segment remains.
///
/// The segment is clipped by `segClipHalfPlane2D` to the sides in the order left, bottom, right, top. A segment along a
/// side, or one that meets the rectangle only in a corner, is therefore rejected. A finite z is interpolated along the
/// segment and does not affect the result. An infinite z acts as NaN; for NaN see `segClipHalfPlane2D`.
/// Source: I. E. Sutherland, G. W. Hodgman, Reentrant polygon clipping, Communications of the ACM, 1974.
SINEW_API bool segClipRect2D(::Vector3 const& a, ::Vector3 const& b, ::Vector3 const& lo, ::Vector3 const& hi,
                             ::Vector3& outA, ::Vector3& outB);

/// Whether the segment from `a` to `b` meets the rectangle [lo, hi].
///
/// A segment with both ends beyond the same side, or on it, does not meet the rectangle. This includes a segment that
/// touches a side from outside and a segment along a side. In all other cases the rectangle is closed: a segment
/// through a corner with its ends beyond different sides meets it.
///
/// z is meant to be finite and then does not affect the result. NaN in x or y gives false unless the other end lies in
/// the rectangle. If both ends are outside, an infinite or NaN z of `a` gives false; one of `lo` or `hi` disables the
/// test against the diagonal from `lo` to `hi`, and only the other diagonal is tested.
SINEW_API bool segIntersectRect2D(::Vector3 const& a, ::Vector3 const& b, ::Vector3 const& lo, ::Vector3 const& hi);

/// Whether the segments from `a` to `b` and from `c` to `d` intersect.
///
/// @param tol        a distance, not negative.
/// @param inclusive  true accepts contact within `tol`; false requires an overlap of more than `tol`, both along a-b
///                   and on each side of it.
///
/// The segment a-b is the reference: all limits are measured along its direction and across it. Exchanging the segments
/// can therefore change the result if a distance differs from a limit by about `tol`. The test whether c-d lies before
/// or after a-b is strict; the test whether it lies on one side of a-b is not. For tol = 0, a segment that touches a-b
/// from one side does not intersect it in either mode. If the sum of the distances of c and d from the line of a-b is
/// less than `tol`, the segments intersect if they overlap along a-b.
///
/// If a equals b, the direction is that of the null fallback of `UVector3`, the z axis, and every c-d in the plane has
/// the position 0 along it. The result is then true for `inclusive` and a positive `tol`, wherever c-d lies, and false
/// otherwise. NaN in `c` or `d` gives false. z enters the positions along a-b, but not the distances across it.
SINEW_API bool segsIntersect(::Vector3 const& a, ::Vector3 const& b, ::Vector3 const& c, ::Vector3 const& d, double tol,
                             bool inclusive);
