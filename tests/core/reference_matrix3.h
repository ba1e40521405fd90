#pragma once

/// Reference implementations of the functions of `Matrix3` and of the eigen-solver: each formula element by element,
/// every sum in the order of its formula.

#include <cmath>

#include <sinew/core/matrix3.h>

#include "core/reference_vector_geometry.h"

namespace reference {

inline Matrix3 fromRows(double const (&m)[3][3])
{
    Matrix3 result;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) result(i, j) = m[i][j];
    }
    return result;
}

inline Matrix3 product(Matrix3 const& a, Matrix3 const& b)
{
    Matrix3 result;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) result(i, j) = a(i, 0) * b(0, j) + a(i, 1) * b(1, j) + a(i, 2) * b(2, j);
    }
    return result;
}

inline Vector3 map(Matrix3 const& m, Vector3 const& v)
{
    double r[3];
    for (int i = 0; i < 3; ++i) r[i] = m(i, 0) * v.x + m(i, 1) * v.y + m(i, 2) * v.z;
    return Vector3(r[0], r[1], r[2]);
}

inline Matrix3 transposed(Matrix3 const& m)
{
    double const t[3][3] = {{m(0, 0), m(1, 0), m(2, 0)}, {m(0, 1), m(1, 1), m(2, 1)}, {m(0, 2), m(1, 2), m(2, 2)}};
    return fromRows(t);
}

inline Vector3 columnOf(Matrix3 const& m, int j)
{
    return Vector3(m(0, j), m(1, j), m(2, j));
}

inline double determinant(Matrix3 const& m)
{
    return m(0, 0) * (m(1, 1) * m(2, 2) - m(1, 2) * m(2, 1)) - m(0, 1) * (m(2, 2) * m(1, 0) - m(1, 2) * m(2, 0)) +
           m(0, 2) * (m(2, 1) * m(1, 0) - m(1, 1) * m(2, 0));
}

inline Matrix3 inverse(Matrix3 const& m)
{
    double a[3][3];
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) a[i][j] = m(i, j);
    }
    double r[3][3] = {{a[1][1] * a[2][2] - a[1][2] * a[2][1], a[0][2] * a[2][1] - a[0][1] * a[2][2],
                       a[0][1] * a[1][2] - a[0][2] * a[1][1]},
                      {a[1][2] * a[2][0] - a[1][0] * a[2][2], a[0][0] * a[2][2] - a[0][2] * a[2][0],
                       a[0][2] * a[1][0] - a[0][0] * a[1][2]},
                      {a[1][0] * a[2][1] - a[1][1] * a[2][0], a[0][1] * a[2][0] - a[0][0] * a[2][1],
                       a[0][0] * a[1][1] - a[0][1] * a[1][0]}};
    double const det = determinant(m);
    bool const singular = std::fabs(det) < 1e-08;
    double const s = 1.0 / det;
    for (auto& row : r) {
        for (double& e : row) e = singular ? 0.0 : e * s;
    }
    return fromRows(r);
}

/// Rotation about an axis that is not normalised.
inline Matrix3 rotationMatrix(Vector3 const& axis, double angle)
{
    double const x = axis.x;
    double const y = axis.y;
    double const z = axis.z;
    double const c = math::cos(angle);
    double const s = math::sin(angle);
    double const w = 1 - c;
    double const r[3][3] = {{x * (w * x) + c, w * x * y - s * z, w * x * z + s * y},
                            {w * x * y + s * z, y * (w * y) + c, w * y * z - s * x},
                            {w * x * z - s * y, w * y * z + s * x, z * (w * z) + c}};
    return fromRows(r);
}

inline Matrix3 rotationBetween(Vector3 const& from, Vector3 const& to)
{
    Vector3 n = crossProduct(from, to);
    double const angle = math::atan2(length(n), dot(from, to));
    if (!autoNormalize(n)) {
        Vector3 e2;
        reference::getBasis(from, n, e2);
    }
    return rotationMatrix(unit(n), angle);
}

