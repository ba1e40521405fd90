// How near the library comes to the limits of the machine. The program measures the limits (support/machine_limits.h),
// then the rows, and states for each row which limit allows the least speed, and what share of that speed is reached.
//
// The work of a row is counted by hand, from the definition of the operation or from the data structures: what every
// implementation with these bits and these structures must at least do. `countedBy` states how. A share of 100 % is
// therefore out of reach for most rows: all work that is not counted (comparisons, conversions, integer arithmetic,
// data that moves between registers) takes time too.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include <sinew/fields/implicit.h>
#include <sinew/fields/proximity_tester.h>
#include <sinew/meshfunc/raster.h>
#include <sinew/skinning/skin.h>
#include <sinew/sparse/symbolic_factor.h>

#include "fields/implicit_contenders.h"
#include "fields/polyline_contenders.h"
#include "meshfunc/contenders.h"
#include "meshfunc/documents.h"
#include "sparse/cases.h"
#include "support/least_time.h"
#include "support/machine_limits.h"
#include "support/vector_widths.h"

namespace {

using bench::ArithmeticTimes;
using sinew::detail::VectorWidth;

constexpr double kBudget = 0.5; // seconds for each row

// What a piece of work needs at least.
struct Work
{
    double multiplies = 0;
    double adds = 0; // and subtractions
    double divides = 0;
    double roots = 0;
    // Operations that wait for each other, one after the other.
    double chainedMultiplies = 0;
    double chainedAdds = 0;
    double chainedLoads = 0;
    double randomLoads = 0; // of cache lines, which may be under way at the same time
    double bytesRead = 0;   // in order
    double bytesWritten = 0;
    std::size_t memory = 0; // bytes that the work reads and writes in all
};

struct Row
{
    char const* name;
    double seconds;
    Work work;
    char const* countedBy;
};

// ---- the rows ----

constexpr int kVertices = 100000;

struct SkinnedVertex
{
    float position[3];
    float normal[3];
    std::uint8_t bones[4];
    float weights[4];
};

struct PosedVertex
{
    float position[3];
    float normal[3];
};

Row skin()
{
    test::Random random(1);
    std::vector<BoneTransform> bones;
    for (int i = 0; i < 30; ++i) {
        Vector3 const a = random.point();
        Vector3 const b = a + UVector3(random.point());
        Vector3 const c = random.point();
        bones.emplace_back(a, b, c, c + UVector3(b - a) * 1.2, random.uniform());
    }
    std::vector<SkinnedVertex> rest(kVertices);
    for (SkinnedVertex& v : rest) {
        for (int k = 0; k < 3; ++k) v.position[k] = static_cast<float>(random.uniform());
        for (int k = 0; k < 3; ++k) v.normal[k] = static_cast<float>(random.uniform());
        for (int k = 0; k < 4; ++k) v.bones[k] = static_cast<std::uint8_t>(random.below(30));
        for (float& weight : v.weights) weight = 0.25f;
    }
    std::vector<PosedVertex> posed(kVertices);
    sinew::SkinInput input;
    constexpr std::size_t kStride = sizeof(SkinnedVertex);
    input.positions = sinew::Strided<float const>(rest[0].position, rest.size(), kStride);
    input.normals = sinew::Strided<float const>(rest[0].normal, rest.size(), kStride);
    input.influences = {4, sinew::Strided<std::uint8_t const>(rest[0].bones, rest.size(), kStride),
                        sinew::Strided<float const>(rest[0].weights, rest.size(), kStride)};
    input.bones = bones.data();
    input.boneCount = bones.size();
    sinew::SkinOutput const output = {sinew::Strided<float>(posed[0].position, posed.size(), sizeof(PosedVertex)),
                                      sinew::Strided<float>(posed[0].normal, posed.size(), sizeof(PosedVertex))};
    double const seconds = bench::leastSeconds(kBudget, [&] { sinew::skin(input, output); });
    Work work;
    work.multiplies = 162.0 * kVertices;
    work.adds = 121.0 * kVertices;
    work.divides = work.roots = 4.0 * kVertices;
    work.bytesRead = 1.0 * sizeof(SkinnedVertex) * kVertices;
    work.bytesWritten = 1.0 * sizeof(PosedVertex) * kVertices;
    work.memory = (sizeof(SkinnedVertex) + sizeof(PosedVertex)) * kVertices;
    return {
        "skin 100,000 vertices with normals, 4 bones each", seconds, work,
        "the formulas of `skin` for each vertex: placement (18 products), the position moved by each bone and the sums "
        "of positions and linear parts (21 for each of 4), two tangents (12), their maps (18), the cross product "
        "(6), four unit vectors (24), with the sums between them; 44 bytes in, 24 out"};
}

Row evaluateImplicit(bool many)
{
    constexpr int kCentres = 1000;
    constexpr int kPoints = 256;
    Implicit const f(bench::implicits::input(kCentres));
    std::vector<Vector3> const points = test::Random(2).points(kPoints);
    std::vector<double> values(points.size());
    double const seconds = bench::leastSeconds(kBudget, [&] {
        if (many) {
            sinew::evaluateMany(f, points.data(), points.size(), values.data());
        } else {
            for (std::size_t i = 0; i < points.size(); ++i) values[i] = f.evaluate(points[i]);
        }
        benchmark::DoNotOptimize(values.data());
    });
    Work work;
    double const terms = 1.0 * kCentres * kPoints;
    work.multiplies = 5 * terms;
    work.adds = 6 * terms;
    work.roots = terms;
    if (!many) work.chainedAdds = terms;
    work.memory = kCentres * (sizeof(Vector3) + sizeof(double));
    return {
        many ? "evaluateMany of an implicit function, 1000 centres, 256 points"
             : "evaluate an implicit function, 1000 centres, 256 points",
        seconds, work,
        many ? "for each point and centre: difference, squared length, root, coefficient times length cubed, sum"
             : "the same; the terms of one point are added in the order of the centres, so each sum waits for the one "
               "before"};
}

Row factor()
{
    SPDMatrix const& matrix = bench::matrixNamed("3D 30");
    sinew::SymbolicFactor const symbolic(matrix);
    LLTMatrix result;
    double const seconds = bench::leastSeconds(4 * kBudget, [&] { result = symbolic.factor(matrix); });
    Work work;
    double updates = 0, entries = 0;
    for (auto const& column : result.Mt) {
        double const below = static_cast<double>(column.size());
        updates += below * (below + 1) / 2;
        entries += below;
    }
    work.multiplies = 2 * updates + entries;
    work.adds = updates;
    work.roots = work.divides = static_cast<double>(result.diag.size());
    work.bytesWritten = 2 * entries * sizeof(result.rows[0][0]);
    work.memory = static_cast<std::size_t>(work.bytesWritten);
    return {
        "factor a 3D grid of 27,000 unknowns, numbers and lists", seconds, work,
        "for a column of n entries below the diagonal: n (n + 1) / 2 updates of two products and a difference each, "
        "and n products; each entry is written into two lists of 16 bytes"};
}

// Seconds that no solution with this factor can avoid, if sums and quotients end so late after their operands: the
// longest chain of both substitutions.
struct Chain
{
    double adds = 0;
    double multiplies = 0;

