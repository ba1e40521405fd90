#pragma once

/// Reference implementation of skinning by dual quaternions: one vertex at a time, in the order of operations of the
/// library, without tables and vectors.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <tuple>
#include <utility>
#include <vector>

#include <sinew/core/vector_geometry.h>
#include <sinew/skinning/bone_transform_vector.h>
#include <sinew/skinning/detail/rotation_factor.h>

namespace reference {

using Influences = std::vector<std::pair<int, double>>;
using sinew::detail::Quaternion;

/// v q, where the vector has the real part 0.
inline Quaternion product(Vector3 const& v, Quaternion const& q)
{
    return {q.w * v.x + (v.y * q.z - v.z * q.y), q.w * v.y + (v.z * q.x - v.x * q.z),
            q.w * v.z + (v.x * q.y - v.y * q.x), -(v.x * q.x + v.y * q.y + v.z * q.z)};
}

inline double dot(Quaternion const& a, Quaternion const& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
}

inline Quaternion plus(Quaternion const& a, Quaternion const& b, double weight)
{
    return {a.x + b.x * weight, a.y + b.y * weight, a.z + b.z * weight, a.w + b.w * weight};
}

/// The blended map of one vertex: point or tangent v -> (columns v) b* / |b|^2.
struct BlendedMap
{
    Quaternion columns[4] = {{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}};
    Quaternion b = {0, 0, 0, 0};

    Vector3 operator()(Vector3 const& v, bool isPoint) const
    {
        auto const sum = [&](double Quaternion::*c) {
            double const turned = columns[0].*c * v.x + columns[1].*c * v.y + columns[2].*c * v.z;
            return isPoint ? turned + columns[3].*c : turned;
        };
        Quaternion const e = {sum(&Quaternion::x), sum(&Quaternion::y), sum(&Quaternion::z), sum(&Quaternion::w)};
        double const inverseSq = 1.0 / dot(b, b);
        return {(b.w * e.x - e.w * b.x + (b.y * e.z - b.z * e.y)) * inverseSq,
                (b.w * e.y - e.w * b.y + (b.z * e.x - b.x * e.z)) * inverseSq,
                (b.w * e.z - e.w * b.z + (b.x * e.y - b.y * e.x)) * inverseSq};
    }
};

/// The unit normal of two tangents, at any scale.
inline Vector3 unitNormal(Vector3 t1, Vector3 t2)
{
    Vector3 n = cross(t1, t2);
    double const lengthSq = n.lengthSq();
    if (lengthSq >= sinew::kNullLengthSq && lengthSq <= 1e300) return UVector3(n);
    for (Vector3* v : {&t1, &t2, &n}) {
        if (v == &n) n = cross(t1, t2);
        double const largest = std::fmax(std::fabs(v->x), std::fmax(std::fabs(v->y), std::fabs(v->z)));
        if (!std::isfinite(largest)) continue;
        int exponent = 0;
        std::frexp(largest, &exponent);
        *v = Vector3(std::ldexp(v->x, -exponent), std::ldexp(v->y, -exponent), std::ldexp(v->z, -exponent));
    }
    if (n.lengthSq() == 0) return {n.x, n.y, 1};
    double const r = 1.0 / std::sqrt(n.lengthSq());
    return {n.x * r, n.y * r, n.z * r};
}

/// The influence that determines the signs: the greatest weight of those that name a bone, the first one of several.
inline std::size_t pivotOf(Influences const& list)
{
    std::size_t pivot = 0;
    for (std::size_t k = 1; k < list.size(); ++k) {
        double const best = std::fabs(list[pivot].second);
        double const weight = std::fabs(list[k].second);
        if (weight > best || (best == 0 && weight != 0)) pivot = k;
    }
    return pivot;
}

/// The power of two by which the weights are multiplied, so that their products do not overflow or underflow.
inline double scaleOfWeights(double greatest)
{
    if (!std::isfinite(greatest) || (greatest >= 0x1p-64 && greatest <= 0x1p+64)) return 1.0;
    int exponent = 0;
    std::frexp(greatest, &exponent);
    return std::ldexp(1.0, -std::max(-1000, std::min(exponent, 1000)));
}

/// Position and normal of a placed vertex. `given` may hold influences that name no bone.
inline std::pair<Vector3, Vector3> skinByDualQuaternions(std::vector<BoneTransform> const& bones,
                                                         Influences const& given, Vector3 const& p, UVector3 const& n)
{
    Influences list;
    std::size_t weighted = 0;
    for (auto const& [bone, weight] : given) {
        if (bone < 0 || static_cast<std::size_t>(bone) >= bones.size()) continue;
        list.emplace_back(bone, weight);
        weighted += weight != 0 ? 1 : 0;
    }
    Vector3 b1;
    Vector3 b2;
    getBasis(n, b1, b2);
    if (list.empty()) return {p, unitNormal(b1, b2)};
    std::size_t const pivot = pivotOf(list);
    BoneTransform const& pivotBone = bones[static_cast<std::size_t>(list[pivot].first)];
    std::pair<Vector3, Vector3> const byPivot = {pivotBone * p,
                                                 unitNormal(pivotBone.linear * b1, pivotBone.linear * b2)};
    if (weighted < 2) return byPivot;
    double const magnitude = std::fabs(list[pivot].second);
    double const scale = scaleOfWeights(magnitude);
    Quaternion const pivotRotation = sinew::detail::rotationFactor(pivotBone.linear);
    BlendedMap map;
    for (auto const& [index, weight] : list) {
        if (weight == 0) continue;
        BoneTransform const& bone = bones[static_cast<std::size_t>(index)];
        Quaternion const q = sinew::detail::rotationFactor(bone.linear);
        double const w = (dot(pivotRotation, q) < 0 ? -weight : weight) * scale;
        for (int j = 0; j < 3; ++j) map.columns[j] = plus(map.columns[j], product(bone.linear.column(j), q), w);
        map.columns[3] = plus(map.columns[3], product(bone.translation, q), w);
        map.b = plus(map.b, q, w);
    }
    bool const isFinite = std::isfinite(magnitude);
    if (isFinite && dot(map.b, map.b) <= 1e-20 * (magnitude * scale * (magnitude * scale))) return byPivot;
    return {map(p, true), unitNormal(map(b1, false), map(b2, false))};
}

/// All vertices of a surface.
inline void skinByDualQuaternions(std::vector<BoneTransform> const& bones, DisplayData const& data,
                                  std::vector<Vector3>& positions, std::vector<Vector3>& normals)
{
    for (std::size_t i = 0; i < data.surface->positions.size(); ++i) {
        Vector3 p = data.placement * data.surface->positions[i];
        UVector3 const n(data.placement.linearComponent() * data.surface->normals[i]);
        Vector3 normal = n;
        if (data.boneWeights) std::tie(p, normal) = skinByDualQuaternions(bones, data.boneWeights->influences[i], p, n);
        positions.push_back(p);
        normals.push_back(normal);
    }
}

} // namespace reference
