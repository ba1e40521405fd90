#include <sinew/sparse/llt_matrix.h>

#include <cstddef>
#include <utility>

#include <sinew/detail/as_index.h>
#include <sinew/sparse/detail/substitution.h>

using sinew::detail::asIndex;

void LLTMatrix::initMt()
{
    // The entries are counted first, so that every list is allocated once, at its exact size.
    std::vector<std::size_t> counts(rows.size(), 0);
    for (auto const& row : rows) {
        for (auto const& [c, v] : row) ++counts[asIndex(c)];
    }
    // A list that is not complete must never be seen, because `solve` could not tell.
    std::vector<std::vector<std::pair<int, double>>> transpose(rows.size());
    for (std::size_t c = 0; c < rows.size(); ++c) transpose[c].reserve(counts[c]);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        for (auto const& [c, v] : rows[i]) transpose[asIndex(c)].push_back({static_cast<int>(i), v});
    }
    Mt = std::move(transpose);
}

bool LLTMatrix::solve(std::vector<double>& b) const
{
    std::size_t const n = rows.size();
    sinew::detail::FactorView const factor = {rows, Mt, diag, perm};
    if (b.size() != n || !sinew::detail::hasConsistentSizes(factor)) return false;
    std::vector<double> y(n);
    for (std::size_t i = 0; i < n; ++i) y[asIndex(perm[i])] = b[i];
    sinew::detail::substitute<1>(factor, y.data());
    for (std::size_t i = 0; i < n; ++i) b[i] = y[asIndex(perm[i])];
    return true;
}
