#include <sinew/fields/detail/implicit_kernels.h>

#include <algorithm>
#include <cmath>
#include <cstring>

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

// The coordinates of consecutive points. Whole vectors are loaded and their elements exchanged; compilers would load
// each coordinate alone, which takes longer than the arithmetic.
template <VectorWidth width>
SINEW_KERNEL void loadPoints(Vector3 const* points, Vector<width>* x, Vector<width>* y, Vector<width>* z)
{
    static_assert(sizeof(Vector3) == 3 * sizeof(double));
#if SINEW_VECTOR_SHUFFLES
    char const* const bytes = reinterpret_cast<char const*>(points);
    Vector<width> a, b, c;
    std::memcpy(&a, bytes, sizeof a);
    std::memcpy(&b, bytes + sizeof a, sizeof b);
    std::memcpy(&c, bytes + 2 * sizeof a, sizeof c);
    if constexpr (kVectorSize<width> == 4) {
        Vector<width> const ab = __builtin_shufflevector(a, b, 0, 1, 6, 7); // x0 y0 x2 y2
        Vector<width> const ac = __builtin_shufflevector(a, c, 2, 3, 4, 5); // z0 x1 z2 x3
        Vector<width> const bc = __builtin_shufflevector(b, c, 0, 1, 6, 7); // y1 z1 y3 z3
        *x = __builtin_shufflevector(ab, ac, 0, 5, 2, 7);
        *y = __builtin_shufflevector(ab, bc, 1, 4, 3, 6);
        *z = __builtin_shufflevector(ac, bc, 0, 5, 2, 7);
        return;
    } else if constexpr (kVectorSize<width> == 2) {
        *x = __builtin_shufflevector(a, b, 0, 3);
        *y = __builtin_shufflevector(a, c, 1, 2);
        *z = __builtin_shufflevector(b, c, 0, 3);
        return;
    }
#endif
    for (int l = 0; l < kVectorSize<width>; ++l) {
        elements<width>(x)[l] = points[l].x;
        elements<width>(y)[l] = points[l].y;
        elements<width>(z)[l] = points[l].z;
    }
}

template <VectorWidth width>
SINEW_KERNEL void setOffsets(Vector3 const& p, Vector3 const* centres, Offsets<width>* d)
{
    loadPoints<width>(centres, &d->x, &d->y, &d->z);
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
        for (std::size_t first = 0; first < inVectors; first += kSize) {
            Offsets<width> d;
            setOffsets<width>(p, terms.centres + first, &d);
            Vector<width> values{};
            load<width>(terms.coefficients + first, &values);
            values = values * d.lengthsSq * d.lengths;
            for (std::size_t i = 0; i < kSize; ++i) sum += elements<width>(&values)[i];
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
