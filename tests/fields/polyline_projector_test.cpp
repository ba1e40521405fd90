#include <sinew/fields/polyline_projector.h>

#include <cmath>
#include <limits>
#include <new>

#include <gtest/gtest.h>

#include "fields/polylines.h"
#include "fields/reference_polyline.h"
#include "support/bits.h"
#include "support/failing_new.h"

using sinew::closestPoint;
using sinew::PolylineHit;
using test::alongX;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

bool sameHit(PolylineHit const& a, PolylineHit const& b)
{
    return a.segment == b.segment && test::sameBits(a.t, b.t) && test::sameBits(a.point, b.point) &&
           test::sameBits(a.distSq, b.distSq);
}

void expectReferenceResult(PolylineProjector const& polyline, reference::Projector const& oracle, Vector3 const& q)
{
    PolylineHit const hit = closestPoint(polyline, q);
    PolylineHit const expected = oracle.project(q);
    EXPECT_TRUE(sameHit(hit, expected)) << "query " << q << ", " << oracle.points.size() << " vertices: segment "
                                        << hit.segment << " t " << hit.t << ", reference: segment " << expected.segment
                                        << " t " << expected.t;
}

} // namespace

TEST(PolylineProjector, SumsArcLengths)
{
    PolylineProjector const polyline({{0, 0, 0}, {3, 4, 0}, {3, 4, 0}, {3, 4, 2}});
    EXPECT_EQ(polyline.arcLengths, (std::vector<double>{0, 5, 5, 7}));
}

TEST(PolylineProjector, HasNoResultBeforeTheFirstProjection)
{
    PolylineProjector const polyline(alongX(3));
    EXPECT_EQ(polyline.segment, -1);
    EXPECT_EQ(polyline.t, 0.0);
    EXPECT_EQ(polyline.point, Vector3());
}

TEST(PolylineProjector, FewerThanTwoVerticesChangeNothing)
{
    for (int vertices : {0, 1}) {
        PolylineProjector polyline(alongX(vertices));
        polyline.segment = 7;
        polyline.t = 0.25;
        polyline.point = {1, 2, 3};
        polyline.project({5, 5, 5});
        EXPECT_EQ(polyline.segment, 7);
        EXPECT_EQ(polyline.t, 0.25);
        EXPECT_EQ(polyline.point, Vector3(1, 2, 3));
        EXPECT_EQ(closestPoint(polyline, {5, 5, 5}).segment, -1);
    }
}

TEST(PolylineProjector, QueriesBeyondTwoVerticesGiveTheEnds)
{
    PolylineProjector polyline({{1, 0, 0}, {3, 0, 0}});
    polyline.project({9, 1, 0});
    EXPECT_EQ(polyline.segment, 0);
    EXPECT_EQ(polyline.t, 1.0);
    EXPECT_EQ(polyline.point, Vector3(3, 0, 0));
    polyline.project({-9, 1, 0});
    EXPECT_EQ(polyline.t, 0.0);
    EXPECT_EQ(polyline.point, Vector3(1, 0, 0));
    polyline.project({1.5, 1, 0});
    EXPECT_EQ(polyline.t, 0.25);
    EXPECT_EQ(polyline.point, Vector3(1.5, 0, 0));
}

TEST(PolylineProjector, ScanGivesTiesToTheLowestSegment)
{
    // Two parallel segments, equally far from the query.
    EXPECT_EQ(closestPoint(PolylineProjector({{0, 1, 0}, {4, 1, 0}, {4, -1, 0}, {0, -1, 0}}), {1, 0, 0}).segment, 0);
}

TEST(PolylineProjector, ScanNamesTheSegmentBeforeASharedVertex)
{
    PolylineProjector const polyline(alongX(19));
    PolylineHit const hit = closestPoint(polyline, {5, 0, 0});
    EXPECT_EQ(hit.segment, 4);
    EXPECT_EQ(hit.t, 1.0);
    EXPECT_EQ(hit.point, Vector3(5, 0, 0));
}

