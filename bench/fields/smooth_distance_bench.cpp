// Smooth distances to a polyline at many points: one call of sinew for all points, one call a point, and the reference
// implementation. The nearest distance without smoothing shows what the smoothness costs.

#include <string>

#include <benchmark/benchmark.h>

#include <sinew/fields/polyline_projector.h>
#include <sinew/fields/smooth_distance.h>

#include "fields/distance_cases.h"
#include "fields/polylines.h"
#include "fields/reference_smooth_distance.h"

namespace {

using Case = bench::DistanceCase;
using Results = bench::DistanceResults;

void smoothByMany(Case const& input, Results& results)
{
    sinew::smoothDistMany(input.polyline, input.queries.data(), input.queries.size(), input.width, results.dists.data(),
                          input.derivatives ? results.grads.data() : nullptr,
                          input.derivatives ? results.hessians.data() : nullptr);
}

void smoothByReference(Case const& input, Results& results)
{
    for (std::size_t i = 0; i < input.queries.size(); ++i) {
        reference::smoothDistToPolyline(input.polyline, input.queries[i], input.width, &results.dists[i],
                                        input.derivatives ? &results.grads[i] : nullptr,
                                        input.derivatives ? &results.hessians[i] : nullptr);
    }
}

void smoothOneByOne(Case const& input, Results& results)
{
    for (std::size_t i = 0; i < input.queries.size(); ++i) {
        smoothDistToPolyline(input.polyline, input.queries[i], input.width, &results.dists[i],
                             input.derivatives ? &results.grads[i] : nullptr,
                             input.derivatives ? &results.hessians[i] : nullptr);
    }
}

void timeDistanceAlone(benchmark::State& state, Case const& input)
{
    PolylineProjector const polyline(input.polyline);
    std::vector<sinew::PolylineHit> hits(input.queries.size());
    for (auto _ : state) {
        sinew::projectMany(polyline, input.queries.data(), input.queries.size(), hits.data());
        benchmark::DoNotOptimize(hits.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(input.queries.size()));
}

std::vector<Case> makeCases()
{
    test::Random random(20250350);
    std::vector<Case> cases;
    for (bool derivatives : {false, true}) {
        for (int vertices : {10, 100, 1000, 10000}) {
            std::vector<Vector3> queries;
            std::vector<Vector3> const polyline = test::smoothCurve(vertices, 2.0);
            for (int i = 0; i < 200; ++i) queries.push_back(polyline[random.below(vertices)] + random.point() * 0.2);
            // Neighbouring chunks blend at this width, and distant ones are skipped.
            double const h = 0.5 / vertices;
            std::string const what = derivatives ? ", gradient and Hessian" : ", value";
            cases.push_back({std::to_string(vertices) + " vertices" + what, polyline, queries, h, derivatives});
        }
    }
    return cases;
}

int registerAll()
{
    static std::vector<Case> const cases = makeCases();
    for (Case const& input : cases) {
        auto const add = [&](char const* contender, auto work) {
            benchmark::RegisterBenchmark((input.name + "/" + contender).c_str(), work);
        };
        add("sinew", [&input](benchmark::State& state) {
            bench::timeDistances(state, input, smoothByMany, smoothByMany, smoothByReference);
        });
        add("single calls", [&input](benchmark::State& state) {
            bench::timeDistances(state, input, smoothOneByOne, smoothOneByOne, smoothByReference);
        });
        add("reference", [&input](benchmark::State& state) {
            bench::timeDistances(state, input, smoothByReference, smoothByReference, smoothByReference);
        });
        add("distance alone", [&input](benchmark::State& state) { timeDistanceAlone(state, input); });
    }
    return static_cast<int>(cases.size());
}

[[maybe_unused]] int const registered = registerAll();

} // namespace
