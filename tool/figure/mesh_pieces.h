#pragma once

/// The connected pieces of a triangle mesh.

#include <vector>

namespace tool {

/// For every triangle (three indices in `facets`), the number of its piece. Triangles that share a vertex, directly or
/// through other triangles, are one piece. Pieces are numbered from 0, in the order of their first triangles.
/// @param pieceCount  receives the number of pieces.
std::vector<int> pieceOfTriangle(std::vector<int> const& facets, std::size_t vertexCount, int& pieceCount);

} // namespace tool
