#pragma once

/// Text to numbers, with the same result on every platform. Not installed.
///
/// The standard functions are not used: some libraries have no std::from_chars for floating-point numbers, others round
/// twice, and the input streams of two libraries accept different texts. No function here depends on the locale or on
/// the rounding mode of the processor.

#include <string_view>

namespace sinew::detail {

/// How the reading of a number ended.
enum class NumberStatus
{
    ok,
    malformed, ///< the text does not begin with a number
    tooLarge,  ///< the number is rounded to an infinity
    tooSmall   ///< the number is not zero, but is rounded to zero
};

/// The end of the number in the text; the beginning of the text if it is malformed.
struct NumberEnd
{
    char const* end;
    NumberStatus status;
};

/// Reads the longest number at the beginning of [first, last). `Real` is float or double.
///
/// A number is what std::from_chars takes for one in general format: digits with at most one point among, before or
/// after them, then possibly an exponent, with a minus sign or no sign in front; "inf", "infinity", "nan" and
/// "nan(...)" in any case. White space and a plus sign are not skipped.
///
/// @param value  receives the number of type `Real` that is nearest to the decimal number, of two nearest ones the one
///               with an even mantissa. It receives an infinity or a zero if the number is too large or too small, and
///               is left unchanged if the text is malformed.
///
/// Linear cost in the length of the text, no allocation.
template <typename Real>
NumberEnd readReal(char const* first, char const* last, Real& value);

/// Takes a number from the front of `text`, as libstdc++'s input streams do in the "C" locale: skips white space, then
/// takes the longest beginning of a decimal number. Returns whether this was a whole number that is not too large for a
/// double. A number that is too small gives a zero. "nan", "inf" and hexadecimal numbers are not taken.
///
/// @param text   loses the number and the white space before it.
/// @param value  receives the number.
///
/// Both are left unchanged when the result is false.
bool takeReal(std::string_view& text, double& value);

/// Whether `c` is white space in the "C" locale: a blank, "\t", "\n", "\v", "\f" or "\r".
inline bool isSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

} // namespace sinew::detail
