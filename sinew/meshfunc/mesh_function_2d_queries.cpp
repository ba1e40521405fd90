// The queries of mesh functions, each const and free of writes to the object.

#include <sinew/meshfunc/mesh_function_2d.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include <sinew/meshfunc/detail/loop_boxes.h>
#include <sinew/meshfunc/detail/mesh_cells.h>
#include <sinew/meshfunc/detail/triangle_locator.h>

using Point = tzNM::vect2<double>;
using namespace sinew::detail;

namespace {

/// Boundary loops at this squared distance or more are not continued.
constexpr double kFarthestDistSq = 1e13;

/// Squared distances of edges closer to each other than this are a tie.
constexpr double kEdgeTie = 1e-8;

bool hasGrid(MeshFunction2D const& f)
{
    return f.gridSize[0] >= 1 && f.gridSize[1] >= 1;
}

std::size_t vertexCount(MeshFunction2D const& f)
{
    return std::min(f.params.size(), f.values.size());
}

bool isVertex(MeshFunction2D const& f, int i)
{
    return i >= 0 && static_cast<std::size_t>(i) < vertexCount(f);
}

std::size_t cellIndex(MeshFunction2D const& f, int const cell[2])
{
    return static_cast<std::size_t>(cell[0]) * static_cast<std::size_t>(f.gridSize[1]) +
           static_cast<std::size_t>(cell[1]);
}

/// The triangles listed in a cell; null if the public grid was changed so that it holds no such cell.
std::vector<int> const* cellList(MeshFunction2D const& f, int const cell[2])
{
    if (cell[0] < 0 || cell[0] >= f.gridSize[0] || cell[1] < 0 || cell[1] >= f.gridSize[1]) return nullptr;
    std::size_t const index = cellIndex(f, cell);
    return index < f.gridCells.size() ? &f.gridCells[index] : nullptr;
}

bool evaluateTriangle(MeshFunction2D const& f, int t, Point const& p, Point* out, float* outScalar, bool checkInside)
{
    int corners[3];
    return t >= 0 && triangleCorners(f.facets, static_cast<std::size_t>(t), vertexCount(f), corners) &&
           f.iEvalInFacet(corners[0], corners[1], corners[2], p, out, outScalar, checkInside);
}

/// The triangle at the nearest boundary segment; the earlier loop wins a tie. -1 if there is none.
int nearestBoundaryTriangle(MeshFunction2D const& f, LoopBoxes const* boxes, Point const& p)
{
    Vector3 const q(p.x, p.y, 0.0);
    double best = kFarthestDistSq;
    std::size_t bestLoop = 0;
    int triangle = -1;
    auto const tryLoop = [&](std::size_t k) {
        if (!f.boundaryProjectors[k] || k >= f.boundaryFacets.size()) return;
        sinew::PolylineHit const hit = sinew::closestPoint(*f.boundaryProjectors[k], q);
        auto const segment = static_cast<std::size_t>(hit.segment);
        if (hit.segment < 0 || segment >= f.boundaryFacets[k].size()) return;
        double const d2 = distSq(q, hit.point);
        // Loops come in any order: in their own, an equally near one would win exactly if it came first.
        if (d2 < best || (d2 == best && triangle >= 0 && k < bestLoop)) {
            triangle = f.boundaryFacets[k][segment];
            best = d2;
            bestLoop = k;
        }
    };
    if (boxes && boxes->loopCount() == f.boundaryProjectors.size()) {
        boxes->visitNearest(p, &best, tryLoop);
    } else {
        for (std::size_t k = 0; k < f.boundaryProjectors.size(); ++k) tryLoop(k);
    }
    return triangle;
}

/// The first cell with triangles on the walk from p's cell to the middle of the grid and beyond; null if there is none.
std::vector<int> const* walkToTriangles(MeshFunction2D const& f, Point const& p)
{
    int cell[2];
    double position[2];
    double step[2];
    for (int k = 0; k < 2; ++k) {
        cell[k] = cellOfCoordinate((p[k] - f.domainMin[k]) * f.gridScale[k], f.gridSize[k]);
        position[k] = cell[k];
        step[k] = f.gridSize[k] * 0.5 - cell[k];
    }
    std::vector<int> const* list = cellList(f, cell);
    if (!list || !list->empty()) return list;

    double const longer = std::max(std::fabs(step[0]), std::fabs(step[1]));
    if (longer < 1e-8) return nullptr;
    for (double& s : step) s = s / longer;
    // Ends: each step moves one coordinate by a whole cell the same way, until the list is null outside the grid.
    while (list && list->empty()) {
        for (int k = 0; k < 2; ++k) {
            position[k] = position[k] + step[k];
            cell[k] = static_cast<int>(std::floor(position[k]));
        }
        list = cellList(f, cell);
    }
    return list;
}

/// The triangle with the edge nearest to `p` among those listed; -1 if none is valid.
int triangleOfNearestEdge(MeshFunction2D const& f, std::vector<int> const& list, Point const& p)
{
    double best = -1;
    int chosen = -1;
    for (int t : list) {
        int corners[3];
        if (t < 0 || !triangleCorners(f.facets, static_cast<std::size_t>(t), vertexCount(f), corners)) continue;
        for (int k = 0; k < 3; ++k) {
            bool onSegment = false;
            double const d = f.iDistToEdge(corners[k], corners[k == 2 ? 0 : k + 1], p, &onSegment, false);
            // A negative best counts as nothing taken yet, also when rounding made it so.
            if (best < 0 || d < best - kEdgeTie || (onSegment && d < best + kEdgeTie)) {
                best = d;
                chosen = t;
            }
        }
    }
    return chosen;
}

/// The blend of the corners' values: weights w, u, v of the corners in order, summed second corner first.
void blend(MeshFunction2D const& f, int const corners[3], double u, double v, double w, Point* out, float* outScalar)
{
    auto const i0 = static_cast<std::size_t>(corners[0]);
    auto const i1 = static_cast<std::size_t>(corners[1]);
    auto const i2 = static_cast<std::size_t>(corners[2]);
    if (out) *out = u * f.values[i1] + v * f.values[i2] + w * f.values[i0];
    if (!outScalar) return;
    if (f.normaldots.size() < f.values.size()) {
        *outScalar = -1; // says that there is no scalar, where failing would cost the caller the value as well
        return;
    }
    // Products in double, each partial sum rounded to float.
    auto s = static_cast<float>(f.normaldots[i1] * u);
    s = static_cast<float>(s + f.normaldots[i2] * v);
    *outScalar = static_cast<float>(s + f.normaldots[i0] * w);
}

} // namespace

