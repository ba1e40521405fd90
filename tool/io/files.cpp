#include <tool/io/files.h>

#include <fstream>
#include <iterator>
#include <system_error>

#include <tool/support/user_error.h>

namespace tool {

std::filesystem::path pathOf(std::string const& text)
{
    return std::filesystem::u8path(text);
}

std::string textOf(std::filesystem::path const& path)
{
    return path.u8string();
}

std::string readFile(std::string const& path)
{
    std::error_code ignored;
    std::filesystem::file_status const status = std::filesystem::status(pathOf(path), ignored);
    if (!std::filesystem::exists(status)) throw UserError(path, "no such file", "Check the path and its spelling");
    if (std::filesystem::is_directory(status)) throw UserError(path, "this is a folder", "Name a file inside it");
    std::ifstream in(pathOf(path), std::ios::binary);
    if (!in) throw UserError(path, "the file cannot be opened", "Check that you may read it");
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) throw UserError(path, "reading failed", "Check the disk");
    if (bytes.empty()) throw UserError(path, "the file is empty", "Export it again");
    return bytes;
}

void writeFile(std::string const& path, std::string_view bytes)
{
    std::ofstream out(pathOf(path), std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out)
        throw UserError(path, "the file cannot be written", "Check the free space and the permissions of the folder");
}

void makeWritableFolder(std::string const& path)
{
    namespace fs = std::filesystem;
    std::error_code error;
    fs::path const folder = pathOf(path);
    if (fs::exists(folder, error) && !fs::is_directory(folder, error)) {
        throw UserError(path, "this is a file, not a folder", "Choose another folder with --output");
    }
    fs::create_directories(folder, error);
    if (error) {
        throw UserError(path, "the folder cannot be created (" + error.message() + ")",
                        "Choose another folder with --output");
    }
    // Only creating a file shows whether permissions, quotas and read-only mounts allow it.
    fs::path const probe = folder / ".sinew-write-test";
    bool const created = static_cast<bool>(std::ofstream(probe));
    fs::remove(probe, error);
    if (!created) throw UserError(path, "files cannot be written here", "Choose another folder with --output");
}

} // namespace tool
