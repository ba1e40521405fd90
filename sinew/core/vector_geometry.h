#pragma once

/// Angles, projections, segment distance, frames and curvature: the small geometric toolkit on top of `Vector3`.
///
/// All functions are pure; none throws or allocates. Points and vectors of one call share a frame and a length unit.
/// Angles are radians. `Vector3::pullBack`, `isInTriangle` and `reflect` belong here too but are members.

#include <sinew/core/vector3.h>

/// Angle from `a` to `b` in [0, 2 pi), counter-clockwise seen against `n`.
///
/// `n` only chooses the orientation: its length and its component along the plane of a and b do not matter. Where
/// (a x b) * n is 0 or NaN the angle is in [0, pi]. The vectors need not be unit length; a zero vector gives 0.
/// A NaN in `a` or `b` gives NaN. A clockwise angle too small to show against a full turn gives the full turn itself.
SINEW_API double getAngleBetween(Vector3 const& a, Vector3 const& b, Vector3 const& n);

/// Whether the plane through `p` with normal `m` and the plane through `q` with normal `n` coincide.
///
/// The normals must be parallel, or opposite, within 0.03 degrees, and q - p must be null or perpendicular to `m`
/// within 0.03 degrees: an angle, so that distant points of nearly coinciding planes pass.
SINEW_API bool samePlane(Vector3 const& p, UVector3 const& m, Vector3 const& q, UVector3 const& n);

/// Foot of `p` on the line through `a` with direction `d`, which is trusted to have length 1.
SINEW_API Vector3 projectOnLine(Vector3 const& p, Vector3 const& a, UVector3 const& d);

/// Foot of `p` on the plane through `q` with normal `n`, which is trusted to have length 1.
SINEW_API Vector3 projectOnPlane(Vector3 const& p, Vector3 const& q, UVector3 const& n);

/// Squared distance from `p` to the segment from `a` to `b`, and where on it the nearest point lies.
///
/// @param t  receives the position of the nearest point, in [0, 1]: exactly 0 at `a`, exactly 1 at `b`. May be null.
///
/// The ends win within a margin of 1e-13 on the dot product with b - a (a squared length, not relative), `a` first;
/// equal ends act as the point `a`. The result is never negative: rounding below zero gives 0. A NaN coordinate takes
/// the interior branch, where the distance comes out as 0.0 and *t as NaN. Constant cost.
/// Source: C. Ericson, Real-Time Collision Detection, 2005, section 5.1.2, with margins of our own.
SINEW_API double distSqToLineSegment(Vector3 const& p, Vector3 const& a, Vector3 const& b, double* t);

/// Completes the unit vector `n` to a right-handed frame (e1, e2, n).
///
/// e1 is the coordinate axis least aligned with n, made perpendicular to it; ties go to the z axis, then to the y axis.
/// Both outputs are overwritten. A zero `n` gives e1 = e2 = (0, 0, 1), the null fallback of `UVector3`.
SINEW_API void getBasis(Vector3 const& n, Vector3& e1, Vector3& e2);

/// Curvature (1 / length) of a parametric curve from its first and second derivative at a point, never negative.
///
/// A first derivative of squared length below 1e-13 gives 0.0; a NaN goes on and gives NaN.
/// Source: M. P. do Carmo, Differential Geometry of Curves and Surfaces, 1976, section 1-5.
SINEW_API double calcCurvature(Vector3 const& d1, Vector3 const& d2);

/// Principal curvatures (1 / length) k1 <= k2 of a parametric surface X(u, v) at a point. Their sign follows the normal
/// Xu x Xv: a surface that bends towards the normal has positive curvature.
///
/// @param first   the two derivatives (Xu, Xv), consecutive, not null.
/// @param second  the three derivatives (Xuu, Xuv, Xvv), consecutive, not null.
/// @param k1, k2  receive the smaller and the larger curvature; either may be null.
///
/// False, with k1 and k2 unwritten, where the normal is null or the determinant of the first fundamental form is
/// below 1e-13. At an umbilic (discriminant below 1.0000000000000001e-16) both curvatures are equal. A NaN goes on.
/// Source: M. P. do Carmo, Differential Geometry of Curves and Surfaces, 1976, section 3-3.
SINEW_API bool principalCurvatures(Vector3 const* first, Vector3 const* second, double* k1, double* k2);
