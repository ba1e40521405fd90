#include <sinew/skinning/heat_weights.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "skinning/heat_scene.h"
#include "skinning/reference_heat_weights.h"
#include "support/bits.h"
#include "support/progress.h"
#include "support/random.h"

using sinew::BoneSegment;
using sinew::BoneVisibility;
using sinew::HeatFault;
using sinew::HeatMesh;
using sinew::HeatWeights;
using sinew::heatWeights;
using sinew::packed;
using test::HeatScene;
using test::kTwoBones;
using test::Random;
using test::sameBits;
using test::tube;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

void expectValid(HeatWeights const& heat, std::size_t vertices, std::size_t bones)
{
    EXPECT_TRUE(heat.succeeded()) << heat.text();
    ASSERT_EQ(heat.boneCount, bones);
    ASSERT_EQ(heat.weights.size(), vertices * bones);
    for (std::size_t v = 0; v < vertices; ++v) {
        double sum = 0;
        for (std::size_t b = 0; b < bones; ++b) {
            ASSERT_GE(heat.weight(v, b), 0) << v;
            ASSERT_LE(heat.weight(v, b), 1) << v;
            sum += heat.weight(v, b);
        }
        ASSERT_NEAR(sum, 1, 1e-15 * static_cast<double>(bones + 2)) << v;
    }
}

void expectNothing(HeatWeights const& heat)
{
    EXPECT_FALSE(heat.succeeded());
    EXPECT_TRUE(heat.weights.empty());
    EXPECT_EQ(heat.boneCount, 0u);
    EXPECT_EQ(heat.unknowns, 0u);
}

std::vector<double> row(HeatWeights const& heat, std::size_t v)
{
    auto const first = heat.weights.begin() + static_cast<std::ptrdiff_t>(v * heat.boneCount);
    return {first, first + static_cast<std::ptrdiff_t>(heat.boneCount)};
}

HeatScene moved(HeatScene scene, Vector3 const& by)
{
    for (Vector3& p : scene.positions) p += by;
    return scene;
}

HeatScene scaled(HeatScene scene, double factor)
{
    for (Vector3& p : scene.positions) p *= factor;
    return scene;
}

std::vector<BoneSegment> scaled(std::vector<BoneSegment> skeleton, double factor)
{
    for (BoneSegment& bone : skeleton) bone = {bone.start * factor, bone.end * factor};
    return skeleton;
}

// A soup of triangles around the bones, some of them degenerate, some vertices at equal positions or on a bone.
HeatScene randomScene(Random& random)
{
    HeatScene scene;
    int const vertices = 4 + random.below(40);
    scene.positions = random.points(vertices, -1, 5);
    for (Vector3& p : scene.positions) {
        if (random.oneIn(8)) p = scene.positions[static_cast<std::size_t>(random.below(vertices))];
        if (random.oneIn(12)) p = {p.x, 0, 0};
        if (random.oneIn(3)) p = {std::floor(p.x), std::floor(p.y), std::floor(p.z)};
    }
    int const triangles = random.below(60);
    for (int t = 0; t < triangles; ++t) {
        int const a = random.below(vertices), b = random.below(vertices);
        scene.triangles.push_back({a, b, random.below(vertices)});
    }
    return scene;
}

std::vector<BoneSegment> randomSkeleton(Random& random)
{
    std::vector<BoneSegment> skeleton(static_cast<std::size_t>(1 + random.below(11)));
    Vector3 joint = random.point(0, 4);
    for (BoneSegment& bone : skeleton) {
        bone.start = joint;
        bone.end = random.oneIn(5) ? joint : random.point(0, 4);
        if (!random.oneIn(3)) joint = bone.end;
    }
    return skeleton;
}

std::string digest(HeatWeights const& heat)
{
    std::string result(reinterpret_cast<char const*>(heat.weights.data()), heat.weights.size() * sizeof(double));
    for (std::size_t const count :
         {heat.boneCount, heat.joined, heat.isolated, heat.pieces, heat.raisedEdges, heat.shaded, heat.sightless,
          heat.shadedPieces, heat.unknowns, heat.matrixEntries, heat.factorEntries}) {
        result += std::to_string(count) + ' ';
    }
    return result + heat.text();
}

} // namespace

TEST(HeatWeights, FallAlongATubeAndAreOneHalfAtTheJoint)
{
    HeatScene const scene = tube(4, 0.4, 41, 12);
    HeatWeights const heat = heatWeights(scene.mesh(), kTwoBones);
    expectValid(heat, scene.positions.size(), 2);
    for (std::size_t i = 0; i + 1 < 41; ++i) EXPECT_GT(heat.weight(12 * i, 0), heat.weight(12 * (i + 1), 0)) << i;
    EXPECT_NEAR(heat.weight(12 * 20, 0), 0.5, 1e-9);
    EXPECT_GT(heat.weight(0, 0), 0.95);
    EXPECT_EQ(heat.pieces, 1u);
    EXPECT_EQ(heat.shaded + heat.sightless + heat.isolated + heat.joined, 0u);
    EXPECT_LT(heat.largestCorrection, 1e-12);
    EXPECT_EQ(heat.unknowns, scene.positions.size());
    EXPECT_GE(heat.factorEntries, heat.matrixEntries);
}

