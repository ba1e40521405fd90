// Source: C. Ericson, Real-Time Collision Detection, 2005: section 5.1.8 for the closest points of two lines, 5.3.1 for
// a line and a plane, 5.3.2 for a line and a sphere, 5.4.4 for two planes, and 3.4 for barycentric coordinates in the
// coordinate plane of the largest projection. The outcome codes and their order of tests are our own.

#include <sinew/queries/intersections.h>

#include <algorithm>
#include <cmath>

#include <sinew/core/tolerances.h>

namespace {

// Lines with unit directions are parallel if 1 - |cosine| is below this gap: half of 1e-8 squared, which is 1 - cos of
// an angle of 1e-8 radians. It is smaller than the spacing of doubles below 1.
constexpr double kParallelCosineGap = 5.0000000000000005e-17;

// A line is parallel to a plane if |cosine| of its direction and the normal is below this value, an angle of 1e-8
// radians between the line and the plane.
constexpr double kLineInPlaneCosine = 1e-8;

// Any negative tolerance makes Vector3::isParallel use its default.
constexpr double kDefaultParallelTolerance = -1.0;

// The doubled area of a projected triangle, in squared units of length, up to which the weights are (0, 0, 0) without
// any further computation. The larger threshold sinew::kDeterminantZero applies after it.
constexpr double kSingularArea = 1e-20;

// The outcome codes of the records. Callers compare `result` with these numbers.
enum class LineLineCode : std::int32_t
{
    meet,
    apart,
    coincident,
    skew
};
enum class PlanePlaneCode : std::int32_t
{
    meet,
    apart,
    coincident
};
enum class LinePlaneCode : std::int32_t
{
    crosses,
    offPlane,
    inPlane
};
enum class LineTriangleCode : std::int32_t
{
    hit,
    miss,
    inPlane,
    offPlane,
    degenerateTriangle
};
enum class LineSphereCode : std::int32_t
{
    miss,
    tangent,
    twoPoints
};

template <typename Code>
constexpr std::int32_t number(Code code)
{
    return static_cast<std::int32_t>(code);
}

// Whether the gap is shorter than the magnitude of `tol`. False for NaN.
bool isShort(Vector3 const& gap, double tol)
{
    return tol * tol > gap.lengthSq();
}

// Sets all fields for parallel lines. `separation` is the vector between the lines, perpendicular to line 1.
void setParallel(LineLineInt& record, Vector3 const& p1, Vector3 const& separation, double t2, double tol)
{
    record.result = number(isShort(separation, tol) ? LineLineCode::coincident : LineLineCode::apart);
    record.point = p1;
    record.t1 = 0.0;
    record.t2 = t2;
}

// Sets the fields for lines that are not parallel; `point` is left at zero if they are skew. w is p2 - p1, and t1 and
// t2 are the parameters of the closest points.
void setMeetingOrSkew(LineLineInt& record, Vector3 const& p1, Vector3 const& d1, Vector3 const& d2, Vector3 const& w,
                      double t1, double t2, double tol)
{
    Vector3 const on1 = d1 * t1;
    bool const meet = isShort(w + d2 * t2 - on1, tol);
    record.result = number(meet ? LineLineCode::meet : LineLineCode::skew);
    if (meet) record.point = p1 + on1;
    record.t1 = t1;
    record.t2 = t2;
}

// The outcome of `LinePlaneInt`. Writes `t` only if the line crosses the plane.
LinePlaneCode crossPlane(Vector3 const& p, Vector3 const& d, Vector3 const& q, Vector3 const& n, double tol, double* t)
{
    double const cosine = n * d;
    if (std::fabs(cosine) < kLineInPlaneCosine) {
        return tol > std::fabs((p - q) * n) ? LinePlaneCode::inPlane : LinePlaneCode::offPlane;
    }
    *t = ((q - p) * n) / cosine;
    return LinePlaneCode::crosses;
}

// Whether the line (p, d) is outside the triangle's bounding sphere. `tol` is added twice to the squared radius, in two
// separately rounded sums, although it is a distance. Callers may rely on this.
bool missesSphere(Vector3 const& p, Vector3 const& d, Vector3 const& a, Vector3 const& b, Vector3 const& c, double tol)
{
    Vector3 const middle = (a + b + c) * (1.0 / 3.0);
    double const radiusSq = std::max({distSq(middle, a), distSq(middle, b), distSq(middle, c)}) + tol;
    Vector3 const w = p - middle;
    double const along = w * d;
    return w.lengthSq() - along * along > radiusSq + tol;
}

// A point projected onto the plane of two coordinates, u and v.
struct PlanarPoint
{
    double u;
    double v;
};

// The barycentric coordinates of p with respect to the triangle a, b, c.
//
// The matrix with the columns (u, v, 1) of the corners maps the coordinates to (p, 1). This function does the
// operations of Matrix3::determinant, of Matrix3::inverse and of the product with (p, 1) in the same order, without
// those factors that are 1.
Vector3 planarWeights(PlanarPoint p, PlanarPoint a, PlanarPoint b, PlanarPoint c)
{
    double const determinant = a.u * (b.v - c.v) - b.u * (a.v - c.v) + c.u * (a.v - b.v);
    if (!(std::fabs(determinant) > kSingularArea)) return {}; // also for NaN
    if (std::fabs(determinant) < sinew::kDeterminantZero) {
        // Matrix3::inverse gives the zero matrix here. Its product with (p, 1) is NaN for an infinite or NaN p.
        double const zero = 0.0 * p.u + 0.0 * p.v + 0.0;
        return {zero, zero, zero};
    }
    double const r = 1.0 / determinant;
    auto const weight = [&](PlanarPoint const& from, PlanarPoint const& to) {
        return (from.v - to.v) * r * p.u + (to.u - from.u) * r * p.v + (from.u * to.v - to.u * from.v) * r;
    };
    return {weight(b, c), weight(c, a), weight(a, b)};
}

} // namespace

