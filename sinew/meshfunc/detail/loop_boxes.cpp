#include <sinew/meshfunc/detail/loop_boxes.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace sinew::detail {

namespace {

constexpr std::size_t kFewLoops = 4;
constexpr std::size_t kLoopsPerLeaf = 2;

/// A projection is rounded, so it may lie outside its loop's box by some units in the last place of the coordinates.
constexpr double kBoxMargin = 1e-13;

} // namespace

std::unique_ptr<LoopBoxes> LoopBoxes::build(Loops const& loops)
{
    if (loops.size() <= kFewLoops) return nullptr;
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    std::vector<Node> boxes(loops.size());
    for (std::size_t k = 0; k < loops.size(); ++k) {
        Node& box = boxes[k];
        box.low = {kInfinity, kInfinity};
        box.high = {-kInfinity, -kInfinity};
        double largest = 0;
        bool finite = true;
        for (Vector3 const& v : loops[k]->points) {
            box.low = {std::min(box.low.x, v.x), std::min(box.low.y, v.y)};
            box.high = {std::max(box.high.x, v.x), std::max(box.high.y, v.y)};
            largest = std::max({largest, std::fabs(v.x), std::fabs(v.y)});
            finite = finite && std::isfinite(v.x) && std::isfinite(v.y);
        }
        tzNM::vect2<double> const margin(kBoxMargin * largest, kBoxMargin * largest);
        box.low -= margin;
        box.high += margin;
        if (!finite) { // may answer anything, so it is always asked
            box.low = {-kInfinity, -kInfinity};
            box.high = {kInfinity, kInfinity};
        }
    }
    auto tree = std::make_unique<LoopBoxes>();
    tree->order_.resize(loops.size());
    std::iota(tree->order_.begin(), tree->order_.end(), std::size_t{0});
    tree->nodes_.reserve(2 * loops.size());
    tree->nodes_.emplace_back();
    tree->split(0, 0, loops.size(), boxes);
    return tree;
}

/// Makes `node` the box of loops order_[first] to order_[last], halved along its longer side until few are left.
void LoopBoxes::split(std::size_t node, std::size_t first, std::size_t last, std::vector<Node> const& boxes)
{
    Node all = boxes[order_[first]];
    for (std::size_t i = first + 1; i < last; ++i) {
        Node const& box = boxes[order_[i]];
        all.low = {std::min(all.low.x, box.low.x), std::min(all.low.y, box.low.y)};
        all.high = {std::max(all.high.x, box.high.x), std::max(all.high.y, box.high.y)};
    }
    if (last - first <= kLoopsPerLeaf) {
        all.first = first;
        all.loops = last - first;
        nodes_[node] = all;
        return;
    }
    int const axis = all.high.x - all.low.x > all.high.y - all.low.y ? 0 : 1;
    auto const middle = [&](std::size_t loop) {
        double const sum = boxes[loop].low[axis] + boxes[loop].high[axis];
        return std::isnan(sum) ? 0 : sum; // of an infinite box: it must have some place in the order
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
