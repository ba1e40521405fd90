#pragma once

/// An ellipsoid as an implicit function of space. Use it to approximate the extent of a set of points.

#include <cstddef>
#include <vector>

#include <sinew/core/matrix3.h>
#include <sinew/core/strided.h>
#include <sinew/core/vector3.h>
#include <sinew/export.h>

/// The ellipsoid (p - centre)^T shape (p - centre) = 1, which can be fitted to points and evaluated at points.
///
/// The thresholds of the fit are absolute: variances below 1e-06 count as 1e-06, and so do reciprocals of variances.
/// The fit therefore distinguishes only standard deviations between about 1e-3 and 1e3 length units. Scale other data
/// first.
class ImplEllipsoid
{
public:
    ::Vector3 centre; ///< The centre.
    ::Matrix3 shape;  ///< Symmetric and positive semi-definite. Its eigenvalues are 1 / (semi-axis)^2.

    /// The unit sphere about the origin.
    ImplEllipsoid() = default;

    /// The ellipsoid fitted to `points` about their mean (`computeMatrix`). Without points, centre and shape are NaN.
    SINEW_API explicit ImplEllipsoid(std::vector<::Vector3> const& points);

    /// The ellipsoid fitted to `points` about `center` (`computeMatrix`).
    SINEW_API ImplEllipsoid(std::vector<::Vector3> const& points, ::Vector3 const& center);

    /// Fits the ellipsoid to `points` about `center`.
    ///
    /// The directions of the axes and the ratios of their lengths come from the covariance of the points about the
    /// centre. The size comes from the point with the largest quadratic form, which then lies on the surface. So every
    /// point has a quadratic form of at most 1, to rounding. The ellipsoid is not the smallest one with this property.
    ///
    /// - Variances below 1e-06 count as 1e-06, so points on a line or in a plane give a finite shape. Reciprocals of
    ///   variances below 1e-06 count as 1e-06.
    /// - If the largest quadratic form is below 1e-08 before scaling, it counts as 1e-08, so no point lies on the
    ///   surface. All points are then within about 1e-7 of the centre.
    /// - The directions are those of the frame if the off-diagonal covariances sum up to 1e-08 or less in magnitude
    ///   (`jacobiMethod`).
    /// - Without points, or with a coordinate that is NaN or infinite, the shape is NaN.
    ///
    /// `center` may be the field `centre`. Cost: two passes over the points, no allocation.
    SINEW_API void computeMatrix(std::vector<::Vector3> const& points, ::Vector3 const& center);

    /// The ellipsoidal radius at p: sqrt(q), where q = d^T shape d is the quadratic form of d = p - centre. It is 0 at
    /// the centre and 1 on the surface. Constant cost.
    ///
    /// @param value     receives the radius; may be null. NaN if q is negative, which rounding or a shape that is not
    ///                  positive semi-definite can cause.
    /// @param gradient  receives shape d / q; may be null. This is the gradient of sqrt(q) divided by sqrt(q), so it is
    ///                  the gradient of the radius only on the surface. The zero vector if q is below 1e-08, a radius
    ///                  of 1e-4 (strict); NaN if q is NaN.
    /// @param hessian   receives `shape`, which is half the matrix of second derivatives of q; may be null.
    /// @return true, always.
    SINEW_API bool evaluate(::Vector3 const& p, double* value, ::Vector3* gradient, ::Matrix3* hessian) const;

    /// A new ellipsoid whose semi-axes are longer by `distance`, or shorter if it is negative. The caller owns it.
    /// Strong guarantee.
    ///
    /// Eigenvalues of the shape below 1e-06, or NaN, count as 1e-06: semi-axes beyond 1000 count as 1000. If a
    /// semi-axis plus `distance` is negative, its magnitude becomes the semi-axis; if it is zero, the shape is not
    /// finite. `thicken(0)` reproduces the shape to about 1e-08, where the eigen-solver stops (`jacobiMethod`).
    SINEW_API ImplEllipsoid* thicken(double distance) const;
};

namespace sinew {

/// The ellipsoidal radius at each of `count` points, with the bits that `ImplEllipsoid::evaluate` gives.
///
/// `points` and `values` may be null only if `count` is 0; they must not overlap.
SINEW_API void evaluateMany(ImplEllipsoid const& field, ::Vector3 const* points, std::size_t count, double* values);

/// The gradient at each of `count` points, with the bits that `ImplEllipsoid::evaluate` gives.
///
/// `gradients` may be equal to `points` but not overlap it otherwise; both may be null only if `count` is 0.
SINEW_API void gradientMany(ImplEllipsoid const& field, ::Vector3 const* points, std::size_t count,
                            ::Vector3* gradients);

/// The same for points in an array of the host, with three coordinates an element. The arrays must not overlap.
SINEW_API void evaluateMany(ImplEllipsoid const& field, RealArray const& points, double* values);
SINEW_API void gradientMany(ImplEllipsoid const& field, RealArray const& points, ::Vector3* gradients);

} // namespace sinew
