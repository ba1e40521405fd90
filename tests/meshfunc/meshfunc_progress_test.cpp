// The forms of the module meshfunc with progress.

#include <cstddef>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <sinew/meshfunc/extrapolate_anywhere.h>
#include <sinew/meshfunc/location.h>
#include <sinew/meshfunc/raster.h>
#include <sinew/meshfunc/texture_compaction.h>

#include "faults/digest.h"
#include "meshfunc/flat_triangles.h"
#include "meshfunc/mesh_digest.h"
#include "meshfunc/mesh_probes.h"
#include "meshfunc/mesh_samples.h"
#include "support/progress.h"

using faults::Digest;
using sinew::Location;
using sinew::Outside;
using sinew::Progress;
using sinew::Raster;
using test::checkProgress;
using test::digestOf;
using test::Mesh;
using test::Point;
using test::Random;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// All outputs of the queries, with marks where nothing is written.
struct Outputs
{
    std::vector<Point> values;
    std::vector<float> scalars;
    std::vector<char> found;
    std::vector<Location> locations;
    std::size_t count = 0;

    explicit Outputs(std::size_t size) : values(size, Point(7, 8)), scalars(size, 9.0F), found(size, 3), locations(size)
    {
        for (Location& location : locations) location.triangle = -5; // differs from every result
    }
    bool* foundArray() { return reinterpret_cast<bool*>(found.data()); }
};

std::string digestOf(Outputs const& out)
{
    Digest digest(out.values, out.scalars, out.count);
    for (char c : out.found) digest.add(static_cast<int>(c));
    for (Location const& l : out.locations) {
        digest.add(static_cast<int>(l.rule));
        for (int const i : {l.triangle, l.corners[0], l.corners[1], l.corners[2], l.loop, l.segment}) digest.add(i);
        for (double const x : {l.weights[0], l.weights[1], l.weights[2], l.distSq}) digest.add(x);
    }
    return digest;
}

// Which outputs the host asks for.
enum class Wanted
{
    all,
    valuesOnly,
    foundOnly,
    none
};

struct Arrays
{
    Point* values;
    float* scalars;
    bool* found;
};

Arrays arraysOf(Outputs& out, Wanted wanted)
{
    bool const isAll = wanted == Wanted::all;
    return {isAll || wanted == Wanted::valuesOnly ? out.values.data() : nullptr, isAll ? out.scalars.data() : nullptr,
            isAll || wanted == Wanted::foundOnly ? out.foundArray() : nullptr};
}

bool take(std::optional<std::size_t> const& result, Outputs& out)
{
    if (result) out.count = *result;
    return result.has_value();
}

std::vector<Mesh> meshes()
{
    Random random(20261125);
    Mesh withNaN = test::gridMesh(random, 6, 6);
    withNaN.params[9].x = kNaN;
    return {test::gridMesh(random, 12, 12), test::islands(3), test::soup(random, 60, 0.3), withNaN, Mesh()};
}

std::vector<Raster> rasters()
{
    Raster wide;
    wide.origin = {-0.4, -0.3};
    wide.step = {1.7 / 35, 1.6 / 24};
    wide.width = 35;
    wide.height = 24;
    Raster gaps = wide;
    gaps.width = 13;
    gaps.rowStride = 20;
    Raster hostile = wide;
    hostile.width = 10;
    hostile.height = 9;
    hostile.step.x = kNaN;
    Raster empty = wide;
    empty.width = -3;
    return {wide, gaps, hostile, empty};
}

std::size_t sizeOf(Raster const& raster)
{
    if (raster.width <= 0 || raster.height <= 0) return 0;
    std::size_t const stride = raster.rowStride > 0 ? raster.rowStride : static_cast<std::size_t>(raster.width);
    return stride * static_cast<std::size_t>(raster.height - 1) + static_cast<std::size_t>(raster.width);
}

std::vector<bool> halfUsed(int width, int height)
{
    std::vector<bool> used(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (std::size_t i = 0; i < used.size(); ++i) used[i] = i % static_cast<std::size_t>(width) < used.size() / 9;
    return used;
}

} // namespace