TEST(HeatWeights, AgreeWithTheOneDimensionalSolution)
{
    // Far from the ends of a tube the weights obey w'' = w / r^2 on both sides of the joint. The solution is exp(-|x| /
    // r) / 2.
    HeatScene const scene = tube(4, 0.3, 401, 24);
    HeatWeights const heat = heatWeights(scene.mesh(), kTwoBones);
    for (std::size_t i = 200; i <= 300; i += 20) {
        double const x = static_cast<double>(i - 200) * 0.01;
        EXPECT_NEAR(heat.weight(24 * i, 0), 0.5 * std::exp(-x / 0.3), 0.006) << x; // the error of a coarse mesh
    }
}

TEST(HeatWeights, AgreeWithThePlainMethodOnRandomTriangles)
{
    Random random(71);
    std::size_t shaded = 0, sightless = 0, shadedPieces = 0, raised = 0;
    for (int trial = 0; trial < 400; ++trial) {
        SCOPED_TRACE(trial);
        HeatScene const scene = randomScene(random);
        std::vector<BoneSegment> const skeleton = randomSkeleton(random);
        HeatWeights const heat = heatWeights(scene.mesh(), skeleton);
        reference::Heat const expected = reference::heatWeights(scene, skeleton);
        expectValid(heat, scene.positions.size(), skeleton.size());
        for (std::size_t v = 0; v < scene.positions.size(); ++v) {
            for (std::size_t b = 0; b < skeleton.size(); ++b) {
                // Both methods lose digits where the heat is 2^-34 of the conductances.
                ASSERT_NEAR(heat.weight(v, b), expected.weights[v][b], 1e-5) << v << " " << b;
            }
        }
        ASSERT_EQ(heat.joined, expected.joined);
        ASSERT_EQ(heat.isolated, expected.isolated);
        ASSERT_EQ(heat.pieces, expected.pieces);
        ASSERT_EQ(heat.raisedEdges, expected.raisedEdges);
        ASSERT_EQ(heat.shaded, expected.shaded);
        ASSERT_EQ(heat.sightless, expected.sightless);
        ASSERT_EQ(heat.shadedPieces, expected.shadedPieces);
        shaded += heat.shaded;
        sightless += heat.sightless;
        shadedPieces += heat.shadedPieces;
        raised += heat.raisedEdges;
    }
    for (std::size_t const count : {shaded, sightless, shadedPieces, raised}) EXPECT_GT(count, 100u);
}

TEST(HeatWeights, AgreeWithThePlainMethodOnATube)
{
    HeatScene scene = tube(4, 0.4, 13, 7);
    scene.add(tube(4, 0.1, 9, 5, {0, 0.6, 0}));
    std::vector<BoneSegment> skeleton = kTwoBones;
    skeleton.push_back({{0, 0.6, 0}, {4, 0.6, 0}});
    HeatWeights const heat = heatWeights(scene.mesh(), skeleton);
    reference::Heat const expected = reference::heatWeights(scene, skeleton);
    for (std::size_t v = 0; v < scene.positions.size(); ++v) {
        for (std::size_t b = 0; b < 3; ++b) EXPECT_NEAR(heat.weight(v, b), expected.weights[v][b], 1e-12);
    }
    EXPECT_EQ(heat.shaded, expected.shaded);
    EXPECT_GT(heat.shaded, 0u);
}

TEST(HeatWeights, OfAHiddenBoneDoNotLeak)
{
    // A thick finger beside a thin one, 0.05 apart. The side of the thick finger is nearer to the bone of the thin one.
    HeatScene scene = tube(4, 0.4, 41, 24);
    std::size_t const thick = scene.positions.size();
    scene.add(tube(4, 0.1, 41, 24, {0, 0.55, 0}));
    std::vector<BoneSegment> const skeleton = {{{0, 0, 0}, {4, 0, 0}}, {{0, 0.55, 0}, {4, 0.55, 0}}};

    HeatWeights const heat = heatWeights(scene.mesh(), skeleton);
    expectValid(heat, scene.positions.size(), 2);
    EXPECT_GT(heat.shaded, 41u);
    EXPECT_EQ(heat.sightless, 0u);
    for (std::size_t v = 0; v < thick; ++v) EXPECT_LT(heat.weight(v, 1), 1e-8) << v;
    for (std::size_t v = thick; v < scene.positions.size(); ++v) EXPECT_LT(heat.weight(v, 0), 1e-8) << v;

    HeatWeights const leaking = heatWeights(scene.mesh(), skeleton, BoneVisibility::ignored);
    expectValid(leaking, scene.positions.size(), 2);
    EXPECT_EQ(leaking.shaded, 0u);
    double most = 0;
    for (std::size_t v = 0; v < thick; ++v) most = std::max(most, leaking.weight(v, 1));
    EXPECT_GT(most, 0.5) << "without visibility the bone of the thin finger takes a part of the thick one";
}

