#include <sinew/core/predicates.h>

#include <limits>

#include <sinew/core/detail/exact_value.h>

namespace sinew::detail {

namespace {

using Vector2 = tzNM::vect2<double>;

// The value of the homogeneous polynomial `formula` of the given degree in the coordinates, rounded; its sign is exact.
// `formula` takes the kind of numbers to compute with.
template <std::size_t n, typename Formula>
double exactValue(double const (&coordinates)[n], int degree, Formula const& formula)
{
    if (fitExpansions(coordinates)) return formula(ExpansionTerms{}).rounded();
    if (!areFinite(coordinates)) return std::numeric_limits<double>::quiet_NaN();
    // Differences have at most 2099 bits, and at most 12 terms of degree 4 are added: 8400 bits.
    WholeTerms const terms{commonUnit(coordinates)};
    ScaledDouble const value = formula(terms).rounded();
    return ScaledDouble{value.value, value.exponent + degree * terms.exponent}.rounded();
}

} // namespace

double exactOrient2d(Vector2 const& a, Vector2 const& b, Vector2 const& c)
{
    return exactValue({a.x, a.y, b.x, b.y, c.x, c.y}, 2, [&](auto const& terms) {
        return terms.difference(a.x, c.x) * terms.difference(b.y, c.y) -
               terms.difference(a.y, c.y) * terms.difference(b.x, c.x);
    });
}

double exactOrient3d(Vector3 const& a, Vector3 const& b, Vector3 const& c, Vector3 const& d)
{
    return exactValue({a.x, a.y, a.z, b.x, b.y, b.z, c.x, c.y, c.z, d.x, d.y, d.z}, 3, [&](auto const& terms) {
        auto const ax = terms.difference(a.x, d.x), ay = terms.difference(a.y, d.y), az = terms.difference(a.z, d.z);
        auto const bx = terms.difference(b.x, d.x), by = terms.difference(b.y, d.y), bz = terms.difference(b.z, d.z);
        auto const cx = terms.difference(c.x, d.x), cy = terms.difference(c.y, d.y), cz = terms.difference(c.z, d.z);
        return (bx * cy - by * cx) * az + (cx * ay - cy * ax) * bz + (ax * by - ay * bx) * cz;
    });
}

double exactInCircle(Vector2 const& a, Vector2 const& b, Vector2 const& c, Vector2 const& d)
{
    return exactValue({a.x, a.y, b.x, b.y, c.x, c.y, d.x, d.y}, 4, [&](auto const& terms) {
        auto const ax = terms.difference(a.x, d.x), ay = terms.difference(a.y, d.y);
        auto const bx = terms.difference(b.x, d.x), by = terms.difference(b.y, d.y);
        auto const cx = terms.difference(c.x, d.x), cy = terms.difference(c.y, d.y);
        return (ax * ax + ay * ay) * (bx * cy - by * cx) + (bx * bx + by * by) * (cx * ay - cy * ax) +
               (cx * cx + cy * cy) * (ax * by - ay * bx);
    });
}

} // namespace sinew::detail
