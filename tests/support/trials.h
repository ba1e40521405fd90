#pragma once

/// How many inputs a test compares with exact arithmetic.

#include <cstdlib>

namespace test {

/// `few` in every run of the tests; `many` if the environment variable SINEW_TEST_ALL_TRIALS is set, as `./dev
/// accuracy` does.
inline long trials(long few, long many)
{
    return std::getenv("SINEW_TEST_ALL_TRIALS") ? many : few;
}

} // namespace test
