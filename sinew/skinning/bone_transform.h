#pragma once

/// The affine map of one bone of a figure, and the interpolation of such maps. `BoneTransformVector` applies them to
/// display data.

#include <sinew/core/matrix3.h>
#include <sinew/core/vector3.h>
#include <sinew/export.h>

/// The affine map that carries one bone from its rest position to its posed position. A point p maps to
/// linear * p + translation. A value of twelve doubles.
///
/// @code
/// // The bone from the origin to (1, 0, 0) turns upwards; a point beside its middle follows.
/// BoneTransform const bone({0, 0, 0}, {1, 0, 0}, {0, 0, 0}, {0, 1, 0}, 0);
/// Vector3 const p = bone * Vector3(0.5, 0.1, 0);
/// std::printf("(%.1f, %.1f, %.1f)\n", p.x, p.y, p.z); // (-0.1, 0.5, 0.0)
/// @endcode
class BoneTransform
{
public:
    /// The rotation, twist and stretch of the bone.
    ::Matrix3 linear;
    /// Added after the linear part.
    ::Vector3 translation;

    /// The identity.
    BoneTransform() = default;

    /// The map of a bone that is given by its two end points, at rest and posed, in one frame.
    ///
    /// It maps restStart to posedStart and restEnd to posedEnd, to rounding. It consists of the smallest rotation of
    /// the rest direction onto the posed direction, then a rotation by `twist` radians about the posed direction
    /// (right-handed), then a stretch along the posed direction. Lengths perpendicular to the bone do not change.
    ///
    /// Opposite directions are rotated about the first vector that `getBasis` gives for the rest direction. The rest
    /// bone must have a non-zero length; otherwise the stretch is infinite or NaN. A bone of zero length has the
    /// direction of the null fallback of `UVector3`. A NaN coordinate makes all twelve numbers NaN.
    SINEW_API BoneTransform(::Vector3 const& restStart, ::Vector3 const& restEnd, ::Vector3 const& posedStart,
                            ::Vector3 const& posedEnd, double twist);

    /// The inverse map. If the determinant of the linear part is below 1e-08 in magnitude, the linear part of the
    /// result is the zero matrix, as from `Matrix3::inverse`, and its translation is zero.
    SINEW_API BoneTransform inverse() const;

    /// Interpolates between the identity and `target`.
    ///
    /// t <= 0 gives the identity and t >= 1 an exact copy of `target`. Between these limits the translation is t times
    /// that of the target. The linear part is decomposed into a rotation and a stretch (left polar decomposition). The
    /// result rotates by t times the angle, about the same axis, and its stretch is that of the target to the power t,
    /// along the same axes.
    ///
    /// A NaN t gives NaN. The linear part of the target should be regular: for a singular one the computation continues
    /// with the zero matrix that `Matrix3::inverse` returns, and the result is not an interpolation.
    /// Source: K. Shoemake, T. Duff, Matrix animation and polar decomposition, Graphics Interface 1992. Unlike there,
    /// the decomposition uses the eigenvectors of M M^T instead of an iteration, and the stretch is raised to a power
    /// instead of blended linearly.
    SINEW_API static BoneTransform interpolate(BoneTransform const& target, double t);

    /// Interpolates between `from` and `to`: from * interpolate(from^-1 * to, t).
    ///
    /// This holds at the limits too: t <= 0 gives `from` composed with the identity, and t >= 1 gives `to` only to
    /// rounding. `from` should be regular, see `inverse`.
    SINEW_API static BoneTransform interpolate(BoneTransform const& from, BoneTransform const& to, double t);
};

/// Maps a point.
constexpr ::Vector3 operator*(BoneTransform const& transform, ::Vector3 const& p)
{
    return transform.linear * p + transform.translation;
}

/// The composition that applies `b` first, then `a`.
SINEW_API BoneTransform operator*(BoneTransform const& a, BoneTransform const& b);
