#pragma once

/// The factorisation row by row, the quicker one for small matrices: no panels to set up, everything in cache.

#include <cstdint>
#include <vector>

#include <sinew/sparse/detail/elimination.h>
#include <sinew/sparse/detail/entry_slots.h>
#include <sinew/sparse/detail/numeric.h>
#include <sinew/sparse/detail/sparse_rows.h>

namespace sinew::detail {

/// The pattern of the factor in full, by columns and by rows, both ascending.
class RowSweep
{
public:
    RowSweep(LowerPattern const& pattern, std::vector<int> const& parent, std::vector<int> const& counts);

    /// Index of the entry in the values.
    std::int64_t locate(int row, int column) const;

    std::int64_t bytes() const;

    NumericResult factor(SparseRows const& rows, std::vector<int> const& perm, EntrySlots const& slots) const;

private:
    LLTMatrix makeResult(std::vector<double> const& values, std::vector<double> diag) const;

    std::vector<std::int64_t> columnStart_, rowStart_;
    std::vector<int> rowOf_;    // by columns
    std::vector<int> columnOf_; // by rows
};

} // namespace sinew::detail
