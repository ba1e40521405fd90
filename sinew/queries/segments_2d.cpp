#include <sinew/queries/segments_2d.h>

#include <cmath>

namespace {

// An axis direction without the square root that the constructor takes.
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

// Always inlined: with a constant axis most of its products are constants too.
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
    // Clipped beside the outputs, which may be a and b in either order.
    Vector3 from = a;
    Vector3 to = b;
    bool const left = clipHalfPlane(from, to, lo, kRight) && clipHalfPlane(from, to, lo, kUp) &&
                      clipHalfPlane(from, to, hi, kLeft) && clipHalfPlane(from, to, hi, kDown);
    outA = from;
    outB = to;
    return left;
}

bool segIntersectRect2D(Vector3 const& a, Vector3 const& b, Vector3 const& lo, Vector3 const& hi)
{
    if (lo.x >= a.x && lo.x >= b.x) return false;
    if (a.x >= hi.x && b.x >= hi.x) return false;
    if (lo.y >= a.y && lo.y >= b.y) return false;
    if (a.y >= hi.y && b.y >= hi.y) return false;
    if (inRect(a, lo, hi) || inRect(b, lo, hi)) return true;

    // Both ends are outside, but not beyond one side: the segment meets the rectangle if its line parts two opposite
    // corners. The last term is zero for every finite z; it turns an infinite one into a NaN, which fails the test.
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
    // Not strict, unlike the test along: touching from one side is no crossing.
    if ((low >= acrossC && low >= acrossD) || (acrossC >= side && acrossD >= side)) return false;

    double const apart = std::fabs(acrossC) + std::fabs(acrossD);
    if (tol > apart) return true;
    double const crossing = (std::fabs(acrossD) * alongC + std::fabs(acrossC) * alongD) / apart;
    return low <= crossing && crossing <= high;
}
