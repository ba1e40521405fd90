// Vocabulary. Eliminating a node makes its neighbours a clique; the clique is kept as one `Element`, named after the
// eliminated node, that lists its nodes. A node's list holds first the elements it belongs to, then those neighbours
// that no element of its own covers. Nodes with equal closed neighbourhoods stay equal until they go, so they are
// merged into a class named after its smallest member, the only one that lists and queue still speak of; weights
// count the members, so that degrees count single nodes.

#include <sinew/sparse/detail/minimum_degree.h>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>

#include <sinew/sparse/detail/degree_queue.h>

namespace sinew::detail {

namespace {

constexpr int kHeavy = -1; // in Node::length

struct Node
{
    std::int64_t start; // of its list
    std::int64_t mark;  // the last union that reached it
    int elementCount;   // leading entries of the list that are elements; of a heavy node, its index among them
    int length;         // of the list, or kHeavy
    int weight;         // nodes in the class; 0 once eliminated or merged into another class
    int degree;         // lower bound of the degree, the key in the queue

    bool isHeavy() const { return length == kHeavy; }
};

struct Element
{
    std::int64_t start;   // of its nodes in members_
    std::int64_t touched; // the last union for which `outside` was measured
    int length;
    int heavyCount; // its last so many nodes are heavy
    int weight;     // 0 once absorbed by a later element
    int outside;    // weight of its nodes outside the pivot's union

    bool isAlive() const { return weight > 0; }
};

// A heavy node keeps its original neighbours as they are and collects elements without ever being scanned.
struct HeavyNode
{
    std::vector<int> elements;
    int neighbourCount;
};

class MinimumDegree
{
public:
    MinimumDegree(Graph graph, int heavyDegree);

    std::vector<int> run();

private:
    int next();
    void push(int u);
    int formUnion(int u);
    void reach(int u);
    void reachElement(int e);
    void lighten(int h);

    void eliminate(int p);
    void absorbElementsOf(int p);
    void measureElements();
    void measure(Element& element);
    void updateNodes(int p, int pivotWeight);
    bool pruneList(int p, int u, int& bound);
    bool isInsideUnion(int h) const;
    void leave(int u);
    void mergeEqualNodes();
    void mergeCandidates();
    bool sameList(int a, int b) const;
    int merge(int a, int b);
    void makeElement(int p);
    void compactMembers();

    int n_;
    int heavyDegree_;
    std::vector<int> lists_; // the graph's neighbour lists, rewritten in place: no list ever grows
    std::vector<Node> nodes_;
    std::vector<Element> elements_;
    std::vector<HeavyNode> heavy_;

    std::vector<int> members_;      // nodes of the elements, one after the other in order of creation
    std::vector<int> elementOrder_; // elements in order of creation
    std::size_t compactAt_;

    DegreeQueue queue_; // holds stale entries too

    std::vector<int> nextInClass_, lastInClass_;
    std::int64_t stamp_ = 0;
    std::vector<int> union_;       // neighbours of the node under consideration, each with mark == stamp_
    std::size_t coveredCount_ = 0; // the first so many of union_ were reached through elements
    int unionWeight_ = 0;
    std::vector<int> bounds_; // for each node of union_: weight outside the union that certainly remains
    std::vector<int> leaving_;

