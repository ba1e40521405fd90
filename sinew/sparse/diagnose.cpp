#include <sinew/sparse/diagnose.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/detail/as_index.h>
#include <sinew/framework/detail/number_text.h>
#include <sinew/sparse/detail/factorization.h>
#include <sinew/sparse/detail/minimum_degree.h>
#include <sinew/sparse/detail/phases.h>
#include <sinew/sparse/detail/sparse_rows.h>

namespace sinew {

namespace {

// Significant digits of a pivot in a sentence. Its magnitude matters there, not its last digits.
constexpr int kDigits = 6;

std::string number(double x)
{
    return detail::numberText(x, kDigits);
}

// Whether `indices` hold only rows, not pairs of a row and a column.
bool holdsRowsOnly(MatrixFault kind)
{
    return kind == MatrixFault::missingDiagonal || kind == MatrixFault::misplacedDiagonal ||
           kind == MatrixFault::repeatedDiagonal || kind == MatrixFault::badPivot;
}

// The sentence without its subject, which is "Row r", and without its full stop.
std::string predicate(Finding<MatrixFault> const& finding)
{
    std::string const column = finding.indices.size() > 1 ? std::to_string(finding.indices[1]) : "";
    switch (finding.kind) {
    case MatrixFault::missingDiagonal:
        return "has no diagonal entry";
    case MatrixFault::misplacedDiagonal:
        return "has a diagonal entry that is not its last pair";
    case MatrixFault::repeatedDiagonal:
        return "has its diagonal entry more than once";
    case MatrixFault::upperTriangle:
        return "has an entry in column " + column + ", above the diagonal";
    case MatrixFault::columnOutOfRange:
        return "has an entry in column " + column + ", outside the matrix";
    case MatrixFault::repeatedPair:
        return "has column " + column + " more than once, and only the greatest value counts";
    case MatrixFault::notANumber:
        return "has a NaN in column " + column + ", which propagates to the factor";
    case MatrixFault::infinite:
        return "has an infinite value in column " + column;
    case MatrixFault::badPivot:
        return "has the pivot " + number(finding.value) +
               ", which is not positive: the matrix is not positive definite";
    case MatrixFault::noRows:
        break;
    }
    return "";
}

std::string sentenceOf(Finding<MatrixFault> const& finding)
{
    if (finding.kind == MatrixFault::noRows) return "The matrix has no rows.";
    std::string sentence = "Row " + std::to_string(finding.indices[0]) + " " + predicate(finding);
    std::size_t const rowCount = holdsRowsOnly(finding.kind) ? finding.indices.size() : finding.indices.size() / 2;
    if (rowCount == 2) sentence += "; 1 other row has the same fault";
    if (rowCount > 2) sentence += "; " + std::to_string(rowCount - 1) + " other rows have the same fault";
    return sentence + ".";
}

// Collects one finding of each kind.
class Collector
{
public:
    void add(MatrixFault kind, int row, int column, double value)
    {
        for (Open& open : open_) {
            if (open.finding.kind == kind) return addRow(open, row, column);
        }
        open_.push_back({{kind, {}, value, ""}, -1});
        addRow(open_.back(), row, column);
    }

    std::vector<Finding<MatrixFault>> take()
    {
        std::sort(open_.begin(), open_.end(),
                  [](Open const& a, Open const& b) { return a.finding.kind < b.finding.kind; });
        std::vector<Finding<MatrixFault>> findings;
        for (Open& open : open_) {
            open.finding.sentence = sentenceOf(open.finding);
            findings.push_back(std::move(open.finding));
        }
        return findings;
    }

private:
    struct Open
    {
        Finding<MatrixFault> finding;
        int lastRow; // the last row in the indices of the finding
    };

    static void addRow(Open& open, int row, int column)
    {
        if (row == open.lastRow) return;
        open.lastRow = row;
        open.finding.indices.push_back(row);
        if (!holdsRowsOnly(open.finding.kind)) open.finding.indices.push_back(column);
    }

