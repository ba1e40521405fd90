#pragma once

/// What the system tells a program when it starts.

#include <string>
#include <vector>

namespace tool {

/// The arguments of the program as UTF-8, without its name. Windows hands `main` arguments in which characters outside
/// its code page are lost; there they come from the command line itself, and the console is set to UTF-8 for the
/// output.
std::vector<std::string> programArguments(int argc, char** argv);

/// Whether standard output is a terminal.
bool outputIsTerminal();

} // namespace tool
