#include <sinew/fields/polyline_projector.h>

#include <algorithm>
#include <limits>
#include <memory>

#include <sinew/core/detail/real_array.h>
#include <sinew/core/tolerances.h>
#include <sinew/core/vector_geometry.h>
#include <sinew/detail/as_index.h>
#include <sinew/fields/detail/polyline_index.h>
#include <sinew/fields/detail/polyline_parts.h>
#include <sinew/fields/detail/polyline_search.h>
#include <sinew/fields/detail/query_order.h>

using sinew::PolylineHit;
using sinew::detail::asIndex;
using sinew::detail::closestPointOnSegment;
using sinew::detail::kBoundedSearchVertices;
using sinew::detail::PolylineIndex;
using sinew::detail::PolylineIndexAccess;
using sinew::detail::QueryOrder;
using sinew::detail::SearchPath;

namespace {

constexpr double kUnknown = std::numeric_limits<double>::infinity(); // a squared distance that rules out nothing

bool hasNaN(Vector3 const& v)
{
    return v.x != v.x || v.y != v.y || v.z != v.z;
}

// The hit at `point`, and the squared distance to it.
PolylineHit hitAt(int segment, double t, Vector3 const& point, Vector3 const& q)
{
    return {segment, t, point, distSq(q, point)};
}

PolylineHit hitByScan(std::vector<Vector3> const& points, Vector3 const& q)
{
    int const segment = hasNaN(q) ? -1 : sinew::detail::nearestSegmentByScan(points, q);
    return segment < 0 ? PolylineHit() : closestPointOnSegment(points, segment, q);
}

// For at least kBoundedSearchVertices vertices. Some segment must be as near as `knownDistSq`, a squared distance.
PolylineHit hitByIndex(PolylineProjector const& polyline, PolylineIndex const& index, Vector3 const& q,
                       double knownDistSq, SearchPath* path)
{
    int segment = index.nearestSegment(polyline.points, q, knownDistSq, path);
    if (segment < 0) segment = sinew::detail::nearestSegmentByBounds(polyline.points, polyline.arcLengths, q);
    return closestPointOnSegment(polyline.points, segment, q);
}

// From this number of vertices on sorting the queries saves more time than it takes.
constexpr std::size_t kSortedVertices = 1000;

template <typename PointAt>
QueryOrder orderOf(PolylineProjector const& polyline, PolylineIndex const& index, std::size_t count,
                   PointAt const& pointAt)
{
    bool const pays = polyline.points.size() >= kSortedVertices && index.tree().covers(polyline.points.front());
    if (!pays) return {};
    Vector3 low, high;
    index.tree().box(&low, &high);
    return {count, pointAt, low, high};
}

// The hits for the queries pointAt(0) .. pointAt(count - 1).
template <typename PointAt>
void projectEach(PolylineProjector const& polyline, std::size_t count, PointAt const& pointAt, PolylineHit* hits)
{
    std::vector<Vector3> const& points = polyline.points;
    if (count == 0) return;
    if (points.size() < kBoundedSearchVertices) {
        for (std::size_t i = 0; i < count; ++i) hits[i] = sinew::closestPoint(polyline, pointAt(i));
        return;
    }
    PolylineIndex const& index = PolylineIndexAccess::of(polyline);
    SearchPath path;
    std::size_t segment = 0; // of the previous query
    orderOf(polyline, index, count, pointAt).visit(count, pointAt, [&](std::size_t i, Vector3 const& q) {
        // If consecutive queries are near each other, the segment of one query is nearly the nearest one of the next.
        double const known = distSqToLineSegment(q, points[segment], points[segment + 1], nullptr);
        hits[i] = hitByIndex(polyline, index, q, known, &path);
        segment = asIndex(hits[i].segment);
    });
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

PolylineIndex const& detail::PolylineIndexAccess::of(PolylineProjector const& polyline)
{
    return polyline.index_.of(polyline);
}

PolylineHit detail::closestPointOnSegment(std::vector<Vector3> const& points, int segment, Vector3 const& q)
{
    Vector3 const& a = points[asIndex(segment)];
    Vector3 const& b = points[asIndex(segment + 1)];
    Vector3 const e = b - a;
    double const s = (q - a) * e;
    if (s <= kGeometricZero) return hitAt(segment, 0.0, a, q);
    // Written so that NaN counts as inside the segment.
    if ((a - b) * (q - b) <= kGeometricZero) return hitAt(segment, 1.0, b, q);
    double const t = s / e.lengthSq();
    return hitAt(segment, t, a + t * e, q);
}

PolylineHit closestPoint(PolylineProjector const& polyline, Vector3 const& q)
{
    std::vector<Vector3> const& points = polyline.points;
    if (points.size() < 2) return {};
    if (points.size() < kBoundedSearchVertices) return hitByScan(points, q);
    return hitByIndex(polyline, detail::PolylineIndexAccess::of(polyline), q, kUnknown, nullptr);
}

void projectMany(PolylineProjector const& polyline, Vector3 const* queries, std::size_t count, PolylineHit* hits)
{
    projectEach(
        polyline, count, [queries](std::size_t i) { return queries[i]; }, hits);
}

void projectMany(PolylineProjector const& polyline, RealArray const& queries, PolylineHit* hits)
{
    projectEach(
        polyline, queries.count, [&](std::size_t i) { return detail::vectorAt(queries, i); }, hits);
}

double arcLengthOf(PolylineProjector const& polyline, PolylineHit const& hit)
{
    std::vector<double> const& lengths = polyline.arcLengths;
    if (hit.segment < 0 || asIndex(hit.segment) + 1 >= lengths.size()) return std::numeric_limits<double>::quiet_NaN();
    double const start = lengths[asIndex(hit.segment)];
    double const end = lengths[asIndex(hit.segment) + 1];
    // At the ends no sum: start + (end - start) can differ from end in the last bit, and `end` may be infinite.
    if (hit.t == 0.0) return start;
    if (hit.t == 1.0) return end;
    return start + hit.t * (end - start);
}

PolylineHit pointAtArcLength(PolylineProjector const& polyline, double length)
{
    std::vector<double> const& lengths = polyline.arcLengths;
    if (lengths.size() < 2 || length != length) return {};
    int const lastSegment = static_cast<int>(lengths.size()) - 2;
    if (length <= 0.0) return {0, 0.0, polyline.points.front(), 0.0};
    if (length >= lengths.back()) return {lastSegment, 1.0, polyline.points.back(), 0.0};
    // The first vertex beyond the length. A NaN arc length counts as beyond: all those after it are NaN too.
    auto const isReached = [length](double atVertex) { return atVertex <= length; };
    auto const beyond = std::partition_point(lengths.begin() + 1, lengths.end(), isReached);
    int const segment = static_cast<int>(beyond - lengths.begin()) - 1;
    Vector3 const& a = polyline.points[asIndex(segment)];
    Vector3 const& b = polyline.points[asIndex(segment) + 1];
    double const start = lengths[asIndex(segment)];
    double const t = (length - start) / (*beyond - start);
    if (t == 0.0) return {segment, t, a, 0.0};
    if (t == 1.0) return {segment, t, b, 0.0}; // by rounding
    return {segment, t, a + t * (b - a), t != t ? t : 0.0};
}

} // namespace sinew