bool MeshFunction2D::iEvalInFacet(int i0, int i1, int i2, Point const& p, Point* out, float* outScalar,
                                  bool checkInside) const
{
    if (!isVertex(*this, i0) || !isVertex(*this, i1) || !isVertex(*this, i2)) return false;
    Point const& origin = params[static_cast<std::size_t>(i0)];
    Point const e1 = params[static_cast<std::size_t>(i1)] - origin;
    Point const e2 = params[static_cast<std::size_t>(i2)] - origin;
    double const det = e1.x * e2.y - e2.x * e1.y;
    if (std::fabs(det) < kDegenerate) return false; // a NaN determinant goes on
    double const r = 1.0 / det;
    Point const d = p - origin;
    double const u = (r * e2.y) * d.x + (r * -e2.x) * d.y;
    double const v = (r * -e1.y) * d.x + (r * e1.x) * d.y;
    double const w = 1 - u - v;
    if (checkInside && (u < -kInsideTolerance || v < -kInsideTolerance || w < -kInsideTolerance)) return false;
    int const corners[3] = {i0, i1, i2};
    blend(*this, corners, u, v, w, out, outScalar);
    return true;
}

double MeshFunction2D::iDistToEdge(int i, int j, Point const& p, bool* onSegment, bool useValues) const
{
    if (onSegment) *onSegment = false;
    if (!isVertex(*this, i) || !isVertex(*this, j)) return std::numeric_limits<double>::quiet_NaN();
    std::vector<Point> const& points = useValues ? values : params;
    Point const& a = points[static_cast<std::size_t>(i)];
    Point const& b = points[static_cast<std::size_t>(j)];
    Point const e = b - a;
    double const l2 = e.lengthSq();
    double const d2 = (p - a).lengthSq();
    if (l2 < kDegenerate) return d2;
    double const t = e * (p - a);
    if (t < -l2 * 1e-8) return d2;
    if (t > l2 * 1.00000001) return (p - b).lengthSq();
    if (onSegment) *onSegment = true;
    return d2 - t * t / l2;
}

