#include <sinew/sparse/detail/degree_queue.h>

#include <set>

#include <gtest/gtest.h>

#include "support/random.h"

using sinew::detail::DegreeQueue;
using sinew::detail::IndexSet;

TEST(IndexSet, RemovesTheSmallestMemberFirst)
{
    test::Random random(20250330);
    for (int size : {1, 2, 63, 64, 65, 4095, 4096, 4097, 300000}) {
        IndexSet set(size);
        std::set<int> expected;
        for (int step = 0; step < 2000; ++step) {
            if (expected.empty() || random.oneIn(2)) {
                int const index = random.oneIn(3) ? size - 1 : random.below(size);
                set.insert(index);
                expected.insert(index);
            } else {
                ASSERT_EQ(set.removeSmallest(), *expected.begin());
                expected.erase(expected.begin());
            }
            ASSERT_EQ(set.empty(), expected.empty());
        }
    }
}

TEST(DegreeQueue, PopsTheSmallestDegreeThenTheSmallestNode)
{
    test::Random random(20250331);
    constexpr int n = 500;
    DegreeQueue queue(n);
    std::set<std::pair<int, int>> expected; // degree, node
    for (int step = 0; step < 5000; ++step) {
        if (expected.empty() || random.oneIn(2)) {
            int const node = random.below(n);
            int const degree = random.below(random.oneIn(2) ? 40 : n); // low degrees and high ones
            if (expected.insert({degree, node}).second) queue.push(node, degree);
        } else {
            auto const [node, degree] = queue.pop();
            ASSERT_EQ(std::make_pair(degree, node), *expected.begin());
            expected.erase(expected.begin());
        }
    }
}
