#include <tool/figure/mesh_pieces.h>

#include <sinew/detail/disjoint_sets.h>

#include <tool/support/as_index.h>

namespace tool {

std::vector<int> pieceOfTriangle(std::vector<int> const& facets, std::size_t vertexCount, int& pieceCount)
{
    sinew::detail::DisjointSets sets(vertexCount);
    for (std::size_t i = 0; i + 2 < facets.size(); i += 3) {
        for (std::size_t k = 1; k < 3; ++k) sets.join(facets[i], facets[i + k]);
    }
    std::vector<int> number(vertexCount, -1);
    std::vector<int> piece;
    pieceCount = 0;
    for (std::size_t i = 0; i + 2 < facets.size(); i += 3) {
        int& n = number[asIndex(sets.setOf(facets[i]))];
        if (n < 0) n = pieceCount++;
        piece.push_back(n);
    }
    return piece;
}

} // namespace tool
