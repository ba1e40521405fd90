// Texture compaction on a texture of 4096 x 4096 texels, compared with the reference implementation, which works texel
// by texel.

#include <functional>
#include <map>
#include <string>

#include <benchmark/benchmark.h>

#include <sinew/meshfunc/texture_compaction.h>

#include "meshfunc/reference_texture_compaction.h"
#include "support/random.h"

namespace {

constexpr int kSize = 4096;

// A mask like that of an atlas: rectangles of used texels with empty space between them, inside [low, high) of each
// axis.
std::vector<bool> const& atlas(int low, int high)
{
    static std::map<std::pair<int, int>, std::vector<bool>> masks;
    std::vector<bool>& mask = masks[{low, high}];
    if (!mask.empty()) return mask;
    mask.resize(static_cast<std::size_t>(kSize) * kSize);
    test::Random random(7);
    for (int blob = 0; blob < 40; ++blob) {
        int const w = 1 + random.below((high - low) / 16), h = 1 + random.below((high - low) / 16);
        int const x0 = low + random.below(high - low - w), y0 = low + random.below(high - low - h);
        for (int y = y0; y < y0 + h; ++y) {
            for (int x = x0; x < x0 + w; ++x)
                mask[static_cast<std::size_t>(y) * kSize + static_cast<std::size_t>(x)] = true;
        }
    }
    return mask;
}

struct Rect
{
    double minX, minY, maxX, maxY;
};

// Rectangles of up to `size` texels. With `onlyEmpty` none of them holds a used texel, because a used texel can end the
// search of every contender early.
std::vector<Rect> rectangles(EmptyRectTester const& tester, int size, bool onlyEmpty)
{
    test::Random random(8);
    std::vector<Rect> result;
    while (result.size() < 2048) {
        double const x = random.uniform(0, 1), y = random.uniform(0, 1);
        Rect const r{x, y, x + random.uniform(0, size) / kSize, y + random.uniform(0, size) / kSize};
        if (!onlyEmpty || tester.isRectEmpty(r.minX, r.minY, r.maxX, r.maxY)) result.push_back(r);
    }
    return result;
}

void rectEmpty(benchmark::State& state, int size, bool onlyEmpty, bool useReference)
{
    static EmptyRectTester const tester(atlas(0, kSize), kSize, kSize);
    std::vector<Rect> const rects = rectangles(tester, size, onlyEmpty);
    auto const expected = [](Rect const& r) {
        return reference::isRectEmpty(tester.emptyTexels, kSize, kSize, r.minX, r.minY, r.maxX, r.maxY);
    };
    auto const ours = [](Rect const& r) { return tester.isRectEmpty(r.minX, r.minY, r.maxX, r.maxY); };
    for (Rect const& r : rects) {
        if (ours(r) != expected(r)) state.SkipWithError("a result differs");
    }
    for (auto _ : state) {
        int empty = 0;
        if (useReference) {
            for (Rect const& r : rects) empty += expected(r);
        } else {
            for (Rect const& r : rects) empty += ours(r);
        }
        benchmark::DoNotOptimize(empty);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(rects.size()));
}

void optimize(benchmark::State& state, int low, int high, bool useReference)
{
    std::vector<bool> const& mask = atlas(low, high);
    TextureOptimizer const ours(mask, kSize, kSize);
    reference::Optimized const expected = reference::optimize(mask, kSize, kSize);
    if (ours.newWidth != expected.newWidth || ours.newHeight != expected.newHeight ||
        ours.motions.size() != expected.motions.size()) {
        state.SkipWithError("the new texture differs");
    }
    for (auto _ : state) {
        if (useReference) {
            benchmark::DoNotOptimize(reference::optimize(mask, kSize, kSize));
        } else {
            benchmark::DoNotOptimize(TextureOptimizer(mask, kSize, kSize));
        }
    }
}

// The entries that the definition of a tester requires: one int for each texel.
void buildReference(benchmark::State& state)
{
    std::vector<bool> const& mask = atlas(0, kSize);
    for (auto _ : state) {
        std::vector<int> emptyTexels(mask.size());
        for (std::size_t i = 0; i < mask.size(); ++i) emptyTexels[i] = 1 - mask[i];
        benchmark::DoNotOptimize(emptyTexels.data());
    }
}

void build(benchmark::State& state)
{
    for (auto _ : state) benchmark::DoNotOptimize(EmptyRectTester(atlas(0, kSize), kSize, kSize));
}

void registerPair(std::string const& name, std::function<void(benchmark::State&, bool)> const& run)
{
    benchmark::RegisterBenchmark((name + "/sinew").c_str(), [run](benchmark::State& state) { run(state, false); });
    benchmark::RegisterBenchmark((name + "/reference").c_str(), [run](benchmark::State& state) { run(state, true); });
}

bool const kRegistered = [] {
    for (int size : {4, 32, 400}) {
        std::string const texels = "isRectEmpty, up to " + std::to_string(size) + " texels";
        registerPair(texels + ", anywhere", [=](benchmark::State& s, bool p) { rectEmpty(s, size, false, p); });
        registerPair(texels + ", empty", [=](benchmark::State& s, bool p) { rectEmpty(s, size, true, p); });
    }
    registerPair("optimize, quarter used", [](benchmark::State& s, bool p) { optimize(s, 1024, 2048, p); });
    registerPair("optimize, all used", [](benchmark::State& s, bool p) { optimize(s, 0, kSize, p); });
    benchmark::RegisterBenchmark("EmptyRectTester/sinew", build);
    benchmark::RegisterBenchmark("EmptyRectTester/reference", buildReference);
    return true;
}();

} // namespace
