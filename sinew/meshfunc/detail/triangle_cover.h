#pragma once

/// Conservative tests of where a triangle can accept points. The finer grids use them to leave triangles out of cells.
///
/// A triangle must be listed in every cell that has a point it accepts. Three facts ensure this:
///
/// - Corners of boxes and points get their cell from the same function, which never falls as the coordinate rises. A
///   box therefore touches the cells of all points inside it, whatever was rounded.
/// - A triangle accepts points outside its box only because of the tolerance of the weights, 1e-8, and of rounding. The
///   weights are rounded by a few units in the last place times extent^2 / |determinant|. Below 1e8 that moves the
///   border by less than 1e-7 of the extent, and boxes are widened by 1e-6 of it. Thinner triangles, and triangles with
///   a coordinate that is not finite, are listed in every cell.
/// - A cell inside the box is left out if one weight is below -1e-6 all over it, which has the same reserve.

#include <vector>

#include <sinew/framework/vect2.h>
#include <sinew/meshfunc/detail/box.h>
#include <sinew/meshfunc/detail/finer_grid.h>
#include <sinew/meshfunc/detail/prepared_triangle.h>

namespace sinew::detail {

/// A box around all points that the triangle can accept: its own box, widened, or the whole plane.
Box coverOf(PreparedTriangle const& triangle, std::vector<tzNM::vect2<double>> const& params);

/// The same for the triangle with these corners and this determinant, from `TriangleEdges`.
Box coverOf(tzNM::vect2<double> const& a, tzNM::vect2<double> const& b, tzNM::vect2<double> const& c,
            double determinant);

/// Whether the triangle may accept a point of the box. True if in doubt.
bool mayAcceptIn(PreparedTriangle const& triangle, Box const& box);

/// The largest distance, along each axis, by which a point of a cell may lie beyond the computed border of the cell.
tzNM::vect2<double> borderSlack(FinerGrid const& grid);

/// The rectangle of the cell in column `cx` and row `cy`, with `slack` around it.
Box cellBox(FinerGrid const& grid, int cx, int cy, tzNM::vect2<double> const& slack);

/// The part of the plane whose points fall into the cell, with `slack` around it. As cellBox(), except that the
/// outermost cells extend to infinity.
Box partOfCell(FinerGrid const& grid, int cx, int cy, tzNM::vect2<double> const& slack);

} // namespace sinew::detail
