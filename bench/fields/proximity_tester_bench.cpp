// The proximity grid against its plain form, a hash of radius-sized cells and a kd-tree.
//
// The peers answer the exact question ("is a point within the radius?"), which the grid answers only on the side of
// true; so what is compared is that no exact peer says true where the grid, inside it, says false. The hash of cells
// marks cells like the grid, at other places.

#include <cmath>
#include <cstdint>
#include <map>
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

double const kRadius = 0.1;

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

// Cells as large as the radius in a hash table, each with its points; a query looks into 27 of them.
class CellHash
{
public:
    CellHash(std::vector<Vector3> const& points, double radius) : radius_(radius)
    {
        for (Vector3 const& p : points) cells_[key(cell(p.x), cell(p.y), cell(p.z))].push_back(p);
    }
    bool test(Vector3 const& p) const
    {
        std::int64_t const x = cell(p.x), y = cell(p.y), z = cell(p.z);
        for (std::int64_t i = x - 1; i <= x + 1; ++i) {
            for (std::int64_t j = y - 1; j <= y + 1; ++j) {
                for (std::int64_t k = z - 1; k <= z + 1; ++k) {
                    auto const found = cells_.find(key(i, j, k));
                    if (found == cells_.end()) continue;
                    for (Vector3 const& q : found->second) {
                        if (distSq(p, q) <= radius_ * radius_) return true;
                    }
                }
            }
        }
        return false;
    }

private:
    std::int64_t cell(double c) const { return static_cast<std::int64_t>(std::floor(c / radius_)); }
    static std::uint64_t key(std::int64_t x, std::int64_t y, std::int64_t z)
    {
        auto const bits = [](std::int64_t c) { return static_cast<std::uint64_t>(c) & 0x1fffff; };
        return bits(x) | bits(y) << 21 | bits(z) << 42;
    }
    double radius_;
    std::unordered_map<std::uint64_t, std::vector<Vector3>> cells_;
};

// The grid alone in a hash table: the cells that the grid would mark, by their integer coordinates.
class MarkHash
{
public:
    MarkHash(std::vector<Vector3> const& points, double radius) : radius_(radius)
    {
        for (Vector3 const& p : points) {
            for (int i = 0; i < 27; ++i)
                marks_[key(cell(p.x) + i % 3 - 1, cell(p.y) + i / 3 % 3 - 1, cell(p.z) + i / 9 - 1)] = true;
        }
    }
    bool test(Vector3 const& p) const { return marks_.count(key(cell(p.x), cell(p.y), cell(p.z))) != 0; }

private:
    std::int64_t cell(double c) const { return static_cast<std::int64_t>(std::floor(c / radius_)); }
    static std::uint64_t key(std::int64_t x, std::int64_t y, std::int64_t z)
    {
        auto const bits = [](std::int64_t c) { return static_cast<std::uint64_t>(c) & 0x1fffff; };
        return bits(x) | bits(y) << 21 | bits(z) << 42;
    }
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
        if (isExact && tester.test(p) && !grid.test(p) && isInGrid) state.SkipWithError("a near point tests false");
        if (std::is_same_v<Tester, reference::ProximityTester> && tester.test(p) != grid.test(p)) {
            state.SkipWithError("the plain grid differs");
        }
    }
    if (trues == 0 || trues == queries().size()) state.SkipWithError("the queries decide nothing");
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
    bool* const answers = reinterpret_cast<bool*>(results.data());
    sinew::testMany(grid, queries().data(), queries().size(), answers);
    for (std::size_t i = 0; i < results.size(); ++i) {
        if (answers[i] != grid.test(queries()[i])) state.SkipWithError("an answer differs");
    }
    for (auto _ : state) {
        sinew::testMany(grid, queries().data(), queries().size(), answers);
        benchmark::DoNotOptimize(results.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(queries().size()));
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
    add<reference::ProximityTester>("plain", true);
    add<MarkHash>("hash of cells", true);
    add<CellHash>("hash of points", false);
#ifdef SINEW_BENCH_NANOFLANN
    add<KdTree>("nanoflann", false);
#endif
    return true;
}();

} // namespace
