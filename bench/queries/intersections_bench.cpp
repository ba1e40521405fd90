// Intersection records against their plain transcriptions and against the classes that Eigen and Imath offer for the
// same question. Those answer with less: a parameter or a point, no outcome code, no tolerance.

#include <limits>

#include <sinew/core/matrix3.h>
#include <sinew/queries/intersections.h>

#include "peers.h"
#include "queries/reference_intersections.h"
#include "support/random.h"

#ifdef SINEW_BENCH_EIGEN
#include <Eigen/Dense>
#endif
#ifdef SINEW_BENCH_IMATH
#include <ImathLineAlgo.h>
#include <ImathPlane.h>
#include <ImathSphere.h>
#endif

namespace {

std::size_t const kCount = 4096;
double const kTol = 1e-9;
double const kRounding = 1e-8; // of nearly parallel pairs
double const kNone = std::numeric_limits<double>::quiet_NaN();

struct Query
{
    Vector3 p;
    Vector3 q;
    UVector3 d;
    UVector3 n;
    Vector3 a;
    Vector3 b;
    Vector3 c;
};

std::vector<Query> const& queries()
{
    static std::vector<Query> const all = [] {
        test::Random random(20250411);
        std::vector<Query> result;
        while (result.size() < kCount) {
            Query k;
            k.p = random.point(-2, 2);
            k.q = random.point();
            k.a = random.point();
            k.b = random.point();
            k.c = random.point();
            k.n = UVector3(random.point());
            // Every second line aims at the triangle.
            Vector3 const target = random.oneIn(2) ? (k.a + k.b + k.c) / 3 : random.point(-2, 2);
            k.d = UVector3(target - k.p);
            bool const wellPosed = std::fabs(k.d * k.n) > 0.01 && std::fabs(k.d * k.n) < 0.99 &&
                                   cross(k.b - k.a, k.c - k.a).length() > 0.1 &&
                                   std::fabs(cross(k.b - k.a, k.c - k.a) * k.d) > 0.01;
            if (wellPosed) result.push_back(k);
        }
        return result;
    }();
    return all;
}

// With the signatures of the constructors, so that both sides pay for the same arguments.
SINEW_BENCH_CALL reference::LineLine plainLineLineUnit(Vector3 const& p1, UVector3 const& d1, Vector3 const& p2,
                                                   UVector3 const& d2, double tol)
{
    return reference::lineLineUnit(p1, d1, p2, d2, tol);
}
SINEW_BENCH_CALL reference::LineLine plainLineLine(Vector3 const& p1, Vector3 d1, Vector3 const& p2, Vector3 const& d2,
                                               double tol)
{
    return reference::lineLine(p1, d1, p2, d2, tol);
}
SINEW_BENCH_CALL reference::PlanePlane plainPlanePlane(Vector3 const& p1, UVector3 const& N1, Vector3 const& p2,
                                                   UVector3 const& N2, double tol)
{
    return reference::planePlane(p1, N1, p2, N2, tol);
}
SINEW_BENCH_CALL reference::LinePlane plainLinePlane(Vector3 const& p, UVector3 const& d, Vector3 const& q,
                                                 UVector3 const& n, double tol)
{
    return reference::linePlane(p, d, q, n, tol);
}
SINEW_BENCH_CALL reference::LinePlane plainLineTriangle(Vector3 const& p, UVector3 const& d, Vector3 const& a,
                                                    Vector3 const& b, Vector3 const& c, double tol)
{
    return reference::lineTriangle(p, d, a, b, c, tol);
}
SINEW_BENCH_CALL reference::LineSphere plainLineSphere(Vector3 const& p, UVector3 const& d, Vector3 const& center,
                                                   double radius, double tol)
{
    return reference::lineSphere(p, d, center, radius, tol);
}
SINEW_BENCH_CALL Vector3 plainWeights(Vector3 const& p, Vector3 const& a, Vector3 const& b, Vector3 const& c)
{
    return reference::triangleWeights(p, a, b, c);
}

#ifdef SINEW_BENCH_EIGEN
Eigen::Vector3d eigen(Vector3 const& v)
{
    return {v.x, v.y, v.z};
}
#endif
#ifdef SINEW_BENCH_IMATH
namespace im = IMATH_NAMESPACE;

im::V3d imath(Vector3 const& v)
{
    return {v.x, v.y, v.z};
}
im::Line3d imathLine(Vector3 const& p, Vector3 const& d)
{
    im::Line3d line;
    line.pos = imath(p);
    line.dir = imath(d);
    return line;
}
// Converted once, outside the timed loop.
template <typename T, typename Convert>
std::vector<T> converted(Convert convert)
{
    std::vector<T> result;
    for (Query const& k : queries()) result.push_back(convert(k));
    return result;
}
#endif

void addLineLine()
{
    auto const ours = [](std::size_t i) {
        Query const& k = queries()[i];
        return LineLineInt(k.p, k.d, k.q, k.n, 1e9).point.x;
    };
    auto const expected = bench::answers(kCount, ours);
    bench::contend("line-line, unit directions/sinew", expected, 0.0, ours);
    bench::contend("line-line, unit directions/plain", expected, 0.0, [](std::size_t i) {
        Query const& k = queries()[i];
        return plainLineLineUnit(k.p, k.d, k.q, k.n, 1e9).point.x;
    });
#ifdef SINEW_BENCH_IMATH
    auto const lines1 = converted<im::Line3d>([](Query const& k) { return imathLine(k.p, k.d); });
    auto const lines2 = converted<im::Line3d>([](Query const& k) { return imathLine(k.q, k.n); });
    bench::contend("line-line, unit directions/Imath", expected, kRounding, [=](std::size_t i) {
        im::V3d on1;
        im::V3d on2;
        return im::closestPoints(lines1[i], lines2[i], on1, on2) ? on1.x : kNone;
    });
#endif

    auto const general = [](std::size_t i) {
        Query const& k = queries()[i];
        return LineLineInt(k.p, k.a, k.q, k.b, 1e9).point.x;
    };
    auto const expectedGeneral = bench::answers(kCount, general);
    bench::contend("line-line, any directions/sinew", expectedGeneral, 0.0, general);
    bench::contend("line-line, any directions/plain", expectedGeneral, 0.0, [](std::size_t i) {
        Query const& k = queries()[i];
        return plainLineLine(k.p, k.a, k.q, k.b, 1e9).point.x;
    });
}

void addPlanes()
{
    auto const planes = [](std::size_t i) {
        Query const& k = queries()[i];
        return PlanePlaneInt(k.p, k.d, k.q, k.n, kTol).point.x;
    };
    auto const expectedPlanes = bench::answers(kCount, planes);
    bench::contend("plane-plane/sinew", expectedPlanes, 0.0, planes);
    bench::contend("plane-plane/plain", expectedPlanes, 0.0, [](std::size_t i) {
        Query const& k = queries()[i];
        return plainPlanePlane(k.p, k.d, k.q, k.n, kTol).point.x;
    });

    auto const ours = [](std::size_t i) {
        Query const& k = queries()[i];
        return LinePlaneInt(k.p, k.d, k.q, k.n, kTol).point.x;
    };
    auto const expected = bench::answers(kCount, ours);
    bench::contend("line-plane/sinew", expected, 0.0, ours);
    bench::contend("line-plane/plain", expected, 0.0, [](std::size_t i) {
        Query const& k = queries()[i];
        return plainLinePlane(k.p, k.d, k.q, k.n, kTol).point.x;
    });
#ifdef SINEW_BENCH_EIGEN
    using Line = Eigen::ParametrizedLine<double, 3>;
    using Plane = Eigen::Hyperplane<double, 3>;
    auto const eigenLines = converted<Line>([](Query const& k) { return Line(eigen(k.p), eigen(k.d)); });
    auto const eigenPlanes = converted<Plane>([](Query const& k) { return Plane(eigen(k.n), eigen(k.q)); });
    bench::contend("line-plane/Eigen", expected, kRounding,
                   [=](std::size_t i) { return eigenLines[i].intersectionPoint(eigenPlanes[i]).x(); });
#endif
#ifdef SINEW_BENCH_IMATH
    auto const lines = converted<im::Line3d>([](Query const& k) { return imathLine(k.p, k.d); });
    auto const imathPlanes = converted<im::Plane3d>([](Query const& k) {
        im::Plane3d plane;
        plane.normal = imath(k.n);
        plane.distance = k.n * k.q;
        return plane;
    });
    bench::contend("line-plane/Imath", expected, kRounding, [=](std::size_t i) {
        im::V3d point;
        return imathPlanes[i].intersect(lines[i], point) ? point.x : kNone;
    });
#endif
}

void addTriangle()
{
    auto const ours = [](std::size_t i) {
        Query const& k = queries()[i];
        LineTriangleInt const r(k.p, k.d, k.a, k.b, k.c, kTol);
        return r.result == 0 ? r.point.x : kNone;
    };
    auto const expected = bench::answers(kCount, ours);
    bench::contend("line-triangle/sinew", expected, 0.0, ours);
    bench::contend("line-triangle/plain", expected, 0.0, [](std::size_t i) {
        Query const& k = queries()[i];
        reference::LinePlane const r = plainLineTriangle(k.p, k.d, k.a, k.b, k.c, kTol);
        return r.result == 0 ? r.point.x : kNone;
    });
#ifdef SINEW_BENCH_IMATH
    auto const lines = converted<im::Line3d>([](Query const& k) { return imathLine(k.p, k.d); });
    auto const as = converted<im::V3d>([](Query const& k) { return imath(k.a); });
    auto const bs = converted<im::V3d>([](Query const& k) { return imath(k.b); });
    auto const cs = converted<im::V3d>([](Query const& k) { return imath(k.c); });
    bench::contend("line-triangle/Imath", expected, kRounding, [=](std::size_t i) {
        im::V3d point;
        im::V3d weights;
        bool front = false;
        return im::intersect(lines[i], as[i], bs[i], cs[i], point, weights, front) ? point.x : kNone;
    });
#endif

    auto const weights = [](std::size_t i) {
        Query const& k = queries()[i];
        return TriangleWeightsFinder(k.q, k.a, k.b, k.c).weights.y;
    };
    auto const expectedWeights = bench::answers(kCount, weights);
    bench::contend("triangle weights/sinew", expectedWeights, 0.0, weights);
    bench::contend("triangle weights/plain", expectedWeights, 0.0, [](std::size_t i) {
        Query const& k = queries()[i];
        return plainWeights(k.q, k.a, k.b, k.c).y;
    });
}

void addSphere()
{
    auto const ours = [](std::size_t i) {
        Query const& k = queries()[i];
        LineSphereInt const r(k.p, k.d, k.q, 0.8, kTol);
        return r.result == 0 ? kNone : r.t1;
    };
    auto const expected = bench::answers(kCount, ours);
    bench::contend("line-sphere/sinew", expected, 0.0, ours);
    bench::contend("line-sphere/plain", expected, 0.0, [](std::size_t i) {
        Query const& k = queries()[i];
        reference::LineSphere const r = plainLineSphere(k.p, k.d, k.q, 0.8, kTol);
        return r.result == 0 ? kNone : r.t1;
    });
}

int const registered = [] {
    addLineLine();
    addPlanes();
    addTriangle();
    addSphere();
    return 0;
}();

} // namespace
