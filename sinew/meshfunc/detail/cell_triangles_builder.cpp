// The recursion over nested grids. grid_layout.h chooses each grid, triangle_cover.h decides which triangles a cell
// must list.

#include <sinew/meshfunc/detail/cell_triangles_builder.h>

#include <algorithm>
#include <cassert>
#include <utility>
#include <vector>

#include <sinew/detail/as_index.h>
#include <sinew/meshfunc/detail/grid_layout.h>
#include <sinew/meshfunc/detail/triangle_cover.h>

namespace sinew::detail {

namespace {

using Point = tzNM::vect2<double>;

// Longer lists are divided by a grid. The public cell has a root grid in any case, so that dividing a few triangles is
// worth it there.
constexpr std::size_t kCrowdedPublic = 4;
constexpr std::size_t kCrowded = 16;

// Largest depth of grids inside a public cell. Few meshes need more than two. The limit bounds the work for triangles
// that no grid separates.
constexpr int kMostLevels = 6;

class Builder
{
public:
    Builder(MeshView const& mesh, std::size_t cell, PreparedTriangle const* shared) : mesh_(mesh), shared_(shared)
    {
        collect(cell);
    }

    // Divides the list of the public cell, if it is long, within `budget` buckets. Returns null if not even the list
    // fits.
    std::unique_ptr<CellTriangles const> build(std::size_t budget)
    {
        if (bucketsForList(all_.size()) > budget) return nullptr;
        TriangleList const list = {all_.data(), all_.data() + all_.size()};
        if (list.size() <= kCrowdedPublic || divide(list, space_, budget, 0).isEnd()) {
            for (int& size : finer_.root.size) size = 1;
            finer_.buckets.resize(1);
            store(list, 0);
        }
        finer_.inner.shrink_to_fit();
        finer_.buckets.shrink_to_fit();
        return std::make_unique<CellTriangles const>(std::move(finer_), std::move(own_), shared_, refuses_);
    }

private:
    // ---- phase 1: the triangles of the public cell ----

    PreparedTriangle const* records() const { return shared_ ? shared_ : own_.data(); }

    // Lists the triangles that may accept a point of the public cell, and prepares them unless there are shared
    // records.
    void collect(std::size_t cell)
    {
        std::vector<int> const& list = mesh_.gridCells[cell];
        space_ = publicCell(cell);
        if (!shared_) own_.reserve(list.size());
        for (int const t : list) {
            // A negative number becomes a large one, which is no triangle either.
            auto const index = static_cast<std::size_t>(t);
            int corners[kCorners];
            PreparedTriangle triangle;
            if (!triangleCorners(mesh_.facets, index, mesh_.vertexCount, corners)) continue;
            if (!prepareTriangle(mesh_.params, corners, &triangle, t)) {
                refuses_ = true;
                continue;
            }
            Box const box = coverOf(triangle, mesh_.params);
            if (box.isFinite() && !mayAcceptIn(triangle, space_.clippedTo(box))) continue;
            all_.push_back(static_cast<TriangleNumber>(shared_ ? index : own_.size()));
            if (!shared_) own_.push_back(triangle);
        }
    }

    // The rectangle of a public cell and a little more.
    Box publicCell(std::size_t cell) const
    {
        FinerGrid grid;
        grid.low = mesh_.domainMin;
        grid.scale = {mesh_.gridScale[0], mesh_.gridScale[1]};
        for (int& size : grid.size) size = kGridCells;
        return cellBox(grid, static_cast<int>(cell / kGridCells), static_cast<int>(cell % kGridCells),
                       borderSlack(grid));
    }

    // ---- phase 2: grids inside grids ----