TEST(PolylineProjector, BoundedSearchNamesTheSegmentAfterAVertexWhereItSplits)
{
    // The search splits the vertices 0..19 at 9. It scans the half 0..9 and splits the half 9..19 at 14.
    PolylineProjector const polyline(alongX(20));
    PolylineHit const atSplit = closestPoint(polyline, {9, 2, 0});
    EXPECT_EQ(atSplit.segment, 9);
    EXPECT_EQ(atSplit.t, 0.0);
    EXPECT_EQ(closestPoint(polyline, {14, 2, 0}).segment, 14);
    PolylineHit const elsewhere = closestPoint(polyline, {5, 2, 0});
    EXPECT_EQ(elsewhere.segment, 4);
    EXPECT_EQ(elsewhere.t, 1.0);
}

TEST(PolylineProjector, BothSearchesFindTheSamePoint)
{
    test::Random random(20250301);
    std::vector<Vector3> points = test::smoothCurve(19);
    PolylineProjector const scanned(points);
    points.push_back(points.back()); // the same curve, one vertex longer
    PolylineProjector const searched(points);
    for (int trial = 0; trial < 500; ++trial) {
        Vector3 const q = random.point();
        EXPECT_TRUE(test::sameBits(closestPoint(scanned, q).point, closestPoint(searched, q).point)) << q;
    }
}

// All four segments at the vertices (0, 5, 0) and (0, 6, 0) are equally near. The intervals that hold them have equal
// bounds, so the order of equal bounds decides. This order must be the same with every standard library.
TEST(PolylineProjector, EqualBoundsAreTakenInAFixedOrder)
{
    std::vector<Vector3> ladder;
    for (int i = 0; i < 24; ++i) ladder.emplace_back(i % 2, i / 2, 0);
    PolylineHit const hit = closestPoint(PolylineProjector(ladder), {-1.5, 5.5, 0});
    EXPECT_EQ(hit.segment, 11);
    EXPECT_EQ(hit.t, 1.0);
    EXPECT_EQ(hit.point, Vector3(0, 6, 0));
}

TEST(PolylineProjector, BoundedSearchPrefersTheFirstEndOfAClosedLoop)
{
    std::vector<Vector3> loop;
    for (int i = 0; i <= 24; ++i)
        loop.emplace_back(std::cos(i * 0.2617993877991494), std::sin(i * 0.2617993877991494), 0);
    loop.back() = loop.front();
    PolylineHit const hit = closestPoint(PolylineProjector(loop), {2, 0, 0});
    EXPECT_EQ(hit.segment, 0);
    EXPECT_EQ(hit.t, 0.0);
    EXPECT_EQ(hit.point, Vector3(1, 0, 0));
}

TEST(PolylineProjector, BoundedSearchNamesTheLastSegmentAtTheLastVertex)
{
    PolylineHit const hit = closestPoint(PolylineProjector(alongX(30)), {40, 1, 0});
    EXPECT_EQ(hit.segment, 28);
    EXPECT_EQ(hit.t, 1.0);
    EXPECT_EQ(hit.point, Vector3(29, 0, 0));
}

TEST(PolylineProjector, ProjectionsWithinAnAbsoluteMarginOfAnEndGiveTheEnd)
{
    PolylineProjector const polyline({{0, 0, 0}, {1, 0, 0}});
    EXPECT_EQ(closestPoint(polyline, {1e-13, 1, 0}).t, 0.0);
    EXPECT_EQ(closestPoint(polyline, {1.1e-13, 1, 0}).t, 1.1e-13);
    EXPECT_EQ(closestPoint(polyline, {1 - 0.9e-13, 1, 0}).t, 1.0);
    EXPECT_LT(closestPoint(polyline, {1 - 1.1e-13, 1, 0}).t, 1.0);
    // A segment of length 1e-7 is entirely within the margin of its first end.
    EXPECT_EQ(closestPoint(PolylineProjector({{0, 0, 0}, {1e-7, 0, 0}}), {0.9e-7, 0, 0}).t, 0.0);
}

TEST(PolylineProjector, SegmentsOfLengthZeroGiveTheirFirstVertex)
{
    PolylineHit const hit = closestPoint(PolylineProjector({{1, 1, 1}, {1, 1, 1}}), {4, 5, 6});
    EXPECT_EQ(hit.segment, 0);
    EXPECT_EQ(hit.t, 0.0);
    EXPECT_EQ(hit.point, Vector3(1, 1, 1));
    PolylineHit const same = closestPoint(PolylineProjector(std::vector<Vector3>(64, Vector3(1, 1, 1))), {4, 5, 6});
    EXPECT_EQ(same.segment, 0);
    EXPECT_EQ(same.t, 0.0);
}

