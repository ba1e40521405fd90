#pragma once

/// Pictures of where a matrix has entries.

#include <string>

#include <sinew/sparse/llt_matrix.h>
#include <sinew/sparse/spd_matrix.h>

namespace tool {

/// A PNG with the lower triangle as the rows have it on the left, and in elimination order, with the entries that the
/// factor adds in a colour of their own, on the right.
std::string drawPatterns(SPDMatrix const& matrix, LLTMatrix const& factor);

} // namespace tool
