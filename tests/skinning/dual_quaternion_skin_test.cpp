// What skinning by dual quaternions promises, beside the linear method.

#include <sinew/skinning/skin.h>

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <sinew/core/vector_geometry.h>

#include "skinning/skinning_scene.h"
#include "support/bits.h"
#include "support/failing_new.h"

using sinew::coordinatesOf;
using sinew::SkinInput;
using sinew::SkinMethod;
using test::Random;
using test::sameBits;

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

using Influences = std::vector<std::pair<int, double>>;

struct Skinned
{
    Vector3 position;
    Vector3 normal;
};

// One vertex under `bones`.
Skinned skinOne(std::vector<BoneTransform> const& bones, Influences const& list, Vector3 const& p,
                Vector3 const& normal = {0, 0, 1}, SkinMethod method = SkinMethod::dualQuaternion)
{
    std::vector<int> indices;
    std::vector<double> weights;
    for (auto const& [bone, weight] : list) {
        indices.push_back(bone);
        weights.push_back(weight);
    }
    Skinned result;
    SkinInput input;
    input.positions = coordinatesOf(&p, 1);
    input.normals = coordinatesOf(&normal, 1);
    input.influences = {list.size(), sinew::packed(indices, list.size()), sinew::packed(weights, list.size())};
    input.bones = bones.data();
    input.boneCount = bones.size();
    input.method = method;
    EXPECT_EQ(sinew::skin(input, {coordinatesOf(&result.position, 1), coordinatesOf(&result.normal, 1)}), 1u);
    return result;
}

BoneTransform bone(Matrix3 const& linear, Vector3 const& translation = {})
{
    BoneTransform result;
    result.linear = linear;
    result.translation = translation;
    return result;
}

Matrix3 rotation(Vector3 const& axis, double angle)
{
    return Matrix3::rotationMatrix(UVector3(axis), angle);
}

Matrix3 randomRotation(Random& random, double mostAngle = 3.0)
{
    Vector3 const axis = random.point();
    return rotation(axis, random.uniform(-mostAngle, mostAngle));
}

// Symmetric, with stretches in [0.5, 2).
Matrix3 randomStretch(Random& random)
{
    Matrix3 const axes = randomRotation(random);
    double const a = random.uniform(0.5, 2);
    double const b = random.uniform(0.5, 2);
    return axes * sinew::diagonalMatrix(a, b, random.uniform(0.5, 2)) * axes.transpose();
}

BoneTransform randomRigid(Random& random, double mostAngle = 3.0)
{
    Matrix3 const linear = randomRotation(random, mostAngle);
    return bone(linear, random.point());
}

BoneTransform randomStretching(Random& random, double mostAngle = 1.2)
{
    Matrix3 const turn = randomRotation(random, mostAngle);
    Matrix3 const linear = turn * randomStretch(random);
    return bone(linear, random.point());
}

Influences randomInfluences(Random& random, int bones)
{
    Influences list;
    for (int b = 0; b < bones; ++b) list.emplace_back(b, random.uniform(0.05, 1.0));
    return list;
}

void expectNear(Vector3 const& a, Vector3 const& b, double tolerance)
{
    EXPECT_LE((a - b).length(), tolerance)
        << "(" << a.x << ", " << a.y << ", " << a.z << ") and (" << b.x << ", " << b.y << ", " << b.z << ")";
}

bool isFinite(Vector3 const& v)
{
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

bool allNaN(Vector3 const& v)
{
    return std::isnan(v.x) && std::isnan(v.y) && std::isnan(v.z);
}

// Rounding of numbers of a few units, summed over a few bones.
constexpr double kRounding = 2e-14;

} // namespace

