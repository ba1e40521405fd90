#pragma once

/// The inputs of the groups. The same seed gives the same inputs on every system: of the standard library only the
/// 64-bit engine is used, which the standard defines to the bit, and not its distributions, which it does not.
///
/// A compiler may evaluate the arguments of a call in any order. Draw each of several arguments in a statement of its
/// own, or between braces, where the order is defined.

#include <cstdint>
#include <random>
#include <vector>

#include <sinew/core/matrix3.h>
#include <sinew/core/vector3.h>
#include <sinew/framework/vect2.h>

namespace selftest {

/// A generator of numbers, points and rotations.
class Inputs
{
public:
    explicit Inputs(std::uint64_t seed) : engine_(seed) {}

    /// 64 random bits.
    std::uint64_t bits() { return engine_(); }

    /// Uniform in [0, n), n > 0.
    int below(int n) { return static_cast<int>(engine_() % static_cast<std::uint64_t>(n)); }

    /// True with a probability of 1 / n, n > 0.
    bool oneIn(int n) { return below(n) == 0; }

    /// Uniform in [low, high).
    double uniform(double low = -1.0, double high = 1.0);

    /// A multiple of 1/2 in [-4, 4]. Few values and exact sums, so that ties are frequent.
    double lattice() { return 0.5 * (below(17) - 8); }

    /// A number of either sign whose magnitude lies in [2^low, 2^high), with each power of two equally likely.
    /// -1022 <= low < high <= 1023.
    double spread(int low, int high);

    /// Zero of either sign, a subnormal number, a threshold of the library or a neighbour of it, a huge number, an
    /// infinity or NaN.
    double special();

    /// Any pattern of bits: a number of any magnitude, rarely an infinity or NaN.
    double anyBits();

    /// `uniform`, `lattice` or a number within a few powers of two of 1.
    double tame();

    /// A number of any of these kinds.
    double number();

    /// An angle in radians: within two turns, a multiple of an eighth of a turn, tiny, huge or special.
    double angle();

    /// A point or vector. Often it repeats an earlier one, or lies on a line or in a plane with earlier ones. `point`
    /// may have special and extreme coordinates; those of `tamePoint` are `tame`.
    Vector3 point() { return next(recentPoints_, true); }
    Vector3 tamePoint() { return next(recentTamePoints_, false); }

    /// A tame point in the plane, or any.
    tzNM::vect2<double> tamePoint2();
    tzNM::vect2<double> point2();

    /// `count` tame points.
    std::vector<Vector3> tamePoints(int count);

    /// A unit vector; often an axis, a diagonal or an earlier direction.
    UVector3 direction() { return UVector3(tamePoint()); }

    /// Columns of any three points, or of three tame ones.
    Matrix3 matrix();
    Matrix3 tameMatrix();

    /// A rotation, orthonormal to rounding: also the identity, quarter turns, half turns and turns by tiny angles.
    Matrix3 rotation();

private:
    static constexpr int kRecent = 4;
    using Recent = Vector3[kRecent];

    Vector3 next(Recent& recent, bool hostile);
    Vector3 pick(Recent const& recent) { return recent[below(kRecent)]; }
    Vector3 latticePoint();
    Vector3 relatedTo(Recent const& recent);

    std::mt19937_64 engine_;
    Recent recentPoints_;
    Recent recentTamePoints_;
};

} // namespace selftest
