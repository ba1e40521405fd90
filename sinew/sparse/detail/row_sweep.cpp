#include <sinew/sparse/detail/row_sweep.h>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <utility>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/detail/element_count.h>

namespace sinew::detail {

RowSweep::RowSweep(LowerPattern const& pattern, std::vector<int> const& parent, std::vector<int> const& counts)
{
    std::size_t const n = asIndex(pattern.size());
    columnStart_.assign(n + 1, 0);
    rowStart_.assign(n + 1, 0);
    for (std::size_t k = 0; k < n; ++k) columnStart_[k + 1] = columnStart_[k] + counts[k];
    rowOf_.resize(elementCount<double>(columnStart_[n]));
    columnOf_.resize(rowOf_.size());
    std::vector<std::int64_t> next(columnStart_.begin(), columnStart_.end() - 1);
    std::vector<int> lastRow(n, -1);
    for (std::size_t i = 0; i < n; ++i) {
        int const row = static_cast<int>(i);
        std::int64_t length = 0;
        forEachInFactorRow(pattern, parent, row, lastRow, [&](int k) {
            rowOf_[asIndex(next[asIndex(k)]++)] = row;
            ++length;
        });
        rowStart_[i + 1] = rowStart_[i] + length;
    }
    next.assign(rowStart_.begin(), rowStart_.end() - 1);
    for (std::size_t k = 0; k < n; ++k) { // the transpose of ascending lists is ascending
        for (std::int64_t e = columnStart_[k]; e < columnStart_[k + 1]; ++e) {
            columnOf_[asIndex(next[asIndex(rowOf_[asIndex(e)])]++)] = static_cast<int>(k);
        }
    }
}

std::int64_t RowSweep::locate(int row, int column) const
{
    int const* const first = rowOf_.data() + columnStart_[asIndex(column)];
    int const* const last = rowOf_.data() + columnStart_[asIndex(column) + 1];
    int const* const found = std::lower_bound(first, last, row);
    assert(found != last && *found == row);
    return found - rowOf_.data();
}

std::int64_t RowSweep::bytes() const
{
    return static_cast<std::int64_t>((columnStart_.size() + rowStart_.size()) * sizeof(std::int64_t) +
                                     (rowOf_.size() + columnOf_.size()) * sizeof(int));
}

struct RowSweep::Work
{
    std::vector<double> values; // by columns: entries of the matrix until their row is computed, then of the factor
    std::vector<std::int64_t> filled; // for each column the end of its computed entries
    std::vector<double> invDiag;
    std::vector<double> row; // the current row, by column
};

NumericResult RowSweep::factor(SparseRows const& rows, std::vector<int> const& perm, EntrySlots const& slots,
                               ProgressMeter* meter) const
{
    std::size_t const n = rows.size();
    assert(rowStart_.size() == n + 1 && perm.size() == n);
    NumericResult result;
    Work work;
    work.values.assign(rowOf_.size(), 0.0);
    work.filled.assign(columnStart_.begin(), columnStart_.end() - 1);
    work.invDiag.resize(n);
    work.row.resize(n);
    slots.load(rows, work.values.data());
    result.pivots.resize(n);
    for (std::size_t r = 0; r < n; ++r) result.pivots[asIndex(perm[r])] = rows[r].back().second;
    std::vector<double> diag(n);
    for (std::size_t i = 0; i < n; ++i) {
        if (meter) meter->reached(fractionOf(i, n));
        double const d = computeRow(i, result.pivots[i], work);
        result.pivots[i] = d;
        if (d <= 0) { // false for NaN, which is not rejected
            result.failedAt = static_cast<int>(i);
            result.pivots.resize(i + 1);
            return result;
        }
        diag[i] = std::sqrt(d);
        work.invDiag[i] = 1 / diag[i];
    }
    result.factor = makeResult(work.values, std::move(diag));
    return result;
}

// Computes row i of the factor, and returns its pivot.
// @param pivot  the diagonal entry of the matrix
double RowSweep::computeRow(std::size_t i, double pivot, Work& work) const
{
    int const* const rowOf = rowOf_.data();
    std::int64_t const* const columnStart = columnStart_.data();
    double* const values = work.values.data();
    double* const row = work.row.data();
    double const* const invDiag = work.invDiag.data();
    std::int64_t* const filled = work.filled.data();
    int const* const begin = columnOf_.data() + rowStart_[i];
    int const* const end = columnOf_.data() + rowStart_[i + 1];
    for (int const* k = begin; k != end; ++k) row[*k] = values[filled[*k]] * invDiag[*k];
    for (int const* k = begin; k != end; ++k) {
        double const l = row[*k];
        std::int64_t const next = filled[*k];
        for (std::int64_t e = columnStart[*k]; e < next; ++e) {
            int const r = rowOf[e];
            row[r] -= (values[e] * l) * invDiag[r];
        }
        pivot -= l * l;
        values[next] = l;
        filled[*k] = next + 1;
    }
    return pivot;
}

LLTMatrix RowSweep::makeResult(std::vector<double> const& values, std::vector<double> diag) const
{
    std::size_t const n = diag.size();
    LLTMatrix result;
    result.diag = std::move(diag);
    result.rows.resize(n);
    result.Mt.resize(n);
    for (std::size_t i = 0; i < n; ++i) { // each list is allocated once, at its exact size
        result.rows[i].reserve(asIndex(rowStart_[i + 1] - rowStart_[i]));
        result.Mt[i].reserve(asIndex(columnStart_[i + 1] - columnStart_[i]));
    }
    for (std::size_t k = 0; k < n; ++k) {
        for (std::size_t e = asIndex(columnStart_[k]); e < asIndex(columnStart_[k + 1]); ++e) {
            result.Mt[k].emplace_back(rowOf_[e], values[e]);
            result.rows[asIndex(rowOf_[e])].emplace_back(static_cast<int>(k), values[e]);
        }
    }
    return result;
}

} // namespace sinew::detail
