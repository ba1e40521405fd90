// A hash of ordered maps, vertex to vertex to triangle, would do the same edge by edge. Edges of different pairs of
// vertices never meet, though, so here they are first put into one flat bucket for each smaller vertex, and each pair
// is then replayed by itself, in facet order. That is the same outcome several times faster.

#include <sinew/meshfunc/detail/boundary_loops.h>

#include <algorithm>
#include <cstdint>

#include <sinew/meshfunc/detail/mesh_cells.h>

namespace sinew::detail {

namespace {

using Index = std::size_t;

/// Lists of T for each of n keys, one behind the other: those of key k are items[first[k]] up to items[first[k + 1]].
template <typename T>
struct Buckets
{
    std::vector<Index> first;
    std::vector<T> items;

    T* begin(Index key) { return items.data() + first[key]; }
    T* end(Index key) { return items.data() + first[key + 1]; }
};

/// Puts what `forEach(visit)` visits as visit(key, item) into buckets, in the order of the visits. Visits twice.
template <typename T, typename ForEach>
Buckets<T> sortIntoBuckets(Index keyCount, ForEach const& forEach)
{
    Buckets<T> buckets;
    // Counts are kept two places up and ends one place up while filling, so that the ends become the begins.
    buckets.first.assign(keyCount + 2, 0);
    forEach([&](Index key, T const&) { ++buckets.first[key + 2]; });
    for (Index k = 2; k < keyCount + 2; ++k) buckets.first[k] += buckets.first[k - 1];
    buckets.items.resize(buckets.first[keyCount + 1]);
    forEach([&](Index key, T const& item) { buckets.items[buckets.first[key + 1]++] = item; });
    return buckets;
}

Index nextEntry(Index entry)
{
    return entry % 3 == 2 ? entry - 2 : entry + 1;
}

/// An edge as its larger vertex and, in the lower 33 bits, the facet entry at which it starts. Sorting puts equal pairs
/// of vertices together and leaves them in facet order; a single word halves the memory to walk through.
using PairedEdge = std::uint64_t;
constexpr int kEntryBits = 33;

PairedEdge pairedEdge(int largerVertex, Index entry)
{
    return static_cast<PairedEdge>(largerVertex) << kEntryBits | entry;
}
PairedEdge largerVertex(PairedEdge edge)
{
    return edge >> kEntryBits;
}
Index entryOf(PairedEdge edge)
{
    return edge & ((PairedEdge{1} << kEntryBits) - 1);
}

Buckets<PairedEdge> edgesBySmallerVertex(std::vector<int> const& facets, Index vertexCount)
{
    return sortIntoBuckets<PairedEdge>(vertexCount, [&](auto const& visit) {
        int corners[3];
        for (Index t = 0; t < facets.size() / 3; ++t) {
            if (!triangleCorners(facets, t, vertexCount, corners)) continue;
            for (Index k = 0; k < 3; ++k) {
                int const a = corners[k];
                int const b = corners[nextEntry(k)];
                visit(static_cast<Index>(std::min(a, b)), pairedEdge(std::max(a, b), 3 * t + k));
            }
        }
    });
}

constexpr Index kNone = ~Index{0};

/// The edge of one pair of vertices that is left when all its edges were taken in order; kNone if none is.
Index replay(std::vector<int> const& facets, PairedEdge const* first, PairedEdge const* last)
{
    Index waiting = kNone;
    for (; first != last; ++first) {
        Index const entry = entryOf(*first);
        // The edge from a vertex to itself is its own reverse.
        bool const meetsReverse = waiting != kNone && facets[waiting] == facets[nextEntry(entry)];
        waiting = meetsReverse ? kNone : entry;
    }
    return waiting;
}

/// The facet entries at which the boundary edges start.
std::vector<Index> boundaryEdges(std::vector<int> const& facets, Index vertexCount)
{
    std::vector<Index> edges;
    Buckets<PairedEdge> buckets = edgesBySmallerVertex(facets, vertexCount);
    for (Index vertex = 0; vertex < vertexCount; ++vertex) {
        PairedEdge* const end = buckets.end(vertex);
        std::sort(buckets.begin(vertex), end);
        for (PairedEdge* run = buckets.begin(vertex); run != end;) {
            PairedEdge* const runEnd =
                std::find_if(run, end, [&](PairedEdge e) { return largerVertex(e) != largerVertex(*run); });
            Index const left = replay(facets, run, runEnd);
            if (left != kNone) edges.push_back(left);
            run = runEnd;
        }
    }
    return edges;
}

} // namespace

std::vector<BoundaryLoop> boundaryLoops(std::vector<int> const& facets, std::size_t vertexCount)
{
    std::vector<Index> const edges = boundaryEdges(facets, vertexCount);
    auto const target = [&](Index edge) { return facets[nextEntry(edge)]; };
    Buckets<Index> leaving = sortIntoBuckets<Index>(vertexCount, [&](auto const& visit) {
        for (Index edge : edges) visit(static_cast<Index>(facets[edge]), edge);
    });
    for (Index vertex = 0; vertex < vertexCount; ++vertex) {
        std::sort(leaving.begin(vertex), leaving.end(vertex), [&](Index a, Index b) { return target(a) < target(b); });
    }

    std::vector<BoundaryLoop> loops;
    std::vector<Index> used = leaving.first; // for each vertex, its first edge that no loop has taken
    auto const exhausted = [&](Index vertex) { return used[vertex] == leaving.first[vertex + 1]; };
    for (Index start = 0; start < vertexCount; ++start) {
        while (!exhausted(start)) {
            BoundaryLoop loop;
            loop.vertices.push_back(static_cast<int>(start));
            for (Index vertex = start; !exhausted(vertex);) {
                Index const edge = leaving.items[used[vertex]++];
                loop.vertices.push_back(target(edge));
                loop.triangles.push_back(static_cast<int>(edge / 3));
                vertex = static_cast<Index>(target(edge));
            }
            loops.push_back(std::move(loop));
        }
    }
    return loops;
}

} // namespace sinew::detail
