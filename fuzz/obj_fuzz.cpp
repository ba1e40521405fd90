// Reads the input as an OBJ file. Whatever the bytes are, the result is a mesh whose indices are valid, or a UserError.

#include <string>

#include <tool/io/obj_reader.h>
#include <tool/support/user_error.h>

#include "fuzz/input.h"

using fuzz::require;

namespace {

void requireCorners(std::vector<tool::Triangle> const& triangles, std::size_t count)
{
    for (tool::Triangle const& triangle : triangles) {
        for (int corner : triangle) {
            require(corner >= 0 && static_cast<std::size_t>(corner) < count, "corners exist");
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string const text(reinterpret_cast<char const*>(data), size);
    try {
        tool::TexturedMesh const mesh = tool::parseObj(text, "input.obj");
        require(!mesh.triangles.empty(), "a mesh has triangles");
        requireCorners(mesh.triangles, mesh.positions.size());
        requireCorners(mesh.texTriangles, mesh.texcoords.size());
        require(!mesh.hasTexture() || mesh.texTriangles.size() == mesh.triangles.size(), "texture of all triangles");
        require(mesh.groupOfTriangle.size() == mesh.triangles.size(), "groups of all triangles");
        for (int group : mesh.groupOfTriangle) {
            require(group >= 0 && static_cast<std::size_t>(group) < mesh.groups.size(), "groups exist");
        }
        for (Vector3 const& p : mesh.positions) {
            require(std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z), "positions are finite");
        }
    } catch (tool::UserError const& error) {
        require(std::string(error.what()).rfind("input.obj", 0) == 0, "the message names the file");
    }
    return 0;
}
