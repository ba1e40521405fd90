#pragma once

/// The similarity transform: a rotation, a uniform scale whose sign may flip, and a translation.
///
/// A point p maps to linear * (scale * p) + translation. `linear` is kept orthonormal by every operation here and a
/// mirror is a half turn with a scale of -1, so that inversion is a transpose and interpolation can tell rotation from
/// scale. Angles are radians, rotations right-handed. Nothing throws or allocates.

#include <sinew/core/matrix.h>
#include <sinew/core/matrix3.h>
#include <sinew/core/vector3.h>

class Transform
{
public:
    /// The rotation. A caller who puts anything but an orthonormal matrix here gets it carried along, uncorrected, and
    /// `inverse()` and `interpolate()` wrong.
    Matrix3 linear;

    /// Added after rotation and scale.
    Vector3 translation;

    /// Uniform; negative for a mirror.
    double scale = 1.0;

    /// The identity.
    constexpr Transform() = default;

    /// The scale by `s` about the origin.
    constexpr explicit Transform(double s) : scale(s) {}

    /// The frame at `t` whose third axis is `a`, whose first axis is `b` and whose second axis is a x b. The two
    /// directions are trusted to be perpendicular.
    constexpr Transform(UVector3 const& a, UVector3 const& b, Vector3 const& t)
        : linear(b, cross(a, b), a), translation(t)
    {
    }

    /// The rotation by `angle` radians about `axis`, which need not have length 1; a null axis takes the null fallback
    /// of `UVector3`.
    SINEW_API Transform(Vector3 const& axis, double angle);

    /// The rotation that turns the direction `a` to `b` about their common normal.
    ///
    /// Where that is null, equal directions give the identity and opposite ones (a * b not greater than 0, NaN
    /// included) a half turn about the second vector of `getBasis(a)`; `Matrix3::rotationMatrix` takes the first.
    SINEW_API static Transform rotate(UVector3 const& a, UVector3 const& b);

    /// The mirror in the plane through `p` with normal `n`: the half turn about n with a scale of -1.
    SINEW_API static Transform reflection(Vector3 const& p, UVector3 const& n);

    /// The inverse, by transposing `linear`. A zero scale gives an infinite one; nothing is tested.
    constexpr Transform inverse() const
    {
        Transform result(1.0 / scale);
        result.linear = linear.transpose();
        result.translation = -(result.linear * (result.scale * translation));
        return result;
    }

    /// The composition: `B` is applied first.
    constexpr Transform operator*(Transform const& B) const
    {
        Transform result;
        result.linear = linear * B.linear;
        result.scale = scale * B.scale;
        result.translation = translation + linear * (scale * B.translation);
        return result;
    }

    /// `linear` with every element times `scale`.
    constexpr Matrix3 getLinear() const { return linear * scale; }

    /// The 4x4 matrix of the same map.
    SINEW_API Matrix getMatrix() const;

    /// This transform without its translation: it maps directions as this one maps points.
    constexpr Transform linearComponent() const
    {
        Transform result = *this;
        result.translation = Vector3();
        return result;
    }

    /// The transform between `A` (w <= 0) and `B` (w >= 1), each returned unchanged there.
    ///
    /// The translation goes linearly, the magnitude of the scale geometrically, the rotation about the axis that leads
    /// from A to B at constant rate. The sign of the scale is that of the nearer end and jumps just above w = 0.5.
    /// A NaN `w` goes on, to a NaN translation and rotation.
    SINEW_API static Transform interpolate(Transform const& A, Transform const& B, double w);
};

/// The image of a point: linear * (scale * p) + translation.
constexpr Vector3 operator*(Transform const& t, Vector3 const& p)
{
    return t.linear * (t.scale * p) + t.translation;
}

constexpr bool operator==(Transform const& a, Transform const& b)
{
    return a.linear == b.linear && a.translation == b.translation && a.scale == b.scale;
}
constexpr bool operator!=(Transform const& a, Transform const& b)
{
    return !(a == b);
}
