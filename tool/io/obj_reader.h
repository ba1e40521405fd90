#pragma once

/// Wavefront OBJ files: positions, texture coordinates and faces, which are cut into triangles.

#include <string>

#include <tool/io/textured_mesh.h>

namespace tool {

/// Reads the mesh in `text`; `file` names it in error messages.
///
/// Every line that carries numbers is checked before the mesh is built: a number that does not parse, NaN, an infinity,
/// a face with fewer than three corners or with a corner that does not exist throws `UserError` with its line. So does
/// a mesh without faces. A mesh with texture coordinates at only some corners counts as damaged too, and one without
/// any reads as a mesh for which `hasTexture()` is false.
TexturedMesh parseObj(std::string const& text, std::string const& file);

/// `parseObj` of a file's content.
TexturedMesh readObj(std::string const& path);

} // namespace tool
