#pragma once

/// A small rectangle of pixels, into which triangles are drawn.
///
/// Each pixel keeps the number of the first triangle that accepts it. The triangles are drawn in ascending order, and a
/// pixel that has a triangle keeps it, so this is the triangle that `MeshFunction2D::evaluate` uses. Acceptance is
/// computed with the operations of `weightsOf`, in the same order.
///
/// Source: J. Pineda, A parallel algorithm for polygon rasterization, SIGGRAPH 1988: pixels are tested with linear
/// functions of their position. The functions are evaluated anew at each pixel here, because adding increments would
/// round in another way.

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <vector>

#include <sinew/detail/as_index.h>
#include <sinew/detail/dispatch.h>
#include <sinew/framework/vect2.h>
#include <sinew/meshfunc/detail/prepared_triangle.h>
#include <sinew/meshfunc/detail/raster_axis.h>

namespace sinew::detail {

/// The columns and rows of pixels that a triangle may accept.
struct PixelBox
{
    PixelRange columns;
    PixelRange rows;

    bool isEmpty() const { return columns.size() <= 0 || rows.size() <= 0; }
};

/// Prepared triangles in ascending order, with their pixels.
struct DrawnTriangles
{
    std::vector<PreparedTriangle> records;
    std::vector<PixelBox> boxes;

    void clear()
    {
        records.clear();
        boxes.clear();
    }
};

/// The tile.
struct RasterTile
{
    static constexpr int kColumns = 64;
    static constexpr int kRows = 32;
    /// Pixels that are tested together. Blocks begin at multiples of this, so that a processor can forward what one
    /// triangle has stored to the next one.
    static constexpr int kBlock = 8;

    static constexpr double kFree = 0;      ///< in `owner`: no triangle accepts the pixel, or none has been drawn
    static constexpr double kPadding = 1e9; ///< in `owner`: there is no such pixel

    /// For each pixel the number of its triangle, counted from 1. These are doubles, because vectors then select
    /// between them with the result of comparing doubles.
    alignas(kCacheLine) double owner[kRows][kColumns];
    alignas(kCacheLine) double x[kColumns + kBlock]; ///< a span may be computed in whole blocks
    double y[kRows];
    PixelBox pixels; ///< what the tile covers of the raster

    /// Covers `box`, whose points are x[i] and y[j] for columns i and rows j of the raster.
    void begin(PixelBox const& box, double const* columns, double const* rows)
    {
        assert(!box.isEmpty() && box.columns.size() <= kColumns && box.rows.size() <= kRows);
        pixels = box;
        std::fill(std::begin(x), std::end(x), columns[box.columns.first]);
        std::copy(columns + box.columns.first, columns + box.columns.last, x);
        std::copy(rows + box.rows.first, rows + box.rows.last, y);
        for (int row = 0; row < box.rows.size(); ++row) {
            std::fill_n(owner[row], box.columns.size(), kFree);
            std::fill(owner[row] + box.columns.size(), owner[row] + kColumns, kPadding);
        }
    }

    /// Whether every pixel of a row has a triangle.
    SINEW_KERNEL bool isRowFull(int row) const
    {
        int free = 0;
        for (int column = 0; column < kColumns; ++column) free += owner[row][column] == kFree ? 1 : 0;
        return free == 0;
    }

    /// Whether every pixel has a triangle.
    SINEW_KERNEL bool isFull() const
    {
        for (int row = 0; row < pixels.rows.size(); ++row) {
            if (!isRowFull(row)) return false;
        }
        return true;
    }
};

/// Free pixels of a tile that are close to each other.
struct FreePixels
{
    static constexpr int kSide = 8;

    tzNM::vect2<double> points[kSide * kSide];
    int columns[kSide * kSide]; ///< of the raster
    int rows[kSide * kSide];
    std::size_t count = 0;
};

/// Calls use(FreePixels const&) for the free pixels of each block of 8 x 8 pixels of a tile that has any.
template <typename Use>
void forFreePixels(RasterTile const& tile, Use const& use)
{
    constexpr int kSide = FreePixels::kSide;
    for (int firstRow = 0; firstRow < tile.pixels.rows.size(); firstRow += kSide) {
        for (int firstColumn = 0; firstColumn < tile.pixels.columns.size(); firstColumn += kSide) {
            FreePixels pixels;
            for (int row = firstRow; row < std::min(firstRow + kSide, tile.pixels.rows.size()); ++row) {
                for (int column = firstColumn; column < firstColumn + kSide; ++column) {
                    if (tile.owner[row][column] != RasterTile::kFree) continue; // also behind the last column
                    pixels.points[pixels.count] = {tile.x[column], tile.y[row]};
                    pixels.columns[pixels.count] = tile.pixels.columns.first + column;
                    pixels.rows[pixels.count] = tile.pixels.rows.first + row;
                    ++pixels.count;
                }
            }
            if (pixels.count > 0) use(pixels);
        }
    }
}

/// Consecutive pixels of a row of a tile at which a triangle is tested: whole blocks.
struct TestedPixels
{
    int row;         ///< of the tile
    int column;      ///< of the first pixel
    int count;       ///< a multiple of RasterTile::kBlock
    double const* x; ///< the coordinates of the pixels
    double* owners;  ///< the owners of the pixels
    double owner;    ///< the number of the triangle
};

/// The owner of a pixel, which was `before`, after the triangle `owner` with these weights has been drawn there. This
/// is the test of Weights::accepted().
SINEW_KERNEL double ownerAfter(Weights const& weights, double before, double owner)
{
    // Conditional values instead of branches, and comparisons that a NaN does not pass, as in accepted().
    double after = before != RasterTile::kFree ? before : owner;
    after = weights.u < -kInsideTolerance ? before : after;
    after = weights.v < -kInsideTolerance ? before : after;
    return weights.w < -kInsideTolerance ? before : after;
}

/// Draws nothing but the owners.
struct OwnerDrawer
{
    SINEW_KERNEL void draw(RowWeights const& weights, TestedPixels const& pixels) const
    {
        double const* __restrict const x = pixels.x;
        double* __restrict const owners = pixels.owners;
        for (int i = 0; i < pixels.count; ++i) owners[i] = ownerAfter(weights.at(x[i]), owners[i], pixels.owner);
    }
};

/// Gives the free pixels of a tile that triangles accept to the first of these triangles. The triangles of
/// `numbers[0 .. count - 1]` are drawn, in this order, with SINEW_KERNEL functions of the sink:
///
///     drawerOf(triangle).draw(weights, pixels)  sets the owners of pixels with ownerAfter(); `weights` are of the row
///     prefetch(pixels, row)                     fetches memory where a row of the tile will be written
template <typename Sink>
struct DrawTriangles
{
    DrawnTriangles const& triangles;
    std::size_t const* numbers;
    std::size_t count;
    RasterTile& tile;
    Sink& sink;

