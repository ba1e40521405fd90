// The proximity grid compared with its reference implementation, with hash tables of cells and with a kd-tree.
//
// The hash of points and the kd-tree test exactly whether a point of the set is within the radius. The grid may return
// true where they return false, but inside the grid never false where they return true; this is checked before timing.
// The hash of cells marks cells as the grid does, but its cells start at other coordinates.

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include <benchmark/benchmark.h>

#include "proximity_contenders.h"
#include "support/random.h"

namespace {

using namespace bench::proximity;

constexpr double kRadius = 0.1;

std::vector<Vector3> const& cloud(int count)
{
    static std::map<int, std::vector<Vector3>> clouds;
    std::vector<Vector3>& result = clouds[count];
    if (result.empty()) result = test::Random(3).points(count);
    return result;
}

std::vector<Vector3> const& queries()
{
    static std::vector<Vector3> const points = test::Random(4).points(4096, -1.1, 1.1);
    return points;
}

template <typename Tester>
void tests(benchmark::State& state, int count)
{
    ProximityTester const grid(cloud(count), kRadius);
    Tester const tester(cloud(count), kRadius);
    std::size_t trues = 0;
    for (Vector3 const& p : queries()) {
        trues += grid.test(p);
        bool const isInGrid = p.x < 1 && p.y < 1 && p.z < 1;
        bool const isExact = !std::is_same_v<Tester, MarkHash>;
        if (isExact && tester.test(p) && !grid.test(p) && isInGrid)
            state.SkipWithError("a point within the radius tests false");
        if (std::is_same_v<Tester, reference::ProximityTester> && tester.test(p) != grid.test(p)) {
            state.SkipWithError("the reference grid differs");
        }
    }
    if (trues == 0 || trues == queries().size()) state.SkipWithError("all queries have the same result");
    for (auto _ : state) {
        int near = 0;
        for (Vector3 const& p : queries()) near += tester.test(p);
        benchmark::DoNotOptimize(near);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(queries().size()));
}

void manyTests(benchmark::State& state, int count)
{
    ProximityTester const grid(cloud(count), kRadius);
    std::vector<char> results(queries().size());
    bool* const flags = reinterpret_cast<bool*>(results.data());
    sinew::testMany(grid, queries().data(), queries().size(), flags);
    for (std::size_t i = 0; i < results.size(); ++i) {
        if (flags[i] != grid.test(queries()[i])) state.SkipWithError("a result differs");
    }
    for (auto _ : state) {
        sinew::testMany(grid, queries().data(), queries().size(), flags);
        benchmark::DoNotOptimize(results.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(queries().size()));
}

// Arrays of points against single calls, from grids in the nearest cache to grids beyond the caches. A set without
// extent along z may have any number of cells.
struct ArrayCase
{
    ProximityTester grid;
    std::vector<Vector3> points;
    std::vector<float> floats;
    std::unique_ptr<bool[]> results;

    ArrayCase(std::vector<Vector3> const& set, double radius, Vector3 const& low, Vector3 const& high, int count)
        : grid(set, radius), results(new bool[static_cast<std::size_t>(count)])
    {
        test::Random random(6);
        for (int i = 0; i < count; ++i) {
            Vector3 p;
            for (int a = 0; a < 3; ++a) p[a] = random.uniform(low[a], high[a]);
            points.push_back(p);
            for (int a = 0; a < 3; ++a) floats.push_back(static_cast<float>(p[a]));
        }
    }

    sinew::Strided<float const> array() const { return {floats.data(), points.size(), 3 * sizeof(float)}; }
    std::vector<Vector3> doubles() const
    {
        std::vector<Vector3> copy;
        copy.reserve(points.size());
        for (std::size_t i = 0; i < points.size(); ++i) {
            float const* const p = &floats[3 * i];
            copy.emplace_back(p[0], p[1], p[2]);
        }
        return copy;
    }

    void byArray() { sinew::testMany(grid, points.data(), points.size(), results.get()); }
    void bySingleCalls()
    {
        for (std::size_t i = 0; i < points.size(); ++i) results[i] = grid.test(points[i]);
    }
    void byFloats() { sinew::testMany(grid, array(), results.get()); }
    void byCopy()
    {
        std::vector<Vector3> const copy = doubles();
        sinew::testMany(grid, copy.data(), copy.size(), results.get());
    }

    // Whether both ways agree, on points of both kinds.
    bool agree(void (ArrayCase::*way)(), void (ArrayCase::*otherWay)())
    {
        (this->*way)();
        std::vector<bool> const first(results.get(), results.get() + points.size());
        (this->*otherWay)();
        bool const isSame = std::equal(first.begin(), first.end(), results.get());
        return isSame && first != std::vector<bool>(first.size(), first[0]);
    }
};

ArrayCase makeSpace()
{
    return {cloud(30), kRadius, {-1.1, -1.1, -1.1}, {1.1, 1.1, 1.1}, 4096};
}

// A million marked cells in a plane of `side` times `side` cells.
ArrayCase makePlane(double side)
{
    constexpr int kMarked = 1000000;
    constexpr int kMarkedByOne = 18; // three by three by two
    test::Random random(5);
    std::vector<Vector3> set;
    for (int i = 0; i < kMarked / kMarkedByOne; ++i) set.emplace_back(random.uniform(), random.uniform(), 0.0);
    return {set, 2 / side, {-1, -1, -1.5 / side}, {1, 1, 1.5 / side}, 100000};
}

void arrays(benchmark::State& state, int which, void (ArrayCase::*way)(), void (ArrayCase::*otherWay)())
{
    static std::map<int, ArrayCase> made;
    if (made.count(which) == 0) made.emplace(which, which == 0 ? makeSpace() : makePlane(which));
    ArrayCase& input = made.at(which);
    if (!input.agree(way, otherWay)) return state.SkipWithError("a result differs, or all results are equal");
    for (auto _ : state) {
        (input.*way)();
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(input.points.size()));
}

void addArrays(std::string const& name, int which)
{
    auto const add = [which](std::string const& row, void (ArrayCase::*way)(), void (ArrayCase::*otherWay)()) {
        benchmark::RegisterBenchmark(row.c_str(),
                                     [=](benchmark::State& state) { arrays(state, which, way, otherWay); });
    };
    add("testMany, " + name + "/sinew", &ArrayCase::byArray, &ArrayCase::bySingleCalls);
    add("testMany, " + name + "/single calls", &ArrayCase::bySingleCalls, &ArrayCase::byArray);
    add("testMany, " + name + ", floats/sinew", &ArrayCase::byFloats, &ArrayCase::byCopy);
    add("testMany, " + name + ", floats/copy first", &ArrayCase::byCopy, &ArrayCase::byFloats);
}

template <typename Tester>
void construction(benchmark::State& state, int count)
{
    for (auto _ : state) benchmark::DoNotOptimize(Tester(cloud(count), kRadius));
}

template <typename Tester>
void add(std::string const& contender, bool many)
{
    for (int count : {100, 1000}) {
        std::string const points = std::to_string(count) + " points/" + contender;
        benchmark::RegisterBenchmark(("test, " + points).c_str(), tests<Tester>, count);
        if (many) benchmark::RegisterBenchmark(("testMany, " + points).c_str(), tests<Tester>, count);
    }
    for (int count : {100, 100000}) {
        std::string const points = std::to_string(count) + " points/" + contender;
        benchmark::RegisterBenchmark(("construction, " + points).c_str(), construction<Tester>, count);
    }
}

bool const kRegistered = [] {
    for (int count : {100, 1000}) {
        benchmark::RegisterBenchmark(("testMany, " + std::to_string(count) + " points/sinew").c_str(), manyTests,
                                     count);
    }
    add<ProximityTester>("sinew", false);
    add<reference::ProximityTester>("reference", true);
    add<MarkHash>("hash of cells", true);
    add<CellHash>("hash of points", false);
#ifdef SINEW_BENCH_NANOFLANN
    add<KdTree>("nanoflann", false);
#endif
    addArrays("1e3 cells", 0);
    addArrays("1e6 cells of 8e6", 2000);
    addArrays("1e6 cells of 2e9", 30000);
    return true;
}();

} // namespace
