// The forms with progress with every allocation failing in turn: all have the strong guarantee.

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <sinew/fields/implicit.h>
#include <sinew/fields/polyline_set.h>
#include <sinew/fields/proximity_tester.h>
#include <sinew/fields/smooth_distance.h>
#include <sinew/fields/symmetric_smooth_distance.h>
#include <sinew/meshfunc/location.h>
#include <sinew/meshfunc/raster.h>
#include <sinew/meshfunc/texture_compaction.h>
#include <sinew/sparse/compact_factor.h>
#include <sinew/sparse/solve_many.h>

#include "faults/digest.h"
#include "faults/sweep.h"
#include "meshfunc/mesh_samples.h"
#include "sparse/matrices.h"
#include "support/random.h"

using faults::Digest;
using faults::Guarantee;
using faults::sweep;
using sinew::CompactFactor;
using test::Mesh;
using test::Point;
using test::Random;

namespace {

// A function of a host, which allocates nothing.
bool goOn(double)
{
    return true;
}

sinew::Progress progress()
{
    static bool (*const function)(double) = &goOn;
    return sinew::Progress(function, 0.0);
}

SPDMatrix grid(int width, int height)
{
    Random random(20261202);
    return test::matrixOf(test::grid2D(width, height), width * height, random);
}

std::string digestOf(LLTMatrix const& f)
{
    return Digest(f.rows, f.diag, f.perm);
}
std::string digestOf(std::vector<int> const& perm)
{
    return Digest(perm);
}
std::string digestOf(sinew::SymbolicFactor const& s)
{
    return Digest(s.perm(), s.entryCount());
}
std::string digestOf(Implicit const& f)
{
    return Digest(f.centres, f.coefficients, f.constantTerm, f.linearTerm);
}
std::string digestOf(EmptyRectTester const& t)
{
    return Digest(t.width, t.height, t.emptyTexels);
}
std::string digestOf(MeshFunction2D const& f)
{
    Digest digest(f.params, f.values, f.normaldots, f.facets, f.gridCells, f.boundaryFacets);
    for (auto const& projector : f.boundaryProjectors) digest.add(projector->points);
    return digest;
}

// A call that returns an object, or nothing if it is cancelled, which these calls are not.
template <typename Compute>
void sweepMaking(Compute const& compute)
{
    faults::sweepResult([&] { return std::move(*compute()); }, [](auto const& result) { return digestOf(result); });
}

// All outputs of the batches.
struct Outputs
{
    std::vector<double> numbers = std::vector<double>(70, 1.0);
    std::vector<Vector3> vectors = std::vector<Vector3>(70);
    std::vector<Matrix3> matrices = std::vector<Matrix3>(70);
    std::vector<sinew::PolylineHit> hits = std::vector<sinew::PolylineHit>(70);
    std::vector<Point> values = std::vector<Point>(70);
    std::vector<sinew::Location> locations = std::vector<sinew::Location>(70);
    bool flags[70] = {};
};

std::string digestOfOutputs(Outputs const& out)
{
    Digest digest(out.numbers, out.vectors, out.matrices, out.values);
    for (auto const& hit : out.hits) digest.add(hit.point);
    for (auto const& location : out.locations) digest.add(location.triangle);
    for (bool flag : out.flags) digest.add(flag);
    return digest;
}

template <typename Act>
void sweepOutputs(Act const& act)
{
    sweep(
        Guarantee::strong, [] { return std::make_unique<Outputs>(); }, act,
        [](Outputs const& out) { return digestOfOutputs(out); });
}

} // namespace

TEST(ProgressAllocation, Sparse)
{
    SPDMatrix const matrix = grid(6, 6);
    sweepMaking([&] { return sinew::computePerm(matrix, progress()); });
    sweepMaking([&] { return sinew::factor(matrix, progress()); });
    sweepMaking([&] { return sinew::makeSymbolicFactor(matrix, progress()); });
    sinew::SymbolicFactor const symbolic(matrix);
    sweepMaking([&] { return symbolic.factor(matrix, progress()); });

    auto const digestOfCompact = [](CompactFactor const& f) { return digestOf(f.toLLT()); };
    faults::sweepResult([&] { return std::move(*sinew::makeCompactFactor(matrix, progress())); }, digestOfCompact);
    faults::sweepResult([&] { return std::move(*sinew::makeCompactFactor(symbolic, matrix, progress())); },
                        digestOfCompact);
    SPDMatrix other = matrix;
    for (auto& row : other.rows) row.back().second *= 2.0;
    sweep(
        Guarantee::strong, [&] { return std::make_unique<CompactFactor>(matrix); },
        [&](CompactFactor& f) { f.refactor(other, progress()); }, digestOfCompact);

    using Many = std::vector<std::vector<double>>;
    LLTMatrix const lists = matrix.factor();
    CompactFactor const compact(matrix);
    auto const make = [] { return std::make_unique<Many>(11, std::vector<double>(36, 1.0)); };
    auto const digest = [](Many const& many) { return std::string(Digest(many)); };
    sweep(
        Guarantee::strong, make, [&](Many& b) { sinew::solveMany(lists, b, progress()); }, digest);
    sweep(
        Guarantee::strong, make, [&](Many& b) { compact.solveMany(b, progress()); }, digest);
    sweep(
        Guarantee::strong, [] { return std::make_unique<std::vector<double>>(36 * 5, 1.0); },
        [&](std::vector<double>& b) { compact.solveMany(b.data(), 5, 36, progress()); },
        [](std::vector<double> const& b) { return std::string(Digest(b)); });
}

