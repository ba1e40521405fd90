#include <sinew/meshfunc/detail/raster_axis.h>

#include <algorithm>
#include <cmath>

#include <sinew/detail/as_index.h>
#include <sinew/meshfunc/detail/mesh_search.h>

namespace sinew::detail {

namespace {

// `index` rounded to a place in the run. NaN becomes the first one.
int clampedIndex(double index, PixelRange const& run)
{
    if (!(index > run.first)) return run.first;
    return index < run.last ? static_cast<int>(index) : run.last;
}

} // namespace

RasterAxis::RasterAxis(MeshFunction2D const& f, int axis, double origin, double step, int count)
    : isDescending_(step < 0), perStep_(1 / std::fabs(step))
{
    points_.reserve(asIndex(count));
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

// The estimates are nearly always right. Where rounding makes them wrong, a binary search finds the place.
int RasterAxis::firstNotBelow(PixelRange const& run, double key) const
{
    int const i = clampedIndex(std::ceil((key - keys_.front()) * perStep_), run);
    bool const isBehind = i == run.first || keys_[asIndex(i) - 1] < key;
    bool const isBefore = i == run.last || keys_[asIndex(i)] >= key;
    if (isBehind && isBefore) return i;
    auto const at = std::lower_bound(keys_.begin() + run.first, keys_.begin() + run.last, key);
    return static_cast<int>(at - keys_.begin());
}

int RasterAxis::firstAbove(PixelRange const& run, double key) const
{
    int const i = clampedIndex(std::floor((key - keys_.front()) * perStep_) + 1, run);
    bool const isBehind = i == run.first || keys_[asIndex(i) - 1] <= key;
    bool const isBefore = i == run.last || keys_[asIndex(i)] > key;
    if (isBehind && isBefore) return i;
    auto const at = std::upper_bound(keys_.begin() + run.first, keys_.begin() + run.last, key);
    return static_cast<int>(at - keys_.begin());
}

PixelRange RasterAxis::within(PixelRange const& run, double low, double high) const
{
    return isDescending_ ? PixelRange{firstNotBelow(run, -high), firstAbove(run, -low)}
                         : PixelRange{firstNotBelow(run, low), firstAbove(run, high)};
}

} // namespace sinew::detail
