#pragma once

/// Barycentric weights of a point in a triangle, and triangles prepared for computing them.
///
/// Source: C. Ericson, Real-Time Collision Detection, 2005, section 3.4. The weights come from the inverse of the edge
/// matrix here, because the reciprocal of the determinant can then be taken once a triangle.

#include <cmath>
#include <cstddef>
#include <vector>

#include <sinew/core/tolerances.h>
#include <sinew/detail/as_index.h>
#include <sinew/detail/dispatch.h>
#include <sinew/detail/prefetch.h>
#include <sinew/framework/vect2.h>
#include <sinew/meshfunc/detail/mesh_cells.h>

namespace sinew::detail {

/// Barycentric weights down to minus this count as inside, so that rounding excludes no point of a shared edge.
inline constexpr double kInsideTolerance = 1e-8;

/// The two edges of a triangle that start at its first corner.
struct TriangleEdges
{
    tzNM::vect2<double> first;  ///< from the first corner to the second
    tzNM::vect2<double> second; ///< from the first corner to the third

    TriangleEdges(std::vector<tzNM::vect2<double>> const& params, int const corners[3])
        : first(params[asIndex(corners[1])] - params[asIndex(corners[0])]),
          second(params[asIndex(corners[2])] - params[asIndex(corners[0])])
    {
    }

    /// Twice the signed area: positive if the corners run counter-clockwise.
    double determinant() const { return first.x * second.y - second.x * first.y; }
};

/// A triangle in the form that queries read. It fills one cache line.
struct alignas(kCacheLine) PreparedTriangle
{
    tzNM::vect2<double> origin; ///< the first corner
    double inverse[4];          ///< of the matrix whose columns are the two edges from the origin; row by row
    int corners[3];             ///< vertex indices
    int number;                 ///< the index of the triangle in its mesh; it fills what was padding
};
static_assert(sizeof(PreparedTriangle) == kCacheLine);

/// The record of the triangle with these corners, edges and determinant.
inline PreparedTriangle preparedTriangle(std::vector<tzNM::vect2<double>> const& params, int const corners[3],
                                         TriangleEdges const& edges, double determinant, int number)
{
    double const r = 1.0 / determinant;
    return {params[asIndex(corners[0])],
            {r * edges.second.y, r * -edges.second.x, r * -edges.first.y, r * edges.first.x},
            {corners[0], corners[1], corners[2]},
            number};
}

/// Prepares the triangle with these corners. Returns false, with `out` left unwritten, if the magnitude of its
/// determinant is below `kGramZero`. A NaN determinant is not below it.
///
/// @param number  the index of the triangle in its mesh, or -1 if nobody asks for it.
inline bool prepareTriangle(std::vector<tzNM::vect2<double>> const& params, int const corners[3], PreparedTriangle* out,
                            int number = -1)
{
    TriangleEdges const edges(params, corners);
    double const det = edges.determinant();
    if (std::fabs(det) < kGramZero) return false;
    *out = preparedTriangle(params, corners, edges, det, number);
    return true;
}

/// The barycentric weights of a point. Their sum is 1 up to rounding.
struct Weights
{
    double u; ///< of the second corner
    double v; ///< of the third corner
    double w; ///< of the first corner

    /// Whether the point counts as inside the triangle. A NaN weight is not below the tolerance, so it is accepted.
    bool accepted() const
    {
        return !(static_cast<int>(u < -kInsideTolerance) | static_cast<int>(v < -kInsideTolerance) |
                 static_cast<int>(w < -kInsideTolerance));
    }
};

/// The weights of `p`.
inline Weights weightsOf(PreparedTriangle const& triangle, tzNM::vect2<double> const& p)
{
    tzNM::vect2<double> const d = p - triangle.origin;
    double const u = triangle.inverse[0] * d.x + triangle.inverse[1] * d.y;
    double const v = triangle.inverse[2] * d.x + triangle.inverse[3] * d.y;
    return {u, v, 1 - u - v};
}

/// The weights of the points of one row of a raster, with the bits of `weightsOf`. What the row shares is computed
/// once.
class RowWeights
{
public:
    SINEW_KERNEL RowWeights(PreparedTriangle const& t, double y)
        : x_(t.origin.x), ux_(t.inverse[0]), vx_(t.inverse[2]), uy_(t.inverse[1] * (y - t.origin.y)),
          vy_(t.inverse[3] * (y - t.origin.y))
    {
    }

    SINEW_KERNEL Weights at(double x) const
    {
        double const dx = x - x_;
        double const u = ux_ * dx + uy_;
        double const v = vx_ * dx + vy_;
        return {u, v, 1 - u - v};
    }

private:
    double x_;
    double ux_;
    double vx_;
    double uy_;
    double vy_;
};

} // namespace sinew::detail
