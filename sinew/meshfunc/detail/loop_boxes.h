#pragma once

/// A tree of boxes around boundary loops, to find those that can be nearest to a point without asking all of them.

#include <cstddef>
#include <memory>
#include <vector>

#include <sinew/fields/polyline_projector.h>
#include <sinew/framework/vect2.h>

namespace sinew::detail {

class LoopBoxes
{
public:
    using Loops = std::vector<std::unique_ptr<PolylineProjector>>;

    /// For these loops. Null if they are so few that asking them all is as good.
    static std::unique_ptr<LoopBoxes> build(Loops const& loops);

    std::size_t loopCount() const { return order_.size(); }

    /// Calls visit(k) for every loop k that may have a point at a squared distance of `*best` or less from `p`, in any
    /// order, near ones early. `visit` lowers `*best` when it finds a nearer point. Loops at an equal distance are all
    /// visited, so that the caller can decide ties.
    template <typename Visit>
    void visitNearest(tzNM::vect2<double> const& p, double const* best, Visit const& visit) const
    {
        std::size_t waiting[kDeepest];
        std::size_t count = 0;
        waiting[count++] = 0;
        while (count > 0) {
            Node const& node = nodes_[waiting[--count]];
            if (node.lowerBoundSq(p) > *best) continue; // a NaN bound is visited
            if (node.loops > 0) {
                for (std::size_t i = 0; i < node.loops; ++i) visit(order_[node.first + i]);
                continue;
            }
            std::size_t const left = node.first, right = node.first + 1;
            bool const leftIsNearer = nodes_[left].lowerBoundSq(p) <= nodes_[right].lowerBoundSq(p);
            waiting[count++] = leftIsNearer ? right : left;
            waiting[count++] = leftIsNearer ? left : right;
        }
    }

private:
    /// Halving any number of loops ends before; the nodes waiting are at most one a level and one more.
    static constexpr std::size_t kDeepest = 8 * sizeof(std::size_t) + 2;

    struct Node
    {
        tzNM::vect2<double> low;
        tzNM::vect2<double> high;
        std::size_t first = 0; // the first of two children, or of the loops in order_
        std::size_t loops = 0; // 0 for a node with children

        /// A bound below the squared distance to whatever a projection on a loop inside can give, rounding included.
        double lowerBoundSq(tzNM::vect2<double> const& p) const;
    };

    void split(std::size_t node, std::size_t first, std::size_t last, std::vector<Node> const& boxes);

    std::vector<Node> nodes_;
    std::vector<std::size_t> order_;
};

inline double LoopBoxes::Node::lowerBoundSq(tzNM::vect2<double> const& p) const
{
    double sum = 0;
    for (int k = 0; k < 2; ++k) {
        double const below = low[k] - p[k];
        double const above = p[k] - high[k];
        double const outside = below > above ? below : above;
        if (outside > 0) sum += outside * outside;
    }
    // The distances compared with it are rounded in a few places, each by less than 1e-15 of the whole.
    return sum * (1 - 1e-13);
}

} // namespace sinew::detail
