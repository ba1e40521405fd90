#pragma once

/// Reading and writing of whole files, with errors that name the file and what the user can do.

#include <filesystem>
#include <string>
#include <string_view>

namespace tool {

/// The path that a UTF-8 text names, and the UTF-8 text of a path. All texts with paths are UTF-8 here. Windows would
/// take them for texts in its code page, which lacks most characters.
std::filesystem::path pathOf(std::string const& text);
std::string textOf(std::filesystem::path const& path);

/// The bytes of a file. Throws `UserError` if the path is missing, is a folder, cannot be read, or is an empty file.
std::string readFile(std::string const& path);

/// Writes a whole file and replaces an existing one. Throws `UserError` if any byte could not be written.
void writeFile(std::string const& path, std::string_view bytes);

/// Creates the folder and its parents, and checks that files can be written there. Throws `UserError` if they cannot.
void makeWritableFolder(std::string const& path);

} // namespace tool
