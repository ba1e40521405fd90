#pragma once

/// What the query benches share: calls that stay calls, and the loop that compares and times.

#include <cmath>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

// The library's functions are calls into another object. The plain transcriptions lie in headers; without this the
// compiler would specialise them for the loop that times them, or for its constant arguments.
#if defined(__clang__)
#define SINEW_BENCH_CALL __attribute__((noinline))
#elif defined(__GNUC__)
#define SINEW_BENCH_CALL __attribute__((noinline, noclone))
#else
#define SINEW_BENCH_CALL
#endif

namespace bench {

// Times answer(i) for all i, after it has been found to equal the expected values: with tolerance 0 exactly. NaN stands
// for "no answer" and equals itself.
template <typename Answer>
void contend(std::string const& name, std::vector<double> const& expected, double tolerance, Answer answer)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        for (std::size_t i = 0; i < expected.size(); ++i) {
            double const found = answer(i);
            bool const bothNone = std::isnan(found) && std::isnan(expected[i]);
            if (bothNone || std::fabs(found - expected[i]) <= tolerance * (1 + std::fabs(expected[i]))) continue;
            state.SkipWithError("the answers differ");
            return;
        }
        for (auto _ : state) {
            double sum = 0.0;
            for (std::size_t i = 0; i < expected.size(); ++i) sum += answer(i);
            benchmark::DoNotOptimize(sum);
        }
        state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(expected.size()));
    });
}

template <typename Answer>
std::vector<double> answers(std::size_t count, Answer answer)
{
    std::vector<double> result;
    for (std::size_t i = 0; i < count; ++i) result.push_back(answer(i));
    return result;
}

} // namespace bench
