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

// Writes values, scalars and whether there are any.
class ValueSink
{
public:
    ValueSink(MeshFunction2D const& f, PixelIndex const& index, Outside outside, VectorWidth width, Point* values,
              float* scalars, bool* found)
        : f_(f), index_(index), outside_(outside), values_(values), scalars_(scalars), found_(found),
          hasScalar_(hasScalar(f)), boundary_(f, width)
    {
    }

    std::size_t foundCount() const { return foundCount_; }

    SINEW_KERNEL void span(PreparedTriangle const& t, double const* x, double y, int column, int row, int count) const
    {
        std::size_t const at = index_(column, row);
        if (values_) writeValues(t, x, y, values_ + at, count);
        if (scalars_) writeScalars(t, x, y, scalars_ + at, count);
        if (found_ != nullptr) std::fill_n(found_ + at, count, true);
        foundCount_ += asIndex(count);
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
    static constexpr int kFewPixels = 4;

    SINEW_KERNEL void writeValues(PreparedTriangle const& t, double const* x, double y, Point* out, int count) const
    {
        Point const a = f_.values[asIndex(t.corners[0])];
        Point const b = f_.values[asIndex(t.corners[1])];
        Point const c = f_.values[asIndex(t.corners[2])];
        RowWeights const weights(t, y);
        if (count < kFewPixels) {
            for (int i = 0; i < count; ++i) {
                Weights const w = weights.at(x[i]);
                out[i] = {interpolated(w, a.x, b.x, c.x), interpolated(w, a.y, b.y, c.y)};
            }
            return;
        }
        // The components are computed separately, because compilers do not vectorise loops over pairs of them reliably,
        // and in whole blocks, because a loop over the rest takes longer than the pixels behind the end.
        alignas(kCacheLine) double xs[RasterTile::kColumns];
        alignas(kCacheLine) double ys[RasterTile::kColumns];
        int const blocks = (count + RasterTile::kBlock - 1) / RasterTile::kBlock;
        for (int i = 0; i < blocks * RasterTile::kBlock; ++i) {
            Weights const w = weights.at(x[i]);
            xs[i] = interpolated(w, a.x, b.x, c.x);
            ys[i] = interpolated(w, a.y, b.y, c.y);
        }
        // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): the blocks have at least `count` pixels
        for (int i = 0; i < count; ++i) out[i] = {xs[i], ys[i]};
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

    SINEW_KERNEL void writeScalars(PreparedTriangle const& t, double const* x, double y, float* out, int count) const
    {
        if (!hasScalar_) {
            std::fill_n(out, count, kNoScalar);
            return;
        }
        float const a = f_.normaldots[asIndex(t.corners[0])];
        float const b = f_.normaldots[asIndex(t.corners[1])];
        float const c = f_.normaldots[asIndex(t.corners[2])];
        RowWeights const weights(t, y);
        for (int i = 0; i < count; ++i) out[i] = interpolated(weights.at(x[i]), a, b, c);
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
    bool const hasScalar_;
    BoundaryBlock boundary_;
    mutable std::size_t foundCount_ = 0;
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
