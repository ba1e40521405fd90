#include <tool/io/glb.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>

#include <nlohmann/json.hpp>

#include <tool/support/as_index.h>

namespace tool {
namespace {

using nlohmann::json;

// Constants of the format.
constexpr int kFloat = 5126;
constexpr int kUnsignedShort = 5123;
constexpr int kUnsignedInt = 5125;
constexpr int kArrayBuffer = 34962;
constexpr int kElementArrayBuffer = 34963;

// Unit quaternion (x, y, z, w) of a rotation, by its axis and angle.
std::array<double, 4> quaternionOf(Matrix3 const& rotation)
{
    UVector3 const axis = rotation.getRotationAxis();
    double const half = 0.5 * rotation.getRotationAngle(&axis);
    Vector3 const v = axis * std::sin(half);
    return {v.x, v.y, v.z, std::cos(half)};
}

// The buffer of a glTF file, and the tables of what it contains.
class Buffer
{
public:
    // Appends `values` as floats; returns the accessor's index.
    int floats(std::vector<double> const& values, int perElement, char const* type, int target = 0, bool bounds = false)
    {
        std::size_t const start = begin();
        for (double const value : values) append(static_cast<float>(value));
        json accessor = finish(start, kFloat, values.size() / asIndex(perElement), type, target);
        if (bounds) addBounds(accessor, values, perElement);
        accessors_.push_back(accessor);
        return static_cast<int>(accessors_.size()) - 1;
    }

    template <typename Integer>
    int integers(std::vector<Integer> const& values, int perElement, char const* type, int componentType, int target)
    {
        std::size_t const start = begin();
        for (Integer const value : values) append(value);
        accessors_.push_back(finish(start, componentType, values.size() / asIndex(perElement), type, target));
        return static_cast<int>(accessors_.size()) - 1;
    }

    std::string const& bytes() const { return bytes_; }
    json const& views() const { return views_; }
    json const& accessors() const { return accessors_; }

private:
    std::size_t begin()
    {
        bytes_.resize((bytes_.size() + 3) / 4 * 4, '\0');
        return bytes_.size();
    }

    template <typename T>
    void append(T value) // glTF is little-endian, as are the machines that this tool runs on
    {
        char text[sizeof value];
        std::memcpy(text, &value, sizeof value);
        bytes_.append(text, sizeof value);
    }

    json finish(std::size_t start, int componentType, std::size_t count, char const* type, int target)
    {
        json view = {{"buffer", 0}, {"byteOffset", start}, {"byteLength", bytes_.size() - start}};
        if (target) view["target"] = target;
        views_.push_back(view);
        return {{"bufferView", views_.size() - 1}, {"componentType", componentType}, {"count", count}, {"type", type}};
    }

    static void addBounds(json& accessor, std::vector<double> const& values, int perElement)
    {
        json low = json::array();
        json high = json::array();
        for (int k = 0; k < perElement; ++k) {
            float least = static_cast<float>(values[asIndex(k)]);
            float most = least;
            for (std::size_t i = asIndex(k); i < values.size(); i += asIndex(perElement)) {
                least = std::min(least, static_cast<float>(values[i]));
                most = std::max(most, static_cast<float>(values[i]));
            }
            low.push_back(least);
            high.push_back(most);
        }
        accessor["min"] = low;
        accessor["max"] = high;
    }

