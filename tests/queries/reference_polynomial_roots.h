#pragma once

/// Reference implementation of the root finders, step by step as they are defined. Unlike the library, the search does
/// not stop early.

#include <algorithm>
#include <cmath>

namespace reference {

inline int solveQuadratic(double a, double b, double c, double* roots)
{
    if (!(std::fabs(a) < 1e-13)) {
        double const D = b * b + a * (-4) * c;
        if (D < -1e-13) return 0;
        if (D < 1e-13) {
            double const r = b * (-0.5) / a;
            roots[0] = r;
            roots[1] = r;
            return 2;
        }
        double const s = std::sqrt(D);
        double const k = 0.5 / a;
        roots[0] = (-b - s) * k;
        roots[1] = (s - b) * k;
        return 2;
    }
    if (std::fabs(b) < 1e-13) return 0;
    roots[0] = -c / b;
    return 1;
}

inline int solveCubic(double a, double b, double c, double d, double* roots)
{
    if (std::fabs(a) < 1e-13) return reference::solveQuadratic(b, c, d, roots);
    auto const f = [=](double x) { return ((a * x + b) * x + c) * x + d; };

    double r = 0.0;
    double crit[2] = {0.0, 0.0};
    bool const two = reference::solveQuadratic(3 * a, 2 * b, c, crit) == 2;
    if (two && std::fabs(f(crit[0])) <= 1e-13) {
        r = crit[0];
    } else if (two && std::fabs(f(crit[1])) <= 1e-13) {
        r = crit[1];
    } else {
        double lo = -1.0;
        double hi = 1.0;
        double flo = f(lo);
        double fhi = f(hi);
        while (fhi * flo > 0) {
            lo *= 3;
            hi *= 3;
            flo = f(lo);
            fhi = f(hi);
        }
        for (int i = 1; i <= 101; ++i) {
            if (hi - lo <= 1e-13 && std::fabs(fhi) + std::fabs(flo) <= 1e-13) break;
            double const fd = fhi - flo;
            double x = 0.0;
            if (i % 2 == 1 && fd > 1e-13) {
                x = (fhi * lo - flo * hi) / fd;
                double const margin = hi - lo < 3e-10 ? 0.0 : 1e-10;
                x = std::min(x, hi - margin);
                x = std::max(lo + margin, x);
            } else {
                x = (hi + lo) * 0.5;
            }
            double const fx = f(x);
            if (fhi * fx > 0) {
                hi = x;
                fhi = fx;
            } else {
                lo = x;
                flo = fx;
            }
        }
        r = std::fabs(flo) > std::fabs(fhi) ? hi : lo;
    }

    roots[0] = r;
    double const b1 = a * r + b;
    double const c1 = r * b1 + c;
    int const m = reference::solveQuadratic(a, b1, c1, roots + 1);
    if (m >= 1) {
        for (int pass = 0; pass < 2; ++pass) {
            for (int k = 0; k < 2; ++k) {
                if (roots[k] > roots[k + 1]) std::swap(roots[k], roots[k + 1]);
            }
        }
    }
    return m + 1;
}

} // namespace reference
