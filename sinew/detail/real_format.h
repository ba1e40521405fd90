#pragma once

/// The binary formats of `float` and `double`, for the conversion between numbers and text. Not installed.

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

namespace sinew::detail {

/// A finite magnitude: mantissa * 2^exponent.
struct Magnitude
{
    std::uint64_t mantissa;
    int exponent;
};

/// The format of IEEE 754 that `Real` has, and its bits without the sign.
///
/// The bits of two neighbouring magnitudes differ by one, the largest finite one and infinity included.
template <typename Real>
struct RealFormat
{
    static_assert(std::numeric_limits<Real>::is_iec559 && sizeof(Real) <= sizeof(std::uint64_t));

    static constexpr int kMantissaBits = std::numeric_limits<Real>::digits; // with the first bit, which is not stored
    static constexpr int kStoredBits = kMantissaBits - 1;
    static constexpr int kSmallestExponent = std::numeric_limits<Real>::min_exponent - kMantissaBits;
    static constexpr int kLargestExponent = std::numeric_limits<Real>::max_exponent - kMantissaBits;
    static constexpr std::uint64_t kFirstBit = std::uint64_t{1} << kStoredBits;
    static constexpr std::uint64_t kInfinity = static_cast<std::uint64_t>(kLargestExponent - kSmallestExponent + 2)
                                               << kStoredBits;

    /// The bits of `value`, without its sign.
    static std::uint64_t bitsOf(Real value)
    {
        Word word = 0;
        std::memcpy(&word, &value, sizeof value);
        return word & static_cast<Word>(kSign - 1);
    }

    /// Whether the sign bit of `value` is set; also for zero and NaN.
    static bool isNegative(Real value)
    {
        Word word = 0;
        std::memcpy(&word, &value, sizeof value);
        return (word & kSign) != 0;
    }

    /// The number with the given bits and sign.
    static Real make(std::uint64_t bits, bool negative)
    {
        Word const word = static_cast<Word>(bits | (negative ? kSign : 0));
        Real value = 0;
        std::memcpy(&value, &word, sizeof value);
        return value;
    }

    /// The magnitude that has the given bits.
    static Magnitude magnitudeOf(std::uint64_t bits)
    {
        assert(bits < kInfinity);
        std::uint64_t const stored = bits & (kFirstBit - 1);
        int const biased = static_cast<int>(bits >> kStoredBits);
        if (biased == 0) return {stored, kSmallestExponent};
        return {stored | kFirstBit, kSmallestExponent + biased - 1};
    }

    /// The bits of a magnitude, infinity if it is too large. The mantissa is at most 2^kMantissaBits, and it is at
    /// least 2^kStoredBits unless the exponent is the smallest one.
    static std::uint64_t bitsOf(Magnitude m)
    {
        assert(m.exponent >= kSmallestExponent && m.mantissa <= 2 * kFirstBit);
        assert(m.mantissa >= kFirstBit || m.exponent == kSmallestExponent);
        // The first bit of a normal mantissa adds one to the biased exponent, and so does the carry of a full one.
        std::uint64_t const biased = static_cast<std::uint64_t>(m.exponent - kSmallestExponent);
        return std::min((biased << kStoredBits) + m.mantissa, kInfinity);
    }

private:
    using Word = std::conditional_t<sizeof(Real) == sizeof(std::uint32_t), std::uint32_t, std::uint64_t>;

    static constexpr std::uint64_t kSign = std::uint64_t{1} << (8 * sizeof(Real) - 1);
};

} // namespace sinew::detail
