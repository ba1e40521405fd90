// Locations of an array of points with progress.

#include <sinew/meshfunc/location.h>

#include <algorithm>
#include <vector>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/detail/element_count.h>
#include <sinew/meshfunc/detail/visit_with_progress.h>

namespace sinew {

using namespace detail;

namespace {

template <typename Points>
std::optional<std::size_t> locateEach(MeshFunction2D const& function, Points const& points, Location* locations,
                                      Outside outside, Progress const& progress)
{
    return withProgress(progress, [&](ProgressMeter& meter) {
        std::vector<Location> results(elementCount<Location>(points.count));
        std::size_t located = 0;
        visitWithProgress(function, points, meter, [&](std::size_t i, tzNM::vect2<double> const& p) {
            results[i] = locate(function, p, outside);
            located += results[i].rule != LocationRule::none ? 1U : 0U;
        });
        meter.finish();
        std::copy(results.begin(), results.end(), locations);
        return located;
    });
}

} // namespace

std::optional<std::size_t> locateMany(MeshFunction2D const& function, tzNM::vect2<double> const* points,
                                      std::size_t count, Location* locations, Outside outside, Progress const& progress)
{
    return locateEach(function, PointArray{points, count}, locations, outside, progress);
}

std::optional<std::size_t> locateMany(MeshFunction2D const& function, RealArray const& points, Location* locations,
                                      Outside outside, Progress const& progress)
{
    return locateEach(function, PointView(points), locations, outside, progress);
}

} // namespace sinew
