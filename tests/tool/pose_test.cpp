#include <tool/figure/pose.h>

#include <cmath>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <tool/draw/animation.h>
#include <tool/draw/canvas.h>
#include <tool/io/glb.h>
#include <tool/models/models.h>

#include "stage_run.h"

namespace {

using tool::Skeleton;

Skeleton figure()
{
    return tool::parseTgf(tool::bundledFigureTgf(), "figure.tgf");
}

Skeleton ring()
{
    return tool::parseTgf("1 0 0 0 a\n2 1 0 0 b\n3 0 1 0 c\n#\n1 2\n2 3\n3 1\n", "ring.tgf");
}

double boneLength(Skeleton const& skeleton, std::vector<Vector3> const& joints, std::size_t bone)
{
    auto const [a, b] = skeleton.bones[bone];
    return dist(joints[static_cast<std::size_t>(a)], joints[static_cast<std::size_t>(b)]);
}

// Two triangles on one bone.
struct Strip
{
    Skeleton skeleton = tool::parseTgf("1 0 0 0 a\n2 1 0 0 b\n#\n1 2\n", "strip.tgf");
    std::vector<Vector3> positions = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
    std::vector<Vector3> normals = std::vector<Vector3>(4, Vector3(0, 0, 1));
    std::vector<tool::Triangle> triangles = {{0, 1, 2}, {0, 2, 3}};
    std::vector<std::vector<double>> weights = std::vector<std::vector<double>>(4, {1.0});

    std::string glb(std::vector<tool::KeyFrame> const& frames = {}) const
    {
        return tool::skinnedGlb({positions, normals, triangles, weights, skeleton}, frames);
    }
};

unsigned word(std::string const& bytes, std::size_t at)
{
    unsigned value = 0;
    for (std::size_t i = 4; i-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes.at(at + i));
    return value;
}

nlohmann::json documentOf(std::string const& glb)
{
    return nlohmann::json::parse(glb.substr(20, word(glb, 12)));
}

std::vector<std::string> chunksOf(std::string const& png)
{
    std::vector<std::string> kinds;
    for (std::size_t at = 8; at + 12 <= png.size();) {
        std::size_t length = 0;
        for (std::size_t i = 0; i < 4; ++i) length = length << 8 | static_cast<unsigned char>(png[at + i]);
        kinds.push_back(png.substr(at + 4, 4));
        at += 12 + length;
    }
    return kinds;
}

} // namespace

TEST(Pose, WithoutTurnsNothingMoves)
{
    Skeleton const skeleton = figure();
    tool::PosedSkeleton const posed = tool::takePose(skeleton, tool::poseOf(skeleton, {}));
    for (std::size_t j = 0; j < skeleton.joints.size(); ++j) {
        EXPECT_NEAR(dist(posed.joints[j], skeleton.joints[j]), 0, 1e-12) << skeleton.jointNames[j];
    }
}

TEST(Pose, TurnsKeepTheLengthOfEveryBoneAndCarryRestOntoPose)
{
    Skeleton const skeleton = figure();
    for (tool::NamedPose const& named : tool::eightPoses(skeleton)) {
        SCOPED_TRACE(named.name);
        tool::PosedSkeleton const posed = tool::takePose(skeleton, named.pose);
        for (std::size_t b = 0; b < skeleton.bones.size(); ++b) {
            EXPECT_NEAR(boneLength(skeleton, posed.joints, b), boneLength(skeleton, skeleton.joints, b), 1e-12);
            for (int const j : skeleton.bones[b]) {
                auto const joint = static_cast<std::size_t>(j);
                EXPECT_NEAR(dist(posed.bones[b] * skeleton.joints[joint], posed.joints[joint]), 0, 1e-12);
            }
        }
    }
}

TEST(Pose, TwistMakesABoneFollowTheTurnsOfItsAncestors)
{
    // A turn about the direction of the bone moves no joint. The points around the bone must turn with it.
    Skeleton const skeleton = tool::parseTgf("1 0 0 0 a\n2 0 1 0 b\n#\n1 2\n", "one.tgf");
    tool::PosedSkeleton const posed = tool::takePose(skeleton, tool::poseOf(skeleton, {{"b", 1, 90}}));
    EXPECT_NEAR(dist(posed.bones[0] * Vector3(0, 0.5, 1), Vector3(1, 0.5, 0)), 0, 1e-12);
}

