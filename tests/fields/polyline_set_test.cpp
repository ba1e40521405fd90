#include <sinew/fields/polyline_set.h>

#include <cmath>
#include <limits>
#include <utility>

#include <gtest/gtest.h>

#include "fields/polylines.h"
#include "support/bits.h"
#include "support/failing_new.h"

using sinew::closestPoint;
using sinew::PolylineHit;
using sinew::PolylineSet;
using sinew::PolylineSetHit;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

using Curves = std::vector<PolylineProjector>;

// One curve after the other; the first of equally near ones. A distance that is a number goes before NaN.
PolylineSetHit oneAfterTheOther(Curves const& curves, Vector3 const& q)
{
    PolylineSetHit best;
    for (std::size_t c = 0; c < curves.size(); ++c) {
        PolylineHit const hit = closestPoint(curves[c], q);
        if (hit.segment < 0) continue;
        bool const isFirst = best.curve < 0;
        bool const isFirstNumber = !isFirst && std::isnan(best.hit.distSq) && !std::isnan(hit.distSq);
        if (isFirst || isFirstNumber || hit.distSq < best.hit.distSq) best = {static_cast<int>(c), hit};
    }
    return best;
}

bool sameHit(PolylineSetHit const& a, PolylineSetHit const& b)
{
    return a.curve == b.curve && a.hit.segment == b.hit.segment && test::sameBits(a.hit.t, b.hit.t) &&
           test::sameBits(a.hit.point, b.hit.point) && test::sameBits(a.hit.distSq, b.hit.distSq);
}

void expectOneAfterTheOther(PolylineSet const& set, Vector3 const& q)
{
    PolylineSetHit const hit = closestPoint(set, q);
    PolylineSetHit const expected = oneAfterTheOther(set.curves(), q);
    EXPECT_TRUE(sameHit(hit, expected)) << "query " << q << ", " << set.curves().size() << " curves: curve "
                                        << hit.curve << " at " << hit.hit.distSq << ", expected " << expected.curve
                                        << " at " << expected.hit.distSq;
}

PolylineProjector segment(Vector3 const& a, Vector3 const& b)
{
    return PolylineProjector(std::vector<Vector3>{a, b});
}

// A curve of 0 to 40 vertices somewhere in a box of the size `spread`.
PolylineProjector anyCurve(test::Random& random, double spread)
{
    int const vertices = random.below(41);
    std::vector<Vector3> points;
    switch (random.below(3)) {
    case 0:
        points = test::noisyCurve(vertices, random);
        break;
    case 1:
        points = test::latticeWalk(vertices > 0 ? vertices : 1, random);
        break;
    default:
        points = test::islandBoundary(vertices > 1 ? vertices : 2, random);
    }
    Vector3 const at = random.point() * spread;
    for (Vector3& p : points) p += at;
    return PolylineProjector(points);
}

} // namespace

TEST(PolylineSet, NamesTheNearestCurve)
{
    PolylineSet const set({segment({0, 0, 0}, {9, 0, 0}), segment({0, 5, 0}, {9, 5, 0})});
    PolylineSetHit const hit = closestPoint(set, {4.5, 4, 0});
    EXPECT_EQ(hit.curve, 1);
    EXPECT_EQ(hit.hit.segment, 0);
    EXPECT_EQ(hit.hit.t, 0.5);
    EXPECT_EQ(hit.hit.point, Vector3(4.5, 5, 0));
    EXPECT_EQ(hit.hit.distSq, 1.0);
    EXPECT_EQ(closestPoint(set, {4.5, 1, 0}).curve, 0);
}

TEST(PolylineSet, TheEarlierOfEquallyNearCurvesWins)
{
    // 64 equal curves, and pairs on both sides of the query.
    EXPECT_EQ(closestPoint(PolylineSet(Curves(64, segment({0, 0, 0}, {1, 0, 0}))), {0.5, 3, 0}).curve, 0);
    Curves ladder;
    for (int i = 0; i < 40; ++i)
        ladder.push_back(segment({0, static_cast<double>(i), 0}, {1, static_cast<double>(i), 0}));
    PolylineSet const up(ladder);
    PolylineSet const down(Curves(ladder.rbegin(), ladder.rend()));
    for (int i = 0; i < 39; ++i) {
        EXPECT_EQ(closestPoint(up, {0.5, i + 0.5, 0}).curve, i);
        EXPECT_EQ(closestPoint(down, {0.5, i + 0.5, 0}).curve, 38 - i);
    }
}

