#include <sinew/fields/detail/implicit_kernels.h>

#include <algorithm>
#include <cmath>

// A single point takes its centres in chunks: the terms of a chunk are independent, so their roots are drawn by
// vectors, and only their sum is a chain. Many points lie side by side in the lanes instead, each with its own chain.

namespace sinew::detail {

namespace {

constexpr int kChunk = 32;

SINEW_KERNEL void squaresOfChunk(Vector3 const* centres, int count, Vector3 const& p, double* squares)
{
    for (int i = 0; i < count; ++i) {
        double const x = p.x - centres[i].x;
        double const y = p.y - centres[i].y;
        double const z = p.z - centres[i].z;
        squares[i] = x * x + y * y + z * z;
    }
}

SINEW_KERNEL void evaluateBody(RadialTerms const& terms, Vector3 const& p, double* result)
{
    double sum = *result;
    double squares[kChunk];
    for (std::size_t first = 0; first < terms.n; first += kChunk) {
        int const count = static_cast<int>(std::min<std::size_t>(kChunk, terms.n - first));
        squaresOfChunk(terms.centres + first, count, p, squares);
        double const* const coefficients = terms.coefficients + first;
        for (int i = 0; i < count; ++i) squares[i] = coefficients[i] * squares[i] * std::sqrt(squares[i]);
        for (int i = 0; i < count; ++i) sum += squares[i];
    }
    *result = sum;
}

SINEW_KERNEL void gradientBody(RadialTerms const& terms, Vector3 const& p, Vector3* result)
{
    double weights[kChunk];
    Vector3 sum = *result;
    for (std::size_t first = 0; first < terms.n; first += kChunk) {
        int const count = static_cast<int>(std::min<std::size_t>(kChunk, terms.n - first));
        squaresOfChunk(terms.centres + first, count, p, weights);
        double const* const coefficients = terms.coefficients + first;
        for (int i = 0; i < count; ++i) weights[i] = coefficients[i] * 3.0 * std::sqrt(weights[i]);
        for (int i = 0; i < count; ++i) sum += weights[i] * (p - terms.centres[first + static_cast<std::size_t>(i)]);
    }
    *result = sum;
}

SINEW_KERNEL void evaluateLanesBody(RadialTerms const& terms, PointLanes const& p, double* sums)
{
    double sum[PointLanes::kCount];
    for (int l = 0; l < PointLanes::kCount; ++l) sum[l] = sums[l];
    for (std::size_t i = 0; i < terms.n; ++i) {
        Vector3 const c = terms.centres[i];
        double const coefficient = terms.coefficients[i];
        for (int l = 0; l < PointLanes::kCount; ++l) {
            double const x = p.x[l] - c.x;
            double const y = p.y[l] - c.y;
            double const z = p.z[l] - c.z;
            double const square = x * x + y * y + z * z;
            sum[l] += coefficient * square * std::sqrt(square);
        }
    }
    for (int l = 0; l < PointLanes::kCount; ++l) sums[l] = sum[l];
}

SINEW_KERNEL void gradientLanesBody(RadialTerms const& terms, PointLanes const& p, PointLanes* sums)
{
    PointLanes sum = *sums;
    for (std::size_t i = 0; i < terms.n; ++i) {
        Vector3 const c = terms.centres[i];
        double const coefficient = terms.coefficients[i] * 3.0;
        for (int l = 0; l < PointLanes::kCount; ++l) {
            double const x = p.x[l] - c.x;
            double const y = p.y[l] - c.y;
            double const z = p.z[l] - c.z;
            double const weight = coefficient * std::sqrt(x * x + y * y + z * z);
            sum.x[l] += weight * x;
            sum.y[l] += weight * y;
            sum.z[l] += weight * z;
        }
    }
    *sums = sum;
}

void evaluateBaseline(RadialTerms const& terms, Vector3 const& p, double* sum)
{
    evaluateBody(terms, p, sum);
}
void gradientBaseline(RadialTerms const& terms, Vector3 const& p, Vector3* sum)
{
    gradientBody(terms, p, sum);
}
void evaluateLanesBaseline(RadialTerms const& terms, PointLanes const& p, double* sums)
{
    evaluateLanesBody(terms, p, sums);
}
void gradientLanesBaseline(RadialTerms const& terms, PointLanes const& p, PointLanes* sums)
{
    gradientLanesBody(terms, p, sums);
}
constexpr ImplicitKernels kBaseline = {evaluateBaseline, gradientBaseline, evaluateLanesBaseline,
                                       gradientLanesBaseline};
#if SINEW_WIDE_KERNELS
SINEW_AVX2 void evaluateAvx2(RadialTerms const& terms, Vector3 const& p, double* sum)
{
    evaluateBody(terms, p, sum);
}
SINEW_AVX2 void gradientAvx2(RadialTerms const& terms, Vector3 const& p, Vector3* sum)
{
    gradientBody(terms, p, sum);
}
SINEW_AVX2 void evaluateLanesAvx2(RadialTerms const& terms, PointLanes const& p, double* sums)
{
    evaluateLanesBody(terms, p, sums);
}
SINEW_AVX2 void gradientLanesAvx2(RadialTerms const& terms, PointLanes const& p, PointLanes* sums)
{
    gradientLanesBody(terms, p, sums);
}
constexpr ImplicitKernels kAvx2 = {evaluateAvx2, gradientAvx2, evaluateLanesAvx2, gradientLanesAvx2};
SINEW_AVX512 void evaluateAvx512(RadialTerms const& terms, Vector3 const& p, double* sum)
{
    evaluateBody(terms, p, sum);
}
SINEW_AVX512 void gradientAvx512(RadialTerms const& terms, Vector3 const& p, Vector3* sum)
{
    gradientBody(terms, p, sum);
}
SINEW_AVX512 void evaluateLanesAvx512(RadialTerms const& terms, PointLanes const& p, double* sums)
{
    evaluateLanesBody(terms, p, sums);
}
SINEW_AVX512 void gradientLanesAvx512(RadialTerms const& terms, PointLanes const& p, PointLanes* sums)
{
    gradientLanesBody(terms, p, sums);
}
constexpr ImplicitKernels kAvx512 = {evaluateAvx512, gradientAvx512, evaluateLanesAvx512, gradientLanesAvx512};
#endif

} // namespace

ImplicitKernels const& implicitKernels(VectorWidth width)
{
    switch (width) {
#if SINEW_WIDE_KERNELS
    case VectorWidth::avx512:
        return kAvx512;
    case VectorWidth::avx2:
        return kAvx2;
#endif
    default:
        return kBaseline;
    }
}

} // namespace sinew::detail
