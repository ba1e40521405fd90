#include <sinew/sparse/diagnose.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <locale>
#include <sstream>

#include <sinew/sparse/detail/factorization.h>
#include <sinew/sparse/detail/sparse_rows.h>

namespace sinew {

namespace {

std::string number(double x)
{
    if (x != x) return "NaN"; // streams may show its sign
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out << x;
    return out.str();
}

// The sentence without its subject, which is "Row r".
std::string predicate(MatrixFinding const& finding)
{
    std::string const column = std::to_string(finding.column);
    switch (finding.kind) {
    case MatrixFinding::missingDiagonal:
        return "has no diagonal entry.";
    case MatrixFinding::misplacedDiagonal:
        return "has its diagonal entry before its end; it must be the last pair.";
    case MatrixFinding::repeatedDiagonal:
        return "has its diagonal entry more than once.";
    case MatrixFinding::upperTriangle:
        return "has an entry in column " + column + ", above the diagonal; only the lower triangle is given.";
    case MatrixFinding::columnOutOfRange:
        return "has an entry in column " + column + ", outside the matrix.";
    case MatrixFinding::repeatedPair:
        return "has column " + column + " more than once; only the greatest value counts.";
    case MatrixFinding::notANumber:
        return "has a NaN in column " + column + "; it will spread.";
    case MatrixFinding::infinite:
        return "has an infinite value in column " + column + ".";
    case MatrixFinding::badPivot:
        return "has the pivot " + number(finding.value) +
               ", which is not positive: the matrix is not positive definite.";
    case MatrixFinding::noRows:
        break;
    }
    return "";
}

std::string sentenceOf(MatrixFinding const& finding)
{
    if (finding.kind == MatrixFinding::noRows) return "The matrix has no rows.";
    std::string sentence = "Row " + std::to_string(finding.row) + " " + predicate(finding);
    if (finding.count > 1) {
        std::string const others = std::to_string(finding.count - 1);
        sentence += finding.count == 2 ? " So has 1 other row." : " So have " + others + " other rows.";
    }
    return sentence;
}

// Collects one finding of each kind: the first, and the number of rows.
class Findings
{
public:
    void add(MatrixFinding::Kind kind, int row, int column, double value)
    {
        for (std::size_t k = 0; k < list_.size(); ++k) {
            if (list_[k].kind != kind) continue;
            list_[k].count += lastRow_[k] != row;
            lastRow_[k] = row;
            return;
        }
        list_.push_back({kind, row, column, value, 1, ""});
        lastRow_.push_back(row);
    }

    std::vector<MatrixFinding> take()
    {
        auto const byKind = [](MatrixFinding const& a, MatrixFinding const& b) { return a.kind < b.kind; };
        std::sort(list_.begin(), list_.end(), byKind);
        for (MatrixFinding& finding : list_) finding.sentence = sentenceOf(finding);
        return std::move(list_);
    }

private:
    std::vector<MatrixFinding> list_;
    std::vector<int> lastRow_; // counted for each of them
};

void examineDiagonal(detail::SparseRows const& rows, int i, Findings& findings)
{
    auto const& row = rows[i];
    auto const isDiagonal = [i](std::pair<int, double> const& entry) { return entry.first == i; };
    auto const first = std::find_if(row.begin(), row.end(), isDiagonal);
    if (first == row.end()) {
        findings.add(MatrixFinding::missingDiagonal, i, i, 0.0);
    } else if (row.back().first != i) {
        findings.add(MatrixFinding::misplacedDiagonal, i, i, first->second);
    } else if (first != row.end() - 1) {
        findings.add(MatrixFinding::repeatedDiagonal, i, i, first->second);
    }
}

// @param lastRow  for each column the last row where it was seen
void examineEntries(detail::SparseRows const& rows, int i, std::vector<int>& lastRow, Findings& findings)
{
    int const n = static_cast<int>(rows.size());
    for (auto const& [c, v] : rows[i]) {
        if (v != v) findings.add(MatrixFinding::notANumber, i, c, v);
        if (std::isinf(v)) findings.add(MatrixFinding::infinite, i, c, v);
        if (c < 0 || c >= n) {
            findings.add(MatrixFinding::columnOutOfRange, i, c, v);
            continue;
        }
        if (c > i) findings.add(MatrixFinding::upperTriangle, i, c, v);
        if (c != i && lastRow[c] == i) findings.add(MatrixFinding::repeatedPair, i, c, v);
        lastRow[c] = i;
    }
}

void examinePivots(SPDMatrix const& matrix, MatrixDiagnosis& diagnosis, Findings& findings)
{
    std::vector<int> const perm = matrix.computePerm();
    std::vector<int> order(perm.size());
    for (std::size_t i = 0; i < perm.size(); ++i) order[perm[i]] = static_cast<int>(i);
    detail::NumericResult const result = detail::Factorization(matrix.rows, perm).factor(matrix.rows);
    diagnosis.positiveDefinite = result.failedAt < 0;
    for (std::size_t k = 0; k < result.pivots.size(); ++k) {
        double const pivot = result.pivots[k];
        if (pivot != pivot) {
            diagnosis.positiveDefinite = false;
            continue;
        }
        if (diagnosis.smallestPivotRow < 0 || pivot < diagnosis.smallestPivot) {
            diagnosis.smallestPivot = pivot;
            diagnosis.smallestPivotRow = order[k];
        }
        if (diagnosis.largestPivotRow < 0 || pivot > diagnosis.largestPivot) {
            diagnosis.largestPivot = pivot;
            diagnosis.largestPivotRow = order[k];
        }
    }
    if (result.failedAt >= 0) {
        int const row = order[result.failedAt];
        findings.add(MatrixFinding::badPivot, row, row, result.pivots.back());
    }
}

} // namespace

MatrixDiagnosis diagnose(SPDMatrix const& matrix)
{
    MatrixDiagnosis diagnosis = {};
    diagnosis.smallestPivotRow = diagnosis.largestPivotRow = -1;
    Findings findings;
    if (matrix.rows.empty()) findings.add(MatrixFinding::noRows, -1, -1, 0.0);
    std::vector<int> lastRow(matrix.rows.size(), -1);
    for (std::size_t i = 0; i < matrix.rows.size(); ++i) {
        examineDiagonal(matrix.rows, static_cast<int>(i), findings);
        examineEntries(matrix.rows, static_cast<int>(i), lastRow, findings);
    }
    diagnosis.wellFormed = detail::isWellFormed(matrix.rows);
    if (diagnosis.wellFormed && !matrix.rows.empty()) examinePivots(matrix, diagnosis, findings);
    diagnosis.findings = findings.take();
    return diagnosis;
}

std::string MatrixDiagnosis::text() const
{
    std::string result;
    for (MatrixFinding const& finding : findings) result += finding.sentence + "\n";
    if (smallestPivotRow >= 0) {
        result += "The pivots range from " + number(smallestPivot) + " (row " + std::to_string(smallestPivotRow) +
                  ") to " + number(largestPivot) + " (row " + std::to_string(largestPivotRow) + ").\n";
    }
    return result;
}

} // namespace sinew
