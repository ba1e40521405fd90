#include <sinew/detail/as_index.h>
#include <sinew/fields/detail/polyline_index.h>

#include <gtest/gtest.h>

#include "fields/polylines.h"
#include "fields/reference_polyline.h"
#include "support/vector_widths.h"

using sinew::detail::asIndex;
using sinew::detail::PolylineIndex;
using sinew::detail::SegmentTree;
using sinew::detail::VectorWidth;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// The index answers one query after the other with what it knows from the previous ones. Every decision must be that of
// the reference implementation, and it must decide whatever it decides without that knowledge.
void expectSearchResultsOnPath(PolylineIndex const& index, reference::Projector const& oracle,
                               std::vector<Vector3> const& queries)
{
    std::vector<Vector3> const& points = oracle.points;
    sinew::detail::SearchPath path;
    int previous = 0;
    for (Vector3 const& q : queries) {
        double const known = distSqToLineSegment(q, points[asIndex(previous)], points[asIndex(previous + 1)], nullptr);
        int const segment = index.nearestSegment(points, q, known, &path);
        if (segment < 0) {
            EXPECT_LT(index.nearestSegment(points, q, kInfinity), 0) << "query " << q;
            continue;
        }
        EXPECT_EQ(segment, oracle.branchAndBound(q)) << "query " << q << ", " << points.size() << " vertices";
        previous = segment;
    }
}

// The number of queries that the index decides. Every decision must be that of the reference implementation, and every
// vector width must decide the same queries.
int countDecided(std::vector<Vector3> const& points, std::vector<Vector3> const& queries)
{
    reference::Projector const oracle(points);
    PolylineIndex const baseline(points, oracle.arcLengths, VectorWidth::baseline);
    int count = 0;
    for (Vector3 const& q : queries) {
        int const segment = baseline.nearestSegment(points, q, kInfinity);
        if (segment < 0) continue;
        ++count;
        EXPECT_EQ(segment, oracle.branchAndBound(q)) << "query " << q << ", " << points.size() << " vertices";
    }
    for (VectorWidth width : test::vectorWidths()) {
        PolylineIndex const wide(points, oracle.arcLengths, width);
        for (Vector3 const& q : queries) {
            EXPECT_EQ(wide.nearestSegment(points, q, kInfinity), baseline.nearestSegment(points, q, kInfinity));
        }
        expectSearchResultsOnPath(wide, oracle, queries);
    }
    return count;
}

Vector3 anyVertex(std::vector<Vector3> const& points, test::Random& random)
{
    return points[random.below(static_cast<int>(points.size()))];
}

} // namespace

TEST(PolylineIndex, DecidesNearlyAllQueriesOfCurves)
{
    test::Random random(20250332);
    for (int n : {20, 21, 100, 3000}) {
        std::vector<std::vector<Vector3>> const curves = {test::smoothCurve(n, 3.0), test::noisyCurve(n, random),
                                                          random.points(n)};
        for (std::vector<Vector3> const& points : curves) {
            EXPECT_GT(countDecided(points, test::nearVertices(points, 300, 0.01, random)), 290);
            EXPECT_GT(countDecided(points, test::nearVertices(points, 300, 5.0, random)), 290);
        }
    }
}

TEST(PolylineIndex, DecidesAtSharedVerticesAndAtTheEndsOfLoops)
{
    test::Random random(20250333);
    for (int n : {20, 90, 2000}) {
        std::vector<Vector3> const loop = test::islandBoundary(n, random);
        EXPECT_EQ(countDecided(loop, loop), n);
        EXPECT_EQ(countDecided(loop, std::vector<Vector3>(1, loop.front())), 1);
    }
}

TEST(PolylineIndex, ReplaysTheSearchWhereItsBoundsAreTooLarge)
{
    // With so many vertices the difference of arc length and chord is smaller than the rounding of arc lengths. The
    // search then drops intervals that hold the nearest segment, and names a neighbour.
    test::Random random(20250334);
    std::vector<Vector3> const points = test::smoothCurve(200000, 0.2);
    std::vector<Vector3> const queries = test::nearVertices(points, 300, 0.5, random);
    reference::Projector const oracle(points);
    SegmentTree const tree(points, VectorWidth::baseline);
    int neighbours = 0;
    for (Vector3 const& q : queries) neighbours += tree.nearest(q, kInfinity).first != oracle.branchAndBound(q);
    EXPECT_GT(neighbours, 5) << "the input must have the case that this test is about";
    EXPECT_GT(countDecided(points, queries), 290);
}

TEST(PolylineIndex, DecidesMostQueriesOfStraightLinesByReplays)
{
    test::Random random(20250335);
    for (int n : {20, 100, 4000}) {
        std::vector<Vector3> const points = test::straightLine(n, 1e-2);
        EXPECT_GT(countDecided(points, test::nearVertices(points, 200, 0.3, random)), 150);
    }
}

TEST(PolylineIndex, NeverDiffersFromTheSearchOnSelfTouchingWalks)
{
    test::Random random(20250336);
    for (int trial = 0; trial < 300; ++trial) {
        std::vector<Vector3> const points = test::latticeWalk(20 + random.below(200), random);
        std::vector<Vector3> queries = test::nearVertices(points, 10, 0.7, random);
        for (int i = 0; i < 20; ++i) queries.push_back(anyVertex(points, random) * 0.5);
        for (int i = 0; i < 10; ++i) queries.push_back(anyVertex(points, random));
        countDecided(points, queries);
    }
}

TEST(PolylineIndex, NeverDiffersFromTheSearchNearTheAbsoluteMargins)
{
    // The projections on segments of a length of about 1e-7 are within the margin of 1e-13 of their ends. The search
    // then takes whole segments as their first vertices, and chords as their ends.
    test::Random random(20250337);
    for (int trial = 0; trial < 300; ++trial) {
        double const scale = std::pow(10.0, random.uniform(-9, -4));
        std::vector<Vector3> points =
            random.oneIn(2) ? test::latticeWalk(20 + random.below(100), random) : random.points(20 + random.below(100));
        for (Vector3& p : points) p *= scale;
        countDecided(points, test::nearVertices(points, 20, scale, random));
        countDecided(points, test::nearVertices(points, 10, scale * 30, random));
    }
}

TEST(PolylineIndex, NeverDiffersFromTheSearchFarFromTheOrigin)
{
    // Large coordinates leave few digits for their differences: rounding makes distances equal and vertices stray.
    test::Random random(20250338);
    for (int trial = 0; trial < 300; ++trial) {
        double const far = std::pow(10.0, random.uniform(3, 15));
        std::vector<Vector3> points = test::noisyCurve(20 + random.below(150), random);
        for (Vector3& p : points) p += Vector3(far, -far, far * 0.5);
        countDecided(points, test::nearVertices(points, 30, 0.5, random));
        countDecided(points, test::nearVertices(points, 10, far, random));
    }
}

TEST(PolylineIndex, AKnownDistanceDoesNotChangeTheResult)
{
    test::Random random(20250339);
    std::vector<Vector3> const points = test::noisyCurve(700, random);
    reference::Projector const oracle(points);
    PolylineIndex const index(points, oracle.arcLengths);
    for (Vector3 const& q : test::nearVertices(points, 500, 0.3, random)) {
        int const k = random.below(699);
        double const known = random.oneIn(2) ? distSqToLineSegment(q, points[k], points[k + 1], nullptr)
                                             : test::smallestDistSq(points, q);
        EXPECT_EQ(index.nearestSegment(points, q, known), index.nearestSegment(points, q, kInfinity));
    }
}
