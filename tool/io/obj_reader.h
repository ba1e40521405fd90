#pragma once

/// Triangle meshes from Wavefront OBJ files.

#include <string>

#include <tool/io/textured_mesh.h>

namespace tool {

/// Reads the mesh in `text`; error messages name it `file`. Polygons are divided into triangles.
///
/// All lines with numbers are checked before the mesh is built. These throw `UserError` with the line: a number that
/// does not parse, NaN, an infinity, a face with fewer than three corners or with a corner that does not exist, and
/// texture coordinates at some corners but not at all. A mesh without faces throws `UserError` without a line. A mesh
/// without texture coordinates is read; its `hasTexture()` is false.
TexturedMesh parseObj(std::string const& text, std::string const& file);

} // namespace tool
