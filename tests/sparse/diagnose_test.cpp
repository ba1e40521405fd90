#include <sinew/sparse/diagnose.h>

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "sparse/matrices.h"
#include "support/comma_locale.h"
#include "support/random.h"

using sinew::diagnose;
using sinew::Finding;
using sinew::MatrixDiagnosis;
using sinew::MatrixFault;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

using Rows = std::vector<std::vector<std::pair<int, double>>>;

MatrixDiagnosis of(Rows rows)
{
    SPDMatrix matrix;
    matrix.rows = std::move(rows);
    return diagnose(matrix);
}

// The diagnosis of a matrix of three rows, the middle one given and the others correct.
MatrixDiagnosis withRow(Rows::value_type row)
{
    return of({{{0, 4.0}}, std::move(row), {{2, 4.0}}});
}

void expectOnly(MatrixDiagnosis const& diagnosis, MatrixFault kind, std::vector<std::int64_t> const& indices)
{
    ASSERT_EQ(diagnosis.findings.size(), 1u) << diagnosis.text();
    Finding<MatrixFault> const& finding = diagnosis.findings[0];
    EXPECT_EQ(finding.kind, kind);
    EXPECT_EQ(finding.indices, indices);
}

} // namespace

TEST(Diagnose, FindsNothingInAPositiveDefiniteMatrix)
{
    MatrixDiagnosis const diagnosis = of({{{0, 4.0}}, {{0, 2.0}, {1, 10.0}}});
    EXPECT_TRUE(diagnosis.wellFormed);
    EXPECT_TRUE(diagnosis.positiveDefinite);
    EXPECT_TRUE(diagnosis.findings.empty());
    EXPECT_EQ(diagnosis.smallestPivot, 4.0);
    EXPECT_EQ(diagnosis.smallestPivotRow, 0);
    EXPECT_EQ(diagnosis.largestPivot, 9.0);
    EXPECT_EQ(diagnosis.largestPivotRow, 1);
    EXPECT_EQ(diagnosis.text(), "");
    EXPECT_EQ(diagnosis.pivotText(), "The pivots range from 4 (row 0) to 9 (row 1).\n");
}

TEST(Diagnose, ReportsAMatrixWithoutRows)
{
    MatrixDiagnosis const diagnosis = of({});
    EXPECT_TRUE(diagnosis.wellFormed);
    EXPECT_FALSE(diagnosis.positiveDefinite);
    expectOnly(diagnosis, MatrixFault::noRows, {});
    EXPECT_EQ(diagnosis.text(), "The matrix has no rows.\n");
    EXPECT_EQ(diagnosis.smallestPivotRow, -1);
    EXPECT_EQ(diagnosis.pivotText(), "");
}

TEST(Diagnose, DistinguishesMissingMisplacedAndRepeatedDiagonals)
{
    expectOnly(withRow({{0, 1.0}}), MatrixFault::missingDiagonal, {1});
    expectOnly(withRow({}), MatrixFault::missingDiagonal, {1});
    expectOnly(withRow({{1, 4.0}, {0, 1.0}}), MatrixFault::misplacedDiagonal, {1});
    expectOnly(withRow({{1, 4.0}, {1, 5.0}}), MatrixFault::repeatedDiagonal, {1});
    EXPECT_FALSE(withRow({{1, 4.0}, {1, 5.0}}).wellFormed);
}

TEST(Diagnose, DistinguishesTheUpperTriangleFromColumnsOutOfRange)
{
    expectOnly(withRow({{2, 1.0}, {1, 4.0}}), MatrixFault::upperTriangle, {1, 2});
    expectOnly(withRow({{3, 1.0}, {1, 4.0}}), MatrixFault::columnOutOfRange, {1, 3});
    expectOnly(withRow({{-1, 1.0}, {1, 4.0}}), MatrixFault::columnOutOfRange, {1, -1});
    expectOnly(withRow({{std::numeric_limits<int>::max(), 1.0}, {1, 4.0}}), MatrixFault::columnOutOfRange,
               {1, std::numeric_limits<int>::max()});
}

TEST(Diagnose, ReportsRepeatedPairsOfAWellFormedMatrix)
{
    MatrixDiagnosis const diagnosis = withRow({{0, 1.0}, {0, 2.0}, {0, 3.0}, {1, 4.0}});
    expectOnly(diagnosis, MatrixFault::repeatedPair, {1, 0});
    EXPECT_TRUE(diagnosis.wellFormed);
    EXPECT_TRUE(diagnosis.positiveDefinite);
}

TEST(Diagnose, ReportsNaNAndInfinity)
{
    MatrixDiagnosis const nan = withRow({{0, kNaN}, {1, 4.0}});
    expectOnly(nan, MatrixFault::notANumber, {1, 0});
    EXPECT_TRUE(std::isnan(nan.findings[0].value));
    EXPECT_TRUE(nan.wellFormed);
    EXPECT_FALSE(nan.positiveDefinite) << "it factors with NaN pivots";
    EXPECT_EQ(nan.largestPivot, 4.0);
    expectOnly(withRow({{1, kInfinity}}), MatrixFault::infinite, {1, 1});
}

