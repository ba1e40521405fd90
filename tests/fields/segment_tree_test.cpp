#include <sinew/fields/detail/segment_tree.h>

#include <gtest/gtest.h>

#include "fields/polylines.h"
#include "support/bits.h"
#include "support/vector_widths.h"

using sinew::detail::NearestSegments;
using sinew::detail::SegmentsWithin;
using sinew::detail::SegmentTree;
using sinew::detail::VectorWidth;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

bool sameResult(NearestSegments const& a, NearestSegments const& b)
{
    return test::sameBits(a.distSq, b.distSq) && test::sameBits(a.strayDistSq, b.strayDistSq) && a.first == b.first &&
           a.second == b.second && a.count == b.count;
}

// Which sizes fill runs and levels of the tree exactly, and which do not.
std::vector<int> const kSizes{2, 9, 10, 20, 64, 65, 66, 129, 513, 1025, 5000};

} // namespace

TEST(SegmentTree, FindsTheSmallestDistance)
{
    test::Random random(20250330);
    for (int n : kSizes) {
        for (std::vector<Vector3> const& points :
             {test::smoothCurve(n), test::noisyCurve(n, random), test::latticeWalk(n, random)}) {
            for (VectorWidth width : test::vectorWidths()) {
                SegmentTree const tree(points, width);
                for (Vector3 const& q : test::nearVertices(points, 20, 0.5, random)) {
                    double const expected = test::smallestDistSq(points, q);
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

TEST(SegmentTree, EveryVectorWidthGivesTheSameBits)
{
    test::Random random(20250361);
    for (int n : kSizes) {
        for (std::vector<Vector3> const& points :
             {test::noisyCurve(n, random), test::latticeWalk(n, random), test::straightLine(n)}) {
            SegmentTree const baseline(points, VectorWidth::baseline);
            for (VectorWidth width : test::vectorWidths()) {
                SegmentTree const wide(points, width);
                for (Vector3 const& q : test::nearVertices(points, 30, random.oneIn(2) ? 0.5 : 1e-9, random)) {
                    NearestSegments const nearest = baseline.nearest(q, kInfinity);
                    EXPECT_TRUE(sameResult(wide.nearest(q, kInfinity), nearest));
                    SegmentsWithin expected, within;
                    baseline.within(q, nearest.distSq * 1.5, expected);
                    wide.within(q, nearest.distSq * 1.5, within);
                    ASSERT_EQ(within.count, expected.count);
                    for (int i = 0; i < std::min(within.count, SegmentsWithin::kCapacity); ++i) {
                        EXPECT_EQ(within.segments[i], expected.segments[i]);
                        EXPECT_TRUE(test::sameBits(within.distSqs[i], expected.distSqs[i]));
                    }
                }
            }
        }
    }
}

TEST(SegmentTree, CountsAllSegmentsThatAreEquallyNear)
{
    std::vector<Vector3> star; // ten rays from the origin and back: twenty segments meet there
    for (int i = 0; i < 10; ++i) {
        star.emplace_back();
        star.emplace_back(std::cos(i), std::sin(i), 0.0);
    }
    star.emplace_back();
    for (VectorWidth width : test::vectorWidths()) {
        EXPECT_EQ(SegmentTree(star, width).nearest({0, 0, 1}, kInfinity).count, 20);
    }
}

TEST(SegmentTree, WithinListsTheSegmentsThatAScanFinds)
{
    test::Random random(20250331);
    for (int n : {2, 20, 300}) {
        std::vector<Vector3> const points = test::noisyCurve(n, random);
        for (VectorWidth width : test::vectorWidths()) {
            SegmentTree const tree(points, width);
            for (Vector3 const& q : test::nearVertices(points, 50, 0.2, random)) {
                double const limit = test::smallestDistSq(points, q) * 1.5;
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

TEST(SegmentTree, WithinCountsSegmentsBeyondItsCapacity)
{
    std::vector<Vector3> const points = test::alongX(300);
    for (VectorWidth width : test::vectorWidths()) {
        SegmentsWithin within;
        SegmentTree(points, width).within({0, 1, 0}, 1e6, within);
        EXPECT_EQ(within.count, 299);
    }
}

TEST(SegmentTree, RunsWithNearlyEqualEndsKeepTheirExtent)
{
    // The square of the chord of the first run has no finite reciprocal, or is zero.
    for (double const gap : {1e-150, 1e-154, 1e-155, 1e-158, 1e-161, 1e-170, 0.0}) {
        SCOPED_TRACE(gap);
        std::vector<Vector3> points(8, Vector3(0, 5, 0)); // perpendicular to the chord
        points[0] = Vector3();
        points.emplace_back(gap, 0, 0);
        while (points.size() < 30) points.emplace_back(2, 5, 0.1 * static_cast<double>(points.size()));
        Vector3 const q(0.5, 5.25, 0);
        for (VectorWidth width : test::vectorWidths()) {
            EXPECT_EQ(SegmentTree(points, width).nearest(q, kInfinity).distSq, test::smallestDistSq(points, q));
        }
    }
}

TEST(SegmentTree, DoesNotCoverHugeOrNaNCoordinates)
{
    std::vector<Vector3> points = test::smoothCurve(30);
    SegmentTree const tree(points, VectorWidth::baseline);
    EXPECT_TRUE(tree.covers({1e69, 0, 0}));
    EXPECT_FALSE(tree.covers({0, -1e71, 0}));
    EXPECT_FALSE(tree.covers({0, 0, std::numeric_limits<double>::quiet_NaN()}));
    points[7].y = kInfinity;
    EXPECT_FALSE(SegmentTree(points, VectorWidth::baseline).covers({0, 0, 0}));
}
