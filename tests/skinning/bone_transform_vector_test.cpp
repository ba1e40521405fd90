#include <sinew/skinning/bone_transform_vector.h>

#include <algorithm>
#include <limits>

#include <gtest/gtest.h>

#include "skinning/reference_skinning.h"
#include "skinning/skinning_scene.h"
#include "support/bits.h"
#include "support/random.h"

namespace {

using test::Random;
using test::sameBits;

constexpr double kRounding = 1e-14; // a few roundings of numbers near 1

BoneTransform translation(double x, double y, double z)
{
    BoneTransform result;
    result.translation = Vector3(x, y, z);
    return result;
}

// One vertex at (1, 2, 3) with the normal z and the default placement. Bone 0 translates along x, bone 1 along y, and
// bone 2 is the identity.
struct OneVertex
{
    smart_ptr<DisplayData> display{new DisplayData};
    BoneTransformVector figure{{translation(10, 0, 0), translation(0, 10, 0), BoneTransform()}};
    Vector3 const p{1, 2, 3};

    OneVertex()
    {
        display->surface = smart_ptr<SurfaceGeometryData>(new SurfaceGeometryData);
        display->surface->positions = {p};
        display->surface->normals = {UVector3(0, 0, 1)};
    }
    void influence(std::vector<std::pair<int, double>> list)
    {
        display->boneWeights = smart_ptr<BoneWeightTable>(new BoneWeightTable);
        display->boneWeights->influences = {std::move(list)};
    }
    Vector3 position() const { return figure.getTransformed(0, display); }
    Vector3 positionWithNormal(UVector3& normal) const
    {
        return figure.getTransformed(0, display, display->surface->normals[0], normal);
    }
};

} // namespace

TEST(GetTransformed, WithoutAWeightTableTheVertexIsOnlyPlaced)
{
    OneVertex scene;
    scene.display->placement = Transform(2.0);
    UVector3 normal;
    EXPECT_EQ(scene.position(), 2 * scene.p);
    EXPECT_EQ(scene.positionWithNormal(normal), 2 * scene.p);
    EXPECT_EQ(normal, Vector3(0, 0, 1));
}

TEST(GetTransformed, WithoutInfluencesTheVertexIsOnlyPlaced)
{
    OneVertex scene;
    scene.influence({});
    UVector3 normal;
    EXPECT_EQ(scene.position(), scene.p);
    EXPECT_EQ(scene.positionWithNormal(normal), scene.p);
    EXPECT_EQ(normal, Vector3(0, 0, 1));
}

TEST(GetTransformed, ASingleInfluenceIsWeightedWithoutANormalAndFullWithOne)
{
    OneVertex scene;
    scene.influence({{0, 0.3}});
    Vector3 const moved = scene.p + Vector3(10, 0, 0);
    UVector3 normal;
    EXPECT_TRUE(sameBits(scene.position(), 0.3 * moved));
    EXPECT_EQ(scene.positionWithNormal(normal), moved);
}

TEST(GetTransformed, ANegativeBoneIsTheIdentityWithoutANormal)
{
    OneVertex scene;
    scene.influence({{-1, 0.5}, {0, 0.5}});
    EXPECT_EQ(scene.position(), scene.p + Vector3(5, 0, 0));
    scene.influence({{-7, 0.25}});
    EXPECT_EQ(scene.position(), 0.25 * scene.p);
}

TEST(GetTransformed, WeightsAreNotNormalised)
{
    OneVertex scene;
    scene.influence({{2, 1.5}, {2, 0.5}});
    UVector3 normal;
    EXPECT_EQ(scene.position(), 2 * scene.p);
    EXPECT_EQ(scene.positionWithNormal(normal), 2 * scene.p);
}

TEST(GetTransformed, SumsInListOrder)
{
    OneVertex scene;
    scene.figure.bones = {translation(1e16, 0, 0), translation(-1e16, 0, 0), translation(0, 0, 0)};
    scene.influence({{0, 1.0}, {1, 1.0}, {2, 1.0}});
    double const forward = scene.position().x;
    scene.influence({{2, 1.0}, {0, 1.0}, {1, 1.0}});
    EXPECT_NE(forward, scene.position().x)
        << "the small term survives only if the large ones cancel before it is added";
}

