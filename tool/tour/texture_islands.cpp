#include <tool/tour/texture_islands.h>

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

std::vector<int> islandOfTriangle(TexturedMesh const& mesh, int& islandCount)
{
    std::vector<int> parent(mesh.texcoords.size());
    std::iota(parent.begin(), parent.end(), 0);
    for (Triangle const& t : mesh.texTriangles) {
        for (int k = 1; k < 3; ++k) {
            int const a = rootOf(parent, t[0]);
            int const b = rootOf(parent, t[static_cast<std::size_t>(k)]);
            parent[static_cast<std::size_t>(b)] = a;
        }
    }
    std::vector<int> number(mesh.texcoords.size(), -1);
    std::vector<int> island;
    islandCount = 0;
    for (Triangle const& t : mesh.texTriangles) {
        int& n = number[static_cast<std::size_t>(rootOf(parent, t[0]))];
        if (n < 0) n = islandCount++;
        island.push_back(n);
    }
    return island;
}

} // namespace tool
