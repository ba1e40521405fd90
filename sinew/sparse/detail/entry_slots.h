#pragma once

/// The place of each entry of a host's matrix in the values of its factor.

#include <cstddef>
#include <cstdint>
#include <vector>

#include <sinew/detail/as_index.h>
#include <sinew/sparse/detail/sparse_rows.h>

namespace sinew::detail {

/// For every off-diagonal pair of the host's rows, in the order of the rows, an index into the values of a factor.
struct EntrySlots
{
    std::vector<std::int64_t> slot;
    bool hasRepeats = false; ///< Whether some index occurs more than once, because a row repeats a column.

    /// Writes the off-diagonal values of `rows` to their slots in `values`. `rows` must have the pattern of the slots.
    ///
    /// Of repeated pairs the greatest value remains. NaN counts as greater than any number; among equal values, such as
    /// zeros of either sign, the last one remains.
    void load(SparseRows const& rows, double* values) const;
};

/// @param rows    well-formed
/// @param perm    for each row its position in the elimination order
/// @param locate  locate(row, column) returns the index of an entry of the permuted lower triangle.
template <typename Locate>
EntrySlots makeSlots(SparseRows const& rows, std::vector<int> const& perm, Locate locate)
{
    EntrySlots result;
    result.slot.reserve(offDiagonalCount(rows));
    std::vector<int> lastRow(rows.size(), -1); // of each column
    for (std::size_t r = 0; r < rows.size(); ++r) {
        int const row = static_cast<int>(r);
        for (std::size_t k = 0; k + 1 < rows[r].size(); ++k) {
            std::size_t const column = asIndex(rows[r][k].first);
            if (lastRow[column] == row) result.hasRepeats = true;
            lastRow[column] = row;
            int const a = perm[r];
            int const b = perm[column];
            result.slot.push_back(a > b ? locate(a, b) : locate(b, a));
        }
    }
    return result;
}

} // namespace sinew::detail
