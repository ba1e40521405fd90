#pragma once

/// Segments in the plane: clipping to half-planes and rectangles, and tests for contact.
///
/// Points are `Vector3` with z meant to be 0; what a z other than 0 does is said at each function. Rectangles are given
/// by their smallest and largest corners, which are trusted to be in that order. Results are bools, nothing is thrown.

#include <sinew/core/vector3.h>

/// Clips the segment from `a` to `b` to the half-plane n * x >= n * p, and tells whether anything of it is left.
///
/// @param a, b  the segment; at most one of the two is moved, onto the boundary line.
/// @param p, n  a point of the boundary and the unit normal that points into the half-plane kept.
/// @return false, with both points unchanged, if neither lies strictly inside: a segment on the boundary line and one
///         that only touches it from outside are rejected.
///
/// All three coordinates count, so z may be used to clip in space. A point whose distance from the boundary is NaN
/// moves the end `b`, to NaN, unless the distance of `a` is zero or below, which moves `a`; the result is true.
SINEW_API bool segClipHalfPlane2D(Vector3& a, Vector3& b, Vector3 const& p, UVector3 const& n);

/// Clips the segment from `a` to `b` to the rectangle [lo, hi], and tells whether anything of it is left.
///
/// @param outA, outB  receive the clipped ends, in the direction of a and b. Always written: when the result is false
///                    they are left as far as clipping got. They may be the same objects as `a` and `b`.
///
/// The sides are clipped in the order left, bottom, right, top by `segClipHalfPlane2D`, so a segment along a side, or
/// one that meets the rectangle in a single corner, is rejected.
/// Source: I. E. Sutherland, G. W. Hodgman, Reentrant Polygon Clipping, 1974.
SINEW_API bool segClipRect2D(Vector3 const& a, Vector3 const& b, Vector3 const& lo, Vector3 const& hi, Vector3& outA,
                             Vector3& outB);

/// Whether the segment from `a` to `b` meets the rectangle [lo, hi].
///
/// A segment that lies beyond a side or on it, without reaching further in, does not meet it: touching a side from
/// outside counts as outside, and so does a segment along a side. Otherwise the rectangle is closed: a segment that
/// passes a corner, with one end on either side of it, meets it.
///
/// NaN in x or y gives false unless the other end lies in the rectangle. Where both ends are outside, an infinite or
/// NaN z of `a` gives false, and one of `lo` or `hi` leaves only the other diagonal of the rectangle to be tested.
SINEW_API bool segIntersectRect2D(Vector3 const& a, Vector3 const& b, Vector3 const& lo, Vector3 const& hi);

/// Whether the segments from `a` to `b` and from `c` to `d` intersect.
///
/// @param tol        a distance, not negative.
/// @param inclusive  true accepts contact within `tol`; false demands an overlap by more than `tol`, along a-b and to
///                   both sides of it.
///
/// a-b is the reference: all limits are measured along and across its direction, so swapping the segments can change
/// the answer by about `tol`. Lying before or after a-b is a strict comparison, lying on one side of it is not: with
/// `tol` 0 a segment that touches a-b from one side does not intersect it, in either mode. A c-d that is within `tol`
/// of the line of a-b at both ends (their distances added) intersects it where their extents along it overlap.
///
/// Equal a and b have no direction but the null fallback of `UVector3`, along z, in which every c-d of the plane lies
/// at 0: the answer is then true for `inclusive` with a positive `tol`, wherever c-d is, and false otherwise. NaN in
/// `c` or `d` gives false.
SINEW_API bool segsIntersect(Vector3 const& a, Vector3 const& b, Vector3 const& c, Vector3 const& d, double tol,
                             bool inclusive);
