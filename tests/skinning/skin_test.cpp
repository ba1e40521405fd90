#include <sinew/skinning/skin.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "skinning/skinning_scene.h"
#include "support/bits.h"
#include "support/failing_new.h"

using sinew::coordinatesOf;
using sinew::SkinInput;
using sinew::SkinOutput;
using sinew::Strided;
using sinew::VertexInfluences;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr float kUnwritten = -77.0f;

// Vertex i at (i, 0, 0), moved by two bones: bone 0 adds (0, 1, 0), bone 1 adds (0, 0, 1).
struct Line
{
    std::vector<Vector3> rest;
    std::vector<Vector3> posed;
    std::vector<BoneTransform> bones;
    SkinInput input;
    SkinOutput output;

    explicit Line(std::size_t vertices) : posed(vertices, Vector3(kUnwritten, kUnwritten, kUnwritten)), bones(2)
    {
        for (std::size_t i = 0; i < vertices; ++i) rest.emplace_back(static_cast<double>(i), 0, 0);
        bones[0].translation = {0, 1, 0};
        bones[1].translation = {0, 0, 1};
        input.positions = coordinatesOf(std::as_const(rest).data(), vertices);
        input.bones = bones.data();
        input.boneCount = bones.size();
        output.positions = coordinatesOf(posed.data(), vertices);
    }
    Line(Line const&) = delete;
    Line& operator=(Line const&) = delete;
};

template <typename T>
Strided<T const> arrayOf(std::vector<T> const& numbers, std::size_t perElement = 1)
{
    return {numbers.data(), numbers.size() / perElement, perElement * sizeof(T)};
}

VertexInfluences fixedInfluences(std::size_t perVertex, std::vector<int> const& bones,
                                 std::vector<double> const& weights)
{
    return {perVertex, arrayOf(bones, perVertex), arrayOf(weights, perVertex)};
}

} // namespace

TEST(Skin, BlendsTheBonesByTheirWeights)
{
    Line line(2);
    std::vector<int> const bones = {0, 1, 1, 0};
    std::vector<double> const weights = {0.25, 0.75, 1.0, 0.0};
    line.input.influences = fixedInfluences(2, bones, weights);
    EXPECT_EQ(sinew::skin(line.input, line.output), 2u);
    EXPECT_EQ(line.posed[0], Vector3(0, 0.25, 0.75));
    EXPECT_EQ(line.posed[1], Vector3(1, 0, 1));
}

TEST(Skin, ASingleInfluenceMovesFully)
{
    Line line(1);
    std::vector<int> const bones = {0, -1};
    std::vector<double> const weights = {0.25, 0.75};
    line.input.influences = fixedInfluences(2, bones, weights); // the second one names no bone
    sinew::skin(line.input, line.output);
    EXPECT_EQ(line.posed[0], Vector3(0, 1, 0));
}

TEST(Skin, IndicesThatNameNoBoneAreLeftOut)
{
    Line line(3);
    std::vector<std::uint8_t> const bones = {255, 0, 1, 2, 255, 0, 255, 254, 2};
    std::vector<float> const weights = {9, 0.5, 0.5, 9, 9, 0.5, 9, 9, 9};
    line.input.influences = {3, arrayOf(bones, 3), arrayOf(weights, 3)};
    sinew::skin(line.input, line.output);
    EXPECT_EQ(line.posed[0], Vector3(0, 0.5, 0.5));
    EXPECT_EQ(line.posed[1], Vector3(1, 1, 0));
    EXPECT_EQ(line.posed[2], Vector3(2, 0, 0)); // no bone is left: only placed
}

TEST(Skin, ANaNWeightMakesTheVertexNaNUnlessItIsAlone)
{
    Line line(2);
    std::vector<int> const bones = {0, 1, 0, -1};
    std::vector<double> const weights = {kNaN, 0.5, kNaN, 0.5};
    line.input.influences = fixedInfluences(2, bones, weights);
    sinew::skin(line.input, line.output);
    EXPECT_TRUE(std::isnan(line.posed[0].x));
    EXPECT_EQ(line.posed[1], Vector3(1, 1, 0));
}

