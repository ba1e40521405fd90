#include <sinew/fields/detail/polyline_chunks.h>

#include <gtest/gtest.h>

#include "fields/polylines.h"
#include "support/bits.h"
#include "support/vector_widths.h"

using sinew::detail::PolylineChunks;
using sinew::detail::VectorWidth;

TEST(PolylineChunks, HaveTenSegmentsAndTheLastOneTakesARestOfUpToThree)
{
    auto const ends = [](int vertices) {
        PolylineChunks const chunks(test::smoothCurve(vertices));
        std::vector<int> result;
        for (int i = 0; i <= chunks.count(); ++i) result.push_back(chunks.end(i));
        return result;
    };
    EXPECT_EQ(ends(20), (std::vector<int>{0, 10, 19}));
    EXPECT_EQ(ends(24), (std::vector<int>{0, 10, 23}));
    EXPECT_EQ(ends(25), (std::vector<int>{0, 10, 20, 24}));
    EXPECT_EQ(ends(31), (std::vector<int>{0, 10, 20, 30}));
}

TEST(PolylineChunks, EveryVectorWidthGivesTheSameBits)
{
    test::Random random(20250360);
    for (int n : {20, 57, 200, 1003}) {
        std::vector<Vector3> points = test::noisyCurve(n, random);
        if (n == 57) points[20] = random.hostilePoint();
        PolylineChunks const baseline(points, VectorWidth::baseline);
        for (VectorWidth width : test::vectorWidths()) {
            PolylineChunks const wide(points, width);
            for (int i = 0; i < 50; ++i) {
                Vector3 const q = i % 10 == 0 ? random.hostilePoint() : random.point();
                std::vector<double> distSqs, bounds, wideDistSqs, wideBounds;
                baseline.measure(q, distSqs, bounds);
                wide.measure(q, wideDistSqs, wideBounds);
                EXPECT_TRUE(test::sameBits(distSqs, wideDistSqs));
                EXPECT_TRUE(test::sameBits(bounds, wideBounds));
            }
        }
    }
}

TEST(PolylineChunks, NoBoundExceedsTheDistanceToTheChunk)
{
    test::Random random(20250362);
    std::vector<Vector3> const points = test::noisyCurve(200, random, 0.1);
    PolylineChunks const chunks(points);
    for (Vector3 const& q : random.points(100, -3, 3)) {
        std::vector<double> distSqs, bounds;
        chunks.measure(q, distSqs, bounds);
        for (int i = 0; i < chunks.count(); ++i) {
            std::vector<Vector3> const part(points.begin() + chunks.end(i), points.begin() + chunks.end(i + 1) + 1);
            EXPECT_LE(bounds[i], std::sqrt(test::smallestDistSq(part, q)) + 1e-12) << "rounding of numbers up to 10";
            EXPECT_TRUE(test::sameBits(distSqs[i], distSq(q, part.back())));
        }
    }
}
