#include <sinew/meshfunc/detail/cell_triangles.h>

#include <sinew/meshfunc/detail/mesh_cells.h>

namespace sinew::detail {

// One branch a triangle, not three: which weight fails first is as good as random, and a wrongly foreseen branch costs
// more than the two other comparisons. A NaN weight is not below the tolerance and accepts, as it does everywhere.
inline bool CellTriangles::accepts(std::size_t i, tzNM::vect2<double> const& p, Located* located) const
{
    LocatedTriangle const& triangle = triangles_[i];
    tzNM::vect2<double> const d = p - triangle.origin;
    double const u = triangle.inverse[0] * d.x + triangle.inverse[1] * d.y;
    double const v = triangle.inverse[2] * d.x + triangle.inverse[3] * d.y;
    double const w = 1 - u - v;
    if (static_cast<int>(u < -kInsideTolerance) | static_cast<int>(v < -kInsideTolerance) |
        static_cast<int>(w < -kInsideTolerance)) {
        return false;
    }
    *located = {triangle.corners, u, v, w};
    return true;
}

bool CellTriangles::find(tzNM::vect2<double> const& p, Located* located) const
{
    if (root_.size[0] == 0) {
        for (std::size_t i = 0; i < triangles_.size(); ++i) {
            if (accepts(i, p, located)) return true;
        }
        return false;
    }
    Reference reference = slots_[root_.index(root_.cell(p.x, 0), root_.cell(p.y, 1))];
    while (reference & kGrid) {
        if (reference == kNothing) return false;
        FinerGrid const& grid = grids_[reference & ~kGrid];
        reference = slots_[grid.index(grid.cell(p.x, 0), grid.cell(p.y, 1))];
    }
    for (Reference const* entry = &slots_[reference];; ++entry) {
        bool const last = *entry & kGrid; // a complement, where indices are smaller
        if (accepts(last ? ~*entry : *entry, p, located)) return true;
        if (last) return false;
    }
}

std::size_t CellTriangles::memory() const
{
    return sizeof *this + triangles_.capacity() * sizeof(LocatedTriangle) + slots_.capacity() * sizeof(Reference) +
           grids_.capacity() * sizeof(FinerGrid);
}

} // namespace sinew::detail
