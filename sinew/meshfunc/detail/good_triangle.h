#pragma once

/// Triangles whose affine map can be used at any scale, and the nearest of them. See `extrapolateAnywhere`.

#include <sinew/framework/vect2.h>
#include <sinew/meshfunc/detail/prepared_triangle.h>
#include <sinew/meshfunc/location.h>
#include <sinew/meshfunc/mesh_function_2d.h>

namespace sinew::detail {

/// A triangle that is not degenerate, in coordinates that are scaled by a power of two. The weights of a point are
/// those of `PreparedTriangle` to the bit, except where those overflow or underflow.
struct GoodTriangle
{
    PreparedTriangle scaled; ///< its longest edge lies between 1/2 and 2 * sqrt(2), if the scale is not clamped
    double scale = 1;        ///< a power of two

    /// The barycentric weights of `p`.
    Weights weightsAt(tzNM::vect2<double> const& p) const { return weightsOf(scaled, scale * p); }
};

/// Prepares triangle `t` of `facets`. Returns false, with `out` left unwritten, if there is no such triangle, if it
/// names a missing vertex, or if it is not good as `extrapolateAnywhere` defines it.
bool prepareGoodTriangle(MeshFunction2D const& f, int t, GoodTriangle* out);

/// Whether `extrapolateAnywhere` uses the defined methods for `p`. It does not where the square of the extent of a
/// finite domain overflows: determinants overflow as well, and evaluation accepts points with meaningless weights.
bool asksDefinedMethods(MeshFunction2D const& f, tzNM::vect2<double> const& p);

/// A triangle that `extrapolateAnywhere` uses where the defined methods have no result.
struct FoundTriangle
{
    GoodTriangle triangle{};
    double distSq = 0; ///< squared distance to the segment or the triangle
    LocationRule rule = LocationRule::none;
    int loop = -1;    ///< for nearestBoundary
    int segment = -1; ///< for nearestBoundary
};

/// The first good triangle that contains `p`, among those that evaluation has not tried. Rule `none` if there is none,
/// and for a point that is not finite.
FoundTriangle findContaining(MeshFunction2D const& f, tzNM::vect2<double> const& p);

/// The good triangle at the boundary, or the nearest one of the function. Rule `none` for a point that is not finite,
/// and without a good triangle.
FoundTriangle findNearest(MeshFunction2D const& f, tzNM::vect2<double> const& p);

} // namespace sinew::detail
