#pragma once

/// Random input from a seed. Only the 64-bit engine of the standard library is used, not its distributions, which
/// differ between implementations: a failure must be reproducible everywhere.

#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <random>
#include <vector>

#include <sinew/core/vector3.h>
#include <sinew/framework/vect2.h>

namespace test {

/// A generator of numbers and points. The same seed gives the same sequence on every platform.
class Random
{
public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}

    /// 64 random bits.
    std::uint64_t bits() { return engine_(); }

    /// Uniform in [0, n), n > 0.
    int below(int n) { return static_cast<int>(engine_() % static_cast<std::uint64_t>(n)); }

    /// True with a probability of 1 / n, n > 0.
    bool oneIn(int n) { return below(n) == 0; }

    /// Uniform in [low, high).
    double uniform(double low = -1.0, double high = 1.0)
    {
        double const unit = static_cast<double>(engine_() >> 11) * 0x1p-53;
        return low + (high - low) * unit;
    }

    /// A number of either sign whose magnitude lies in [2^low, 2^high), with each power of two equally likely.
    double spread(int low = -40, int high = 40)
    {
        // One statement each, because the compiler chooses the order in which arguments are evaluated.
        double const significand = uniform(1.0, 2.0);
        double const magnitude = std::ldexp(significand, low + below(high - low));
        return oneIn(2) ? magnitude : -magnitude;
    }

    /// An ordinary number, or with a probability of 1 / 8 a special one: zero, a denormal, a threshold, a huge
    /// number, an infinity or NaN.
    double hostile()
    {
        using limits = std::numeric_limits<double>;
        static constexpr double kSpecial[] = {0.0,
                                              -0.0,
                                              limits::denorm_min(),
                                              limits::min(),
                                              limits::max(),
                                              1e13,
                                              1e-13,
                                              limits::infinity(),
                                              -limits::infinity(),
                                              limits::quiet_NaN(),
                                              1e154,
                                              limits::lowest(),
                                              1e-8,
                                              1.0};
        if (oneIn(8)) return kSpecial[below(static_cast<int>(std::size(kSpecial)))];
        return oneIn(2) ? uniform() : spread();
    }

    /// A point with coordinates in [low, high).
    Vector3 point(double low = -1.0, double high = 1.0)
    {
        double const x = uniform(low, high);
        double const y = uniform(low, high);
        return {x, y, uniform(low, high)};
    }
    /// A point whose coordinates are `hostile` numbers.
    Vector3 hostilePoint()
    {
        double const x = hostile();
        double const y = hostile();
        return {x, y, hostile()};
    }
    tzNM::vect2<double> point2(double low = -1.0, double high = 1.0)
    {
        double const x = uniform(low, high);
        return {x, uniform(low, high)};
    }
    std::vector<Vector3> points(int count, double low = -1.0, double high = 1.0)
    {
        std::vector<Vector3> result;
        for (int i = 0; i < count; ++i) result.push_back(point(low, high));
        return result;
    }

private:
    std::mt19937_64 engine_;
};

} // namespace test
