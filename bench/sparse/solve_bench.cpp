// Solutions with a given factor. The reference implementation uses the same factor, so that only the substitutions are
// compared. "solve8" solves eight right-hand sides.

#include <benchmark/benchmark.h>

#include <sinew/sparse/solve_many.h>

#include "peer_rows.h"
#include "sparse/reference_sparse.h"

namespace {

using bench::rightHandSide;

LLTMatrix const& factorOf(std::string const& name)
{
    static std::map<std::string, LLTMatrix> made;
    auto const found = made.find(name);
    return found != made.end() ? found->second : made.emplace(name, bench::matrixNamed(name).factor()).first->second;
}

void solve(benchmark::State& state, std::string const& name)
{
    LLTMatrix const& factor = factorOf(name);
    std::vector<double> const b = rightHandSide(name);
    std::vector<double> x;
    for (auto _ : state) {
        x = b;
        factor.solve(x);
        benchmark::DoNotOptimize(x.data());
    }
}

void solveReference(benchmark::State& state, std::string const& name)
{
    LLTMatrix const& factor = factorOf(name);
    std::vector<double> const b = rightHandSide(name);
    std::vector<double> x = b;
    std::vector<double> expected = b;
    factor.solve(expected);
    reference::solve(factor, x);
    if (!test::sameBits(x, expected)) state.SkipWithError("solutions differ");
    for (auto _ : state) {
        x = b;
        reference::solve(factor, x);
        benchmark::DoNotOptimize(x.data());
    }
}

void solveEight(benchmark::State& state, std::string const& name)
{
    LLTMatrix const& factor = factorOf(name);
    std::vector<std::vector<double>> const b(8, rightHandSide(name));
    std::vector<std::vector<double>> x;
    for (auto _ : state) {
        x = b;
        sinew::solveMany(factor, x);
        benchmark::DoNotOptimize(x.data());
    }
}

void solveEightReference(benchmark::State& state, std::string const& name)
{
    LLTMatrix const& factor = factorOf(name);
    std::vector<double> const b = rightHandSide(name);
    std::vector<double> x;
    for (auto _ : state) {
        for (int k = 0; k < 8; ++k) {
            x = b;
            reference::solve(factor, x);
            benchmark::DoNotOptimize(x.data());
        }
    }
}

[[maybe_unused]] std::vector<double> solution(std::string const& name)
{
    std::vector<double> x = rightHandSide(name);
    factorOf(name).solve(x);
    return x;
}

int const registered = [] {
    auto const add = [](std::string const& name, auto run, std::string const& matrix) {
        benchmark::RegisterBenchmark(name.c_str(), run, matrix)->Unit(benchmark::kMillisecond);
    };
    for (std::string const name : {"2D 30", "2D 100", "surface", "2D 300", "3D 20"}) {
        std::string const prefix = "solve " + name + "/";
        add(prefix + "sinew", solve, name);
        add(prefix + "reference", solveReference, name);
#ifdef SINEW_BENCH_EIGEN
        add(prefix + "Eigen", bench::solveWithEigen<solution>, name);
#endif
#ifdef SINEW_BENCH_SUITESPARSE
        add(prefix + "CHOLMOD-supernodal", bench::solveWithCholmod<true, solution>, name);
        add(prefix + "CHOLMOD-simplicial", bench::solveWithCholmod<false, solution>, name);
#endif
        add("solve8 " + name + "/sinew", solveEight, name);
        add("solve8 " + name + "/reference", solveEightReference, name);
    }
    return 0;
}();

} // namespace
