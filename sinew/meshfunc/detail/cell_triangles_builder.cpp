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

/// Boxes that touch more cells than this times the buckets to spend: their lists will not fit, however thinned.
constexpr std::size_t kHopeless = 8;

/// Extents beyond this would overflow when squared; such triangles enter every cell.
constexpr double kLargestExtent = 1e150;

/// Lists longer than this are divided. A public cell has a grid anyway, so there even a few triangles are worth it.
constexpr std::size_t kCrowdedPublic = 4;
constexpr std::size_t kCrowded = 16;

/// Cells that a grid has for each triangle if there is enough to spend: with four, the first two candidates mostly
/// suffice.
constexpr double kCellsPerTriangle = 4;

/// The part of what there is to spend that cells may take at first; the rest is for lists that overflow them.
constexpr double kShareOfCells = 0.75;

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

/// A triangle that can hold a point of a cell, which is numbered from the grid's first.
struct Entry
{
    std::uint32_t cell;
    std::uint32_t triangle;
};

/// A grid and what its cells list.
struct Layout
{
    FinerGrid grid;
    std::vector<CellRange> ranges;    // of each triangle
    std::vector<Entry> entries;       // of all lists, by triangle
    std::vector<std::size_t> lengths; // of each cell's list
};

/// Buckets that a list takes: each names three triangles and the next bucket, the last up to four triangles.
std::size_t bucketsOf(std::size_t length)
{
    return length <= 4 ? 1 : (length + 1) / 3;
}

} // namespace

class CellTrianglesBuilder
{
public:
    CellTrianglesBuilder(MeshFunction2D const& f, CellTriangles* out) : f_(f), out_(*out) {}

    /// Names the triangles that can hold a point of the cell, in records of their own unless there are shared ones.
    void addTriangles(std::size_t cell, LocatedTriangle const* shared)
    {
        std::vector<int> const& list = f_.gridCells[cell];
        FinerGrid publicGrid;
        publicGrid.low = f_.domainMin;
        publicGrid.scale = {f_.gridScale[0], f_.gridScale[1]};
        for (int& size : publicGrid.size) size = kGridCells;
        space_ = cellBox(publicGrid, static_cast<int>(cell / kGridCells), static_cast<int>(cell % kGridCells),
                         borderSlack(publicGrid));
        if (!shared) out_.own_.reserve(list.size());
        for (int t : list) {
            LocatedTriangle triangle;
            // A negative number becomes a large one, and there is no such triangle either.
            if (!locatedTriangle(f_, static_cast<std::size_t>(t), &triangle)) continue;
            Box const box = cover(triangle);
            if (isFinite(box) && !reaches(triangle, space_.clippedTo(box))) continue;
            all_.push_back(static_cast<Reference>(shared ? static_cast<std::size_t>(t) : out_.own_.size()));
            if (!shared) out_.own_.push_back(triangle);
        }
        out_.triangles_ = shared ? shared : out_.own_.data();
    }

