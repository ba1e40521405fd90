#pragma once

/// Base64 of the raw bytes of an array: what a host might write instead of a packed text.
///
/// Source: S. Josefsson, The Base16, Base32, and Base64 data encodings, RFC 4648, 2006, section 4.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace base64 {

constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char kPadding = '=';
constexpr std::size_t kGroupBytes = 3;
constexpr std::size_t kGroupDigits = 4;

template <typename T>
std::string encode(std::vector<T> const& array)
{
    auto const* in = reinterpret_cast<unsigned char const*>(array.data());
    std::size_t const size = array.size() * sizeof(T);
    std::string text((size + kGroupBytes - 1) / kGroupBytes * kGroupDigits, kPadding);
    char* out = text.data();
    // Bytes beyond the end count as 0. The digits that hold only such bytes remain padding.
    auto const encodeGroup = [&](std::size_t begin, std::size_t bytes) {
        std::uint32_t group = static_cast<std::uint32_t>(in[begin]) << 16;
        if (bytes > 1) group |= static_cast<std::uint32_t>(in[begin + 1]) << 8;
        if (bytes > 2) group |= in[begin + 2];
        for (std::size_t k = 0; k <= bytes; ++k) out[k] = kDigits[group >> (18 - 6 * k) & 63];
        out += kGroupDigits;
    };
    std::size_t i = 0;
    for (; i + kGroupBytes <= size; i += kGroupBytes) encodeGroup(i, kGroupBytes);
    if (i < size) encodeGroup(i, size - i);
    return text;
}

inline std::array<std::uint8_t, 256> const& valuesOfDigits()
{
    static std::array<std::uint8_t, 256> const values = [] {
        std::array<std::uint8_t, 256> table{};
        for (std::uint8_t i = 0; i < 64; ++i) table[static_cast<unsigned char>(kDigits[i])] = i;
        return table;
    }();
    return values;
}

template <typename T>
void decode(std::string const& text, std::vector<T>& array)
{
    std::array<std::uint8_t, 256> const& values = valuesOfDigits();
    std::size_t const padding = text.size() - (text.find_last_not_of(kPadding) + 1);
    std::size_t const size = text.size() / kGroupDigits * kGroupBytes - padding;
    array.resize(size / sizeof(T));
    auto* const out = reinterpret_cast<unsigned char*>(array.data());
    auto const* in = reinterpret_cast<unsigned char const*>(text.data());
    for (std::size_t i = 0; i < size; i += kGroupBytes, in += kGroupDigits) {
        std::uint32_t const group =
            static_cast<std::uint32_t>(values[in[0]] << 18 | values[in[1]] << 12 | values[in[2]] << 6 | values[in[3]]);
        out[i] = static_cast<unsigned char>(group >> 16);
        if (i + 1 < size) out[i + 1] = static_cast<unsigned char>(group >> 8);
        if (i + 2 < size) out[i + 2] = static_cast<unsigned char>(group);
    }
}

} // namespace base64
