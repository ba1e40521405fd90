#pragma once

/// The contenders of the benches that project on polylines, one call a query: sinew, the reference implementation, and
/// the AABB tree of CGAL over the segments.

#include <vector>

#ifdef SINEW_BENCH_CGAL
#include <CGAL/AABB_segment_primitive.h>
#include <CGAL/AABB_traits.h>
#include <CGAL/AABB_tree.h>
#include <CGAL/Simple_cartesian.h>
#endif

#include <sinew/fields/polyline_projector.h>

#include "fields/polylines.h"
#include "fields/reference_polyline.h"
#include "support/bits.h"

namespace bench::polylines {

/// Queries on all sides of the curve, within 0.5 of it along each axis.
inline std::vector<Vector3> around(std::vector<Vector3> const& points, int count, test::Random& random)
{
    std::vector<Vector3> queries;
    for (int i = 0; i < count; ++i) {
        Vector3 q = points[random.below(static_cast<int>(points.size()))] + random.point() * 0.5;
        if (points.front().z == 0.0) q.z = 0.0; // the queries of an island are in its plane
        queries.push_back(q);
    }
    return queries;
}

struct Sinew
{
    PolylineProjector polyline;
    explicit Sinew(std::vector<Vector3> const& points) : polyline(points) {}
    Vector3 operator()(Vector3 const& q) const { return sinew::closestPoint(polyline, q).point; }
};

struct Reference
{
    reference::Projector polyline;
    explicit Reference(std::vector<Vector3> const& points) : polyline(points) {}
    Vector3 operator()(Vector3 const& q) const { return polyline.project(q).point; }
};

#ifdef SINEW_BENCH_CGAL
struct Cgal
{
    using Kernel = CGAL::Simple_cartesian<double>;
    using Segments = std::vector<Kernel::Segment_3>;
    using Primitive = CGAL::AABB_segment_primitive<Kernel, Segments::const_iterator>;

    Segments segments;
    CGAL::AABB_tree<CGAL::AABB_traits<Kernel, Primitive>> tree;

    explicit Cgal(std::vector<Vector3> const& points)
    {
        auto const convert = [](Vector3 const& v) { return Kernel::Point_3(v.x, v.y, v.z); };
        for (std::size_t i = 1; i < points.size(); ++i)
            segments.emplace_back(convert(points[i - 1]), convert(points[i]));
        tree.insert(segments.begin(), segments.end());
        tree.accelerate_distance_queries();
    }
    Vector3 operator()(Vector3 const& q) const
    {
        Kernel::Point_3 const p = tree.closest_point(Kernel::Point_3(q.x, q.y, q.z));
        return {p.x(), p.y(), p.z()};
    }
};
#endif

} // namespace bench::polylines
