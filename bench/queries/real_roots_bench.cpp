// realRoots against the solvers for coefficients of the order of 1, against a closed form, and against the eigenvalues
// of the companion matrix. All contenders solve the same polynomials; their roots are compared first.

#include <algorithm>
#include <cmath>
#include <complex>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include <sinew/queries/polynomial_roots.h>
#include <sinew/queries/real_roots.h>

#include "closed_form_cubic.h"
#include "contenders.h"
#include "support/random.h"

#ifdef SINEW_BENCH_EIGEN
#include <unsupported/Eigen/Polynomials>
#endif

namespace {

using bench::notInlined;
using Coefficients = std::vector<double>; // the highest power first
using Solver = int (*)(double const* coefficients, int degree, double* roots);

// The others lose digits of close roots; relative to the largest root.
constexpr double kPeerRounding = 1e-7;

int ours(double const* c, int degree, double* roots)
{
    sinew::RealRoots const found = sinew::realRoots(c, degree);
    std::copy(found.roots, found.roots + found.count, roots);
    return found.count;
}

int defined(double const* c, int degree, double* roots)
{
    return degree == 2 ? solveQuadratic(c[0], c[1], c[2], roots) : solveCubic(c[0], c[1], c[2], c[3], roots);
}

int closedForm(double const* c, int, double* roots)
{
    return bench::closedFormCubic(c[0], c[1], c[2], c[3], roots);
}

#ifdef SINEW_BENCH_EIGEN
template <int degree>
int companion(double const* c, double* roots)
{
    Eigen::Matrix<double, degree + 1, 1> ascending;
    for (int i = 0; i <= degree; ++i) ascending[i] = c[degree - i];
    Eigen::PolynomialSolver<double, degree> const solver(ascending);
    int count = 0;
    for (int i = 0; i < degree; ++i) {
        std::complex<double> const root = solver.roots()[i];
        if (std::fabs(root.imag()) <= 1e-9 * std::abs(root)) roots[count++] = root.real();
    }
    std::sort(roots, roots + count);
    return count;
}

int companionMatrix(double const* c, int degree, double* roots)
{
    return degree == 2 ? companion<2>(c, roots) : (degree == 3 ? companion<3>(c, roots) : companion<4>(c, roots));
}
#endif

Coefficients times(Coefficients const& p, Coefficients const& q)
{
    Coefficients result(p.size() + q.size() - 1, 0.0);
    for (std::size_t i = 0; i < p.size(); ++i) {
        for (std::size_t j = 0; j < q.size(); ++j) result[i + j] += p[i] * q[j];
    }
    return result;
}

// Polynomials with `real` real roots up to `size`, at least 0.05 size apart, and `pairs` pairs of complex ones.
std::vector<Coefficients> polynomials(double size, int real, int pairs)
{
    test::Random random(20261110);
    std::vector<Coefficients> result;
    while (result.size() < 2000) {
        std::vector<double> roots;
        for (int i = 0; i < real; ++i) roots.push_back(random.uniform(-size, size));
        std::sort(roots.begin(), roots.end());
        bool separate = true;
        for (std::size_t i = 1; i < roots.size(); ++i) separate = separate && roots[i] - roots[i - 1] > 0.05 * size;
        if (!separate) continue;
        Coefficients p{random.uniform(0.5, 2)};
        for (double const root : roots) p = times(p, {1, -root});
        for (int i = 0; i < pairs; ++i) {
            double const middle = random.uniform(-size, size);
            double const height = random.uniform(0.3 * size, size);
            p = times(p, {1, -2 * middle, middle * middle + height * height});
        }
        result.push_back(p);
    }
    return result;
}

// (x - r)^2 (x - s) with whole r and s: exactly multiple roots.
std::vector<Coefficients> doubleRoots()
{
    test::Random random(20261111);
    std::vector<Coefficients> result;
    for (int i = 0; i < 2000; ++i) {
        double const r = random.below(19) - 9;
        double const s = r + 1 + random.below(9);
        result.push_back(times(times({1, -r}, {1, -r}), {1, -s}));
    }
    return result;
}

bool sameRoots(Solver solver, std::vector<Coefficients> const& input)
{
    for (Coefficients const& c : input) {
        int const degree = static_cast<int>(c.size()) - 1;
        double expected[4] = {};
        double found[4] = {};
        int const count = ours(c.data(), degree, expected);
        if (solver(c.data(), degree, found) != count) return false;
        double const size = count > 0 ? std::max(std::fabs(expected[0]), std::fabs(expected[count - 1])) : 0.0;
        for (int i = 0; i < count; ++i) {
            if (!(std::fabs(found[i] - expected[i]) <= kPeerRounding * size)) return false;
        }
    }
    return true;
}

void run(benchmark::State& state, Solver solver, std::vector<Coefficients> const& input, bool comparable)
{
    if (comparable && !sameRoots(solver, input)) {
        state.SkipWithError("the roots differ");
        return;
    }
    for (auto _ : state) {
        double sum = 0.0;
        for (Coefficients const& c : input) {
            double roots[4] = {};
            sum += solver(c.data(), static_cast<int>(c.size()) - 1, roots) + roots[0];
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(input.size()));
}

// `comparable`: the others find the same number of roots.
void add(std::string const& name, std::vector<Coefficients> const& input, bool comparable = true)
{
    auto const contender = [&](char const* who, Solver solver) {
        benchmark::RegisterBenchmark((name + "/" + who).c_str(),
                                     [=](benchmark::State& state) { run(state, solver, input, comparable); });
    };
    std::size_t const degree = input[0].size() - 1;
    contender("sinew", notInlined<ours>);
    if (degree < 4) contender("solveQuadratic, solveCubic", notInlined<defined>);
    if (degree == 3) contender("closed form", notInlined<closedForm>);
#ifdef SINEW_BENCH_EIGEN
    contender("Eigen companion", notInlined<companionMatrix>);
#endif
}

int const kRegistered = [] {
    add("quadratic, two roots", polynomials(1, 2, 0));
    add("quadratic, no roots", polynomials(1, 0, 1));
    add("cubic, three roots up to 1", polynomials(1, 3, 0));
    add("cubic, three roots up to 1e4", polynomials(1e4, 3, 0));
    add("cubic, one root up to 1", polynomials(1, 1, 1));
    add("cubic, one root up to 1e4", polynomials(1e4, 1, 1));
    add("cubic, exactly double roots", doubleRoots(), false);
    add("quartic, four roots", polynomials(1, 4, 0));
    add("quartic, two roots", polynomials(1, 2, 1));
    add("quartic, no roots", polynomials(1, 0, 2));
    return 0;
}();

} // namespace