TEST(DualQuaternionSkin, ATwistedTubeKeepsItsRadius)
{
    double leastLinear = 1;
    for (int turn = 0; turn <= 16; ++turn) {
        std::vector<BoneTransform> const bones = {BoneTransform(), bone(rotation({1, 0, 0}, kPi * turn / 16))};
        for (int k = 0; k <= 32; ++k) {
            double const weight = k / 32.0;
            Vector3 const p(weight, std::cos(k), std::sin(k));
            Influences const list = {{0, 1 - weight}, {1, weight}};
            Skinned const blended = skinOne(bones, list, p, {0, p.y, p.z});
            EXPECT_NEAR(blended.position.x, weight, 1e-15);
            EXPECT_NEAR(std::hypot(blended.position.y, blended.position.z), 1, 1e-15);
            expectNear(blended.normal, {0, blended.position.y, blended.position.z}, 4e-15);
            Vector3 const linear = skinOne(bones, list, p, p, SkinMethod::linear).position;
            leastLinear = std::min(leastLinear, std::hypot(linear.y, linear.z));
        }
    }
    EXPECT_LT(leastLinear, 1e-15); // the tube of the linear method collapses to its axis
}

TEST(DualQuaternionSkin, TheTwistFollowsTheWeight)
{
    double const angle = 0.9 * kPi;
    std::vector<BoneTransform> const bones = {BoneTransform(), bone(rotation({0, 0, 1}, angle))};
    double before = 0;
    for (int k = 0; k <= 64; ++k) {
        double const weight = k / 64.0;
        Vector3 const p = skinOne(bones, {{0, 1 - weight}, {1, weight}}, {1, 0, 0}).position;
        double const turned = std::atan2(p.y, p.x);
        EXPECT_NEAR(turned, weight * angle, 0.14); // 8 degrees: the blend is not exactly proportional
        EXPECT_GE(turned, before);
        before = turned;
    }
}

TEST(DualQuaternionSkin, RigidBonesMakeRigidMotions)
{
    Random random(20261140);
    for (int trial = 0; trial < 200; ++trial) {
        SCOPED_TRACE(trial);
        std::vector<BoneTransform> bones;
        for (int b = 0; b < 4; ++b) bones.push_back(randomRigid(random, 1.4));
        Influences const list = randomInfluences(random, 4);
        std::vector<Vector3> const rest = random.points(4);
        Vector3 posed[4];
        for (int i = 0; i < 4; ++i) posed[i] = skinOne(bones, list, rest[static_cast<std::size_t>(i)]).position;
        for (std::size_t i = 0; i < 4; ++i) {
            for (std::size_t j = 0; j < i; ++j)
                EXPECT_NEAR((posed[i] - posed[j]).length(), (rest[i] - rest[j]).length(), kRounding);
        }
        auto const volume = [](Vector3 const* p) { return cross(p[1] - p[0], p[2] - p[0]) * (p[3] - p[0]); };
        EXPECT_NEAR(volume(posed), volume(rest.data()), kRounding);
    }
}

TEST(DualQuaternionSkin, EqualBonesMoveAsOne)
{
    Random random(20261141);
    for (int trial = 0; trial < 200; ++trial) {
        BoneTransform const one = randomStretching(random, 3.0);
        std::vector<BoneTransform> const bones(3, one);
        Vector3 const p = random.point();
        expectNear(skinOne(bones, randomInfluences(random, 3), p).position, one * p, kRounding);
    }
}

TEST(DualQuaternionSkin, BonesThatOnlyStretchBlendLinearly)
{
    Random random(20261142);
    for (int trial = 0; trial < 200; ++trial) {
        Matrix3 const turn = randomRotation(random);
        std::vector<BoneTransform> bones;
        for (int b = 0; b < 3; ++b) {
            Matrix3 const linear = turn * randomStretch(random);
            bones.push_back(bone(linear, random.point()));
        }
        Influences list = randomInfluences(random, 3);
        double const sum = list[0].second + list[1].second + list[2].second;
        for (auto& influence : list) influence.second /= sum;
        Vector3 const p = random.point();
        Vector3 const n = random.point();
        Skinned const blended = skinOne(bones, list, p, n);
        Skinned const linear = skinOne(bones, list, p, n, SkinMethod::linear);
        expectNear(blended.position, linear.position, kRounding);
        expectNear(blended.normal, linear.normal, kRounding);
    }
}

TEST(DualQuaternionSkin, APointThatAllBonesMapToTheSamePointGoesThere)
{
    Random random(20261143);
    for (int trial = 0; trial < 200; ++trial) {
        Vector3 const joint = 100.0 * random.point();
        Vector3 const image = 100.0 * random.point();
        std::vector<BoneTransform> bones;
        for (int b = 0; b < 3; ++b) {
            BoneTransform each = randomStretching(random);
            each.translation = image - each.linear * joint;
            bones.push_back(each);
        }
        expectNear(skinOne(bones, randomInfluences(random, 3), joint).position, image, 1e-12); // coordinates of 100
    }
}

