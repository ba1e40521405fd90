// Branch and bound over a tree of bounding boxes: N. Roussopoulos, S. Kelley, F. Vincent, Nearest neighbor queries,
// SIGMOD 1995. The lower bound is their MINDIST. The tree is split at the median along the longer side of the box.

#include <sinew/meshfunc/detail/loop_boxes.h>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace sinew::detail {

namespace {

// Up to this many loops are searched without a tree.
constexpr std::size_t kFewLoops = 4;
constexpr std::size_t kLoopsPerLeaf = 2;

// Part of the largest coordinate by which the box of a loop is widened. A projection is rounded, so it may lie outside
// the box by some units in the last place of the coordinates.
constexpr double kBoxMargin = 1e-13;

// A box that holds all projections on a loop. For a loop with a coordinate that is not finite this is the whole plane,
// because nothing is known about its projections.
Box boxOf(PolylineProjector const& loop)
{
    Box box;
    double largest = 0;
    for (Vector3 const& v : loop.points) {
        if (!std::isfinite(v.x) || !std::isfinite(v.y)) return Box::plane();
        box.include(tzNM::vect2<double>(v.x, v.y));
        largest = std::max({largest, std::fabs(v.x), std::fabs(v.y)});
    }
    box.widen(kBoxMargin * largest);
    return box;
}

} // namespace

std::unique_ptr<LoopBoxes> LoopBoxes::build(Loops const& loops)
{
    if (loops.size() <= kFewLoops) return nullptr;
    std::vector<Box> boxes;
    boxes.reserve(loops.size());
    for (auto const& loop : loops) boxes.push_back(boxOf(*loop));
    auto tree = std::make_unique<LoopBoxes>();
    tree->order_.resize(loops.size());
    std::iota(tree->order_.begin(), tree->order_.end(), std::size_t{0});
    tree->nodes_.reserve(2 * loops.size());
    tree->nodes_.emplace_back();
    tree->split(0, 0, loops.size(), boxes);
    return tree;
}

// Makes `node` the box of the loops order_[first] to order_[last - 1], and halves them along its longer side until few
// are left.
void LoopBoxes::split(std::size_t node, std::size_t first, std::size_t last, std::vector<Box> const& boxes)
{
    assert(first < last && last <= order_.size());
    Node all;
    for (std::size_t i = first; i < last; ++i) all.box.include(boxes[order_[i]]);
    if (last - first <= kLoopsPerLeaf) {
        all.first = first;
        all.loops = last - first;
        nodes_[node] = all;
        return;
    }
    int const axis = all.box.high.x - all.box.low.x > all.box.high.y - all.box.low.y ? 0 : 1;
    // Twice the middle of a loop's box. The infinite box has none; 0 gives it a defined place in the order.
    auto const middle = [&](std::size_t loop) {
        double const sum = boxes[loop].low[axis] + boxes[loop].high[axis];
        return std::isnan(sum) ? 0 : sum;
    };
    std::size_t const half = first + (last - first) / 2;
    auto const at = [&](std::size_t i) { return order_.begin() + static_cast<std::ptrdiff_t>(i); };
    std::nth_element(at(first), at(half), at(last),
                     [&](std::size_t a, std::size_t b) { return middle(a) < middle(b); });
    all.first = nodes_.size();
    nodes_[node] = all;
    nodes_.resize(nodes_.size() + 2);
    split(all.first, first, half, boxes);
    split(all.first + 1, half, last, boxes);
}

} // namespace sinew::detail
