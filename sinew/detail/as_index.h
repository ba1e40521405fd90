#pragma once

/// Conversion of the `int` indices of the public types into indices of standard containers. Not installed.

#include <cassert>
#include <cstddef>
#include <cstdint>

namespace sinew::detail {

/// The same index as the unsigned type that containers take. It must not be negative.
inline std::size_t asIndex(int i)
{
    assert(i >= 0);
    return static_cast<std::size_t>(i);
}
inline std::size_t asIndex(std::int64_t i)
{
    assert(i >= 0);
    return static_cast<std::size_t>(i);
}

} // namespace sinew::detail