TEST(DualQuaternionSkin, ResultsMoveWithTheFrame)
{
    Random random(20261144);
    for (int trial = 0; trial < 200; ++trial) {
        BoneTransform frame = randomRigid(random);
        frame.translation = 10.0 * frame.translation;
        BoneTransform rest = randomRigid(random); // the frame at rest may be another one
        std::vector<BoneTransform> bones, moved;
        for (int b = 0; b < 3; ++b) {
            bones.push_back(randomStretching(random));
            BoneTransform back;
            back.linear = rest.linear.transpose();
            back.translation = -(back.linear * rest.translation);
            moved.push_back(frame * bones.back() * back);
        }
        Influences const list = randomInfluences(random, 3);
        Vector3 const p = random.point();
        UVector3 const n(random.point());
        Skinned const here = skinOne(bones, list, p, n);
        Skinned const there = skinOne(moved, list, rest * p, rest.linear * n);
        expectNear(there.position, frame * here.position, 1e-12); // coordinates of 20, several compositions
        expectNear(there.normal, frame.linear * here.normal, 1e-12);
    }
}

TEST(DualQuaternionSkin, MirroredFiguresBlendAsTheirMirrorImages)
{
    Random random(20261145);
    Matrix3 const mirror = sinew::diagonalMatrix(-1, 1, 1);
    for (int trial = 0; trial < 200; ++trial) {
        std::vector<BoneTransform> bones, mirrored;
        for (int b = 0; b < 3; ++b) {
            bones.push_back(randomStretching(random));
            mirrored.push_back(bone(bones.back().linear * mirror, bones.back().translation));
        }
        Influences const list = randomInfluences(random, 3);
        Vector3 const p = random.point();
        UVector3 const n(random.point());
        Skinned const plain = skinOne(bones, list, p, n);
        Skinned const image = skinOne(mirrored, list, mirror * p, mirror * n);
        expectNear(image.position, plain.position, kRounding);
        // A reflection reverses the cross product of the tangents, as in the linear method.
        expectNear(image.normal, -plain.normal, 4e-14);
    }
}

TEST(DualQuaternionSkin, TurnsTheShorterWay)
{
    for (double const angle : {170.0, 179.0, 100.0}) {
        double const radians = angle * kPi / 180;
        std::vector<BoneTransform> const bones = {bone(rotation({0, 0, 1}, radians)),
                                                  bone(rotation({0, 0, 1}, -radians))};
        Vector3 const p = skinOne(bones, {{0, 0.5}, {1, 0.5}}, {1, 0, 0}).position;
        expectNear(p, {-1, 0, 0}, kRounding); // half-way between 170 and -170 degrees: 180, not 0
    }
}

TEST(DualQuaternionSkin, ASingleInfluenceHasTheBitsOfTheLinearMethod)
{
    Random random(20261146);
    for (int trial = 0; trial < 500; ++trial) {
        std::vector<BoneTransform> bones = {test::randomBone(random), randomStretching(random)};
        if (random.oneIn(4)) {
            double const second = random.below(3) - 1;
            bones[0].linear = sinew::diagonalMatrix(1, second, random.below(3) - 1);
        }
        Vector3 const p = random.oneIn(8) ? random.hostilePoint() : random.point();
        Vector3 const n = random.point();
        Skinned const linear = skinOne(bones, {{0, 0.25}}, p, n, SkinMethod::linear);
        for (Influences const& list : {Influences{{0, 0.25}}, Influences{{0, 0.25}, {-1, 1.0}, {2, 1.0}},
                                       Influences{{1, 0.0}, {0, 0.25}, {1, -0.0}}, Influences{{0, 0.0}}}) {
            Skinned const blended = skinOne(bones, list, p, n);
            EXPECT_TRUE(sameBits(blended.position, linear.position));
            EXPECT_TRUE(sameBits(blended.normal, linear.normal));
        }
    }
}

