// Reads the input as a skeleton. Whatever the bytes are, the result is a skeleton whose bones have joints, or a
// UserError. A skeleton that was read is written into a GLB file with a small figure.

#include <cstring>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include <tool/io/glb.h>
#include <tool/io/skeleton.h>
#include <tool/support/user_error.h>

#include "fuzz/input.h"

using fuzz::require;

namespace {

constexpr std::size_t kMostBones = 40; // of a skeleton that is written

void examine(tool::Skeleton const& skeleton)
{
    std::size_t const joints = skeleton.joints.size();
    require(skeleton.jointNames.size() == joints && skeleton.radii.size() == joints, "parallel lists");
    require(!skeleton.bones.empty(), "a skeleton has bones");
    for (std::size_t b = 0; b < skeleton.bones.size(); ++b) {
        for (int end : skeleton.bones[b]) require(end >= 0 && static_cast<std::size_t>(end) < joints, "joints exist");
        require(skeleton.bones[b][0] != skeleton.bones[b][1], "a bone has two joints");
        require(!skeleton.boneName(b).empty(), "a bone has a name");
        require(tool::distanceToBone(skeleton, b, Vector3()) >= 0, "a distance");
    }
    for (Vector3 const& p : skeleton.joints) {
        require(std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z), "joints are finite");
    }
}

std::size_t wordAt(std::string const& bytes, std::size_t at)
{
    std::size_t word = 0;
    for (std::size_t i = 4; i-- > 0;) word = word << 8 | static_cast<unsigned char>(bytes[at + i]);
    return word;
}

// A figure of one triangle for each bone, which only that bone moves.
void writeGlb(tool::Skeleton const& skeleton)
{
    std::vector<Vector3> positions, normals;
    std::vector<tool::Triangle> triangles;
    std::vector<std::vector<double>> weights;
    for (std::size_t b = 0; b < skeleton.bones.size(); ++b) {
        int const first = static_cast<int>(positions.size());
        positions.insert(positions.end(), {skeleton.startOf(b), skeleton.endOf(b), Vector3()});
        normals.insert(normals.end(), 3, Vector3(0, 0, 1));
        triangles.push_back({first, first + 1, first + 2});
        for (int i = 0; i < 3; ++i) {
            weights.emplace_back(skeleton.bones.size(), 0.0);
            weights.back()[b] = 1.0;
        }
    }
    tool::KeyFrame const frame{0.5, std::vector<BoneTransform>(skeleton.bones.size())};
    std::string const bytes = tool::skinnedGlb({positions, normals, triangles, weights, skeleton}, {frame});
    require(bytes.size() > 20 && bytes.compare(0, 4, "glTF") == 0, "the mark of the format");
    require(wordAt(bytes, 8) == bytes.size(), "the length of the file");
    std::size_t const text = wordAt(bytes, 12);
    nlohmann::json const document = nlohmann::json::parse(bytes.substr(20, text));
    require(document["skins"][0]["joints"].size() == skeleton.bones.size(), "a node for each bone");
    require(28 + text + wordAt(bytes, 20 + text) == bytes.size(), "the length of the buffer");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string const text(reinterpret_cast<char const*>(data), size);
    try {
        tool::Skeleton const skeleton = tool::parseTgf(text, "input.tgf");
        examine(skeleton);
        if (skeleton.bones.size() <= kMostBones) writeGlb(skeleton);
    } catch (tool::UserError const& error) {
        require(std::string(error.what()).rfind("input.tgf", 0) == 0, "the message names the file");
    }
    return 0;
}
