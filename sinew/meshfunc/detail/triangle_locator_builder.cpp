// How the finer grids are laid out. Where their lines run is free: it decides how long lists are, never who answers.
// What must hold is that a triangle is listed in every finer cell that has a point it accepts:
//
// - Corners of boxes and points pass through the same rising function of floating-point numbers, so a box covers the
//   cells of all points inside it, whatever is rounded on the way.
// - A triangle accepts points outside its box only by the weights' tolerance of 1e-8 and by rounding. Its weights are
//   rounded by a few units in the last place times extent^2 / |det|; below 1e8 that moves the border by less than 1e-7
//   of its extent, and boxes are widened by 1e-6. Thinner triangles, and those that are not finite, enter every cell.

#include <algorithm>
#include <cmath>
#include <limits>

#include <sinew/meshfunc/detail/mesh_cells.h>
#include <sinew/meshfunc/detail/triangle_locator.h>

namespace sinew::detail {

namespace {

using Point = tzNM::vect2<double>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// extent^2 / |det| above this: rounding may carry the test of such a sliver far outside its box.
constexpr double kSliver = 1e8;

/// By this part of its extent a triangle's box is widened.
constexpr double kBoxMargin = 1e-6;

/// Extents beyond this would overflow when squared; such triangles and domains are left to the plain way.
constexpr double kLargestExtent = 1e150;

/// Lists longer than this are divided.
constexpr std::size_t kCrowded = 16;

/// Most cells of one grid along an axis: a mesh crowded in one spot is found in a few levels instead of many cells.
constexpr int kMostCells = 64;

/// Grids within grids within a public cell. Each divides its part by up to 64, so this reaches any distinct doubles
/// that matter, and it bounds the work on triangles that no grid can tell apart.
constexpr int kMostLevels = 6;

/// List entries and cells that may be spent, for each triangle. With its cache line that is 100 bytes a triangle.
/// Without a limit a soup of overlapping triangles would fill the memory.
constexpr std::size_t kSlotsPerTriangle = 9;

struct Box
{
    Point low{kInfinity, kInfinity};
    Point high{-kInfinity, -kInfinity};

    void include(Point const& p)
    {
        low = {std::min(low.x, p.x), std::min(low.y, p.y)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y)};
    }
    Box clippedTo(Box const& other) const
    {
        Box box;
        box.low = {std::max(low.x, other.low.x), std::max(low.y, other.low.y)};
        box.high = {std::min(high.x, other.high.x), std::min(high.y, other.high.y)};
        return box;
    }
};

/// The cells of one grid that one box touches; grids have at most 64 cells along an axis.
struct CellRange
{
    std::uint8_t low[2];
    std::uint8_t high[2];

    std::size_t cells() const { return std::size_t(high[0] - low[0] + 1) * std::size_t(high[1] - low[1] + 1); }
};

} // namespace

class TriangleLocatorBuilder
{
public:
    TriangleLocatorBuilder(MeshFunction2D const& f, TriangleLocator* locator) : f_(f), out_(*locator) {}

    void build()
    {
        out_.vertexCount_ = std::min(f_.params.size(), f_.values.size());
        out_.paramCount_ = f_.params.size();
        out_.facetCount_ = f_.facets.size();
        cacheTriangles();
        divideCells();
        out_.grids_.shrink_to_fit();
        out_.cells_.shrink_to_fit();
        out_.lists_.shrink_to_fit();
    }

private:
    using Reference = TriangleLocator::Reference;
    using Grid = TriangleLocator::Grid;

    /// A list of triangles that lies in a vector elsewhere.
    struct List
    {
        int const* first;
        int const* last;

        std::size_t size() const { return static_cast<std::size_t>(last - first); }
        int const* begin() const { return first; }
        int const* end() const { return last; }
    };

    void cacheTriangles()
    {
        out_.triangles_.resize(f_.facets.size() / 3);
        for (std::size_t t = 0; t < out_.triangles_.size(); ++t) {
            int corners[3];
            if (!triangleCorners(f_.facets, t, out_.vertexCount_, corners)) continue;
            Point const& origin = vertex(corners[0]);
            Point const e1 = vertex(corners[1]) - origin;
            Point const e2 = vertex(corners[2]) - origin;
            double const det = e1.x * e2.y - e2.x * e1.y;
            if (std::fabs(det) < kDegenerate) continue;
            double const r = 1.0 / det;
            auto& triangle = out_.triangles_[t];
            triangle.origin = origin;
            triangle.inverse[0] = r * e2.y;
            triangle.inverse[1] = r * -e2.x;
            triangle.inverse[2] = r * -e1.y;
            triangle.inverse[3] = r * e1.x;
            std::copy(corners, corners + 3, triangle.corners);
        }
    }

    Point const& vertex(int i) const { return f_.params[static_cast<std::size_t>(i)]; }