TEST(DualQuaternionSkin, OnlyTheRatiosOfTheWeightsCount)
{
    Random random(20261147);
    for (int trial = 0; trial < 100; ++trial) {
        std::vector<BoneTransform> bones;
        for (int b = 0; b < 3; ++b) bones.push_back(randomStretching(random));
        Influences const list = randomInfluences(random, 3);
        Vector3 const p = random.point();
        Vector3 const expected = skinOne(bones, list, p).position;
        for (double const factor : {3.0, 1e-300, 1e300, 1e-160, 1e160}) {
            Influences scaled = list;
            for (auto& influence : scaled) influence.second *= factor;
            expectNear(skinOne(bones, scaled, p).position, expected, kRounding);
        }
    }
    std::vector<BoneTransform> const bones = {BoneTransform(), bone(Matrix3(), {0, 4, 0})};
    double const least = std::numeric_limits<double>::denorm_min();
    EXPECT_EQ(skinOne(bones, {{0, least}, {1, least}}, {1, 0, 0}).position, Vector3(1, 2, 0));
}

// Products of two weights and a coordinate would overflow or underflow. Weights that are multiplied by a power of two
// give the same bits.
TEST(DualQuaternionSkin, OnlyTheRatiosOfTheWeightsCountFarFromTheOriginAndNearIt)
{
    Random random(20261154);
    for (int const shift : {-490, -130, -67, 0, 30, 200, 490}) {
        for (int trial = 0; trial < 20; ++trial) {
            std::vector<BoneTransform> bones;
            for (int b = 0; b < 3; ++b) {
                bones.push_back(randomStretching(random));
                bones.back().translation = bones.back().translation * std::ldexp(1.0, shift);
            }
            Influences const list = randomInfluences(random, 3);
            Vector3 const p = random.point() * std::ldexp(1.0, shift);
            Vector3 const n = random.point();
            Skinned const expected = skinOne(bones, list, p, n);
            ASSERT_TRUE(isFinite(expected.position));
            for (int const exponent : {-1015, -500, -498, -64, -63, 63, 65, 498, 500, 1023}) {
                Influences scaled = list;
                for (auto& influence : scaled) influence.second = std::ldexp(influence.second, exponent);
                Skinned const result = skinOne(bones, scaled, p, n);
                EXPECT_TRUE(sameBits(result.position, expected.position)) << shift << " " << exponent;
                EXPECT_TRUE(sameBits(result.normal, expected.normal)) << shift << " " << exponent;
            }
        }
    }
    double const least = std::numeric_limits<double>::denorm_min();
    for (double const x : {1e9, 1e-20, 1e-40}) {
        std::vector<BoneTransform> const bones = {BoneTransform(), bone(Matrix3(), {0, 4 * x, 0})};
        for (double const weight : {least, 1e-150, 1e150, std::numeric_limits<double>::max()})
            expectNear(skinOne(bones, {{0, weight}, {1, weight}}, {x, 0, 0}).position, {x, 2 * x, 0}, 2e-15 * x);
    }
}

TEST(DualQuaternionSkin, IfAllWeightsAreZeroTheFirstBoneMoves)
{
    std::vector<BoneTransform> const bones = {bone(Matrix3(), {0, 1, 0}), bone(Matrix3(), {0, 0, 1})};
    EXPECT_EQ(skinOne(bones, {{1, 0.0}, {0, 0.0}}, {1, 0, 0}).position, Vector3(1, 0, 1));
    EXPECT_EQ(skinOne(bones, {{-1, 0.0}, {0, -0.0}, {1, 0.0}}, {1, 0, 0}).position, Vector3(1, 1, 0));
}

TEST(DualQuaternionSkin, IfWeightsCancelTheBoneOfTheGreatestMoves)
{
    std::vector<BoneTransform> const bones = {bone(Matrix3(), {0, 1, 0}), bone(Matrix3(), {0, 0, 1})};
    EXPECT_EQ(skinOne(bones, {{0, 0.5}, {1, -0.5}}, {1, 0, 0}).position, Vector3(1, 1, 0));
    EXPECT_EQ(skinOne(bones, {{1, 1e200}, {0, -1e200}}, {1, 0, 0}).position, Vector3(1, 0, 1));
    // Negative weights that do not cancel extrapolate.
    expectNear(skinOne(bones, {{0, 1.5}, {1, -0.5}}, {1, 0, 0}).position, {1, 1.5, -0.5}, kRounding);
}

