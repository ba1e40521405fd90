#pragma once

/// Conversion of the signed indices and counts of the public types into those of standard containers. Not installed.

#include <cassert>
#include <cstddef>
#include <cstdint>

namespace sinew::detail {

/// The same index or count in the unsigned type of standard containers. It must not be negative.
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
