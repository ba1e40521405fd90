#include <sinew/fields/detail/query_order.h>

#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "support/bits.h"
#include "support/failing_new.h"
#include "support/random.h"

using sinew::detail::QueryOrder;

namespace {

Vector3 const kLow(-1, -1, -1);
Vector3 const kHigh(1, 1, 1);

// Indices in the order of the visit, which must pass the queries themselves.
std::vector<std::size_t> orderOf(std::vector<Vector3> const& queries, Vector3 const& low = kLow,
                                 Vector3 const& high = kHigh)
{
    std::vector<std::size_t> indices;
    indices.reserve(queries.size());
    auto const pointAt = [&queries](std::size_t i) { return queries[i]; };
    QueryOrder(queries.size(), pointAt, low, high).visit(queries.size(), pointAt, [&](std::size_t i, Vector3 const& q) {
        EXPECT_TRUE(test::sameBits(q, queries[i]));
        indices.push_back(i);
    });
    return indices;
}

bool isFromFirstToLast(std::vector<std::size_t> const& order, std::size_t count)
{
    for (std::size_t i = 0; i < order.size(); ++i) {
        if (order[i] != i) return false;
    }
    return order.size() == count;
}

// Whether each of `count` indices occurs once.
bool isComplete(std::vector<std::size_t> const& order, std::size_t count)
{
    std::vector<bool> seen(count);
    for (std::size_t const i : order) {
        if (i >= count || seen[i]) return false;
        seen[i] = true;
    }
    return order.size() == count;
}

double wayThrough(std::vector<Vector3> const& queries, std::vector<std::size_t> const& order)
{
    double way = 0;
    for (std::size_t k = 1; k < order.size(); ++k) way += dist(queries[order[k]], queries[order[k - 1]]);
    return way;
}

} // namespace

TEST(QueryOrder, ShortensTheWayThroughScatteredQueries)
{
    std::vector<Vector3> const queries = test::Random(1601).points(20000);
    std::vector<std::size_t> const order = orderOf(queries);
    EXPECT_TRUE(isComplete(order, queries.size()));
    std::vector<std::size_t> unsorted;
    for (std::size_t i = 0; i < queries.size(); ++i) unsorted.push_back(i);
    // About 27 cells along each axis hold 20000 queries; the mean distance of two of them is 1.3, the steps are 0.1.
    EXPECT_LT(wayThrough(queries, order), 0.1 * wayThrough(queries, unsorted));
}

TEST(QueryOrder, ShortensTheWayAlongEachAxis)
{
    for (int axis = 0; axis < 3; ++axis) {
        std::vector<Vector3> queries = test::Random(1602).points(1000);
        for (Vector3& q : queries) q[(axis + 1) % 3] = q[(axis + 2) % 3] = 0.3;
        // The line is 2 long. Queries in the same cell, 4e-4 long, may be in any order.
        EXPECT_LT(wayThrough(queries, orderOf(queries)), 2.1);
    }
}

TEST(QueryOrder, VisitsEachQueryOfSeveralPartsOnce)
{
    std::vector<Vector3> const queries = test::Random(1603).points(2 * static_cast<int>(QueryOrder::kPart) + 12345);
    EXPECT_TRUE(isComplete(orderOf(queries), queries.size()));
}

TEST(QueryOrder, VisitsHostileQueriesAroundAnyBoxOnce)
{
    test::Random random(1604);
    std::vector<Vector3> queries;
    for (int i = 0; i < 5000; ++i) queries.push_back(random.hostilePoint());
    for (double const size : {0.0, 1e-300, 1.0, 1e70}) {
        std::vector<std::size_t> const order = orderOf(queries, {0, 0, 0}, {size, 0, size});
        EXPECT_TRUE(isComplete(order, queries.size()));
        EXPECT_EQ(isFromFirstToLast(order, queries.size()), size > 1) << "all of them are near each other";
    }
}

TEST(QueryOrder, KeepsTheOrderOfFewQueries)
{
    std::vector<Vector3> queries = test::Random(1605).points(static_cast<int>(QueryOrder::kFewest));
    EXPECT_FALSE(isFromFirstToLast(orderOf(queries), queries.size()));
    queries.pop_back();
    EXPECT_TRUE(isFromFirstToLast(orderOf(queries), queries.size()));
    EXPECT_TRUE(orderOf({}).empty());
}

TEST(QueryOrder, KeepsTheOrderOfQueriesNearTheirPredecessors)
{
    std::vector<Vector3> queries;
    for (int i = 0; i < 1000; ++i) queries.emplace_back(1 - 0.002 * i, 0.5, -0.25);
    EXPECT_TRUE(isFromFirstToLast(orderOf(queries), queries.size()));
}

TEST(QueryOrder, KeepsTheOrderWithoutMemory)
{
    std::vector<Vector3> const queries = test::Random(1606).points(1000);
    auto const pointAt = [&queries](std::size_t i) { return queries[i]; };
    std::vector<std::size_t> indices;
    indices.reserve(queries.size());
    {
        test::FailingNew const failing(0, test::Failing::all);
        QueryOrder(queries.size(), pointAt, kLow, kHigh)
            .visit(queries.size(), pointAt, [&](std::size_t i, Vector3 const&) { indices.push_back(i); });
        EXPECT_TRUE(failing.hasFailed());
    }
    EXPECT_TRUE(isFromFirstToLast(indices, queries.size()));
}
