#pragma once

/// Inversion of a square matrix of doubles by Gauss-Jordan elimination, in place and in blocks of sixteen pivots.
///
/// The result is bit for bit the inverse that `sinew::detail::inverseByElimination` computes, several times faster.

#include <cassert>
#include <cstddef>
#include <vector>

#include <sinew/detail/as_index.h>
#include <sinew/detail/dispatch.h>

namespace sinew::detail {

class ProgressMeter;

/// Sixteen consecutive columns of one row of a matrix.
struct alignas(64) RowPiece
{
    static constexpr int kColumns = 16;
    double x[kColumns] = {};
};

/// A square matrix of n rows that can be replaced by its inverse: fill it through `operator()`, call `invert` once and
/// read the inverse with `copyRow`.
///
/// Memory: 8 n^2 bytes, where the number of columns is rounded up to a multiple of sixteen. `invert` needs about 150 n
/// bytes more while it runs.
class GaussJordan
{
public:
    enum class Outcome
    {
        inverted,
        zeroPivot, ///< A pivot was exactly zero. `zeroPivotColumn` returns its column.
        notFinite  ///< A factor of the elimination was NaN or infinite.
    };

    /// The zero matrix of n >= 0 rows.
    explicit GaussJordan(int n);

    /// The entry in row i and column j, counted from 0. Only for filling the matrix: `invert` changes the order in
    /// which the columns are stored.
    double& operator()(int i, int j)
    {
        assert(asIndex(i) < rows_ && asIndex(j) < rows_);
        return piece(j / RowPiece::kColumns, i).x[j % RowPiece::kColumns];
    }

    /// Replaces the matrix by its inverse, with the kernel for `width`, which must not exceed `widestVectors()`.
    ///
    /// After another outcome than `inverted` the entries have no meaning. The defined result is then the partly reduced
    /// matrix, which `inverseByElimination` computes from the original one. About 2 n^3 operations.
    /// @param meter  receives the progress; may be null
    Outcome invert(VectorWidth width = widestVectors(), ProgressMeter* meter = nullptr);

    /// The column of the zero pivot, counted from 0; -1 if there was none.
    int zeroPivotColumn() const { return zeroPivotColumn_; }

    /// Writes row i of the inverse to the n doubles at `row`.
    void copyRow(int i, double* row) const;

private:
    RowPiece& piece(int tile, int i) { return pieces_[asIndex(tile) * rows_ + asIndex(i)]; }
    RowPiece const& piece(int tile, int i) const { return pieces_[asIndex(tile) * rows_ + asIndex(i)]; }

    std::size_t rows_;
    std::vector<RowPiece> pieces_;    // tile by tile of sixteen columns, row by row in each tile
    std::vector<int> inverseColumns_; // for each stored column, the column of the inverse that it becomes
    int zeroPivotColumn_ = -1;
};

} // namespace sinew::detail
