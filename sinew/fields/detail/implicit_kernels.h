#pragma once

/// The loops over the centres of an implicit function, for each width of vectors.

#include <cstddef>

#include <sinew/detail/dispatch.h>
#include <sinew/core/vector3.h>

namespace sinew::detail {

/// The radial terms of a field as bare arrays of `n` entries.
struct RadialTerms
{
    Vector3 const* centres;
    double const* coefficients;
    std::size_t n;
};

/// Points side by side: lane l of each array belongs to point l.
struct PointLanes
{
    static constexpr int kCount = 8;
    double x[kCount];
    double y[kCount];
    double z[kCount];
};

/// Each adds the radial terms, in order, to what its last argument holds.
struct ImplicitKernels
{
    void (*evaluate)(RadialTerms const& terms, Vector3 const& p, double* sum);
    void (*evaluateLanes)(RadialTerms const& terms, PointLanes const& p, double* sums);
    void (*gradientLanes)(RadialTerms const& terms, PointLanes const& p, PointLanes* sums);
};

/// The kernels of that width, which the processor must support.
ImplicitKernels const& implicitKernels(VectorWidth width);

} // namespace sinew::detail
