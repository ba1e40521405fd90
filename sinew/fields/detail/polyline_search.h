#pragma once

/// The searches that define which segment of a polyline is the nearest to a point, and what they share with the other
/// sources of this module. Not installed.

#include <cassert>
#include <vector>

#include <sinew/core/tolerances.h>
#include <sinew/core/vector3.h>
#include <sinew/detail/as_index.h>

namespace sinew::detail {

/// The bounded search scans intervals of up to this many segments and splits longer ones. Part of the result: it
/// decides ties.
inline constexpr int kScannedSegments = 9;

/// Length of the polyline from its first vertex to each vertex, summed in order. Empty for no vertices.
std::vector<double> arcLengths(std::vector<Vector3> const& points);

/// Upper bound of the distance from the points of a curve of length `length` to the chord of length `chord` between its
/// ends: sqrt(length^2 - chord^2), or 0 where rounding made the chord longer than the curve.
///
/// The curve lies in an ellipsoid with the ends as foci. The bound is the whole minor axis of this ellipsoid; half of
/// it would be a bound too, but the value is part of the result.
double chordSlack(double length, double chord);

/// `chordSlack` for the whole polyline, but NaN where rounding made the chord longer than the curve. The bound of the
/// whole polyline is then 0, so the search always examines a straight polyline.
double rootSlack(double length, double chord);

/// Squared distance from a point to a segment, and the position of the nearest point on the segment.
struct SegmentDistance
{
    double distSq; ///< the same bits as the result of `distSqToLineSegment`
    double along;  ///< numerator of the position
    double length; ///< denominator of the position

    /// The position: 0 at the first end, 1 at the second one. It is not stored, because most callers do not need the
    /// division.
    double t() const { return along / length; }
};

/// Calls `visit(k, distance)` for the segments k = first .. last - 1 in order, where segment k joins vertices k and
/// k + 1 and `distance` is the SegmentDistance from `q` to it. Neighbouring segments share what they have in common.
template <typename Visit>
void measureSegments(std::vector<Vector3> const& points, Vector3 const& q, int first, int last, Visit const& visit)
{
    Vector3 fromA = q - points[asIndex(first)];
    double toA = fromA.lengthSq();
    for (int k = first; k < last; ++k) {
        Vector3 const& b = points[asIndex(k + 1)];
        Vector3 const e = b - points[asIndex(k)];
        Vector3 const fromB = q - b;
        double const toB = fromB.lengthSq();
        double const alongA = fromA * e;
        if (alongA <= kGeometricZero) {
            visit(k, SegmentDistance{toA, 0.0, 1.0});
        } else if (fromB * e >= -kGeometricZero) {
            visit(k, SegmentDistance{toB, 1.0, 1.0});
        } else {
            double const lengthSq = e.lengthSq();
            double const toLine = toA - alongA * alongA / lengthSq;
            visit(k, SegmentDistance{toLine > 0.0 ? toLine : 0.0, alongA, lengthSq});
        }
        fromA = fromB;
        toA = toB;
    }
}

/// The nearest segment found so far.
struct NearestSegment
{
    int segment;
    double distSq;

    /// Takes a segment that is strictly nearer, so the first of equally near segments is kept.
    void offer(int candidate, double candidateDistSq)
    {
        if (distSq > candidateDistSq) *this = {candidate, candidateDistSq};
    }

    /// Offers the segments first .. last - 1 in order.
    void scan(std::vector<Vector3> const& points, Vector3 const& q, int first, int last)
    {
        measureSegments(points, q, first, last, [this](int k, SegmentDistance const& d) { offer(k, d.distSq); });
    }
};

/// Tries every segment of a polyline of at least two vertices; the first of equally near ones wins. -1 if all squared
/// distances are `kFarthestDistSq` or more.
inline int nearestSegmentByScan(std::vector<Vector3> const& points, Vector3 const& q)
{
    assert(points.size() >= 2);
    NearestSegment best{-1, kFarthestDistSq};
    best.scan(points, q, 0, static_cast<int>(points.size()) - 1);
    return best.segment;
}

/// The bounded search, for at least two vertices: a best-first search over intervals of vertices that it halves.
///
/// It tries the first vertex, then the last one; afterwards it takes intervals by ascending lower bound of their
/// distance, tries the middle vertex of an interval that it splits, and scans an interval of up to `kScannedSegments`
/// segments. A vertex stands for the segment that starts there, the last vertex for the last segment. Only a strictly
/// smaller distance replaces the best one, so whatever it tries first wins a tie. Intervals with equal bounds come in
/// the order of `BoundHeap`. A NaN query gives 0.
int nearestSegmentByBounds(std::vector<Vector3> const& points, std::vector<double> const& arcLengths, Vector3 const& q);

} // namespace sinew::detail
