#include <sinew/fields/detail/polyline_index.h>

#include <gtest/gtest.h>

#include "fields/reference_polyline.h"
#include "fields/polylines.h"
#include "support/bits.h"

using sinew::detail::NearestSegments;
using sinew::detail::PolylineIndex;
using sinew::detail::SegmentsWithin;
using sinew::detail::SegmentTree;
using sinew::detail::VectorWidth;

namespace {

double const kInfinity = std::numeric_limits<double>::infinity();

std::vector<VectorWidth> widths()
{
    std::vector<VectorWidth> all{VectorWidth::baseline, VectorWidth::avx2, VectorWidth::avx512};
    while (all.back() > sinew::detail::widestVectors()) all.pop_back();
    return all;
}

// How many of the queries the index answers itself; all its answers are held against the definition.
int answered(std::vector<Vector3> const& points, std::vector<Vector3> const& queries)
{
    reference::Projector const oracle(points);
    int count = 0;
    for (VectorWidth width : widths()) {
        PolylineIndex const index(points, oracle.arcLengths, width);
        count = 0;
        for (Vector3 const& q : queries) {
            int const segment = index.nearestSegment(points, q, kInfinity);
            if (segment < 0) continue;
            ++count;
            EXPECT_EQ(segment, oracle.branchAndBound(q)) << "query " << q << ", " << points.size() << " vertices";
        }
    }
    return count;
}

std::vector<Vector3> near(std::vector<Vector3> const& points, int count, double spread, test::Random& random)
{
    std::vector<Vector3> queries;
    for (int i = 0; i < count; ++i) {
        queries.push_back(points[random.below(static_cast<int>(points.size()))] + random.point() * spread);
    }
    return queries;
}

double plainDistSq(std::vector<Vector3> const& points, Vector3 const& q)
{
    double nearest = kInfinity;
    for (std::size_t k = 0; k + 1 < points.size(); ++k) {
        nearest = std::min(nearest, distSqToLineSegment(q, points[k], points[k + 1], nullptr));
    }
    return nearest;
}

} // namespace

TEST(SegmentTree, FindsTheSmallestDistanceAtEveryWidth)
{
    test::Random random(20250330);
    for (int n : {2, 9, 10, 20, 64, 65, 66, 129, 513, 1025, 5000}) {
        for (std::vector<Vector3> const& points :
             {test::smoothCurve(n), test::noisyCurve(n, random), test::latticeWalk(n, random)}) {
            for (VectorWidth width : widths()) {
                SegmentTree const tree(points, width);
                for (Vector3 const& q : near(points, 20, 0.5, random)) {
                    double const expected = plainDistSq(points, q);
                    NearestSegments const nearest = tree.nearest(q, kInfinity);
                    EXPECT_TRUE(test::sameBits(nearest.distSq, expected));
                    ASSERT_GE(nearest.first, 0);
                    EXPECT_EQ(distSqToLineSegment(q, points[nearest.first], points[nearest.first + 1], nullptr),
                              expected);
                    EXPECT_GE(nearest.count, 1);
                }
            }
        }
    }
}

TEST(SegmentTree, CountsAllSegmentsThatAreEquallyNear)
{
    std::vector<Vector3> star; // out and back along ten rays: twenty segments meet at the origin
    for (int i = 0; i < 10; ++i) {
        star.emplace_back();
        star.emplace_back(std::cos(i), std::sin(i), 0.0);
    }
    star.emplace_back();
    EXPECT_EQ(SegmentTree(star, VectorWidth::baseline).nearest({0, 0, 1}, kInfinity).count, 20);
}

TEST(SegmentTree, WithinListsWhatAScanLists)
{
    test::Random random(20250331);
    for (int n : {2, 20, 300}) {
        std::vector<Vector3> const points = test::noisyCurve(n, random);
        for (VectorWidth width : widths()) {
            SegmentTree const tree(points, width);
            for (Vector3 const& q : near(points, 50, 0.2, random)) {
                double const limit = plainDistSq(points, q) * 1.5;
                SegmentsWithin within;
                tree.within(q, limit, within);
                int expected = 0;
                for (int k = 0; k + 1 < n; ++k)
                    expected += distSqToLineSegment(q, points[k], points[k + 1], nullptr) <= limit;
                EXPECT_EQ(within.count, expected);
            }
        }
    }
}

TEST(SegmentTree, RunsWhoseEndsAllButMeetKeepTheirExtent)
{
    // The square of such a chord is a number without a finite reciprocal, or zero.
    for (double const gap : {1e-150, 1e-154, 1e-155, 1e-158, 1e-161, 1e-170, 0.0}) {
        SCOPED_TRACE(gap);
        std::vector<Vector3> points(8, Vector3(0, 5, 0)); // at right angles to the chord
        points[0] = Vector3();
        points.emplace_back(gap, 0, 0);
        while (points.size() < 30) points.emplace_back(2, 5, 0.1 * static_cast<double>(points.size()));
        Vector3 const q(0.5, 5.25, 0);
        for (VectorWidth width : widths()) {
            EXPECT_EQ(SegmentTree(points, width).nearest(q, kInfinity).distSq, plainDistSq(points, q));
        }
    }
}

