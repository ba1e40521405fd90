#pragma once

/// Reference implementations of the functions of `Matrix` and `Transform`: each formula element by element, every sum
/// in the order of its formula.

#include <cmath>

#include <sinew/core/matrix.h>
#include <sinew/core/transform.h>

#include "core/reference_matrix3.h"

namespace reference {

inline Matrix product(Matrix const& a, Matrix const& b)
{
    Matrix result;
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            result(i, j) = a(i, 0) * b(0, j) + a(i, 1) * b(1, j) + a(i, 2) * b(2, j) + a(i, 3) * b(3, j);
        }
    }
    return result;
}

inline Matrix transposed(Matrix const& m)
{
    Matrix result;
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) result(j, i) = m(i, j);
    }
    return result;
}

inline double distTo(Matrix const& a, Matrix const& b)
{
    double total = (a(0, 0) - b(0, 0)) * (a(0, 0) - b(0, 0));
    for (int k = 1; k < 16; ++k) {
        double const d = a(k / 4, k % 4) - b(k / 4, k % 4);
        total = total + d * d;
    }
    return std::sqrt(total);
}

inline Matrix scaled(Matrix const& m, double s)
{
    Matrix result;
    for (int j = 0; j < 4; ++j) {
        result(0, j) = m(0, j) * s;
        result(1, j) = m(1, j) * s;
        result(2, j) = m(2, j) * s;
    }
    return result;
}

inline Matrix inverse(Matrix const& m)
{
    double const a00 = m(0, 0), a01 = m(0, 1), a02 = m(0, 2), tx = m(0, 3);
    double const a10 = m(1, 0), a11 = m(1, 1), a12 = m(1, 2), ty = m(1, 3);
    double const a20 = m(2, 0), a21 = m(2, 1), a22 = m(2, 2), tz = m(2, 3);
    double const det = a00 * (a11 * a22 - a12 * a21) - a01 * (a10 * a22 - a12 * a20) + a02 * (a10 * a21 - a11 * a20);
    Matrix result;
    if (std::fabs(det) > 1e-13) {
        double const s = 1.0 / det;
        double const c[3][3] = {{a11 * a22 - a12 * a21, a02 * a21 - a01 * a22, a01 * a12 - a02 * a11},
                                {a12 * a20 - a10 * a22, a00 * a22 - a02 * a20, a02 * a10 - a00 * a12},
                                {a10 * a21 - a11 * a20, a01 * a20 - a00 * a21, a00 * a11 - a01 * a10}};
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) result(i, j) = c[i][j] * s;
            result(i, 3) = ((-c[i][0]) * tx + (-c[i][1]) * ty + (-c[i][2]) * tz) * s;
        }
    }
    return result;
}

inline double firstRowLength(Matrix const& m)
{
    return std::sqrt(m(0, 0) * m(0, 0) + m(0, 1) * m(0, 1) + m(0, 2) * m(0, 2));
}

inline Matrix normalized(Matrix m)
{
    double const L = firstRowLength(m);
    m(0, 3) = 0;
    m(1, 3) = 0;
    m(2, 3) = 0;
    for (int k = 0; k < 16; ++k) m(k / 4, k % 4) = m(k / 4, k % 4) / L;
    return m;
}

inline bool isRigid(Matrix const& m)
{
    if (m(3, 0) != 0.0 || m(3, 1) != 0.0 || m(3, 2) != 0.0 || m(3, 3) != 1.0) return false;
    Matrix const n = normalized(m);
    return !(distTo(Matrix(), product(n, transposed(n))) > 0.0001);
}

inline Matrix3 block(Matrix const& m)
{
    double const r[3][3] = {{m(0, 0), m(0, 1), m(0, 2)}, {m(1, 0), m(1, 1), m(1, 2)}, {m(2, 0), m(2, 1), m(2, 2)}};
    return fromRows(r);
}

inline Vector3 getRotationAxis(Matrix const& m)
{
    Vector3 d[3];
    bool good[3];
    for (int i = 0; i < 3; ++i) {
        d[i] = Vector3(m(0, i), m(1, i), m(2, i));
        good[i] = autoNormalize(d[i]);
    }
    if (good[0]) d[0].x -= 1;
    if (good[1]) d[1].y -= 1;
    if (good[2]) d[2].z -= 1;
    int const pairs[3][2] = {{0, 1}, {1, 2}, {2, 0}};
    for (auto const& pair : pairs) {
        if (!good[pair[0]] || !good[pair[1]]) continue;
        Vector3 n = crossProduct(d[pair[0]], d[pair[1]]);
        if (autoNormalize(n)) return n;
    }
    return Vector3(1, 0, 0);
}

