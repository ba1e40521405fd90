#pragma once

/// Characters of XML 1.0 text: which are allowed, how they are escaped and resolved.
/// Source: W3C, Extensible Markup Language (XML) 1.0, fifth edition, 2008, sections 2.2, 2.3, 2.11, 3.3.3 and 4.6.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace sinew::detail {

/// White space as XML has it: blank, tab, line feed, carriage return.
constexpr bool isXmlSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

/// Offset of the first byte of `text` that is not part of a character XML allows, encoded as shortest UTF-8;
/// `text.size()` if all is well.
std::size_t findBadCharacter(std::string_view text);

/// Whether XML allows the character at all, even as a character reference.
bool isXmlCharacter(std::uint32_t codePoint);

/// Length in bytes of the XML name that `text` begins with; 0 if it begins with none. Valid UTF-8 is assumed.
std::size_t nameLength(std::string_view text);

/// Whether `text`, any bytes, is an XML name.
bool isXmlName(std::string_view text);

/// Appends `text` with everything escaped that would not come back from character data as it is.
void appendEscapedText(std::string& out, std::string_view text);
/// The same for an attribute's text, to stand between double quotes.
void appendEscapedAttribute(std::string& out, std::string_view text);

/// Offset of the first character that `appendEscapedText` replaces; `text.size()` if there is none.
std::size_t findEscaped(std::string_view text);

/// Resolves the reference that `text` begins with ("&lt;", "&#65;", "&#x41;"): one of the five predefined entities or a
/// character. Appends the character to `out`, unless that is null, and returns the length of the reference; 0 if it is
/// none that XML allows.
std::size_t resolveReference(std::string_view text, std::string* out);

/// Appends character data with references resolved and line ends normalised to "\n". All references must be valid.
void appendResolvedText(std::string& out, std::string_view raw);
/// Appends an attribute's text with references resolved and every literal white space normalised to a blank.
void appendResolvedAttribute(std::string& out, std::string_view raw);
/// Appends text with line ends normalised to "\n" and nothing else changed, as CDATA asks for.
void appendLines(std::string& out, std::string_view raw);

/// `text`, cut off after some sixty bytes: names and texts of a stranger appear in messages, but not by the megabyte.
std::string shortened(std::string_view text);

} // namespace sinew::detail
