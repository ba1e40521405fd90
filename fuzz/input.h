#pragma once

/// Typed values from the bytes of a fuzzer, and the check that stops it.
///
/// Every sequence of bytes is valid. After its end all bytes are zero, so a short input gives small, valid values.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

#include <sinew/core/matrix.h>
#include <sinew/core/matrix3.h>
#include <sinew/core/transform.h>
#include <sinew/core/vector3.h>
#include <sinew/framework/vect2.h>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace fuzz {

/// Ends the program if `holds` is false. The fuzzer then keeps the input.
inline void require(bool holds, char const* claim)
{
    if (holds) return;
    std::fprintf(stderr, "not true: %s\n", claim);
    std::abort();
}

/// Takes values from the bytes, in their order.
class Input
{
public:
    Input(std::uint8_t const* data, std::size_t size) : data_(data), size_(size) {}

    /// Whether bytes are left.
    bool more() const { return at_ < size_; }

    std::uint8_t byte() { return at_ < size_ ? data_[at_++] : std::uint8_t{0}; }

    bool flag() { return (byte() & 1) != 0; }

    /// In [0, n), n in [1, 65536].
    int below(int n)
    {
        int const low = byte();
        return (n <= 256 ? low : low + 256 * byte()) % n;
    }

    /// Any int. Most are small.
    int anyInt()
    {
        int const kind = byte();
        if (kind < 224) return kind - 8;
        std::uint32_t bits = 0;
        for (int i = 0; i < 4; ++i) bits = bits << 8 | byte();
        std::int32_t value = 0;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }

    /// A number. One byte gives a multiple of 1/16 in [-4, 4), so that equal numbers, ties and degenerate shapes are
    /// frequent; the other ones are fractions in [-1, 1), thresholds and limits, and any 64 bits.
    double number()
    {
        int const kind = byte();
        if (kind < 128) return (kind - 64) / 16.0;
        if (kind < 192) return fraction();
        if (kind < 240) return special(kind - 192);
        std::uint64_t bits = 0;
        for (int i = 0; i < 8; ++i) bits = bits << 8 | byte();
        double value = 0;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }

    /// A finite number of moderate size: no special one.
    double tame()
    {
        int const kind = byte();
        return kind < 128 ? (kind - 64) / 16.0 : fraction();
    }

    Vector3 point()
    {
        double const x = number();
        double const y = number();
        return {x, y, number()};
    }
    Vector3 tamePoint()
    {
        double const x = tame();
        double const y = tame();
        return {x, y, tame()};
    }
    tzNM::vect2<double> point2()
    {
        double const x = number();
        return {x, number()};
    }

    /// A point of `points`, perhaps moved a little, or any point.
    Vector3 pointNear(std::vector<Vector3> const& points)
    {
        int const kind = byte();
        if (points.empty() || kind < 64) return point();
        Vector3 const& a = points[static_cast<std::size_t>(below(static_cast<int>(points.size())))];
        if (kind < 128) return a;
        Vector3 const& b = points[static_cast<std::size_t>(below(static_cast<int>(points.size())))];
        if (kind < 192) return a + fraction() * (b - a);
        return a + std::ldexp(1.0, -(kind - 192)) * tamePoint();
    }

    Matrix3 matrix3()
    {
        Matrix3 m;
        for (int i = 0; i < 9; ++i) m(i / 3, i % 3) = number();
        return m;
    }
    Matrix matrix()
    {
        Matrix m;
        for (int i = 0; i < 16; ++i) m(i / 4, i % 4) = number();
        return m;
    }
    Transform transform()
    {
        Transform t;
        t.linear = matrix3();
        t.translation = point();
        t.scale = number();
        return t;
    }

    /// The bytes that are left.
    std::string rest()
    {
        std::string const text(reinterpret_cast<char const*>(data_) + at_, size_ - at_);
        at_ = size_;
        return text;
    }

private:
    double fraction()
    {
        int const high = byte();
        return (high * 256 + byte() - 32768) / 32768.0;
    }

    static double special(int which)
    {
        using limits = std::numeric_limits<double>;
        static constexpr double kSpecial[] = {
            0.0,    -0.0,         1e-8,      -1e-8,  1e-13,  -1e-13, 1e13,  -1e13,   1e-16,  1.0000000000000001e-16,
            1e-26,  1e-4,         1e-6,      1e-20,  1e100,  -1e100, 1e154, 1e160,   -1e160, 1e300,
            1e9,    2147483647.0, 1e-160,    0x1p63, 13.999, 14.0,   -2.0,  0x1p-20, 3.0,    1.0 / 3.0,
            1e-300, 0.9999997258, 1.00000001};
        int const count = static_cast<int>(std::size(kSpecial));
        if (which < count) return kSpecial[which];
        switch (which - count) {
        case 0:
            return limits::infinity();
        case 1:
            return -limits::infinity();
        case 2:
            return limits::quiet_NaN();
        case 3:
            return limits::denorm_min();
        case 4:
            return -limits::denorm_min();
        case 5:
            return limits::min();
        case 6:
            return limits::max();
        case 7:
            return limits::lowest();
        case 8:
            return 1.0 + limits::epsilon();
        case 9:
            return 1.0 - limits::epsilon() / 2;
        default:
            return limits::quiet_NaN();
        }
    }

    std::uint8_t const* data_;
    std::size_t size_;
    std::size_t at_ = 0;
};

} // namespace fuzz
