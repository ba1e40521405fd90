#pragma once

/// Whole files in and out, with errors that a user can act on.

#include <string>
#include <string_view>

namespace tool {

/// The bytes of a file. A missing file, a folder, an unreadable or an empty file throws `UserError`.
std::string readFile(std::string const& path);

/// Writes a whole file, replacing what is there; throws `UserError` when any of it could not be written.
void writeFile(std::string const& path, std::string_view bytes);

/// Makes the folder with its parents and makes sure that files can be written there; throws `UserError` otherwise.
void makeWritableFolder(std::string const& path);

} // namespace tool
