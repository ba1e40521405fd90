#include <sinew/sparse/spd_matrix.h>

#include <cmath>
#include <limits>
#include <numeric>

#include <gtest/gtest.h>

#include "sparse/matrices.h"
#include "sparse/reference_sparse.h"
#include "support/bits.h"
#include "support/random.h"

using test::Random;
using test::sameBits;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

using Rows = std::vector<std::vector<std::pair<int, double>>>;

SPDMatrix matrixOf(Rows rows)
{
    SPDMatrix matrix;
    matrix.rows = std::move(rows);
    return matrix;
}

bool isEmpty(LLTMatrix const& factor)
{
    return factor.rows.empty() && factor.Mt.empty() && factor.diag.empty() && factor.perm.empty();
}

std::vector<int> identity(int n)
{
    std::vector<int> result(n);
    std::iota(result.begin(), result.end(), 0);
    return result;
}

void expectAsReference(SPDMatrix const& matrix)
{
    EXPECT_EQ(matrix.computePerm(), reference::computePerm(matrix));
    EXPECT_EQ(test::difference(matrix.factor(), reference::factor(matrix)), "");
}

// Largest entry of |A - L L^T| in the caller's numbering, by dense products.
double residual(SPDMatrix const& matrix, LLTMatrix const& factor)
{
    int const n = static_cast<int>(matrix.rows.size());
    std::vector<std::vector<double>> a(n, std::vector<double>(n, 0.0));
    for (int i = 0; i < n; ++i) {
        for (auto const& [c, v] : matrix.rows[i]) a[factor.perm[i]][factor.perm[c]] = v;
    }
    std::vector<std::vector<double>> l(n, std::vector<double>(n, 0.0));
    for (int i = 0; i < n; ++i) {
        l[i][i] = factor.diag[i];
        for (auto const& [c, v] : factor.rows[i]) l[i][c] = v;
    }
    double worst = 0;
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j <= i; ++j) {
            double sum = i == j ? a[i][i] : a[i][j] + a[j][i];
            for (int k = 0; k <= j; ++k) sum -= l[i][k] * l[j][k];
            worst = std::max(worst, std::fabs(sum));
        }
    }
    return worst;
}

} // namespace

TEST(SPDMatrix, WithoutRowsGivesTheEmptyFactor)
{
    EXPECT_TRUE(SPDMatrix().computePerm().empty());
    EXPECT_TRUE(isEmpty(SPDMatrix().factor()));
}

TEST(SPDMatrix, FactorsASingleRow)
{
    LLTMatrix const factor = matrixOf({{{0, 4.0}}}).factor();
    EXPECT_EQ(factor.diag, std::vector<double>{2.0});
    EXPECT_EQ(factor.rows, Rows(1));
    EXPECT_EQ(factor.Mt, Rows(1));
    EXPECT_EQ(factor.perm, std::vector<int>{0});
}

TEST(SPDMatrix, DiagonalMatrixKeepsItsOrder)
{
    SPDMatrix matrix;
    for (int i = 0; i < 100; ++i) matrix.rows.push_back({{i, 1.0 + i}});
    LLTMatrix const factor = matrix.factor();
    EXPECT_EQ(factor.perm, identity(100));
    EXPECT_EQ(test::entryCount(factor), 0u);
    for (int i = 0; i < 100; ++i) EXPECT_EQ(factor.diag[i], std::sqrt(1.0 + i));
}

TEST(SPDMatrix, TridiagonalMatrixIsEliminatedFromTheEndsWithoutFillIn)
{
    Rows rows = {{{0, 2.0}}};
    for (int i = 1; i < 7; ++i) rows.push_back({{i - 1, -1.0}, {i, 2.0}});
    SPDMatrix const matrix = matrixOf(rows);
    // Nodes 0 and 6 have degree 1, and 0 is the smaller one. After its elimination node 1 has degree 1, then node 2,
    // and so on. Node 6 is the last one.
    EXPECT_EQ(matrix.computePerm(), identity(7));
    EXPECT_EQ(test::entryCount(matrix.factor()), 6u);
}

