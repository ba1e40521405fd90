#pragma once

/// Bones applied to display data: vertex by vertex, or a whole surface at once.
///
/// The host supplies consistent data: a vertex index within the positions, bone indices within the bones, and one
/// influence list per vertex. Nothing is checked here; `sinew::checkWeights` is the place to ask.
/// The operations are const and read what the host shares, but reference counts are plain integers: one display data
/// must not be deformed from two threads at once.

#include <vector>

#include <sinew/core/vector3.h>
#include <sinew/export.h>
#include <sinew/framework/smart_ptr.h>
#include <sinew/skinning/bone_transform.h>
#include <sinew/skinning/display_data.h>

/// The bones of a figure, by bone index.
class SINEW_API BoneTransformVector : public smart_base
{
public:
    std::vector<BoneTransform> bones;

    BoneTransformVector();
    explicit BoneTransformVector(std::vector<BoneTransform> bones_);
    ~BoneTransformVector() override;

    /// World position of a vertex after the bones: the sum of weight * (bone applied to the placed vertex) over its
    /// influences, in list order. A negative bone index stands for the identity, also when it is the only influence.
    ///
    /// Without a weight table or without influences it is the placed vertex. Weights are used as they stand: weights
    /// that sum to 2 double the position.
    Vector3 getTransformed(int vertex, smart_ptr<BaseDisplayData const> data) const;

    /// The same, and the unit normal in the world after the bones.
    ///
    /// @param normal     the vertex's normal in object space.
    /// @param newNormal  receives the unit cross product of the two deformed tangents (`getBasis`) of the placed
    ///                   normal. Tangents, not the normal itself, are deformed, so that a squashed bone tilts normals
    ///                   the right way. It points inward where the bones mirror the vertex.
    ///
    /// Differs from the position-only operation on purpose: a single influence moves the vertex fully, whatever its
    /// weight, and every bone index must name a bone; negative ones are not treated specially.
    Vector3 getTransformed(int vertex, smart_ptr<BaseDisplayData const> data, UVector3 const& normal,
                           UVector3& newNormal) const;
};

/// Applies bones to a whole surface. A value: copies share the bones.
class BoneTransformModifyer
{
public:
    smart_ptr<BoneTransformVector> bones;

    SINEW_API explicit BoneTransformModifyer(smart_ptr<BoneTransformVector> bones_);

    /// A new surface: that of `data` with every vertex and normal in the world after the bones, and the same indices.
    ///
    /// Bit for bit what `getTransformed` gives for every vertex with its normal. Linear in vertices and influences.
    /// Without bones the surface is only placed. Vertices beyond the end of the normals, of the geometry's positions or
    /// of the weight table stay as they are in `data`; without a surface or a geometry the result is empty.
    SINEW_API smart_ptr<SurfaceGeometryData> operator()(smart_ptr<DisplayData const> data) const;
};