    bool operator<(Chain const& other) const { return adds < other.adds; }
};

using Lists = std::vector<std::vector<std::pair<int, double>>>;

void extend(Lists const& lists, std::size_t i, std::vector<Chain>& ends)
{
    Chain end = ends[i];
    for (auto const& [c, value] : lists[i]) {
        Chain product = ends[static_cast<std::size_t>(c)];
        ++product.multiplies;
        end = std::max(end, product);
        ++end.adds;
    }
    ++end.multiplies; // a quotient takes at least as long
    ends[i] = end;
}

Row solve()
{
    SPDMatrix const& matrix = bench::matrixNamed("2D 300");
    LLTMatrix const result = matrix.factor();
    test::Random random(20250402);
    std::vector<double> b(result.diag.size());
    for (double& x : b) x = random.uniform();
    std::vector<double> x;
    double const seconds = bench::leastSeconds(kBudget, [&] {
        x = b;
        result.solve(x);
        benchmark::DoNotOptimize(x.data());
    });
    std::vector<Chain> ends(b.size());
    for (std::size_t i = 0; i < ends.size(); ++i) extend(result.rows, i, ends);
    for (std::size_t i = ends.size(); i-- > 0;) extend(result.Mt, i, ends);
    Chain const longest = *std::max_element(ends.begin(), ends.end());
    Work work;
    double entries = 0;
    for (auto const& row : result.rows) entries += static_cast<double>(row.size());
    work.multiplies = work.adds = 2 * entries;
    work.divides = 2.0 * static_cast<double>(b.size());
    work.chainedAdds = longest.adds;
    work.chainedMultiplies = longest.multiplies;
    work.bytesRead = 2 * entries * sizeof(result.rows[0][0]);
    work.memory = static_cast<std::size_t>(work.bytesRead);
    return {"solve with the factor of a 2D grid of 90,000 unknowns", seconds, work,
            "each entry of the factor is read twice, 16 bytes each, with a product and a difference; the chain is the "
            "longest one through both substitutions of this factor, a difference after the other"};
}

constexpr int kTriangles = 2 * 707 * 707;

Row evaluateRandom()
{
    bench::meshes::Mesh const mesh = bench::meshes::evenMesh(707);
    MeshFunction2D const f = mesh.function();
    test::Random random(2);
    std::vector<test::Point> points;
    constexpr int kPoints = 1 << 19; // they reach more memory than the caches hold
    for (int i = 0; i < kPoints; ++i) points.push_back(random.point2(0.001, 0.999));
    double const seconds = bench::leastSeconds(kBudget, [&] {
        std::size_t late = 0; // 0, but the processor knows it only after the result of the point before
        for (std::size_t i = 0; i < points.size(); ++i) {
            test::Point value;
            late += static_cast<std::size_t>(!f.evaluate(points[i + late], &value, nullptr));
            late += static_cast<std::size_t>(value.x != value.x);
        }
        benchmark::DoNotOptimize(late);
    });
    Work work;
    double const count = static_cast<double>(points.size());
    work.chainedLoads = 3 * count;
    work.multiplies = 10 * count;
    work.adds = 11 * count;
    work.chainedMultiplies = 2 * count;
    work.chainedAdds = 6 * count;
    work.memory = static_cast<std::size_t>(kTriangles) * (64 + 16) + mesh.values.size() * sizeof(test::Point);
    return {
        "evaluate a mesh function of 1,000,000 triangles at 524,288 random points, each call after the one before",
        seconds, work,
        "for each point: the bucket of its cell, the record of one triangle and the values at its corners are loads "
        "that wait for each other, in 80 bytes a triangle and 16 a vertex; then the weights and the value"};
}

Row raster()
{
    constexpr int kSize = 1200;
    MeshFunction2D const f = bench::meshes::evenMesh(224).function();
    sinew::Raster raster;
    raster.origin = {0.5 / kSize, 0.5 / kSize};
    raster.step = {1.0 / kSize, 1.0 / kSize};
    raster.width = raster.height = kSize;
    constexpr std::size_t kPixels = static_cast<std::size_t>(kSize) * kSize;
    std::vector<test::Point> values(kPixels);
    std::unique_ptr<bool[]> const found(new bool[kPixels]);
    double const seconds =
        bench::leastSeconds(kBudget, [&] { sinew::evaluateRaster(f, raster, values.data(), nullptr, found.get()); });
    Work work;
    work.multiplies = 8.0 * kPixels;
    work.adds = 9.0 * kPixels;
    work.bytesWritten = 1.0 * (sizeof(test::Point) + sizeof(bool)) * kPixels;
    work.memory = static_cast<std::size_t>(work.bytesWritten);
    return {
        "evaluateRaster, 1200 x 1200 pixels, 100,000 triangles", seconds, work,
        "for each pixel: the weights in one triangle (2 products, 5 sums), the value (6 products, 4 sums); 17 bytes "
        "written"};
}

Row save()
{
    constexpr int kSaved = 262143;
    MeshFunction2D f = bench::documents::sample(kSaved, false);
    std::string text;
    double const seconds = bench::leastSeconds(kBudget, [&] { bench::documents::Sinew::save(f, text); });
    Work work;
    work.bytesRead = 1.0 * (sizeof(f.params[0]) + sizeof(f.values[0]) + sizeof(f.normaldots[0])) * kSaved +
                     static_cast<double>(f.facets.size()) * sizeof(f.facets[0]);
    work.bytesWritten = static_cast<double>(text.size());
    work.multiplies = 5.0 * kSaved;
    work.memory = static_cast<std::size_t>(work.bytesRead + work.bytesWritten);
    return {
        "save a mesh function of 262,143 vertices into a string", seconds, work,
        "the arrays read once, the text written once, a product for each number. The integer work of each character "
        "is not counted"};
}

Row project()
{
    constexpr int kCurve = 10000;
    test::Random random(20250320);
    std::vector<Vector3> const points = test::smoothCurve(kCurve, 8.0);
    bench::polylines::Sinew const sinew(points);
    std::vector<Vector3> const queries = bench::polylines::around(points, 1000, random);
    double const seconds = bench::leastSeconds(kBudget, [&] {
        Vector3 sum;
        for (Vector3 const& q : queries) sum += sinew(q);
        benchmark::DoNotOptimize(sum);
    });
    constexpr double kLevels = 4; // runs of 8 segments, in groups of 8, up to one group
    constexpr double kLanes = 8;
    double const count = static_cast<double>(queries.size());
    Work work;
    work.multiplies = count * kLanes * (3 * kLevels + 9);
    work.adds = count * kLanes * (8 * kLevels + 13);
    work.divides = count * kLanes;
    work.chainedLoads = count * (kLevels + 1);
    work.chainedAdds = count * (4 * kLevels + 8);
    work.chainedMultiplies = count * (kLevels + 4);
    work.memory = 40 * kCurve;
    return {
        "project on a smooth polyline of 10,000 vertices, single calls", seconds, work,
        "for each query, as if the first choice were always right: on each of 4 levels one group of 8 boxes, then the "
        "exact distances of 8 segments; a level waits for the one above, with a load in 40 bytes a vertex, 4 sums "
        "and a product, and the distance of a segment is 8 sums, 3 products and a quotient"};
}

Row testMany()
{
    constexpr double kSide = 30000; // 1.8e9 cells, of which about a million are marked
    test::Random random(5);
    std::vector<Vector3> set;
    for (int i = 0; i < 1000000 / 18; ++i) {
        double const x = random.uniform();
        set.emplace_back(x, random.uniform(), 0.0);
    }
    ProximityTester const tester(set, 2 / kSide);
    std::vector<Vector3> points;
    constexpr int kPoints = 1000000; // they reach more memory than the caches hold
    for (int i = 0; i < kPoints; ++i) {
        Vector3 p;
        for (int a = 0; a < 3; ++a) p[a] = random.uniform() * (a < 2 ? 1.0 : 1.5 / kSide);
        points.push_back(p);
    }
    std::unique_ptr<bool[]> const results(new bool[points.size()]);
    double const seconds =
        bench::leastSeconds(kBudget, [&] { sinew::testMany(tester, points.data(), points.size(), results.get()); });
    Work work;
    double const count = static_cast<double>(points.size());
    work.multiplies = 9 * count;
    work.adds = 9 * count;
    work.divides = 3 * count;
    work.randomLoads = count;
    work.bytesRead = count * sizeof(Vector3);
    work.bytesWritten = count;
    work.memory = tester.occupied.size() / 8;
    return {
        "testMany, 1,000,000 points, 1.8e9 cells", seconds, work,
        "for each point: three scalar products, three quotients, one load in a bit for each cell; 24 bytes in, 1 out"};
}

// ---- the limits ----

struct Bound
{
    std::string name;
    double seconds;
};

class Machine
{
public:
    Machine() : scalar_(bench::scalarTimes()), dependent_(bench::dependentTimes())
    {
        for (VectorWidth const width : test::vectorWidths()) vectors_.push_back(bench::vectorTimes(width));
    }