TEST(SPDMatrix, SmallestIndexWinsAmongEqualDegrees)
{
    // A ring of six nodes: all have degree 2. After the elimination of 0, nodes 1 and 5 are neighbours and still have
    // degree 2. Therefore 1 is next, then 2. Node 3 then has the neighbours 4 and 5.
    Rows const rows = {{{0, 3.0}},
                       {{0, -1.0}, {1, 3.0}},
                       {{1, -1.0}, {2, 3.0}},
                       {{2, -1.0}, {3, 3.0}},
                       {{3, -1.0}, {4, 3.0}},
                       {{0, -1.0}, {4, -1.0}, {5, 3.0}}};
    EXPECT_EQ(matrixOf(rows).computePerm(), identity(6));
}

TEST(SPDMatrix, PermIsThePositionNotTheOrder)
{
    // A star with its hub first. Leaves 1 and 2 are eliminated first. Then leaf 3 and the hub have one neighbour each,
    // and the hub has the smaller index.
    Rows const rows = {{{0, 9.0}}, {{0, 1.0}, {1, 2.0}}, {{0, 1.0}, {2, 2.0}}, {{0, 1.0}, {3, 2.0}}};
    EXPECT_EQ(matrixOf(rows).computePerm(), (std::vector<int>{2, 0, 1, 3}));
}

TEST(SPDMatrix, FollowsTheDefiningSequenceOfRoundings)
{
    // One update by hand: L[2][1] = a21 * (1 / L11) - (L10 * L20) * (1 / L11). A division by L11, or one product of the
    // difference with 1 / L11, would round differently.
    double const a = 3.1, b = 0.7, c = 5.3, d = 0.9, e = 1.3, f = 7.7;
    LLTMatrix const factor = matrixOf({{{0, a}}, {{0, b}, {1, c}}, {{0, d}, {1, e}, {2, f}}}).factor();
    ASSERT_EQ(factor.perm, identity(3));
    double const l00 = std::sqrt(a);
    double const inv0 = 1 / l00;
    double const l10 = b * inv0;
    double const l20 = d * inv0;
    double const l11 = std::sqrt(c - l10 * l10);
    double const inv1 = 1 / l11;
    double l21 = e * inv1;
    l21 -= (l10 * l20) * inv1;
    double l22 = f;
    l22 -= l20 * l20;
    l22 -= l21 * l21;
    EXPECT_EQ(factor.rows, (Rows{{}, {{0, l10}}, {{0, l20}, {1, l21}}}));
    EXPECT_EQ(factor.diag, (std::vector<double>{l00, l11, std::sqrt(l22)}));
}

TEST(SPDMatrix, NonPositivePivotGivesTheEmptyFactor)
{
    EXPECT_TRUE(isEmpty(matrixOf({{{0, 1.0}}, {{0, 2.0}, {1, 1.0}}}).factor())) << "negative second pivot";
    EXPECT_TRUE(isEmpty(matrixOf({{{0, 1.0}}, {{0, 1.0}, {1, 1.0}}}).factor())) << "second pivot exactly zero";
    EXPECT_TRUE(isEmpty(matrixOf({{{0, -1.0}}}).factor()));
    EXPECT_TRUE(isEmpty(matrixOf({{{0, 0.0}}}).factor()));
    EXPECT_TRUE(isEmpty(matrixOf({{{0, -kInfinity}}}).factor()));
}

TEST(SPDMatrix, PermutationDoesNotDependOnValues)
{
    SPDMatrix const matrix = matrixOf({{{0, -1.0}}, {{0, 0.0}, {1, kNaN}}});
    EXPECT_EQ(matrix.computePerm(), identity(2));
}

TEST(SPDMatrix, NaNPivotIsAcceptedAndPropagates)
{
    LLTMatrix const factor = matrixOf({{{0, kNaN}}, {{0, 1.0}, {1, 4.0}}, {{2, 9.0}}}).factor();
    ASSERT_EQ(factor.perm, (std::vector<int>{1, 2, 0}));
    EXPECT_EQ(factor.diag[0], 3.0) << "a row without connection to the NaN is not changed";
    EXPECT_TRUE(std::isnan(factor.diag[1]));
    EXPECT_TRUE(std::isnan(factor.diag[2]));
    EXPECT_TRUE(std::isnan(factor.rows[2][0].second));
}

