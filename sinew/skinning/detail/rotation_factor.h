#pragma once

/// The rotation that a bone contains, as a unit quaternion. Not installed.

#include <sinew/core/matrix3.h>

namespace sinew::detail {

/// A quaternion x i + y j + z k + w.
struct Quaternion
{
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    double w = 1.0;
};

/// A determinant below minus this multiple of the cube of the root-mean-square stretch makes a matrix a mirroring one.
/// Above the rounding of matrices of floats, so that a flat bone does not count as mirroring.
inline constexpr double kMirroringVolume = 1e-6;

/// The rotation of the polar decomposition: linear = R S, where S is symmetric and stretches along perpendicular axes.
/// The sign of the quaternion is arbitrary.
///
/// - Determinant not negative: the stretches are not negative. If one of them is zero, R is still unique.
/// - A mirroring matrix (see `kMirroringVolume`): R is the rotation of -linear, and all stretches are negative. So if
///   all bones of a figure are multiplied by one reflection, the rotations from bone to bone remain the same.
/// - A negative determinant above that limit: R is the rotation nearest to the matrix; the smallest stretch is
/// negative.
/// - Two or three stretches of zero, relative to the largest one (1e-12): of the rotations that are possible, the one
///   with the smallest angle. The zero matrix gives the identity.
/// - An element that is not finite: all four numbers are NaN.
///
/// Scale-free: a power of two changes nothing. The error of the rotation is some units of rounding times the largest
/// stretch, divided by the sum of the two smaller ones. Constant cost.
Quaternion rotationFactor(Matrix3 const& linear);

} // namespace sinew::detail
