// Sources: N. Magnenat-Thalmann, R. Laperrière, D. Thalmann, Joint-dependent local deformations for hand animation and
// object grasping, Graphics Interface 1988, for the weighted sum over the bones; K. Turkowski, Properties of
// surface-normal transformations, Graphics Gems, 1990, for normals as cross products of transformed tangents.

#include <sinew/skinning/bone_transform_vector.h>

#include <algorithm>
#include <cassert>
#include <utility>

#include <sinew/core/vector_geometry.h>
#include <sinew/detail/as_index.h>
#include <sinew/skinning/detail/surface_deformer.h>

namespace {

using sinew::detail::asIndex;
using Influences = std::vector<std::pair<int, double>>;

// The element of `list` at an index that the host supplied.
template <typename T>
T const& at(std::vector<T> const& list, int index)
{
    assert(index >= 0 && asIndex(index) < list.size());
    return list[asIndex(index)];
}

Vector3 placed(BaseDisplayData const& data, int vertex)
{
    return data.placement * at(data.getGeometry()->positions, vertex);
}

// The position `p` moved by two or more weighted bones. Also applies the blended linear part to the tangents.
Vector3 blend(std::vector<BoneTransform> const& bones, Influences const& influences, Vector3 const& p,
              Vector3& tangent1, Vector3& tangent2)
{
    Vector3 position;
    Matrix3 linear = at(bones, influences[0].first).linear * influences[0].second;
    for (std::size_t k = 0; k < influences.size(); ++k) {
        BoneTransform const& bone = at(bones, influences[k].first);
        position += influences[k].second * (bone * p);
        if (k > 0) linear = linear + bone.linear * influences[k].second;
    }
    tangent1 = linear * tangent1;
    tangent2 = linear * tangent2;
    return position;
}

// The number of vertices that have a position, a normal and, if there are weights, an influence list.
std::size_t deformableCount(SurfaceGeometryData const& surface, GeometryData const& geometry,
                            BoneWeightTable const* weights)
{
    std::size_t const count = std::min({surface.positions.size(), surface.normals.size(), geometry.positions.size()});
    return weights ? std::min(count, weights->influences.size()) : count;
}

} // namespace

BoneTransformVector::BoneTransformVector() = default;
BoneTransformVector::BoneTransformVector(std::vector<BoneTransform> bones_) : bones(std::move(bones_)) {}
BoneTransformVector::BoneTransformVector(BoneTransformVector const&) = default;
BoneTransformVector::~BoneTransformVector() = default;

BoneTransformVector& BoneTransformVector::operator=(BoneTransformVector const& other)
{
    bones = std::vector(other.bones);
    return *this;
}

// The public interface passes handles by value.
// NOLINTBEGIN(performance-unnecessary-value-param)

Vector3 BoneTransformVector::getTransformed(int vertex, smart_ptr<BaseDisplayData const> data) const
{
    Vector3 const p = placed(*data, vertex);
    if (!data->boneWeights) return p;
    Influences const& influences = at(data->boneWeights->influences, vertex);
    Vector3 result;
    bool moved = false;
    for (auto const& [bone, weight] : influences) {
        if (bone >= 0 && asIndex(bone) >= bones.size()) continue;
        result += weight * (bone < 0 ? p : bones[asIndex(bone)] * p);
        moved = true;
    }
    return moved ? result : p;
}

Vector3 BoneTransformVector::getTransformed(int vertex, smart_ptr<BaseDisplayData const> data, UVector3 const& normal,
                                            UVector3& newNormal) const
{
    Vector3 p = placed(*data, vertex);
    UVector3 const n(data->placement.linearComponent() * normal);
    if (!data->boneWeights) {
        newNormal = n;
        return p;
    }
    Vector3 tangent1;
    Vector3 tangent2;
    getBasis(n, tangent1, tangent2);
    Influences const& list = at(data->boneWeights->influences, vertex);
    // Almost all lists name only bones, and are used without a copy.
    bool const isValid = sinew::detail::allNameBones(list, bones.size());
    Influences const copy = isValid ? Influences() : sinew::detail::influencesOfBones(list, bones.size());
    Influences const& influences = isValid ? list : copy;
    if (influences.size() == 1) {
        BoneTransform const& bone = at(bones, influences[0].first);
        p = bone * p;
        tangent1 = bone.linear * tangent1;
        tangent2 = bone.linear * tangent2;
    } else if (influences.size() >= 2) {
        p = blend(bones, influences, p, tangent1, tangent2);
    }
    newNormal = UVector3(cross(tangent1, tangent2));
    return p;
}

BoneTransformModifyer::BoneTransformModifyer(smart_ptr<BoneTransformVector> bones_) : bones(std::move(bones_)) {}

smart_ptr<SurfaceGeometryData> BoneTransformModifyer::operator()(smart_ptr<DisplayData const> data) const
{
    smart_ptr<SurfaceGeometryData> result(new SurfaceGeometryData);
    // The handle keeps the geometry alive: the host's getter may return a new object.
    smart_ptr<GeometryData const> const geometry = data->getGeometry();
    if (!data->surface || !geometry) return result;
    SurfaceGeometryData const& source = *data->surface;
    *result = source;
    BoneWeightTable const* const weights = bones ? data->boneWeights.get() : nullptr;
    static std::vector<BoneTransform> const noBones;
    sinew::detail::DeformationInput const input = {
        bones ? bones->bones : noBones, data->placement,       weights,
        geometry->positions.data(),     source.normals.data(), deformableCount(source, *geometry, weights)};
    sinew::detail::deformVertices(input, result->positions.data(), result->normals.data(),
                                  sinew::detail::widestVectors());
    return result;
}

// NOLINTEND(performance-unnecessary-value-param)
