#include <sinew/meshfunc/detail/raster_axis.h>

#include <algorithm>
#include <cmath>

#include <sinew/detail/element_count.h>
#include <sinew/meshfunc/detail/mesh_search.h>

namespace sinew::detail {

RasterAxis::RasterAxis(MeshFunction2D const& f, int axis, double origin, double step, int count)
    : isDescending_(step < 0), perStep_(1 / std::fabs(step))
{
    points_.reserve(elementCount<double>(count));
    for (int i = 0; i < count; ++i) {
        double const c = rasterCoordinate(origin, step, i);
        points_.push_back(c);
        int cell = CellRun::kOutsideGrid;
        bool isNaN = false;
        if (!cellOfPoint(f, c, axis, &cell, &isNaN)) cell = CellRun::kOutsideGrid;
        isOrdered_ = isOrdered_ && !isNaN;
        if (runs_.empty() || runs_.back().cell != cell) runs_.push_back({{i, i}, cell});
        runs_.back().pixels.last = i + 1;
    }
    keys_ = points_;
    if (isDescending_) {
        for (double& key : keys_) key = -key;
    }
}

PixelRange RasterAxis::searchWithin(PixelRange const& run, double low, double high) const
{
    auto const begin = keys_.begin();
    auto const first = std::lower_bound(begin + run.first, begin + run.last, low);
    auto const last = std::upper_bound(begin + run.first, begin + run.last, high);
    return {static_cast<int>(first - begin), static_cast<int>(last - begin)};
}

} // namespace sinew::detail
