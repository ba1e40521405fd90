// These tests also run under the thread sanitizer: the first projections build the shared index at the same time.

#include <sinew/fields/polyline_projector.h>

#include <atomic>

#include <gtest/gtest.h>

#include "fields/polylines.h"
#include "fields/reference_polyline.h"
#include "support/bits.h"
#include "support/threads.h"

TEST(PolylineProjectorThreads, FirstProjectionsMayRunAtTheSameTime)
{
    test::Random random(20250340);
    for (int n : {12, 20, 400}) {
        for (int trial = 0; trial < 20; ++trial) {
            std::vector<Vector3> const points = test::noisyCurve(n, random);
            std::vector<Vector3> const queries = random.points(40);
            reference::Projector const oracle(points);
            PolylineProjector const polyline(points);
            std::atomic<int> wrong{0};
            test::runTogether(4, [&](int) {
                for (Vector3 const& q : queries) {
                    sinew::PolylineHit const hit = sinew::closestPoint(polyline, q);
                    sinew::PolylineHit const expected = oracle.project(q);
                    wrong += hit.segment != expected.segment || !test::sameBits(hit.point, expected.point);
                }
            });
            EXPECT_EQ(wrong, 0);
        }
    }
}

TEST(PolylineProjectorThreads, CopiesMayBeMadeAndDestroyedDuringQueries)
{
    test::Random random(20250341);
    for (int trial = 0; trial < 20; ++trial) {
        std::vector<Vector3> const points = test::smoothCurve(300);
        PolylineProjector const polyline(points);
        Vector3 const q = random.point();
        int const expected = reference::Projector(points).project(q).segment;
        std::atomic<int> wrong{0};
        test::runTogether(4, [&](int thread) {
            for (int i = 0; i < 20; ++i) {
                if (thread % 2 == 0) {
                    PolylineProjector copy(polyline);
                    copy.project(q);
                    PolylineProjector const moved(std::move(copy));
                    wrong += moved.segment != expected;
                } else {
                    wrong += sinew::closestPoint(polyline, q).segment != expected;
                }
            }
        });
        EXPECT_EQ(wrong, 0);
    }
}
