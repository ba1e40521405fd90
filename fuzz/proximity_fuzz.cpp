// The proximity grid of any points and radius, compared with the reference implementation.

#include <algorithm>
#include <memory>
#include <vector>

#include <sinew/fields/proximity_tester.h>

#include "fields/reference_proximity_tester.h"
#include "fuzz/input.h"
#include "support/bits.h"

using fuzz::Input;
using fuzz::require;
using test::sameBits;

namespace {

constexpr int kMostPoints = 40;
constexpr int kMostQueries = 40;
constexpr double kMostCells = 1e5; // a set without extent along an axis may have 2^31 cells, which takes too long here

std::vector<double> extents(std::vector<Vector3> const& points)
{
    std::vector<double> result;
    for (int a = 0; a < 3; ++a) {
        double low = points[0][a];
        double high = low;
        for (Vector3 const& p : points) {
            low = std::min(low, p[a]);
            high = std::max(high, p[a]);
        }
        result.push_back(high - low);
    }
    return result;
}

// Whether the grid has few cells, so that building it takes little time.
bool isSmall(std::vector<Vector3> const& points, double radius)
{
    if (points.empty() || !(radius > 0)) return true;
    double cells = 1;
    int flat = 0;
    for (double extent : extents(points)) {
        cells *= std::ceil(extent / radius) + 2;
        if (!(extent > 0)) ++flat;
    }
    return flat == 0 || !(cells > kMostCells);
}

bool hasGrid(std::vector<Vector3> const& points, double radius)
{
    if (points.empty() || !(radius > 0) || !std::isfinite(radius)) return false;
    for (Vector3 const& p : points) {
        if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z)) return false;
    }
    for (double extent : extents(points)) {
        if (!std::isfinite(extent)) return false;
    }
    return true;
}

void compareGrid(ProximityTester const& tester, reference::ProximityTester const& expected)
{
    require(sameBits(tester.origin, expected.origin), "same origin");
    for (int a = 0; a < 3; ++a) {
        require(tester.cellCount[a] == expected.cellCount[a], "same number of cells");
        require(sameBits(tester.cellSize[a], expected.cellSize[a]), "same size of cells");
        require(sameBits(tester.axes[a], expected.axes[a]), "same axes");
    }
    require(tester.occupied == expected.occupied, "same bits");
}

// Fields that a host has changed: the results have no meaning, but nothing is read beyond the bits.
void useEditedFields(Input& input, ProximityTester tester, std::vector<Vector3> const& queries)
{
    for (int a = 0; a < 3; ++a) {
        if (input.flag()) tester.cellCount[a] = input.anyInt();
        if (input.flag()) tester.cellSize[a] = input.number();
        if (input.flag()) tester.axes[a] = input.point();
    }
    if (input.flag()) tester.origin = input.point();
    if (input.flag()) tester.occupied.resize(static_cast<std::size_t>(input.below(256)), true);
    for (Vector3 const& q : queries) tester.test(q);
    auto const results = std::make_unique<bool[]>(queries.size());
    sinew::testMany(tester, queries.data(), queries.size(), results.get());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    Input input(data, size);
    double const radius = input.number();
    std::vector<Vector3> points;
    for (int i = input.below(kMostPoints); i > 0; --i) points.push_back(input.point());
    if (!isSmall(points, radius)) return 0;
    ProximityTester tester(points, radius);
    std::unique_ptr<reference::ProximityTester> expected;
    if (hasGrid(points, radius)) {
        expected = std::make_unique<reference::ProximityTester>(points, radius);
        compareGrid(tester, *expected);
    }
    ProximityTester const copied(tester);
    tester = copied;
    std::vector<Vector3> queries;
    Input edits = input; // the same bytes once more, so that they do not shift those of the queries
    do {
        queries.push_back(input.pointNear(points) + (input.flag() ? radius * input.tamePoint() : Vector3()));
    } while (input.more() && queries.size() < kMostQueries);
    auto const results = std::make_unique<bool[]>(queries.size());
    sinew::testMany(tester, queries.data(), queries.size(), results.get());
    for (std::size_t i = 0; i < queries.size(); ++i) {
        bool const found = tester.test(queries[i]);
        require(found == results[i] && found == copied.test(queries[i]), "many tests as single ones");
        if (expected) require(found == expected->test(queries[i]), "test as the reference");
    }
    useEditedFields(edits, tester, queries);
    return 0;
}