TEST(SPDMatrix, NonPositivePivotAfterANaNStillFails)
{
    EXPECT_TRUE(isEmpty(matrixOf({{{0, kNaN}}, {{1, -1.0}}}).factor()));
}

TEST(SPDMatrix, InfiniteDiagonalIsAPositivePivot)
{
    LLTMatrix const factor = matrixOf({{{0, kInfinity}}, {{0, 1.0}, {1, 4.0}}}).factor();
    EXPECT_EQ(factor.diag, (std::vector<double>{kInfinity, 2.0}));
    EXPECT_EQ(factor.rows[1][0].second, 0.0);
}

TEST(SPDMatrix, ExplicitZeroIsAnEntry)
{
    LLTMatrix const factor = matrixOf({{{0, 1.0}}, {{0, 0.0}, {1, 1.0}}}).factor();
    EXPECT_EQ(factor.rows[1], (Rows::value_type{{0, 0.0}}));
}

TEST(SPDMatrix, RepeatedColumnCountsOnceWithItsGreatestValue)
{
    for (auto const& values : {std::vector<double>{0.5, -2.0, 0.25}, {-2.0, 0.25, 0.5}, {0.25, 0.5, -2.0}}) {
        Rows rows = {{{0, 4.0}}, {}};
        for (double v : values) rows[1].push_back({0, v});
        rows[1].push_back({1, 4.0});
        EXPECT_EQ(test::difference(matrixOf(rows).factor(), matrixOf({{{0, 4.0}}, {{0, 0.5}, {1, 4.0}}}).factor()), "");
    }
}

TEST(SPDMatrix, NaNAmongRepeatedValuesWins)
{
    for (Rows const& rows :
         {Rows{{{0, 4.0}}, {{0, kNaN}, {0, 1.0}, {1, 4.0}}}, Rows{{{0, 4.0}}, {{0, 1.0}, {0, kNaN}, {1, 4.0}}}}) {
        EXPECT_TRUE(std::isnan(matrixOf(rows).factor().rows[1][0].second));
    }
}

TEST(SPDMatrix, LaterOfRepeatedZerosOfEitherSignWins)
{
    EXPECT_TRUE(std::signbit(matrixOf({{{0, 4.0}}, {{0, 0.0}, {0, -0.0}, {1, 4.0}}}).factor().rows[1][0].second));
    EXPECT_FALSE(std::signbit(matrixOf({{{0, 4.0}}, {{0, -0.0}, {0, 0.0}, {1, 4.0}}}).factor().rows[1][0].second));
}

TEST(SPDMatrix, RepeatedColumnDoesNotRaiseTheDegree)
{
    // Node 2 has one neighbour, given three times. Its degree is therefore that of node 0; node 1 has two neighbours.
    Rows const rows = {{{0, 9.0}}, {{0, 1.0}, {1, 9.0}}, {{1, 1.0}, {1, 1.0}, {1, 1.0}, {2, 9.0}}, {{3, 9.0}}};
    SPDMatrix const matrix = matrixOf(rows);
    EXPECT_EQ(matrix.computePerm(), (std::vector<int>{1, 2, 3, 0}));
    expectAsReference(matrix);
}