TEST(PolylineProjector, ShortPolylinesGiveNoResultForFarQueries)
{
    PolylineProjector polyline(alongX(5));
    polyline.project({2, 1, 0});
    polyline.project({2, 4e6, 0});
    EXPECT_EQ(polyline.segment, 1);
    EXPECT_EQ(polyline.point, Vector3(2, 0, 0));
    // A squared distance of exactly 1e13 gives no result, a slightly smaller one does.
    PolylineProjector const dot(std::vector<Vector3>(2));
    ASSERT_EQ(1e13, Vector3(3e6, 1e6, 0).lengthSq());
    EXPECT_EQ(closestPoint(dot, {3e6, 1e6, 0}).segment, -1);
    EXPECT_EQ(closestPoint(dot, {3e6, 1e6 - 1, 0}).segment, 0);
    EXPECT_EQ(closestPoint(PolylineProjector(alongX(20)), {2, 4e6, 0}).point, Vector3(2, 0, 0))
        << "from 20 vertices on the distance is not limited";
}

TEST(PolylineProjector, ShortPolylinesGiveNoResultForNaNQueries)
{
    PolylineProjector polyline(alongX(5));
    polyline.project({2, 1, 0});
    for (Vector3 const& q : {Vector3(kNaN, 0, 0), Vector3(0, kNaN, 0), Vector3(0, 0, kNaN)}) {
        polyline.project(q);
        EXPECT_EQ(polyline.segment, 1);
        EXPECT_EQ(polyline.point, Vector3(2, 0, 0));
    }
}

TEST(PolylineProjector, LongPolylinesGiveTheFirstSegmentForNaNQueries)
{
    PolylineHit const hit = closestPoint(PolylineProjector(alongX(50)), {kNaN, 0, 0});
    EXPECT_EQ(hit.segment, 0);
    EXPECT_TRUE(std::isnan(hit.t));
    EXPECT_TRUE(std::isnan(hit.point.x));
}

TEST(PolylineProjector, CopiesAndMovedProjectorsGiveTheSameResults)
{
    PolylineProjector polyline(test::smoothCurve(500));
    polyline.project({0.5, 0.1, 0});
    PolylineProjector copy(polyline);
    EXPECT_EQ(copy.segment, polyline.segment);
    PolylineHit const expected = closestPoint(polyline, {0.3, -0.4, 0.2});
    PolylineProjector moved(std::move(polyline));
    EXPECT_TRUE(sameHit(closestPoint(copy, {0.3, -0.4, 0.2}), expected));
    EXPECT_TRUE(sameHit(closestPoint(moved, {0.3, -0.4, 0.2}), expected));
    PolylineProjector& itself = moved;
    moved = itself;
    EXPECT_TRUE(sameHit(closestPoint(moved, {0.3, -0.4, 0.2}), expected));
    moved = PolylineProjector(alongX(40));
    EXPECT_EQ(closestPoint(moved, {12.5, 3, 0}).segment, 12);
    copy = moved;
    EXPECT_EQ(closestPoint(copy, {12.5, 3, 0}).segment, 12);
}

TEST(PolylineHit, HasAnInfiniteDistanceWithoutAResult)
{
    EXPECT_EQ(closestPoint(PolylineProjector(alongX(1)), {0, 0, 0}).distSq, kInfinity);
    EXPECT_EQ(closestPoint(PolylineProjector(alongX(3)), {kNaN, 0, 0}).distSq, kInfinity);
    EXPECT_EQ(closestPoint(PolylineProjector(alongX(3)), {0, 1e7, 0}).distSq, kInfinity); // beyond the scan's range
}

TEST(PolylineHit, HasTheSquaredDistanceToThePoint)
{
    EXPECT_EQ(closestPoint(PolylineProjector(alongX(3)), {0.5, 3, 4}).distSq, 25.0);
    EXPECT_EQ(closestPoint(PolylineProjector(alongX(3)), {5, 0, 4}).distSq, 25.0);
    EXPECT_EQ(closestPoint(PolylineProjector(alongX(30)), {-4, 3, 0}).distSq, 25.0);
    EXPECT_TRUE(std::isnan(closestPoint(PolylineProjector(alongX(30)), {kNaN, 0, 0}).distSq));
}

