#pragma once

/// The mesh function of a textured model: it tells where in the model's side view a point of the texture lies.

#include <vector>

#include <sinew/meshfunc/mesh_function_2d.h>

#include <tool/draw/image.h>
#include <tool/io/textured_mesh.h>

namespace tool {

using Vector2 = tzNM::vect2<double>;

/// The direction from which a model shows its side: along the shortest edge of its bounding box, y upwards if it can
/// be.
struct SideView
{
    int right; ///< the coordinate axis that points right in the side view
    int up;
    int towards; ///< and the one that points to the onlooker

    explicit SideView(std::vector<Vector3> const& positions);
};

/// Domain: texture coordinates. Values: the place in the side view, scaled so that its longer edge is [0, 1]. Scalar:
/// the cosine between the surface's normal and the direction to the onlooker, negative on the far side.
///
/// A vertex of the function is a pair of position and texture coordinate, so that seams of either are borders.
MeshFunction2D sideViewFunction(TexturedMesh const& mesh);

/// A picture in the plane of the side view, in the manner of a koi: red and black patches on a pale ground.
Colour koiPattern(Vector2 const& value);

/// The texture of size x size texels over [0, 1] x [0, 1], row 0 on top: each texel takes the pattern's colour at the
/// function's value. Texels outside the islands take the continued values, so that no seam shows a wrong colour. Where
/// there is no value the texel stays pale.
Image bakeTexture(MeshFunction2D const& function, int size);

} // namespace tool
