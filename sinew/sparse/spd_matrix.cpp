#include <sinew/sparse/spd_matrix.h>

#include <algorithm>
#include <cmath>

#include <sinew/sparse/detail/graph.h>
#include <sinew/sparse/detail/minimum_degree.h>
#include <sinew/sparse/detail/well_formed.h>

namespace {

using Row = std::vector<std::pair<int, double>>;

// Column, then value; NaN above every number, so that the order is total and the last of equal columns is the greatest.
bool entryBelow(std::pair<int, double> const& a, std::pair<int, double> const& b)
{
    if (a.first != b.first) return a.first < b.first;
    return a.second < b.second || (a.second == a.second && b.second != b.second);
}

std::vector<Row> permutedLower(std::vector<Row> const& rows, std::vector<int> const& perm)
{
    std::vector<Row> lower(rows.size());
    for (std::size_t r = 0; r < rows.size(); ++r) {
        for (auto const& [c, v] : rows[r]) {
            auto const [low, high] = std::minmax(perm[r], perm[c]);
            lower[high].push_back({low, v});
        }
    }
    for (Row& row : lower) std::stable_sort(row.begin(), row.end(), entryBelow);
    return lower;
}

} // namespace

std::vector<int> SPDMatrix::computePerm() const
{
    if (!sinew::detail::isWellFormed(rows)) return {};
    int const n = static_cast<int>(rows.size());
    return sinew::detail::minimumDegree(sinew::detail::graphOf(rows), sinew::detail::defaultHeavyDegree(n));
}

LLTMatrix SPDMatrix::factor() const
{
    LLTMatrix result;
    result.perm = computePerm();
    int const n = static_cast<int>(result.perm.size());
    if (n == 0) return result;
    std::vector<Row> const lower = permutedLower(rows, result.perm);
    std::vector<Row> columns(n); // of L, below the diagonal, filled row by row
    std::vector<double> invDiag(n);
    std::vector<bool> marked(n, false);
    std::vector<int> pattern;
    result.rows.resize(n);
    result.diag.resize(n);
    for (int i = 0; i < n; ++i) {
        pattern.clear();
        auto const reach = [&](int k) {
            if (!marked[k]) pattern.push_back(k);
            marked[k] = true;
        };
        std::for_each(lower[i].begin(), lower[i].end() - 1, [&](auto const& entry) { reach(entry.first); });
        for (std::size_t k = 0; k < pattern.size(); ++k) { // grows while it is walked
            for (auto const& entry : columns[pattern[k]]) reach(entry.first);
        }
        std::sort(pattern.begin(), pattern.end());
        for (int k : pattern) {
            marked[k] = false;
            columns[k].push_back({i, 0.0});
        }
        std::for_each(lower[i].begin(), lower[i].end() - 1, [&](auto const& entry) {
            columns[entry.first].back().second = entry.second * invDiag[entry.first];
        });
        double d = lower[i].back().second;
        for (int k : pattern) {
            double const l = columns[k].back().second;
            for (std::size_t m = 0; m + 1 < columns[k].size(); ++m) {
                auto const& [r, value] = columns[k][m];
                columns[r].back().second -= (value * l) * invDiag[r];
            }
            d -= l * l;
            result.rows[i].push_back({k, l});
        }
        if (d <= 0) return LLTMatrix(); // a NaN pivot is let through
        result.diag[i] = std::sqrt(d);
        invDiag[i] = 1 / result.diag[i];
    }
    result.initMt();
    return result;
}
