// Rasters compared with a loop of single calls, bit for bit before they are timed: a texture of 1200 x 1200 pixels over
// the whole domain. The loop is what a host writes without the raster calls.

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include <sinew/meshfunc/raster.h>

#include "meshfunc/mesh_samples.h"
#include "support/bits.h"

namespace {

using sinew::Location;
using sinew::Raster;
using test::Mesh;
using test::Point;
using test::Random;

constexpr int kSize = 1200;
constexpr std::size_t kPixels = static_cast<std::size_t>(kSize) * kSize;

// Pixels have their points in their middles.
Raster texture()
{
    Raster raster;
    raster.origin = {0.5 / kSize, 0.5 / kSize};
    raster.step = {1.0 / kSize, 1.0 / kSize};
    raster.width = raster.height = kSize;
    return raster;
}

Mesh evenMesh(int side)
{
    Random random(21);
    return test::gridMesh(random, side, side);
}

Mesh atlas()
{
    Random random(22);
    return test::atlas(random, 4, 25, true);
}

// All outputs of one contender.
struct Baked
{
    std::vector<Point> values = std::vector<Point>(kPixels, Point(7, 7));
    std::unique_ptr<bool[]> found = std::make_unique<bool[]>(kPixels);
    std::vector<double> positions = std::vector<double>(3 * kPixels, 7.0);
};

using Bake = void (*)(MeshFunction2D const&, Baked*);

template <typename PerPixel>
void forPixels(PerPixel const& perPixel)
{
    Raster const raster = texture();
    for (int row = 0; row < kSize; ++row) {
        for (int column = 0; column < kSize; ++column) {
            perPixel(Point(raster.origin.x + column * raster.step.x, raster.origin.y + row * raster.step.y),
                     static_cast<std::size_t>(row) * kSize + static_cast<std::size_t>(column));
        }
    }
}

void evaluateByRaster(MeshFunction2D const& f, Baked* out)
{
    sinew::evaluateRaster(f, texture(), out->values.data(), nullptr, out->found.get());
}
void evaluateByLoop(MeshFunction2D const& f, Baked* out)
{
    forPixels([&](Point const& p, std::size_t at) { out->found[at] = f.evaluate(p, &out->values[at], nullptr); });
}
void extrapolateByRaster(MeshFunction2D const& f, Baked* out)
{
    sinew::extrapolateRaster(f, texture(), out->values.data(), nullptr, out->found.get());
}
void extrapolateByLoop(MeshFunction2D const& f, Baked* out)
{
    forPixels([&](Point const& p, std::size_t at) { out->found[at] = f.extrapolate(p, &out->values[at], nullptr); });
}

// A map of positions in space; the vertex attributes are three numbers each.
std::vector<double> positionsOf(MeshFunction2D const& f)
{
    std::vector<double> positions;
    for (Point const& p : f.params) positions.insert(positions.end(), {p.x, p.y, std::sin(3 * p.x) * p.y});
    return positions;
}
void positionsByRaster(MeshFunction2D const& f, Baked* out)
{
    std::vector<double> const positions = positionsOf(f);
    std::vector<Location> locations(kPixels);
    sinew::locateRaster(f, texture(), locations.data());
    sinew::blendMany(locations.data(), kPixels, positions.data(), 3, 3, out->positions.data(), 3);
}
void positionsByLoop(MeshFunction2D const& f, Baked* out)
{
    std::vector<double> const positions = positionsOf(f);
    forPixels([&](Point const& p, std::size_t at) {
        sinew::blend(sinew::locate(f, p), positions.data(), 3, 3, &out->positions[3 * at]);
    });
}

struct CaseRecipe
{
    char const* name;
    std::function<Mesh()> mesh;
    Bake byRaster;
    Bake byLoop;
};

std::vector<CaseRecipe> const& recipes()
{
    static std::vector<CaseRecipe> const all = {
        {"evaluate, 5e3 triangles", [] { return evenMesh(50); }, evaluateByRaster, evaluateByLoop},
        {"evaluate, 1e5 triangles", [] { return evenMesh(224); }, evaluateByRaster, evaluateByLoop},
        {"evaluate, 1e6 triangles", [] { return evenMesh(707); }, evaluateByRaster, evaluateByLoop},
        {"extrapolate, atlas of 16 charts", atlas, extrapolateByRaster, extrapolateByLoop},
        {"extrapolate, atlas of 900 charts", [] { return test::islands(30); }, extrapolateByRaster, extrapolateByLoop},
        {"map of positions, atlas of 16 charts", atlas, positionsByRaster, positionsByLoop},
    };
    return all;
}

// The function of a case, and whether both contenders agree on it.
struct Case
{
    MeshFunction2D function;
    bool agree;

    explicit Case(CaseRecipe const& recipe) : function(recipe.mesh().function())
    {
        Baked ours, theirs;
        recipe.byRaster(function, &ours);
        recipe.byLoop(function, &theirs);
        agree = test::sameBits(ours.values, theirs.values) && test::sameBits(ours.positions, theirs.positions) &&
                std::equal(ours.found.get(), ours.found.get() + kPixels, theirs.found.get());
    }
};

void bake(benchmark::State& state, CaseRecipe const& recipe, Bake byWhom)
{
    static std::map<std::string, std::unique_ptr<Case>> made;
    std::unique_ptr<Case>& c = made[recipe.name];
    if (!c) c = std::make_unique<Case>(recipe);
    if (!c->agree) {
        state.SkipWithError("results differ");
        return;
    }
    static Baked out;
    for (auto _ : state) {
        byWhom(c->function, &out);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kPixels));
}

bool const kRegistered = [] {
    for (CaseRecipe const& recipe : recipes()) {
        auto const add = [&recipe](char const* contender, Bake byWhom) {
            benchmark::RegisterBenchmark((std::string(recipe.name) + "/" + contender).c_str(),
                                         [&recipe, byWhom](benchmark::State& state) { bake(state, recipe, byWhom); })
                ->Unit(benchmark::kMillisecond);
        };
        add("sinew", recipe.byRaster);
        add("single calls", recipe.byLoop);
    }
    return true;
}();

} // namespace
