// The module sparse with every allocation failing in turn.

#include <limits>
#include <memory>

#include <sinew/sparse/builders.h>
#include <sinew/sparse/compact_factor.h>
#include <sinew/sparse/detail/factorization.h>
#include <sinew/sparse/diagnose.h>
#include <sinew/sparse/factor_arrays.h>
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
std::string digestOf(sinew::CompactFactor const& f)
{
    return digestOf(f.toLLT()) + std::string(Digest(f.size(), f.hasNumbers(), f.matrixNorm(), f.conditionEstimate()));
}
std::string digestOf(sinew::MatrixBuild const& b)
{
    return Digest(b.findings, b.matrix.rows);
}
template <typename Index>
std::string digestOf(sinew::CscFactor<Index> const& f)
{
    return Digest(f.starts, f.rows, f.values, f.perm);
}
std::string digestOf(sinew::TripletFactor const& f)
{
    std::vector<double> values;
    for (sinew::Triplet const& t : f.triplets) values.push_back(t.value + 3.0 * t.row + 7.0 * t.column);
    return Digest(values, f.perm);
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

TEST(SparseAllocation, Builders)
{
    std::vector<sinew::Triplet> good;
    SPDMatrix const matrix = gridMatrix(4, 4);
    for (int i = 0; i < 16; ++i) {
        for (auto const& [c, v] : matrix.rows[static_cast<std::size_t>(i)]) good.push_back({i, c, v});
    }
    std::vector<sinew::Triplet> bad = good;
    bad[3].row = 99;
    bad[5].value = std::numeric_limits<double>::quiet_NaN();
    bad[6].value = std::numeric_limits<double>::quiet_NaN();
    sweepResult([&] { return sinew::fromTriplets(16, good); });
    sweepResult([&] { return sinew::fromTriplets(16, bad); });
    sweepResult([&] { return sinew::fromTriplets(16, good, sinew::MirroredPairs::verified); });
    sinew::CscFactor<int> const arrays = sinew::toCsc(matrix.factor());
    sweepResult([&] {
        return sinew::fromCsc(16, sinew::packed(arrays.starts), sinew::packed(arrays.rows),
                              sinew::packed(arrays.values), sinew::MirroredPairs::once);
    });
    auto const digest = [](auto const& x) { return digestOf(x); };
    faults::sweepCopies<sinew::MatrixBuild>([&] { return sinew::fromTriplets(16, bad); },
                                            [&] { return sinew::fromTriplets(16, good); }, digest);
}

TEST(SparseAllocation, FactorArrays)
{
    LLTMatrix const lists = gridMatrix(4, 4).factor();
    sinew::CompactFactor const compact(lists);
    sweepResult([&] { return sinew::toCsc(lists); });
    sweepResult([&] { return sinew::toCsc64(compact); });
    sweepResult([&] { return sinew::toTriplets(lists); });
    sweepResult([&] { return sinew::toTriplets(compact); });
    auto const digest = [](auto const& x) { return digestOf(x); };
    LLTMatrix const small = gridMatrix(2, 2).factor();
    faults::sweepCopies<sinew::CscFactor<int>>([&] { return sinew::toCsc(small); }, [&] { return sinew::toCsc(lists); },
                                               digest);
    faults::sweepCopies<sinew::TripletFactor>([&] { return sinew::toTriplets(small); },
                                              [&] { return sinew::toTriplets(lists); }, digest);
}

TEST(SparseAllocation, CompactFactors)
{
    SPDMatrix const matrix = gridMatrix(5, 5);
    sinew::SymbolicFactor const symbolic(matrix);
    LLTMatrix const lists = matrix.factor();
    sweepResult([&] { return sinew::CompactFactor(matrix); });
    sweepResult([&] { return sinew::CompactFactor(symbolic, matrix); });
    sweepResult([&] { return sinew::CompactFactor(lists); });
    sinew::CompactFactor const factor(matrix);
    sweepResult([&] { return factor.toLLT(); });
    auto const digest = [](auto const& x) { return digestOf(x); };
    faults::sweepCopies<sinew::CompactFactor>([] { return sinew::CompactFactor(gridMatrix(2, 2)); },
                                              [] { return sinew::CompactFactor(gridMatrix(4, 4)); }, digest);
}

TEST(SparseAllocation, CompactRefactorAllocatesNothing)
{
    for (int side : {6, 40}) {
        SPDMatrix const matrix = gridMatrix(side, side);
        SPDMatrix changed = matrix;
        for (auto& row : changed.rows) row.back().second *= 1.5;
        SPDMatrix bad = matrix;
        bad.rows.back().back().second = -1.0;
        sinew::CompactFactor factor(sinew::SymbolicFactor(matrix), matrix);
        std::vector<int> rows(static_cast<std::size_t>(factor.size()));
        std::vector<double> values(rows.size());
        bool done = false;
        faults::expectNoAllocation([&] { done = factor.refactor(changed); });
        EXPECT_TRUE(done);
        EXPECT_EQ(digestOf(factor.toLLT()), digestOf(changed.factor()));
        faults::expectNoAllocation([&] { done = factor.refactor(bad); });
        EXPECT_FALSE(done);
        faults::expectNoAllocation([&] { done = factor.refactor(matrix); });
        EXPECT_TRUE(done);
        EXPECT_EQ(digestOf(factor.toLLT()), digestOf(matrix.factor()));
        faults::expectNoAllocation([&] {
            factor.copyColumn(1, rows.data(), values.data());
            factor.logDeterminant();
            factor.matrixNorm();
            factor.factorBytes();
        });
    }
}

TEST(SparseAllocation, CompactSolving)
{
    struct State
    {
        sinew::CompactFactor factor = sinew::CompactFactor(gridMatrix(4, 4));
        std::vector<double> b = std::vector<double>(16, 1.0);
        std::vector<double> flat = std::vector<double>(std::size_t{16} * 5, 1.0);
        std::vector<std::vector<double>> many = std::vector<std::vector<double>>(13, std::vector<double>(16, 2.0));
        double condition = 0.0;
    };
    auto const make = [] { return std::make_unique<State>(); };
    auto const digest = [](State& s) {
        return digestOf(s.factor) + std::string(Digest(s.b, s.flat, s.many, s.condition));
    };
    sweep(
        Guarantee::strong, make, [](State& s) { s.factor.solve(s.b); }, digest);
    sweep(
        Guarantee::strong, make, [](State& s) { s.factor.solveMany(s.many); }, digest);
    sweep(
        Guarantee::strong, make, [](State& s) { s.factor.solveMany(s.flat.data(), 5, 16); }, digest);
    sweep(
        Guarantee::strong, make, [](State& s) { s.condition = s.factor.conditionEstimate(); }, digest);
}
