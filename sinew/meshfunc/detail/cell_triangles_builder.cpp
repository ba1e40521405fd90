// How the finer grids are laid out. Where their lines run is free: it decides how long lists are, never who answers.
// What must hold is that a triangle is listed in every finer cell that has a point it accepts:
//
// - Corners of boxes and points pass through the same rising function of floating-point numbers, so a box covers the
//   cells of all points inside it, whatever is rounded on the way.
// - A triangle accepts points outside its box only by the weights' tolerance of 1e-8 and by rounding. Its weights are
//   rounded by a few units in the last place times extent^2 / |det|; below 1e8 that moves the border by less than 1e-7
//   of its extent, and boxes are widened by 1e-6. Thinner triangles, and those that are not finite, enter every cell.
// - A cell of the box that lies beyond one of the triangle's edges is left out by the same measure, 1e-6 of a weight.

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include <sinew/meshfunc/detail/cell_triangles.h>
#include <sinew/meshfunc/detail/mesh_cells.h>
#include <sinew/meshfunc/mesh_function_2d.h>

namespace sinew::detail {

namespace {

using Point = tzNM::vect2<double>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// extent^2 / |det| above this: rounding may carry the test of such a sliver far outside its box.
constexpr double kSliver = 1e8;

/// By this part of its extent a triangle's box is widened.
constexpr double kBoxMargin = 1e-6;

/// A triangle whose weight stays below minus this all over a cell is not listed there. Like the widening of boxes, far
/// more than the weights' tolerance and rounding together.
constexpr double kWeightMargin = 1e-6;

/// Extents beyond this would overflow when squared; such triangles enter every cell.
constexpr double kLargestExtent = 1e150;

/// Lists longer than this are divided.
constexpr std::size_t kCrowded = 16;

/// Most cells of one grid along an axis: a mesh crowded in one spot is found in a few levels instead of many cells.
constexpr int kMostCells = 512;

/// Grids within grids within a public cell. Few meshes need more than two; the limit bounds the work on triangles that
/// no grid can tell apart.
constexpr int kMostLevels = 6;

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

/// The cells of one grid that one box touches; with as many cells along an axis as 16 bits can count.
struct CellRange
{
    std::uint16_t low[2];
    std::uint16_t high[2];

    std::size_t cells() const { return std::size_t(high[0] - low[0] + 1) * std::size_t(high[1] - low[1] + 1); }
};

} // namespace

class CellTrianglesBuilder
{
public:
    CellTrianglesBuilder(MeshFunction2D const& f, CellTriangles* out) : f_(f), out_(*out) {}

    void addTriangles(std::vector<int> const& list)
    {
        std::size_t const vertexCount = std::min(f_.params.size(), f_.values.size());
        out_.triangles_.reserve(list.size());
        for (int t : list) {
            // A negative index becomes a large one, and there is no such triangle either.
            int corners[3];
            if (!triangleCorners(f_.facets, static_cast<std::size_t>(t), vertexCount, corners)) continue;
            Point const& origin = vertex(corners[0]);
            Point const e1 = vertex(corners[1]) - origin;
            Point const e2 = vertex(corners[2]) - origin;
            double const det = e1.x * e2.y - e2.x * e1.y;
            if (std::fabs(det) < kDegenerate) continue;
            double const r = 1.0 / det;
            out_.triangles_.push_back(
                {origin, {r * e2.y, r * -e2.x, r * -e1.y, r * e1.x}, {corners[0], corners[1], corners[2]}});
        }
    }

    /// Divides the part of the public cell that its triangles cover, if they are many.
    void divide(std::size_t cell, std::size_t slots)
    {
        if (out_.triangles_.size() <= kCrowded) return;
        std::vector<Reference> all(out_.triangles_.size());
        std::iota(all.begin(), all.end(), Reference{0});
        divide({all.data(), all.data() + all.size()}, cellBox(cell), slots, 0);
        out_.grids_.shrink_to_fit();
        out_.slots_.shrink_to_fit();
    }

private:
    using Reference = CellTriangles::Reference;