TEST(HeatWeights, OfAnOpenTubeAreThoseOfTheClosedOne)
{
    HeatScene const closed = tube(4, 0.3, 81, 16);
    HeatScene open = tube(4, 0.3, 81, 16, {}, false);
    // A window, and a gap that divides the tube.
    auto const isWindow = [](std::array<int, 3> const& t) {
        return (t[0] / 16 >= 24 && t[0] / 16 < 28 && t[0] % 16 < 4) || (t[0] / 16 >= 60 && t[0] / 16 < 63);
    };
    open.triangles.erase(std::remove_if(open.triangles.begin(), open.triangles.end(), isWindow), open.triangles.end());
    HeatWeights const expected = heatWeights(closed.mesh(), kTwoBones);
    HeatWeights const heat = heatWeights(open.mesh(), kTwoBones);
    expectValid(heat, open.positions.size(), 2);
    EXPECT_EQ(heat.shaded + heat.sightless, 0u);
    EXPECT_EQ(heat.pieces, 2u) << "the parts on both sides of the gap";
    for (std::size_t v = 0; v < open.positions.size(); ++v) {
        EXPECT_NEAR(heat.weight(v, 0), expected.weight(v, 0), 0.06) << v;
    }
}

TEST(HeatWeights, OfASleeveWithTwoWallsAreEqualInsideAndOutside)
{
    // The walls are joined by rings of triangles at both ends. No vertex of the outer wall sees a bone.
    HeatScene sleeve = tube(4, 0.3, 41, 16, {}, false);
    sleeve.add(tube(4, 0.33, 41, 16, {}, false));
    int const outer = 41 * 16;
    for (int const ring : {0, 40 * 16}) {
        for (int j = 0; j < 16; ++j) {
            int const a = ring + j, b = ring + (j + 1) % 16;
            sleeve.triangles.push_back({a, b, outer + b});
            sleeve.triangles.push_back({a, outer + b, outer + a});
        }
    }
    HeatWeights const heat = heatWeights(sleeve.mesh(), kTwoBones);
    expectValid(heat, sleeve.positions.size(), 2);
    EXPECT_EQ(heat.pieces, 1u);
    EXPECT_EQ(heat.sightless + heat.shaded, static_cast<std::size_t>(outer));
    EXPECT_GT(heat.sightless, 16u * 35u);
    for (std::size_t v = 0; v < static_cast<std::size_t>(outer); ++v) {
        EXPECT_NEAR(heat.weight(v, 0), heat.weight(v + static_cast<std::size_t>(outer), 0), 0.03) << v;
    }
}

TEST(HeatWeights, OfALooseButtonAreThoseOfItsNearestBone)
{
    HeatScene scene = tube(4, 0.4, 21, 8);
    std::size_t const body = scene.positions.size();
    scene.add(tube(0.2, 0.05, 3, 5, {3.4, 0.6, 0}));
    HeatWeights const heat = heatWeights(scene.mesh(), kTwoBones);
    expectValid(heat, scene.positions.size(), 2);
    EXPECT_EQ(heat.pieces, 2u);
    EXPECT_EQ(heat.sightless, scene.positions.size() - body);
    for (std::size_t v = body; v < scene.positions.size(); ++v) EXPECT_NEAR(heat.weight(v, 1), 1, 1e-9);
}

TEST(HeatWeights, OfAPieceThatIsShadedAsAWholeAreThoseOfItsNearestBones)
{
    // A wall between a small patch and its nearest bone; the other bone is far away on the side of the patch.
    HeatScene scene;
    scene.positions = {{0, 0, 0}, {0.1, 0, 0}, {0, 0.1, 0}, {-9, -9, -1}, {9, -9, -1}, {0, 9, -1}, {0, 0, 0.5}};
    scene.triangles = {{0, 1, 2}, {3, 4, 5}};
    std::vector<BoneSegment> const skeleton = {{{0, 0, 5}, {1, 0, 5}}, {{0, 0, -2}, {0, 0.1, -2}}};
    HeatWeights const heat = heatWeights(scene.mesh(), skeleton);
    expectValid(heat, scene.positions.size(), 2);
    EXPECT_EQ(heat.shaded, 4u);
    EXPECT_EQ(heat.shadedPieces, 2u) << "the patch and the single vertex";
    for (std::size_t v : {0, 1, 2, 6}) EXPECT_NEAR(heat.weight(v, 1), 1, 1e-9) << v;
}