inline Vector3 getRotationAxis(Matrix3 const& m)
{
    double const b[3][3] = {
        {m(0, 0) - 1, m(1, 0), m(2, 0)}, {m(0, 1), m(1, 1) - 1, m(2, 1)}, {m(0, 2), m(1, 2), m(2, 2) - 1}};
    Vector3 rows[3];
    for (int i = 0; i < 3; ++i) rows[i] = Vector3(b[i][0], b[i][1], b[i][2]);
    Vector3 const c[3] = {crossProduct(rows[0], rows[1]), crossProduct(rows[1], rows[2]),
                          crossProduct(rows[2], rows[0])};
    double largest = dot(c[0], c[0]);
    int k = 0;
    for (int i = 1; i < 3; ++i) {
        if (dot(c[i], c[i]) > largest) {
            largest = dot(c[i], c[i]);
            k = i;
        }
    }
    if (largest >= 1e-16) return unit(c[k]);
    double const R[3] = {dot(rows[0], rows[0]), dot(rows[1], rows[1]), dot(rows[2], rows[2])};
    k = 0;
    if (R[0] > R[1]) k = 1;
    if (R[0] > R[2] && R[1] > R[2]) k = 2;
    return unit(columnOf(m, k));
}

inline double getRotationAngle(Matrix3 const& m, Vector3 const* axis)
{
    Vector3 const a = axis ? *axis : getRotationAxis(m);
    int k = a.x > a.y ? 1 : 0;
    if (a.x > a.z) {
        if (a.y > a.z) k = 2;
    }
    Vector3 const ek(k == 0 ? 1.0 : 0.0, k == 1 ? 1.0 : 0.0, k == 2 ? 1.0 : 0.0);
    Vector3 const p = crossProduct(a, ek);
    Vector3 const q = crossProduct(a, columnOf(m, k));
    return math::atan2(dot(crossProduct(p, q), a), dot(p, q));
}

inline bool jacobiRotation(double const (&A)[3][3], int& p, int& q, double& c, double& s, double& t, double& tau)
{
    int const row[3] = {1, 2, 2};
    int const column[3] = {0, 0, 1};
    double best = std::fabs(A[1][0]);
    p = 1;
    q = 0;
    for (int k = 1; k < 3; ++k) {
        double const e = std::fabs(A[row[k]][column[k]]);
        if (e >= best) {
            best = e;
            p = row[k];
            q = column[k];
        }
    }
    double const d = A[q][q] - A[p][p];
    double const apq = A[p][q];
    if (std::fabs(d) < 1e-13 && std::fabs(2 * apq) < 1e-13) return false;
    double const theta = d / (2 * apq);
    if (std::fabs(theta) > 1e13) {
        t = apq / d;
    } else {
        t = (theta > 0 ? 1.0 : -1.0) / (std::fabs(theta) + std::sqrt(theta * theta + 1));
    }
    c = 1 / std::sqrt(t * t + 1);
    s = t * c;
    tau = s / (1 + c);
    return true;
}

inline bool jacobiMethod(Matrix3 const& A, double* values, Vector3* vectors)
{
    double V[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    double W[3][3];
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) W[i][j] = (A(i, j) + A(j, i)) * 0.5;
    }
    bool converged = false;
    for (int count = 1; count != 52; ++count) {
        int p = 0, q = 0;
        double c = 0, s = 0, t = 0, tau = 0;
        if (!jacobiRotation(W, p, q, c, s, t, tau)) {
            converged = true;
            break;
        }
        double const wpq = W[p][q];
        W[p][p] -= t * wpq;
        W[q][q] += t * wpq;
        W[p][q] = W[q][p] = 0;
        for (int r = 0; r < 3; ++r) {
            if (r == p || r == q) continue;
            double const rp = W[r][p];
            double const rq = W[r][q];
            W[r][p] = W[p][r] = rp - s * (rq + tau * rp);
            W[r][q] = W[q][r] = rq + s * (rp - tau * rq);
        }
        for (auto& v : V) {
            double const vp = v[p];
            double const vq = v[q];
            v[p] = c * vp - s * vq;
            v[q] = s * vp + c * vq;
        }
        if (!(std::fabs(W[1][0]) + std::fabs(W[2][0]) + std::fabs(W[2][1]) > 1e-08)) {
            converged = true;
            break;
        }
    }
    double e[3];
    Vector3 v[3];
    for (int k = 0; k < 3; ++k) {
        e[k] = W[k][k];
        v[k] = Vector3(V[0][k], V[1][k], V[2][k]);
    }
    for (int pass = 0; pass < 3; ++pass) {
        for (int k = 0; k < 2; ++k) {
            if (!(e[k] > e[k + 1])) continue;
            double const value = e[k];
            e[k] = e[k + 1];
            e[k + 1] = value;
            Vector3 const vector = v[k];
            v[k] = v[k + 1];
            v[k + 1] = vector;
        }
    }
    for (int k = 0; k < 3; ++k) {
        if (values) values[k] = e[k];
        if (vectors) vectors[k] = unit(v[k]);
    }
    return converged;
}