    /// What covers all points that the triangle can accept: its widened box, or the whole plane.
    Box cover(int t) const
    {
        int const* corners = out_.triangles_[static_cast<std::size_t>(t)].corners;
        Box box;
        for (int k = 0; k < 3; ++k) box.include(vertex(corners[k]));
        Point const e1 = vertex(corners[1]) - vertex(corners[0]);
        Point const e2 = vertex(corners[2]) - vertex(corners[0]);
        double const det = e1.x * e2.y - e2.x * e1.y;
        double const extent = std::max(box.high.x - box.low.x, box.high.y - box.low.y);
        // The NaN side of both is meant: what cannot be judged goes everywhere.
        if (!(extent < kLargestExtent) || !(extent * extent <= kSliver * std::fabs(det))) {
            box.low = {-kInfinity, -kInfinity};
            box.high = {kInfinity, kInfinity};
            return box;
        }
        Point const margin(kBoxMargin * extent, kBoxMargin * extent);
        box.low -= margin;
        box.high += margin;
        return box;
    }

    void divideCells()
    {
        std::vector<int> solid; // the triangles of a cell's list that are not degenerate
        std::size_t listed = 0;
        for (auto const& list : f_.gridCells) listed += list.size();
        out_.roots_.assign(f_.gridCells.size(), TriangleLocator::kNothing);
        for (int cx = 0; cx < f_.gridSize[0]; ++cx) {
            for (int cy = 0; cy < f_.gridSize[1]; ++cy) {
                auto const cell = static_cast<std::size_t>(cx * f_.gridSize[1] + cy);
                std::vector<int> const& all = f_.gridCells[cell];
                if (all.size() <= kCrowded) continue;
                solid.clear();
                for (int t : all) {
                    if (out_.triangles_[static_cast<std::size_t>(t)].corners[0] >= 0) solid.push_back(t);
                }
                // Each cell spends its share alone, so that a tangle in one corner costs the rest of the mesh nothing.
                double const share = static_cast<double>(all.size()) / static_cast<double>(listed);
                double const slots = static_cast<double>(kSlotsPerTriangle * out_.triangles_.size()) * share;
                out_.roots_[cell] =
                    divide(spanOf(solid, 0, solid.size()), cellBox(cx, cy), static_cast<std::size_t>(slots), 0);
            }
        }
    }

    static List spanOf(std::vector<int> const& triangles, std::size_t begin, std::size_t end)
    {
        return {triangles.data() + begin, triangles.data() + end};
    }

    Box cellBox(int cx, int cy) const
    {
        Box box;
        box.low = {f_.domainMin.x + cx / f_.gridScale[0], f_.domainMin.y + cy / f_.gridScale[1]};
        box.high = {f_.domainMin.x + (cx + 1) / f_.gridScale[0], f_.domainMin.y + (cy + 1) / f_.gridScale[1]};
        return box;
    }

    /// Lays a grid over the part of `space` that the listed triangles cover and spends at most `slots` cells and list
    /// entries on it and on the grids in its cells. Returns kNothing if no grid would shorten the list.
    Reference divide(List list, Box const& space, std::size_t slots, int level)
    {
        std::vector<Box> boxes;
        boxes.reserve(list.size());
        Box all;
        for (int t : list) {
            boxes.push_back(cover(t));
            all.include(boxes.back().low);
            all.include(boxes.back().high);
        }
        Grid grid;
        std::vector<CellRange> ranges;
        std::size_t const entries = layOut(boxes, all.clippedTo(space), slots, &grid, &ranges);
        if (entries == 0) return TriangleLocator::kNothing;

        auto const number = static_cast<Reference>(out_.grids_.size());
        std::size_t const cellCount = static_cast<std::size_t>(grid.size[0]) * static_cast<std::size_t>(grid.size[1]);
        grid.firstCell = out_.cells_.size();
        out_.grids_.push_back(grid);
        out_.cells_.resize(out_.cells_.size() + cellCount, TriangleLocator::kNothing);

        std::vector<std::size_t> ends;
        std::vector<int> const sorted = sortIntoCells(list, ranges, grid, entries, &ends);
        fillCells(sorted, ends, grid, slots - cellCount - entries, level);
        return TriangleLocator::kGrid | number;
    }

    /// Chooses about a cell a triangle, then coarsens until cells and entries fit into `slots`. Returns the number of
    /// entries, or 0 if nothing fits that would at least halve the list.
    static std::size_t layOut(std::vector<Box> const& boxes, Box const& space, std::size_t slots, Grid* grid,
                              std::vector<CellRange>* ranges)
    {
        Point const extent = space.high - space.low;
        if (!(extent.x >= 0 && extent.y >= 0 && extent.x + extent.y > 0)) return 0;
        auto const count = static_cast<double>(boxes.size());
        double const columns = extent.y > 0 ? std::sqrt(count * (extent.x / extent.y)) : count;
        grid->low = space.low;
        grid->size[0] = static_cast<int>(std::clamp(columns, 1.0, double(kMostCells)));
        grid->size[1] = extent.y > 0 ? static_cast<int>(std::clamp(count / grid->size[0], 1.0, double(kMostCells))) : 1;
        ranges->resize(boxes.size());
        for (;;) {
            for (int k = 0; k < 2; ++k) grid->scale[k] = extent[k] > 0 ? grid->size[k] / extent[k] : 0;
            std::size_t const cells = static_cast<std::size_t>(grid->size[0]) * static_cast<std::size_t>(grid->size[1]);
            if (cells < 2) return 0;
            std::size_t entries = 0;
            for (std::size_t i = 0; i < boxes.size(); ++i) {
                CellRange& range = (*ranges)[i];
                for (int k = 0; k < 2; ++k) {
                    range.low[k] = static_cast<std::uint8_t>(grid->cell(boxes[i].low[k], k));
                    range.high[k] = static_cast<std::uint8_t>(grid->cell(boxes[i].high[k], k));
                }
                entries += range.cells();
            }
            if (cells + entries <= slots) return 2 * entries <= cells * boxes.size() ? entries : 0;
            for (int& size : grid->size) size = (size + 1) / 2;
        }
    }

