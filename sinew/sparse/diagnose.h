#pragma once

/// Why a matrix does not factor, or how near it came to that, told in the caller's numbering.

#include <string>
#include <vector>

#include <sinew/export.h>
#include <sinew/sparse/spd_matrix.h>

namespace sinew {

/// One thing that is wrong with a matrix, and the first row where it is so.
struct MatrixFinding
{
    enum Kind
    {
        noRows,
        missingDiagonal,   // the row does not hold its diagonal
        misplacedDiagonal, // it does, but not as its last pair
        repeatedDiagonal,  // it holds it more than once, the last pair being one
        upperTriangle,     // a column above the row, within the matrix
        columnOutOfRange,  // a column below 0 or not below the number of rows
        repeatedPair,      // the same column twice: allowed, the greatest value counts
        notANumber,        // a NaN value: allowed, it spreads
        infinite,          // an infinite value: allowed
        badPivot           // a pivot that is zero or negative: not positive definite
    };

    Kind kind;
    int row;              // the first row concerned, -1 for noRows
    int column;           // of the pair concerned; the row itself for findings about the diagonal or a pivot
    double value;         // of the pair or pivot concerned; 0 if there is none
    int count;            // number of rows concerned; 1 for badPivot, since no pivot after it is defined
    std::string sentence; // all of this in English
};

struct MatrixDiagnosis
{
    bool wellFormed;                     // `computePerm` orders it
    bool positiveDefinite;               // `factor` gives a factor, and no pivot is NaN
    std::vector<MatrixFinding> findings; // one of each kind at most, in the order of Kind

    /// The smallest and the largest pivot met, the squares of the factor's diagonal before rounding of the root, and
    /// their rows. Rows are -1 and pivots 0 where there is none; NaN pivots are left out.
    double smallestPivot, largestPivot;
    int smallestPivotRow, largestPivotRow;

    /// All findings' sentences and one on the pivots, a line each.
    SINEW_API std::string text() const;
};

/// Examines the rows, and if they are well-formed factors the matrix to see its pivots.
///
/// Among equal pivots the one that is eliminated first is reported. A large ratio of the largest pivot to the smallest
/// tells of a badly conditioned matrix; a small one promises nothing. Costs a factorisation.
SINEW_API MatrixDiagnosis diagnose(SPDMatrix const& matrix);

} // namespace sinew
