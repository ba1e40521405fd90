#pragma once

/// The quick steps of exp, log and pow in doubles: about 60 bits of the results, from one table each and a short
/// series. They are in a header, because each function needs them inline.
///
/// Source: P. T. P. Tang, Table-driven implementation of the exponential function in IEEE floating-point arithmetic,
/// 1989, and of the logarithm function, 1990.

#include <cstdint>

#include <sinew/core/detail/portable_constants.h>
#include <sinew/core/detail/portable_rounding.h>

namespace sinew::detail::portable {

constexpr std::uint64_t kSmallestNormalBits = std::uint64_t{1} << 52;

/// Whether these are the bits of a positive number that is neither subnormal nor infinite.
inline bool isPositiveNormal(std::uint64_t bits)
{
    return bits - kSmallestNormalBits < kInfinityBits - kSmallestNormalBits;
}

/// The arguments of quickExp are below this, so that its results are normal numbers.
constexpr double kQuickExpLimit = 704.0;

/// The error of e^x in units of the power of two below it: four roundings near 2^-64, doubled by the factor from the
/// table, and three near 2^-63.
constexpr double kQuickExpError = 0x1p-60;

/// e^(x.high + x.low), rounded to a double if an error of `error` times the power of two below it allows that.
/// |x.high| < kQuickExpLimit and |x.low| < 2^-16.
inline bool quickExp(TwoDoubles const& x, double error, double* result)
{
    // e^x = 2^(k / 512) e^r with |r| < 2^-10.5.
    double const kIntegers = 0x1.8p52; // sums with it are integers
    double const shifted = x.high * kStepsPerLn2 + kIntegers;
    double const k = shifted - kIntegers;
    std::uint64_t const steps = bitsOf(shifted);
    double const r = ((x.high - k * kLn2Step.high) - k * kLn2Step.low) + x.low;
    TwoDoubles const& table = kExp2Table[steps % 512];
    double const r2 = r * r;
    double const p =
        r + r2 * ((0.5 + r * 0x1.5555555555555p-3) + r2 * (0x1.5555555555555p-5 + r * 0x1.1111111111111p-7));
    double mantissa = 0.0;
    bool const isCertain = roundIfCertain(table.high, table.low + table.high * p, error, &mantissa);
    *result = fromBits(bitsOf(mantissa) + (steps / 512 << 52)); // modulo 2^64, also for negative exponents
    return isCertain;
}

/// ln x = high + low + ln(1 + r) with |r| < 2^-9. `r` is exact; `high` is zero or larger than |r|; the error of `low`
/// is below 2^-86, and zero where `high` is.
struct QuickLogarithm
{
    double high;
    double low;
    double r;
};

/// For a positive normal number x, from its bits.
inline QuickLogarithm splitLog(std::uint64_t bits)
{
    double const k = static_cast<double>(static_cast<std::int64_t>(bits >> 52) - 1023);
    QuickLogStep const& step = kQuickLog[bits >> 43 & 511];
    std::uint64_t const fraction = bits & (kSmallestNormalBits - 1);
    double const r = static_cast<double>(static_cast<std::int64_t>(fraction * step.reciprocal + step.offset)) * 0x1p-62;
    return {k * kLn2Table.high + step.high, k * kLn2Table.low + step.low, r};
}

} // namespace sinew::detail::portable