TEST(MeshProgress, RastersAreTheSameAndCancelledAnywhere)
{
    for (Mesh const& mesh : meshes()) {
        for (bool const newExtrapolation : {true, false}) {
            MeshFunction2D f = mesh.function();
            f.extrapolateFlag = newExtrapolation;
            f.initEvaluatorHelper();
            for (Raster const& raster : rasters()) {
                SCOPED_TRACE(testing::Message() << mesh.params.size() << " vertices, " << raster.width << " columns");
                auto const make = [&] { return Outputs(sizeOf(raster)); };
                auto const digest = [](Outputs const& out) { return digestOf(out); };
                std::size_t const fewest = raster.width == 35 ? 20 : 1;
                for (Wanted const wanted : {Wanted::all, Wanted::valuesOnly, Wanted::foundOnly, Wanted::none}) {
                    checkProgress(
                        make,
                        [&](Outputs& out) {
                            Arrays const a = arraysOf(out, wanted);
                            out.count = sinew::evaluateRaster(f, raster, a.values, a.scalars, a.found);
                        },
                        [&](Outputs& out, Progress const& p) {
                            Arrays const a = arraysOf(out, wanted);
                            return take(sinew::evaluateRaster(f, raster, a.values, a.scalars, a.found, p), out);
                        },
                        digest, fewest);
                    checkProgress(
                        make,
                        [&](Outputs& out) {
                            Arrays const a = arraysOf(out, wanted);
                            out.count = sinew::extrapolateRaster(f, raster, a.values, a.scalars, a.found);
                        },
                        [&](Outputs& out, Progress const& p) {
                            Arrays const a = arraysOf(out, wanted);
                            return take(sinew::extrapolateRaster(f, raster, a.values, a.scalars, a.found, p), out);
                        },
                        digest, fewest);
                }
                for (Outside const outside : {Outside::excluded, Outside::extrapolated}) {
                    checkProgress(
                        make,
                        [&](Outputs& out) {
                            out.count = sinew::locateRaster(f, raster, out.locations.data(), outside);
                        },
                        [&](Outputs& out, Progress const& p) {
                            return take(sinew::locateRaster(f, raster, out.locations.data(), outside, p), out);
                        },
                        digest, fewest);
                }
            }
        }
    }
}

TEST(MeshProgress, ArraysOfPointsAreTheSameAndCancelledAnywhere)
{
    Random random(20261126);
    Mesh const mesh = test::gridMesh(random, 12, 12);
    MeshFunction2D const f = mesh.function();
    for (int const count : {0, 1, 1000}) {
        SCOPED_TRACE(count);
        std::vector<Point> points;
        for (int i = 0; i < count; ++i) points.push_back(test::probe(random, mesh));
        std::size_t const size = points.size();
        auto const make = [&] { return Outputs(size); };
        auto const digest = [](Outputs const& out) { return digestOf(out); };
        std::size_t const fewest = count == 1000 ? 5 : 1;
        for (Wanted const wanted : {Wanted::all, Wanted::valuesOnly, Wanted::foundOnly, Wanted::none}) {
            checkProgress(
                make,
                [&](Outputs& out) {
                    Arrays const a = arraysOf(out, wanted);
                    out.count = sinew::evaluateMany(f, points.data(), size, a.values, a.scalars, a.found);
                },
                [&](Outputs& out, Progress const& p) {
                    Arrays const a = arraysOf(out, wanted);
                    return take(sinew::evaluateMany(f, points.data(), size, a.values, a.scalars, a.found, p), out);
                },
                digest, fewest);
            checkProgress(
                make,
                [&](Outputs& out) {
                    Arrays const a = arraysOf(out, wanted);
                    out.count = sinew::extrapolateMany(f, points.data(), size, a.values, a.scalars, a.found);
                },
                [&](Outputs& out, Progress const& p) {
                    Arrays const a = arraysOf(out, wanted);
                    return take(sinew::extrapolateMany(f, points.data(), size, a.values, a.scalars, a.found, p), out);
                },
                digest, fewest);
        }
        for (Outside const outside : {Outside::excluded, Outside::extrapolated}) {
            checkProgress(
                make,
                [&](Outputs& out) {
                    out.count = sinew::locateMany(f, points.data(), size, out.locations.data(), outside);
                },
                [&](Outputs& out, Progress const& p) {
                    return take(sinew::locateMany(f, points.data(), size, out.locations.data(), outside, p), out);
                },
                digest, fewest);
        }
    }
    EXPECT_EQ(sinew::locateMany(f, nullptr, 0, nullptr, Outside::extrapolated, test::Host()), 0U);
}

TEST(MeshProgress, ExtrapolationAnywhereIsTheSameAndCancelledAnywhere)
{
    Random random(20261128);
    Mesh mesh = test::islands(4);
    test::attachFlatTriangles(random, &mesh, 2);
    MeshFunction2D const f = mesh.function();
    std::vector<double> numbers;
    for (int i = 0; i < 400; ++i) numbers.push_back(random.uniform(-0.5, 1.5));
    sinew::RealArray const points = sinew::packed(numbers, 2);
    auto const make = [&] { return Outputs(points.count); };
    auto const digest = [](Outputs const& out) { return digestOf(out); };
    for (Wanted const wanted : {Wanted::all, Wanted::valuesOnly, Wanted::foundOnly, Wanted::none}) {
        checkProgress(
            make,
            [&](Outputs& out) {
                Arrays const a = arraysOf(out, wanted);
                out.count = sinew::extrapolateAnywhereMany(f, points, a.values, a.scalars, a.found);
            },
            [&](Outputs& out, Progress const& p) {
                Arrays const a = arraysOf(out, wanted);
                return take(sinew::extrapolateAnywhereMany(f, points, a.values, a.scalars, a.found, p), out);
            },
            digest, 20);
    }
    checkProgress(
        make, [&](Outputs& out) { out.count = sinew::locateAnywhereMany(f, points, out.locations.data()); },
        [&](Outputs& out, Progress const& p) {
            return take(sinew::locateAnywhereMany(f, points, out.locations.data(), p), out);
        },
        digest, 20);
}

