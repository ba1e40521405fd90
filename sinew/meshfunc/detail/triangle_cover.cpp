// Source: T. Akenine-Möller, Fast 3D triangle-box overlap testing, Journal of Graphics Tools 6(1), 2001. Our test looks
// only for a separating line along an edge of the triangle, because the box test has been made before. It computes
// weights instead of distances, because acceptance is defined by weights.

#include <sinew/meshfunc/detail/triangle_cover.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace sinew::detail {

namespace {

using Point = tzNM::vect2<double>;

// With extent^2 / |determinant| above this, rounding may let the triangle accept points far outside its box.
constexpr double kSliver = 1e8;

// Part of its extent by which the box of a triangle is widened on each side.
constexpr double kBoxMargin = 1e-6;

// A triangle whose weight stays below minus this all over a cell is not listed there. As with the margin of boxes,
// this is far more than the tolerance of the weights and rounding together.
constexpr double kWeightMargin = 1e-6;

// How far beyond the border of its cell a point may lie: this part of a cell's width, and this part of the largest
// coordinate, which exceeds the rounding of FinerGrid::cell() and of the border many times.
constexpr double kSlackOfCell = 1e-6;
constexpr double kSlackOfCoordinate = 1e-14;

// Width of a cell along an axis; 0 along an axis without extent.
double cellWidth(FinerGrid const& grid, int axis)
{
    return grid.scale[axis] > 0 ? 1 / grid.scale[axis] : 0;
}

} // namespace

Box coverOf(PreparedTriangle const& triangle, std::vector<Point> const& params)
{
    int const* const corners = triangle.corners;
    double const det = TriangleEdges(params, corners).determinant();
    return coverOf(params[asIndex(corners[0])], params[asIndex(corners[1])], params[asIndex(corners[2])], det);
}

Box coverOf(Point const& a, Point const& b, Point const& c, double determinant)
{
    Box box;
    for (Point const* corner : {&a, &b, &c}) box.include(*corner);
    double const extent = std::max(box.high.x - box.low.x, box.high.y - box.low.y);
    // Both tests are written so that a NaN leads to the whole plane.
    if (!(extent < kLargestExtent) || !(extent * extent <= kSliver * std::fabs(determinant))) return Box::plane();
    box.widen(kBoxMargin * extent);
    return box;
}

bool mayAcceptIn(PreparedTriangle const& triangle, Box const& box)
{
    Point const low = box.low - triangle.origin;
    Point const high = box.high - triangle.origin;
    // The largest value of a linear function over the box. It is taken at a corner.
    auto const largest = [&](double x, double y) {
        return std::max(x * low.x, x * high.x) + std::max(y * low.y, y * high.y);
    };
    double const* m = triangle.inverse;
    return largest(m[0], m[1]) >= -kWeightMargin && largest(m[2], m[3]) >= -kWeightMargin &&
           1 + largest(-m[0] - m[2], -m[1] - m[3]) >= -kWeightMargin;
}

Point borderSlack(FinerGrid const& grid)
{
    Point slack;
    for (int k = 0; k < 2; ++k) {
        double const width = cellWidth(grid, k);
        slack[k] = kSlackOfCell * width + kSlackOfCoordinate * (std::fabs(grid.low[k]) + grid.size[k] * width);
    }
    return slack;
}

Box cellBox(FinerGrid const& grid, int cx, int cy, Point const& slack)
{
    int const position[2] = {cx, cy};
    Box box;
    for (int k = 0; k < 2; ++k) {
        double const width = cellWidth(grid, k);
        box.low[k] = grid.low[k] + position[k] * width - slack[k];
        box.high[k] = grid.low[k] + (position[k] + 1) * width + slack[k];
    }
    return box;
}

Box partOfCell(FinerGrid const& grid, int cx, int cy, Point const& slack)
{
    int const position[2] = {cx, cy};
    Box box = cellBox(grid, cx, cy, slack);
    for (int k = 0; k < 2; ++k) {
        if (position[k] == 0) box.low[k] = -Box::kInfinity;
        if (position[k] == grid.size[k] - 1) box.high[k] = Box::kInfinity;
    }
    return box;
}

} // namespace sinew::detail
