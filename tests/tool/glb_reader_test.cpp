#include <tool/io/glb_reader.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <tool/io/glb.h>
#include <tool/support/user_error.h>

#include "support/random.h"

using nlohmann::json;

namespace {

// A file that a test puts together: numbers, and a document that refers to them.
class GlbFile
{
public:
    json document = {{"asset", {{"version", "2.0"}}}, {"nodes", json::array()}, {"meshes", json::array()}};

    GlbFile()
    {
        document["accessors"] = json::array();
        document["bufferViews"] = json::array();
    }

    // Appends the values as numbers of type T; returns the accessor's index.
    template <typename T>
    int add(std::vector<T> const& values, std::size_t components, bool normalized = false)
    {
        char const* const types[] = {"", "SCALAR", "VEC2", "VEC3", "VEC4"};
        std::string const type = components == 16 ? "MAT4" : types[components];
        buffer_.resize((buffer_.size() + 3) / 4 * 4, '\0');
        document["bufferViews"].push_back(
            {{"buffer", 0}, {"byteOffset", buffer_.size()}, {"byteLength", values.size() * sizeof(T)}});
        json accessor = {{"bufferView", document["bufferViews"].size() - 1},
                         {"componentType", componentType(T())},
                         {"count", values.size() / components},
                         {"type", type}};
        if (normalized) accessor["normalized"] = true;
        document["accessors"].push_back(accessor);
        for (T const value : values) {
            char bytes[sizeof(T)];
            std::memcpy(bytes, &value, sizeof(T)); // the tests of the tool run on little-endian machines
            buffer_.append(bytes, sizeof(T));
        }
        return static_cast<int>(document["accessors"].size()) - 1;
    }

    // A node with a mesh of one primitive.
    json& addMesh(json primitive, std::string const& name)
    {
        document["meshes"].push_back({{"primitives", json::array({std::move(primitive)})}});
        document["nodes"].push_back({{"name", name}, {"mesh", document["meshes"].size() - 1}});
        return document["nodes"].back();
    }

    std::string bytes() const
    {
        json whole = document;
        whole["buffers"] = json::array({{{"byteLength", buffer_.size()}}});
        std::string text = whole.dump();
        text.resize((text.size() + 3) / 4 * 4, ' ');
        std::string const chunks =
            word(text.size()) + "JSON" + text + word(buffer_.size()) + std::string("BIN\0", 4) + buffer_;
        return "glTF" + word(2) + word(12 + chunks.size()) + chunks;
    }

    tool::GlbModel read() const { return tool::parseGlb(bytes(), "a/m.glb"); }

    std::string message() const
    {
        try {
            read();
            return "read";
        } catch (tool::UserError const& error) {
            return error.what();
        }
    }

private:
    static int componentType(std::int8_t) { return 5120; }
    static int componentType(std::uint8_t) { return 5121; }
    static int componentType(std::int16_t) { return 5122; }
    static int componentType(std::uint16_t) { return 5123; }
    static int componentType(std::uint32_t) { return 5125; }
    static int componentType(float) { return 5126; }

    static std::string word(std::size_t value)
    {
        std::string text;
        for (int i = 0; i < 4; ++i) text += static_cast<char>(value >> (8 * i) & 255);
        return text;
    }

    std::string buffer_;
};

std::vector<float> const kSquare = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
std::vector<std::uint16_t> const kTwoTriangles = {0, 1, 2, 0, 2, 3};

json squareOf(GlbFile& file)
{
    return {{"attributes", {{"POSITION", file.add(kSquare, 3)}}}, {"indices", file.add(kTwoTriangles, 1)}};
}

// The square on two joints, the second above the first.
GlbFile skinnedSquare()
{
    GlbFile file;
    json square = squareOf(file);
    square["attributes"]["JOINTS_0"] = file.add<std::uint8_t>({0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0, 0}, 4);
    square["attributes"]["WEIGHTS_0"] = file.add<float>({1, 0, 0, 0, 2, 0, 0, 0, .25F, .75F, 0, 0, 0, 0, 0, 0}, 4);
    json& node = file.addMesh(square, "square");
    node["skin"] = 0;
    node["translation"] = {100, 0, 0}; // does not matter with a skin
    file.document["nodes"].push_back({{"name", "hip"}, {"children", {2}}});
    file.document["nodes"].push_back({{"name", "knee"}});
    int const inverses = file.add<float>({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0,  0, 1, //
                                          2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, -2, 0, 1},
                                         16);
    file.document["skins"] = json::array({{{"joints", {1, 2}}, {"inverseBindMatrices", inverses}}});
    return file;
}

} // namespace

