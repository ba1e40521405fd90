#pragma once

/// The pieces that a triangle mesh falls into.

#include <vector>

namespace tool {

/// The piece of every triangle (three indices each in `facets`), numbered from 0 in the order of their first triangles:
/// triangles that share a vertex, directly or through others, are one piece.
std::vector<int> pieceOfTriangle(std::vector<int> const& facets, std::size_t vertexCount, int& pieceCount);

} // namespace tool