TEST(SegmentTree, LeavesHugeAndUnorderedCoordinatesAlone)
{
    std::vector<Vector3> points = test::smoothCurve(30);
    SegmentTree const tree(points, VectorWidth::baseline);
    EXPECT_TRUE(tree.covers({1e69, 0, 0}));
    EXPECT_FALSE(tree.covers({0, -1e71, 0}));
    EXPECT_FALSE(tree.covers({0, 0, std::numeric_limits<double>::quiet_NaN()}));
    points[7].y = kInfinity;
    EXPECT_FALSE(SegmentTree(points, VectorWidth::baseline).covers({0, 0, 0}));
}

TEST(PolylineIndex, AnswersNearlyAllQueriesOfCurves)
{
    test::Random random(20250332);
    for (int n : {20, 21, 100, 3000}) {
        std::vector<std::vector<Vector3>> const curves = {test::smoothCurve(n, 3.0), test::noisyCurve(n, random),
                                                          random.points(n)};
        for (std::vector<Vector3> const& points : curves) {
            EXPECT_GT(answered(points, near(points, 300, 0.01, random)), 290);
            EXPECT_GT(answered(points, near(points, 300, 5.0, random)), 290);
        }
    }
}

TEST(PolylineIndex, AnswersAtSharedVerticesAndAtTheEndsOfLoops)
{
    test::Random random(20250333);
    for (int n : {20, 90, 2000}) {
        std::vector<Vector3> const loop = test::islandBoundary(n, random);
        EXPECT_EQ(answered(loop, loop), n);
        EXPECT_EQ(answered(loop, std::vector<Vector3>(1, loop.front())), 1);
    }
}

TEST(PolylineIndex, ReplaysTheSearchWhereItsBoundsAreTooLarge)
{
    // So many vertices that the excess of arc length over chord drowns in its rounding: the search drops intervals that
    // hold the nearest segment, and answers with a neighbour.
    test::Random random(20250334);
    std::vector<Vector3> const points = test::smoothCurve(200000, 0.2);
    std::vector<Vector3> const queries = near(points, 300, 0.5, random);
    reference::Projector const oracle(points);
    SegmentTree const tree(points, VectorWidth::baseline);
    int neighbours = 0;
    for (Vector3 const& q : queries) neighbours += tree.nearest(q, kInfinity).first != oracle.branchAndBound(q);
    EXPECT_GT(neighbours, 5) << "the case that this test is about";
    EXPECT_GT(answered(points, queries), 290);
}

TEST(PolylineIndex, StraightLinesAreReplayed)
{
    test::Random random(20250335);
    for (int n : {20, 100, 4000}) {
        std::vector<Vector3> const points = test::straightLine(n, 1e-2);
        EXPECT_GT(answered(points, near(points, 200, 0.3, random)), 150);
    }
}

TEST(PolylineIndex, NeverAnswersDifferentlyOnSelfTouchingWalks)
{
    test::Random random(20250336);
    for (int trial = 0; trial < 300; ++trial) {
        std::vector<Vector3> const points = test::latticeWalk(20 + random.below(200), random);
        std::vector<Vector3> queries = near(points, 10, 0.7, random);
        for (int i = 0; i < 20; ++i) queries.push_back(points[random.below(static_cast<int>(points.size()))] * 0.5);
        for (int i = 0; i < 10; ++i) queries.push_back(points[random.below(static_cast<int>(points.size()))]);
        answered(points, queries);
    }
}

TEST(PolylineIndex, NeverAnswersDifferentlyNearTheAbsoluteMargins)
{
    // Segments of about 1e-7, whose feet lie within 1e-13 of their ends in the sense of the dot product: here the
    // search sees whole segments as their first vertices, and chords as their ends.
    test::Random random(20250337);
    for (int trial = 0; trial < 300; ++trial) {
        double const scale = std::pow(10.0, random.uniform(-9, -4));
        std::vector<Vector3> points =
            random.oneIn(2) ? test::latticeWalk(20 + random.below(100), random) : random.points(20 + random.below(100));
        for (Vector3& p : points) p *= scale;
        answered(points, near(points, 20, scale, random));
        answered(points, near(points, 10, scale * 30, random));
    }
}

TEST(PolylineIndex, NeverAnswersDifferentlyFarFromTheOrigin)
{
    // Coordinates that leave few digits for the differences: distances tie and stray by rounding.
    test::Random random(20250338);
    for (int trial = 0; trial < 300; ++trial) {
        double const far = std::pow(10.0, random.uniform(3, 15));
        std::vector<Vector3> points = test::noisyCurve(20 + random.below(150), random);
        for (Vector3& p : points) p += Vector3(far, -far, far * 0.5);
        answered(points, near(points, 30, 0.5, random));
        answered(points, near(points, 10, far, random));
    }
}

TEST(PolylineIndex, AKnownDistanceChangesNothing)
{
    test::Random random(20250339);
    std::vector<Vector3> const points = test::noisyCurve(700, random);
    reference::Projector const oracle(points);
    PolylineIndex const index(points, oracle.arcLengths);
    for (Vector3 const& q : near(points, 500, 0.3, random)) {
        int const k = random.below(699);
        double const known =
            random.oneIn(2) ? distSqToLineSegment(q, points[k], points[k + 1], nullptr) : plainDistSq(points, q);
        EXPECT_EQ(index.nearestSegment(points, q, known), index.nearestSegment(points, q, kInfinity));
    }
}
