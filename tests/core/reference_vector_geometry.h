#pragma once

/// Reference implementations of the vector functions: each formula coordinate by coordinate, every sum in the order
/// of its formula. Tests compare the library with them bit for bit, and benches compare times.

#include <cmath>

#include <sinew/core/detail/math.h>
#include <sinew/core/vector3.h>

namespace reference {

namespace math = sinew::detail::math; // the functions that the library calls; SINEW_MATH selects them

inline double dot(Vector3 const& a, Vector3 const& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Vector3 sum(Vector3 const& a, Vector3 const& b)
{
    return Vector3(a.x + b.x, a.y + b.y, a.z + b.z);
}
inline Vector3 difference(Vector3 const& a, Vector3 const& b)
{
    return Vector3(a.x - b.x, a.y - b.y, a.z - b.z);
}
inline Vector3 times(Vector3 const& a, double s)
{
    return Vector3(a.x * s, a.y * s, a.z * s);
}
inline Vector3 crossProduct(Vector3 const& a, Vector3 const& b)
{
    return Vector3(a.y * b.z - b.y * a.z, a.z * b.x - b.z * a.x, a.x * b.y - a.y * b.x);
}
inline double length(Vector3 const& a)
{
    return std::sqrt(a.x * a.x + a.y * a.y + a.z * a.z);
}

inline bool isNull(Vector3 const& a)
{
    return a.x * a.x + a.y * a.y + a.z * a.z < 1e-26;
}

inline bool autoNormalize(Vector3& a)
{
    if (isNull(a)) return false;
    double const r = 1.0 / length(a);
    a.x = a.x * r;
    a.y = a.y * r;
    a.z = a.z * r;
    return true;
}

/// The vector that the constructor of `UVector3` gives.
inline Vector3 unit(Vector3 a)
{
    if (!autoNormalize(a)) a.z = 1.0;
    return a;
}

inline bool isParallel(Vector3 const& a, Vector3 const& b, double tol)
{
    if (isNull(a)) return false;
    if (isNull(b)) return false;
    double c = tol * tol;
    if (tol < 0) c = 0.9999997258;
    double const d = dot(a, b);
    return d * d > dot(a, a) * dot(b, b) * c;
}

inline bool isNormal(Vector3 const& a, Vector3 const& b, double tol)
{
    if (isNull(a)) return false;
    if (isNull(b)) return false;
    double c = tol * tol;
    if (tol < 0) c = 2.7415591280100005e-07;
    double const d = dot(a, b);
    return dot(a, a) * dot(b, b) * c > d * d;
}

inline double getAngleBetween(Vector3 const& a, Vector3 const& b, Vector3 const& n)
{
    Vector3 const c = crossProduct(a, b);
    double const angle = math::atan2(length(c), dot(a, b));
    if (dot(c, n) < 0) return 6.283185307179586 - angle;
    return angle;
}

inline bool samePlane(Vector3 const& p, Vector3 const& m, Vector3 const& q, Vector3 const& n)
{
    if (!isParallel(m, n, -1.0)) return false;
    Vector3 const d = difference(q, p);
    if (isNull(d)) return true;
    return isNormal(m, d, -1.0);
}

inline Vector3 projectOnLine(Vector3 const& p, Vector3 const& a, Vector3 const& d)
{
    double const s = dot(difference(p, a), d);
    return sum(a, times(d, s));
}

inline Vector3 projectOnPlane(Vector3 const& p, Vector3 const& q, Vector3 const& n)
{
    double const s = dot(difference(q, p), n);
    return sum(p, times(n, s));
}

inline double distSqToLineSegment(Vector3 const& p, Vector3 const& a, Vector3 const& b, double* t)
{
    Vector3 const e = difference(b, a);
    Vector3 const pa = difference(p, a);
    Vector3 const pb = difference(p, b);
    double const s0 = dot(pa, e);
    if (s0 <= 1e-13) {
        if (t) *t = 0.0;
        return dot(pa, pa);
    }
    double const s1 = dot(pb, e);
    if (s1 >= -1e-13) {
        if (t) *t = 1.0;
        return dot(pb, pb);
    }
    double const L = dot(e, e);
    if (t) *t = s0 / L;
    double const d = dot(pa, pa) - s0 * s0 / L;
    if (d > 0.0) return d;
    return 0.0;
}

inline bool pullBack(Vector3 const& w, Vector3 const* basis, Vector3* coeffs)
{
    Vector3 const u = basis[0];
    Vector3 const v = basis[1];
    double const S = dot(u, u) + dot(v, v);
    if (S < 1.0000000000000001e-16) return false;
    double const r[2] = {dot(w, u) / S, dot(w, v) / S};
    double const G[2][2] = {{dot(u, u) / S, dot(u, v) / S}, {dot(v, u) / S, dot(v, v) / S}};
    double const det = G[1][1] * G[0][0] - G[0][1] * G[1][0];
    double result[2] = {0.0, 0.0};
    if (std::fabs(det) < 1.0000000000000001e-16) {
        int const k = G[1][1] > G[0][0] ? 1 : 0;
        if (G[k][k] < 1.0000000000000001e-16) return false;
        result[k] = r[k] / G[k][k];
    } else {
        double const inverse[2][2] = {{G[1][1] / det, -G[0][1] / det}, {-G[1][0] / det, G[0][0] / det}};
        for (int k = 0; k < 2; ++k) result[k] = inverse[k][0] * r[0] + inverse[k][1] * r[1];
    }
    if (coeffs) *coeffs = Vector3(result[0], result[1], 0.0);
    return true;
}

inline bool isInTriangle(Vector3 const& p, Vector3 const& a, Vector3 const& b, Vector3 const& c)
{
    Vector3 const edges[2] = {difference(b, a), difference(c, a)};
    Vector3 st;
    if (!pullBack(difference(p, a), edges, &st)) return false;
    double const s = st.x;
    double const t = st.y;
    return s > 1e-13 && s < 0.9999999999999 && t > 1e-13 && t < 0.9999999999999 && s + t > 1e-13 && 1.0 - s - t > 1e-13;
}

inline Vector3 reflect(Vector3 const& p, Vector3 const& a, Vector3 const& b)
{
    Vector3 const r = difference(p, a);
    Vector3 const e = difference(b, a);
    double const s = dot(r, unit(e));
    return difference(sum(times(e, s), a), r);
}

inline void getBasis(Vector3 const& n, Vector3& e1, Vector3& e2)
{
    Vector3 seed;
    if (std::fabs(n.y) > std::fabs(n.x) && std::fabs(n.z) > std::fabs(n.x)) {
        seed.x = 1;
    } else if (std::fabs(n.z) > std::fabs(n.y)) {
        seed.y = 1;
    } else {
        seed.z = 1;
    }
    Vector3 const first = unit(difference(seed, times(n, dot(n, seed))));
    Vector3 const second = unit(crossProduct(n, first));
    e1 = first;
    e2 = second;
}

inline double calcCurvature(Vector3 const& d1, Vector3 const& d2)
{
    double const L = dot(d1, d1);
    if (L < 1e-13) return 0.0;
    double const k = dot(d1, d2) / L;
    return length(difference(d2, times(d1, k))) * (1.0 / L);
}

inline bool principalCurvatures(Vector3 const* first, Vector3 const* second, double* k1, double* k2)
{
    double const E = dot(first[0], first[0]);
    double const F = dot(first[0], first[1]);
    double const G = dot(first[1], first[1]);
    Vector3 n = crossProduct(first[0], first[1]);
    if (!autoNormalize(n)) return false;
    double const L = dot(n, second[0]);
    double const M = dot(n, second[1]);
    double const N = dot(n, second[2]);
    double const D = E * G - F * F;
    if (D < 1e-13) return false;
    double const H = (G * L + F * (-2.0 * M) + E * N) * 0.5 / D;
    double const K = (L * N - M * M) / D;
    double const Q = H * H - K;
    double R = 0.0;
    if (Q >= 1.0000000000000001e-16 || Q != Q) R = std::sqrt(Q);
    if (k1) *k1 = H - R;
    if (k2) *k2 = H + R;
    return true;
}

} // namespace reference
