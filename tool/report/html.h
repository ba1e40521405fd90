#pragma once

/// Text and bytes for HTML pages, and the style sheet of the report.

#include <string>
#include <string_view>

namespace tool {

/// The words with &, <, > and " replaced by entities, for the text and the attributes of a page.
std::string escapeHtml(std::string_view words);

/// The bytes in base 64, with padding. Source: RFC 4648, section 4.
std::string base64(std::string_view bytes);

/// The style sheet of the report.
extern char const* const kPageStyle;

} // namespace tool
