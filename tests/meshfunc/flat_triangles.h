#pragma once

/// Meshes with flat triangles along their boundary.

#include <map>
#include <utility>
#include <vector>

#include "meshfunc/mesh_samples.h"
#include "support/random.h"

namespace test {

/// Attaches a triangle without area to boundary edges of `mesh`: its third corner is the middle of the edge.
/// @param one  one boundary edge in so many gets one; 1 for all.
inline void attachFlatTriangles(Random& random, Mesh* mesh, int one)
{
    std::map<std::pair<int, int>, bool> edges;
    std::vector<int> const facets = mesh->facets;
    for (std::size_t i = 0; i < facets.size(); ++i) edges[{facets[i], facets[i % 3 == 2 ? i - 2 : i + 1]}] = true;
    for (auto const& entry : edges) {
        auto const [a, b] = entry.first;
        if (edges.count({b, a}) > 0 || !random.oneIn(one)) continue;
        Point const middle =
            0.5 * (mesh->params[static_cast<std::size_t>(a)] + mesh->params[static_cast<std::size_t>(b)]);
        mesh->addTriangle(b, a, mesh->addVertex(middle.x, middle.y));
    }
}

/// The mesh with all coordinates of the domain multiplied by a power of two.
inline Mesh scaled(Mesh mesh, int exponent)
{
    for (Point& p : mesh.params) p = {std::ldexp(p.x, exponent), std::ldexp(p.y, exponent)};
    return mesh;
}

} // namespace test
