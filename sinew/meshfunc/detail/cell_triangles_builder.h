#pragma once

/// Builds the search structure of one public grid cell within a budget of memory.

#include <cstddef>
#include <memory>

#include <sinew/meshfunc/detail/cell_triangles.h>
#include <sinew/meshfunc/detail/mesh_view.h>
#include <sinew/meshfunc/detail/prepared_triangle.h>

namespace sinew::detail {

/// The structure of the list `mesh.gridCells[cell]`. Returns null if not even the list alone fits into `bytes`. The
/// public grid must be finite and have kGridCells x kGridCells cells.
///
/// @param bytes   what the result may hold, up to the size of the object itself.
/// @param shared  prepared records of all triangles of the mesh, which must outlive the result; null to store records
///                in the result. The triangles of a small mesh lie in several cells each, and sharing keeps them in the
///                processor's cache.
std::unique_ptr<CellTriangles const> buildCellTriangles(MeshView const& mesh, std::size_t cell, std::size_t bytes,
                                                        PreparedTriangle const* shared);

} // namespace sinew::detail