TEST(ParseGlb, ReadsTrianglesTextureAndNames)
{
    GlbFile file;
    json square = squareOf(file);
    square["attributes"]["TEXCOORD_0"] = file.add<float>({0, 0, 1, 0, 1, 1, 0, .75F}, 2);
    file.addMesh(square, "square");
    tool::GlbModel const model = file.read();
    EXPECT_EQ(model.mesh.name, "m.glb");
    ASSERT_EQ(model.mesh.positions.size(), 4u);
    EXPECT_EQ(model.mesh.positions[2], Vector3(1, 1, 0));
    EXPECT_EQ(model.mesh.triangles, (std::vector<tool::Triangle>{{0, 1, 2}, {0, 2, 3}}));
    EXPECT_EQ(model.mesh.texTriangles, model.mesh.triangles);
    EXPECT_EQ(model.mesh.texcoords[3], tzNM::vect2<double>(0, .25)) << "the axis points upwards";
    EXPECT_EQ(model.mesh.groups, std::vector<std::string>{"square"});
    EXPECT_EQ(model.mesh.groupOfTriangle, (std::vector<int>{0, 0}));
    EXPECT_TRUE(model.skeleton.bones.empty());
    EXPECT_TRUE(model.weights.empty());
}

TEST(ParseGlb, PlacesTheMeshesOfAllNodes)
{
    GlbFile file;
    json const square = squareOf(file);
    file.addMesh(square, "first")["translation"] = {0, 0, 5};
    json& second = file.addMesh(square, "second");
    second["scale"] = {2, 3, 4};
    second["rotation"] = {0, 0, 1, 0}; // half a turn about z
    file.document["nodes"].push_back(
        {{"matrix", {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 10, 20, 30, 1}}, {"children", {0, 1}}});
    tool::GlbModel const model = file.read();
    ASSERT_EQ(model.mesh.positions.size(), 8u);
    EXPECT_EQ(model.mesh.positions[2], Vector3(11, 21, 35));
    EXPECT_EQ(model.mesh.positions[6], Vector3(8, 17, 30));
    EXPECT_EQ(model.mesh.triangles[2], (tool::Triangle{4, 5, 6}));
    EXPECT_EQ(model.mesh.groupOfTriangle, (std::vector<int>{0, 0, 1, 1}));
}

TEST(ParseGlb, VerticesThatAreSplitAtSeamsAreOneVertex)
{
    GlbFile file;
    int const positions = file.add<float>({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 0, 0, 1, 1, 0, 0, 1, 0}, 3);
    int const texcoords = file.add<float>({0, 0, 1, 0, 1, 1, .5F, 0, .5F, 1, 0, 1}, 2);
    file.addMesh({{"attributes", {{"POSITION", positions}, {"TEXCOORD_0", texcoords}}}}, "seam");
    tool::GlbModel const model = file.read();
    EXPECT_EQ(model.mesh.positions.size(), 4u);
    EXPECT_EQ(model.mesh.triangles, (std::vector<tool::Triangle>{{0, 1, 2}, {0, 2, 3}}));
    EXPECT_EQ(model.mesh.texTriangles, (std::vector<tool::Triangle>{{0, 1, 2}, {3, 4, 5}}));
}

TEST(ParseGlb, ReadsStripsFansAndPointsAsTheyAreMeant)
{
    using Triangles = std::vector<tool::Triangle>;
    for (auto const& [mode, expected] :
         {std::pair<int, Triangles>{4, {{0, 1, 2}}}, {5, {{0, 1, 2}, {2, 1, 3}}}, {6, {{0, 1, 2}, {0, 2, 3}}}}) {
        GlbFile file;
        file.addMesh({{"attributes", {{"POSITION", file.add(kSquare, 3)}}}, {"mode", mode}}, "m");
        EXPECT_EQ(file.read().mesh.triangles, expected) << mode;
    }
    GlbFile points;
    points.addMesh({{"attributes", {{"POSITION", points.add(kSquare, 3)}}}, {"mode", 0}}, "m");
    EXPECT_NE(points.message().find("no triangles"), std::string::npos);
}

