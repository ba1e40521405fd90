#include <sinew/sparse/diagnose.h>

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "sparse/matrices.h"
#include "support/random.h"

using sinew::diagnose;
using sinew::MatrixDiagnosis;
using sinew::MatrixFinding;

namespace {

double const kNaN = std::numeric_limits<double>::quiet_NaN();
double const kInfinity = std::numeric_limits<double>::infinity();

using Rows = std::vector<std::vector<std::pair<int, double>>>;

MatrixDiagnosis of(Rows rows)
{
    SPDMatrix matrix;
    matrix.rows = std::move(rows);
    return diagnose(matrix);
}

// Three rows of which the middle one is given.
MatrixDiagnosis withRow(Rows::value_type row)
{
    return of({{{0, 4.0}}, std::move(row), {{2, 4.0}}});
}

void expectOnly(MatrixDiagnosis const& diagnosis, MatrixFinding::Kind kind, int row, int column, int count)
{
    ASSERT_EQ(diagnosis.findings.size(), 1u) << diagnosis.text();
    MatrixFinding const& finding = diagnosis.findings[0];
    EXPECT_EQ(finding.kind, kind);
    EXPECT_EQ(finding.row, row);
    EXPECT_EQ(finding.column, column);
    EXPECT_EQ(finding.count, count);
}

} // namespace

TEST(Diagnose, FindsNothingWrongWithAGoodMatrix)
{
    MatrixDiagnosis const diagnosis = of({{{0, 4.0}}, {{0, 2.0}, {1, 10.0}}});
    EXPECT_TRUE(diagnosis.wellFormed);
    EXPECT_TRUE(diagnosis.positiveDefinite);
    EXPECT_TRUE(diagnosis.findings.empty());
    EXPECT_EQ(diagnosis.smallestPivot, 4.0);
    EXPECT_EQ(diagnosis.smallestPivotRow, 0);
    EXPECT_EQ(diagnosis.largestPivot, 9.0);
    EXPECT_EQ(diagnosis.largestPivotRow, 1);
    EXPECT_EQ(diagnosis.text(), "The pivots range from 4 (row 0) to 9 (row 1).\n");
}

TEST(Diagnose, WithoutRows)
{
    MatrixDiagnosis const diagnosis = of({});
    EXPECT_TRUE(diagnosis.wellFormed);
    EXPECT_FALSE(diagnosis.positiveDefinite);
    expectOnly(diagnosis, MatrixFinding::noRows, -1, -1, 1);
    EXPECT_EQ(diagnosis.text(), "The matrix has no rows.\n");
    EXPECT_EQ(diagnosis.smallestPivotRow, -1);
}

TEST(Diagnose, TellsAMissingFromAMisplacedAndARepeatedDiagonal)
{
    expectOnly(withRow({{0, 1.0}}), MatrixFinding::missingDiagonal, 1, 1, 1);
    expectOnly(withRow({}), MatrixFinding::missingDiagonal, 1, 1, 1);
    expectOnly(withRow({{1, 4.0}, {0, 1.0}}), MatrixFinding::misplacedDiagonal, 1, 1, 1);
    expectOnly(withRow({{1, 4.0}, {1, 5.0}}), MatrixFinding::repeatedDiagonal, 1, 1, 1);
    EXPECT_FALSE(withRow({{1, 4.0}, {1, 5.0}}).wellFormed);
}

TEST(Diagnose, TellsTheUpperTriangleFromColumnsOutOfRange)
{
    expectOnly(withRow({{2, 1.0}, {1, 4.0}}), MatrixFinding::upperTriangle, 1, 2, 1);
    expectOnly(withRow({{3, 1.0}, {1, 4.0}}), MatrixFinding::columnOutOfRange, 1, 3, 1);
    expectOnly(withRow({{-1, 1.0}, {1, 4.0}}), MatrixFinding::columnOutOfRange, 1, -1, 1);
    expectOnly(withRow({{std::numeric_limits<int>::max(), 1.0}, {1, 4.0}}), MatrixFinding::columnOutOfRange, 1,
               std::numeric_limits<int>::max(), 1);
}

TEST(Diagnose, MentionsRepeatedPairsOfAMatrixThatIsFineOtherwise)
{
    MatrixDiagnosis const diagnosis = withRow({{0, 1.0}, {0, 2.0}, {0, 3.0}, {1, 4.0}});
    expectOnly(diagnosis, MatrixFinding::repeatedPair, 1, 0, 1);
    EXPECT_TRUE(diagnosis.wellFormed);
    EXPECT_TRUE(diagnosis.positiveDefinite);
}

TEST(Diagnose, MentionsNaNAndInfinity)
{
    MatrixDiagnosis const nan = withRow({{0, kNaN}, {1, 4.0}});
    expectOnly(nan, MatrixFinding::notANumber, 1, 0, 1);
    EXPECT_TRUE(std::isnan(nan.findings[0].value));
    EXPECT_TRUE(nan.wellFormed);
    EXPECT_FALSE(nan.positiveDefinite) << "it factors, but with NaN pivots";
    EXPECT_EQ(nan.largestPivot, 4.0);
    expectOnly(withRow({{1, kInfinity}}), MatrixFinding::infinite, 1, 1, 1);
}

TEST(Diagnose, NamesTheFirstBadPivotInTheCallersNumbering)
{
    // The star's hub, row 0, is eliminated third: 1 - 1 - 1 / 4 * 4.
    MatrixDiagnosis const diagnosis =
        of({{{0, 1.0}}, {{0, 1.0}, {1, 1.0}}, {{0, 2.0}, {2, 4.0}}, {{0, 1.0}, {3, 2.0}}});
    EXPECT_TRUE(diagnosis.wellFormed);
    EXPECT_FALSE(diagnosis.positiveDefinite);
    expectOnly(diagnosis, MatrixFinding::badPivot, 0, 0, 1);
    EXPECT_EQ(diagnosis.findings[0].value, -1.0);
    EXPECT_EQ(diagnosis.findings[0].sentence,
              "Row 0 has the pivot -1, which is not positive: the matrix is not positive definite.");
    EXPECT_EQ(diagnosis.smallestPivot, -1.0);
    EXPECT_EQ(diagnosis.largestPivotRow, 2);
}

TEST(Diagnose, CountsRowsAndNamesTheFirst)
{
    Rows rows = {{{0, 1.0}}, {{5, 1.0}, {7, 1.0}, {1, 1.0}}, {{2, 1.0}}, {{6, 2.0}, {3, 1.0}}};
    MatrixDiagnosis const diagnosis = of(rows);
    expectOnly(diagnosis, MatrixFinding::columnOutOfRange, 1, 5, 2);
    EXPECT_EQ(diagnosis.text(), "Row 1 has an entry in column 5, outside the matrix. So has 1 other row.\n");
    rows.push_back({{9, 1.0}, {4, 1.0}});
    EXPECT_EQ(of(rows).text(), "Row 1 has an entry in column 5, outside the matrix. So have 2 other rows.\n");
}

TEST(Diagnose, ReportsSeveralKindsEachWithASentence)
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
