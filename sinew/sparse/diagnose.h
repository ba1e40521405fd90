#pragma once

/// Examination of a sparse matrix: why it does not factor, or how close it came to that. All rows and columns are in
/// the caller's numbering.

#include <optional>
#include <string>

#include <sinew/core/progress.h>
#include <sinew/export.h>
#include <sinew/framework/findings.h>
#include <sinew/sparse/spd_matrix.h>

namespace sinew {

/// What `diagnose` can find in a matrix. A diagnosis has at most one finding of each kind, which covers all rows.
///
/// For a fault of entries, `indices` hold a pair {row, column, row, column, ...} for each row concerned: rows
/// ascending, with the first such column of each row. `value` is the value of the first of these entries. Columns may
/// be any `int`, because they are those of the host.
///
/// For a fault of the diagonal, `indices` hold the rows concerned {row, row, ...}, ascending. `value` is the first
/// diagonal entry of the first row.
enum class MatrixFault
{
    noRows,            ///< The matrix has no rows. `indices` are empty, `value` is 0.
    missingDiagonal,   ///< A row has no diagonal entry. `indices` hold rows; `value` is 0.
    misplacedDiagonal, ///< The diagonal entry of a row is not its last pair. `indices` hold rows.
    repeatedDiagonal,  ///< A row has several diagonal entries, one of them as its last pair. `indices` hold rows.
    upperTriangle,     ///< The column of an entry is greater than its row, but less than the number of rows.
    columnOutOfRange,  ///< The column of an entry is negative, or not less than the number of rows.
    repeatedPair,      ///< A row has a column several times. This is allowed; the greatest value counts.
    notANumber,        ///< A value is NaN. This is allowed; it propagates to all entries that depend on it.
    infinite,          ///< A value is infinite. This is allowed.
    badPivot           ///< A pivot is zero or negative, so the matrix is not positive definite. `indices` hold its row
                       ///< only, since later pivots are not defined. `value` is the pivot.
};

/// The result of `diagnose(SPDMatrix const&)`. Findings are in the order of `MatrixFault`.
///
/// The pivots are the squares of the diagonal entries of the factor before the rounding of the root. NaN pivots are
/// left out of the smallest and the largest. Where there is no pivot, the pivots are 0 and their rows are -1.
struct MatrixDiagnosis : Diagnosis<MatrixFault>
{
    bool wellFormed = false;       ///< `computePerm` returns an ordering, or the matrix has no rows.
    bool positiveDefinite = false; ///< `factor` returns a factor, and none of its pivots is NaN.

    double smallestPivot = 0.0; ///< The smallest pivot that is no NaN.
    double largestPivot = 0.0;  ///< The largest pivot that is no NaN.
    int smallestPivotRow = -1;  ///< Among equal pivots the row that is eliminated first.
    int largestPivotRow = -1;   ///< Among equal pivots the row that is eliminated first.

    /// One line on the range of the pivots, ended by "\n"; empty if there is no pivot. `text()` does not contain it,
    /// since the range is not a fault. Six significant digits. Strong guarantee.
    SINEW_API std::string pivotText() const;
};

/// Examines the rows and, if they are well-formed, factors the matrix to find its pivots.
///
/// A large ratio of the largest pivot to the smallest one shows that the matrix is badly conditioned. A small ratio
/// does not show that it is well conditioned.
///
/// Costs as much as `SPDMatrix::factor`. Memory of the findings is linear in the number of rows. Strong guarantee.
SINEW_API MatrixDiagnosis diagnose(SPDMatrix const& matrix);

/// The same with progress. See `Progress`.
SINEW_API std::optional<MatrixDiagnosis> diagnose(SPDMatrix const& matrix, Progress const& progress);

} // namespace sinew
