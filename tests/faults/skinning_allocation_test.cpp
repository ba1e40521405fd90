// The module skinning with every allocation failing in turn.

#include <limits>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <sinew/skinning/bone_transform_vector.h>
#include <sinew/skinning/heat_weights.h>
#include <sinew/skinning/skin.h>
#include <sinew/skinning/substitute_geometry_data.h>
#include <sinew/skinning/weights.h>

#include "faults/digest.h"
#include "faults/sweep.h"
#include "skinning/heat_scene.h"
#include "skinning/skinning_scene.h"
#include "support/random.h"

using faults::Digest;
using faults::Guarantee;
using faults::sweep;
using test::Random;

namespace {

constexpr int kVertices = 40;
constexpr int kBones = 4;

std::string digestOf(GeometryData const& g)
{
    return Digest(g.positions);
}
std::string digestOf(SurfaceGeometryData const& s)
{
    Digest digest(s.positions, s.indices);
    for (UVector3 const& n : s.normals) digest.add(static_cast<Vector3 const&>(n));
    return digest;
}
std::string digestOf(BoneTransformVector const& figure)
{
    Digest digest;
    for (BoneTransform const& bone : figure.bones) {
        digest.add(bone.linear);
        digest.add(bone.translation);
    }
    return digest;
}
std::string digestOf(BoneWeightTable const& table)
{
    return Digest(table.influences);
}

std::string digestOf(sinew::HeatWeights const& heat)
{
    return Digest(heat, heat.boneCount, heat.weights, heat.joined, heat.pieces, heat.shaded, heat.sightless);
}

// A finger beside a thinner one.
test::HeatScene fingers()
{
    test::HeatScene scene = test::tube(4, 0.4, 7, 5);
    scene.add(test::tube(4, 0.1, 5, 4, {0, 0.55, 0}));
    return scene;
}

// A display object, the bones, and what calls return.
struct Scene
{
    smart_ptr<DisplayData> display;
    smart_ptr<CurveDisplayData> curve{new CurveDisplayData};
    smart_ptr<BoneTransformVector> figure;
    smart_ptr<SurfaceGeometryData> result;
    std::optional<SubstituteGeometryData> guard;
    Vector3 position;
    UVector3 normal;

    Scene()
    {
        Random random(7);
        display = test::randomDisplay(random, kVertices, kBones);
        figure = test::randomBones(random, kBones);
        curve->geometry = smart_ptr<GeometryData>(new GeometryData);
        // Influences that name no bone are left out, which takes a copy of their list.
        for (auto& list : display->boneWeights->influences) {
            if (random.oneIn(4)) list.emplace_back(random.oneIn(2) ? -1 : kBones, 0.5);
        }
        display->boneWeights->influences[0] = {{0, 0.5}, {kBones, 0.25}, {1, 0.25}};
    }
};

std::string digestOf(Scene const& s)
{
    return digestOf(*s.display->surface) + (s.result ? digestOf(*s.result) : std::string("none")) +
           std::string(Digest(s.display->placement, s.position, static_cast<Vector3 const&>(s.normal),
                              s.display->surface->referenceCount, s.display->referenceCount, s.figure->referenceCount,
                              s.curve->referenceCount, s.guard.has_value()));
}

template <typename Act>
void sweepScene(Act const& act, double scale = 1.0)
{
    auto const make = [scale] {
        auto scene = std::make_unique<Scene>();
        scene->display->placement.scale = scale;
        return scene;
    };
    sweep(Guarantee::strong, make, act, [](Scene& s) { return digestOf(s); });
}

} // namespace

TEST(SkinningAllocation, Copies)
{
    auto const surface = [](int vertices) {
        return [vertices] {
            Random random(8);
            return SurfaceGeometryData(*test::randomSurface(random, vertices));
        };
    };
    auto const digest = [](auto const& x) { return digestOf(x); };
    faults::sweepCopies<SurfaceGeometryData>(surface(3), surface(20), digest);
    faults::sweepCopies<GeometryData>(surface(3), surface(20), digest);
    auto const table = [](int vertices) {
        return [vertices] {
            Random random(9);
            return BoneWeightTable(*test::randomWeights(random, vertices, 3, 4));
        };
    };
    faults::sweepCopies<BoneWeightTable>(table(4), table(20), digest);
    auto const figure = [](int bones) {
        return [bones] {
            Random random(10);
            return BoneTransformVector(*test::randomBones(random, bones));
        };
    };
    faults::sweepCopies<BoneTransformVector>(figure(1), figure(5), digest);
}

TEST(SkinningAllocation, DeformingASurface)
{
    sweepScene([](Scene& s) { s.result = BoneTransformModifyer(s.figure)(s.display); });
    sweepScene([](Scene& s) { s.result = BoneTransformModifyer(smart_ptr<BoneTransformVector>())(s.display); });
}

