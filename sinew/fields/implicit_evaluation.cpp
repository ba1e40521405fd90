#include <algorithm>

#include <sinew/fields/detail/implicit_kernels.h>
#include <sinew/fields/implicit.h>

using namespace sinew::detail;

namespace {

RadialTerms radialTerms(Implicit const& field)
{
    return {field.centres.data(), field.coefficients.data(), std::min(field.centres.size(), field.coefficients.size())};
}

double linearPart(Implicit const& field, Vector3 const& p)
{
    Vector3 const& c = field.linearTerm;
    return c.z * p.z + c.y * p.y + c.x * p.x + field.constantTerm;
}

// The points from `first` on, the last one repeated where they run out.
PointLanes gather(Vector3 const* points, std::size_t first, std::size_t count)
{
    PointLanes lanes;
    for (std::size_t l = 0; l < PointLanes::kCount; ++l) {
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
    double sum = linearPart(*this, p);
    implicitKernels(widestVectors()).evaluate(radialTerms(*this), p, &sum);
    return sum;
}

Vector3 Implicit::getGradient(Vector3 const& p) const
{
    // Not taken apart like the value: three chains of sums already keep the processor as busy as the roots do.
    RadialTerms const terms = radialTerms(*this);
    Vector3 sum = linearTerm;
    for (std::size_t i = 0; i < terms.n; ++i) {
        Vector3 const d = p - terms.centres[i];
        sum += terms.coefficients[i] * 3.0 * d.length() * d;
    }
    return sum;
}

namespace sinew {

void evaluateMany(Implicit const& field, Vector3 const* points, std::size_t count, double* values)
{
    ImplicitKernels const& kernels = implicitKernels(widestVectors());
    for (std::size_t first = 0; first < count; first += PointLanes::kCount) {
        std::size_t const lanes = std::min<std::size_t>(PointLanes::kCount, count - first);
        double sums[PointLanes::kCount] = {};
        for (std::size_t l = 0; l < lanes; ++l) sums[l] = linearPart(field, points[first + l]);
        kernels.evaluateLanes(radialTerms(field), gather(points, first, count), sums);
        std::copy(sums, sums + lanes, values + first);
    }
}

void gradientMany(Implicit const& field, Vector3 const* points, std::size_t count, Vector3* gradients)
{
    ImplicitKernels const& kernels = implicitKernels(widestVectors());
    for (std::size_t first = 0; first < count; first += PointLanes::kCount) {
        std::size_t const lanes = std::min<std::size_t>(PointLanes::kCount, count - first);
        PointLanes sums;
        std::fill(sums.x, sums.x + PointLanes::kCount, field.linearTerm.x);
        std::fill(sums.y, sums.y + PointLanes::kCount, field.linearTerm.y);
        std::fill(sums.z, sums.z + PointLanes::kCount, field.linearTerm.z);
        kernels.gradientLanes(radialTerms(field), gather(points, first, count), &sums);
        for (std::size_t l = 0; l < lanes; ++l) gradients[first + l] = {sums.x[l], sums.y[l], sums.z[l]};
    }
}

} // namespace sinew
