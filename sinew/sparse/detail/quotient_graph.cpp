#include <sinew/sparse/detail/quotient_graph.h>

#include <algorithm>
#include <cassert>
#include <utility>

namespace sinew::detail {

QuotientGraph::QuotientGraph(Graph graph, int denseDegree)
    : denseDegree_(asIndex(denseDegree)), variables_(asIndex(graph.size())), elements_(variables_.size()),
      compactAt_(graph.neighbour.size() + variables_.size())
{
    elementVariables_.reserve(compactAt_);
    for (int u = 0; u < graph.size(); ++u) {
        int const degree = graph.degree(u);
        variable(u) = {graph.start[asIndex(u)], 0, 0, degree, 1, degree};
        if (degree > denseDegree) {
            denseIndex_.resize(variables_.size(), kNotDense);
            denseIndex_[asIndex(u)] = static_cast<int>(denseElements_.size());
            denseElements_.emplace_back();
        }
    }
    lists_ = std::move(graph.neighbour);
}

IndexRange QuotientGraph::elementsOf(int u) const
{
    if (isDense(u)) {
        std::vector<int> const& elements = denseElements_[asIndex(denseIndex_[asIndex(u)])];
        return {elements.data(), elements.data() + elements.size()};
    }
    return {listOf(u), listOf(u) + variable(u).elementCount};
}

IndexRange QuotientGraph::neighboursOf(int u) const
{
    return {listOf(u) + variable(u).elementCount, listOf(u) + variable(u).listLength};
}

// --- Neighbourhoods.

void QuotientGraph::findNeighbourhood(int u, Neighbourhood& neighbourhood)
{
    if (isDense(u)) {
        std::vector<int>& elements = denseElements_[asIndex(denseIndex_[asIndex(u)])];
        auto const isDead = [this](int e) { return !element(e).isLive(); };
        elements.erase(std::remove_if(elements.begin(), elements.end(), isDead), elements.end());
    }
    std::int64_t const number = ++neighbourhoodCount_;
    variable(u).lastNumber = number; // so that u does not become its own neighbour
    std::vector<int>& found = neighbourhood.variables;
    found.clear();
    int weight = 0;
    auto const add = [&](int v) {
        Variable& added = variable(v);
        if (!added.isLive() || added.lastNumber == number) return;
        added.lastNumber = number;
        weight += added.weight;
        found.push_back(v);
    };
    for (int e : elementsOf(u)) {
        for (int v : variablesOf(e)) add(v);
    }
    neighbourhood.coveredCount = found.size();
    for (int v : neighboursOf(u)) add(v);
    neighbourhood.number = number;
    neighbourhood.weight = weight;
}

bool QuotientGraph::isDenseVariableInside(int u, Neighbourhood const& neighbourhood) const
{
    assert(isDense(u));
    auto const areInside = [&](IndexRange variables) {
        return std::all_of(variables.begin(), variables.end(), [&](int v) {
            return !variable(v).isLive() || variable(v).lastNumber == neighbourhood.number;
        });
    };
    IndexRange const elements = elementsOf(u);
    return areInside(neighboursOf(u)) && std::all_of(elements.begin(), elements.end(), [&](int e) {
               return !element(e).isLive() || areInside(variablesOf(e));
           });
}

void QuotientGraph::makeOrdinaryIfSparse(int u, Neighbourhood const& neighbourhood)
{
    Variable& sparse = variable(u);
    assert(isDense(u) && sparse.lastNumber == neighbourhood.number);
    // The neighbours that an element covers are not needed in the list.
    std::vector<int>& elements = denseElements_[asIndex(denseIndex_[asIndex(u)])];
    std::size_t const length = elements.size() + (neighbourhood.variables.size() - neighbourhood.coveredCount);
    if (length > denseDegree_) return;
    assert(length <= asIndex(sparse.listLength));
    int* const list = std::copy(elements.begin(), elements.end(), listOf(u));
    std::copy(neighbourhood.variables.begin() + static_cast<std::ptrdiff_t>(neighbourhood.coveredCount),
              neighbourhood.variables.end(), list);
    sparse.elementCount = static_cast<int>(elements.size());
    sparse.listLength = static_cast<int>(length);
    denseIndex_[asIndex(u)] = kNotDense;
    for (int e : elements) {
        int* const last = elementVariables_.data() + element(e).start + element(e).length;
        int* const firstDense = last - element(e).denseCount;
        std::swap(*std::find(firstDense, last, u), *firstDense);
        --element(e).denseCount;
    }
    elements = {};
}

// --- Elements.

void QuotientGraph::eliminate(int u)
{
    for (int e : elementsOf(u)) element(e).weight = 0;
    variable(u).weight = 0;
}

void QuotientGraph::addElement(int p, Neighbourhood& neighbourhood)
{
    std::vector<int>& variables = neighbourhood.variables;
    auto firstDense = variables.end();
    if (!denseElements_.empty()) {
        firstDense = std::partition(variables.begin(), variables.end(), [this](int u) { return !isDense(u); });
    }
    if (elementVariables_.size() + variables.size() > compactAt_) compactElements();
    Element& added = element(p);
    added.start = static_cast<std::int64_t>(elementVariables_.size());
    added.measuredAt = 0;
    added.length = static_cast<int>(variables.size());
    added.denseCount = static_cast<int>(variables.end() - firstDense);
    added.weight = neighbourhood.weight;
    added.outside = 0;
    elementOrder_.push_back(p);
    elementVariables_.insert(elementVariables_.end(), variables.begin(), variables.end());
    for (auto u = firstDense; u != variables.end(); ++u) {
        denseElements_[asIndex(denseIndex_[asIndex(*u)])].push_back(p);
    }
}

// Drops absorbed elements, and the merged variables of the other elements. The memory of all elements therefore stays
// proportional to the graph.
void QuotientGraph::compactElements()
{
    std::size_t keptElements = 0;
    std::size_t keptVariables = 0;
    for (int e : elementOrder_) {
        if (!element(e).isLive()) continue;
        elementOrder_[keptElements++] = e;
        IndexRange const variables = variablesOf(e);
        element(e).start = static_cast<std::int64_t>(keptVariables);
        element(e).length = 0;
        for (int u : variables) {
            if (!variable(u).isLive()) continue;
            elementVariables_[keptVariables++] = u;
            ++element(e).length;
        }
    }
    elementOrder_.resize(keptElements);
    elementVariables_.resize(keptVariables);
    compactAt_ = std::max(compactAt_, 2 * (keptVariables + variables_.size()));
}

} // namespace sinew::detail