TEST(DualQuaternionSkin, AWeightThatIsNotFiniteGivesNaN)
{
    std::vector<BoneTransform> const bones = {bone(Matrix3(), {0, 1, 0}), bone(rotation({1, 2, 3}, 1), {0, 0, 1})};
    for (double const weight : {kNaN, kInfinity, -kInfinity}) {
        for (double const other : {0.5, kNaN, kInfinity}) {
            for (Influences const& list : {Influences{{0, weight}, {1, other}}, Influences{{0, other}, {1, weight}}}) {
                Skinned const result = skinOne(bones, list, {1, 0, 0});
                EXPECT_TRUE(allNaN(result.position));
                EXPECT_TRUE(allNaN(result.normal));
            }
        }
        EXPECT_EQ(skinOne(bones, {{0, weight}}, {1, 0, 0}).position, Vector3(1, 1, 0)); // a single influence
        EXPECT_EQ(skinOne(bones, {{1, 0.0}, {0, weight}}, {1, 0, 0}).position, Vector3(1, 1, 0));
    }
}

TEST(DualQuaternionSkin, ABoneThatIsNotFiniteMakesOnlyItsVerticesNaN)
{
    for (double const number : {kNaN, kInfinity, -kInfinity}) {
        std::vector<BoneTransform> bones = {BoneTransform(), BoneTransform(), bone(Matrix3(), {number, 0, 0})};
        bones[1].linear(1, 2) = number;
        EXPECT_TRUE(allNaN(skinOne(bones, {{0, 0.9}, {1, 0.1}}, {1, 2, 3}).position));
        EXPECT_FALSE(isFinite(skinOne(bones, {{0, 0.9}, {2, 0.1}}, {1, 2, 3}).position));
        EXPECT_EQ(skinOne(bones, {{0, 0.9}, {1, 0.0}, {2, 0.0}}, {1, 2, 3}).position, Vector3(1, 2, 3));
    }
}

// With NaN or an infinity in the translation. It does not act on tangents.
TEST(DualQuaternionSkin, ATranslationThatIsNotFiniteGivesNaNOrInfinities)
{
    Random random(20261155);
    for (int trial = 0; trial < 100; ++trial) {
        std::vector<BoneTransform> bones = {BoneTransform(), BoneTransform()};
        if (!random.oneIn(4)) bones[0] = randomStretching(random);
        if (!random.oneIn(4)) bones[1] = randomStretching(random);
        Influences const list = randomInfluences(random, 2);
        Vector3 const p = random.point();
        Vector3 const n = random.point();
        Vector3 const normal = skinOne(bones, list, p, n).normal;
        for (double const number : {kNaN, kInfinity, -kInfinity}) {
            for (int i = 0; i < 3; ++i) {
                std::vector<BoneTransform> moved = bones;
                moved[1].translation[i] = number;
                Skinned const result = skinOne(moved, list, p, n);
                for (int j = 0; j < 3; ++j) EXPECT_FALSE(std::isfinite(result.position[j]));
                EXPECT_TRUE(!std::isnan(number) || allNaN(result.position));
                EXPECT_TRUE(sameBits(result.normal, normal));
            }
        }
    }
    // An infinite translation of a bone that does not turn gives NaN, of one that turns infinities too.
    std::vector<BoneTransform> bones = {BoneTransform(), bone(Matrix3(), {kInfinity, 0, 0})};
    EXPECT_TRUE(allNaN(skinOne(bones, {{0, 0.5}, {1, 0.5}}, {1, 2, 3}).position));
    bones = {bone(rotation({1, 2, 3}, 0.5)), bone(rotation({3, 1, 2}, 1), {kInfinity, 0, 0})};
    Vector3 const p = skinOne(bones, {{0, 0.5}, {1, 0.5}}, {1, 2, 3}).position;
    EXPECT_TRUE(std::isinf(p.x) || std::isinf(p.y) || std::isinf(p.z));
}

