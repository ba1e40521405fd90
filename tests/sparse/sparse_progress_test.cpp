// The forms of the module sparse with progress.

#include <optional>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <sinew/sparse/compact_factor.h>
#include <sinew/sparse/diagnose.h>
#include <sinew/sparse/solve_many.h>

#include "faults/digest.h"
#include "sparse/matrices.h"
#include "support/progress.h"
#include "support/random.h"

using faults::Digest;
using sinew::CompactFactor;
using sinew::Progress;
using sinew::SymbolicFactor;
using test::checkProgress;
using test::Random;

namespace {

SPDMatrix surface(int size)
{
    Random random(20261122);
    return test::matrixOf(test::surfaceMesh(size, random), size * size, random);
}

SPDMatrix indefinite(SPDMatrix matrix)
{
    matrix.rows[matrix.rows.size() / 2].back().second = -1.0;
    return matrix;
}

// Small ones are factored by rows, large ones by panels; then those that give no factor.
std::vector<SPDMatrix> matrices()
{
    SPDMatrix malformed;
    malformed.rows = {{{0, 1.0}}, {{0, 1.0}}};
    return {surface(20), surface(45), indefinite(surface(20)), indefinite(surface(45)), malformed, SPDMatrix()};
}

std::string digestOf(std::vector<int> const& perm)
{
    return Digest(perm);
}
std::string digestOf(LLTMatrix const& f)
{
    return Digest(f.rows, f.Mt, f.diag, f.perm);
}
std::string digestOf(SymbolicFactor const& s)
{
    return Digest(s.perm(), s.entryCount(), s.fillCount(), s.factorBytes());
}
std::string digestOf(sinew::MatrixDiagnosis const& d)
{
    return Digest(d.findings, d.wellFormed, d.positiveDefinite, d.pivotText());
}
std::string digestOf(CompactFactor const& f)
{
    return digestOf(f.toLLT()) + std::string(Digest(f.size(), f.hasNumbers(), f.matrixNorm(), f.logDeterminant()));
}

// A call that returns an object.
template <typename Plain, typename Form>
void checkResult(Plain const& plain, Form const& form, std::size_t fewest)
{
    using Result = decltype(plain());
    checkProgress([] { return std::optional<Result>(); }, [&](std::optional<Result>& state) { state.emplace(plain()); },
                  [&](std::optional<Result>& state, Progress const& progress) {
                      std::optional<Result> result = form(progress);
                      if (!result) return false;
                      state.emplace(std::move(*result));
                      return true;
                  },
                  [](std::optional<Result> const& state) { return state ? digestOf(*state) : std::string("none"); },
                  fewest);
}

std::vector<std::vector<double>> rightHandSides(std::size_t count, std::size_t n)
{
    Random random(7);
    std::vector<std::vector<double>> result(count, std::vector<double>(n));
    for (auto& b : result) {
        for (double& x : b) x = random.hostile();
    }
    return result;
}

} // namespace

TEST(SparseProgress, ObjectsAreTheSameAndCancelledAnywhere)
{
    for (SPDMatrix const& matrix : matrices()) {
        SCOPED_TRACE(matrix.rows.size());
        bool const isGood = matrix.rows.size() > 2;
        std::size_t const few = isGood ? 10 : 1;
        checkResult([&] { return matrix.computePerm(); },
                    [&](Progress const& p) { return sinew::computePerm(matrix, p); }, few);
        checkResult([&] { return matrix.factor(); }, [&](Progress const& p) { return sinew::factor(matrix, p); }, few);
        checkResult([&] { return SymbolicFactor(matrix); },
                    [&](Progress const& p) { return sinew::makeSymbolicFactor(matrix, p); }, few);
        checkResult([&] { return CompactFactor(matrix); },
                    [&](Progress const& p) { return sinew::makeCompactFactor(matrix, p); }, few);
        checkResult([&] { return sinew::diagnose(matrix); },
                    [&](Progress const& p) { return sinew::diagnose(matrix, p); }, few);
        SymbolicFactor const symbolic(matrix);
        checkResult([&] { return symbolic.factor(matrix); },
                    [&](Progress const& p) { return symbolic.factor(matrix, p); }, few);
        checkResult([&] { return CompactFactor(symbolic, matrix); },
                    [&](Progress const& p) { return sinew::makeCompactFactor(symbolic, matrix, p); }, few);
        SymbolicFactor const other(surface(7));
        checkResult([&] { return other.factor(matrix); }, [&](Progress const& p) { return other.factor(matrix, p); },
                    1);
        checkResult([&] { return CompactFactor(other, matrix); },
                    [&](Progress const& p) { return sinew::makeCompactFactor(other, matrix, p); }, 1);
    }
}

