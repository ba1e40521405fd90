#pragma once

/// The queue of the minimum-degree ordering: the smallest degree first, among equals the smallest node.

#include <algorithm>
#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

#include <sinew/sparse/detail/index_set.h>

namespace sinew::detail {

/// Entries are never changed: the user pushes a node again under its new degree and skips what is out of date.
///
/// Nearly all traffic is at low degrees, where sets of bits are several times faster than heaps; high degrees are
/// many and thinly filled, so a set of bits each would be a waste.
class DegreeQueue
{
public:
    explicit DegreeQueue(int nodeCount) : nodeCount_(nodeCount), heaps_(static_cast<std::size_t>(nodeCount)) {}

    void push(int node, int degree)
    {
        smallest_ = std::min(smallest_, degree);
        if (degree < kLowDegrees) {
            while (static_cast<int>(low_.size()) <= degree) low_.emplace_back(nodeCount_);
            low_[degree].insert(node);
        } else {
            std::vector<int>& heap = heaps_[degree];
            heap.push_back(node);
            std::push_heap(heap.begin(), heap.end(), std::greater<int>());
        }
    }

    /// The next (node, degree). The queue must not be empty.
    std::pair<int, int> pop()
    {
        while (isEmptyAt(smallest_)) ++smallest_;
        if (smallest_ < kLowDegrees) return {low_[smallest_].removeSmallest(), smallest_};
        std::vector<int>& heap = heaps_[smallest_];
        std::pop_heap(heap.begin(), heap.end(), std::greater<int>());
        int const node = heap.back();
        heap.pop_back();
        return {node, smallest_};
    }

private:
    static constexpr int kLowDegrees = 32;

    bool isEmptyAt(int degree) const
    {
        if (degree >= kLowDegrees) return heaps_[degree].empty();
        return degree >= static_cast<int>(low_.size()) || low_[degree].empty();
    }

    int nodeCount_;
    int smallest_ = 0;
    std::vector<IndexSet> low_;           // per degree below kLowDegrees
    std::vector<std::vector<int>> heaps_; // per degree from kLowDegrees
};

} // namespace sinew::detail
