#pragma once

/// The tolerance policy: the absolute thresholds by which the vector functions decide that a length is zero, that two
/// directions are parallel or perpendicular, or that a point lies strictly inside a triangle.
///
/// No threshold scales with the data: a vector of length 1e-14 is null in metres and in microns alike. Each function
/// states whether its comparison is strict and which side a NaN takes.

#include <sinew/export.h>

/// A class without state. The tolerances are the constants in `namespace sinew` below, not members. Callers may
/// derive from it.
class SINEW_API gConst_c
{
public:
    gConst_c();
};

namespace sinew {

/// Squared length below which a vector is null: the square of a length of 1e-13.
inline constexpr double kNullLengthSq = 1e-26;

/// Squared cosine above which directions count as parallel by default: that of 0.03 degrees.
inline constexpr double kParallelCosineSq = 0.9999997258;

/// Squared cosine below which directions count as perpendicular by default: 0.000523599 (0.03 degrees
/// in radians) squared.
inline constexpr double kNormalCosineSq = 2.7415591280100005e-07;

/// Cosine of 5 degrees. Directions within this angle count as almost parallel.
inline constexpr double kAlmostParallelCosine = 0.996194698;

/// Cosine of 85 degrees. Directions within 5 degrees of a right angle count as almost perpendicular.
inline constexpr double kAlmostNormalCosine = 0.08715574275;

/// Zero for squared lengths, dot products, 4x4 determinants, polynomial coefficients, box corners
/// and barycentric margins.
inline constexpr double kGeometricZero = 1e-13;

/// Upper limit of a barycentric coordinate: 1 - kGeometricZero.
inline constexpr double kBarycentricUpper = 0.9999999999999;

/// Zero for Gram determinants, 2D determinants and squared cross products: 1e-8 squared in double arithmetic. This is
/// the double next above the one nearest to 1e-16, so the literal 1e-16 must not replace it.
inline constexpr double kGramZero = 1.0000000000000001e-16;

/// Zero for 3x3 determinants and for matrix elements.
inline constexpr double kDeterminantZero = 1e-08;

/// A full turn in radians.
inline constexpr double kFullTurn = 6.283185307179586;

/// Squared distance at which a search for the nearest segment starts. Segments at this distance or farther are not
/// found.
inline constexpr double kFarthestDistSq = 1e13;

} // namespace sinew