TEST(SparseProgress, CancelledRefactorKeepsTheOldNumbers)
{
    for (int size : {20, 45}) {
        SPDMatrix const matrix = surface(size);
        SPDMatrix scaled = matrix;
        for (auto& row : scaled.rows) {
            for (auto& entry : row) entry.second *= 1.7;
        }
        for (SPDMatrix const& next : {scaled, indefinite(scaled), surface(size + 1), SPDMatrix()}) {
            checkProgress([&] { return CompactFactor(matrix); }, [&](CompactFactor& f) { f.refactor(next); },
                          [&](CompactFactor& f, Progress const& p) {
                              std::optional<bool> const result = f.refactor(next, p);
                              CompactFactor same(matrix);
                              bool const expected = same.refactor(next);
                              EXPECT_EQ(result.value_or(expected), expected);
                              return result.has_value();
                          },
                          [](CompactFactor const& f) { return digestOf(f); },
                          next.rows.size() == matrix.rows.size() ? 10 : 1);
        }
    }
    CompactFactor empty;
    test::Host host;
    EXPECT_EQ(empty.refactor(surface(3), host), std::optional<bool>(false));
}

TEST(SparseProgress, RightHandSidesAreUnchangedUntilTheEnd)
{
    using Many = std::vector<std::vector<double>>;
    SPDMatrix const matrix = surface(20);
    std::size_t const n = matrix.rows.size();
    LLTMatrix const lists = matrix.factor();
    CompactFactor const compact(matrix);
    CompactFactor withoutNumbers(matrix);
    ASSERT_FALSE(withoutNumbers.refactor(indefinite(matrix)));
    auto const digest = [](Many const& many) { return std::string(Digest(many)); };
    for (std::size_t const count : {std::size_t{0}, std::size_t{1}, std::size_t{13}, std::size_t{45}}) {
        SCOPED_TRACE(count);
        Many wrong = rightHandSides(count, n);
        if (count > 0) wrong.back().pop_back();
        for (Many const& start : {rightHandSides(count, n), wrong}) {
            auto const make = [&] { return start; };
            std::size_t const fewest = count == 45 && start.back().size() == n ? 5 : 1;
            checkProgress(
                make, [&](Many& b) { sinew::solveMany(lists, b); },
                [&](Many& b, Progress const& p) { return sinew::solveMany(lists, b, p).has_value(); }, digest, fewest);
            checkProgress(
                make, [&](Many& b) { compact.solveMany(b); },
                [&](Many& b, Progress const& p) { return compact.solveMany(b, p).has_value(); }, digest, fewest);
            test::Host host;
            Many b = start;
            EXPECT_EQ(sinew::solveMany(lists, b, host), std::optional<bool>(start.empty() || start.back().size() == n));
        }
        for (CompactFactor const& factor : {compact, withoutNumbers, CompactFactor()}) {
            for (std::size_t stride : {n + 3, n, n - 1}) {
                auto const flat = [&] { return std::vector<double>(count * stride, 0.5); };
                checkProgress(
                    flat, [&](std::vector<double>& b) { factor.solveMany(b.data(), count, stride); },
                    [&](std::vector<double>& b, Progress const& p) {
                        std::vector<double> same = flat();
                        std::optional<bool> const result = factor.solveMany(b.data(), count, stride, p);
                        bool const expected = factor.solveMany(same.data(), count, stride);
                        EXPECT_EQ(result.value_or(expected), expected);
                        return result.has_value();
                    },
                    [](std::vector<double> const& b) { return std::string(Digest(b)); }, 1);
            }
        }
    }
}

TEST(SparseProgress, TellsAsOftenAsTheIntervalAllows)
{
    Random random(20261123);
    SPDMatrix const matrix = test::matrixOf(test::grid3D(30), 27000, random);
    test::expectSaneNumberOfCalls([&](Progress const& p) { return sinew::factor(matrix, p).has_value(); });
}