TEST(PolylineSet, HasNoResultWithoutCurvesOrResults)
{
    for (PolylineSet const& set :
         {PolylineSet(), PolylineSet(Curves()), PolylineSet({PolylineProjector({{1, 1, 1}})})}) {
        PolylineSetHit const hit = closestPoint(set, {0, 0, 0});
        EXPECT_EQ(hit.curve, -1);
        EXPECT_EQ(hit.hit.segment, -1);
        EXPECT_EQ(hit.hit.distSq, kInfinity);
    }
    // Short polylines have no result beyond a squared distance of 1e13, and none for NaN.
    PolylineSet const shortOnes(Curves(5, segment({0, 0, 0}, {1, 0, 0})));
    EXPECT_EQ(closestPoint(shortOnes, {0, 1e7, 0}).curve, -1);
    EXPECT_EQ(closestPoint(shortOnes, {0, kNaN, 0}).curve, -1);
}

TEST(PolylineSet, CurvesWithoutAResultArePassedOver)
{
    PolylineSet const set({PolylineProjector({}), PolylineProjector({{0, 0, 0}}), segment({5, 0, 0}, {6, 0, 0})});
    EXPECT_EQ(closestPoint(set, {0, 0, 0}).curve, 2);
}

TEST(PolylineSet, ADistanceGoesBeforeNaN)
{
    std::vector<Vector3> withNaN(30, Vector3(kNaN, 0, 0));
    PolylineSet const set({PolylineProjector(withNaN), segment({5, 0, 0}, {6, 0, 0}), PolylineProjector(withNaN)});
    EXPECT_EQ(closestPoint(set, {0, 0, 0}).curve, 1);
    PolylineSet const longOnes(
        {PolylineProjector({}), PolylineProjector(test::alongX(30)), PolylineProjector(test::alongX(40))});
    PolylineSetHit const hit = closestPoint(longOnes, {kNaN, 0, 0});
    EXPECT_EQ(hit.curve, 1);
    EXPECT_TRUE(std::isnan(hit.hit.distSq));
}

TEST(PolylineSet, HasTheBitsOfAskingOneCurveAfterTheOther)
{
    test::Random random(20261201);
    for (int trial = 0; trial < 150; ++trial) {
        SCOPED_TRACE(trial);
        double const spread = random.oneIn(3) ? 0.0 : std::ldexp(1.0, random.below(8));
        Curves curves;
        for (int i = random.below(random.oneIn(4) ? 300 : 20); i > 0; --i) curves.push_back(anyCurve(random, spread));
        PolylineSet const set(curves);
        for (int i = 0; i < 40; ++i) {
            Vector3 q = random.point() * (spread + 2);
            if (random.oneIn(3) && !curves.empty()) { // on a vertex, or halfway between two: ties
                Curves::const_reference one =
                    curves[static_cast<std::size_t>(random.below(static_cast<int>(curves.size())))];
                if (!one.points.empty())
                    q = random.oneIn(2) ? one.points.front() : (one.points.front() + one.points.back()) * 0.5;
            }
            expectOneAfterTheOther(set, q);
        }
    }
}

TEST(PolylineSet, HasTheseBitsAtEveryScaleAndForHostileInput)
{
    test::Random random(20261202);
    for (int trial = 0; trial < 300; ++trial) {
        SCOPED_TRACE(trial);
        double const scale = std::ldexp(1.0, random.below(400) - 200);
        bool const isHostile = random.oneIn(2);
        Curves curves;
        for (int i = 1 + random.below(12); i > 0; --i) {
            std::vector<Vector3> points = random.points(random.oneIn(4) ? 24 : random.below(6));
            for (Vector3& p : points) p = isHostile && random.oneIn(8) ? random.hostilePoint() : p * scale;
            curves.emplace_back(points);
        }
        PolylineSet const set(curves);
        for (int i = 0; i < 30; ++i)
            expectOneAfterTheOther(set, isHostile && random.oneIn(4) ? random.hostilePoint() : random.point() * scale);
        expectOneAfterTheOther(set, {kInfinity, 0, 0});
        expectOneAfterTheOther(set, {kNaN, kNaN, kNaN});
        expectOneAfterTheOther(set, {1e200, -1e200, 0});
    }
}

TEST(PolylineSet, HasTheseBitsFarFromTheOrigin)
{
    // Coordinates whose rounding is as large as the distances: the margins of the boxes matter.
    test::Random random(20261203);
    Vector3 const offset(1e9, -2e9, 3e9);
    Curves curves;
    for (int i = 0; i < 200; ++i) {
        Vector3 const at = offset + random.point() * 1e-5;
        curves.push_back(segment(at, at + random.point() * 1e-6));
    }
    PolylineSet const set(curves);
    for (int i = 0; i < 2000; ++i) expectOneAfterTheOther(set, offset + random.point() * 1e-5);
}

