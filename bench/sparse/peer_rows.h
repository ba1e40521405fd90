#pragma once

/// The rows of the peers for factors and solutions. Each peer uses its own ordering, and its analysis is done before.

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "cases.h"
#include "peers.h"

namespace bench {

inline std::vector<double> rightHandSide(std::string const& name)
{
    test::Random random(20250402);
    std::vector<double> b(matrixNamed(name).rows.size());
    for (double& x : b) x = random.uniform();
    return b;
}

/// Fails the row if a peer's solution is not near ours. Other orderings round differently. The condition numbers of the
/// matrices are below about 1e4.
inline void compareSolutions(benchmark::State& state, std::vector<double> const& ours, double const* theirs)
{
    double worst = 0;
    double largest = 0;
    for (std::size_t i = 0; i < ours.size(); ++i) {
        worst = std::max(worst, std::fabs(ours[i] - theirs[i]));
        largest = std::max(largest, std::fabs(ours[i]));
    }
    if (!(worst <= 1e-9 * largest)) state.SkipWithError("solutions differ");
}

#ifdef SINEW_BENCH_EIGEN
inline void factorWithEigen(benchmark::State& state, std::string const& name)
{
    EigenMatrix const matrix = upperForEigen(matrixNamed(name));
    EigenSolver solver;
    solver.analyzePattern(matrix);
    for (auto _ : state) solver.factorize(matrix);
    if (solver.info() != Eigen::Success) state.SkipWithError("Eigen found no factor");
}

/// `solution(name)` is ours for the right-hand side of that name.
template <std::vector<double> (*solution)(std::string const&)>
void solveWithEigen(benchmark::State& state, std::string const& name)
{
    EigenSolver const solver(upperForEigen(matrixNamed(name)));
    std::vector<double> const b = rightHandSide(name);
    Eigen::VectorXd const right = Eigen::Map<Eigen::VectorXd const>(b.data(), static_cast<Eigen::Index>(b.size()));
    Eigen::VectorXd x = solver.solve(right);
    compareSolutions(state, solution(name), x.data());
    for (auto _ : state) {
        x = solver.solve(right);
        benchmark::DoNotOptimize(x.data());
    }
}
#endif

#ifdef SINEW_BENCH_SUITESPARSE
template <bool supernodal>
void factorWithCholmod(benchmark::State& state, std::string const& name)
{
    Cholmod cholmod(matrixNamed(name), supernodal);
    for (auto _ : state) {
        if (!cholmod.factorize()) state.SkipWithError("CHOLMOD found no factor");
    }
}

template <bool supernodal, std::vector<double> (*solution)(std::string const&)>
void solveWithCholmod(benchmark::State& state, std::string const& name)
{
    Cholmod cholmod(matrixNamed(name), supernodal);
    cholmod.factorize();
    std::vector<double> const b = rightHandSide(name);
    compareSolutions(state, solution(name), cholmod.solve(b).data());
    for (auto _ : state) benchmark::DoNotOptimize(cholmod.solve(b));
}
#endif

} // namespace bench
