#include <sinew/core/bbox.h>

#include <algorithm>

using sinew::kGeometricZero;

namespace {

// Component by component. The order of the arguments matters: std::min(a, b) and std::max(a, b) return a if the
// values are equal (0.0 and -0.0 too) or if one of them is NaN.
Vector3 smaller(Vector3 const& a, Vector3 const& b)
{
    return {std::min(a.x, b.x), std::min(a.y, b.y), std::min(a.z, b.z)};
}
Vector3 larger(Vector3 const& a, Vector3 const& b)
{
    return {std::max(a.x, b.x), std::max(a.y, b.y), std::max(a.z, b.z)};
}

} // namespace

Bbox::Bbox(std::vector<Vector3> const& points) : max()
{
    if (points.empty()) return;
    Vector3 low = points[0];
    Vector3 high = points[0];
    for (Vector3 const& p : points) {
        low = smaller(low, p);
        high = larger(high, p);
    }
    min = low;
    max = high;
}

void Bbox::isec(Bbox const& b)
{
    if (!isValid()) return;
    if (!b.isValid()) return reset();
    min = larger(min, b.min);
    max = smaller(max, b.max);
}

Bbox Bbox::operator+(Bbox const& b) const
{
    Bbox result;
    if (!isValid() || !b.isValid()) return result;
    result.min = smaller(min, b.min);
    result.max = larger(max, b.max);
    return result;
}

void Bbox::operator+=(Bbox const& b)
{
    *this = isValid() ? *this + b : b;
}

void Bbox::expand(double f)
{
    Vector3 const centre = (min + max) / 2.0;
    Vector3 const half = (max - centre) * (f + 1.0);
    max = centre + half;
    min = centre - half;
}

void Bbox::boundsInDir(UVector3 d, Vector3* lo, Vector3* hi) const
{
    bool const against = (max - min) * d < -kGeometricZero;
    Vector3 low = against ? max : min;
    Vector3 high = against ? min : max;
    for (int corner = 0; corner < 8; ++corner) {
        Vector3 const q(corner & 4 ? max.x : min.x, corner & 2 ? max.y : min.y, corner & 1 ? max.z : min.z);
        if ((q - low) * d < -kGeometricZero) {
            low = q;
        } else if ((q - high) * d > kGeometricZero) {
            high = q;
        }
    }
    if (lo) *lo = low;
    if (hi) *hi = high;
}
