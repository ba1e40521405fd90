#pragma once

/// Reference implementation of the deformation of a surface, written directly from the definition: one vertex at a
/// time, with every getter called again for each vertex.

#include <sinew/core/vector_geometry.h>
#include <sinew/skinning/bone_transform_vector.h>

namespace reference {

inline Vector3 getTransformed(BoneTransformVector const& figure, int vertex, BaseDisplayData const& data)
{
    Vector3 const p = data.placement * data.getGeometry()->positions[vertex];
    if (!data.boneWeights) return p;
    auto const& list = data.boneWeights->influences[vertex];
    if (list.empty()) return p;
    Vector3 sum(0, 0, 0);
    for (auto const& entry : list) {
        Vector3 const q = entry.first < 0 ? p : figure.bones[entry.first] * p;
        sum = sum + q * entry.second;
    }
    return sum;
}

inline Vector3 getTransformed(BoneTransformVector const& figure, int vertex, BaseDisplayData const& data,
                              UVector3 const& normal, UVector3& newNormal)
{
    Vector3 const p = data.placement * data.getGeometry()->positions[vertex];
    UVector3 const n(data.placement.linearComponent() * normal);
    Vector3 b1;
    Vector3 b2;
    getBasis(n, b1, b2);
    if (!data.boneWeights) {
        newNormal = n;
        return p;
    }
    auto const& list = data.boneWeights->influences[vertex];
    if (list.empty()) {
        newNormal = UVector3(cross(b1, b2));
        return p;
    }
    if (list.size() == 1) {
        BoneTransform const& bone = figure.bones[list[0].first];
        newNormal = UVector3(cross(bone.linear * b1, bone.linear * b2));
        return bone * p;
    }
    Vector3 position(0, 0, 0);
    Matrix3 blended;
    for (std::size_t k = 0; k < list.size(); ++k) {
        BoneTransform const& bone = figure.bones[list[k].first];
        position = position + (bone * p) * list[k].second;
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) {
                double const term = bone.linear(i, j) * list[k].second;
                blended(i, j) = k == 0 ? term : blended(i, j) + term;
            }
        }
    }
    newNormal = UVector3(cross(blended * b1, blended * b2));
    return position;
}

inline void deform(BoneTransformVector const& figure, DisplayData const& data, SurfaceGeometryData& result)
{
    result = *data.surface;
    for (std::size_t i = 0; i < result.positions.size(); ++i) {
        result.positions[i] =
            getTransformed(figure, static_cast<int>(i), data, data.surface->normals[i], result.normals[i]);
    }
}

} // namespace reference
