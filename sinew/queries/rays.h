#pragma once

/// Rays and lines against triangles and spheres, right at any scale.
///
/// Unlike `LineTriangleInt` and `LineSphereInt`, the functions here have no tolerance. Two decisions are exact, as
/// those of exact arithmetic for the given doubles: whether a ray hits a triangle within its range, and whether the
/// line of a ray meets a sphere. A ray never passes between two triangles that share an edge or a vertex, however far
/// away it starts, and a sphere is not missed because it is small and far. Only the range of a ray against a sphere is
/// compared with rounded parameters. No function throws or allocates, and the cost of each is constant.

#include <cstdint>
#include <limits>

#include <sinew/core/vector3.h>
#include <sinew/export.h>

namespace sinew {

struct RayTriangle;

namespace detail {

// The map of a direction to the coordinate axis of its largest component, along which the two other axes are sheared.
struct Shear
{
    std::int32_t axis; // 0 for x, 1 for y, 2 for z
    double next;      // the component of the direction along the axis after it, in cyclic order, divided by the largest
    double afterNext; // that of the third axis
    double length;    // the largest component
};

} // namespace detail

/// A ray or line, prepared to be intersected with many triangles or spheres: the points origin + t * direction.
///
/// The direction has any length; t is measured in lengths of it. Which part of the line counts is the range [tMin,
/// tMax] of each query. By default this is the ray t >= 0; from -infinity to infinity it is the line.
///
/// A direction of length zero or with a NaN or infinite component, or such an origin, meets nothing.
class Ray
{
public:
    /// The line through `origin` along `direction`, which is not normalised.
    SINEW_API Ray(::Vector3 const& origin, ::Vector3 const& direction);

    /// The point and the vector of the constructor.
    ::Vector3 const& origin() const { return origin_; }
    ::Vector3 const& direction() const { return direction_; }

    /// origin + t * direction, rounded.
    ::Vector3 at(double t) const { return origin_ + direction_ * t; }

private:
    friend SINEW_API RayTriangle rayTriangle(Ray const& ray, ::Vector3 const& a, ::Vector3 const& b, ::Vector3 const& c,
                                             double tMin, double tMax);

    ::Vector3 origin_;
    ::Vector3 direction_;
    detail::Shear shear_;
};

/// Where a ray meets a triangle.
struct RayTriangle
{
    /// Whether the ray meets the triangle within the range. If false, all other fields are zero.
    bool hit = false;
    /// 1 if the ray meets the side from which a, b, c are seen in counter-clockwise order, to which
    /// (b - a) x (c - a) points; -1 if it meets the other side.
    std::int32_t side = 0;
    /// The parameter of the crossing, in [tMin, tMax].
    double t = 0.0;
    /// The barycentric weights of a, b and c at the crossing: none is negative, and their sum is 1 up to rounding. If
    /// the crossing lies on the opposite edge, a weight is exactly 0.
    ///
    /// The weighted sum of the corners gives a crossing on the triangle; `Ray::at(t)` gives one on the ray, which is
    /// less accurate far away from its origin.
    ::Vector3 weights;
};

/// The crossing of a ray with the triangle a, b, c, which includes its edges and corners.
///
/// `hit` is exact for all finite input: it is true exactly if the line of the ray crosses the plane of the triangle in
/// one point, this point lies in the closed triangle, and tMin <= t <= tMax, all for the given doubles and without any
/// rounding. Hence
/// - A ray through an edge or a vertex that several triangles share hits all of them, and a ray from a point inside a
///   closed mesh hits at least one of its triangles.
/// - Exchanging corners changes `side` and the order of the weights, never `hit`.
/// - A ray in the plane of a triangle does not hit it. In a mesh it hits the neighbours where it enters and leaves the
///   triangle, if these have other planes.
/// - A degenerate triangle, whose corners lie on a line exactly, is never hit. A tiny area makes no difference.
///
/// @param tMin, tMax  the range of the parameter, ends included; may be infinite. If tMin > tMax, or if one is NaN,
///                    nothing is hit.
///
/// A NaN or infinite coordinate gives no hit.
///
/// Accuracy: the errors of the weights are less than 1e-9, and that of t * |direction| is less than 1.3e-9 times the
/// largest distance of a corner from the origin; typical errors are 1e-15. Where the bounds of the fast stage are
/// larger, as they are for a triangle seen from a distance of more than about 1e4 of its sizes, the exact stage
/// computes the weights and t with relative errors of less than 2e-15. Beyond the largest double t is infinite, or the
/// end of a finite range. If tMin or tMax is 0, t has the sign of the exact parameter, and is 0 only if the origin lies
/// on the triangle; a t that would be rounded to 0 is then the smallest subnormal number of its sign.
///
/// Cost: less than that of `LineTriangleInt`, about three times that of the plain method in doubles. The exact stage
/// takes 2 to 4 microseconds; it decides where the ray passes an edge, or an end of the range the plane, within the
/// rounding errors of the fast stage.
///
/// Source: S. Woop, C. Benthin, I. Wald, Watertight Ray/Triangle Intersection, Journal of Computer Graphics Techniques
/// 2, 2013, for the fast stage. The source falls back to a wider format if an edge function is zero; here each sign is
/// checked against a bound of the rounding errors, and the fallback is exact (see `sinew::orient3d`).
SINEW_API RayTriangle rayTriangle(Ray const& ray, ::Vector3 const& a, ::Vector3 const& b, ::Vector3 const& c,
                                  double tMin = 0.0, double tMax = std::numeric_limits<double>::infinity());

/// Where a ray meets a sphere.
struct RaySphere
{
    /// Whether the ray meets the surface within the range: `tEnter` or `tLeave` lies in [tMin, tMax]. A ray that starts
    /// and ends inside does not meet it.
    bool hit = false;
    /// Whether the line of the ray meets the closed ball; if false, all other fields are zero.
    bool lineHit = false;
    /// The parameters at which the line enters and leaves the ball; equal for a tangent. tEnter <= tLeave.
    double tEnter = 0.0;
    double tLeave = 0.0;
};

/// The crossings of a ray with a sphere. The sign of the radius does not matter; a radius of 0 is a point.
///
/// `lineHit` is exact for all finite input: it is true exactly if the distance from the centre to the line is at most
/// the radius, for the given doubles and without any rounding.
///
/// @param tMin, tMax  the range of the parameter, ends included; may be infinite. If tMin > tMax, or if one is NaN,
///                    nothing is hit. The rounded parameters are compared with the range.
///
/// NaN or infinite input gives no hit. Parameters are infinite beyond the largest double.
///
/// Accuracy: the error of a parameter t, times the length of the direction, is at most 8 * 2^-53 of the sum of
/// |t| * |direction| and r^2 / h, where h is half the chord. This holds also for a sphere that is small and far away.
/// For a line near the outline, h^2 itself has an error of about 2^-50 r^2, so the error is at most about 2^-25 r.
///
/// Source: E. Haines, J. Günther, T. Akenine-Möller, Precision Improvements for Ray/Sphere Intersection, in: Ray
/// Tracing Gems, 2019, chapter 7. The distance from the line and |o - c|^2 - r^2 are computed here with compensated
/// products (T. Ogita, S. M. Rump, S. Oishi, Accurate Sum and Dot Product, 2005), and the decision has an exact stage.
SINEW_API RaySphere raySphere(Ray const& ray, ::Vector3 const& center, double radius, double tMin = 0.0,
                              double tMax = std::numeric_limits<double>::infinity());

} // namespace sinew
