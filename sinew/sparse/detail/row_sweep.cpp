#include <sinew/sparse/detail/row_sweep.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace sinew::detail {

RowSweep::RowSweep(LowerPattern const& pattern, std::vector<int> const& parent, std::vector<int> const& counts)
{
    int const n = pattern.size();
    columnStart_.assign(static_cast<std::size_t>(n) + 1, 0);
    rowStart_.assign(static_cast<std::size_t>(n) + 1, 0);
    for (int k = 0; k < n; ++k) columnStart_[k + 1] = columnStart_[k] + counts[k];
    rowOf_.resize(static_cast<std::size_t>(columnStart_[n]));
    columnOf_.resize(rowOf_.size());
    std::vector<std::int64_t> next(columnStart_.begin(), columnStart_.end() - 1);
    std::vector<int> mark(n, -1);
    for (int i = 0; i < n; ++i) {
        std::int64_t length = 0;
        forEachInFactorRow(pattern, parent, i, mark, [&](int k) {
            rowOf_[next[k]++] = i;
            ++length;
        });
        rowStart_[i + 1] = rowStart_[i] + length;
    }
    next.assign(rowStart_.begin(), rowStart_.end() - 1);
    for (int k = 0; k < n; ++k) { // the transpose of ascending lists is ascending
        for (std::int64_t e = columnStart_[k]; e < columnStart_[k + 1]; ++e) columnOf_[next[rowOf_[e]]++] = k;
    }
}

std::int64_t RowSweep::locate(int row, int column) const
{
    auto const first = rowOf_.begin() + columnStart_[column];
    auto const last = rowOf_.begin() + columnStart_[column + 1];
    return std::lower_bound(first, last, row) - rowOf_.begin();
}

std::int64_t RowSweep::bytes() const
{
    return static_cast<std::int64_t>((columnStart_.size() + rowStart_.size()) * sizeof(std::int64_t) +
                                     (rowOf_.size() + columnOf_.size()) * sizeof(int));
}

NumericResult RowSweep::factor(SparseRows const& rows, std::vector<int> const& perm, EntrySlots const& slots) const
{
    std::size_t const n = rows.size();
    NumericResult result;
    std::vector<double> values(rowOf_.size(), 0.0); // by columns; the matrix itself until a row's turn has come
    slots.load(rows, values.data());
    result.pivots.resize(n);
    for (std::size_t r = 0; r < n; ++r) result.pivots[perm[r]] = rows[r].back().second;
    std::vector<double> diag(n), invDiag(n);
    std::vector<double> row(n); // the row in the making, by column
    std::vector<std::int64_t> filled(columnStart_.begin(), columnStart_.end() - 1);
    for (std::size_t i = 0; i < n; ++i) {
        int const* const begin = columnOf_.data() + rowStart_[i];
        int const* const end = columnOf_.data() + rowStart_[i + 1];
        for (int const* k = begin; k != end; ++k) row[*k] = values[filled[*k]] * invDiag[*k];
        double d = result.pivots[i];
        for (int const* k = begin; k != end; ++k) {
            double const l = row[*k];
            for (std::int64_t e = columnStart_[*k]; e < filled[*k]; ++e) {
                int const r = rowOf_[e];
                row[r] -= (values[e] * l) * invDiag[r];
            }
            d -= l * l;
            values[filled[*k]++] = l;
        }
        result.pivots[i] = d;
        if (d <= 0) { // false for NaN, which is let through
            result.failedAt = static_cast<int>(i);
            result.pivots.resize(i + 1);
            return result;
        }
        diag[i] = std::sqrt(d);
        invDiag[i] = 1 / diag[i];
    }
    result.factor = makeResult(values, std::move(diag));
    return result;
}

LLTMatrix RowSweep::makeResult(std::vector<double> const& values, std::vector<double> diag) const
{
    std::size_t const n = diag.size();
    LLTMatrix result;
    result.diag = std::move(diag);
    result.rows.resize(n);
    result.Mt.resize(n);
    for (std::size_t i = 0; i < n; ++i) {
        result.rows[i].reserve(static_cast<std::size_t>(rowStart_[i + 1] - rowStart_[i]));
        result.Mt[i].reserve(static_cast<std::size_t>(columnStart_[i + 1] - columnStart_[i]));
    }
    for (std::size_t k = 0; k < n; ++k) {
        for (std::int64_t e = columnStart_[k]; e < columnStart_[k + 1]; ++e) {
            result.Mt[k].emplace_back(rowOf_[e], values[e]);
            result.rows[rowOf_[e]].emplace_back(static_cast<int>(k), values[e]);
        }
    }
    return result;
}

} // namespace sinew::detail