TEST(HeatWeights, OfShadedVerticesAreThoseOfTheirNeighbours)
{
    // A row of triangles, whose last vertices lie below a roof.
    HeatScene scene;
    for (int i = 0; i < 12; ++i) scene.positions.emplace_back(0.5 * i, i % 2, 0);
    for (int i = 0; i + 2 < 12; ++i) scene.triangles.push_back({i, i + 1, i + 2});
    std::vector<BoneSegment> const skeleton = {{{0, 0.5, -3}, {3, 0.5, -3}}, {{4, 0.5, 2}, {6, 0.5, 2}}};
    HeatWeights const open = heatWeights(scene.mesh(), skeleton);
    EXPECT_EQ(open.shaded, 0u);
    EXPECT_GT(open.weight(11, 1), 0.5);
    int const roof = static_cast<int>(scene.positions.size());
    scene.positions.insert(scene.positions.end(), {{-9, -20, 1}, {20, -20, 1}, {4, 40, 1}});
    scene.triangles.push_back({roof, roof + 1, roof + 2});
    HeatWeights const heat = heatWeights(scene.mesh(), skeleton);
    expectValid(heat, scene.positions.size(), 2);
    EXPECT_GT(heat.shaded, 3u);
    for (std::size_t v = 0; v < 12; ++v) EXPECT_LT(heat.weight(v, 1), 1e-7) << v;
}

TEST(HeatWeights, SeeABoneThatLiesOnTheSurface)
{
    // The end of the bone lies on the far cap, whose middle is a vertex: the corners of five triangles.
    HeatScene const scene = tube(4, 0.4, 11, 5);
    HeatWeights const heat = heatWeights(scene.mesh(), {{{0, 0, 0}, {4, 0, 0}}});
    EXPECT_EQ(heat.shaded + heat.sightless, 0u);
    for (std::size_t v = 0; v < scene.positions.size(); ++v) EXPECT_EQ(heat.weight(v, 0), 1);
}

TEST(HeatWeights, OfEqualBonesAreEqual)
{
    HeatScene const scene = tube(4, 0.4, 11, 5);
    std::vector<BoneSegment> const skeleton = {kTwoBones[0], kTwoBones[1], kTwoBones[0]};
    HeatWeights const heat = heatWeights(scene.mesh(), skeleton);
    expectValid(heat, scene.positions.size(), 3);
    for (std::size_t v = 0; v < scene.positions.size(); ++v) {
        EXPECT_TRUE(sameBits(heat.weight(v, 0), heat.weight(v, 2)));
    }
    EXPECT_NEAR(heat.weight(0, 0), 0.5, 0.02);
}

TEST(HeatWeights, OfABoneWithoutLengthAreThoseOfAPoint)
{
    HeatScene const scene = tube(4, 0.4, 11, 5);
    HeatWeights const heat = heatWeights(scene.mesh(), {{{0, 0, 0}, {0, 0, 0}}, {{4, 0, 0}, {4, 0, 0}}});
    expectValid(heat, scene.positions.size(), 2);
    EXPECT_GT(heat.weight(0, 0), 0.9);
    EXPECT_NEAR(heat.weight(5 * 5, 0), 0.5, 1e-9);
}

TEST(HeatWeights, HaveEqualBitsWhereASeamSplitsVertices)
{
    HeatScene const whole = tube(4, 0.4, 21, 8);
    HeatScene split; // every triangle has separate corners
    for (auto const& t : whole.triangles) {
        int const first = static_cast<int>(split.positions.size());
        for (int const v : t) split.positions.push_back(whole.positions[static_cast<std::size_t>(v)]);
        split.triangles.push_back({first, first + 1, first + 2});
    }
    HeatWeights const heat = heatWeights(whole.mesh(), kTwoBones);
    HeatWeights const splitHeat = heatWeights(split.mesh(), kTwoBones);
    EXPECT_EQ(splitHeat.pieces, 1u);
    EXPECT_EQ(splitHeat.joined, split.positions.size() - whole.positions.size());
    for (std::size_t t = 0; t < whole.triangles.size(); ++t) {
        for (std::size_t k = 0; k < 3; ++k) {
            EXPECT_EQ(row(splitHeat, 3 * t + k), row(heat, static_cast<std::size_t>(whole.triangles[t][k])));
        }
    }
}

TEST(HeatWeights, JoinZeroesOfBothSigns)
{
    HeatScene scene;
    scene.positions = {{0.0, 0, 1}, {1, 0, 1}, {0, 1, 1}, {-0.0, 0, 1}, {1, -1, 1}};
    scene.triangles = {{0, 1, 2}, {3, 4, 1}};
    HeatWeights const heat = heatWeights(scene.mesh(), kTwoBones);
    EXPECT_EQ(heat.joined, 1u);
    EXPECT_EQ(row(heat, 0), row(heat, 3));
}

