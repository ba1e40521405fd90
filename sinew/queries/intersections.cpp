#include <sinew/queries/intersections.h>

#include <algorithm>

#include <sinew/core/matrix3.h>
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

// The skew-or-meeting half of both line-line constructors, once t1 and t2 are known.
void meetOrMiss(LineLineInt& record, Vector3 const& p1, Vector3 const& d1, Vector3 const& d2, Vector3 const& w,
                double tol)
{
    Vector3 const gap = w + d2 * record.t2 - d1 * record.t1;
    if (isShort(gap, tol)) {
        record.result = kLinesMeet;
        record.point = p1 + d1 * record.t1;
    } else {
        record.result = kLinesSkew;
    }
}

} // namespace

LineLineInt::LineLineInt(Vector3 const& p1, UVector3 const& d1, Vector3 const& p2, UVector3 const& d2, double tol)
{
    double const c = d1 * d2;
    Vector3 const w = p2 - p1;
    if (1 - std::fabs(c) < kParallelCosineGap) {
        point = p1;
        t1 = 0.0;
        t2 = (p1 - p2) * d2;
        result = isShort((p1 - p2) + d1 * (w * d1), tol) ? kLinesCoincide : kLinesApart;
        return;
    }
    double const along1 = w * d1;
    double const along2 = w * d2;
    t1 = (along1 - along2 * c) / (1 - c * c);
    t2 = (along1 * c - along2) / (1 - c * c);
    meetOrMiss(*this, p1, d1, d2, w, tol);
}

LineLineInt::LineLineInt(Vector3 const& p1, Vector3 d1, Vector3 const& p2, Vector3 const& d2, double tol)
{
    double const s11 = d1.lengthSq();
    double const s22 = d2.lengthSq();
    Vector3 const w = p2 - p1;
    if (d1.isParallel(d2, -1.0)) {
        point = p1;
        t1 = 0.0;
        t2 = (p1 - p2) * d2 / s22;
        result = isShort((p1 - p2) + d1 * (w * d1 / s11), tol) ? kLinesCoincide : kLinesApart;
        return;
    }
    double const s12 = d1 * d2;
    double const along1 = w * d1;
    double const along2 = w * d2;
    double const determinant = s11 * s22 - s12 * s12;
    t1 = (s22 * along1 - s12 * along2) / determinant;
    t2 = (s12 * along1 - s11 * along2) / determinant;
    meetOrMiss(*this, p1, d1, d2, w, tol);
}

PlanePlaneInt::PlanePlaneInt(Vector3 const& p1, UVector3 const& N1, Vector3 const& p2, UVector3 const& N2, double tol)
{
    Vector3 const common = cross(N1, N2);
    if (common.lengthSq() < sinew::kGramZero) {
        result = tol > std::fabs((p1 - p2) * N1) ? kPlanesCoincide : kPlanesApart;
        return;
    }
    dir = UVector3(common);
    // The line in plane 1 from p1 across the common line, until it meets plane 2.
    Vector3 const u = cross(N1, dir);
    point = p1 + u * (((p2 - p1) * N2) / (N2 * u));
    result = kPlanesMeet;
}

LinePlaneInt::LinePlaneInt(Vector3 const& p, UVector3 const& d, Vector3 const& q, UVector3 const& n, double tol)
    : t(0.0)
{
    double const cosine = n * d;
    if (std::fabs(cosine) < kParallelToPlane) {
        point = p;
        result = tol > std::fabs((p - q) * n) ? kInPlane : kOffPlane;
        return;
    }
    t = ((q - p) * n) / cosine;
    point = p + d * t;
    result = kCrosses;
}

LineTriangleInt::LineTriangleInt(Vector3 const& p, UVector3 const& d, Vector3 const& a, Vector3 const& b,
                                 Vector3 const& c, double tol)
    : result(kMiss), t(0.0)
{
    Vector3 const middle = (a + b + c) * (1.0 / 3.0);
    // The distance is added to the squared radius, and once more below: part of the contract.
    double const radiusSq = std::max({distSq(middle, a), distSq(middle, b), distSq(middle, c)}) + tol;
    Vector3 const w = p - middle;
    double const along = w * d;
    if (w.lengthSq() - along * along > radiusSq + tol) return;

    Vector3 n = cross(b - a, c - a);
    if (!n.autoNormalize()) {
        result = kDegenerate;
        return;
    }
    LinePlaneInt const onPlane(p, d, a, UVector3(n), tol);
    if (onPlane.result != kCrosses) {
        result = onPlane.result == kOffPlane ? kParallelToTriangle : kInTrianglePlane;
        return;
    }
    point = onPlane.point;
    t = onPlane.t;
    bool const inside = cross(point - a, c - a) * n >= -tol && cross(b - a, point - a) * n >= -tol &&
                        cross(point - c, b - c) * n >= -tol;
    result = inside ? kHit : kMiss;
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
        t1 = t2 = closest;
        point1 = point2 = p + d * closest;
        return;
    }
    double const half = std::sqrt(radiusSq - gapSq);
    result = kTwoPoints;
    t1 = closest - half;
    t2 = closest + half;
    point1 = p + d * t1;
    point2 = p + d * t2;
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
    Matrix3 const system(Vector3(a[u], a[v], 1.0), Vector3(b[u], b[v], 1.0), Vector3(c[u], c[v], 1.0));
    if (std::fabs(system.determinant()) > kSingularWeights) weights = system.inverse() * Vector3(p[u], p[v], 1.0);
}