TEST(Skin, ListsMayHaveAnyLength)
{
    Line line(3);
    std::vector<int> bones = {0, 1};
    std::vector<double> weights = {0.5, 0.5};
    for (int k = 0; k < 40; ++k) { // 20 influences of each bone
        bones.push_back(k % 2);
        weights.push_back(0.025);
    }
    std::vector<std::size_t> const offsets = {0, 2, 2, 42};
    line.input.influences = {arrayOf(offsets), arrayOf(bones), arrayOf(weights)};
    EXPECT_EQ(sinew::skin(line.input, line.output), 3u);
    EXPECT_EQ(line.posed[0], Vector3(0, 0.5, 0.5));
    EXPECT_EQ(line.posed[1], Vector3(1, 0, 0));
    EXPECT_NEAR(line.posed[2].y, 0.5, 1e-15);
    EXPECT_NEAR(line.posed[2].z, 0.5, 1e-15);
}

TEST(Skin, OffsetsBeyondTheInfluencesAndOffsetsThatDescendAreHarmless)
{
    Line line(6);
    std::vector<int> const bones = {0, 1, 0};
    std::vector<double> const weights = {1, 1}; // one less than indices
    std::vector<std::int64_t> const offsets = {1, 0, -1, 1, 1000, std::numeric_limits<std::int64_t>::max(), 0};
    line.input.influences = {arrayOf(offsets), arrayOf(bones), arrayOf(weights)};
    EXPECT_EQ(sinew::skin(line.input, line.output), 6u);
    EXPECT_EQ(line.posed[0], Vector3(0, 0, 0)); // 1 .. 0: empty
    EXPECT_EQ(line.posed[1], Vector3(2, 1, 1)); // 0 .. "-1", which is beyond the end: both
    EXPECT_EQ(line.posed[2], Vector3(2, 0, 0));
    EXPECT_EQ(line.posed[3], Vector3(3, 0, 1)); // influence 1 only; influence 2 has no weight
    EXPECT_EQ(line.posed[4], Vector3(4, 0, 0));
    EXPECT_EQ(line.posed[5], Vector3(5, 0, 0));
}

TEST(Skin, WritesAsManyVerticesAsAllArraysHave)
{
    std::vector<int> const bones = {0, 1, 0};
    std::vector<double> const weights = {1, 1, 1};
    std::vector<int> const offsets = {0, 1, 2, 3};
    auto const written = [](Line& line) {
        std::size_t const count = sinew::skin(line.input, line.output);
        for (std::size_t i = 0; i < line.posed.size(); ++i)
            EXPECT_EQ(line.posed[i].x == static_cast<double>(kUnwritten), i >= count) << i;
        return count;
    };
    Line all(5);
    EXPECT_EQ(written(all), 5u); // without influences
    Line fixed(5);
    fixed.input.influences = fixedInfluences(1, bones, weights);
    EXPECT_EQ(written(fixed), 3u);
    Line lists(5);
    lists.input.influences = {arrayOf(offsets), arrayOf(bones), arrayOf(weights)};
    EXPECT_EQ(written(lists), 3u);
    Line fewOutputs(5);
    fewOutputs.output.positions.count = 4;
    EXPECT_EQ(written(fewOutputs), 4u);
    Line fewNormals(5);
    fewNormals.input.normals = coordinatesOf(std::as_const(fewNormals.rest).data(), 2);
    EXPECT_EQ(written(fewNormals), 5u); // nowhere to write normals: they do not count
    std::vector<Vector3> normals(5);
    Line withNormals(5);
    withNormals.input.normals = coordinatesOf(std::as_const(withNormals.rest).data(), 2);
    withNormals.output.normals = coordinatesOf(normals.data(), 5);
    EXPECT_EQ(written(withNormals), 2u);
    Line noOffsets(5);
    noOffsets.input.influences = {Strided<int const>(), arrayOf(bones), arrayOf(weights)};
    EXPECT_EQ(written(noOffsets), 0u);
    EXPECT_EQ(sinew::skin(SkinInput(), SkinOutput()), 0u);
}

