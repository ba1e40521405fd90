#pragma once

/// The characters of XML 1.0 text: which of them are allowed, how they are escaped and how references are resolved.
/// Source: W3C, Extensible Markup Language (XML) 1.0, fifth edition, 2008, sections 2.2, 2.3, 2.11, 3.3.3 and 4.6.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace sinew::detail {

/// White space as XML defines it: blank, tab, line feed, carriage return.
constexpr bool isXmlSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

/// Whether `c` is the second, third or fourth byte of a character in UTF-8: its two highest bits are 10.
constexpr bool isContinuationByte(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0u) == 0x80u;
}

/// Offset of the first byte of `text` that is not part of an allowed character in shortest-form UTF-8; `text.size()` if
/// there is none.
std::size_t findBadCharacter(std::string_view text);

/// Whether XML allows the character, literally or as a character reference.
bool isXmlCharacter(std::uint32_t codePoint);

/// Length in bytes of the longest XML name at the beginning of `text`; 0 if `text` does not begin with a name. Bytes
/// that are not UTF-8 end the name.
std::size_t nameLength(std::string_view text);

/// Whether `text` as a whole is an XML name. The bytes need not be UTF-8.
bool isXmlName(std::string_view text);

/// Appends `text` as character data: escapes the characters that a reader would otherwise not return unchanged.
void appendEscapedText(std::string& out, std::string_view text);
/// Appends `text` as the text of an attribute between double quotes, escaped for the same reason.
void appendEscapedAttribute(std::string& out, std::string_view text);

/// Offset of the first character that `appendEscapedText` escapes; `text.size()` if there is none.
std::size_t findEscaped(std::string_view text);

/// Resolves the reference at the beginning of `text`: one of the five predefined entities ("&lt;") or a character
/// ("&#65;", "&#x41;"). `text` begins with "&".
/// @param out  receives the character at its end; may be null. Left unwritten if the result is 0.
/// @return  the length of the reference in bytes; 0 if `text` does not begin with a reference that XML allows.
std::size_t resolveReference(std::string_view text, std::string* out);

/// Appends character data with references resolved and line ends changed to "\n". Every "&" in `raw` must begin a valid
/// reference.
void appendResolvedText(std::string& out, std::string_view raw);
/// Appends the text of an attribute with references resolved and every literal tab and line end changed to a blank.
/// Every "&" in `raw` must begin a valid reference.
void appendResolvedAttribute(std::string& out, std::string_view raw);
/// Appends the text of a CDATA section: line ends are changed to "\n", everything else is kept.
void appendLines(std::string& out, std::string_view raw);

/// `text` if it has at most 60 bytes, otherwise its first characters and "...": messages quote names and texts of the
/// document, which may have megabytes.
std::string shortened(std::string_view text);

} // namespace sinew::detail
