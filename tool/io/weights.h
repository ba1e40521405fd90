#pragma once

/// Bone weights as text (`.dmat`): a line "columns rows", then the numbers of the matrix, column by column, one a line.
/// A column is a bone; a row is a vertex. The binary form begins with a line "0 0"; the line with the size follows,
/// then the bytes of the numbers, each with its lowest byte first.

#include <cstddef>
#include <string>
#include <vector>

namespace tool {

/// weight[v][b]: how far vertex v follows bone b; in [0, 1], a row sums to 1.
using BoneWeights = std::vector<std::vector<double>>;

/// Reads the weights in `text`, in either form; error messages name it `file`.
///
/// Throws `UserError` if the size is not `bones` columns and `vertices` rows, if a number does not parse or is not
/// finite, and if there are too few or too many numbers.
BoneWeights parseDmat(std::string const& text, std::string const& file, std::size_t vertices, std::size_t bones);

/// The weights as text. `parseDmat` reads the same bits from it.
std::string printDmat(BoneWeights const& weights);

} // namespace tool
