#pragma once

/// An estimate of the 1-norm of the inverse of a symmetric matrix, from a few solutions of linear systems.
/// Sources: W. W. Hager, Condition estimates, SIAM Journal on Scientific and Statistical Computing 5, 1984, for the
/// method. N. J. Higham, FORTRAN codes for estimating the one-norm of a real or complex matrix, with applications to
/// condition estimation, ACM Transactions on Mathematical Software 14, 1988, algorithm 4.1, which we follow: it limits
/// the number of steps, stops at repeated signs, and tries one more vector at the end. We keep the greatest estimate of
/// all steps, and use that the inverse is symmetric.

#include <cmath>
#include <cstddef>
#include <vector>

namespace sinew::detail {

/// Sum of the magnitudes.
inline double oneNorm(std::vector<double> const& x)
{
    double sum = 0.0;
    for (double v : x) sum += std::fabs(v);
    return sum;
}

/// Replaces each number by its sign, 1 or -1. Zeros and NaN give 1. Returns whether `signs` had these signs already;
/// they become those of `x`.
inline bool takeSigns(std::vector<double>& x, std::vector<double>& signs)
{
    bool areSame = true;
    for (std::size_t i = 0; i < x.size(); ++i) {
        double const sign = x[i] < 0.0 ? -1.0 : 1.0;
        areSame = areSame && sign == signs[i];
        signs[i] = x[i] = sign;
    }
    return areSame;
}

/// The first index of the greatest magnitude. NaN is never greatest.
inline std::size_t indexOfGreatest(std::vector<double> const& x)
{
    std::size_t best = 0;
    for (std::size_t i = 1; i < x.size(); ++i) {
        if (std::fabs(x[i]) > std::fabs(x[best])) best = i;
    }
    return best;
}

/// A lower bound of the 1-norm of the inverse, which is rarely less than a third of it. NaN if a solution has a NaN.
///
/// At most 11 solutions.
/// @param size   number of rows, at least 1
/// @param solve  solve(x) replaces x by the solution of A y = x; A is symmetric.
template <typename Solve>
double estimateInverseNorm(std::size_t size, Solve solve)
{
    constexpr int kMaxSteps = 5; // more steps change the estimate very rarely (Higham 1988, section 4)
    double const n = static_cast<double>(size);
    std::vector<double> x(size, 1.0 / n), signs(size, 0.0);
    solve(x);
    double estimate = oneNorm(x);
    if (size == 1 || !(estimate < HUGE_VAL)) return estimate; // NaN and infinity stay
    takeSigns(x, signs);
    solve(x);
    std::size_t column = indexOfGreatest(x);
    for (int step = 2; step <= kMaxSteps; ++step) {
        x.assign(size, 0.0);
        x[column] = 1.0;
        solve(x);
        double const next = oneNorm(x);
        if (!(next > estimate)) break;
        estimate = next;
        if (takeSigns(x, signs)) break;
        solve(x);
        std::size_t const best = indexOfGreatest(x);
        if (!(std::fabs(x[best]) > std::fabs(x[column]))) break;
        column = best;
    }
    // A vector of growing numbers with alternating signs, for matrices on which the steps fail.
    for (std::size_t i = 0; i < size; ++i) {
        double const magnitude = 1.0 + static_cast<double>(i) / (n - 1.0);
        x[i] = i % 2 == 0 ? magnitude : -magnitude;
    }
    solve(x);
    double const last = 2.0 * oneNorm(x) / (3.0 * n);
    return !(last <= estimate) ? last : estimate; // a NaN becomes the result
}

} // namespace sinew::detail
