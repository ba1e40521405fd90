// Rays against triangles and spheres, and the closest points of lines, against the intersection records for the same
// question, the plain method of Möller and Trumbore, and the exact decision of CGAL. Embree intersects trees of
// triangles in single precision, so a comparison for one triangle has no meaning.

#include <limits>

#include <sinew/queries/intersections.h>
#include <sinew/queries/lines.h>
#include <sinew/queries/rays.h>

#include "contenders.h"
#include "support/random.h"

#ifdef SINEW_BENCH_CGAL
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/intersections.h>
#endif

namespace {

using bench::notInlined;

constexpr std::size_t kCount = 4096;
constexpr double kTol = 1e-12;
constexpr double kRounding = 1e-8; // the contenders round differently
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct Query
{
    Vector3 p;
    UVector3 d;
    Vector3 a;
    Vector3 b;
    Vector3 c;
};

// Lines that pass the triangle or its edges at a distance, `share` of 16 through its inside.
std::vector<Query> queries(int share, double away)
{
    test::Random random(20261123);
    std::vector<Query> result;
    while (result.size() < kCount) {
        Query k;
        k.a = random.point();
        k.b = random.point();
        k.c = random.point();
        bool const inside = random.below(16) < share;
        Vector3 const target = inside ? (k.a + k.b + k.c) / 3 : k.a + (k.a - k.b) * 0.3 + (k.a - k.c) * 0.3;
        k.p = random.point(-2, 2) * away;
        k.d = UVector3(target - k.p);
        Vector3 const normal = cross(k.b - k.a, k.c - k.a);
        if (normal.length() > 0.1 && std::fabs(normal * k.d) > 0.1) result.push_back(k);
    }
    return result;
}

double plainMoellerTrumbore(Vector3 const& p, Vector3 const& d, Vector3 const& a, Vector3 const& b, Vector3 const& c)
{
    Vector3 const ab = b - a;
    Vector3 const ac = c - a;
    Vector3 const h = cross(d, ac);
    double const determinant = ab * h;
    if (std::fabs(determinant) < 1e-12) return kNone;
    double const inverse = 1.0 / determinant;
    Vector3 const s = p - a;
    double const u = (s * h) * inverse;
    if (u < 0.0 || u > 1.0) return kNone;
    Vector3 const q = cross(s, ab);
    double const v = (d * q) * inverse;
    if (v < 0.0 || u + v > 1.0) return kNone;
    return (ac * q) * inverse;
}

void addTriangles(std::string const& name, int share)
{
    auto const all = queries(share, 1.0);
    std::vector<sinew::Ray> rays;
    for (Query const& k : all) rays.emplace_back(k.p, k.d);
    auto const ours = [=](std::size_t i) {
        Query const& k = all[i];
        sinew::RayTriangle const found = sinew::rayTriangle(rays[i], k.a, k.b, k.c, -kInfinity);
        return found.hit ? found.t : kNone;
    };
    std::vector<double> const expected = bench::resultsOf(kCount, ours);
    bench::contender(name + "/sinew", expected, 0.0, ours);
    bench::contender(name + "/ray not prepared", expected, 0.0, [=](std::size_t i) {
        Query const& k = all[i];
        sinew::RayTriangle const found = sinew::rayTriangle(sinew::Ray(k.p, k.d), k.a, k.b, k.c, -kInfinity);
        return found.hit ? found.t : kNone;
    });
    bench::contender(name + "/LineTriangleInt", expected, kRounding, [=](std::size_t i) {
        Query const& k = all[i];
        LineTriangleInt const found(k.p, k.d, k.a, k.b, k.c, kTol);
        return found.result == 0 ? found.t : kNone;
    });
    bench::contender(name + "/plain", expected, kRounding, [=](std::size_t i) {
        Query const& k = all[i];
        return notInlined<plainMoellerTrumbore>(k.p, k.d, k.a, k.b, k.c);
    });
}

// Whether they meet, without the crossing: CGAL decides exactly too.
void addDecisions()
{
    auto const all = queries(8, 1.0);
    auto const ours = [=](std::size_t i) {
        Query const& k = all[i];
        return sinew::rayTriangle(sinew::Ray(k.p, k.d), k.a, k.b, k.c).hit ? 1.0 : 0.0;
    };
    [[maybe_unused]] std::vector<double> const expected = bench::resultsOf(kCount, ours);
    bench::contender("ray-triangle, decision only/sinew", expected, 0.0, ours);
#ifdef SINEW_BENCH_CGAL
    using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
    auto const point = [](Vector3 const& p) { return Kernel::Point_3(p.x, p.y, p.z); };
    std::vector<Kernel::Ray_3> rays;
    std::vector<Kernel::Triangle_3> triangles;
    for (Query const& k : all) {
        rays.emplace_back(point(k.p), Kernel::Vector_3(k.d.x, k.d.y, k.d.z));
        triangles.emplace_back(point(k.a), point(k.b), point(k.c));
    }
    bench::contender("ray-triangle, decision only/CGAL", expected, 0.0,
                     [=](std::size_t i) { return CGAL::do_intersect(rays[i], triangles[i]) ? 1.0 : 0.0; });
#endif
}

// Every hit takes the exact stage here; the other methods give results with other errors, or none.
void addFarTriangles()
{
    auto const all = queries(8, 1e8);
    auto const ours = [=](std::size_t i) {
        Query const& k = all[i];
        return sinew::rayTriangle(sinew::Ray(k.p, k.d), k.a, k.b, k.c).hit ? 1.0 : 0.0;
    };
    bench::contender("ray-triangle, from 1e8 away/sinew", bench::resultsOf(kCount, ours), 0.0, ours);
}

void addSpheres()
{
    auto const all = queries(16, 1.0);
    auto const ours = [=](std::size_t i) {
        Query const& k = all[i];
        sinew::RaySphere const found = sinew::raySphere(sinew::Ray(k.p, k.d), k.a, 0.8, -kInfinity);
        return found.hit ? found.tEnter : kNone;
    };
    std::vector<double> const expected = bench::resultsOf(kCount, ours);
    bench::contender("ray-sphere/sinew", expected, 0.0, ours);
    bench::contender("ray-sphere/LineSphereInt", expected, kRounding, [=](std::size_t i) {
        Query const& k = all[i];
        LineSphereInt const found(k.p, k.d, k.a, 0.8, 0.0);
        return found.result == 2 ? found.t1 : kNone;
    });
}

void addLines()
{
    auto const all = queries(16, 1.0);
    auto const ours = [=](std::size_t i) {
        Query const& k = all[i];
        return sinew::closestLines(k.p, k.d, k.a, k.b).t2;
    };
    std::vector<double> const expected = bench::resultsOf(kCount, ours);
    bench::contender("closest points of lines/sinew", expected, 0.0, ours);
    bench::contender("closest points of lines/LineLineInt", expected, 1e-6, [=](std::size_t i) {
        Query const& k = all[i];
        return LineLineInt(k.p, Vector3(k.d), k.a, k.b, kTol).t2;
    });
}

[[maybe_unused]] bool const registered = [] {
    addTriangles("ray-triangle, half hit", 8);
    addTriangles("ray-triangle, 1 in 16 hits", 1);
    addDecisions();
    addFarTriangles();
    addSpheres();
    addLines();
    return true;
}();

} // namespace
