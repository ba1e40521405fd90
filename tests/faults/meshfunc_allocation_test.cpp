// The module meshfunc with every allocation failing in turn.

#include <istream>
#include <memory>
#include <optional>
#include <sstream>

#include <sinew/framework/fields.h>
#include <sinew/meshfunc/extrapolate_anywhere.h>
#include <sinew/meshfunc/location.h>
#include <sinew/meshfunc/mesh_diagnosis.h>
#include <sinew/meshfunc/raster.h>
#include <sinew/meshfunc/save_exact.h>
#include <sinew/meshfunc/texture_compaction.h>
#include <sinew/meshfunc/type_handlers.h>

#include "faults/buffers.h"
#include "faults/digest.h"
#include "faults/sweep.h"
#include "meshfunc/mesh_digest.h"
#include "meshfunc/mesh_samples.h"
#include "support/random.h"

using faults::Digest;
using faults::FixedBuffer;
using faults::Guarantee;
using faults::sweep;
using faults::TextBuffer;
using test::digestOf;
using test::Mesh;
using test::Point;
using test::Random;

namespace {

// Two triangles in each of 9 squares: a mesh with a boundary of nine loops.
Mesh smallMesh()
{
    return test::islands(3);
}

Mesh oneLoop()
{
    Random random(12);
    return test::gridMesh(random, 3, 3);
}

struct State
{
    MeshFunction2D f{true};
    std::unique_ptr<MeshFunction2D> made;
    std::string text;
};

std::string digestOfState(State& s)
{
    return digestOf(s.f) + (s.made ? digestOf(*s.made) : std::string("none")) + s.text;
}

std::unique_ptr<State> makeState()
{
    auto state = std::make_unique<State>();
    state->f = smallMesh().function();
    return state;
}

template <typename Act>
void sweepFunction(Guarantee guarantee, Act const& act)
{
    sweep(guarantee, makeState, act, digestOfState);
}

std::vector<bool> mask(int width, int height)
{
    std::vector<bool> used(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (int y = height / 3; y < height / 2; ++y) {
        for (int x = width / 3; x < width / 2; ++x) used[static_cast<std::size_t>(x + width * y)] = true;
    }
    return used;
}

// An object whose fields are the types that the module's type handlers write.
class Placed : public Serializable
{
public:
    Vector3 position;
    std::vector<Point> outline;
    std::vector<Vector3> corners;

    smart_ptr<Field> describeFields(std::string const& name) override
    {
        ClassDesc desc;
        desc.add("position", &Placed::position);
        desc.add("outline", &Placed::outline);
        sinew::addExact(desc, "corners", &Placed::corners);
        return new CompositeField(name, desc);
    }
};

} // namespace

TEST(MeshFunctionAllocation, Construction)
{
    Mesh const mesh = smallMesh();
    sweepFunction(Guarantee::strong, [&](State& s) {
        s.made = std::make_unique<MeshFunction2D>(mesh.params, mesh.values, mesh.facets, mesh.normaldots);
    });
    sweepFunction(Guarantee::strong, [](State& s) { s.made = std::make_unique<MeshFunction2D>(false); });
    sweepFunction(Guarantee::strong, [](State& s) { s.made.reset(s.f.copy()); });
}

TEST(MeshFunctionAllocation, Copies)
{
    faults::sweepCopies<MeshFunction2D>([] { return oneLoop().function(); }, [] { return smallMesh().function(); },
                                        [](MeshFunction2D const& f) { return digestOf(f); });
}

TEST(MeshFunctionAllocation, Rebuilding)
{
    sweepFunction(Guarantee::basic, [](State& s) { s.f.initEvaluatorHelper(); });
    sweepFunction(Guarantee::basic, [](State& s) { s.f.initBoundaries(); });
}

TEST(MeshFunctionAllocation, ErasingTriangles)
{
    EmptyRectTester const tester(mask(64, 64), 64, 64);
    sweepFunction(Guarantee::basic, [&](State& s) { s.f.eraseExtraTriangles(tester); });
    TextureOptimizer const optimizer(mask(64, 64), 64, 64);
    State s;
    s.f = smallMesh().function();
    faults::expectNoAllocation([&] { s.f.remapToOptimized(optimizer); });
}

TEST(MeshFunctionAllocation, QueriesOfSmallMeshesAllocateNothing)
{
    MeshFunction2D const f = smallMesh().function();
    Point value;
    faults::expectNoAllocation([&] {
        f.evaluate({0.1, 0.1}, &value, nullptr);
        f.extrapolate({-0.1, 0.3}, &value, nullptr);
        f.extrapolateOld({-0.1, 0.3}, &value, nullptr);
        f.getAnyPointInDomain(value);
        f.iDistToEdge(0, 1, {0, 0}, nullptr, false);
        f.iEvalInFacet(0, 1, 2, {0, 0}, &value, nullptr, false);
        Point const points[2] = {{0.1, 0.1}, {2, 2}};
        sinew::evaluateMany(f, points, 2, nullptr, nullptr, nullptr);
        sinew::extrapolateMany(f, points, 2, nullptr, nullptr, nullptr);
        sinew::Location locations[2];
        sinew::locateMany(f, points, 2, locations);
        sinew::RealArray const numbers = sinew::packed(&points[0].x, 2, 2);
        sinew::extrapolateAnywhereMany(f, numbers, nullptr, nullptr, nullptr);
        sinew::locateAnywhereMany(f, numbers, locations);
        double const attributes[36 * 2] = {};
        double blended[2 * 2];
        sinew::blendMany(locations, 2, attributes, 2, 2, blended, 2);
    });
}

TEST(MeshFunctionAllocation, QueriesOfLargeMeshes)
{
    // The first query of a cell builds its search structure; if that fails, the public list is searched instead.
    Random random(13);
    static MeshFunction2D const large = test::gridMesh(random, 190, 190).function();
    struct Query
    {
        MeshFunction2D f = large;
        Point value;
        bool found = false;
    };
    auto const digest = [](Query& q) { return std::string(Digest(q.value, q.found)); };
    auto const make = [] { return std::make_unique<Query>(); };
    sweep(
        Guarantee::strong, make,
        [](Query& q) {
            q.found = q.f.evaluate({0.52, 0.52}, &q.value, nullptr);
        },
        digest);
    Query query;
    {
        test::FailingNew const failing(0);
        EXPECT_TRUE(query.f.evaluate({0.52, 0.52}, &query.value, nullptr));
        EXPECT_TRUE(failing.hasFailed());
    }
    // The boundary is a polyline of 760 segments, whose index is built by the first query outside.
    sweep(
        Guarantee::strong, make,
        [](Query& q) {
            q.found = q.f.extrapolate({-0.2, 0.5}, &q.value, nullptr);
        },
        digest);
    sweep(
        Guarantee::strong, make,
        [](Query& q) {
            q.found = sinew::extrapolateAnywhere(q.f, {-0.2, 0.5}, &q.value, nullptr);
        },
        digest);
}

// The outputs of the raster queries.
struct Baked
{
    static constexpr std::size_t kPixels = 12 * 10;

