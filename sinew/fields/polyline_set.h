#pragma once

/// The nearest point on a set of polylines, such as the contour lines of a map or the boundary loops of many islands.

#include <cstddef>
#include <vector>

#include <sinew/core/progress.h>
#include <sinew/core/strided.h>
#include <sinew/core/vector3.h>
#include <sinew/export.h>
#include <sinew/fields/polyline_projector.h>

namespace sinew {

namespace detail {
struct PolylineSetAccess;
} // namespace detail

/// The point of a set of polylines that is nearest to a query.
struct PolylineSetHit
{
    int curve = -1;  ///< index of the polyline that holds the point, or -1 if there is no result
    PolylineHit hit; ///< the point on that polyline
};

/// A set of polylines. The polylines are fixed at construction; otherwise it is a plain value.
///
/// @code
/// PolylineProjector const low({{0, 0, 0}, {9, 0, 0}});
/// PolylineProjector const high({{0, 5, 0}, {9, 5, 0}});
/// sinew::PolylineSet const curves({low, high});
/// sinew::PolylineSetHit const nearest = sinew::closestPoint(curves, Vector3(4, 4, 0));
/// std::printf("curve %d, %g\n", nearest.curve, nearest.hit.distSq); // curve 1, 1
/// @endcode
class PolylineSet
{
public:
    /// No polylines.
    PolylineSet() = default;

    /// Takes the polylines, which may have any numbers of vertices, and builds a tree of their boxes.
    ///
    /// Cost: linear in the vertices, and n log n in the number n of polylines. About 112 bytes a polyline beside the
    /// polylines themselves. Strong guarantee.
    SINEW_API explicit PolylineSet(std::vector<PolylineProjector> curves);

    PolylineSet(PolylineSet const&) = default;
    PolylineSet(PolylineSet&&) noexcept = default;
    /// Strong guarantee: if an allocation fails, the set is unchanged. Member by member, its polylines could end up
    /// with the boxes of others.
    PolylineSet& operator=(PolylineSet const& other) { return *this = PolylineSet(other); }
    PolylineSet& operator=(PolylineSet&&) noexcept = default;
    ~PolylineSet() = default;

    /// The polylines, in the order in which they were given.
    std::vector<PolylineProjector> const& curves() const { return curves_; }

private:
    // Not the function itself: see `PolylineProjector`.
    friend struct detail::PolylineSetAccess;

    // The axis-aligned box of one polyline, or of two nodes, the left one of which is the next node.
    struct Node
    {
        double low[3];
        double high[3];
        int right; // index of the right child; 0 for a leaf
        int curve; // of a leaf
    };

    std::vector<PolylineProjector> curves_;
    std::vector<Node> nodes_; // depth first, none if no polyline is in the tree
    std::vector<int> always_; // polylines with huge or NaN coordinates: every query asks them
    double largest_ = 0.0;    // the largest magnitude of a coordinate in the tree
};

/// The nearest of the results that `closestPoint` gives for each polyline, by their `distSq`. Of equally near ones the
/// one of the earlier polyline wins.
///
/// The hit has the bits of the result for that polyline alone. A polyline without a result is passed over; if no
/// polyline has one, `curve` is -1. A result whose distance is NaN counts only if no result has a distance; then the
/// first one wins.
///
/// Cost: close to logarithmic in the number of polylines if their boxes hardly overlap, at most linear; then as
/// `closestPoint` for the few polylines near the query. The first query that reaches a polyline of 20 vertices or more
/// builds its index. Strong guarantee, and threads as for `closestPoint` on one polyline.
/// Source: N. Roussopoulos, S. Kelley and F. Vincent, Nearest neighbor queries, SIGMOD 1995, with a binary tree.
SINEW_API PolylineSetHit closestPoint(PolylineSet const& set, ::Vector3 const& q);

/// `closestPoint` for each of an array of points: hits[i] is the result for element i, with the same bits.
///
/// Elements have three coordinates. `hits` receives `queries.count` results and must not overlap the queries; it may be
/// null if there are none. If std::bad_alloc is thrown, because the index of a polyline does not fit into memory, some
/// of the hits are written.
///
/// From 500 polylines and 64 queries on, queries that are not near their predecessors are answered in an order that
/// makes them so, as `projectMany` for one polyline does it; this takes 8 bytes a query, at most 8 MB. Without this
/// memory the queries are answered from first to last.
SINEW_API void projectMany(PolylineSet const& set, RealArray const& queries, PolylineSetHit* hits);

/// The same with progress. See `Progress`: false if the host has cancelled. The hits are computed in memory of their
/// own, 56 bytes a query, and copied at the end. Strong guarantee.
SINEW_API bool projectMany(PolylineSet const& set, RealArray const& queries, PolylineSetHit* hits,
                           Progress const& progress);

} // namespace sinew
