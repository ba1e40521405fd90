#pragma once

/// Smooth distance fields around polylines: a minimum of squared distances that is blended where several are nearly
/// equal, so that it has two continuous derivatives there, with its gradient and Hessian.
///
/// `sinew::smoothDistMany` evaluates a field at many points; `smoothDistToPolyline` at one. The pieces they are made of
/// (`smoothMax`, `updateSmoothDist`) serve hosts that fold in distances of their own.

#include <cstddef>
#include <vector>

#include <sinew/core/matrix3.h>
#include <sinew/core/vector3.h>
#include <sinew/export.h>

/// A bell of width 2 * radius around `center`: (1 - u^2)^3 with u the distance from the centre in radii. It is 1 at the
/// centre, 0 from the rim outwards, and has two continuous derivatives.
class SmoothWeight
{
public:
    double center;
    double radius;
    double invRadius; ///< 1 / radius; 0 for a radius of 1e-8 or less (or NaN)
    double margin;    ///< 1e-8 * radius, cut off the support at either side; 0 for a radius of 1e-8 or less (or NaN)

    /// A radius of 1e-8 or less makes the weight a box: 1 where |x - center| <= radius.
    SINEW_API SmoothWeight(double center, double radius);

    /// The weight at `x` and its first and second derivative, each written where its pointer is not null.
    ///
    /// All three are exactly 0 where |x - center| > radius - margin, the rim itself included. NaN gives NaN.
    /// Always true.
    SINEW_API bool evaluate(double x, double* w, double* dw, double* d2w) const;
};

/// Maximum of `a` and `b`, blended over |a - b| <= h to have two continuous derivatives; never below the maximum.
///
/// Exactly the larger number where they differ by more than `h`; 3 h / 16 above both where they are equal.
///
/// @param h     width of the blend, in the unit of a and b. Below 1e-13 there is none: the plain maximum, whose
///              derivatives are steps.
/// @param grad  receives the derivatives by a, b and h (3 entries); may be null.
/// @param hess  receives 6 entries: by aa, ab, bb, hh, then ah and bh; may be null. The last two are the mixed
///              derivatives divided by h once more. Code that chains them, `updateSmoothDist` first, relies on that.
///
/// Outside the blend equal numbers have both derivatives 0, not 1/2. A NaN `h` counts as inside, and gives NaN; a NaN
/// `a` or `b` does too unless h is below 1e-13, when the result is `a`. Constant cost.
SINEW_API double smoothMax(double a, double b, double h, double* grad, double* hess);

/// Folds one more squared distance into a running smooth minimum.
///
/// @param d     squared distance from the query `x` to the point `y`.
/// @param acc   the running minimum, replaced.
/// @param h     blend width, a squared length. Where acc or d is below it, the smaller of them is the width, so that
///              non-negative numbers never blend to less than zero. The derivatives allow for that width depending on
///              one of the numbers, the second ones only in part; where the two are equal the gradient jumps a little.
/// @param grad  running gradient by `x`, replaced; may be null.
/// @param hess  running Hessian by `x`, replaced; may be null. It reads the incoming gradient: without `grad` that
///              counts as zero.
///
/// The gradient and Hessian of d are taken with y held fixed: 2 (x - y) and twice the identity. Constant cost.
SINEW_API void updateSmoothDist(double d, Vector3 const& x, Vector3 const& y, double& acc, double h, Vector3* grad,
                                Matrix3* hess);

/// Smooth minimum of the squared distances from `q` to the segments of a polyline, with derivatives by `q`.
///
/// @param h     blend width, a squared length: segments whose squared distances differ by less are blended.
/// @param dist  receives the smooth minimum. It is a squared length; no root is taken.
/// @param grad  receives the gradient.
/// @param hess  receives the Hessian, which takes the nearest point of each segment as fixed: twice the identity where
///              one segment rules. It is symmetric up to rounding.
///
/// Any of the three may be null; what is not wanted is not computed. With fewer than two vertices nothing is written.
/// Segments blend one after another, so every one of them within reach lowers the minimum a little more. From 20
/// vertices on every tenth vertex is folded in first, as a point, the segments after it are not, and runs of segments
/// too far away to matter are skipped: the field of 20 vertices differs slightly from that of 19.
/// With `h` below 1e-13 the gradient is zero where segments are exactly equally near, as around the outside of a
/// vertex. Squared distances from 1e13 on do not lower the minimum, which starts there. NaN input gives NaN or the
/// start.
///
/// Linear cost in the number of vertices. For many points use `sinew::smoothDistMany`.
SINEW_API void smoothDistToPolyline(std::vector<Vector3> polyline, Vector3 const& q, double h, double* dist,
                                    Vector3* grad, Matrix3* hess);

namespace sinew {

/// `smoothDistToPolyline` at `count` points, with the same bits and without a copy of the polyline for each.
///
/// The arrays hold `count` elements each; `dists`, `grads` and `hessians` may be null where they are not wanted, and
/// must not overlap `queries`. With fewer than two vertices nothing is written.
SINEW_API void smoothDistMany(std::vector<Vector3> const& polyline, Vector3 const* queries, std::size_t count, double h,
                              double* dists, Vector3* grads, Matrix3* hessians);

} // namespace sinew
