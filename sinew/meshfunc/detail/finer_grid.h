#pragma once

/// A regular grid over a part of the plane, of any size and position.

#include <cassert>
#include <cstddef>

#include <sinew/detail/as_index.h>
#include <sinew/framework/vect2.h>
#include <sinew/meshfunc/detail/mesh_cells.h>

namespace sinew::detail {

/// A grid. Its cells are numbered column by column from `firstCell`.
struct FinerGrid
{
    tzNM::vect2<double> low;
    tzNM::vect2<double> scale; ///< cells per unit length; 0 along an axis without extent
    int size[2] = {0, 0};      ///< cells along x and y; at least 1 each once the grid is laid out
    std::size_t firstCell = 0;

    /// The column (axis 0) or row (axis 1) of the coordinate `c`.
    ///
    /// The result never falls as `c` rises: what lies between two coordinates lies between their cells. Coordinates
    /// outside the grid fall into the outermost cell; NaN falls into cell 0.
    int cell(double c, int axis) const
    {
        assert(size[axis] >= 1);
        double const s = (c - low[axis]) * scale[axis];
        if (!(s > 0)) return 0;
        int const last = size[axis] - 1;
        return s < last ? static_cast<int>(s) : last;
    }

    /// The number of the cell in column `cx` and row `cy`.
    std::size_t index(int cx, int cy) const { return firstCell + cellIndex(cx, cy, size[1]); }

    /// The number of the cell that `p` falls into.
    std::size_t indexOf(tzNM::vect2<double> const& p) const { return index(cell(p.x, 0), cell(p.y, 1)); }

    std::size_t cellCount() const { return asIndex(size[0]) * asIndex(size[1]); }
};

} // namespace sinew::detail
