#pragma once

/// Pictures of the pattern of a sparse matrix.

#include <string>

#include <sinew/sparse/llt_matrix.h>
#include <sinew/sparse/spd_matrix.h>

namespace tool {

/// A PNG with two patterns. On the left is the lower triangle of the matrix in its own order. On the right is the
/// pattern of the factor, in elimination order; entries of the matrix and fill-in have different colours.
std::string drawPatterns(SPDMatrix const& matrix, LLTMatrix const& factor);

} // namespace tool