TEST(GetTransformed, TheSumOfPositionsStartsFromZero)
{
    OneVertex scene;
    scene.display->surface->positions = {Vector3(-0.0, -0.0, -0.0)};
    scene.influence({{2, 1.0}, {2, 1.0}});
    EXPECT_FALSE(std::signbit(scene.position().x));
    UVector3 normal;
    EXPECT_FALSE(std::signbit(scene.positionWithNormal(normal).x));
}

TEST(GetTransformed, NormalsFollowTheDeformedTangents)
{
    // A stretch along x by 2 changes the normal (1, 1, 0) to (0.5, 1, 0). Applied to the normal as to a vector, it
    // would give (2, 1, 0).
    OneVertex scene;
    scene.display->surface->normals = {UVector3(1, 1, 0)};
    BoneTransform stretch;
    stretch.linear(0, 0) = 2;
    scene.figure.bones = {stretch};
    scene.influence({{0, 1.0}});
    UVector3 normal;
    scene.positionWithNormal(normal);
    EXPECT_NEAR(dist(normal, UVector3(0.5, 1, 0)), 0, kRounding);
}

TEST(GetTransformed, PlacementRotatesAndMirrorsTheNormal)
{
    OneVertex scene;
    scene.display->placement = Transform(-2.0);
    scene.display->placement.translation = Vector3(100, 100, 100);
    UVector3 normal;
    EXPECT_EQ(scene.positionWithNormal(normal), Vector3(98, 96, 94));
    EXPECT_EQ(normal, Vector3(0, 0, -1)) << "a translation does not change a direction, a negative scale reverses it";
}

TEST(GetTransformed, HasTheBitsOfTheReferenceOnRandomScenes)
{
    Random random(51);
    for (int trial = 0; trial < 300; ++trial) {
        SCOPED_TRACE(trial);
        smart_ptr<BoneTransformVector> const figure = test::randomBones(random, 5);
        smart_ptr<DisplayData> const display = test::randomDisplay(random, 20, 5, 6);
        if (trial % 3 == 0) display->boneWeights->influences[3] = {{-1, 0.5}, {2, 0.5}};
        for (int v = 0; v < 20; ++v) {
            EXPECT_TRUE(sameBits(figure->getTransformed(v, display), reference::getTransformed(*figure, v, *display)));
            if (trial % 3 == 0 && v == 3) continue; // a negative bone is not allowed with a normal
            UVector3 newNormal;
            UVector3 referenceNormal;
            UVector3 const& normal = display->surface->normals[v];
            EXPECT_TRUE(sameBits(figure->getTransformed(v, display, normal, newNormal),
                                 reference::getTransformed(*figure, v, *display, normal, referenceNormal)));
            EXPECT_TRUE(sameBits(newNormal, referenceNormal));
        }
    }
}

TEST(GetTransformed, AcceptsCurves)
{
    smart_ptr<CurveDisplayData> curve(new CurveDisplayData);
    curve->geometry = smart_ptr<GeometryData>(new GeometryData);
    curve->geometry->positions = {Vector3(1, 2, 3)};
    EXPECT_EQ(BoneTransformVector().getTransformed(0, curve), Vector3(1, 2, 3));
}

TEST(BoneTransformModifyer, HasTheBitsOfTheReference)
{
    Random random(52);
    for (int const vertices : {0, 1, 2, 7, 8, 9, 16, 31, 64, 333}) {
        for (int most = 0; most <= 9; ++most) {
            SCOPED_TRACE(testing::Message() << vertices << " vertices, up to " << most << " influences");
            smart_ptr<BoneTransformVector> const figure = test::randomBones(random, 6);
            smart_ptr<DisplayData> const display = test::randomDisplay(random, vertices, 6, most);
            if (random.oneIn(4)) display->boneWeights.reset();
            SurfaceGeometryData expected;
            reference::deform(*figure, *display, expected);
            smart_ptr<SurfaceGeometryData> const result = BoneTransformModifyer(figure)(display);
            EXPECT_TRUE(sameBits(result->positions, expected.positions));
            ASSERT_EQ(result->normals.size(), expected.normals.size());
            for (std::size_t i = 0; i < expected.normals.size(); ++i) {
                EXPECT_TRUE(sameBits(result->normals[i], expected.normals[i])) << i;
            }
            EXPECT_EQ(result->indices, expected.indices);
        }
    }
}

