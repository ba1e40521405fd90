#pragma once

/// Sparse symmetric matrices from Matrix Market files.

#include <string>

#include <sinew/sparse/spd_matrix.h>

namespace tool {

/// Reads the matrix in `text`; error messages name it `file`.
///
/// The form must be "matrix coordinate real symmetric" (or integer). Entries may come in any order, each on either side
/// of the diagonal, and only once. In the result every row has its diagonal last; a row without a diagonal entry in the
/// file has none. Everything else, such as a damaged line or an index out of range, throws `UserError` with the line.
///
/// Source: R. Boisvert, R. Pozo, K. Remington, The Matrix Market exchange formats: initial design, 1996.
SPDMatrix parseMatrixMarket(std::string const& text, std::string const& file);

/// `parseMatrixMarket` of the content of a file.
SPDMatrix readMatrixMarket(std::string const& path);

} // namespace tool
