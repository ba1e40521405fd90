#pragma once

/// Unsigned integers of 128 bits from two words of 64, for compilers and processors with and without such a type. Not
/// installed.

#include <cassert>
#include <cstdint>

namespace sinew::detail::portable {

/// high * 2^64 + low; sums and differences are taken modulo 2^128.
struct UInt128
{
    std::uint64_t high;
    std::uint64_t low;

    bool isZero() const { return (high | low) == 0; }
};

inline UInt128 operator+(UInt128 a, UInt128 b)
{
    std::uint64_t const low = a.low + b.low;
    return {a.high + b.high + (low < a.low ? 1u : 0u), low};
}

inline UInt128 operator-(UInt128 a, UInt128 b)
{
    return {a.high - b.high - (a.low < b.low ? 1u : 0u), a.low - b.low};
}

inline UInt128 operator-(UInt128 a)
{
    return UInt128{0, 0} - a;
}

/// a * 2^n; 0 <= n < 64.
inline UInt128 shiftLeft(UInt128 a, int n)
{
    assert(n >= 0 && n < 64);
    if (n == 0) return a;
    return {a.high << n | a.low >> (64 - n), a.low << n};
}

/// floor(a / 2^n); 0 <= n < 64.
inline UInt128 shiftRight(UInt128 a, int n)
{
    assert(n >= 0 && n < 64);
    if (n == 0) return a;
    return {a.high >> n, a.low >> n | a.high << (64 - n)};
}

/// The full product of two words.
inline UInt128 multiply(std::uint64_t a, std::uint64_t b)
{
#if defined(__SIZEOF_INT128__)
    __extension__ typedef unsigned __int128 Native;
    Native const product = static_cast<Native>(a) * b;
    return {static_cast<std::uint64_t>(product >> 64), static_cast<std::uint64_t>(product)};
#else
    std::uint64_t const mask = 0xffffffffu;
    std::uint64_t const a1 = a >> 32, a0 = a & mask, b1 = b >> 32, b0 = b & mask;
    std::uint64_t const low = a0 * b0;
    std::uint64_t const middle = a1 * b0 + (low >> 32);
    std::uint64_t const other = a0 * b1 + (middle & mask);
    return {a1 * b1 + (middle >> 32) + (other >> 32), other << 32 | (low & mask)};
#endif
}

/// The upper word of the product of two words.
inline std::uint64_t multiplyHigh(std::uint64_t a, std::uint64_t b)
{
    return multiply(a, b).high;
}

/// The upper two words of the product of two and one: at most one unit of the last place too small.
inline UInt128 multiplyHigh(UInt128 a, std::uint64_t b)
{
    UInt128 const upper = multiply(a.high, b);
    return upper + UInt128{0, multiplyHigh(a.low, b)};
}

/// The upper two words of the product of two and two: at most three units of the last place too small.
inline UInt128 multiplyHigh(UInt128 a, UInt128 b)
{
    return multiplyHigh(a, b.high) + UInt128{0, multiplyHigh(a.high, b.low)};
}

/// The number of zero bits before the first one; `word` must not be zero.
inline int leadingZeros(std::uint64_t word)
{
    assert(word != 0);
#if defined(__GNUC__)
    return __builtin_clzll(word);
#else
    int zeros = 0;
    for (int step = 32; step > 0; step /= 2) {
        if (word >> (64 - step) == 0) {
            zeros += step;
            word <<= step;
        }
    }
    return zeros;
#endif
}

} // namespace sinew::detail::portable
