// The memory of everything that a host keeps, in bytes for each element, as the headers state it. The allocator rounds
// sizes up, which counts here too. Compiled only where the allocator reports sizes and pointers have 8 bytes.

#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include <sinew/fields/dense_matrix.h>
#include <sinew/fields/implicit.h>
#include <sinew/fields/polyline_projector.h>
#include <sinew/fields/polyline_set.h>
#include <sinew/fields/proximity_tester.h>
#include <sinew/framework/fields.h>
#include <sinew/framework/registry.h>
#include <sinew/meshfunc/mesh_function_2d.h>
#include <sinew/meshfunc/texture_compaction.h>
#include <sinew/skinning/bone_transform_vector.h>
#include <sinew/sparse/compact_factor.h>
#include <sinew/sparse/symbolic_factor.h>

#include "fields/polylines.h"
#include "meshfunc/mesh_samples.h"
#include "sparse/matrices.h"
#include "support/failing_new.h"
#include "support/random.h"

namespace {

using test::Random;

// Bytes that do not grow with the number of elements: small objects, and the pages to which large blocks are rounded.
constexpr long long kFixed = 10000;

// Points to the object that is measured. Compilers leave out an allocation if no other code can read its memory.
void const* volatile reachable;

// What `make()` returns, and the bytes that are allocated while it exists.
template <typename Make>
long long bytesHeld(Make const& make)
{
    long long const before = test::liveBytes();
    auto const kept = make();
    reachable = &kept;
    return test::liveBytes() - before;
}

// Expects at most `perElement` bytes for each element, and not much less, so that the statement stays true.
void expectBytes(long long held, double perElement, long long elements, long long fixed = kFixed)
{
    double const stated = perElement * static_cast<double>(elements);
    EXPECT_LE(static_cast<double>(held), stated + static_cast<double>(fixed));
    EXPECT_GE(static_cast<double>(held), 0.8 * stated) << "less than stated";
}

} // namespace

TEST(Memory, APolylineTakes32BytesAVertex)
{
    std::vector<Vector3> const points = test::smoothCurve(20000);
    expectBytes(bytesHeld([&] { return PolylineProjector(points); }), 32, 20000);
}

TEST(Memory, TheIndexOfAPolylineTakes44BytesAVertexOnce)
{
    std::vector<Vector3> const points = test::smoothCurve(20000);
    auto const indexed = [&] {
        PolylineProjector p(points);
        p.project({1, 2, 3});
        return p;
    };
    expectBytes(bytesHeld(indexed), 32 + 44, 20000);
    PolylineProjector const first = indexed();
    expectBytes(bytesHeld([&] { return PolylineProjector(first); }), 32, 20000); // copies share the index
}

TEST(Memory, ASetOfPolylinesTakes112BytesAPolylineMore)
{
    Random random(9);
    std::vector<PolylineProjector> curves;
    for (int i = 0; i < 2000; ++i) curves.emplace_back(random.points(3));
    long long const alone = bytesHeld([&] { return std::vector<PolylineProjector>(curves); });
    expectBytes(bytesHeld([&] { return sinew::PolylineSet(curves); }) - alone, 112, 2000);
}

TEST(Memory, AnImplicitFunctionTakes32BytesACentre)
{
    Random random(1);
    std::vector<std::pair<Vector3, double>> samples;
    for (int i = 0; i < 300; ++i) {
        Vector3 const p = random.point();
        samples.emplace_back(p, random.uniform());
    }
    expectBytes(bytesHeld([&] { return Implicit(samples); }), 32, 300);
}

TEST(Memory, AProximityTesterTakesLessThan12Kilobytes)
{
    Random random(2);
    std::vector<Vector3> const points = random.points(5000);
    for (double const radius : {0.5, 0.1, 0.02, 1e-4}) {
        SCOPED_TRACE(radius);
        EXPECT_LT(bytesHeld([&] { return ProximityTester(points, radius); }), 12000);
    }
}

TEST(Memory, ADenseMatrixTakesTheBytesOfItsEntries)
{
    expectBytes(bytesHeld([] { return matrix<double>(200, 100); }), 8, 20000);
    expectBytes(bytesHeld([] { return matrix<float>(200, 100); }), 4, 20000);
}

TEST(Memory, AnEmptyRectTesterTakesFourAndAQuarterBytesATexel)
{
    std::vector<bool> const used(512 * 256, true);
    expectBytes(bytesHeld([&] { return EmptyRectTester(used, 512, 256); }), 4.25, 512 * 256);
}

TEST(Memory, ATextureOptimizerTakesNothingForEachTexel)
{
    std::vector<bool> used(512 * 256);
    used[1000] = true;
    EXPECT_LE(bytesHeld([&] { return TextureOptimizer(used, 512, 256); }), 100);
}

TEST(Memory, ASmallMeshFunctionTakes220BytesATriangleAndAMegabyte)
{
    Random random(3);
    test::Mesh const mesh = test::gridMesh(random, 80, 80);
    long long const triangles = static_cast<long long>(mesh.facets.size()) / 3;
    long long const held = bytesHeld([&] { return mesh.function(); });
    EXPECT_LE(held, 220 * triangles + (1 << 20));
}

