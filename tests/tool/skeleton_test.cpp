#include <tool/io/skeleton.h>

#include <gtest/gtest.h>

#include <tool/support/user_error.h>

namespace {

std::string messageFor(std::string const& text)
{
    try {
        tool::parseTgf(text, "s.tgf");
        return "read";
    } catch (tool::UserError const& error) {
        return error.what();
    }
}

TEST(ParseTgf, ReadsJointsNamesAndBones)
{
    tool::Skeleton const skeleton = tool::parseTgf(" 7 0 1.5 -2 hip\n3 1 1 1\n#\n7 3\n", "s.tgf");
    ASSERT_EQ(skeleton.joints.size(), 2u);
    EXPECT_EQ(skeleton.joints[0], Vector3(0, 1.5, -2));
    EXPECT_EQ(skeleton.jointNames, (std::vector<std::string>{"hip", "joint 3"}));
    ASSERT_EQ(skeleton.bones.size(), 1u);
    EXPECT_EQ(skeleton.bones[0], (std::array<int, 2>{0, 1}));
    EXPECT_EQ(skeleton.boneName(0), "hip - joint 3");
}

TEST(ParseTgf, IgnoresFurtherNumbersOfOtherPrograms)
{
    tool::Skeleton const skeleton =
        tool::parseTgf("1 0 0 0 2.1e-314 4.4e291 1\n2 1 0 0 0 1e-400 5\n#\r\n1 2 extra\r\n", "s.tgf");
    EXPECT_EQ(skeleton.jointNames[0], "joint 1");
    EXPECT_EQ(skeleton.bones.size(), 1u);
}

TEST(ParseTgf, ReadsARadiusAfterAName)
{
    tool::Skeleton const skeleton = tool::parseTgf("1 0 0 0 hip 0.25\n2 1 0 0 knee\n3 2 0 0 7\n#\n1 2\n", "s.tgf");
    EXPECT_EQ(skeleton.radii, (std::vector<double>{0.25, 0, 0}));
    EXPECT_NE(messageFor("1 0 0 0 hip big\n").find("s.tgf:1: \"big\" is not a radius"), std::string::npos);
    EXPECT_NE(messageFor("1 0 0 0 hip -1\n").find("is not a radius"), std::string::npos);
}

TEST(ParseTgf, IgnoresASecondMark)
{
    EXPECT_EQ(tool::parseTgf("1 0 0 0\n2 1 0 0\n#\n1 2\n#\n", "s.tgf").bones.size(), 1u);
}

TEST(ParseTgf, ErrorsNameTheLine)
{
    EXPECT_NE(messageFor("1 0 zero 0\n#\n").find("s.tgf:1: \"zero\" is not a coordinate"), std::string::npos);
    EXPECT_NE(messageFor("1 0 0\n#\n").find("s.tgf:1: \"\" is not a coordinate"), std::string::npos);
    EXPECT_NE(messageFor("1 0 nan 0\n#\n").find("s.tgf:1: a coordinate is not finite"), std::string::npos);
    EXPECT_NE(messageFor("x 0 0 0\n#\n").find("s.tgf:1: no joint number"), std::string::npos);
    EXPECT_NE(messageFor("1 0 0 0\n1 0 0 0\n#\n").find("s.tgf:2: joint 1 was given before"), std::string::npos);
    EXPECT_NE(messageFor("1 0 0 0\n2 1 0 0\n#\n1 3\n").find("s.tgf:4: there is no joint 3"), std::string::npos);
    EXPECT_NE(messageFor("1 0 0 0\n2 1 0 0\n#\n1\n").find("s.tgf:4: \"\" is not a joint number"), std::string::npos);
    EXPECT_NE(messageFor("1 0 0 0\n2 1 0 0\n#\n1 1\n").find("s.tgf:4: a bone from a joint to itself"),
              std::string::npos);
    EXPECT_NE(messageFor("1 0 0 0\n2 1 0 0\n").find("s.tgf: no bones"), std::string::npos);
    EXPECT_NE(messageFor("").find("s.tgf: no bones"), std::string::npos);
}

} // namespace
