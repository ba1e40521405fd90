#pragma once

/// Reference implementation of the intersection records, step by step as they are defined. The structs have the fields
/// of the library's records.

#include <cmath>

#include <sinew/core/matrix3.h>

namespace reference {

struct LineLine
{
    int result = -1;
    Vector3 point;
    double t1 = 0.0;
    double t2 = 0.0;
};

inline LineLine lineLineUnit(Vector3 const& p1, UVector3 const& d1, Vector3 const& p2, UVector3 const& d2, double tol)
{
    LineLine r;
    double const c = d1 * d2;
    if (1 - std::fabs(c) < 5.0000000000000005e-17) {
        r.point = p1;
        r.t1 = 0;
        r.t2 = (p1 - p2) * d2;
        Vector3 const g = (p1 - p2) + ((p2 - p1) * d1) * d1;
        r.result = tol * tol > g.lengthSq() ? 2 : 1;
        return r;
    }
    Vector3 const w = p2 - p1;
    r.t1 = (w * d1 - (w * d2) * c) / (1 - c * c);
    r.t2 = ((w * d1) * c - w * d2) / (1 - c * c);
    Vector3 const g = w + r.t2 * d2 - r.t1 * d1;
    r.result = 3;
    if (tol * tol > g.lengthSq()) {
        r.result = 0;
        r.point = p1 + r.t1 * d1;
    }
    return r;
}

inline LineLine lineLine(Vector3 const& p1, Vector3 d1, Vector3 const& p2, Vector3 const& d2, double tol)
{
    LineLine r;
    double const s11 = d1.lengthSq();
    double const s22 = d2.lengthSq();
    double const s12 = d1 * d2;
    if (d1.isParallel(d2, -1.0)) {
        r.point = p1;
        r.t1 = 0;
        r.t2 = ((p1 - p2) * d2) / s22;
        Vector3 const g = (p1 - p2) + (((p2 - p1) * d1) / s11) * d1;
        r.result = tol * tol > g.lengthSq() ? 2 : 1;
        return r;
    }
    Vector3 const w = p2 - p1;
    double const D = s11 * s22 - s12 * s12;
    r.t1 = (s22 * (w * d1) - s12 * (w * d2)) / D;
    r.t2 = (s12 * (w * d1) - s11 * (w * d2)) / D;
    Vector3 const g = w + r.t2 * d2 - r.t1 * d1;
    r.result = 3;
    if (tol * tol > g.lengthSq()) {
        r.result = 0;
        r.point = p1 + r.t1 * d1;
    }
    return r;
}

struct PlanePlane
{
    int result = -1;
    Vector3 point;
    Vector3 dir;
};

inline PlanePlane planePlane(Vector3 const& p1, UVector3 const& N1, Vector3 const& p2, UVector3 const& N2, double tol)
{
    PlanePlane r;
    Vector3 dir = cross(N1, N2);
    if (dir.lengthSq() < 1.0000000000000001e-16) {
        r.result = tol > std::fabs((p1 - p2) * N1) ? 2 : 1;
        return r;
    }
    dir.autoNormalize();
    r.dir = dir;
    Vector3 const u = cross(N1, dir);
    double const s = ((p2 - p1) * N2) / (N2 * u);
    r.point = p1 + s * u;
    r.result = 0;
    return r;
}

struct LinePlane
{
    int result = -1;
    Vector3 point;
    double t = 0.0;
};

inline LinePlane linePlane(Vector3 const& p, UVector3 const& d, Vector3 const& q, UVector3 const& n, double tol)
{
    LinePlane r;
    double const e = n * d;
    if (std::fabs(e) < 1e-8) {
        r.point = p;
        r.result = tol > std::fabs((p - q) * n) ? 2 : 1;
        return r;
    }
    r.t = ((q - p) * n) / e;
    r.point = p + r.t * d;
    r.result = 0;
    return r;
}

inline LinePlane lineTriangle(Vector3 const& p, UVector3 const& d, Vector3 const& a, Vector3 const& b, Vector3 const& c,
                              double tol)
{
    LinePlane r;
    Vector3 const m = (a + b + c) * (1.0 / 3);
    double rSq = (m - a).lengthSq();
    double const toB = (m - b).lengthSq();
    double const toC = (m - c).lengthSq();
    if (toB > rSq) rSq = toB;
    if (toC > rSq) rSq = toC;
    rSq += tol;
    Vector3 const w = p - m;
    if (w.lengthSq() - (w * d) * (w * d) > rSq + tol) {
        r.result = 1;
        return r;
    }
    Vector3 n = cross(b - a, c - a);
    if (!n.autoNormalize()) {
        r.result = 4;
        return r;
    }
    LinePlane const plane = linePlane(p, d, a, UVector3(n), tol);
    if (plane.result == 1) {
        r.result = 3;
        return r;
    }
    if (plane.result == 2) {
        r.result = 2;
        return r;
    }
    r.point = plane.point;
    r.t = plane.t;
    Vector3 const x = r.point;
    r.result = 1;
    if (cross(x - a, c - a) * n >= -tol && cross(b - a, x - a) * n >= -tol && cross(x - c, b - c) * n >= -tol) {
        r.result = 0;
    }
    return r;
}

struct LineSphere
{
    int result = -1;
    Vector3 point1;
    Vector3 point2;
    double t1 = 0.0;
    double t2 = 0.0;
};

inline LineSphere lineSphere(Vector3 const& p, UVector3 const& d, Vector3 const& center, double radius, double tol)
{
    LineSphere r;
    Vector3 const w = center - p;
    double const tc = w * d;
    double const distanceSq = w.lengthSq() - tc * tc;
    double const rSq = radius * radius;
    if (distanceSq > rSq + tol) {
        r.result = 0;
    } else if (distanceSq > rSq - tol) {
        r.result = 1;
        r.t1 = tc;
        r.t2 = tc;
        r.point2 = p + tc * d;
        r.point1 = r.point2;
    } else {
        double const h = std::sqrt(rSq - distanceSq);
        r.result = 2;
        r.t1 = tc - h;
        r.t2 = tc + h;
        r.point1 = p + r.t1 * d;
        r.point2 = p + r.t2 * d;
    }
    return r;
}

inline Vector3 triangleWeights(Vector3 const& p, Vector3 const& a, Vector3 const& b, Vector3 const& c)
{
    Vector3 const N = cross(b - a, c - a);
    int u = 0;
    int v = 1;
    if (std::fabs(N.x) >= std::fabs(N.y) && std::fabs(N.x) >= std::fabs(N.z)) {
        u = 1;
        v = 2;
    } else if (std::fabs(N.y) >= std::fabs(N.x) && std::fabs(N.y) >= std::fabs(N.z)) {
        u = 0;
        v = 2;
    }
    Matrix3 M;
    for (int i = 0; i < 3; ++i) {
        Vector3 const& corner = i == 0 ? a : (i == 1 ? b : c);
        M(0, i) = corner[u];
        M(1, i) = corner[v];
        M(2, i) = 1;
    }
    double const det = M(0, 0) * (M(1, 1) * M(2, 2) - M(1, 2) * M(2, 1)) -
                       M(0, 1) * (M(1, 0) * M(2, 2) - M(1, 2) * M(2, 0)) +
                       M(0, 2) * (M(1, 0) * M(2, 1) - M(1, 1) * M(2, 0));
    if (std::fabs(det) > 1e-20) return M.inverse() * Vector3(p[u], p[v], 1);
    return {};
}

} // namespace reference