TEST(DualQuaternionSkin, SingularBonesGiveFiniteResults)
{
    Random random(20261148);
    for (int trial = 0; trial < 200; ++trial) {
        std::vector<BoneTransform> bones = {randomStretching(random), randomStretching(random)};
        double const flat[3] = {1.0, random.oneIn(2) ? 0.0 : 1.0, random.oneIn(2) ? 0.0 : 1e-200};
        bones[1].linear = bones[1].linear * sinew::diagonalMatrix(flat[0], flat[1], flat[2]);
        if (random.oneIn(8)) bones[1].linear.zero();
        Vector3 const p = random.point();
        Skinned const result = skinOne(bones, {{0, 0.5}, {1, 0.5}}, p, random.point());
        EXPECT_TRUE(isFinite(result.position));
        EXPECT_NEAR(result.normal.length(), 1, 1e-15);
        // Not farther from the images than they are from each other: a blend, not an extrapolation.
        Vector3 const a = bones[0] * p;
        Vector3 const b = bones[1] * p;
        EXPECT_LE((result.position - a).length() + (result.position - b).length(), 3 * (a - b).length() + kRounding);
    }
}

TEST(DualQuaternionSkin, AFlatBoneBlendsAsTheThinOneNextToIt)
{
    Random random(20261149);
    for (int trial = 0; trial < 100; ++trial) {
        Matrix3 const turn = randomRotation(random);
        Vector3 const p = random.point();
        Vector3 positions[3];
        double const thickness[3] = {1e-9, 0.0, -1e-9}; // rounding decides the sign of a flat bone's determinant
        for (int k = 0; k < 3; ++k) {
            std::vector<BoneTransform> const bones = {BoneTransform(),
                                                      bone(turn * sinew::diagonalMatrix(1.2, 0.8, thickness[k]))};
            positions[k] = skinOne(bones, {{0, 0.4}, {1, 0.6}}, p).position;
        }
        expectNear(positions[0], positions[1], 2e-8);
        expectNear(positions[2], positions[1], 2e-8);
    }
}

TEST(DualQuaternionSkin, NormalsStayPerpendicularToTheDeformedSurface)
{
    Random random(20261150);
    for (int trial = 0; trial < 200; ++trial) {
        std::vector<BoneTransform> bones;
        for (int b = 0; b < 3; ++b) bones.push_back(randomStretching(random));
        Influences const list = randomInfluences(random, 3);
        Vector3 const p = random.point();
        UVector3 const n(random.point());
        Vector3 t1;
        Vector3 t2;
        getBasis(n, t1, t2);
        // The map of equal influences is affine, so differences of positions are exact images of tangents.
        Vector3 const at = skinOne(bones, list, p).position;
        Vector3 const image1 = skinOne(bones, list, p + t1).position - at;
        Vector3 const image2 = skinOne(bones, list, p + t2).position - at;
        Vector3 const normal = skinOne(bones, list, p, n).normal;
        EXPECT_NEAR(normal.length(), 1, 1e-15);
        expectNear(normal, UVector3(cross(image1, image2)), 1e-13);
    }
}

TEST(DualQuaternionSkin, NormalsAreRightAtAnyScale)
{
    Random random(20261151);
    for (double const scale : {1e-200, 1e-100, 1e-20, 1e20, 1e100, 1e200}) {
        for (int trial = 0; trial < 20; ++trial) {
            std::vector<BoneTransform> bones, scaled;
            for (int b = 0; b < 2; ++b) {
                bones.push_back(randomStretching(random));
                scaled.push_back(bone(bones.back().linear * scale, bones.back().translation));
            }
            UVector3 const n(random.point());
            for (Influences const& list : {Influences{{0, 0.5}, {1, 0.5}}, Influences{{0, 1.0}}}) {
                Vector3 const expected = skinOne(bones, list, {1, 2, 3}, n).normal;
                expectNear(skinOne(scaled, list, {1, 2, 3}, n).normal, expected, 1e-14);
            }
        }
    }
}

