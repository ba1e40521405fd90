#pragma once

/// The linear system whose solution is an `Implicit`.

#include <cmath>
#include <vector>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/core/vector3.h>
#include <sinew/detail/as_index.h>

namespace sinew::detail {

/// Number of unknowns beside the coefficients of the centres: c0 and the three components of c. Their equations state
/// that the coefficients are orthogonal to 1, x, y and z.
constexpr int kLinearTerms = 4;

/// |a - b| cubed, computed as the squared distance times its square root.
inline double cubeOfDistance(Vector3 const& a, Vector3 const& b)
{
    double const square = distSq(a, b);
    return square * std::sqrt(square);
}

/// Writes the symmetric system for n centres to `system`, a matrix of n + 4 rows and columns whose entries are zero.
///
/// Row i < n is the interpolation condition at centre i. Rows n to n + 3 are those of 1, x, y and z.
///
/// @tparam Matrix  any type with element access `system(i, j)`.
/// @param meter    receives the progress; may be null
template <typename Matrix>
void fillImplicitSystem(std::vector<Vector3> const& centres, Matrix& system, ProgressMeter* meter = nullptr)
{
    int const n = static_cast<int>(centres.size());
    auto const set = [&system](int i, int j, double value) { system(i, j) = system(j, i) = value; };
    for (int i = 0; i < n; ++i) {
        Vector3 const& x = centres[asIndex(i)];
        if (meter) meter->reached(fractionOf(i, n) * fractionOf(i, n)); // rows grow in length
        for (int j = 0; j < i; ++j) set(i, j, cubeOfDistance(x, centres[asIndex(j)]));
        set(n, i, 1.0);
        set(n + 1, i, x.x);
        set(n + 2, i, x.y);
        set(n + 3, i, x.z);
    }
}

} // namespace sinew::detail
