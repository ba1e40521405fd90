#pragma once

/// Numbers as printable characters, six bits a character. The value 0 is "?" (63) and the value 63 is "~" (126). The
/// least significant six bits come first. None of these characters needs escaping in XML.
///
/// An integer takes three characters, which keep its lowest 18 bits. A real takes four characters, which keep the
/// lowest 24 bits of (2 + x) * 2^20 + 0.5, truncated: fixed point with a step of 2^-20 over [-2, 14). Numbers outside
/// that range wrap. A real whose steps need more than 64 bits, an infinity or a NaN is packed as -2.
///
/// Unpacking applies the same formula to any characters, taken as signed bytes. Text from an unknown source therefore
/// has a defined meaning, in which integers may be negative or a little above 262143.

#include <cstddef>

#include <sinew/framework/vect2.h>

namespace sinew::detail {

inline constexpr char kFirstCharacter = '?'; ///< stands for six bits that are all zero
inline constexpr int kBitsPerCharacter = 6;
inline constexpr int kCharactersPerInteger = 3;
inline constexpr int kCharactersPerReal = 4;
inline constexpr int kIntegerBits = kCharactersPerInteger * kBitsPerCharacter;
inline constexpr int kRealBits = kCharactersPerReal * kBitsPerCharacter;

/// Largest integer that does not wrap.
inline constexpr int kLargestPackedInteger = (1 << kIntegerBits) - 1;

/// A real is packed as its number of steps above minus this.
inline constexpr double kPackedOrigin = 2.0;
inline constexpr double kStepsPerUnit = 0x1p20;
inline constexpr double kStep = 0x1p-20;

/// Characters of each item of a packed mesh function.
inline constexpr std::size_t kPackedInteger = kCharactersPerInteger;
inline constexpr std::size_t kPackedReal = kCharactersPerReal;
inline constexpr std::size_t kRealsPerVertex = 4; ///< position x and y, value x and y
inline constexpr std::size_t kPackedVertex = kRealsPerVertex * kPackedReal;

/// These functions pack `count` items. `out` must have space for their characters. They return the end of what they
/// have written.
char* packIntegers(int const* numbers, std::size_t count, char* out);
char* packReals(float const* numbers, std::size_t count, char* out);
/// Packs for each vertex the x and y of its position, then the x and y of its value.
char* packVertices(tzNM::vect2<double> const* params, tzNM::vect2<double> const* values, std::size_t count, char* out);

/// These functions unpack `count` items. They return the end of the characters that they have read.
char const* unpackIntegers(char const* in, std::size_t count, int* numbers);
char const* unpackReals(char const* in, std::size_t count, float* numbers);
char const* unpackVertices(char const* in, std::size_t count, tzNM::vect2<double>* params, tzNM::vect2<double>* values);

} // namespace sinew::detail
