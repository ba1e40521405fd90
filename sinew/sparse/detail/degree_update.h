#pragma once

/// The update of lists and degrees after the elimination of a pivot.

#include <cstdint>
#include <vector>

#include <sinew/sparse/detail/quotient_graph.h>

namespace sinew::detail {

/// Updates the variables in the neighbourhood of an eliminated pivot: their lists, and the lower bounds of their
/// degrees.
///
/// Source: P. Amestoy, T. Davis, I. Duff, An approximate minimum degree ordering algorithm, SIAM Journal on Matrix
/// Analysis and Applications 17, 1996, for the sizes of the elements outside the neighbourhood, for aggressive
/// absorption and for the hashes. They compute an upper bound of each degree from the sizes; this class
/// computes a lower bound.
class DegreeUpdate
{
public:
    explicit DegreeUpdate(QuotientGraph& graph) : graph_(graph) {}

    /// Rewrites the lists of the ordinary variables in the neighbourhood of `pivot`, which has just been eliminated.
    /// Each list receives the new element `pivot` and loses everything that the new element covers. Elements whose
    /// variables are all in the neighbourhood are absorbed.
    ///
    /// Variables that are indistinguishable from the pivot are moved from `neighbourhood` to `indistinguishable`. They
    /// are still to be eliminated; their lists are not rewritten.
    void updateLists(int pivot, Neighbourhood& neighbourhood, std::vector<int>& indistinguishable);

    /// Sets the lower bounds of the degrees, after `updateLists` for the same neighbourhood.
    /// @param eliminatedCount  number of nodes that leave with the pivot, those of the pivot included
    void updateBounds(Neighbourhood const& neighbourhood, int eliminatedCount);

    /// For each variable of the neighbourhood after `updateLists`: the hash of its list. Lists of the same entries have
    /// the same hash. That of a dense variable has no meaning.
    std::vector<std::uint32_t> const& hashes() const { return hashes_; }

private:
    QuotientGraph& graph_;

    // For each variable of the neighbourhood: a lower bound of the number of adjacent nodes outside the neighbourhood,
    // and the hash of its list.
    std::vector<int> outsideWeights_;
    std::vector<std::uint32_t> hashes_;
};

} // namespace sinew::detail
