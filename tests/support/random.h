#pragma once

/// Seeded random input. Only the raw 64-bit engine of the standard library is used: its distributions differ between
/// implementations, and a failure must replay everywhere.

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include <sinew/core/vector3.h>
#include <sinew/framework/vect2.h>

namespace test {

class Random
{
public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}

    std::uint64_t bits() { return engine_(); }

    /// Uniform in [0, n), n > 0.
    int below(int n) { return static_cast<int>(engine_() % static_cast<std::uint64_t>(n)); }

    bool oneIn(int n) { return below(n) == 0; }

    /// Uniform in [low, high).
    double uniform(double low = -1.0, double high = 1.0)
    {
        double const unit = static_cast<double>(engine_() >> 11) * 0x1p-53;
        return low + (high - low) * unit;
    }

    /// Any sign, magnitude spread evenly over powers of two between 2^low and 2^high.
    double spread(int low = -40, int high = 40)
    {
        // Drawn one by one: the order in which arguments are evaluated is the compiler's choice.
        double const significand = uniform(1.0, 2.0);
        double const magnitude = std::ldexp(significand, low + below(high - low));
        return oneIn(2) ? magnitude : -magnitude;
    }

    /// Mostly ordinary numbers, now and then zero, a denormal, a huge number, an infinity or NaN.
    double hostile()
    {
        using limits = std::numeric_limits<double>;
        static double const odd[] = {0.0,
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
        if (oneIn(8)) return odd[below(static_cast<int>(sizeof odd / sizeof *odd))];
        return oneIn(2) ? uniform() : spread();
    }

    Vector3 point(double low = -1.0, double high = 1.0)
    {
        double const x = uniform(low, high);
        double const y = uniform(low, high);
        return {x, y, uniform(low, high)};
    }
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
