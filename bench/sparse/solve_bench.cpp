// Solutions with a given factor. The reference implementation uses the same factor, so that only the substitutions are
// compared. "solve8" solves eight right-hand sides.

#include <cmath>

#include <benchmark/benchmark.h>

#include <sinew/sparse/solve_many.h>

#include "cases.h"
#include "peers.h"
#include "sparse/reference_sparse.h"

namespace {

LLTMatrix const& factorOf(std::string const& name)
{
    static std::map<std::string, LLTMatrix> made;
    auto const found = made.find(name);
    return found != made.end() ? found->second : made.emplace(name, bench::matrixNamed(name).factor()).first->second;
}

std::vector<double> rightHandSide(std::string const& name)
{
    test::Random random(20250402);
    std::vector<double> b(bench::matrixNamed(name).rows.size());
    for (double& x : b) x = random.uniform();
    return b;
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

[[maybe_unused]] void compare(benchmark::State& state, std::string const& name, double const* other)
{
    std::vector<double> x = rightHandSide(name);
    factorOf(name).solve(x);
    double worst = 0;
    double largest = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        worst = std::max(worst, std::fabs(x[i] - other[i]));
        largest = std::max(largest, std::fabs(x[i]));
    }
    // Other orderings round differently. The condition numbers of the matrices are below about 1e4.
    if (!(worst <= 1e-9 * largest)) state.SkipWithError("solutions differ");
}

#ifdef SINEW_BENCH_EIGEN
void solveWithEigen(benchmark::State& state, std::string const& name)
{
    bench::EigenSolver const solver(bench::upperForEigen(bench::matrixNamed(name)));
    std::vector<double> const b = rightHandSide(name);
    Eigen::VectorXd const right = Eigen::Map<Eigen::VectorXd const>(b.data(), static_cast<Eigen::Index>(b.size()));
    Eigen::VectorXd x = solver.solve(right);
    compare(state, name, x.data());
    for (auto _ : state) {
        x = solver.solve(right);
        benchmark::DoNotOptimize(x.data());
    }
}
#endif

#ifdef SINEW_BENCH_SUITESPARSE
template <bool supernodal>
void solveWithCholmod(benchmark::State& state, std::string const& name)
{
    bench::Cholmod cholmod(bench::matrixNamed(name), supernodal);
    cholmod.factorize();
    std::vector<double> const b = rightHandSide(name);
    compare(state, name, cholmod.solve(b).data());
    for (auto _ : state) benchmark::DoNotOptimize(cholmod.solve(b));
}
#endif

int const registered = [] {
    auto const add = [](std::string const& name, auto run, std::string const& matrix) {
        benchmark::RegisterBenchmark(name.c_str(), run, matrix)->Unit(benchmark::kMillisecond);
    };
    for (std::string const name : {"2D 30", "2D 100", "surface", "2D 300", "3D 20"}) {
        std::string const prefix = "solve " + name + "/";
        add(prefix + "sinew", solve, name);
        add(prefix + "reference", solveReference, name);
#ifdef SINEW_BENCH_EIGEN
        add(prefix + "Eigen", solveWithEigen, name);
#endif
#ifdef SINEW_BENCH_SUITESPARSE
        add(prefix + "CHOLMOD-supernodal", solveWithCholmod<true>, name);
        add(prefix + "CHOLMOD-simplicial", solveWithCholmod<false>, name);
#endif
        add("solve8 " + name + "/sinew", solveEight, name);
        add("solve8 " + name + "/reference", solveEightReference, name);
    }
    return 0;
}();

} // namespace
