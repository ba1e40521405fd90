// The queries of mesh functions. All are const and change no member.
//
// Sources: C. Ericson, Real-Time Collision Detection, 2005, sections 3.4 (barycentric weights), 5.1.2 (distance to a
// segment) and 7.1 (lookup in a grid). The walk of the older extrapolation moves like a digital differential analyser:
// J. Foley, A. van Dam, S. Feiner, J. Hughes, Computer Graphics: Principles and Practice, 2nd edition 1990,
// section 3.2.

#include <sinew/meshfunc/mesh_function_2d.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include <sinew/core/tolerances.h>
#include <sinew/detail/as_index.h>
#include <sinew/meshfunc/detail/loop_boxes.h>
#include <sinew/meshfunc/detail/mesh_cells.h>
#include <sinew/meshfunc/detail/mesh_view.h>
#include <sinew/meshfunc/detail/prepared_triangle.h>
#include <sinew/meshfunc/detail/triangle_locator.h>

using Point = tzNM::vect2<double>;
using namespace sinew::detail;

namespace {

// Squared distances to edges that differ by less than this are a tie. Absolute, in the unit of `params`, squared.
constexpr double kEdgeTie = 1e-8;

// The ends of a segment for the projection of a point on it, in units of the segment's squared length. kSegmentEnd is
// the double written here, which 1 + 1e-8 need not equal.
constexpr double kSegmentBegin = 1e-8; // before the first vertex
constexpr double kSegmentEnd = 1.00000001;

// The walk to the middle of the grid has no direction if it is shorter than this, in cells.
constexpr double kShortestWalk = 1e-8;

// The scalar of a function that has none. It is returned instead of failing, so that the caller still gets the value.
constexpr float kNoScalar = -1;

// No triangle.
constexpr int kNone = -1;

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
    return i >= 0 && asIndex(i) < vertexCount(f);
}

// The triangles listed in a cell. Null if there is no such cell, which also happens after a caller has changed the
// public grid.
std::vector<int> const* cellList(MeshFunction2D const& f, int const cell[2])
{
    if (cell[0] < 0 || cell[0] >= f.gridSize[0] || cell[1] < 0 || cell[1] >= f.gridSize[1]) return nullptr;
    std::size_t const index = cellIndex(cell[0], cell[1], f.gridSize[1]);
    return index < f.gridCells.size() ? &f.gridCells[index] : nullptr;
}

bool evaluateTriangle(MeshFunction2D const& f, int t, Point const& p, Point* out, float* outScalar, bool checkInside)
{
    int corners[kCorners];
    return t >= 0 && triangleCorners(f.facets, asIndex(t), vertexCount(f), corners) &&
           f.iEvalInFacet(corners[0], corners[1], corners[2], p, out, outScalar, checkInside);
}

