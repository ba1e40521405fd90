// Queries on one object from several threads at once. The answers are compared here; what must not happen besides, a
// write that another thread can see, is for the thread sanitizer to find.

#include <thread>

#include <gtest/gtest.h>

#include "meshfunc/mesh_samples.h"
#include "support/bits.h"

using test::Point;
using test::sameBits;

namespace {

struct Answers
{
    std::vector<Point> values;
    std::vector<float> scalars;
    std::size_t found = 0;

    Answers(MeshFunction2D const& f, std::vector<Point> const& points)
        : values(3 * points.size()), scalars(values.size())
    {
        std::size_t i = 0;
        for (Point const& p : points) {
            found += f.evaluate(p, &values[i], &scalars[i]), ++i;
            found += f.extrapolate(p, &values[i], &scalars[i]), ++i;
            found += f.extrapolateOld(p, &values[i], &scalars[i]), ++i;
        }
    }
};

/// Lets four threads ask a function that nobody has asked before.
void expectSameAnswersInThreads(test::Mesh const& mesh, std::vector<Point> const& points)
{
    Answers const expected(mesh.function(), points);
    MeshFunction2D const shared = mesh.function();
    std::vector<std::unique_ptr<Answers>> answers(4);
    std::vector<std::thread> threads;
    for (auto& mine : answers) threads.emplace_back([&] { mine = std::make_unique<Answers>(shared, points); });
    for (std::thread& thread : threads) thread.join();
    for (auto const& theirs : answers) {
        EXPECT_EQ(theirs->found, expected.found);
        EXPECT_TRUE(sameBits(theirs->values, expected.values));
        EXPECT_TRUE(sameBits(theirs->scalars, expected.scalars));
    }
}

} // namespace

TEST(MeshFunctionThreads, LargeMeshIsPreparedByWhoeverAsksFirst)
{
    test::Random random(31);
    test::Mesh const mesh = test::gridMesh(random, 200, 200); // large enough to be prepared cell by cell
    for (int trial = 0; trial < 3; ++trial) {
        std::vector<Point> points;
        for (int i = 0; i < 1500; ++i) points.push_back(random.point2(-0.02, 1.02));
        expectSameAnswersInThreads(mesh, points);
    }
}

TEST(MeshFunctionThreads, ManyLoopsOfBothSearches)
{
    test::Random random(32);
    test::Mesh mesh = test::islands(8);
    test::Mesh const round = test::gridMesh(random, 12, 12); // a boundary long enough for the bounded search
    int const first = static_cast<int>(mesh.params.size());
    for (Point const& p : round.params) mesh.addVertex(p.x + 1.5, p.y);
    for (int i : round.facets) mesh.facets.push_back(first + i);
    std::vector<Point> points;
    for (int i = 0; i < 1000; ++i) points.push_back(random.point2(-1, 4));
    expectSameAnswersInThreads(mesh, points);
}
