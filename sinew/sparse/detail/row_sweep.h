#pragma once

/// The numerical factorisation row by row (up-looking), the faster method for small matrices: it needs no plan, and all
/// its data is in the cache.

#include <cstdint>
#include <vector>

#include <sinew/sparse/detail/elimination.h>
#include <sinew/sparse/detail/entry_slots.h>
#include <sinew/sparse/detail/numeric.h>
#include <sinew/sparse/detail/sparse_rows.h>

namespace sinew::detail {

class ProgressMeter;

/// Computes the factor row by row. It holds the pattern of the whole factor, by columns and by rows, both ascending.
///
/// Source: T. Davis, Direct Methods for Sparse Linear Systems, 2006, section 4.7. There, the triangular system of a row
/// divides by the diagonal, and the pattern of each row is found in turn. Here, entries are multiplied by reciprocals
/// in the order that `SPDMatrix::factor` defines, and the pattern is computed in advance.
class RowSweep
{
public:
    /// @param parent  the elimination tree of `pattern`
    /// @param counts  the column counts of `pattern`
    RowSweep(LowerPattern const& pattern, std::vector<int> const& parent, std::vector<int> const& counts);

    /// Index in the values of an entry that the factor has. Logarithmic in the number of entries of its column.
    std::int64_t locate(int row, int column) const;

    /// Number of bytes in the lists.
    std::int64_t bytes() const;

    /// @param rows  well-formed, of the pattern that this object and the slots were made for
    /// @param meter  receives the progress; may be null
    NumericResult factor(SparseRows const& rows, std::vector<int> const& perm, EntrySlots const& slots,
                         ProgressMeter* meter = nullptr) const;

private:
    struct Work;

    double computeRow(std::size_t i, double pivot, Work& work) const;
    LLTMatrix makeResult(std::vector<double> const& values, std::vector<double> diag) const;

    std::vector<std::int64_t> columnStart_, rowStart_;
    std::vector<int> rowOf_;    // of all entries, by columns
    std::vector<int> columnOf_; // of all entries, by rows
};

} // namespace sinew::detail
