#pragma once

/// Looks up an array of points in the order that is fastest, and tells the progress.

#include <cstddef>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/meshfunc/detail/visiting_order.h>

namespace sinew::detail {

/// The number of points that take longer than reading the clock, and less than a millisecond.
inline constexpr std::size_t kPointsPerLook = 128;

/// Calls use(i, p) once for each point p, with its index i, in the order of `VisitingOrder`.
/// @param pointsPerLook  number of points between two looks at the meter.
template <typename Points, typename Use>
void visitWithProgress(MeshFunction2D const& f, Points const& points, ProgressMeter& meter, Use const& use,
                       std::size_t pointsPerLook = kPointsPerLook)
{
    std::size_t done = 0;
    VisitingOrder(f, points).visit(points, [&](std::size_t i, tzNM::vect2<double> const& p) {
        if (done % pointsPerLook == 0) meter.reached(fractionOf(done, points.count));
        ++done;
        use(i, p);
    });
}

} // namespace sinew::detail
