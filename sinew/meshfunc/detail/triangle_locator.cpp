#include <sinew/meshfunc/detail/triangle_locator.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <new>

#include <sinew/meshfunc/detail/cell_triangles_builder.h>

namespace sinew::detail {

namespace {

// The budget of all structures together: this for each triangle, and this for each mesh. The second number is for
// small meshes, where each triangle lies in many cells. Without a limit, many overlapping triangles would fill the
// memory.
constexpr double kBytesPerTriangle = 108;
constexpr double kBytesPerMesh = 1 << 20;

// The structures of meshes with up to this many triangles and list entries are built at once, which takes about ten
// milliseconds.
constexpr std::size_t kPreparedEntries = 1 << 16;

} // namespace

CellTriangles const TriangleLocator::kNoStructure;

std::unique_ptr<TriangleLocator> TriangleLocator::build(MeshView const& mesh)
{
    double const extent = std::max(mesh.domainMax.x - mesh.domainMin.x, mesh.domainMax.y - mesh.domainMin.y);
    bool const finite = extent < kLargestExtent && std::isfinite(mesh.gridScale[0]) && std::isfinite(mesh.gridScale[1]);
    bool const hasGrid =
        mesh.gridCells.size() == kCellCount && mesh.gridSize[0] == kGridCells && mesh.gridSize[1] == kGridCells;
    return finite && hasGrid ? std::make_unique<TriangleLocator>(mesh) : nullptr;
}

TriangleLocator::TriangleLocator(MeshView const& mesh)
    : vertexCount_(mesh.vertexCount), paramCount_(mesh.params.size()), facetCount_(mesh.facets.size())
{
    std::size_t entries = 0;
    for (auto const& list : mesh.gridCells) entries += list.size();
    std::size_t const triangleCount = mesh.facets.size() / kCorners;
    double bytes = kBytesPerMesh + kBytesPerTriangle * static_cast<double>(triangleCount);
    bool const prepared = std::max(entries, triangleCount) <= kPreparedEntries;
    if (prepared) bytes -= static_cast<double>(triangleCount * sizeof(PreparedTriangle));
    bytesPerEntry_ = bytes / std::max(1.0, static_cast<double>(entries));
    if (!prepared) return;
    shared_.resize(triangleCount); // missing and degenerate triangles have no valid record; no list names them
    for (std::size_t t = 0; t < triangleCount; ++t) {
        int corners[kCorners];
        if (!triangleCorners(mesh.facets, t, vertexCount_, corners)) continue;
        prepareTriangle(mesh.params, corners, &shared_[t], static_cast<int>(t));
    }
    for (std::size_t cell = 0; cell < kCellCount; ++cell) supply(mesh, cell);
}

TriangleLocator::~TriangleLocator()
{
    for (auto const& cell : cells_) {
        CellTriangles const* known = cell.load(std::memory_order_relaxed);
        if (known != &kNoStructure) delete known;
    }
}

CellTriangles const* TriangleLocator::supply(MeshView const& mesh, std::size_t cell) const
{
    assert(matches(mesh));
    std::unique_ptr<CellTriangles const> built;
    try {
        // Each cell has its own budget, so that crowding in one cell takes no memory from the others.
        // Not more than an object can have: a larger number would have no defined value where addresses have 32 bits.
        double const budget = std::min(bytesPerEntry_ * static_cast<double>(mesh.gridCells[cell].size()),
                                       static_cast<double>(PTRDIFF_MAX / 2));
        built = buildCellTriangles(mesh, cell, static_cast<std::size_t>(budget),
                                   shared_.empty() ? nullptr : shared_.data());
    } catch (std::bad_alloc const&) {
        return &kNoStructure; // for this query only: the next one may find memory
    }
    CellTriangles const* known = nullptr;
    CellTriangles const* const mine = built ? built.get() : &kNoStructure;
    if (!cells_[cell].compare_exchange_strong(known, mine, std::memory_order_acq_rel)) return known;
    static_cast<void>(built.release()); // cells_ owns it now
    return mine;
}

std::size_t TriangleLocator::memory() const
{
    std::size_t bytes = sizeof *this + shared_.capacity() * sizeof(PreparedTriangle);
    for (auto const& cell : cells_) {
        CellTriangles const* known = cell.load(std::memory_order_acquire);
        if (known && known != &kNoStructure) bytes += known->memory();
    }
    return bytes;
}

} // namespace sinew::detail
