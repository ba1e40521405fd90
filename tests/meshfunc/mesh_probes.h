#pragma once

/// Difficult points and meshes for the queries of mesh functions, and the comparison of locations.

#include <algorithm>
#include <cstddef>
#include <iterator>

#include <sinew/meshfunc/location.h>

#include "meshfunc/mesh_samples.h"
#include "support/bits.h"
#include "support/random.h"

namespace test {

/// A point that is likely to be a difficult case: on or near vertices and edges, in triangles, in and around the
/// domain.
inline Point probe(Random& random, Mesh const& mesh)
{
    auto const vertex = [&] { return mesh.params[random.below(static_cast<int>(mesh.params.size()))]; };
    auto const corner = [&](int t, int k) {
        int const i = mesh.facets[3 * t + k];
        return i >= 0 && i < static_cast<int>(mesh.params.size()) ? mesh.params[i] : vertex();
    };
    int const triangles = static_cast<int>(mesh.facets.size() / 3);
    int const t = triangles ? random.below(triangles) : 0;
    switch (triangles ? random.below(7) : 0) {
    case 0:
        return vertex();
    case 1: {
        double const s = random.uniform(0, 1);
        return corner(t, 0) + s * (corner(t, 1) - corner(t, 0));
    }
    case 2:
    case 3: {
        double const u = random.uniform(0, 1), v = random.uniform(0, 1 - u);
        return corner(t, 0) + u * (corner(t, 1) - corner(t, 0)) + v * (corner(t, 2) - corner(t, 0));
    }
    case 4: { // beside an edge, at distances around the tolerance
        double const s = random.uniform(0, 1), beside = random.uniform(-3e-8, 3e-8);
        return corner(t, 0) + s * (corner(t, 1) - corner(t, 0)) + beside * (corner(t, 2) - corner(t, 0));
    }
    case 5:
        return vertex() + random.uniform(-2, 2) * (vertex() - vertex());
    default:
        return {random.hostile(), random.hostile()};
    }
}

/// A mesh with special coordinates, or with entries of `facets` that name no vertex, or with vectors of other lengths.
inline Mesh hostileMesh(Random& random)
{
    int const side = 1 + random.below(25);
    Mesh mesh = gridMesh(random, side, side);
    int const vertices = static_cast<int>(mesh.params.size());
    if (random.oneIn(2)) {
        int const replaced = random.oneIn(2) ? 1 : random.below(vertices);
        for (int i = 0; i < replaced; ++i) {
            double const x = random.hostile();
            mesh.params[static_cast<std::size_t>(random.below(vertices))] = {x, random.hostile()};
        }
        return mesh;
    }
    for (int i = 0; i < side; ++i) {
        int const any = random.oneIn(3) ? static_cast<int>(random.bits()) : random.below(vertices);
        mesh.facets[static_cast<std::size_t>(random.below(static_cast<int>(mesh.facets.size())))] = any;
    }
    if (random.oneIn(3)) mesh.values.resize(mesh.values.size() - static_cast<std::size_t>(random.below(vertices)));
    if (random.oneIn(3)) mesh.normaldots.resize(static_cast<std::size_t>(random.below(vertices)));
    if (random.oneIn(4)) mesh.facets.pop_back();
    return mesh;
}

inline bool sameLocation(sinew::Location const& a, sinew::Location const& b)
{
    return a.rule == b.rule && a.triangle == b.triangle && a.loop == b.loop && a.segment == b.segment &&
           std::equal(std::begin(a.corners), std::end(a.corners), b.corners) && sameBits(a.distSq, b.distSq) &&
           sameBits(a.weights[0], b.weights[0]) && sameBits(a.weights[1], b.weights[1]) &&
           sameBits(a.weights[2], b.weights[2]);
}

} // namespace test
