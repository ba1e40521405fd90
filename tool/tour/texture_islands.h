#pragma once

/// The pieces of a mesh's flattened texture domain.

#include <vector>

#include <tool/io/textured_mesh.h>

namespace tool {

/// The island of every triangle, numbered from 0 in the order of their first triangles: triangles that share a texture
/// coordinate, directly or through others, are one island.
std::vector<int> islandOfTriangle(TexturedMesh const& mesh, int& islandCount);

} // namespace tool
