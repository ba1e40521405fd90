#include <sinew/queries/lines.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include <sinew/core/detail/compensated.h>
#include <sinew/core/detail/power_scale.h>

namespace sinew {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// The largest sine of parallel directions: eight times the relative error of one rounding. The angle between a vector
// and its normalised copy is at most about two such errors, between two copies of it four.
constexpr double kParallelSine = 0x1p-50;

// Numbers whose squares and fourth powers neither overflow nor underflow.
constexpr double kSmallestOrdinary = 0x1p-200;
constexpr double kLargestOrdinary = 0x1p200;

// A vector times a power of two, so that its largest component has a magnitude near 1.
struct Scaled
{
    Vector3 vector;
    int exponent = 0; // the vector before scaling is `vector` times 2^exponent
};

Scaled scaled(Vector3 const& a)
{
    double const largest = std::max({std::fabs(a.x), std::fabs(a.y), std::fabs(a.z)});
    bool const ordinary = largest >= kSmallestOrdinary && largest <= kLargestOrdinary;
    if (ordinary || !(largest > 0.0 && largest < kInfinity)) return {a, 0};
    int exponent = 0;
    (void)std::frexp(largest, &exponent);
    return {{detail::timesPowerOfTwo(a.x, -exponent), detail::timesPowerOfTwo(a.y, -exponent),
             detail::timesPowerOfTwo(a.z, -exponent)},
            exponent};
}

// a b - c d
double differenceOfProducts(double a, double b, double c, double d)
{
    return detail::differenceOfProducts({a, 0.0}, b, {c, 0.0}, d);
}

// The cross product with a relative error of about one rounding, also for nearly parallel vectors.
Vector3 accurateCross(Vector3 const& a, Vector3 const& b)
{
    return {differenceOfProducts(a.y, b.z, a.z, b.y), differenceOfProducts(a.z, b.x, a.x, b.z),
            differenceOfProducts(a.x, b.y, a.y, b.x)};
}

// The parameters of both points, for the scaled directions and gap: they neither overflow nor underflow.
struct Parameters
{
    double first = 0.0;
    double second = 0.0;
};

// The parameter of the point of the line (origin, d) nearest to the point that lies at `gap` from the origin; 0 for a
// zero direction.
double nearestParameter(Scaled const& gap, Scaled const& d)
{
    double const lengthSq = d.vector.lengthSq();
    if (lengthSq == 0.0) return 0.0;
    return gap.vector * d.vector / lengthSq;
}

// The distance of the point that lies at `gap` from the origin of the line (origin, d); for a zero direction from the
// origin.
double distanceToLine(Scaled const& gap, Scaled const& d)
{
    double const lengthSq = d.vector.lengthSq();
    double const squares = lengthSq == 0.0 ? gap.vector.lengthSq() : cross(gap.vector, d.vector).lengthSq() / lengthSq;
    return detail::timesPowerOfTwo(std::sqrt(squares), gap.exponent);
}

// Lines with parallel directions, or with one that is zero.
Parameters setParallel(Scaled const& gap, Scaled const& a, Scaled const& b, ClosestLines* result)
{
    bool const secondIsPoint = b.vector.lengthSq() == 0.0;
    result->parallel = true;
    result->distance = distanceToLine(gap, secondIsPoint ? a : b);
    return {secondIsPoint ? nearestParameter(gap, a) : 0.0, nearestParameter({-gap.vector, gap.exponent}, b)};
}

Parameters setCrossing(Scaled const& gap, Scaled const& a, Scaled const& b, Vector3 const& normal, ClosestLines* result)
{
    double const normalSq = normal.lengthSq();
    result->distance = detail::timesPowerOfTwo(std::fabs(gap.vector * normal) / std::sqrt(normalSq), gap.exponent);
    return {cross(gap.vector, b.vector) * normal / normalSq, cross(gap.vector, a.vector) * normal / normalSq};
}

// The point of the line (origin, d) at the scaled parameter s.
Vector3 pointAt(Vector3 const& origin, Scaled const& d, double s, int exponent)
{
    Vector3 const offset = d.vector * s;
    return origin + Vector3(detail::timesPowerOfTwo(offset.x, exponent), detail::timesPowerOfTwo(offset.y, exponent),
                            detail::timesPowerOfTwo(offset.z, exponent));
}

} // namespace

ClosestLines closestLines(Vector3 const& p1, Vector3 const& d1, Vector3 const& p2, Vector3 const& d2)
{
    Scaled const a = scaled(d1);
    Scaled const b = scaled(d2);
    Scaled const gap = scaled(p2 - p1);
    Vector3 const normal = accurateCross(a.vector, b.vector);
    double const largestNormalSq = kParallelSine * kParallelSine * a.vector.lengthSq() * b.vector.lengthSq();
    ClosestLines result;
    bool const known = gap.vector.lengthSq() < kInfinity; // false for NaN
    bool const parallel = known && normal.lengthSq() <= largestNormalSq;
    Parameters const s = parallel ? setParallel(gap, a, b, &result) : setCrossing(gap, a, b, normal, &result);
    result.t1 = detail::timesPowerOfTwo(s.first, gap.exponent - a.exponent);
    result.t2 = detail::timesPowerOfTwo(s.second, gap.exponent - b.exponent);
    // From the scaled parameters: t1 and t2 may be infinite, zero or subnormal although the points are ordinary.
    result.point1 = pointAt(p1, a, s.first, gap.exponent);
    result.point2 = pointAt(p2, b, s.second, gap.exponent);
    return result;
}

} // namespace sinew