TEST(Memory, ALargeMeshFunctionTakes36BytesATriangleAndAnother110OnceItIsQueriedEverywhere)
{
    Random random(4);
    test::Mesh const mesh = test::gridMesh(random, 400, 400);
    long long const triangles = static_cast<long long>(mesh.facets.size()) / 3;
    long long const boundary = 4 * 400;
    expectBytes(bytesHeld([&] { return mesh.function(); }), 36, triangles, 120 * boundary);
    auto const queried = [&] {
        MeshFunction2D f = mesh.function();
        for (int i = 0; i < 40000; ++i) f.evaluate({(i % 200 + 0.5) / 200, (i / 200 + 0.5) / 200}, nullptr, nullptr);
        return f;
    };
    expectBytes(bytesHeld(queried), 36 + 110, triangles, 120 * boundary);
}

TEST(Memory, ABoundaryTakes120BytesAnEdge)
{
    Random random(5);
    test::Mesh const mesh = test::islands(60); // 3600 loops of four edges
    MeshFunction2D without(mesh.params, mesh.values, mesh.facets, mesh.normaldots);
    without.extrapolateFlag = false;
    without.initEvaluatorHelper();
    long long const before = test::liveBytes();
    without.initBoundaries();
    // Each loop is an object of its own, so short loops take more for each edge.
    EXPECT_LE(test::liveBytes() - before, 4 * 3600 * 120);
    test::Mesh const large = test::gridMesh(random, 300, 300);
    MeshFunction2D one = large.function();
    one.extrapolateFlag = false;
    one.initEvaluatorHelper();
    long long const beforeOne = test::liveBytes();
    one.initBoundaries();
    expectBytes(test::liveBytes() - beforeOne, 38, 1200);
}

TEST(Memory, ASparseMatrixTakes16BytesAnEntryAnd24ARow)
{
    Random random(6);
    SPDMatrix const matrix = test::matrixOf(test::grid2D(100, 100), 10000, random);
    long long entries = 0;
    for (auto const& row : matrix.rows) entries += static_cast<long long>(row.size());
    // A copy, whose rows have no spare capacity. The allocator adds up to 15 bytes and its own word for each row.
    long long const held = bytesHeld([&] { return SPDMatrix(matrix); });
    EXPECT_LE(held, 16 * entries + (24 + 24) * 10000 + kFixed);
    EXPECT_GE(held, 16 * entries + 24 * 10000);
}

TEST(Memory, AFactorTakesWhatItsAnalysisSays)
{
    Random random(7);
    SPDMatrix const matrix = test::matrixOf(test::grid2D(60, 60), 3600, random);
    sinew::SymbolicFactor const symbolic(matrix);
    long long const rows = 3600;
    long long const factor = bytesHeld([&] { return symbolic.factor(matrix); });
    long long const analysis = bytesHeld([&] { return sinew::SymbolicFactor(matrix); });
    EXPECT_GE(factor, symbolic.factorBytes());
    EXPECT_LE(factor, symbolic.factorBytes() + 2 * 24 * rows + kFixed);
    EXPECT_LE(analysis, symbolic.workBytes() + 24 * rows + kFixed);
}

TEST(Memory, ACompactFactorTakesItsBytesAndSharesTheAnalysis)
{
    Random random(8);
    SPDMatrix const matrix = test::matrixOf(test::grid2D(60, 60), 3600, random);
    sinew::SymbolicFactor const symbolic(matrix);
    long long const stated = sinew::CompactFactor(symbolic, matrix).factorBytes();
    long long const held = bytesHeld([&] { return sinew::CompactFactor(symbolic, matrix); });
    EXPECT_GE(held, stated);
    EXPECT_LE(held, stated + kFixed);
    EXPECT_LT(2 * held, symbolic.factorBytes()) << "less than half of the lists";
}

TEST(Memory, SurfacesAndBonesTakeTheBytesOfTheirNumbers)
{
    auto const surface = [] {
        smart_ptr<SurfaceGeometryData> s(new SurfaceGeometryData);
        s->positions.resize(10000);
        s->normals.resize(10000);
        s->indices.resize(30000);
        return s;
    };
    expectBytes(bytesHeld(surface), 24 + 24 + 3 * 4, 10000);
    auto const bones = [] {
        return smart_ptr<BoneTransformVector>(new BoneTransformVector(std::vector<BoneTransform>(500)));
    };
    expectBytes(bytesHeld(bones), 96, 500);
    auto const weights = [] {
        smart_ptr<BoneWeightTable> table(new BoneWeightTable);
        table->influences.assign(5000, {{0, 0.25}, {1, 0.25}, {2, 0.25}, {3, 0.25}});
        return table;
    };
    expectBytes(bytesHeld(weights), 24 + 4 * 16 + 8, 5000); // 8: the allocator rounds the 64 bytes of a list up
}

TEST(Memory, ARegisteredObjectTakesTwoNamesAndAnEntry)
{
    struct Tool : NamedObject<Tool*>
    {
        explicit Tool(std::string const& name) : NamedObject(name) {}
    };
    Tool const first("first"); // creates the registry
    std::vector<std::unique_ptr<Tool>> tools;
    tools.reserve(1000);
    long long const before = test::liveBytes();
    for (int i = 0; i < 1000; ++i) tools.push_back(std::make_unique<Tool>("tool" + std::to_string(i)));
    expectBytes(test::liveBytes() - before, sizeof(Tool) + 88, 1000, 1000 * 16);
}

TEST(Memory, AFieldOfADescriptionTakes72Bytes)
{
    struct Lamp : Serializable
    {
        double brightness = 0;
    };
    ClassDesc desc;
    long long const before = test::liveBytes();
    for (int i = 0; i < 1000; ++i) desc.add("brightness", &Lamp::brightness);
    expectBytes(test::liveBytes() - before, 72, 1000, 16 * 1000); // spare capacity for handles
}
