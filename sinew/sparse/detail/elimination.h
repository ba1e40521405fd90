#pragma once

/// What the pattern of a matrix alone determines: the permuted pattern, the elimination tree, and the rows and columns
/// of the factor.

#include <cassert>
#include <cstdint>
#include <vector>

#include <sinew/detail/as_index.h>
#include <sinew/sparse/detail/sparse_rows.h>

namespace sinew::detail {

/// The pattern of the permuted matrix below its diagonal. Row i has the columns column[begin(i)] to column[end(i) - 1],
/// in no particular order. A column that the host gave twice occurs twice.
struct LowerPattern
{
    std::vector<std::int64_t> start;
    std::vector<int> column;

    int size() const { return static_cast<int>(start.size()) - 1; }
    std::int64_t begin(int i) const { return start[asIndex(i)]; }
    std::int64_t end(int i) const { return start[asIndex(i) + 1]; }
};

/// @param rows  well-formed
/// @param perm  for each row its position in the elimination order
LowerPattern permutedPattern(SparseRows const& rows, std::vector<int> const& perm);

/// For each column of the factor the row of its first entry below the diagonal, or -1 if it has none.
///
/// Almost linear in the number of entries of the matrix.
/// Source: J. Liu, The role of elimination trees in sparse factorization, SIAM Journal on Matrix Analysis and
/// Applications 11, 1990, section 5.2.
std::vector<int> eliminationTree(LowerPattern const& pattern);

/// For each column of the factor the number of its entries below the diagonal.
///
/// Linear in the number of entries of the factor. The almost linear algorithm of J. Gilbert, E. Ng, B. Peyton (An
/// efficient algorithm to compute row and column counts for sparse Cholesky factorization, 1994) is not used, because
/// the numerical factorisation takes far longer than this.
std::vector<int> columnCounts(LowerPattern const& pattern, std::vector<int> const& parent);

/// Calls visit(k) once for every column k of row i of the factor, in no particular order.
///
/// @param lastRow  one int for each column, none of them i at the call. The visited columns and i itself are set to i.
///
/// The columns of row i are the nodes on the paths of the elimination tree from each entry of the matrix towards i.
/// Linear in the number of entries of both rows.
///
/// Source: J. Liu, as above, for rows as subtrees of the tree. T. Davis, Direct Methods for Sparse Linear Systems,
/// 2006, section 4.2, for their traversal.
template <typename Visit>
void forEachInFactorRow(LowerPattern const& pattern, std::vector<int> const& parent, int i, std::vector<int>& lastRow,
                        Visit visit)
{
    assert(lastRow[asIndex(i)] != i);
    lastRow[asIndex(i)] = i;
    for (std::int64_t e = pattern.begin(i); e < pattern.end(i); ++e) {
        for (int k = pattern.column[asIndex(e)]; lastRow[asIndex(k)] != i; k = parent[asIndex(k)]) {
            lastRow[asIndex(k)] = i;
            visit(k);
        }
    }
}

} // namespace sinew::detail
