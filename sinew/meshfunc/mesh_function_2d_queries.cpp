// The queries of mesh functions. All are const and change no member.
//
// Source: C. Ericson, Real-Time Collision Detection, 2005, sections 3.4 (barycentric weights) and 5.1.2 (distance to a
// segment).

#include <sinew/meshfunc/mesh_function_2d.h>

#include <limits>

#include <sinew/core/tolerances.h>
#include <sinew/detail/as_index.h>
#include <sinew/meshfunc/detail/interpolation.h>
#include <sinew/meshfunc/detail/mesh_cells.h>
#include <sinew/meshfunc/detail/mesh_search.h>
#include <sinew/meshfunc/detail/prepared_triangle.h>
#include <sinew/meshfunc/detail/visiting_order.h>

using Point = tzNM::vect2<double>;
using namespace sinew::detail;

namespace {

// The ends of a segment for the projection of a point on it, in units of the segment's squared length. kSegmentEnd is
// the double written here, which 1 + 1e-8 need not equal.
constexpr double kSegmentBegin = 1e-8; // before the first vertex
constexpr double kSegmentEnd = 1.00000001;

bool isVertex(MeshFunction2D const& f, int i)
{
    return i >= 0 && asIndex(i) < vertexCountOf(f);
}

// Applies the affine map of a triangle at any point. False if there is no such triangle or if it is degenerate.
bool applyTriangle(MeshFunction2D const& f, int t, Point const& p, Point* out, float* outScalar)
{
    PreparedTriangle triangle;
    if (!prepareTriangleOf(f, t, &triangle)) return false;
    interpolate(f, triangle.corners, weightsOf(triangle, p), out, outScalar);
    return true;
}

} // namespace

bool MeshFunction2D::iEvalInFacet(int i0, int i1, int i2, Point const& p, Point* out, float* outScalar,
                                  bool checkInside) const
{
    if (!isVertex(*this, i0) || !isVertex(*this, i1) || !isVertex(*this, i2)) return false;
    int const corners[kCorners] = {i0, i1, i2};
    PreparedTriangle triangle;
    if (!prepareTriangle(params, corners, &triangle)) return false;
    Weights const weights = weightsOf(triangle, p);
    if (checkInside && !weights.accepted()) return false;
    interpolate(*this, corners, weights, out, outScalar);
    return true;
}

double MeshFunction2D::iDistToEdge(int i, int j, Point const& p, bool* onSegment, bool useValues) const
{
    if (onSegment) *onSegment = false;
    if (!isVertex(*this, i) || !isVertex(*this, j)) return std::numeric_limits<double>::quiet_NaN();
    std::vector<Point> const& points = useValues ? values : params;
    Point const& a = points[asIndex(i)];
    Point const& b = points[asIndex(j)];
    Point const e = b - a;
    double const l2 = e.lengthSq();
    double const d2 = (p - a).lengthSq();
    if (l2 < sinew::kGramZero) return d2;
    double const t = e * (p - a);
    if (t < -l2 * kSegmentBegin) return d2;
    if (t > l2 * kSegmentEnd) return (p - b).lengthSq();
    if (onSegment) *onSegment = true;
    return d2 - t * t / l2;
}

bool MeshFunction2D::evaluate(Point const& p, Point* out, float* outScalar) const
{
    return findAccepting(*this, p, [&](TriangleHit const& hit) {
        interpolate(*this, hit.triangle->corners, hit.weights, out, outScalar);
    });
}

bool MeshFunction2D::extrapolate(Point const& p, Point* out, float* outScalar) const
{
    if (!extrapolateFlag) return extrapolateOld(p, out, outScalar);
    if (!hasGrid(*this)) return false;
    if (evaluate(p, out, outScalar)) return true;
    return applyTriangle(*this, nearestBoundary(*this, p).triangle, p, out, outScalar);
}

bool MeshFunction2D::extrapolateOld(Point const& p, Point* out, float* outScalar) const
{
    return hasGrid(*this) && applyTriangle(*this, walkToNearestEdge(*this, p).triangle, p, out, outScalar);
}

bool MeshFunction2D::getAnyPointInDomain(Point& out) const
{
    for (std::size_t t = 0; t < facets.size() / kCorners; ++t) {
        int corners[kCorners];
        if (!triangleCorners(facets, t, vertexCountOf(*this), corners)) continue;
        Point const& a = params[asIndex(corners[0])];
        Point const& b = params[asIndex(corners[1])];
        Point const& c = params[asIndex(corners[2])];
        constexpr double kThird = 0.3333333333333333; // a product, not a division by 3: the bits differ
        out = Point((a.x + b.x + c.x) * kThird, (a.y + b.y + c.y) * kThird);
        return true;
    }
    return false;
}

namespace sinew {

namespace {

using Query = bool (MeshFunction2D::*)(Point const&, Point*, float*) const;

template <typename Points>
std::size_t queryMany(MeshFunction2D const& function, Query query, Points const& points, Point* values, float* scalars,
                      bool* found)
{
    std::size_t foundCount = 0;
    VisitingOrder(function, points).visit(points, [&](std::size_t i, Point const& p) {
        bool const hit = (function.*query)(p, values ? values + i : nullptr, scalars ? scalars + i : nullptr);
        if (found) found[i] = hit;
        foundCount += hit ? 1U : 0U;
    });
    return foundCount;
}

} // namespace

std::size_t evaluateMany(MeshFunction2D const& function, Point const* points, std::size_t count, Point* values,
                         float* scalars, bool* found)
{
    return queryMany(function, &MeshFunction2D::evaluate, detail::PointArray{points, count}, values, scalars, found);
}

std::size_t evaluateMany(MeshFunction2D const& function, RealArray const& points, Point* values, float* scalars,
                         bool* found)
{
    return queryMany(function, &MeshFunction2D::evaluate, detail::PointView(points), values, scalars, found);
}

std::size_t extrapolateMany(MeshFunction2D const& function, Point const* points, std::size_t count, Point* values,
                            float* scalars, bool* found)
{
    return queryMany(function, &MeshFunction2D::extrapolate, detail::PointArray{points, count}, values, scalars, found);
}

std::size_t extrapolateMany(MeshFunction2D const& function, RealArray const& points, Point* values, float* scalars,
                            bool* found)
{
    return queryMany(function, &MeshFunction2D::extrapolate, detail::PointView(points), values, scalars, found);
}

} // namespace sinew
