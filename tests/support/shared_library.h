#pragma once

/// Libraries that a test loads and unloads while it runs.

#include <optional>
#include <string>

namespace test {

/// Loads a library. Null if that fails; `loadError` then tells why.
void* openLibrary(char const* file);
std::string loadError();

/// Releases a library that `openLibrary` has returned. False if that fails.
bool closeLibrary(void* library);

/// Whether the program has the library loaded.
bool isLoaded(char const* file);

/// The bytes that the allocator has given out; nothing where the system does not tell. Freed blocks that the allocator
/// keeps for reuse count as given out.
std::optional<std::size_t> allocatorBytesInUse();

} // namespace test
