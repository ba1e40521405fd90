// The cubic solver against its reference implementation, which does not stop its search early, against a closed form,
// and against the eigenvalues of the companion matrix.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include <sinew/queries/polynomial_roots.h>

#include "closed_form_cubic.h"
#include "contenders.h"
#include "queries/reference_polynomial_roots.h"
#include "support/random.h"

#ifdef SINEW_BENCH_EIGEN
#include <unsupported/Eigen/Polynomials>
#endif

namespace {

using bench::notInlined;
using Coefficients = std::array<double, 4>;
using Solver = int (*)(double, double, double, double, double*);

// Relative to the larger root. The closed form and the companion matrix lose other digits than the search.
constexpr double kPeerRounding = 1e-9;

#ifdef SINEW_BENCH_EIGEN
int companionMatrix(double a, double b, double c, double d, double* roots)
{
    Eigen::PolynomialSolver<double, 3> const solver(Eigen::Vector4d(d, c, b, a));
    int count = 0;
    for (int i = 0; i < 3; ++i) {
        std::complex<double> const root = solver.roots()[i];
        if (std::fabs(root.imag()) <= 1e-9 * std::fabs(root)) roots[count++] = root.real();
    }
    if (count == 3) std::sort(roots, roots + 3);
    return count;
}
#endif

// Cubics with three real roots that are well separated, or with one real root.
std::vector<Coefficients> cubics(double size, bool three, double leading)
{
    test::Random random(20250401);
    std::vector<Coefficients> result;
    while (result.size() < 2000) {
        double const r = random.uniform(-size, size);
        double const s = random.uniform(-size, size);
        double const t = random.uniform(-size, size);
        double const a = leading * random.uniform(0.5, 2);
        if (three) {
            if (std::min({std::fabs(r - s), std::fabs(s - t), std::fabs(t - r)}) < 0.05 * size) continue;
            result.push_back({a, -a * (r + s + t), a * (r * s + s * t + t * r), -a * r * s * t});
        } else {
            double const product = s * s + (0.1 * size + std::fabs(t)) * size; // the product of the complex roots
            result.push_back({a, -a * (r + 2 * s), a * (product + 2 * r * s), -a * r * product});
        }
    }
    return result;
}

bool sameRoots(Solver solver, std::vector<Coefficients> const& input, double tolerance)
{
    for (Coefficients const& k : input) {
        double expected[3] = {0.0, 0.0, 0.0};
        double found[3] = {0.0, 0.0, 0.0};
        int const count = solveCubic(k[0], k[1], k[2], k[3], expected);
        if (solver(k[0], k[1], k[2], k[3], found) != count) return false;
        if (count == 3) std::sort(found, found + 3);
        double const size = std::max(std::fabs(expected[0]), std::fabs(expected[count - 1]));
        for (int i = 0; i < count; ++i) {
            if (tolerance == 0.0 && std::memcmp(&found[i], &expected[i], sizeof(double)) != 0) return false;
            if (!(std::fabs(found[i] - expected[i]) <= tolerance * size)) return false;
        }
    }
    return true;
}

void run(benchmark::State& state, Solver solver, std::vector<Coefficients> const& input, double tolerance)
{
    if (!sameRoots(solver, input, tolerance)) {
        state.SkipWithError("the roots differ");
        return;
    }
    for (auto _ : state) {
        double sum = 0.0;
        for (Coefficients const& k : input) {
            double roots[3] = {0.0, 0.0, 0.0};
            sum += solver(k[0], k[1], k[2], k[3], roots) + roots[0];
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(input.size()));
}

void add(std::string const& name, std::vector<Coefficients> const& input)
{
    auto const contender = [&](char const* who, Solver solver, double tolerance) {
        benchmark::RegisterBenchmark((name + "/" + who).c_str(),
                                     [=](benchmark::State& state) { run(state, solver, input, tolerance); });
    };
    contender("sinew", solveCubic, 0.0);
    contender("reference", notInlined<reference::solveCubic>, 0.0);
    contender("closed form", notInlined<bench::closedFormCubic>, kPeerRounding);
#ifdef SINEW_BENCH_EIGEN
    contender("Eigen companion", notInlined<companionMatrix>, kPeerRounding);
#endif
}

int const kRegistered = [] {
    add("three roots up to 1, rising", cubics(1, true, 1));
    add("three roots up to 1, falling", cubics(1, true, -1));
    add("three roots up to 30, rising", cubics(30, true, 1));
    add("three roots up to 30, falling", cubics(30, true, -1));
    add("one root up to 30, rising", cubics(30, false, 1));
    add("one root up to 30, falling", cubics(30, false, -1));
    add("three roots up to 1e4, rising", cubics(1e4, true, 1));
    add("three roots up to 1e4, falling", cubics(1e4, true, -1));
    add("one root up to 1e4, rising", cubics(1e4, false, 1));
    return 0;
}();

} // namespace
