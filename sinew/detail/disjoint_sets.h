#pragma once

/// Sets of the numbers 0 to n - 1 that are joined step by step, such as the vertices of the connected pieces of a mesh.
/// Not installed.

#include <numeric>
#include <vector>

#include <sinew/detail/as_index.h>

namespace sinew::detail {

/// At first each number is a set of its own.
///
/// Source: R. E. Tarjan, J. van Leeuwen, Worst-case Analysis of Set Union Algorithms, Journal of the ACM 31, 1984 (path
/// halving).
class DisjointSets
{
public:
    explicit DisjointSets(std::size_t count) : parent_(count) { std::iota(parent_.begin(), parent_.end(), 0); }

    /// The number that stands for the set of `i`, the same for all of its numbers.
    int setOf(int i)
    {
        while (parent_[asIndex(i)] != i) {
            int& up = parent_[asIndex(i)];
            up = parent_[asIndex(up)]; // shortens the path for later searches
            i = up;
        }
        return i;
    }

    /// Makes one set of those of `i` and `j`, for which the one of `i` stands.
    void join(int i, int j) { parent_[asIndex(setOf(j))] = setOf(i); }

private:
    std::vector<int> parent_;
};

} // namespace sinew::detail
