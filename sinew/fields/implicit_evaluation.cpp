#include <sinew/fields/implicit.h>

#include <algorithm>

#include <sinew/core/detail/real_array.h>
#include <sinew/fields/detail/implicit_kernels.h>

using namespace sinew::detail;

namespace {

RadialTerms radialTerms(Implicit const& field)
{
    return {field.centres.data(), field.coefficients.data(), std::min(field.centres.size(), field.coefficients.size())};
}

// Summed in this order: the terms of z, y and x, then the constant.
double linearPart(Implicit const& field, Vector3 const& p)
{
    Vector3 const& c = field.linearTerm;
    return c.z * p.z + c.y * p.y + c.x * p.x + field.constantTerm;
}

// Eight points from `first` on. If there are fewer, the last one fills the remaining lanes.
PointLanes gather(Vector3 const* points, std::size_t first, std::size_t count)
{
    PointLanes lanes;
    for (std::size_t l = 0; l < kPointLanes; ++l) {
        Vector3 const& p = points[std::min(first + l, count - 1)];
        lanes.x[l] = p.x;
        lanes.y[l] = p.y;
        lanes.z[l] = p.z;
    }
    return lanes;
}

} // namespace

double Implicit::evaluate(Vector3 const& p) const
{
    return addTerms(widestVectors(), radialTerms(*this), p, linearPart(*this, p));
}

Vector3 Implicit::getGradient(Vector3 const& p) const
{
    return addGradients(widestVectors(), radialTerms(*this), p, linearTerm);
}

namespace sinew {

void evaluateMany(Implicit const& field, Vector3 const* points, std::size_t count, double* values)
{
    VectorWidth const width = widestVectors();
    for (std::size_t first = 0; first < count; first += kPointLanes) {
        std::size_t const lanes = std::min(std::size_t{kPointLanes}, count - first);
        ValueLanes sums = {};
        for (std::size_t l = 0; l < lanes; ++l) sums.values[l] = linearPart(field, points[first + l]);
        addTerms(width, radialTerms(field), gather(points, first, count), &sums);
        std::copy(sums.values, sums.values + lanes, values + first);
    }
}

void gradientMany(Implicit const& field, Vector3 const* points, std::size_t count, Vector3* gradients)
{
    VectorWidth const width = widestVectors();
    for (std::size_t first = 0; first < count; first += kPointLanes) {
        std::size_t const lanes = std::min(std::size_t{kPointLanes}, count - first);
        PointLanes sums;
        std::fill(sums.x, sums.x + kPointLanes, field.linearTerm.x);
        std::fill(sums.y, sums.y + kPointLanes, field.linearTerm.y);
        std::fill(sums.z, sums.z + kPointLanes, field.linearTerm.z);
        addGradients(width, radialTerms(field), gather(points, first, count), &sums);
        for (std::size_t l = 0; l < lanes; ++l) gradients[first + l] = {sums.x[l], sums.y[l], sums.z[l]};
    }
}

void evaluateMany(Implicit const& field, RealArray const& points, double* values)
{
    detail::forParts(points, [&](Vector3 const* part, std::size_t first, std::size_t count) {
        evaluateMany(field, part, count, values + first);
    });
}

void gradientMany(Implicit const& field, RealArray const& points, Vector3* gradients)
{
    detail::forParts(points, [&](Vector3 const* part, std::size_t first, std::size_t count) {
        gradientMany(field, part, count, gradients + first);
    });
}

} // namespace sinew
