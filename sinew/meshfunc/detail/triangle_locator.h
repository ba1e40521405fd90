#pragma once

/// Finds the first triangle of a grid cell that holds a point, faster than asking each in turn.
///
/// The public grid has 20 x 20 cells whatever the size of the mesh, so a large mesh crowds them. A crowded cell gets a
/// private finer grid of its own, whose crowded cells are divided again. The lists in it are the cell's list thinned
/// out to the triangles that can hold a point of the finer cell, in the same order: the first to accept is the same
/// one. Beside it stands one cache line a triangle with its corners and the inverse of its edge matrix, formed as
/// `MeshFunction2D::iEvalInFacet` forms it.
///
/// Once built it is never written to, so copies of a mesh function share it, and so may threads.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <sinew/meshfunc/detail/mesh_cells.h>
#include <sinew/meshfunc/mesh_function_2d.h>

namespace sinew::detail {

/// The triangle that holds a point, and the point's weights: u for its second corner, v for the third, w for the first.
struct Located
{
    int const* corners;
    double u;
    double v;
    double w;
};

class TriangleLocator
{
public:
    /// For the grid that `f` has. Null where it could not help: without a grid, or if the grid is not finite.
    static std::shared_ptr<TriangleLocator const> build(MeshFunction2D const& f);

    /// Whether `f` still has the vertices, triangles and cells that this was built for, as far as their numbers show.
    /// If so, corners that `find` returns lie within `values`.
    bool matches(MeshFunction2D const& f) const
    {
        return f.values.size() >= vertexCount_ && f.params.size() == paramCount_ && f.facets.size() == facetCount_ &&
               f.gridCells.size() == roots_.size() && f.gridSize[0] == kGridCells && f.gridSize[1] == kGridCells;
    }

    /// Finds the first triangle of list `f.gridCells[cell]` that holds `p`; false if none does. `cell` is p's cell, and
    /// `p` is finite. `f` must match.
    bool find(MeshFunction2D const& f, std::size_t cell, tzNM::vect2<double> const& p, Located* located) const;

    /// Bytes held on the heap.
    std::size_t memory() const;

private:
    friend class TriangleLocatorBuilder;

    /// A triangle as queries want it, in one cache line. No corners (-1): there is nothing that could hold a point.
    struct alignas(64) Triangle
    {
        tzNM::vect2<double> origin;
        double inverse[4] = {0, 0, 0, 0}; // of the matrix whose columns are the edges from the origin, row by row
        int corners[3] = {-1, -1, -1};
    };

    /// What a cell of a finer grid holds: nothing, the number of its own grid, or where its list starts.
    using Reference = std::uint32_t;
    static constexpr Reference kNothing = ~Reference{0};
    static constexpr Reference kGrid = Reference{1} << 31; // flag of a grid's number

    struct Grid
    {
        tzNM::vect2<double> low;
        tzNM::vect2<double> scale; // cells per unit length; 0 along an axis without extent
        int size[2];
        std::size_t firstCell;

        /// Rises with c and never falls: what lies between two coordinates lies between their cells. Every coordinate
        /// has a cell, those outside the grid the outermost one.
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
    };

    bool accepts(std::size_t t, tzNM::vect2<double> const& p, Located* located) const;

    std::size_t vertexCount_ = 0;
    std::size_t paramCount_ = 0;
    std::size_t facetCount_ = 0;
    std::vector<Triangle> triangles_;
    std::vector<Reference> roots_; // for each public cell its grid, or kNothing if its public list is short enough
    std::vector<Grid> grids_;
    std::vector<Reference> cells_; // of all grids
    std::vector<int> lists_;       // triangle indices, ascending; the last of each list is stored as its complement
};

} // namespace sinew::detail
