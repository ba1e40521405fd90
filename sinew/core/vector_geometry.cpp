// Segment distance: C. Ericson, Real-Time Collision Detection, 2005, section 5.1.2. Curvatures: M. P. do Carmo,
// Differential Geometry of Curves and Surfaces, 1976, sections 1-5 and 3-3.

#include <sinew/core/vector_geometry.h>

#include <sinew/core/detail/math.h>
#include <sinew/core/tolerances.h>

using sinew::kBarycentricUpper;
using sinew::kGeometricZero;
using sinew::kGramZero;
namespace math = sinew::detail::math;

namespace {

// Solves [[g00, g01], [g10, g11]] * (x0, x1) = (r0, r1). False, with x0 and x1 unwritten, if the magnitude of the
// determinant is below kGramZero; a NaN determinant is not.
bool solve2x2(double g00, double g01, double g10, double g11, double r0, double r1, double* x0, double* x1)
{
    double const det = g11 * g00 - g01 * g10;
    if (std::fabs(det) < kGramZero) return false;
    *x0 = g11 / det * r0 + -g01 / det * r1;
    *x1 = -g10 / det * r0 + g00 / det * r1;
    return true;
}

bool insideMargins(double coordinate)
{
    return coordinate > kGeometricZero && coordinate < kBarycentricUpper;
}

} // namespace

double getAngleBetween(Vector3 const& a, Vector3 const& b, Vector3 const& n)
{
    Vector3 const c = cross(a, b);
    double const angle = math::atan2(c.length(), a * b);
    return c * n < 0 ? sinew::kFullTurn - angle : angle;
}

bool samePlane(Vector3 const& p, UVector3 const& m, Vector3 const& q, UVector3 const& n)
{
    if (!m.isParallel(n, -1.0)) return false;
    Vector3 const d = q - p;
    return d.isNull() || m.isNormal(d, -1.0);
}

Vector3 projectOnLine(Vector3 const& p, Vector3 const& a, UVector3 const& d)
{
    return a + d * ((p - a) * d);
}

Vector3 projectOnPlane(Vector3 const& p, Vector3 const& q, UVector3 const& n)
{
    return p + n * ((q - p) * n);
}

double distSqToLineSegment(Vector3 const& p, Vector3 const& a, Vector3 const& b, double* t)
{
    Vector3 const e = b - a;
    double const fromA = (p - a) * e;
    // Every distance is computed before t is written, because t may point to a coordinate of p, a or b.
    if (fromA <= kGeometricZero) {
        double const toA = distSq(p, a);
        if (t) *t = 0.0;
        return toA;
    }
    double const fromB = (p - b) * e;
    if (fromB >= -kGeometricZero) {
        double const toB = distSq(p, b);
        if (t) *t = 1.0;
        return toB;
    }
    double const lengthSq = e.lengthSq();
    double const result = distSq(p, a) - fromA * fromA / lengthSq;
    if (t) *t = fromA / lengthSq;
    return result > 0.0 ? result : 0.0;
}

bool Vector3::pullBack(Vector3 const* basis, Vector3* coeffs) const
{
    Vector3 const& u = basis[0];
    Vector3 const& v = basis[1];
    // All products are divided by the size of the basis. Otherwise a basis of short vectors would count as singular.
    double const size = u.lengthSq() + v.lengthSq();
    if (size < kGramZero) return false;
    double const ru = (*this * u) / size;
    double const rv = (*this * v) / size;
    double const uu = u.lengthSq() / size;
    double const uv = (u * v) / size;
    double const vv = v.lengthSq() / size;

    double alpha = 0.0;
    double beta = 0.0;
    if (!solve2x2(uu, uv, uv, vv, ru, rv, &alpha, &beta)) {
        bool const useV = vv > uu; // if both are equally long, the first
        double const longer = useV ? vv : uu;
        if (longer < kGramZero) return false;
        alpha = useV ? 0.0 : ru / longer;
        beta = useV ? rv / longer : 0.0;
    }
    if (coeffs) *coeffs = Vector3(alpha, beta, 0.0);
    return true;
}

bool Vector3::isInTriangle(Vector3 const& a, Vector3 const& b, Vector3 const& c) const
{
    Vector3 const edges[2] = {b - a, c - a};
    Vector3 coordinates;
    if (!(*this - a).pullBack(edges, &coordinates)) return false;
    double const s = coordinates.x;
    double const t = coordinates.y;
    return insideMargins(s) && insideMargins(t) && s + t > kGeometricZero && 1.0 - s - t > kGeometricZero;
}

Vector3 Vector3::reflect(Vector3 const& a, Vector3 const& b) const
{
    Vector3 const r = *this - a;
    // The documented rule: s is measured along the unit direction and multiplied with the unnormalised one.
    double const s = r * UVector3(b - a);
    return (b - a) * s + a - r;
}

void getBasis(Vector3 const& n, Vector3& e1, Vector3& e2)
{
    double const ax = std::fabs(n.x);
    double const ay = std::fabs(n.y);
    double const az = std::fabs(n.z);
    Vector3 seed;
    if (ay > ax && az > ax) {
        seed.x = 1.0;
    } else if (az > ay) {
        seed.y = 1.0;
    } else {
        seed.z = 1.0;
    }
    UVector3 const first(seed - n * (n * seed));
    UVector3 const second(cross(n, first));
    e1 = first;
    e2 = second;
}

double calcCurvature(Vector3 const& d1, Vector3 const& d2)
{
    double const speedSq = d1.lengthSq();
    if (speedSq < kGeometricZero) return 0.0;
    double const k = (d1 * d2) / speedSq;
    return (d2 - d1 * k).length() * (1.0 / speedSq);
}

bool principalCurvatures(Vector3 const* first, Vector3 const* second, double* k1, double* k2)
{
    double const E = first[0] * first[0];
    double const F = first[0] * first[1];
    double const G = first[1] * first[1];
    Vector3 normal = cross(first[0], first[1]);
    if (!normal.autoNormalize()) return false;

    double const L = normal * second[0];
    double const M = normal * second[1];
    double const N = normal * second[2];
    double const D = E * G - F * F;
    if (D < kGeometricZero) return false;

    double const mean = (G * L + F * (-2.0 * M) + E * N) * 0.5 / D;
    double const gaussian = (L * N - M * M) / D;
    double const discriminant = mean * mean - gaussian;
    // The comparison is false for a NaN discriminant, so that the results become NaN.
    double const root = discriminant < kGramZero ? 0.0 : std::sqrt(discriminant);
    if (k1) *k1 = mean - root;
    if (k2) *k2 = mean + root;
    return true;
}
