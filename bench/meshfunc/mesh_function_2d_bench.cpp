// Mesh functions compared with the reference implementation and with two libraries that a user would choose instead.
// CGAL locates the point in a Delaunay triangulation of the same vertices, by its hierarchy. Embree shoots a ray at the
// mesh, in single precision.
//
// The values are an affine function of the position, so that every triangulation of the vertices must give the same
// result. Sinew and the reference implementation are compared bit for bit, the other libraries within their precision.

#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>

#include "contenders.h"

namespace {

using namespace bench::meshes;
using test::Random;

// ---- the inputs ----

// A mesh, points in it, and the structure of each contender, which is built when it is first needed.
struct Case
{
    Mesh mesh;
    std::vector<Point> points;
    std::map<std::string, std::unique_ptr<Contender>> contenders;

    template <typename C>
    C const& contender()
    {
        auto& slot = contenders[typeid(C).name()];
        if (!slot) slot = std::make_unique<C>(mesh);
        return static_cast<C const&>(*slot);
    }
};

constexpr int kPoints = 1 << 16;

// Columns and rows are a thousand times denser at one corner than at the other.
Mesh gradedMesh(int side)
{
    Mesh const even = evenMesh(side);
    Mesh mesh;
    mesh.facets = even.facets;
    auto const graded = [](double x) { return std::sinh(8 * x) / std::sinh(8.0); };
    for (Point const& p : even.params) mesh.addVertex(graded(p.x), graded(p.y));
    return withAffineValues(std::move(mesh));
}

// Nearly all columns and rows lie within a thirtieth of the domain. One cell of the public grid lists nine tenths of
// the triangles.
Mesh crowdedMesh(int side)
{
    Mesh const even = evenMesh(side);
    Mesh mesh;
    mesh.facets = even.facets;
    auto const crowded = [](double x) {
        double const share = 0.97, part = 0.03;
        return x < share ? x / share * part : part + (x - share) / (1 - share) * (1 - part);
    };
    for (Point const& p : even.params) mesh.addVertex(crowded(p.x), crowded(p.y));
    return withAffineValues(std::move(mesh));
}

// Points distributed evenly over the domain.
std::vector<Point> pointsAnywhere(Mesh const&)
{
    Random random(2);
    std::vector<Point> points;
    for (int i = 0; i < kPoints; ++i) points.push_back(random.point2(0.001, 0.999));
    return points;
}

// Points distributed like the triangles.
std::vector<Point> pointsInTriangles(Mesh const& mesh)
{
    Random random(3);
    std::vector<Point> points;
    for (int i = 0; i < kPoints; ++i) {
        int const* corners = &mesh.facets[3 * static_cast<std::size_t>(random.below(int(mesh.facets.size() / 3)))];
        auto const at = [&](int k) { return mesh.params[static_cast<std::size_t>(corners[k])]; };
        double const a = random.uniform(0, 1), b = random.uniform(0, 1);
        double const u = a + b > 1 ? 1 - a : a, v = a + b > 1 ? 1 - b : b;
        points.push_back(at(0) + u * (at(1) - at(0)) + v * (at(2) - at(0)));
    }
    return points;
}

struct CaseRecipe
{
    char const* name;
    int side;
    Mesh (*mesh)(int side);
    std::vector<Point> (*points)(Mesh const&);
    int referenceBatch; // points of one iteration of the reference: few where each one takes a millisecond
};

constexpr CaseRecipe kRecipes[] = {
    {"evaluate, 100 triangles", 7, evenMesh, pointsAnywhere, 1024},
    {"evaluate, 1e4 triangles", 71, evenMesh, pointsAnywhere, 1024},
    {"evaluate, 1e6 triangles, even", 707, evenMesh, pointsAnywhere, 1024},
    {"evaluate, 1e6 triangles, uneven", 707, gradedMesh, pointsInTriangles, 4},
    {"evaluate, 1e6 triangles, crowded", 707, crowdedMesh, pointsInTriangles, 4},
};

Case& input(CaseRecipe const& recipe)
{
    static std::map<std::string, std::unique_ptr<Case>> made;
    auto& slot = made[recipe.name];
    if (!slot) {
        slot = std::make_unique<Case>();
        slot->mesh = recipe.mesh(recipe.side);
        slot->points = recipe.points(slot->mesh);
    }
    return *slot;
}

// ---- evaluate ----

// Whether a contender gives the same results as sinew: the same bits if `tolerance` is 0, within it otherwise.
template <typename C>
bool resultsAgree(Case& c, double tolerance, std::size_t checked)
{
    for (std::size_t i = 0; i < checked; ++i) {
        Point ours(7, 7), theirs(7, 7);
        bool const found = c.contender<Sinew>().evaluate(c.points[i], &ours);
        if (c.contender<C>().evaluate(c.points[i], &theirs) != found) return false;
        bool const agrees = tolerance > 0 ? (ours - theirs).length() <= tolerance : test::sameBits(ours, theirs);
        if (!agrees) return false;
    }
    return true;
}

template <typename C>
void evaluate(benchmark::State& state, CaseRecipe const& recipe, double tolerance, int batch)
{
    Case& c = input(recipe);
    C const& contender = c.contender<C>();
    static std::map<std::string, bool> agreed; // compared once, not in every repetition
    if (!agreed.count(recipe.name)) {
        agreed[recipe.name] = resultsAgree<C>(c, tolerance, batch < 64 ? 256 : 20000);
    }
    if (!agreed[recipe.name]) {
        state.SkipWithError("results differ");
        return;
    }
    std::size_t next = 0;
    for (auto _ : state) {
        for (int i = 0; i < batch; ++i) {
            Point value;
            benchmark::DoNotOptimize(contender.evaluate(c.points[next], &value));
            benchmark::DoNotOptimize(value);
            next = (next + 1) % kPoints;
        }
    }
    state.SetItemsProcessed(state.iterations() * batch);
}

template <typename C>
void addEvaluate(CaseRecipe const& recipe, std::string const& contender, double tolerance, int batch = 1024)
{
    benchmark::RegisterBenchmark(
        (std::string(recipe.name) + "/" + contender).c_str(),
        [=, &recipe](benchmark::State& state) { evaluate<C>(state, recipe, tolerance, batch); });
}

void registerEvaluate()
{
    for (CaseRecipe const& recipe : kRecipes) {
        addEvaluate<Sinew>(recipe, "sinew", 0);
        addEvaluate<Reference>(recipe, "reference", 0, recipe.referenceBatch);
#ifdef SINEW_BENCH_CGAL
        addEvaluate<CgalHierarchy>(recipe, "CGAL", 1e-9);
#endif
#ifdef SINEW_BENCH_EMBREE
        addEvaluate<EmbreeRay>(recipe, "Embree", 1e-3); // single precision, in triangles as small as 1e-5
#endif
    }
}

// ---- construction ----

template <typename F>
void construct(benchmark::State& state)
{
    Mesh const& mesh = input(kRecipes[2]).mesh;
    for (auto _ : state) {
        auto function = std::make_unique<F>(mesh.params, mesh.values, mesh.facets, mesh.normaldots);
        benchmark::DoNotOptimize(function->gridCells.data());
        state.PauseTiming();
        function.reset(); // destruction is not timed
        state.ResumeTiming();
    }
}

// ---- extrapolate ----

// Ten thousand islands in the unit square, and points up to `reach` beyond it.
struct Islands
{
    Mesh mesh = test::islands(100);
    MeshFunction2D ours = mesh.function();
    reference::MeshFunction2D oracle{mesh.params, mesh.values, mesh.facets, mesh.normaldots};
    std::vector<Point> points;

