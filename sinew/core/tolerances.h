#pragma once

/// The tolerance policy: every absolute threshold by which the vector functions decide that a length is zero,
/// that directions are parallel or perpendicular, or that a point lies strictly inside a triangle.
///
/// None of them scales with the data: a vector of length 1e-13 is null in metres and in microns alike. Whether a
/// comparison is strict, and the side that a NaN takes, is stated at each function that uses a value.

#include <sinew/export.h>

/// Carries no state and no members: the tolerances are the constants below. Hosts may derive from it.
class SINEW_API gConst_c
{
public:
    gConst_c();
};

namespace sinew {

/// Squared length below which a vector is null (a length of 1e-13).
inline constexpr double kNullLengthSq = 1e-26;

/// Squared cosine above which directions count as parallel by default (0.03 degrees).
inline constexpr double kParallelCosineSq = 0.9999997258;

/// Squared cosine below which directions count as perpendicular by default (0.03 degrees, 0.000523599 squared).
inline constexpr double kNormalCosineSq = 2.7415591280100005e-07;

/// Cosine of 5 degrees: "almost parallel".
inline constexpr double kAlmostParallelCosine = 0.996194698;

/// Sine of 5 degrees: "almost perpendicular".
inline constexpr double kAlmostNormalCosine = 0.08715574275;

/// Geometric zero for squared lengths, dot products, polynomial coefficients and barycentric margins.
inline constexpr double kGeometricZero = 1e-13;

/// Upper margin of a barycentric coordinate: the double written 0.9999999999999, not 1 - kGeometricZero.
inline constexpr double kBarycentricUpper = 0.9999999999999;

/// Zero for Gram determinants, 2D determinants and squared cross products. It is 1e-8 squared in double
/// arithmetic, one step above the double nearest to 1e-16; the two must not be mixed up.
inline constexpr double kGramZero = 1.0000000000000001e-16;

/// Zero for 3x3 determinants and matrix elements.
inline constexpr double kDeterminantZero = 1e-08;

/// A full turn in radians.
inline constexpr double kFullTurn = 6.283185307179586;

/// Squared distance at which a search for the nearest segment starts: segments at this distance or farther are not found.
inline constexpr double kFarthestDistSq = 1e13;

} // namespace sinew
