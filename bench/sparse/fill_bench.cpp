// The number of entries of the factor, the diagonal included, with the ordering of each contender.

#include <benchmark/benchmark.h>

#include <sinew/sparse/symbolic_factor.h>

#include "cases.h"
#include "peers.h"

namespace {

int const registered = [] {
    for (std::string const name : {"2D 30", "2D 100", "surface", "2D 300", "3D 20", "3D 30"}) {
        auto const add = [&](char const* who, auto entries) {
            benchmark::RegisterBenchmark(("entries " + name + "/" + who).c_str(),
                                         [entries, name](benchmark::State& state) {
                                             for (auto _ : state)
                                                 state.counters["count"] = entries(bench::matrixNamed(name));
                                         })
                ->Iterations(1)
                ->Repetitions(1);
        };
        add("sinew", [](SPDMatrix const& m) { return static_cast<double>(sinew::SymbolicFactor(m).entryCount()); });
#ifdef SINEW_BENCH_EIGEN
        add("Eigen", [](SPDMatrix const& m) {
            bench::EigenSolver const solver(bench::upperForEigen(m));
            return static_cast<double>(solver.matrixL().nestedExpression().nonZeros());
        });
#endif
#ifdef SINEW_BENCH_SUITESPARSE
        add("CHOLMOD", [](SPDMatrix const& m) { return bench::Cholmod(m, false).entries(); });
        add("CXSparse", [](SPDMatrix const& m) {
            bench::CxMatrix const matrix(m);
            css* const symbolic = cs_schol(1, matrix.get());
            double const entries = symbolic->lnz;
            cs_sfree(symbolic);
            return entries;
        });
#endif
    }
    return 0;
}();

} // namespace
