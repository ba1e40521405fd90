// The module sparse with every allocation failing in turn.

#include <limits>
#include <memory>

#include <sinew/sparse/detail/factorization.h>
#include <sinew/sparse/diagnose.h>
#include <sinew/sparse/solve_many.h>
#include <sinew/sparse/symbolic_factor.h>

#include "faults/digest.h"
#include "faults/sweep.h"
#include "sparse/matrices.h"
#include "support/random.h"

using faults::Digest;
using faults::Guarantee;
using faults::sweep;
using test::Random;

namespace {

SPDMatrix gridMatrix(int width, int height)
{
    Random random(3);
    return test::matrixOf(test::grid2D(width, height), width * height, random);
}

std::string digestOf(SPDMatrix const& m)
{
    return Digest(m.rows);
}
std::string digestOf(LLTMatrix const& f)
{
    std::vector<double> b(f.rows.size(), 1.0);
    bool const solved = f.solve(b);
    return Digest(f.rows, f.Mt, f.diag, f.perm, solved, b);
}
std::string digestOf(std::vector<int> const& perm)
{
    return Digest(perm);
}
std::string digestOf(sinew::SymbolicFactor const& s)
{
    return Digest(s.perm(), s.entryCount(), s.fillCount(), s.flopCount(), s.factorBytes(), s.workBytes());
}
std::string digestOf(sinew::MatrixDiagnosis const& d)
{
    return Digest(d.findings, d.wellFormed, d.positiveDefinite, d.smallestPivot, d.largestPivot, d.smallestPivotRow,
                  d.largestPivotRow);
}
std::string digestOf(std::string const& text)
{
    return text;
}

// The call `compute()` that returns an object.
template <typename Compute>
void sweepResult(Compute const& compute)
{
    faults::sweepResult(compute, [](auto const& result) { return digestOf(result); });
}

} // namespace

TEST(SparseAllocation, Copies)
{
    auto const digest = [](auto const& x) { return digestOf(x); };
    faults::sweepCopies<SPDMatrix>([] { return gridMatrix(2, 2); }, [] { return gridMatrix(4, 4); }, digest);
    faults::sweepCopies<LLTMatrix>([] { return gridMatrix(2, 2).factor(); }, [] { return gridMatrix(4, 4).factor(); },
                                   digest);
    SPDMatrix bad = gridMatrix(3, 3);
    bad.rows[0].back().second = -1e9;
    bad.rows[4].insert(bad.rows[4].begin(), {77, 1.0});
    SPDMatrix malformed = gridMatrix(2, 2);
    malformed.rows[1].clear();
    faults::sweepCopies<sinew::MatrixDiagnosis>([&] { return sinew::diagnose(malformed); },
                                                [&] { return sinew::diagnose(bad); }, digest);
}

TEST(SparseAllocation, OrderingAndFactors)
{
    SPDMatrix const matrix = gridMatrix(6, 6);
    sweepResult([&] { return matrix.computePerm(); });
    sweepResult([&] { return matrix.factor(); });
    sweepResult([&] { return sinew::SymbolicFactor(matrix); });
    sinew::SymbolicFactor const symbolic(matrix);
    sweepResult([&] { return symbolic.factor(matrix); });
    faults::expectNoAllocation([&] { symbolic.matches(matrix); });
}

TEST(SparseAllocation, FactorsByPanels)
{
    using namespace sinew::detail;
    SPDMatrix const matrix = gridMatrix(7, 7);
    std::vector<int> const perm = matrix.computePerm();
    sweepResult([&] { return Factorization(matrix.rows, perm, FactorMethod::panels).factor(matrix.rows).factor; });
    // A matrix for which the library itself chooses panels.
    SPDMatrix large;
    for (int i = 0; i < 1000; ++i) {
        large.rows.emplace_back();
        if (i > 0 && i < 40) large.rows.back().push_back({i - 1, -1.0});
        large.rows.back().push_back({i, 4.0});
    }
    sweepResult([&] { return large.factor(); });
}

TEST(SparseAllocation, Solving)
{
    struct State
    {
        LLTMatrix factor = gridMatrix(4, 4).factor();
        std::vector<double> b = std::vector<double>(16, 1.0);
        std::vector<std::vector<double>> many = std::vector<std::vector<double>>(13, std::vector<double>(16, 2.0));
    };
    auto const make = [] { return std::make_unique<State>(); };
    auto const digest = [](State& s) { return digestOf(s.factor) + std::string(Digest(s.b, s.many)); };
    sweep(
        Guarantee::strong, make, [](State& s) { s.factor.solve(s.b); }, digest);
    sweep(
        Guarantee::strong, make, [](State& s) { sinew::solveMany(s.factor, s.many); }, digest);
    sweep(
        Guarantee::strong, make,
        [](State& s) {
            s.factor.rows.back()[0].second = 0.5;
            s.factor.initMt();
        },
        [](State& s) { return std::string(Digest(s.factor.Mt)); });
}

TEST(SparseAllocation, Diagnosis)
{
    SPDMatrix const good = gridMatrix(3, 3);
    SPDMatrix bad = good;
    bad.rows[0].back().second = -1.0;
    bad.rows[4].insert(bad.rows[4].begin(), {0, std::numeric_limits<double>::infinity()});
    sweepResult([&] { return sinew::diagnose(good); });
    sweepResult([&] { return sinew::diagnose(bad); });
    sinew::MatrixDiagnosis const diagnosis = sinew::diagnose(good);
    sweepResult([&] { return diagnosis.pivotText(); });
}
