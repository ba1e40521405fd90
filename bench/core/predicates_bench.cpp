// Predicates against the plain determinants of the same points, which they should hardly exceed in time on ordinary
// points, and against those of CGAL's kernel with exact predicates. The points of the degenerate cases lie on lines,
// planes and circles up to rounding; there the plain determinants are fast and wrong, and are left out.
//
// The cases "in turn" ask as algorithms do: the next question depends on the sign of the last. The bound of the error
// is then computed while the determinant is on its way. In the other cases the processor computes several questions at
// the same time, and each operation counts.

#include <cmath>

#include <sinew/core/predicates.h>

#include "contenders.h"

#ifdef SINEW_BENCH_CGAL
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#endif

namespace {

using Vector2 = tzNM::vect2<double>;

template <typename Vector>
struct Points
{
    Vector a;
    Vector b;
    Vector c;
    Vector d;
};

int signOf(double x)
{
    return (x > 0) - (x < 0);
}

double plainOrient2d(Vector2 const& a, Vector2 const& b, Vector2 const& c)
{
    return (a.x - c.x) * (b.y - c.y) - (a.y - c.y) * (b.x - c.x);
}
double plainOrient3d(Vector3 const& a, Vector3 const& b, Vector3 const& c, Vector3 const& d)
{
    return (a - d) * cross(b - d, c - d);
}
double plainInCircle(Vector2 const& a, Vector2 const& b, Vector2 const& c, Vector2 const& d)
{
    double const ax = a.x - d.x, ay = a.y - d.y;
    double const bx = b.x - d.x, by = b.y - d.y;
    double const cx = c.x - d.x, cy = c.y - d.y;
    return (ax * ax + ay * ay) * (bx * cy - by * cx) + (bx * bx + by * by) * (cx * ay - cy * ax) +
           (cx * cx + cy * cy) * (ax * by - ay * bx);
}

template <typename Vector>
std::vector<Points<Vector>> randomPoints()
{
    return bench::inputs(20261123, [](test::Random& random) {
        Points<Vector> p;
        for (Vector* x : {&p.a, &p.b, &p.c, &p.d}) {
            Vector3 const point = random.point();
            for (int axis = 0; axis < 3; ++axis) (*x)[axis] = point[axis];
        }
        return p;
    });
}

// The last point lies on the line or plane of the others, up to rounding.
std::vector<Points<Vector2>> onLines()
{
    auto all = randomPoints<Vector2>();
    for (auto& p : all) p.c = p.a + (p.b - p.a) * std::fabs(p.d.x);
    return all;
}
std::vector<Points<Vector3>> onPlanes()
{
    auto all = randomPoints<Vector3>();
    for (auto& p : all) p.d = p.a + (p.b - p.a) * p.d.x + (p.c - p.a) * p.d.y;
    return all;
}
std::vector<Points<Vector2>> onCircles()
{
    auto all = randomPoints<Vector2>();
    for (auto& p : all) {
        Vector2 const center = p.a;
        p.a = center + p.b;
        p.d = center - p.c * (p.b.length() / p.c.length());
        p.c = center + Vector2(-p.b.y, p.b.x);
        p.b = center - p.b;
    }
    return all;
}
// Corners of squares of a grid, exactly cocircular.
std::vector<Points<Vector2>> onGrid()
{
    return bench::inputs(20261124, [](test::Random& random) {
        double const x = random.below(1000), y = random.below(1000);
        return Points<Vector2>{{x, y}, {x + 1, y}, {x + 1, y + 1}, {x, y + 1}};
    });
}

#ifdef SINEW_BENCH_CGAL
using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;

auto cgal(Points<Vector2> const& p)
{
    auto const point = [](Vector2 const& x) { return Kernel::Point_2(x.x, x.y); };
    return Points<Kernel::Point_2>{point(p.a), point(p.b), point(p.c), point(p.d)};
}
auto cgal(Points<Vector3> const& p)
{
    auto const point = [](Vector3 const& x) { return Kernel::Point_3(x.x, x.y, x.z); };
    return Points<Kernel::Point_3>{point(p.a), point(p.b), point(p.c), point(p.d)};
}
#endif

// The contenders of each case. They are inlined into the loop that times them, as they are into a host's.
struct Orient2d
{
    static int ours(Points<Vector2> const& p) { return signOf(sinew::orient2d(p.a, p.b, p.c)); }
    static int plain(Points<Vector2> const& p) { return signOf(plainOrient2d(p.a, p.b, p.c)); }
#ifdef SINEW_BENCH_CGAL
    static int peer(Points<Kernel::Point_2> const& p)
    {
        return CGAL::orientation(p.a, p.b, p.c);
    }
#endif
};
struct Orient3d
{
    static int ours(Points<Vector3> const& p) { return signOf(sinew::orient3d(p.a, p.b, p.c, p.d)); }
    static int plain(Points<Vector3> const& p) { return signOf(plainOrient3d(p.a, p.b, p.c, p.d)); }
#ifdef SINEW_BENCH_CGAL
    // CGAL counts a point above the plane as positive.
    static int peer(Points<Kernel::Point_3> const& p)
    {
        return -CGAL::orientation(p.a, p.b, p.c, p.d);
    }
#endif
};
struct InCircle
{
    static int ours(Points<Vector2> const& p) { return signOf(sinew::inCircle(p.a, p.b, p.c, p.d)); }
    static int plain(Points<Vector2> const& p) { return signOf(plainInCircle(p.a, p.b, p.c, p.d)); }
#ifdef SINEW_BENCH_CGAL
    static int peer(Points<Kernel::Point_2> const& p)
    {
        return CGAL::side_of_oriented_circle(p.a, p.b, p.c, p.d);
    }
#endif
};

// All questions in turn: each starts when the sign of the one before is known.
template <typename In, typename Sign>
int walk(std::vector<In> const& in, Sign sign)
{
    std::size_t at = 0;
    int sum = 0;
    for (std::size_t step = 0; step < in.size(); ++step) {
        int const found = sign(in[at]);
        sum += found;
        at = (at + 1 + static_cast<std::size_t>(found > 0)) % bench::kInputs; // no branch, which would be predicted
    }
    return sum;
}

template <typename In, typename Sign>
void addWalk(std::string const& name, std::vector<In> const& in, Sign sign, int expected)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        if (walk(in, sign) != expected) return state.SkipWithError("the results differ");
        for (auto _ : state) benchmark::DoNotOptimize(walk(in, sign));
        state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(in.size()));
    });
}

