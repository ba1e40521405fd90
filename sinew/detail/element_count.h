#pragma once

/// Sizes of containers that are computed and not counted, such as the entries of a factor. Not installed.

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <new>
#include <type_traits>

namespace sinew::detail {

/// `count`, of any integer type, as the size of an array of `T`, or std::bad_alloc if no object can be that large.
/// Without this test a size of 2^32 bytes or more would wrap where addresses have 32 bits; and where it does not wrap,
/// containers throw std::length_error, which is not what the library promises for memory that runs out. `count` must
/// not be negative.
template <typename T, typename Integer>
std::size_t elementCount(Integer count)
{
    if constexpr (std::is_signed_v<Integer>) assert(count >= 0);
    if (static_cast<std::uint64_t>(count) > PTRDIFF_MAX / sizeof(T)) throw std::bad_alloc();
    return static_cast<std::size_t>(count);
}

} // namespace sinew::detail
