#pragma once

/// A priority queue that defines the order of items with equal keys. Not installed.

#include <cassert>
#include <cstddef>
#include <vector>

namespace sinew::detail {

/// Items with a member `bound`, taken out by ascending bound. A bound must not be NaN.
///
/// The searches along polylines use it. The order in which they visit parts of equal bounds shows in their results: it
/// decides which of two equally near segments is found first, and in which order distances are blended. The C++
/// standard leaves this order open for its heaps, and implementations differ. Here it is part of the interface; it is
/// the order of the heap functions of the GNU C++ library.
///
/// Method: a binary heap. Item 0 has the smallest bound; the children of item i are the items 2 i + 1 and 2 i + 2, and
/// no child has a smaller bound than its parent. An item that moves up stops below a parent of equal bound. `pop` moves
/// the hole that it leaves at item 0 down to a leaf before it compares anything with the item that fills the hole: the
/// child with the smaller bound moves up, or the right one of equal children. The last item is put into the hole and
/// moves up from there. The fill item comes from a leaf, so it nearly always belongs near a leaf again; the method
/// saves the comparisons with it on the way down.
///
/// `push` and `pop` cost O(log n) for n items.
/// Sources: J. W. J. Williams, Algorithm 232: Heapsort, Communications of the ACM 7, 1964. The way down to a leaf: R.
/// W. Floyd's improvement in D. E. Knuth, The Art of Computer Programming, volume 3, section 5.2.3, exercise 18; I.
/// Wegener, Bottom-up-heapsort, Theoretical Computer Science 118, 1993.
template <typename Item>
class BoundHeap
{
public:
    bool empty() const { return items_.empty(); }

    /// Keeps the memory for the next use.
    void clear() { items_.clear(); }

    /// The item that `pop` takes out next. The heap must not be empty.
    Item const& top() const
    {
        assert(!empty());
        return items_.front();
    }

    /// The item may be one of this heap.
    void push(Item const item)
    {
        assert(item.bound == item.bound);
        items_.push_back(item);
        moveUp(items_.size() - 1, item);
    }

    /// Takes out an item with the smallest bound. The heap must not be empty.
    Item pop()
    {
        assert(!empty());
        Item const smallest = items_.front();
        Item const last = items_.back();
        items_.pop_back();
        if (!empty()) moveUp(moveHoleToLeaf(), last);
        return smallest;
    }

    /// All items in the order of the heap.
    std::vector<Item> const& items() const { return items_; }

private:
    // Fills the hole with `item`, or with a parent whose bound is larger and then the parent's place in the same way.
    void moveUp(std::size_t hole, Item const item)
    {
        while (hole > 0) {
            std::size_t const parent = (hole - 1) / 2;
            if (!(items_[parent].bound > item.bound)) break;
            items_[hole] = items_[parent];
            hole = parent;
        }
        items_[hole] = item;
    }

    // Fills the hole at item 0 with a child, then the child's place in the same way. Returns the last hole, a leaf.
    std::size_t moveHoleToLeaf()
    {
        std::size_t const size = items_.size();
        std::size_t hole = 0;
        for (;;) {
            std::size_t const left = 2 * hole + 1;
            std::size_t const right = left + 1;
            if (left >= size) return hole;
            bool const takesLeft = right == size || items_[right].bound > items_[left].bound;
            std::size_t const child = takesLeft ? left : right;
            items_[hole] = items_[child];
            hole = child;
        }
    }

    std::vector<Item> items_;
};

} // namespace sinew::detail
