// Bone weights from heat for meshes and skeletons of any numbers, with corners that may be no vertices. The weights
// must be those of a figure, and must not depend on the order of vertices and triangles.

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include <sinew/skinning/heat_weights.h>

#include "fuzz/input.h"
#include "skinning/heat_scene.h"
#include "support/bits.h"

using fuzz::Input;
using fuzz::require;

namespace {

constexpr int kMostVertices = 40;
constexpr int kMostTriangles = 60;
constexpr int kMostBones = 12;
constexpr double kRounding = 1e-14; // of a sum of twelve weights

test::HeatScene sceneOf(Input& input)
{
    test::HeatScene scene;
    for (int v = input.below(kMostVertices); v > 0; --v) scene.positions.push_back(input.point());
    int const vertices = static_cast<int>(scene.positions.size());
    for (int t = vertices > 0 ? input.below(kMostTriangles) : 0; t > 0; --t) {
        int corners[3];
        for (int& corner : corners) corner = input.below(32) == 31 ? input.anyInt() : input.below(vertices);
        scene.triangles.push_back({corners[0], corners[1], corners[2]});
    }
    return scene;
}

std::vector<sinew::BoneSegment> skeletonOf(Input& input)
{
    std::vector<sinew::BoneSegment> skeleton(static_cast<std::size_t>(input.below(kMostBones)));
    for (std::size_t b = 0; b < skeleton.size(); ++b) {
        skeleton[b].start = b > 0 && input.flag() ? skeleton[b - 1].end : input.point();
        skeleton[b].end = input.point();
    }
    return skeleton;
}

void requireRows(sinew::HeatWeights const& heat, std::size_t vertices)
{
    require(heat.weights.size() == vertices * heat.boneCount, "a weight for each vertex and bone");
    for (std::size_t v = 0; v < vertices; ++v) {
        double sum = 0;
        for (std::size_t b = 0; b < heat.boneCount; ++b) {
            double const weight = heat.weight(v, b);
            require(weight >= 0 && weight <= 1, "weights from 0 to 1");
            sum += weight;
        }
        require(std::fabs(sum - 1) < kRounding, "sums of 1");
    }
}

// The vertices in reverse, the triangles too, and their corners.
test::HeatScene reversed(test::HeatScene scene)
{
    int const last = static_cast<int>(scene.positions.size()) - 1;
    std::reverse(scene.positions.begin(), scene.positions.end());
    std::reverse(scene.triangles.begin(), scene.triangles.end());
    for (auto& corners : scene.triangles) corners = {last - corners[2], last - corners[1], last - corners[0]};
    return scene;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    Input input(data, size);
    test::HeatScene const scene = sceneOf(input);
    std::vector<sinew::BoneSegment> const skeleton = skeletonOf(input);
    auto const visibility = input.flag() ? sinew::BoneVisibility::ignored : sinew::BoneVisibility::respected;
    sinew::HeatWeights const heat = sinew::heatWeights(scene.mesh(), skeleton, visibility);
    if (!heat.succeeded()) {
        require(heat.weights.empty() && !heat.text().empty(), "a refusal says why");
        return 0;
    }
    std::size_t const vertices = scene.positions.size();
    require(heat.boneCount == skeleton.size(), "a weight for each bone");
    requireRows(heat, vertices);
    sinew::HeatWeights const other = sinew::heatWeights(reversed(scene).mesh(), skeleton, visibility);
    for (std::size_t v = 0; v < vertices; ++v) {
        for (std::size_t b = 0; b < skeleton.size(); ++b) {
            require(test::sameBits(heat.weight(v, b), other.weight(vertices - 1 - v, b)), "weights in any order");
        }
    }
    return 0;
}
