#pragma once

/// The linear system behind `Implicit`, written into any matrix with element access.

#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include <sinew/core/vector3.h>

namespace sinew::detail {

/// Rows beside those of the centres: the weights are orthogonal to 1, x, y and z.
constexpr int kLinearTerms = 4;

/// |a - b| cubed, as the squared distance times its root.
inline double cubeOfDistance(Vector3 const& a, Vector3 const& b)
{
    double const square = distSq(a, b);
    return square * std::sqrt(square);
}

/// Fills `system`, square and zero, of n + 4 rows.
template <typename Matrix>
void fillImplicitSystem(std::vector<Vector3> const& centres, Matrix& system)
{
    int const n = static_cast<int>(centres.size());
    auto const set = [&system](int i, int j, double value) { system(i, j) = system(j, i) = value; };
    for (int i = 0; i < n; ++i) {
        Vector3 const& x = centres[static_cast<std::size_t>(i)];
        for (int j = 0; j < i; ++j) set(i, j, cubeOfDistance(x, centres[static_cast<std::size_t>(j)]));
        set(n, i, 1.0);
        set(n + 1, i, x.x);
        set(n + 2, i, x.y);
        set(n + 3, i, x.z);
    }
}

} // namespace sinew::detail
