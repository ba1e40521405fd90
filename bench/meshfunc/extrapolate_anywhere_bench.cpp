// Extrapolation that always has a result. Where nothing is degenerate it is compared with `extrapolate`, on the same
// points. At flat boundary triangles it is compared, on points that `extrapolate` refuses, with an exhaustive search
// and with the AABB tree of CGAL over the boundary segments of the good triangles, which is built beforehand.

#include <cmath>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>
#ifdef SINEW_BENCH_CGAL
#include <CGAL/AABB_segment_primitive.h>
#include <CGAL/AABB_traits.h>
#include <CGAL/AABB_tree.h>
#include <CGAL/Simple_cartesian.h>
#endif

#include <sinew/meshfunc/extrapolate_anywhere.h>

#include "meshfunc/flat_triangles.h"
#include "meshfunc/mesh_samples.h"
#include "meshfunc/reference_anywhere.h"
#include "support/bits.h"

namespace {

using sinew::LocationRule;
using test::Mesh;
using test::Point;
using test::Random;

constexpr std::size_t kPoints = 256;

struct Case
{
    MeshFunction2D function{true};
    std::vector<Point> points; // all of them refused, or none

    // One boundary edge in `one` has a flat triangle; none if it is 0.
    Case(Mesh mesh, int one)
    {
        Random random(1530);
        if (one > 0) test::attachFlatTriangles(random, &mesh, one);
        function = mesh.function();
        while (points.size() < kPoints) {
            Point const p = random.point2(-0.3, 1.3);
            if (function.extrapolate(p, nullptr, nullptr) == (one == 0)) points.push_back(p);
        }
    }
};

struct Defined
{
    explicit Defined(Case const& input) : f(input.function) {}
    MeshFunction2D const& f;
    bool operator()(Point const& p, Point* value) const { return f.extrapolate(p, value, nullptr); }
};

struct Sinew
{
    explicit Sinew(Case const& input) : f(input.function) {}
    MeshFunction2D const& f;
    bool operator()(Point const& p, Point* value) const { return sinew::extrapolateAnywhere(f, p, value, nullptr); }
};

struct Exhaustive
{
    explicit Exhaustive(Case const& input) : f(input.function) {}
    MeshFunction2D const& f;
    bool operator()(Point const& p, Point* value) const
    {
        return sinew::blend(reference::searchAnywhere(f, p), &f.values[0].x, 2, 2, &value->x);
    }
};

#ifdef SINEW_BENCH_CGAL
struct Cgal
{
    using Kernel = CGAL::Simple_cartesian<double>;
    using Segments = std::vector<Kernel::Segment_3>;
    using Primitive = CGAL::AABB_segment_primitive<Kernel, Segments::const_iterator>;

    MeshFunction2D const& f;
    Segments segments;
    std::vector<reference::Corners> triangles;
    CGAL::AABB_tree<CGAL::AABB_traits<Kernel, Primitive>> tree;

    explicit Cgal(Case const& input) : f(input.function)
    {
        auto const convert = [](Vector3 const& v) { return Kernel::Point_3(v.x, v.y, v.z); };
        for (std::size_t k = 0; k < f.boundaryFacets.size(); ++k) {
            std::vector<Vector3> const& points = f.boundaryProjectors[k]->points;
            for (std::size_t j = 0; j < f.boundaryFacets[k].size(); ++j) {
                auto const corners = reference::cornersOf(f, static_cast<std::size_t>(f.boundaryFacets[k][j]));
                if (!reference::isGood(corners)) continue;
                segments.emplace_back(convert(points[j]), convert(points[j + 1]));
                triangles.push_back(corners);
            }
        }
        tree.insert(segments.begin(), segments.end());
        tree.accelerate_distance_queries();
    }
    bool operator()(Point const& p, Point* value) const
    {
        auto const nearest = tree.closest_point_and_primitive(Kernel::Point_3(p.x, p.y, 0)).second;
        reference::Corners const& c = triangles[static_cast<std::size_t>(nearest - segments.begin())];
        reference::CornerWeights const w = reference::weightsAt(c, p);
        auto const at = [&](int k) { return f.values[static_cast<std::size_t>(c.index[k])]; };
        *value = w.of[1] * at(1) + w.of[2] * at(2) + w.of[0] * at(0);
        return true;
    }
};
#endif

// Ties at shared vertices may fall to either triangle, so a few values may differ from those of CGAL; the distances of
// all may not. The others have the same bits.
template <typename Contender>
bool agrees(Case const& input, Contender const& contender)
{
    std::size_t different = 0;
    for (Point const& p : input.points) {
        Point expected, found;
        if (!Sinew(input)(p, &expected) || !contender(p, &found)) return false;
        different += test::sameBits(expected, found) ? 0U : 1U;
    }
    bool const mayDiffer = !std::is_same_v<Contender, Defined> && !std::is_same_v<Contender, Exhaustive>;
    return different <= (mayDiffer ? input.points.size() / 2 : 0U);
}

template <typename Contender>
void run(benchmark::State& state, Case const& input, std::size_t batch)
{
    Contender const contender(input);
    if (!agrees(input, contender)) {
        state.SkipWithError("results differ");
        return;
    }
    std::size_t next = 0;
    for (auto _ : state) {
        for (std::size_t i = 0; i < batch; ++i) {
            Point value;
            benchmark::DoNotOptimize(contender(input.points[next], &value));
            benchmark::DoNotOptimize(value);
            next = (next + 1) % input.points.size();
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(batch));
}

template <typename Contender>
void add(std::string const& name, std::shared_ptr<Case const> const& input, std::size_t batch)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) { run<Contender>(state, *input, batch); });
}

void addCase(std::string const& name, Mesh const& mesh, int one)
{
    auto const input = std::make_shared<Case const>(mesh, one);
    add<Sinew>(name + "/sinew", input, one == 0 ? kPoints : 4);
    if (one == 0) {
        add<Defined>(name + "/extrapolate", input, kPoints);
        return;
    }
    add<Exhaustive>(name + "/exhaustive", input, 1);
#ifdef SINEW_BENCH_CGAL
    if (one > 1) add<Cgal>(name + "/CGAL", input, kPoints);
#endif
}

bool const kRegistered = [] {
    Random random(1531);
    Mesh const small = test::gridMesh(random, 7, 7), large = test::gridMesh(random, 300, 300),
               loops = test::islands(100);
    addCase("nothing flat, 100 triangles", small, 0);
    addCase("nothing flat, 180000 triangles", large, 0);
    addCase("nothing flat, 1e4 loops", loops, 0);
    addCase("1 in 4 boundary triangles flat, 100 triangles", small, 4);
    addCase("1 in 4 boundary triangles flat, 180000 triangles", large, 4);
    addCase("1 in 4 boundary triangles flat, 1e4 loops", loops, 4);
    addCase("all boundary triangles flat, 100 triangles", small, 1);
    addCase("all boundary triangles flat, 180000 triangles", large, 1);
    return true;
}();

} // namespace
