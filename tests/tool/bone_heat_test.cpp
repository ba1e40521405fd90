#include <tool/figure/bone_heat.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include <tool/io/weights.h>
#include <tool/support/user_error.h>

#include "support/random.h"

namespace {

// A closed tube around the x axis from 0 to `length`, with rings of `sectors` vertices and a vertex at each end.
struct Tube
{
    std::vector<Vector3> positions;
    std::vector<tool::Triangle> triangles;

    Tube(double length, double radius, int rings, int sectors, Vector3 const& at = {})
    {
        for (int i = 0; i < rings; ++i) {
            for (int j = 0; j < sectors; ++j) {
                double const angle = 2 * std::acos(-1.0) * j / sectors;
                positions.push_back(
                    at + Vector3(length * i / (rings - 1), radius * std::cos(angle), radius * std::sin(angle)));
            }
        }
        int const first = static_cast<int>(positions.size()), last = first + 1;
        positions.push_back(at);
        positions.push_back(at + Vector3(length, 0, 0));
        for (int j = 0; j < sectors; ++j) {
            int const k = (j + 1) % sectors;
            for (int i = 0; i + 1 < rings; ++i) {
                int const a = i * sectors + j, b = i * sectors + k;
                triangles.push_back({a, b, b + sectors});
                triangles.push_back({a, b + sectors, a + sectors});
            }
            triangles.push_back({first, k, j});
            triangles.push_back({last, (rings - 1) * sectors + j, (rings - 1) * sectors + k});
        }
    }
};

tool::Skeleton const kTwoBones = tool::parseTgf("1 0 0 0\n2 2 0 0\n3 4 0 0\n#\n1 2\n2 3\n", "s.tgf");

void expectValidWeights(tool::BoneHeat const& heat, std::size_t vertices)
{
    ASSERT_EQ(heat.weights.size(), vertices);
    for (auto const& row : heat.weights) {
        double sum = 0;
        for (double const w : row) {
            ASSERT_GE(w, 0);
            ASSERT_LE(w, 1);
            sum += w;
        }
        ASSERT_NEAR(sum, 1, 1e-14);
    }
    EXPECT_GE(heat.lowest, -1e-12); // the solution before clamping
    EXPECT_LE(heat.highest, 1 + 1e-12);
    EXPECT_LT(heat.largestSumError, 1e-12);
    EXPECT_LT(heat.largestResidual, 1e-12);
}

TEST(BoneHeat, ShowsItsProgressAndHasTheSameWeights)
{
    Tube const tube(4, 0.4, 41, 12);
    std::vector<double> shown;
    tool::BoneHeat const heat =
        tool::boneHeat(tube.positions, tube.triangles, kTwoBones, [&](double f) { shown.push_back(f); });
    ASSERT_GE(shown.size(), 2u); // the ends of the factorisation and of the solutions
    EXPECT_TRUE(std::is_sorted(shown.begin(), shown.end()));
    EXPECT_EQ(shown.back(), 1.0);
    EXPECT_EQ(heat.weights, tool::boneHeat(tube.positions, tube.triangles, kTwoBones).weights);
}

TEST(BoneHeat, DecreasesAlongATubeAndIsOneHalfAtTheJoint)
{
    Tube const tube(4, 0.4, 41, 12);
    tool::BoneHeat const heat = tool::boneHeat(tube.positions, tube.triangles, kTwoBones);
    expectValidWeights(heat, tube.positions.size());
    for (int i = 0; i + 1 < 41; ++i) EXPECT_GT(heat.weights[12u * i][0], heat.weights[12u * (i + 1)][0]) << i;
    EXPECT_NEAR(heat.weights[12 * 20][0], 0.5, 1e-9);
    EXPECT_GT(heat.weights[0][0], 0.95);
    EXPECT_EQ(heat.pieces, 1);
}

TEST(BoneHeat, AgreesWithTheOneDimensionalSolution)
{
    // Far from the ends of a tube the weights obey w'' = w / r^2 on both sides of the joint. The solution is exp(-|x| /
    // r) / 2.
    Tube const tube(4, 0.3, 401, 24);
    tool::BoneHeat const heat = tool::boneHeat(tube.positions, tube.triangles, kTwoBones);
    for (int i = 200; i <= 300; i += 20) {
        double const x = (i - 200) * 0.01;
        EXPECT_NEAR(heat.weights[24u * i][0], 0.5 * std::exp(-x / 0.3), 0.006) << x; // the error of a coarse mesh
    }
}

TEST(BoneHeat, GivesSeparatePiecesWeights)
{
    Tube tube(4, 0.4, 21, 8);
    Tube const button(0.2, 0.05, 3, 5, {3.4, 0.6, 0});
    int const shift = static_cast<int>(tube.positions.size());
    tube.positions.insert(tube.positions.end(), button.positions.begin(), button.positions.end());
    for (tool::Triangle const& t : button.triangles)
        tube.triangles.push_back({t[0] + shift, t[1] + shift, t[2] + shift});
    tool::BoneHeat const heat = tool::boneHeat(tube.positions, tube.triangles, kTwoBones);
    expectValidWeights(heat, tube.positions.size());
    EXPECT_EQ(heat.pieces, 2);
    EXPECT_NEAR(heat.weights.back()[1], 1, 1e-9) << "the second bone is the nearest one to all vertices of the button";
}

TEST(BoneHeat, FlowsAcrossSeams)
{
    Tube const whole(4, 0.4, 21, 8);
    Tube split = whole; // every triangle has separate corners
    split.positions.clear();
    for (tool::Triangle& t : split.triangles) {
        for (int& v : t) {
            split.positions.push_back(whole.positions[static_cast<std::size_t>(v)]);
            v = static_cast<int>(split.positions.size()) - 1;
        }
    }
    tool::BoneHeat const heat = tool::boneHeat(whole.positions, whole.triangles, kTwoBones);
    tool::BoneHeat const splitHeat = tool::boneHeat(split.positions, split.triangles, kTwoBones);
    EXPECT_EQ(splitHeat.pieces, 1);
    EXPECT_EQ(splitHeat.joined, split.positions.size() - whole.positions.size());
    for (std::size_t t = 0; t < whole.triangles.size(); ++t) {
        for (std::size_t k = 0; k < 3; ++k) {
            double const there = splitHeat.weights[static_cast<std::size_t>(split.triangles[t][k])][0];
            EXPECT_NEAR(there, heat.weights[static_cast<std::size_t>(whole.triangles[t][k])][0], 1e-12);
        }
    }
}

TEST(BoneHeat, GivesVerticesWithoutTrianglesTheirNearestBones)
{
    Tube tube(4, 0.4, 11, 6);
    tube.positions.push_back({3.5, 2, 0});
    tube.positions.push_back({0.5, 2, 0});
    tube.positions.push_back({2, 2, 0}); // equally near to both bones
    tube.triangles.push_back({0, 1, 1}); // a triangle without area
    tool::BoneHeat const heat = tool::boneHeat(tube.positions, tube.triangles, kTwoBones);
    expectValidWeights(heat, tube.positions.size());
    EXPECT_EQ(heat.withoutArea, 3u);
    std::size_t const n = heat.weights.size();
    EXPECT_EQ(heat.weights[n - 3], (std::vector<double>{0, 1}));
    EXPECT_EQ(heat.weights[n - 2], (std::vector<double>{1, 0}));
    EXPECT_EQ(heat.weights[n - 1], (std::vector<double>{0.5, 0.5}));
}

TEST(BoneHeat, GivesValidWeightsOnRandomTriangles)
{
    test::Random random(11);
    std::vector<Vector3> const positions = random.points(60, -1, 5);
    std::vector<tool::Triangle> triangles;
    for (int i = 0; i < 150; ++i) triangles.push_back({random.below(60), random.below(60), random.below(60)});
    tool::BoneHeat const heat = tool::boneHeat(positions, triangles, kTwoBones);
    expectValidWeights(heat, positions.size());
    EXPECT_GT(heat.raisedEdges, 0u);
}

TEST(BoneHeat, GivesValidWeightsWithAVertexOnABone)
{
    Tube tube(4, 0.4, 11, 6);
    tube.positions[0] = {1, 0, 0};
    expectValidWeights(tool::boneHeat(tube.positions, tube.triangles, kTwoBones), tube.positions.size());
}

TEST(BoneHeat, SaysWhyItCannotSolve)
{
    Tube tube(4, 0.4, 11, 6);
    EXPECT_EQ(tool::boneHeat(tube.positions, tube.triangles, kTwoBones).fault, "");
    for (Vector3& p : tube.positions) p *= 1e90; // areas overflow
    tool::BoneHeat const heat = tool::boneHeat(tube.positions, tube.triangles, kTwoBones);
    EXPECT_TRUE(heat.weights.empty());
    EXPECT_NE(heat.fault.find("row 0"), std::string::npos) << heat.fault;
    EXPECT_NE(heat.fault.find("inf"), std::string::npos) << heat.fault;
}

TEST(Dmat, ReadsBackTheSameBits)
{
    test::Random random(3);
    tool::BoneWeights weights(7, std::vector<double>(3));
    for (auto& row : weights) {
        for (double& w : row) w = random.spread();
    }
    std::string const text = tool::printDmat(weights);
    EXPECT_EQ(text.substr(0, 4), "3 7\n");
    EXPECT_EQ(tool::parseDmat(text, "w.dmat", 7, 3), weights);
}

TEST(Dmat, HasOneColumnForEachBone)
{
    tool::BoneWeights const weights = tool::parseDmat("2 3\n1\n2\n3\n4\n5\n6\n", "w.dmat", 3, 2);
    EXPECT_EQ(weights, (tool::BoneWeights{{1, 4}, {2, 5}, {3, 6}}));
}

TEST(Dmat, ErrorsNameFileLineAndReason)
{
    auto const message = [](std::string const& text) {
        try {
            tool::parseDmat(text, "w.dmat", 2, 1);
            return std::string("read");
        } catch (tool::UserError const& error) {
            return std::string(error.what());
        }
    };
    EXPECT_EQ(message("1 2\n0.5\n0.5\n"), "read");
    EXPECT_NE(message("2 2\n0\n0\n0\n0\n").find("w.dmat:1: 2 columns (bones), but the model has 1"), std::string::npos);
    EXPECT_NE(message("1 3\n0\n0\n0\n").find("w.dmat:1: 3 rows (vertices), but the model has 2"), std::string::npos);
    EXPECT_NE(message("1 2\n0\n").find("w.dmat: only 1 of 2 weights"), std::string::npos);
    EXPECT_NE(message("1 2\n0\n0\n0\n").find("w.dmat:4: more numbers"), std::string::npos);
    EXPECT_NE(message("1 2\nx\n0\n").find("w.dmat:2: \"x\" is not a weight"), std::string::npos);
    EXPECT_NE(message("1 2\nnan\n0\n").find("w.dmat:2: \"nan\" is not a weight"), std::string::npos);
    EXPECT_NE(message("").find("w.dmat: only 0 of 2 weights"), std::string::npos);
    EXPECT_NE(message("1e300 -5\n").find("w.dmat:1: 1e300 columns"), std::string::npos);
    EXPECT_NE(message("0 0\n").find("w.dmat:2: \"\" is not a weight"), std::string::npos);
    EXPECT_NE(message("0 0\n2 2\n").find("w.dmat:2: 2 columns (bones)"), std::string::npos);
    EXPECT_NE(message("0 0\n1 2\n12345678").find("w.dmat: only 1 of 2 weights"), std::string::npos);
    EXPECT_NE(message("0 0\n1 2\n123456781234567812345678").find("more numbers"), std::string::npos);
    EXPECT_NE(message("0 0\n1 2\n\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF").find("weight 1 is not finite"), std::string::npos);
}

TEST(Dmat, ReadsTheBinaryForm)
{
    std::string text = "0 0\n2 3\n";
    for (double value : {1.0, 0.5, -2.0, 0.1, 1e-300, 7.0}) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        for (int i = 0; i < 8; ++i) text += static_cast<char>(bits >> 8 * i & 0xFF);
    }
    tool::BoneWeights const expected = {{1.0, 0.1}, {0.5, 1e-300}, {-2.0, 7.0}};
    EXPECT_EQ(tool::parseDmat(text, "w.dmat", 3, 2), expected);
}

} // namespace
