#pragma once

/// Numbers as printable characters, six bits a character: value 0 is "?" (63), value 63 is "~" (126), the least
/// significant group stands first. None of these characters needs escaping in XML.
///
/// An integer is three characters and keeps its low 18 bits. A real is four characters, the low 24 bits of
/// (2 + x) * 2^20 + 0.5 truncated: fixed point with a step of 2^-20 over [-2, 14). What does not fit wraps; a real
/// beyond 64 bits, an infinity or NaN is packed as -2.
///
/// Unpacking takes any characters by the same formula, as signed bytes, so that text from a stranger has a defined
/// meaning: integers may come out negative or a little above 262143.

#include <cstddef>

#include <sinew/framework/vect2.h>

namespace sinew::detail {

inline constexpr std::size_t kPackedInteger = 3; ///< characters of an integer
inline constexpr std::size_t kPackedReal = 4;    ///< characters of a real
inline constexpr std::size_t kPackedVertex = 4 * kPackedReal;

/// Each writes its packed characters to `out` and returns where they end.
char* packIntegers(int const* numbers, std::size_t count, char* out);
char* packReals(float const* numbers, std::size_t count, char* out);
/// For every vertex its position's x and y, then its value's.
char* packVertices(tzNM::vect2<double> const* params, tzNM::vect2<double> const* values, std::size_t count, char* out);

/// Each reads `count` items and returns where the packed characters end.
char const* unpackIntegers(char const* in, std::size_t count, int* numbers);
char const* unpackReals(char const* in, std::size_t count, float* numbers);
char const* unpackVertices(char const* in, std::size_t count, tzNM::vect2<double>* params, tzNM::vect2<double>* values);

} // namespace sinew::detail