TEST(PolylineHit, MayBeInitialisedWithoutADistance)
{
    PolylineHit const hit = {3, 0.5, Vector3(1, 2, 3)};
    EXPECT_EQ(hit.point, Vector3(1, 2, 3));
    EXPECT_EQ(hit.distSq, kInfinity);
}

namespace {

// One vertex is repeated in the middle.
PolylineProjector bent()
{
    return PolylineProjector({{0, 0, 0}, {3, 4, 0}, {3, 4, 0}, {3, 4, 2}});
}

// The definition with a scan over the vertices.
PolylineHit pointByScan(PolylineProjector const& polyline, double length)
{
    std::vector<double> const& L = polyline.arcLengths;
    int const n = static_cast<int>(L.size());
    if (n < 2 || std::isnan(length)) return {};
    if (length <= 0) return {0, 0.0, polyline.points[0], 0.0};
    if (length >= L[n - 1]) return {n - 2, 1.0, polyline.points[n - 1], 0.0};
    int k = 0;
    while (k + 2 < n && L[k + 1] <= length) ++k;
    double const t = (length - L[k]) / (L[k + 1] - L[k]);
    Vector3 const a = polyline.points[k];
    Vector3 const b = polyline.points[k + 1];
    if (t == 0 || t == 1) return {k, t, t == 0 ? a : b, 0.0};
    return {k, t, a + t * (b - a), std::isnan(t) ? t : 0.0};
}

} // namespace

TEST(ArcLengthOf, IsThatOfTheVertexAtTheEndsOfASegment)
{
    test::Random random(20261122);
    PolylineProjector const polyline(test::noisyCurve(200, random));
    for (int k = 0; k < 199; ++k) {
        EXPECT_EQ(sinew::arcLengthOf(polyline, {k, 0.0, {}}), polyline.arcLengths[k]);
        EXPECT_EQ(sinew::arcLengthOf(polyline, {k, 1.0, {}}), polyline.arcLengths[k + 1]);
    }
}

TEST(ArcLengthOf, IsThatOfTheVertexBeforeAnInfiniteSegment)
{
    PolylineProjector const polyline({{0, 0, 0}, {2, 0, 0}, {1e200, 0, 0}, {0, 0, 0}}); // squares overflow
    ASSERT_EQ(polyline.arcLengths[2], kInfinity);
    EXPECT_EQ(sinew::arcLengthOf(polyline, {1, 0.0, {}}), 2.0);
    EXPECT_EQ(sinew::arcLengthOf(polyline, {1, 1.0, {}}), kInfinity);
    EXPECT_EQ(sinew::arcLengthOf(polyline, sinew::pointAtArcLength(polyline, 3.0)), 2.0); // no point is farther
}

TEST(ArcLengthOf, GrowsLinearlyAlongASegment)
{
    EXPECT_EQ(sinew::arcLengthOf(bent(), closestPoint(bent(), {1.5, 2, 0})), 2.5);
    EXPECT_EQ(sinew::arcLengthOf(bent(), {2, 0.25, {}}), 5.5);
}

