#pragma once

/// The loops over the centres of an implicit function, for one point or for eight. They give the same bits at every
/// vector width.

#include <cstddef>

#include <sinew/core/vector3.h>
#include <sinew/detail/dispatch.h>

namespace sinew::detail {

/// The radial terms of an implicit function: `n` centres and their coefficients.
struct RadialTerms
{
    Vector3 const* centres;
    double const* coefficients;
    std::size_t n;
};

/// Number of points that are processed together: the doubles of the widest vector.
constexpr int kPointLanes = 8;

/// Points or vectors: lane i of each array belongs to point i.
struct PointLanes
{
    alignas(64) double x[kPointLanes];
    alignas(64) double y[kPointLanes];
    alignas(64) double z[kPointLanes];
};

/// One number for each point of a `PointLanes`.
struct ValueLanes
{
    alignas(64) double values[kPointLanes];
};

/// `sum` plus the radial terms at `p`, added one by one in the order of the centres. Here as in the functions below,
/// `width` must not exceed `widestVectors()`.
double addTerms(VectorWidth width, RadialTerms const& terms, Vector3 const& p, double sum);

/// `sum` plus the gradients of the radial terms at `p`, added one by one in the order of the centres.
Vector3 addGradients(VectorWidth width, RadialTerms const& terms, Vector3 const& p, Vector3 const& sum);

/// Adds the radial terms at each of `points` to its number in `sums`, in the order of the centres.
void addTerms(VectorWidth width, RadialTerms const& terms, PointLanes const& points, ValueLanes* sums);

/// Adds the gradients of the radial terms at each of `points` to its vector in `sums`, in the order of the centres.
void addGradients(VectorWidth width, RadialTerms const& terms, PointLanes const& points, PointLanes* sums);

} // namespace sinew::detail