TEST(HeatWeights, DoNotDependOnTheOrderOfVerticesTrianglesAndCorners)
{
    Random random(5);
    for (int trial = 0; trial < 60; ++trial) {
        HeatScene const scene = randomScene(random);
        std::vector<BoneSegment> const skeleton = randomSkeleton(random);
        HeatWeights const expected = heatWeights(scene.mesh(), skeleton);
        std::vector<int> order(scene.positions.size());
        std::iota(order.begin(), order.end(), 0);
        auto const shuffle = [&](auto& list) {
            for (std::size_t i = list.size(); i > 1; --i) {
                std::swap(list[i - 1], list[static_cast<std::size_t>(random.below(static_cast<int>(i)))]);
            }
        };
        shuffle(order);
        HeatScene other = scene;
        for (std::size_t v = 0; v < order.size(); ++v) {
            other.positions[static_cast<std::size_t>(order[v])] = scene.positions[v];
        }
        for (auto& t : other.triangles) {
            for (int& corner : t) corner = order[static_cast<std::size_t>(corner)];
            shuffle(t);
        }
        shuffle(other.triangles);
        HeatWeights const heat = heatWeights(other.mesh(), skeleton);
        for (std::size_t v = 0; v < order.size(); ++v) {
            ASSERT_TRUE(sameBits(row(heat, static_cast<std::size_t>(order[v])), row(expected, v))) << trial;
        }
    }
}

TEST(HeatWeights, FollowTheirBonesIfTheseAreExchanged)
{
    HeatScene const scene = tube(4, 0.4, 11, 5);
    std::vector<BoneSegment> const skeleton = {kTwoBones[1], kTwoBones[0]};
    HeatWeights const heat = heatWeights(scene.mesh(), kTwoBones);
    HeatWeights const exchanged = heatWeights(scene.mesh(), skeleton);
    for (std::size_t v = 0; v < scene.positions.size(); ++v) {
        EXPECT_NEAR(exchanged.weight(v, 0), heat.weight(v, 1), 1e-15);
    }
}

TEST(HeatWeights, KeepTheirBitsAtAnyScale)
{
    HeatScene scene = tube(4, 0.4, 11, 5);
    scene.add(tube(2, 0.1, 5, 4, {0, 0.55, 0}));
    HeatWeights const expected = heatWeights(scene.mesh(), kTwoBones);
    for (double const factor : {0x1p-900, 0x1p-30, 0.5, 2.0, 0x1p40, 0x1p1020}) {
        HeatWeights const heat = heatWeights(scaled(scene, factor).mesh(), scaled(kTwoBones, factor));
        EXPECT_TRUE(sameBits(heat.weights, expected.weights)) << factor;
        EXPECT_EQ(heat.shaded, expected.shaded);
    }
}

TEST(HeatWeights, ExistForCoordinatesOfEverySize)
{
    HeatScene const scene = tube(4, 0.4, 11, 5);
    for (double const factor : {1e-320, 1e-300, 1e-150, 1e-10, 1e10, 1e90, 1e150, 1e300, 4e307}) {
        SCOPED_TRACE(factor);
        HeatWeights const heat = heatWeights(scaled(scene, factor).mesh(), scaled(kTwoBones, factor));
        expectValid(heat, scene.positions.size(), 2);
        EXPECT_GT(heat.weight(0, 0), 0.9);
        EXPECT_GT(heat.weight(50, 1), 0.9);
    }
    // One part is so small that its areas are 0 beside the other.
    HeatScene both = scaled(scene, 1e160);
    both.add(scene);
    HeatWeights const heat = heatWeights(both.mesh(), kTwoBones);
    expectValid(heat, both.positions.size(), 2);
    EXPECT_EQ(heat.pieces, 1u);
    // All coordinates are zero.
    expectValid(heatWeights(scaled(scene, 0).mesh(), scaled(kTwoBones, 0)), scene.positions.size(), 2);
}

TEST(HeatWeights, ExistFarFromTheOrigin)
{
    HeatScene const scene = tube(4, 0.4, 11, 5);
    Vector3 const by(0x1p30, -0x1p30, 0x1p31);
    std::vector<BoneSegment> skeleton = kTwoBones;
    for (BoneSegment& bone : skeleton) bone = {bone.start + by, bone.end + by};
    HeatWeights const expected = heatWeights(scene.mesh(), kTwoBones);
    HeatWeights const heat = heatWeights(moved(scene, by).mesh(), skeleton);
    expectValid(heat, scene.positions.size(), 2);
    for (std::size_t v = 0; v < scene.positions.size(); ++v) {
        EXPECT_NEAR(heat.weight(v, 0), expected.weight(v, 0), 1e-5); // the positions are rounded to 2^-21
    }
}

