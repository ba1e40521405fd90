#pragma once

/// The triangles of one public grid cell, stored so that a query finds the first triangle that accepts a point fast.
///
/// The public grid has 20 x 20 cells for every mesh, so the cells of a large mesh list many triangles. Such a cell gets
/// a private finer grid, and crowded cells of that grid are divided again. The list of a finer cell is the public
/// cell's list, in the same order, without the triangles that accept no point of the finer cell. The first triangle to
/// accept a point is therefore the same one in both lists. cell_triangles_builder.h makes these grids.

#include <cstddef>
#include <vector>

#include <sinew/detail/prefetch.h>
#include <sinew/framework/vect2.h>
#include <sinew/meshfunc/detail/cell_bucket.h>
#include <sinew/meshfunc/detail/finer_grid.h>
#include <sinew/meshfunc/detail/prepared_triangle.h>

namespace sinew::detail {

/// The triangle that accepted a point, and the point's weights in it.
struct TriangleHit
{
    PreparedTriangle const* triangle; ///< lives as long as the structure that was searched
    Weights weights;
};

/// The finer grids of one public cell.
struct FinerGrids
{
    FinerGrid root;                  ///< divides the public cell; 1 x 1 cells if the list is short
    std::vector<CellBucket> buckets; ///< of the cells of all grids, and overflow buckets
    std::vector<FinerGrid> inner;    ///< grids that divide a cell of the root or of each other
};

/// The triangles of one public cell.
class alignas(kCacheLine) CellTriangles
{
public:
    /// Without any cells; not for searching.
    CellTriangles() = default;

    /// @param finer   its links name triangles by their index in the records.
    /// @param own     the records, if this object owns them.
    /// @param shared  records that outlive this object; null to use `own`.
    /// @param refuses  whether the list names a triangle that is degenerate for evaluation.
    CellTriangles(FinerGrids finer, std::vector<PreparedTriangle> own, PreparedTriangle const* shared, bool refuses);

    /// Finds the first triangle of the list that accepts `p`, a point in the public cell. Returns false, with `hit`
    /// left unwritten, if no triangle does. No coordinate of `p` may be NaN.
    bool find(tzNM::vect2<double> const& p, TriangleHit* hit) const;

    /// The bucket that find() reads first for `p`, of which no coordinate may be NaN.
    CellBucket const& firstBucket(tzNM::vect2<double> const& p) const { return finer_.buckets[finer_.root.indexOf(p)]; }

    /// Fetches the triangles that find() tests first in a bucket.
    void prefetchTriangles(CellBucket const& bucket) const
    {
        for (std::size_t k = 0; k < 2 && bucket.links[k].isTriangle(); ++k) {
            prefetch(&triangles_[bucket.links[k].triangle()]);
        }
    }

    /// Whether the list of the public cell names a triangle that exists but is degenerate for evaluation.
    bool refusesTriangles() const { return refuses_; }

    /// Bytes held, including this object and excluding shared records.
    std::size_t memory() const;

    /// The grids, for tests: results do not show whether there are any.
    FinerGrids const& grids() const { return finer_; }

private:
    bool findInBucket(CellBucket const& bucket, tzNM::vect2<double> const& p, CellLink* last, TriangleHit* hit) const;

    // Every query reads the pointer, the root grid and the address of the buckets. Together they are one cache line.
    PreparedTriangle const* triangles_ = nullptr; // shared records, or own_
    FinerGrids finer_;
    std::vector<PreparedTriangle> own_; // in the order of the list
    bool refuses_ = false;
};

} // namespace sinew::detail
