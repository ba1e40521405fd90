#pragma once

/// Scaling by powers of two, which is exact but for subnormal results. Not installed.

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace sinew::detail {

/// x * 2^exponent, rounded once. `std::ldexp` sets errno, which belongs to the host, and the last bits of its subnormal
/// results are not the same in every C library.
inline double timesPowerOfTwo(double x, int exponent)
{
    constexpr int kGreatestExponent = 1023;
    // A number just above the subnormal range must not be rounded before the last product, so this step leaves more
    // than 53 bits for it.
    constexpr int kDown = -969;
    for (int step = 0; step < 2 && exponent > kGreatestExponent; ++step) {
        x *= 0x1p1023;
        exponent -= kGreatestExponent;
    }
    for (int step = 0; step < 2 && exponent < -kGreatestExponent + 1; ++step) {
        x *= 0x1p-969;
        exponent -= kDown;
    }
    // What is left beyond these limits is an infinity or zero already, or becomes one.
    auto const field =
        static_cast<std::uint64_t>(std::clamp(exponent, -kGreatestExponent + 1, kGreatestExponent) + 1023);
    std::uint64_t const bits = field << 52;
    double power = 0.0;
    std::memcpy(&power, &bits, sizeof power);
    return x * power;
}

/// Two powers of two: `to` brings numbers to the order of 1, and `back` is its reciprocal.
struct PowerScale
{
    double to;
    double back;
};

/// The field of the exponent in the bits of a double without its sign: kFieldOfInfinity for infinities and NaN, 0 for
/// zero and subnormal numbers.
constexpr std::uint64_t kFieldOfInfinity = 0x7ff;
constexpr int kFractionBits = 52;

/// The bits of |x|. They have the order of the magnitudes, with NaN above all.
inline std::uint64_t magnitudeBits(double x)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &x, sizeof bits);
    return bits & ~(std::uint64_t{1} << 63);
}

/// The powers of two for a number whose bits without the sign are `magnitude`; it must be finite. `to` brings it to [2,
/// 4), a subnormal number to [2^-52, 4) and zero to zero.
inline PowerScale powerScale(std::uint64_t magnitude)
{
    auto const power = [](std::uint64_t field) {
        std::uint64_t const bits = field << kFractionBits;
        double x = 0.0;
        std::memcpy(&x, &bits, sizeof x);
        return x;
    };
    std::uint64_t const field = std::max<std::uint64_t>(magnitude >> kFractionBits, 1);
    return {power(kFieldOfInfinity - field), field > 1 ? power(field - 1) : 0x1p-1023};
}
inline PowerScale powerScale(double x)
{
    return powerScale(magnitudeBits(x));
}

} // namespace sinew::detail
