// The compact factor: its numbers, its solutions and its memory. "compact factor" is the numbers alone, with the
// analysis done before for everyone, each peer in its own ordering. "lists" is `SymbolicFactor::factor` and
// `LLTMatrix`. "compact solve8" solves eight right-hand sides. "compact bytes" counts bytes.

#include <benchmark/benchmark.h>

#include <sinew/sparse/compact_factor.h>
#include <sinew/sparse/solve_many.h>

#include "peer_rows.h"

namespace {

using bench::rightHandSide;

struct Factors
{
    sinew::SymbolicFactor symbolic;
    LLTMatrix lists;
    sinew::CompactFactor compact;

    explicit Factors(SPDMatrix const& matrix)
        : symbolic(matrix), lists(symbolic.factor(matrix)), compact(symbolic, matrix)
    {
    }
};

Factors& factorsOf(std::string const& name)
{
    static std::map<std::string, Factors> made;
    auto const found = made.find(name);
    return found != made.end() ? found->second : made.emplace(name, bench::matrixNamed(name)).first->second;
}

void factorLists(benchmark::State& state, std::string const& name)
{
    Factors& factors = factorsOf(name);
    for (auto _ : state) benchmark::DoNotOptimize(factors.symbolic.factor(bench::matrixNamed(name)).diag);
}

void factorCompact(benchmark::State& state, std::string const& name)
{
    Factors& factors = factorsOf(name);
    SPDMatrix const& matrix = bench::matrixNamed(name);
    if (!factors.compact.refactor(matrix) || test::difference(factors.compact.toLLT(), factors.lists) != "") {
        state.SkipWithError("factors differ");
    }
    for (auto _ : state) benchmark::DoNotOptimize(factors.compact.refactor(matrix));
}

void solveLists(benchmark::State& state, std::string const& name)
{
    LLTMatrix const& factor = factorsOf(name).lists;
    std::vector<double> const b = rightHandSide(name);
    std::vector<double> x;
    for (auto _ : state) {
        x = b;
        factor.solve(x);
        benchmark::DoNotOptimize(x.data());
    }
}

void solveCompact(benchmark::State& state, std::string const& name)
{
    Factors const& factors = factorsOf(name);
    std::vector<double> const b = rightHandSide(name);
    std::vector<double> x = b;
    std::vector<double> expected = b;
    factors.compact.solve(x);
    factors.lists.solve(expected);
    if (!test::sameBits(x, expected)) state.SkipWithError("solutions differ");
    for (auto _ : state) {
        x = b;
        factors.compact.solve(x);
        benchmark::DoNotOptimize(x.data());
    }
}

template <bool compact>
void solveEight(benchmark::State& state, std::string const& name)
{
    Factors const& factors = factorsOf(name);
    std::vector<std::vector<double>> const b(8, rightHandSide(name));
    std::vector<std::vector<double>> x = b;
    std::vector<std::vector<double>> expected = b;
    factors.compact.solveMany(x);
    sinew::solveMany(factors.lists, expected);
    if (!test::sameBits(x, expected)) state.SkipWithError("solutions differ");
    for (auto _ : state) {
        x = b;
        if (compact) {
            factors.compact.solveMany(x);
        } else {
            sinew::solveMany(factors.lists, x);
        }
        benchmark::DoNotOptimize(x.data());
    }
}

[[maybe_unused]] std::vector<double> solution(std::string const& name)
{
    std::vector<double> x = rightHandSide(name);
    factorsOf(name).compact.solve(x);
    return x;
}

// A count instead of a time.
template <typename Count>
void addCount(std::string const& name, Count count)
{
    benchmark::RegisterBenchmark(name.c_str(),
                                 [count](benchmark::State& state) {
                                     for (auto _ : state) state.counters["count"] = static_cast<double>(count());
                                 })
        ->Iterations(1)
        ->Repetitions(1);
}

void addMatrix(std::string const& name)
{
    auto const add = [&name](std::string const& what, char const* who, auto run) {
        benchmark::RegisterBenchmark((what + " " + name + "/" + who).c_str(), run, name)->Unit(benchmark::kMillisecond);
    };
    add("compact factor", "sinew", factorCompact);
    add("compact factor", "lists", factorLists);
    add("compact solve", "sinew", solveCompact);
    add("compact solve", "lists", solveLists);
    add("compact solve8", "sinew", solveEight<true>);
    add("compact solve8", "lists", solveEight<false>);
    addCount("compact bytes " + name + "/sinew", [name] {
        Factors const& factors = factorsOf(name);
        return factors.compact.factorBytes() + factors.compact.analysisBytes();
    });
    addCount("compact bytes " + name + "/without-analysis", [name] { return factorsOf(name).compact.factorBytes(); });
    addCount("compact bytes " + name + "/lists", [name] { return factorsOf(name).symbolic.factorBytes(); });
#ifdef SINEW_BENCH_EIGEN
    add("compact factor", "Eigen", bench::factorWithEigen);
    add("compact solve", "Eigen", bench::solveWithEigen<solution>);
#endif
#ifdef SINEW_BENCH_SUITESPARSE
    add("compact factor", "CHOLMOD-supernodal", bench::factorWithCholmod<true>);
    add("compact solve", "CHOLMOD-supernodal", bench::solveWithCholmod<true, solution>);
    add("compact solve", "CHOLMOD-simplicial", bench::solveWithCholmod<false, solution>);
#endif
}

int const registered = [] {
    for (std::string const name : {"2D 100", "surface", "2D 300", "3D 20", "3D 30"}) addMatrix(name);
    return 0;
}();

} // namespace
