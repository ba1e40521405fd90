#pragma once

/// Forward and back substitution with a factor, for several right-hand sides at once.
/// Source: T. Davis, Direct Methods for Sparse Linear Systems, 2006, section 3.1. There, the factor is stored by
/// columns. Here, its rows and the rows of its transpose are stored, so that each unknown is finished by one sum.

#include <cassert>
#include <cstddef>
#include <utility>
#include <vector>

#include <sinew/detail/as_index.h>
#include <sinew/detail/prefetch.h>

namespace sinew::detail {

using FactorList = std::vector<std::pair<int, double>>;

/// Fetches a list that will be read soon. The lists are separate allocations, so the processor cannot predict the
/// address of the next one.
inline void prefetchList(FactorList const& list)
{
    constexpr std::size_t kPairsPerLine = kCacheLine / sizeof(FactorList::value_type);
    for (std::size_t k = 0; k < list.size(); k += kPairsPerLine) prefetch(list.data() + k);
}

/// Replaces the `Count` values at `own` by (own - sum of v times the values of c, over the pairs (c, v) of the list)
/// / diagonal. Each product is subtracted separately, in the order of the list.
///
/// @param y  the values of all unknowns; unknown c has its `Count` values from y + c * Count on
template <std::size_t Count>
void substituteRow(FactorList const& list, double diagonal, double const* y, double* own)
{
    double sum[Count];
    for (std::size_t s = 0; s < Count; ++s) sum[s] = own[s];
    for (auto const& [c, v] : list) {
        double const* const other = y + asIndex(c) * Count;
        for (std::size_t s = 0; s < Count; ++s) sum[s] -= other[s] * v;
    }
    for (std::size_t s = 0; s < Count; ++s) own[s] = sum[s] / diagonal;
}

/// The fields of an `LLTMatrix`, so that this header need not know the public class. Nothing is owned.
struct FactorView
{
    std::vector<FactorList> const& rows;
    std::vector<FactorList> const& Mt;
    std::vector<double> const& diag;
    std::vector<int> const& perm;
};

/// Whether the fields agree in size with each other.
inline bool hasConsistentSizes(FactorView const& factor)
{
    std::size_t const n = factor.rows.size();
    return factor.Mt.size() == n && factor.diag.size() == n && factor.perm.size() == n;
}

/// Replaces `Count` right-hand sides by the solutions. Both are in the elimination order.
template <std::size_t Count>
void substitute(FactorView const& factor, double* y)
{
    assert(hasConsistentSizes(factor));
    // How many lists ahead the prefetch runs: far enough to hide the latency of the memory, and near enough for the
    // lists to be still in the first-level cache when they are read.
    constexpr std::size_t kAhead = 3;
    std::size_t const n = factor.rows.size();
    // These addresses are loaded before the loops, because compilers would load them again for each row.
    FactorList const* const rows = factor.rows.data();
    FactorList const* const columns = factor.Mt.data();
    double const* const diagonal = factor.diag.data();
    for (std::size_t i = 0; i < n; ++i) {
        if (i + kAhead < n) prefetchList(rows[i + kAhead]);
        substituteRow<Count>(rows[i], diagonal[i], y, y + i * Count);
    }
    for (std::size_t i = n; i-- > 0;) {
        if (i >= kAhead) prefetchList(columns[i - kAhead]);
        substituteRow<Count>(columns[i], diagonal[i], y, y + i * Count);
    }
}

} // namespace sinew::detail