TEST(ParseGlb, ReadsEveryTypeOfNumberAndInterleavedData)
{
    GlbFile file;
    int const positions = file.add<std::int16_t>({-32768, 32767, 0, 5, 0, 0, 0, 5, 0}, 3, true);
    int const texcoords = file.add<std::uint8_t>({0, 255, 51, 0, 102, 204}, 2, true);
    file.addMesh({{"attributes", {{"POSITION", positions}, {"TEXCOORD_0", texcoords}}}}, "integers");
    file.document["extensionsRequired"] = {"KHR_mesh_quantization", "KHR_materials_unlit", "KHR_texture_transform"};
    tool::GlbModel const integers = file.read();
    EXPECT_EQ(integers.mesh.positions[0], Vector3(-1, 1, 0));
    EXPECT_EQ(integers.mesh.texcoords[1], tzNM::vect2<double>(.2, 1));

    GlbFile strided; // three floats, then one byte and three bytes of filling
    int const mixed = strided.add<float>({0, 0, 0, 0, 1, 0, 0, 0, 1, 1, 0, 0}, 3);
    strided.document["bufferViews"][0]["byteStride"] = 16;
    strided.document["accessors"][0]["count"] = 3;
    strided.addMesh({{"attributes", {{"POSITION", mixed}}}}, "strided");
    EXPECT_EQ(strided.read().mesh.positions, (std::vector<Vector3>{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}}));
}

TEST(ParseGlb, ReadsTheSkinInItsBindPose)
{
    tool::GlbModel const model = skinnedSquare().read();
    EXPECT_EQ(model.mesh.positions[1], Vector3(1, 0, 0));
    EXPECT_EQ(model.skeleton.jointNames, (std::vector<std::string>{"hip", "knee", "knee end"}));
    EXPECT_EQ(model.skeleton.joints, (std::vector<Vector3>{{0, 0, 0}, {0, 1, 0}, {0, 1.5, 0}}));
    EXPECT_EQ(model.skeleton.bones, (std::vector<std::array<int, 2>>{{0, 1}, {1, 2}}));
    // The second row is divided by its sum; the last vertex has no weights, and the bone from hip to knee is nearest.
    EXPECT_EQ(model.weights, (tool::BoneWeights{{1, 0}, {1, 0}, {.25, .75}, {1, 0}}));
}

TEST(ParseGlb, OfAFileWithASkinOnlyTheNodesWithThatSkinAreRead)
{
    GlbFile file = skinnedSquare();
    int const elsewhere = file.add<float>({5, 5, 5, 6, 5, 5, 6, 6, 5}, 3);
    file.addMesh({{"attributes", {{"POSITION", elsewhere}}}}, "without a skin");
    tool::GlbModel const model = file.read();
    EXPECT_EQ(model.mesh.positions.size(), 4u);
    EXPECT_EQ(model.mesh.groups, std::vector<std::string>{"square"});
}

TEST(ParseGlb, AJointDividesItsWeightAmongItsBones)
{
    GlbFile file = skinnedSquare();
    file.document["nodes"][1]["children"] = {2, 3};
    file.document["nodes"].push_back({{"name", "other knee"}});
    file.document["skins"][0] = {{"joints", {1, 2, 3}}};
    tool::GlbModel const model = file.read();
    EXPECT_EQ(model.weights[0], (std::vector<double>{.5, .5, 0, 0}));
    EXPECT_EQ(model.weights[2], (std::vector<double>{.125, .125, .75, 0}));
    // Without bind matrices all joints are at the origin; the ends are above them.
    EXPECT_EQ(model.skeleton.joints[3], Vector3(0, 1, 0));
}

TEST(ParseGlb, ReadsWhatTheTourWrites)
{
    tool::Skeleton const skeleton = tool::parseTgf("1 0 0 0 a\n2 1 0 0 b\n3 2 0 0 c\n#\n1 2\n2 3\n", "two.tgf");
    std::vector<Vector3> const positions = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
    std::vector<Vector3> const normals(4, Vector3(0, 0, 1));
    std::vector<tool::Triangle> const triangles = {{0, 1, 2}, {0, 2, 3}};
    tool::BoneWeights const weights = {{1, 0}, {.5, .5}, {.25, .75}, {0, 1}};
    tool::GlbModel const model =
        tool::parseGlb(tool::skinnedGlb({positions, normals, triangles, weights, skeleton}, {}), "figure.glb");
    EXPECT_EQ(model.mesh.positions, positions);
    EXPECT_EQ(model.mesh.triangles, triangles);
    EXPECT_EQ(model.weights, weights);
    EXPECT_EQ(model.skeleton.joints[1], Vector3(1, 0, 0));
}

