#include <sinew/meshfunc/extrapolate_anywhere.h>

#include <algorithm>
#include <vector>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/detail/element_count.h>
#include <sinew/meshfunc/detail/good_triangle.h>
#include <sinew/meshfunc/detail/interpolation.h>
#include <sinew/meshfunc/detail/location_of.h>
#include <sinew/meshfunc/detail/mesh_search.h>
#include <sinew/meshfunc/detail/value_arrays.h>
#include <sinew/meshfunc/detail/visit_with_progress.h>
#include <sinew/meshfunc/detail/visiting_order.h>

namespace sinew {

using namespace detail;

namespace {

using Point = tzNM::vect2<double>;

// Number of points between two looks at the meter. Small, because a search through all triangles can take milliseconds.
constexpr std::size_t kSearchesPerLook = 8;

// Computes the result of point `i`, and returns whether it has one.
bool extrapolateTo(ValueArrays const& out, MeshFunction2D const& function, std::size_t i, Point const& p)
{
    bool const isFound = extrapolateAnywhere(function, p, out.values ? out.values + i : nullptr,
                                             out.scalars ? out.scalars + i : nullptr);
    if (out.found) out.found[i] = isFound;
    return isFound;
}

// What `extrapolate` does with a point that evaluation has refused, if `extrapolateFlag` is set.
bool continueBoundary(MeshFunction2D const& f, Point const& p, Point* out, float* outScalar)
{
    PreparedTriangle triangle;
    if (!hasGrid(f) || !prepareTriangleOf(f, nearestBoundary(f, p).triangle, &triangle)) return false;
    interpolate(f, triangle.corners, weightsOf(triangle, p), out, outScalar);
    return true;
}

} // namespace

// Before a boundary triangle is continued, the triangles that evaluation refuses are asked whether they contain the
// point: an inner triangle may be well-shaped and only small. The older extrapolation has its result at once.
bool extrapolateAnywhere(MeshFunction2D const& function, Point const& p, Point* out, float* outScalar)
{
    bool const isAsked = asksDefinedMethods(function, p), hasBoundary = function.extrapolateFlag;
    if (isAsked && (hasBoundary ? function.evaluate(p, out, outScalar) : function.extrapolate(p, out, outScalar))) {
        return true;
    }
    FoundTriangle found = findContaining(function, p);
    if (found.rule == LocationRule::none) {
        if (isAsked && hasBoundary && continueBoundary(function, p, out, outScalar)) return true;
        found = findNearest(function, p);
    }
    if (found.rule == LocationRule::none) return false;
    interpolate(function, found.triangle.scaled.corners, found.triangle.weightsAt(p), out, outScalar);
    return true;
}

Location locateAnywhere(MeshFunction2D const& function, Point const& p)
{
    bool const isAsked = asksDefinedMethods(function, p), hasBoundary = function.extrapolateFlag;
    if (isAsked) {
        Location const defined = locate(function, p, hasBoundary ? Outside::excluded : Outside::extrapolated);
        if (defined.rule != LocationRule::none) return defined;
    }
    FoundTriangle found = findContaining(function, p);
    if (found.rule == LocationRule::none) {
        if (isAsked && hasBoundary && hasGrid(function)) {
            Location const continued = locationAtBoundary(function, nearestBoundary(function, p), p);
            if (continued.rule != LocationRule::none) return continued;
        }
        found = findNearest(function, p);
    }
    if (found.rule == LocationRule::none) return {};
    Location location = locationOf(found.triangle.scaled, found.triangle.weightsAt(p), found.rule);
    location.loop = found.loop;
    location.segment = found.segment;
    location.distSq = found.distSq;
    return location;
}

std::size_t extrapolateAnywhereMany(MeshFunction2D const& function, RealArray const& points, Point* values,
                                    float* scalars, bool* found)
{
    ValueArrays const out{values, scalars, found};
    PointView const view(points);
    std::size_t foundCount = 0;
    VisitingOrder(function, view).visit(view, [&](std::size_t i, Point const& p) {
        foundCount += extrapolateTo(out, function, i, p) ? 1U : 0U;
    });
    return foundCount;
}

std::optional<std::size_t> extrapolateAnywhereMany(MeshFunction2D const& function, RealArray const& points,
                                                   Point* values, float* scalars, bool* found, Progress const& progress)
{
    return withProgress(progress, [&](ProgressMeter& meter) {
        PointView const view(points);
        OwnValueArrays results({values, scalars, found}, static_cast<std::int64_t>(view.count));
        ValueArrays const own = results.arrays();
        std::size_t foundCount = 0;
        visitWithProgress(
            function, view, meter,
            [&](std::size_t i, Point const& p) { foundCount += extrapolateTo(own, function, i, p) ? 1U : 0U; },
            kSearchesPerLook);
        meter.finish();
        results.copy(0, 0, view.count);
        return foundCount;
    });
}

std::size_t locateAnywhereMany(MeshFunction2D const& function, RealArray const& points, Location* locations)
{
    PointView const view(points);
    std::size_t located = 0;
    VisitingOrder(function, view).visit(view, [&](std::size_t i, Point const& p) {
        locations[i] = locateAnywhere(function, p);
        located += locations[i].rule != LocationRule::none ? 1U : 0U;
    });
    return located;
}

std::optional<std::size_t> locateAnywhereMany(MeshFunction2D const& function, RealArray const& points,
                                              Location* locations, Progress const& progress)
{
    return withProgress(progress, [&](ProgressMeter& meter) {
        PointView const view(points);
        std::vector<Location> results(elementCount<Location>(view.count));
        std::size_t located = 0;
        visitWithProgress(
            function, view, meter,
            [&](std::size_t i, Point const& p) {
                results[i] = locateAnywhere(function, p);
                located += results[i].rule != LocationRule::none ? 1U : 0U;
            },
            kSearchesPerLook);
        meter.finish();
        std::copy(results.begin(), results.end(), locations);
        return located;
    });
}

} // namespace sinew