LineLineInt::LineLineInt(Vector3 const& p1, UVector3 const& d1, Vector3 const& p2, UVector3 const& d2, double tol)
{
    double const c = d1 * d2;
    Vector3 const w = p2 - p1;
    if (1 - std::fabs(c) < kParallelCosineGap) {
        Vector3 const back = p1 - p2;
        setParallel(*this, p1, back + d1 * (w * d1), back * d2, tol);
        return;
    }
    double const along1 = w * d1;
    double const along2 = w * d2;
    double const sineSq = 1 - c * c;
    setMeetingOrSkew(*this, p1, d1, d2, w, (along1 - along2 * c) / sineSq, (along1 * c - along2) / sineSq, tol);
}

LineLineInt::LineLineInt(Vector3 const& p1, Vector3 d1, Vector3 const& p2, Vector3 const& d2, double tol)
{
    double const s11 = d1.lengthSq();
    double const s22 = d2.lengthSq();
    Vector3 const w = p2 - p1;
    if (d1.isParallel(d2, kDefaultParallelTolerance)) {
        Vector3 const back = p1 - p2;
        setParallel(*this, p1, back + d1 * (w * d1 / s11), back * d2 / s22, tol);
        return;
    }
    double const s12 = d1 * d2;
    double const along1 = w * d1;
    double const along2 = w * d2;
    double const determinant = s11 * s22 - s12 * s12;
    setMeetingOrSkew(*this, p1, d1, d2, w, (s22 * along1 - s12 * along2) / determinant,
                     (s12 * along1 - s11 * along2) / determinant, tol);
}

