#include <sinew/queries/rays.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

#include <sinew/core/detail/compensated.h>
#include <sinew/core/detail/exact_value.h>
#include <sinew/core/detail/power_scale.h>

namespace sinew {

namespace {

constexpr double kEpsilon = 0x1p-53; // the largest relative error of one rounding
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Added to bounds, for results below 2^-1022: their rounding error is at most 2^-1075, not relative to them.
constexpr double kUnderflowBound = 0x1p-1000;

// Corners farther away than this take the exact stage, because products of two coordinates could overflow.
constexpr double kLargestInFastStage = 0x1p500;

// The largest bound of the error of an edge function, relative to the sum of the three, with which weights are computed
// from it. Four times as much, 5e-10, is the bound of the weights.
constexpr double kLargestRelativeBound = 0x1p-33;

// If the difference between t and an end of the range is less than this part of the end, they are compared exactly.
constexpr double kNearEnd = 0x1p-44;

bool isFinite(double x)
{
    return std::fabs(x) < kInfinity;
}

// A corner relative to the origin: z along the largest component of the direction, x and y after the shear.
struct Sheared
{
    double x;
    double y;
    double z;
    double largest; // of the magnitudes of the coordinates before the shear
};

template <int z>
Sheared sheared(detail::Shear const& shear, Vector3 const& origin, Vector3 const& corner)
{
    constexpr int x = (z + 1) % 3;
    constexpr int y = (z + 2) % 3;
    double const dx = corner[x] - origin[x];
    double const dy = corner[y] - origin[y];
    double const dz = corner[z] - origin[z];
    return {dx - shear.next * dz, dy - shear.afterNext * dz, dz,
            std::max({std::fabs(dx), std::fabs(dy), std::fabs(dz)})};
}

double largestShared(Sheared const& a, Sheared const& b, Sheared const& c)
{
    return std::max({std::fabs(a.x), std::fabs(a.y), std::fabs(b.x), std::fabs(b.y), std::fabs(c.x), std::fabs(c.y)});
}

enum class Decision
{
    hit,
    miss,
    unknown
};

// Whether t lies in the range, if its error is at most `error`.
Decision inRange(double t, double error, double tMin, double tMax)
{
    if (t - error > tMin && t + error < tMax) return Decision::hit;
    if (t + error < tMin || t - error > tMax) return Decision::miss;
    return Decision::unknown;
}

// The fast stage. Sets `result` if it is a hit.
template <int z>
Decision fastStage(detail::Shear const& shear, Vector3 const& origin, Vector3 const* corners, double tMin, double tMax,
                   RayTriangle* result)
{
    Sheared const a = sheared<z>(shear, origin, corners[0]);
    Sheared const b = sheared<z>(shear, origin, corners[1]);
    Sheared const c = sheared<z>(shear, origin, corners[2]);
    // The edge functions: each is the doubled area of the origin and an edge, seen along the ray.
    double const u = b.x * c.y - b.y * c.x;
    double const v = c.x * a.y - c.y * a.x;
    double const w = a.x * b.y - a.y * b.x;
    // A coordinate after the shear has an error of at most 6 kEpsilon `far`: the difference, its product with the
    // rounded quotient, and their difference. An edge function then has at most four times this, times `near`, and
    // twice its square; with its own roundings, at most 5 kEpsilon near^2. `near` is at most 2 `far`.
    double const far = std::max({a.largest, b.largest, c.largest});
    double const near = largestShared(a, b, c);
    double const bound = kEpsilon * far * (40.0 * near + 100.0 * kEpsilon * far) + kUnderflowBound;
    if (!(far < kLargestInFastStage)) return Decision::unknown; // also for infinite coordinates
    double const smallest = std::min({u, v, w});
    double const largest = std::max({u, v, w});
    if (smallest < -bound && largest > bound) return Decision::miss;
    if (!(smallest > bound || largest < -bound)) return Decision::unknown;

    double const sum = u + v + w;
    double const relativeBound = bound / std::fabs(sum);
    if (!(relativeBound < kLargestRelativeBound)) return Decision::unknown; // also if a coordinate is NaN
    Vector3 const weights = {u / sum, v / sum, w / sum};
    double const t = (weights.x * a.z + weights.y * b.z + weights.z * c.z) / shear.length;
    double const error = ((6.0 * relativeBound + 16.0 * kEpsilon) * far + kUnderflowBound) / std::fabs(shear.length);
    if (!isFinite(t)) return Decision::unknown; // the exact parameter may be finite
    Decision const decision = inRange(t, error + kUnderflowBound, tMin, tMax);
    if (decision == Decision::hit) *result = {true, (sum > 0.0) == (shear.length > 0.0) ? -1 : 1, t, weights};
    return decision;
}

// Three exact numbers, and their products.
template <typename Number>
struct Triple
{
    Number x;
    Number y;
    Number z;
};

template <typename A, typename B>
auto cross(Triple<A> const& a, Triple<B> const& b)
{
    using Component = decltype(a.y * b.z - a.z * b.y);
    return Triple<Component>{a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
template <typename A, typename B>
auto dot(Triple<A> const& a, Triple<B> const& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

template <typename Terms>
auto exactDifference(Terms const& terms, Vector3 const& a, Vector3 const& b)
{
    using Number = decltype(terms.difference(a.x, b.x));
    return Triple<Number>{terms.difference(a.x, b.x), terms.difference(a.y, b.y), terms.difference(a.z, b.z)};
}
template <typename Terms>
auto exactVector(Terms const& terms, Vector3 const& a)
{
    using Number = decltype(terms.number(a.x));
    return Triple<Number>{terms.number(a.x), terms.number(a.y), terms.number(a.z)};
}

detail::ScaledDouble scaled(double value)
{
    return {value, 0};
}
detail::ScaledDouble scaled(detail::ScaledDouble const& value)
{
    return value;
}

// Calls `function` with the kind of numbers that is exact for all of the finite `numbers`.
template <std::size_t n, typename Function>
auto withExactTerms(double const (&numbers)[n], Function const& function)
{
    if (detail::fitExpansions(numbers)) return function(detail::ExpansionTerms{});
    return function(detail::WholeTerms{detail::commonUnit(numbers)});
}

// The exact stage. All volumes are determinants of degree 3 in the common unit of the numbers, which cancels in their
// quotients.
class ExactStage
{
public:
    ExactStage(Ray const& ray, Vector3 const* corners)
        : o_(ray.origin()), d_(ray.direction()), a_(corners[0]), b_(corners[1]), c_(corners[2])
    {
    }

    RayTriangle result(double tMin, double tMax) const
    {
        double const numbers[] = {o_.x, o_.y, o_.z, d_.x, d_.y, d_.z, a_.x, a_.y,
                                  a_.z, b_.x, b_.y, b_.z, c_.x, c_.y, c_.z};
        if (!detail::areFinite(numbers)) return {};
        Volumes const volumes = withExactTerms(numbers, [&](auto const& terms) { return volumesOf(terms); });
        double const smallest = std::min({volumes.u.value, volumes.v.value, volumes.w.value});
        double const largest = std::max({volumes.u.value, volumes.v.value, volumes.w.value});
        bool const inside = smallest >= 0.0 || largest <= 0.0;
        bool const crossing = smallest < 0.0 || largest > 0.0; // otherwise the ray lies in the plane
        return inside && crossing ? crossingOf(volumes, tMin, tMax) : RayTriangle{};
    }

private:
    // The direction with two corners, and the three corners, all relative to the origin; the weights of the crossing
    // are u, v and w divided by their sum, and t is `corners` divided by it.
    struct Volumes
    {
        detail::ScaledDouble u;
        detail::ScaledDouble v;
        detail::ScaledDouble w;
        detail::ScaledDouble corners;
    };

    template <typename Terms>
    Volumes volumesOf(Terms const& terms) const
    {
        auto const a = exactDifference(terms, a_, o_);
        auto const b = exactDifference(terms, b_, o_);
        auto const c = exactDifference(terms, c_, o_);
        auto const d = exactVector(terms, d_);
        auto const bc = cross(b, c);
        return {scaled(dot(bc, d).rounded()), scaled(dot(cross(c, a), d).rounded()),
                scaled(dot(cross(a, b), d).rounded()), scaled(dot(bc, a).rounded())};
    }

    RayTriangle crossingOf(Volumes const& volumes, double tMin, double tMax) const
    {
        int const exponent = std::max({volumes.u.exponent, volumes.v.exponent, volumes.w.exponent});
        auto const aligned = [&](detail::ScaledDouble const& x) {
            return detail::timesPowerOfTwo(x.value, x.exponent - exponent);
        };
        double const u = aligned(volumes.u);
        double const v = aligned(volumes.v);
        double const w = aligned(volumes.w);
        double const sum = u + v + w;
        // The quotient of the fractions: that of the numbers themselves may underflow to zero, which has no sign.
        int ofCorners = 0;
        int ofSum = 0;
        double const corners = std::frexp(volumes.corners.value, &ofCorners);
        double const fraction = corners / std::frexp(sum, &ofSum);
        detail::ScaledDouble const quotient{fraction, volumes.corners.exponent - exponent + ofCorners - ofSum};
        double const t = quotient.rounded();
        bool const backSide = sum > 0.0;
        bool const afterStart = tMin == -kInfinity || (isFinite(tMin) && order(t, tMin, backSide) >= 0.0);
        bool const beforeEnd = tMax == kInfinity || (isFinite(tMax) && order(t, tMax, backSide) <= 0.0);
        if (!afterStart || !beforeEnd) return {};
        return {true, backSide ? -1 : 1, std::min(std::max(t, tMin), tMax), {u / sum, v / sum, w / sum}};
    }

    // Positive, zero or negative if the exact parameter, which was rounded to t, is greater than `end`, equal or
    // smaller.
    double order(double t, double end, bool backSide) const
    {
        if (end == 0.0) return t; // the rounded parameter has the sign of the exact one
        if (isFinite(t) && std::fabs(t - end) > kNearEnd * std::fabs(end)) return t > end ? 1.0 : -1.0;
        double const numbers[] = {o_.x, o_.y, o_.z, d_.x, d_.y, d_.z, a_.x, a_.y, a_.z,
                                  b_.x, b_.y, b_.z, c_.x, c_.y, c_.z, end,  1.0};
        double const height = withExactTerms(numbers, [&](auto const& terms) { return heightAt(terms, end); });
        return backSide ? height : -height;
    }

    // The sign of (a - o - t d) * ((b - a) x (c - a)). The units of the first factor are squared.
    template <typename Terms>
    double heightAt(Terms const& terms, double t) const
    {
        auto const fromOrigin = exactDifference(terms, a_, o_);
        auto const d = exactVector(terms, d_);
        auto const one = terms.number(1.0);
        auto const tExact = terms.number(t);
        auto const x = fromOrigin.x * one - d.x * tExact;
        auto const y = fromOrigin.y * one - d.y * tExact;
        auto const z = fromOrigin.z * one - d.z * tExact;
        Triple<std::decay_t<decltype(x)>> const gap{x, y, z};
        auto const normal = cross(exactDifference(terms, b_, a_), exactDifference(terms, c_, a_));
        return scaled(dot(normal, gap).rounded()).value;
    }

    Vector3 o_, d_, a_, b_, c_;
};

// A ray and a sphere relative to the origin of the ray. Extreme points and directions are scaled by powers of two.
struct SphereQuery
{
    Triple<detail::TwoPart> gap; // from the origin to the centre; the sum of both parts is exact
    Vector3 d;
    double radius; // not negative
    int exponent;  // t is that of the scaled query times 2^exponent
};

double largestOf(Vector3 const& a)
{
    return std::max({std::fabs(a.x), std::fabs(a.y), std::fabs(a.z)});
}

Vector3 scaledBy(Vector3 const& a, int exponent)
{
    return {detail::timesPowerOfTwo(a.x, exponent), detail::timesPowerOfTwo(a.y, exponent),
            detail::timesPowerOfTwo(a.z, exponent)};
}
detail::TwoPart scaledBy(detail::TwoPart const& a, int exponent)
{
    return {detail::timesPowerOfTwo(a.high, exponent), detail::timesPowerOfTwo(a.low, exponent)};
}

Triple<detail::TwoPart> exactGap(Vector3 const& from, Vector3 const& to)
{
    return {detail::twoSum(to.x, -from.x), detail::twoSum(to.y, -from.y), detail::twoSum(to.z, -from.z)};
}
Vector3 highParts(Triple<detail::TwoPart> const& a)
{
    return {a.x.high, a.y.high, a.z.high};
}

bool isOrdinary(double x)
{
    return x >= detail::kSmallestForExpansions && x <= detail::kLargestForExpansions;
}

// Scales extreme numbers, so that no square overflows and only what is negligible underflows.
SphereQuery sphereQuery(Ray const& ray, Vector3 const& center, double radius)
{
    SphereQuery query{exactGap(ray.origin(), center), ray.direction(), std::fabs(radius), 0};
    double const largest = std::max(largestOf(highParts(query.gap)), query.radius);
    if (isOrdinary(largest) && isOrdinary(largestOf(query.d))) return query;

    // The difference of two numbers that are halved twice does not overflow. Subnormal numbers would lose bits.
    int const halves = largest > 1.0 ? -2 : 0;
    if (halves != 0) query.gap = exactGap(scaledBy(ray.origin(), halves), scaledBy(center, halves));
    query.radius = detail::timesPowerOfTwo(query.radius, halves);
    int ofPoints = 0;
    int ofDirection = 0;
    (void)std::frexp(std::max(largestOf(highParts(query.gap)), query.radius), &ofPoints);
    (void)std::frexp(largestOf(query.d), &ofDirection);
    query.gap = {scaledBy(query.gap.x, -ofPoints), scaledBy(query.gap.y, -ofPoints), scaledBy(query.gap.z, -ofPoints)};
    query.radius = detail::timesPowerOfTwo(query.radius, -ofPoints);
    query.d = scaledBy(query.d, -ofDirection);
    query.exponent = ofPoints - halves - ofDirection;
    return query;
}

double compensatedDot(Triple<detail::TwoPart> const& a, Vector3 const& b)
{
    detail::CompensatedSum sum;
    sum.add(a.x.high, b.x);
    sum.add(a.y.high, b.y);
    sum.add(a.z.high, b.z);
    sum.addSmall(a.x.low * b.x + a.y.low * b.y + a.z.low * b.z);
    return sum.value();
}

// |gap|^2 - radius^2, the product of the distances to the crossings.
double power(SphereQuery const& query)
{
    detail::CompensatedSum sum;
    for (detail::TwoPart const* part : {&query.gap.x, &query.gap.y, &query.gap.z}) {
        sum.add(part->high, part->high);
        sum.addSmall(2.0 * part->high * part->low);
    }
    sum.add(-query.radius, query.radius);
    return sum.value();
}

// The sign of radius^2 |d|^2 - |(center - origin) x d|^2, exactly.
double exactHeightOverLine(Ray const& ray, Vector3 const& center, double radius)
{
    Vector3 const& o = ray.origin();
    Vector3 const& d = ray.direction();
    double const numbers[] = {o.x, o.y, o.z, d.x, d.y, d.z, center.x, center.y, center.z, radius};
    return withExactTerms(numbers, [&](auto const& terms) {
        auto const gap = exactDifference(terms, center, o);
        auto const direction = exactVector(terms, d);
        auto const r = terms.number(radius);
        auto const moment = cross(gap, direction);
        return scaled((r * r * dot(direction, direction) - dot(moment, moment)).rounded()).value;
    });
}

// Sets both parameters for a line that meets the ball, from those of the scaled query.
void setCrossings(SphereQuery const& query, double distance, double lengthSq, RaySphere* result)
{
    double const middle = compensatedDot(query.gap, query.d) / lengthSq;
    double const half = std::sqrt(std::max(0.0, (query.radius - distance) * (query.radius + distance)) / lengthSq);
    // Both terms of `far` have one sign; the other crossing follows from the product of the two, without cancellation.
    double const far = middle < 0.0 ? middle - half : middle + half;
    double const near = half == 0.0 || far == 0.0 ? far : power(query) / lengthSq / far;
    result->lineHit = true;
    result->tEnter = detail::timesPowerOfTwo(std::min(near, far), query.exponent);
    result->tLeave = detail::timesPowerOfTwo(std::max(near, far), query.exponent);
}

// An infinite largest component gives NaN, which no stage accepts; the quotients alone would be zero.
detail::Shear shearTo(std::int32_t axis, double next, double afterNext, double length)
{
    double const zero = 0.0 * length;
    return {axis, next / length + zero, afterNext / length + zero, length};
}

detail::Shear shearOf(Vector3 const& d)
{
    double const x = std::fabs(d.x);
    double const y = std::fabs(d.y);
    double const z = std::fabs(d.z);
    if (x > y && x > z) return shearTo(0, d.y, d.z, d.x);
    if (y > z) return shearTo(1, d.z, d.x, d.y);
    return shearTo(2, d.x, d.y, d.z);
}

} // namespace

Ray::Ray(Vector3 const& origin, Vector3 const& direction)
    : origin_(origin), direction_(direction), shear_(shearOf(direction))
{
}

RayTriangle rayTriangle(Ray const& ray, Vector3 const& a, Vector3 const& b, Vector3 const& c, double tMin, double tMax)
{
    Vector3 const corners[] = {a, b, c};
    auto const stage = ray.shear_.axis == 0 ? fastStage<0> : (ray.shear_.axis == 1 ? fastStage<1> : fastStage<2>);
    RayTriangle result;
    Decision const decision = stage(ray.shear_, ray.origin_, corners, tMin, tMax, &result);
    return decision == Decision::unknown ? ExactStage(ray, corners).result(tMin, tMax) : result;
}

RaySphere raySphere(Ray const& ray, Vector3 const& center, double radius, double tMin, double tMax)
{
    Vector3 const& o = ray.origin();
    Vector3 const& d = ray.direction();
    double const numbers[] = {o.x, o.y, o.z, d.x, d.y, d.z, center.x, center.y, center.z, radius};
    if (!detail::areFinite(numbers) || largestOf(d) == 0.0) return {};
    SphereQuery const query = sphereQuery(ray, center, radius);
    auto const& gap = query.gap;
    Vector3 const moment(detail::differenceOfProducts(gap.y, query.d.z, gap.z, query.d.y),
                         detail::differenceOfProducts(gap.z, query.d.x, gap.x, query.d.z),
                         detail::differenceOfProducts(gap.x, query.d.y, gap.y, query.d.x));
    double const lengthSq = query.d.lengthSq();
    double const distance = std::sqrt(moment.lengthSq() / lengthSq);
    // Seven roundings of the distance, and products of three roundings of the components of `moment`.
    double const bound = 8.0 * kEpsilon * distance + 20.0 * kEpsilon * kEpsilon * largestOf(highParts(gap));
    bool const inside = query.radius - distance > bound;
    if (!inside && (distance - query.radius > bound || exactHeightOverLine(ray, center, radius) < 0.0)) return {};

    RaySphere result;
    setCrossings(query, distance, lengthSq, &result);
    auto const inRange = [&](double t) { return t >= tMin && t <= tMax; };
    result.hit = inRange(result.tEnter) || inRange(result.tLeave);
    return result;
}

} // namespace sinew
