// Bone weights from heat of a hand: fingers of two bones each, side by side.
//
// All weights, by the library and by the plain method of the tests, which compares every bone with every triangle and
// solves dense systems; for larger hands, with and without visibility, as a measure of what it costs. The visibility of
// one bone a vertex, in the library's tree and by comparison with all triangles. Results are compared before they are
// timed.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include <benchmark/benchmark.h>

#include <sinew/skinning/detail/triangle_tree.h>
#include <sinew/skinning/heat_weights.h>

#include "skinning/heat_scene.h"
#include "skinning/reference_heat_weights.h"

namespace {

constexpr int kFingers = 5;
constexpr double kRounding = 1e-9; // both methods solve a well-conditioned system in doubles

struct Hand
{
    test::HeatScene scene;
    std::vector<sinew::BoneSegment> skeleton;
};

// Fingers of different thickness. Their coordinates are below 4, as the tree requires.
Hand makeHand(int rings, int sectors)
{
    Hand hand;
    for (int i = 0; i < kFingers; ++i) {
        Vector3 const at(0, 0.55 * i, 0);
        hand.scene.add(test::tube(3, i % 2 == 0 ? 0.35 : 0.15, rings, sectors, at));
        hand.skeleton.push_back({at, at + Vector3(1.5, 0, 0)});
        hand.skeleton.push_back({at + Vector3(1.5, 0, 0), at + Vector3(3, 0, 0)});
    }
    return hand;
}

Hand const& handOf(int rings, int sectors)
{
    static std::map<int, Hand> hands;
    auto const found = hands.find(rings * sectors);
    return found != hands.end() ? found->second : hands[rings * sectors] = makeHand(rings, sectors);
}

template <int rings, int sectors, sinew::BoneVisibility visibility>
void heatWithSinew(benchmark::State& state)
{
    Hand const& hand = handOf(rings, sectors);
    for (auto _ : state) {
        benchmark::DoNotOptimize(sinew::heatWeights(hand.scene.mesh(), hand.skeleton, visibility).weights.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(hand.scene.positions.size()));
}

template <int rings, int sectors>
void heatByPlainMethod(benchmark::State& state)
{
    Hand const& hand = handOf(rings, sectors);
    sinew::HeatWeights const ours = sinew::heatWeights(hand.scene.mesh(), hand.skeleton);
    reference::Heat const expected = reference::heatWeights(hand.scene, hand.skeleton);
    if (ours.shaded != expected.shaded || ours.shaded == 0)
        return state.SkipWithError("the methods see different bones");
    for (std::size_t v = 0; v < expected.weights.size(); ++v) {
        for (std::size_t b = 0; b < ours.boneCount; ++b) {
            if (!(std::fabs(ours.weight(v, b) - expected.weights[v][b]) < kRounding))
                return state.SkipWithError("the weights differ");
        }
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(reference::heatWeights(hand.scene, hand.skeleton).weights.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(hand.scene.positions.size()));
}

// The vertices from which the first bone is hidden.
template <int rings, int sectors>
std::size_t hiddenByTree(sinew::detail::TriangleTree const& tree)
{
    Hand const& hand = handOf(rings, sectors);
    std::size_t hidden = 0;
    for (Vector3 const& p : hand.scene.positions) {
        if (tree.isCrossed(p, reference::nearestOnBone(hand.skeleton[0], p))) ++hidden;
    }
    return hidden;
}

template <int rings, int sectors>
std::size_t hiddenByAllTriangles()
{
    Hand const& hand = handOf(rings, sectors);
    std::size_t hidden = 0;
    for (Vector3 const& p : hand.scene.positions) {
        if (reference::isHidden(hand.scene, p, reference::nearestOnBone(hand.skeleton[0], p))) ++hidden;
    }
    return hidden;
}

template <int rings, int sectors>
void visibilityWithSinew(benchmark::State& state)
{
    Hand const& hand = handOf(rings, sectors);
    sinew::detail::TriangleTree const tree(hand.scene.positions, hand.scene.triangles);
    if (hiddenByTree<rings, sectors>(tree) != hiddenByAllTriangles<rings, sectors>())
        return state.SkipWithError("the methods see different bones");
    for (auto _ : state) {
        sinew::detail::TriangleTree const ours(hand.scene.positions, hand.scene.triangles);
        benchmark::DoNotOptimize(hiddenByTree<rings, sectors>(ours));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(hand.scene.positions.size()));
}

template <int rings, int sectors>
void visibilityByAllTriangles(benchmark::State& state)
{
    for (auto _ : state) benchmark::DoNotOptimize(hiddenByAllTriangles<rings, sectors>());
    state.SetItemsProcessed(state.iterations() *
                            static_cast<std::int64_t>(handOf(rings, sectors).scene.positions.size()));
}

constexpr sinew::BoneVisibility kRespected = sinew::BoneVisibility::respected;
constexpr sinew::BoneVisibility kIgnored = sinew::BoneVisibility::ignored;

BENCHMARK_TEMPLATE(heatWithSinew, 13, 6, kRespected)->Name("weights, 400 vertices/sinew");
BENCHMARK_TEMPLATE(heatByPlainMethod, 13, 6)->Name("weights, 400 vertices/plain");
BENCHMARK_TEMPLATE(heatWithSinew, 84, 24, kRespected)->Name("weights, 10,000 vertices/sinew");
BENCHMARK_TEMPLATE(heatWithSinew, 84, 24, kIgnored)->Name("weights, 10,000 vertices/without visibility");
BENCHMARK_TEMPLATE(heatWithSinew, 267, 75, kRespected)->Name("weights, 100,000 vertices/sinew");
BENCHMARK_TEMPLATE(heatWithSinew, 267, 75, kIgnored)->Name("weights, 100,000 vertices/without visibility");
BENCHMARK_TEMPLATE(visibilityWithSinew, 21, 12)->Name("visibility, 1,200 vertices/sinew");
BENCHMARK_TEMPLATE(visibilityByAllTriangles, 21, 12)->Name("visibility, 1,200 vertices/all triangles");

} // namespace
