#include <sinew/fields/polyline_projector.h>

#include <limits>
#include <memory>

#include <sinew/core/tolerances.h>
#include <sinew/core/vector_geometry.h>
#include <sinew/detail/as_index.h>
#include <sinew/fields/detail/polyline_index.h>
#include <sinew/fields/detail/polyline_search.h>

using sinew::kGeometricZero;
using sinew::PolylineHit;
using sinew::detail::asIndex;
using sinew::detail::PolylineIndex;

namespace {

// From this number of vertices on the bounded search defines the result. The two searches may name different segments
// among equally near ones, so the limit is part of the result.
constexpr std::size_t kBoundedSearchVertices = 20;
constexpr double kUnknown = std::numeric_limits<double>::infinity(); // a squared distance that rules out nothing

bool hasNaN(Vector3 const& v)
{
    return v.x != v.x || v.y != v.y || v.z != v.z;
}

PolylineHit closestPointOnSegment(std::vector<Vector3> const& points, int segment, Vector3 const& q)
{
    Vector3 const& a = points[asIndex(segment)];
    Vector3 const& b = points[asIndex(segment + 1)];
    Vector3 const e = b - a;
    double const s = (q - a) * e;
    if (s <= kGeometricZero) return {segment, 0.0, a};
    // Written so that NaN counts as inside the segment.
    if ((a - b) * (q - b) <= kGeometricZero) return {segment, 1.0, b};
    double const t = s / e.lengthSq();
    return {segment, t, a + t * e};
}

PolylineHit hitByScan(std::vector<Vector3> const& points, Vector3 const& q)
{
    int const segment = hasNaN(q) ? -1 : sinew::detail::nearestSegmentByScan(points, q);
    return segment < 0 ? PolylineHit() : closestPointOnSegment(points, segment, q);
}

// For at least kBoundedSearchVertices vertices. Some segment must be as near as `knownDistSq`, a squared distance.
PolylineHit hitByIndex(PolylineProjector const& polyline, PolylineIndex const& index, Vector3 const& q,
                       double knownDistSq)
{
    int segment = index.nearestSegment(polyline.points, q, knownDistSq);
    if (segment < 0) segment = sinew::detail::nearestSegmentByBounds(polyline.points, polyline.arcLengths, q);
    return closestPointOnSegment(polyline.points, segment, q);
}

} // namespace

PolylineProjector::PolylineProjector(std::vector<Vector3> const& vertices)
    : points(vertices), arcLengths(sinew::detail::arcLengths(vertices))
{
}

PolylineProjector::IndexHandle::IndexHandle(IndexHandle const& other) noexcept
    : index_(other.index_.load(std::memory_order_acquire))
{
    if (PolylineIndex const* const index = index_) index->addOwner();
}

PolylineProjector::IndexHandle::IndexHandle(IndexHandle&& other) noexcept
    : index_(other.index_.exchange(nullptr, std::memory_order_acq_rel))
{
}

PolylineProjector::IndexHandle& PolylineProjector::IndexHandle::operator=(IndexHandle const& other) noexcept
{
    return *this = IndexHandle(other);
}

PolylineProjector::IndexHandle& PolylineProjector::IndexHandle::operator=(IndexHandle&& other) noexcept
{
    other.index_ = index_.exchange(other.index_);
    return *this;
}

PolylineProjector::IndexHandle::~IndexHandle()
{
    if (PolylineIndex const* const index = index_) index->removeOwner();
}

PolylineIndex const& PolylineProjector::IndexHandle::of(PolylineProjector const& polyline) const
{
    PolylineIndex const* index = index_.load(std::memory_order_acquire);
    if (index) return *index;
    // Several threads may build an index at the same time. The first one to finish publishes its index; the others
    // delete theirs.
    auto built = std::make_unique<PolylineIndex const>(polyline.points, polyline.arcLengths);
    if (index_.compare_exchange_strong(index, built.get(), std::memory_order_acq_rel)) return *built.release();
    return *index;
}

void PolylineProjector::project(Vector3 const& q)
{
    PolylineHit const hit = sinew::closestPoint(*this, q);
    if (hit.segment < 0) return;
    segment = hit.segment;
    t = hit.t;
    point = hit.point;
}

namespace sinew {

struct detail::PolylineIndexAccess
{
    static PolylineIndex const& of(PolylineProjector const& polyline) { return polyline.index_.of(polyline); }
};

PolylineHit closestPoint(PolylineProjector const& polyline, Vector3 const& q)
{
    std::vector<Vector3> const& points = polyline.points;
    if (points.size() < 2) return {};
    if (points.size() < kBoundedSearchVertices) return hitByScan(points, q);
    return hitByIndex(polyline, detail::PolylineIndexAccess::of(polyline), q, kUnknown);
}

void projectMany(PolylineProjector const& polyline, Vector3 const* queries, std::size_t count, PolylineHit* hits)
{
    std::vector<Vector3> const& points = polyline.points;
    if (points.size() < kBoundedSearchVertices) {
        for (std::size_t i = 0; i < count; ++i) hits[i] = closestPoint(polyline, queries[i]);
        return;
    }
    detail::PolylineIndex const& index = detail::PolylineIndexAccess::of(polyline);
    double known = kUnknown;
    for (std::size_t i = 0; i < count; ++i) {
        hits[i] = hitByIndex(polyline, index, queries[i], known);
        if (i + 1 == count) return;
        // If consecutive queries are near each other, the segment of one query is nearly the nearest one of the next.
        std::size_t const segment = asIndex(hits[i].segment);
        known = distSqToLineSegment(queries[i + 1], points[segment], points[segment + 1], nullptr);
    }
}

} // namespace sinew
