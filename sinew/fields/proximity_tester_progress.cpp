// Proximity tests of arrays of points with progress.

#include <sinew/fields/proximity_tester.h>

#include <algorithm>
#include <memory>

#include <sinew/core/detail/batch_progress.h>
#include <sinew/detail/element_count.h>

namespace sinew {

using namespace detail;

namespace {

constexpr std::size_t kPart = std::size_t{1} << 18; // points that take about a millisecond

} // namespace

bool testMany(ProximityTester const& tester, RealArray const& points, bool* results, Progress const& progress)
{
    auto const finished = withProgress(progress, [&](ProgressMeter& meter) {
        auto const own = std::make_unique<bool[]>(elementCount<bool>(points.count));
        forPartsWithProgress(points, kPart, meter, [&](RealArray const& part, std::size_t first) {
            testMany(tester, part, own.get() + first);
        });
        meter.finish();
        std::copy_n(own.get(), points.count, results);
        return true;
    });
    return finished.has_value();
}

} // namespace sinew
