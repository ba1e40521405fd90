#pragma once

/// What a mesh function keeps beside its public grid to evaluate fast: the `CellTriangles` of each cell.
///
/// Small meshes have them all from the start, with one record a triangle for all cells. In a large mesh a cell's are
/// built by the first query that needs them, so that construction stays cheap and only the cells that are asked are
/// paid for.

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <vector>

#include <sinew/meshfunc/detail/cell_triangles.h>
#include <sinew/meshfunc/detail/mesh_cells.h>
#include <sinew/meshfunc/mesh_function_2d.h>

namespace sinew::detail {

class TriangleLocator
{
public:
    /// For the grid that `f` has. Null where it could not help: without a grid, or if the grid is not finite.
    static std::unique_ptr<TriangleLocator> build(MeshFunction2D const& f);

    explicit TriangleLocator(MeshFunction2D const& f);
    TriangleLocator(TriangleLocator const&) = delete;
    TriangleLocator& operator=(TriangleLocator const&) = delete;
    ~TriangleLocator();

    /// Whether `f` still has the vertices, triangles and cells that this was built for, as far as their numbers show.
    /// If so, corners that are found lie within `values`.
    bool matches(MeshFunction2D const& f) const
    {
        return std::min(f.params.size(), f.values.size()) == vertexCount_ && f.params.size() == paramCount_ &&
               f.facets.size() == facetCount_ && f.gridCells.size() == kCellCount && f.gridSize[0] == kGridCells &&
               f.gridSize[1] == kGridCells;
    }

    /// The triangles of a cell, built now if need be; null if the public list has to do. `f` must match.
    ///
    /// Several threads may ask at once: each that finds nothing builds, and the first to finish is kept. Without memory
    /// to build in, the answer is null.
    CellTriangles const* triangles(MeshFunction2D const& f, std::size_t cell) const
    {
        CellTriangles const* known = cells_[cell].load(std::memory_order_acquire);
        if (!known) known = supply(f, cell);
        return known == &kNoHelp ? nullptr : known;
    }

    /// Bytes held by everything built so far.
    std::size_t memory() const;

private:
    static constexpr std::size_t kCellCount = std::size_t{kGridCells} * kGridCells;
    static CellTriangles const kNoHelp; // stands for cells that are better asked the plain way

    CellTriangles const* supply(MeshFunction2D const& f, std::size_t cell) const;

    std::size_t vertexCount_;
    std::size_t paramCount_;
    std::size_t facetCount_;
    double bytesPerEntry_;                // that may be spent for each entry of a public list
    std::vector<LocatedTriangle> shared_; // of all triangles, if all cells are built from the start
    mutable std::array<std::atomic<CellTriangles const*>, kCellCount> cells_{};
};

} // namespace sinew::detail
