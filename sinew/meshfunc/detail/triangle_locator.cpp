#include <sinew/meshfunc/detail/triangle_locator.h>

#include <algorithm>
#include <cmath>
#include <new>

namespace sinew::detail {

namespace {

/// Bytes that may be spent in all: so many for each triangle, and some more, so that small meshes, whose triangles each
/// lie in many cells, need not count. Without a limit a soup of overlapping triangles would fill the memory.
constexpr double kBytesPerTriangle = 108;
constexpr double kBytesInAnyCase = 1 << 20;

/// Meshes with up to this many triangles and list entries are prepared at once; it takes some ten milliseconds.
constexpr std::size_t kPreparedEntries = 1 << 16;

/// Domains larger than this would overflow when their extents are squared.
constexpr double kLargestExtent = 1e150;

} // namespace

CellTriangles const TriangleLocator::kNoHelp;

std::unique_ptr<TriangleLocator> TriangleLocator::build(MeshFunction2D const& f)
{
    double const extent = std::max(f.domainMax.x - f.domainMin.x, f.domainMax.y - f.domainMin.y);
    bool const finite = extent < kLargestExtent && std::isfinite(f.gridScale[0]) && std::isfinite(f.gridScale[1]);
    bool const hasGrid = f.gridCells.size() == kCellCount && f.gridSize[0] == kGridCells && f.gridSize[1] == kGridCells;
    return finite && hasGrid ? std::make_unique<TriangleLocator>(f) : nullptr;
}

TriangleLocator::TriangleLocator(MeshFunction2D const& f)
    : vertexCount_(std::min(f.params.size(), f.values.size())), paramCount_(f.params.size()),
      facetCount_(f.facets.size())
{
    std::size_t entries = 0;
    for (auto const& list : f.gridCells) entries += list.size();
    std::size_t const triangles = f.facets.size() / 3;
    double bytes = kBytesInAnyCase + kBytesPerTriangle * static_cast<double>(triangles);
    bool const prepared = std::max(entries, triangles) <= kPreparedEntries;
    if (prepared) bytes -= static_cast<double>(triangles * sizeof(LocatedTriangle));
    bytesPerEntry_ = bytes / std::max(1.0, static_cast<double>(entries));
    if (!prepared) return;
    shared_.resize(triangles); // those without a record are in no list
    for (std::size_t t = 0; t < triangles; ++t) locatedTriangle(f, t, &shared_[t]);
    for (std::size_t cell = 0; cell < kCellCount; ++cell) supply(f, cell);
}

TriangleLocator::~TriangleLocator()
{
    for (auto const& cell : cells_) {
        CellTriangles const* known = cell.load(std::memory_order_relaxed);
        if (known != &kNoHelp) delete known;
    }
}

CellTriangles const* TriangleLocator::supply(MeshFunction2D const& f, std::size_t cell) const
{
    std::unique_ptr<CellTriangles const> built;
    try {
        // Each cell spends its share alone, so that a tangle in one corner costs the rest of the mesh nothing.
        double const share = bytesPerEntry_ * static_cast<double>(f.gridCells[cell].size());
        built =
            CellTriangles::build(f, cell, static_cast<std::size_t>(share), shared_.empty() ? nullptr : shared_.data());
    } catch (std::bad_alloc const&) {
        return &kNoHelp; // for this query; the next one may find memory
    }
    CellTriangles const* known = nullptr;
    CellTriangles const* const mine = built ? built.get() : &kNoHelp;
    if (!cells_[cell].compare_exchange_strong(known, mine, std::memory_order_acq_rel)) return known;
    built.release();
    return mine;
}

std::size_t TriangleLocator::memory() const
{
    std::size_t bytes = sizeof *this + shared_.capacity() * sizeof(LocatedTriangle);
    for (auto const& cell : cells_) {
        CellTriangles const* known = cell.load(std::memory_order_acquire);
        if (known && known != &kNoHelp) bytes += known->memory();
    }
    return bytes;
}

} // namespace sinew::detail
