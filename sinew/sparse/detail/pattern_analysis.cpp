#include <sinew/sparse/detail/pattern_analysis.h>

#include <cstddef>

#include <sinew/detail/as_index.h>

namespace sinew::detail {

namespace {

std::vector<std::vector<int>> columnsOf(SparseRows const& rows)
{
    std::vector<std::vector<int>> result(rows.size());
    for (std::size_t i = 0; i < result.size(); ++i) {
        result[i].reserve(rows[i].size());
        for (auto const& [c, v] : rows[i]) result[i].push_back(c);
    }
    return result;
}

std::int64_t countOffDiagonals(SparseRows const& rows)
{
    std::int64_t count = 0;
    std::vector<std::size_t> lastRow(rows.size(), rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        for (std::size_t k = 0; k + 1 < rows[i].size(); ++k) {
            std::size_t const column = asIndex(rows[i][k].first);
            if (lastRow[column] != i) ++count;
            lastRow[column] = i;
        }
    }
    return count;
}

} // namespace

PatternAnalysis::PatternAnalysis(SparseRows const& rows, std::vector<int> perm, FactorMethod method,
                                 ProgressMeter* meter)
    : columns(columnsOf(rows)), offDiagonalCount(countOffDiagonals(rows)),
      factorization(rows, std::move(perm), method, meter)
{
}

bool PatternAnalysis::matches(SparseRows const& rows) const
{
    if (rows.size() != columns.size()) return false;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (rows[i].size() != columns[i].size()) return false;
        for (std::size_t k = 0; k < rows[i].size(); ++k) {
            if (rows[i][k].first != columns[i][k]) return false;
        }
    }
    return true;
}

std::int64_t PatternAnalysis::bytes() const
{
    std::int64_t columnBytes = 0;
    for (auto const& row : columns) {
        columnBytes += static_cast<std::int64_t>(sizeof(std::vector<int>) + row.size() * sizeof(int));
    }
    return columnBytes + factorization.bytes();
}

SparseRows PatternAnalysis::rowsWithoutValues() const
{
    SparseRows result(columns.size());
    for (std::size_t i = 0; i < columns.size(); ++i) {
        result[i].reserve(columns[i].size());
        for (int c : columns[i]) result[i].emplace_back(c, 0.0);
    }
    return result;
}

} // namespace sinew::detail
