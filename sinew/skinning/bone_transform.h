#pragma once

/// The affine map that carries one bone of a figure from its rest position to its posed position, and the blending of
/// such maps. `BoneTransformVector` applies them to display data.

#include <sinew/core/matrix3.h>
#include <sinew/core/vector3.h>
#include <sinew/export.h>

/// A point p maps to linear * p + translation. A plain value of twelve doubles.
class BoneTransform
{
public:
    /// Rotation, twist and stretch.
    Matrix3 linear;
    /// Added after the linear part.
    Vector3 translation;

    /// The identity.
    BoneTransform() = default;

    /// The map of one bone, given by its two end points at rest and posed.
    ///
    /// It takes restStart onto posedStart and restEnd onto posedEnd (to rounding), by the smallest rotation of the rest
    /// direction onto the posed one, then `twist` radians about the posed direction, right-handed, then a stretch along
    /// the posed direction only: distances across the bone keep their length.
    ///
    /// A rest bone of zero length makes the stretch infinite or NaN, and its direction the null fallback of `UVector3`;
    /// give bones of non-zero length. Opposite directions turn about the first vector of `getBasis` of the rest one.
    /// A NaN coordinate makes all twelve numbers NaN.
    SINEW_API BoneTransform(Vector3 const& restStart, Vector3 const& restEnd, Vector3 const& posedStart,
                            Vector3 const& posedEnd, double twist);

    /// The inverse map; a linear part with a determinant below 1e-08 in magnitude inverts to zero (`Matrix3::inverse`).
    SINEW_API BoneTransform inverse() const;

    /// The transform a fraction `t` of the way from the identity to `target`.
    ///
    /// t <= 0 gives the identity and t >= 1 an exact copy of `target`. In between the translation is blended linearly;
    /// the linear part is split into a rotation and a stretch (left polar decomposition), of which the rotation is
    /// turned by t times its angle about its fixed axis and the stretch raised to the power t along its own axes.
    /// A NaN t passes both tests and gives NaN. A singular linear part gives whatever `Matrix3::inverse` of a singular
    /// matrix, the zero matrix, leads to.
    /// Source: K. Shoemake, T. Duff, Matrix Animation and Polar Decomposition, Graphics Interface 1992; here by
    /// eigenvectors of M M^T instead of iteration, and with powers of the stretch instead of linear blends.
    SINEW_API static BoneTransform interpolate(BoneTransform const& target, double t);

    /// The transform a fraction `t` of the way from `from` to `to`: from * interpolate(from^-1 * to, t), also at the
    /// ends, so that t >= 1 gives `to` only to rounding.
    SINEW_API static BoneTransform interpolate(BoneTransform const& from, BoneTransform const& to, double t);
};

/// Maps a point.
constexpr Vector3 operator*(BoneTransform const& transform, Vector3 const& p)
{
    return transform.linear * p + transform.translation;
}

/// The composition that applies `b` first, then `a`.
SINEW_API BoneTransform operator*(BoneTransform const& a, BoneTransform const& b);