inline Matrix3 getMatrixFromEigs(double const* values, Vector3 const* vectors)
{
    double const p[3][3] = {{vectors[0].x, vectors[1].x, vectors[2].x},
                            {vectors[0].y, vectors[1].y, vectors[2].y},
                            {vectors[0].z, vectors[1].z, vectors[2].z}};
    double const d[3][3] = {{values[0], 0, 0}, {0, values[1], 0}, {0, 0, values[2]}};
    return product(product(fromRows(p), fromRows(d)), inverse(fromRows(p)));
}

inline bool isNearZero(Matrix3 const& m)
{
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            if (!(std::fabs(m(i, j)) < 1e-08)) return false;
        }
    }
    return true;
}

inline int getNullspace(Matrix3 const& m, Vector3* out, bool force)
{
    if (std::fabs(determinant(m)) > 1e-08 && !force) return 0;
    if (isNearZero(m)) {
        out[0] = Vector3(1, 0, 0);
        out[1] = Vector3(0, 1, 0);
        out[2] = Vector3(0, 0, 1);
        return 3;
    }
    Vector3 const c0 = columnOf(m, 0);
    Vector3 const c1 = columnOf(m, 1);
    Vector3 const c2 = columnOf(m, 2);
    Vector3 const X01 = crossProduct(c0, c1);
    Vector3 const X02 = crossProduct(c0, c2);
    Vector3 const X12 = crossProduct(c1, c2);
    double const L01 = dot(X01, X01);
    double const L02 = dot(X02, X02);
    double const L12 = dot(X12, X12);
    double largest = L01;
    if (L02 > largest) largest = L02;
    if (L12 > largest) largest = L12;
    if (largest < 1.0000000000000001e-16) {
        Vector3 u = c0;
        if (dot(c1, c1) > dot(u, u)) u = c1;
        if (dot(c2, c2) > dot(u, u)) u = c2;
        u = unit(u);
        reference::getBasis(unit(Vector3(dot(u, c0), dot(u, c1), dot(u, c2))), out[0], out[1]);
        return 2;
    }
    Vector3 B[2];
    if (L12 >= L01 && L12 >= L02) {
        B[0] = unit(c2);
        B[1] = unit(c1);
    } else if (L02 >= L01) {
        B[0] = unit(c0);
        B[1] = unit(c2);
    } else {
        B[0] = unit(c0);
        B[1] = unit(c1);
    }
    Vector3 ab[3];
    pullBack(c0, B, &ab[0]);
    pullBack(c1, B, &ab[1]);
    pullBack(c2, B, &ab[2]);
    Vector3 const P(ab[0].x, ab[1].x, ab[2].x);
    Vector3 const Q(ab[0].y, ab[1].y, ab[2].y);
    Vector3 const n = crossProduct(P, Q);
    if (!isNull(n)) {
        out[0] = unit(n);
        return 1;
    }
    reference::getBasis(dot(P, P) > dot(Q, Q) ? P : Q, out[0], out[1]);
    return 2;
}

} // namespace reference
