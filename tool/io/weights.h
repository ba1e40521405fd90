#pragma once

/// Bone weights as text (`.dmat`): a line "columns rows", then the matrix's numbers, column by column, one a line. A
/// column is a bone, a row a vertex.

#include <string>

#include <tool/figure/bone_heat.h>

namespace tool {

/// Reads the weights in `text`; `file` names it in error messages. There must be one row for each of `vertices` and one
/// column for each of `bones`; another size, a number that does not parse or is not finite, and too few or too many
/// numbers throw `UserError`.
BoneWeights parseDmat(std::string const& text, std::string const& file, std::size_t vertices, std::size_t bones);

/// The text that `parseDmat` reads back to the same bits.
std::string printDmat(BoneWeights const& weights);

} // namespace tool