    /// A list of triangles that lies in a vector elsewhere.
    struct List
    {
        Reference const* first;
        Reference const* last;

        std::size_t size() const { return static_cast<std::size_t>(last - first); }
        Reference const* begin() const { return first; }
        Reference const* end() const { return last; }
    };

    Point const& vertex(int i) const { return f_.params[static_cast<std::size_t>(i)]; }

    /// What covers all points that the triangle can accept: its widened box, or the whole plane.
    Box cover(Reference i) const
    {
        int const* corners = out_.triangles_[i].corners;
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

    Box cellBox(std::size_t cell) const
    {
        double const cx = static_cast<double>(cell / kGridCells);
        double const cy = static_cast<double>(cell % kGridCells);
        Box box;
        box.low = {f_.domainMin.x + cx / f_.gridScale[0], f_.domainMin.y + cy / f_.gridScale[1]};
        box.high = {f_.domainMin.x + (cx + 1) / f_.gridScale[0], f_.domainMin.y + (cy + 1) / f_.gridScale[1]};
        return box;
    }

    /// Lays a grid over the part of `space` that the listed triangles cover and spends at most `slots` cells and list
    /// entries on it and on the grids in its cells. Returns its reference, or kNothing if no grid would halve the list.
    Reference divide(List list, Box const& space, std::size_t slots, int level)
    {
        std::vector<Box> boxes;
        boxes.reserve(list.size());
        Box all;
        for (Reference i : list) {
            boxes.push_back(cover(i));
            all.include(boxes.back().low);
            all.include(boxes.back().high);
        }
        FinerGrid grid;
        std::vector<CellRange> ranges;
        Box const part = all.clippedTo(space);
        std::size_t const entries = layOut(boxes, part, slots, &grid, &ranges);
        if (entries == 0) return CellTriangles::kNothing;

        std::size_t const cellCount = grid.cellCount();
        grid.firstCell = out_.slots_.size();
        out_.slots_.resize(out_.slots_.size() + cellCount, CellTriangles::kNothing);
        auto const number = static_cast<Reference>(out_.grids_.size());
        if (level == 0) {
            out_.root_ = grid;
        } else {
            out_.grids_.push_back(grid);
        }

        std::vector<std::size_t> ends;
        std::vector<Reference> const sorted = sortIntoCells(list, boxes, ranges, grid, &ends);
        fillCells(sorted, ends, grid, part, slots - cellCount - entries, level);
        return CellTriangles::kGrid | number;
    }

    /// About a cell a triangle, each as wide and as high in proportion as the triangles commonly are.
    static void chooseSize(std::vector<Box> const& boxes, Point const& extent, int size[2])
    {
        double columnsPerRow = 1;
        for (int k = 0; k < 2; ++k) {
            if (!(extent[k] > 0)) continue;
            double const cells = extent[k] / commonExtent(boxes, extent, k);
            columnsPerRow *= k == 0 ? cells : 1 / cells;
        }
        auto const count = static_cast<double>(boxes.size());
        double const columns = extent.x > 0 ? std::sqrt(count * columnsPerRow) : 1;
        size[0] = static_cast<int>(std::clamp(columns, 1.0, std::min(count, double(kMostCells))));
        double const rows = extent.y > 0 ? count / size[0] : 1;
        size[1] = static_cast<int>(std::clamp(rows, 1.0, double(kMostCells)));
    }

    /// The median extent, of a sample, along an axis; at most that of the whole.
    static double commonExtent(std::vector<Box> const& boxes, Point const& extent, int axis)
    {
        constexpr std::size_t kSample = 63;
        std::vector<double> sample;
        std::size_t const step = boxes.size() / kSample + 1;
        for (std::size_t i = 0; i < boxes.size(); i += step) {
            sample.push_back(std::min(boxes[i].high[axis] - boxes[i].low[axis], extent[axis]));
        }
        auto const middle = sample.begin() + static_cast<std::ptrdiff_t>(sample.size() / 2);
        std::nth_element(sample.begin(), middle, sample.end());
        return *middle;
    }

    /// Chooses about a cell a triangle, then coarsens until cells and entries fit into `slots`. Returns the number of
    /// entries, or 0 if nothing fits that would at least halve the list.
    static std::size_t layOut(std::vector<Box> const& boxes, Box const& space, std::size_t slots, FinerGrid* grid,
                              std::vector<CellRange>* ranges)
    {
        Point const extent = space.high - space.low;
        bool const finite = extent.x < kLargestExtent && extent.y < kLargestExtent;
        if (!(finite && extent.x >= 0 && extent.y >= 0 && extent.x + extent.y > 0)) return 0;
        grid->low = space.low;
        chooseSize(boxes, extent, grid->size);
        ranges->resize(boxes.size());
        for (;;) {
            for (int k = 0; k < 2; ++k) grid->scale[k] = extent[k] > 0 ? grid->size[k] / extent[k] : 0;
            std::size_t const cells = static_cast<std::size_t>(grid->size[0]) * static_cast<std::size_t>(grid->size[1]);
            if (cells < 2) return 0;
            std::size_t entries = 0;
            for (std::size_t i = 0; i < boxes.size(); ++i) {
                CellRange& range = (*ranges)[i];
                for (int k = 0; k < 2; ++k) {
                    range.low[k] = static_cast<std::uint16_t>(grid->cell(boxes[i].low[k], k));
                    range.high[k] = static_cast<std::uint16_t>(grid->cell(boxes[i].high[k], k));
                }
                entries += range.cells();
            }
            if (cells + entries <= slots) return 2 * entries <= cells * boxes.size() ? entries : 0;
            for (int& size : grid->size) size = (size + 1) / 2;
        }
    }

    /// The lists of all cells, one behind the other; those of cell i end at (*ends)[i].
    std::vector<Reference> sortIntoCells(List list, std::vector<Box> const& boxes, std::vector<CellRange> const& ranges,
                                         FinerGrid const& grid, std::vector<std::size_t>* ends) const
    {
        Point slack;
        for (int k = 0; k < 2; ++k) slack[k] = borderSlack(grid, k);
        auto const forEachEntry = [&](auto const& visit) {
            for (std::size_t i = 0; i < list.size(); ++i) {
                LocatedTriangle const& triangle = out_.triangles_[list.first[i]];
                CellRange const& range = ranges[i];
                bool const judge = range.cells() > 1 && boxes[i].high.x < kInfinity;
                for (int cx = range.low[0]; cx <= range.high[0]; ++cx) {
                    for (int cy = range.low[1]; cy <= range.high[1]; ++cy) {
                        if (judge && !reaches(triangle, partOf(grid, cx, cy, slack).clippedTo(boxes[i]))) continue;
                        visit(grid.index(cx, cy) - grid.firstCell, list.first[i]);
                    }
                }
            }
        };
        std::size_t const cells = grid.cellCount();
        ends->assign(cells + 1, 0);
        forEachEntry([&](std::size_t cell, Reference) { ++(*ends)[cell + 1]; });
        for (std::size_t cell = 1; cell <= cells; ++cell) (*ends)[cell] += (*ends)[cell - 1];
        std::vector<Reference> sorted((*ends)[cells]);
        forEachEntry([&](std::size_t cell, Reference i) { sorted[(*ends)[cell]++] = i; });
        ends->pop_back();
        return sorted;
    }

    /// Whether the triangle may accept a point of the box: none of its weights is too small all over it.
    static bool reaches(LocatedTriangle const& triangle, Box const& box)
    {
        Point const low = box.low - triangle.origin;
        Point const high = box.high - triangle.origin;
        auto const largest = [&](double x, double y) {
            return std::max(x * low.x, x * high.x) + std::max(y * low.y, y * high.y);
        };
        double const* m = triangle.inverse;
        return largest(m[0], m[1]) >= -kWeightMargin && largest(m[2], m[3]) >= -kWeightMargin &&
               1 + largest(-m[0] - m[2], -m[1] - m[3]) >= -kWeightMargin;
    }

    /// By how much a point of a cell may lie beyond the cell's computed border.
    static double borderSlack(FinerGrid const& grid, int axis)
    {
        double const step = grid.scale[axis] > 0 ? 1 / grid.scale[axis] : 0;
        return 1e-6 * step + 1e-14 * (std::fabs(grid.low[axis]) + grid.size[axis] * step);
    }

    /// The part of the plane whose points have this cell, and `slack` around it. The outermost cells have no end.
    static Box partOf(FinerGrid const& grid, int cx, int cy, Point const& slack)
    {
        int const position[2] = {cx, cy};
        Box box;
        for (int k = 0; k < 2; ++k) {
            double const step = grid.scale[k] > 0 ? 1 / grid.scale[k] : 0;
            bool const isFirst = position[k] == 0, isLast = position[k] == grid.size[k] - 1;
            box.low[k] = isFirst ? -kInfinity : grid.low[k] + position[k] * step - slack[k];
            box.high[k] = isLast ? kInfinity : grid.low[k] + (position[k] + 1) * step + slack[k];
        }
        return box;
    }

    /// Stores short lists and divides the long ones, which share what is left to spend.
    void fillCells(std::vector<Reference> const& sorted, std::vector<std::size_t> const& ends, FinerGrid const& grid,
                   Box const& space, std::size_t slots, int level)
    {
        std::size_t crowded = 0;
        for (std::size_t cell = 0, begin = 0; cell < ends.size(); begin = ends[cell++]) {
            if (ends[cell] - begin > kCrowded) crowded += ends[cell] - begin;
        }
        for (std::size_t cell = 0, begin = 0; cell < ends.size(); begin = ends[cell++]) {
            std::size_t const length = ends[cell] - begin;
            if (length == 0) continue;
            Reference reference = CellTriangles::kNothing;
            List const list = {sorted.data() + begin, sorted.data() + ends[cell]};
            if (length > kCrowded && level + 1 < kMostLevels) {
                double const share = static_cast<double>(length) / static_cast<double>(crowded);
                auto const extra = static_cast<std::size_t>(static_cast<double>(slots) * share);
                auto const rows = static_cast<std::size_t>(grid.size[1]);
                Box const part =
                    partOf(grid, static_cast<int>(cell / rows), static_cast<int>(cell % rows), {}).clippedTo(space);
                reference = divide(list, part, length + extra, level + 1);
            }
            out_.slots_[grid.firstCell + cell] = reference == CellTriangles::kNothing ? store(list) : reference;
        }
    }

    Reference store(List list)
    {
        auto const start = static_cast<Reference>(out_.slots_.size());
        out_.slots_.insert(out_.slots_.end(), list.begin(), list.end());
        out_.slots_.back() = ~out_.slots_.back();
        return start;
    }

    MeshFunction2D const& f_;
    CellTriangles& out_;
};

std::unique_ptr<CellTriangles const> CellTriangles::build(MeshFunction2D const& f, std::size_t cell, std::size_t bytes)
{
    std::vector<int> const& list = f.gridCells[cell];
    std::size_t const bytesOfTriangles = list.size() * sizeof(LocatedTriangle);
    // References are 31 bits wide.
    if (bytesOfTriangles > bytes || bytes / sizeof(Reference) >= kGrid) return nullptr;
    auto cellTriangles = std::make_unique<CellTriangles>();
    CellTrianglesBuilder builder(f, cellTriangles.get());
    builder.addTriangles(list);
    builder.divide(cell, (bytes - bytesOfTriangles) / sizeof(Reference));
    return cellTriangles;
}

} // namespace sinew::detail
