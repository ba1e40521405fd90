#pragma once

/// The Cholesky factor in flat memory. Use it instead of `LLTMatrix` if the factor is large, if many systems are solved
/// with it, or if the matrix changes its values often.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include <sinew/core/progress.h>
#include <sinew/export.h>
#include <sinew/sparse/llt_matrix.h>
#include <sinew/sparse/spd_matrix.h>
#include <sinew/sparse/symbolic_factor.h>

namespace sinew {

namespace detail {
struct CompactFactorAccess;
} // namespace detail

/// The factor L of a sparse symmetric positive-definite matrix A, with the numbers of `LLTMatrix` to the last bit, in
/// flat arrays of less than half the size.
///
/// The numbers of L are stored once, as dense blocks of columns. `LLTMatrix` stores each number twice, with its index.
/// The object also keeps the scratch arrays of the factorisation, so that `refactor` allocates nothing.
///
/// The object is in one of three states. With numbers: `size() > 0` and `hasNumbers()`. Without numbers, after a
/// `refactor` that failed: only `refactor` and assignment lead to numbers again. Empty, `size() == 0`: the matrix was
/// malformed, without rows or not positive definite when the object was made, or the object was moved from.
///
/// A copy shares the analysis of the pattern, and copies everything else. Const functions may be called from several
/// threads at once.
///
/// @code
/// SPDMatrix matrix;
/// matrix.rows = {{{0, 2.0}}, {{0, -1.0}, {1, 2.0}}};
/// sinew::CompactFactor factor(matrix);
/// matrix.rows[0][0].second = 5.0;     // other values, the same pattern
/// std::vector<double> x = {1, 1};
/// if (factor.refactor(matrix) && factor.solve(x)) std::printf("(%g, %g)\n", x[0], x[1]); // (0.333333, 0.666667)
/// @endcode
class CompactFactor
{
public:
    /// The empty factor.
    SINEW_API CompactFactor();

    /// Analyses and factors the matrix. The object is empty if `SPDMatrix::factor` returns the empty factor. Strong
    /// guarantee.
    SINEW_API explicit CompactFactor(SPDMatrix const& matrix);

    /// Factors the matrix with an analysis of its pattern. The object is empty if `SymbolicFactor::factor` returns the
    /// empty factor. The object shares the analysis, and remains valid without `symbolic`.
    ///
    /// For matrices of fewer than 1000 rows, it makes a layout of its own, because `symbolic` has none for them. Strong
    /// guarantee.
    SINEW_API CompactFactor(SymbolicFactor const& symbolic, SPDMatrix const& matrix);

    /// Copies the numbers of a factor. `solve` returns the same bits as `factor.solve`.
    ///
    /// The object is empty if the lists are not those of one triangular matrix: their sizes differ; a column in `rows`
    /// is not ascending or not below its row; `Mt` is not the transpose of `rows` with the same bits (any NaN equals
    /// any NaN); `perm` does not hold each position once. The pattern may be any one, for example that of an incomplete
    /// factor.
    ///
    /// Since the matrix is not known, `refactor` returns false, and `matrixNorm` is NaN. Linear in the number of
    /// entries. Strong guarantee.
    SINEW_API explicit CompactFactor(LLTMatrix const& factor);

    SINEW_API ~CompactFactor();
    SINEW_API CompactFactor(CompactFactor const& other);
    SINEW_API CompactFactor(CompactFactor&& other) noexcept;
    /// Strong guarantee: if an allocation fails, the factor is unchanged.
    SINEW_API CompactFactor& operator=(CompactFactor const& other);
    SINEW_API CompactFactor& operator=(CompactFactor&& other) noexcept;

    /// Number of rows of the matrix.
    SINEW_API int size() const;

    /// Whether the object holds the numbers of a factor. False if it is empty.
    SINEW_API bool hasNumbers() const;

    /// For each row its position in the elimination order. Empty if the object is empty.
    SINEW_API std::vector<int> const& perm() const;

    /// Number of entries of the factor, the diagonal included.
    SINEW_API std::int64_t entryCount() const;

    /// Number of bytes of the numbers and of the scratch arrays, which belong to this object alone.
    SINEW_API std::int64_t factorBytes() const;

    /// Number of bytes of the analysis, which a `SymbolicFactor` and copies of this object may share.
    SINEW_API std::int64_t analysisBytes() const;

    /// Replaces the numbers by those of another matrix of the same pattern, with the bits of `matrix.factor()`.
    ///
    /// Returns false and changes nothing if the pattern differs from the analysed one (`SymbolicFactor::matches`), or
    /// if there is no analysis. Returns false and leaves the object without numbers if a pivot is zero or negative: the
    /// place of the old numbers is used for the new ones. A NaN pivot is accepted.
    ///
    /// Allocates nothing, and therefore never throws.
    SINEW_API bool refactor(SPDMatrix const& matrix);

    /// The same with progress. See `Progress`: the value is empty if the host has cancelled, and then the object has
    /// the numbers that it had before. Otherwise the value and the object are as above; `hasNumbers` tells whether
    /// there are new numbers or none.
    ///
    /// Allocates the memory of the new numbers, beside that of the old ones. Strong guarantee.
    SINEW_API std::optional<bool> refactor(SPDMatrix const& matrix, Progress const& progress);

