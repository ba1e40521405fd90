// Reads the input as a binary glTF file. Whatever the bytes are, the result is a mesh, a skeleton and weights that fit,
// or a UserError.

#include <cmath>
#include <string>

#include <tool/io/glb_reader.h>
#include <tool/support/user_error.h>

#include "fuzz/input.h"

using fuzz::require;

namespace {

bool isIndex(int index, std::size_t count)
{
    return index >= 0 && static_cast<std::size_t>(index) < count;
}

void requireCorners(std::vector<tool::Triangle> const& triangles, std::size_t count)
{
    for (tool::Triangle const& triangle : triangles) {
        for (int corner : triangle) require(isIndex(corner, count), "corners exist");
    }
}

void requireMesh(tool::TexturedMesh const& mesh)
{
    require(!mesh.triangles.empty(), "a mesh has triangles");
    requireCorners(mesh.triangles, mesh.positions.size());
    requireCorners(mesh.texTriangles, mesh.texcoords.size());
    require(!mesh.hasTexture() || mesh.texTriangles.size() == mesh.triangles.size(), "texture of all triangles");
    require(mesh.groupOfTriangle.size() == mesh.triangles.size(), "groups of all triangles");
    for (int group : mesh.groupOfTriangle) require(isIndex(group, mesh.groups.size()), "groups exist");
    for (Vector3 const& p : mesh.positions) {
        require(std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z), "positions are finite");
    }
}

void requireSkin(tool::GlbModel const& model)
{
    tool::Skeleton const& skeleton = model.skeleton;
    std::size_t const bones = skeleton.bones.size();
    require(model.weights.size() == (bones == 0 ? 0 : model.mesh.positions.size()), "weights of all vertices");
    require(skeleton.jointNames.size() == skeleton.joints.size() && skeleton.radii.size() == skeleton.joints.size(),
            "names and radii of all joints");
    for (auto const& bone : skeleton.bones) {
        require(isIndex(bone[0], skeleton.joints.size()) && isIndex(bone[1], skeleton.joints.size()), "joints exist");
    }
    for (std::vector<double> const& row : model.weights) {
        double sum = 0;
        for (double weight : row) sum += weight;
        require(row.size() == bones && std::fabs(sum - 1) < 1e-9, "weights sum to one");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string const bytes(reinterpret_cast<char const*>(data), size);
    try {
        tool::GlbModel const model = tool::parseGlb(bytes, "input.glb");
        requireMesh(model.mesh);
        requireSkin(model);
    } catch (tool::UserError const& error) {
        require(std::string(error.what()).rfind("input.glb", 0) == 0, "the message names the file");
    }
    return 0;
}
