#pragma once

/// One axis of a raster: the coordinates of its columns or rows, and the grid cells that they fall into.

#include <cstddef>
#include <utility>
#include <vector>

#include <sinew/meshfunc/mesh_function_2d.h>

namespace sinew::detail {

/// The coordinate of a column or row.
inline double rasterCoordinate(double origin, double step, int index)
{
    return origin + index * step;
}

/// Consecutive columns or rows first .. last - 1. Empty if last <= first.
struct PixelRange
{
    int first;
    int last;

    int size() const { return last - first; }
};

/// Consecutive columns or rows that fall into the same column or row of grid cells.
struct CellRun
{
    static constexpr int kOutsideGrid = -1;

    PixelRange pixels;
    int cell; ///< column or row of cells, or kOutsideGrid
};

/// The columns (axis 0) or rows (axis 1) of a raster over the grid of a mesh function.
class RasterAxis
{
public:
    /// The function must have a grid.
    RasterAxis(MeshFunction2D const& f, int axis, double origin, double step, int count);

    /// Whether no coordinate is NaN, in the frame of the mesh or in that of its cells. If not, the other functions must
    /// not be used.
    bool isOrdered() const { return isOrdered_; }

    double const* points() const { return points_.data(); }
    std::vector<CellRun> const& runs() const { return runs_; }

    /// The part of `run` whose coordinates lie in [low, high].
    PixelRange within(PixelRange const& run, double low, double high) const;

private:
    // A place where the keys pass a number, by an estimate that is nearly always right.
    PixelRange estimateWithin(PixelRange const& run, double low, double high) const;
    PixelRange searchWithin(PixelRange const& run, double low, double high) const;

    std::vector<double> points_;
    std::vector<double> keys_; // the coordinates with the sign that makes them ascend
    std::vector<CellRun> runs_;
    bool isDescending_;
    bool isOrdered_ = true;
    double perStep_; // 1 over the distance of neighbouring keys
};

// Inline, because a small triangle has few pixels to share the time of this.
inline PixelRange RasterAxis::within(PixelRange const& run, double low, double high) const
{
    if (isDescending_) std::swap(low, high);
    double const sign = isDescending_ ? -1.0 : 1.0;
    double const lowKey = sign * low;
    double const highKey = sign * high;
    PixelRange const range = estimateWithin(run, lowKey, highKey);
    double const* const keys = keys_.data();
    bool const isRight = (range.first == run.first || keys[range.first - 1] < lowKey) &&
                         (range.first == run.last || keys[range.first] >= lowKey) &&
                         (range.last == run.first || keys[range.last - 1] <= highKey) &&
                         (range.last == run.last || keys[range.last] > highKey);
    return isRight ? range : searchWithin(run, lowKey, highKey);
}

inline PixelRange RasterAxis::estimateWithin(PixelRange const& run, double low, double high) const
{
    // `index` rounded down to a place in the run. NaN becomes the first one.
    auto const clamped = [&run](double index) {
        double const notBelow = index > run.first ? index : run.first;
        return static_cast<int>(notBelow < run.last ? notBelow : run.last);
    };
    double const toLow = (low - keys_.front()) * perStep_;
    double const toHigh = (high - keys_.front()) * perStep_;
    int const first = clamped(toLow);
    return {first + (first < toLow && first < run.last ? 1 : 0), clamped(toHigh + 1)};
}

} // namespace sinew::detail
