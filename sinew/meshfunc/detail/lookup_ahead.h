#pragma once

/// Fetches the memory of look-ups that follow soon.
///
/// A look-up of a random point waits twice: for the bucket of its cell, and for the triangles that the bucket names.
/// When many points are looked up, both can be fetched some points ahead. This changes no result.

#include <cstddef>

#include <sinew/framework/vect2.h>
#include <sinew/meshfunc/detail/mesh_search.h>
#include <sinew/meshfunc/mesh_function_2d.h>

namespace sinew::detail {

/// Announce the points in the order in which they will be looked up.
class LookupAhead
{
public:
    /// A point should be announced when the look-up of the point this many places before it begins.
    static constexpr std::size_t kPoints = 16;

    explicit LookupAhead(MeshFunction2D const& f) : f_(f)
    {
        TriangleLocator const* const locator = MeshFunctionAccess::locator(f);
        bool const pays = f.facets.size() / kCorners >= kLargerThanTheCache;
        if (pays && hasGrid(f) && locator && locator->matches(viewOf(f))) locator_ = locator;
    }

    /// Fetches the bucket of `p`, and the triangles of the point that was announced kPoints / 2 points earlier.
    void announce(tzNM::vect2<double> const& p)
    {
        if (!locator_) return;
        Announced& latest = announced_[count_ % kRing];
        latest = startOf(p);
        prefetch(latest.bucket);
        Announced const& earlier = announced_[(count_ + kRing / 2) % kRing];
        if (earlier.bucket) earlier.triangles->prefetchTriangles(*earlier.bucket);
        ++count_;
    }

private:
    static constexpr std::size_t kRing = kPoints;

    // Triangles. The structures of fewer stay in the nearest caches.
    static constexpr std::size_t kLargerThanTheCache = 2000;

    // Where the look-up of a point begins. Both are null if that is not known.
    struct Announced
    {
        CellTriangles const* triangles = nullptr;
        CellBucket const* bucket = nullptr;
    };

    Announced startOf(tzNM::vect2<double> const& p) const
    {
        int cell[2];
        bool hasNaN = false;
        for (int k = 0; k < 2; ++k) {
            if (!cellOfPoint(f_, p[k], k, &cell[k], &hasNaN)) return {};
        }
        CellTriangles const* const triangles = locator_->known(cellIndex(cell[0], cell[1], f_.gridSize[1]));
        if (hasNaN || !triangles) return {};
        return {triangles, &triangles->firstBucket(p)};
    }

    MeshFunction2D const& f_;
    TriangleLocator const* locator_ = nullptr; // null if nothing is fetched
    Announced announced_[kRing];
    std::size_t count_ = 0;
};

} // namespace sinew::detail