    std::string bytes_;
    json views_ = json::array();
    json accessors_ = json::array();
};

std::vector<double> flat(std::vector<Vector3> const& vectors)
{
    std::vector<double> numbers;
    for (Vector3 const& v : vectors) numbers.insert(numbers.end(), {v.x, v.y, v.z});
    return numbers;
}

// The four greatest weights of every vertex and their bones; the weights sum to 1. Of equal weights, that of the bone
// with the smaller index comes first.
void addInfluences(SkinnedFigure const& figure, Buffer& buffer, json& attributes)
{
    std::vector<std::uint16_t> joints;
    std::vector<double> weights;
    std::vector<std::size_t> order(figure.skeleton.bones.size());
    for (std::vector<double> const& row : figure.weights) {
        std::iota(order.begin(), order.end(), std::size_t{0});
        std::size_t const kept = std::min<std::size_t>(4, order.size());
        std::partial_sort(order.begin(), order.begin() + static_cast<std::ptrdiff_t>(kept), order.end(),
                          [&](std::size_t a, std::size_t b) { return row[a] != row[b] ? row[a] > row[b] : a < b; });
        double sum = 0;
        for (std::size_t k = 0; k < kept; ++k) sum += row[order[k]];
        for (std::size_t k = 0; k < 4; ++k) {
            double const weight = k < kept && sum > 0 ? row[order[k]] / sum : k == 0 ? 1.0 : 0.0;
            // Validators require joint 0 where the weight is 0.
            joints.push_back(weight > 0 && k < kept ? static_cast<std::uint16_t>(order[k]) : std::uint16_t{0});
            weights.push_back(weight);
        }
    }
    attributes["JOINTS_0"] = buffer.integers(joints, 4, "VEC4", kUnsignedShort, kArrayBuffer);
    attributes["WEIGHTS_0"] = buffer.floats(weights, 4, "VEC4", kArrayBuffer);
}

json meshOf(SkinnedFigure const& figure, Buffer& buffer)
{
    json attributes;
    attributes["POSITION"] = buffer.floats(flat(figure.positions), 3, "VEC3", kArrayBuffer, true);
    attributes["NORMAL"] = buffer.floats(flat(figure.normals), 3, "VEC3", kArrayBuffer);
    addInfluences(figure, buffer, attributes);
    std::vector<std::uint32_t> indices;
    for (Triangle const& t : figure.triangles) {
        for (int const corner : t) indices.push_back(static_cast<std::uint32_t>(corner));
    }
    int const triangles = buffer.integers(indices, 1, "SCALAR", kUnsignedInt, kElementArrayBuffer);
    json const primitive = {{"attributes", attributes}, {"indices", triangles}, {"material", 0}};
    return {{"name", "figure"}, {"primitives", json::array({primitive})}};
}

// Bone b is node b, at its first joint. All bones are children of one root, so each translation is a point in space.
json nodesOf(Skeleton const& skeleton)
{
    json nodes = json::array();
    json children = json::array();
    for (std::size_t b = 0; b < skeleton.bones.size(); ++b) {
        Vector3 const& start = skeleton.startOf(b);
        nodes.push_back({{"name", skeleton.boneName(b)}, {"translation", {start.x, start.y, start.z}}});
        children.push_back(b);
    }
    nodes.push_back({{"name", "skeleton"}, {"children", children}});
    nodes.push_back({{"name", "figure"}, {"mesh", 0}, {"skin", 0}});
    return nodes;
}

json skinOf(Skeleton const& skeleton, Buffer& buffer)
{
    std::vector<double> inverses;
    json joints = json::array();
    for (std::size_t b = 0; b < skeleton.bones.size(); ++b) {
        Vector3 const s = -skeleton.startOf(b);
        inverses.insert(inverses.end(), {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, s.x, s.y, s.z, 1}); // column by column
        joints.push_back(b);
    }
    return {{"joints", joints},
            {"skeleton", skeleton.bones.size()},
            {"inverseBindMatrices", buffer.floats(inverses, 16, "MAT4")}};
}

// A bone's rotation over time as quaternions. The sign of each is chosen so that it is near the quaternion before it:
// a viewer interpolates between them.
std::vector<double> rotationsOf(std::vector<KeyFrame> const& frames, std::size_t bone)
{
    std::vector<double> numbers;
    std::array<double, 4> last = {0, 0, 0, 1};
    for (KeyFrame const& frame : frames) {
        std::array<double, 4> q = quaternionOf(frame.bones[bone].linear);
        double dot = 0;
        for (std::size_t k = 0; k < 4; ++k) dot += q[k] * last[k];
        for (double& component : q) component = dot < 0 ? -component : component;
        numbers.insert(numbers.end(), q.begin(), q.end());
        last = q;
    }
    return numbers;
}

json animationOf(Skeleton const& skeleton, std::vector<KeyFrame> const& frames, Buffer& buffer)
{
    std::vector<double> times;
    for (KeyFrame const& frame : frames) times.push_back(frame.seconds);
    int const time = buffer.floats(times, 1, "SCALAR", 0, true);
    json samplers = json::array();
    json channels = json::array();
    auto const add = [&](std::size_t bone, char const* path, int output) {
        channels.push_back({{"sampler", samplers.size()}, {"target", {{"node", bone}, {"path", path}}}});
        samplers.push_back({{"input", time}, {"output", output}, {"interpolation", "LINEAR"}});
    };
    for (std::size_t b = 0; b < skeleton.bones.size(); ++b) {
        std::vector<Vector3> places;
        for (KeyFrame const& frame : frames) places.push_back(frame.bones[b] * skeleton.startOf(b));
        add(b, "translation", buffer.floats(flat(places), 3, "VEC3"));
        add(b, "rotation", buffer.floats(rotationsOf(frames, b), 4, "VEC4"));
    }
    return {{"name", "motion"}, {"samplers", samplers}, {"channels", channels}};
}

void appendWord(std::string& text, std::uint32_t value)
{
    for (int i = 0; i < 4; ++i) text += static_cast<char>(value >> (8 * i) & 255);
}

std::string padded(std::string text, char filler)
{
    text.resize((text.size() + 3) / 4 * 4, filler);
    return text;
}

std::string container(json const& document, std::string const& buffer)
{
    // Names come from files of any encoding; bytes that are not UTF-8 become U+FFFD.
    std::string const text = padded(document.dump(-1, ' ', false, json::error_handler_t::replace), ' ');
    std::string const binary = padded(buffer, '\0');
    std::string result = "glTF";
    appendWord(result, 2);
    appendWord(result, static_cast<std::uint32_t>(12 + 8 + text.size() + 8 + binary.size()));
    appendWord(result, static_cast<std::uint32_t>(text.size()));
    result += "JSON" + text;
    appendWord(result, static_cast<std::uint32_t>(binary.size()));
    return result + std::string("BIN\0", 4) + binary;
}

} // namespace

std::string skinnedGlb(SkinnedFigure const& figure, std::vector<KeyFrame> const& frames)
{
    Buffer buffer;
    std::size_t const bones = figure.skeleton.bones.size();
    json document = {{"asset", {{"version", "2.0"}, {"generator", "sinew tour"}}},
                     {"scene", 0},
                     {"nodes", nodesOf(figure.skeleton)}};
    document["scenes"] = json::array({{{"nodes", {bones, bones + 1}}}});
    document["meshes"] = json::array({meshOf(figure, buffer)});
    json const clay = {{"baseColorFactor", {0.80, 0.72, 0.62, 1.0}}, {"metallicFactor", 0.0}, {"roughnessFactor", 0.6}};
    document["materials"] = json::array({{{"name", "clay"}, {"pbrMetallicRoughness", clay}}});
    document["skins"] = json::array({skinOf(figure.skeleton, buffer)});
    if (!frames.empty()) document["animations"] = json::array({animationOf(figure.skeleton, frames, buffer)});
    document["bufferViews"] = buffer.views();
    document["accessors"] = buffer.accessors();
    document["buffers"] = json::array({{{"byteLength", padded(buffer.bytes(), '\0').size()}}});
    return container(document, buffer.bytes());
}

} // namespace tool
