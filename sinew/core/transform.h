#pragma once

/// The similarity transform. Use it to place objects in a scene and to compose, invert or interpolate placements.
///
/// Nothing throws or allocates; all functions have constant cost.

#include <sinew/core/matrix.h>
#include <sinew/core/matrix3.h>
#include <sinew/core/vector3.h>

/// A rotation, a uniform scale that may be negative, and a translation.
///
/// A point p is mapped to linear * (scale * p) + translation. Every operation keeps `linear` orthonormal, and a
/// reflection is a half turn with a scale of -1. The inverse of `linear` is therefore its transpose, and
/// interpolation treats rotation and scale separately. Angles are in radians, rotations are right-handed.
class Transform
{
public:
    /// The rotation. It must be orthonormal; this is neither checked nor corrected. With any other matrix `inverse()`
    /// and `interpolate()` give wrong results.
    ::Matrix3 linear;

    /// The translation, added after rotation and scale.
    ::Vector3 translation;

    /// The uniform scale; negative for a reflection.
    double scale = 1.0;

    /// The identity.
    constexpr Transform() = default;

    /// The scaling by `s` about the origin.
    constexpr explicit Transform(double s) : scale(s) {}

    /// The frame with origin `t`, first axis `b`, second axis a x b and third axis `a`. The directions must be
    /// perpendicular unit vectors; this is not checked.
    constexpr Transform(UVector3 const& a, UVector3 const& b, ::Vector3 const& t)
        : linear(b, cross(a, b), a), translation(t)
    {
    }

    /// The rotation by `angle` radians about `axis`, which need not have length 1. A null axis stands for the null
    /// fallback of `UVector3`.
    SINEW_API Transform(::Vector3 const& axis, double angle);

    /// The rotation about the common normal of `a` and `b` that turns the direction a into b.
    ///
    /// If the cross product of the two is null (`Vector3::isNull`), the result is the identity for a * b > 0,
    /// otherwise a half turn about the second vector of `getBasis(a)`. `Matrix3::rotationMatrix` takes the
    /// first vector instead.
    SINEW_API static Transform rotate(UVector3 const& a, UVector3 const& b);

    /// The reflection in the plane through `p` with normal `n`: the half turn about n with a scale of -1.
    SINEW_API static Transform reflection(::Vector3 const& p, UVector3 const& n);

    /// The inverse, with the transpose of `linear`. A zero scale gives an infinite scale.
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
    constexpr ::Matrix3 getLinear() const { return linear * scale; }

    /// The 4x4 matrix of the same map: `getLinear()`, the translation in column 3, the last row (0, 0, 0, 1).
    SINEW_API ::Matrix getMatrix() const;

    /// This transform without its translation, to map directions and differences of points.
    constexpr Transform linearComponent() const
    {
        Transform result = *this;
        result.translation = ::Vector3();
        return result;
    }

    /// The transform at parameter `w` between `A` and `B`.
    ///
    /// For w <= 0 the result is A, for w >= 1 it is B, unchanged. The translation is interpolated linearly, the
    /// magnitude of the scale geometrically, and the rotation by an angle proportional to w about the axis of
    /// B.linear * A.linear^T. The sign of the scale is that of A for w up to 0.5 and that of B above. A NaN w gives a
    /// NaN translation and rotation.
    SINEW_API static Transform interpolate(Transform const& A, Transform const& B, double w);
};

/// The image of a point: linear * (scale * p) + translation.
constexpr ::Vector3 operator*(::Transform const& t, ::Vector3 const& p)
{
    return t.linear * (t.scale * p) + t.translation;
}

/// Exact comparison of the fields: 0.0 equals -0.0, and NaN equals nothing.
constexpr bool operator==(::Transform const& a, ::Transform const& b)
{
    return a.linear == b.linear && a.translation == b.translation && a.scale == b.scale;
}
constexpr bool operator!=(::Transform const& a, ::Transform const& b)
{
    return !(a == b);
}
