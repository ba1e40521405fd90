#include <sinew/fields/detail/polyline_chunks.h>

#include <gtest/gtest.h>

#include "fields/polylines.h"
#include "support/bits.h"

using sinew::detail::PolylineChunks;
using sinew::detail::VectorWidth;

TEST(PolylineChunks, AreTenSegmentsLongAndTheLastOneTakesTheRest)
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
        for (VectorWidth width : {VectorWidth::avx2, VectorWidth::avx512}) {
            if (width > sinew::detail::widestVectors()) continue;
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
