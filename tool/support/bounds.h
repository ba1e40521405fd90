#pragma once

/// Bounding boxes of points.

#include <vector>

#include <sinew/core/vector3.h>
#include <sinew/framework/vect2.h>

namespace tool {

/// Opposite corners of the smallest axis-aligned box around the points. Without points both are the origin.
void boundsOf(std::vector<Vector3> const& points, Vector3& low, Vector3& high);
void boundsOf(std::vector<tzNM::vect2<double>> const& points, tzNM::vect2<double>& low, tzNM::vect2<double>& high);

} // namespace tool
