#pragma once

/// Deforms the vertices and normals of a surface in blocks, bit for bit as one vertex at a time.

#include <cstddef>
#include <vector>

#include <sinew/detail/dispatch.h>
#include <sinew/core/transform.h>
#include <sinew/core/vector3.h>
#include <sinew/skinning/bone_transform.h>
#include <sinew/skinning/display_data.h>

namespace sinew::detail {

/// What is fetched once per surface instead of once per vertex. Nothing is owned.
struct DeformationInput
{
    std::vector<BoneTransform> const& bones;
    Transform const& placement;
    BoneWeightTable const* weights; ///< May be null.
    Vector3 const* positions;
    UVector3 const* normals;
    std::size_t count;
};

/// Writes `input.count` positions and normals. The outputs must not overlap the input.
void deformVertices(DeformationInput const& input, Vector3* positions, UVector3* normals, VectorWidth width);

} // namespace sinew::detail