    void print() const
    {
        std::printf(
            "The machine, measured in this run. Operations on doubles in 1e9 a second; each is one of many that do "
            "not wait for each other.\n\n"
            "| vectors | add | multiply | as many of both | divide | square root |\n|---|---:|---:|---:|---:|---:|\n");
        printRates("single doubles", scalar_);
        char const* const names[] = {"baseline: two doubles on x86-64", "AVX2: four doubles", "AVX-512: eight doubles"};
        for (std::size_t k = 0; k < vectors_.size(); ++k) printRates(names[k], vectors_[k]);
        std::printf(
            "\nIf each operation waits for the one before: %.2f ns for a sum, %.2f ns for a product, %.1f ns for a "
            "quotient, %.1f ns for a square root.\n\n",
            dependent_.add * 1e9, dependent_.multiply * 1e9, dependent_.divide * 1e9, dependent_.root * 1e9);
        std::printf(
            "| memory | load after a load | one of many random loads | read | write | copy (read and written) |\n"
            "|---|---:|---:|---:|---:|---:|\n");
        for (std::size_t const kilobytes : {16, 256, 8192, 131072}) {
            std::size_t const bytes = kilobytes * 1024;
            std::printf("| %zu kB | %.2f ns | %.2f ns | %.1f GB/s | %.1f GB/s | %.1f GB/s |\n", kilobytes,
                        bench::loadLatency(bytes) * 1e9, bench::randomLoad(bytes) * 1e9, 1e-9 / bench::readByte(bytes),
                        1e-9 / bench::writeByte(bytes), 2e-9 / bench::copyByte(bytes));
        }
    }

