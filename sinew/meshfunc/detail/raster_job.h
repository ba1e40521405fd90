#pragma once

/// Walks over the pixels of a raster: grid cell by grid cell, and in each cell tile by tile.
///
/// All pixels in one grid cell have the same candidates, the list of the cell. They are drawn in the order of the list.
/// A template: the sink receives what was found.
///
///     drawerOf, prefetch              see DrawTriangles
///     flush(triangles, tile, width)   writes the pixels of a drawn tile that have a triangle; returns whether all have
///     rest(tile)                      the free pixels of a tile, of which there are some, have no triangle
///     single(p, column, row)          a pixel that must be searched for by itself

#include <algorithm>
#include <cstddef>
#include <vector>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/detail/as_index.h>
#include <sinew/detail/dispatch.h>
#include <sinew/detail/element_count.h>
#include <sinew/meshfunc/detail/mesh_search.h>
#include <sinew/meshfunc/detail/raster_axis.h>
#include <sinew/meshfunc/detail/raster_tile.h>
#include <sinew/meshfunc/detail/triangle_cover.h>
#include <sinew/meshfunc/raster.h>

namespace sinew::detail {

/// Collects the triangles of a list that may accept pixels of `pixels`, prepared, in the order of the list.
void collectTriangles(MeshFunction2D const& f, std::vector<int> const& list, RasterAxis const& columns,
                      RasterAxis const& rows, PixelBox const& pixels, DrawnTriangles* out);

/// One raster over one mesh function.
template <typename Sink>
class RasterJob
{
public:
    /// @param meter  receives the progress; may be null
    RasterJob(MeshFunction2D const& f, Raster const& raster, VectorWidth width, Sink& sink, ProgressMeter* meter)
        : f_(f), columns_(f, 0, raster.origin.x, raster.step.x, raster.width),
          rows_(f, 1, raster.origin.y, raster.step.y, raster.height), width_(width), sink_(sink), meter_(meter),
          pixelCount_(static_cast<double>(raster.width) * raster.height)
    {
    }

    void run()
    {
        TriangleLocator const* const locator = MeshFunctionAccess::locator(f_);
        // Drawing rests on what the locator rests on: finite numbers of moderate size, and a grid that is up to date.
        if (!columns_.isOrdered() || !rows_.isOrdered() || !locator || !locator->matches(viewOf(f_))) {
            for (CellRun const& rows : rows_.runs()) {
                for (CellRun const& columns : columns_.runs()) searchPixels({columns.pixels, rows.pixels});
            }
            return;
        }
        reserve();
        for (CellRun const& rows : rows_.runs()) {
            for (CellRun const& columns : columns_.runs()) {
                PixelBox const pixels = {columns.pixels, rows.pixels};
                std::vector<int> const* const list = listOf(columns, rows);
                if (isDense(list, pixels)) {
                    searchPixels(pixels);
                } else {
                    drawCell(list, pixels);
                }
            }
        }
    }

private:
    // With more triangles than this for each pixel, searching for the pixels is faster than preparing the triangles.
    static constexpr std::size_t kDense = 2;

    // The triangles listed in a cell; null outside the grid.
    std::vector<int> const* listOf(CellRun const& columns, CellRun const& rows) const
    {
        int const cell[2] = {columns.cell, rows.cell};
        return cellList(f_, cell);
    }

    static bool isDense(std::vector<int> const* list, PixelBox const& pixels)
    {
        return list && list->size() / kDense > asIndex(pixels.columns.size()) * asIndex(pixels.rows.size());
    }

    // All memory, so that nothing is written if there is too little.
    void reserve()
    {
        std::size_t longest = 0;
        for (CellRun const& rows : rows_.runs()) {
            for (CellRun const& columns : columns_.runs()) {
                std::vector<int> const* const list = listOf(columns, rows);
                if (list && !isDense(list, {columns.pixels, rows.pixels})) longest = std::max(longest, list->size());
            }
        }
        triangles_.records.reserve(elementCount<PreparedTriangle>(longest));
        triangles_.boxes.reserve(elementCount<PixelBox>(longest));
        inBand_.reserve(elementCount<std::size_t>(longest));
        inTile_.reserve(elementCount<std::size_t>(longest));
    }

    void searchPixels(PixelBox const& pixels)
    {
        for (int row = pixels.rows.first; row < pixels.rows.last; ++row) {
            for (int column = pixels.columns.first; column < pixels.columns.last; ++column) {
                sink_.single({columns_.points()[column], rows_.points()[row]}, column, row);
            }
            if (meter_) tellProgress(pixels.columns.size());
        }
    }

    void drawCell(std::vector<int> const* list, PixelBox const& pixels)
    {
        triangles_.clear();
        if (list) collectTriangles(f_, *list, columns_, rows_, pixels, &triangles_);
        PixelBox tile = pixels;
        for (tile.rows.first = pixels.rows.first; tile.rows.first < pixels.rows.last;
             tile.rows.first = tile.rows.last) {
            tile.rows.last = tile.rows.first + std::min(RasterTile::kRows, pixels.rows.last - tile.rows.first);
            inBand_.clear();
            for (std::size_t i = 0; i < triangles_.boxes.size(); ++i) {
                if (overlap(triangles_.boxes[i].rows, tile.rows)) inBand_.push_back(i);
            }
            PixelRange& columns = tile.columns;
            for (columns.first = pixels.columns.first; columns.first < pixels.columns.last;
                 columns.first = columns.last) {
                columns.last = columns.first + std::min(RasterTile::kColumns, pixels.columns.last - columns.first);
                drawTile(tile);
            }
        }
    }

    void drawTile(PixelBox const& pixels)
    {
        tile_.begin(pixels, columns_.points(), rows_.points());
        inTile_.clear();
        for (std::size_t const i : inBand_) {
            if (overlap(triangles_.boxes[i].columns, pixels.columns)) inTile_.push_back(i);
        }
        bool isFull = false;
        if (!inTile_.empty()) {
            dispatch(width_, DrawTriangles<Sink>{triangles_, inTile_.data(), inTile_.size(), tile_, sink_});
            isFull = sink_.flush(triangles_, tile_, width_);
        }
        if (!isFull) sink_.rest(tile_);
        if (meter_) tellProgress(static_cast<double>(pixels.columns.size()) * pixels.rows.size());
    }

    // Some more pixels are finished.
    void tellProgress(double pixels)
    {
        finishedPixels_ += pixels;
        meter_->reached(finishedPixels_ / pixelCount_);
    }

    static bool overlap(PixelRange const& a, PixelRange const& b) { return a.first < b.last && b.first < a.last; }

    MeshFunction2D const& f_;
    RasterAxis columns_;
    RasterAxis rows_;
    VectorWidth width_;
    Sink& sink_;
    ProgressMeter* meter_;
    double pixelCount_;
    double finishedPixels_ = 0;
    DrawnTriangles triangles_;        // of the current cell
    std::vector<std::size_t> inBand_; // numbers of those that meet the current row of tiles
    std::vector<std::size_t> inTile_; // and of those that meet the current tile
    RasterTile tile_;
};

} // namespace sinew::detail