bool MeshFunction2D::evaluate(Point const& p, Point* out, float* outScalar) const
{
    if (!hasGrid(*this)) return false;
    int cell[2];
    bool finite = true;
    for (int k = 0; k < 2; ++k) {
        double const s = (p[k] - domainMin[k]) * gridScale[k];
        if (!(s >= -kCellTolerance && s <= gridSize[k] + kCellTolerance)) {
            if (!std::isnan(s)) return false;
            finite = false;
        }
        cell[k] = cellOfCoordinate(s, gridSize[k]);
    }
    if (finite && locator_ && locator_->matches(*this)) {
        if (CellTriangles const* triangles = locator_->triangles(*this, cellIndex(*this, cell))) {
            Located located;
            if (!triangles->find(p, &located)) return false;
            blend(*this, located.corners, located.u, located.v, located.w, out, outScalar);
            return true;
        }
    }
    std::vector<int> const* list = cellList(*this, cell);
    return list && std::any_of(list->begin(), list->end(),
                               [&](int t) { return evaluateTriangle(*this, t, p, out, outScalar, true); });
}

bool MeshFunction2D::extrapolate(Point const& p, Point* out, float* outScalar) const
{
    if (!extrapolateFlag) return extrapolateOld(p, out, outScalar);
    if (!hasGrid(*this)) return false;
    if (evaluate(p, out, outScalar)) return true;
    return evaluateTriangle(*this, nearestBoundaryTriangle(*this, loopBoxes_.get(), p), p, out, outScalar, false);
}

bool MeshFunction2D::extrapolateOld(Point const& p, Point* out, float* outScalar) const
{
    if (!hasGrid(*this)) return false;
    std::vector<int> const* list = walkToTriangles(*this, p);
    return list && evaluateTriangle(*this, triangleOfNearestEdge(*this, *list, p), p, out, outScalar, false);
}

bool MeshFunction2D::getAnyPointInDomain(Point& out) const
{
    for (std::size_t t = 0; t < facets.size() / 3; ++t) {
        int corners[3];
        if (!triangleCorners(facets, t, vertexCount(*this), corners)) continue;
        Point const& a = params[static_cast<std::size_t>(corners[0])];
        Point const& b = params[static_cast<std::size_t>(corners[1])];
        Point const& c = params[static_cast<std::size_t>(corners[2])];
        constexpr double kThird = 0.3333333333333333;
        out = Point((a.x + b.x + c.x) * kThird, (a.y + b.y + c.y) * kThird);
        return true;
    }
    return false;
}

namespace sinew {

namespace {

using Query = bool (MeshFunction2D::*)(Point const&, Point*, float*) const;

std::size_t askMany(MeshFunction2D const& function, Query query, Point const* points, std::size_t count, Point* values,
                    float* scalars, bool* found)
{
    std::size_t answered = 0;
    for (std::size_t i = 0; i < count; ++i) {
        bool const hit = (function.*query)(points[i], values ? values + i : nullptr, scalars ? scalars + i : nullptr);
        if (found) found[i] = hit;
        answered += hit ? 1 : 0;
    }
    return answered;
}

} // namespace

std::size_t evaluateMany(MeshFunction2D const& function, Point const* points, std::size_t count, Point* values,
                         float* scalars, bool* found)
{
    return askMany(function, &MeshFunction2D::evaluate, points, count, values, scalars, found);
}

std::size_t extrapolateMany(MeshFunction2D const& function, Point const* points, std::size_t count, Point* values,
                            float* scalars, bool* found)
{
    return askMany(function, &MeshFunction2D::extrapolate, points, count, values, scalars, found);
}

} // namespace sinew
