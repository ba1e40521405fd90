#pragma once

/// Least-squares lines and planes through point sets, by the principal axes of their covariance.

#include <vector>

#include <sinew/core/vector3.h>

/// The line with the least sum of squared distances to the points.
///
/// @param center  receives a point of the line, the centroid; may be null.
/// @param dir     receives its unit direction; may be null. Its sign is whatever the eigen-solver gives.
/// @return false, with nothing written, for fewer than two points; true otherwise.
///
/// Where the spread is equal in several directions (coincident points, a square, a sphere) the direction is one of
/// them: any unit vector, always the same for the same input. A NaN or infinite coordinate gives a NaN centroid or
/// direction. The points are read twice; nothing is allocated.
/// Source: K. Pearson, On lines and planes of closest fit to systems of points in space, 1901.
SINEW_API bool bestFitLine(std::vector<Vector3> const& points, Vector3* center, UVector3* dir);

/// The plane with the least sum of squared distances to the points: `normal` is the direction of least spread.
///
/// Collinear points leave the normal open in a plane; one of its unit vectors is returned. For the rest see
/// `bestFitLine`.
SINEW_API bool bestFitPlane(std::vector<Vector3> const& points, Vector3* center, UVector3* normal);

/// Centroid and one principal axis of a point set: the worker of both fits.
///
/// @param axis     receives the unit eigenvector of the population covariance (divided by n) that belongs to the
///                 largest eigenvalue, or to the smallest; may be null, as may `center`.
/// @param largest  which of the two.
/// @return false, with nothing written, for fewer than two points.
// The name is what hosts are written against, leading underscore and all.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
SINEW_API bool _getCenterAndEigv(std::vector<Vector3> const& points, Vector3* center, UVector3* axis, bool largest);
