// Mesh functions with progress: queries of arrays, and building.

#include <sinew/meshfunc/mesh_function_2d.h>

#include <cstdint>
#include <utility>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/meshfunc/detail/mesh_search.h>
#include <sinew/meshfunc/detail/value_arrays.h>
#include <sinew/meshfunc/detail/visit_with_progress.h>

using Point = tzNM::vect2<double>;

namespace sinew {

using namespace detail;

namespace {

using Query = bool (MeshFunction2D::*)(Point const&, Point*, float*) const;

template <typename Points>
std::optional<std::size_t> queryMany(MeshFunction2D const& function, Query query, Points const& points,
                                     ValueArrays const& wanted, Progress const& progress)
{
    return withProgress(progress, [&](ProgressMeter& meter) {
        OwnValueArrays results(wanted, static_cast<std::int64_t>(points.count));
        ValueArrays const own = results.arrays();
        std::size_t foundCount = 0;
        visitWithProgress(function, points, meter, [&](std::size_t i, Point const& p) {
            bool const hit =
                (function.*query)(p, own.values ? own.values + i : nullptr, own.scalars ? own.scalars + i : nullptr);
            if (own.found) own.found[i] = hit;
            foundCount += hit ? 1U : 0U;
        });
        meter.finish();
        results.copy(0, 0, points.count);
        return foundCount;
    });
}

// A function with the vertices and triangles of `f`, and nothing derived from them.
MeshFunction2D withoutDerived(MeshFunction2D const& f)
{
    MeshFunction2D result(f.extrapolateFlag);
    result.params = f.params;
    result.values = f.values;
    result.facets = f.facets;
    result.domainMin = f.domainMin; // left unwritten for a function without a grid
    result.domainMax = f.domainMax;
    return result;
}

} // namespace

void MeshFunctionAccess::moveDerived(MeshFunction2D* source, MeshFunction2D* f) noexcept
{
    f->gridCells = std::move(source->gridCells);
    f->domainMin = source->domainMin;
    f->domainMax = source->domainMax;
    for (int k = 0; k < 2; ++k) {
        f->gridScale[k] = source->gridScale[k];
        f->gridSize[k] = source->gridSize[k];
    }
    f->boundaryProjectors = std::move(source->boundaryProjectors);
    f->boundaryFacets = std::move(source->boundaryFacets);
    f->locator_ = std::move(source->locator_);
    f->loopBoxes_ = std::move(source->loopBoxes_);
}

std::optional<std::size_t> evaluateMany(MeshFunction2D const& function, Point const* points, std::size_t count,
                                        Point* values, float* scalars, bool* found, Progress const& progress)
{
    return queryMany(function, &MeshFunction2D::evaluate, PointArray{points, count}, {values, scalars, found},
                     progress);
}

std::optional<std::size_t> evaluateMany(MeshFunction2D const& function, RealArray const& points, Point* values,
                                        float* scalars, bool* found, Progress const& progress)
{
    return queryMany(function, &MeshFunction2D::evaluate, PointView(points), {values, scalars, found}, progress);
}

std::optional<std::size_t> extrapolateMany(MeshFunction2D const& function, Point const* points, std::size_t count,
                                           Point* values, float* scalars, bool* found, Progress const& progress)
{
    return queryMany(function, &MeshFunction2D::extrapolate, PointArray{points, count}, {values, scalars, found},
                     progress);
}

std::optional<std::size_t> extrapolateMany(MeshFunction2D const& function, RealArray const& points, Point* values,
                                           float* scalars, bool* found, Progress const& progress)
{
    return queryMany(function, &MeshFunction2D::extrapolate, PointView(points), {values, scalars, found}, progress);
}

std::optional<MeshFunction2D> makeMeshFunction2D(std::vector<Point> const& params, std::vector<Point> const& values,
                                                 std::vector<int> const& facets, std::vector<float> const& normaldots,
                                                 Progress const& progress)
{
    return withProgress(progress, [&](ProgressMeter& meter) {
        MeshFunction2D result(true);
        result.params = params;
        result.values = values;
        result.facets = facets;
        result.normaldots = normaldots;
        MeshFunctionAccess::initEvaluatorHelper(&result, &meter);
        meter.finish();
        return result;
    });
}

bool initEvaluatorHelper(MeshFunction2D& function, Progress const& progress)
{
    auto const finished = withProgress(progress, [&](ProgressMeter& meter) {
        MeshFunction2D built = withoutDerived(function);
        MeshFunctionAccess::initEvaluatorHelper(&built, &meter);
        meter.finish();
        MeshFunctionAccess::moveDerived(&built, &function);
        return true;
    });
    return finished.has_value();
}

bool eraseExtraTriangles(MeshFunction2D& function, EmptyRectTester const& tester, Progress const& progress)
{
    auto const finished = withProgress(progress, [&](ProgressMeter& meter) {
        bool const isErased = function.facets.size() % kCorners == 0;
        MeshFunction2D reduced(true);
        if (isErased) {
            reduced = withoutDerived(function);
            reduced.normaldots = function.normaldots;
            MeshFunctionAccess::eraseExtraTriangles(&reduced, tester, &meter);
        }
        meter.finish();
        if (!isErased) return true;
        function.params = std::move(reduced.params);
        function.values = std::move(reduced.values);
        function.normaldots = std::move(reduced.normaldots);
        function.facets = std::move(reduced.facets);
        MeshFunctionAccess::moveDerived(&reduced, &function);
        return true;
    });
    return finished.has_value();
}

} // namespace sinew
