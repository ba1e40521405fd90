#pragma once

/// A smooth distance to polylines that treats all segments alike and has one width everywhere.
///
/// `smoothDistToPolyline` of smooth_distance.h blends squared distances one after another, narrows the blend near the
/// polyline, and treats long polylines differently. Its bits stay, and so do the jumps of its gradient. Take
/// `smoothDistance` unless a host depends on those results.
///
/// All functions are free of side effects except on their outputs, so any number of threads may call them at the same
/// time.

#include <vector>

#include <sinew/core/matrix3.h>
#include <sinew/core/progress.h>
#include <sinew/core/strided.h>
#include <sinew/core/vector3.h>
#include <sinew/export.h>

namespace sinew {

/// A smooth distance and its derivatives by the query point.
struct SmoothDistance
{
    double dist = 0.0; ///< a length
    ::Vector3 grad;    ///< its length is at most 1, up to rounding
    ::Matrix3 hess;    ///< symmetric, in 1 / length
};

/// Smooth minimum of the distances d_i from `q` to the segments of a polyline: the number f for which
///
///     sum over i of max(0, 1 - (d_i - f) / width)^3 = 1.
///
/// The sum grows with f, so there is exactly one such number.
///
/// - Segments at least `width` farther than the nearest one add exactly nothing. Where no other segment is nearer than
///   that, f is the distance to the nearest segment, to the bit.
/// - f is at most the smallest distance, and greater than the smallest distance minus `width`: for n segments that are
/// equally near it is
///   lower by width (1 - n^(-1/3)), for instance by 0.21 width at a vertex that two segments share. It can therefore
///   be negative close to the polyline.
/// - The order of the segments does not matter, apart from the rounding of sums.
/// - As a function of the distances f has two continuous derivatives, so no crease is left where segments are equally
///   near. The gradient is a weighted mean of the gradients of the d_i, and is continuous everywhere except on the
///   polyline itself. The Hessian is the exact second derivative; it jumps where the nearest point on one of the
///   segments reaches an end of this segment, as that of the distance to a single segment does.
///
/// @param width  width of the blend, a length. 0 or below gives the ordinary minimum with the derivatives of the
///               segment that is nearest, the first of several.
///
/// A segment without length acts as a point. On a segment its own gradient and Hessian count as zero. Without a
/// segment, for fewer than two vertices, the result is infinity with derivatives of zero. Segments with a NaN or
/// infinite coordinate are left out. A NaN or infinite coordinate of `q`, or a NaN or infinite width, gives NaN in all
/// three. Squares of coordinate differences overflow from about 1e154 on, and lose digits below 1e-150; scale such
/// input first.
///
/// Accuracy: a few units in the last place of the largest coordinate or of the width, whichever is larger. Gradients
/// that differ by less than 2^-51 count as equal in the Hessian. Linear cost in the number of vertices, two passes and
/// a Newton iteration over the segments. For many points use `smoothDistanceMany`. No allocation.
SINEW_API SmoothDistance smoothDistance(std::vector<::Vector3> const& polyline, ::Vector3 const& q, double width);

/// `smoothDistance` at many points, with the same bits.
///
/// @param queries  three coordinates an element.
/// @param dists, grads, hessians  arrays of `queries.count` elements. Each may be null and is then not computed. They
///                                must not overlap each other or `queries`.
///
/// A tree of boxes leaves out the segments that add exactly nothing: the cost is close to logarithmic in the number of
/// vertices, plus the segments within about `width` of the nearest one. Preparing the tree is linear, about 8 bytes a
/// vertex. Basic guarantee: if an allocation fails, the outputs of the first points may have been written.
SINEW_API void smoothDistanceMany(std::vector<::Vector3> const& polyline, RealArray const& queries, double width,
                                  double* dists, ::Vector3* grads, ::Matrix3* hessians);

/// The same with progress. See `Progress`: false if the host has cancelled. The results are computed in memory of their
/// own, 104 bytes a point for all three, and copied at the end. Strong guarantee.
SINEW_API bool smoothDistanceMany(std::vector<::Vector3> const& polyline, RealArray const& queries, double width,
                                  double* dists, ::Vector3* grads, ::Matrix3* hessians, Progress const& progress);

} // namespace sinew
