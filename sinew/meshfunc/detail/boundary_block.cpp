#include <sinew/meshfunc/detail/boundary_block.h>

#include <algorithm>
#include <cassert>

#include <sinew/detail/as_index.h>
#include <sinew/fields/detail/polyline_parts.h>

namespace sinew::detail {

namespace {

using Point = tzNM::vect2<double>;

Vector3 inSpace(Point const& p)
{
    return {p.x, p.y, 0.0};
}

} // namespace

void BoundaryBlock::find(Point const* points, std::size_t count, NearestBoundary* nearest)
{
    assert(count <= kMostPoints);
    if (count < kFewPoints || !gather(points, count)) {
        for (std::size_t i = 0; i < count; ++i) nearest[i] = nearestBoundary(f_, points[i]);
        return;
    }
    Vector3 queries[kMostPoints];
    std::transform(points, points + count, queries, inSpace);
    for (std::size_t k = 0; k < loopCount_; ++k) {
        if (loops_[k].isMeasured) loops_[k].segments.measure(queries, count, loops_[k].nearest, width_);
    }
    for (std::size_t i = 0; i < count; ++i) nearest[i] = nearestOf(queries[i], i);
}

// Finds the loops that can be nearest to one of the points. Returns false if the points must be searched for one by
// one.
bool BoundaryBlock::gather(Point const* points, std::size_t count)
{
    loopCount_ = 0;
    Box box;
    for (std::size_t i = 0; i < count; ++i) box.include(points[i]);
    QueryBox queries{inSpace(box.low), inSpace(box.high), 0};
    Vector3 const middle = queries.middle();
    NearestBoundary const ofMiddle = nearestBoundary(f_, {middle.x, middle.y});
    if (ofMiddle.loop == kNone) return false;
    queries.distSqOfMiddle = ofMiddle.distSq;
    bool isComplete = true;
    auto const add = [&](std::size_t k) { isComplete = isComplete && addLoop(k, queries); };
    LoopBoxes const* const boxes = MeshFunctionAccess::loopBoxes(f_);
    if (boxes && boxes->loopCount() == f_.boundaryProjectors.size()) {
        double const reachSq = queries.reachSq();
        boxes->visitNearest({middle.x, middle.y}, &reachSq, add);
    } else {
        for (std::size_t k = 0; k < f_.boundaryProjectors.size(); ++k) add(k);
    }
    return isComplete && loopCount_ > 0;
}

// Returns false if there are too many loops or segments.
bool BoundaryBlock::addLoop(std::size_t k, QueryBox const& box)
{
    if (!f_.boundaryProjectors[k] || k >= f_.boundaryFacets.size()) return true; // as nearestBoundary() skips it
    if (loopCount_ == kMostLoops) return false;
    NearLoop& loop = loops_[loopCount_];
    loop.loop = k;
    loop.isMeasured = f_.boundaryProjectors[k]->points.size() >= kBoundedSearchVertices;
    if (loop.isMeasured) {
        if (!loop.segments.gather(*f_.boundaryProjectors[k], box)) return false;
        if (!loop.segments.isNear()) return true;
    }
    ++loopCount_;
    return true;
}

NearestBoundary BoundaryBlock::nearestOf(Vector3 const& q, std::size_t i)
{
    // The loop that seems to be nearest comes first, so that most others need not be projected on.
    std::size_t first = 0;
    for (std::size_t k = 1; k < loopCount_; ++k) {
        if (!loops_[k].isMeasured || !loops_[first].isMeasured) continue;
        if (loops_[k].nearest[i].distSq < loops_[first].nearest[i].distSq) first = k;
    }
    NearestBoundary best;
    for (std::size_t n = 0; n < loopCount_; ++n) {
        NearLoop& loop = loops_[n == 0 ? first : n == first ? 0 : n];
        if (!loop.isMeasured) {
            offerHit(f_, loop.loop, q, closestPoint(*f_.boundaryProjectors[loop.loop], q), &best);
        } else if (!(loop.segments.lowerBoundSq(loop.nearest[i]) > best.distSq)) {
            offerHit(f_, loop.loop, q, loop.segments.hit(q, loop.nearest[i]), &best);
        }
    }
    return best;
}

} // namespace sinew::detail