TEST(SkinningAllocation, DeformingAVertex)
{
    // Vertex 0 has an influence that names no bone. Other vertices allocate nothing.
    sweepScene([](Scene& s) {
        s.position = s.figure->getTransformed(0, s.display, s.display->surface->normals[0], s.normal);
    });
    Scene s;
    for (auto& list : s.display->boneWeights->influences) list = {{0, 0.5}, {3, 0.5}};
    faults::expectNoAllocation([&] {
        s.position = s.figure->getTransformed(0, s.display, s.display->surface->normals[0], s.normal);
        s.position = s.figure->getTransformed(1, s.display);
    });
}

TEST(SkinningAllocation, RawArrays)
{
    struct State
    {
        std::vector<Vector3> rest;
        std::vector<Vector3> posed = std::vector<Vector3>(kVertices);
        std::vector<int> bones = std::vector<int>(kVertices, 1);
        std::vector<double> weights = std::vector<double>(kVertices, 0.5);
        smart_ptr<BoneTransformVector> figure;
        sinew::SkinInput input;
    };
    auto const make = [] {
        auto state = std::make_unique<State>();
        Random random(3);
        state->figure = test::randomBones(random, kBones);
        state->rest = random.points(kVertices);
        state->input.positions = sinew::coordinatesOf(std::as_const(state->rest).data(), kVertices);
        state->input.influences = {1, sinew::Strided<int const>(state->bones.data(), kVertices, sizeof(int)),
                                   sinew::Strided<double const>(state->weights.data(), kVertices, sizeof(double))};
        state->input.bones = state->figure->bones.data();
        state->input.boneCount = kBones;
        return state;
    };
    for (auto const method : {sinew::SkinMethod::linear, sinew::SkinMethod::dualQuaternion}) {
        sweep(
            Guarantee::strong, make,
            [method](State& s) {
                s.input.method = method;
                sinew::skin(s.input, {sinew::coordinatesOf(s.posed.data(), kVertices), {}});
            },
            [](State& s) { return std::string(Digest(s.posed)); });
    }
}

TEST(SkinningAllocation, Guards)
{
    sweepScene([](Scene& s) { s.guard.emplace(s.display, s.figure); });
    sweepScene([](Scene& s) { s.guard.emplace(s.display, s.figure); }, -1.0);
    sweepScene([](Scene& s) { s.guard.emplace(s.display); }, -1.0);
    Scene s;
    faults::expectNoAllocation([&] {
        SubstituteGeometryData const guard(s.curve, s.figure);
        s.display->placement.scale = 1;
        SubstituteGeometryData const none(s.display);
    });
    // The destructor restores whatever fails.
    std::string const before = digestOf(*s.display->surface);
    s.guard.emplace(s.display, s.figure);
    faults::expectNoAllocation([&] { s.guard.reset(); });
    EXPECT_EQ(digestOf(*s.display->surface), before);
}

TEST(SkinningAllocation, Weights)
{
    struct State
    {
        BoneWeightTable table;
        sinew::WeightDiagnosis diagnosis;
    };
    auto const make = [] {
        auto state = std::make_unique<State>();
        state->table.influences = {{{0, 0.5}, {9, 0.25}}, {}, {{0, -1.0}, {1, 1e300}}};
        return state;
    };
    sweep(
        Guarantee::strong, make, [](State& s) { s.diagnosis = sinew::diagnose(s.table, 5, 2); },
        [](State& s) { return std::string(Digest(s.table.influences, s.diagnosis)); });
    State s;
    s.table.influences = {{{0, 0.5}, {1, 0.25}}};
    faults::expectNoAllocation([&] { sinew::normalizeWeights(s.table); });
}

TEST(SkinningAllocation, HeatWeights)
{
    test::HeatScene const scene = fingers();
    std::vector<sinew::BoneSegment> skeleton = test::kTwoBones;
    skeleton.push_back({{0, 0.55, 0}, {4, 0.55, 0}});
    auto const digest = [](sinew::HeatWeights const& heat) { return digestOf(heat); };
    faults::sweepResult([&] { return sinew::heatWeights(scene.mesh(), skeleton); }, digest);
    auto const goOn = [](double) { return true; };
    auto const withProgress = [&] {
        using sinew::BoneVisibility;
        return *sinew::heatWeights(scene.mesh(), skeleton, BoneVisibility::respected, sinew::Progress(goOn, 0.0));
    };
    faults::sweepResult(withProgress, digest);
    skeleton[1].end.x = std::numeric_limits<double>::infinity();
    faults::sweepResult([&] { return sinew::heatWeights(scene.mesh(), skeleton); }, digest);
}

TEST(SkinningAllocation, CopiesOfHeatWeights)
{
    auto const weights = [](double length) {
        return [length] { return sinew::heatWeights(fingers().mesh(), {{{0, 0, 0}, {length, 0, 0}}}); };
    };
    faults::sweepCopies<sinew::HeatWeights>(weights(std::numeric_limits<double>::infinity()), weights(4),
                                            [](sinew::HeatWeights const& heat) { return digestOf(heat); });
}