    explicit Islands(double reach)
    {
        Random random(4);
        for (int i = 0; i < 1024; ++i) points.push_back(random.point2(-reach, 1 + reach));
    }
    bool agree() const
    {
        for (std::size_t i = 0; i < 64; ++i) {
            Point value(7, 7), expected(7, 7);
            bool const found = ours.extrapolate(points[i], &value, nullptr);
            if (oracle.extrapolate(points[i], &expected, nullptr) != found) return false;
            if (!test::sameBits(value, expected)) return false;
        }
        return true;
    }
};

template <typename F>
void extrapolate(benchmark::State& state, Islands const& islands, F const& function, int batch)
{
    if (!islands.agree()) {
        state.SkipWithError("results differ");
        return;
    }
    std::size_t next = 0;
    for (auto _ : state) {
        for (int i = 0; i < batch; ++i) {
            Point value;
            benchmark::DoNotOptimize(function.extrapolate(islands.points[next], &value, nullptr));
            benchmark::DoNotOptimize(value);
            next = (next + 1) % islands.points.size();
        }
    }
    state.SetItemsProcessed(state.iterations() * batch);
}

void registerExtrapolate(std::string const& name, double reach)
{
    auto const islands = std::make_shared<std::unique_ptr<Islands>>(); // built in the first run
    auto const made = [=]() -> Islands const& {
        if (!*islands) *islands = std::make_unique<Islands>(reach);
        return **islands;
    };
    benchmark::RegisterBenchmark((name + "/sinew").c_str(),
                                 [=](benchmark::State& state) { extrapolate(state, made(), made().ours, 64); });
    benchmark::RegisterBenchmark((name + "/reference").c_str(),
                                 [=](benchmark::State& state) { extrapolate(state, made(), made().oracle, 4); });
}

bool const kRegistered = [] {
    registerEvaluate();
    benchmark::RegisterBenchmark("construction, 1e6 triangles/sinew", construct<MeshFunction2D>)->Iterations(1);
    benchmark::RegisterBenchmark("construction, 1e6 triangles/reference", construct<reference::MeshFunction2D>)
        ->Iterations(1);
    registerExtrapolate("extrapolate between, 1e4 loops", 0.01);
    registerExtrapolate("extrapolate far outside, 1e4 loops", 100);
    return true;
}();

} // namespace
