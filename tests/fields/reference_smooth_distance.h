#pragma once

/// The reference implementation of the smooth distance to a polyline, step by step as it is defined. Tests and benches
/// compare the library with it.

#include <algorithm>
#include <cmath>
#include <vector>

#include <sinew/core/matrix3.h>
#include <sinew/core/vector_geometry.h>

#include "fields/reference_queue.h"

namespace reference {

inline double smoothMax(double a, double b, double h, double* grad, double* hess)
{
    bool const apart = a > b + h || b - h > a;
    bool const zone = !apart && (h >= 1e-13 || std::isnan(h));
    if (!zone) {
        if (grad) {
            grad[0] = a > b ? 1.0 : 0.0;
            grad[1] = b > a ? 1.0 : 0.0;
            grad[2] = 0.0;
        }
        for (int i = 0; hess && i < 6; ++i) hess[i] = 0.0;
        return b > a ? b : a;
    }
    double const x = (b - a) / h;
    double const x2 = x * x;
    double const q = (6.0 * x2 + 3.0 - x2 * x2) * 0.125;
    if (grad) {
        double const g = (-4.0 * x2 + 12.0) * 0.125 * x;
        grad[0] = (1.0 - g) * 0.5;
        grad[1] = (1.0 + g) * 0.5;
        grad[2] = (q - g * x) * 0.5;
    }
    if (hess) {
        double const k = ((1.0 - x2) * 1.5) * 0.5 / h;
        double const values[6] = {k, -k, k, x2 * k, k * x / h, -k * x / h};
        std::copy(values, values + 6, hess);
    }
    return (h * q + a + b) * 0.5;
}

inline void updateSmoothDist(double d, Vector3 const& x, Vector3 const& y, double& acc, double h, Vector3* grad,
                             Matrix3* hess)
{
    double width = h;
    bool narrowed = false;
    if (acc < h || d < h) {
        width = acc <= d ? acc : d;
        narrowed = true;
    }
    double g[3];
    double H[6];
    double const m = reference::smoothMax(-acc, -d, width, g, H);
    if (narrowed) {
        if (d <= acc) {
            g[1] -= g[2];
            H[1] += H[3] - H[5];
            H[2] -= H[4];
        } else {
            g[0] -= g[2];
            H[0] += H[3] - H[4];
            H[2] -= H[5];
        }
    }
    acc = -m;
    if (!grad && !hess) return;
    Vector3 const e = (x - y) * 2.0;
    if (hess) {
        Vector3 const v = *grad;
        Matrix3 result;
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) {
                result(i, j) = -H[0] * v[i] * v[j] - H[1] * (v[i] * e[j] + v[j] * e[i]) - H[2] * e[i] * e[j] +
                               g[0] * (*hess)(i, j);
                if (i == j) result(i, j) += 2.0 * g[1];
            }
        }
        *hess = result;
    }
    *grad = e * g[1] + *grad * g[0];
}

struct ChunkInterval
{
    int first;
    int last;
    double bound;
};

inline void smoothDistToPolyline(std::vector<Vector3> p, Vector3 const& q, double h, double* dist, Vector3* grad,
                                 Matrix3* hess)
{
    int const n = static_cast<int>(p.size());
    if (n < 2) return;
    double acc = 1e13;
    Vector3 runningGrad;
    Matrix3 runningHess;
    for (int i = 0; i < 3; ++i) runningHess(i, i) = 2.0;
    Vector3* const g = grad || hess ? &runningGrad : nullptr;
    Matrix3* const H = hess ? &runningHess : nullptr;
    auto const foldSegment = [&](int k) {
        double t = 0.0;
        double const d = distSqToLineSegment(q, p[k], p[k + 1], &t);
        reference::updateSmoothDist(d, q, t * p[k + 1] + (1.0 - t) * p[k], acc, h, g, H);
        return d;
    };
    if (n < 20) {
        for (int k = 0; k <= n - 2; ++k) foldSegment(k);
    } else {
        std::vector<double> arc(n, 0.0);
        for (int i = 1; i < n; ++i) arc[i] = arc[i - 1] + (p[i - 1] - p[i]).length();
        double dmin = (p[0] - q).lengthSq();
        reference::updateSmoothDist(dmin, q, p[0], acc, h, g, H);
        Queue<ChunkInterval> queue;
        for (int i = 0; i < n - 1;) {
            int j = i + 10;
            if (2 * j > 2 * n - 10) j = n - 1;
            double const dv = (p[j] - q).lengthSq();
            dmin = std::min(dmin, dv);
            reference::updateSmoothDist(dv, q, p[j], acc, h, g, H);
            double const L = arc[j] - arc[i];
            double const c = (p[i] - p[j]).length();
            double const toChord = std::sqrt(distSqToLineSegment(q, p[i], p[j], nullptr));
            queue.push({i, j, std::max(0.0, toChord - std::sqrt(std::max(0.0, L * L - c * c)))});
            i = j;
        }
        while (!queue.empty()) {
            ChunkInterval const top = queue.top();
            queue.pop();
            if (top.bound * top.bound - h * (0.375 * n + 1.0) > dmin) break;
            for (int k = top.first + 1; k < top.last; ++k) dmin = std::min(dmin, foldSegment(k));
        }
    }
    if (dist) *dist = acc;
    if (grad) *grad = runningGrad;
    if (hess) *hess = runningHess;
}

} // namespace reference
