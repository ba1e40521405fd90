#pragma once

/// The two searches that define which segment of a polyline answers a query. Not installed.

#include <vector>

#include <sinew/core/tolerances.h>
#include <sinew/core/vector3.h>

namespace sinew::detail {

/// Intervals of up to this many segments are scanned by the bounded search, longer ones split.
inline constexpr int kScannedSegments = 9;

/// Length of the polyline from its first vertex to each vertex, summed in order.
std::vector<double> arcLengths(std::vector<Vector3> const& points);

/// How far a curve of length `length` may leave the chord of length `chord` between its ends: twice the semi-minor axis
/// of the ellipse that holds it, generous on purpose. 0 where rounding made the chord the longer one.
double chordSlack(double length, double chord);

/// The same for the whole polyline, where a chord longer than the curve gives NaN: then nothing bounds the search, so
/// that it always starts on a straight polyline.
double rootSlack(double length, double chord);

/// The best segment so far.
struct NearestSegment
{
    int segment;
    double distSq;

    // Strict, so that the first of equally near segments stays.
    void offer(int candidate, double candidateDistSq)
    {
        if (distSq > candidateDistSq) *this = {candidate, candidateDistSq};
    }

    // Each distance as distSqToLineSegment has it, with what two neighbours share computed once.
    void scan(std::vector<Vector3> const& points, Vector3 const& q, int first, int last)
    {
        Vector3 fromA = q - points[first];
        double toA = fromA.lengthSq();
        for (int k = first; k < last; ++k) {
            Vector3 const e = points[k + 1] - points[k];
            Vector3 const fromB = q - points[k + 1];
            double const toB = fromB.lengthSq();
            double const alongA = fromA * e;
            if (alongA <= kGeometricZero) {
                offer(k, toA);
            } else if (fromB * e >= -kGeometricZero) {
                offer(k, toB);
            } else {
                double const inside = toA - alongA * alongA / e.lengthSq();
                offer(k, inside > 0.0 ? inside : 0.0);
            }
            fromA = fromB;
            toA = toB;
        }
    }
};

/// Tries every segment; the first of equally near ones wins. -1 when all lie at a squared distance of 1e13 or more.
inline int nearestSegmentByScan(std::vector<Vector3> const& points, Vector3 const& q)
{
    NearestSegment best{-1, 1e13};
    best.scan(points, q, 0, static_cast<int>(points.size()) - 1);
    return best.segment;
}

/// Best-first search over halved vertex intervals, for at least two vertices.
int nearestSegmentByBounds(std::vector<Vector3> const& points, std::vector<double> const& arcLengths, Vector3 const& q);

} // namespace sinew::detail
