#pragma once

/// Functions of vectors and points: angles, projections, distance to a segment, orthonormal frames, curvature.
///
/// All functions have constant cost and no side effects; none throws or allocates. The points and vectors of one
/// call share a frame and a length unit. Angles are in radians. Unless a function says otherwise, a NaN
/// coordinate gives NaN. `Vector3::pullBack`, `Vector3::isInTriangle` and `Vector3::reflect` are of this kind
/// too, as member functions.

#include <sinew/core/vector3.h>

/// Angle from `a` to `b` in [0, 2 pi), counter-clockwise for an observer who looks against `n`.
///
/// The vectors need not have length 1. `n` only selects the orientation: the angle exceeds pi if (a x b) * n < 0; if
/// that product is 0 or NaN, the angle is in [0, pi]. A zero vector `a` or `b` gives 0, or pi if a * b is -0.0. A NaN
/// in `a` or `b` gives NaN. A clockwise angle below the rounding of 2 pi gives 2 pi itself.
SINEW_API double getAngleBetween(::Vector3 const& a, ::Vector3 const& b, ::Vector3 const& n);

/// Whether the plane through `p` with normal `m` and the plane through `q` with normal `n` coincide.
///
/// The normals must be parallel or opposite within 0.03 degrees, and q - p must be null or perpendicular to `m`
/// within 0.03 degrees. The second condition limits an angle, so the allowed distance of q from the first plane grows
/// with its distance from p. A NaN coordinate gives false.
SINEW_API bool samePlane(::Vector3 const& p, UVector3 const& m, ::Vector3 const& q, UVector3 const& n);

/// Projection of `p` on the line through `a` with direction `d`. The length of `d` must be 1; it is not checked.
SINEW_API ::Vector3 projectOnLine(::Vector3 const& p, ::Vector3 const& a, UVector3 const& d);

/// Projection of `p` on the plane through `q` with normal `n`. The length of `n` must be 1; it is not checked.
SINEW_API ::Vector3 projectOnPlane(::Vector3 const& p, ::Vector3 const& q, UVector3 const& n);

/// Squared distance from `p` to the segment from `a` to `b`, and the position of the nearest point on the segment.
///
/// @param t  receives the position of the nearest point, in [0, 1]: exactly 0 at `a`, exactly 1 at `b`. May be null;
///           may point to a coordinate of p, a or b.
///
/// The nearest point is `a` if (p - a) * (b - a) <= 1e-13, otherwise `b` if (p - b) * (b - a) >= -1e-13; these
/// margins are squared lengths and do not scale with the segment. If a and b are equal, the nearest point is `a`. The
/// result is never negative: a value that rounding makes negative is replaced by 0. A NaN coordinate gives the result
/// 0.0 and the position NaN.
/// Source: C. Ericson, Real-Time Collision Detection, 2005, section 5.1.2; the margins at the ends are ours.
SINEW_API double distSqToLineSegment(::Vector3 const& p, ::Vector3 const& a, ::Vector3 const& b, double* t);

/// Completes the unit vector `n` to a right-handed orthonormal frame (e1, e2, n). The length of `n` is not checked.
///
/// e1 is the component perpendicular to n of the coordinate axis along which n has its smallest component in
/// magnitude, normalised; of equal components the z axis is preferred to the y axis and the y axis to the x axis. e2
/// is n x e1. Both outputs are always written, and `n` may be one of them. A zero `n` gives e1 = e2 = (0, 0, 1), the
/// null fallback of `UVector3`.
SINEW_API void getBasis(::Vector3 const& n, ::Vector3& e1, ::Vector3& e2);

/// Curvature of a parametric curve at a point, from the first derivative `d1` and the second derivative `d2` there.
/// Its unit is 1 / length; it is never negative.
///
/// A first derivative whose squared length is below 1e-13 (strict) gives 0.0.
/// Source: M. P. do Carmo, Differential Geometry of Curves and Surfaces, 1976, section 1-5.
SINEW_API double calcCurvature(::Vector3 const& d1, ::Vector3 const& d2);

/// Principal curvatures k1 <= k2 of a parametric surface X(u, v) at a point. Their unit is 1 / length. A surface that
/// bends towards its normal Xu x Xv has positive curvature.
///
/// @param first   the two first derivatives (Xu, Xv), consecutive. Must not be null.
/// @param second  the three second derivatives (Xuu, Xuv, Xvv), consecutive. Must not be null.
/// @param k1, k2  receive the smaller and the larger curvature; either may be null.
///
/// The result is false, with k1 and k2 unwritten, if the normal is null (`isNull`) or the determinant of the first
/// fundamental form is below 1e-13 (strict). If the discriminant, mean curvature squared minus Gaussian curvature, is
/// below 1.0000000000000001e-16 (strict), the point is an umbilic and both results are the mean curvature. NaN input
/// gives NaN curvatures and true.
/// Source: M. P. do Carmo, Differential Geometry of Curves and Surfaces, 1976, section 3-3.
SINEW_API bool principalCurvatures(::Vector3 const* first, ::Vector3 const* second, double* k1, double* k2);
