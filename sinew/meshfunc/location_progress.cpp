// Locations of an array of points with progress.

#include <sinew/meshfunc/location.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/detail/element_count.h>
#include <sinew/meshfunc/detail/visit_with_progress.h>

namespace sinew {

using namespace detail;

std::optional<std::size_t> locateMany(MeshFunction2D const& function, tzNM::vect2<double> const* points,
                                      std::size_t count, Location* locations, Outside outside, Progress const& progress)
{
    return withProgress(progress, [&](ProgressMeter& meter) {
        std::vector<Location> results(elementCount<Location>(static_cast<std::int64_t>(count)));
        std::size_t located = 0;
        visitWithProgress(function, points, count, meter, [&](std::size_t i) {
            results[i] = locate(function, points[i], outside);
            located += results[i].rule != LocationRule::none ? 1U : 0U;
        });
        meter.finish();
        std::copy(results.begin(), results.end(), locations);
        return located;
    });
}

} // namespace sinew