TEST(BoneTransformModifyer, HasTheBitsOfTheReferenceOnHostileNumbers)
{
    Random random(53);
    for (int trial = 0; trial < 300; ++trial) {
        SCOPED_TRACE(trial);
        smart_ptr<BoneTransformVector> const figure = test::randomBones(random, 4);
        smart_ptr<DisplayData> const display = test::randomDisplay(random, 24, 4, 5);
        for (Vector3& p : display->surface->positions) {
            if (random.oneIn(3)) p = random.hostilePoint();
        }
        for (UVector3& n : display->surface->normals) {
            if (random.oneIn(4)) static_cast<Vector3&>(n) = random.hostilePoint();
        }
        for (auto& list : display->boneWeights->influences) {
            for (auto& entry : list) {
                if (random.oneIn(5)) entry.second = random.hostile();
            }
        }
        figure->bones[0].linear(random.below(3), random.below(3)) = random.hostile();
        SurfaceGeometryData expected;
        reference::deform(*figure, *display, expected);
        smart_ptr<SurfaceGeometryData> const result = BoneTransformModifyer(figure)(display);
        EXPECT_TRUE(sameBits(result->positions, expected.positions));
        for (std::size_t i = 0; i < expected.normals.size(); ++i) {
            EXPECT_TRUE(sameBits(result->normals[i], expected.normals[i])) << i;
        }
    }
}

TEST(BoneTransformModifyer, DoesNotChangeTheSource)
{
    Random random(54);
    smart_ptr<DisplayData> const display = test::randomDisplay(random, 10, 3);
    SurfaceGeometryData const before = *display->surface;
    BoneTransformModifyer(test::randomBones(random, 3))(display);
    EXPECT_TRUE(sameBits(display->surface->positions, before.positions));
    EXPECT_EQ(display->surface->referenceCount, 1);
}

TEST(BoneTransformModifyer, TakesPositionsFromAnOverriddenGetter)
{
    struct GeometryElsewhere : DisplayData
    {
        smart_ptr<GeometryData> other{new GeometryData};
        smart_ptr<GeometryData const> getGeometry() const override { return other; }
    };
    smart_ptr<GeometryElsewhere> display(new GeometryElsewhere);
    display->surface = smart_ptr<SurfaceGeometryData>(new SurfaceGeometryData);
    display->surface->positions = {Vector3(1, 1, 1)};
    display->surface->normals = {UVector3(0, 0, 1)};
    display->other->positions = {Vector3(5, 6, 7)};
    smart_ptr<BoneTransformVector> const figure(new BoneTransformVector);
    EXPECT_EQ(BoneTransformModifyer(figure)(smart_ptr<DisplayData const>(display))->positions[0], Vector3(5, 6, 7));
}

TEST(BoneTransformModifyer, WithoutAGeometryFromTheGetterTheResultIsEmpty)
{
    struct NoGeometry : DisplayData
    {
        smart_ptr<GeometryData const> getGeometry() const override { return {}; }
    };
    smart_ptr<NoGeometry> display(new NoGeometry);
    display->surface = smart_ptr<SurfaceGeometryData>(new SurfaceGeometryData);
    display->surface->positions = {Vector3(1, 1, 1)};
    smart_ptr<BoneTransformVector> const figure(new BoneTransformVector);
    EXPECT_TRUE(BoneTransformModifyer(figure)(smart_ptr<DisplayData const>(display))->positions.empty());
}

TEST(BoneTransformModifyer, DeformsOnlyVerticesThatAllListsReach)
{
    Random random(55);
    for (int shortened = 0; shortened < 3; ++shortened) {
        SCOPED_TRACE(shortened);
        smart_ptr<BoneTransformVector> const figure = test::randomBones(random, 3);
        smart_ptr<DisplayData> const display = test::randomDisplay(random, 50, 3);
        SurfaceGeometryData expected;
        reference::deform(*figure, *display, expected);
        if (shortened == 0) display->surface->normals.resize(20);
        if (shortened == 1) display->boneWeights->influences.resize(20);
        if (shortened == 2) display->surface->positions.resize(20);
        smart_ptr<SurfaceGeometryData> const result = BoneTransformModifyer(figure)(display);
        ASSERT_EQ(result->positions.size(), display->surface->positions.size());
        for (std::size_t i = 0; i < result->positions.size(); ++i) {
            Vector3 const& want = i < 20 ? expected.positions[i] : display->surface->positions[i];
            EXPECT_TRUE(sameBits(result->positions[i], want)) << i;
        }
    }
}