TEST(Diagnose, NamesTheFirstBadPivotInTheCallersNumbering)
{
    // The hub of the star, row 0, is eliminated third. Its pivot is 1 - 1 / 1 - 4 / 4.
    MatrixDiagnosis const diagnosis =
        of({{{0, 1.0}}, {{0, 1.0}, {1, 1.0}}, {{0, 2.0}, {2, 4.0}}, {{0, 1.0}, {3, 2.0}}});
    EXPECT_TRUE(diagnosis.wellFormed);
    EXPECT_FALSE(diagnosis.positiveDefinite);
    expectOnly(diagnosis, MatrixFault::badPivot, {0});
    EXPECT_EQ(diagnosis.findings[0].value, -1.0);
    EXPECT_EQ(diagnosis.findings[0].sentence,
              "Row 0 has the pivot -1, which is not positive: the matrix is not positive definite.");
    EXPECT_EQ(diagnosis.smallestPivot, -1.0);
    EXPECT_EQ(diagnosis.largestPivotRow, 2);
}

TEST(Diagnose, ListsAllRowsAndDescribesTheFirst)
{
    Rows rows = {{{0, 1.0}}, {{5, 1.0}, {7, 1.0}, {1, 1.0}}, {{2, 1.0}}, {{6, 2.0}, {3, 1.0}}};
    MatrixDiagnosis const diagnosis = of(rows);
    expectOnly(diagnosis, MatrixFault::columnOutOfRange, {1, 5, 3, 6});
    EXPECT_EQ(diagnosis.findings[0].value, 1.0) << "the value of the first entry";
    EXPECT_EQ(diagnosis.text(),
              "Row 1 has an entry in column 5, outside the matrix; 1 other row has the same fault.\n");
    rows.push_back({{9, 1.0}, {4, 1.0}});
    EXPECT_EQ(of(rows).text(),
              "Row 1 has an entry in column 5, outside the matrix; 2 other rows have the same fault.\n");
}

TEST(Diagnose, ListsTheRowsAloneForFaultsOfTheDiagonal)
{
    MatrixDiagnosis const diagnosis = of({{}, {{1, 1.0}}, {{0, 1.0}}});
    expectOnly(diagnosis, MatrixFault::missingDiagonal, {0, 2});
    EXPECT_EQ(diagnosis.text(), "Row 0 has no diagonal entry; 1 other row has the same fault.\n");
}

TEST(Diagnose, ReportsEachKindWithASentenceInTheOrderOfKinds)
{
    MatrixDiagnosis const diagnosis = of({{{0, kNaN}}, {{0, kInfinity}}, {{0, 1.0}, {0, 1.0}, {9, 1.0}, {2, 1.0}}});
    ASSERT_EQ(diagnosis.findings.size(), 5u);
    for (std::size_t k = 0; k < 5; ++k) {
        EXPECT_GT(diagnosis.findings[k].sentence.size(), 10u);
        if (k > 0) {
            EXPECT_LT(diagnosis.findings[k - 1].kind, diagnosis.findings[k].kind);
        }
    }
}

TEST(Diagnose, AgreesWithFactorOnHostileInput)
{
    test::Random random(20250370);
    for (int trial = 0; trial < 300; ++trial) {
        SCOPED_TRACE(trial);
        SPDMatrix matrix = test::randomShape(random, 50);
        for (auto& row : matrix.rows) {
            for (auto& entry : row) {
                if (random.oneIn(40)) entry.second = random.hostile();
                if (random.oneIn(400)) entry.first = random.below(60) - 5;
            }
        }
        MatrixDiagnosis const diagnosis = diagnose(matrix);
        LLTMatrix const factor = matrix.factor();
        EXPECT_EQ(diagnosis.wellFormed, !matrix.computePerm().empty());
        if (diagnosis.positiveDefinite) {
            ASSERT_FALSE(factor.rows.empty());
            double const smallest = *std::min_element(factor.diag.begin(), factor.diag.end());
            EXPECT_EQ(std::sqrt(diagnosis.smallestPivot), smallest);
        }
        if (factor.rows.empty()) {
            EXPECT_FALSE(diagnosis.findings.empty());
        }
    }
}

TEST(Diagnose, OfEqualPivotsTheRowThatIsEliminatedFirstCounts)
{
    // Rows without edges are eliminated in their order.
    MatrixDiagnosis const equal = of({{{0, 4.0}}, {{1, 4.0}}, {{2, 4.0}}});
    EXPECT_EQ(equal.smallestPivotRow, 0);
    EXPECT_EQ(equal.largestPivotRow, 0);
    MatrixDiagnosis const pairs = of({{{0, 4.0}}, {{1, 9.0}}, {{2, 1.0}}, {{3, 1.0}}, {{4, 9.0}}});
    EXPECT_EQ(pairs.smallestPivotRow, 2);
    EXPECT_EQ(pairs.largestPivotRow, 1);
}

TEST(Diagnose, TextsAreTheSameUnderADecimalComma)
{
    SPDMatrix matrix;
    for (int i = 0; i < 1300; ++i) matrix.rows.push_back({{i, i == 1234 ? -1234.5 : 0.25}});
    MatrixDiagnosis const before = diagnose(matrix);
    EXPECT_NE(before.text().find("Row 1234 has the pivot -1234.5,"), std::string::npos);
    EXPECT_NE(before.pivotText().find("-1234.5 (row 1234) to 0.25"), std::string::npos);
    test::CommaLocale const comma;
    ASSERT_TRUE(test::CommaLocale::inCLibrary()) << "no locale with a decimal comma: install the package 'locales'";
    MatrixDiagnosis const under = diagnose(matrix);
    EXPECT_EQ(under.text(), before.text());
    EXPECT_EQ(under.pivotText(), before.pivotText());
}
