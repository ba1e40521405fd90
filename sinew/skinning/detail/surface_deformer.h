#pragma once

/// Deforms all vertices and normals of a surface at once. Not installed.

#include <cstddef>
#include <vector>

#include <sinew/core/transform.h>
#include <sinew/core/vector3.h>
#include <sinew/detail/dispatch.h>
#include <sinew/skinning/bone_transform.h>
#include <sinew/skinning/display_data.h>

namespace sinew::detail {

/// What the deformation of one surface reads. It owns nothing; the caller keeps everything alive.
struct DeformationInput
{
    std::vector<BoneTransform> const& bones;
    Transform const& placement;
    BoneWeightTable const* weights; ///< May be null; the vertices are then only placed. Has at least `count` lists.
    Vector3 const* positions;       ///< `count` positions in object space.
    UVector3 const* normals;        ///< `count` normals in object space.
    std::size_t count;              ///< Number of vertices.
};

/// Writes the positions and normals of all vertices in the world after the bones.
///
/// The results have the same bits as those of `BoneTransformVector::getTransformed` with a normal, at every vector
/// width. Every bone index must name a bone.
///
/// @param positions, normals  receive `input.count` elements each. They must not overlap the arrays of the input.
/// @param width               the version of the kernel; must not exceed `widestVectors()`.
void deformVertices(DeformationInput const& input, Vector3* positions, UVector3* normals, VectorWidth width);

} // namespace sinew::detail
