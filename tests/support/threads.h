#pragma once

/// Work on several threads that start at nearly the same time, so that the thread sanitizer sees them together.

#include <atomic>
#include <thread>
#include <vector>

namespace test {

/// Calls `work(i)` for i = 0 .. count - 1, each on a thread of its own, and waits for all.
template <typename Work>
void runTogether(int count, Work const& work)
{
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&, i] {
            ++ready;
            while (ready < count) std::this_thread::yield();
            work(i);
        });
    }
    for (std::thread& thread : threads) thread.join();
}

} // namespace test
