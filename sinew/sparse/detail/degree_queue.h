#pragma once

/// The priority queue of the minimum-degree ordering.

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

#include <sinew/detail/as_index.h>
#include <sinew/sparse/detail/index_set.h>

namespace sinew::detail {

/// Pairs of a node and a degree, the smallest degree first, and among equal degrees the smallest node first.
///
/// An entry cannot be changed. When the degree of a node changes, the caller pushes the node again with its new degree,
/// and ignores the outdated entry when it is popped.
///
/// Almost all entries have low degrees. For these the queue holds one set of bits for each degree, because such sets
/// are several times faster than heaps. Higher degrees are numerous and have few entries each, so that sets of bits
/// would waste memory there. They have one heap each.
class DegreeQueue
{
public:
    /// Nodes and degrees are in [0, nodeCount).
    explicit DegreeQueue(int nodeCount) : low_(kLowDegrees, IndexSet(nodeCount)), heaps_(asIndex(nodeCount)) {}

    /// A pair with a low degree that is pushed again while it is in the queue is held once.
    void push(int node, int degree)
    {
        assert(asIndex(node) < heaps_.size() && asIndex(degree) < heaps_.size());
        smallest_ = std::min(smallest_, degree);
        if (degree < kLowDegrees) {
            low_[asIndex(degree)].insert(node);
        } else {
            std::vector<int>& heap = heaps_[asIndex(degree)];
            heap.push_back(node);
            std::push_heap(heap.begin(), heap.end(), std::greater<int>());
        }
    }

    /// Removes the first entry and returns it as (node, degree). The queue must not be empty.
    std::pair<int, int> pop()
    {
        while (isEmptyAt(smallest_)) ++smallest_;
        if (smallest_ < kLowDegrees) return {low_[asIndex(smallest_)].removeSmallest(), smallest_};
        std::vector<int>& heap = heaps_[asIndex(smallest_)];
        std::pop_heap(heap.begin(), heap.end(), std::greater<int>());
        int const node = heap.back();
        heap.pop_back();
        return {node, smallest_};
    }

private:
    // Degrees below this one have sets of bits. On meshes and grids, the degrees of almost all nodes are lower.
    static constexpr int kLowDegrees = 32;

    bool isEmptyAt(int degree) const
    {
        assert(asIndex(degree) < heaps_.size()); // otherwise the whole queue is empty
        return degree < kLowDegrees ? low_[asIndex(degree)].empty() : heaps_[asIndex(degree)].empty();
    }

    int smallest_ = 0;                    // no entry has a lower degree
    std::vector<IndexSet> low_;           // one for each degree below kLowDegrees
    std::vector<std::vector<int>> heaps_; // one for each degree; those of degrees below kLowDegrees stay empty
};

} // namespace sinew::detail