TEST(Skin, WithoutInfluencesOrWithEmptyListsOnlyPlaces)
{
    Line none(2);
    none.input.placement.translation = {0, 5, 0};
    none.input.placement.scale = 2;
    sinew::skin(none.input, none.output);
    EXPECT_EQ(none.posed[1], Vector3(2, 5, 0));
    Line empty(2);
    empty.input.placement = none.input.placement;
    empty.input.influences = {0, Strided<int const>(), Strided<float const>()};
    EXPECT_EQ(sinew::skin(empty.input, empty.output), 2u);
    EXPECT_EQ(empty.posed[1], Vector3(2, 5, 0));
    Line noBones(2);
    std::vector<int> const bones = {0, 1};
    std::vector<double> const weights = {1, 1};
    noBones.input.bones = nullptr;
    noBones.input.boneCount = 0;
    noBones.input.influences = fixedInfluences(1, bones, weights);
    sinew::skin(noBones.input, noBones.output);
    EXPECT_EQ(noBones.posed[1], Vector3(1, 0, 0));
}

TEST(Skin, AFloatOutputIsTheRoundedResult)
{
    Line line(1);
    line.rest[0] = {0.1, 1e300, -1e-300};
    std::vector<float> posed(3);
    line.output.positions = Strided<float>(posed.data(), 1, 3 * sizeof(float));
    sinew::skin(line.input, line.output);
    EXPECT_EQ(posed[0], 0.1f);
    EXPECT_EQ(posed[1], std::numeric_limits<float>::infinity());
    EXPECT_TRUE(std::signbit(posed[2]) || posed[2] == 0.0f);
}

TEST(Skin, IsUnchangedIfTheBonesDoNotFitIntoMemory)
{
    Line line(40);
    std::vector<int> const bones(40, 0);
    std::vector<double> const weights(40, 1.0);
    line.input.influences = fixedInfluences(1, bones, weights);
    {
        test::FailingNew const failing(0);
        EXPECT_THROW(sinew::skin(line.input, line.output), std::bad_alloc);
    }
    for (Vector3 const& p : line.posed) EXPECT_EQ(p.x, static_cast<double>(kUnwritten));
}

TEST(BonesFromMatrices, ReadsBothOrdersAndBothTypes)
{
    // Entry (i, j) is 10 * i + j.
    std::vector<float> rows;
    std::vector<double> columns;
    for (int matrix = 0; matrix < 2; ++matrix) {
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 4; ++j) {
                rows.push_back(static_cast<float>(100 * matrix + 10 * i + j));
                columns.push_back(100 * matrix + 10 * j + i);
            }
        }
    }
    std::vector<BoneTransform> bones(4);
    sinew::bonesFromMatrices(arrayOf(rows, 16), sinew::MatrixOrder::rows, bones.data());
    sinew::bonesFromMatrices(arrayOf(columns, 16), sinew::MatrixOrder::columns, bones.data() + 2);
    for (int matrix = 0; matrix < 4; ++matrix) {
        BoneTransform const& bone = bones[static_cast<std::size_t>(matrix)];
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) EXPECT_EQ(bone.linear(i, j), 100 * (matrix % 2) + 10 * i + j);
            EXPECT_EQ(bone.translation[i], 100 * (matrix % 2) + 10 * i + 3);
        }
    }
    sinew::bonesFromMatrices(Strided<float const>(), sinew::MatrixOrder::rows, nullptr);
}

TEST(BonesFromMatrices, ReadsNoMoreThanThreeRows)
{
    std::vector<double> const matrix = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}; // the sanitizer sees a longer access
    BoneTransform bone;
    sinew::bonesFromMatrices(arrayOf(matrix, 12), sinew::MatrixOrder::rows, &bone);
    EXPECT_EQ(bone.translation, Vector3(4, 8, 12));
}
