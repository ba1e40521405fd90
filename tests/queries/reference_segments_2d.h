#pragma once

/// Reference implementation of the 2D segment functions, step by step as they are defined.

#include <cmath>

#include <sinew/core/vector3.h>

namespace reference {

inline bool segClipHalfPlane2D(Vector3& a, Vector3& b, Vector3 const& p, UVector3 const& n)
{
    double const k = n * p;
    double const da = n * a - k;
    double const db = n * b - k;
    if (da <= 0 && db <= 0) return false;
    if (da >= 0 && db >= 0) return true;
    double const s = da / (db - da);
    Vector3 const x = a + (a - b) * s;
    if (da <= 0) {
        a = x;
    } else {
        b = x;
    }
    return true;
}

inline bool segClipRect2D(Vector3 const& a, Vector3 const& b, Vector3 const& lo, Vector3 const& hi, Vector3& outA,
                          Vector3& outB)
{
    outA = a;
    outB = b;
    if (!reference::segClipHalfPlane2D(outA, outB, lo, UVector3(1, 0, 0))) return false;
    if (!reference::segClipHalfPlane2D(outA, outB, lo, UVector3(0, 1, 0))) return false;
    if (!reference::segClipHalfPlane2D(outA, outB, hi, UVector3(-1, 0, 0))) return false;
    return reference::segClipHalfPlane2D(outA, outB, hi, UVector3(0, -1, 0));
}

inline bool segIntersectRect2D(Vector3 const& a, Vector3 const& b, Vector3 const& lo, Vector3 const& hi)
{
    if (lo.x >= a.x && lo.x >= b.x) return false;
    if (a.x >= hi.x && b.x >= hi.x) return false;
    if (lo.y >= a.y && lo.y >= b.y) return false;
    if (a.y >= hi.y && b.y >= hi.y) return false;
    if (lo.x <= a.x && a.x <= hi.x && lo.y <= a.y && a.y <= hi.y) return true;
    if (lo.x <= b.x && b.x <= hi.x && lo.y <= b.y && b.y <= hi.y) return true;
    double const ey = b.y - a.y;
    double const ex = a.x - b.x;
    double const f1 = (lo.x - a.x) * ey + (lo.y - a.y) * ex + (lo.z - a.z) * 0;
    double const f2 = (hi.x - a.x) * ey + (hi.y - a.y) * ex + (hi.z - a.z) * 0;
    if (f1 * f2 <= 0) return true;
    double const f3 = (lo.x - a.x) * ey + (hi.y - a.y) * ex + (0 - a.z) * 0;
    double const f4 = (hi.x - a.x) * ey + (lo.y - a.y) * ex + (0 - a.z) * 0;
    return f3 * f4 <= 0;
}

inline bool segsIntersect(Vector3 const& a, Vector3 const& b, Vector3 const& c, Vector3 const& d, double tol,
                          bool inclusive)
{
    UVector3 const u(b - a);
    double const L = (b - a) * u;
    double const sc = (c - a) * u;
    double const sd = (d - a) * u;
    double low = -tol;
    double high = L + tol;
    double side = tol;
    if (!inclusive) {
        low = tol;
        high = L - tol;
        side = -tol;
    }
    if ((low > sc && low > sd) || (sc > high && sd > high)) return false;
    double const pc = (c.y - a.y) * u.x - (c.x - a.x) * u.y;
    double const pd = (d.y - a.y) * u.x - (d.x - a.x) * u.y;
    if ((low >= pc && low >= pd) || (pc >= side && pd >= side)) return false;
    double const s = std::fabs(pc) + std::fabs(pd);
    if (tol > s) return true;
    double const x = (std::fabs(pd) * sc + std::fabs(pc) * sd) / s;
    return low <= x && x <= high;
}

} // namespace reference
