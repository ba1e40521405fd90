// The raster queries with progress: they fill a raster without gaps, which is copied row by row.

#include <sinew/meshfunc/raster.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/detail/as_index.h>
#include <sinew/detail/element_count.h>
#include <sinew/meshfunc/detail/raster_query.h>
#include <sinew/meshfunc/detail/value_arrays.h>

namespace sinew {

using namespace detail;

namespace {

Raster withoutGaps(Raster raster)
{
    raster.rowStride = 0;
    return raster;
}

std::int64_t pixelCount(Raster const& raster)
{
    return static_cast<std::int64_t>(std::max(raster.width, 0)) * std::max(raster.height, 0);
}

// Calls copyRow(from, to, count) for each row: its first index without gaps and in the arrays of the host.
template <typename CopyRow>
void forRows(Raster const& raster, CopyRow const& copyRow)
{
    if (pixelCount(raster) == 0) return;
    std::size_t const width = asIndex(raster.width);
    std::size_t const stride = raster.rowStride > 0 ? raster.rowStride : width;
    for (std::size_t row = 0; row < asIndex(raster.height); ++row) copyRow(row * width, row * stride, width);
}

std::optional<std::size_t> valuesWithProgress(MeshFunction2D const& function, Raster const& raster, Outside outside,
                                              ValueArrays const& wanted, Progress const& progress)
{
    return withProgress(progress, [&](ProgressMeter& meter) {
        OwnValueArrays results(wanted, pixelCount(raster));
        ValueArrays const own = results.arrays();
        std::size_t const foundCount = valuesOnRaster(function, withoutGaps(raster), outside, own.values, own.scalars,
                                                      own.found, widestVectors(), &meter);
        meter.finish();
        forRows(raster, [&](std::size_t from, std::size_t to, std::size_t count) { results.copy(from, to, count); });
        return foundCount;
    });
}

} // namespace

std::optional<std::size_t> evaluateRaster(MeshFunction2D const& function, Raster const& raster,
                                          tzNM::vect2<double>* values, float* scalars, bool* found,
                                          Progress const& progress)
{
    return valuesWithProgress(function, raster, Outside::excluded, {values, scalars, found}, progress);
}

std::optional<std::size_t> extrapolateRaster(MeshFunction2D const& function, Raster const& raster,
                                             tzNM::vect2<double>* values, float* scalars, bool* found,
                                             Progress const& progress)
{
    return valuesWithProgress(function, raster, Outside::extrapolated, {values, scalars, found}, progress);
}

std::optional<std::size_t> locateRaster(MeshFunction2D const& function, Raster const& raster, Location* locations,
                                        Outside outside, Progress const& progress)
{
    return withProgress(progress, [&](ProgressMeter& meter) {
        std::vector<Location> results(elementCount<Location>(pixelCount(raster)));
        std::size_t const locatedCount =
            locationsOnRaster(function, withoutGaps(raster), outside, results.data(), widestVectors(), &meter);
        meter.finish();
        forRows(raster, [&](std::size_t from, std::size_t to, std::size_t count) {
            std::copy_n(results.data() + from, count, locations + to);
        });
        return locatedCount;
    });
}

} // namespace sinew