    template <VectorWidth>
    SINEW_KERNEL void run() const
    {
        // A full tile ends the drawing, so that triangles on top of each other cost little. Looking whether it is full
        // takes less time than what has been drawn since the last look.
        long const worthALook = 2 * long{RasterTile::kColumns} * tile.pixels.rows.size();
        long drawn = 0;
        // Rows of an image are far apart, so the processor does not foresee where a tile will be written. Few rows at a
        // time are fetched, because it cannot wait for many.
        auto const rows = asIndex(tile.pixels.rows.size());
        std::size_t fetched = 0;
        for (std::size_t i = 0; i < count; ++i) {
            for (; fetched * count < (i + 1) * rows; ++fetched) sink.prefetch(tile.pixels, static_cast<int>(fetched));
            drawn += draw(numbers[i]);
            if (drawn < worthALook) continue;
            if (tile.isFull()) return;
            drawn = 0;
        }
    }

private:
    // Returns the number of pixels that were tested.
    SINEW_KERNEL long draw(std::size_t number) const
    {
        PreparedTriangle const& t = triangles.records[number];
        PixelBox const& box = triangles.boxes[number];
        int const firstColumn = std::max(0, box.columns.first - tile.pixels.columns.first);
        int const lastColumn = std::min(box.columns.last, tile.pixels.columns.last) - tile.pixels.columns.first;
        int const firstRow = std::max(0, box.rows.first - tile.pixels.rows.first);
        int const lastRow = std::min(box.rows.last, tile.pixels.rows.last) - tile.pixels.rows.first;
        TestedPixels pixels;
        pixels.column = firstColumn - firstColumn % RasterTile::kBlock;
        pixels.count = (lastColumn - pixels.column + RasterTile::kBlock - 1) / RasterTile::kBlock * RasterTile::kBlock;
        pixels.x = tile.x + pixels.column;
        pixels.owner = static_cast<double>(number + 1);
        auto const drawer = sink.drawerOf(t);
        for (pixels.row = firstRow; pixels.row < lastRow; ++pixels.row) {
            pixels.owners = tile.owner[pixels.row] + pixels.column;
            drawer.draw(RowWeights(t, tile.y[pixels.row]), pixels);
        }
        return long{lastRow - firstRow} * pixels.count;
    }
};

/// Calls sink.span(triangle, x, y, column, row, count), which is SINEW_KERNEL, for each span of pixels of one triangle,
/// row by row. Returns whether every pixel has a triangle.
template <typename Sink>
struct ForSpans
{
    DrawnTriangles const& triangles;
    RasterTile const& tile;
    Sink const& sink;

    template <VectorWidth>
    SINEW_KERNEL bool run() const
    {
        bool isFull = true;
        int const columns = tile.pixels.columns.size();
        for (int row = 0; row < tile.pixels.rows.size(); ++row) {
            double const* const owner = tile.owner[row];
            for (int first = 0, last = 0; first < columns; first = last) {
                last = first + 1;
                while (last < columns && isSameOwner(owner + last, owner + first)) ++last;
                if (owner[first] == RasterTile::kFree) {
                    isFull = false;
                    continue;
                }
                sink.span(triangles.records[static_cast<std::size_t>(owner[first]) - 1], tile.x + first, tile.y[row],
                          tile.pixels.columns.first + first, tile.pixels.rows.first + row, last - first);
            }
        }
        return isFull;
    }

private:
    // As bits: numbers of triangles are equal if their bits are, and comparing doubles would look for NaN, too.
    SINEW_KERNEL static bool isSameOwner(double const* a, double const* b)
    {
        std::uint64_t bitsOfA, bitsOfB;
        std::memcpy(&bitsOfA, a, sizeof bitsOfA);
        std::memcpy(&bitsOfB, b, sizeof bitsOfB);
        return bitsOfA == bitsOfB;
    }
};

} // namespace sinew::detail
