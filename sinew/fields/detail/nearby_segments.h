#pragma once

/// The segments of a polyline that can be nearest to the points of a small box. Not installed.
///
/// Queries that are close to each other share one search of the tree. Each of them then measures a few segments.

#include <cstddef>

#include <sinew/core/vector3.h>
#include <sinew/detail/dispatch.h>
#include <sinew/fields/detail/polyline_index.h>
#include <sinew/fields/detail/segment_tree.h>
#include <sinew/fields/polyline_projector.h>

namespace sinew::detail {

/// A box around some queries, and a distance that bounds theirs.
struct QueryBox
{
    Vector3 low;
    Vector3 high;
    double distSqOfMiddle; ///< squared distance from the middle of the box to some point of a polyline of interest

    Vector3 middle() const { return 0.5 * (low + high); }

    /// A squared distance from the middle. What is farther away is nearest to no query.
    double reachSq() const;
};

/// Segments of one polyline.
class NearbySegments
{
public:
    /// Finds the segments within reach. Returns false if the queries must be made one by one: for polylines of less
    /// than 20 vertices, which have no index, for too many segments, and for coordinates of 1e70 or more.
    ///
    /// The polyline must outlive this object. Throws std::bad_alloc as `closestPoint` does.
    bool gather(PolylineProjector const& polyline, QueryBox const& box);

    /// Writes for each query from the box what it needs to know about its nearest segments.
    void measure(Vector3 const* queries, std::size_t count, NearestSegments* nearest, VectorWidth width) const;

    /// Whether the polyline has a point within reach. If not, it has none that is nearest to a query.
    bool isNear() const { return count_ > 0; }

    /// A squared distance below that of any hit, given the result of `measure`.
    double lowerBoundSq(NearestSegments const& nearest) const;

    /// The result of `closestPoint` for the query, given the result of `measure`. If the polyline is not the nearest
    /// one of interest, the result may be another point of it that is not nearer than the nearest one.
    PolylineHit hit(Vector3 const& q, NearestSegments const& nearest);

private:
    struct Measure;

    static constexpr int kBlock = 8; // segments that are measured together
    static constexpr int kMost = 64;

    PolylineProjector const* polyline_ = nullptr;
    int count_ = 0;
    double margin_ = 0;
    int segments_[kMost] = {};
    // By coordinate, and padded with copies of the first segment.
    double from_[3][kMost];
    double to_[3][kMost];
    SearchPath path_; // the last one that a hit has needed
};

} // namespace sinew::detail
