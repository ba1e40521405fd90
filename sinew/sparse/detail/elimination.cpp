#include <sinew/sparse/detail/elimination.h>

#include <algorithm>
#include <cstddef>

#include <sinew/detail/element_count.h>

namespace sinew::detail {

LowerPattern permutedPattern(SparseRows const& rows, std::vector<int> const& perm)
{
    assert(perm.size() == rows.size());
    auto const forEachEntry = [&](auto visit) {
        for (std::size_t r = 0; r < rows.size(); ++r) {
            for (std::size_t k = 0; k + 1 < rows[r].size(); ++k) {
                int const a = perm[r];
                int const b = perm[asIndex(rows[r][k].first)];
                visit(asIndex(std::max(a, b)), std::min(a, b));
            }
        }
    };
    LowerPattern pattern;
    pattern.start.assign(rows.size() + 1, 0);
    forEachEntry([&](std::size_t row, int) { ++pattern.start[row + 1]; });
    for (std::size_t i = 0; i < rows.size(); ++i) pattern.start[i + 1] += pattern.start[i];
    pattern.column.resize(elementCount<int>(pattern.start.back()));
    std::vector<std::int64_t> next(pattern.start.begin(), pattern.start.end() - 1);
    forEachEntry([&](std::size_t row, int column) { pattern.column[asIndex(next[row]++)] = column; });
    return pattern;
}

std::vector<int> eliminationTree(LowerPattern const& pattern)
{
    int const n = pattern.size();
    std::vector<int> parent(asIndex(n), -1);
    std::vector<int> ancestor(asIndex(n), -1); // of each column, with the paths shortened that were followed before
    for (int i = 0; i < n; ++i) {
        for (std::int64_t e = pattern.begin(i); e < pattern.end(i); ++e) {
            int k = pattern.column[asIndex(e)];
            while (k != i) {
                int const next = ancestor[asIndex(k)];
                ancestor[asIndex(k)] = i;
                if (next < 0) {
                    parent[asIndex(k)] = i;
                    break;
                }
                k = next;
            }
        }
    }
    return parent;
}

std::vector<int> columnCounts(LowerPattern const& pattern, std::vector<int> const& parent)
{
    int const n = pattern.size();
    std::vector<int> counts(asIndex(n), 0);
    std::vector<int> lastRow(asIndex(n), -1);
    for (int i = 0; i < n; ++i) {
        forEachInFactorRow(pattern, parent, i, lastRow, [&](int k) { ++counts[asIndex(k)]; });
    }
    return counts;
}

} // namespace sinew::detail
