// Queries of one object by several threads at once. These tests compare the results; the thread sanitizer finds data
// races in them.

#include <thread>

#include <gtest/gtest.h>

#include "meshfunc/mesh_samples.h"
#include "support/bits.h"

using test::Point;
using test::sameBits;

namespace {

struct Results
{
    std::vector<Point> values;
    std::vector<float> scalars;
    std::size_t found = 0;

    Results(MeshFunction2D const& f, std::vector<Point> const& points)
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

// Lets four threads query a function that has not been queried before.
void expectSameResultsInThreads(test::Mesh const& mesh, std::vector<Point> const& points)
{
    Results const expected(mesh.function(), points);
    MeshFunction2D const shared = mesh.function();
    std::vector<std::unique_ptr<Results>> results(4);
    std::vector<std::thread> threads;
    for (auto& result : results) threads.emplace_back([&] { result = std::make_unique<Results>(shared, points); });
    for (std::thread& thread : threads) thread.join();
    for (auto const& result : results) {
        EXPECT_EQ(result->found, expected.found);
        EXPECT_TRUE(sameBits(result->values, expected.values));
        EXPECT_TRUE(sameBits(result->scalars, expected.scalars));
    }
}

} // namespace

TEST(MeshFunctionThreads, FirstQueriesOfALargeMeshBuildItsStructures)
{
    test::Random random(31);
    test::Mesh const mesh = test::gridMesh(random, 200, 200); // large enough to build structures cell by cell
    for (int trial = 0; trial < 3; ++trial) {
        std::vector<Point> points;
        for (int i = 0; i < 1500; ++i) points.push_back(random.point2(-0.02, 1.02));
        expectSameResultsInThreads(mesh, points);
    }
}

TEST(MeshFunctionThreads, ShortAndLongBoundaryLoops)
{
    test::Random random(32);
    test::Mesh mesh = test::islands(8);
    test::Mesh const round = test::gridMesh(random, 12, 12); // its boundary is long enough for the indexed search
    int const first = static_cast<int>(mesh.params.size());
    for (Point const& p : round.params) mesh.addVertex(p.x + 1.5, p.y);
    for (int i : round.facets) mesh.facets.push_back(first + i);
    std::vector<Point> points;
    for (int i = 0; i < 1000; ++i) points.push_back(random.point2(-1, 4));
    expectSameResultsInThreads(mesh, points);
}
