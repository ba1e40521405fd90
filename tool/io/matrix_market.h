#pragma once

/// Matrix Market files: sparse symmetric matrices as text.

#include <string>

#include <sinew/sparse/spd_matrix.h>

namespace tool {

/// Reads the matrix in `text`; `file` names it in error messages.
///
/// Understood is "matrix coordinate real symmetric" (or integer). An entry may stand on either side of the diagonal,
/// but only once; rows are given in any order and keep their diagonal last in the result. A row without a diagonal
/// entry stays without. Anything else, damaged lines and indices out of range included, throws `UserError` with its
/// line.
///
/// Source: R. Boisvert, R. Pozo, K. Remington, The Matrix Market exchange formats: initial design, 1996.
SPDMatrix parseMatrixMarket(std::string const& text, std::string const& file);

/// `parseMatrixMarket` of a file's content.
SPDMatrix readMatrixMarket(std::string const& path);

} // namespace tool
