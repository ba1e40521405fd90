#include <tool/io/number_text.h>

#include <cmath>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/bits.h"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

double parsed(std::string const& word)
{
    double value = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(tool::parseDouble(word, value)) << word;
    return value;
}

} // namespace

TEST(ParseDouble, TakesWholeWordsOnly)
{
    EXPECT_EQ(parsed("+1.5e3"), 1500.0);
    EXPECT_EQ(parsed("-.5"), -0.5);
    EXPECT_EQ(parsed("inf"), kInfinity);
    EXPECT_TRUE(std::isnan(parsed("nan")));
    double value = 0;
    for (char const* const word : {"", "+", "1x", "1,5", "0x1", "1e", "++1", "joint"}) {
        EXPECT_FALSE(tool::parseDouble(word, value)) << word;
    }
}

TEST(ParseDouble, NumbersOutOfRangeKeepTheirSign)
{
    EXPECT_EQ(parsed("1e400"), kInfinity);
    EXPECT_EQ(parsed("-1e400"), -kInfinity);
    EXPECT_TRUE(test::sameBits(parsed("1e-400"), 0.0));
    EXPECT_TRUE(test::sameBits(parsed("-1e-400"), -0.0));
    EXPECT_TRUE(test::sameBits(parsed("0." + std::string(400, '0') + "1"), 0.0)) << "small without an exponent";
}

TEST(ForEachLine, TakesTheThreeLineEndsAsOneEach)
{
    std::vector<std::string> lines;
    tool::forEachLine("a\nb\r\n\rc\n\nd", [&](std::string_view line) { lines.emplace_back(line); });
    EXPECT_EQ(lines, (std::vector<std::string>{"a", "b", "", "c", "", "d"}));
    tool::forEachLine("", [&](std::string_view) { ADD_FAILURE() << "an empty text has no line"; });
}
