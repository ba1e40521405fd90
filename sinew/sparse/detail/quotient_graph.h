#pragma once

/// The state of the minimum-degree ordering: which nodes have been eliminated, and how the others are connected.

#include <cstddef>
#include <cstdint>
#include <vector>

#include <sinew/detail/as_index.h>
#include <sinew/sparse/detail/graph.h>

namespace sinew::detail {

/// A supervariable: a set of indistinguishable nodes, or a single node. Its index is that of its smallest node; the
/// variables of the other nodes have the weight 0.
///
/// The list of a variable holds first the elements that contain it, then the variables that are connected with it by
/// an edge of the graph and by none of these elements. Both parts may also hold dead entries, which are ignored.
///
/// The list of a dense variable holds the neighbours in the original graph and no elements. It is never rewritten.
struct Variable
{
    std::int64_t listStart;  ///< Where its list begins in the common array of all lists.
    std::int64_t lastNumber; ///< The last `Neighbourhood::number` whose neighbourhood contains this variable.
    int elementCount;        ///< Number of elements at the beginning of its list.
    int listLength;          ///< Number of all entries of its list.
    int weight;              ///< Number of its nodes; 0 if it was eliminated or merged into another variable.
    int degree;              ///< Lower bound of its degree, counted in nodes; the key in the queue.

    bool isLive() const { return weight > 0; }
};

/// The clique that an eliminated pivot leaves, under the index of the pivot.
struct Element
{
    std::int64_t start;      ///< Where its list of variables begins in the common array of all elements.
    std::int64_t measuredAt; ///< The `Neighbourhood::number` for which `outside` was set.
    int length;              ///< Number of variables in its list, those that were merged later included.
    int denseCount;          ///< Number of dense variables, which are the last ones of its list.
    int weight;              ///< Number of nodes at its creation; 0 if there is no element or if it was absorbed.
    int outside;             ///< Number of its nodes outside the neighbourhood with the number `measuredAt`.

    bool isLive() const { return weight > 0; }
};

/// The variables that are adjacent to one variable, which itself is not included.
struct Neighbourhood
{
    std::int64_t number = 0;      ///< Identifies the neighbourhood; see `Variable::lastNumber`.
    std::vector<int> variables;   ///< Each once.
    std::size_t coveredCount = 0; ///< So many of the first variables share an element with the variable.
    int weight = 0;               ///< Number of nodes in all variables.
};

/// A part of an array, for range-based loops.
struct IndexRange
{
    int const* first;
    int const* last;

    int const* begin() const { return first; }
    int const* end() const { return last; }
};

/// The graph that the elimination of some nodes leaves.
///
/// The elimination of a node connects all its neighbours with each other. The quotient graph represents this clique by
/// one `Element`, which lists its variables. Its memory is therefore proportional to the original graph.
///
/// Source: A. George, J. Liu, The evolution of the minimum degree ordering algorithm, SIAM Review 31, 1989, for the
/// quotient graph, element absorption and indistinguishable nodes. P. Amestoy, T. Davis, I. Duff, An approximate
/// minimum degree ordering algorithm, SIAM Journal on Matrix Analysis and Applications 17, 1996, for the storage of the
/// elements and the neighbours of a variable in the place of its original neighbours.
class QuotientGraph
{
public:
    /// @param denseDegree  Nodes with more neighbours than this become dense variables. Their lists are not rewritten
    ///                     in each elimination that they are adjacent to. Only speed depends on this number.
    QuotientGraph(Graph graph, int denseDegree);

    int size() const { return static_cast<int>(variables_.size()); }

    Variable& variable(int u) { return variables_[asIndex(u)]; }
    Variable const& variable(int u) const { return variables_[asIndex(u)]; }
    Element& element(int e) { return elements_[asIndex(e)]; }
    Element const& element(int e) const { return elements_[asIndex(e)]; }

    /// Whether `u` is a dense variable. This is not a field of `Variable`, so that two variables fit into one cache
    /// line. Most graphs have no dense variable.
    bool isDense(int u) const { return !denseIndex_.empty() && denseIndex_[asIndex(u)] != kNotDense; }

    /// The list of a variable: `elementCount` elements, then variables, `listLength` entries in all.
    int* listOf(int u) { return lists_.data() + variable(u).listStart; }
    int const* listOf(int u) const { return lists_.data() + variable(u).listStart; }

    /// The variables of an element. Some may have been merged into others since. None has been eliminated if the
    /// element is live.
    IndexRange variablesOf(int e) const
    {
        int const* const first = elementVariables_.data() + element(e).start;
        return {first, first + element(e).length};
    }

    /// The last variables of `variablesOf(e)`, which are the dense ones.
    IndexRange denseVariablesOf(int e) const
    {
        int const* const last = variablesOf(e).last;
        return {last - element(e).denseCount, last};
    }

    /// Whether all live neighbours of the dense variable `u` are in `neighbourhood`.
    bool isDenseVariableInside(int u, Neighbourhood const& neighbourhood) const;

    /// Sets `neighbourhood` to the neighbourhood of `u` and gives it a new number. The exact degree of each node of `u`
    /// is then the weight of the neighbourhood plus the number of the other nodes of `u`.
    void findNeighbourhood(int u, Neighbourhood& neighbourhood);

    /// Makes the dense variable `u` an ordinary one if its list, without dead entries, has at most `denseDegree`
    /// entries. `neighbourhood` must be that of `u`, just found.
    void makeOrdinaryIfSparse(int u, Neighbourhood const& neighbourhood);

    /// Marks `u` as eliminated and absorbs all its elements: the new element of the pivot covers them.
    void eliminate(int u);

    /// Makes the eliminated pivot `p` the element of the variables in `neighbourhood`, which must be live. The order of
    /// `neighbourhood.variables` may change. The lists of ordinary variables must contain `p` already.
    void addElement(int p, Neighbourhood& neighbourhood);

private:
    IndexRange elementsOf(int u) const;
    IndexRange neighboursOf(int u) const;
    void compactElements();

    static constexpr int kNotDense = -1;

    std::size_t denseDegree_;
    std::vector<Variable> variables_;
    std::vector<Element> elements_; // one for each node, live once the node is a pivot
    std::vector<int> lists_;        // of the variables, in the place of the neighbours: no list ever grows
    std::vector<int> denseIndex_; // for each variable its index in denseElements_, or kNotDense; empty if none is dense
    std::vector<std::vector<int>> denseElements_; // for each dense variable its elements
    std::vector<int> elementVariables_;           // of all elements, in the order of their creation
    std::vector<int> elementOrder_;               // elements in the order of their creation
    std::size_t compactAt_;                       // a larger elementVariables_ is compacted
    std::int64_t neighbourhoodCount_ = 0;
};

} // namespace sinew::detail
