#pragma once

/// The one exception for everything the user can put right: a file that is missing or damaged, a folder that cannot be
/// written. `main` prints it as one line and ends with status 1.

#include <cstddef>
#include <stdexcept>
#include <string>

namespace tool {

class UserError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;

    /// "file: what. Advice." Full stops are added here.
    UserError(std::string const& file, std::string const& what, std::string const& advice)
        : std::runtime_error(file + ": " + what + ". " + advice + ".")
    {
    }

    /// "file:line: what. Advice.", lines counted from 1, the form editors jump to.
    UserError(std::string const& file, std::size_t line, std::string const& what, std::string const& advice)
        : UserError(file + ":" + std::to_string(line), what, advice)
    {
    }
};

} // namespace tool
