#pragma once

/// Parts of the projection on a polyline that other searches share. Not installed.

#include <cstddef>
#include <vector>

#include <sinew/core/vector3.h>

class PolylineProjector;

namespace sinew {
struct PolylineHit;
}

namespace sinew::detail {

class PolylineIndex;

/// From this number of vertices on the bounded search defines the result. The two searches may name different segments
/// among equally near ones, so the limit is part of the result.
inline constexpr std::size_t kBoundedSearchVertices = 20;

/// The index of a polyline of at least kBoundedSearchVertices vertices. The first call builds it.
struct PolylineIndexAccess
{
    static PolylineIndex const& of(PolylineProjector const& polyline);
};

/// The result of a projection on the segment that a search has named.
PolylineHit closestPointOnSegment(std::vector<Vector3> const& points, int segment, Vector3 const& q);

} // namespace sinew::detail
