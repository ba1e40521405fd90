#include <tool/figure/mesh_pieces.h>

#include <numeric>

namespace tool {
namespace {

int rootOf(std::vector<int>& parent, int i)
{
    while (parent[static_cast<std::size_t>(i)] != i) {
        int& up = parent[static_cast<std::size_t>(i)];
        up = parent[static_cast<std::size_t>(up)]; // halves the path for the next search
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
            parent[static_cast<std::size_t>(b)] = a;
        }
    }
    std::vector<int> number(vertexCount, -1);
    std::vector<int> piece;
    pieceCount = 0;
    for (std::size_t i = 0; i + 2 < facets.size(); i += 3) {
        int& n = number[static_cast<std::size_t>(rootOf(parent, facets[i]))];
        if (n < 0) n = pieceCount++;
        piece.push_back(n);
    }
    return piece;
}

} // namespace tool
