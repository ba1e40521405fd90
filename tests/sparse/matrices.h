#pragma once

/// Seeded sparse matrices of known graphs, for tests and benches.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <sinew/sparse/spd_matrix.h>

#include "support/bits.h"
#include "support/random.h"

namespace test {

using Edges = std::vector<std::pair<int, int>>;

inline Edges grid2D(int width, int height)
{
    Edges edges;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            int const i = y * width + x;
            if (x > 0) edges.push_back({i, i - 1});
            if (y > 0) edges.push_back({i, i - width});
        }
    }
    return edges;
}

inline Edges grid3D(int size)
{
    Edges edges;
    for (int i = 0; i < size * size * size; ++i) {
        if (i % size > 0) edges.push_back({i, i - 1});
        if (i / size % size > 0) edges.push_back({i, i - size});
        if (i / size / size > 0) edges.push_back({i, i - size * size});
    }
    return edges;
}

/// A closed triangle mesh: a torus of `size` x `size` vertices. Each quad is divided along a random diagonal.
inline Edges surfaceMesh(int size, Random& random)
{
    Edges edges;
    auto const at = [size](int x, int y) { return y % size * size + x % size; };
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            edges.push_back({at(x, y), at(x + 1, y)});
            edges.push_back({at(x, y), at(x, y + 1)});
            if (random.oneIn(2)) {
                edges.push_back({at(x, y), at(x + 1, y + 1)});
            } else {
                edges.push_back({at(x + 1, y), at(x, y + 1)});
            }
        }
    }
    return edges;
}

inline Edges randomTree(int n, Random& random)
{
    Edges edges;
    for (int i = 1; i < n; ++i) edges.push_back({i, random.below(i)});
    return edges;
}

inline Edges randomGraph(int n, int count, Random& random)
{
    Edges edges;
    for (int k = 0; n > 1 && k < count; ++k) {
        int const a = random.below(n);
        int const b = random.below(n);
        if (a != b) edges.push_back({a, b});
    }
    return edges;
}

/// Edges between the first `hubCount` nodes and all others: a clique if hubCount = n, a star if hubCount = 1.
inline Edges hubs(int n, int hubCount)
{
    Edges edges;
    for (int i = 0; i < n; ++i) {
        for (int h = 0; h < std::min(hubCount, i); ++h) edges.push_back({i, h});
    }
    return edges;
}

/// Node 0 is connected with all others, which form a ring.
inline Edges wheel(int n)
{
    Edges edges = hubs(n, 1);
    for (int i = 2; i < n; ++i) edges.push_back({i, i - 1});
    if (n > 3) edges.push_back({n - 1, 1});
    return edges;
}

/// The same graph with its nodes renumbered at random.
inline Edges shuffled(Edges edges, int n, Random& random)
{
    std::vector<int> number(n);
    for (int i = 0; i < n; ++i) number[i] = i;
    for (int i = n - 1; i > 0; --i) std::swap(number[i], number[random.below(i + 1)]);
    for (auto& [a, b] : edges) {
        a = number[a];
        b = number[b];
    }
    return edges;
}

/// A diagonally dominant matrix of this graph, with ascending columns. Repeated edges count once.
inline SPDMatrix matrixOf(Edges edges, int n, Random& random)
{
    for (auto& [a, b] : edges) {
        if (a < b) std::swap(a, b);
    }
    std::sort(edges.begin(), edges.end());
    edges.erase(std::unique(edges.begin(), edges.end()), edges.end());
    SPDMatrix matrix;
    matrix.rows.resize(n);
    std::vector<double> diagonal(n);
    for (double& d : diagonal) d = random.uniform(0.01, 1.0);
    for (auto const& [a, b] : edges) {
        double const v = random.uniform();
        matrix.rows[a].push_back({b, v});
        diagonal[a] += std::fabs(v);
        diagonal[b] += std::fabs(v);
    }
    for (int i = 0; i < n; ++i) matrix.rows[i].push_back({i, diagonal[i]});
    return matrix;
}

/// Puts the pairs before each row's diagonal in random order.
inline void shuffleRows(SPDMatrix& matrix, Random& random)
{
    for (auto& row : matrix.rows) {
        for (int k = static_cast<int>(row.size()) - 2; k > 0; --k) std::swap(row[k], row[random.below(k + 1)]);
    }
}

/// A matrix of one of the graphs above with at most `limit` nodes, in the numbering of the graph or a random one.
inline SPDMatrix randomShape(Random& random, int limit)
{
    int const n = 1 + random.below(limit);
    int const side = std::max(1, static_cast<int>(std::sqrt(n)));
    int const cube = std::max(1, static_cast<int>(std::cbrt(n)));
    Edges edges;
    int nodes = n;
    switch (random.below(10)) {
    case 0:
        edges = grid2D(side, side);
        break;
    case 1:
        edges = grid3D(cube);
        break;
    case 2:
        edges = randomTree(n, random);
        break;
    case 3:
        edges = hubs(n, 1 + random.below(3));
        break;
    case 4:
        nodes = std::min(n, 40), edges = hubs(nodes, nodes);
        break;
    case 5:
        edges = wheel(n);
        break;
    case 6:
        edges = randomGraph(n, n / 2, random);
        break;
    case 7:
        edges = randomGraph(n, 2 * n, random);
        break;
    case 8:
        edges = randomGraph(n, 5 * n, random);
        break;
    default:
        nodes = side * side, edges = side > 2 ? surfaceMesh(side, random) : Edges();
        break;
    }
    if (random.oneIn(2)) edges = shuffled(edges, nodes, random);
    SPDMatrix matrix = matrixOf(edges, nodes, random);
    if (random.oneIn(2)) shuffleRows(matrix, random);
    return matrix;
}

inline std::size_t entryCount(LLTMatrix const& factor)
{
    std::size_t count = 0;
    for (auto const& row : factor.rows) count += row.size();
    return count;
}

/// The name of the first field whose bits differ, or an empty string.
inline std::string difference(LLTMatrix const& a, LLTMatrix const& b)
{
    if (a.perm != b.perm) return "perm";
    if (!sameBits(a.diag, b.diag)) return "diag";
    if (!sameBits(a.rows, b.rows)) return "rows";
    if (!sameBits(a.Mt, b.Mt)) return "Mt";
    return "";
}

} // namespace test
