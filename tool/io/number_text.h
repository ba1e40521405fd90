#pragma once

/// Words and numbers in text files, independent of the locale.

#include <charconv>
#include <string>
#include <string_view>
#include <system_error>

#include <sinew/detail/number_reader.h>

namespace tool {

/// Removes the next word from the front of `rest` and returns it. Empty at the end and at a comment (#).
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

/// Whether the whole word is a number; `value` receives it. "nan" and "inf" are numbers. A number that is too large
/// for a double gives an infinity, one that is too small gives a zero, both with its sign. `value` may be changed when
/// the result is false.
inline bool parseDouble(std::string_view word, double& value)
{
    if (!word.empty() && word.front() == '+') word.remove_prefix(1);
    auto const [end, status] = sinew::detail::readReal(word.data(), word.data() + word.size(), value);
    return status != sinew::detail::NumberStatus::malformed && end == word.data() + word.size();
}

/// Whether the whole word is a whole number that fits a long; `value` receives it.
inline bool parseLong(std::string_view word, long& value)
{
    auto const [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    return error == std::errc() && end == word.data() + word.size();
}

/// Calls `visit(line)` for every line, without its end: "\n", "\r\n" or "\r".
template <typename Visit>
void forEachLine(std::string_view text, Visit visit)
{
    while (!text.empty()) {
        std::size_t const end = text.find_first_of("\r\n");
        visit(text.substr(0, end));
        if (end == std::string_view::npos) return;
        std::size_t const length = text.substr(end, 2) == "\r\n" ? 2 : 1;
        text = text.substr(end + length);
    }
}

} // namespace tool
