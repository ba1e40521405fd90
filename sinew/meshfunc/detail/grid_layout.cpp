// Lists are filled by counting sort: T. H. Cormen, C. E. Leiserson, R. L. Rivest, C. Stein, Introduction to Algorithms,
// 3rd edition 2009, section 8.2.

#include <sinew/meshfunc/detail/grid_layout.h>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>

#include <sinew/meshfunc/detail/triangle_cover.h>

namespace sinew::detail {

namespace {

using Point = tzNM::vect2<double>;

// If the boxes touch more cells than this times the budget, the lists will not fit even after triangles are left out.
// The exact count is then not worth its time.
constexpr std::uint64_t kHopeless = 8;

// Cells that a grid has for each triangle if the budget allows it. With four, most points are in the first two
// triangles of their list.
constexpr double kCellsPerTriangle = 4;

// Part of the budget that cells may take. The rest is for overflow buckets.
constexpr double kShareOfCells = 0.75;

// Largest number of cells along an axis. A mesh that is crowded in one spot is then found through a few levels of
// grids instead of many cells.
constexpr int kMostCells = 512;
static_assert(kMostCells - 1 <= std::numeric_limits<std::uint16_t>::max());

// Number of boxes, at most, from which the common extent is estimated.
constexpr std::size_t kSample = 63;

// The number of cells along an axis after one coarsening: 3/20 less, rounded down, and at least one cell less.
int coarser(int size)
{
    constexpr int kLost = 3;
    constexpr int kOf = 20;
    return std::max(1, size - (kLost * size + kOf - 1) / kOf);
}

// The median extent of a sample of the boxes along an axis. Each extent counts at most as the whole one.
double commonExtent(std::vector<Box> const& boxes, Point const& extent, int axis)
{
    std::vector<double> sample;
    std::size_t const step = boxes.size() / kSample + 1;
    for (std::size_t i = 0; i < boxes.size(); i += step) {
        sample.push_back(std::min(boxes[i].high[axis] - boxes[i].low[axis], extent[axis]));
    }
    auto const middle = sample.begin() + static_cast<std::ptrdiff_t>(sample.size() / 2);
    std::nth_element(sample.begin(), middle, sample.end());
    return *middle;
}

} // namespace

std::size_t GridLayout::CellRange::cellCount() const
{
    return static_cast<std::size_t>(high[0] - low[0] + 1) * static_cast<std::size_t>(high[1] - low[1] + 1);
}

// Chooses a few cells a triangle. A cell has the proportions that are common among the boxes of the triangles.
void GridLayout::chooseSize(std::vector<Box> const& boxes, Point const& extent, std::size_t budget)
{
    double columnsPerRow = 1;
    for (int k = 0; k < 2; ++k) {
        if (!(extent[k] > 0)) continue;
        double const cells = extent[k] / commonExtent(boxes, extent, k);
        columnsPerRow *= k == 0 ? cells : 1 / cells;
    }
    double const count = std::min(kCellsPerTriangle * static_cast<double>(boxes.size()),
                                  std::max(1.0, kShareOfCells * static_cast<double>(budget)));
    double const most = kMostCells;
    double const columns = extent.x > 0 ? std::sqrt(count * columnsPerRow) : 1;
    grid_.size[0] = static_cast<int>(std::clamp(columns, 1.0, std::min(count, most)));
    double const rows = extent.y > 0 ? count / grid_.size[0] : 1;
    grid_.size[1] = static_cast<int>(std::clamp(rows, 1.0, most));
}

// Finds the cells that each box touches. Returns the sum of their numbers, which for 2^16 boxes over a grid of 2^18
// cells exceeds 32 bits.
std::uint64_t GridLayout::findRanges(std::vector<Box> const& boxes)
{
    std::uint64_t touched = 0;
    ranges_.resize(boxes.size());
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        CellRange& range = ranges_[i];
        for (int k = 0; k < 2; ++k) {
            range.low[k] = static_cast<std::uint16_t>(grid_.cell(boxes[i].low[k], k));
            range.high[k] = static_cast<std::uint16_t>(grid_.cell(boxes[i].high[k], k));
        }
        touched += range.cellCount();
    }
    return touched;
}

// Finds the triangles of each cell. Returns how many buckets the cells and their lists take.
std::size_t GridLayout::findEntries(CoveredTriangles const& triangles)
{
    Point const slack = borderSlack(grid_);
    entries_.clear();
    lengths_.assign(grid_.cellCount(), 0);
    for (std::size_t i = 0; i < triangles.list.size(); ++i) {
        TriangleNumber const number = triangles.list.first[i];
        PreparedTriangle const& triangle = triangles.records[number];
        Box const& box = triangles.boxes[i];
        CellRange const& range = ranges_[i];
        bool const test = range.cellCount() > 1 && box.isFinite();
        for (int cx = range.low[0]; cx <= range.high[0]; ++cx) {
            for (int cy = range.low[1]; cy <= range.high[1]; ++cy) {
                if (test && !mayAcceptIn(triangle, partOfCell(grid_, cx, cy, slack).clippedTo(box))) continue;
                std::size_t const cell = grid_.index(cx, cy);
                entries_.push_back({static_cast<std::uint32_t>(cell), number});
                ++lengths_[cell];
            }
        }
    }
    std::size_t buckets = 0;
    for (std::size_t const length : lengths_) buckets += bucketsForList(length);
    return buckets;
}

std::size_t GridLayout::layOut(CoveredTriangles const& triangles, Box const& space, std::size_t budget)
{
    assert(!triangles.boxes.empty() && triangles.boxes.size() == triangles.list.size());
    Point const extent = space.high - space.low;
    bool const finite = extent.x < kLargestExtent && extent.y < kLargestExtent;
    if (!(finite && extent.x >= 0 && extent.y >= 0 && extent.x + extent.y > 0)) return 0;
    grid_.low = space.low;
    chooseSize(triangles.boxes, extent, budget);
    for (;;) {
        for (int k = 0; k < 2; ++k) grid_.scale[k] = extent[k] > 0 ? grid_.size[k] / extent[k] : 0;
        std::size_t const cells = grid_.cellCount();
        if (cells < 2) return 0;
        if (findRanges(triangles.boxes) <= kHopeless * budget) {
            std::size_t const taken = findEntries(triangles);
            if (taken <= budget) return 2 * entries_.size() <= cells * triangles.list.size() ? taken : 0;
        }
        for (int& size : grid_.size) size = coarser(size);
    }
}

std::vector<TriangleNumber> GridLayout::sortedLists(std::vector<std::size_t>* ends) const
{
    // While the lists are filled, (*ends)[i] is the place for the next entry of cell i. It begins where list i begins.
    ends->assign(1, 0);
    for (std::size_t const length : lengths_) ends->push_back(ends->back() + length);
    std::vector<TriangleNumber> sorted(ends->back());
    for (Entry const& entry : entries_) sorted[(*ends)[entry.cell]++] = entry.triangle;
    ends->pop_back();
    return sorted;
}

} // namespace sinew::detail