template <typename Predicate, typename Vector>
void addWalks(std::string const& name, std::vector<Points<Vector>> const& in)
{
    auto const ours = [](auto const& p) { return Predicate::ours(p); };
    int const expected = walk(in, ours);
    addWalk(name + "/sinew", in, ours, expected);
    addWalk(
        name + "/plain", in, [](auto const& p) { return Predicate::plain(p); }, expected);
#ifdef SINEW_BENCH_CGAL
    auto const cgalPoints = bench::converted(in, [](Points<Vector> const& p) { return cgal(p); });
    addWalk(
        name + "/CGAL", cgalPoints, [](auto const& p) { return Predicate::peer(p); }, expected);
#endif
}

enum class Plain
{
    timed,
    leftOut
};

template <typename Predicate, typename Vector>
void add(std::string const& name, std::vector<Points<Vector>> const& in, Plain plain)
{
    auto const sameSign = [in](int sign, std::size_t i) { return sign == Predicate::ours(in[i]); };
    bench::contender(
        name + "/sinew", in, [](auto const& p) { return Predicate::ours(p); }, sameSign);
    if (plain == Plain::timed)
        bench::contender(
            name + "/plain", in, [](auto const& p) { return Predicate::plain(p); }, sameSign);
#ifdef SINEW_BENCH_CGAL
    auto const cgalPoints = bench::converted(in, [](Points<Vector> const& p) { return cgal(p); });
    bench::contender(
        name + "/CGAL", cgalPoints, [](auto const& p) { return Predicate::peer(p); }, sameSign);
#endif
}

[[maybe_unused]] bool const registered = [] {
    addWalks<Orient2d>("orient2d, random, in turn", randomPoints<Vector2>());
    addWalks<Orient3d>("orient3d, random, in turn", randomPoints<Vector3>());
    addWalks<InCircle>("inCircle, random, in turn", randomPoints<Vector2>());
    add<Orient2d>("orient2d, random", randomPoints<Vector2>(), Plain::timed);
    add<Orient3d>("orient3d, random", randomPoints<Vector3>(), Plain::timed);
    add<InCircle>("inCircle, random", randomPoints<Vector2>(), Plain::timed);
    add<Orient2d>("orient2d, near a line", onLines(), Plain::leftOut);
    add<Orient3d>("orient3d, near a plane", onPlanes(), Plain::leftOut);
    add<InCircle>("inCircle, near a circle", onCircles(), Plain::leftOut);
    add<InCircle>("inCircle, squares of a grid", onGrid(), Plain::leftOut);
    return true;
}();

} // namespace