TEST(HeatWeights, ExistForHostileCoordinates)
{
    Random random(17);
    int succeeded = 0;
    for (int trial = 0; trial < 400; ++trial) {
        HeatScene scene = randomScene(random);
        std::vector<BoneSegment> skeleton = randomSkeleton(random);
        for (Vector3& p : scene.positions) {
            if (random.oneIn(12)) p = random.hostilePoint();
            if (random.oneIn(12)) p = {random.spread(-1060, 1020), p.y, random.spread(-1060, 1020)};
        }
        for (BoneSegment& bone : skeleton) {
            if (random.oneIn(20)) bone.end = random.hostilePoint();
        }
        HeatWeights const heat = heatWeights(scene.mesh(), skeleton);
        if (!heat.succeeded()) {
            expectNothing(heat);
            continue;
        }
        expectValid(heat, scene.positions.size(), skeleton.size());
        ++succeeded;
    }
    EXPECT_GT(succeeded, 130);
}

TEST(HeatWeights, ExistForThinTriangles)
{
    // A fan whose triangles have angles from 2^-1 to 2^-60, with and without a roof that shades a part of it.
    HeatScene scene;
    scene.positions.emplace_back(0, 0, 0);
    for (int i = 0; i < 60; ++i) scene.positions.emplace_back(1, std::ldexp(1.0, -i), 0.1 * (i % 3));
    for (int i = 1; i < 60; ++i) scene.triangles.push_back({0, i, i + 1});
    for (double z : {0.5, -0.5}) {
        std::vector<BoneSegment> const skeleton = {{{0, 0, z}, {0.4, 0, z}}, {{0.4, 0, z}, {1, 0, 3 * z}}};
        expectValid(heatWeights(scene.mesh(), skeleton), scene.positions.size(), 2);
        HeatScene roofed = scene;
        int const roof = static_cast<int>(scene.positions.size());
        roofed.positions.insert(roofed.positions.end(), {{0.2, -9, 0.4}, {9, 9, 0.4}, {9, -9, 0.4}});
        roofed.triangles.push_back({roof, roof + 1, roof + 2});
        expectValid(heatWeights(roofed.mesh(), skeleton), roofed.positions.size(), 2);
    }
}

TEST(HeatWeights, OfVerticesWithoutTrianglesAreSharedByTheirNearestBones)
{
    HeatScene scene = tube(4, 0.4, 11, 6);
    scene.positions.push_back({3.5, 2, 0});
    scene.positions.push_back({0.5, 2, 0});
    scene.positions.push_back({2, 2, 0});  // equally near to both bones
    scene.triangles.push_back({0, 1, 1});  // without area
    scene.triangles.push_back({0, 0, 68}); // without area
    HeatWeights const heat = heatWeights(scene.mesh(), kTwoBones);
    expectValid(heat, scene.positions.size(), 2);
    EXPECT_EQ(heat.isolated, 3u);
    EXPECT_EQ(heat.pieces, 1u);
    std::size_t const n = scene.positions.size();
    EXPECT_EQ(row(heat, n - 3), (std::vector<double>{0, 1}));
    EXPECT_EQ(row(heat, n - 2), (std::vector<double>{1, 0}));
    EXPECT_EQ(row(heat, n - 1), (std::vector<double>{0.5, 0.5}));
}

TEST(HeatWeights, OfAMeshWithoutTrianglesAreThoseOfTheNearestBones)
{
    std::vector<double> const positions = {0.5, 1, 0, 3.5, 1, 0};
    HeatWeights const heat = heatWeights({packed(positions, 3), {}}, kTwoBones);
    EXPECT_EQ(heat.weights, (std::vector<double>{1, 0, 0, 1}));
    EXPECT_EQ(heat.isolated, 2u);
    EXPECT_EQ(heat.pieces, 0u);
}

TEST(HeatWeights, OfAMeshWithoutVerticesAreNone)
{
    HeatWeights const heat = heatWeights({}, kTwoBones);
    EXPECT_TRUE(heat.succeeded());
    EXPECT_TRUE(heat.weights.empty());
    EXPECT_EQ(heat.boneCount, 2u);
    EXPECT_TRUE(
        heatWeights({sinew::RealArray(packed(static_cast<double const*>(nullptr), 7, 3)), {}}, kTwoBones).succeeded())
        << "an array without data has no elements";
}

