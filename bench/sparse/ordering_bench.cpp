// The minimum-degree ordering. CXSparse and Eigen use approximate degrees, so their permutations differ. The bench
// `fill` compares the resulting factors.

#include <benchmark/benchmark.h>

#include "cases.h"
#include "peers.h"
#include "sparse/reference_sparse.h"

namespace {

void order(benchmark::State& state, std::string const& name)
{
    SPDMatrix const& matrix = bench::matrixNamed(name);
    for (auto _ : state) benchmark::DoNotOptimize(matrix.computePerm());
}

void orderReference(benchmark::State& state, std::string const& name)
{
    SPDMatrix const& matrix = bench::matrixNamed(name);
    static std::map<std::string, bool> same;
    if (!same.count(name)) same[name] = reference::computePerm(matrix) == matrix.computePerm();
    if (!same[name]) state.SkipWithError("permutations differ");
    for (auto _ : state) benchmark::DoNotOptimize(reference::computePerm(matrix));
}

#ifdef SINEW_BENCH_SUITESPARSE
// The ordering alone, without the rest of CXSparse's analysis.
void orderWithCxSparse(benchmark::State& state, std::string const& name)
{
    bench::CxMatrix const matrix(bench::matrixNamed(name));
    for (auto _ : state) cs_di_free(cs_di_amd(1, matrix.get()));
}
#endif

#ifdef SINEW_BENCH_EIGEN
void orderWithEigen(benchmark::State& state, std::string const& name)
{
    bench::EigenMatrix const matrix = bench::upperForEigen(bench::matrixNamed(name));
    bench::EigenMatrix const full = matrix.selfadjointView<Eigen::Upper>();
    for (auto _ : state) {
        Eigen::PermutationMatrix<Eigen::Dynamic, Eigen::Dynamic, int> permutation;
        Eigen::AMDOrdering<int>()(full, permutation);
        benchmark::DoNotOptimize(permutation.indices().data());
    }
}
#endif

int const registered = [] {
    for (std::string const name : {"2D 30", "2D 100", "surface", "2D 300", "3D 20", "3D 30"}) {
        std::string const prefix = "order " + name + "/";
        auto const add = [&](char const* who, auto run) {
            return benchmark::RegisterBenchmark((prefix + who).c_str(), run, name)->Unit(benchmark::kMillisecond);
        };
        add("sinew", order);
        // The reference takes seconds, and minutes for 3D 30. It is therefore timed once, and not for 3D 30.
        if (name != "3D 30") add("reference", orderReference)->Iterations(1)->Repetitions(1);
#ifdef SINEW_BENCH_SUITESPARSE
        add("CXSparse", orderWithCxSparse);
#endif
#ifdef SINEW_BENCH_EIGEN
        add("Eigen", orderWithEigen);
#endif
    }
    return 0;
}();

} // namespace
