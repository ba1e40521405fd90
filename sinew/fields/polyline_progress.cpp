// Projections of arrays of points with progress: on one polyline, and on a set of them.

#include <sinew/fields/polyline_projector.h>
#include <sinew/fields/polyline_set.h>

#include <algorithm>
#include <vector>

#include <sinew/core/detail/batch_progress.h>
#include <sinew/detail/element_count.h>

namespace sinew {

using namespace detail;

namespace {

// Long enough for a batch to sort its queries, and short enough to be done in some milliseconds.
constexpr std::size_t kPart = 8192;

template <typename Hit, typename Target>
bool projectWithProgress(Target const& target, RealArray const& queries, Hit* hits, Progress const& progress)
{
    auto const finished = withProgress(progress, [&](ProgressMeter& meter) {
        std::vector<Hit> results(elementCount<Hit>(queries.count));
        forPartsWithProgress(queries, kPart, meter, [&](RealArray const& part, std::size_t first) {
            projectMany(target, part, results.data() + first);
        });
        meter.finish();
        std::copy(results.begin(), results.end(), hits);
        return true;
    });
    return finished.has_value();
}

} // namespace

bool projectMany(PolylineProjector const& polyline, RealArray const& queries, PolylineHit* hits,
                 Progress const& progress)
{
    return projectWithProgress(polyline, queries, hits, progress);
}

bool projectMany(PolylineSet const& set, RealArray const& queries, PolylineSetHit* hits, Progress const& progress)
{
    return projectWithProgress(set, queries, hits, progress);
}

} // namespace sinew