TEST(HeatWeights, OfFloatsAndShortIntegersHaveTheSameBits)
{
    struct Vertex
    {
        std::uint8_t colour;
        float position[3];
    };
    HeatScene scene = tube(4, 0.375, 11, 6);
    std::vector<Vertex> vertices;
    for (Vector3& p : scene.positions) {
        float const x = static_cast<float>(p.x), y = static_cast<float>(p.y), z = static_cast<float>(p.z);
        vertices.push_back({0, {x, y, z}});
        p = {double{x}, double{y}, double{z}};
    }
    std::vector<std::uint16_t> corners;
    for (auto const& t : scene.triangles) {
        for (int const v : t) corners.push_back(static_cast<std::uint16_t>(v));
    }
    HeatMesh const mesh = {sinew::Strided<float const>(vertices[0].position, vertices.size(), sizeof(Vertex)),
                           packed(corners, 3)};
    HeatWeights const heat = heatWeights(mesh, kTwoBones);
    EXPECT_TRUE(sameBits(heat.weights, heatWeights(scene.mesh(), kTwoBones).weights));
}

TEST(HeatWeights, AreRefusedWithoutBones)
{
    HeatScene const scene = tube(4, 0.4, 11, 6);
    HeatWeights const heat = heatWeights(scene.mesh(), {});
    expectNothing(heat);
    EXPECT_EQ(heat.text(), "The skeleton has no bones.\n");
    EXPECT_EQ(heat.findings[0].kind, HeatFault::noBones);
}

TEST(HeatWeights, AreRefusedForCornersThatAreNoVertices)
{
    HeatScene scene = tube(4, 0.4, 11, 6);
    scene.triangles[5][1] = -1;
    HeatWeights const heat = heatWeights(scene.mesh(), kTwoBones);
    expectNothing(heat);
    EXPECT_EQ(heat.text(), "Triangle 5 has the corner -1, which is no vertex.\n");
    EXPECT_EQ(heat.findings[0].indices, (std::vector<std::int64_t>{5, -1}));
    scene.triangles[7] = {68, 0, 3};
    scene.triangles[9] = {67, 68, 1 << 30};
    EXPECT_EQ(heatWeights(scene.mesh(), kTwoBones).text(),
              "Triangle 5 has the corner -1, which is no vertex; 3 others have the same fault.\n");
}

TEST(HeatWeights, AreRefusedForNumbersThatAreNotFinite)
{
    for (double const bad : {kNaN, kInfinity, -kInfinity}) {
        for (int k = 0; k < 3; ++k) {
            HeatScene scene = tube(4, 0.4, 11, 6);
            scene.positions[4][k] = bad;
            scene.positions.back()[0] = bad;
            std::vector<BoneSegment> skeleton = kTwoBones;
            skeleton[1].end[k] = bad;
            HeatWeights const heat = heatWeights(scene.mesh(), skeleton);
            expectNothing(heat);
            ASSERT_EQ(heat.findings.size(), 2u);
            EXPECT_EQ(heat.findings[0].kind, HeatFault::vertexNotFinite);
            EXPECT_EQ(heat.findings[0].indices, std::vector<std::int64_t>{4});
            EXPECT_TRUE(sameBits(heat.findings[0].value, bad));
            EXPECT_EQ(heat.findings[1].kind, HeatFault::boneNotFinite);
            EXPECT_EQ(heat.findings[1].indices, std::vector<std::int64_t>{1});
            skeleton = kTwoBones;
            skeleton[0].start[k] = bad;
            HeatWeights const other = heatWeights(tube(4, 0.4, 3, 3).mesh(), skeleton);
            ASSERT_EQ(other.findings.size(), 1u);
            EXPECT_EQ(other.findings[0].indices, std::vector<std::int64_t>{0});
            EXPECT_TRUE(sameBits(other.findings[0].value, bad));
        }
    }
    HeatScene scene = tube(4, 0.4, 11, 6);
    scene.positions[4].y = kInfinity;
    scene.positions[7].x = kNaN;
    EXPECT_EQ(heatWeights(scene.mesh(), kTwoBones).text(),
              "Vertex 4 has the coordinate inf, which is not finite; 1 other has the same fault.\n");
    std::vector<BoneSegment> skeleton = kTwoBones;
    skeleton[1].start.z = kNaN;
    EXPECT_EQ(heatWeights(tube(4, 0.4, 3, 3).mesh(), skeleton).text(),
              "Bone 1 has the coordinate NaN, which is not finite.\n");
}

TEST(HeatWeights, AreRefusedForMoreVerticesThanAnIntCounts)
{
    double const zero[3] = {0, 0, 0};
    int const corners[3] = {0, 0, 0};
    std::size_t const many = std::size_t{1} << 31;
    HeatWeights const heat = heatWeights({sinew::Strided<double const>(zero, many, 0), {}}, kTwoBones);
    expectNothing(heat);
    EXPECT_EQ(heat.text(), "There are 2147483648 vertices, 0 triangles and 2 bones, which is more than an int can "
                           "count.\n");
    HeatWeights const other =
        heatWeights({sinew::Strided<double const>(zero, 1, 0), sinew::Strided<int const>(corners, many, 0)}, kTwoBones);
    expectNothing(other);
    EXPECT_EQ(other.findings[0].kind, HeatFault::tooLarge);
    EXPECT_EQ(other.findings[0].indices, (std::vector<std::int64_t>{1, std::int64_t{1} << 31, 2}));
}

