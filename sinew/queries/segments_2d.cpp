// Sources: I. E. Sutherland, G. W. Hodgman, Reentrant polygon clipping, Communications of the ACM, 1974, for clipping
// by one side after the other; C. Ericson, Real-Time Collision Detection, 2005, section 5.2.1 for the test of the
// corners against the line of a segment, and section 5.1.9.1 for two segments in the plane.

#include <sinew/queries/segments_2d.h>

#include <cmath>

namespace {

// An axis direction as a compile-time constant; the constructor of UVector3 needs a square root.
constexpr UVector3 axis(double x, double y)
{
    UVector3 n;
    n.x = x;
    n.y = y;
    n.z = 0.0;
    return n;
}

constexpr UVector3 kRight = axis(1.0, 0.0);
constexpr UVector3 kUp = axis(0.0, 1.0);
constexpr UVector3 kLeft = axis(-1.0, 0.0);
constexpr UVector3 kDown = axis(0.0, -1.0);

// The body of segClipHalfPlane2D. It is always inlined, because most of its products vanish for a constant axis.
[[gnu::always_inline]] inline bool clipHalfPlane(Vector3& a, Vector3& b, Vector3 const& p, Vector3 const& n)
{
    double const boundary = n * p;
    double const insideA = n * a - boundary;
    double const insideB = n * b - boundary;
    if (insideA <= 0 && insideB <= 0) return false;
    if (insideA >= 0 && insideB >= 0) return true;
    double const s = insideA / (insideB - insideA);
    Vector3 const crossing = a + (a - b) * s;
    (insideA <= 0 ? a : b) = crossing;
    return true;
}

bool inRect(Vector3 const& p, Vector3 const& lo, Vector3 const& hi)
{
    return lo.x <= p.x && p.x <= hi.x && lo.y <= p.y && p.y <= hi.y;
}

} // namespace

bool segClipHalfPlane2D(Vector3& a, Vector3& b, Vector3 const& p, UVector3 const& n)
{
    return clipHalfPlane(a, b, p, n);
}

bool segClipRect2D(Vector3 const& a, Vector3 const& b, Vector3 const& lo, Vector3 const& hi, Vector3& outA,
                   Vector3& outB)
{
    // Clips copies, because the outputs may be a and b in either order.
    Vector3 from = a;
    Vector3 to = b;
    bool const remains = clipHalfPlane(from, to, lo, kRight) && clipHalfPlane(from, to, lo, kUp) &&
                         clipHalfPlane(from, to, hi, kLeft) && clipHalfPlane(from, to, hi, kDown);
    outA = from;
    outB = to;
    return remains;
}

bool segIntersectRect2D(Vector3 const& a, Vector3 const& b, Vector3 const& lo, Vector3 const& hi)
{
    if (lo.x >= a.x && lo.x >= b.x) return false;
    if (a.x >= hi.x && b.x >= hi.x) return false;
    if (lo.y >= a.y && lo.y >= b.y) return false;
    if (a.y >= hi.y && b.y >= hi.y) return false;
    if (inRect(a, lo, hi) || inRect(b, lo, hi)) return true;

    // Both ends are outside, but not beyond the same side. The segment then meets the rectangle if its line separates
    // two opposite corners. `side` is positive on one side of the line and negative on the other. Its last term is zero
    // for a finite z and NaN for an infinite one; NaN fails the test.
    double const ex = a.x - b.x;
    double const ey = b.y - a.y;
    auto const side = [&](double x, double y, double z) { return (x - a.x) * ey + (y - a.y) * ex + (z - a.z) * 0; };
    if (side(lo.x, lo.y, lo.z) * side(hi.x, hi.y, hi.z) <= 0) return true;
    return side(lo.x, hi.y, 0.0) * side(hi.x, lo.y, 0.0) <= 0;
}

bool segsIntersect(Vector3 const& a, Vector3 const& b, Vector3 const& c, Vector3 const& d, double tol, bool inclusive)
{
    UVector3 const u(b - a);
    double const length = (b - a) * u;
    double const alongC = (c - a) * u;
    double const alongD = (d - a) * u;
    double const low = inclusive ? -tol : tol;
    double const high = inclusive ? length + tol : length - tol;
    double const side = inclusive ? tol : -tol;
    if ((low > alongC && low > alongD) || (alongC > high && alongD > high)) return false;

    double const acrossC = (c.y - a.y) * u.x - (c.x - a.x) * u.y;
    double const acrossD = (d.y - a.y) * u.x - (d.x - a.x) * u.y;
    // These comparisons are not strict, unlike those along a-b: a contact from one side is not an intersection.
    if ((low >= acrossC && low >= acrossD) || (acrossC >= side && acrossD >= side)) return false;

    double const apart = std::fabs(acrossC) + std::fabs(acrossD);
    if (tol > apart) return true;
    double const crossing = (std::fabs(acrossD) * alongC + std::fabs(acrossC) * alongD) / apart;
    return low <= crossing && crossing <= high;
}