TEST(BoneTransformModifyer, WithoutBonesTheSurfaceIsOnlyPlaced)
{
    Random random(56);
    smart_ptr<DisplayData> const display = test::randomDisplay(random, 10, 3);
    smart_ptr<SurfaceGeometryData> const result = BoneTransformModifyer(smart_ptr<BoneTransformVector>())(display);
    for (std::size_t i = 0; i < 10; ++i) {
        EXPECT_TRUE(sameBits(result->positions[i], display->placement * display->surface->positions[i])) << i;
    }
}

TEST(BoneTransformModifyer, WithoutASurfaceTheResultIsEmpty)
{
    smart_ptr<DisplayData> const display(new DisplayData);
    smart_ptr<BoneTransformVector> const figure(new BoneTransformVector);
    EXPECT_TRUE(BoneTransformModifyer(figure)(smart_ptr<DisplayData const>(display))->positions.empty());
}

TEST(BoneTransformModifyer, CopiesShareTheBones)
{
    smart_ptr<BoneTransformVector> const figure(new BoneTransformVector);
    {
        BoneTransformModifyer const first(figure);
        BoneTransformModifyer const second = first;
        EXPECT_EQ(second.bones, figure);
        EXPECT_EQ(figure->referenceCount, 3);
    }
    EXPECT_EQ(figure->referenceCount, 1);
}

namespace {

// `display` without the influences that `isValid` rejects.
template <typename IsValid>
smart_ptr<DisplayData> withoutInvalid(DisplayData const& display, IsValid isValid)
{
    smart_ptr<DisplayData> cleaned(new DisplayData(display));
    cleaned->boneWeights = smart_ptr<BoneWeightTable>(new BoneWeightTable);
    for (auto const& list : display.boneWeights->influences) {
        std::vector<std::pair<int, double>> kept;
        for (auto const& influence : list) {
            if (isValid(influence.first)) kept.push_back(influence);
        }
        cleaned->boneWeights->influences.push_back(kept);
    }
    return cleaned;
}

// A display of which some influences name no bone.
smart_ptr<DisplayData> displayWithWildBones(Random& random, int bones)
{
    smart_ptr<DisplayData> const display = test::randomDisplay(random, 40, bones, 5);
    int const wild[] = {-2147483647 - 1, -1, bones, bones + 1, 1 << 20, 2147483647};
    for (auto& list : display->boneWeights->influences) {
        for (auto& influence : list) {
            if (random.oneIn(4)) influence.first = wild[random.below(6)];
        }
    }
    return display;
}

} // namespace

TEST(MissingBones, AreLeftOutOfASurface)
{
    Random random(57);
    for (int trial = 0; trial < 200; ++trial) {
        SCOPED_TRACE(trial);
        int const bones = random.below(4);
        smart_ptr<BoneTransformVector> const figure = test::randomBones(random, bones);
        smart_ptr<DisplayData> const display = displayWithWildBones(random, std::max(bones, 1));
        auto const namesABone = [bones](int index) { return index >= 0 && index < bones; };
        SurfaceGeometryData expected;
        reference::deform(*figure, *withoutInvalid(*display, namesABone), expected);
        smart_ptr<SurfaceGeometryData> const result = BoneTransformModifyer(figure)(display);
        EXPECT_TRUE(sameBits(result->positions, expected.positions));
        for (int i = 0; i < 40; ++i) {
            EXPECT_TRUE(sameBits(result->normals[i], expected.normals[i])) << i;
            UVector3 normal;
            Vector3 const single = figure->getTransformed(i, display, display->surface->normals[i], normal);
            EXPECT_TRUE(sameBits(single, expected.positions[i])) << i;
            EXPECT_TRUE(sameBits(normal, expected.normals[i])) << i;
        }
    }
}

TEST(MissingBones, AreLeftOutOfAPositionWhereNegativeIndicesAreTheIdentity)
{
    Random random(58);
    for (int trial = 0; trial < 200; ++trial) {
        SCOPED_TRACE(trial);
        int const bones = random.below(4);
        smart_ptr<BoneTransformVector> const figure = test::randomBones(random, bones);
        smart_ptr<DisplayData> const display = displayWithWildBones(random, std::max(bones, 1));
        smart_ptr<DisplayData> const cleaned = withoutInvalid(*display, [bones](int index) { return index < bones; });
        for (int i = 0; i < 40; ++i) {
            EXPECT_TRUE(sameBits(figure->getTransformed(i, display), reference::getTransformed(*figure, i, *cleaned)));
        }
    }
}
