#pragma once

/// A triangle mesh as the tour uses it: a surface in space and, if the file has one, its flattened texture domain.

#include <array>
#include <string>
#include <vector>

#include <sinew/core/vector3.h>
#include <sinew/framework/vect2.h>

namespace tool {

using Triangle = std::array<int, 3>;

struct TexturedMesh
{
    std::string name; ///< for captions: the file's name without its folder
    std::vector<Vector3> positions;
    std::vector<tzNM::vect2<double>> texcoords; ///< empty when the mesh has no texture
    std::vector<Triangle> triangles;            ///< corners as indices into `positions`
    std::vector<Triangle> texTriangles;         ///< the same corners as indices into `texcoords`; parallel, or empty
    std::vector<int> groupOfTriangle;           ///< index into `groups`, parallel to `triangles`
    std::vector<std::string> groups;            ///< object or group names of the file

    bool hasTexture() const { return !texTriangles.empty(); }
};

} // namespace tool
