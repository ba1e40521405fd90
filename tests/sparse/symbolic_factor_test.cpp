#include <sinew/sparse/symbolic_factor.h>

#include <limits>

#include <gtest/gtest.h>

#include "sparse/matrices.h"
#include "sparse/reference_sparse.h"
#include "support/random.h"

using sinew::SymbolicFactor;
using test::Random;

namespace {

std::int64_t pairCount(std::vector<std::vector<std::pair<int, double>>> const& rows)
{
    std::int64_t count = 0;
    for (auto const& row : rows) count += static_cast<std::int64_t>(row.size());
    return count;
}

} // namespace

TEST(SymbolicFactor, GivesTheBitsOfTheMatrixsOwnFactor)
{
    Random random(20250350);
    for (int trial = 0; trial < 60; ++trial) {
        SCOPED_TRACE(trial);
        SPDMatrix matrix = test::randomShape(random, trial % 10 == 0 ? 2000 : 100);
        SymbolicFactor const symbolic(matrix);
        EXPECT_EQ(symbolic.perm(), matrix.computePerm());
        for (int change = 0; change < 3; ++change) {
            EXPECT_EQ(test::difference(symbolic.factor(matrix), matrix.factor()), "");
            for (auto& row : matrix.rows) {
                for (auto& entry : row) entry.second *= random.uniform(0.9, 1.1);
                if (random.oneIn(100)) row.back().second = random.hostile(); // may make the matrix indefinite
            }
        }
    }
}

TEST(SymbolicFactor, PredictsTheSizesOfTheFactor)
{
    Random random(20250351);
    for (int trial = 0; trial < 50; ++trial) {
        SCOPED_TRACE(trial);
        SPDMatrix const matrix = test::randomShape(random, trial % 10 == 0 ? 2000 : 100);
        SymbolicFactor const symbolic(matrix);
        LLTMatrix const factor = matrix.factor();
        auto const n = static_cast<std::int64_t>(matrix.rows.size());
        EXPECT_EQ(symbolic.size(), n);
        EXPECT_EQ(symbolic.entryCount(), pairCount(factor.rows) + n);
        EXPECT_EQ(symbolic.fillCount(), pairCount(factor.rows) + n - pairCount(matrix.rows));
        std::int64_t flops = 2 * n; // a root and a reciprocal for each pivot
        std::int64_t bytes = 0;
        for (std::int64_t k = 0; k < n; ++k) {
            auto const below = static_cast<std::int64_t>(factor.Mt[k].size());
            flops += below + 2 * below + 3 * (below * (below - 1) / 2); // scaling, pivots, other entries
            bytes += 2 * static_cast<std::int64_t>(sizeof factor.Mt[k]);
            bytes += static_cast<std::int64_t>(sizeof(std::pair<int, double>) *
                                               (factor.Mt[k].capacity() + factor.rows[k].capacity()));
        }
        EXPECT_EQ(symbolic.flopCount(), flops);
        EXPECT_EQ(symbolic.factorBytes(), bytes + n * static_cast<std::int64_t>(sizeof(double) + sizeof(int)))
            << "lists are allocated at their exact size";
        EXPECT_GE(symbolic.workBytes(), 8 * pairCount(factor.rows));
    }
}

TEST(SymbolicFactor, DoesNotReadValues)
{
    Random random(20250352);
    SPDMatrix const matrix = test::matrixOf(test::grid2D(9, 7), 63, random);
    SPDMatrix withoutValues = matrix;
    for (auto& row : withoutValues.rows) {
        for (auto& entry : row) entry.second = std::numeric_limits<double>::quiet_NaN();
    }
    EXPECT_EQ(test::difference(SymbolicFactor(withoutValues).factor(matrix), matrix.factor()), "");
}

TEST(SymbolicFactor, CountsARepeatedPairOnce)
{
    SPDMatrix matrix;
    matrix.rows = {{{0, 4.0}}, {{0, 1.0}, {0, 2.0}, {1, 4.0}}};
    SymbolicFactor const symbolic(matrix);
    EXPECT_EQ(symbolic.entryCount(), 3);
    EXPECT_EQ(symbolic.fillCount(), 0);
    EXPECT_EQ(test::difference(symbolic.factor(matrix), reference::factor(matrix)), "");
}

TEST(SymbolicFactor, RejectsAnotherPattern)
{
    Random random(20250353);
    SPDMatrix const matrix = test::matrixOf(test::grid2D(5, 5), 25, random);
    SymbolicFactor const symbolic(matrix);
    ASSERT_TRUE(symbolic.matches(matrix));
    auto const rejects = [&](SPDMatrix const& other) {
        return !symbolic.matches(other) && symbolic.factor(other).rows.empty();
    };
    SPDMatrix shorter = matrix;
    shorter.rows.pop_back();
    EXPECT_TRUE(rejects(shorter));
    SPDMatrix longer = matrix;
    longer.rows.push_back({{25, 1.0}});
    EXPECT_TRUE(rejects(longer));
    SPDMatrix fuller = matrix;
    fuller.rows[7].insert(fuller.rows[7].begin(), {0, 0.0});
    EXPECT_TRUE(rejects(fuller));
    SPDMatrix reordered = matrix;
    std::swap(reordered.rows[24][0], reordered.rows[24][1]);
    EXPECT_TRUE(rejects(reordered));
    SPDMatrix moved = matrix;
    moved.rows[24][0].first -= 1;
    EXPECT_TRUE(rejects(moved));
    EXPECT_TRUE(rejects(SPDMatrix()));
}

TEST(SymbolicFactor, MalformedOrEmptyMatricesGiveSizeZero)
{
    SPDMatrix malformed;
    malformed.rows = {{{0, 1.0}}, {{0, 1.0}}};
    for (SPDMatrix const& matrix : {SPDMatrix(), malformed}) {
        SymbolicFactor const symbolic(matrix);
        EXPECT_EQ(symbolic.size(), 0);
        EXPECT_TRUE(symbolic.perm().empty());
        EXPECT_EQ(symbolic.entryCount(), 0);
        EXPECT_EQ(symbolic.fillCount(), 0);
        EXPECT_EQ(symbolic.flopCount(), 0);
        EXPECT_EQ(symbolic.factorBytes(), 0);
        EXPECT_EQ(symbolic.workBytes(), 0);
        EXPECT_TRUE(symbolic.factor(matrix).rows.empty());
    }
}

TEST(SymbolicFactor, CanBeMoved)
{
    Random random(20250354);
    SPDMatrix const matrix = test::matrixOf(test::grid2D(5, 5), 25, random);
    SymbolicFactor first(matrix);
    SymbolicFactor second = std::move(first);
    EXPECT_EQ(first.size(), 0);
    EXPECT_TRUE(first.factor(matrix).rows.empty());
    EXPECT_EQ(second.size(), 25);
    first = std::move(second);
    EXPECT_EQ(test::difference(first.factor(matrix), matrix.factor()), "");
}

TEST(SymbolicFactor, CountsInSixtyFourBits)
{
    // The factor of a full matrix takes about n^3 operations, here more than 2^31. The analysis alone is fast.
    Random random(20250355);
    constexpr int n = 2000;
    SymbolicFactor const symbolic(test::matrixOf(test::hubs(n, n), n, random));
    std::int64_t const size = n;
    EXPECT_EQ(symbolic.entryCount(), size * (size + 1) / 2);
    EXPECT_GT(symbolic.flopCount(), size * size * (size - 1) / 2);
    EXPECT_LT(symbolic.flopCount(), size * size * (size + 3) / 2);
}
