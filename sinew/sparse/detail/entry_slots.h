#pragma once

/// Where each entry of a host's matrix goes in the flat storage of its factor.

#include <cstdint>
#include <vector>

#include <sinew/sparse/detail/sparse_rows.h>

namespace sinew::detail {

/// For every off-diagonal pair of the host's rows, in their order, an index into a factor's values.
struct EntrySlots
{
    std::vector<std::int64_t> slot;
    bool hasRepeats = false; // some index occurs more than once: a pair is repeated within a row

    /// Writes the off-diagonal values to their places in `values`, which holds zeros. Of repeated pairs the greatest
    /// value stays, a later one among equals, NaN before any number.
    void load(SparseRows const& rows, double* values) const;
};

/// @param locate  locate(row, column) gives the index of an entry of the permuted lower triangle.
template <typename Locate>
EntrySlots makeSlots(SparseRows const& rows, std::vector<int> const& perm, Locate locate)
{
    EntrySlots result;
    std::size_t count = 0;
    for (auto const& row : rows) count += row.size() - 1;
    result.slot.reserve(count);
    std::vector<int> lastRow(rows.size(), -1);
    for (std::size_t r = 0; r < rows.size(); ++r) {
        for (std::size_t k = 0; k + 1 < rows[r].size(); ++k) {
            int const c = rows[r][k].first;
            if (lastRow[c] == static_cast<int>(r)) result.hasRepeats = true;
            lastRow[c] = static_cast<int>(r);
            int const a = perm[r];
            int const b = perm[c];
            result.slot.push_back(a > b ? locate(a, b) : locate(b, a));
        }
    }
    return result;
}

} // namespace sinew::detail
