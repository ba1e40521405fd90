#include <sinew/fields/polyline_projector.h>

#include <sinew/core/tolerances.h>
#include <sinew/fields/detail/polyline_search.h>

using sinew::kGeometricZero;
using sinew::PolylineHit;

namespace {

// From this many vertices on the bounded search answers. The two may differ in which of two equally near segments
// they name, so the limit is part of the result.
constexpr std::size_t kBoundedSearchVertices = 20;

bool hasNaN(Vector3 const& v)
{
    return v.x != v.x || v.y != v.y || v.z != v.z;
}

PolylineHit closestPointOnSegment(std::vector<Vector3> const& points, int segment, Vector3 const& q)
{
    Vector3 const& a = points[segment];
    Vector3 const& b = points[segment + 1];
    Vector3 const e = b - a;
    double const s = (q - a) * e;
    if (s <= kGeometricZero) return {segment, 0.0, a};
    // Written so that NaN counts as inside the segment.
    if ((a - b) * (q - b) <= kGeometricZero) return {segment, 1.0, b};
    double const t = s / e.lengthSq();
    return {segment, t, a + t * e};
}

} // namespace

PolylineProjector::PolylineProjector(std::vector<Vector3> const& vertices)
    : points(vertices), arcLengths(sinew::detail::arcLengths(vertices))
{
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

PolylineHit closestPoint(PolylineProjector const& polyline, Vector3 const& q)
{
    std::vector<Vector3> const& points = polyline.points;
    if (points.size() < 2) return {};
    int segment = -1;
    if (points.size() < kBoundedSearchVertices) {
        if (hasNaN(q)) return {};
        segment = detail::nearestSegmentByScan(points, q);
    } else {
        segment = detail::nearestSegmentByBounds(points, polyline.arcLengths, q);
    }
    return segment < 0 ? PolylineHit() : closestPointOnSegment(points, segment, q);
}

void projectMany(PolylineProjector const& polyline, Vector3 const* queries, std::size_t count, PolylineHit* hits)
{
    for (std::size_t i = 0; i < count; ++i) hits[i] = closestPoint(polyline, queries[i]);
}

} // namespace sinew
