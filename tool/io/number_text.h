#pragma once

/// Words and numbers in text files, the same under every locale.

#include <charconv>
#include <limits>
#include <string>
#include <string_view>

namespace tool {

/// Cuts the next word off the front of `rest`; empty at the end of it or at a comment (#).
inline std::string_view nextWord(std::string_view& rest)
{
    char const* const blanks = " \t\r\v\f";
    std::size_t const start = rest.find_first_not_of(blanks);
    if (start == std::string_view::npos || rest[start] == '#') return rest = {};
    std::size_t const end = rest.find_first_of(blanks, start);
    std::string_view const word = rest.substr(start, end - start);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end);
    return word;
}

/// True when the whole word is a number; "nan" and "inf" are. Too large a number is an infinity, too small a one is 0.
inline bool parseDouble(std::string_view word, double& value)
{
    if (!word.empty() && word.front() == '+') word.remove_prefix(1);
    auto const [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (error == std::errc::result_out_of_range) {
        bool const tiny = word.find("e-") != word.npos || word.find("E-") != word.npos;
        value = tiny ? 0.0 : std::numeric_limits<double>::infinity();
    } else if (error != std::errc()) {
        return false;
    }
    return end == word.data() + word.size();
}

inline bool parseLong(std::string_view word, long& value)
{
    auto const [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    return error == std::errc() && end == word.data() + word.size();
}

/// Calls `visit(line)` for every line, without its end.
template <typename Visit>
void forEachLine(std::string_view text, Visit visit)
{
    while (!text.empty()) {
        std::size_t const end = text.find('\n');
        visit(text.substr(0, end));
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    }
}

} // namespace tool
