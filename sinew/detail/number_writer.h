#pragma once

/// Numbers to text, with the same digits on every platform. Not installed.
///
/// The standard functions are not used: some libraries have no std::to_chars for floating-point numbers, and some
/// printing functions write other exponents or round ties otherwise. No function here depends on the locale.

#include <string>

namespace sinew::detail {

/// No text of a number is longer: sign, 17 digits, point, zeros or exponent.
inline constexpr int kLongestReal = 32;

/// Writes the shortest decimal number that gives the same bits when it is read as a `Real` (float or double); of
/// several such, the one nearest to `value`. The text has the format that std::to_chars gives without a format: fixed
/// or scientific notation, whichever is shorter, and fixed if both are equally long. A NaN is "nan" or "-nan", an
/// infinity "inf" or "-inf".
///
/// @param out  must have space for kLongestReal characters.
///
/// Returns the end of what it has written. Constant cost, no allocation.
template <typename Real>
char* writeReal(Real value, char* out);

/// The number with `digits` significant digits, rounded to the nearest, ties to even, in the form of printf's %g in the
/// "C" locale: without zeros at the end, in scientific notation if the exponent is below -4 or not below `digits`.
/// NaN and infinity are as in `writeReal`.
///
/// @param digits  in [1, 17].
std::string realText(double value, int digits);

} // namespace sinew::detail