TEST(Pose, TwistingTurnsTheSecondLastBonesAboutThemselves)
{
    Skeleton const skeleton = figure();
    tool::Pose const pose = tool::twisting(skeleton, 90);
    std::vector<std::string> turned;
    for (std::size_t b = 0; b < skeleton.bones.size(); ++b) {
        if (!(pose.turns[b] == Matrix3()))
            turned.push_back(skeleton.jointNames[static_cast<std::size_t>(skeleton.bones[b][1])]);
        Vector3 const bone = skeleton.endOf(b) - skeleton.startOf(b);
        EXPECT_NEAR(dist(pose.turns[b] * bone, bone), 0, 1e-12);
    }
    EXPECT_EQ(turned, (std::vector<std::string>{"head", "left-wrist", "right-wrist", "left-ankle", "right-ankle"}));
}

TEST(Pose, TwistingTurnsTheLastBonesOfShortChains)
{
    Skeleton const two = tool::parseTgf("1 0 0 0\n2 0 1 0\n3 0 2 0\n#\n1 2\n2 3\n", "two.tgf");
    tool::Pose const pose = tool::twisting(two, 90);
    EXPECT_TRUE(pose.turns[0] == Matrix3());
    EXPECT_NEAR(dist(pose.turns[1] * Vector3(0, 0, 1), Vector3(1, 0, 0)), 0, 1e-12);
    Skeleton const one = tool::parseTgf("1 0 0 0\n2 0 1 0\n#\n1 2\n", "one.tgf");
    EXPECT_TRUE(tool::twisting(one, 90).turns[0] == Matrix3());
    Skeleton const closed = ring();
    EXPECT_EQ(tool::twisting(closed, 90).turns.size(), closed.bones.size());
}

TEST(Pose, TheLowestJointStaysOnTheGround)
{
    Skeleton const skeleton = figure();
    auto const lowest = [](std::vector<Vector3> const& joints) {
        double y = joints[0].y;
        for (Vector3 const& joint : joints) y = std::fmin(y, joint.y);
        return y;
    };
    tool::PosedSkeleton const crouching = tool::takePose(skeleton, tool::eightPoses(skeleton)[4].pose);
    EXPECT_NEAR(lowest(crouching.joints), lowest(skeleton.joints), 1e-12);
    tool::PosedSkeleton const lifted = tool::takePose(skeleton, tool::poseOf(skeleton, {}, 0.5));
    EXPECT_NEAR(lowest(lifted.joints), lowest(skeleton.joints) + 0.5, 1e-12);
}

TEST(Pose, AWalkIsPeriodic)
{
    Skeleton const skeleton = figure();
    tool::PosedSkeleton const first = tool::takePose(skeleton, tool::walking(skeleton, 0));
    tool::PosedSkeleton const last = tool::takePose(skeleton, tool::walking(skeleton, 1));
    for (std::size_t j = 0; j < first.joints.size(); ++j) EXPECT_NEAR(dist(first.joints[j], last.joints[j]), 0, 1e-9);
}

TEST(Pose, EightPosesExistForSkeletonsWithoutNamesAndWithRings)
{
    for (Skeleton const& skeleton : {ring(), tool::parseTgf("1 0 0 0\n2 0 0 1\n3 0 0 2\n#\n1 2\n2 3\n", "line.tgf")}) {
        std::vector<tool::NamedPose> const poses = tool::eightPoses(skeleton);
        ASSERT_EQ(poses.size(), 8u);
        for (tool::NamedPose const& named : poses) {
            for (BoneTransform const& bone : tool::takePose(skeleton, named.pose).bones) {
                EXPECT_TRUE(std::isfinite(bone.linear.determinant()));
            }
        }
    }
}

TEST(AnimatedPng, HoldsEveryFrameInOrder)
{
    std::vector<std::string> frames;
    for (int k = 0; k < 3; ++k) frames.push_back(tool::Canvas(8, 6, 1, tool::categorical(k)).png());
    std::vector<std::string> const chunks = chunksOf(tool::animatedPng(frames, 40));
    EXPECT_EQ(chunks,
              (std::vector<std::string>{"IHDR", "acTL", "fcTL", "IDAT", "fcTL", "fdAT", "fcTL", "fdAT", "IEND"}));
}

TEST(AnimatedPng, RefusesAnEmptyListAndOtherFiles)
{
    EXPECT_THROW(tool::animatedPng({}, 40), std::runtime_error);
    EXPECT_THROW(tool::animatedPng({"GIF89a"}, 40), std::runtime_error);
}

TEST(Glb, IsAContainerOfTwoPaddedChunks)
{
    std::string const glb = Strip().glb();
    EXPECT_EQ(glb.substr(0, 4), "glTF");
    EXPECT_EQ(word(glb, 4), 2u);
    EXPECT_EQ(word(glb, 8), glb.size());
    std::size_t const binary = 20 + word(glb, 12);
    EXPECT_EQ(glb.substr(binary + 4, 4), std::string("BIN\0", 4));
    EXPECT_EQ(binary + 8 + word(glb, binary), glb.size());
    EXPECT_EQ(word(glb, binary) % 4, 0u);
}

