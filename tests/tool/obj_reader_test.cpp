#include <tool/io/obj_reader.h>

#include <gtest/gtest.h>

#include <tool/support/user_error.h>

namespace {

// The error message for a text, or "read" if there is none.
std::string messageFor(std::string const& text)
{
    try {
        tool::parseObj(text, "m.obj");
        return "read";
    } catch (tool::UserError const& error) {
        return error.what();
    }
}

std::string const kCorners = "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvt 1 0\nvt 0 1\n";

TEST(ParseObj, ReadsPositionsTextureAndGroups)
{
    tool::TexturedMesh const mesh =
        tool::parseObj(kCorners + "o one\nf 1/1 2/2 3/3\no two\nf 3/1 2/2 1/3\n", "a/m.obj");
    EXPECT_EQ(mesh.name, "m.obj");
    ASSERT_EQ(mesh.positions.size(), 3u);
    EXPECT_EQ(mesh.positions[1], Vector3(1, 0, 0));
    ASSERT_EQ(mesh.texcoords.size(), 3u);
    EXPECT_EQ(mesh.texcoords[2], tzNM::vect2<double>(0, 1));
    ASSERT_EQ(mesh.triangles.size(), 2u);
    EXPECT_EQ(mesh.triangles[1], (tool::Triangle{2, 1, 0}));
    EXPECT_EQ(mesh.texTriangles[1], (tool::Triangle{0, 1, 2}));
    EXPECT_EQ(mesh.groups, (std::vector<std::string>{"one", "two"}));
    EXPECT_EQ(mesh.groupOfTriangle, (std::vector<int>{0, 1}));
}

TEST(ParseObj, DividesPolygonsIntoTriangles)
{
    tool::TexturedMesh const mesh = tool::parseObj(kCorners + "v 1 1 0\nf 1 2 4 3\n", "m.obj");
    EXPECT_EQ(mesh.triangles.size(), 2u);
    EXPECT_FALSE(mesh.hasTexture());
}

TEST(ParseObj, CountsNegativeIndicesFromTheEnd)
{
    tool::TexturedMesh const mesh = tool::parseObj(kCorners + "f -3/-3 -2/-2 -1/-1\n", "m.obj");
    EXPECT_EQ(mesh.triangles[0], (tool::Triangle{0, 1, 2}));
    EXPECT_EQ(mesh.texTriangles[0], (tool::Triangle{0, 1, 2}));
}

TEST(ParseObj, ReadsWindowsLineEndsAndComments)
{
    EXPECT_EQ(messageFor("# made elsewhere\r\nv 0 0 0\r\nv 1 0 0 # right\r\nv 0 1 0\r\nf 1 2 3\r\n"), "read");
}

TEST(ParseObj, ChecksLinesThatEndWithACarriageReturn)
{
    EXPECT_EQ(tool::parseObj("v 0 0 0\rv 1 0 0\rv 0 1 0\rf 1 2 3\r", "m.obj").triangles.size(), 1u);
    EXPECT_EQ(messageFor("v 0 0 0\rv 1e999 0 0\rv 0 1 0\rf 1 2 3\r").substr(0, 8), "m.obj:2:");
}

TEST(ParseObj, IgnoresLinesThatItDoesNotKnow)
{
    std::string const text = "vw 1 1e300 2\nt x 1e300/0/0\nl 1 2\nusemtl none\n" + kCorners + "f 1 2 3\n";
    EXPECT_EQ(tool::parseObj(text, "m.obj").triangles.size(), 1u);
}

TEST(ParseObj, ReadsAllDigitsOfANumber)
{
    tool::TexturedMesh const mesh = tool::parseObj("v 0.1 1e-5 -2.5E3\nv 1 0 0\nv 0 1 0\nf 1 2 3\n", "m.obj");
    EXPECT_NEAR(mesh.positions[0].x, 0.1, 1e-16); // the result of the loader may be a neighbour of the nearest double
    EXPECT_NEAR(mesh.positions[0].y, 1e-5, 1e-20);
    EXPECT_EQ(mesh.positions[0].z, -2500);
}

struct Damage
{
    char const* name;
    char const* text;
    char const* message; // a part of the expected message
};

class DamagedObj : public testing::TestWithParam<Damage>
{
};

TEST_P(DamagedObj, GivesOneLineWithFileAndLineNumber)
{
    std::string const message = messageFor(kCorners + GetParam().text);
    EXPECT_NE(message.find(GetParam().message), std::string::npos) << message;
    EXPECT_EQ(message.rfind("m.obj:", 0), 0u) << message;
    EXPECT_EQ(message.find('\n'), std::string::npos) << message;
}

INSTANTIATE_TEST_SUITE_P(
    All, DamagedObj,
    testing::Values(
        Damage{"Word", "v 1 two 3\n", "m.obj:7: \"two\" is not a number"},
        Damage{"HalfANumber", "v 1 2x 3\n", "m.obj:7: \"2x\" is not a number"},
        Damage{"NaN", "v 1 nan 3\n", "m.obj:7: a vertex has a coordinate that is not finite"},
        Damage{"Infinity", "vt inf 0\n", "m.obj:7: a texture coordinate has a coordinate that is not finite"},
        Damage{"Huge", "v 1e999 0 0\n", "not finite"},
        Damage{"ShortVertex", "v 1 2\n", "m.obj:7: a vertex needs 3 numbers, but has 2"},
        Damage{"ShortTexture", "vt 1\n", "needs 2 numbers, but has 1"},
        Damage{"VertexBeyond", "f 1 2 4\n", "m.obj:7: a face names vertex 4, but there are 3 so far"},
        Damage{"VertexZero", "f 0 1 2\n", "a face names vertex 0"},
        Damage{"VertexBefore", "f -4 1 2\n", "a face names vertex -4"},
        Damage{"HugeIndex", "f 1 2 99999999999999999999\n", "is not the number of a vertex"},
        Damage{"TextureBeyond", "f 1/1 2/2 3/4\n", "a face names texture coordinate 4"},
        Damage{"NormalBeyond", "f 1//1 2//1 3//1\n", "a face names normal 1, but there are 0"},
        Damage{"TwoCorners", "f 1 2\n", "a face needs at least 3 corners, but has 2"},
        Damage{"NotAnIndex", "f 1 2 x\n", "\"x\" is not the number of a vertex"},
        Damage{"MixedTexture", "f 1/1 2/2 3\n", "m.obj:7: some corners have texture coordinates and some have"},
        Damage{"MixedFaces", "f 1/1 2/2 3/3\nf 1 2 3\n", "m.obj:8: some corners"},
        Damage{"OpenCorner", "f 1/ 2 3\n", "m.obj:7: the corner \"1/\" of a face ends with a slash"},
        Damage{"OpenNormal", "f 1// 2 3\n", "m.obj:7: the corner \"1//\" of a face ends with a slash"},
        Damage{"NoFaces", "", "m.obj: no faces in this file"},
        Damage{"Binary", "\x01\x02\xff garbage\n", "m.obj: no faces in this file"}),
    [](auto const& tested) { return tested.param.name; });

TEST(ParseObj, ReadsOrRefusesEveryTruncation)
{
    std::string const whole = kCorners + "vn 0 0 1\nf 1/1/1 2/2/1 3/3/1\n";
    for (std::size_t length = 0; length < whole.size(); ++length) {
        SCOPED_TRACE(length);
        messageFor(whole.substr(0, length)); // another exception than UserError fails the test
    }
}

TEST(ParseObj, ReadsAFaceWithoutArea)
{
    EXPECT_EQ(tool::parseObj(kCorners + "f 1/1 1/1 2/2\n", "m.obj").triangles.size(), 1u);
}

} // namespace
