#pragma once

/// The analysis of a pattern, which `SymbolicFactor` and `CompactFactor` share.

#include <cstdint>
#include <utility>
#include <vector>

#include <sinew/sparse/detail/factorization.h>
#include <sinew/sparse/detail/sparse_rows.h>

namespace sinew::detail {

/// A pattern of a host's matrix, and everything about its factor that the pattern determines.
struct PatternAnalysis
{
    std::vector<std::vector<int>> columns; ///< Of each row of the matrix, in its order.
    std::int64_t offDiagonalCount;         ///< Number of off-diagonal entries, repeated ones counted once.
    Factorization factorization;

    /// @param rows  well-formed
    /// @param perm  for each row its position in the elimination order
    /// @param meter  receives the progress; may be null
    PatternAnalysis(SparseRows const& rows, std::vector<int> perm, FactorMethod method = FactorMethod::automatic,
                    ProgressMeter* meter = nullptr);

    /// Whether `rows` have the columns of this pattern, in the same order.
    bool matches(SparseRows const& rows) const;

    /// Number of bytes in the lists.
    std::int64_t bytes() const;

    /// Rows of this pattern whose values are zero.
    SparseRows rowsWithoutValues() const;
};

} // namespace sinew::detail
