#include <sinew/sparse/detail/elimination.h>

#include <algorithm>
#include <cstddef>

namespace sinew::detail {

LowerPattern permutedPattern(SparseRows const& rows, std::vector<int> const& perm)
{
    auto const forEachEntry = [&](auto visit) {
        for (std::size_t r = 0; r < rows.size(); ++r) {
            for (std::size_t k = 0; k + 1 < rows[r].size(); ++k) {
                int const a = perm[r];
                int const b = perm[rows[r][k].first];
                visit(std::max(a, b), std::min(a, b));
            }
        }
    };
    LowerPattern pattern;
    pattern.start.assign(rows.size() + 1, 0);
    forEachEntry([&](int row, int) { ++pattern.start[row + 1]; });
    for (std::size_t i = 0; i < rows.size(); ++i) pattern.start[i + 1] += pattern.start[i];
    pattern.column.resize(static_cast<std::size_t>(pattern.start.back()));
    std::vector<std::int64_t> next(pattern.start.begin(), pattern.start.end() - 1);
    forEachEntry([&](int row, int column) { pattern.column[next[row]++] = column; });
    return pattern;
}

std::vector<int> eliminationTree(LowerPattern const& pattern)
{
    int const n = pattern.size();
    std::vector<int> parent(n, -1);
    std::vector<int> ancestor(n, -1); // the tree so far with its paths shortened
    for (int i = 0; i < n; ++i) {
        for (std::int64_t e = pattern.start[i]; e < pattern.start[i + 1]; ++e) {
            int k = pattern.column[e];
            while (k != i) {
                int const up = ancestor[k];
                ancestor[k] = i;
                if (up < 0) {
                    parent[k] = i;
                    break;
                }
                k = up;
            }
        }
    }
    return parent;
}

std::vector<int> columnCounts(LowerPattern const& pattern, std::vector<int> const& parent)
{
    int const n = pattern.size();
    std::vector<int> counts(n, 0);
    std::vector<int> mark(n, -1);
    for (int i = 0; i < n; ++i) forEachInFactorRow(pattern, parent, i, mark, [&](int k) { ++counts[k]; });
    return counts;
}

} // namespace sinew::detail
