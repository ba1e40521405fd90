#include <sinew/sparse/compact_factor.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include <gtest/gtest.h>

#include <sinew/sparse/solve_many.h>

#include "sparse/matrices.h"
#include "sparse/reference_sparse.h"
#include "support/bits.h"
#include "support/random.h"

using sinew::CompactFactor;
using sinew::SymbolicFactor;
using test::Random;
using test::sameBits;

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

SPDMatrix gridMatrix(int width, int height)
{
    Random random(20251220);
    return test::matrixOf(test::grid2D(width, height), width * height, random);
}

std::vector<double> randomVector(std::size_t n, Random& random)
{
    std::vector<double> b(n);
    for (double& x : b) x = random.oneIn(60) ? random.hostile() : random.uniform();
    return b;
}

void expectSolvesAs(LLTMatrix const& expected, CompactFactor const& factor, Random& random)
{
    std::size_t const n = expected.rows.size();
    std::vector<double> x = randomVector(n, random);
    std::vector<double> y = x;
    ASSERT_TRUE(expected.solve(x));
    ASSERT_TRUE(factor.solve(y));
    EXPECT_TRUE(sameBits(x, y));
    std::vector<std::vector<double>> many(1 + random.below(21));
    for (auto& b : many) b = randomVector(n, random);
    std::vector<std::vector<double>> same = many;
    std::size_t const stride = n + static_cast<std::size_t>(random.below(3));
    std::vector<double> flat(stride * many.size(), 77.0);
    for (std::size_t k = 0; k < many.size(); ++k) std::copy(many[k].begin(), many[k].end(), flat.begin() + k * stride);
    for (auto& b : many) ASSERT_TRUE(expected.solve(b));
    ASSERT_TRUE(factor.solveMany(same));
    EXPECT_TRUE(sameBits(many, same));
    ASSERT_TRUE(factor.solveMany(flat.data(), many.size(), stride));
    for (std::size_t k = 0; k < many.size(); ++k) {
        auto const first = flat.begin() + static_cast<std::ptrdiff_t>(k * stride);
        auto const last = first + static_cast<std::ptrdiff_t>(n);
        EXPECT_TRUE(sameBits(many[k], std::vector<double>(first, last)));
        EXPECT_TRUE(std::all_of(last, first + static_cast<std::ptrdiff_t>(stride), [](double v) { return v == 77.0; }));
    }
}

void expectSame(LLTMatrix const& expected, CompactFactor const& factor, Random& random)
{
    ASSERT_EQ(factor.size(), static_cast<int>(expected.rows.size()));
    EXPECT_EQ(factor.perm(), expected.perm);
    EXPECT_EQ(factor.hasNumbers(), !expected.rows.empty());
    EXPECT_EQ(test::difference(factor.toLLT(), expected), "");
    EXPECT_EQ(static_cast<std::size_t>(factor.entryCount()), test::entryCount(expected) + expected.rows.size());
    expectSolvesAs(expected, factor, random);
}

// Changes the values, not the pattern.
void changeValues(SPDMatrix& matrix, Random& random)
{
    bool const isHostile = random.oneIn(3);
    for (auto& row : matrix.rows) {
        for (auto& entry : row) {
            entry.second *= random.uniform(0.9, 1.1);
            if (isHostile && random.oneIn(200)) entry.second = random.hostile();
        }
    }
}

// The 1-norm of the inverse, from its columns.
double inverseNorm(CompactFactor const& factor)
{
    std::size_t const n = static_cast<std::size_t>(factor.size());
    double norm = 0;
    for (std::size_t c = 0; c < n; ++c) {
        std::vector<double> x(n, 0.0);
        x[c] = 1.0;
        EXPECT_TRUE(factor.solve(x));
        double sum = 0;
        for (double v : x) sum += std::fabs(v);
        norm = std::max(norm, sum);
    }
    return norm;
}

double plainNorm(SPDMatrix const& matrix)
{
    std::vector<double> sums(matrix.rows.size(), 0.0);
    for (std::size_t i = 0; i < sums.size(); ++i) {
        for (auto const& [c, v] : matrix.rows[i]) {
            sums[i] += std::fabs(v);
            if (static_cast<std::size_t>(c) != i) sums[c] += std::fabs(v);
        }
    }
    return sums.empty() ? 0.0 : *std::max_element(sums.begin(), sums.end());
}

} // namespace