// The linear method cannot make a unit vector of a cross product so short or so long.
TEST(DualQuaternionSkin, ASingleInfluenceHasARightNormalWhereTheLinearMethodHasNone)
{
    Vector3 const n(1, 0, 0);
    for (double const scale : {1e-7, 1e-100, 1e100}) {
        BoneTransform const turn = bone(rotation({0, 0, 1}, 0.5) * scale);
        Vector3 const expected(std::cos(0.5), std::sin(0.5), 0);
        Skinned const single = skinOne({turn}, {{0, 1.0}}, {1, 2, 3}, n);
        Skinned const linear = skinOne({turn}, {{0, 1.0}}, {1, 2, 3}, n, SkinMethod::linear);
        EXPECT_TRUE(sameBits(single.position, linear.position));
        expectNear(single.normal, expected, 1e-15);
        EXPECT_FALSE((linear.normal - expected).length() < 0.5);
    }
}

TEST(DualQuaternionSkin, TangentsThatCollapseGiveTheNullFallback)
{
    std::vector<BoneTransform> const bones = {bone(sinew::diagonalMatrix(0, 0, 1)),
                                              bone(sinew::diagonalMatrix(0, 0, 2))};
    EXPECT_EQ(skinOne(bones, {{0, 0.5}, {1, 0.5}}, {1, 2, 3}, {1, 0, 0}).normal, Vector3(0, 0, 1));
    EXPECT_EQ(skinOne(bones, {{0, 1.0}}, {1, 2, 3}, {1, 0, 0}).normal, Vector3(0, 0, 1));
}

TEST(DualQuaternionSkin, EqualGreatestWeightsMakeNoJump)
{
    Random random(20261152);
    for (int trial = 0; trial < 200; ++trial) {
        std::vector<BoneTransform> bones;
        for (int b = 0; b < 3; ++b) bones.push_back(randomStretching(random, 1.0)); // within a half turn of each other
        Vector3 const p = random.point();
        double const step = 1e-9;
        Vector3 const before = skinOne(bones, {{0, 0.4 + step}, {1, 0.4}, {2, 0.2}}, p).position;
        Vector3 const after = skinOne(bones, {{0, 0.4}, {1, 0.4 + step}, {2, 0.2}}, p).position;
        expectNear(before, after, 1e-7);
    }
}

TEST(DualQuaternionSkin, PlacesBeforeTheBonesMove)
{
    Random random(20261153);
    smart_ptr<DisplayData> const display = test::randomDisplay(random, 1, 1);
    std::vector<BoneTransform> const bones = {randomStretching(random), randomStretching(random)};
    std::vector<int> const indices = {0, 1};
    std::vector<double> const weights = {0.3, 0.7};
    SkinInput input;
    input.positions = coordinatesOf(display->surface->positions.data(), 1);
    input.influences = {2, sinew::packed(indices, 2), sinew::packed(weights, 2)};
    input.bones = bones.data();
    input.boneCount = 2;
    input.placement = display->placement;
    input.method = SkinMethod::dualQuaternion;
    Vector3 posed;
    sinew::skin(input, {coordinatesOf(&posed, 1), {}});
    Vector3 const placed = display->placement * display->surface->positions[0];
    EXPECT_TRUE(sameBits(posed, skinOne(bones, {{0, 0.3}, {1, 0.7}}, placed).position));
}

TEST(DualQuaternionSkin, NothingIsWrittenIfTheBonesDoNotFitIntoMemory)
{
    std::vector<BoneTransform> const bones(2);
    std::vector<int> const indices = {0, 1};
    std::vector<double> const weights = {0.3, 0.7};
    Vector3 const rest(1, 2, 3);
    Vector3 posed(-77, -77, -77);
    SkinInput input;
    input.positions = coordinatesOf(&rest, 1);
    input.influences = {2, sinew::packed(indices, 2), sinew::packed(weights, 2)};
    input.bones = bones.data();
    input.boneCount = 2;
    input.method = SkinMethod::dualQuaternion;
    for (int allocation = 0; allocation < 2; ++allocation) {
        test::FailingNew const failing(allocation);
        EXPECT_THROW(sinew::skin(input, {coordinatesOf(&posed, 1), {}}), std::bad_alloc);
        EXPECT_EQ(posed, Vector3(-77, -77, -77));
    }
    sinew::skin(input, {coordinatesOf(&posed, 1), {}});
    expectNear(posed, rest, 1e-15);
}

TEST(DualQuaternionSkin, TheDefaultMethodIsLinear)
{
    EXPECT_EQ(SkinInput().method, SkinMethod::linear);
}
