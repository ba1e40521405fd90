#pragma once

/// Nearest points on a polyline, for many queries against the same vertices.
///
/// `PolylineProjector` holds the polyline and stores its last result in public fields. `sinew::closestPoint` and
/// `sinew::projectMany` return results instead and do not write into the projector: use them if several threads query
/// one polyline, or for many points.

#include <atomic>
#include <cstddef>
#include <limits>
#include <vector>

#include <sinew/core/progress.h>
#include <sinew/core/strided.h>
#include <sinew/core/vector3.h>
#include <sinew/export.h>

class PolylineProjector;

namespace sinew {

namespace detail {
class PolylineIndex;
struct PolylineIndexAccess;
} // namespace detail

/// The point of a polyline that is nearest to a query.
///
/// point = points[segment] + t * (points[segment + 1] - points[segment]), and exactly the vertex where t is 0 or 1. If
/// there is no result, `segment` is -1 and the other members have their initial values.
struct PolylineHit
{
    int segment = -1; ///< index of the first vertex of the segment that holds the point, or -1
    double t = 0.0;   ///< position of the point on the segment, in [0, 1]
    ::Vector3 point;  ///< the point
    /// Squared distance from the query to the point: `distSq(q, point)`. Infinite if there is no result, so that any
    /// result at a finite distance is nearer. NaN if the point or the query has a NaN coordinate.
    double distSq = std::numeric_limits<double>::infinity();
};

/// The result that `PolylineProjector::project` would store for the query `q`.
///
/// Where `project` stores nothing, the `segment` of the result is -1. Strong guarantee: if the index that the first
/// query builds does not fit into memory, std::bad_alloc is thrown, and a later query tries again. Any number of
/// threads may call this function at the same time on one projector, as long as none changes it.
SINEW_API PolylineHit closestPoint(PolylineProjector const& polyline, ::Vector3 const& q);

/// `closestPoint` for `count` points: hits[i] is the result for queries[i], with the same bits.
///
/// Both arrays have `count` elements and must not overlap; they may be null if `count` is 0. Several threads may call
/// it as they may call `closestPoint`. Strong guarantee: no hit is written before the index exists.
///
/// Cost: about that of single calls, or less. From 1000 vertices and 64 queries on, queries that are not near their
/// predecessors are answered in an order that makes them so; the order changes speed, never results. Sorting takes 8
/// bytes a query, at most 8 MB. Without this memory the queries are answered from first to last.
/// Source of the order: G. M. Morton, A computer oriented geodetic data base and a new technique in file sequencing,
/// IBM, 1966.
SINEW_API void projectMany(PolylineProjector const& polyline, ::Vector3 const* queries, std::size_t count,
                           PolylineHit* hits);

/// The same for queries in an array of the host, with three coordinates an element. It needs no copy of them.
SINEW_API void projectMany(PolylineProjector const& polyline, RealArray const& queries, PolylineHit* hits);

/// The same with progress. See `Progress`: false if the host has cancelled. The hits are computed in memory of their
/// own, 48 bytes a query, and copied at the end. Points as `Vector3` are passed by `coordinatesOf`.
SINEW_API bool projectMany(PolylineProjector const& polyline, RealArray const& queries, PolylineHit* hits,
                           Progress const& progress);

/// Length of the polyline from its first vertex to a hit: L[k] + t * (L[k + 1] - L[k]), where L are the arc lengths and
/// k is the segment of the hit. Exactly the arc length of the vertex where t is 0 or 1.
///
/// Only `segment` and `t` of the hit are used. NaN if the polyline has no such segment, also for a hit without a
/// result, and if t is NaN. Constant cost, no allocation.
SINEW_API double arcLengthOf(PolylineProjector const& polyline, PolylineHit const& hit);

/// The point at the arc length `length` from the first vertex: its segment k, t = (length - L[k]) / (L[k + 1] - L[k]),
/// the point as in every hit, and a `distSq` of 0.
///
/// A length of 0 or less gives the first vertex, a length of the whole polyline or more the last one with t = 1. At the
/// arc length of any other vertex the result is that vertex with t = 0: it belongs to the segment that starts there, of
/// several equal vertices to the last one. So segments of length 0 are never named, except at the ends.
///
/// Without a result (`segment` is -1) for fewer than two vertices and for a NaN length. A vertex with a NaN coordinate
/// makes the arc lengths from there on NaN; a length beyond those before it gives the segment that ends there, with NaN
/// for t, for the point and for `distSq`. Logarithmic cost, no allocation.
SINEW_API PolylineHit pointAtArcLength(PolylineProjector const& polyline, double length);

} // namespace sinew