TEST(CompactFactor, HasTheBitsOfTheListsForEveryConstructor)
{
    Random random(20251221);
    for (int trial = 0; trial < 80; ++trial) {
        SCOPED_TRACE(trial);
        SPDMatrix matrix = test::randomShape(random, trial % 10 == 0 ? 2500 : 120);
        if (random.oneIn(3)) changeValues(matrix, random);
        LLTMatrix const expected = matrix.factor();
        SymbolicFactor const symbolic(matrix);
        expectSame(expected, CompactFactor(matrix), random);
        expectSame(expected, CompactFactor(symbolic, matrix), random);
        expectSame(expected, CompactFactor(expected), random);
    }
}

TEST(CompactFactor, RefactorGivesTheBitsOfANewFactor)
{
    Random random(20251222);
    for (int trial = 0; trial < 40; ++trial) {
        SCOPED_TRACE(trial);
        SPDMatrix matrix = test::randomShape(random, trial % 10 == 0 ? 2500 : 120);
        CompactFactor factor(matrix);
        SymbolicFactor const symbolic(matrix);
        for (int step = 0; step < 4; ++step) {
            SPDMatrix changed = matrix;
            changeValues(changed, random);
            LLTMatrix const expected = changed.factor();
            ASSERT_EQ(factor.refactor(changed), !expected.rows.empty());
            ASSERT_EQ(factor.hasNumbers(), !expected.rows.empty());
            if (factor.hasNumbers()) expectSame(expected, factor, random);
            EXPECT_TRUE(sameBits(factor.matrixNorm(), CompactFactor(symbolic, changed).matrixNorm()) ||
                        !factor.hasNumbers());
        }
    }
}

TEST(CompactFactor, KeepsRepeatedPairsAndExtremeShapes)
{
    Random random(20251223);
    SPDMatrix repeated;
    repeated.rows = {{{0, 9.0}}, {{0, 1.0}, {0, -2.0}, {0, 1.5}, {1, 9.0}}, {{1, kNaN}, {1, 1.0}, {0, 0.0}, {2, 9.0}}};
    expectSame(repeated.factor(), CompactFactor(repeated), random);
    for (int n : {1, 2, 7, 48, 49, 97, 130}) { // around the width of the panels
        SPDMatrix const dense = test::matrixOf(test::hubs(n, n), n, random);
        expectSame(dense.factor(), CompactFactor(dense), random);
        SPDMatrix const diagonal = test::matrixOf({}, n, random);
        expectSame(diagonal.factor(), CompactFactor(diagonal), random);
        SPDMatrix const star = test::matrixOf(test::hubs(n, 1), n, random);
        expectSame(star.factor(), CompactFactor(star), random);
    }
}

TEST(CompactFactor, NormCountsRepeatedPairsOnce)
{
    SPDMatrix matrix;
    matrix.rows = {{{0, 8.0}}, {{0, -2.0}, {0, 1.5}, {0, -3.0}, {1, 8.0}}};
    EXPECT_EQ(CompactFactor(matrix).matrixNorm(), 9.5) << "the greatest value counts, not the greatest magnitude";
    Random random(20251224);
    for (int trial = 0; trial < 30; ++trial) {
        SPDMatrix const any = test::randomShape(random, 100);
        // The sums differ only by their order.
        EXPECT_NEAR(CompactFactor(any).matrixNorm(), plainNorm(any), 1e-12 * plainNorm(any));
    }
}

TEST(CompactFactor, FailsWhereTheListsFail)
{
    SPDMatrix indefinite;
    indefinite.rows = {{{0, 1.0}}, {{0, 2.0}, {1, 1.0}}};
    SPDMatrix malformed;
    malformed.rows = {{{0, 1.0}}, {{0, 1.0}}};
    for (SPDMatrix const& matrix : {SPDMatrix(), indefinite, malformed}) {
        for (CompactFactor const& factor : {CompactFactor(matrix), CompactFactor(SymbolicFactor(matrix), matrix)}) {
            EXPECT_EQ(factor.size(), 0);
            EXPECT_FALSE(factor.hasNumbers());
            EXPECT_TRUE(factor.toLLT().rows.empty());
        }
    }
    SPDMatrix const grid = gridMatrix(3, 3);
    EXPECT_EQ(CompactFactor(SymbolicFactor(grid), gridMatrix(3, 4)).size(), 0) << "another pattern";
}

