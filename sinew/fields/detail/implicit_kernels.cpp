#include <sinew/fields/detail/implicit_kernels.h>

#include <algorithm>
#include <cmath>

#include <sinew/detail/vectors.h>

namespace sinew::detail {

namespace {

// Vectors from centres to points, with one element for each pair of a centre and a point.
template <VectorWidth width>
struct Offsets
{
    Vector<width> x;
    Vector<width> y;
    Vector<width> z;
    Vector<width> lengthsSq;
    Vector<width> lengths;
};

template <VectorWidth width>
SINEW_KERNEL void setLengths(Offsets<width>* d)
{
    d->lengthsSq = d->x * d->x + d->y * d->y + d->z * d->z;
    d->lengths = d->lengthsSq;
    double* const lengths = elements<width>(&d->lengths);
    for (int l = 0; l < kVectorSize<width>; ++l) lengths[l] = std::sqrt(lengths[l]);
}

// ---- One point. The elements of a vector belong to consecutive centres. Only the additions are done one by one, since
// their order is part of the result.

// Vectors of eight doubles are not faster than those of four: a square root takes as long for each element, and it
// takes longer to collect the coordinates of more centres.
constexpr VectorWidth kWidestForOnePoint = VectorWidth::avx2;

template <VectorWidth width>
SINEW_KERNEL void setOffsets(Vector3 const& p, Vector3 const* centres, Offsets<width>* d)
{
    double* const x = elements<width>(&d->x);
    double* const y = elements<width>(&d->y);
    double* const z = elements<width>(&d->z);
    for (int l = 0; l < kVectorSize<width>; ++l) {
        x[l] = centres[l].x;
        y[l] = centres[l].y;
        z[l] = centres[l].z;
    }
    d->x = p.x - d->x;
    d->y = p.y - d->y;
    d->z = p.z - d->z;
    setLengths<width>(d);
}

template <VectorWidth width>
SINEW_KERNEL void load(double const* numbers, Vector<width>* vector)
{
    for (int l = 0; l < kVectorSize<width>; ++l) elements<width>(vector)[l] = numbers[l];
}

// Centres whose terms are computed before they are added. Their number is not constant (the last ones may be fewer), so
// that the terms pass through memory: clang would otherwise take the vectors apart before it takes the square roots.
constexpr std::size_t kChunk = 32;

struct AddTerms
{
    RadialTerms const& terms;
    Vector3 const& point;
    double start;

    template <VectorWidth width>
    SINEW_KERNEL double run() const
    {
        constexpr std::size_t kSize = kVectorSize<width>;
        Vector3 const p = point;
        double sum = start;
        std::size_t const inVectors = terms.n / kSize * kSize;
        for (std::size_t first = 0; first < inVectors; first += kChunk) {
            alignas(64) double values[kChunk];
            std::size_t const count = std::min(kChunk, inVectors - first);
            for (std::size_t i = 0; i < count; i += kSize) {
                Offsets<width> d;
                setOffsets<width>(p, terms.centres + first + i, &d);
                Vector<width> coefficients{};
                load<width>(terms.coefficients + first + i, &coefficients);
                *vectors<width>(values + i) = coefficients * d.lengthsSq * d.lengths;
            }
            for (std::size_t i = 0; i < count; ++i) sum += values[i];
        }
        for (std::size_t i = inVectors; i < terms.n; ++i) {
            double const lengthSq = distSq(p, terms.centres[i]);
            sum += terms.coefficients[i] * lengthSq * std::sqrt(lengthSq);
        }
        return sum;
    }
};

struct AddGradients
{
    RadialTerms const& terms;
    Vector3 const& point;
    Vector3 const& start;

