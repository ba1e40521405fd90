// Source: K. Shoemake, T. Duff, Matrix animation and polar decomposition, Graphics Interface 1992. The docstring of
// `BoneTransform::interpolate` states the differences.

#include <sinew/skinning/bone_transform.h>

#include <cmath>

#include <sinew/core/detail/math.h>

namespace {

Matrix3 diagonal(double a, double b, double c)
{
    return Matrix3(Vector3(a, 0.0, 0.0), Vector3(0.0, b, 0.0), Vector3(0.0, 0.0, c));
}

// The linear part of `interpolate` for 0 < t < 1, or a NaN t.
Matrix3 blendFromIdentity(Matrix3 const& m, double t)
{
    double eigenvalues[3];
    UVector3 axes[3];
    (m * m.transpose()).getEigensystem(eigenvalues, axes);
    Matrix3 const basis(axes[0], axes[1], axes[2]);
    double stretch[3];
    // std::fabs, because rounding can make an eigenvalue of a singular matrix slightly negative.
    for (int k = 0; k < 3; ++k) stretch[k] = std::sqrt(std::fabs(eigenvalues[k]));

    Matrix3 const z = (basis * diagonal(stretch[0], stretch[1], stretch[2])).inverse() * m;
    Matrix3 const rotation = basis * z;
    UVector3 const axis = rotation.getRotationAxis();
    double const angle = rotation.getRotationAngle(&axis);
    for (double& s : stretch) s = sinew::detail::math::pow(s, t);

    Matrix3 const partialRotation = Matrix3::rotationMatrix(axis, t * angle);
    return partialRotation * z.inverse() * diagonal(stretch[0], stretch[1], stretch[2]) * z;
}

} // namespace

BoneTransform::BoneTransform(Vector3 const& restStart, Vector3 const& restEnd, Vector3 const& posedStart,
                             Vector3 const& posedEnd, double twist)
{
    Vector3 const rest = restEnd - restStart;
    Vector3 const posed = posedEnd - posedStart;
    UVector3 const restDirection(rest);
    UVector3 const posedDirection(posed);

    Matrix3 const turn = Matrix3::rotationMatrix(restDirection, posedDirection);
    Matrix3 const twisting = Matrix3::rotationMatrix(posedDirection, twist);
    // The stretch is a diagonal matrix in a frame whose x axis is the posed direction.
    Matrix3 const toX = Matrix3::rotationMatrix(posedDirection, UVector3(1.0, 0.0, 0.0));
    Matrix3 const stretch = diagonal(posed.length() / rest.length(), 1.0, 1.0);

    linear = toX.transpose() * (stretch * (toX * (twisting * turn)));
    translation = posedStart - linear * restStart;
}

BoneTransform BoneTransform::inverse() const
{
    BoneTransform result;
    result.linear = linear.inverse();
    result.translation = -(result.linear * translation);
    return result;
}

BoneTransform BoneTransform::interpolate(BoneTransform const& target, double t)
{
    if (t <= 0) return BoneTransform();
    if (t >= 1) return target;
    BoneTransform result;
    result.translation = t * target.translation;
    result.linear = blendFromIdentity(target.linear, t);
    return result;
}

BoneTransform BoneTransform::interpolate(BoneTransform const& from, BoneTransform const& to, double t)
{
    return from * interpolate(from.inverse() * to, t);
}

BoneTransform operator*(BoneTransform const& a, BoneTransform const& b)
{
    BoneTransform result;
    result.linear = a.linear * b.linear;
    result.translation = a.translation + a.linear * b.translation;
    return result;
}