TEST(CompactFactor, ANaNPivotIsAccepted)
{
    Random random(20251225);
    SPDMatrix matrix = gridMatrix(5, 5);
    matrix.rows[7].back().second = kNaN;
    CompactFactor const factor(matrix);
    ASSERT_TRUE(factor.hasNumbers());
    expectSame(matrix.factor(), factor, random);
    EXPECT_TRUE(std::isnan(factor.matrixNorm()));
    EXPECT_TRUE(std::isnan(factor.logDeterminant()));
    EXPECT_TRUE(std::isnan(factor.inverseNormEstimate()));
    EXPECT_TRUE(std::isnan(factor.conditionEstimate()));
}

TEST(CompactFactor, AnotherPatternLeavesTheNumbersUnchanged)
{
    Random random(20251226);
    SPDMatrix const matrix = gridMatrix(6, 6);
    CompactFactor factor(matrix);
    SPDMatrix reordered = matrix;
    std::swap(reordered.rows[35][0], reordered.rows[35][1]);
    SPDMatrix shorter = matrix;
    shorter.rows.pop_back();
    for (SPDMatrix const& other : {reordered, shorter, SPDMatrix()}) {
        EXPECT_FALSE(factor.refactor(other));
        expectSame(matrix.factor(), factor, random);
    }
}

TEST(CompactFactor, AFailedRefactorLeavesNoNumbersUntilTheNextOne)
{
    Random random(20251227);
    SPDMatrix const matrix = gridMatrix(6, 6);
    SPDMatrix bad = matrix;
    bad.rows[20].back().second = -1.0;
    CompactFactor factor(matrix);
    EXPECT_FALSE(factor.refactor(bad));
    EXPECT_EQ(factor.size(), 36);
    EXPECT_FALSE(factor.hasNumbers());
    std::vector<double> b(36, 1.0);
    std::vector<std::vector<double>> many(3, b);
    EXPECT_FALSE(factor.solve(b));
    EXPECT_FALSE(factor.solveMany(many));
    EXPECT_FALSE(factor.solveMany(b.data(), 1, 36));
    EXPECT_EQ(b, std::vector<double>(36, 1.0));
    EXPECT_EQ(many, std::vector<std::vector<double>>(3, b));
    EXPECT_TRUE(factor.toLLT().rows.empty());
    for (double x :
         {factor.logDeterminant(), factor.matrixNorm(), factor.inverseNormEstimate(), factor.conditionEstimate()}) {
        EXPECT_TRUE(std::isnan(x));
    }
    CompactFactor copy = factor;
    EXPECT_TRUE(copy.refactor(matrix));
    EXPECT_TRUE(factor.refactor(matrix));
    expectSame(matrix.factor(), factor, random);
    expectSame(matrix.factor(), copy, random);
}

TEST(CompactFactor, WrongSizesChangeNothing)
{
    CompactFactor const factor(gridMatrix(2, 2));
    std::vector<double> b(5, 1.0);
    EXPECT_FALSE(factor.solve(b));
    EXPECT_FALSE(factor.solve(b.data(), 3));
    EXPECT_FALSE(factor.solve(nullptr, 0));
    EXPECT_FALSE(factor.solveMany(b.data(), 1, 3)) << "the stride is less than the size";
    std::vector<std::vector<double>> many = {{1, 2, 3, 4}, {1, 2, 3}};
    EXPECT_FALSE(factor.solveMany(many));
    EXPECT_EQ(many[0], (std::vector<double>{1, 2, 3, 4}));
    EXPECT_EQ(b, std::vector<double>(5, 1.0));
    std::vector<std::vector<double>> none;
    EXPECT_TRUE(factor.solveMany(none));
    EXPECT_TRUE(factor.solveMany(nullptr, 0, 0));
}

