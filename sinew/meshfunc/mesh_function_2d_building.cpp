// Building and rebuilding what is derived from vertices and triangles. The uniform grid of lists: C. Ericson, Real-Time
// Collision Detection, 2005, section 7.1.

#include <sinew/meshfunc/mesh_function_2d.h>

#include <algorithm>
#include <utility>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/core/tolerances.h>
#include <sinew/detail/as_index.h>
#include <sinew/meshfunc/detail/boundary_loops.h>
#include <sinew/meshfunc/detail/loop_boxes.h>
#include <sinew/meshfunc/detail/mesh_cells.h>
#include <sinew/meshfunc/detail/mesh_search.h>
#include <sinew/meshfunc/detail/mesh_view.h>
#include <sinew/meshfunc/detail/triangle_locator.h>

using Point = tzNM::vect2<double>;
using namespace sinew::detail;

namespace {

// Part of the domain's extent by which the grid is larger than the domain, on each side.
constexpr double kMargin = 0.01;

// The value of `gridScale` while there is no grid.
constexpr double kNoScale = -1;

// The fractions at which the steps of building end.
constexpr double kListed = 0.3;
constexpr double kLocatorBuilt = 0.4;
constexpr double kLoopsFound = 0.9;

// Number of triangles that are listed between two looks at the meter.
constexpr std::size_t kTrianglesPerLook = 1024;

// Grows the interval to hold one coordinate. NaN changes nothing. If the first coordinate was NaN, the interval stays
// NaN.
void include(double c, double* low, double* high)
{
    if (*low > c) {
        *low = c;
    } else if (c > *high) {
        *high = c;
    }
}

// The columns and rows of cells that the vertices of a triangle span.
struct CellRange
{
    int low[2];
    int high[2];
};

CellRange cellRange(MeshFunction2D const& f, int const corners[kCorners])
{
    CellRange range;
    for (int k = 0; k < 2; ++k) {
        for (std::size_t corner = 0; corner < kCorners; ++corner) {
            double const s = (f.params[asIndex(corners[corner])][k] - f.domainMin[k]) * f.gridScale[k];
            int const cell = cellOfCoordinate(s, f.gridSize[k]);
            range.low[k] = corner == 0 ? cell : std::min(range.low[k], cell);
            range.high[k] = corner == 0 ? cell : std::max(range.high[k], cell);
        }
    }
    return range;
}

void listTriangles(MeshFunction2D* f, ProgressMeter* meter)
{
    std::size_t const vertexCount = std::min(f->params.size(), f->values.size());
    std::size_t const triangleCount = f->facets.size() / kCorners;
    for (std::size_t t = 0; t < triangleCount; ++t) {
        if (meter && t % kTrianglesPerLook == 0) meter->reached(fractionOf(t, triangleCount));
        int corners[kCorners];
        if (!triangleCorners(f->facets, t, vertexCount, corners)) continue;
        CellRange const range = cellRange(*f, corners);
        for (int cx = range.low[0]; cx <= range.high[0]; ++cx) {
            for (int cy = range.low[1]; cy <= range.high[1]; ++cy) {
                f->gridCells[cellIndex(cx, cy, f->gridSize[1])].push_back(static_cast<int>(t));
            }
        }
    }
}

} // namespace

void MeshFunction2D::initEvaluatorHelper()
{
    MeshFunctionAccess::initEvaluatorHelper(this, nullptr);
}

void MeshFunction2D::initBoundaries()
{
    MeshFunctionAccess::initBoundaries(this, nullptr);
}

void MeshFunctionAccess::initEvaluatorHelper(MeshFunction2D* f, ProgressMeter* meter)
{
    f->locator_.reset();
    f->gridCells.clear();
    f->loopBoxes_.reset();
    f->boundaryProjectors.clear();
    f->boundaryFacets.clear();
    f->gridSize[0] = f->gridSize[1] = 0;
    f->gridScale[0] = f->gridScale[1] = kNoScale;
    if (f->params.empty()) return;

    f->domainMin = f->domainMax = f->params[0];
    for (Point const& p : f->params) {
        include(p.x, &f->domainMin.x, &f->domainMax.x);
        include(p.y, &f->domainMin.y, &f->domainMax.y);
    }
    Point const d = f->domainMax - f->domainMin;
    if (d.x * d.x + d.y * d.y < sinew::kGramZero) return; // false for a NaN extent: its points all fall into cell 0
    f->domainMin -= kMargin * d;
    f->domainMax += kMargin * d;

    for (int k = 0; k < 2; ++k) {
        f->gridSize[k] = kGridCells;
        f->gridScale[k] = f->gridSize[k] / (f->domainMax[k] - f->domainMin[k]);
    }
    f->gridCells.resize(asIndex(f->gridSize[0]) * asIndex(f->gridSize[1]));
    beginPhase(meter, 0.0, kListed);
    listTriangles(f, meter);
    beginPhase(meter, kListed, kLocatorBuilt);
    f->locator_ = TriangleLocator::build(viewOf(*f));
    if (f->extrapolateFlag) initBoundaries(f, meter);
}

void MeshFunctionAccess::initBoundaries(MeshFunction2D* f, ProgressMeter* meter)
{
    f->loopBoxes_.reset();
    f->boundaryProjectors.clear();
    f->boundaryFacets.clear();
    if (f->facets.size() < kCorners || f->facets.size() % kCorners != 0) return;

    beginPhase(meter, kLocatorBuilt, kLoopsFound);
    std::vector<BoundaryLoop> loops = boundaryLoops(f->facets, std::min(f->params.size(), f->values.size()), meter);
    beginPhase(meter, kLoopsFound, 1.0);
    std::vector<Vector3> points;
    for (BoundaryLoop& loop : loops) {
        if (meter) meter->reached(fractionOf(f->boundaryFacets.size(), loops.size()));
        points.clear();
        for (int const vertex : loop.vertices) {
            Point const& p = f->params[asIndex(vertex)];
            points.emplace_back(p.x, p.y, 0.0);
        }
        f->boundaryProjectors.push_back(std::make_unique<PolylineProjector>(points));
        f->boundaryFacets.push_back(std::move(loop.triangles));
    }
    f->loopBoxes_ = LoopBoxes::build(f->boundaryProjectors);
}
