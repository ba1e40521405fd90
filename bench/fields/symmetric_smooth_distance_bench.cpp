// The symmetric smooth distance at many points: the tree of boxes, the plain sum over all segments, and the defined
// smooth distance, which computes something else.

#include <string>

#include <benchmark/benchmark.h>

#include <sinew/fields/smooth_distance.h>
#include <sinew/fields/symmetric_smooth_distance.h>

#include "fields/distance_cases.h"
#include "fields/polylines.h"

namespace {

using Case = bench::DistanceCase;
using Results = bench::DistanceResults;

void byTree(Case const& input, Results& results)
{
    sinew::smoothDistanceMany(input.polyline, sinew::coordinatesOf(input.queries.data(), input.queries.size()),
                              input.width, results.dists.data(), input.derivatives ? results.grads.data() : nullptr,
                              input.derivatives ? results.hessians.data() : nullptr);
}

void byPlainSum(Case const& input, Results& results)
{
    for (std::size_t i = 0; i < input.queries.size(); ++i) {
        sinew::SmoothDistance const field = sinew::smoothDistance(input.polyline, input.queries[i], input.width);
        results.dists[i] = field.dist;
        if (!input.derivatives) continue;
        results.grads[i] = field.grad;
        results.hessians[i] = field.hess;
    }
}

void byDefinition(Case const& input, Results& results)
{
    sinew::smoothDistMany(input.polyline, input.queries.data(), input.queries.size(), input.width * input.width,
                          results.dists.data(), input.derivatives ? results.grads.data() : nullptr,
                          input.derivatives ? results.hessians.data() : nullptr);
}

std::vector<Case> makeCases()
{
    test::Random random(20261150);
    std::vector<Case> cases;
    for (bool derivatives : {false, true}) {
        for (int vertices : {10, 100, 1000, 10000}) {
            std::vector<Vector3> queries;
            std::vector<Vector3> const polyline = test::smoothCurve(vertices, 2.0);
            for (int i = 0; i < 200; ++i) {
                Vector3 const& vertex = polyline[static_cast<std::size_t>(random.below(vertices))];
                queries.push_back(vertex + random.point() * 0.2);
            }
            std::string const what = derivatives ? ", gradient and Hessian" : ", value";
            cases.push_back({std::to_string(vertices) + " vertices" + what, polyline, queries, 0.05, derivatives});
        }
    }
    return cases;
}

int registerAll()
{
    static std::vector<Case> const cases = makeCases();
    for (Case const& input : cases) {
        auto const add = [&](char const* contender, bench::DistanceWork work) {
            benchmark::RegisterBenchmark((input.name + "/" + contender).c_str(),
                                         [&input, work](benchmark::State& state) {
                                             bench::timeDistances(state, input, work, byTree, byPlainSum);
                                         });
        };
        add("sinew", byTree);
        add("plain sum", byPlainSum);
        add("smoothDistMany", byDefinition);
    }
    return static_cast<int>(cases.size());
}

[[maybe_unused]] int const registered = registerAll();

} // namespace