    MeshFunction2D f;
    Point values[kPixels];
    float scalars[kPixels] = {};
    bool found[kPixels] = {};
    sinew::Location locations[kPixels];

    std::string digest() const
    {
        Digest digest;
        for (std::size_t i = 0; i < kPixels; ++i) {
            digest.add(values[i]);
            digest.add(scalars[i]);
            digest.add(found[i]);
            digest.add(locations[i].triangle);
            for (double const weight : locations[i].weights) digest.add(weight);
        }
        return digest;
    }
};

TEST(MeshFunctionAllocation, Rasters)
{
    Random random(14);
    static MeshFunction2D const oneLongLoop = test::gridMesh(random, 30, 30).function();
    sinew::Raster raster;
    raster.origin = {-0.3, -0.3};
    raster.step = {0.15, 0.15};
    raster.width = 12;
    raster.height = 10;
    auto const make = [] { return std::make_unique<Baked>(Baked{oneLongLoop, {}, {}, {}, {}}); };
    auto const digest = [](Baked& b) { return b.digest(); };
    auto const evaluate = [&](Baked& b) { sinew::evaluateRaster(b.f, raster, b.values, b.scalars, b.found); };
    auto const extrapolate = [&](Baked& b) { sinew::extrapolateRaster(b.f, raster, b.values, b.scalars, b.found); };
    sweep(Guarantee::strong, make, evaluate, digest);
    sweep(Guarantee::basic, make, extrapolate, digest);
    sweep(
        Guarantee::strong, make,
        [&](Baked& b) { sinew::locateRaster(b.f, raster, b.locations, sinew::Outside::excluded); }, digest);
    sweep(
        Guarantee::basic, make, [&](Baked& b) { sinew::locateRaster(b.f, raster, b.locations); }, digest);
}

TEST(MeshFunctionAllocation, Saving)
{
    auto const save = [](State& s) {
        FixedBuffer buffer;
        std::ostream out(&buffer);
        sinew::writeDocument(out, s.f, "function");
        s.text = buffer.text();
    };
    // The vectors are unchanged after a failure; `saveString` may keep the packed text, which is not read again.
    sweep(Guarantee::basic, makeState, save, digestOfState);
    sweep(Guarantee::strong, makeState, save, [](State& s) {
        MeshFunction2D copy = s.f;
        copy.saveString.clear();
        return digestOf(copy) + s.text;
    });
}

TEST(MeshFunctionAllocation, Loading)
{
    MeshFunction2D saved = smallMesh().function();
    std::ostringstream out;
    sinew::writeDocument(out, saved, "MeshFunction2D");
    std::string const packed = out.str();
    std::string const older = "<MeshFunction2D><params><param u=\"0\" v=\"0\"/><param u=\"1\" v=\"0\"/><param u=\"0\" "
                              "v=\"1\"/></params><values><value u=\"0\" v=\"0\"/><value u=\"1\" v=\"0\"/><value "
                              "u=\"0\" v=\"1\"/></values><facets><facet>0</facet><facet>1</facet><facet>2</facet>"
                              "</facets><extrapolateFlag>1</extrapolateFlag></MeshFunction2D>";
    for (std::string const& document : {packed, older}) {
        SCOPED_TRACE(document.substr(0, 60));
        sweep(
            Guarantee::basic, [] { return std::make_unique<State>(); },
            [&](State& s) {
                TextBuffer buffer(document);
                std::istream in(&buffer);
                sinew::readDocument(in, s.f);
            },
            digestOfState);
        sweep(
            Guarantee::strong, [] { return std::make_unique<State>(); },
            [&](State& s) {
                TextBuffer buffer(document);
                std::istream in(&buffer);
                std::unique_ptr<Serializable> made = sinew::createFromDocument(in);
                s.made.reset(dynamic_cast<MeshFunction2D*>(made.release()));
            },
            digestOfState);
    }
}

TEST(MeshFunctionAllocation, SavingExactlyAllocatesNothing)
{
    MeshFunction2D const f = smallMesh().function();
    FixedBuffer buffer;
    std::ostream out(&buffer);
    faults::expectNoAllocation([&] { EXPECT_TRUE(sinew::saveExact(f, out)); });
}

TEST(MeshFunctionAllocation, TypeHandlers)
{
    struct Objects
    {
        Placed saved, loaded;
        std::string text;
    };
    auto const make = [] {
        auto objects = std::make_unique<Objects>();
        objects->saved.position = {1, 2.5, -3};
        objects->saved.outline = {{0, 0.125}, {1, 2}};
        objects->saved.corners = {{1.0 / 3, 1e-300 / 3, 2e100 / 3}, {}}; // longer than a string holds in itself
        return objects;
    };
    auto const digest = [](Objects& o) {
        return std::string(Digest(o.saved.position, o.saved.outline, o.saved.corners, o.loaded.position,
                                  o.loaded.outline, o.loaded.corners, o.text));
    };
    sweep(
        Guarantee::basic, make,
        [](Objects& o) {
            FixedBuffer out;
            std::ostream stream(&out);
            sinew::writeDocument(stream, o.saved, "placed");
            o.text = out.text();
            TextBuffer in(o.text);
            std::istream text(&in);
            sinew::readDocument(text, o.loaded);
        },
        digest);
}

TEST(MeshFunctionAllocation, Diagnosis)
{
    Mesh mesh = smallMesh();
    mesh.addVertex(1e9, 0);
    mesh.addTriangle(0, 1, 77);
    mesh.addTriangle(0, 1, 2);
    struct Diagnosed
    {
        sinew::MeshDiagnosis diagnosis;
    };
    MeshFunction2D const f = mesh.function();
    sweep(
        Guarantee::strong, [] { return std::make_unique<Diagnosed>(); },
        [&](Diagnosed& d) { d.diagnosis = sinew::diagnose(f); },
        [](Diagnosed& d) { return std::string(Digest(d.diagnosis)); });
}

TEST(TextureAllocation, Testers)
{
    auto const digest = [](EmptyRectTester const& t) {
        return std::string(Digest(t.width, t.height, t.emptyTexels, t.isRectEmpty(0.1, 0.1, 0.3, 0.2),
                                  t.isRectEmpty(0.3, 0.3, 0.6, 0.6), t.isRectEmpty(0.8, 0.8, 0.9, 0.9)));
    };
    auto const tester = [](int width, int height) {
        return [width, height] { return EmptyRectTester(mask(width, height), width, height); };
    };
    faults::sweepCopies<EmptyRectTester>(tester(20, 30), tester(70, 80), digest);
    std::vector<bool> const used = mask(70, 80);
    struct Made
    {
        std::optional<EmptyRectTester> tester;
        std::optional<TextureOptimizer> optimizer;
    };
    sweep(
        Guarantee::strong, [] { return std::make_unique<Made>(); }, [&](Made& m) { m.tester.emplace(used, 70, 80); },
        [&](Made& m) { return m.tester ? digest(*m.tester) : std::string("none"); });
}

TEST(TextureAllocation, Optimizers)
{
    auto const digest = [](TextureOptimizer const& t) {
        double u = 0, v = 0;
        t.mapCoord(0.4, 0.4, u, v);
        Digest result(t.width, t.height, t.newWidth, t.newHeight, u, v, t.motions.size());
        for (auto const& m : t.motions) {
            for (int const x : {m.x, m.y, m.w, m.h, m.dx, m.dy}) result.add(x);
        }
        return std::string(result);
    };
    auto const optimizer = [](int motions) {
        return [motions] {
            TextureOptimizer t(mask(64, 64), 64, 64);
            t.motions.resize(static_cast<std::size_t>(motions), t.motions.at(0));
            return t;
        };
    };
    faults::sweepCopies<TextureOptimizer>(optimizer(1), optimizer(5), digest);
    std::vector<bool> const used = mask(64, 64);
    struct Made
    {
        std::optional<TextureOptimizer> optimizer;
    };
    sweep(
        Guarantee::strong, [] { return std::make_unique<Made>(); }, [&](Made& m) { m.optimizer.emplace(used, 64, 64); },
        [&](Made& m) { return m.optimizer ? digest(*m.optimizer) : std::string("none"); });
}
