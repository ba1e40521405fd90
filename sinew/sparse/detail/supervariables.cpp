#include <sinew/sparse/detail/supervariables.h>

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <numeric>

namespace sinew::detail {

namespace {

// A power of two, because a remainder takes long to compute.
std::size_t bucketCount(int nodeCount)
{
    std::size_t count = 1;
    while (count < asIndex(nodeCount)) count *= 2;
    return count;
}

} // namespace

Supervariables::Supervariables(int nodeCount)
    : nextNode_(asIndex(nodeCount), kNone), lastNode_(asIndex(nodeCount)), bucketHead_(bucketCount(nodeCount), kNone),
      bucketNext_(asIndex(nodeCount)), markOf_(asIndex(nodeCount), 0)
{
    std::iota(lastNode_.begin(), lastNode_.end(), 0);
}

void Supervariables::appendNodes(int u, std::vector<int>& nodes) const
{
    for (int node = u; node != kNone; node = nextNode_[asIndex(node)]) nodes.push_back(node);
}

void Supervariables::merge(QuotientGraph& graph, Neighbourhood& neighbourhood, std::vector<std::uint32_t> const& hashes)
{
    std::vector<int>& variables = neighbourhood.variables;
    assert(hashes.size() == variables.size());
    for (std::size_t k = 0; k < variables.size(); ++k) {
        if (graph.isDense(variables[k])) continue;
        int& head = bucketHead_[bucketOf(hashes[k])];
        bucketNext_[asIndex(variables[k])] = head;
        head = variables[k];
    }
    for (std::size_t k = 0; k < variables.size(); ++k) {
        if (graph.isDense(variables[k])) continue;
        int& head = bucketHead_[bucketOf(hashes[k])];
        int const first = head;
        head = kNone; // empty for the next call, and for the other variables of this bucket
        if (first == kNone || bucketNext_[asIndex(first)] == kNone) continue;
        candidates_.clear();
        for (int v = first; v != kNone; v = bucketNext_[asIndex(v)]) candidates_.push_back(v);
        mergeCandidates(graph);
    }
    auto const isMerged = [&graph](int u) { return !graph.variable(u).isLive(); };
    variables.erase(std::remove_if(variables.begin(), variables.end(), isMerged), variables.end());
}

// Compares the candidates pairwise. A merged variable takes the place of the first one of its pair.
void Supervariables::mergeCandidates(QuotientGraph& graph)
{
    for (std::size_t a = 0; a + 1 < candidates_.size(); ++a) {
        int const first = candidates_[a];
        if (!graph.variable(first).isLive()) continue;
        ++mark_;
        int const* const list = graph.listOf(first);
        for (int k = 0; k < graph.variable(first).listLength; ++k) markOf_[asIndex(list[k])] = mark_;
        for (std::size_t b = a + 1; b < candidates_.size(); ++b) {
            int const second = candidates_[b];
            if (!graph.variable(second).isLive() || !hasMarkedEntries(graph, second, first)) continue;
            candidates_[a] = mergePair(graph, candidates_[a], second);
        }
    }
}

// Whether the list of u has the same entries as that of `marked`, whose entries are marked.
bool Supervariables::hasMarkedEntries(QuotientGraph const& graph, int u, int marked) const
{
    Variable const& variable = graph.variable(u);
    Variable const& other = graph.variable(marked);
    if (variable.listLength != other.listLength || variable.elementCount != other.elementCount) return false;
    int const* const list = graph.listOf(u);
    return std::all_of(list, list + variable.listLength, [this](int x) { return markOf_[asIndex(x)] == mark_; });
}

int Supervariables::mergePair(QuotientGraph& graph, int a, int b)
{
    assert(a != b && graph.variable(a).isLive() && graph.variable(b).isLive());
    auto const [kept, merged] = std::minmax(a, b);
    Variable& variable = graph.variable(kept);
    variable.weight += graph.variable(merged).weight;
    graph.variable(merged).weight = 0;
    variable.degree = std::max(variable.degree, graph.variable(merged).degree);
    nextNode_[asIndex(lastNode_[asIndex(kept)])] = merged;
    lastNode_[asIndex(kept)] = lastNode_[asIndex(merged)];
    return kept;
}

} // namespace sinew::detail
