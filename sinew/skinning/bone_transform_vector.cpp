#include <sinew/skinning/bone_transform_vector.h>

#include <algorithm>
#include <utility>

#include <sinew/core/vector_geometry.h>
#include <sinew/skinning/detail/surface_deformer.h>

namespace {

using Influences = std::vector<std::pair<int, double>>;

Vector3 placed(BaseDisplayData const& data, int vertex)
{
    return data.placement * data.getGeometry()->positions[static_cast<std::size_t>(vertex)];
}

BoneTransform const& boneAt(std::vector<BoneTransform> const& bones, int index)
{
    return bones[static_cast<std::size_t>(index)];
}

// Position `p` and the tangents of its normal, moved by two or more weighted bones.
Vector3 blend(std::vector<BoneTransform> const& bones, Influences const& influences, Vector3 const& p,
              Vector3& tangent1, Vector3& tangent2)
{
    Vector3 position;
    Matrix3 linear = boneAt(bones, influences[0].first).linear * influences[0].second;
    for (std::size_t k = 0; k < influences.size(); ++k) {
        BoneTransform const& bone = boneAt(bones, influences[k].first);
        position += influences[k].second * (bone * p);
        if (k > 0) linear = linear + bone.linear * influences[k].second;
    }
    tangent1 = linear * tangent1;
    tangent2 = linear * tangent2;
    return position;
}

// How many vertices have all that it takes to deform them; lists that do not match end at the shortest.
std::size_t deformableCount(SurfaceGeometryData const& surface, GeometryData const& geometry,
                            BoneWeightTable const* weights)
{
    std::size_t const count = std::min({surface.positions.size(), surface.normals.size(), geometry.positions.size()});
    return weights ? std::min(count, weights->influences.size()) : count;
}

} // namespace

BoneTransformVector::BoneTransformVector() = default;
BoneTransformVector::BoneTransformVector(std::vector<BoneTransform> bones_) : bones(std::move(bones_)) {}
BoneTransformVector::~BoneTransformVector() = default;

Vector3 BoneTransformVector::getTransformed(int vertex, smart_ptr<BaseDisplayData const> data) const
{
    Vector3 const p = placed(*data, vertex);
    if (!data->boneWeights) return p;
    Influences const& influences = data->boneWeights->influences[static_cast<std::size_t>(vertex)];
    if (influences.empty()) return p;
    Vector3 result;
    for (auto const& [bone, weight] : influences) result += weight * (bone < 0 ? p : boneAt(bones, bone) * p);
    return result;
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
    Influences const& influences = data->boneWeights->influences[static_cast<std::size_t>(vertex)];
    if (influences.size() == 1) {
        BoneTransform const& bone = boneAt(bones, influences[0].first);
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
    // A handle of its own: the host's getter may make the geometry anew.
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
