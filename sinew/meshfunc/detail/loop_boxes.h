#pragma once

/// A tree of boxes around boundary loops. It finds the loops that can be nearest to a point without projecting on all
/// of them.

#include <cassert>
#include <cstddef>
#include <memory>
#include <vector>

#include <sinew/fields/polyline_projector.h>
#include <sinew/framework/vect2.h>
#include <sinew/meshfunc/detail/box.h>

namespace sinew::detail {

/// The tree over the loops of one mesh function.
class LoopBoxes
{
public:
    using Loops = std::vector<std::unique_ptr<PolylineProjector>>;

    /// For these loops, none of which is null. Null for so few loops that a search through all of them is as fast.
    static std::unique_ptr<LoopBoxes> build(Loops const& loops);

    std::size_t loopCount() const { return order_.size(); }

    /// Calls visit(k) for every loop k that may have a point at a squared distance of `*best` or less from `p`. The
    /// order is arbitrary, but near loops tend to come early.
    ///
    /// `visit` lowers `*best` when it finds a nearer point. Loops at equal distances are all visited, so that the
    /// caller can decide ties.
    template <typename Visit>
    void visitNearest(tzNM::vect2<double> const& p, double const* best, Visit const& visit) const
    {
        std::size_t waiting[kMostWaiting];
        std::size_t count = 0;
        waiting[count++] = 0;
        while (count > 0) {
            Node const& node = nodes_[waiting[--count]];
            if (node.lowerBoundSq(p) > *best) continue; // a node whose bound is NaN is visited
            if (node.loops > 0) {
                for (std::size_t i = 0; i < node.loops; ++i) visit(order_[node.first + i]);
                continue;
            }
            std::size_t const left = node.first, right = node.first + 1;
            bool const leftIsNearer = nodes_[left].lowerBoundSq(p) <= nodes_[right].lowerBoundSq(p);
            assert(count + 2 <= kMostWaiting);
            waiting[count++] = leftIsNearer ? right : left;
            waiting[count++] = leftIsNearer ? left : right;
        }
    }

private:
    /// The tree has fewer levels than a number of loops has bits, because each level halves the loops. At most one node
    /// of each level is waiting, and one more.
    static constexpr std::size_t kMostWaiting = 8 * sizeof(std::size_t) + 2;

    /// Distances that are compared with a lower bound are rounded in a few places, each time by less than 1e-15 of
    /// their value. The bound is made smaller by this part of itself, which is more.
    static constexpr double kBoundMargin = 1e-13;

    struct Node
    {
        Box box;
        std::size_t first = 0; // the first of two children, or of the loops in order_
        std::size_t loops = 0; // 0 for a node with children

        /// A lower bound, rounding included, of the squared distance from `p` to the projections on the loops inside.
        double lowerBoundSq(tzNM::vect2<double> const& p) const;
    };

    void split(std::size_t node, std::size_t first, std::size_t last, std::vector<Box> const& boxes);

    std::vector<Node> nodes_;
    std::vector<std::size_t> order_;
};

inline double LoopBoxes::Node::lowerBoundSq(tzNM::vect2<double> const& p) const
{
    double sum = 0;
    for (int k = 0; k < 2; ++k) {
        double const below = box.low[k] - p[k];
        double const above = p[k] - box.high[k];
        double const outside = below > above ? below : above;
        if (outside > 0) sum += outside * outside;
    }
    return sum * (1 - kBoundMargin);
}

} // namespace sinew::detail
