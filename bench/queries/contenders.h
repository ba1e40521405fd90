#pragma once

/// Registration of the query benches: functions on the same inputs, whose results are compared before they are timed.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#if defined(__clang__)
#define SINEW_BENCH_CALL __attribute__((noinline))
#elif defined(__GNUC__)
#define SINEW_BENCH_CALL __attribute__((noinline, noclone))
#else
#define SINEW_BENCH_CALL
#endif

namespace bench {

template <auto function>
struct Call;

template <typename Result, typename... Arguments, Result (*function)(Arguments...)>
struct Call<function>
{
    SINEW_BENCH_CALL static Result run(Arguments... arguments) { return function(arguments...); }
};

/// A function that the compiler neither inlines nor specialises for its arguments.
///
/// The functions of the library are calls into another object file. The reference implementations are in headers;
/// without this the compiler would optimise them together with the loop that times them.
template <auto function>
constexpr auto notInlined = &Call<function>::run;

/// f(0) to f(count - 1).
template <typename Function>
std::vector<double> resultsOf(std::size_t count, Function f)
{
    std::vector<double> results;
    for (std::size_t i = 0; i < count; ++i) results.push_back(f(i));
    return results;
}

/// Registers the benchmark `name`: f(i) for the index of each expected result. It fails if a result differs from the
/// expected one by more than `tolerance`, relative to its size and at least absolutely; 0 requires equality. NaN stands
/// for "no intersection" and equals itself.
template <typename Function>
void contender(std::string const& name, std::vector<double> const& expected, double tolerance, Function f)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        for (std::size_t i = 0; i < expected.size(); ++i) {
            double const found = f(i);
            bool const bothNaN = std::isnan(found) && std::isnan(expected[i]);
            if (bothNaN || std::fabs(found - expected[i]) <= tolerance * (1 + std::fabs(expected[i]))) continue;
            state.SkipWithError("the results differ");
            return;
        }
        for (auto _ : state) {
            double sum = 0.0;
            for (std::size_t i = 0; i < expected.size(); ++i) sum += f(i);
            benchmark::DoNotOptimize(sum);
        }
        state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(expected.size()));
    });
}

/// Registers a function of the library and its reference implementation, which must give equal results.
/// @return the results, to compare peers with.
template <typename Ours, typename Reference>
std::vector<double> againstReference(std::string const& name, std::size_t count, Ours ours, Reference reference)
{
    std::vector<double> const expected = resultsOf(count, ours);
    contender(name + "/sinew", expected, 0.0, ours);
    contender(name + "/reference", expected, 0.0, reference);
    return expected;
}

} // namespace bench
