#pragma once

/// Reference implementation of bone transforms and their interpolation: one matrix product a step, in the order of the
/// definition. The tests compare bits with it, which fixes how the library groups the products.

#include <cmath>

#include <sinew/core/detail/math.h>
#include <sinew/skinning/bone_transform.h>

namespace reference {

namespace math = sinew::detail::math; // the functions that the library calls; SINEW_MATH selects them

inline BoneTransform boneTransform(Vector3 const& restStart, Vector3 const& restEnd, Vector3 const& posedStart,
                                   Vector3 const& posedEnd, double twist)
{
    Vector3 const rest = restEnd - restStart;
    Vector3 const posed = posedEnd - posedStart;
    UVector3 const along(posed);
    Matrix3 const toX = Matrix3::rotationMatrix(along, UVector3(Vector3(1, 0, 0)));
    Matrix3 stretch;
    stretch(0, 0) = posed.length() / rest.length();

    BoneTransform result;
    result.linear = Matrix3::rotationMatrix(UVector3(rest), along);
    result.linear = Matrix3::rotationMatrix(along, twist) * result.linear;
    result.linear = toX * result.linear;
    result.linear = stretch * result.linear;
    result.linear = toX.transpose() * result.linear;
    result.translation = posedStart - result.linear * restStart;
    return result;
}

inline BoneTransform interpolate(BoneTransform const& target, double t)
{
    if (t <= 0) return BoneTransform();
    if (t >= 1) return target;
    Matrix3 const M = target.linear;
    double lambda[3];
    UVector3 e[3];
    Matrix3(M * M.transpose()).getEigensystem(lambda, e);
    Matrix3 const V(e[0], e[1], e[2]);
    Matrix3 D;
    for (int k = 0; k < 3; ++k) D(k, k) = std::sqrt(std::fabs(lambda[k]));
    Matrix3 const VD = V * D;
    Matrix3 const Z = VD.inverse() * M;
    Matrix3 const R = V * Z;
    UVector3 const axis = R.getRotationAxis();
    double const angle = R.getRotationAngle(&axis);
    Matrix3 Dt;
    for (int k = 0; k < 3; ++k) Dt(k, k) = math::pow(D(k, k), t);

    BoneTransform result;
    result.translation = Vector3(t * target.translation.x, t * target.translation.y, t * target.translation.z);
    result.linear = Matrix3::rotationMatrix(axis, t * angle);
    result.linear = result.linear * Z.inverse();
    result.linear = result.linear * Dt;
    result.linear = result.linear * Z;
    return result;
}

inline BoneTransform inverse(BoneTransform const& transform)
{
    BoneTransform result;
    result.linear = transform.linear.inverse();
    result.translation = -(result.linear * transform.translation);
    return result;
}

inline BoneTransform compose(BoneTransform const& a, BoneTransform const& b)
{
    BoneTransform result;
    result.linear = a.linear * b.linear;
    result.translation = a.translation + a.linear * b.translation;
    return result;
}

inline BoneTransform interpolate(BoneTransform const& from, BoneTransform const& to, double t)
{
    return reference::compose(from, reference::interpolate(reference::compose(reference::inverse(from), to), t));
}

} // namespace reference