TEST(ParseGlb, ErrorsNameTheFileAndTheReason)
{
    struct Case
    {
        char const* reason;
        void (*damage)(json&);
    };
    Case const cases[] = {
        {"names a vertex that does not exist",
         [](json& d) {
             d["accessors"][0]["count"] = 3;
             d["meshes"][0]["primitives"][0]["attributes"].erase("JOINTS_0");
         }},
        {"its data is incomplete", [](json& d) { d["accessors"][0]["count"] = 4294967295u; }},
        {"its data is incomplete", [](json& d) { d["accessors"][0]["byteOffset"] = 4; }},
        {"elements overlap", [](json& d) { d["bufferViews"][0]["byteStride"] = 4; }},
        {"it ends too early", [](json& d) { d["bufferViews"][0]["byteLength"] = 4294967295u; }},
        {"a number is too large", [](json& d) { d["bufferViews"][0]["byteLength"] = 4294967296u; }},
        {"a number is not a whole number", [](json& d) { d["accessors"][0]["count"] = -1; }},
        {"a number type is unknown", [](json& d) { d["accessors"][0]["componentType"] = 5124; }},
        {"an element type is unknown", [](json& d) { d["accessors"][0]["type"] = "MAT2"; }},
        {"another size", [](json& d) { d["accessors"][0]["type"] = "VEC2"; }},
        {"sparse", [](json& d) { d["accessors"][0]["sparse"] = json::object(); }},
        {"\"accessors\" has no entry 9", [](json& d) { d["meshes"][0]["primitives"][0]["indices"] = 9; }},
        {"\"meshes\" is not a list", [](json& d) { d["meshes"] = "mesh"; }},
        {"a mesh has no POSITION", [](json& d) { d["meshes"][0]["primitives"][0]["attributes"] = 3; }},
        {"unknown mode", [](json& d) { d["meshes"][0]["primitives"][0]["mode"] = 7; }},
        {"no triangles", [](json& d) { d["nodes"] = json::array(); }},
        {"not a tree", [](json& d) { d["nodes"][1]["children"] = {1}; }},
        {"not a tree", [](json& d) { d["nodes"][0]["children"] = {2}; }},
        {"rotation of a node is incomplete",
         [](json& d) {
             d["nodes"][0]["rotation"] = {0, 1};
         }},
        {"a number is missing",
         [](json& d) {
             d["nodes"][0]["scale"] = {"1", 1, 1};
         }},
        {"wrong joint",
         [](json& d) {
             d["skins"][0]["joints"] = {1, 1};
         }},
        {"its skin is incomplete", [](json& d) { d["accessors"][4]["count"] = 1; }},
        {"names a joint that does not exist", [](json& d) { d["skins"][0]["joints"] = {1}; }},
        {"KHR_draco_mesh_compression",
         [](json& d) {
             d["extensionsRequired"] = {"KHR_texture_transform", "KHR_draco_mesh_compression"};
         }},
    };
    for (Case const& c : cases) {
        GlbFile file = skinnedSquare();
        c.damage(file.document);
        EXPECT_EQ(file.message().find("a/m.glb: "), 0u) << file.message();
        EXPECT_NE(file.message().find(c.reason), std::string::npos) << c.reason << "\n" << file.message();
    }
}

TEST(ParseGlb, RefusesNumbersThatAreNotFiniteAndPartsWithoutTexture)
{
    GlbFile infinite;
    infinite.addMesh(
        {{"attributes",
          {{"POSITION", infinite.add<float>({0, 0, std::numeric_limits<float>::infinity(), 1, 0, 0, 1, 1, 0}, 3)}}}},
        "m");
    EXPECT_NE(infinite.message().find("not finite"), std::string::npos);

    GlbFile mixed;
    json square = squareOf(mixed);
    mixed.addMesh(square, "without");
    square["attributes"]["TEXCOORD_0"] = mixed.add<float>({0, 0, 1, 0, 1, 1, 0, 1}, 2);
    mixed.addMesh(square, "with");
    EXPECT_NE(mixed.message().find("some have none"), std::string::npos);
}

TEST(ParseGlb, RefusesEveryTruncationAndSurvivesEveryChangedByte)
{
    std::string const bytes = skinnedSquare().bytes();
    int refused = 0;
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        EXPECT_THROW(tool::parseGlb(bytes.substr(0, length), "m.glb"), tool::UserError) << length;
    }
    test::Random random(7);
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        std::string damaged = bytes;
        damaged[at] = static_cast<char>(random.below(256));
        try {
            tool::GlbModel const model = tool::parseGlb(damaged, "m.glb");
            EXPECT_EQ(model.weights.size(), model.skeleton.bones.empty() ? 0 : model.mesh.positions.size());
        } catch (tool::UserError const&) {
            ++refused;
        }
    }
    EXPECT_GT(refused, 100);
}
