// Why the segments within reach suffice: let D be the distance at the middle, and r the distance from the middle to a
// query. The query has a point of some polyline within D + r. A segment that is nearest to the query is therefore
// within D + 2r of the middle. The margins are for two deviations. Distances are rounded. And a point that lies within
// 1e-13 of an end of a segment, measured as the dot product with the segment, is measured to that end. This adds less
// than 1e-13 to the squared distance.

#include <sinew/fields/detail/nearby_segments.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include <sinew/core/detail/segment_distance.h>
#include <sinew/core/tolerances.h>
#include <sinew/detail/as_index.h>
#include <sinew/fields/detail/polyline_index.h>
#include <sinew/fields/detail/polyline_parts.h>
#include <sinew/fields/detail/polyline_search.h>

namespace sinew::detail {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// What measuring to an end instead of to the segment adds to a squared distance, with some reserve.
constexpr double kEndMargin = 4 * kGeometricZero;

// Relative reserve for the rounding of distances and of the reach itself.
constexpr double kRelativeMargin = 1e-9;

// The margin of the tree is for a single distance. Here several are compared.
constexpr double kTreeMargins = 16;

} // namespace

double QueryBox::reachSq() const
{
    double const radius = 0.5 * (high - low).length();
    double const ofQueries = std::sqrt(distSqOfMiddle) + radius;
    double const reach = std::sqrt(ofQueries * ofQueries + kEndMargin) + radius;
    return (reach * reach + kEndMargin) * (1 + kRelativeMargin);
}

bool NearbySegments::gather(PolylineProjector const& polyline, QueryBox const& box)
{
    std::vector<Vector3> const& points = polyline.points;
    if (points.size() < kBoundedSearchVertices) return false;
    SegmentTree const& tree = PolylineIndexAccess::of(polyline).tree();
    if (!tree.covers(box.low) || !tree.covers(box.high)) return false;
    margin_ = kTreeMargins * tree.roundingMargin();
    SegmentsWithin within;
    tree.within(box.middle(), box.reachSq() + margin_, within);
    if (within.count > kMost) return false;
    if (polyline_ != &polyline) path_ = {};
    polyline_ = &polyline;
    count_ = within.count;
    for (int i = 0; count_ > 0 && i < kMost; ++i) {
        segments_[i] = within.segments[asIndex(i < count_ ? i : 0)];
        for (int axis = 0; axis < 3; ++axis) {
            from_[axis][i] = points[asIndex(segments_[i])][axis];
            to_[axis][i] = points[asIndex(segments_[i] + 1)][axis];
        }
    }
    return true;
}

// As the tree measures a run of segments.
struct NearbySegments::Measure
{
    NearbySegments const& near;
    Vector3 const* queries;
    std::size_t count;
    NearestSegments* nearest;

    template <VectorWidth>
    SINEW_KERNEL void run() const
    {
        for (std::size_t i = 0; i < count; ++i) nearest[i] = nearestTo(queries[i]);
    }

private:
    SINEW_KERNEL NearestSegments nearestTo(Vector3 const& q) const
    {
        double distSqs[kMost];
        double smallest[kBlock], smallestStray[kBlock];
        for (int i = 0; i < kBlock; ++i) smallest[i] = smallestStray[i] = kInfinity;
        for (int first = 0; first < near.count_; first += kBlock) {
            for (int i = 0; i < kBlock; ++i) {
                int const k = first + i;
                Vector3 const a(near.from_[0][k], near.from_[1][k], near.from_[2][k]);
                Vector3 const b(near.to_[0][k], near.to_[1][k], near.to_[2][k]);
                double const toSegment = segmentDistSq(q, a, b);
                double const toVertex = distSq(q, a);
                distSqs[k] = toSegment;
                smallest[i] = toSegment < smallest[i] ? toSegment : smallest[i];
                double const stray = toSegment > toVertex ? toVertex : kInfinity;
                smallestStray[i] = stray < smallestStray[i] ? stray : smallestStray[i];
            }
        }
        NearestSegments best{kInfinity, kInfinity, -1, -1, 0};
        for (int i = 0; i < kBlock; ++i) {
            best.distSq = smallest[i] < best.distSq ? smallest[i] : best.distSq;
            best.strayDistSq = smallestStray[i] < best.strayDistSq ? smallestStray[i] : best.strayDistSq;
        }
        for (int k = 0; k < near.count_; ++k) {
            if (distSqs[k] != best.distSq) continue;
            if (best.count == 0) best.first = near.segments_[k];
            if (best.count == 1) best.second = near.segments_[k];
            ++best.count;
        }
        return best;
    }
};

void NearbySegments::measure(Vector3 const* queries, std::size_t count, NearestSegments* nearest,
                             VectorWidth width) const
{
    dispatch(width, Measure{*this, queries, count, nearest});
}

double NearbySegments::lowerBoundSq(NearestSegments const& nearest) const
{
    return std::min(nearest.distSq, nearest.strayDistSq) * (1 - kRelativeMargin) - margin_;
}

PolylineHit NearbySegments::hit(Vector3 const& q, NearestSegments const& nearest)
{
    std::vector<Vector3> const& points = polyline_->points;
    int segment = PolylineIndexAccess::of(*polyline_).nearestSegmentOf(points, q, nearest, &path_);
    if (segment < 0) segment = nearestSegmentByBounds(points, polyline_->arcLengths, q);
    return closestPointOnSegment(points, segment, q);
}

} // namespace sinew::detail