TEST(CompactFactor, EmptySolvesEmptyVectors)
{
    CompactFactor factor;
    std::vector<double> empty;
    EXPECT_TRUE(factor.solve(empty));
    EXPECT_TRUE(factor.solve(nullptr, 0));
    std::vector<double> b(1, 1.0);
    EXPECT_FALSE(factor.solve(b));
    std::vector<std::vector<double>> many(3);
    EXPECT_TRUE(factor.solveMany(many));
    many[1].push_back(1.0);
    EXPECT_FALSE(factor.solveMany(many));
    EXPECT_TRUE(factor.solveMany(nullptr, 3, 0));
    EXPECT_FALSE(factor.refactor(SPDMatrix()));
    EXPECT_EQ(factor.entryCount() + factor.factorBytes() + factor.analysisBytes(), 0);
    EXPECT_EQ(factor.logDeterminant(), 0.0);
    EXPECT_EQ(factor.matrixNorm(), 0.0);
    EXPECT_EQ(factor.inverseNormEstimate(), 0.0);
    EXPECT_EQ(factor.conditionEstimate(), 0.0);
    EXPECT_EQ(CompactFactor(LLTMatrix()).size(), 0);
}

TEST(CompactFactor, CopiesAreIndependentAndMovesLeaveAnEmptyFactor)
{
    Random random(20251228);
    SPDMatrix const matrix = gridMatrix(5, 7);
    SPDMatrix changed = matrix;
    for (auto& row : changed.rows) row.back().second *= 2.0;
    CompactFactor first(matrix);
    CompactFactor second = first;
    ASSERT_TRUE(second.refactor(changed));
    expectSame(matrix.factor(), first, random);
    expectSame(changed.factor(), second, random);
    CompactFactor third = std::move(first);
    EXPECT_EQ(first.size(), 0);
    EXPECT_FALSE(first.refactor(matrix));
    expectSame(matrix.factor(), third, random);
    first = third;
    CompactFactor const& self = first;
    first = self;
    expectSame(matrix.factor(), first, random);
    third = std::move(second);
    expectSame(changed.factor(), third, random);
}

TEST(CompactFactor, OutlivesTheSymbolicFactor)
{
    Random random(20251229);
    for (int side : {8, 40}) { // factored by rows and by panels
        SPDMatrix const matrix = gridMatrix(side, side);
        CompactFactor factor;
        {
            SymbolicFactor const symbolic(matrix);
            factor = CompactFactor(symbolic, matrix);
        }
        ASSERT_TRUE(factor.refactor(matrix));
        expectSame(matrix.factor(), factor, random);
    }
}

TEST(CompactFactor, TakesListsOfAnyPattern)
{
    Random random(20251230);
    for (int trial = 0; trial < 100; ++trial) {
        SCOPED_TRACE(trial);
        int const n = 1 + random.below(60);
        LLTMatrix lists; // not the factor of anything: entries at random places
        lists.rows.resize(n);
        int const density = 1 + random.below(6);
        for (int i = 0; i < n; ++i) {
            for (int c = 0; c < i; ++c) {
                if (random.oneIn(density)) lists.rows[i].push_back({c, random.hostile()});
            }
            lists.diag.push_back(random.hostile());
            lists.perm.push_back(n - 1 - i);
        }
        lists.initMt();
        CompactFactor factor(lists);
        expectSame(lists, factor, random);
        EXPECT_TRUE(std::isnan(factor.matrixNorm()));
        EXPECT_FALSE(factor.refactor(gridMatrix(1, n)));
        EXPECT_TRUE(factor.hasNumbers());
    }
}

