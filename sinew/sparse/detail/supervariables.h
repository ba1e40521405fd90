#pragma once

/// The nodes of each supervariable, and the search for variables that have become indistinguishable.
///
/// Source: P. Amestoy, T. Davis, I. Duff, An approximate minimum degree ordering algorithm, SIAM Journal on Matrix
/// Analysis and Applications 17, 1996, for the comparison of variables with equal hashes only.

#include <cstdint>
#include <vector>

#include <sinew/sparse/detail/quotient_graph.h>

namespace sinew::detail {

class Supervariables
{
public:
    /// Each node is a variable of its own.
    explicit Supervariables(int nodeCount);

    /// Appends all nodes of the variable `u`, in no particular order.
    void appendNodes(int u, std::vector<int>& nodes) const;

    /// Merges the ordinary variables of the neighbourhood that have equal lists, and removes merged variables from
    /// `neighbourhood`. Equal lists mean that the variables are adjacent to the same nodes, themselves included.
    ///
    /// The smaller index becomes the index of the merged variable. Its bound of the degree is the larger one of both.
    /// The lists must not hold dead entries.
    ///
    /// @param hashes  one for each variable of the neighbourhood: lists of the same entries have the same hash. Those
    /// of
    ///                dense variables are not read.
    void merge(QuotientGraph& graph, Neighbourhood& neighbourhood, std::vector<std::uint32_t> const& hashes);

private:
    std::size_t bucketOf(std::uint32_t hash) const { return hash & (bucketHead_.size() - 1); }
    void mergeCandidates(QuotientGraph& graph);
    bool hasMarkedEntries(QuotientGraph const& graph, int u, int marked) const;
    int mergePair(QuotientGraph& graph, int a, int b);

    static constexpr int kNone = -1;

    std::vector<int> nextNode_, lastNode_; // the nodes of each variable as a linked list, which begins at its index
    std::vector<int> bucketHead_;          // for each hash the first of a linked list of variables; all empty between
    std::vector<int> bucketNext_;          // calls of `merge`
    std::vector<int> candidates_;          // variables with equal hashes
    std::vector<std::int64_t> markOf_;     // of each entry of a list
    std::int64_t mark_ = 0;
};

} // namespace sinew::detail
