// Construction and rebuilding. The uniform grid of lists: C. Ericson, Real-Time Collision Detection, 2005, section 7.1.

#include <sinew/meshfunc/mesh_function_2d.h>

#include <algorithm>
#include <utility>

#include <sinew/core/tolerances.h>
#include <sinew/detail/as_index.h>
#include <sinew/meshfunc/detail/boundary_loops.h>
#include <sinew/meshfunc/detail/loop_boxes.h>
#include <sinew/meshfunc/detail/mesh_cells.h>
#include <sinew/meshfunc/detail/mesh_view.h>
#include <sinew/meshfunc/detail/triangle_locator.h>

using Point = tzNM::vect2<double>;
using namespace sinew::detail;

namespace {

// Part of the domain's extent by which the grid is larger than the domain, on each side.
constexpr double kMargin = 0.01;

// The value of `gridScale` while there is no grid.
constexpr double kNoScale = -1;

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

void listTriangles(MeshFunction2D* f)
{
    std::size_t const vertexCount = std::min(f->params.size(), f->values.size());
    for (std::size_t t = 0; t < f->facets.size() / kCorners; ++t) {
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

std::vector<std::unique_ptr<PolylineProjector>>
deepCopy(std::vector<std::unique_ptr<PolylineProjector>> const& projectors)
{
    std::vector<std::unique_ptr<PolylineProjector>> copies;
    copies.reserve(projectors.size());
    for (auto const& projector : projectors) {
        copies.push_back(projector ? std::make_unique<PolylineProjector>(*projector) : nullptr);
    }
    return copies;
}

} // namespace

MeshFunction2D::MeshFunction2D(bool extrapolateFlag_) : extrapolateFlag(extrapolateFlag_)
{
    initEvaluatorHelper();
}

MeshFunction2D::MeshFunction2D(std::vector<Point> const& params_, std::vector<Point> const& values_,
                               std::vector<int> const& facets_, std::vector<float> const& normaldots_)
    : params(params_), values(values_), normaldots(normaldots_), facets(facets_), extrapolateFlag(true)
{
    initEvaluatorHelper();
}

MeshFunction2D::MeshFunction2D(MeshFunction2D const& other)
    : Serializable(other), params(other.params), values(other.values), normaldots(other.normaldots),
      facets(other.facets), gridCells(other.gridCells), domainMin(other.domainMin),
      domainMax(other.domainMax), gridScale{other.gridScale[0], other.gridScale[1]}, gridSize{other.gridSize[0],
                                                                                              other.gridSize[1]},
      extrapolateFlag(other.extrapolateFlag), boundaryProjectors(deepCopy(other.boundaryProjectors)),
      boundaryFacets(other.boundaryFacets), saveString(other.saveString),
      locator_(other.locator_ ? TriangleLocator::build(viewOf(*this)) : nullptr),
      loopBoxes_(other.loopBoxes_ ? std::make_unique<LoopBoxes>(*other.loopBoxes_) : nullptr)
{
}

MeshFunction2D& MeshFunction2D::operator=(MeshFunction2D const& other)
{
    return *this = MeshFunction2D(other);
}

MeshFunction2D::MeshFunction2D(MeshFunction2D&&) noexcept = default;
MeshFunction2D& MeshFunction2D::operator=(MeshFunction2D&&) noexcept = default;
MeshFunction2D::~MeshFunction2D() = default;

MeshFunction2D* MeshFunction2D::copy() const
{
    return new MeshFunction2D(*this);
}

void MeshFunction2D::initEvaluatorHelper()
{
    locator_.reset();
    gridCells.clear();
    loopBoxes_.reset();
    boundaryProjectors.clear();
    boundaryFacets.clear();
    gridSize[0] = gridSize[1] = 0;
    gridScale[0] = gridScale[1] = kNoScale;
    if (params.empty()) return;

    domainMin = domainMax = params[0];
    for (Point const& p : params) {
        include(p.x, &domainMin.x, &domainMax.x);
        include(p.y, &domainMin.y, &domainMax.y);
    }
    Point const d = domainMax - domainMin;
    if (d.x * d.x + d.y * d.y < sinew::kGramZero) return; // false for a NaN extent: its points all fall into cell 0
    domainMin -= kMargin * d;
    domainMax += kMargin * d;

    for (int k = 0; k < 2; ++k) {
        gridSize[k] = kGridCells;
        gridScale[k] = gridSize[k] / (domainMax[k] - domainMin[k]);
    }
    gridCells.resize(asIndex(gridSize[0]) * asIndex(gridSize[1]));
    listTriangles(this);
    locator_ = TriangleLocator::build(viewOf(*this));
    if (extrapolateFlag) initBoundaries();
}

void MeshFunction2D::initBoundaries()
{
    loopBoxes_.reset();
    boundaryProjectors.clear();
    boundaryFacets.clear();
    if (facets.size() < kCorners || facets.size() % kCorners != 0) return;

    std::vector<Vector3> points;
    for (BoundaryLoop& loop : boundaryLoops(facets, std::min(params.size(), values.size()))) {
        points.clear();
        for (int const vertex : loop.vertices) {
            Point const& p = params[asIndex(vertex)];
            points.emplace_back(p.x, p.y, 0.0);
        }
        boundaryProjectors.push_back(std::make_unique<PolylineProjector>(points));
        boundaryFacets.push_back(std::move(loop.triangles));
    }
    loopBoxes_ = LoopBoxes::build(boundaryProjectors);
}
