#pragma once

/// The nearest boundary segments of points that are close to each other, such as neighbouring pixels.

#include <cstddef>
#include <vector>

#include <sinew/detail/dispatch.h>
#include <sinew/fields/detail/nearby_segments.h>
#include <sinew/framework/vect2.h>
#include <sinew/meshfunc/detail/mesh_search.h>

namespace sinew::detail {

/// Searches for up to kMostPoints points at a time. It may be used for one mesh function, which must not change.
class BoundaryBlock
{
public:
    static constexpr std::size_t kMostPoints = 64;

    BoundaryBlock(MeshFunction2D const& f, VectorWidth width) : f_(f), width_(width) {}

    /// Writes nearestBoundary(points[i]) to nearest[i], with the same bits. It is faster than these calls if the points
    /// are close to each other, in comparison with the distance between loops. Throws std::bad_alloc as they do.
    void find(tzNM::vect2<double> const* points, std::size_t count, NearestBoundary* nearest);

private:
    static constexpr std::size_t kFewPoints = 4; // they do not pay for a shared search
    static constexpr std::size_t kMostLoops = 4;

    struct NearLoop
    {
        std::size_t loop;
        bool isMeasured; // if not, every point is projected on the whole loop
        NearbySegments segments;
        NearestSegments nearest[kMostPoints]; // of each point, if the loop is measured
    };

    bool gather(tzNM::vect2<double> const* points, std::size_t count);
    bool addLoop(std::size_t k, QueryBox const& box);
    NearestBoundary nearestOf(Vector3 const& q, std::size_t i);

    MeshFunction2D const& f_;
    VectorWidth width_;
    NearLoop loops_[kMostLoops];
    std::size_t loopCount_ = 0;
};

} // namespace sinew::detail
