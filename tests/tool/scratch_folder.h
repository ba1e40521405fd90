#pragma once

// A temporary folder for a test, and a function that runs a program.

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

namespace test {

// A new folder, which the destructor removes.
class ScratchFolder
{
public:
    ScratchFolder()
    {
        // The name contains a space and letters beyond ASCII, because the program must handle such paths.
        std::string form = (std::filesystem::temp_directory_path() / "sinew t\xC3\xABst XXXXXX").string();
        if (mkdtemp(form.data()) != nullptr) path_ = form;
    }
    ~ScratchFolder()
    {
        std::error_code ignored;
        if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
    }
    ScratchFolder(ScratchFolder const&) = delete;
    ScratchFolder& operator=(ScratchFolder const&) = delete;

    std::string operator/(std::string const& name) const { return (path_ / name).string(); }

    std::string write(std::string const& name, std::string const& bytes) const
    {
        std::ofstream(path_ / name, std::ios::binary) << bytes;
        return *this / name;
    }

private:
    std::filesystem::path path_;
};

// The result of a program.
struct Outcome
{
    int status = -1; // of the program; -1 when it was killed by a signal
    std::string output;
};

inline std::string quoted(std::string const& word)
{
    return "'" + word + "'";
}

// Runs a shell command. The output contains both of its streams.
inline Outcome run(std::string const& command)
{
    Outcome outcome;
    FILE* const pipe = popen((command + " 2>&1").c_str(), "r");
    if (!pipe) return outcome;
    std::array<char, 4096> buffer;
    for (std::size_t n; (n = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;)
        outcome.output.append(buffer.data(), n);
    int const status = pclose(pipe);
    if (WIFEXITED(status)) outcome.status = WEXITSTATUS(status);
    return outcome;
}

} // namespace test
