#include <sinew/fields/detail/bound_heap.h>

#include <algorithm>

#include <gtest/gtest.h>

#include "support/random.h"

namespace {

struct Item
{
    double bound;
    int number;
};

using Heap = sinew::detail::BoundHeap<Item>;

// The numbers of all items in the order in which they are taken out.
std::vector<int> takeAll(Heap heap)
{
    std::vector<int> numbers;
    while (!heap.empty()) {
        EXPECT_EQ(heap.top().number, heap.items().front().number);
        numbers.push_back(heap.pop().number);
    }
    return numbers;
}

// Items with these bounds, numbered and put in from the first to the last.
Heap heapOf(std::vector<double> const& bounds)
{
    Heap heap;
    for (double bound : bounds) heap.push({bound, static_cast<int>(heap.items().size())});
    return heap;
}

} // namespace

TEST(BoundHeap, TakesItemsOutByAscendingBound)
{
    test::Random random(20250370);
    for (int n : {1, 2, 3, 10, 100, 1000}) {
        std::vector<double> bounds;
        for (int i = 0; i < n; ++i) bounds.push_back(random.uniform());
        Heap heap = heapOf(bounds);
        std::sort(bounds.begin(), bounds.end());
        for (double bound : bounds) EXPECT_EQ(heap.pop().bound, bound);
        EXPECT_TRUE(heap.empty());
    }
}

TEST(BoundHeap, IsEmptyAfterClear)
{
    Heap heap = heapOf({3, 1, 2});
    heap.clear();
    EXPECT_TRUE(heap.empty());
    heap.push({5, 7});
    EXPECT_EQ(heap.pop().number, 7);
}

TEST(BoundHeap, AcceptsItsOwnItems)
{
    Heap heap;
    heap.push({0.0, 1});
    for (int i = 0; i < 100; ++i) heap.push(heap.top()); // the array moves while it grows
    for (Item const& item : heap.items()) EXPECT_EQ(item.number, 1);
}

// These orders are part of the results of the searches: they must be the same with every standard library.
TEST(BoundHeap, TakesEqualBoundsInAFixedOrder)
{
    EXPECT_EQ(takeAll(heapOf(std::vector<double>(12, 0.0))), (std::vector<int>{0, 2, 6, 11, 10, 9, 8, 5, 7, 4, 1, 3}));
    EXPECT_EQ(takeAll(heapOf({1, 0, 1, 0, 1, 0, 1, 0, 1, 0})), (std::vector<int>{1, 5, 3, 9, 7, 6, 2, 4, 8, 0}));
    EXPECT_EQ(takeAll(heapOf({2, 2, 1, 1, 0, 0, 2, 1, 0, 2, 1, 0})),
              (std::vector<int>{4, 5, 11, 8, 10, 7, 3, 2, 6, 0, 9, 1}));
    EXPECT_EQ(takeAll(heapOf({3, 1, 2, 1, 3, 2, 1, 3, 2})), (std::vector<int>{1, 6, 3, 2, 5, 8, 0, 7, 4}));
}

TEST(BoundHeap, TakesEqualBoundsInAFixedOrderWhilePushesAndPopsAlternate)
{
    Heap heap;
    std::vector<int> numbers;
    int pushed = 0;
    for (int round = 0; round < 4; ++round) {
        for (double bound : {0.0, 1.0, 0.0, 1.0}) heap.push({bound, pushed++});
        numbers.push_back(heap.pop().number);
        numbers.push_back(heap.pop().number);
    }
    std::vector<int> const rest = takeAll(heap);
    numbers.insert(numbers.end(), rest.begin(), rest.end());
    EXPECT_EQ(numbers, (std::vector<int>{0, 2, 4, 6, 8, 10, 12, 14, 7, 9, 5, 11, 13, 15, 3, 1}));
}

#if defined(__GLIBCXX__)
TEST(BoundHeap, KeepsAllItemsInTheOrderOfTheGnuLibrary)
{
    auto const hasLargerBound = [](Item const& a, Item const& b) { return a.bound > b.bound; };
    test::Random random(20250371);
    int pushed = 0;
    int const operations = 30000;
    // Few different bounds give many ties; the sizes cover full and partly filled levels of the tree.
    for (int bounds : {1, 2, 3, 5, 20, 1000}) {
        for (int typicalSize : {1, 2, 4, 7, 8, 9, 15, 16, 17, 31, 32, 33, 60, 100}) {
            Heap heap;
            std::vector<Item> expected;
            for (int i = 0; i < operations; ++i) {
                bool const isFull = random.below(2 * typicalSize) < static_cast<int>(expected.size());
                if (expected.empty() || !isFull) {
                    Item const item{static_cast<double>(random.below(bounds)), pushed++};
                    heap.push(item);
                    expected.push_back(item);
                    std::push_heap(expected.begin(), expected.end(), hasLargerBound);
                } else {
                    ASSERT_EQ(heap.pop().number, expected.front().number);
                    std::pop_heap(expected.begin(), expected.end(), hasLargerBound);
                    expected.pop_back();
                }
                ASSERT_TRUE(std::equal(heap.items().begin(), heap.items().end(), expected.begin(), expected.end(),
                                       [](Item const& a, Item const& b) { return a.number == b.number; }))
                    << "operation " << i << ", " << bounds << " bounds, " << expected.size() << " items";
            }
        }
    }
}
#endif
