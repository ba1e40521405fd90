#pragma once

/// The input of the benches of implicit functions, and the fit with Eigen's LU.

#include <cmath>
#include <cstddef>
#include <map>
#include <utility>
#include <vector>

#ifdef SINEW_BENCH_EIGEN
#include <Eigen/Dense>
#endif

#include <sinew/fields/implicit.h>

#include "fields/reference_implicit.h"
#include "support/random.h"

namespace bench::implicits {

using Input = std::vector<std::pair<Vector3, double>>;

/// Points with values; the same ones for the same count.
inline Input const& input(int count)
{
    static std::map<int, Input> inputs;
    Input& result = inputs[count];
    test::Random random(1);
    while (result.size() < static_cast<std::size_t>(count)) {
        Vector3 const point = random.point();
        result.emplace_back(point, random.uniform());
    }
    return result;
}

#ifdef SINEW_BENCH_EIGEN
enum class EigenMethod
{
    solve,
    inverse
};

/// The weights of the centres, the constant term and the linear term.
inline Eigen::VectorXd eigenFit(Input const& samples, EigenMethod method)
{
    Eigen::Index const n = static_cast<Eigen::Index>(samples.size());
    Eigen::MatrixXd system = Eigen::MatrixXd::Zero(n + 4, n + 4);
    Eigen::VectorXd rightSide = Eigen::VectorXd::Zero(n + 4);
    for (Eigen::Index i = 0; i < n; ++i) {
        auto const& [x, value] = samples[static_cast<std::size_t>(i)];
        for (Eigen::Index j = 0; j < i; ++j) {
            double const square = distSq(x, samples[static_cast<std::size_t>(j)].first);
            system(i, j) = system(j, i) = square * std::sqrt(square);
        }
        system(n, i) = system(i, n) = 1;
        system(n + 1, i) = system(i, n + 1) = x.x;
        system(n + 2, i) = system(i, n + 2) = x.y;
        system(n + 3, i) = system(i, n + 3) = x.z;
        rightSide(i) = value;
    }
    if (method == EigenMethod::solve) return system.partialPivLu().solve(rightSide);
    return system.partialPivLu().inverse() * rightSide;
}
#endif

} // namespace bench::implicits
