#pragma once

/// What the benches of both smooth distances share: a polyline with queries near it, and the results at all queries.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include <sinew/core/matrix3.h>
#include <sinew/core/vector3.h>

#include "support/bits.h"

namespace bench {

struct DistanceCase
{
    std::string name;
    std::vector<Vector3> polyline;
    std::vector<Vector3> queries;
    double width; ///< of the blend: a length or its square, as the distance defines it
    bool derivatives;
};

struct DistanceResults
{
    std::vector<double> dists;
    std::vector<Vector3> grads;
    std::vector<Matrix3> hessians;

    explicit DistanceResults(std::size_t count) : dists(count), grads(count), hessians(count) {}

    bool hasBitsOf(DistanceResults const& other) const
    {
        return test::sameBits(dists, other.dists) && test::sameBits(grads, other.grads) &&
               test::sameBits(hessians, other.hessians);
    }
};

/// Computes all results of a case.
using DistanceWork = void (*)(DistanceCase const& input, DistanceResults& results);

/// Times `work`. It fails if the results of `checked` differ from those of `expected`.
inline void timeDistances(benchmark::State& state, DistanceCase const& input, DistanceWork work, DistanceWork checked,
                          DistanceWork expected)
{
    DistanceResults results(input.queries.size());
    DistanceResults wanted(input.queries.size());
    checked(input, results);
    expected(input, wanted);
    if (!results.hasBitsOf(wanted)) return state.SkipWithError("the bits differ");
    for (auto _ : state) {
        work(input, results);
        benchmark::DoNotOptimize(results.dists.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(input.queries.size()));
}

} // namespace bench