TEST(Glb, OfEqualWeightsKeepsThoseOfTheFirstBones)
{
    Strip strip;
    strip.skeleton = tool::parseTgf("1 0 0 0\n2 1 0 0\n3 2 0 0\n4 3 0 0\n5 4 0 0\n6 5 0 0\n7 6 0 0\n#\n"
                                    "1 2\n2 3\n3 4\n4 5\n5 6\n6 7\n",
                                    "chain.tgf");
    ASSERT_EQ(strip.skeleton.bones.size(), 6u);
    strip.weights.assign(4, {0.125, 0.25, 0.125, 0.25, 0.125, 0.125});
    std::string const glb = strip.glb();
    nlohmann::json const document = documentOf(glb);
    nlohmann::json const& joints =
        document["accessors"][document["meshes"][0]["primitives"][0]["attributes"]["JOINTS_0"].get<std::size_t>()];
    std::size_t const view = joints["bufferView"].get<std::size_t>();
    std::size_t const binary = 20 + word(glb, 12) + 8;
    std::size_t const at = binary + document["bufferViews"][view]["byteOffset"].get<std::size_t>();
    for (std::size_t vertex = 0; vertex < 4; ++vertex) {
        EXPECT_EQ(word(glb, at + 8 * vertex), 1u | 3u << 16);
        EXPECT_EQ(word(glb, at + 8 * vertex + 4), 0u | 2u << 16);
    }
}

TEST(Glb, ReplacesBytesThatAreNotUtf8)
{
    Strip strip;
    strip.skeleton.jointNames[0] = "k\xE4se";
    EXPECT_EQ(documentOf(strip.glb())["nodes"][0]["name"], "k\xEF\xBF\xBDse - b");
}

TEST(Glb, DescribesMeshSkinAndMotion)
{
    Strip const strip;
    std::vector<tool::KeyFrame> const frames = {{0.0, {BoneTransform()}}, {1.0, {BoneTransform()}}};
    nlohmann::json const document = documentOf(strip.glb(frames));
    EXPECT_EQ(document["meshes"].size(), 1u);
    EXPECT_EQ(document["skins"][0]["joints"].size(), strip.skeleton.bones.size());
    EXPECT_EQ(document["animations"][0]["channels"].size(), 2 * strip.skeleton.bones.size());
    nlohmann::json const& positions =
        document["accessors"][document["meshes"][0]["primitives"][0]["attributes"]["POSITION"].get<std::size_t>()];
    EXPECT_EQ(positions["count"], 4);
    EXPECT_EQ(positions["max"], nlohmann::json::array({1.0, 1.0, 0.0}));
    EXPECT_FALSE(documentOf(strip.glb()).contains("animations"));
}

TEST(PoseStage, PosesTheUsersMeshWithItsWeightsAndRestoresIt)
{
    test::StageRun run;
    Strip const strip;
    run.tour.skeleton = strip.skeleton;
    run.tour.figure = {strip.positions, strip.normals, strip.triangles};
    run.tour.givenWeights = strip.weights;
    tool::poseStage(run.tour);
    EXPECT_TRUE(run.report.failedClaims().empty());
    EXPECT_FALSE(tool::readFile(run.folder / "poses.png").empty());
    EXPECT_FALSE(tool::readFile(run.folder / "methods.png").empty());
    EXPECT_FALSE(tool::readFile(run.folder / "figure.glb").empty());
    EXPECT_NE(run.page().find("show the same pose as the arrays, bit for bit"), std::string::npos);
}

TEST(PoseStage, PosesVerticesWithoutWeightsAndWithWeightsThatDoNotSumToOne)
{
    test::StageRun run;
    Strip const strip;
    run.tour.skeleton = strip.skeleton;
    run.tour.figure = {strip.positions, {}, strip.triangles}; // the stage makes the normals
    run.tour.givenWeights = {{0}, {0.25}, {1}, {3}};
    tool::poseStage(run.tour);
    EXPECT_EQ(run.report.failedClaims(), std::vector<std::string>());
    EXPECT_NE(run.page().find("A look at the weights"), std::string::npos);
}

TEST(PoseStage, AddsNoSectionWithoutWeights)
{
    test::StageRun run;
    tool::poseStage(run.tour);
    EXPECT_EQ(run.page().find("Poses"), std::string::npos);
}