    /// Replaces `b` by the solution x of A x = b, with the bits of `LLTMatrix::solve`. Both vectors are in the caller's
    /// numbering. NaN and infinity propagate by the rules of IEEE arithmetic.
    ///
    /// Returns false and leaves `b` unchanged if its size is not `size()`, or if there are no numbers. The empty factor
    /// solves only an empty `b`, and returns true for it.
    ///
    /// Linear in the number of entries. Allocates scratch of at most twice the size of `b`; if that fails, `b` is
    /// unchanged (strong guarantee).
    SINEW_API bool solve(std::vector<double>& b) const;

    /// The same for an array of `count` doubles, which may be null if `count` is 0.
    SINEW_API bool solve(double* b, std::size_t count) const;

    /// Replaces each right-hand side by its solution, with the same bits as `solve`.
    ///
    /// Returns false and leaves all unchanged if one has the wrong size, or if there are no numbers. Returns true if
    /// there are no right-hand sides, also without numbers. Reads the factor once for every eight right-hand sides.
    /// Allocates scratch of at most nine times the size of one, before anything changes (strong guarantee).
    SINEW_API bool solveMany(std::vector<std::vector<double>>& rightHandSides) const;

    /// The same for the columns of an array: right-hand side k has its values from b + k * stride on, `size()` of them.
    ///
    /// @param stride  distance of the columns in doubles, at least `size()`; otherwise the result is false. The doubles
    ///                between the columns are not accessed.
    /// @param b       may be null if there are no columns, or if the size is 0
    SINEW_API bool solveMany(double* b, std::size_t columnCount, std::size_t stride) const;

    /// Both with progress. See `Progress`: the value is empty if the host has cancelled. The solutions are computed in
    /// memory of their own and copied at the end. The progress is reported before each group of eight.
    SINEW_API std::optional<bool> solveMany(std::vector<std::vector<double>>& rightHandSides,
                                            Progress const& progress) const;
    SINEW_API std::optional<bool> solveMany(double* b, std::size_t columnCount, std::size_t stride,
                                            Progress const& progress) const;

    /// The natural logarithm of the determinant of A: twice the logarithm of the product of the diagonal of L. Minus
    /// infinity if that product is 0. 0 for the empty factor; NaN without numbers, and if the diagonal has a NaN.
    ///
    /// The determinant itself would overflow for most large matrices. The product is taken in elimination order, with
    /// its power of two apart. The absolute error is at most about 2^-52 times the sum of `size()` and the magnitude of
    /// the result. Equal numbers give equal bits, whatever the math library. Linear in `size()`; allocates nothing.
    SINEW_API double logDeterminant() const;

    /// The 1-norm of A: the greatest sum of the magnitudes of a row. Computed when A is factored. NaN if A has a NaN in
    /// a row, if A is not known, and without numbers. 0 for the empty factor.
    SINEW_API double matrixNorm() const;

    /// An estimate of the 1-norm of the inverse of A: a lower bound, up to rounding, and rarely less than a third of
    /// it. Equal numbers give equal bits. NaN without numbers, and if a NaN occurs; 0 for the empty factor.
    ///
    /// Costs as much as at most 11 solutions. Allocates four vectors of `size()` doubles (strong guarantee).
    ///
    /// Source: W. W. Hager, Condition estimates, 1984, in the form of N. J. Higham, FORTRAN codes for estimating the
    /// one-norm of a real or complex matrix, ACM Transactions on Mathematical Software 14, 1988, algorithm 4.1.
    SINEW_API double inverseNormEstimate() const;

    /// An estimate of the condition number of A in the 1-norm: `matrixNorm() * inverseNormEstimate()`. Relative errors
    /// of the matrix and of a right-hand side can grow by about this factor in a solution. 0 for the empty factor.
    SINEW_API double conditionEstimate() const;

    /// Number of entries in a column of L, the diagonal included. There must be numbers, and `column` must be in
    /// [0, size()). Constant cost.
    SINEW_API int columnLength(int column) const;

    /// Copies the entries of a column of L to `rows` and `values`, `columnLength(column)` each: rows ascending, so that
    /// the diagonal is the first one. Rows and columns are positions in the elimination order. The preconditions are
    /// those of `columnLength`; neither pointer may be null. Allocates nothing.
    SINEW_API void copyColumn(int column, int* rows, double* values) const;

    /// The factor as lists, with the bits of `SPDMatrix::factor`. Empty without numbers. Linear in the number of
    /// entries. Strong guarantee.
    SINEW_API LLTMatrix toLLT() const;

private:
    // Not the functions themselves: friends are declared again, and some compilers then lose their import from a DLL.
    friend struct detail::CompactFactorAccess;

    struct State;
    std::unique_ptr<State> state_;
};

/// `CompactFactor(matrix)` with progress. See `Progress`. The ordering and the analysis count as the first 15
/// percent.
SINEW_API std::optional<CompactFactor> makeCompactFactor(SPDMatrix const& matrix, Progress const& progress);

/// `CompactFactor(symbolic, matrix)` with progress. See `Progress`.
SINEW_API std::optional<CompactFactor> makeCompactFactor(SymbolicFactor const& symbolic, SPDMatrix const& matrix,
                                                         Progress const& progress);

} // namespace sinew
