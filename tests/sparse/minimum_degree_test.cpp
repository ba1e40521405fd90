#include <sinew/sparse/detail/minimum_degree.h>

#include <gtest/gtest.h>

#include "sparse/matrices.h"
#include "sparse/reference_sparse.h"
#include "support/random.h"

using sinew::detail::graphOf;
using sinew::detail::minimumDegree;
using test::Random;

TEST(MinimumDegree, DoesNotDependOnTheDenseDegree)
{
    Random random(20250320);
    for (int trial = 0; trial < 1500; ++trial) {
        SCOPED_TRACE(trial);
        SPDMatrix const matrix = test::randomShape(random, trial % 10 == 0 ? 200 : 40);
        std::vector<int> const expected = reference::computePerm(matrix);
        for (int denseDegree : {0, 1, 2, 3, 5, 9, 30, 1000}) {
            EXPECT_EQ(minimumDegree(graphOf(matrix.rows), denseDegree), expected) << denseDegree;
        }
        if (HasFailure()) return;
    }
}

TEST(MinimumDegree, IndistinguishableNodesAreEliminatedInTheOrderOfTheirIndices)
{
    // Two cliques, of the even and of the odd nodes. Once a node of a clique is eliminated, the degrees of the others
    // in this clique are the smallest ones until all of them are eliminated.
    test::Edges edges;
    for (int i = 0; i < 12; ++i) {
        for (int j = i % 2; j < i; j += 2) edges.push_back({i, j});
    }
    Random random(20250321);
    SPDMatrix const matrix = test::matrixOf(edges, 12, random);
    std::vector<int> const expected = {0, 6, 1, 7, 2, 8, 3, 9, 4, 10, 5, 11};
    for (int denseDegree : {0, 4, 100}) EXPECT_EQ(minimumDegree(graphOf(matrix.rows), denseDegree), expected);
}

TEST(MinimumDegree, DenseNodesCostLittle)
{
    // If every elimination updated the lists of the hubs, this test would take hours.
    Random random(20250322);
    constexpr int n = 300000;
    SPDMatrix const star = test::matrixOf(test::hubs(n, 2), n, random);
    std::vector<int> const perm = star.computePerm();
    EXPECT_EQ(perm[2], 0);
    EXPECT_EQ(perm[n - 2], n - 4);
    SPDMatrix const wheel = test::matrixOf(test::wheel(n), n, random);
    EXPECT_EQ(wheel.computePerm()[1], 0);
}
