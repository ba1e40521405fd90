// Values and gradients of an implicit function at arrays of points, with progress.

#include <sinew/fields/implicit.h>

#include <algorithm>

#include <sinew/core/detail/batch_progress.h>
#include <sinew/detail/element_count.h>

namespace sinew {

using namespace detail;

namespace {

// Points of a part: about as many as take some milliseconds, in whole groups of 64, which the batches convert together.
std::size_t partSize(Implicit const& field)
{
    constexpr std::size_t kGroup = 64;
    constexpr std::size_t kWork = std::size_t{1} << 21; // points times centres
    std::size_t const groups = kWork / kGroup / (field.centres.size() + 1);
    return kGroup * std::clamp<std::size_t>(groups, 1, 1024);
}

template <typename T, typename Compute>
bool computeWithProgress(Implicit const& field, RealArray const& points, T* out, Progress const& progress,
                         Compute const& compute)
{
    auto const finished = withProgress(progress, [&](ProgressMeter& meter) {
        std::vector<T> results(elementCount<T>(points.count));
        forPartsWithProgress(points, partSize(field), meter,
                             [&](RealArray const& part, std::size_t first) { compute(part, results.data() + first); });
        meter.finish();
        std::copy(results.begin(), results.end(), out);
        return true;
    });
    return finished.has_value();
}

} // namespace

bool evaluateMany(Implicit const& field, RealArray const& points, double* values, Progress const& progress)
{
    return computeWithProgress(field, points, values, progress,
                               [&](RealArray const& part, double* out) { evaluateMany(field, part, out); });
}

bool gradientMany(Implicit const& field, RealArray const& points, Vector3* gradients, Progress const& progress)
{
    return computeWithProgress(field, points, gradients, progress,
                               [&](RealArray const& part, Vector3* out) { gradientMany(field, part, out); });
}

} // namespace sinew
