#include <sinew/meshfunc/raster.h>

#include <algorithm>

#include <sinew/detail/as_index.h>
#include <sinew/detail/dispatch.h>
#include <sinew/meshfunc/detail/boundary_block.h>
#include <sinew/meshfunc/detail/interpolation.h>
#include <sinew/meshfunc/detail/location_of.h>
#include <sinew/meshfunc/detail/mesh_search.h>
#include <sinew/meshfunc/detail/raster_job.h>
#include <sinew/meshfunc/detail/raster_query.h>
#include <sinew/meshfunc/detail/value_tile.h>

namespace sinew {

using namespace detail;

namespace {

using Point = tzNM::vect2<double>;

// Where a pixel lies in the output arrays.
class PixelIndex
{
public:
    explicit PixelIndex(Raster const& raster)
        : stride_(raster.rowStride > 0 ? raster.rowStride : asIndex(std::max(raster.width, 0)))
    {
    }
    std::size_t operator()(int column, int row) const { return asIndex(column) + stride_ * asIndex(row); }

private:
    std::size_t stride_;
};

// Fetches elements that will be written soon.
template <typename T>
SINEW_KERNEL void prefetchElements(T* elements, int count)
{
    constexpr int kPerLine = static_cast<int>(std::max(kCacheLine / sizeof(T), std::size_t{1}));
    for (int i = 0; i < count; i += kPerLine) prefetchForWriting(elements + i);
}

// Writes values, scalars and whether there are any.
class ValueSink
{
public:
    ValueSink(MeshFunction2D const& f, PixelIndex const& index, Outside outside, VectorWidth width, Point* values,
              float* scalars, bool* found)
        : f_(f), index_(index), outside_(outside), values_(values), scalars_(scalars), found_(found),
          drawsScalars_(scalars && hasScalar(f)), boundary_(f, width)
    {
    }

    std::size_t foundCount() const { return foundCount_; }

    // Interpolates at the pixels of one triangle.
    struct Drawer
    {
        ValueSink& sink;
        AtCorners<double> x;
        AtCorners<double> y;
        AtCorners<float> scalar;

        SINEW_KERNEL void draw(RowWeights const& weights, TestedPixels const& tested) const
        {
            if (sink.values_) {
                drawValues(x, y, weights, tested, &sink.drawn_);
            } else {
                OwnerDrawer().draw(weights, tested);
            }
            if (sink.drawsScalars_) drawScalars(scalar, weights, tested, &sink.drawn_);
        }
    };

    SINEW_KERNEL Drawer drawerOf(PreparedTriangle const& t)
    {
        Drawer drawer = {*this, {}, {}, {}};
        std::size_t const corners[3] = {asIndex(t.corners[0]), asIndex(t.corners[1]), asIndex(t.corners[2])};
        if (values_) {
            Point const* const v = f_.values.data();
            drawer.x = {v[corners[0]].x, v[corners[1]].x, v[corners[2]].x};
            drawer.y = {v[corners[0]].y, v[corners[1]].y, v[corners[2]].y};
        }
        if (drawsScalars_) {
            float const* const s = f_.normaldots.data();
            drawer.scalar = {s[corners[0]], s[corners[1]], s[corners[2]]};
        }
        return drawer;
    }

    SINEW_KERNEL void prefetch(PixelBox const& pixels, int row) const
    {
        std::size_t const at = index_(pixels.columns.first, pixels.rows.first + row);
        int const count = pixels.columns.size();
        if (values_) prefetchElements(values_ + at, count);
        if (scalars_) prefetchElements(scalars_ + at, count);
        if (found_ != nullptr) prefetchElements(found_ + at, count);
    }

    bool flush(DrawnTriangles const&, RasterTile const& tile, VectorWidth width)
    {
        return dispatch(width, CopyTile{*this, tile});
    }

    void rest(RasterTile const& tile)
    {
        if (outside_ == Outside::excluded) {
            if (found_ != nullptr) writeNotFound(tile);
            return;
        }
        forFreePixels(tile, [this](FreePixels const& pixels) {
            NearestBoundary nearest[BoundaryBlock::kMostPoints];
            boundary_.find(pixels.points, pixels.count, nearest);
            for (std::size_t i = 0; i < pixels.count; ++i) {
                writeOutside(nearest[i], pixels.points[i], index_(pixels.columns[i], pixels.rows[i]));
            }
        });
    }

