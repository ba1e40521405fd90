#pragma once

/// The models that come with the program, as the text of their files. The program contains them, so it needs no data
/// files where it is installed.

#include <string>

namespace tool {

/// A koi as Wavefront OBJ. Its two sides, its eyes and its fins are texture islands. The island of each side has a hole
/// for the eye, and a gill opening that touches the island's outline at one vertex.
std::string bundledKoiObj();

/// The skeleton of a standing figure as TGF, in a relaxed pose: 22 joints, y up, in metres, facing +z.
std::string bundledFigureTgf();

} // namespace tool
