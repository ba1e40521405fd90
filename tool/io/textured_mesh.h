#pragma once

/// The triangle mesh that the tour uses.

#include <array>
#include <string>
#include <vector>

#include <sinew/core/vector3.h>
#include <sinew/framework/vect2.h>

namespace tool {

/// The indices of a triangle's three corners.
using Triangle = std::array<int, 3>;

/// A surface in space and, if the file has texture coordinates, its triangles in the texture.
struct TexturedMesh
{
    std::string name; ///< for captions: the name of the file without its folder
    std::vector<Vector3> positions;
    std::vector<tzNM::vect2<double>> texcoords; ///< empty when the mesh has no texture
    std::vector<Triangle> triangles;            ///< corners as indices into `positions`
    std::vector<Triangle> texTriangles;         ///< the corners as indices into `texcoords`; parallel, or empty
    std::vector<int> groupOfTriangle;           ///< index into `groups`, parallel to `triangles`
    std::vector<std::string> groups;            ///< object or group names of the file

    bool hasTexture() const { return !texTriangles.empty(); }
};

} // namespace tool
