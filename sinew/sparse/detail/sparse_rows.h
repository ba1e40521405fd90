#pragma once

/// The rows of a host's matrix and the check of their form. All code after this check uses the indices in the rows
/// without further checks.

#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

namespace sinew::detail {

using SparseRows = std::vector<std::vector<std::pair<int, double>>>;

/// The number of pairs in well-formed rows, the diagonals not included.
inline std::size_t offDiagonalCount(SparseRows const& rows)
{
    std::size_t count = 0;
    for (auto const& row : rows) count += row.size() - 1;
    return count;
}

/// Whether the number of rows fits an int, and every row ends with its diagonal, holds it once, and has no other column
/// outside [0, row). Linear in the number of pairs.
inline bool isWellFormed(SparseRows const& rows)
{
    if (rows.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) return false;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        int const diagonal = static_cast<int>(i);
        if (rows[i].empty() || rows[i].back().first != diagonal) return false;
        for (std::size_t k = 0; k + 1 < rows[i].size(); ++k) {
            int const column = rows[i][k].first;
            if (column < 0 || column >= diagonal) return false;
        }
    }
    return true;
}

} // namespace sinew::detail
