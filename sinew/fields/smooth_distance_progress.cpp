// Smooth distances of arrays of points with progress.

#include <sinew/fields/smooth_distance.h>

#include <algorithm>

#include <sinew/core/detail/batch_progress.h>
#include <sinew/fields/detail/distance_results.h>

namespace sinew {

using namespace detail;

namespace {

// Points of a part: about as many as take some milliseconds, but so many that the chunks of the polyline, which each
// part makes anew, take a small part of the time.
std::size_t partSize(std::size_t vertexCount)
{
    constexpr std::size_t kWork = std::size_t{1} << 20; // points times vertices
    return std::clamp<std::size_t>(kWork / std::max<std::size_t>(vertexCount, 1), 64, 16384);
}

} // namespace

bool smoothDistMany(std::vector<Vector3> const& polyline, RealArray const& queries, double h, double* dists,
                    Vector3* grads, Matrix3* hessians, Progress const& progress)
{
    auto const finished = withProgress(progress, [&](ProgressMeter& meter) {
        bool const isWritten = polyline.size() >= 2 && queries.count > 0;
        std::size_t const count = isWritten ? queries.count : 0;
        DistanceResults results(count, dists, grads, hessians);
        auto const evaluate = [&](RealArray const& part, std::size_t first) {
            smoothDistMany(polyline, part, h, results.dists(first), results.grads(first), results.hessians(first));
        };
        if (isWritten) forPartsWithProgress(queries, partSize(polyline.size()), meter, evaluate);
        meter.finish();
        results.copy();
        return true;
    });
    return finished.has_value();
}

} // namespace sinew
