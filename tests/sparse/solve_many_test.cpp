#include <sinew/sparse/solve_many.h>

#include <gtest/gtest.h>

#include "sparse/matrices.h"
#include "support/bits.h"
#include "support/random.h"

using test::Random;

TEST(SolveMany, EachSolutionHasTheBitsOfASingleSolve)
{
    Random random(20250360);
    for (int count = 0; count <= 21; ++count) {
        SCOPED_TRACE(count);
        LLTMatrix const factor = test::randomShape(random, 150).factor();
        std::vector<std::vector<double>> many(count, std::vector<double>(factor.rows.size()));
        for (auto& b : many) {
            for (double& x : b) x = random.oneIn(50) ? random.hostile() : random.uniform();
        }
        std::vector<std::vector<double>> expected = many;
        for (auto& b : expected) ASSERT_TRUE(factor.solve(b));
        ASSERT_TRUE(sinew::solveMany(factor, many));
        EXPECT_TRUE(test::sameBits(many, expected));
    }
}

TEST(SolveMany, OneWrongSizeLeavesAllUnchanged)
{
    SPDMatrix matrix;
    matrix.rows = {{{0, 4.0}}, {{0, 1.0}, {1, 4.0}}};
    LLTMatrix const factor = matrix.factor();
    for (std::size_t wrong = 0; wrong < 3; ++wrong) {
        std::vector<std::vector<double>> many(3, {1.0, 2.0});
        many[wrong].push_back(3.0);
        std::vector<std::vector<double>> const before = many;
        EXPECT_FALSE(sinew::solveMany(factor, many));
        EXPECT_EQ(many, before);
    }
}

TEST(SolveMany, FieldsOfDifferentSizesSolveNothing)
{
    SPDMatrix matrix;
    matrix.rows = {{{0, 4.0}}, {{0, 1.0}, {1, 4.0}}};
    LLTMatrix factor = matrix.factor();
    factor.diag.pop_back();
    std::vector<std::vector<double>> many(9, {1.0, 2.0});
    EXPECT_FALSE(sinew::solveMany(factor, many));
    EXPECT_EQ(many, (std::vector<std::vector<double>>(9, {1.0, 2.0})));
}

TEST(SolveMany, EmptyFactorSolvesEmptyVectors)
{
    std::vector<std::vector<double>> none;
    EXPECT_TRUE(sinew::solveMany(LLTMatrix(), none));
    std::vector<std::vector<double>> empty(10);
    EXPECT_TRUE(sinew::solveMany(LLTMatrix(), empty));
    EXPECT_EQ(empty, std::vector<std::vector<double>>(10));
}
