// Intersection records against their reference implementations and against the classes of Eigen and Imath for the same
// question. The peers return less: a parameter or a point, without an outcome code and without a tolerance.

#include <limits>

#include <sinew/core/matrix3.h>
#include <sinew/queries/intersections.h>

#include "contenders.h"
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

using bench::notInlined;

constexpr std::size_t kCount = 4096;
constexpr double kTol = 1e-9;
constexpr double kAllMeet = 1e9;       // a distance that makes all lines meet, so that all records hold a point
constexpr double kPeerRounding = 1e-8; // the peers round differently, most of all for nearly parallel pairs
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
constexpr double kRadius = 0.8; // of the sphere about q

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
            // Every second line passes through the centroid of the triangle.
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

// f as a function of the index of a query.
template <typename Function>
auto ofIndex(Function f)
{
    return [f](std::size_t i) { return f(queries()[i]); };
}

template <typename Ours, typename Reference>
std::vector<double> againstReference(std::string const& name, Ours ours, Reference reference)
{
    return bench::againstReference(name, kCount, ofIndex(ours), ofIndex(reference));
}

#if defined(SINEW_BENCH_EIGEN) || defined(SINEW_BENCH_IMATH)
// The queries in the types of a peer, converted once, outside the timed loop.
template <typename Convert>
auto converted(Convert convert)
{
    std::vector<decltype(convert(queries()[0]))> result;
    for (Query const& k : queries()) result.push_back(convert(k));
    return result;
}
#endif
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
#endif

void addLineLine()
{
    [[maybe_unused]] auto const expected = againstReference(
        "line-line, unit directions", [](Query const& k) { return LineLineInt(k.p, k.d, k.q, k.n, kAllMeet).point.x; },
        [](Query const& k) { return notInlined<reference::lineLineUnit>(k.p, k.d, k.q, k.n, kAllMeet).point.x; });
#ifdef SINEW_BENCH_IMATH
    auto const lines1 = converted([](Query const& k) { return imathLine(k.p, k.d); });
    auto const lines2 = converted([](Query const& k) { return imathLine(k.q, k.n); });
    bench::contender("line-line, unit directions/Imath", expected, kPeerRounding, [=](std::size_t i) {
        im::V3d on1;
        im::V3d on2;
        return im::closestPoints(lines1[i], lines2[i], on1, on2) ? on1.x : kNone;
    });
#endif
    againstReference(
        "line-line, any directions", [](Query const& k) { return LineLineInt(k.p, k.a, k.q, k.b, kAllMeet).point.x; },
        [](Query const& k) { return notInlined<reference::lineLine>(k.p, k.a, k.q, k.b, kAllMeet).point.x; });
}

void addPlanePlane()
{
    againstReference(
        "plane-plane", [](Query const& k) { return PlanePlaneInt(k.p, k.d, k.q, k.n, kTol).point.x; },
        [](Query const& k) { return notInlined<reference::planePlane>(k.p, k.d, k.q, k.n, kTol).point.x; });
}

void addLinePlane()
{
    [[maybe_unused]] auto const expected = againstReference(
        "line-plane", [](Query const& k) { return LinePlaneInt(k.p, k.d, k.q, k.n, kTol).point.x; },
        [](Query const& k) { return notInlined<reference::linePlane>(k.p, k.d, k.q, k.n, kTol).point.x; });
#ifdef SINEW_BENCH_EIGEN
    using Line = Eigen::ParametrizedLine<double, 3>;
    using Plane = Eigen::Hyperplane<double, 3>;
    auto const eigenLines = converted([](Query const& k) { return Line(eigen(k.p), eigen(k.d)); });
    auto const eigenPlanes = converted([](Query const& k) { return Plane(eigen(k.n), eigen(k.q)); });
    bench::contender("line-plane/Eigen", expected, kPeerRounding,
                     [=](std::size_t i) { return eigenLines[i].intersectionPoint(eigenPlanes[i]).x(); });
#endif
#ifdef SINEW_BENCH_IMATH
    auto const lines = converted([](Query const& k) { return imathLine(k.p, k.d); });
    auto const imathPlanes = converted([](Query const& k) {
        im::Plane3d plane;
        plane.normal = imath(k.n);
        plane.distance = k.n * k.q;
        return plane;
    });
    bench::contender("line-plane/Imath", expected, kPeerRounding, [=](std::size_t i) {
        im::V3d point;
        return imathPlanes[i].intersect(lines[i], point) ? point.x : kNone;
    });
#endif
}

void addLineTriangle()
{
    auto const hitOf = [](auto const& record) { return record.result == 0 ? record.point.x : kNone; };
    [[maybe_unused]] auto const expected = againstReference(
        "line-triangle", [=](Query const& k) { return hitOf(LineTriangleInt(k.p, k.d, k.a, k.b, k.c, kTol)); },
        [=](Query const& k) { return hitOf(notInlined<reference::lineTriangle>(k.p, k.d, k.a, k.b, k.c, kTol)); });
#ifdef SINEW_BENCH_IMATH
    auto const lines = converted([](Query const& k) { return imathLine(k.p, k.d); });
    auto const as = converted([](Query const& k) { return imath(k.a); });
    auto const bs = converted([](Query const& k) { return imath(k.b); });
    auto const cs = converted([](Query const& k) { return imath(k.c); });
    bench::contender("line-triangle/Imath", expected, kPeerRounding, [=](std::size_t i) {
        im::V3d point;
        im::V3d weights;
        bool front = false;
        return im::intersect(lines[i], as[i], bs[i], cs[i], point, weights, front) ? point.x : kNone;
    });
#endif
}

void addTriangleWeights()
{
    againstReference(
        "triangle weights", [](Query const& k) { return TriangleWeightsFinder(k.q, k.a, k.b, k.c).weights.y; },
        [](Query const& k) { return notInlined<reference::triangleWeights>(k.q, k.a, k.b, k.c).y; });
}

void addLineSphere()
{
    auto const entryOf = [](auto const& record) { return record.result == 0 ? kNone : record.t1; };
    againstReference(
        "line-sphere", [=](Query const& k) { return entryOf(LineSphereInt(k.p, k.d, k.q, kRadius, kTol)); },
        [=](Query const& k) { return entryOf(notInlined<reference::lineSphere>(k.p, k.d, k.q, kRadius, kTol)); });
}

int const kRegistered = [] {
    addLineLine();
    addPlanePlane();
    addLinePlane();
    addLineTriangle();
    addTriangleWeights();
    addLineSphere();
    return 0;
}();

} // namespace
