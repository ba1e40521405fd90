// A matrix from triplets: both triangles of a mesh's matrix, each entry in several contributions, as an assembly over
// triangles gives them. Mirrored pairs are counted once. Eigen's setFromTriplets makes the full matrix.

#include <cmath>

#include <benchmark/benchmark.h>

#include <sinew/sparse/builders.h>

#include "cases.h"
#include "peers.h"

namespace {

constexpr int kContributions = 3; // to each entry

// In random order.
std::vector<sinew::Triplet> tripletsOf(SPDMatrix const& matrix)
{
    test::Random random(20251202);
    std::vector<sinew::Triplet> result;
    for (std::size_t i = 0; i < matrix.rows.size(); ++i) {
        for (auto const& [c, v] : matrix.rows[i]) {
            int const row = static_cast<int>(i);
            for (int k = 0; k < kContributions; ++k) {
                result.push_back({row, c, v / kContributions});
                if (c != row) result.push_back({c, row, v / kContributions});
            }
        }
    }
    for (std::size_t k = result.size(); k-- > 1;) {
        std::swap(result[k], result[static_cast<std::size_t>(random.below(static_cast<int>(k) + 1))]);
    }
    return result;
}

std::vector<sinew::Triplet> const& tripletsNamed(std::string const& name)
{
    static std::map<std::string, std::vector<sinew::Triplet>> made;
    auto const found = made.find(name);
    return found != made.end() ? found->second : made.emplace(name, tripletsOf(bench::matrixNamed(name))).first->second;
}

// The plain method: one ordered map a row.
SPDMatrix byMaps(std::size_t size, std::vector<sinew::Triplet> const& triplets)
{
    std::vector<std::map<int, double>> rows(size);
    for (sinew::Triplet const& t : triplets) {
        if (t.column > t.row) continue;
        auto const [place, isNew] = rows[static_cast<std::size_t>(t.row)].emplace(t.column, t.value);
        if (!isNew) place->second += t.value;
    }
    SPDMatrix result;
    for (auto const& row : rows) result.rows.emplace_back(row.begin(), row.end());
    return result;
}

void build(benchmark::State& state, std::string const& name)
{
    auto const& triplets = tripletsNamed(name);
    std::size_t const n = bench::matrixNamed(name).rows.size();
    auto const once = sinew::MirroredPairs::once;
    auto const size = static_cast<std::int64_t>(n);
    if (!test::sameBits(sinew::fromTriplets(size, triplets, once).matrix.rows, byMaps(n, triplets).rows)) {
        state.SkipWithError("matrices differ");
    }
    for (auto _ : state) benchmark::DoNotOptimize(sinew::fromTriplets(size, triplets, once).matrix.rows.data());
}

void buildByMaps(benchmark::State& state, std::string const& name)
{
    auto const& triplets = tripletsNamed(name);
    std::size_t const n = bench::matrixNamed(name).rows.size();
    for (auto _ : state) benchmark::DoNotOptimize(byMaps(n, triplets).rows.data());
}

#ifdef SINEW_BENCH_EIGEN
void buildWithEigen(benchmark::State& state, std::string const& name)
{
    std::vector<Eigen::Triplet<double>> triplets;
    for (auto const& t : tripletsNamed(name)) triplets.emplace_back(t.row, t.column, t.value);
    auto const n = static_cast<int>(bench::matrixNamed(name).rows.size());
    for (auto _ : state) {
        bench::EigenMatrix matrix(n, n);
        matrix.setFromTriplets(triplets.begin(), triplets.end());
        benchmark::DoNotOptimize(matrix.valuePtr());
    }
}

bench::EigenMatrix fullForEigen(std::string const& name)
{
    return bench::EigenMatrix(bench::upperForEigen(bench::matrixNamed(name)).selfadjointView<Eigen::Upper>());
}

void convertFromEigen(benchmark::State& state, std::string const& name)
{
    bench::EigenMatrix const matrix = fullForEigen(name);
    auto const verified = sinew::MirroredPairs::verified;
    if (!test::sameBits(sinew::fromSparse(matrix, verified).matrix.rows, bench::matrixNamed(name).rows)) {
        state.SkipWithError("matrices differ");
    }
    for (auto _ : state) benchmark::DoNotOptimize(sinew::fromSparse(matrix, verified).matrix.rows.data());
}

// The loop that a host would write.
void convertByHand(benchmark::State& state, std::string const& name)
{
    bench::EigenMatrix const matrix = fullForEigen(name);
    for (auto _ : state) {
        SPDMatrix result;
        result.rows.resize(static_cast<std::size_t>(matrix.cols()));
        for (int c = 0; c < matrix.outerSize(); ++c) {
            for (bench::EigenMatrix::InnerIterator e(matrix, c); e; ++e) {
                if (e.row() <= c) result.rows[static_cast<std::size_t>(c)].emplace_back(e.row(), e.value());
            }
        }
        benchmark::DoNotOptimize(result.rows.data());
    }
}
#endif

int const registered = [] {
    for (std::string const name : {"2D 100", "surface", "3D 30"}) {
        auto const add = [&name](std::string const& what, char const* who, auto run) {
            benchmark::RegisterBenchmark((what + " " + name + "/" + who).c_str(), run, name)
                ->Unit(benchmark::kMillisecond);
        };
        add("triplets", "sinew", build);
        add("triplets", "maps", buildByMaps);
#ifdef SINEW_BENCH_EIGEN
        add("triplets", "Eigen", buildWithEigen);
        add("convert", "sinew", convertFromEigen);
        add("convert", "by-hand", convertByHand);
#endif
    }
    return 0;
}();

} // namespace