TEST(PolylineSet, CopiesAndMovedSetsGiveTheSameResults)
{
    test::Random random(20261204);
    Curves curves;
    for (int i = 0; i < 30; ++i) curves.push_back(anyCurve(random, 5));
    PolylineSet set(curves);
    PolylineSetHit const expected = closestPoint(set, {1, 2, 3});
    PolylineSet const copy(set);
    PolylineSet const moved(std::move(set));
    EXPECT_TRUE(sameHit(closestPoint(copy, {1, 2, 3}), expected));
    EXPECT_TRUE(sameHit(closestPoint(moved, {1, 2, 3}), expected));
    PolylineSet assigned({segment({0, 0, 0}, {1, 0, 0})});
    assigned = copy;
    EXPECT_TRUE(sameHit(closestPoint(assigned, {1, 2, 3}), expected));
    PolylineSet const& itself = assigned;
    assigned = itself;
    EXPECT_TRUE(sameHit(closestPoint(assigned, {1, 2, 3}), expected));
}

TEST(PolylineSet, ManyQueriesHaveTheBitsOfSingleOnes)
{
    test::Random random(20261205);
    Curves curves;
    for (int i = 0; i < 50; ++i) curves.push_back(anyCurve(random, 5));
    PolylineSet const set(curves);
    struct Vertex
    {
        float uv[2];
        float position[3];
    };
    std::vector<Vertex> buffer(100);
    for (Vertex& vertex : buffer) {
        for (float& x : vertex.position) x = static_cast<float>(random.uniform(-6, 6));
    }
    std::vector<PolylineSetHit> hits(buffer.size());
    sinew::projectMany(set, sinew::Strided<float const>(buffer[0].position, buffer.size(), sizeof(Vertex)),
                       hits.data());
    for (std::size_t i = 0; i < buffer.size(); ++i) {
        float const* const p = buffer[i].position;
        EXPECT_TRUE(sameHit(hits[i], closestPoint(set, Vector3(p[0], p[1], p[2])))) << i;
    }
    sinew::projectMany(set, sinew::RealArray(), nullptr);
}

TEST(PolylineSet, ManyScatteredQueriesHaveTheBitsOfSingleOnes)
{
    test::Random random(20261122);
    for (int const count : {60, 499, 500, 501, 700}) {
        SCOPED_TRACE(count);
        Curves curves;
        for (int i = 0; i < count; ++i) {
            // Copies of earlier curves tie with them.
            curves.push_back(i > 0 && random.oneIn(4) ? curves[static_cast<std::size_t>(random.below(i))]
                                                      : anyCurve(random, 5));
        }
        PolylineSet const set(curves);
        for (int const queries : {1, 63, 64, 65, 600}) {
            std::vector<Vector3> points = random.points(queries, -6, 6);
            for (Vector3& p : points) {
                if (random.oneIn(20)) p = random.hostilePoint();
                std::vector<Vector3> const& curve = curves[static_cast<std::size_t>(random.below(count))].points;
                if (random.oneIn(3) && !curve.empty()) p = curve.back();
            }
            std::vector<PolylineSetHit> hits(points.size());
            sinew::projectMany(set, sinew::coordinatesOf(std::as_const(points).data(), points.size()), hits.data());
            for (std::size_t i = 0; i < points.size(); ++i)
                EXPECT_TRUE(sameHit(hits[i], closestPoint(set, points[i]))) << i << ": " << points[i];
        }
    }
}

TEST(PolylineSet, ManyQueriesHaveTheseBitsWithoutMemoryForSorting)
{
    test::Random random(20261123);
    Curves curves;
    for (int i = 0; i < 600; ++i) {
        Vector3 const a = random.point();
        curves.push_back(segment(a, random.point()));
    }
    PolylineSet const set(curves);
    std::vector<Vector3> const points = random.points(300);
    std::vector<PolylineSetHit> hits(points.size());
    {
        test::FailingNew const failing(0, test::Failing::all);
        sinew::projectMany(set, sinew::coordinatesOf(points.data(), points.size()), hits.data());
        EXPECT_TRUE(failing.hasFailed());
    }
    for (std::size_t i = 0; i < points.size(); ++i) EXPECT_TRUE(sameHit(hits[i], closestPoint(set, points[i]))) << i;
}