    std::vector<Open> open_;
};

void examineDiagonal(detail::SparseRows const& rows, std::size_t i, Collector& findings)
{
    auto const& row = rows[i];
    int const diagonal = static_cast<int>(i);
    auto const isDiagonal = [diagonal](std::pair<int, double> const& entry) { return entry.first == diagonal; };
    auto const first = std::find_if(row.begin(), row.end(), isDiagonal);
    if (first == row.end()) {
        findings.add(MatrixFault::missingDiagonal, diagonal, diagonal, 0.0);
    } else if (row.back().first != diagonal) {
        findings.add(MatrixFault::misplacedDiagonal, diagonal, diagonal, first->second);
    } else if (first != row.end() - 1) {
        findings.add(MatrixFault::repeatedDiagonal, diagonal, diagonal, first->second);
    }
}

// @param lastRow  for each column the last row in which it occurred
void examineEntries(detail::SparseRows const& rows, std::size_t i, std::vector<int>& lastRow, Collector& findings)
{
    int const n = static_cast<int>(rows.size());
    int const row = static_cast<int>(i);
    for (auto const& [c, v] : rows[i]) {
        if (v != v) findings.add(MatrixFault::notANumber, row, c, v);
        if (std::isinf(v)) findings.add(MatrixFault::infinite, row, c, v);
        if (c < 0 || c >= n) {
            findings.add(MatrixFault::columnOutOfRange, row, c, v);
            continue;
        }
        if (c > row) findings.add(MatrixFault::upperTriangle, row, c, v);
        if (c != row && lastRow[detail::asIndex(c)] == row) findings.add(MatrixFault::repeatedPair, row, c, v);
        lastRow[detail::asIndex(c)] = row;
    }
}

void includePivot(MatrixDiagnosis& diagnosis, double pivot, int row)
{
    if (diagnosis.smallestPivotRow < 0 || pivot < diagnosis.smallestPivot) {
        diagnosis.smallestPivot = pivot;
        diagnosis.smallestPivotRow = row;
    }
    if (diagnosis.largestPivotRow < 0 || pivot > diagnosis.largestPivot) {
        diagnosis.largestPivot = pivot;
        diagnosis.largestPivotRow = row;
    }
}

void examinePivots(SPDMatrix const& matrix, MatrixDiagnosis& diagnosis, Collector& findings,
                   detail::ProgressMeter* meter)
{
    detail::beginPhase(meter, 0.0, detail::kOrdered);
    std::vector<int> const perm = detail::orderingOf(matrix.rows, meter);
    std::vector<int> order(perm.size());
    for (std::size_t i = 0; i < perm.size(); ++i) order[detail::asIndex(perm[i])] = static_cast<int>(i);
    detail::beginPhase(meter, detail::kOrdered, detail::kAnalysed);
    detail::Factorization const factorization(matrix.rows, perm, detail::FactorMethod::automatic, meter);
    detail::beginPhase(meter, detail::kAnalysed, 1.0);
    detail::NumericResult const result = factorization.factor(matrix.rows, detail::widestVectors(), meter);
    diagnosis.positiveDefinite = result.failedAt < 0;
    for (std::size_t k = 0; k < result.pivots.size(); ++k) {
        double const pivot = result.pivots[k];
        if (pivot != pivot) {
            diagnosis.positiveDefinite = false;
        } else {
            includePivot(diagnosis, pivot, order[k]);
        }
    }
    if (result.failedAt >= 0) {
        int const row = order[detail::asIndex(result.failedAt)];
        findings.add(MatrixFault::badPivot, row, row, result.pivots.back());
    }
}

MatrixDiagnosis examine(SPDMatrix const& matrix, detail::ProgressMeter* meter)
{
    MatrixDiagnosis diagnosis;
    Collector findings;
    if (matrix.rows.empty()) findings.add(MatrixFault::noRows, -1, -1, 0.0);
    std::vector<int> lastRow(matrix.rows.size(), -1);
    for (std::size_t i = 0; i < matrix.rows.size(); ++i) {
        examineDiagonal(matrix.rows, i, findings);
        examineEntries(matrix.rows, i, lastRow, findings);
    }
    diagnosis.wellFormed = detail::isWellFormed(matrix.rows);
    if (diagnosis.wellFormed && !matrix.rows.empty()) examinePivots(matrix, diagnosis, findings, meter);
    diagnosis.findings = findings.take();
    return diagnosis;
}

} // namespace

MatrixDiagnosis diagnose(SPDMatrix const& matrix)
{
    return examine(matrix, nullptr);
}

std::optional<MatrixDiagnosis> diagnose(SPDMatrix const& matrix, Progress const& progress)
{
    return detail::withProgress(progress, [&](detail::ProgressMeter& meter) {
        MatrixDiagnosis diagnosis = examine(matrix, &meter);
        meter.finish();
        return diagnosis;
    });
}

std::string MatrixDiagnosis::pivotText() const
{
    if (smallestPivotRow < 0) return "";
    return "The pivots range from " + number(smallestPivot) + " (row " + std::to_string(smallestPivotRow) + ") to " +
           number(largestPivot) + " (row " + std::to_string(largestPivotRow) + ").\n";
}

} // namespace sinew
