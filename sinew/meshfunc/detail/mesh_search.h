#pragma once

/// Which triangle gives the result of a query, and by which rule. All queries share these searches: single points,
/// arrays, rasters and locations. This header includes the public class; the search structures that it uses do not.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include <sinew/core/tolerances.h>
#include <sinew/detail/as_index.h>
#include <sinew/framework/vect2.h>
#include <sinew/meshfunc/detail/loop_boxes.h>
#include <sinew/meshfunc/detail/mesh_cells.h>
#include <sinew/meshfunc/detail/mesh_view.h>
#include <sinew/meshfunc/detail/prepared_triangle.h>
#include <sinew/meshfunc/detail/triangle_locator.h>
#include <sinew/meshfunc/mesh_function_2d.h>

namespace sinew::detail {

class ProgressMeter;

/// The private search structures of a mesh function.
struct MeshFunctionAccess
{
    /// Null where it has none.
    static TriangleLocator const* locator(MeshFunction2D const& f) { return f.locator_.get(); }
    static LoopBoxes const* loopBoxes(MeshFunction2D const& f) { return f.loopBoxes_.get(); }

    /// `MeshFunction2D::initEvaluatorHelper`, `initBoundaries` and `eraseExtraTriangles`.
    /// @param meter  receives the progress; may be null. If it throws, the function is as after a failed allocation.
    static void initEvaluatorHelper(MeshFunction2D* f, ProgressMeter* meter);
    static void initBoundaries(MeshFunction2D* f, ProgressMeter* meter);
    static void eraseExtraTriangles(MeshFunction2D* f, EmptyRectTester const& tester, ProgressMeter* meter);

    /// Gives `f` everything that is derived from the vertices and triangles of `source`.
    static void moveDerived(MeshFunction2D* source, MeshFunction2D* f) noexcept;
};

/// Stands for "no triangle", "no loop" and "no segment".
inline constexpr int kNone = -1;

inline bool hasGrid(MeshFunction2D const& f)
{
    return f.gridSize[0] >= 1 && f.gridSize[1] >= 1;
}

/// Number of vertices that have a position and a value.
inline std::size_t vertexCountOf(MeshFunction2D const& f)
{
    return std::min(f.params.size(), f.values.size());
}

/// The triangles listed in a cell. Null if there is no such cell, which also happens after a caller has changed the
/// public grid.
inline std::vector<int> const* cellList(MeshFunction2D const& f, int const cell[2])
{
    if (cell[0] < 0 || cell[0] >= f.gridSize[0] || cell[1] < 0 || cell[1] >= f.gridSize[1]) return nullptr;
    std::size_t const index = cellIndex(cell[0], cell[1], f.gridSize[1]);
    return index < f.gridCells.size() ? &f.gridCells[index] : nullptr;
}

/// Prepares triangle `t` of `facets`. Returns false if there is no such triangle, if it names a missing vertex, or if
/// it is degenerate.
inline bool prepareTriangleOf(MeshFunction2D const& f, int t, PreparedTriangle* out)
{
    int corners[kCorners];
    return t >= 0 && triangleCorners(f.facets, asIndex(t), vertexCountOf(f), corners) &&
           prepareTriangle(f.params, corners, out, t);
}

/// The cell of a coordinate for evaluation. Returns false if the coordinate lies outside the grid. A NaN lies in cell
/// 0.
inline bool cellOfPoint(MeshFunction2D const& f, double c, int axis, int* cell, bool* isNaN)
{
    double const s = (c - f.domainMin[axis]) * f.gridScale[axis];
    if (!(s >= -kCellTolerance && s <= f.gridSize[axis] + kCellTolerance)) {
        if (!std::isnan(s)) return false;
        *isNaN = true;
    }
    *cell = cellOfCoordinate(s, f.gridSize[axis]);
    return true;
}

/// Finds the triangle that accepts `p`: the first one in the list of the cell of `p`. Calls use(TriangleHit const&)
/// with it and returns true, or returns false if there is none. A template, so that each query is compiled as a whole.
template <typename Use>
bool findAccepting(MeshFunction2D const& f, tzNM::vect2<double> const& p, Use const& use)
{
    if (!hasGrid(f)) return false;
    int cell[2];
    bool hasNaN = false;
    for (int k = 0; k < 2; ++k) {
        if (!cellOfPoint(f, p[k], k, &cell[k], &hasNaN)) return false;
    }
    // The finer grids do not know NaN points; the public list does.
    TriangleLocator const* const locator = MeshFunctionAccess::locator(f);
    if (!hasNaN && locator && locator->matches(viewOf(f))) {
        std::size_t const index = cellIndex(cell[0], cell[1], f.gridSize[1]);
        if (CellTriangles const* triangles = locator->triangles(index, [&f] { return viewOf(f); })) {
            TriangleHit hit;
            if (!triangles->find(p, &hit)) return false;
            use(hit);
            return true;
        }
    }
    std::vector<int> const* list = cellList(f, cell);
    return list && std::any_of(list->begin(), list->end(), [&](int t) {
               PreparedTriangle triangle;
               if (!prepareTriangleOf(f, t, &triangle)) return false;
               Weights const weights = weightsOf(triangle, p);
               if (!weights.accepted()) return false;
               use(TriangleHit{&triangle, weights});
               return true;
           });
}

/// The nearest segment of the boundary.
struct NearestBoundary
{
    int triangle = kNone; ///< the triangle of the segment; none if all of the boundary is too far away
    int loop = kNone;
    int segment = kNone;
    double distSq = kFarthestDistSq; ///< squared distance to the segment
};

/// Replaces `best` by the hit of `q` on loop `k` if that is nearer. The loop must have an entry in `boundaryFacets`.
void offerHit(MeshFunction2D const& f, std::size_t k, Vector3 const& q, PolylineHit const& hit, NearestBoundary* best);

/// The boundary segment nearest to `p`. Of equally near loops the one with the smaller index wins.
NearestBoundary nearestBoundary(MeshFunction2D const& f, tzNM::vect2<double> const& p);

/// The nearest edge of the triangles of a cell.
struct NearestEdge
{
    int triangle = kNone;
    double distSq = -1; ///< squared distance to the edge, as `MeshFunction2D::iDistToEdge` gives it
};

/// The triangle that the older extrapolation uses at `p`. The function must have a grid.
NearestEdge walkToNearestEdge(MeshFunction2D const& f, tzNM::vect2<double> const& p);

} // namespace sinew::detail
