#pragma once

/// The triangles of one public grid cell, laid out so that the first one to hold a point is found fast.
///
/// The public grid has 20 x 20 cells whatever the size of the mesh, so a large mesh crowds them. A crowded cell gets a
/// private finer grid, whose crowded cells are divided again. The lists in it are the cell's list thinned out to the
/// triangles that can hold a point of the finer cell, in the same order: the first to accept is the same one. The
/// triangles themselves stand side by side, a cache line each, with the inverse of the edge matrix formed as
/// `MeshFunction2D::iEvalInFacet` forms it.

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

class CellTriangles
{
public:
    /// For the list `f.gridCells[cell]`, in at most about `bytes` bytes. Null if not even the triangles fit.
    static std::unique_ptr<CellTriangles const> build(MeshFunction2D const& f, std::size_t cell, std::size_t bytes);

    /// Finds the first triangle of the list that holds `p`, which lies in the cell; false if none does.
    bool find(tzNM::vect2<double> const& p, Located* located) const;

    /// Bytes held, this object included.
    std::size_t memory() const;

private:
    friend class CellTrianglesBuilder;

    /// What a finer cell holds: nothing, the number of its own grid, or where its list starts.
    using Reference = std::uint32_t;
    static constexpr Reference kNothing = ~Reference{0};
    static constexpr Reference kGrid = Reference{1} << 31; // flag of a grid's number

    bool accepts(std::size_t i, tzNM::vect2<double> const& p, Located* located) const;

    FinerGrid root_;                         // of size 0 x 0 if the list is short enough to be tried in turn
    std::vector<LocatedTriangle> triangles_; // in the order of the list, without degenerate ones
    std::vector<Reference> slots_; // the cells of all grids, and their lists: indices into triangles_, ascending, the
                                   // last of each list stored as its complement
    std::vector<FinerGrid> grids_; // those inside the root
};

} // namespace sinew::detail