    template <VectorWidth width>
    SINEW_KERNEL Vector3 run() const
    {
        constexpr std::size_t kSize = kVectorSize<width>;
        Vector3 const p = point;
        Vector3 sum = start;
        std::size_t const inVectors = terms.n / kSize * kSize;
        for (std::size_t first = 0; first < inVectors; first += kSize) {
            Offsets<width> d;
            setOffsets<width>(p, terms.centres + first, &d);
            Vector<width> weights{};
            load<width>(terms.coefficients + first, &weights);
            weights = weights * 3.0 * d.lengths;
            d.x *= weights;
            d.y *= weights;
            d.z *= weights;
            for (std::size_t i = 0; i < kSize; ++i) {
                sum += Vector3(elements<width>(&d.x)[i], elements<width>(&d.y)[i], elements<width>(&d.z)[i]);
            }
        }
        for (std::size_t i = inVectors; i < terms.n; ++i) {
            Vector3 const d = p - terms.centres[i];
            sum += terms.coefficients[i] * 3.0 * d.length() * d;
        }
        return sum;
    }
};

// ---- Many points. The elements of a vector belong to different points, so each has its own sum.

template <VectorWidth width>
SINEW_KERNEL void setOffsets(PointLanes const& points, int firstLane, Vector3 const& centre, Offsets<width>* d)
{
    d->x = *vectors<width>(points.x + firstLane) - centre.x;
    d->y = *vectors<width>(points.y + firstLane) - centre.y;
    d->z = *vectors<width>(points.z + firstLane) - centre.z;
    setLengths<width>(d);
}

struct AddTermsToLanes
{
    RadialTerms const& terms;
    PointLanes const& points;
    ValueLanes* sums;

    template <VectorWidth width>
    SINEW_KERNEL void run() const
    {
        for (int lane = 0; lane < kPointLanes; lane += kVectorSize<width>) {
            Vector<width> sum = *vectors<width>(sums->values + lane);
            for (std::size_t i = 0; i < terms.n; ++i) {
                Offsets<width> d;
                setOffsets<width>(points, lane, terms.centres[i], &d);
                sum += terms.coefficients[i] * d.lengthsSq * d.lengths;
            }
            *vectors<width>(sums->values + lane) = sum;
        }
    }
};

struct AddGradientsToLanes
{
    RadialTerms const& terms;
    PointLanes const& points;
    PointLanes* sums;

    template <VectorWidth width>
    SINEW_KERNEL void run() const
    {
        for (int lane = 0; lane < kPointLanes; lane += kVectorSize<width>) {
            Vector<width> sumX = *vectors<width>(sums->x + lane);
            Vector<width> sumY = *vectors<width>(sums->y + lane);
            Vector<width> sumZ = *vectors<width>(sums->z + lane);
            for (std::size_t i = 0; i < terms.n; ++i) {
                Offsets<width> d;
                setOffsets<width>(points, lane, terms.centres[i], &d);
                Vector<width> const weights = terms.coefficients[i] * 3.0 * d.lengths;
                sumX += weights * d.x;
                sumY += weights * d.y;
                sumZ += weights * d.z;
            }
            *vectors<width>(sums->x + lane) = sumX;
            *vectors<width>(sums->y + lane) = sumY;
            *vectors<width>(sums->z + lane) = sumZ;
        }
    }
};

} // namespace

double addTerms(VectorWidth width, RadialTerms const& terms, Vector3 const& p, double sum)
{
    return dispatch(std::min(width, kWidestForOnePoint), AddTerms{terms, p, sum});
}

Vector3 addGradients(VectorWidth width, RadialTerms const& terms, Vector3 const& p, Vector3 const& sum)
{
    return dispatch(std::min(width, kWidestForOnePoint), AddGradients{terms, p, sum});
}

void addTerms(VectorWidth width, RadialTerms const& terms, PointLanes const& points, ValueLanes* sums)
{
    dispatch(width, AddTermsToLanes{terms, points, sums});
}

void addGradients(VectorWidth width, RadialTerms const& terms, PointLanes const& points, PointLanes* sums)
{
    dispatch(width, AddGradientsToLanes{terms, points, sums});
}

} // namespace sinew::detail
