#pragma once

/// Locations from the results of the searches.

#include <algorithm>
#include <iterator>

#include <sinew/meshfunc/detail/mesh_search.h>
#include <sinew/meshfunc/detail/prepared_triangle.h>
#include <sinew/meshfunc/location.h>

namespace sinew::detail {

/// The location of a point with these weights in this triangle.
inline Location locationOf(PreparedTriangle const& triangle, Weights const& weights, LocationRule rule)
{
    Location location;
    location.rule = rule;
    location.triangle = triangle.number;
    std::copy(std::begin(triangle.corners), std::end(triangle.corners), location.corners);
    location.weights[0] = weights.w;
    location.weights[1] = weights.u;
    location.weights[2] = weights.v;
    return location;
}

/// The location of `p` whose nearest boundary segment is `nearest`.
inline Location locationAtBoundary(MeshFunction2D const& f, NearestBoundary const& nearest,
                                   tzNM::vect2<double> const& p)
{
    PreparedTriangle triangle;
    if (!prepareTriangleOf(f, nearest.triangle, &triangle)) return {};
    Location location = locationOf(triangle, weightsOf(triangle, p), LocationRule::nearestBoundary);
    location.loop = nearest.loop;
    location.segment = nearest.segment;
    location.distSq = nearest.distSq;
    return location;
}

} // namespace sinew::detail
