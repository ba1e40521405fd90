#pragma once

/// The conversion from the signed indices of meshes, skeletons and pictures to those of containers.

#include <cassert>
#include <cstddef>

namespace tool {

/// `i` as the index of an element; it must not be negative.
constexpr std::size_t asIndex(int i)
{
    assert(i >= 0);
    return static_cast<std::size_t>(i);
}

} // namespace tool
