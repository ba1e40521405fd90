#include <sinew/fields/detail/implicit_kernels.h>

#include <cmath>

// A single point takes its centres in chunks: the terms of a chunk are independent, so their roots are drawn by
// vectors, and only their sum is a chain. Many points lie side by side in the lanes instead, each with its own chain.

namespace sinew::detail {

namespace {

// The radial terms one by one, as they are defined.
SINEW_KERNEL double addOneByOne(RadialTerms const& terms, std::size_t first, Vector3 const& p, double sum)
{
    for (std::size_t i = first; i < terms.n; ++i) {
        double const square = distSq(p, terms.centres[i]);
        sum += terms.coefficients[i] * square * std::sqrt(square);
    }
    return sum;
}

// Squared distances of kChunk centres. A constant count, so that all loops over a chunk unfold into vectors.
template <int kChunk>
SINEW_KERNEL void squaresOfChunk(Vector3 const* centres, Vector3 const& p, double* squares)
{
    for (int i = 0; i < kChunk; ++i) {
        double const x = p.x - centres[i].x;
        double const y = p.y - centres[i].y;
        double const z = p.z - centres[i].z;
        squares[i] = x * x + y * y + z * z;
    }
}

template <int kChunk = 32>
SINEW_KERNEL void evaluateBody(RadialTerms const& terms, Vector3 const& p, double* result)
{
    double sum = *result;
    std::size_t first = 0;
    for (; first + kChunk <= terms.n; first += kChunk) {
        double squares[kChunk];
        squaresOfChunk<kChunk>(terms.centres + first, p, squares);
        double const* const coefficients = terms.coefficients + first;
        for (int i = 0; i < kChunk; ++i) squares[i] = coefficients[i] * squares[i] * std::sqrt(squares[i]);
        for (int i = 0; i < kChunk; ++i) sum += squares[i];
    }
    *result = addOneByOne(terms, first, p, sum);
}

// `kWidth` points at a time: as many as their sums fit the registers.
template <int kWidth>
SINEW_KERNEL void evaluateLanesBody(RadialTerms const& terms, PointLanes const& p, double* sums)
{
    for (int first = 0; first < PointLanes::kCount; first += kWidth) {
        double sum[kWidth];
        for (int l = 0; l < kWidth; ++l) sum[l] = sums[first + l];
        for (std::size_t i = 0; i < terms.n; ++i) {
            Vector3 const c = terms.centres[i];
            double const coefficient = terms.coefficients[i];
            for (int l = 0; l < kWidth; ++l) {
                double const x = p.x[first + l] - c.x;
                double const y = p.y[first + l] - c.y;
                double const z = p.z[first + l] - c.z;
                double const square = x * x + y * y + z * z;
                sum[l] += coefficient * square * std::sqrt(square);
            }
        }
        for (int l = 0; l < kWidth; ++l) sums[first + l] = sum[l];
    }
}

template <int kWidth>
SINEW_KERNEL void gradientLanesBody(RadialTerms const& terms, PointLanes const& p, PointLanes* sums)
{
    for (int first = 0; first < PointLanes::kCount; first += kWidth) {
        double sumX[kWidth], sumY[kWidth], sumZ[kWidth];
        for (int l = 0; l < kWidth; ++l) {
            sumX[l] = sums->x[first + l];
            sumY[l] = sums->y[first + l];
            sumZ[l] = sums->z[first + l];
        }
        for (std::size_t i = 0; i < terms.n; ++i) {
            Vector3 const c = terms.centres[i];
            double const coefficient = terms.coefficients[i] * 3.0;
            for (int l = 0; l < kWidth; ++l) {
                double const x = p.x[first + l] - c.x;
                double const y = p.y[first + l] - c.y;
                double const z = p.z[first + l] - c.z;
                double const weight = coefficient * std::sqrt(x * x + y * y + z * z);
                sumX[l] += weight * x;
                sumY[l] += weight * y;
                sumZ[l] += weight * z;
            }
        }
        for (int l = 0; l < kWidth; ++l) {
            sums->x[first + l] = sumX[l];
            sums->y[first + l] = sumY[l];
            sums->z[first + l] = sumZ[l];
        }
    }
}

// Two lanes are too few to pay for taking a single point's terms apart.
void evaluateBaseline(RadialTerms const& terms, Vector3 const& p, double* sum)
{
    *sum = addOneByOne(terms, 0, p, *sum);
}
void evaluateLanesBaseline(RadialTerms const& terms, PointLanes const& p, double* sums)
{
    evaluateLanesBody<2>(terms, p, sums);
}
void gradientLanesBaseline(RadialTerms const& terms, PointLanes const& p, PointLanes* sums)
{
    gradientLanesBody<2>(terms, p, sums);
}
constexpr ImplicitKernels kBaseline = {evaluateBaseline, evaluateLanesBaseline, gradientLanesBaseline};
#if SINEW_WIDE_KERNELS
SINEW_AVX2 void evaluateAvx2(RadialTerms const& terms, Vector3 const& p, double* sum)
{
    evaluateBody<>(terms, p, sum);
}
SINEW_AVX2 void evaluateLanesAvx2(RadialTerms const& terms, PointLanes const& p, double* sums)
{
    evaluateLanesBody<8>(terms, p, sums);
}
SINEW_AVX2 void gradientLanesAvx2(RadialTerms const& terms, PointLanes const& p, PointLanes* sums)
{
    gradientLanesBody<8>(terms, p, sums);
}
constexpr ImplicitKernels kAvx2 = {evaluateAvx2, evaluateLanesAvx2, gradientLanesAvx2};
SINEW_AVX512 void evaluateAvx512(RadialTerms const& terms, Vector3 const& p, double* sum)
{
    evaluateBody<>(terms, p, sum);
}
SINEW_AVX512 void evaluateLanesAvx512(RadialTerms const& terms, PointLanes const& p, double* sums)
{
    evaluateLanesBody<8>(terms, p, sums);
}
SINEW_AVX512 void gradientLanesAvx512(RadialTerms const& terms, PointLanes const& p, PointLanes* sums)
{
    gradientLanesBody<8>(terms, p, sums);
}
constexpr ImplicitKernels kAvx512 = {evaluateAvx512, evaluateLanesAvx512, gradientLanesAvx512};
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
