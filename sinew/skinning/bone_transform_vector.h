#pragma once

/// Deformation of display data by bones, for a single vertex or for a whole surface.
///
/// The host must supply consistent data: vertex indices within the positions, and one influence list for each vertex.
/// Release builds do not check this; `sinew::diagnose` does. An influence whose bone index names no bone is left out,
/// as if it were not in its list; `sinew::diagnose` reports it. The operations are const, but they change reference
/// counts, which are not atomic. Deforming a display data therefore requires exclusive access to it.

#include <vector>

#include <sinew/core/vector3.h>
#include <sinew/export.h>
#include <sinew/framework/smart_ptr.h>
#include <sinew/skinning/bone_transform.h>
#include <sinew/skinning/display_data.h>

/// The bone transforms of a figure, and their application to single vertices.
class SINEW_API BoneTransformVector : public smart_base
{
public:
    /// The transforms, indexed by bone.
    std::vector<BoneTransform> bones;

    /// No bones.
    BoneTransformVector();
    explicit BoneTransformVector(std::vector<BoneTransform> bones_);
    BoneTransformVector(BoneTransformVector const&);
    /// Strong guarantee: if an allocation fails, the bones are unchanged.
    BoneTransformVector& operator=(BoneTransformVector const& other);
    ~BoneTransformVector() override;

    /// The world position of a vertex after the bones: the sum of weight * (bone applied to the placed vertex) over its
    /// influences, in list order. A negative bone index stands for the identity. An influence beyond the bones is left
    /// out.
    ///
    /// Without a weight table or without influences the result is the placed vertex. Weights are not normalised:
    /// weights that sum to 2 double the position. `data` and its geometry must not be null. Linear in the influences,
    /// no allocation.
    /// Source: N. Magnenat-Thalmann, R. Laperrière, D. Thalmann, Joint-dependent local deformations for hand animation
    /// and object grasping, Graphics Interface 1988.
    ::Vector3 getTransformed(int vertex, smart_ptr<BaseDisplayData const> data) const;

    /// The world position of a vertex after the bones, and its unit normal.
    ///
    /// @param normal     the normal of the vertex in object space.
    /// @param newNormal  receives the unit normal in the world after the bones.
    ///
    /// The new normal is the cross product of the deformed tangents (`getBasis`) of the placed normal. Tangents lie in
    /// the surface, so this is correct for every regular map, also if a bone compresses the surface. If the bones
    /// mirror the vertex, the new normal points to the inside. Null tangents give the null fallback of `UVector3`.
    ///
    /// This overload differs from the other in two ways, both intended. A single influence moves the vertex fully,
    /// whatever its weight. Negative indices have no special meaning: they name no bone, so such an influence is left
    /// out, as one beyond the bones is. A vertex that is left without influences is only placed.
    ///
    /// Strong guarantee: if an allocation fails, `newNormal` is unchanged.
    /// Source: K. Turkowski, Properties of surface-normal transformations, Graphics Gems, 1990.
    ::Vector3 getTransformed(int vertex, smart_ptr<BaseDisplayData const> data, UVector3 const& normal,
                             UVector3& newNormal) const;
};

/// A function object that applies bones to a whole surface. Copies share the bones.
class BoneTransformModifyer
{
public:
    /// May be null; the surface is then only placed.
    smart_ptr<BoneTransformVector> bones;

    /// A function object that shares `bones_`.
    SINEW_API explicit BoneTransformModifyer(smart_ptr<BoneTransformVector> bones_);

    /// Returns a new surface with the vertices and normals of `data` in the world after the bones, and the same
    /// indices.
    ///
    /// Positions and normals have the same bits as those from `getTransformed` with a normal. Without bones the surface
    /// is only placed. The result copies from `data` all vertices beyond the end of the normals, of the geometry's
    /// positions or of the weight table. Without a surface or a geometry the result is empty. `data` must not be null.
    /// Linear in vertices and influences. If an allocation fails, std::bad_alloc is thrown and nothing has changed.
    SINEW_API smart_ptr<SurfaceGeometryData> operator()(smart_ptr<DisplayData const> data) const;
};
