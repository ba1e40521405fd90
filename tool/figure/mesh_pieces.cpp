#include <tool/figure/mesh_pieces.h>

#include <numeric>

#include <tool/support/as_index.h>

namespace tool {
namespace {

// The root of the tree that holds i. Source: R. E. Tarjan, J. van Leeuwen, Worst-case Analysis of Set Union Algorithms,
// Journal of the ACM 31, 1984 (path halving).
int rootOf(std::vector<int>& parent, int i)
{
    while (parent[asIndex(i)] != i) {
        int& up = parent[asIndex(i)];
        up = parent[asIndex(up)]; // shortens the path for later searches
        i = up;
    }
    return i;
}

} // namespace

std::vector<int> pieceOfTriangle(std::vector<int> const& facets, std::size_t vertexCount, int& pieceCount)
{
    std::vector<int> parent(vertexCount);
    std::iota(parent.begin(), parent.end(), 0);
    for (std::size_t i = 0; i + 2 < facets.size(); i += 3) {
        for (std::size_t k = 1; k < 3; ++k) {
            int const a = rootOf(parent, facets[i]);
            int const b = rootOf(parent, facets[i + k]);
            parent[asIndex(b)] = a;
        }
    }
    std::vector<int> number(vertexCount, -1);
    std::vector<int> piece;
    pieceCount = 0;
    for (std::size_t i = 0; i + 2 < facets.size(); i += 3) {
        int& n = number[asIndex(rootOf(parent, facets[i]))];
        if (n < 0) n = pieceCount++;
        piece.push_back(n);
    }
    return piece;
}

} // namespace tool