inline double getRotationAngle(Matrix const& m, Vector3 const& axis)
{
    Vector3 const a = unit(axis);
    return getRotationAngle(block(normalized(m)), &a);
}

inline Matrix affine(Matrix3 const& linear, Vector3 const& translation)
{
    Matrix result;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) result(i, j) = linear(i, j);
    }
    result(0, 3) = translation.x;
    result(1, 3) = translation.y;
    result(2, 3) = translation.z;
    return result;
}

inline Matrix rotation(Vector3 const& axis, double angle)
{
    double const L = length(axis);
    if (L >= angle && L < 0.0001) return Matrix();
    return affine(rotationMatrix(times(axis, 1.0 / L), angle), Vector3());
}

inline Matrix rigidTransform(Vector3 const& a0, Vector3 const& d0, Vector3 const& a1, Vector3 const& d1)
{
    Vector3 const u0 = unit(d0);
    Vector3 const u1 = unit(d1);
    Vector3 const axis = unit(crossProduct(d0, d1));
    double const angle = math::atan2(length(crossProduct(u0, u1)), dot(u0, u1));
    Matrix const T0 = affine(Matrix3(), Vector3(-a0.x, -a0.y, -a0.z));
    Matrix const T1 = affine(Matrix3(), a1);
    return product(product(T1, rotation(axis, angle)), T0);
}

inline Matrix interpolate(Matrix const& A, Matrix const& B, double w)
{
    if (w <= 0) return A;
    if (w >= 1) return B;
    double const s = math::exp(w * math::log(firstRowLength(B)) + (1 - w) * math::log(firstRowLength(A)));
    Matrix const relative = product(inverse(A), B);
    Vector3 const axis = getRotationAxis(relative);
    double const angle = getRotationAngle(relative, axis);
    Matrix const M = product(normalized(A), rotation(axis, w * angle));
    Matrix result;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) result(i, j) = s * M(i, j);
        result(i, 3) = (1 - w) * A(i, 3) + w * B(i, 3);
    }
    return result;
}

inline Vector3 map(Transform const& T, Vector3 const& p)
{
    return sum(map(T.linear, times(p, T.scale)), T.translation);
}

inline Transform product(Transform const& A, Transform const& B)
{
    Transform result;
    result.linear = product(A.linear, B.linear);
    result.scale = A.scale * B.scale;
    result.translation = sum(A.translation, map(A.linear, times(B.translation, A.scale)));
    return result;
}

inline Transform inverse(Transform const& T)
{
    Transform result;
    result.scale = 1.0 / T.scale;
    result.linear = transposed(T.linear);
    Vector3 const t = map(result.linear, times(T.translation, result.scale));
    result.translation = Vector3(-t.x, -t.y, -t.z);
    return result;
}

inline Transform rotate(Vector3 const& a, Vector3 const& b)
{
    Vector3 n = crossProduct(a, b);
    double angle = 0.0;
    if (autoNormalize(n)) {
        angle = reference::getAngleBetween(a, b, n);
    } else {
        Vector3 e1;
        reference::getBasis(a, e1, n);
        if (!(dot(a, b) > 0)) angle = 3.141592653589793;
    }
    Transform result;
    result.linear = rotationMatrix(unit(n), angle);
    return result;
}

inline Transform reflection(Vector3 const& p, Vector3 const& n)
{
    Transform result;
    result.scale = -1.0;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) result.linear(i, j) = i == j ? 2 * n[i] * n[j] - 1 : 2 * n[i] * n[j];
    }
    result.translation = times(n, 2 * dot(n, p));
    return result;
}

inline Transform interpolate(Transform const& A, Transform const& B, double w)
{
    if (w <= 0) return A;
    if (w >= 1) return B;
    Transform result;
    result.translation = sum(times(B.translation, w), times(A.translation, 1 - w));
    result.scale = math::pow(std::fabs(A.scale), 1 - w) * math::pow(std::fabs(B.scale), w);
    if ((w > 0.5 ? B.scale : A.scale) < 0.0) result.scale = -result.scale;
    Matrix3 const R = product(B.linear, transposed(A.linear));
    Vector3 const axis = getRotationAxis(R);
    double const angle = getRotationAngle(R, &axis);
    result.linear = product(rotationMatrix(axis, w * angle), A.linear);
    return result;
}

} // namespace reference