    // Lays a grid over the part of `space` that the listed triangles cover, and grids in its crowded cells, within
    // `budget` buckets. Returns the link to the grid, or an end if no grid would halve the list.
    CellLink divide(TriangleList list, Box const& space, std::size_t budget, int level)
    {
        CoveredTriangles triangles = {records(), list, {}};
        triangles.boxes.reserve(list.size());
        Box all;
        for (TriangleNumber const number : list) {
            triangles.boxes.push_back(coverOf(triangles.records[number], mesh_.params));
            all.include(triangles.boxes.back());
        }
        Box const part = all.clippedTo(space);
        GridLayout layout;
        std::size_t const taken = layout.layOut(triangles, part, budget);
        if (taken == 0) return CellLink();

        FinerGrid grid = layout.grid();
        grid.firstCell = finer_.buckets.size();
        finer_.buckets.resize(finer_.buckets.size() + grid.cellCount());
        CellLink const link = CellLink::toGrid(finer_.inner.size()); // not used for the root
        if (level == 0) {
            finer_.root = grid;
        } else {
            finer_.inner.push_back(grid);
        }
        fillCells(layout, grid, part, budget - taken, level);
        return link;
    }

    // Stores the short lists of a grid and divides its long ones. The long lists share `budget` by their lengths.
    void fillCells(GridLayout const& layout, FinerGrid const& grid, Box const& space, std::size_t budget, int level)
    {
        std::vector<std::size_t> ends;
        std::vector<TriangleNumber> const sorted = layout.sortedLists(&ends);
        std::size_t crowded = 0;
        for (std::size_t cell = 0, begin = 0; cell < ends.size(); begin = ends[cell++]) {
            if (ends[cell] - begin > kCrowded) crowded += ends[cell] - begin;
        }
        for (std::size_t cell = 0, begin = 0; cell < ends.size(); begin = ends[cell++]) {
            TriangleList const list = {sorted.data() + begin, sorted.data() + ends[cell]};
            CellLink inner;
            if (list.size() > kCrowded && level + 1 < kMostLevels) {
                double const share = static_cast<double>(list.size()) / static_cast<double>(crowded);
                auto const extra = static_cast<std::size_t>(static_cast<double>(budget) * share);
                auto const rows = asIndex(grid.size[1]);
                Box const part = partOfCell(grid, static_cast<int>(cell / rows), static_cast<int>(cell % rows), {});
                inner = divide(list, part.clippedTo(space), bucketsForList(list.size()) - 1 + extra, level + 1);
            }
            if (inner.isEnd()) {
                store(list, grid.firstCell + cell);
            } else {
                finer_.buckets[grid.firstCell + cell].links[0] = inner;
            }
        }
    }

    // Writes a list into a bucket, and what does not fit into new overflow buckets.
    void store(TriangleList list, std::size_t bucket)
    {
        while (list.size() > CellBucket::kLinks) {
            TriangleNumber const* const rest = list.first + CellBucket::kTrianglesBeforeOverflow;
            fill(bucket, {list.first, rest});
            list.first = rest;
            std::size_t const overflow = finer_.buckets.size();
            finer_.buckets[bucket].links[CellBucket::kTrianglesBeforeOverflow] = CellLink::toBucket(overflow);
            finer_.buckets.emplace_back();
            bucket = overflow;
        }
        fill(bucket, list);
    }

    void fill(std::size_t bucket, TriangleList list)
    {
        assert(list.size() <= CellBucket::kLinks);
        std::transform(list.begin(), list.end(), finer_.buckets[bucket].links, CellLink::toTriangle);
    }

    MeshView const& mesh_;
    PreparedTriangle const* shared_;
    Box space_;                       // the public cell
    std::vector<TriangleNumber> all_; // the triangles of the public cell
    std::vector<PreparedTriangle> own_;
    bool refuses_ = false; // whether the list names a degenerate triangle
    FinerGrids finer_;
};

} // namespace

std::unique_ptr<CellTriangles const> buildCellTriangles(MeshView const& mesh, std::size_t cell, std::size_t bytes,
                                                        PreparedTriangle const* shared)
{
    assert(cell < mesh.gridCells.size() && mesh.gridSize[0] == kGridCells && mesh.gridSize[1] == kGridCells);
    std::size_t const bytesOfRecords = shared ? 0 : mesh.gridCells[cell].size() * sizeof(PreparedTriangle);
    if (bytesOfRecords > bytes || bytes / sizeof(CellBucket) >= CellLink::kNumberLimit) return nullptr;
    return Builder(mesh, cell, shared).build((bytes - bytesOfRecords) / sizeof(CellBucket));
}

} // namespace sinew::detail
