#pragma once

/// The parts of exp, log and pow that these functions share, each with about 70 correct bits, and their wide forms.

#include <cstddef>
#include <cstdint>

#include <sinew/core/detail/portable_rounding.h>
#include <sinew/core/detail/wide_number.h>
#include <sinew/detail/uint128.h>

namespace sinew::detail::portable {

/// 2^(fraction / 2^128), times 2^127; the relative error is below 2^-69. For a fraction close to 2^128 the sum may
/// wrap around to a small number. It is then not normalised, and `roundIfCertain` rejects it.
UInt128 exp2OfFraction(UInt128 fraction);

/// whole + fraction / 2^128.
struct BinaryExponent
{
    int whole;
    UInt128 fraction;
};

/// (negative ? -1 : 1) * m * 2^(exponent - 127) for exponent < 30; the absolute error is below 2^-127, in
/// addition to the error of m.
BinaryExponent splitExponent(UInt128 m, int exponent, bool negative);

/// The same for a product with log2(e); the absolute error is below 2^(exponent - 124).
BinaryExponent timesLog2E(UInt128 mantissa, int exponent, bool negative);

/// A logarithm as (negative ? -1 : 1) * mantissa * 2^(exponent - 127).
struct Logarithm
{
    UInt128 mantissa; ///< The first bit is set.
    int exponent;
    bool negative;
};

/// ln x for a finite x > 0 other than 1, from its bits; the relative error is below 2^-75.
Logarithm logOf(std::uint64_t bits);

/// e^x; |x| < 2^12. The relative error is below 2^(errorBits - 64 kWords); see kWideExpErrorBits.
template <std::size_t kWords>
Wide<kWords> wideExp(Wide<kWords> const& x);

/// ln x for a finite x > 0 other than 1; the error is below 2^(kWideLogErrorBits - 64 kWords).
template <std::size_t kWords>
Wide<kWords> wideLog(std::uint64_t bits);

constexpr int kWideExpErrorBits = 64;
constexpr int kWideLogErrorBits = 72;

} // namespace sinew::detail::portable
