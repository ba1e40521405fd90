#pragma once

/// The reference implementation of packing and unpacking mesh functions: the definition, one character at a time.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <sinew/meshfunc/mesh_function_2d.h>

namespace reference {

inline void packInteger(std::string& text, int v)
{
    text += static_cast<char>((v & 63) + 63);
    text += static_cast<char>((v >> 6 & 63) + 63);
    text += static_cast<char>((v >> 12 & 63) + 63);
}

inline void packReal(std::string& text, double x)
{
    double const steps = (2.0 + x) * 1048576.0 + 0.5;
    std::int64_t q = 0;
    if (steps >= -0x1p63 && steps < 0x1p63) q = static_cast<std::int64_t>(steps);
    text += static_cast<char>((q & 63) + 63);
    text += static_cast<char>((q >> 6 & 63) + 63);
    text += static_cast<char>((q >> 12 & 63) + 63);
    text += static_cast<char>((q >> 18 & 63) + 63);
}

inline std::string pack(::MeshFunction2D const& f)
{
    std::string text = "0";
    text.reserve(f.facets.size() * 3 + 6 + 20 * f.params.size() + 1);
    packInteger(text, static_cast<int>(f.params.size()));
    for (std::size_t i = 0; i < f.params.size(); ++i) {
        packReal(text, f.params[i].x);
        packReal(text, f.params[i].y);
        packReal(text, f.values[i].x);
        packReal(text, f.values[i].y);
    }
    packInteger(text, static_cast<int>(f.normaldots.size()));
    for (float const scalar : f.normaldots) packReal(text, static_cast<double>(scalar));
    packInteger(text, static_cast<int>(f.facets.size()));
    for (int const index : f.facets) packInteger(text, index);
    return text;
}

/// Unpacks a text into the four vectors of a mesh function. The text must outlive this object. unpack() returns what is
/// wrong with the text, or an empty string.
class Unpacker
{
public:
    explicit Unpacker(std::string_view text) : text_(text) {}

    std::string unpack(::MeshFunction2D& f)
    {
        std::size_t const length = text_.size();
        if (length <= 3) return "saveString way too short";
        if (text_[0] != '0') return "wrong magic number";
        int const n = integer();
        if (n < 0 || length < (8 * static_cast<std::size_t>(n) + 3) * 2) return "first part of saveString too short";
        f.params.resize(static_cast<std::size_t>(n));
        f.values.resize(f.params.size());
        for (std::size_t i = 0; i < f.params.size(); ++i) {
            f.params[i].x = real();
            f.params[i].y = real();
            f.values[i].x = real();
            f.values[i].y = real();
        }
        int const m = integer();
        std::size_t const floor = 16 * f.params.size() + 4 * static_cast<std::size_t>(m);
        if (m < 0 || length < floor) return "second part of saveString too short";
        f.normaldots.clear();
        for (int i = 0; i < m; ++i) f.normaldots.push_back(static_cast<float>(real()));
        int const k = integer();
        if (k < 0 || length < 3 * static_cast<std::size_t>(k) + 6 + floor) return "third part of saveString too short";
        f.facets.clear();
        for (int i = 0; i < k; ++i) f.facets.push_back(integer());
        return "";
    }

private:
    int next() { return at_ < text_.size() ? static_cast<signed char>(text_[at_++]) : 63; }

    int integer()
    {
        int const c0 = next(), c1 = next(), c2 = next();
        return c0 + 64 * c1 + 4096 * c2 - 262143;
    }
    double real()
    {
        int const c0 = next(), c1 = next(), c2 = next(), c3 = next();
        return (c0 + 64 * c1 + 4096 * c2 + 262144 * c3 - 16777215) * 9.5367431640625e-7 - 2.0;
    }

    std::string_view text_;
    std::size_t at_ = 1;
};

} // namespace reference