    void single(Point const& p, int column, int row)
    {
        std::size_t const at = index_(column, row);
        Point* const value = values_ ? values_ + at : nullptr;
        float* const scalar = scalars_ ? scalars_ + at : nullptr;
        bool const isFound =
            outside_ == Outside::excluded ? f_.evaluate(p, value, scalar) : f_.extrapolate(p, value, scalar);
        if (found_) found_[at] = isFound;
        foundCount_ += isFound ? 1U : 0U;
    }

private:
    // Copies the pixels of a tile that have a triangle, and returns whether all have one.
    struct CopyTile
    {
        ValueSink& sink;
        RasterTile const& tile;

        template <VectorWidth>
        SINEW_KERNEL bool run() const
        {
            bool isFull = true;
            for (int row = 0; row < tile.pixels.rows.size(); ++row) {
                if (tile.isRowFull(row)) {
                    sink.copy(tile, row, 0, tile.pixels.columns.size());
                } else {
                    copySpans(row);
                    isFull = false;
                }
            }
            return isFull;
        }

    private:
        SINEW_KERNEL void copySpans(int row) const
        {
            double const* const owner = tile.owner[row];
            int const columns = tile.pixels.columns.size();
            for (int first = 0, last = 0; first < columns; first = last) {
                bool const isFree = owner[first] == RasterTile::kFree;
                last = first + 1;
                while (last < columns && (owner[last] == RasterTile::kFree) == isFree) ++last;
                if (!isFree) sink.copy(tile, row, first, last);
            }
        }
    };

    SINEW_KERNEL void copy(RasterTile const& tile, int row, int first, int last)
    {
        std::size_t const at = index_(tile.pixels.columns.first, tile.pixels.rows.first + row);
        if (values_) {
            double const* const x = drawn_.x.pixels[row];
            double const* const y = drawn_.y.pixels[row];
            Point* const out = values_ + at;
            for (int i = first; i < last; ++i) out[i] = {x[i], y[i]};
        }
        if (scalars_) copyScalars(drawn_.scalar.pixels[row], scalars_ + at, first, last);
        if (found_ != nullptr) std::fill(found_ + at + first, found_ + at + last, true);
        foundCount_ += asIndex(last - first);
    }

    SINEW_KERNEL void copyScalars(float const* scalars, float* out, int first, int last) const
    {
        if (drawsScalars_) {
            std::copy(scalars + first, scalars + last, out + first);
        } else {
            std::fill(out + first, out + last, kNoScalar);
        }
    }

    void writeNotFound(RasterTile const& tile) const
    {
        for (int row = 0; row < tile.pixels.rows.size(); ++row) {
            double const* const owner = tile.owner[row];
            bool* const found = found_ + index_(tile.pixels.columns.first, tile.pixels.rows.first + row);
            for (int i = 0; i < tile.pixels.columns.size(); ++i) {
                if (owner[i] == RasterTile::kFree) found[i] = false;
            }
        }
    }

    void writeOutside(NearestBoundary const& nearest, Point const& p, std::size_t at)
    {
        PreparedTriangle triangle;
        bool const isFound = prepareTriangleOf(f_, nearest.triangle, &triangle);
        if (isFound) {
            interpolate(f_, triangle.corners, weightsOf(triangle, p), values_ ? values_ + at : nullptr,
                        scalars_ ? scalars_ + at : nullptr);
        }
        if (found_) found_[at] = isFound;
        foundCount_ += isFound ? 1U : 0U;
    }

    MeshFunction2D const& f_;
    PixelIndex const index_;
    Outside const outside_;
    Point* const values_;
    float* const scalars_;
    bool* const found_;
    bool const drawsScalars_;
    BoundaryBlock boundary_;
    std::size_t foundCount_ = 0;
    ValueTile drawn_;
};

// Writes locations.
class LocationSink
{
public:
    LocationSink(MeshFunction2D const& f, PixelIndex const& index, Outside outside, VectorWidth width,
                 Location* locations)
        : f_(f), index_(index), outside_(outside), locations_(locations), boundary_(f, width)
    {
    }

    std::size_t foundCount() const { return foundCount_; }

    // Locations are computed from spans of pixels of the same triangle, because they hold much besides the weights.
    SINEW_KERNEL OwnerDrawer drawerOf(PreparedTriangle const&) const { return {}; }

