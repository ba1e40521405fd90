#pragma once

/// The least time of a piece of work, for programs that measure limits instead of ratios.

#include <algorithm>
#include <chrono>
#include <ctime>
#include <limits>

namespace bench {

/// The least time of one run of `work`, in seconds, over three runs or as many more as fit into `budget` seconds of
/// processor time. Other programs can only make a run longer, so the least one tells most about the machine.
template <typename Work>
double leastSeconds(double budget, Work const& work)
{
    using Clock = std::chrono::steady_clock;
    constexpr int kLeastRuns = 3;
    double best = std::numeric_limits<double>::infinity();
    std::clock_t const begin = std::clock();
    auto const spent = [begin] { return static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC; };
    for (int run = 0; run < kLeastRuns || spent() < budget; ++run) {
        Clock::time_point const start = Clock::now();
        work();
        best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count());
    }
    return best;
}

} // namespace bench
