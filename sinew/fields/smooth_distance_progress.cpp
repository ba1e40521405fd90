// Smooth distances of arrays of points with progress.

#include <sinew/fields/smooth_distance.h>

#include <algorithm>

#include <sinew/core/detail/batch_progress.h>
#include <sinew/detail/element_count.h>

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

// An array for results that the host wants, with as many elements as its own.
template <typename T>
std::vector<T> resultsFor(T const* wanted, std::size_t count)
{
    return std::vector<T>(wanted ? elementCount<T>(count) : 0);
}

template <typename T>
T* from(std::vector<T>& results, std::size_t first)
{
    return results.empty() ? nullptr : results.data() + first;
}

} // namespace

bool smoothDistMany(std::vector<Vector3> const& polyline, RealArray const& queries, double h, double* dists,
                    Vector3* grads, Matrix3* hessians, Progress const& progress)
{
    auto const finished = withProgress(progress, [&](ProgressMeter& meter) {
        bool const isWritten = polyline.size() >= 2 && queries.count > 0;
        std::size_t const count = isWritten ? queries.count : 0;
        std::vector<double> newDists = resultsFor(dists, count);
        std::vector<Vector3> newGrads = resultsFor(grads, count);
        std::vector<Matrix3> newHessians = resultsFor(hessians, count);
        auto const evaluate = [&](RealArray const& part, std::size_t first) {
            smoothDistMany(polyline, part, h, from(newDists, first), from(newGrads, first), from(newHessians, first));
        };
        if (isWritten) forPartsWithProgress(queries, partSize(polyline.size()), meter, evaluate);
        meter.finish();
        std::copy(newDists.begin(), newDists.end(), dists);
        std::copy(newGrads.begin(), newGrads.end(), grads);
        std::copy(newHessians.begin(), newHessians.end(), hessians);
        return true;
    });
    return finished.has_value();
}

} // namespace sinew