    SINEW_KERNEL void prefetch(PixelBox const& pixels, int row) const
    {
        prefetchElements(locations_ + index_(pixels.columns.first, pixels.rows.first + row), pixels.columns.size());
    }

    bool flush(DrawnTriangles const& triangles, RasterTile const& tile, VectorWidth width)
    {
        return dispatch(width, ForSpans<LocationSink>{triangles, tile, *this});
    }

    SINEW_KERNEL void span(PreparedTriangle const& t, double const* x, double y, int column, int row, int count) const
    {
        Location* const out = locations_ + index_(column, row);
        RowWeights const weights(t, y);
        for (int i = 0; i < count; ++i) out[i] = locationOf(t, weights.at(x[i]), LocationRule::inside);
        foundCount_ += asIndex(count);
    }

    void rest(RasterTile const& tile)
    {
        forFreePixels(tile, [this](FreePixels const& pixels) {
            NearestBoundary nearest[BoundaryBlock::kMostPoints]; // none
            if (outside_ == Outside::extrapolated) boundary_.find(pixels.points, pixels.count, nearest);
            for (std::size_t i = 0; i < pixels.count; ++i) {
                write(locationAtBoundary(f_, nearest[i], pixels.points[i]), index_(pixels.columns[i], pixels.rows[i]));
            }
        });
    }

    void single(Point const& p, int column, int row) { write(locate(f_, p, outside_), index_(column, row)); }

private:
    void write(Location const& location, std::size_t at)
    {
        locations_[at] = location;
        foundCount_ += location.rule != LocationRule::none ? 1U : 0U;
    }

    MeshFunction2D const& f_;
    PixelIndex const index_;
    Outside const outside_;
    Location* const locations_;
    BoundaryBlock boundary_;
    mutable std::size_t foundCount_ = 0;
};

// Runs a sink over a raster. The older extrapolation looks at no triangle first, so it has nothing to draw.
template <typename Sink>
std::size_t run(MeshFunction2D const& f, Raster const& raster, Outside outside, VectorWidth width, ProgressMeter* meter,
                Sink&& sink)
{
    if (raster.width <= 0 || raster.height <= 0) return 0;
    if (hasGrid(f) && (outside == Outside::excluded || f.extrapolateFlag)) {
        RasterJob<Sink>(f, raster, width, sink, meter).run();
        return sink.foundCount();
    }
    for (int row = 0; row < raster.height; ++row) {
        if (meter) meter->reached(fractionOf(row, raster.height));
        for (int column = 0; column < raster.width; ++column) sink.single(pixelPoint(raster, column, row), column, row);
    }
    return sink.foundCount();
}

} // namespace

std::size_t detail::valuesOnRaster(MeshFunction2D const& f, Raster const& raster, Outside outside, Point* values,
                                   float* scalars, bool* found, VectorWidth width, ProgressMeter* meter)
{
    return run(f, raster, outside, width, meter,
               ValueSink(f, PixelIndex(raster), outside, width, values, scalars, found));
}

std::size_t detail::locationsOnRaster(MeshFunction2D const& f, Raster const& raster, Outside outside,
                                      Location* locations, VectorWidth width, ProgressMeter* meter)
{
    return run(f, raster, outside, width, meter, LocationSink(f, PixelIndex(raster), outside, width, locations));
}

Point pixelPoint(Raster const& raster, int column, int row)
{
    return {rasterCoordinate(raster.origin.x, raster.step.x, column),
            rasterCoordinate(raster.origin.y, raster.step.y, row)};
}

std::size_t evaluateRaster(MeshFunction2D const& function, Raster const& raster, Point* values, float* scalars,
                           bool* found)
{
    return valuesOnRaster(function, raster, Outside::excluded, values, scalars, found, widestVectors());
}

std::size_t extrapolateRaster(MeshFunction2D const& function, Raster const& raster, Point* values, float* scalars,
                              bool* found)
{
    return valuesOnRaster(function, raster, Outside::extrapolated, values, scalars, found, widestVectors());
}

std::size_t locateRaster(MeshFunction2D const& function, Raster const& raster, Location* locations, Outside outside)
{
    return locationsOnRaster(function, raster, outside, locations, widestVectors());
}

} // namespace sinew
