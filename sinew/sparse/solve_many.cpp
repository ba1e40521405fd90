#include <sinew/sparse/solve_many.h>

#include <algorithm>
#include <cstddef>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/detail/as_index.h>
#include <sinew/sparse/detail/substitution.h>

namespace sinew {

namespace {

// Numbers of right-hand sides that are solved together: 8 doubles are a cache line, 4 are half of one.
constexpr std::size_t kLargeGroup = 8;
constexpr std::size_t kSmallGroup = 4;

// Solves the first `Count` right-hand sides from `group` on. In y, the values of one unknown are consecutive.
template <std::size_t Count>
void solveGroup(LLTMatrix const& factor, std::vector<double>* group, std::vector<double>& y)
{
    std::size_t const n = factor.rows.size();
    for (std::size_t s = 0; s < Count; ++s) {
        for (std::size_t i = 0; i < n; ++i) y[detail::asIndex(factor.perm[i]) * Count + s] = group[s][i];
    }
    detail::substitute<Count>({factor.rows, factor.Mt, factor.diag, factor.perm}, y.data());
    for (std::size_t s = 0; s < Count; ++s) {
        for (std::size_t i = 0; i < n; ++i) group[s][i] = y[detail::asIndex(factor.perm[i]) * Count + s];
    }
}

bool solveAll(LLTMatrix const& factor, std::vector<std::vector<double>>& rightHandSides, detail::ProgressMeter* meter)
{
    std::size_t const n = factor.rows.size();
    auto const fits = [n](std::vector<double> const& b) { return b.size() == n; };
    if (!detail::hasConsistentSizes({factor.rows, factor.Mt, factor.diag, factor.perm})) return false;
    if (!std::all_of(rightHandSides.begin(), rightHandSides.end(), fits)) return false;

    std::size_t const count = rightHandSides.size();
    std::vector<double> y(n * std::min(count, kLargeGroup));
    std::vector<double>* const group = rightHandSides.data();
    std::size_t solved = 0;
    for (; solved + kLargeGroup <= count; solved += kLargeGroup) {
        if (meter) meter->reached(detail::fractionOf(solved, count));
        solveGroup<kLargeGroup>(factor, group + solved, y);
    }
    for (; solved + kSmallGroup <= count; solved += kSmallGroup) solveGroup<kSmallGroup>(factor, group + solved, y);
    for (; solved < count; ++solved) solveGroup<1>(factor, group + solved, y);
    return true;
}

} // namespace

bool solveMany(LLTMatrix const& factor, std::vector<std::vector<double>>& rightHandSides)
{
    return solveAll(factor, rightHandSides, nullptr);
}

std::optional<bool> solveMany(LLTMatrix const& factor, std::vector<std::vector<double>>& rightHandSides,
                              Progress const& progress)
{
    return detail::withProgress(progress, [&](detail::ProgressMeter& meter) {
        std::vector<std::vector<double>> solutions = rightHandSides;
        bool const isSolved = solveAll(factor, solutions, &meter);
        meter.finish();
        if (isSolved) {
            // Copied, not exchanged, because the host may hold pointers to its numbers.
            for (std::size_t k = 0; k < solutions.size(); ++k) {
                std::copy(solutions[k].begin(), solutions[k].end(), rightHandSides[k].begin());
            }
        }
        return isSolved;
    });
}

} // namespace sinew
