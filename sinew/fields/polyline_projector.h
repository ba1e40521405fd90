#pragma once

/// Nearest points on a polyline, for many queries against the same vertices.
///
/// `PolylineProjector` keeps its last answer in public fields, as hosts expect. Where one polyline serves several
/// threads, or where the answers of many points are wanted, use `sinew::closestPoint` and `sinew::projectMany`: they
/// take the projector by const reference and write nothing into it.

#include <atomic>
#include <cstddef>
#include <vector>

#include <sinew/core/vector3.h>
#include <sinew/export.h>

class PolylineProjector;

namespace sinew {

namespace detail {
class PolylineIndex;
}

/// A nearest point: on the segment from vertex `segment` to the next, at parameter `t` in [0, 1].
struct PolylineHit
{
    int segment = -1; ///< index of the segment's first vertex; -1 when there is no answer, and then nothing else is set
    double t = 0.0;
    Vector3 point;
};

/// Nearest point to `q` on the polyline: exactly what `PolylineProjector::project` would store, without storing it.
///
/// `segment` is -1 where `project` would leave its result alone. Any number of threads may call this at once on one
/// projector, as long as none changes it.
SINEW_API PolylineHit closestPoint(PolylineProjector const& polyline, Vector3 const& q);

/// `closestPoint` for `count` points: hits[i] answers queries[i], with the same bits.
///
/// Both arrays hold `count` elements and may be null when `count` is 0. They must not overlap.
SINEW_API void projectMany(PolylineProjector const& polyline, Vector3 const* queries, std::size_t count,
                           PolylineHit* hits);

} // namespace sinew

/// A polyline, open or with equal ends, and the nearest point on it to the last query.
///
/// The vertices are fixed at construction: do not change `points` or `arcLengths` afterwards. A plain value otherwise:
/// copied, moved and assigned freely.
class PolylineProjector
{
public:
    std::vector<Vector3> points;
    std::vector<double> arcLengths; ///< arcLengths[i]: length of the polyline from its first vertex to vertex i
    double t = 0.0;                 ///< of the last projection: the parameter on its segment, in [0, 1]
    int segment = -1;               ///< of the last projection: its segment's first vertex; -1 before there is one
    Vector3 point;                  ///< of the last projection: the nearest point

    /// Copies the vertices, any number of them, and sums their arc lengths.
    SINEW_API PolylineProjector(std::vector<Vector3> const& vertices);

    /// Finds the nearest point to `q` and stores it in `segment`, `t` and `point`, where
    /// point = points[segment] + t * (points[segment + 1] - points[segment]).
    ///
    /// Up to 19 vertices every segment is tried, and among equally near ones the first wins. From 20 vertices on a
    /// bounded search is defined, which tries both ends of the polyline, then the vertices that halve it again and
    /// again, and segments last, nearest part first; what it tries first wins ties. Where the rounding of arc lengths
    /// makes its bound too large by a hair (nearly straight runs of very many vertices) the segment may be a neighbour
    /// of the nearest one; it is always the same one for the same input.
    ///
    /// Feet within 1e-13 of a segment's end, measured as the dot product with the segment (a squared length, not
    /// relative), are that end: t is exactly 0 or 1. A segment of length 0 gives t = 0.
    ///
    /// Nothing is stored when there are fewer than two vertices; nor, below 20 vertices, when `q` has a NaN coordinate
    /// or lies at a squared distance of 1e13 or more from every segment. From 20 vertices on distance has no limit, and
    /// a NaN query gives segment 0 with NaN for t and the point.
    ///
    /// Cost: linear below 20 vertices, then close to logarithmic. The first projection from 20 vertices on takes linear
    /// time and about 40 bytes a vertex, which copies share; first projections on several threads may race.
    SINEW_API void project(Vector3 const& q);

private:
    friend sinew::PolylineHit sinew::closestPoint(PolylineProjector const& polyline, Vector3 const& q);
    friend void sinew::projectMany(PolylineProjector const& polyline, Vector3 const* queries, std::size_t count,
                                   sinew::PolylineHit* hits);

    // What makes long polylines fast: built by the first projection, whichever thread comes first, and shared by
    // copies.
    class IndexHandle
    {
    public:
        IndexHandle() = default;
        SINEW_API IndexHandle(IndexHandle const& other) noexcept;
        SINEW_API IndexHandle(IndexHandle&& other) noexcept;
        SINEW_API IndexHandle& operator=(IndexHandle const& other) noexcept;
        SINEW_API IndexHandle& operator=(IndexHandle&& other) noexcept;
        SINEW_API ~IndexHandle();

        sinew::detail::PolylineIndex const& of(PolylineProjector const& polyline) const;

    private:
        mutable std::atomic<sinew::detail::PolylineIndex const*> index_{nullptr};
    };

    IndexHandle index_;
};
