#include <sinew/sparse/llt_matrix.h>

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "sparse/matrices.h"
#include "sparse/reference_sparse.h"
#include "support/bits.h"
#include "support/random.h"

using test::Random;
using test::sameBits;

namespace {

std::vector<double> randomVector(std::size_t n, Random& random)
{
    std::vector<double> result(n);
    for (double& x : result) x = random.uniform();
    return result;
}

// A x in the caller's numbering, where `matrix` holds the lower triangle of A.
std::vector<double> product(SPDMatrix const& matrix, std::vector<double> const& x)
{
    std::vector<double> result(x.size(), 0.0);
    for (std::size_t i = 0; i < x.size(); ++i) {
        for (auto const& [c, v] : matrix.rows[i]) {
            result[i] += v * x[c];
            if (static_cast<std::size_t>(c) != i) result[c] += v * x[i];
        }
    }
    return result;
}

} // namespace

TEST(LLTMatrix, SolvesASystemOfOneUnknown)
{
    SPDMatrix matrix;
    matrix.rows = {{{0, 4.0}}};
    std::vector<double> b = {8.0};
    EXPECT_TRUE(matrix.factor().solve(b));
    EXPECT_EQ(b, std::vector<double>{2.0});
}

TEST(LLTMatrix, DividesByTheDiagonalTwice)
{
    SPDMatrix matrix;
    matrix.rows = {{{0, 3.0}}, {{1, 7.0}}};
    std::vector<double> b = {1.0, 5.0};
    ASSERT_TRUE(matrix.factor().solve(b));
    ASSERT_NE(5.0 / std::sqrt(7.0) / std::sqrt(7.0), 5.0 / 7.0) << "the values must distinguish the two formulas";
    EXPECT_EQ(b, (std::vector<double>{1.0 / std::sqrt(3.0) / std::sqrt(3.0), 5.0 / std::sqrt(7.0) / std::sqrt(7.0)}));
}

TEST(LLTMatrix, WrongSizeLeavesTheRightHandSideUnchanged)
{
    SPDMatrix matrix;
    matrix.rows = {{{0, 4.0}}, {{0, 1.0}, {1, 4.0}}};
    LLTMatrix const factor = matrix.factor();
    for (std::vector<double> const& given : {std::vector<double>{}, {1.0}, {1.0, 2.0, 3.0}}) {
        std::vector<double> b = given;
        EXPECT_FALSE(factor.solve(b));
        EXPECT_EQ(b, given);
    }
}

TEST(LLTMatrix, EmptyFactorSolvesOnlyTheEmptySystem)
{
    std::vector<double> none;
    EXPECT_TRUE(LLTMatrix().solve(none));
    EXPECT_TRUE(none.empty());
    std::vector<double> one = {1.0};
    EXPECT_FALSE(LLTMatrix().solve(one));
    EXPECT_EQ(one, std::vector<double>{1.0});
}

TEST(LLTMatrix, FieldsOfDifferentSizesSolveNothing)
{
    SPDMatrix matrix;
    matrix.rows = {{{0, 4.0}}, {{0, 1.0}, {1, 4.0}}};
    LLTMatrix const good = matrix.factor();
    for (int field = 0; field < 3; ++field) {
        LLTMatrix damaged = good;
        if (field == 0) damaged.Mt.pop_back();
        if (field == 1) damaged.diag.pop_back();
        if (field == 2) damaged.perm.pop_back();
        std::vector<double> b = {1.0, 2.0};
        EXPECT_FALSE(damaged.solve(b)) << field;
        EXPECT_EQ(b, (std::vector<double>{1.0, 2.0}));
    }
}

TEST(LLTMatrix, InitMtTransposesWithAscendingRows)
{
    LLTMatrix factor;
    factor.rows = {{}, {{0, 1.0}}, {{0, 2.0}, {1, 3.0}}};
    factor.Mt = {{{7, 7.0}}}; // wrong; it is replaced
    factor.initMt();
    EXPECT_EQ(factor.Mt, (decltype(factor.Mt){{{1, 1.0}, {2, 2.0}}, {{2, 3.0}}, {}}));
}

TEST(LLTMatrix, SolutionHasASmallResidual)
{
    Random random(20250310);
    for (int trial = 0; trial < 100; ++trial) {
        SCOPED_TRACE(trial);
        SPDMatrix const matrix = test::randomShape(random, 200);
        std::vector<double> const b = randomVector(matrix.rows.size(), random);
        std::vector<double> x = b;
        ASSERT_TRUE(matrix.factor().solve(x));
        std::vector<double> const back = product(matrix, x);
        // |x| is below 100, because each diagonal exceeds the sum of its row by at least 0.01. The terms of a row
        // therefore add up to at most about 50 * 100.
        for (std::size_t i = 0; i < b.size(); ++i) EXPECT_NEAR(back[i], b[i], 1e-10);
    }
}

TEST(LLTMatrix, SolvesInTheCallersNumbering)
{
    // A star with its hub first. Its permutation is not its own inverse, so an exchange of the two is detected.
    SPDMatrix matrix;
    matrix.rows = {{{0, 16.0}}, {{0, 0.0}, {1, 1.0}}, {{0, 0.0}, {2, 4.0}}, {{0, 0.0}, {3, 64.0}}};
    LLTMatrix const factor = matrix.factor();
    ASSERT_EQ(factor.perm, (std::vector<int>{2, 0, 1, 3}));
    std::vector<double> b = {16.0, 2.0, 12.0, 256.0};
    ASSERT_TRUE(factor.solve(b));
    EXPECT_EQ(b, (std::vector<double>{1.0, 2.0, 3.0, 4.0}));
}

TEST(LLTMatrix, SameBitsAsTheReference)
{
    Random random(20250311);
    for (int trial = 0; trial < 300; ++trial) {
        SCOPED_TRACE(trial);
        LLTMatrix const factor = test::randomShape(random, 250).factor();
        std::vector<double> b = randomVector(factor.rows.size(), random);
        if (random.oneIn(4)) b[random.below(static_cast<int>(b.size()))] = random.hostile();
        std::vector<double> expected = b;
        ASSERT_TRUE(reference::solve(factor, expected));
        ASSERT_TRUE(factor.solve(b));
        EXPECT_TRUE(sameBits(b, expected));
    }
}

TEST(LLTMatrix, SolvesWithEditedFields)
{
    // Values are changed in `rows` alone or in `Mt` alone, lists are reordered, and entries are added on both sides of
    // the diagonal.
    Random random(20250312);
    for (int trial = 0; trial < 300; ++trial) {
        SCOPED_TRACE(trial);
        LLTMatrix factor = test::randomShape(random, 60).factor();
        int const n = static_cast<int>(factor.rows.size());
        for (int edit = 0; edit < 10; ++edit) {
            int const i = random.below(n);
            int const other = random.below(n);
            auto& row = (random.oneIn(2) ? factor.rows : factor.Mt)[i];
            if (random.oneIn(3) && other != i) row.push_back({other, random.uniform()});
            if (!row.empty()) row[random.below(static_cast<int>(row.size()))].second = random.uniform();
            if (!row.empty()) std::swap(row.front(), row.back());
            factor.diag[random.below(n)] = random.uniform(0.5, 2.0);
        }
        std::vector<double> b = randomVector(factor.rows.size(), random);
        std::vector<double> expected = b;
        ASSERT_TRUE(reference::solve(factor, expected));
        ASSERT_TRUE(factor.solve(b));
        EXPECT_TRUE(sameBits(b, expected));
    }
}
