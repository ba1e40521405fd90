#pragma once

/// Looks up an array of points in the order that is fastest, and tells the progress.

#include <cstddef>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/meshfunc/detail/visiting_order.h>

namespace sinew::detail {

/// Calls use(i) once for each i below `count`, in the order of `VisitingOrder`.
template <typename Use>
void visitWithProgress(MeshFunction2D const& f, tzNM::vect2<double> const* points, std::size_t count,
                       ProgressMeter& meter, Use const& use)
{
    constexpr std::size_t kPointsPerLook = 128; // take longer than reading the clock, and less than a millisecond
    std::size_t done = 0;
    VisitingOrder(f, points, count).visit([&](std::size_t i) {
        if (done % kPointsPerLook == 0) meter.reached(fractionOf(done, count));
        ++done;
        use(i);
    });
}

} // namespace sinew::detail
