#pragma once

/// Forward and back substitution with a factor, for several right-hand sides at a time.

#include <cstddef>
#include <utility>
#include <vector>

#include <sinew/sparse/llt_matrix.h>

namespace sinew::detail {

using FactorList = std::vector<std::pair<int, double>>;

/// Asks for the memory of a list ahead of its turn: the lists lie apart, and the processor cannot guess the next one.
inline void prefetch(FactorList const& list)
{
#if defined(__GNUC__)
    constexpr std::size_t kPerCacheLine = 4;
    for (std::size_t k = 0; k < list.size(); k += kPerCacheLine) __builtin_prefetch(list.data() + k);
#else
    (void)list;
#endif
}

/// y_i = (y_i - sum over the list of y_c * v) / diagonal, each product subtracted by itself in the order of the list.
/// Vector c holds its Count right-hand sides at y + c * Count.
template <int Count>
void substituteRow(FactorList const& list, double diagonal, double* y, double* own)
{
    double sum[Count];
    for (int s = 0; s < Count; ++s) sum[s] = own[s];
    for (auto const& [c, v] : list) {
        double const* const other = y + static_cast<std::ptrdiff_t>(c) * Count;
        for (int s = 0; s < Count; ++s) sum[s] -= other[s] * v;
    }
    for (int s = 0; s < Count; ++s) own[s] = sum[s] / diagonal;
}

/// Replaces Count right-hand sides, in the elimination order, by the solutions.
template <int Count>
void substitute(LLTMatrix const& factor, double* y)
{
    constexpr std::size_t kAhead = 3;
    std::size_t const n = factor.rows.size();
    for (std::size_t i = 0; i < n; ++i) {
        if (i + kAhead < n) prefetch(factor.rows[i + kAhead]);
        substituteRow<Count>(factor.rows[i], factor.diag[i], y, y + i * Count);
    }
    for (std::size_t i = n; i-- > 0;) {
        if (i >= kAhead) prefetch(factor.Mt[i - kAhead]);
        substituteRow<Count>(factor.Mt[i], factor.diag[i], y, y + i * Count);
    }
}

/// Whether the fields agree in size with each other.
inline bool hasConsistentSizes(LLTMatrix const& factor)
{
    std::size_t const n = factor.rows.size();
    return factor.Mt.size() == n && factor.diag.size() == n && factor.perm.size() == n;
}

} // namespace sinew::detail
