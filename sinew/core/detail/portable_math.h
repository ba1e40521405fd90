#pragma once

/// Correctly rounded elementary functions: the double nearest to the exact result, ties to even, for every argument, on
/// every processor and with every compiler.
///
/// Each function first computes about 70 bits of its result in 64-bit integers. If the error bound does not
/// determine the rounding, it repeats the computation with 256 bits, and then with 512 bits.
/// Source of the method: A. Ziv, Fast evaluation of elementary mathematical functions with correctly rounded last bit,
/// ACM Transactions on Mathematical Software 17, 1991. The hardest arguments of the functions of one variable, as far
/// as they are known, need fewer than 130 bits: V. Lefevre and J.-M. Muller, Worst cases for correct rounding of the
/// elementary functions in double precision, 2001.
///
/// Special arguments follow ISO C, annex F. The floating-point environment must round to nearest; its exception flags
/// are not maintained.

namespace sinew::detail::portable {

double sin(double x);             ///< of x radians; NaN for an infinity
double cos(double x);             ///< of x radians; NaN for an infinity
double atan2(double y, double x); ///< the angle of (x, y), in [-pi, pi]
double exp(double x);
double log(double x); ///< natural; -infinity for a zero, NaN for a negative number
double pow(double x, double y);

} // namespace sinew::detail::portable