/// A polyline, open or with equal ends, and the point on it that is nearest to the last query.
///
/// All points share one frame and length unit. The vertices are fixed at construction: `points` and `arcLengths` must
/// not be changed afterwards. Otherwise the class is a plain value that may be copied, moved and assigned.
///
/// @code
/// PolylineProjector const curve({{0, 0, 0}, {2, 0, 0}, {2, 1, 0}});
/// sinew::PolylineHit const hit = sinew::closestPoint(curve, Vector3(1, 1, 0));
/// std::printf("segment %d, point (%g, %g, %g)\n", hit.segment, hit.point.x, hit.point.y, hit.point.z); // 0, (1, 0, 0)
/// @endcode
class PolylineProjector
{
public:
    std::vector<::Vector3> points;  ///< the vertices
    std::vector<double> arcLengths; ///< arcLengths[i] is the length of the polyline from its first vertex to vertex i
    double t = 0.0;                 ///< of the last projection: the position on its segment, in [0, 1]
    int segment = -1; ///< of the last projection: the first vertex of its segment; -1 before the first one
    ::Vector3 point;  ///< of the last projection: the nearest point

    /// Copies the vertices and sums the arc lengths. Any number of vertices is allowed. Linear cost, 32 bytes a vertex.
    /// Strong guarantee.
    SINEW_API PolylineProjector(std::vector<::Vector3> const& vertices);

    PolylineProjector(PolylineProjector const&) = default;
    PolylineProjector(PolylineProjector&&) noexcept = default;
    /// Strong guarantee: if an allocation fails, the projector is unchanged. Member by member, its vertices could end
    /// up without their arc lengths.
    PolylineProjector& operator=(PolylineProjector const& other) { return *this = PolylineProjector(other); }
    PolylineProjector& operator=(PolylineProjector&&) noexcept = default;
    ~PolylineProjector() = default;

    /// Finds the point of the polyline that is nearest to `q` and stores it in `segment`, `t` and `point`, where
    /// point = points[segment] + t * (points[segment + 1] - points[segment]).
    ///
    /// Ties: up to 19 vertices every segment is tried in order, and the first of equally near ones is the result. From
    /// 20 vertices on a bounded search defines the result. It tries the two ends of the polyline, first to last, then
    /// the vertices at which it halves the polyline recursively, and then segments; parts with a smaller lower bound of
    /// the distance come earlier. The first of equally near candidates is the result; a vertex stands for the segment
    /// that starts there, the last vertex for the last segment. Where arc lengths round so that this bound exceeds the
    /// distance slightly (nearly straight parts of very many vertices), the result may be a neighbour of the nearest
    /// segment. The same input always gives the same result, on every platform.
    ///
    /// Margins: the nearest point is the first end A of a segment if (q - A) * (B - A) <= 1e-13, otherwise the second
    /// end B if (q - B) * (B - A) >= -1e-13; t is then exactly 0 or 1. These margins are squared lengths and do not
    /// scale with the polyline. A segment of length 0 gives t = 0.
    ///
    /// Nothing is stored for fewer than two vertices. Below 20 vertices nothing is stored either if `q` has a NaN
    /// coordinate or if its squared distance from every segment is 1e13 or more. From 20 vertices on the distance is
    /// not limited, and a NaN query gives segment 0 with NaN for t and for the point.
    ///
    /// Cost: linear below 20 vertices, close to logarithmic from there on for points near the curve. From 20 vertices
    /// on the first projection also takes linear time and about 44 bytes a vertex for an index, which copies of the
    /// projector share. Strong guarantee: without memory for it, nothing is stored. Several threads may make the first
    /// projection at the same time through `sinew::closestPoint`; `project` itself requires exclusive access.
    SINEW_API void project(::Vector3 const& q);

private:
    // Not the functions themselves: friends are declared again, and some compilers then lose their import from a DLL.
    friend struct sinew::detail::PolylineIndexAccess;

    // A reference to the index of a long polyline. The first projection on any thread builds the index; copies of the
    // projector share it.
    class IndexHandle
    {
    public:
        IndexHandle() = default;
        SINEW_API IndexHandle(IndexHandle const& other) noexcept;
        SINEW_API IndexHandle(IndexHandle&& other) noexcept;
        SINEW_API IndexHandle& operator=(IndexHandle const& other) noexcept;
        SINEW_API IndexHandle& operator=(IndexHandle&& other) noexcept;
        SINEW_API ~IndexHandle();

        // Builds the index if there is none. Any number of threads may call it at the same time.
        sinew::detail::PolylineIndex const& of(PolylineProjector const& polyline) const;

    private:
        mutable std::atomic<sinew::detail::PolylineIndex const*> index_{nullptr};
    };

    IndexHandle index_;
};
