#include <sinew/meshfunc/detail/triangle_locator.h>

#include <algorithm>
#include <cmath>

#include <sinew/meshfunc/detail/mesh_cells.h>

namespace sinew::detail {

// One branch a triangle, not three: which weight fails first is as good as random, and a wrongly foreseen branch costs
// more than the two other comparisons. A NaN weight is not below the tolerance and accepts, as it does everywhere.
inline bool TriangleLocator::accepts(std::size_t t, tzNM::vect2<double> const& p, Located* located) const
{
    Triangle const& triangle = triangles_[t];
    tzNM::vect2<double> const d = p - triangle.origin;
    double const u = triangle.inverse[0] * d.x + triangle.inverse[1] * d.y;
    double const v = triangle.inverse[2] * d.x + triangle.inverse[3] * d.y;
    double const w = 1 - u - v;
    if (static_cast<int>(u < -kInsideTolerance) | static_cast<int>(v < -kInsideTolerance) |
        static_cast<int>(w < -kInsideTolerance)) {
        return false;
    }
    *located = {triangle.corners, u, v, w};
    return triangle.corners[0] >= 0;
}

bool TriangleLocator::find(MeshFunction2D const& f, std::size_t cell, tzNM::vect2<double> const& p,
                           Located* located) const
{
    Reference reference = roots_[cell];
    if (reference == kNothing) {
        for (int t : f.gridCells[cell]) {
            // The list is public: an index that was never there must not be followed.
            if (static_cast<std::size_t>(t) < triangles_.size() && accepts(static_cast<std::size_t>(t), p, located)) {
                return true;
            }
        }
        return false;
    }
    while (reference & kGrid) {
        if (reference == kNothing) return false;
        Grid const& grid = grids_[reference & ~kGrid];
        reference = cells_[grid.index(grid.cell(p.x, 0), grid.cell(p.y, 1))];
    }
    for (int const* entry = &lists_[reference];; ++entry) {
        bool const last = *entry < 0;
        if (accepts(static_cast<std::size_t>(last ? ~*entry : *entry), p, located)) return true;
        if (last) return false;
    }
}

std::size_t TriangleLocator::memory() const
{
    return sizeof *this + triangles_.capacity() * sizeof(Triangle) + roots_.capacity() * sizeof(Reference) +
           grids_.capacity() * sizeof(Grid) + cells_.capacity() * sizeof(Reference) + lists_.capacity() * sizeof(int);
}

} // namespace sinew::detail
