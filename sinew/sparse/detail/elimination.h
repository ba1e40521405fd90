#pragma once

/// What the pattern alone tells about a factor: the permuted matrix, the elimination tree, the sizes of the columns.

#include <cstdint>
#include <vector>

#include <sinew/sparse/detail/sparse_rows.h>

namespace sinew::detail {

/// The permuted matrix strictly below its diagonal: row i has the columns column[start[i]] to column[start[i + 1] - 1],
/// in no particular order; a column that the host gave twice is there twice.
struct LowerPattern
{
    std::vector<std::int64_t> start;
    std::vector<int> column;

    int size() const { return static_cast<int>(start.size()) - 1; }
};

LowerPattern permutedPattern(SparseRows const& rows, std::vector<int> const& perm);

/// For each column of the factor the row of its first entry below the diagonal, or -1.
///
/// Source: J. Liu, The role of elimination trees in sparse factorization, 1990, section 5.2.
std::vector<int> eliminationTree(LowerPattern const& pattern);

/// For each column of the factor the number of its entries below the diagonal. Takes time in proportion to all of them.
std::vector<int> columnCounts(LowerPattern const& pattern, std::vector<int> const& parent);

/// Calls visit(k) for every column k of row i of the factor, in no particular order.
///
/// @param mark  one int per row, none of them i at the call; the visited columns and i itself are set to i.
///
/// The columns of row i are found by climbing the tree from each entry of the matrix until a visited column.
template <typename Visit>
void forEachInFactorRow(LowerPattern const& pattern, std::vector<int> const& parent, int i, std::vector<int>& mark,
                        Visit visit)
{
    mark[i] = i;
    for (std::int64_t e = pattern.start[i]; e < pattern.start[i + 1]; ++e) {
        for (int k = pattern.column[e]; mark[k] != i; k = parent[k]) {
            mark[k] = i;
            visit(k);
        }
    }
}

} // namespace sinew::detail
