// Nearest points on polylines, one call a query: sinew, the reference implementation, and the AABB tree of CGAL over
// the segments. All of them find a nearest point; sinew and the reference implementation agree in every bit.
//
// Then arrays of random points and of points along a way, against single calls in the order of the array, and arrays of
// floats against a copy as doubles. All bits of the hits are compared before they are timed.

#include <algorithm>
#include <string>

#include <benchmark/benchmark.h>

#include "polyline_contenders.h"

namespace {

using namespace bench::polylines;

struct Case
{
    std::string name;
    std::vector<Vector3> points;
    std::vector<Vector3> queries;
};

constexpr double kTurns = 8.0; // of the long curves

std::vector<Case> makeCases()
{
    test::Random random(20250320);
    std::vector<Case> cases;
    auto const add = [&](std::string name, std::vector<Vector3> points, int queries) {
        std::vector<Vector3> const at = around(points, queries, random);
        cases.push_back({std::move(name), std::move(points), at});
    };
    add("10 vertices", test::smoothCurve(10), 1000);
    add("20 vertices", test::smoothCurve(20), 1000);
    add("100 vertices", test::smoothCurve(100), 1000);
    add("1e4 smooth", test::smoothCurve(10000, kTurns), 1000);
    add("1e4 noisy", test::noisyCurve(10000, random, 0.01, kTurns), 200);
    add("1e4 island boundary", test::islandBoundary(10000, random), 1000);
    add("1e4 straight", test::straightLine(10000, 1e-3), 1000);
    add("1e6 smooth", test::smoothCurve(1000000, kTurns), 1000);
    add("1e6 noisy", test::noisyCurve(1000000, random, 0.01, kTurns), 10);
    return cases;
}

// On a smooth curve of very many vertices the result may be a neighbour of the nearest segment. Distances of about one
// then differ by less than this.
constexpr double kNeighbour = 1e-6;

template <typename Contender>
void nearestPoints(benchmark::State& state, Case const& input)
{
    Contender const contender(input.points);
    Sinew const ours(input.points);
    for (Vector3 const& q : input.queries) {
        Vector3 const found = contender(q);
        Vector3 const expected = ours(q);
        bool const same = std::is_same_v<Contender, Reference>
                              ? test::sameBits(found, expected)
                              : std::fabs(dist(found, q) - dist(expected, q)) < kNeighbour;
        if (!same) {
            state.SkipWithError("the point differs from that of sinew");
            return;
        }
    }
    for (auto _ : state) {
        Vector3 sum;
        for (Vector3 const& q : input.queries) sum += contender(q);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(input.queries.size()));
}

template <typename Contender>
void registerContender(Case const& input, char const* name)
{
    benchmark::RegisterBenchmark((input.name + "/" + name).c_str(),
                                 [&input](benchmark::State& state) { nearestPoints<Contender>(state, input); });
}

struct ArrayCase
{
    std::string name;
    PolylineProjector polyline;
    std::vector<Vector3> queries;
    std::vector<float> floats;
    std::vector<sinew::PolylineHit> hits;

    ArrayCase(std::string caseName, std::vector<Vector3> const& points, std::vector<Vector3> const& at)
        : name(std::move(caseName)), polyline(points), queries(at), hits(at.size())
    {
        for (Vector3 const& q : queries) {
            for (int a = 0; a < 3; ++a) floats.push_back(static_cast<float>(q[a]));
        }
    }

    void byArray() { sinew::projectMany(polyline, queries.data(), queries.size(), hits.data()); }
    void bySingleCalls()
    {
        for (std::size_t i = 0; i < queries.size(); ++i) hits[i] = sinew::closestPoint(polyline, queries[i]);
    }
    void byFloats()
    {
        sinew::Strided<float const> const array(floats.data(), queries.size(), 3 * sizeof(float));
        sinew::projectMany(polyline, array, hits.data());
    }
    void byCopy()
    {
        std::vector<Vector3> copy;
        copy.reserve(queries.size());
        for (std::size_t i = 0; i < queries.size(); ++i)
            copy.emplace_back(floats[3 * i], floats[3 * i + 1], floats[3 * i + 2]);
        sinew::projectMany(polyline, copy.data(), copy.size(), hits.data());
    }

    bool agree(void (ArrayCase::*way)(), void (ArrayCase::*otherWay)())
    {
        (this->*way)();
        std::vector<sinew::PolylineHit> const first = hits;
        (this->*otherWay)();
        return std::equal(first.begin(), first.end(), hits.begin(),
                          [](sinew::PolylineHit const& a, sinew::PolylineHit const& b) {
                              return a.segment == b.segment && test::sameBits(a.t, b.t) &&
                                     test::sameBits(a.point, b.point) && test::sameBits(a.distSq, b.distSq);
                          });
    }
};

std::vector<ArrayCase> makeArrayCases()
{
    test::Random random(20261122);
    std::vector<ArrayCase> cases;
    for (int const vertices : {100, 1000, 10000, 1000000}) {
        std::string const name = "projectMany, " + std::to_string(vertices) + " noisy vertices, ";
        std::vector<Vector3> const points = test::noisyCurve(vertices, random, 0.01, kTurns);
        cases.emplace_back(name + "20000 random points", points, around(points, 20000, random));
        cases.emplace_back(name + "200 random points", points, around(points, 200, random));
        cases.emplace_back(name + "along a way", points, test::noisyCurve(20000, random, 0.001, 3.3));
    }
    return cases;
}

void arrays(benchmark::State& state, ArrayCase& input, void (ArrayCase::*way)(), void (ArrayCase::*otherWay)())
{
    if (!input.agree(way, otherWay)) return state.SkipWithError("a hit differs");
    for (auto _ : state) {
        (input.*way)();
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(input.queries.size()));
}

void registerArrays()
{
    static std::vector<ArrayCase> cases = makeArrayCases();
    for (ArrayCase& input : cases) {
        auto const add = [&input](char const* end, void (ArrayCase::*way)(), void (ArrayCase::*otherWay)()) {
            benchmark::RegisterBenchmark((input.name + end).c_str(),
                                         [=, &input](benchmark::State& state) { arrays(state, input, way, otherWay); });
        };
        add("/sinew", &ArrayCase::byArray, &ArrayCase::bySingleCalls);
        add("/single calls", &ArrayCase::bySingleCalls, &ArrayCase::byArray);
        add(", floats/sinew", &ArrayCase::byFloats, &ArrayCase::byCopy);
        add(", floats/copy first", &ArrayCase::byCopy, &ArrayCase::byFloats);
    }
}

int registerAll()
{
    static std::vector<Case> const cases = makeCases();
    for (Case const& input : cases) {
        registerContender<Sinew>(input, "sinew");
        registerContender<Reference>(input, "reference");
#ifdef SINEW_BENCH_CGAL
        registerContender<Cgal>(input, "CGAL");
#endif
    }
    registerArrays();
    return static_cast<int>(cases.size());
}

[[maybe_unused]] int const registered = registerAll();

} // namespace