TEST(HeatWeights, KeepThePromisesOfProgress)
{
    HeatScene scene = tube(4, 0.4, 81, 12);
    scene.add(tube(4, 0.1, 41, 6, {0, 0.55, 0}));
    std::vector<BoneSegment> skeleton = kTwoBones;
    for (int i = 0; i < 20; ++i) skeleton.push_back({{0.2 * i, 0, 0}, {0.2 * i + 0.2, 0.55, 0}});
    struct State
    {
        HeatWeights heat;
    };
    for (BoneVisibility const visibility : {BoneVisibility::respected, BoneVisibility::ignored}) {
        test::checkProgress(
            [] { return State(); }, [&](State& s) { s.heat = heatWeights(scene.mesh(), skeleton, visibility); },
            [&](State& s, sinew::Progress const& progress) {
                std::optional<HeatWeights> heat = heatWeights(scene.mesh(), skeleton, visibility, progress);
                if (heat) s.heat = std::move(*heat);
                return heat.has_value();
            },
            [](State& s) { return digest(s.heat); }, 12);
    }
}

TEST(HeatWeights, ThatAreRefusedTellTheirProgressToo)
{
    test::Host host;
    std::optional<HeatWeights> const heat = heatWeights({}, {}, BoneVisibility::respected, sinew::Progress(host));
    ASSERT_TRUE(heat.has_value());
    expectNothing(*heat);
    EXPECT_EQ(host.fractions, std::vector<double>{1.0});
}

// The apex of a needle belongs to a triangle with area, but no edge at it conducts. A bone as near as can be must not
// give it a heat that overflows.
TEST(HeatWeights, OfANeedleWithABoneAtItsApexAreFinite)
{
    HeatScene scene;
    scene.positions = {{-0x1p-23, 0, 0}, {0x1p-23, 0, 0}, {0, 2, 0}, {1, 0, 0}, {1, 1, 0}, {2, 1, 0}};
    scene.triangles = {{0, 1, 2}, {3, 4, 5}};
    for (double const offset : {1e-100, 1e-160, 1e-300, 0.0}) {
        SCOPED_TRACE(offset);
        std::vector<BoneSegment> const skeleton = {{{offset, 2, 0}, {offset, 2, 0}}, {{1, 0, 1}, {1, 0, 1}}};
        HeatWeights const heat = heatWeights(scene.mesh(), skeleton);
        expectValid(heat, 6, 2);
        EXPECT_EQ(heat.isolated, 1u);
        EXPECT_EQ(heat.weight(2, 0), 1);
        EXPECT_NEAR(heat.weight(3, 0), 0.121, 2e-3);
        EXPECT_NEAR(heat.weight(4, 0), 0.161, 2e-3);
        EXPECT_NEAR(heat.weight(5, 0), 0.145, 2e-3);
    }
}

// The errors of the pivot of a vertex grow with the number of its neighbours, and so does its least heat.
TEST(HeatWeights, OfAVertexWithManyNeighboursKeepTheirDigits)
{
    constexpr int kNeighbours = 50000;
    HeatScene scene;
    scene.positions = {{0, 0, -1}, {0, 0, 1}};
    for (int i = 0; i < kNeighbours; ++i) {
        double const t = static_cast<double>(i) / kNeighbours, s = 1 + t * t; // points of a circle without sines
        scene.positions.push_back({1.1 * (1 - t * t) / s, 2.2 * t / s, 0});
        scene.triangles.push_back({0, 1, i + 2});
    }
    HeatWeights const heat = heatWeights(
        scene.mesh(), {{{1e9, 0, 1e9}, {1e9, 0, 1e9}}, {{1e9, 0, -1e9}, {1e9, 0, -1e9}}}, BoneVisibility::ignored);
    expectValid(heat, scene.positions.size(), 2);
    EXPECT_LT(heat.largestCorrection, 0.01);
    EXPECT_NEAR(heat.weight(2, 0), 0.5, 1e-3);
}

// All bones are nearest; they are solved in groups.
TEST(HeatWeights, OfBonesInSeveralGroupsAreEqual)
{
    HeatScene const scene = tube(2, 0.4, 5, 6);
    for (std::size_t const bones : {1u, 8u, 9u, 35u}) {
        std::vector<BoneSegment> const skeleton(bones, kTwoBones[0]);
        HeatWeights const heat = heatWeights(scene.mesh(), skeleton);
        expectValid(heat, scene.positions.size(), bones);
        for (double const weight : heat.weights) ASSERT_NEAR(weight * static_cast<double>(bones), 1, 1e-13);
    }
}
