#pragma once

/// The search for variables that have become indistinguishable.

#include <cstdint>
#include <vector>

#include <sinew/sparse/detail/quotient_graph.h>

namespace sinew::detail {

/// The nodes of each supervariable, and the merging of variables that have become indistinguishable.
///
/// Source: P. Amestoy, T. Davis, I. Duff, An approximate minimum degree ordering algorithm, SIAM Journal on Matrix
/// Analysis and Applications 17, 1996, for hashes that limit the comparisons to a few variables.
class Supervariables
{
public:
    /// Creates one variable for each node.
    explicit Supervariables(int nodeCount);

    /// Appends all nodes of the variable `u`, in no particular order.
    void appendNodes(int u, std::vector<int>& nodes) const;

    /// Merges the ordinary variables of the neighbourhood that have equal lists, and removes merged variables from
    /// `neighbourhood`. Equal lists mean that the variables are adjacent to the same nodes, themselves included.
    ///
    /// The smaller index becomes the index of the merged variable. Its bound of the degree is the larger one of both.
    /// The lists must not hold dead entries.
    ///
    /// @param hashes  For each variable of the neighbourhood the hash of its list. Lists of the same entries must have
    ///                the same hash. The hashes of dense variables are not read.
    void merge(QuotientGraph& graph, Neighbourhood& neighbourhood, std::vector<std::uint32_t> const& hashes);

private:
    std::size_t bucketOf(std::uint32_t hash) const { return hash & (bucketHead_.size() - 1); }
    void mergeCandidates(QuotientGraph& graph);
    bool hasMarkedEntries(QuotientGraph const& graph, int u, int marked) const;
    int mergePair(QuotientGraph& graph, int a, int b);

    static constexpr int kNone = -1;

    // The nodes of a variable are a linked list, which starts at the index of the variable.
    std::vector<int> nextNode_, lastNode_;

    // The variables of one bucket of hashes are a linked list. Between calls of `merge` all buckets are empty.
    std::vector<int> bucketHead_, bucketNext_;

    std::vector<int> candidates_;      // the variables of one bucket
    std::vector<std::int64_t> markOf_; // for each entry of a list: mark_, if it is in the list that is compared
    std::int64_t mark_ = 0;
};

} // namespace sinew::detail
