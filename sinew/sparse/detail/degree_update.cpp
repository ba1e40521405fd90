#include <sinew/sparse/detail/degree_update.h>

#include <algorithm>
#include <cassert>
#include <cstddef>

namespace sinew::detail {

namespace {

// What the list of a variable holds beside the new element.
struct Remainder
{
    bool isEmpty;       // no other entry remains: the variable is indistinguishable from the pivot
    int outsideWeight;  // lower bound of the number of adjacent nodes outside the pivot's neighbourhood
    std::uint32_t hash; // the sum of the remaining entries
};

// The ordinary variables of the neighbourhood subtract their weights themselves. Those of dense variables are
// subtracted here, because the elements of a dense variable are not visited.
void beginMeasurement(QuotientGraph const& graph, Neighbourhood const& neighbourhood, int e, Element& element)
{
    element.measuredAt = neighbourhood.number;
    element.outside = element.weight;
    for (int u : graph.denseVariablesOf(e)) {
        if (graph.variable(u).lastNumber == neighbourhood.number) element.outside -= graph.variable(u).weight;
    }
}

// Sets Element::outside for every element that shares an ordinary variable with the neighbourhood.
void measureElements(QuotientGraph& graph, Neighbourhood const& neighbourhood)
{
    for (int u : neighbourhood.variables) {
        Variable const& variable = graph.variable(u);
        int const* const list = graph.listOf(u);
        for (int k = 0; k < variable.elementCount; ++k) { // the list of a dense variable has no elements
            Element& element = graph.element(list[k]);
            if (!element.isLive()) continue;
            if (element.measuredAt != neighbourhood.number) beginMeasurement(graph, neighbourhood, list[k], element);
            element.outside -= variable.weight;
        }
    }
}

Remainder pruneList(QuotientGraph& graph, Neighbourhood const& neighbourhood, int pivot, int u)
{
    Variable& variable = graph.variable(u);
    int* const list = graph.listOf(u);
    std::uint32_t hash = 0;
    int kept = 0;
    int largestOutside = 0;
    for (int k = 0; k < variable.elementCount; ++k) {
        int const e = list[k];
        Element& element = graph.element(e);
        if (!element.isLive()) continue;
        assert(element.measuredAt == neighbourhood.number && element.outside >= 0);
        if (element.outside == 0) {
            element.weight = 0; // absorbed: the new element covers it
            continue;
        }
        largestOutside = std::max(largestOutside, element.outside);
        hash += static_cast<std::uint32_t>(e);
        list[kept++] = e;
    }
    int const keptElements = kept;
    int uncoveredWeight = 0;
    for (int k = variable.elementCount; k < variable.listLength; ++k) {
        int const v = list[k];
        Variable const& neighbour = graph.variable(v);
        if (!neighbour.isLive() || neighbour.lastNumber == neighbourhood.number) continue;
        uncoveredWeight += neighbour.weight;
        hash += static_cast<std::uint32_t>(v);
        list[kept++] = v;
    }
    if (kept == 0) return {true, 0, 0};
    assert(kept < variable.listLength); // the list held the pivot or an element of the pivot
    // The pivot becomes the first entry; one element and one neighbour move to the ends of their parts.
    list[kept] = list[keptElements];
    list[keptElements] = list[0];
    list[0] = pivot;
    variable.elementCount = keptElements + 1;
    variable.listLength = kept + 1;
    // The elements may overlap outside the neighbourhood, so only the largest one is certain to count in full.
    return {false, largestOutside + uncoveredWeight, hash};
}

// The list of a dense variable is not rewritten, so the number of its neighbours outside is unknown until its exact
// degree is computed. Comparison with the pivot reads the whole list. It is needed only if the bound of the degree does
// not exceed the degree of the pivot.
Remainder denseRemainder(QuotientGraph const& graph, Neighbourhood const& neighbourhood, int pivot, int u)
{
    bool const isIndistinguishable =
        graph.variable(u).degree <= graph.variable(pivot).degree && graph.isDenseVariableInside(u, neighbourhood);
    return {isIndistinguishable, 0, 0};
}

} // namespace

void DegreeUpdate::updateLists(int pivot, Neighbourhood& neighbourhood, std::vector<int>& indistinguishable)
{
    measureElements(graph_, neighbourhood);
    outsideWeights_.resize(neighbourhood.variables.size());
    hashes_.resize(neighbourhood.variables.size());
    indistinguishable.clear();
    std::size_t kept = 0;
    for (int u : neighbourhood.variables) {
        Remainder const remainder = graph_.isDense(u) ? denseRemainder(graph_, neighbourhood, pivot, u)
                                                      : pruneList(graph_, neighbourhood, pivot, u);
        if (remainder.isEmpty) {
            indistinguishable.push_back(u);
            continue;
        }
        neighbourhood.variables[kept] = u;
        outsideWeights_[kept] = remainder.outsideWeight;
        hashes_[kept] = remainder.hash;
        ++kept;
    }
    neighbourhood.variables.resize(kept);
    outsideWeights_.resize(kept);
    hashes_.resize(kept);
    for (int u : indistinguishable) neighbourhood.weight -= graph_.variable(u).weight;
}

void DegreeUpdate::updateBounds(Neighbourhood const& neighbourhood, int eliminatedCount)
{
    assert(neighbourhood.variables.size() == outsideWeights_.size());
    int const inside = neighbourhood.weight - 1; // the other nodes of the new element
    for (std::size_t k = 0; k < outsideWeights_.size(); ++k) {
        int& degree = graph_.variable(neighbourhood.variables[k]).degree;
        degree = std::max(degree - eliminatedCount, inside + outsideWeights_[k]);
    }
}

} // namespace sinew::detail
