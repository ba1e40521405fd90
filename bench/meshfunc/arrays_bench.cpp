// Arrays of random points, compared with single calls in the order of the array, bit for bit before they are timed.

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include <sinew/meshfunc/mesh_function_2d.h>

#include "meshfunc/mesh_samples.h"
#include "support/bits.h"

namespace {

using test::Point;
using test::Random;

constexpr std::size_t kPoints = 1000000;

// The values of all points, for one mesh.
struct Case
{
    MeshFunction2D function;
    std::vector<Point> points;
    std::vector<Point> values = std::vector<Point>(kPoints, Point(7, 7));

    explicit Case(int side)
        : function([side] {
              Random random(31);
              return test::gridMesh(random, side, side).function();
          }())
    {
        Random random(32);
        while (points.size() < kPoints) points.push_back(random.point2(0.001, 0.999));
    }

    void byArray() { sinew::evaluateMany(function, points.data(), kPoints, values.data(), nullptr, nullptr); }
    void bySingleCalls()
    {
        for (std::size_t i = 0; i < kPoints; ++i) function.evaluate(points[i], &values[i], nullptr);
    }
    bool agree()
    {
        byArray();
        std::vector<Point> const ours = values;
        bySingleCalls();
        return test::sameBits(ours, values);
    }
};

void evaluate(benchmark::State& state, int side, void (Case::*byWhom)())
{
    static std::map<int, std::unique_ptr<Case>> made;
    static std::map<int, bool> agree;
    std::unique_ptr<Case>& c = made[side];
    if (!c) {
        c = std::make_unique<Case>(side);
        agree[side] = c->agree();
    }
    if (!agree[side]) {
        state.SkipWithError("results differ");
        return;
    }
    for (auto _ : state) {
        (c.get()->*byWhom)();
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kPoints));
}

bool const kRegistered = [] {
    struct Recipe
    {
        char const* name;
        int side;
    };
    for (Recipe const& recipe :
         {Recipe{"evaluateMany, 1e4 triangles", 71}, Recipe{"evaluateMany, 1e5 triangles", 224},
          Recipe{"evaluateMany, 3e5 triangles", 387}, Recipe{"evaluateMany, 1e6 triangles", 707}}) {
        auto const add = [&recipe](char const* contender, void (Case::*byWhom)()) {
            benchmark::RegisterBenchmark(
                (std::string(recipe.name) + "/" + contender).c_str(),
                [side = recipe.side, byWhom](benchmark::State& state) { evaluate(state, side, byWhom); })
                ->Unit(benchmark::kMillisecond);
        };
        add("sinew", &Case::byArray);
        add("single calls", &Case::bySingleCalls);
    }
    return true;
}();

} // namespace
