// Sources: C. Ericson, Real-Time Collision Detection, 2005, section 7.1 (lookup in a grid). The walk of the older
// extrapolation moves like a digital differential analyser: J. Foley, A. van Dam, S. Feiner, J. Hughes, Computer
// Graphics: Principles and Practice, 2nd edition 1990, section 3.2.

#include <sinew/meshfunc/detail/mesh_search.h>

namespace sinew::detail {

namespace {

using Point = tzNM::vect2<double>;

// Squared distances to edges that differ by less than this are a tie. Absolute, in the unit of `params`, squared.
constexpr double kEdgeTie = 1e-8;

// The walk to the middle of the grid has no direction if it is shorter than this, in cells.
constexpr double kShortestWalk = 1e-8;

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

// The triangle with the nearest edge among those listed; none if all of them are invalid.
NearestEdge nearestEdge(MeshFunction2D const& f, std::vector<int> const& list, Point const& p)
{
    NearestEdge best;
    for (int const t : list) {
        int corners[kCorners];
        if (t < 0 || !triangleCorners(f.facets, asIndex(t), vertexCountOf(f), corners)) continue;
        for (std::size_t k = 0; k < kCorners; ++k) {
            bool onSegment = false;
            double const d = f.iDistToEdge(corners[k], corners[(k + 1) % kCorners], p, &onSegment, false);
            // A negative `best` means that no edge was taken yet. Rounding can make a distance negative, too; the next
            // edge then replaces it.
            if (best.distSq < 0 || d < best.distSq - kEdgeTie || (onSegment && d < best.distSq + kEdgeTie)) {
                best = {t, d};
            }
        }
    }
    return best;
}

} // namespace

void offerHit(MeshFunction2D const& f, std::size_t k, Vector3 const& q, PolylineHit const& hit, NearestBoundary* best)
{
    if (hit.segment < 0 || asIndex(hit.segment) >= f.boundaryFacets[k].size()) return;
    double const d2 = distSq(q, hit.point);
    // Loops are tried in any order, so a tie must be decided by the index.
    if (d2 < best->distSq || (d2 == best->distSq && best->triangle >= 0 && k < asIndex(best->loop))) {
        *best = {f.boundaryFacets[k][asIndex(hit.segment)], static_cast<int>(k), hit.segment, d2};
    }
}

NearestBoundary nearestBoundary(MeshFunction2D const& f, Point const& p)
{
    Vector3 const q(p.x, p.y, 0.0);
    NearestBoundary best;
    auto const tryLoop = [&](std::size_t k) {
        if (!f.boundaryProjectors[k] || k >= f.boundaryFacets.size()) return;
        offerHit(f, k, q, closestPoint(*f.boundaryProjectors[k], q), &best);
    };
    LoopBoxes const* const boxes = MeshFunctionAccess::loopBoxes(f);
    if (boxes && boxes->loopCount() == f.boundaryProjectors.size()) {
        boxes->visitNearest(p, &best.distSq, tryLoop);
    } else {
        for (std::size_t k = 0; k < f.boundaryProjectors.size(); ++k) tryLoop(k);
    }
    return best;
}

NearestEdge walkToNearestEdge(MeshFunction2D const& f, Point const& p)
{
    std::vector<int> const* list = walkToTriangles(f, p);
    return list ? nearestEdge(f, *list, p) : NearestEdge();
}

} // namespace sinew::detail
