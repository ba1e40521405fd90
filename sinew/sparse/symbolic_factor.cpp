#include <sinew/sparse/symbolic_factor.h>

#include <cstddef>
#include <utility>

#include <sinew/detail/as_index.h>
#include <sinew/sparse/detail/factorization.h>

namespace sinew {

struct SymbolicFactor::Analysis
{
    std::vector<std::vector<int>> columns; // of each row of the matrix, in its order
    std::int64_t offDiagonalCount;         // number of off-diagonal entries, repeated ones counted once
    detail::Factorization factorization;
};

namespace {

std::vector<std::vector<int>> columnsOf(SPDMatrix const& matrix)
{
    std::vector<std::vector<int>> result(matrix.rows.size());
    for (std::size_t i = 0; i < result.size(); ++i) {
        result[i].reserve(matrix.rows[i].size());
        for (auto const& [c, v] : matrix.rows[i]) result[i].push_back(c);
    }
    return result;
}

std::int64_t countOffDiagonals(SPDMatrix const& matrix)
{
    std::int64_t count = 0;
    std::vector<std::size_t> lastRow(matrix.rows.size(), matrix.rows.size());
    for (std::size_t i = 0; i < matrix.rows.size(); ++i) {
        for (std::size_t k = 0; k + 1 < matrix.rows[i].size(); ++k) {
            std::size_t const column = detail::asIndex(matrix.rows[i][k].first);
            if (lastRow[column] != i) ++count;
            lastRow[column] = i;
        }
    }
    return count;
}

} // namespace

SymbolicFactor::SymbolicFactor(SPDMatrix const& pattern)
{
    std::vector<int> perm = pattern.computePerm();
    if (perm.empty()) return;
    analysis_ = std::make_unique<Analysis const>(
        Analysis{columnsOf(pattern), countOffDiagonals(pattern), detail::Factorization(pattern.rows, std::move(perm))});
}

SymbolicFactor::~SymbolicFactor() = default;
SymbolicFactor::SymbolicFactor(SymbolicFactor&&) noexcept = default;
SymbolicFactor& SymbolicFactor::operator=(SymbolicFactor&&) noexcept = default;

int SymbolicFactor::size() const
{
    return static_cast<int>(perm().size());
}

std::vector<int> const& SymbolicFactor::perm() const
{
    static std::vector<int> const none;
    return analysis_ ? analysis_->factorization.perm() : none;
}

std::int64_t SymbolicFactor::entryCount() const
{
    return analysis_ ? analysis_->factorization.entryCount() + size() : 0;
}

std::int64_t SymbolicFactor::fillCount() const
{
    return analysis_ ? analysis_->factorization.entryCount() - analysis_->offDiagonalCount : 0;
}

std::int64_t SymbolicFactor::flopCount() const
{
    if (!analysis_) return 0;
    std::int64_t const below = analysis_->factorization.entryCount();
    std::int64_t const pivotUpdates = below; // the square of each entry below the diagonal
    std::int64_t const entryUpdates = analysis_->factorization.updateCount() - pivotUpdates;
    std::int64_t const pivots = size();
    return 3 * entryUpdates + 2 * pivotUpdates + below + 2 * pivots;
}

std::int64_t SymbolicFactor::factorBytes() const
{
    if (!analysis_) return 0;
    auto const pairBytes = static_cast<std::int64_t>(sizeof(std::pair<int, double>));
    auto const rowBytes =
        static_cast<std::int64_t>(2 * sizeof(detail::SparseRows::value_type) + sizeof(double) + sizeof(int));
    return 2 * analysis_->factorization.entryCount() * pairBytes + size() * rowBytes; // each entry is in rows and in Mt
}

std::int64_t SymbolicFactor::workBytes() const
{
    if (!analysis_) return 0;
    std::int64_t columnBytes = 0;
    for (auto const& row : analysis_->columns) {
        columnBytes += static_cast<std::int64_t>(sizeof(std::vector<int>) + row.size() * sizeof(int));
    }
    return columnBytes + analysis_->factorization.bytes() + analysis_->factorization.workBytes();
}

bool SymbolicFactor::matches(SPDMatrix const& matrix) const
{
    if (matrix.rows.size() != detail::asIndex(size())) return false;
    for (std::size_t i = 0; i < matrix.rows.size(); ++i) {
        std::vector<int> const& columns = analysis_->columns[i];
        auto const& row = matrix.rows[i];
        if (row.size() != columns.size()) return false;
        for (std::size_t k = 0; k < row.size(); ++k) {
            if (row[k].first != columns[k]) return false;
        }
    }
    return true;
}

LLTMatrix SymbolicFactor::factor(SPDMatrix const& matrix) const
{
    if (!analysis_ || !matches(matrix)) return {};
    detail::NumericResult result = analysis_->factorization.factor(matrix.rows);
    return result.failedAt < 0 ? std::move(result.factor) : LLTMatrix();
}

} // namespace sinew
