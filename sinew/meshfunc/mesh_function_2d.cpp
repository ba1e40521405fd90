#include <sinew/meshfunc/mesh_function_2d.h>

#include <algorithm>

#include <sinew/meshfunc/detail/boundary_loops.h>
#include <sinew/meshfunc/detail/loop_boxes.h>
#include <sinew/meshfunc/detail/mesh_cells.h>
#include <sinew/meshfunc/detail/triangle_locator.h>

using Point = tzNM::vect2<double>;
using namespace sinew::detail;

namespace {

/// The grid reaches this part of the domain's extent beyond it on each side.
constexpr double kMargin = 0.01;

/// Grows the box by one coordinate. NaN changes nothing, and a first coordinate that is NaN stays.
void include(double c, double* low, double* high)
{
    if (*low > c) {
        *low = c;
    } else if (c > *high) {
        *high = c;
    }
}

/// A range of cells that a triangle's vertices span.
struct CellRange
{
    int low[2];
    int high[2];
};

CellRange cellRange(MeshFunction2D const& f, int const corners[3])
{
    CellRange range;
    for (int k = 0; k < 2; ++k) {
        for (int corner = 0; corner < 3; ++corner) {
            double const s = (f.params[static_cast<std::size_t>(corners[corner])][k] - f.domainMin[k]) * f.gridScale[k];
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
    for (std::size_t t = 0; t < f->facets.size() / 3; ++t) {
        int corners[3];
        if (!triangleCorners(f->facets, t, vertexCount, corners)) continue;
        CellRange const range = cellRange(*f, corners);
        for (int cx = range.low[0]; cx <= range.high[0]; ++cx) {
            for (int cy = range.low[1]; cy <= range.high[1]; ++cy) {
                f->gridCells[static_cast<std::size_t>(cx * f->gridSize[1] + cy)].push_back(static_cast<int>(t));
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
      locator_(other.locator_ ? TriangleLocator::build(*this) : nullptr),
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
    gridScale[0] = gridScale[1] = -1;
    if (params.empty()) return;

    domainMin = domainMax = params[0];
    for (Point const& p : params) {
        include(p.x, &domainMin.x, &domainMax.x);
        include(p.y, &domainMin.y, &domainMax.y);
    }
    Point const d = domainMax - domainMin;
    if (d.x * d.x + d.y * d.y < kDegenerate) return; // a NaN extent goes on: its points all fall into cell 0
    domainMin -= kMargin * d;
    domainMax += kMargin * d;

    for (int k = 0; k < 2; ++k) {
        gridSize[k] = kGridCells;
        gridScale[k] = gridSize[k] / (domainMax[k] - domainMin[k]);
    }
    gridCells.resize(static_cast<std::size_t>(gridSize[0] * gridSize[1]));
    listTriangles(this);
    locator_ = TriangleLocator::build(*this);
    if (extrapolateFlag) initBoundaries();
}

void MeshFunction2D::initBoundaries()
{
    loopBoxes_.reset();
    boundaryProjectors.clear();
    boundaryFacets.clear();
    if (facets.size() < 3 || facets.size() % 3 != 0) return;

    std::vector<Vector3> points;
    for (BoundaryLoop& loop : boundaryLoops(facets, std::min(params.size(), values.size()))) {
        points.clear();
        for (int vertex : loop.vertices) {
            Point const& p = params[static_cast<std::size_t>(vertex)];
            points.emplace_back(p.x, p.y, 0.0);
        }
        boundaryProjectors.push_back(std::make_unique<PolylineProjector>(points));
        boundaryFacets.push_back(std::move(loop.triangles));
    }
    loopBoxes_ = LoopBoxes::build(boundaryProjectors);
}
