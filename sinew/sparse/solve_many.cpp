#include <sinew/sparse/solve_many.h>

#include <algorithm>
#include <cstddef>

#include <sinew/sparse/detail/substitution.h>

namespace sinew {

namespace {

template <int Count>
void solveGroup(LLTMatrix const& factor, std::vector<double>* group, std::vector<double>& y)
{
    std::size_t const n = factor.rows.size();
    for (int s = 0; s < Count; ++s) {
        for (std::size_t i = 0; i < n; ++i) y[static_cast<std::size_t>(factor.perm[i]) * Count + s] = group[s][i];
    }
    detail::substitute<Count>(factor, y.data());
    for (int s = 0; s < Count; ++s) {
        for (std::size_t i = 0; i < n; ++i) group[s][i] = y[static_cast<std::size_t>(factor.perm[i]) * Count + s];
    }
}

} // namespace

bool solveMany(LLTMatrix const& factor, std::vector<std::vector<double>>& rightHandSides)
{
    std::size_t const n = factor.rows.size();
    auto const fits = [n](std::vector<double> const& b) { return b.size() == n; };
    if (!detail::hasConsistentSizes(factor)) return false;
    if (!std::all_of(rightHandSides.begin(), rightHandSides.end(), fits)) return false;

    std::vector<double> y(n * std::min<std::size_t>(rightHandSides.size(), 8));
    std::vector<double>* next = rightHandSides.data();
    std::vector<double>* const end = next + rightHandSides.size();
    for (; end - next >= 8; next += 8) solveGroup<8>(factor, next, y);
    for (; end - next >= 4; next += 4) solveGroup<4>(factor, next, y);
    for (; next != end; ++next) solveGroup<1>(factor, next, y);
    return true;
}

} // namespace sinew
