#pragma once

/// Exact comparison of a decimal with a binary number, where 128 bits do not decide how a number is rounded. Not
/// installed.

#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>

#include <sinew/detail/real_format.h>

namespace sinew::detail {

/// A non-negative integer of up to 2816 bits.
///
/// This is enough for a decimal number of `kMostDigits` digits and for the powers of ten with which `compareExactly`
/// compares it.
class BigInteger
{
public:
    /// A decimal number may have this many digits.
    static constexpr int kMostDigits = 801;

    explicit BigInteger(std::uint64_t value = 0) { multiplyAdd(0, value); }

    /// Multiplies by `factor` and adds `summand`.
    void multiplyAdd(std::uint64_t factor, std::uint64_t summand);
    void multiplyByPowerOfFive(int exponent);
    void multiplyByPowerOfTwo(int exponent);

    /// Negative if a < b, zero if a = b, positive if a > b.
    friend int compare(BigInteger const& a, BigInteger const& b);

private:
    std::array<std::uint64_t, 44> words_{}; // the lowest first
    std::size_t size_ = 0;                  // words in use; the last of them is not zero
};

/// Negative if digits * 10^exponent < m, zero if they are equal, positive if it is greater.
///
/// The two must not differ by more than a factor of about 2^50; the greater the difference, the larger the integers.
int compareExactly(BigInteger digits, int exponent, Magnitude m);

} // namespace sinew::detail
