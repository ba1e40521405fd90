#pragma once

#include <cstddef>
#include <functional>

namespace test {

/// Runs `action` on a thread with a stack of `bytes` and waits for its end. False: there is no such thread, and
/// `action` has not run.
bool runWithStack(std::size_t bytes, std::function<void()> action);

} // namespace test