// The triangle of the nearest boundary segment. Of equally near loops the one with the smaller index wins. kNone if
// there is no boundary, or if all of it is too far away.
int nearestBoundaryTriangle(MeshFunction2D const& f, LoopBoxes const* boxes, Point const& p)
{
    Vector3 const q(p.x, p.y, 0.0);
    double best = sinew::kFarthestDistSq;
    std::size_t bestLoop = 0;
    int triangle = kNone;
    auto const tryLoop = [&](std::size_t k) {
        if (!f.boundaryProjectors[k] || k >= f.boundaryFacets.size()) return;
        sinew::PolylineHit const hit = sinew::closestPoint(*f.boundaryProjectors[k], q);
        if (hit.segment < 0 || asIndex(hit.segment) >= f.boundaryFacets[k].size()) return;
        double const d2 = distSq(q, hit.point);
        // The tree visits loops in any order, so a tie must be decided by the index.
        if (d2 < best || (d2 == best && triangle >= 0 && k < bestLoop)) {
            triangle = f.boundaryFacets[k][asIndex(hit.segment)];
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

// The list of the first cell with triangles on the straight way from the cell of p to the middle of the grid and
// beyond. Null if there is none.
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
    if (longer < kShortestWalk) return nullptr;
    for (double& s : step) s = s / longer;
    // This ends, because each step moves one coordinate by a whole cell in the same direction. Outside the grid the
    // list is null.
    while (list && list->empty()) {
        for (int k = 0; k < 2; ++k) {
            position[k] = position[k] + step[k];
            cell[k] = static_cast<int>(std::floor(position[k]));
        }
        list = cellList(f, cell);
    }
    return list;
}

// The triangle with the nearest edge among those listed; kNone if all of them are invalid.
int triangleOfNearestEdge(MeshFunction2D const& f, std::vector<int> const& list, Point const& p)
{
    double best = -1;
    int chosen = kNone;
    for (int const t : list) {
        int corners[kCorners];
        if (t < 0 || !triangleCorners(f.facets, asIndex(t), vertexCount(f), corners)) continue;
        for (std::size_t k = 0; k < kCorners; ++k) {
            bool onSegment = false;
            double const d = f.iDistToEdge(corners[k], corners[(k + 1) % kCorners], p, &onSegment, false);
            // A negative `best` means that no edge was taken yet. Rounding can make a distance negative, too; the next
            // edge then replaces it.
            if (best < 0 || d < best - kEdgeTie || (onSegment && d < best + kEdgeTie)) {
                best = d;
                chosen = t;
            }
        }
    }
    return chosen;
}

// Writes the value and the scalar at a point with these weights in the triangle with these corners.
void interpolate(MeshFunction2D const& f, int const corners[kCorners], Weights const& weights, Point* out,
                 float* outScalar)
{
    std::size_t const i0 = asIndex(corners[0]);
    std::size_t const i1 = asIndex(corners[1]);
    std::size_t const i2 = asIndex(corners[2]);
    // The order of the sum is part of the definition: second corner, third corner, first corner.
    if (out) *out = weights.u * f.values[i1] + weights.v * f.values[i2] + weights.w * f.values[i0];
    if (!outScalar) return;
    if (f.normaldots.size() < f.values.size()) {
        *outScalar = kNoScalar;
        return;
    }
    // The products are doubles; each partial sum is rounded to float.
    auto s = static_cast<float>(f.normaldots[i1] * weights.u);
    s = static_cast<float>(s + f.normaldots[i2] * weights.v);
    *outScalar = static_cast<float>(s + f.normaldots[i0] * weights.w);
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
    if (!hasGrid(*this)) return false;
    int cell[2];
    bool hasNaN = false;
    for (int k = 0; k < 2; ++k) {
        double const s = (p[k] - domainMin[k]) * gridScale[k];
        if (!(s >= -kCellTolerance && s <= gridSize[k] + kCellTolerance)) {
            if (!std::isnan(s)) return false;
            hasNaN = true;
        }
        cell[k] = cellOfCoordinate(s, gridSize[k]);
    }
    // The finer grids do not know NaN points; the public list does.
    if (!hasNaN && locator_ && locator_->matches(viewOf(*this))) {
        std::size_t const index = cellIndex(cell[0], cell[1], gridSize[1]);
        if (CellTriangles const* triangles = locator_->triangles(index, [this] { return viewOf(*this); })) {
            TriangleHit hit;
            if (!triangles->find(p, &hit)) return false;
            interpolate(*this, hit.corners, hit.weights, out, outScalar);
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
    for (std::size_t t = 0; t < facets.size() / kCorners; ++t) {
        int corners[kCorners];
        if (!triangleCorners(facets, t, vertexCount(*this), corners)) continue;
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

std::size_t queryMany(MeshFunction2D const& function, Query query, Point const* points, std::size_t count,
                      Point* values, float* scalars, bool* found)
{
    std::size_t foundCount = 0;
    for (std::size_t i = 0; i < count; ++i) {
        bool const hit = (function.*query)(points[i], values ? values + i : nullptr, scalars ? scalars + i : nullptr);
        if (found) found[i] = hit;
        foundCount += hit ? 1 : 0;
    }
    return foundCount;
}

} // namespace

std::size_t evaluateMany(MeshFunction2D const& function, Point const* points, std::size_t count, Point* values,
                         float* scalars, bool* found)
{
    return queryMany(function, &MeshFunction2D::evaluate, points, count, values, scalars, found);
}

std::size_t extrapolateMany(MeshFunction2D const& function, Point const* points, std::size_t count, Point* values,
                            float* scalars, bool* found)
{
    return queryMany(function, &MeshFunction2D::extrapolate, points, count, values, scalars, found);
}

} // namespace sinew
