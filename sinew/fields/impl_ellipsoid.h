#pragma once

/// An ellipsoid fitted to a cloud of points, as an implicit function of space.

#include <cstddef>
#include <vector>

#include <sinew/core/matrix3.h>
#include <sinew/core/vector3.h>
#include <sinew/export.h>

/// The ellipsoid (p - centre)^T shape (p - centre) = 1.
///
/// The thresholds of the fit are absolute: semi-axes are told apart only between about 1e-3 and 1e3 length units
/// (variances and their reciprocals are held above 1e-06). Scale other data first.
class ImplEllipsoid
{
public:
    Vector3 centre; ///< The middle.
    Matrix3 shape;  ///< Symmetric, positive semi-definite; its eigenvalues are 1 / (semi-axis)^2.

    /// The unit sphere about the origin.
    ImplEllipsoid() = default;

    /// The ellipsoid fitted to `points` about their mean; see `computeMatrix`. No points at all give NaN throughout.
    SINEW_API explicit ImplEllipsoid(std::vector<Vector3> const& points);

    /// The ellipsoid fitted to `points` about `center`; see `computeMatrix`.
    SINEW_API ImplEllipsoid(std::vector<Vector3> const& points, Vector3 const& center);

    /// Fits the ellipsoid about `center`: directions and proportions of the axes come from the covariance of the
    /// points about it, and the size from the point farthest out, which lands on the surface.
    ///
    /// Afterwards every point has a quadratic form of at most 1, to rounding. Variances below 1e-06 count as 1e-06, so
    /// points on a line or on a plane still give a finite shape, and reciprocal variances below 1e-06 count as 1e-06.
    /// If all points lie at the centre, within about 1e-7, the size is not scaled to them.
    /// No points, or a NaN or infinite coordinate, give a NaN shape. Cost: two passes over the points.
    SINEW_API void computeMatrix(std::vector<Vector3> const& points, Vector3 const& center);

    /// The ellipsoidal radius at p, sqrt(q) with q = d^T shape d and d = p - centre: 0 at the centre, 1 on the surface.
    ///
    /// @param value     receives the radius; may be null. NaN where rounding or a shape that is not positive
    ///                  semi-definite makes q negative.
    /// @param gradient  receives shape d / q; may be null. It points away from the centre; its length is that of the
    ///                  gradient of sqrt(q), divided once more by sqrt(q), so it is the true gradient only on the
    ///                  surface. The zero vector where q is below 1e-08; NaN where q is NaN.
    /// @param hessian   receives `shape`, half the matrix of second derivatives of q; may be null.
    /// @return true, always.
    SINEW_API bool evaluate(Vector3 const& p, double* value, Vector3* gradient, Matrix3* hessian) const;

    /// A new ellipsoid, owned by the caller, whose semi-axes are longer by `distance` (shorter where it is negative).
    ///
    /// Semi-axes beyond 1000 count as 1000 before they grow. A negative `distance` beyond a semi-axis leaves the
    /// absolute difference, and one equal to it an infinite entry. `thicken(0)` reproduces the shape to rounding.
    SINEW_API ImplEllipsoid* thicken(double distance) const;
};

namespace sinew {

/// The ellipsoidal radius at each of `count` points, as `ImplEllipsoid::evaluate` gives it, bit for bit.
///
/// `points` and `values` may be null only when `count` is 0; they must not overlap.
SINEW_API void evaluateMany(ImplEllipsoid const& field, Vector3 const* points, std::size_t count, double* values);

/// The gradient at each of `count` points, as `ImplEllipsoid::evaluate` gives it, bit for bit.
///
/// `gradients` may be `points`; both may be null only when `count` is 0.
SINEW_API void gradientMany(ImplEllipsoid const& field, Vector3 const* points, std::size_t count, Vector3* gradients);

} // namespace sinew
