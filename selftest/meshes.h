#pragma once

/// Meshes for the groups of mesh functions, and points to ask them for.

#include <vector>

#include <sinew/framework/vect2.h>

#include <selftest/inputs.h>

namespace selftest {

/// What a mesh function is made from.
struct Mesh
{
    std::vector<tzNM::vect2<double>> params;
    std::vector<tzNM::vect2<double>> values;
    std::vector<int> facets;
    std::vector<float> scalars; ///< one for each vertex, or none
};

/// A mesh of a few triangles.
Mesh smallMesh(Inputs& in);

/// A grid of cells of two triangles, regular (points on edges belong to several triangles) or with moved vertices,
/// with or without holes; sometimes with tens of thousands of triangles.
Mesh anyMesh(Inputs& in);

/// A mesh with triangles that are degenerate, inverted, repeated, incomplete or name no vertex, with special
/// coordinates, or with fewer values than positions.
Mesh damagedMesh(Inputs& in);

/// A vertex, the middle between two vertices, a point of the lattice, a point in the domain or near it, or any point.
tzNM::vect2<double> pointNear(Inputs& in, Mesh const& mesh);

} // namespace selftest
