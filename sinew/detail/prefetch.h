#pragma once

/// Fetches memory into the caches before it is needed. Not installed.

#include <cstddef>

#include <sinew/detail/dispatch.h>

namespace sinew::detail {

/// Bytes that the processor loads at once.
inline constexpr std::size_t kCacheLine = 64;

/// Fetches what is about to be read. Any address is allowed.
SINEW_KERNEL void prefetch([[maybe_unused]] void const* address)
{
#if defined(__GNUC__)
    __builtin_prefetch(address);
#endif
}

/// Fetches what is about to be written.
SINEW_KERNEL void prefetchForWriting([[maybe_unused]] void* address)
{
#if defined(__GNUC__)
    __builtin_prefetch(address, 1);
#endif
}

} // namespace sinew::detail