    /// The lists of all cells, one behind the other; those of cell i end at (*ends)[i].
    static std::vector<int> sortIntoCells(List list, std::vector<CellRange> const& ranges, Grid const& grid,
                                          std::size_t entries, std::vector<std::size_t>* ends)
    {
        auto const forEachCell = [&](CellRange const& range, auto const& visit) {
            for (int cx = range.low[0]; cx <= range.high[0]; ++cx) {
                for (int cy = range.low[1]; cy <= range.high[1]; ++cy) visit(grid.index(cx, cy) - grid.firstCell);
            }
        };
        std::size_t const cells = static_cast<std::size_t>(grid.size[0]) * static_cast<std::size_t>(grid.size[1]);
        ends->assign(cells + 1, 0);
        for (CellRange const& range : ranges) forEachCell(range, [&](std::size_t cell) { ++(*ends)[cell + 1]; });
        for (std::size_t cell = 1; cell <= cells; ++cell) (*ends)[cell] += (*ends)[cell - 1];
        std::vector<int> sorted(entries);
        for (std::size_t i = 0; i < list.size(); ++i) {
            forEachCell(ranges[i], [&](std::size_t cell) { sorted[(*ends)[cell]++] = list.first[i]; });
        }
        ends->pop_back();
        return sorted;
    }

    /// Stores short lists and divides the long ones, which share what is left to spend.
    void fillCells(std::vector<int> const& sorted, std::vector<std::size_t> const& ends, Grid const& grid,
                   std::size_t slots, int level)
    {
        std::size_t crowded = 0;
        for (std::size_t cell = 0, begin = 0; cell < ends.size(); begin = ends[cell++]) {
            if (ends[cell] - begin > kCrowded) crowded += ends[cell] - begin;
        }
        for (std::size_t cell = 0, begin = 0; cell < ends.size(); begin = ends[cell++]) {
            std::size_t const length = ends[cell] - begin;
            if (length == 0) continue;
            Reference reference = TriangleLocator::kNothing;
            List const list = spanOf(sorted, begin, ends[cell]);
            if (length > kCrowded && level + 1 < kMostLevels) {
                double const share = static_cast<double>(length) / static_cast<double>(crowded);
                auto const extra = static_cast<std::size_t>(static_cast<double>(slots) * share);
                reference = divide(list, partOf(grid, cell), length + extra, level + 1);
            }
            out_.cells_[grid.firstCell + cell] = reference == TriangleLocator::kNothing ? store(list) : reference;
        }
    }

    static Box partOf(Grid const& grid, std::size_t cell)
    {
        auto const rows = static_cast<std::size_t>(grid.size[1]);
        std::size_t const position[2] = {cell / rows, cell % rows};
        Box box;
        for (int k = 0; k < 2; ++k) {
            double const step = grid.scale[k] > 0 ? 1 / grid.scale[k] : 0;
            box.low[k] = grid.low[k] + static_cast<double>(position[k]) * step;
            box.high[k] = grid.low[k] + static_cast<double>(position[k] + 1) * step;
        }
        return box;
    }

    Reference store(List list)
    {
        auto const start = static_cast<Reference>(out_.lists_.size());
        out_.lists_.insert(out_.lists_.end(), list.begin(), list.end());
        out_.lists_.back() = ~out_.lists_.back();
        return start;
    }

    MeshFunction2D const& f_;
    TriangleLocator& out_;
};

std::shared_ptr<TriangleLocator const> TriangleLocator::build(MeshFunction2D const& f)
{
    // Offsets are 31 bits wide; meshes beyond that are answered the plain way.
    constexpr std::size_t kMostTriangles = (std::size_t{1} << 31) / (2 * kSlotsPerTriangle);
    double const extent = std::max(f.domainMax.x - f.domainMin.x, f.domainMax.y - f.domainMin.y);
    bool const finite = extent < kLargestExtent && std::isfinite(f.gridScale[0]) && std::isfinite(f.gridScale[1]);
    if (f.gridCells.empty() || !finite || f.facets.size() / 3 > kMostTriangles) return nullptr;
    auto locator = std::make_shared<TriangleLocator>();
    TriangleLocatorBuilder(f, locator.get()).build();
    return locator;
}

} // namespace sinew::detail