TEST(ProgressAllocation, Fields)
{
    Random random(20261203);
    std::vector<std::pair<Vector3, double>> samples;
    for (int i = 0; i < 20; ++i) samples.emplace_back(random.point(), 0.1 * i);
    sweepMaking([&] { return sinew::makeImplicit(samples, progress()); });
    for (auto& sample : samples) sample.first.z = 0.0;
    sweepMaking([&] { return sinew::makeImplicit(samples, progress()); });

    Implicit const field(samples);
    std::vector<Vector3> const points = random.points(70);
    sinew::RealArray const a = sinew::coordinatesOf(points.data(), points.size());
    std::vector<Vector3> const curve = random.points(40);
    sweepOutputs([&](Outputs& out) { sinew::evaluateMany(field, a, out.numbers.data(), progress()); });
    sweepOutputs([&](Outputs& out) { sinew::gradientMany(field, a, out.vectors.data(), progress()); });
    sweepOutputs([&](Outputs& out) {
        PolylineProjector const polyline(curve); // without an index
        sinew::projectMany(polyline, a, out.hits.data(), progress());
    });
    sweepOutputs([&](Outputs& out) {
        sinew::smoothDistMany(curve, a, 0.1, out.numbers.data(), out.vectors.data(), out.matrices.data(), progress());
    });
    sweepOutputs([&](Outputs& out) {
        sinew::smoothDistanceMany(curve, a, 0.1, out.numbers.data(), out.vectors.data(), out.matrices.data(),
                                  progress());
    });
    ProximityTester const tester(curve, 0.2);
    sweepOutputs([&](Outputs& out) { sinew::testMany(tester, a, out.flags, progress()); });
}

TEST(ProgressAllocation, Meshfunc)
{
    Mesh mesh = test::oneTriangle(); // and a far one, so that few cells have a list
    for (double const x : {20.0, 20.3, 20.1}) mesh.addVertex(x, x * x / 20);
    mesh.addTriangle(3, 4, 5);
    MeshFunction2D const f = mesh.function();
    std::vector<bool> used(30 * 30);
    for (std::size_t i = 0; i < 300; ++i) used[i] = true;
    sweepMaking([&] { return sinew::makeEmptyRectTester(used, 30, 30, progress()); });
    sweepMaking(
        [&] { return sinew::makeMeshFunction2D(mesh.params, mesh.values, mesh.facets, mesh.normaldots, progress()); });
    auto const make = [&] {
        auto changed = std::make_unique<MeshFunction2D>(f);
        for (Point& p : changed->params) p.y *= 0.5;
        return changed;
    };
    auto const digest = [](MeshFunction2D const& g) { return digestOf(g); };
    sweep(
        Guarantee::strong, make, [](MeshFunction2D& g) { sinew::initEvaluatorHelper(g, progress()); }, digest);
    EmptyRectTester const tester(used, 30, 30);
    sweep(
        Guarantee::strong, make, [&](MeshFunction2D& g) { sinew::eraseExtraTriangles(g, tester, progress()); }, digest);

    sinew::Raster raster;
    raster.origin = {-0.2, -0.2};
    raster.step = {0.2, 0.2};
    raster.width = 8;
    raster.height = 8;
    raster.rowStride = 8;
    std::vector<Point> points;
    Random random(20261204);
    for (int i = 0; i < 70; ++i) points.push_back(random.point2(-0.3, 1.3));
    constexpr sinew::Outside kOutside = sinew::Outside::extrapolated;
    struct WithLoop : Outputs
    {
        MeshFunction2D g{true}; // its boundary is long enough for an index, which the first query builds
    };
    sweep(
        Guarantee::strong,
        [&] {
            auto state = std::make_unique<WithLoop>();
            Random same(20261205);
            state->g = test::gridMesh(same, 6, 6).function();
            return state;
        },
        [&](WithLoop& out) {
            sinew::extrapolateRaster(out.g, raster, out.values.data(), nullptr, out.flags, progress());
        },
        [](WithLoop const& out) { return digestOfOutputs(out); });
    sweepOutputs(
        [&](Outputs& out) { sinew::evaluateRaster(f, raster, out.values.data(), nullptr, out.flags, progress()); });
    sweepOutputs([&](Outputs& out) { sinew::locateRaster(f, raster, out.locations.data(), kOutside, progress()); });
    sweepOutputs([&](Outputs& out) {
        sinew::evaluateMany(f, points.data(), 70, out.values.data(), nullptr, out.flags, progress());
    });
    sweepOutputs([&](Outputs& out) {
        sinew::extrapolateMany(f, points.data(), 70, out.values.data(), nullptr, out.flags, progress());
    });
    sweepOutputs(
        [&](Outputs& out) { sinew::locateMany(f, points.data(), 70, out.locations.data(), kOutside, progress()); });
}
