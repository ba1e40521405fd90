#pragma once

/// Text made safe for HTML, and bytes made text.

#include <string>
#include <string_view>

namespace tool {

std::string escapeHtml(std::string_view words);
std::string base64(std::string_view bytes);

/// The style sheet of the page.
extern char const* const kPageStyle;

} // namespace tool
