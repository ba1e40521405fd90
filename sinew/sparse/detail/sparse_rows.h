#pragma once

/// A host's rows, and the one check that stands between them and code that indexes without looking.

#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

namespace sinew::detail {

using SparseRows = std::vector<std::vector<std::pair<int, double>>>;

/// Whether every row ends with its diagonal, holds it once, and has no other column outside [0, row).
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