    // The bounds of a piece of work, the one that allows the least speed first.
    std::vector<Bound> bounds(Work const& work) const
    {
        ArithmeticTimes const& widest = vectors_.back();
        std::vector<Bound> all = {
            {"sums", work.adds * widest.add},
            {"products", work.multiplies * widest.multiply},
            {"sums and products", (work.adds + work.multiplies) * widest.either},
            {"quotients and roots", work.divides * widest.divide + work.roots * widest.root},
            {"waiting for results",
             work.chainedAdds * dependent_.add + work.chainedMultiplies * dependent_.multiply +
                 (work.chainedLoads > 0 ? work.chainedLoads * bench::loadLatency(work.memory) : 0.0)},
        };
        if (work.randomLoads > 0) all.push_back({"random loads", work.randomLoads * bench::randomLoad(work.memory)});
        if (work.bytesRead > 0) all.push_back({"reading", work.bytesRead * bench::readByte(work.memory)});
        if (work.bytesWritten > 0) all.push_back({"writing", work.bytesWritten * bench::writeByte(work.memory)});
        std::sort(all.begin(), all.end(), [](Bound const& a, Bound const& b) { return a.seconds > b.seconds; });
        return all;
    }

private:
    static void printRates(char const* name, ArithmeticTimes const& t)
    {
        std::printf("| %s | %.2f | %.2f | %.2f | %.2f | %.2f |\n", name, 1e-9 / t.add, 1e-9 / t.multiply,
                    1e-9 / t.either, 1e-9 / t.divide, 1e-9 / t.root);
    }

