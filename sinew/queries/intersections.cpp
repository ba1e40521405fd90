#include <sinew/queries/intersections.h>

#include <algorithm>

#include <sinew/core/tolerances.h>

namespace {

// Half of 1e-8 squared: 1 - cos of an angle of 1e-8.
constexpr double kParallelCosineGap = 5.0000000000000005e-17;

// |cos| of a line against a plane's normal below which the line is parallel to the plane.
constexpr double kParallelToPlane = 1e-8;

// Below it the weights' 3x3 system has no answer. Matrix3::inverse draws a line of its own, higher up.
constexpr double kSingularWeights = 1e-20;

enum LineLine : std::int32_t
{
    kLinesMeet,
    kLinesApart,
    kLinesCoincide,
    kLinesSkew
};
enum PlanePlane : std::int32_t
{
    kPlanesMeet,
    kPlanesApart,
    kPlanesCoincide
};
enum LinePlane : std::int32_t
{
    kCrosses,
    kOffPlane,
    kInPlane
};
enum LineTriangle : std::int32_t
{
    kHit,
    kMiss,
    kInTrianglePlane,
    kParallelToTriangle,
    kDegenerate
};
enum LineSphere : std::int32_t
{
    kNoPoint,
    kTangent,
    kTwoPoints
};

bool isShort(Vector3 const& gap, double tol)
{
    return tol * tol > gap.lengthSq();
}

// The skew-or-meeting half of both line-line constructors: the parameters of the closest points are known.
void meetOrMiss(LineLineInt& record, Vector3 const& p1, Vector3 const& d1, Vector3 const& d2, Vector3 const& w,
                double t1, double t2, double tol)
{
    Vector3 const on1 = d1 * t1;
    bool const meet = isShort(w + d2 * t2 - on1, tol);
    record.result = meet ? kLinesMeet : kLinesSkew;
    if (meet) record.point = p1 + on1;
    record.t1 = t1;
    record.t2 = t2;
}

// The outcome of `LinePlaneInt`; `t` is written for kCrosses alone.
LinePlane crossPlane(Vector3 const& p, Vector3 const& d, Vector3 const& q, Vector3 const& n, double tol, double* t)
{
    double const cosine = n * d;
    if (std::fabs(cosine) < kParallelToPlane) return tol > std::fabs((p - q) * n) ? kInPlane : kOffPlane;
    *t = ((q - p) * n) / cosine;
    return kCrosses;
}

// Whether the line (p, d) stays off the triangle's bounding sphere. `tol`, a distance, is added to a squared radius,
// and once more to their sum: part of the contract.
bool missesSphere(Vector3 const& p, Vector3 const& d, Vector3 const& a, Vector3 const& b, Vector3 const& c, double tol)
{
    Vector3 const middle = (a + b + c) * (1.0 / 3.0);
    double const radiusSq = std::max({distSq(middle, a), distSq(middle, b), distSq(middle, c)}) + tol;
    Vector3 const w = p - middle;
    double const along = w * d;
    return w.lengthSq() - along * along > radiusSq + tol;
}

// Barycentric weights in the plane of two coordinates, u and v.
struct Corner
{
    double u;
    double v;
};

Vector3 planarWeights(Corner p, Corner a, Corner b, Corner c)
{
    // Matrix3::determinant, ::inverse and the product with (p, 1) for the matrix with the corners as columns and ones
    // in its last row, which leave their factors as they are.
    double const determinant = a.u * (b.v - c.v) - b.u * (a.v - c.v) + c.u * (a.v - b.v);
    if (!(std::fabs(determinant) > kSingularWeights)) return {};
    if (std::fabs(determinant) < sinew::kDeterminantZero) {
        double const zero = 0.0 * p.u + 0.0 * p.v + 0.0; // the zero matrix times p: NaN for an infinite p
        return {zero, zero, zero};
    }
    double const r = 1.0 / determinant;
    auto const weight = [&](Corner const& from, Corner const& to) {
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
        result = isShort(back + d1 * (w * d1), tol) ? kLinesCoincide : kLinesApart;
        point = p1;
        t1 = 0.0;
        t2 = back * d2;
        return;
    }
    double const along1 = w * d1;
    double const along2 = w * d2;
    double const sineSq = 1 - c * c;
    meetOrMiss(*this, p1, d1, d2, w, (along1 - along2 * c) / sineSq, (along1 * c - along2) / sineSq, tol);
}

LineLineInt::LineLineInt(Vector3 const& p1, Vector3 d1, Vector3 const& p2, Vector3 const& d2, double tol)
{
    double const s11 = d1.lengthSq();
    double const s22 = d2.lengthSq();
    Vector3 const w = p2 - p1;
    if (d1.isParallel(d2, -1.0)) {
        Vector3 const back = p1 - p2;
        result = isShort(back + d1 * (w * d1 / s11), tol) ? kLinesCoincide : kLinesApart;
        t2 = back * d2 / s22;
        t1 = 0.0;
        point = p1;
        return;
    }
    double const s12 = d1 * d2;
    double const along1 = w * d1;
    double const along2 = w * d2;
    double const determinant = s11 * s22 - s12 * s12;
    meetOrMiss(*this, p1, d1, d2, w, (s22 * along1 - s12 * along2) / determinant,
               (s12 * along1 - s11 * along2) / determinant, tol);
}

PlanePlaneInt::PlanePlaneInt(Vector3 const& p1, UVector3 const& N1, Vector3 const& p2, UVector3 const& N2, double tol)
{
    Vector3 const common = cross(N1, N2);
    double const sineSq = common.lengthSq();
    if (sineSq < sinew::kGramZero) {
        result = tol > std::fabs((p1 - p2) * N1) ? kPlanesCoincide : kPlanesApart;
        return;
    }
    Vector3 const along = common * (1.0 / std::sqrt(sineSq));
    // The line in plane 1 from p1 across the common line, until it meets plane 2.
    Vector3 const across = cross(N1, along);
    point = p1 + across * (((p2 - p1) * N2) / (N2 * across));
    dir = along;
    result = kPlanesMeet;
}

LinePlaneInt::LinePlaneInt(Vector3 const& p, UVector3 const& d, Vector3 const& q, UVector3 const& n, double tol)
{
    double at = 0.0;
    LinePlane const outcome = crossPlane(p, d, q, n, tol, &at);
    result = outcome;
    t = at;
    point = outcome == kCrosses ? p + d * at : p;
}

LineTriangleInt::LineTriangleInt(Vector3 const& p, UVector3 const& d, Vector3 const& a, Vector3 const& b,
                                 Vector3 const& c, double tol)
    : result(kMiss), t(0.0)
{
    if (missesSphere(p, d, a, b, c, tol)) return;
    Vector3 const ab = b - a;
    Vector3 const ac = c - a;
    Vector3 const areaVector = cross(ab, ac);
    double const areaSq = areaVector.lengthSq();
    if (areaSq < sinew::kNullLengthSq) {
        result = kDegenerate;
        return;
    }
    Vector3 const n = areaVector * (1.0 / std::sqrt(areaSq));
    // Made unit once more for the plane, which can change its last bits; the sides are tested with the first one.
    double at = 0.0;
    LinePlane const outcome = crossPlane(p, d, a, UVector3(n), tol, &at);
    if (outcome != kCrosses) {
        result = outcome == kOffPlane ? kParallelToTriangle : kInTrianglePlane;
        return;
    }
    Vector3 const x = p + d * at;
    bool const inside = cross(x - a, ac) * n >= -tol && cross(ab, x - a) * n >= -tol && cross(x - c, b - c) * n >= -tol;
    result = inside ? kHit : kMiss;
    point = x;
    t = at;
}

LineSphereInt::LineSphereInt(Vector3 const& p, UVector3 const& d, Vector3 const& center, double radius, double tol)
    : result(kNoPoint), t1(0.0), t2(0.0)
{
    Vector3 const w = center - p;
    double const closest = w * d;
    double const gapSq = w.lengthSq() - closest * closest;
    double const radiusSq = radius * radius;
    if (gapSq > radiusSq + tol) return;

    if (gapSq > radiusSq - tol) {
        result = kTangent;
        point1 = point2 = p + d * closest;
        t1 = t2 = closest;
        return;
    }
    double const half = std::sqrt(radiusSq - gapSq);
    Vector3 const entry = p + d * (closest - half);
    Vector3 const exit = p + d * (closest + half);
    result = kTwoPoints;
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
    int u = 0;
    int v = 1;
    if (nx >= ny && nx >= nz) {
        u = 1;
        v = 2;
    } else if (ny >= nx && ny >= nz) {
        v = 2;
    }
    weights = planarWeights({p[u], p[v]}, {a[u], a[v]}, {b[u], b[v]}, {c[u], c[v]});
}
