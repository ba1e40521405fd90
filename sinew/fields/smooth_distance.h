#pragma once

/// Smooth distance fields around polylines: a minimum of squared distances that is blended where several of them are
/// nearly equal, so that the field has two continuous derivatives there, with its gradient and Hessian.
///
/// `smoothDistToPolyline` evaluates the field at one point, `sinew::smoothDistMany` at many points. Callers that blend
/// squared distances of their own use `updateSmoothDist`, which is built on `smoothMax`. All functions are free of side
/// effects except on their outputs, so any number of threads may call them at the same time.

#include <cstddef>
#include <vector>

#include <sinew/core/matrix3.h>
#include <sinew/core/progress.h>
#include <sinew/core/strided.h>
#include <sinew/core/vector3.h>
#include <sinew/export.h>

/// A weight that falls from 1 at `center` to 0 at the distance `radius` and has two continuous derivatives:
/// (1 - u^2)^3, where u = (x - center) / radius.
///
/// Known as the triweight kernel: M. P. Wand and M. C. Jones, Kernel Smoothing, 1995.
class SmoothWeight
{
public:
    double center;    ///< where the weight is 1
    double radius;    ///< the weight is 0 at this distance from the center and beyond
    double invRadius; ///< 1 / radius; 0 for a radius of 1e-8 or less, or NaN
    double margin;    ///< 1e-8 * radius, cut off the support at both sides; 0 for a radius of 1e-8 or less, or NaN

    /// A radius in [0, 1e-8] gives a box: the weight is 1 where |x - center| <= radius, 0 elsewhere, with derivatives
    /// of 0. A negative radius gives 0 everywhere, a NaN radius 1 everywhere.
    SINEW_API SmoothWeight(double center, double radius);

    /// The weight at `x` and its first and second derivative. Each is written if its pointer is not null.
    ///
    /// All three are exactly 0 where |x - center| > radius - margin, so also at a distance of exactly `radius`. A NaN
    /// `x` gives NaN. Always returns true. Constant cost.
    SINEW_API bool evaluate(double x, double* w, double* dw, double* d2w) const;
};

/// Maximum of `a` and `b`, blended where |a - b| <= h so that it has two continuous derivatives. Never below the
/// maximum, up to rounding.
///
/// The result is exactly the larger number if the numbers differ by more than `h`, and exceeds both by 3 h / 16 if they
/// are equal.
///
/// @param h     width of the blend, in the unit of a and b. If it is below 1e-13, there is no blend: the result is the
///              ordinary maximum, and its derivatives are step functions.
/// @param grad  receives the derivatives by a, b and h (3 entries). May be null.
/// @param hess  receives the second derivatives (6 entries): aa, ab, bb, hh, then ah and bh. May be null. The last two
///              are divided by h once more than the exact derivatives are. `updateSmoothDist` relies on this rule, and
///              callers that chain derivatives may rely on it.
///
/// Outside the blend the derivatives are 1 by the larger number and 0 by the smaller one; equal numbers have both
/// derivatives 0. A NaN `h` counts as a blend and gives NaN. A NaN `a` or `b` gives NaN in a blend; if h is below
/// 1e-13, the result is `a`. Constant cost.
SINEW_API double smoothMax(double a, double b, double h, double* grad, double* hess);

/// Folds one more squared distance into a running smooth minimum.
///
/// @param d     squared distance from the query `x` to the point `y`.
/// @param acc   the running minimum; it is replaced. The first fold needs a start above all distances.
/// @param h     width of the blend, a squared length. If `acc` or `d` is below it, the smaller of the two is the width
///              instead, so the blend of non-negative numbers is never negative. The derivatives then take into account
///              that the width depends on this number: the first ones exactly, the second ones in part. If both numbers
///              are equal, the gradient has a small jump.
/// @param grad  running gradient by `x`; it is replaced. May be null.
/// @param hess  running Hessian by `x`; it is replaced. May be null. It depends on the incoming gradient, which counts
///              as zero if `grad` is null.
///
/// The derivatives of d are those for a fixed point y: the gradient 2 (x - y), and the Hessian twice the identity. NaN
/// input gives NaN where `smoothMax` does. Constant cost.
SINEW_API void updateSmoothDist(double d, ::Vector3 const& x, ::Vector3 const& y, double& acc, double h,
                                ::Vector3* grad, ::Matrix3* hess);

/// Smooth minimum of the squared distances from `q` to the segments of a polyline, with its derivatives by `q`.
///
/// @param h     width of the blend, a squared length: segments are blended if their squared distances differ by less.
/// @param dist  receives the smooth minimum. It is a squared length; no square root is taken.
/// @param grad  receives the gradient.
/// @param hess  receives the Hessian for fixed nearest points on the segments: twice the identity where one segment
///              alone decides. It is symmetric up to rounding.
///
/// Each output may be null and is then not computed. With fewer than two vertices no output is written.
///
/// Segments are blended one after another, so each segment within the width lowers the minimum a little more. From 20
/// vertices on the polyline is cut into chunks of ten segments: the end vertices of the chunks are folded in as points,
/// the first segment of each chunk is not folded in, and chunks that are too far away to change the minimum by more
/// than the blend are skipped. So the fields of 19 and of 20 vertices differ slightly. Chunks come by ascending lower
/// bound of their distance, and the order is part of the result.
///
/// With `h` below 1e-13 the gradient is zero where several segments are equally near, for instance wherever the nearest
/// point is a vertex that two segments share. The minimum starts at 1e13, and squared distances from there on do not
/// lower it.
///
/// A NaN coordinate gives a minimum of 0 or NaN, because the distance to a segment with a NaN coordinate counts as 0;
/// the derivatives are NaN. An infinite coordinate of `q` gives the start and NaN derivatives. A NaN `h` gives NaN.
///
/// Linear cost in the number of vertices, which includes the copy of the polyline. For many points use
/// `sinew::smoothDistMany`. Strong guarantee: if an allocation fails, no output is written.
SINEW_API void smoothDistToPolyline(std::vector<::Vector3> polyline, ::Vector3 const& q, double h, double* dist,
                                    ::Vector3* grad, ::Matrix3* hess);

namespace sinew {

/// `smoothDistToPolyline` at `count` points, with the same bits, without copying the polyline for each point.
///
/// The arrays have `count` elements. `dists`, `grads` and `hessians` may be null and must not overlap `queries`. With
/// fewer than two vertices nothing is written. Basic guarantee: if an allocation fails, the outputs of the first points
/// may have been written.
SINEW_API void smoothDistMany(std::vector<::Vector3> const& polyline, ::Vector3 const* queries, std::size_t count,
                              double h, double* dists, ::Vector3* grads, ::Matrix3* hessians);

/// The same for queries in an array of the host, with three coordinates an element.
SINEW_API void smoothDistMany(std::vector<::Vector3> const& polyline, RealArray const& queries, double h, double* dists,
                              ::Vector3* grads, ::Matrix3* hessians);

/// The same with progress. See `Progress`: false if the host has cancelled. The results are computed in memory of their
/// own, 104 bytes a point for all three, and copied at the end. Strong guarantee. Points as `Vector3` are passed by
/// `coordinatesOf`.
SINEW_API bool smoothDistMany(std::vector<::Vector3> const& polyline, RealArray const& queries, double h, double* dists,
                              ::Vector3* grads, ::Matrix3* hessians, Progress const& progress);

} // namespace sinew
