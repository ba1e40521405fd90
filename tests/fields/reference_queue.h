#pragma once

/// The priority queue of the reference implementations.

#include <queue>
#include <vector>

#include <sinew/fields/detail/bound_heap.h>

namespace reference {

#if defined(__GLIBCXX__)
template <typename Item>
struct HasLargerBound
{
    bool operator()(Item const& a, Item const& b) const { return a.bound > b.bound; }
};

/// Items by ascending bound. The order of equal bounds is that of the GNU C++ library.
template <typename Item>
using Queue = std::priority_queue<Item, std::vector<Item>, HasLargerBound<Item>>;
#else
/// Items by ascending bound. Other standard libraries order equal bounds in other ways, so the queue is the library's
/// own; bound_heap_test.cpp compares it with the GNU C++ library.
template <typename Item>
using Queue = sinew::detail::BoundHeap<Item>;
#endif

} // namespace reference