    /// Divides the part of the public cell that its triangles cover, if they are many. False if not even their list
    /// fits.
    bool divide(std::size_t buckets)
    {
        if (bucketsOf(all_.size()) > buckets) return false;
        List const list = {all_.data(), all_.data() + all_.size()};
        if (all_.size() <= kCrowdedPublic || divide(list, space_, buckets, 0) == CellTriangles::kNothing) {
            for (int& size : out_.root_.size) size = 1;
            out_.buckets_.resize(1);
            store(list, 0);
        }
        out_.grids_.shrink_to_fit();
        out_.buckets_.shrink_to_fit();
        return true;
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
    Box cover(LocatedTriangle const& triangle) const
    {
        int const* corners = triangle.corners;
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

    static bool isFinite(Box const& box) { return box.high.x < kInfinity; }

    /// Lays a grid over the part of `space` that the listed triangles cover and spends at most `buckets` on it and on
    /// the grids in its cells. Returns its reference, or kNothing if no grid would halve the list.
    Reference divide(List list, Box const& space, std::size_t buckets, int level)
    {
        std::vector<Box> boxes;
        boxes.reserve(list.size());
        Box all;
        for (Reference i : list) {
            boxes.push_back(cover(out_.triangles_[i]));
            all.include(boxes.back().low);
            all.include(boxes.back().high);
        }
        Layout layout;
        Box const part = all.clippedTo(space);
        std::size_t const spent = layOut(list, boxes, part, buckets, &layout);
        if (spent == 0) return CellTriangles::kNothing;

        layout.grid.firstCell = out_.buckets_.size();
        out_.buckets_.resize(out_.buckets_.size() + layout.grid.cellCount());
        auto const number = static_cast<Reference>(out_.grids_.size());
        if (level == 0) {
            out_.root_ = layout.grid;
        } else {
            out_.grids_.push_back(layout.grid);
        }
        std::vector<std::size_t> ends;
        std::vector<Reference> const sorted = sortIntoCells(layout, &ends);
        fillCells(sorted, ends, layout.grid, part, buckets - spent, level);
        return CellTriangles::kGrid | number;
    }

    /// A few cells a triangle, each as wide and as high in proportion as the triangles commonly are.
    static void chooseSize(std::vector<Box> const& boxes, Point const& extent, std::size_t buckets, int size[2])
    {
        double columnsPerRow = 1;
        for (int k = 0; k < 2; ++k) {
            if (!(extent[k] > 0)) continue;
            double const cells = extent[k] / commonExtent(boxes, extent, k);
            columnsPerRow *= k == 0 ? cells : 1 / cells;
        }
        double const count = std::min(kCellsPerTriangle * static_cast<double>(boxes.size()),
                                      std::max(1.0, kShareOfCells * static_cast<double>(buckets)));
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

    /// Chooses a size, then coarsens until cells and lists fit into `buckets`. Returns how many they take, or 0 if
    /// nothing fits that would at least halve the list.
    std::size_t layOut(List list, std::vector<Box> const& boxes, Box const& space, std::size_t buckets,
                       Layout* layout) const
    {
        Point const extent = space.high - space.low;
        bool const finite = extent.x < kLargestExtent && extent.y < kLargestExtent;
        if (!(finite && extent.x >= 0 && extent.y >= 0 && extent.x + extent.y > 0)) return 0;
        FinerGrid& grid = layout->grid;
        grid.low = space.low;
        chooseSize(boxes, extent, buckets, grid.size);
        for (;;) {
            for (int k = 0; k < 2; ++k) grid.scale[k] = extent[k] > 0 ? grid.size[k] / extent[k] : 0;
            std::size_t const cells = grid.cellCount();
            if (cells < 2) return 0;
            // Thinning halves the lists or so: if they are far too long, the exact count is not worth its time.
            if (findRanges(boxes, layout) <= kHopeless * buckets) {
                std::size_t const spent = findEntries(list, boxes, layout);
                if (spent <= buckets) return 2 * layout->entries.size() <= cells * boxes.size() ? spent : 0;
            }
            for (int& size : grid.size) size = std::max(1, size - (3 * size + 19) / 20);
        }
    }

    /// Finds the cells that the boxes touch. Returns how many in all.
    static std::size_t findRanges(std::vector<Box> const& boxes, Layout* layout)
    {
        FinerGrid const& grid = layout->grid;
        std::size_t touched = 0;
        layout->ranges.resize(boxes.size());
        for (std::size_t i = 0; i < boxes.size(); ++i) {
            CellRange& range = layout->ranges[i];
            for (int k = 0; k < 2; ++k) {
                range.low[k] = static_cast<std::uint16_t>(grid.cell(boxes[i].low[k], k));
                range.high[k] = static_cast<std::uint16_t>(grid.cell(boxes[i].high[k], k));
            }
            touched += range.cells();
        }
        return touched;
    }

    /// Finds the triangles that can hold a point of each cell. Returns how many buckets cells and lists take.
    std::size_t findEntries(List list, std::vector<Box> const& boxes, Layout* layout) const
    {
        FinerGrid const& grid = layout->grid;
        Point const slack = borderSlack(grid);
        layout->entries.clear();
        layout->lengths.assign(grid.cellCount(), 0);
        for (std::size_t i = 0; i < list.size(); ++i) {
            LocatedTriangle const& triangle = out_.triangles_[list.first[i]];
            CellRange const& range = layout->ranges[i];
            bool const judge = range.cells() > 1 && isFinite(boxes[i]);
            for (int cx = range.low[0]; cx <= range.high[0]; ++cx) {
                for (int cy = range.low[1]; cy <= range.high[1]; ++cy) {
                    if (judge && !reaches(triangle, partOf(grid, cx, cy, slack).clippedTo(boxes[i]))) continue;
                    std::size_t const cell = grid.index(cx, cy);
                    layout->entries.push_back({static_cast<std::uint32_t>(cell), list.first[i]});
                    ++layout->lengths[cell];
                }
            }
        }
        std::size_t buckets = 0;
        for (std::size_t length : layout->lengths) buckets += bucketsOf(length);
        return buckets;
    }

    /// The lists of all cells, one behind the other, each ascending; those of cell i end at (*ends)[i].
    static std::vector<Reference> sortIntoCells(Layout const& layout, std::vector<std::size_t>* ends)
    {
        ends->assign(1, 0);
        for (std::size_t length : layout.lengths) ends->push_back(ends->back() + length);
        std::vector<Reference> sorted(ends->back());
        for (Entry const& entry : layout.entries) sorted[(*ends)[entry.cell]++] = entry.triangle;
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
    static Point borderSlack(FinerGrid const& grid)
    {
        Point slack;
        for (int k = 0; k < 2; ++k) {
            double const step = grid.scale[k] > 0 ? 1 / grid.scale[k] : 0;
            slack[k] = 1e-6 * step + 1e-14 * (std::fabs(grid.low[k]) + grid.size[k] * step);
        }
        return slack;
    }

    /// The cell's box and `slack` around it.
    static Box cellBox(FinerGrid const& grid, int cx, int cy, Point const& slack)
    {
        int const position[2] = {cx, cy};
        Box box;
        for (int k = 0; k < 2; ++k) {
            double const step = grid.scale[k] > 0 ? 1 / grid.scale[k] : 0;
            box.low[k] = grid.low[k] + position[k] * step - slack[k];
            box.high[k] = grid.low[k] + (position[k] + 1) * step + slack[k];
        }
        return box;
    }

    /// The part of the plane whose points have this cell, and `slack` around it. The outermost cells have no end.
    static Box partOf(FinerGrid const& grid, int cx, int cy, Point const& slack)
    {
        int const position[2] = {cx, cy};
        Box box = cellBox(grid, cx, cy, slack);
        for (int k = 0; k < 2; ++k) {
            if (position[k] == 0) box.low[k] = -kInfinity;
            if (position[k] == grid.size[k] - 1) box.high[k] = kInfinity;
        }
        return box;
    }

    /// Stores short lists and divides the long ones, which share what is left to spend.
    void fillCells(std::vector<Reference> const& sorted, std::vector<std::size_t> const& ends, FinerGrid const& grid,
                   Box const& space, std::size_t buckets, int level)
    {
        std::size_t crowded = 0;
        for (std::size_t cell = 0, begin = 0; cell < ends.size(); begin = ends[cell++]) {
            if (ends[cell] - begin > kCrowded) crowded += ends[cell] - begin;
        }
        for (std::size_t cell = 0, begin = 0; cell < ends.size(); begin = ends[cell++]) {
            std::size_t const length = ends[cell] - begin;
            List const list = {sorted.data() + begin, sorted.data() + ends[cell]};
            Reference reference = CellTriangles::kNothing;
            if (length > kCrowded && level + 1 < kMostLevels) {
                double const share = static_cast<double>(length) / static_cast<double>(crowded);
                auto const extra = static_cast<std::size_t>(static_cast<double>(buckets) * share);
                auto const rows = static_cast<std::size_t>(grid.size[1]);
                Box const part =
                    partOf(grid, static_cast<int>(cell / rows), static_cast<int>(cell % rows), {}).clippedTo(space);
                reference = divide(list, part, bucketsOf(length) - 1 + extra, level + 1);
            }
            if (reference == CellTriangles::kNothing) {
                store(list, grid.firstCell + cell);
            } else {
                out_.buckets_[grid.firstCell + cell].references[0] = reference;
            }
        }
    }

    /// Writes a list into a bucket and into new ones that it goes on in.
    void store(List list, std::size_t bucket)
    {
        while (list.size() > 4) {
            Reference* references = out_.buckets_[bucket].references;
            std::copy(list.first, list.first + 3, references);
            list.first += 3;
            bucket = out_.buckets_.size();
            references[3] = CellTriangles::kBucket | static_cast<Reference>(bucket);
            out_.buckets_.emplace_back();
        }
        std::copy(list.first, list.last, out_.buckets_[bucket].references);
    }

    MeshFunction2D const& f_;
    CellTriangles& out_;
    Box space_; // the part of the plane whose points fall into the public cell, and a little more
    std::vector<Reference> all_;
};

bool locatedTriangle(MeshFunction2D const& f, std::size_t triangle, LocatedTriangle* out)
{
    int corners[3];
    if (!triangleCorners(f.facets, triangle, std::min(f.params.size(), f.values.size()), corners)) return false;
    auto const vertex = [&](int k) { return f.params[static_cast<std::size_t>(corners[k])]; };
    Point const origin = vertex(0);
    Point const e1 = vertex(1) - origin;
    Point const e2 = vertex(2) - origin;
    double const det = e1.x * e2.y - e2.x * e1.y;
    if (std::fabs(det) < kDegenerate) return false;
    double const r = 1.0 / det;
    *out = {origin, {r * e2.y, r * -e2.x, r * -e1.y, r * e1.x}, {corners[0], corners[1], corners[2]}};
    return true;
}

std::unique_ptr<CellTriangles const> CellTriangles::build(MeshFunction2D const& f, std::size_t cell, std::size_t bytes,
                                                          LocatedTriangle const* shared)
{
    std::size_t const bytesOfTriangles = shared ? 0 : f.gridCells[cell].size() * sizeof(LocatedTriangle);
    // References are 30 bits wide.
    if (bytesOfTriangles > bytes || bytes / sizeof(Bucket) >= kBucket) return nullptr;
    auto cellTriangles = std::make_unique<CellTriangles>();
    CellTrianglesBuilder builder(f, cellTriangles.get());
    builder.addTriangles(cell, shared);
    if (!builder.divide((bytes - bytesOfTriangles) / sizeof(Bucket))) return nullptr;
    return cellTriangles;
}

} // namespace sinew::detail
