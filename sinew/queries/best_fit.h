#pragma once

/// Least-squares lines and planes through point sets. Both pass through the centroid, along principal axes of the
/// covariance matrix of the points.

#include <vector>

#include <sinew/core/vector3.h>

/// The line with the least sum of squared distances to the points.
///
/// @param center  receives the centroid, which is a point of the line; may be null, and may be one of `points`.
/// @param dir     receives the unit direction of the line; may be null. The eigen-solver determines its sign; callers
///                must not rely on it.
/// @return false for fewer than two points, and nothing is written; true otherwise.
///
/// Where the points spread equally in several directions (coincident points, the corners of a square or of a cube), all
/// of these directions fit equally well. The result is one of them: a unit vector, always the same one for the same
/// input. A NaN coordinate makes that coordinate of the centroid NaN, an infinite one makes it infinite or NaN; the
/// direction has no meaning then and may be NaN. The cost is linear in the number of points, and nothing is allocated.
/// Source: K. Pearson, On lines and planes of closest fit to systems of points in space, 1901.
SINEW_API bool bestFitLine(std::vector<::Vector3> const& points, ::Vector3* center, UVector3* dir);

/// The plane with the least sum of squared distances to the points.
///
/// @param center  receives the centroid, which is a point of the plane; may be null, and may be one of `points`.
/// @param normal  receives the unit normal, which is the direction of least spread; may be null. Its sign is determined
///                as that of the direction in `bestFitLine`.
/// @return false for fewer than two points, and nothing is written; true otherwise.
///
/// For collinear points every plane through their line fits equally well; the result is one of the unit normals.
/// Equal spreads, NaN, infinite coordinates, cost and source are as in `bestFitLine`.
SINEW_API bool bestFitPlane(std::vector<::Vector3> const& points, ::Vector3* center, UVector3* normal);

/// The centroid and one principal axis of a point set. `bestFitLine` and `bestFitPlane` call this function.
///
/// @param center   receives the centroid; may be null, and may be one of `points`.
/// @param axis     receives a unit eigenvector of the population covariance (sums divided by the number of
///                 points); may be null.
/// @param largest  true selects the eigenvector of the largest eigenvalue, false that of the smallest.
/// @return false for fewer than two points, and nothing is written; true otherwise.
///
/// Equal spreads, NaN, infinite coordinates, cost and source are as in `bestFitLine`.
// Callers are written against this name, including its leading underscore.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
SINEW_API bool _getCenterAndEigv(std::vector<::Vector3> const& points, ::Vector3* center, UVector3* axis, bool largest);
