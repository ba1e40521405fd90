#pragma once

/// What a mesh function keeps beside its public grid to evaluate fast: the `CellTriangles` of each public cell.
///
/// Small meshes get the structures of all cells at once, with one prepared record a triangle for all cells. In a large
/// mesh the first query in a cell builds the structure of that cell. Construction then stays cheap, and a host pays
/// only for the cells that it queries.

#include <array>
#include <atomic>
#include <cassert>
#include <cstddef>
#include <memory>
#include <vector>

#include <sinew/meshfunc/detail/cell_triangles.h>
#include <sinew/meshfunc/detail/mesh_cells.h>
#include <sinew/meshfunc/detail/mesh_view.h>
#include <sinew/meshfunc/detail/prepared_triangle.h>

namespace sinew::detail {

/// The structures of all public cells of one mesh.
class TriangleLocator
{
public:
    /// For the grid of `mesh`. Null where it would not help: without a grid, or with a grid that is not finite.
    static std::unique_ptr<TriangleLocator> build(MeshView const& mesh);

    explicit TriangleLocator(MeshView const& mesh);
    TriangleLocator(TriangleLocator const&) = delete;
    TriangleLocator& operator=(TriangleLocator const&) = delete;
    ~TriangleLocator();

    /// Whether `mesh` still has the numbers of vertices, facet entries and cells that it had when this was built.
    /// If so, all corners that a search finds have an entry in `params` and in `values`.
    bool matches(MeshView const& mesh) const
    {
        return mesh.vertexCount == vertexCount_ && mesh.params.size() == paramCount_ &&
               mesh.facets.size() == facetCount_ && mesh.gridCells.size() == kCellCount &&
               mesh.gridSize[0] == kGridCells && mesh.gridSize[1] == kGridCells;
    }

    /// The structure of a cell, built now if it does not exist yet. Null if the public list must be searched instead:
    /// if the structure does not fit into its budget, or if there is no memory for building it.
    ///
    /// Several threads may call this at once. Each thread that finds no structure builds one, and the first to finish
    /// stores its own for all.
    ///
    /// @param cell  index of a public cell.
    /// @param view  returns the view of the mesh, which must match. Called only to build a structure, because making a
    ///              view takes a noticeable part of a query's time.
    template <typename View>
    CellTriangles const* triangles(std::size_t cell, View const& view) const
    {
        assert(cell < kCellCount);
        CellTriangles const* known = cells_[cell].load(std::memory_order_acquire);
        if (!known) known = supply(view(), cell);
        return known == &kNoStructure ? nullptr : known;
    }

    /// The structure of a cell, if it exists already; null otherwise.
    CellTriangles const* known(std::size_t cell) const
    {
        assert(cell < kCellCount);
        CellTriangles const* const triangles = cells_[cell].load(std::memory_order_acquire);
        return triangles == &kNoStructure ? nullptr : triangles;
    }

    /// Bytes held by everything that was built so far.
    std::size_t memory() const;

private:
    static constexpr std::size_t kCellCount = std::size_t{kGridCells} * kGridCells;
    static CellTriangles const kNoStructure; // stands for "search the public list"

    CellTriangles const* supply(MeshView const& mesh, std::size_t cell) const;

    std::size_t vertexCount_;
    std::size_t paramCount_;
    std::size_t facetCount_;
    double bytesPerEntry_;                 // budget for each entry of a public list
    std::vector<PreparedTriangle> shared_; // of all triangles, if the structures of all cells are built at once
    mutable std::array<std::atomic<CellTriangles const*>, kCellCount> cells_{}; // owned; null until they are built
};

} // namespace sinew::detail