PlanePlaneInt::PlanePlaneInt(Vector3 const& p1, UVector3 const& N1, Vector3 const& p2, UVector3 const& N2, double tol)
{
    Vector3 const common = cross(N1, N2);
    double const sineSq = common.lengthSq();
    if (sineSq < sinew::kGramZero) {
        result = number(tol > std::fabs((p1 - p2) * N1) ? PlanePlaneCode::coincident : PlanePlaneCode::apart);
        return;
    }
    Vector3 const along = common * (1.0 / std::sqrt(sineSq));
    // A line in plane 1, through p1 and perpendicular to the common line; it crosses plane 2 at the common line.
    Vector3 const across = cross(N1, along);
    point = p1 + across * (((p2 - p1) * N2) / (N2 * across));
    dir = along;
    result = number(PlanePlaneCode::meet);
}

LinePlaneInt::LinePlaneInt(Vector3 const& p, UVector3 const& d, Vector3 const& q, UVector3 const& n, double tol)
{
    double at = 0.0;
    LinePlaneCode const outcome = crossPlane(p, d, q, n, tol, &at);
    result = number(outcome);
    t = at;
    point = outcome == LinePlaneCode::crosses ? p + d * at : p;
}

LineTriangleInt::LineTriangleInt(Vector3 const& p, UVector3 const& d, Vector3 const& a, Vector3 const& b,
                                 Vector3 const& c, double tol)
    : result(number(LineTriangleCode::miss)), t(0.0)
{
    if (missesSphere(p, d, a, b, c, tol)) return;
    Vector3 const ab = b - a;
    Vector3 const ac = c - a;
    Vector3 const areaVector = cross(ab, ac);
    double const areaSq = areaVector.lengthSq();
    if (areaSq < sinew::kNullLengthSq) {
        result = number(LineTriangleCode::degenerateTriangle);
        return;
    }
    Vector3 const n = areaVector * (1.0 / std::sqrt(areaSq));
    // The plane test normalises n a second time, which can change its last bits. The tests at the sides use n itself.
    double at = 0.0;
    LinePlaneCode const outcome = crossPlane(p, d, a, UVector3(n), tol, &at);
    if (outcome != LinePlaneCode::crosses) {
        result = number(outcome == LinePlaneCode::offPlane ? LineTriangleCode::offPlane : LineTriangleCode::inPlane);
        return;
    }
    Vector3 const x = p + d * at;
    bool const inside = cross(x - a, ac) * n >= -tol && cross(ab, x - a) * n >= -tol && cross(x - c, b - c) * n >= -tol;
    result = number(inside ? LineTriangleCode::hit : LineTriangleCode::miss);
    point = x;
    t = at;
}

LineSphereInt::LineSphereInt(Vector3 const& p, UVector3 const& d, Vector3 const& center, double radius, double tol)
    : result(number(LineSphereCode::miss)), t1(0.0), t2(0.0)
{
    Vector3 const w = center - p;
    double const closest = w * d;
    double const gapSq = w.lengthSq() - closest * closest;
    double const radiusSq = radius * radius;
    if (gapSq > radiusSq + tol) return;

    if (gapSq > radiusSq - tol) {
        result = number(LineSphereCode::tangent);
        point1 = point2 = p + d * closest;
        t1 = t2 = closest;
        return;
    }
    double const half = std::sqrt(radiusSq - gapSq);
    Vector3 const entry = p + d * (closest - half);
    Vector3 const exit = p + d * (closest + half);
    result = number(LineSphereCode::twoPoints);
    point1 = entry;
    point2 = exit;
    t1 = closest - half;
    t2 = closest + half;
}

TriangleWeightsFinder::TriangleWeightsFinder(Vector3 const& p, Vector3 const& a, Vector3 const& b, Vector3 const& c)
{
    Vector3 const n = cross(b - a, c - a);
    double const nx = std::fabs(n.x);
    double const ny = std::fabs(n.y);
    double const nz = std::fabs(n.z);
    int u = 0; // the indices of the two coordinates that remain; initially those of a projection along z
    int v = 1;
    if (nx >= ny && nx >= nz) {
        u = 1;
        v = 2;
    } else if (ny >= nx && ny >= nz) {
        v = 2;
    }
    weights = planarWeights({p[u], p[v]}, {a[u], a[v]}, {b[u], b[v]}, {c[u], c[v]});
}
