#include <sinew/fields/detail/nearby_segments.h>

#include <limits>

#include <gtest/gtest.h>

#include "fields/polylines.h"
#include "support/bits.h"
#include "support/vector_widths.h"

using sinew::closestPoint;
using sinew::PolylineHit;
using sinew::detail::NearbySegments;
using sinew::detail::NearestSegments;
using sinew::detail::QueryBox;
using sinew::detail::VectorWidth;

namespace {

// Points of a box, its corners among them.
std::vector<Vector3> pointsIn(QueryBox const& box, test::Random& random)
{
    std::vector<Vector3> points = {box.low, box.high, box.middle()};
    while (points.size() < 40) {
        Vector3 p;
        for (int axis = 0; axis < 3; ++axis) {
            p[axis] = random.oneIn(4) ? box.high[axis] : random.uniform(box.low[axis], box.high[axis]);
        }
        points.push_back(p);
    }
    return points;
}

QueryBox boxAt(PolylineProjector const& polyline, Vector3 const& p, Vector3 const& size)
{
    QueryBox box = {p, p + size, 0};
    box.distSqOfMiddle = closestPoint(polyline, box.middle()).distSq;
    return box;
}

void expectSameHit(PolylineHit const& hit, PolylineHit const& expected)
{
    EXPECT_EQ(hit.segment, expected.segment);
    EXPECT_TRUE(test::sameBits(hit.t, expected.t));
    EXPECT_TRUE(test::sameBits(hit.point, expected.point));
    EXPECT_TRUE(test::sameBits(hit.distSq, expected.distSq));
}

// Compares all points of a box with single projections, at one width. Returns whether the box was accepted.
bool sharesTheSearch(PolylineProjector const& polyline, QueryBox const& box, std::vector<Vector3> const& queries,
                     VectorWidth width)
{
    NearbySegments segments;
    if (!segments.gather(polyline, box)) return false;
    EXPECT_TRUE(segments.isNear());
    std::vector<NearestSegments> nearest(queries.size());
    segments.measure(queries.data(), queries.size(), nearest.data(), width);
    for (std::size_t i = 0; i < queries.size(); ++i) {
        PolylineHit const expected = closestPoint(polyline, queries[i]);
        expectSameHit(segments.hit(queries[i], nearest[i]), expected);
        EXPECT_LE(segments.lowerBoundSq(nearest[i]), expected.distSq);
    }
    return true;
}

// The number of boxes, of 60, whose queries share their search.
int countShared(std::vector<Vector3> const& points, double spread, double size, test::Random& random)
{
    PolylineProjector const polyline(points);
    int count = 0;
    for (Vector3 const& p : test::nearVertices(points, 60, spread, random)) {
        Vector3 const extent(random.uniform(0, size), random.uniform(0, size), random.oneIn(2) ? 0.0 : size);
        QueryBox const box = boxAt(polyline, p, extent);
        std::vector<Vector3> const queries = pointsIn(box, random);
        bool const isShared = sharesTheSearch(polyline, box, queries, VectorWidth::baseline);
        count += isShared ? 1 : 0;
        for (VectorWidth width : test::vectorWidths()) {
            EXPECT_EQ(sharesTheSearch(polyline, box, queries, width), isShared);
        }
    }
    return count;
}

} // namespace

TEST(NearbySegments, GiveTheHitsOfSingleProjections)
{
    test::Random random(20251201);
    for (int n : {20, 21, 100, 2000}) {
        SCOPED_TRACE(n);
        EXPECT_EQ(countShared(test::smoothCurve(n), 0.1, 0.01, random), 60);
        EXPECT_EQ(countShared(test::islandBoundary(n, random), 0.1, 0.01, random), 60);
        EXPECT_GT(countShared(test::noisyCurve(n, random), 0.5, 0.001, random), 50);
    }
}

TEST(NearbySegments, GiveTheSameHitsAtTiesAndRepeatedVertices)
{
    test::Random random(20251202);
    for (int n : {20, 64, 500}) {
        SCOPED_TRACE(n);
        EXPECT_GT(countShared(test::latticeWalk(n, random), 0.0, 0.5, random), 0);
        EXPECT_GT(countShared(test::straightLine(n), 0.0, 0.2, random), 0);
        EXPECT_GT(countShared(test::alongX(n), 3.0, 1.0, random), 0);
    }
}

TEST(NearbySegments, AreNoneIfAnotherPolylineIsNearer)
{
    PolylineProjector const polyline(test::alongX(30));
    NearbySegments segments;
    QueryBox const box = {{5, 3, 0}, {5.5, 3.5, 0}, 0.25}; // some other polyline is within 0.5 of the middle
    ASSERT_TRUE(segments.gather(polyline, box));
    EXPECT_FALSE(segments.isNear());
}

TEST(NearbySegments, LeaveShortHugeAndDistantInputToSingleProjections)
{
    NearbySegments segments;
    QueryBox const box = {{5, 3, 0}, {5.5, 3.5, 0}, 16};
    EXPECT_FALSE(segments.gather(PolylineProjector(test::alongX(19)), box)) << "no index";
    PolylineProjector const polyline(test::alongX(200));
    EXPECT_TRUE(segments.gather(polyline, box));
    EXPECT_FALSE(segments.gather(polyline, {{5, 3, 0}, {5.5, 3.5, 0}, 1e6})) << "too many segments";
    EXPECT_FALSE(segments.gather(polyline, {{5, 3, 0}, {5.5, 1e71, 0}, 16}));
    EXPECT_FALSE(segments.gather(polyline, {{-1e71, 3, 0}, {5.5, 3.5, 0}, 16}));
    double const nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(segments.gather(polyline, {{5, nan, 0}, {5.5, 3.5, 0}, 16}));
}

TEST(NearbySegments, MayServeOnePolylineAfterAnother)
{
    test::Random random(20251203);
    PolylineProjector const curves[2] = {PolylineProjector(test::smoothCurve(400)),
                                         PolylineProjector(test::islandBoundary(700, random))};
    NearbySegments segments;
    for (int trial = 0; trial < 200; ++trial) {
        PolylineProjector const& polyline = curves[trial % 2];
        Vector3 const p = test::nearVertices(polyline.points, 1, 0.05, random).front();
        ASSERT_TRUE(segments.gather(polyline, boxAt(polyline, p, {0.01, 0.01, 0})));
        NearestSegments nearest;
        segments.measure(&p, 1, &nearest, sinew::detail::widestVectors());
        expectSameHit(segments.hit(p, nearest), closestPoint(polyline, p));
    }
}
