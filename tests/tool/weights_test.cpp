#include <tool/io/weights.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <tool/support/user_error.h>

#include "support/random.h"

namespace {

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
