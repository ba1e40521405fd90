#pragma once

/// Deforms all vertices and normals of a surface at once. Not installed.

#include <cstddef>
#include <utility>
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
/// width. Influences that name no bone are left out. If an allocation fails, the outputs are partly written.
///
/// @param positions, normals  receive `input.count` elements each. They must not overlap the arrays of the input.
/// @param width               the version of the kernel; must not exceed `widestVectors()`.
void deformVertices(DeformationInput const& input, Vector3* positions, UVector3* normals, VectorWidth width);

/// Whether each influence names one of the bones 0 to boneCount - 1. Without branches in the loop, because almost all
/// do.
SINEW_KERNEL bool allNameBones(std::vector<std::pair<int, double>> const& influences, std::size_t boneCount)
{
    bool all = true;
    // A negative index becomes a large number.
    for (auto const& influence : influences) all = all & (static_cast<std::size_t>(influence.first) < boneCount);
    return all;
}

/// The influences whose bone index is in [0, boneCount), in their order.
std::vector<std::pair<int, double>> influencesOfBones(std::vector<std::pair<int, double>> const& influences,
                                                      std::size_t boneCount);

} // namespace sinew::detail
