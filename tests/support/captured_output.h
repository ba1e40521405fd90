#pragma once

#include <functional>
#include <string>

namespace test {

/// The text that `action` writes to the file behind standard output. The file is read without the standard library, so
/// the text contains only what `action` has flushed.
std::string flushedOutput(std::function<void()> const& action);

} // namespace test
