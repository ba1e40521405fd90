#pragma once

/// Sums of values at the corners of a triangle, weighted by the barycentric weights of a point. The order of the sum is
/// part of the definition of mesh functions: second corner, third corner, first corner.

#include <cstddef>

#include <sinew/detail/as_index.h>
#include <sinew/detail/dispatch.h>
#include <sinew/meshfunc/detail/prepared_triangle.h>
#include <sinew/meshfunc/mesh_function_2d.h>

namespace sinew::detail {

/// The scalar of a function that has none. It is returned instead of failing, so that the caller still gets the value.
inline constexpr float kNoScalar = -1;

/// The sum for values at the first, second and third corner.
SINEW_KERNEL double interpolated(Weights const& weights, double first, double second, double third)
{
    return weights.u * second + weights.v * third + weights.w * first;
}

/// The same in float: the products are doubles, and each partial sum is rounded to float.
SINEW_KERNEL float interpolated(Weights const& weights, float first, float second, float third)
{
    auto s = static_cast<float>(second * weights.u);
    s = static_cast<float>(s + third * weights.v);
    return static_cast<float>(s + first * weights.w);
}

/// Whether the function has a scalar.
inline bool hasScalar(MeshFunction2D const& f)
{
    return f.normaldots.size() >= f.values.size();
}

/// Writes the value and the scalar at a point with these weights in the triangle with these corners. Both outputs may
/// be null.
inline void interpolate(MeshFunction2D const& f, int const corners[3], Weights const& weights, tzNM::vect2<double>* out,
                        float* outScalar)
{
    std::size_t const i0 = asIndex(corners[0]);
    std::size_t const i1 = asIndex(corners[1]);
    std::size_t const i2 = asIndex(corners[2]);
    if (out) {
        *out = {interpolated(weights, f.values[i0].x, f.values[i1].x, f.values[i2].x),
                interpolated(weights, f.values[i0].y, f.values[i1].y, f.values[i2].y)};
    }
    if (!outScalar) return;
    *outScalar = hasScalar(f) ? interpolated(weights, f.normaldots[i0], f.normaldots[i1], f.normaldots[i2]) : kNoScalar;
}

} // namespace sinew::detail