TEST(ArcLengthOf, IsNaNForASegmentThatDoesNotExist)
{
    for (int segment : {-1, 3, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
        EXPECT_TRUE(std::isnan(sinew::arcLengthOf(bent(), {segment, 0.5, {}}))) << segment;
    EXPECT_TRUE(std::isnan(sinew::arcLengthOf(PolylineProjector({}), {0, 0.5, {}})));
    EXPECT_TRUE(std::isnan(sinew::arcLengthOf(bent(), {0, kNaN, {}})));
}

TEST(PointAtArcLength, LiesOnTheSegmentThatReachesTheLength)
{
    PolylineHit const hit = sinew::pointAtArcLength(bent(), 2.5);
    EXPECT_TRUE(sameHit(hit, {0, 0.5, Vector3(1.5, 2, 0), 0.0}));
    EXPECT_TRUE(sameHit(sinew::pointAtArcLength(bent(), 6.5), {2, 0.75, Vector3(3, 4, 1.5), 0.0}));
}

TEST(PointAtArcLength, OfAVertexBelongsToTheSegmentThatStartsThere)
{
    EXPECT_TRUE(sameHit(sinew::pointAtArcLength(bent(), 5), {2, 0.0, Vector3(3, 4, 0), 0.0}));
}

TEST(PointAtArcLength, BeyondTheEndsGivesTheEnds)
{
    for (double length : {0.0, -0.0, -3.0, -kInfinity})
        EXPECT_TRUE(sameHit(sinew::pointAtArcLength(bent(), length), {0, 0.0, Vector3(), 0.0})) << length;
    for (double length : {7.0, 8.0, kInfinity})
        EXPECT_TRUE(sameHit(sinew::pointAtArcLength(bent(), length), {2, 1.0, Vector3(3, 4, 2), 0.0})) << length;
}

TEST(PointAtArcLength, HasNoResultForNaNAndWithoutSegments)
{
    EXPECT_TRUE(sameHit(sinew::pointAtArcLength(bent(), kNaN), PolylineHit()));
    EXPECT_TRUE(sameHit(sinew::pointAtArcLength(PolylineProjector(alongX(1)), 0), PolylineHit()));
    EXPECT_TRUE(sameHit(sinew::pointAtArcLength(PolylineProjector({}), 0), PolylineHit()));
}

TEST(PointAtArcLength, IsNaNBeyondAVertexWithNaN)
{
    PolylineProjector const polyline({{0, 0, 0}, {1, 0, 0}, {kNaN, 0, 0}, {3, 0, 0}});
    EXPECT_TRUE(sameHit(sinew::pointAtArcLength(polyline, 0.5), {0, 0.5, Vector3(0.5, 0, 0), 0.0}));
    PolylineHit const hit = sinew::pointAtArcLength(polyline, 1.5);
    EXPECT_EQ(hit.segment, 1);
    EXPECT_TRUE(std::isnan(hit.t) && std::isnan(hit.point.x) && std::isnan(hit.distSq));
}

TEST(PointAtArcLength, HasTheBitsOfAScanOverTheVertices)
{
    test::Random random(20261123);
    for (int trial = 0; trial < 200; ++trial) {
        int const vertices = 2 + random.below(60);
        std::vector<Vector3> points =
            random.oneIn(2) ? test::latticeWalk(vertices, random) : test::noisyCurve(vertices, random);
        if (random.oneIn(4)) points[random.below(vertices)] = random.hostilePoint();
        PolylineProjector const polyline(points);
        for (int i = 0; i < 100; ++i) {
            double length = polyline.arcLengths[random.below(vertices)];
            if (random.oneIn(2)) length += random.hostile();
            ASSERT_TRUE(sameHit(sinew::pointAtArcLength(polyline, length), pointByScan(polyline, length)))
                << trial << ", length " << length;
        }
    }
}

TEST(PointAtArcLength, HasThatArcLength)
{
    test::Random random(20261124);
    PolylineProjector const polyline(test::noisyCurve(1000, random));
    for (int i = 0; i < 1000; ++i) {
        double const length = random.uniform(0, polyline.arcLengths.back());
        double const again = sinew::arcLengthOf(polyline, sinew::pointAtArcLength(polyline, length));
        EXPECT_NEAR(again, length, 1e-15 * polyline.arcLengths.back()); // rounding of a sum of the whole length
    }
}

TEST(ProjectMany, GivesTheBitsOfSingleCalls)
{
    test::Random random(20250302);
    for (int vertices : {0, 1, 2, 19, 20, 700}) {
        PolylineProjector const polyline(test::noisyCurve(vertices, random));
        std::vector<Vector3> const queries = random.points(100, -2, 2);
        std::vector<PolylineHit> hits(queries.size());
        sinew::projectMany(polyline, queries.data(), queries.size(), hits.data());
        for (std::size_t i = 0; i < queries.size(); ++i)
            EXPECT_TRUE(sameHit(hits[i], closestPoint(polyline, queries[i])));
    }
    sinew::projectMany(PolylineProjector(alongX(30)), nullptr, 0, nullptr);
}

namespace {

void expectHitsOfSingleCalls(PolylineProjector const& polyline, std::vector<Vector3> const& queries)
{
    std::vector<PolylineHit> hits(queries.size());
    std::vector<PolylineHit> fromFloats(queries.size());
    std::vector<float> floats;
    for (Vector3 const& q : queries) {
        for (int a = 0; a < 3; ++a) floats.push_back(static_cast<float>(q[a]));
    }
    sinew::projectMany(polyline, queries.data(), queries.size(), hits.data());
    sinew::projectMany(polyline, sinew::Strided<float const>(floats.data(), queries.size(), 3 * sizeof(float)),
                       fromFloats.data());
    for (std::size_t i = 0; i < queries.size(); ++i) {
        ASSERT_TRUE(sameHit(hits[i], closestPoint(polyline, queries[i]))) << i << ": " << queries[i];
        Vector3 const rounded(floats[3 * i], floats[3 * i + 1], floats[3 * i + 2]);
        ASSERT_TRUE(sameHit(fromFloats[i], closestPoint(polyline, rounded))) << i << ": " << rounded;
    }
}

// Queries around a polyline in random order, some at its vertices, some far away, some with special coordinates.
std::vector<Vector3> scatteredQueries(std::vector<Vector3> const& points, int count, test::Random& random)
{
    std::vector<Vector3> queries = test::nearVertices(points, count, 0.3, random);
    for (Vector3& q : queries) {
        if (random.oneIn(4)) q = points[random.below(static_cast<int>(points.size()))];
        if (random.oneIn(20)) q = q * random.spread(0, 60);
        if (random.oneIn(20)) q[random.below(3)] = random.hostile();
    }
    return queries;
}

} // namespace

TEST(ProjectMany, GivesTheseBitsAroundTheSizesFromWhichItSorts)
{
    test::Random random(20261122);
    for (int const vertices : {999, 1000, 1001, 5000}) {
        std::vector<Vector3> const points = test::noisyCurve(vertices, random);
        PolylineProjector const polyline(points);
        for (int const count : {0, 1, 63, 64, 65, 700})
            expectHitsOfSingleCalls(polyline, scatteredQueries(points, count, random));
    }
}

TEST(ProjectMany, GivesTheseBitsAtTiesAndForHostileVertices)
{
    test::Random random(20261123);
    std::vector<Vector3> broken = test::smoothCurve(1200);
    broken[700].y = kNaN;
    std::vector<Vector3> huge = test::smoothCurve(1200);
    for (Vector3& p : huge) p *= 1e69;
    std::vector<Vector3> tooLarge = huge;
    tooLarge[5].x = 1e200;
    std::vector<Vector3> tiny = test::smoothCurve(1200);
    for (Vector3& p : tiny) p *= 1e-200;
    for (std::vector<Vector3> const& points :
         {test::latticeWalk(1500, random), test::islandBoundary(1100, random), test::straightLine(3000), alongX(1000),
          std::vector<Vector3>(1000, Vector3(1, 2, 3)), broken, huge, tooLarge, tiny}) {
        PolylineProjector const polyline(points);
        expectHitsOfSingleCalls(polyline, scatteredQueries(points, 200, random));
        expectHitsOfSingleCalls(polyline, points); // consecutive queries near each other
    }
}

TEST(ProjectMany, GivesTheseBitsWithoutMemoryForSorting)
{
    test::Random random(20261124);
    std::vector<Vector3> const points = test::noisyCurve(3000, random);
    PolylineProjector const polyline(points);
    std::vector<Vector3> const queries = test::nearVertices(points, 500, 0.3, random);
    closestPoint(polyline, queries[0]); // builds the index
    std::vector<PolylineHit> hits(queries.size());
    {
        test::FailingNew const failing(0, test::Failing::all);
        sinew::projectMany(polyline, queries.data(), queries.size(), hits.data());
        EXPECT_TRUE(failing.hasFailed());
    }
    for (std::size_t i = 0; i < queries.size(); ++i)
        EXPECT_TRUE(sameHit(hits[i], closestPoint(polyline, queries[i]))) << i;
}

TEST(ProjectMany, WritesNoHitWithoutMemoryForTheIndex)
{
    test::Random random(20261125);
    std::vector<Vector3> const points = test::noisyCurve(3000, random);
    PolylineProjector const polyline(points);
    std::vector<Vector3> const queries = test::nearVertices(points, 500, 0.3, random);
    std::vector<PolylineHit> hits(queries.size());
    {
        test::FailingNew const failing(0, test::Failing::all);
        EXPECT_THROW(sinew::projectMany(polyline, queries.data(), queries.size(), hits.data()), std::bad_alloc);
    }
    for (PolylineHit const& hit : hits) EXPECT_EQ(hit.segment, -1);
}

// Comparisons with the reference implementation. Queries of several kinds meet different ties and margins.
class PolylineProjectorReference : public testing::Test
{
protected:
    test::Random random{20250303};

    Vector3 query(std::vector<Vector3> const& points)
    {
        int const n = static_cast<int>(points.size());
        Vector3 const vertex = points[random.below(n)];
        Vector3 const next = points[random.below(n)];
        switch (random.below(8)) {
        case 0:
            return vertex;
        case 1:
            return (vertex + next) * 0.5;
        case 2:
            return vertex + random.point() * 1e-9;
        case 3:
            return vertex + random.point() * 1e-3;
        case 4:
            return random.point(-1e3, 1e3);
        case 5:
            return random.oneIn(4) ? random.hostilePoint() : vertex + random.point() * 0.1;
        case 6:
            return Vector3(random.below(9) - 4, random.below(9) - 4, random.below(9) - 4);
        default:
            return random.point(-2, 2);
        }
    }

    void compare(std::vector<Vector3> const& points, int queries)
    {
        PolylineProjector const polyline(points);
        reference::Projector const oracle(points);
        EXPECT_EQ(polyline.arcLengths.size(), points.size());
        for (int i = 0; i < queries; ++i) expectReferenceResult(polyline, oracle, query(points));
    }

    std::vector<int> const sizes{2, 3, 10, 19, 20, 21, 37, 64, 65, 100, 257, 1000};
};

TEST_F(PolylineProjectorReference, AgreesOnSmoothCurves)
{
    for (int n : sizes) compare(test::smoothCurve(n), 300);
    compare(test::smoothCurve(30000), 300);
}

TEST_F(PolylineProjectorReference, AgreesOnNoisyCurves)
{
    for (int n : sizes) compare(test::noisyCurve(n, random), 300);
    compare(test::noisyCurve(10000, random), 50);
}

TEST_F(PolylineProjectorReference, AgreesOnRandomVertices)
{
    for (int n : sizes) compare(random.points(n), 300);
}

TEST_F(PolylineProjectorReference, AgreesOnClosedLoops)
{
    for (int n : sizes) compare(test::islandBoundary(n, random), 300);
}

TEST_F(PolylineProjectorReference, AgreesOnSelfTouchingWalksWithRepeatedVertices)
{
    for (int n : sizes) compare(test::latticeWalk(n, random), 300);
    for (int trial = 0; trial < 200; ++trial) compare(test::latticeWalk(20 + random.below(60), random), 30);
}

TEST_F(PolylineProjectorReference, AgreesOnStraightLines)
{
    for (int n : sizes) compare(test::straightLine(n), 300);
    for (int n : sizes) compare(alongX(n), 300);
    compare(test::straightLine(20000, 1e-4), 300);
}

TEST_F(PolylineProjectorReference, AgreesAtEveryScale)
{
    for (double scale : {1e-160, 1e-100, 1e-12, 1e-7, 1e-3, 1e3, 1e7, 1e40, 1e80, 1e155, 1e300}) {
        std::vector<Vector3> points = test::noisyCurve(90, random);
        for (Vector3& p : points) p *= scale;
        PolylineProjector const polyline(points);
        reference::Projector const oracle(points);
        for (int i = 0; i < 200; ++i) {
            expectReferenceResult(polyline, oracle, random.point() * scale);
            expectReferenceResult(polyline, oracle, points[random.below(90)] + random.point() * (scale * 1e-4));
        }
    }
}

TEST_F(PolylineProjectorReference, AgreesOnHostileVertices)
{
    for (int trial = 0; trial < 400; ++trial) {
        std::vector<Vector3> points = random.points(2 + random.below(80));
        for (int i = random.below(4); i >= 0; --i)
            points[random.below(static_cast<int>(points.size()))] = random.hostilePoint();
        compare(points, 20);
    }
}

TEST_F(PolylineProjectorReference, AgreesIfAllVerticesAreEqual)
{
    for (int n : sizes) compare(std::vector<Vector3>(n, Vector3(0.1, 0.2, 0.3)), 100);
}

TEST_F(PolylineProjectorReference, AgreesForInfiniteQueries)
{
    for (int n : sizes) {
        std::vector<Vector3> const points = test::smoothCurve(n);
        for (Vector3 const& q :
             {Vector3(kInfinity, 0, 0), Vector3(0, -kInfinity, kNaN), Vector3(kInfinity, kInfinity, 1)}) {
            expectReferenceResult(PolylineProjector(points), reference::Projector(points), q);
        }
    }
}