TEST(SPDMatrix, MalformedRowsGiveEmptyResults)
{
    Rows const good = {{{0, 4.0}}, {{0, 1.0}, {1, 4.0}}, {{0, 1.0}, {1, 1.0}, {2, 4.0}}};
    ASSERT_FALSE(isEmpty(matrixOf(good).factor()));
    std::vector<std::pair<char const*, Rows::value_type>> const damages = {
        {"an empty row", {}},
        {"no diagonal", {{0, 1.0}}},
        {"a diagonal that is not last", {{0, 1.0}, {1, 4.0}, {0, 1.0}}},
        {"a repeated diagonal", {{0, 1.0}, {1, 4.0}, {1, 4.0}}},
        {"a column above its row", {{0, 1.0}, {2, 1.0}, {1, 4.0}}},
        {"a column above its row in place of the diagonal", {{0, 1.0}, {2, 4.0}}},
        {"a column beyond the matrix", {{3, 1.0}, {1, 4.0}}},
        {"the largest column", {{std::numeric_limits<int>::max(), 1.0}, {1, 4.0}}},
        {"a negative column", {{-1, 1.0}, {1, 4.0}}},
        {"the smallest column", {{std::numeric_limits<int>::min(), 1.0}, {1, 4.0}}},
    };
    for (auto const& [what, row] : damages) {
        SCOPED_TRACE(what);
        SPDMatrix matrix = matrixOf(good);
        matrix.rows[1] = row;
        EXPECT_TRUE(matrix.computePerm().empty());
        EXPECT_TRUE(isEmpty(matrix.factor()));
    }
}

TEST(SPDMatrix, ReproducesTheMatrix)
{
    Random random(20250301);
    for (int trial = 0; trial < 50; ++trial) {
        SCOPED_TRACE(trial);
        SPDMatrix const matrix = test::randomShape(random, 80);
        LLTMatrix const factor = matrix.factor();
        ASSERT_EQ(factor.rows.size(), matrix.rows.size());
        EXPECT_LT(residual(matrix, factor), 1e-12); // entries are at most about 50, with rounding errors near 1e-14
    }
}

TEST(SPDMatrix, SameBitsAsTheReferenceOnManyShapes)
{
    Random random(20250302);
    for (int trial = 0; trial < 3000; ++trial) {
        SCOPED_TRACE(trial);
        expectAsReference(test::randomShape(random, trial % 10 == 0 ? 300 : 40));
        if (HasFailure()) return;
    }
}

TEST(SPDMatrix, SameBitsAsTheReferenceOnRepeatedPairs)
{
    Random random(20250303);
    for (int trial = 0; trial < 300; ++trial) {
        SCOPED_TRACE(trial);
        SPDMatrix matrix = test::randomShape(random, 60);
        for (auto& row : matrix.rows) {
            if (row.size() < 2) continue;
            for (int k = random.below(4); k > 0; --k) {
                int const column = row[random.below(static_cast<int>(row.size()) - 1)].first;
                double const value = random.oneIn(10) ? kNaN : random.oneIn(4) ? -0.0 : random.uniform();
                row.insert(row.end() - 1, {column, value});
            }
        }
        expectAsReference(matrix);
    }
}

TEST(SPDMatrix, SameBitsAsTheReferenceOnHostileValues)
{
    Random random(20250304);
    int failed = 0;
    for (int trial = 0; trial < 1000; ++trial) {
        SCOPED_TRACE(trial);
        SPDMatrix matrix = test::randomShape(random, 60);
        for (auto& row : matrix.rows) {
            for (auto& entry : row) {
                if (random.oneIn(30)) entry.second = random.hostile();
            }
        }
        LLTMatrix const factor = matrix.factor();
        failed += factor.rows.empty();
        EXPECT_EQ(test::difference(factor, reference::factor(matrix)), "");
    }
    EXPECT_GT(failed, 100) << "the input must lead to both outcomes";
    EXPECT_LT(failed, 900);
}

TEST(SPDMatrix, SameBitsAsTheReferenceOnLargerMatrices)
{
    Random random(20250305);
    expectAsReference(test::matrixOf(test::grid2D(60, 60), 3600, random));
    expectAsReference(test::matrixOf(test::grid3D(11), 1331, random));
    expectAsReference(test::matrixOf(test::shuffled(test::surfaceMesh(50, random), 2500, random), 2500, random));
    expectAsReference(test::matrixOf(test::hubs(2000, 5), 2000, random));
    expectAsReference(test::matrixOf(test::hubs(150, 150), 150, random));
    expectAsReference(test::matrixOf(test::wheel(3000), 3000, random));
    expectAsReference(test::matrixOf(test::shuffled(test::randomTree(3000, random), 3000, random), 3000, random));
    expectAsReference(test::matrixOf(test::randomGraph(1200, 2400, random), 1200, random));
}
