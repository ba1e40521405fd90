#pragma once

/// The exception for errors that the user can correct.

#include <cstddef>
#include <stdexcept>
#include <string>

namespace tool {

/// An error that the user can correct: a file that is missing or damaged, a folder that cannot be written. `main`
/// prints it as one line and returns status 1.
class UserError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;

    /// The message "file: what. Advice." The full stops are added here.
    UserError(std::string const& file, std::string const& what, std::string const& advice)
        : std::runtime_error(file + ": " + what + ". " + advice + ".")
    {
    }

    /// The message "file:line: what. Advice." Lines count from 1. Editors understand this form and open the line.
    UserError(std::string const& file, std::size_t line, std::string const& what, std::string const& advice)
        : UserError(file + ":" + std::to_string(line), what, advice)
    {
    }
};

} // namespace tool
