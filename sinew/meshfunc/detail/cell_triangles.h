#pragma once

/// The triangles of one public grid cell, laid out so that the first one to hold a point is found fast.
///
/// The public grid has 20 x 20 cells whatever the size of the mesh, so a large mesh crowds them. A crowded cell gets a
/// private finer grid, whose crowded cells are divided again. The lists in it are the cell's list thinned out to the
/// triangles that can hold a point of the finer cell, in the same order: the first to accept is the same one. Short
/// lists stand in the finer cell itself, so that a query reads a cell and then triangles, each a cache line with the
/// inverse of the edge matrix formed as `MeshFunction2D::iEvalInFacet` forms it.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <sinew/framework/vect2.h>

class MeshFunction2D;

namespace sinew::detail {

/// The triangle that holds a point, and the point's weights: u for its second corner, v for the third, w for the first.
struct Located
{
    int const* corners;
    double u;
    double v;
    double w;
};

/// A triangle as queries want it.
struct alignas(64) LocatedTriangle
{
    tzNM::vect2<double> origin;
    double inverse[4]; // of the matrix whose columns are the edges from the origin, row by row
    int corners[3];
};

/// A grid over a part of the plane. Where its lines run is free; see cell().
struct FinerGrid
{
    tzNM::vect2<double> low;
    tzNM::vect2<double> scale; // cells per unit length; 0 along an axis without extent
    int size[2] = {0, 0};
    std::size_t firstCell = 0;

    /// Rises with c and never falls: what lies between two coordinates lies between their cells. Every coordinate has a
    /// cell, those outside the grid the outermost one.
    int cell(double c, int axis) const
    {
        double const s = (c - low[axis]) * scale[axis];
        if (!(s > 0)) return 0;
        int const last = size[axis] - 1;
        return s < last ? static_cast<int>(s) : last;
    }
    std::size_t index(int cx, int cy) const
    {
        return firstCell + static_cast<std::size_t>(cx) * static_cast<std::size_t>(size[1]) +
               static_cast<std::size_t>(cy);
    }
    std::size_t cellCount() const { return static_cast<std::size_t>(size[0]) * static_cast<std::size_t>(size[1]); }
};

/// The record of a triangle of the mesh; false, with nothing written, if it does not exist or is degenerate.
bool locatedTriangle(MeshFunction2D const& f, std::size_t triangle, LocatedTriangle* out);

class alignas(64) CellTriangles
{
public:
    /// For the list `f.gridCells[cell]`, in at most about `bytes` bytes. Null if not even the shortest form fits.
    ///
    /// @param shared  the records of all triangles of the mesh, which then must outlive the result; or null for records
    ///                of its own. Small meshes, whose triangles lie in several cells each, stay in the cache if shared.
    static std::unique_ptr<CellTriangles const> build(MeshFunction2D const& f, std::size_t cell, std::size_t bytes,
                                                      LocatedTriangle const* shared);

    /// Finds the first triangle of the list that holds `p`, which lies in the cell; false if none does.
    bool find(tzNM::vect2<double> const& p, Located* located) const;

    /// Bytes held, this object included and shared records not.
    std::size_t memory() const;

private:
    friend class CellTrianglesBuilder;

    /// A triangle's number, or one of: nothing, a flagged number of a grid, a flagged number of a bucket.
    using Reference = std::uint32_t;
    static constexpr Reference kNothing = ~Reference{0};
    static constexpr Reference kGrid = Reference{1} << 31;
    static constexpr Reference kBucket = Reference{1} << 30;

    /// What a finer cell holds: the number of its own grid, or its list, ascending and filled up with nothing. A list
    /// of more than fits goes on in another bucket, which the last reference then names.
    struct alignas(16) Bucket
    {
        Reference references[4] = {kNothing, kNothing, kNothing, kNothing};
    };

    // What every query reads comes first and shares a cache line.
    FinerGrid root_;                             // of size 1 x 1 if the list is short
    LocatedTriangle const* triangles_ = nullptr; // shared, or own_
    std::vector<Bucket> buckets_;                // the cells of all grids, and where their lists go on
    std::vector<FinerGrid> grids_;               // those inside the root
    std::vector<LocatedTriangle> own_;           // in the order of the list
};

} // namespace sinew::detail
