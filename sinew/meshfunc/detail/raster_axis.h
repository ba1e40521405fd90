#pragma once

/// One axis of a raster: the coordinates of its columns or rows, and the grid cells that they fall into.

#include <cstddef>
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
    int firstNotBelow(PixelRange const& run, double key) const;
    int firstAbove(PixelRange const& run, double key) const;

    std::vector<double> points_;
    std::vector<double> keys_; // the coordinates with the sign that makes them ascend
    std::vector<CellRun> runs_;
    bool isDescending_;
    bool isOrdered_ = true;
    double perStep_; // 1 over the distance of neighbouring keys
};

} // namespace sinew::detail
