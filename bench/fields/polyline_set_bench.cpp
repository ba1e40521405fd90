// The nearest of many curves: a set, against asking one curve after the other, and arrays of random points against
// single calls. The results are compared bit for bit.

#include <algorithm>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include <sinew/fields/polyline_set.h>

#include "fields/polylines.h"
#include "support/bits.h"

namespace {

constexpr int kQueries = 20000;

struct Case
{
    std::string name;
    sinew::PolylineSet set;
    std::vector<Vector3> queries;
};

// Closed curves of `vertices` vertices, of size 1, in a square of side `side`.
Case makeCase(int curves, int vertices, double side)
{
    test::Random random(7);
    std::vector<PolylineProjector> list;
    for (int i = 0; i < curves; ++i) {
        std::vector<Vector3> points = test::islandBoundary(vertices, random);
        Vector3 const at(random.uniform(0, side), random.uniform(0, side), 0);
        for (Vector3& p : points) p = p * 0.5 + at;
        list.emplace_back(points);
    }
    std::vector<Vector3> queries;
    for (int i = 0; i < kQueries; ++i) queries.emplace_back(random.uniform(0, side), random.uniform(0, side), 0.0);
    return {std::to_string(curves) + " curves of " + std::to_string(vertices) + " vertices",
            sinew::PolylineSet(std::move(list)), queries};
}

struct Set
{
    sinew::PolylineSetHit operator()(sinew::PolylineSet const& set, Vector3 const& q) const
    {
        return sinew::closestPoint(set, q);
    }
};

struct OneAfterTheOther
{
    sinew::PolylineSetHit operator()(sinew::PolylineSet const& set, Vector3 const& q) const
    {
        sinew::PolylineSetHit best;
        for (std::size_t c = 0; c < set.curves().size(); ++c) {
            sinew::PolylineHit const hit = sinew::closestPoint(set.curves()[c], q);
            if (hit.distSq < best.hit.distSq) best = {static_cast<int>(c), hit};
        }
        return best;
    }
};

template <typename Contender>
void nearest(benchmark::State& state, Case const& input)
{
    Contender const contender{};
    std::size_t const queries = std::is_same_v<Contender, Set> ? 1000 : 20;
    for (std::size_t i = 0; i < queries; ++i) {
        sinew::PolylineSetHit const found = contender(input.set, input.queries[i]);
        sinew::PolylineSetHit const expected = Set()(input.set, input.queries[i]);
        if (found.curve != expected.curve || !test::sameBits(found.hit.point, expected.hit.point))
            return state.SkipWithError("the point differs from that of the set");
    }
    for (auto _ : state) {
        int sum = 0;
        for (std::size_t i = 0; i < queries; ++i) sum += contender(input.set, input.queries[i]).curve;
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(queries));
}

bool sameHits(std::vector<sinew::PolylineSetHit> const& some, std::vector<sinew::PolylineSetHit> const& others)
{
    return std::equal(
        some.begin(), some.end(), others.begin(), [](sinew::PolylineSetHit const& a, sinew::PolylineSetHit const& b) {
            return a.curve == b.curve && a.hit.segment == b.hit.segment && test::sameBits(a.hit.t, b.hit.t) &&
                   test::sameBits(a.hit.point, b.hit.point) && test::sameBits(a.hit.distSq, b.hit.distSq);
        });
}

void arrays(benchmark::State& state, Case const& input, bool inOneCall)
{
    std::vector<Vector3> const& queries = input.queries;
    std::vector<sinew::PolylineSetHit> hits(queries.size());
    std::vector<sinew::PolylineSetHit> single(queries.size());
    auto const byArray = [&] {
        sinew::projectMany(input.set, sinew::coordinatesOf(queries.data(), queries.size()), hits.data());
    };
    auto const bySingleCalls = [&] {
        for (std::size_t i = 0; i < queries.size(); ++i) single[i] = sinew::closestPoint(input.set, queries[i]);
    };
    byArray();
    bySingleCalls();
    if (!sameHits(hits, single)) return state.SkipWithError("a hit differs");
    for (auto _ : state) {
        inOneCall ? byArray() : bySingleCalls();
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(queries.size()));
}

[[maybe_unused]] int const registered = [] {
    static std::vector<Case> const cases = {makeCase(4, 12, 3), makeCase(100, 12, 10), makeCase(10000, 12, 100),
                                            makeCase(1000, 200, 40), makeCase(1000, 12, 1)};
    for (Case const& input : cases) {
        std::string const name = input.name + (&input == &cases.back() ? ", all overlapping" : "");
        benchmark::RegisterBenchmark((name + "/sinew").c_str(),
                                     [&input](benchmark::State& state) { nearest<Set>(state, input); });
        benchmark::RegisterBenchmark((name + "/one by one").c_str(),
                                     [&input](benchmark::State& state) { nearest<OneAfterTheOther>(state, input); });
        if (&input == &cases.back()) continue; // every query takes as long as all curves
        benchmark::RegisterBenchmark(("projectMany, " + name + "/sinew").c_str(),
                                     [&input](benchmark::State& state) { arrays(state, input, true); });
        benchmark::RegisterBenchmark(("projectMany, " + name + "/single calls").c_str(),
                                     [&input](benchmark::State& state) { arrays(state, input, false); });
    }
    return 0;
}();

} // namespace
