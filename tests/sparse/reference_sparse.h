#pragma once

/// The reference implementation of the sparse solver: hashed sets of neighbours, and a factor computed row by row. It
/// is slow. It defines the result: the library must return the same permutation and the same bits.

#include <algorithm>
#include <cmath>
#include <set>
#include <unordered_set>
#include <utility>
#include <vector>

#include <sinew/sparse/spd_matrix.h>

namespace reference {

using Row = std::vector<std::pair<int, double>>;

inline std::vector<int> computePerm(SPDMatrix const& matrix)
{
    int const n = static_cast<int>(matrix.rows.size());
    std::vector<std::unordered_set<int>> adj(n);
    for (int i = 0; i < n; ++i) {
        for (std::size_t k = 0; k + 1 < matrix.rows[i].size(); ++k) {
            int const c = matrix.rows[i][k].first;
            adj[i].insert(c);
            adj[c].insert(i);
        }
    }
    auto const degree = [&](int u) { return static_cast<int>(adj[u].size()); };
    std::set<std::pair<int, int>> queue;
    for (int i = 0; i < n; ++i) queue.insert({degree(i), i});

    std::vector<int> perm(n);
    for (int position = 0; !queue.empty(); ++position) {
        int const v = queue.begin()->second;
        queue.erase(queue.begin());
        perm[v] = position;
        std::vector<int> const clique(adj[v].begin(), adj[v].end());
        for (int u : clique) queue.erase({degree(u), u});
        for (int u : clique) adj[u].erase(v);
        for (std::size_t k = 0; k < clique.size(); ++k) {
            for (std::size_t m = 0; m < k; ++m) {
                if (adj[clique[m]].insert(clique[k]).second) adj[clique[k]].insert(clique[m]);
            }
        }
        for (int u : clique) queue.insert({degree(u), u});
    }
    return perm;
}

/// Orders by column, then by value. NaN is greater than every number.
inline bool entryBelow(std::pair<int, double> const& a, std::pair<int, double> const& b)
{
    if (a.first != b.first) return a.first < b.first;
    return a.second < b.second || (a.second == a.second && b.second != b.second);
}

inline std::vector<Row> permutedLower(SPDMatrix const& matrix, std::vector<int> const& perm)
{
    std::vector<Row> lower(matrix.rows.size());
    for (std::size_t r = 0; r < matrix.rows.size(); ++r) {
        for (auto const& [c, v] : matrix.rows[r]) {
            int const pr = perm[r];
            int const pc = perm[c];
            if (pr < pc) {
                lower[pc].push_back({pr, v});
            } else {
                lower[pr].push_back({pc, v});
            }
        }
    }
    for (Row& row : lower) std::stable_sort(row.begin(), row.end(), entryBelow);
    return lower;
}

inline void initMt(LLTMatrix& factor)
{
    factor.Mt.clear();
    factor.Mt.resize(factor.rows.size());
    for (std::size_t i = 0; i < factor.rows.size(); ++i) {
        for (auto const& [c, v] : factor.rows[i]) factor.Mt[c].push_back({static_cast<int>(i), v});
    }
}

inline LLTMatrix factor(SPDMatrix const& matrix, std::vector<int> const& perm)
{
    int const n = static_cast<int>(matrix.rows.size());
    std::vector<Row> const lower = permutedLower(matrix, perm);
    LLTMatrix result;
    result.perm = perm;
    result.rows.resize(n);
    result.diag.resize(n);
    std::vector<Row> colL(n); // columns of L below the diagonal, filled row by row
    std::vector<double> invDiag(n);
    std::vector<bool> marked(n, false);
    for (int i = 0; i < n; ++i) {
        Row const& list = lower[i];
        std::vector<int> pattern;
        pattern.reserve(2 * list.size());
        auto const reach = [&](int k) {
            if (!marked[k]) pattern.push_back(k);
            marked[k] = true;
        };
        for (std::size_t k = 0; k + 1 < list.size(); ++k) reach(list[k].first);
        for (std::size_t k = 0; k < pattern.size(); ++k) { // the loop also visits the entries that it appends
            for (auto const& entry : colL[pattern[k]]) reach(entry.first);
        }
        std::sort(pattern.begin(), pattern.end());
        for (int k : pattern) {
            marked[k] = false;
            colL[k].push_back({i, 0.0});
        }
        for (std::size_t k = 0; k + 1 < list.size(); ++k) {
            int const c = list[k].first;
            colL[c].back().second = list[k].second * invDiag[c];
        }
        for (int k : pattern) {
            double const l = colL[k].back().second;
            for (std::size_t m = 0; m + 1 < colL[k].size(); ++m) {
                auto const& [r, value] = colL[k][m];
                colL[r].back().second -= (value * l) * invDiag[r];
            }
        }
        double d = list.back().second;
        for (int k : pattern) {
            double const l = colL[k].back().second;
            d -= l * l;
            result.rows[i].push_back({k, l});
        }
        if (d <= 0) return LLTMatrix(); // false for NaN, which is not rejected
        result.diag[i] = std::sqrt(d);
        invDiag[i] = 1 / result.diag[i];
    }
    initMt(result);
    return result;
}

inline LLTMatrix factor(SPDMatrix const& matrix)
{
    return factor(matrix, computePerm(matrix));
}

inline bool solve(LLTMatrix const& factor, std::vector<double>& b)
{
    std::size_t const n = factor.rows.size();
    if (b.size() != n) return false;
    std::vector<double> y(n);
    for (std::size_t i = 0; i < n; ++i) y[factor.perm[i]] = b[i];
    for (std::size_t i = 0; i < n; ++i) {
        for (auto const& [c, v] : factor.rows[i]) y[i] -= y[c] * v;
        y[i] /= factor.diag[i];
    }
    for (std::size_t i = n; i-- > 0;) {
        for (auto const& [r, v] : factor.Mt[i]) y[i] -= y[r] * v;
        y[i] /= factor.diag[i];
    }
    for (std::size_t i = 0; i < n; ++i) b[i] = y[factor.perm[i]];
    return true;
}

} // namespace reference