TEST(CompactFactor, RefusesListsThatAreNoTriangularMatrix)
{
    LLTMatrix const good = gridMatrix(4, 4).factor();
    auto const refuses = [&](auto change) {
        LLTMatrix lists = good;
        change(lists);
        return CompactFactor(lists).size() == 0;
    };
    EXPECT_FALSE(refuses([](LLTMatrix&) {}));
    EXPECT_TRUE(refuses([](LLTMatrix& f) { f.diag.pop_back(); }));
    EXPECT_TRUE(refuses([](LLTMatrix& f) { f.perm.pop_back(); }));
    EXPECT_TRUE(refuses([](LLTMatrix& f) { f.Mt.pop_back(); }));
    EXPECT_TRUE(refuses([](LLTMatrix& f) { f.perm[0] = f.perm[1]; }));
    EXPECT_TRUE(refuses([](LLTMatrix& f) { f.perm[0] = -1; }));
    EXPECT_TRUE(refuses([](LLTMatrix& f) { f.perm[0] = 16; }));
    EXPECT_TRUE(refuses([](LLTMatrix& f) { f.rows[15][0].second += 1.0; }));
    EXPECT_TRUE(refuses([](LLTMatrix& f) { f.rows[15].pop_back(); }));
    EXPECT_TRUE(refuses([](LLTMatrix& f) { f.Mt[0].push_back({15, 1.0}); }));
    EXPECT_TRUE(refuses([](LLTMatrix& f) { std::swap(f.rows[15][0], f.rows[15][1]); }));
    for (int column : {-1, 0, 15, 16}) {
        auto const change = [column](LLTMatrix& f) {
            f.rows[0].push_back({column, 1.0});
            if (column >= 0 && column < 16)
                f.Mt[static_cast<std::size_t>(column)].insert(f.Mt[static_cast<std::size_t>(column)].begin(), {0, 1.0});
        };
        EXPECT_TRUE(refuses(change)) << column;
    }
}

TEST(CompactFactor, LogDeterminantIsThatOfAKnownMatrix)
{
    SPDMatrix diagonal;
    diagonal.rows = {{{0, 2.0}}, {{1, 8.0}}, {{2, 0.25}}};
    EXPECT_NEAR(CompactFactor(diagonal).logDeterminant(), std::log(4.0), 1e-15);
    SPDMatrix chain; // the determinant of the n x n matrix of a chain of springs is n + 1
    constexpr int n = 400;
    for (int i = 0; i < n; ++i) {
        chain.rows.emplace_back();
        if (i > 0) chain.rows.back().push_back({i - 1, -1.0});
        chain.rows.back().push_back({i, 2.0});
    }
    EXPECT_NEAR(CompactFactor(chain).logDeterminant(), std::log(n + 1.0), 1e-12); // n roundings of numbers near 100
    for (auto& row : chain.rows) {
        for (auto& entry : row) entry.second *= 1e-3; // the determinant underflows
    }
    EXPECT_NEAR(CompactFactor(chain).logDeterminant(), std::log(n + 1.0) + n * std::log(1e-3), 1e-10);
}

TEST(CompactFactor, LogDeterminantIsTwiceTheSumOfLogarithms)
{
    Random random(20251232);
    for (int trial = 0; trial < 200; ++trial) {
        SCOPED_TRACE(trial);
        int const n = 1 + random.below(300);
        SPDMatrix diagonal;
        double expected = 0;
        double magnitudes = 1;
        for (int i = 0; i < n; ++i) {
            double const d = std::fabs(random.spread(-1000, 1000));
            diagonal.rows.push_back({{i, d}});
            expected += std::log(d);
            magnitudes += std::fabs(expected);
        }
        // Each of the n roots and sums is rounded.
        EXPECT_NEAR(CompactFactor(diagonal).logDeterminant(), expected, 1e-15 * (n + magnitudes));
    }
}

TEST(CompactFactor, LogDeterminantOfExtremeDiagonals)
{
    auto const logOf = [](std::vector<double> const& diagonal) {
        LLTMatrix lists;
        for (double d : diagonal) {
            lists.perm.push_back(static_cast<int>(lists.diag.size()));
            lists.diag.push_back(d);
            lists.rows.emplace_back();
        }
        lists.initMt();
        return CompactFactor(lists).logDeterminant();
    };
    EXPECT_EQ(logOf({1.0, 1.0}), 0.0);
    EXPECT_EQ(logOf({0.0, 2.0}), -kInf);
    EXPECT_EQ(logOf({kInf, 2.0}), kInf);
    EXPECT_TRUE(std::isnan(logOf({kInf, 0.0})));
    EXPECT_TRUE(std::isnan(logOf({kNaN, 2.0})));
    EXPECT_EQ(logOf({-2.0}), logOf({2.0})) << "the determinant is the square";
    EXPECT_NEAR(logOf({std::numeric_limits<double>::denorm_min()}), -1074 * 2 * std::log(2.0), 1e-12);
    EXPECT_NEAR(logOf(std::vector<double>(3000, 1e300)), 6000 * std::log(1e300), 1e-8);
}

