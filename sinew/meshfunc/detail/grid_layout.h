#pragma once

/// The layout of one finer grid: how many cells it gets, and which triangles its cells list. The choice of the size
/// decides how long the lists are, never which triangle accepts a point.

#include <cstddef>
#include <cstdint>
#include <vector>

#include <sinew/meshfunc/detail/box.h>
#include <sinew/meshfunc/detail/cell_bucket.h>
#include <sinew/meshfunc/detail/finer_grid.h>
#include <sinew/meshfunc/detail/prepared_triangle.h>

namespace sinew::detail {

using TriangleNumber = CellLink::Number;

/// An ascending list of triangles, stored in a vector elsewhere.
struct TriangleList
{
    TriangleNumber const* first;
    TriangleNumber const* last;

    std::size_t size() const { return static_cast<std::size_t>(last - first); }
    TriangleNumber const* begin() const { return first; }
    TriangleNumber const* end() const { return last; }
};

/// Triangles with their boxes: boxes[i] covers all points that triangle list.first[i] of the records accepts.
struct CoveredTriangles
{
    PreparedTriangle const* records;
    TriangleList list;
    std::vector<Box> boxes;
};

/// One grid and the lists of its cells.
class GridLayout
{
public:
    /// Chooses a grid over `space`, then makes it coarser until its cells and their lists fit into `budget` buckets.
    /// Returns how many buckets they take, or 0 if no grid fits that shortens the lists to half on average.
    std::size_t layOut(CoveredTriangles const& triangles, Box const& space, std::size_t budget);

    /// The grid that was chosen. Its cells are numbered from 0.
    FinerGrid const& grid() const { return grid_; }

    /// The lists of all cells, one after the other, each ascending. The list of cell i ends at (*ends)[i], where the
    /// list of cell i + 1 begins.
    std::vector<TriangleNumber> sortedLists(std::vector<std::size_t>* ends) const;

private:
    /// The cells that a box touches. There are at most as many along an axis as 16 bits count.
    struct CellRange
    {
        std::uint16_t low[2];
        std::uint16_t high[2];

        std::size_t cellCount() const;
    };

    /// A triangle that is listed in a cell.
    struct Entry
    {
        std::uint32_t cell;
        TriangleNumber triangle;
    };

    void chooseSize(std::vector<Box> const& boxes, tzNM::vect2<double> const& extent, std::size_t budget);
    std::uint64_t findRanges(std::vector<Box> const& boxes);
    std::size_t findEntries(CoveredTriangles const& triangles);

    FinerGrid grid_;
    std::vector<CellRange> ranges_;    // of each triangle
    std::vector<Entry> entries_;       // of all lists, in the order of the triangles
    std::vector<std::size_t> lengths_; // of each cell's list
};

} // namespace sinew::detail
