// The algorithm. Degrees and sizes |L| count nodes; a variable is a set of indistinguishable nodes.
//
//     for each node u: bound(u) := degree of u
//     while nodes remain:
//         p  := the variable with the smallest bound; among equal bounds, the smallest index
//         Lp := the neighbourhood of p
//         d  := |Lp| + |p| - 1, the exact degree of each node of p
//         if d > bound(p): bound(p) := d; return p to the queue; continue
//         eliminate p and absorb its elements
//         for each element e with variables in Lp: outside(e) := |Le \ Lp|
//         for each variable u in Lp:
//             remove from the list of u: dead entries, elements with outside(e) = 0, variables in Lp
//             if the list is empty: eliminate u together with p                          (mass elimination)
//             else: outside(u) := largest outside(e) of its elements + number of nodes in its other neighbours
//                   add the element p to the list of u
//         for each remaining variable u in Lp:
//             bound(u) := max(bound(u) - number of nodes eliminated, |Lp| - 1 + outside(u))
//         merge the variables in Lp that have equal lists                              (indistinguishable nodes)
//         p becomes an element with the variables Lp; they return to the queue
//         number the eliminated nodes in ascending order
//
// Mass elimination keeps to the rule. Elimination of a node of the smallest degree d lowers other degrees by at most
// one, and the degree of a node becomes d - 1 only if its neighbours, itself included, are those of the eliminated
// node. These nodes are therefore the next ones in the order, and among them the smallest index is first.
//
// Literature:
//   D. J. Rose, A graph-theoretic study of the numerical solution of sparse positive definite systems of linear
//     equations, 1972, for the rule.
//   A. George, J. Liu, The evolution of the minimum degree ordering algorithm, SIAM Review 31, 1989, for the quotient
//     graph, element absorption, mass elimination and indistinguishable nodes.
//   P. Amestoy, T. Davis, I. Duff, An approximate minimum degree ordering algorithm, SIAM Journal on Matrix Analysis
//     and Applications 17, 1996, for outside(e) and the comparison of hashes.
//   P. Amestoy, T. Davis, I. Duff, Algorithm 837: AMD, an approximate minimum degree ordering algorithm, ACM
//     Transactions on Mathematical Software 30, 2004, for the number of neighbours that makes a node dense.
// Differences:
//   - Degrees are exact and count the other nodes of the same variable (they are not external degrees). Amestoy, Davis
//     and Duff use an upper bound in place of the degree. Here the queue holds lower bounds, and the exact degree is
//     computed only for the variable at the front of the queue.
//   - Ties are broken by the smallest index, and one pivot is eliminated at a time. Liu's multiple elimination
//     (Modification of the minimum-degree algorithm by multiple elimination, 1985) would give another order.
//   - Dense nodes are ordered by their degrees like all others, not placed last. Only the updates of their lists are
//     postponed until they reach the front of the queue.

#include <sinew/sparse/detail/minimum_degree.h>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <utility>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/sparse/detail/degree_queue.h>
#include <sinew/sparse/detail/degree_update.h>
#include <sinew/sparse/detail/quotient_graph.h>
#include <sinew/sparse/detail/supervariables.h>

namespace sinew::detail {

namespace {

// Number of nodes at the front of the queue between two looks at the meter: reading the clock takes a tenth of the time
// of a quick elimination.
constexpr unsigned kNodesPerLook = 16;

// The elimination of all nodes, as described at the head of this file.
class MinimumDegree
{
public:
    MinimumDegree(Graph graph, int denseDegree);

    std::vector<int> run(ProgressMeter* meter);

private:
    int popVariable();
    void push(int u);

    void eliminate(int p);
    void removeNodes(int u);

    QuotientGraph graph_;
    Supervariables supervariables_;
    DegreeUpdate update_;
    DegreeQueue queue_;                  // outdated entries are ignored when they are popped
    Neighbourhood neighbourhood_;        // of the variable at the front of the queue
    std::vector<int> indistinguishable_; // variables of the neighbourhood that are eliminated with the pivot
    std::vector<int> eliminated_;        // nodes of the pivot and of these variables
};

MinimumDegree::MinimumDegree(Graph graph, int denseDegree)
    : graph_(std::move(graph), denseDegree), supervariables_(graph_.size()), update_(graph_), queue_(graph_.size())
{
    for (int u = 0; u < graph_.size(); ++u) push(u);
}

std::vector<int> MinimumDegree::run(ProgressMeter* meter)
{
    int const n = graph_.size();
    std::vector<int> perm(asIndex(n));
    unsigned looks = 0;
    for (int position = 0; position < n;) {
        if (meter && ++looks % kNodesPerLook == 0) meter->reached(fractionOf(position, n));
        int const p = popVariable();
        graph_.findNeighbourhood(p, neighbourhood_);
        Variable& variable = graph_.variable(p);
        int const degree = neighbourhood_.weight + variable.weight - 1;
        assert(degree >= variable.degree);
        if (degree > variable.degree) {
            variable.degree = degree;
            if (graph_.isDense(p)) graph_.makeOrdinaryIfSparse(p, neighbourhood_);
            push(p);
            continue;
        }
        eliminate(p);
        for (int node : eliminated_) perm[asIndex(node)] = position++;
    }
    return perm;
}

// The live variable with the smallest bound of the degree, then the smallest index.
int MinimumDegree::popVariable()
{
    for (;;) {
        auto const [u, degree] = queue_.pop();
        if (graph_.variable(u).isLive() && graph_.variable(u).degree == degree) return u;
    }
}

void MinimumDegree::push(int u)
{
    queue_.push(u, graph_.variable(u).degree);
}

// Eliminates the pivot p, whose neighbourhood has just been found, and all nodes that are indistinguishable from it.
void MinimumDegree::eliminate(int p)
{
    eliminated_.clear();
    removeNodes(p);
    update_.updateLists(p, neighbourhood_, indistinguishable_);
    for (int u : indistinguishable_) removeNodes(u);
    update_.updateBounds(neighbourhood_, static_cast<int>(eliminated_.size()));
    if (eliminated_.size() > 1) std::sort(eliminated_.begin(), eliminated_.end());
    assert(eliminated_.front() == p);
    if (neighbourhood_.variables.empty()) return;
    supervariables_.merge(graph_, neighbourhood_, update_.hashes());
    graph_.addElement(p, neighbourhood_);
    for (int u : neighbourhood_.variables) push(u);
}

void MinimumDegree::removeNodes(int u)
{
    graph_.eliminate(u);
    supervariables_.appendNodes(u, eliminated_);
}

} // namespace

int defaultDenseDegree(int nodeCount)
{
    constexpr int kSmallest = 64;     // shorter lists are rewritten quickly
    constexpr double kTimesRoot = 10; // as in Algorithm 837
    return std::max(kSmallest, static_cast<int>(kTimesRoot * std::sqrt(static_cast<double>(nodeCount))));
}

std::vector<int> minimumDegree(Graph graph, int denseDegree, ProgressMeter* meter)
{
    assert(denseDegree >= 0);
    return MinimumDegree(std::move(graph), denseDegree).run(meter);
}

std::vector<int> orderingOf(SparseRows const& rows, ProgressMeter* meter)
{
    if (!isWellFormed(rows)) return {};
    return minimumDegree(graphOf(rows), defaultDenseDegree(static_cast<int>(rows.size())), meter);
}

} // namespace sinew::detail