TEST(CompactFactor, InverseNormEstimateIsALowerBoundAndClose)
{
    Random random(20251231);
    int exact = 0;
    constexpr int kTrials = 100;
    for (int trial = 0; trial < kTrials; ++trial) {
        SCOPED_TRACE(trial);
        CompactFactor const factor(test::randomShape(random, 80));
        double const norm = inverseNorm(factor);
        double const estimate = factor.inverseNormEstimate();
        EXPECT_LE(estimate, norm * (1 + 1e-12)); // rounding of the sums
        EXPECT_GE(estimate, norm / 3);
        if (estimate >= norm * (1 - 1e-12)) ++exact;
        EXPECT_TRUE(sameBits(estimate, factor.inverseNormEstimate()));
    }
    EXPECT_GE(exact, kTrials * 3 / 4) << "the method finds the norm of most matrices";
}

TEST(CompactFactor, ConditionEstimateOfKnownMatrices)
{
    SPDMatrix diagonal;
    diagonal.rows = {{{0, 1e-3}}, {{1, 8.0}}, {{2, 1.0}}};
    EXPECT_NEAR(CompactFactor(diagonal).conditionEstimate(), 8000.0, 1e-9);
    SPDMatrix single;
    single.rows = {{{0, 5.0}}};
    EXPECT_NEAR(CompactFactor(single).conditionEstimate(), 1.0, 1e-15);
    // The inverse of (1, a; a, 1) is (1, -a; -a, 1) / (1 - a^2): the condition number is (1 + a) / (1 - a).
    SPDMatrix pair;
    pair.rows = {{{0, 1.0}}, {{0, 1.0 - 0x1p-20}, {1, 1.0}}};
    EXPECT_NEAR(CompactFactor(pair).conditionEstimate() / ((2.0 - 0x1p-20) * 0x1p20), 1.0, 1e-9);
    SPDMatrix tiny;
    tiny.rows = {{{0, 1e-320}}, {{1, 1.0}}};
    EXPECT_EQ(CompactFactor(tiny).conditionEstimate(), kInf);
}

TEST(CompactFactor, ColumnsAreThoseOfTheLists)
{
    SPDMatrix const matrix = gridMatrix(9, 9);
    LLTMatrix const lists = matrix.factor();
    CompactFactor const factor(matrix);
    std::vector<int> rows(81);
    std::vector<double> values(81);
    for (int c = 0; c < 81; ++c) {
        std::size_t const length = static_cast<std::size_t>(factor.columnLength(c));
        ASSERT_EQ(length, lists.Mt[static_cast<std::size_t>(c)].size() + 1);
        factor.copyColumn(c, rows.data(), values.data());
        EXPECT_EQ(rows[0], c);
        EXPECT_TRUE(sameBits(values[0], lists.diag[static_cast<std::size_t>(c)]));
        for (std::size_t k = 1; k < length; ++k) {
            EXPECT_EQ(rows[k], lists.Mt[static_cast<std::size_t>(c)][k - 1].first);
            EXPECT_TRUE(sameBits(values[k], lists.Mt[static_cast<std::size_t>(c)][k - 1].second));
        }
    }
}

TEST(CompactFactor, TakesLessThanHalfTheBytesOfTheLists)
{
    for (int side : {30, 100}) {
        SPDMatrix const matrix = gridMatrix(side, side);
        SymbolicFactor const symbolic(matrix);
        CompactFactor const factor(symbolic, matrix);
        EXPECT_LT(2 * factor.factorBytes(), symbolic.factorBytes());
        EXPECT_GT(factor.factorBytes(), 8 * factor.entryCount());
        EXPECT_GT(factor.analysisBytes(), 4 * factor.size());
    }
}
