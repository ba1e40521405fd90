// Proximity tests of many points at every vector width, against single tests.

#include <cmath>
#include <memory>

#include <gtest/gtest.h>

#include <sinew/fields/detail/proximity_batch.h>
#include <sinew/fields/proximity_tester.h>

#include "support/random.h"
#include "support/vector_widths.h"

namespace {

// Compares all results, and returns how many are true.
int compare(ProximityTester const& tester, std::vector<Vector3> const& points)
{
    int trues = 0;
    for (sinew::detail::VectorWidth const width : test::vectorWidths()) {
        std::unique_ptr<bool[]> const results(new bool[points.size() + 1]());
        sinew::detail::testPoints(tester, points.data(), points.size(), results.get(), width);
        trues = 0;
        for (std::size_t i = 0; i < points.size(); ++i) {
            EXPECT_EQ(results[i], tester.test(points[i])) << points[i] << " at width " << static_cast<int>(width);
            trues += results[i];
        }
        EXPECT_FALSE(results[points.size()]) << "nothing is written beyond the end";
    }
    return trues;
}

} // namespace

TEST(ProximityBatch, GivesTheResultsOfSingleTests)
{
    test::Random random(1501);
    ProximityTester const space(random.points(30), 0.1);
    ProximityTester const plane({{0, 0, 0}, {1, 0, 0}, {0.3, 0.7, 0}}, 1e-3);
    int trues = 0;
    for (int const count : {0, 1, 2, 7, 8, 9, 63, 64, 65, 128, 1000}) {
        std::vector<Vector3> inSpace;
        std::vector<Vector3> nearPlane;
        for (int i = 0; i < count; ++i) {
            inSpace.push_back(random.oneIn(5) ? random.hostilePoint() : random.point(-1.2, 1.2));
            Vector3 const p = random.point();
            nearPlane.emplace_back(0.3 + 0.002 * p.x, 0.7 + 0.002 * p.y, 0.002 * p.z);
        }
        trues += compare(space, inSpace);
        trues += compare(plane, nearPlane);
    }
    EXPECT_GT(trues, 400);
}

TEST(ProximityBatch, GivesTheseResultsOnTheFacesOfCells)
{
    test::Random random(1502);
    for (double const radius : {1.0, 0.1, 1.0 / 3.0, 1e-300, 1e200}) {
        SCOPED_TRACE(radius);
        std::vector<Vector3> set;
        for (int i = 0; i < 20; ++i) {
            set.emplace_back(random.below(9) * radius, random.below(9) * radius, random.below(9) * radius);
        }
        ProximityTester const tester(set, radius);
        std::vector<Vector3> points;
        for (int i = 0; i < 1000; ++i) {
            Vector3 p;
            for (int a = 0; a < 3; ++a) {
                p[a] = tester.origin[a] + random.below(14) * tester.cellSize[a];
                if (random.oneIn(3)) p[a] = std::nextafter(p[a], random.hostile());
            }
            points.push_back(p);
        }
        EXPECT_GT(compare(tester, points), 0);
    }
}

TEST(ProximityBatch, GivesTheseResultsForFieldsThatContradictEachOther)
{
    test::Random random(1503);
    ProximityTester const made(random.points(40), 0.2);
    int const counts[] = {-2147483647 - 1, -1, 0, 1, 3, 1000, 65536, 46341, 2147483647};
    for (int trial = 0; trial < 1000; ++trial) {
        SCOPED_TRACE(trial);
        ProximityTester edited = made;
        for (int a = 0; a < 3; ++a) {
            if (random.oneIn(3)) edited.cellCount[a] = counts[random.below(9)];
            if (random.oneIn(4)) edited.cellSize[a] = random.hostile();
            if (random.oneIn(4)) edited.axes[a] = random.hostilePoint();
        }
        if (random.oneIn(6)) edited.origin = random.hostilePoint();
        if (random.oneIn(3)) edited.occupied.resize(static_cast<std::size_t>(random.below(3000)), true);
        std::vector<Vector3> points;
        for (int i = 0; i < 70; ++i) {
            points.push_back(random.oneIn(3) ? random.hostilePoint() : random.point() * random.spread(0, 31));
        }
        compare(edited, points);
    }
}
