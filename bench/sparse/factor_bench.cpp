// The factorisation, without the ordering. For sinew and the reference implementation, the time includes the analysis,
// the numbers, and the lists `rows` and `Mt`. "sinew-again" is SymbolicFactor::factor, without the analysis. For Eigen
// and CHOLMOD, the time includes the numbers alone; their analysis is done before, in their own ordering. "factor
// with ordering" is all of SPDMatrix::factor.

#include <benchmark/benchmark.h>

#include <sinew/sparse/detail/factorization.h>
#include <sinew/sparse/symbolic_factor.h>

#include "peer_rows.h"
#include "sparse/reference_sparse.h"

namespace {

using sinew::detail::Factorization;

std::vector<int> const& permOf(std::string const& name)
{
    static std::map<std::string, std::vector<int>> made;
    auto const found = made.find(name);
    return found != made.end() ? found->second
                               : made.emplace(name, bench::matrixNamed(name).computePerm()).first->second;
}

void factor(benchmark::State& state, std::string const& name)
{
    SPDMatrix const& matrix = bench::matrixNamed(name);
    std::vector<int> const& perm = permOf(name);
    for (auto _ : state) benchmark::DoNotOptimize(Factorization(matrix.rows, perm).factor(matrix.rows).factor.diag);
}

void factorReference(benchmark::State& state, std::string const& name)
{
    SPDMatrix const& matrix = bench::matrixNamed(name);
    std::vector<int> const& perm = permOf(name);
    if (test::difference(reference::factor(matrix, perm),
                         Factorization(matrix.rows, perm).factor(matrix.rows).factor) != "") {
        state.SkipWithError("factors differ");
    }
    for (auto _ : state) benchmark::DoNotOptimize(reference::factor(matrix, perm).diag);
}

void factorAgain(benchmark::State& state, std::string const& name)
{
    SPDMatrix const& matrix = bench::matrixNamed(name);
    sinew::SymbolicFactor const symbolic(matrix);
    for (auto _ : state) benchmark::DoNotOptimize(symbolic.factor(matrix).diag);
}

void factorWhole(benchmark::State& state, std::string const& name)
{
    SPDMatrix const& matrix = bench::matrixNamed(name);
    for (auto _ : state) benchmark::DoNotOptimize(matrix.factor().diag);
}

void factorWholeReference(benchmark::State& state, std::string const& name)
{
    SPDMatrix const& matrix = bench::matrixNamed(name);
    if (test::difference(reference::factor(matrix), matrix.factor()) != "") state.SkipWithError("factors differ");
    for (auto _ : state) benchmark::DoNotOptimize(reference::factor(matrix).diag);
}

#ifdef SINEW_BENCH_EIGEN
void factorWholeWithEigen(benchmark::State& state, std::string const& name)
{
    bench::EigenMatrix const matrix = bench::upperForEigen(bench::matrixNamed(name));
    for (auto _ : state) {
        bench::EigenSolver const solver(matrix);
        benchmark::DoNotOptimize(solver.info());
    }
}
#endif

int const registered = [] {
    auto const add = [](std::string const& name, auto run, std::string const& matrix) {
        return benchmark::RegisterBenchmark(name.c_str(), run, matrix)->Unit(benchmark::kMillisecond);
    };
    for (std::string const name : {"2D 30", "2D 100", "surface", "2D 300", "3D 20", "3D 30"}) {
        std::string const prefix = "factor " + name + "/";
        add(prefix + "sinew", factor, name);
        add(prefix + "sinew-again", factorAgain, name);
        if (name != "3D 30")
            add(prefix + "reference", factorReference, name)->Iterations(1)->Repetitions(3); // takes seconds
#ifdef SINEW_BENCH_EIGEN
        add(prefix + "Eigen", bench::factorWithEigen, name);
#endif
#ifdef SINEW_BENCH_SUITESPARSE
        add(prefix + "CHOLMOD-supernodal", bench::factorWithCholmod<true>, name);
        add(prefix + "CHOLMOD-simplicial", bench::factorWithCholmod<false>, name);
#endif
    }
    add("factor with ordering, 2D 30/sinew", factorWhole, "2D 30");
    add("factor with ordering, 2D 30/reference", factorWholeReference, "2D 30");
#ifdef SINEW_BENCH_EIGEN
    add("factor with ordering, 2D 30/Eigen", factorWholeWithEigen, "2D 30");
#endif
    return 0;
}();

} // namespace
