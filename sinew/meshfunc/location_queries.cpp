#include <sinew/meshfunc/location.h>

#include <sinew/detail/as_index.h>
#include <sinew/meshfunc/detail/interpolation.h>
#include <sinew/meshfunc/detail/location_of.h>
#include <sinew/meshfunc/detail/mesh_search.h>
#include <sinew/meshfunc/detail/visiting_order.h>

namespace sinew {

using namespace detail;

namespace {

using Point = tzNM::vect2<double>;

Location locateByWalk(MeshFunction2D const& f, Point const& p)
{
    NearestEdge const nearest = walkToNearestEdge(f, p);
    PreparedTriangle triangle;
    if (!prepareTriangleOf(f, nearest.triangle, &triangle)) return {};
    Location location = locationOf(triangle, weightsOf(triangle, p), LocationRule::nearestEdge);
    location.distSq = nearest.distSq;
    return location;
}

template <typename Points>
std::size_t locateEach(MeshFunction2D const& function, Points const& points, Location* locations, Outside outside)
{
    std::size_t located = 0;
    VisitingOrder(function, points).visit(points, [&](std::size_t i, Point const& p) {
        locations[i] = locate(function, p, outside);
        located += locations[i].rule != LocationRule::none ? 1U : 0U;
    });
    return located;
}

template <typename T>
bool blendComponents(Location const& location, T const* attributes, std::size_t components, std::size_t stride, T* out)
{
    if (location.rule == LocationRule::none) return false;
    Weights const weights = {location.weights[1], location.weights[2], location.weights[0]};
    T const* const first = attributes + stride * asIndex(location.corners[0]);
    T const* const second = attributes + stride * asIndex(location.corners[1]);
    T const* const third = attributes + stride * asIndex(location.corners[2]);
    for (std::size_t c = 0; c < components; ++c) out[c] = interpolated(weights, first[c], second[c], third[c]);
    return true;
}

template <typename T>
std::size_t blendArray(Location const* locations, std::size_t count, T const* attributes, std::size_t components,
                       std::size_t stride, T* out, std::size_t outStride)
{
    std::size_t blended = 0;
    for (std::size_t i = 0; i < count; ++i) {
        blended += blendComponents(locations[i], attributes, components, stride, out + outStride * i) ? 1U : 0U;
    }
    return blended;
}

} // namespace

Location locate(MeshFunction2D const& function, Point const& p, Outside outside)
{
    if (!hasGrid(function)) return {};
    bool const isExtrapolated = outside == Outside::extrapolated;
    if (isExtrapolated && !function.extrapolateFlag) return locateByWalk(function, p);
    Location location;
    bool const isInside = findAccepting(function, p, [&](TriangleHit const& hit) {
        location = locationOf(*hit.triangle, hit.weights, LocationRule::inside);
    });
    if (isInside || !isExtrapolated) return location;
    return locationAtBoundary(function, nearestBoundary(function, p), p);
}

std::size_t locateMany(MeshFunction2D const& function, Point const* points, std::size_t count, Location* locations,
                       Outside outside)
{
    return locateEach(function, PointArray{points, count}, locations, outside);
}

std::size_t locateMany(MeshFunction2D const& function, RealArray const& points, Location* locations, Outside outside)
{
    return locateEach(function, PointView(points), locations, outside);
}

bool blend(Location const& location, double const* attributes, std::size_t components, std::size_t stride, double* out)
{
    return blendComponents(location, attributes, components, stride, out);
}

bool blend(Location const& location, float const* attributes, std::size_t components, std::size_t stride, float* out)
{
    return blendComponents(location, attributes, components, stride, out);
}

std::size_t blendMany(Location const* locations, std::size_t count, double const* attributes, std::size_t components,
                      std::size_t stride, double* out, std::size_t outStride)
{
    return blendArray(locations, count, attributes, components, stride, out, outStride);
}

std::size_t blendMany(Location const* locations, std::size_t count, float const* attributes, std::size_t components,
                      std::size_t stride, float* out, std::size_t outStride)
{
    return blendArray(locations, count, attributes, components, stride, out, outStride);
}

} // namespace sinew