    ArithmeticTimes scalar_;
    ArithmeticTimes dependent_;
    std::vector<ArithmeticTimes> vectors_; // of all widths, in ascending order
};

void printRow(Row const& row, Machine const& machine)
{
    std::vector<Bound> const bounds = machine.bounds(row.work);
    auto const share = [&](Bound const& bound) { return 100 * bound.seconds / row.seconds; };
    std::printf("| %s | %.4g ms | %s, %.3g ms | %.0f %% | %s, %.0f %% |\n", row.name, row.seconds * 1e3,
                bounds[0].name.c_str(), bounds[0].seconds * 1e3, share(bounds[0]), bounds[1].name.c_str(),
                share(bounds[1]));
    std::fflush(stdout);
}

} // namespace

int main()
{
    Machine const machine;
    machine.print();
    std::printf(
        "\nThe limit that binds a row is the one that would take the longest time for the work that is counted. "
        "Arithmetic is compared with the widest vectors of the machine.\n\n"
        "| row | time | limit that binds, and its time | reached | next limit |\n|---|---:|---|---:|---|\n");
    std::vector<Row> rows;
    auto const add = [&](Row const& row) {
        printRow(row, machine);
        rows.push_back(row);
    };
    add(skin());
    add(evaluateImplicit(false));
    add(evaluateImplicit(true));
    add(factor());
    add(solve());
    add(evaluateRandom());
    add(raster());
    add(save());
    add(project());
    add(testMany());
    std::printf("\nHow the work is counted:\n\n");
    for (Row const& row : rows) std::printf("- %s: %s.\n", row.name, row.countedBy);
}
