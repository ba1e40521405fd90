#pragma once

/// The models that come with the program, as the text of their files. They are part of the program itself, so that it
/// finds them wherever it is installed.

#include <string>

namespace tool {

/// A koi: texture islands for its two sides, its eyes and its fins. Each side has an opening for the eye inside its
/// island and a gill opening that touches the island's outline at one vertex.
std::string bundledKoiObj();

/// A standing figure in a relaxed pose: 22 joints, y up, metres, facing +z.
std::string bundledFigureTgf();

} // namespace tool
