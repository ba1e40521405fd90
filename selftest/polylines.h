#pragma once

/// Polylines for the groups of distances, and points to ask them for.

#include <vector>

#include <sinew/core/vector3.h>

#include <selftest/inputs.h>

namespace selftest {

using Polyline = std::vector<Vector3>;

/// A ladder, a comb, a circle, a grid that is run through row by row, a spiral of right angles, or a straight line;
/// sometimes with repeated vertices, closed, in space, or of vertices that are all equal. Coordinates are multiples of
/// a power of two (but those of a circle), so that equal distances are equal to the bit.
Polyline regularPolyline(Inputs& in);

/// Random steps, random points, or any points with special coordinates. Two to a few hundred vertices; rarely none or
/// one.
Polyline irregularPolyline(Inputs& in);

/// A vertex, a point between vertices, a point of the lattice of the polyline or its half steps, a point anywhere near,
/// or any point.
Vector3 queryNear(Inputs& in, Polyline const& polyline);

} // namespace selftest