TEST(MeshProgress, SortedPointsAreTheSame)
{
    Random random(20261127);
    Mesh const mesh = test::gridMesh(random, 140, 140); // large enough for the order by place
    MeshFunction2D const f = mesh.function();
    std::vector<Point> points;
    for (int i = 0; i < 30000; ++i) points.push_back(random.point2(-0.1, 1.1));
    std::size_t const size = points.size();
    Outputs expected(size), actual(size);
    expected.count = sinew::extrapolateMany(f, points.data(), size, expected.values.data(), expected.scalars.data(),
                                            expected.foundArray());
    test::Host host;
    EXPECT_TRUE(take(sinew::extrapolateMany(f, points.data(), size, actual.values.data(), actual.scalars.data(),
                                            actual.foundArray(), Progress(host, 0.0)),
                     actual));
    EXPECT_TRUE(digestOf(expected) == digestOf(actual));
    test::expectFinished(host.fractions);
    EXPECT_GE(host.fractions.size(), 100U);
}

TEST(MeshProgress, BuildingIsTheSameAndCancelledAnywhere)
{
    std::vector<Mesh> all = meshes();
    Random random(20261128);
    all.push_back(test::gridMesh(random, 50, 50));
    all.push_back(test::gridMesh(random, 5, 5));
    all.back().facets.pop_back();
    for (Mesh const& mesh : all) {
        SCOPED_TRACE(mesh.facets.size());
        std::size_t const fewest = mesh.facets.size() > 5000 ? 5 : 1;
        auto const build = [&] { return MeshFunction2D(mesh.params, mesh.values, mesh.facets, mesh.normaldots); };
        checkProgress([] { return std::optional<MeshFunction2D>(); },
                      [&](std::optional<MeshFunction2D>& f) { f.emplace(build()); },
                      [&](std::optional<MeshFunction2D>& f, Progress const& p) {
                          std::optional<MeshFunction2D> made =
                              sinew::makeMeshFunction2D(mesh.params, mesh.values, mesh.facets, mesh.normaldots, p);
                          if (!made) return false;
                          f = std::move(made);
                          return true;
                      },
                      [](std::optional<MeshFunction2D> const& f) { return f ? digestOf(*f) : std::string("none"); },
                      fewest);
        for (bool const extrapolates : {true, false}) {
            auto const digest = [](MeshFunction2D const& f) { return digestOf(f); };
            auto const changed = [&] { // other vertices than those that the grid was built for
                MeshFunction2D f = build();
                f.saveString = "kept";
                f.extrapolateFlag = extrapolates;
                for (Point& p : f.params) p.x *= 0.75;
                return f;
            };
            checkProgress(
                changed, [](MeshFunction2D& f) { f.initEvaluatorHelper(); },
                [](MeshFunction2D& f, Progress const& p) { return sinew::initEvaluatorHelper(f, p); }, digest, fewest);
            EmptyRectTester const tester(halfUsed(64, 64), 64, 64);
            checkProgress(
                changed, [&](MeshFunction2D& f) { f.eraseExtraTriangles(tester); },
                [&](MeshFunction2D& f, Progress const& p) { return sinew::eraseExtraTriangles(f, tester, p); }, digest,
                fewest);
        }
    }
}

TEST(MeshProgress, MasksAreTheSameAndCancelledAnywhere)
{
    using Tester = std::optional<EmptyRectTester>;
    for (int const height : {0, 1, 70}) {
        std::vector<bool> const used = halfUsed(90, height);
        checkProgress([] { return Tester(); }, [&](Tester& t) { t.emplace(used, 90, height); },
                      [&](Tester& t, Progress const& p) {
                          Tester made = sinew::makeEmptyRectTester(used, 90, height, p);
                          if (!made) return false;
                          t = std::move(made);
                          return true;
                      },
                      [](Tester const& t) {
                          if (!t) return std::string("none");
                          Digest digest(t->width, t->height, t->emptyTexels);
                          Random random(5);
                          for (int i = 0; i < 50; ++i) {
                              Point const p = random.point2(0, 1);
                              digest.add(t->isRectEmpty(p.x, p.y, p.x + 0.1, p.y + 0.1));
                          }
                          return std::string(digest);
                      },
                      static_cast<std::size_t>(height) + 1);
    }
}

TEST(MeshProgress, TellsAsOftenAsTheIntervalAllows)
{
    Random random(20261129);
    MeshFunction2D const f = test::gridMesh(random, 40, 40).function();
    Raster raster;
    raster.origin = {-0.5, -0.5};
    raster.width = 1000;
    raster.height = 1000;
    raster.step = {2.0 / raster.width, 2.0 / raster.height};
    std::vector<Point> values(sizeOf(raster));
    test::expectSaneNumberOfCalls([&](Progress const& p) {
        return sinew::extrapolateRaster(f, raster, values.data(), nullptr, nullptr, p).has_value();
    });
}
