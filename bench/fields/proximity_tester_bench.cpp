// The proximity grid compared with its reference implementation, with hash tables of cells and with a kd-tree.
//
// The hash of points and the kd-tree test exactly whether a point of the set is within the radius. The grid may return
// true where they return false, but inside the grid never false where they return true; this is checked before timing.
// The hash of cells marks cells as the grid does, but its cells start at other coordinates.
//
// Hash of cells: M. Teschner et al., Optimized Spatial Hashing for Collision Detection of Deformable Objects, 2003.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <vector>

#include <benchmark/benchmark.h>

#ifdef SINEW_BENCH_NANOFLANN
#include <nanoflann.hpp>
#endif

#include <sinew/fields/proximity_tester.h>

#include "fields/reference_proximity_tester.h"
#include "support/random.h"

namespace {

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

// A cubic cell of a grid without bounds, by its integer coordinates.
struct Cell
{
    std::int64_t x;
    std::int64_t y;
    std::int64_t z;

    Cell(Vector3 const& p, double size) : x(along(p.x, size)), y(along(p.y, size)), z(along(p.z, size)) {}

    // The key of the cell at an offset, with 21 bits for each coordinate.
    std::uint64_t key(int dx = 0, int dy = 0, int dz = 0) const
    {
        auto const bits = [](std::int64_t c) { return static_cast<std::uint64_t>(c) & 0x1fffff; };
        return bits(x + dx) | bits(y + dy) << 21 | bits(z + dz) << 42;
    }

    // Calls `visit` with the keys of the cell and its 26 neighbours until it returns true. False if it never does.
    template <typename Visit>
    bool anyNeighbour(Visit visit) const
    {
        for (int i = 0; i < 27; ++i) {
            if (visit(key(i % 3 - 1, i / 3 % 3 - 1, i / 9 - 1))) return true;
        }
        return false;
    }

private:
    static std::int64_t along(double c, double size) { return static_cast<std::int64_t>(std::floor(c / size)); }
};

// A hash table of cells as large as the radius, each with its points. A query reads 27 cells.
class CellHash
{
public:
    CellHash(std::vector<Vector3> const& points, double radius) : radius_(radius)
    {
        for (Vector3 const& p : points) cells_[Cell(p, radius_).key()].push_back(p);
    }
    bool test(Vector3 const& p) const
    {
        return Cell(p, radius_).anyNeighbour([&](std::uint64_t key) {
            auto const found = cells_.find(key);
            if (found == cells_.end()) return false;
            for (Vector3 const& q : found->second) {
                if (distSq(p, q) <= radius_ * radius_) return true;
            }
            return false;
        });
    }

private:
    double radius_;
    std::unordered_map<std::uint64_t, std::vector<Vector3>> cells_;
};

// A hash table of the cells that contain a point or have a neighbour that does. A query reads one cell.
class MarkHash
{
public:
    MarkHash(std::vector<Vector3> const& points, double radius) : radius_(radius)
    {
        for (Vector3 const& p : points) {
            Cell(p, radius_).anyNeighbour([&](std::uint64_t key) {
                marks_[key] = true;
                return false;
            });
        }
    }
    bool test(Vector3 const& p) const { return marks_.count(Cell(p, radius_).key()) != 0; }

private:
    double radius_;
    std::unordered_map<std::uint64_t, bool> marks_;
};

#ifdef SINEW_BENCH_NANOFLANN
struct Cloud
{
    std::vector<Vector3> const& points;
    std::size_t kdtree_get_point_count() const { return points.size(); }
    double kdtree_get_pt(std::size_t i, std::size_t axis) const { return points[i][static_cast<int>(axis)]; }
    template <typename Box>
    bool kdtree_get_bbox(Box&) const
    {
        return false;
    }
};

class KdTree
{
public:
    KdTree(std::vector<Vector3> const& points, double radius) : cloud_{points}, tree_(3, cloud_), radius_(radius) {}
    bool test(Vector3 const& p) const
    {
        double const query[3] = {p.x, p.y, p.z};
        std::size_t index = 0;
        double square = 0;
        nanoflann::KNNResultSet<double> result(1);
        result.init(&index, &square);
        tree_.findNeighbors(result, query, nanoflann::SearchParams());
        return square <= radius_ * radius_;
    }

private:
    Cloud cloud_;
    nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<double, Cloud>, Cloud, 3> tree_;
    double radius_;
};
#endif

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