    std::vector<std::uint32_t> hash_;
    std::vector<int> bucketHead_, bucketNext_, candidates_;
    std::vector<std::int64_t> listed_;
    std::int64_t listStamp_ = 0;
};

MinimumDegree::MinimumDegree(Graph graph, int heavyDegree)
    : n_(graph.size()), heavyDegree_(heavyDegree), nodes_(n_), elements_(n_), queue_(n_), nextInClass_(n_, -1),
      lastInClass_(n_), hash_(n_), bucketHead_(n_, -1), bucketNext_(n_), listed_(n_, 0)
{
    compactAt_ = graph.neighbour.size() + static_cast<std::size_t>(n_);
    members_.reserve(compactAt_);
    for (int i = 0; i < n_; ++i) {
        int const degree = graph.degree(i);
        nodes_[i] = {graph.start[i], 0, 0, degree, 1, degree};
        if (degree > heavyDegree_) {
            nodes_[i].length = kHeavy;
            nodes_[i].elementCount = static_cast<int>(heavy_.size());
            heavy_.push_back({{}, degree});
        }
        lastInClass_[i] = i;
        push(i);
    }
    lists_ = std::move(graph.neighbour);
}

std::vector<int> MinimumDegree::run()
{
    std::vector<int> perm(n_);
    for (int position = 0; position < n_;) {
        int const p = next();
        int const degree = formUnion(p);
        if (degree > nodes_[p].degree) { // the bound was too low: back into the queue
            nodes_[p].degree = degree;
            if (nodes_[p].isHeavy()) lighten(p);
            push(p);
            continue;
        }
        assert(degree == nodes_[p].degree);
        eliminate(p);
        for (int u : leaving_) perm[u] = position++;
    }
    return perm;
}

// --- The queue.

int MinimumDegree::next()
{
    for (;;) {
        auto const [u, degree] = queue_.pop();
        if (nodes_[u].weight > 0 && nodes_[u].degree == degree) return u;
    }
}

void MinimumDegree::push(int u)
{
    queue_.push(u, nodes_[u].degree);
}

// --- Neighbourhoods.

// Collects the classes next to u, apart from u itself, and returns the degree of u.
int MinimumDegree::formUnion(int u)
{
    Node& node = nodes_[u];
    node.mark = ++stamp_;
    union_.clear();
    unionWeight_ = 0;
    int const* list = lists_.data() + node.start;
    int const* neighbours = list;
    int const* end = list + node.length;
    if (node.isHeavy()) {
        HeavyNode& heavy = heavy_[node.elementCount];
        auto const dead = [this](int e) { return !elements_[e].isAlive(); };
        heavy.elements.erase(std::remove_if(heavy.elements.begin(), heavy.elements.end(), dead), heavy.elements.end());
        for (int e : heavy.elements) reachElement(e);
        end = list + heavy.neighbourCount;
    } else {
        neighbours += node.elementCount;
        for (int const* e = list; e != neighbours; ++e) reachElement(*e);
    }
    coveredCount_ = union_.size();
    for (; neighbours != end; ++neighbours) reach(*neighbours);
    return unionWeight_ + node.weight - 1;
}

void MinimumDegree::reach(int u)
{
    Node& node = nodes_[u];
    if (node.weight == 0 || node.mark == stamp_) return;
    node.mark = stamp_;
    unionWeight_ += node.weight;
    union_.push_back(u);
}

void MinimumDegree::reachElement(int e)
{
    Element const& element = elements_[e];
    int const* members = members_.data() + element.start;
    for (int k = 0; k < element.length; ++k) reach(members[k]);
}

// A heavy node whose union was just formed becomes an ordinary one if its list has become short.
void MinimumDegree::lighten(int h)
{
    Node& node = nodes_[h];
    std::vector<int> const elements = heavy_[node.elementCount].elements;
    std::size_t const length = elements.size() + (union_.size() - coveredCount_);
    if (length > static_cast<std::size_t>(heavyDegree_)) return;
    heavy_[node.elementCount].elements = {};
    int* const out = std::copy(elements.begin(), elements.end(), lists_.data() + node.start);
    std::copy(union_.begin() + static_cast<std::ptrdiff_t>(coveredCount_), union_.end(), out);
    node.elementCount = static_cast<int>(elements.size());
    node.length = static_cast<int>(length);
    for (int e : elements) {
        Element& element = elements_[e];
        int* const end = members_.data() + element.start + element.length;
        int* const firstHeavy = end - element.heavyCount;
        std::swap(*std::find(firstHeavy, end, h), *firstHeavy);
        --element.heavyCount;
    }
}

// --- Elimination.

// Eliminates p, whose union has just been formed, and with it every node whose closed neighbourhood is the same: they
// have the smallest degree of all from now on, so they are next, in the order of their indices.
void MinimumDegree::eliminate(int p)
{
    int const pivotWeight = nodes_[p].weight;
    leaving_.clear();
    leave(p);
    measureElements();
    updateNodes(p, pivotWeight);
    if (leaving_.size() > 1) std::sort(leaving_.begin(), leaving_.end());
    assert(leaving_.front() == p);
    if (union_.empty()) return;
    mergeEqualNodes();
    makeElement(p);
}

void MinimumDegree::absorbElementsOf(int p)
{
    Node const& node = nodes_[p];
    int const* list = node.isHeavy() ? heavy_[node.elementCount].elements.data() : lists_.data() + node.start;
    std::size_t const count =
        node.isHeavy() ? heavy_[node.elementCount].elements.size() : static_cast<std::size_t>(node.elementCount);
    for (std::size_t k = 0; k < count; ++k) elements_[list[k]].weight = 0;
}

void MinimumDegree::leave(int u)
{
    absorbElementsOf(u);
    nodes_[u].weight = 0;
    for (int member = u; member >= 0; member = nextInClass_[member]) leaving_.push_back(member);
}

// For every element that shares a node with the union: the weight of its nodes outside the union.
void MinimumDegree::measureElements()
{
    for (int u : union_) {
        Node const& node = nodes_[u];
        if (node.isHeavy()) continue;
        int const* const list = lists_.data() + node.start;
        for (int k = 0; k < node.elementCount; ++k) {
            Element& element = elements_[list[k]];
            if (!element.isAlive()) continue;
            if (element.touched != stamp_) measure(element);
            element.outside -= node.weight;
        }
    }
}

// The ordinary nodes of the union subtract themselves; the heavy ones, which are not asked, are subtracted here.
void MinimumDegree::measure(Element& element)
{
    element.touched = stamp_;
    element.outside = element.weight;
    int const* const end = members_.data() + element.start + element.length;
    for (int const* h = end - element.heavyCount; h != end; ++h) {
        if (nodes_[*h].mark == stamp_) element.outside -= nodes_[*h].weight;
    }
}

// Rewrites the lists of the union's nodes around the new element p, lets the nodes leave that are equal to p, and sets
// the lower bounds of the others' degrees.
void MinimumDegree::updateNodes(int p, int pivotWeight)
{
    int const fullWeight = unionWeight_;
    std::size_t kept = 0;
    bounds_.clear();
    for (int u : union_) {
        int bound = 0;
        bool const equal = nodes_[u].isHeavy() ? nodes_[u].degree - pivotWeight <= fullWeight - 1 && isInsideUnion(u)
                                               : pruneList(p, u, bound);
        if (equal) {
            unionWeight_ -= nodes_[u].weight;
            leave(u);
        } else {
            union_[kept++] = u;
            bounds_.push_back(bound);
        }
    }
    union_.resize(kept);
    int const leavingWeight = static_cast<int>(leaving_.size());
    for (std::size_t k = 0; k < kept; ++k) {
        Node& node = nodes_[union_[k]];
        node.degree = std::max(node.degree - leavingWeight, unionWeight_ - 1 + bounds_[k]);
    }
}

// Drops from the list of u what the new element p covers and puts p in front. The result is true if nothing else is
// left: u is equal to p. Otherwise `bound` is the weight of its other neighbours, were its elements nested.
bool MinimumDegree::pruneList(int p, int u, int& bound)
{
    Node& node = nodes_[u];
    int* const list = lists_.data() + node.start;
    std::uint32_t hash = 0;
    int out = 0;
    int largest = 0;
    for (int k = 0; k < node.elementCount; ++k) {
        int const e = list[k];
        Element& element = elements_[e];
        if (!element.isAlive()) continue;
        if (element.outside == 0) { // lies inside p
            element.weight = 0;
            continue;
        }
        largest = std::max(largest, element.outside);
        hash += static_cast<std::uint32_t>(e);
        list[out++] = e;
    }
    int const elementEnd = out;
    int uncovered = 0;
    for (int k = node.elementCount; k < node.length; ++k) {
        int const v = list[k];
        Node const& neighbour = nodes_[v];
        if (neighbour.weight == 0 || neighbour.mark == stamp_) continue;
        uncovered += neighbour.weight;
        hash += static_cast<std::uint32_t>(v);
        list[out++] = v;
    }
    if (out == 0) return true;
    assert(out < node.length); // p itself or an element of p's was in the list
    list[out] = list[elementEnd];
    list[elementEnd] = list[0];
    list[0] = p;
    node.elementCount = elementEnd + 1;
    node.length = out + 1;
    hash_[u] = hash % static_cast<std::uint32_t>(n_);
    bound = largest + uncovered;
    return false;
}

bool MinimumDegree::isInsideUnion(int h) const
{
    auto const inside = [this](int u) { return nodes_[u].weight == 0 || nodes_[u].mark == stamp_; };
    HeavyNode const& heavy = heavy_[nodes_[h].elementCount];
    int const* const list = lists_.data() + nodes_[h].start;
    if (!std::all_of(list, list + heavy.neighbourCount, inside)) return false;
    return std::all_of(heavy.elements.begin(), heavy.elements.end(), [&](int e) {
        int const* const members = members_.data() + elements_[e].start;
        return !elements_[e].isAlive() || std::all_of(members, members + elements_[e].length, inside);
    });
}

// --- Merging.

// Nodes of the union with equal lists have equal closed neighbourhoods. Their hashes, just formed, find them.
void MinimumDegree::mergeEqualNodes()
{
    for (int u : union_) {
        if (nodes_[u].isHeavy()) continue;
        bucketNext_[u] = bucketHead_[hash_[u]];
        bucketHead_[hash_[u]] = u;
    }
    for (int u : union_) {
        if (nodes_[u].isHeavy()) continue;
        int const first = bucketHead_[hash_[u]];
        bucketHead_[hash_[u]] = -1;
        if (first < 0 || bucketNext_[first] < 0) continue;
        candidates_.clear();
        for (int v = first; v >= 0; v = bucketNext_[v]) candidates_.push_back(v);
        mergeCandidates();
    }
}

void MinimumDegree::mergeCandidates()
{
    for (std::size_t a = 0; a + 1 < candidates_.size(); ++a) {
        if (nodes_[candidates_[a]].weight == 0) continue;
        Node const& node = nodes_[candidates_[a]];
        ++listStamp_;
        for (int k = 0; k < node.length; ++k) listed_[lists_[node.start + k]] = listStamp_;
        for (std::size_t b = a + 1; b < candidates_.size(); ++b) {
            if (nodes_[candidates_[b]].weight == 0 || !sameList(candidates_[a], candidates_[b])) continue;
            candidates_[a] = merge(candidates_[a], candidates_[b]);
        }
    }
}

bool MinimumDegree::sameList(int a, int b) const
{
    Node const& node = nodes_[b];
    if (node.length != nodes_[a].length || node.elementCount != nodes_[a].elementCount) return false;
    int const* const list = lists_.data() + node.start;
    return std::all_of(list, list + node.length, [this](int x) { return listed_[x] == listStamp_; });
}

int MinimumDegree::merge(int a, int b)
{
    auto const [keep, drop] = std::minmax(a, b);
    nodes_[keep].weight += nodes_[drop].weight;
    nodes_[drop].weight = 0;
    nodes_[keep].degree = std::max(nodes_[keep].degree, nodes_[drop].degree);
    nextInClass_[lastInClass_[keep]] = drop;
    lastInClass_[keep] = lastInClass_[drop];
    return keep;
}

// --- Elements.

void MinimumDegree::makeElement(int p)
{
    auto const gone = [this](int u) { return nodes_[u].weight == 0; };
    union_.erase(std::remove_if(union_.begin(), union_.end(), gone), union_.end());
    auto const firstHeavy =
        heavy_.empty() ? union_.end()
                       : std::partition(union_.begin(), union_.end(), [this](int u) { return !nodes_[u].isHeavy(); });
    if (members_.size() + union_.size() > compactAt_) compactMembers();
    elements_[p] = {static_cast<std::int64_t>(members_.size()),
                    0,
                    static_cast<int>(union_.size()),
                    static_cast<int>(union_.end() - firstHeavy),
                    unionWeight_,
                    0};
    elementOrder_.push_back(p);
    members_.insert(members_.end(), union_.begin(), union_.end());
    for (auto h = firstHeavy; h != union_.end(); ++h) heavy_[nodes_[*h].elementCount].elements.push_back(p);
    for (int u : union_) push(u);
}

// Drops dead elements, and the merged nodes of the living, so that memory stays in proportion to the graph.
void MinimumDegree::compactMembers()
{
    std::size_t out = 0;
    std::size_t kept = 0;
    for (int e : elementOrder_) {
        Element& element = elements_[e];
        if (!element.isAlive()) continue;
        elementOrder_[kept++] = e;
        int const* const members = members_.data() + element.start;
        int const length = element.length;
        element.start = static_cast<std::int64_t>(out);
        element.length = 0;
        for (int k = 0; k < length; ++k) {
            if (nodes_[members[k]].weight == 0) continue;
            members_[out++] = members[k];
            ++element.length;
        }
    }
    elementOrder_.resize(kept);
    members_.resize(out);
    compactAt_ = std::max(compactAt_, 2 * (out + static_cast<std::size_t>(n_)));
}

} // namespace

int defaultHeavyDegree(int nodeCount)
{
    return std::max(64, static_cast<int>(10 * std::sqrt(static_cast<double>(nodeCount))));
}

std::vector<int> minimumDegree(Graph graph, int heavyDegree)
{
    return MinimumDegree(std::move(graph), heavyDegree).run();
}

} // namespace sinew::detail
