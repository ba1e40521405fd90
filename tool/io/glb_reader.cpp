#include <tool/io/glb_reader.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <string_view>

#include <nlohmann/json.hpp>

#include <sinew/skinning/bone_transform.h>

#include <tool/io/files.h>
#include <tool/support/as_index.h>
#include <tool/support/bounds.h>
#include <tool/support/user_error.h>

namespace tool {
namespace {

using nlohmann::json;

constexpr std::string_view kMagic = "glTF";
constexpr std::size_t kHeaderBytes = 12;
constexpr std::size_t kChunkHeaderBytes = 8;
constexpr std::size_t kNone = static_cast<std::size_t>(-1);
char const* const kExportAgain = "Export the model again as one .glb file";

// Modes of primitives: how the indices form triangles. Between them is the strip; smaller ones are points and lines.
constexpr std::size_t kTriangles = 4;
constexpr std::size_t kTriangleFan = 6;

// Numbers of the file, several for each element.
struct Elements
{
    std::size_t components = 0;
    std::vector<double> values;

    std::size_t count() const { return values.size() / components; }
    double at(std::size_t element, std::size_t component) const { return values[element * components + component]; }
    Vector3 vector(std::size_t element) const { return {at(element, 0), at(element, 1), at(element, 2)}; }
};

struct ComponentType
{
    std::size_t code; // in the file
    std::size_t bytes;
    double largest; // of the integers; they are divided by it where they are normalized
};
constexpr ComponentType kComponentTypes[] = {{5120, 1, 127},   {5121, 1, 255},          {5122, 2, 32767},
                                             {5123, 2, 65535}, {5125, 4, 4294967295.0}, {5126, 4, 0}};

std::uint32_t wordAt(std::string_view bytes, std::size_t at)
{
    std::uint32_t value = 0;
    for (std::size_t i = 4; i-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
    return value;
}

template <typename Integer>
double integerAt(char const* bytes) // little-endian on every machine
{
    std::uint32_t value = 0;
    for (std::size_t i = sizeof(Integer); i-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes[i]);
    return static_cast<Integer>(value);
}

double floatAt(char const* bytes)
{
    std::uint32_t const word = wordAt(std::string_view(bytes, 4), 0);
    float value = 0;
    std::memcpy(&value, &word, sizeof value);
    return value;
}

double numberAt(char const* bytes, std::size_t type)
{
    switch (type) {
    case 5120:
        return integerAt<std::int8_t>(bytes);
    case 5121:
        return integerAt<std::uint8_t>(bytes);
    case 5122:
        return integerAt<std::int16_t>(bytes);
    case 5123:
        return integerAt<std::uint16_t>(bytes);
    case 5125:
        return integerAt<std::uint32_t>(bytes);
    default:
        return floatAt(bytes);
    }
}

// The document and the buffer of a file, with access that checks everything.
class Document
{
public:
    Document(std::string const& bytes, std::string const& file) : file_(file)
    {
        if (bytes.size() < kHeaderBytes || !isGlb(bytes)) fail("this is not a binary glTF file");
        if (wordAt(bytes, 4) != 2) fail("version " + std::to_string(wordAt(bytes, 4)) + " of glTF is not read, only 2");
        std::string_view rest = std::string_view(bytes).substr(kHeaderBytes);
        root_ = json::parse(takeChunk(rest, "JSON"), nullptr, false);
        if (!root_.is_object()) fail("its document is not readable");
        if (!rest.empty()) buffer_ = takeChunk(rest, std::string_view("BIN\0", 4));
        checkExtensions();
    }

    [[noreturn]] void fail(std::string const& what, char const* advice = kExportAgain) const
    {
        throw UserError(file_, what, advice);
    }

    std::string const& file() const { return file_; }

    // The array with a name; empty if there is none.
    json const& list(json const& object, char const* name) const
    {
        static json const empty = json::array();
        auto const found = object.is_object() ? object.find(name) : object.end();
        if (found == object.end()) return empty;
        if (!found->is_array()) fail(std::string("\"") + name + "\" is not a list");
        return *found;
    }

    std::size_t count(char const* name) const { return list(root_, name).size(); }

    json const& entry(char const* name, std::size_t index) const
    {
        json const& entries = list(root_, name);
        if (index >= entries.size() || !entries[index].is_object()) {
            fail(std::string("\"") + name + "\" has no entry " + std::to_string(index));
        }
        return entries[index];
    }

    std::size_t number(json const& value) const
    {
        if (!value.is_number_unsigned()) fail("a number is not a whole number");
        std::uint64_t const result = value.get<std::uint64_t>();
        if (result > std::numeric_limits<std::uint32_t>::max()) fail("a number is too large");
        return static_cast<std::size_t>(result);
    }

    std::size_t number(json const& object, char const* name, std::size_t fallback) const
    {
        auto const found = object.is_object() ? object.find(name) : object.end();
        return found == object.end() ? fallback : number(*found);
    }

    double real(json const& value) const
    {
        if (!value.is_number()) fail("a number is missing");
        double const result = value.get<double>();
        if (!std::isfinite(result)) fail("a number is not finite");
        return result;
    }

    std::string text(json const& object, char const* name) const
    {
        auto const found = object.is_object() ? object.find(name) : object.end();
        return found == object.end() || !found->is_string() ? std::string() : found->get<std::string>();
    }

    Elements elements(std::size_t accessor, std::size_t components) const;

private:
    std::string_view takeChunk(std::string_view& rest, std::string_view type) const
    {
        if (rest.size() < kChunkHeaderBytes || rest.substr(4, 4) != type) fail("it is damaged");
        std::size_t const length = wordAt(rest, 0);
        rest.remove_prefix(kChunkHeaderBytes);
        if (length > rest.size()) fail("it ends too early");
        std::string_view const chunk = rest.substr(0, length);
        rest.remove_prefix(length);
        return chunk;
    }

    // Extensions of materials and textures do not matter here, since images are ignored.
    void checkExtensions() const
    {
        for (json const& name : list(root_, "extensionsRequired")) {
            std::string const text = name.is_string() ? name.get<std::string>() : "?";
            if (text.rfind("KHR_materials_", 0) != 0 && text.rfind("KHR_texture_", 0) != 0 &&
                text.rfind("EXT_texture_", 0) != 0 && text != "KHR_mesh_quantization") {
                fail("it needs the extension " + text, "Export the model again without compression");
            }
        }
    }

    ComponentType const& componentType(std::size_t code) const
    {
        for (ComponentType const& type : kComponentTypes) {
            if (type.code == code) return type;
        }
        fail("a number type is unknown");
    }

    std::size_t componentsOf(std::string const& type) const
    {
        if (type == "SCALAR") return 1;
        if (type == "VEC2") return 2;
        if (type == "VEC3") return 3;
        if (type == "VEC4") return 4;
        if (type == "MAT4") return 16;
        fail("an element type is unknown");
    }

    std::string file_;
    json root_;
    std::string_view buffer_;
};

// The numbers of an accessor, which must have the given number of components.
Elements Document::elements(std::size_t accessor, std::size_t components) const
{
    json const& description = entry("accessors", accessor);
    if (description.contains("sparse") || !description.contains("bufferView")) {
        fail("it has sparse data", "Export the model again without sparse accessors");
    }
    json const& view = entry("bufferViews", number(description["bufferView"]));
    if (number(view, "buffer", kNone) != 0 || entry("buffers", 0).contains("uri")) fail("its data is in another file");
    std::size_t const type = number(description, "componentType", 0);
    ComponentType const& component = componentType(type);
    if (componentsOf(text(description, "type")) != components) fail("an element has another size than expected");

    // All are below 2^32, so that sums and products of two fit 64 bits.
    std::uint64_t const viewStart = number(view, "byteOffset", 0);
    std::uint64_t const viewBytes = number(view, "byteLength", 0);
    std::uint64_t const start = number(description, "byteOffset", 0);
    std::uint64_t const size = component.bytes * components;
    std::uint64_t const stride = number(view, "byteStride", static_cast<std::size_t>(size));
    std::uint64_t const count = number(description, "count", 0);
    if (viewStart + viewBytes > buffer_.size()) fail("it ends too early");
    if (stride < size) fail("elements overlap");
    if (count > 0 && (start > viewBytes || (count - 1) * stride + size > viewBytes - start))
        fail("its data is incomplete");

    bool const normalized = description.value("normalized", json()) == json(true) && component.largest > 0;
    Elements result{components, {}};
    result.values.reserve(static_cast<std::size_t>(count) * components);
    char const* element = buffer_.data() + viewStart + start;
    for (std::uint64_t i = 0; i < count; ++i, element += stride) {
        for (std::size_t k = 0; k < components; ++k) {
            double value = numberAt(element + k * component.bytes, type);
            if (normalized) value = std::max(value / component.largest, -1.0);
            if (!std::isfinite(value)) fail("a number is not finite");
            result.values.push_back(value);
        }
        if (i + 1 == count) break; // there may be nothing after the last element
    }
    return result;
}

// The nodes of a file: a forest.
class Nodes
{
public:
    explicit Nodes(Document const& document) : document_(document), parents_(document.count("nodes"), kNone)
    {
        for (std::size_t node = 0; node < count(); ++node) {
            for (std::size_t const child : children(node)) {
                if (child >= count() || parents_[child] != kNone) document.fail("its nodes are not a tree");
                parents_[child] = node;
            }
        }
        placeAll();
    }

    std::size_t count() const { return parents_.size(); }
    std::size_t parent(std::size_t node) const { return parents_[node]; }

    // The map from the coordinates of the node to those of the scene.
    BoneTransform const& place(std::size_t node) const { return places_[node]; }

private:
    std::vector<std::size_t> children(std::size_t node) const
    {
        std::vector<std::size_t> result;
        for (json const& child : document_.list(document_.entry("nodes", node), "children")) {
            result.push_back(document_.number(child));
        }
        return result;
    }

    // Parents before children. Nodes on a circle have no root.
    void placeAll()
    {
        std::vector<std::size_t> order;
        for (std::size_t node = 0; node < count(); ++node) {
            if (parents_[node] == kNone) order.push_back(node);
        }
        places_.resize(count());
        for (std::size_t i = 0; i < order.size(); ++i) {
            std::size_t const node = order[i];
            places_[node] = parents_[node] == kNone ? local(node) : places_[parents_[node]] * local(node);
            for (std::size_t const child : children(node)) order.push_back(child);
        }
        if (order.size() != count()) document_.fail("its nodes are not a tree");
    }

    std::vector<double> reals(json const& node, char const* name, std::vector<double> fallback) const
    {
        json const& numbers = document_.list(node, name);
        if (numbers.empty()) return fallback;
        if (numbers.size() != fallback.size()) document_.fail(std::string("the ") + name + " of a node is incomplete");
        std::transform(numbers.begin(), numbers.end(), fallback.begin(),
                       [&](json const& n) { return document_.real(n); });
        return fallback;
    }

    BoneTransform local(std::size_t node) const
    {
        json const& description = document_.entry("nodes", node);
        BoneTransform result;
        if (description.contains("matrix")) { // column by column
            std::vector<double> const m = reals(description, "matrix", std::vector<double>(16));
            result.linear = Matrix3(Vector3(m[0], m[1], m[2]), Vector3(m[4], m[5], m[6]), Vector3(m[8], m[9], m[10]));
            result.translation = Vector3(m[12], m[13], m[14]);
            return result;
        }
        std::vector<double> const t = reals(description, "translation", {0, 0, 0});
        std::vector<double> const q = reals(description, "rotation", {0, 0, 0, 1});
        std::vector<double> const s = reals(description, "scale", {1, 1, 1});
        Vector3 const v(q[0], q[1], q[2]);
        auto const turned = [&](Vector3 const& axis) { return axis + 2 * cross(v, cross(v, axis) + q[3] * axis); };
        result.linear = Matrix3(s[0] * turned({1, 0, 0}), s[1] * turned({0, 1, 0}), s[2] * turned({0, 0, 1}));
        result.translation = Vector3(t[0], t[1], t[2]);
        return result;
    }

    Document const& document_;
    std::vector<std::size_t> parents_;
    std::vector<BoneTransform> places_;
};

// The joints of a skin and their bones.
struct Skin
{
    Skeleton skeleton;
    std::vector<std::vector<std::size_t>> bonesOfJoint; // the bones that begin at a joint of the file
};

// Where a joint is in the coordinates of the mesh: the point that its inverse bind matrix maps to the origin.
Vector3 jointPosition(Elements const& inverses, std::size_t joint, Document const& document)
{
    auto const column = [&](std::size_t k) {
        return Vector3(inverses.at(joint, 4 * k), inverses.at(joint, 4 * k + 1), inverses.at(joint, 4 * k + 2));
    };
    Matrix3 const linear(column(0), column(1), column(2));
    Vector3 const position = -(linear.inverse() * column(3));
    if (std::fabs(linear.determinant()) < sinew::kDeterminantZero || !std::isfinite(position.length())) {
        document.fail("the bind matrix of a joint has no inverse");
    }
    return position;
}

// The joint of the skin that is the nearest ancestor of a node, or kNone.
std::size_t parentJoint(Nodes const& nodes, std::map<std::size_t, std::size_t> const& jointOfNode, std::size_t node)
{
    while ((node = nodes.parent(node)) != kNone) {
        auto const found = jointOfNode.find(node);
        if (found != jointOfNode.end()) return found->second;
    }
    return kNone;
}

// Adds a joint beyond one that has no child: half as far as its parent, or upwards if it has none.
void addTip(Skin& skin, std::size_t joint, std::size_t parent, double height)
{
    Skeleton& skeleton = skin.skeleton;
    Vector3 const start = skeleton.joints[joint];
    Vector3 const step = parent == kNone ? Vector3() : (start - skeleton.joints[parent]) * 0.5;
    skin.bonesOfJoint[joint].push_back(skeleton.bones.size());
    skeleton.bones.push_back({static_cast<int>(joint), static_cast<int>(skeleton.joints.size())});
    skeleton.joints.push_back(start + (step.lengthSq() > 0 ? step : Vector3(0, height, 0)));
    skeleton.jointNames.push_back(skeleton.jointNames[joint] + " end");
}

Skin readSkin(Document const& document, Nodes const& nodes, std::size_t index)
{
    json const& description = document.entry("skins", index);
    json const& joints = document.list(description, "joints");
    std::size_t const inverseAccessor = document.number(description, "inverseBindMatrices", kNone);
    Elements inverses;
    if (inverseAccessor != kNone) inverses = document.elements(inverseAccessor, 16);
    if (inverseAccessor != kNone && inverses.count() < joints.size()) document.fail("its skin is incomplete");

    Skin skin;
    Skeleton& skeleton = skin.skeleton;
    std::map<std::size_t, std::size_t> jointOfNode;
    for (std::size_t j = 0; j < joints.size(); ++j) {
        std::size_t const node = document.number(joints[j]);
        if (node >= nodes.count() || !jointOfNode.emplace(node, j).second) document.fail("its skin has a wrong joint");
        skeleton.joints.push_back(inverseAccessor != kNone ? jointPosition(inverses, j, document) : Vector3());
        std::string const name = document.text(document.entry("nodes", node), "name");
        skeleton.jointNames.push_back(name.empty() ? "joint " + std::to_string(j) : name);
    }
    skin.bonesOfJoint.resize(joints.size());
    std::vector<std::size_t> parents(joints.size(), kNone);
    for (auto const& [node, joint] : jointOfNode) parents[joint] = parentJoint(nodes, jointOfNode, node);
    for (std::size_t j = 0; j < joints.size(); ++j) {
        if (parents[j] == kNone) continue;
        skin.bonesOfJoint[parents[j]].push_back(skeleton.bones.size());
        skeleton.bones.push_back({static_cast<int>(parents[j]), static_cast<int>(j)});
    }
    Vector3 low, high;
    boundsOf(skeleton.joints, low, high);
    double const extent = joints.empty() ? 0 : dist(low, high);
    for (std::size_t j = 0; j < joints.size(); ++j) {
        if (skin.bonesOfJoint[j].empty()) addTip(skin, j, parents[j], extent > 0 ? 0.05 * extent : 1);
    }
    skeleton.radii.assign(skeleton.joints.size(), 0);
    return skin;
}

// Vertices with their influences, and triangles, as the nodes of the file add them.
class ModelBuilder
{
public:
    ModelBuilder(Document const& document, Nodes const& nodes) : document_(document), nodes_(nodes)
    {
        std::size_t const skinIndex = firstSkin();
        if (skinIndex != kNone) skin_ = readSkin(document, nodes, skinIndex);
        for (std::size_t node = 0; node < nodes.count(); ++node) {
            json const& description = document.entry("nodes", node);
            if (description.contains("mesh") && document.number(description, "skin", kNone) == skinIndex) addNode(node);
        }
        model_.mesh.name = textOf(pathOf(document.file()).filename());
        model_.skeleton = skin_.skeleton;
        if (model_.mesh.triangles.empty()) document.fail("it has no triangles", "Choose a file with a mesh");
        if (model_.mesh.hasTexture() && model_.mesh.texTriangles.size() != model_.mesh.triangles.size()) {
            document.fail("some parts have texture coordinates and some have none",
                          "Unwrap all parts and export them again");
        }
    }

    GlbModel& model() { return model_; }

private:
    std::size_t firstSkin() const
    {
        for (std::size_t node = 0; node < nodes_.count(); ++node) {
            json const& description = document_.entry("nodes", node);
            if (description.contains("mesh") && description.contains("skin"))
                return document_.number(description["skin"]);
        }
        return kNone;
    }

    void addNode(std::size_t node)
    {
        json const& description = document_.entry("nodes", node);
        json const& mesh = document_.entry("meshes", document_.number(description["mesh"]));
        std::string const name = document_.text(description, "name");
        model_.mesh.groups.push_back(name.empty() ? document_.text(mesh, "name") : name);
        // The place of a node does not matter for a mesh with a skin.
        BoneTransform const place = hasSkin() ? BoneTransform() : nodes_.place(node);
        for (json const& primitive : document_.list(mesh, "primitives")) addPrimitive(primitive, place);
    }

    bool hasSkin() const { return !skin_.bonesOfJoint.empty(); }

    static bool hasAttribute(json const& primitive, std::string const& name)
    {
        return primitive.is_object() && primitive.contains("attributes") && primitive["attributes"].is_object() &&
               primitive["attributes"].contains(name);
    }

    Elements attribute(json const& primitive, std::string const& name, std::size_t components) const
    {
        if (!hasAttribute(primitive, name)) document_.fail("a mesh has no " + name);
        return document_.elements(document_.number(primitive["attributes"][name]), components);
    }

    void addPrimitive(json const& primitive, BoneTransform const& place)
    {
        std::size_t const mode = document_.number(primitive, "mode", kTriangles);
        if (mode < kTriangles) return; // points and lines
        if (mode > kTriangleFan) document_.fail("a mesh has an unknown mode");
        Elements const positions = attribute(primitive, "POSITION", 3);
        std::vector<std::vector<double>> const weights = weightsOf(primitive, positions.count());
        std::vector<int> vertices;
        for (std::size_t i = 0; i < positions.count(); ++i) {
            vertices.push_back(
                addVertex(place * positions.vector(i), weights.empty() ? std::vector<double>() : weights[i]));
        }
        std::vector<std::size_t> const corners = cornersOf(primitive, mode, positions.count());
        bool const textured = hasAttribute(primitive, "TEXCOORD_0");
        if (textured) addTexcoords(attribute(primitive, "TEXCOORD_0", 2), positions.count());
        int const firstTexcoord = static_cast<int>(model_.mesh.texcoords.size()) - static_cast<int>(positions.count());
        for (std::size_t i = 0; i + 2 < corners.size(); i += 3) {
            Triangle triangle, texTriangle;
            for (std::size_t k = 0; k < 3; ++k) {
                triangle[k] = vertices[corners[i + k]];
                texTriangle[k] = firstTexcoord + static_cast<int>(corners[i + k]);
            }
            model_.mesh.triangles.push_back(triangle);
            model_.mesh.groupOfTriangle.push_back(static_cast<int>(model_.mesh.groups.size()) - 1);
            if (textured) model_.mesh.texTriangles.push_back(texTriangle);
        }
    }

    // The corners of the triangles, three each.
    std::vector<std::size_t> cornersOf(json const& primitive, std::size_t mode, std::size_t vertices) const
    {
        std::vector<std::size_t> indices;
        std::size_t const accessor = document_.number(primitive, "indices", kNone);
        if (accessor == kNone) {
            for (std::size_t i = 0; i < vertices; ++i) indices.push_back(i);
        } else {
            for (double const index : document_.elements(accessor, 1).values) {
                if (!(index >= 0 && index < static_cast<double>(vertices))) {
                    document_.fail("a triangle names a vertex that does not exist");
                }
                indices.push_back(static_cast<std::size_t>(index));
            }
        }
        if (mode == kTriangles) return indices;
        std::vector<std::size_t> corners;
        for (std::size_t i = 0; i + 2 < indices.size(); ++i) {
            bool const odd = i % 2 == 1;
            std::size_t const first = mode == kTriangleFan ? 0 : odd ? i + 1 : i;
            std::size_t const second = mode == kTriangleFan || !odd ? i + 1 : i;
            corners.insert(corners.end(), {indices[first], indices[second], indices[i + 2]});
        }
        return corners;
    }

    void addTexcoords(Elements const& texcoords, std::size_t vertices)
    {
        if (texcoords.count() != vertices) document_.fail("a mesh has too few or too many texture coordinates");
        for (std::size_t i = 0; i < vertices; ++i) {
            model_.mesh.texcoords.emplace_back(texcoords.at(i, 0), 1 - texcoords.at(i, 1)); // downwards in the file
        }
    }

    // The weights of the vertices for all bones; empty without a skin.
    std::vector<std::vector<double>> weightsOf(json const& primitive, std::size_t vertices) const
    {
        if (!hasSkin()) return {};
        std::vector<std::vector<double>> rows(vertices, std::vector<double>(skin_.skeleton.bones.size()));
        for (int set = 0; hasAttribute(primitive, "JOINTS_" + std::to_string(set)); ++set) {
            Elements const joints = attribute(primitive, "JOINTS_" + std::to_string(set), 4);
            Elements const weights = attribute(primitive, "WEIGHTS_" + std::to_string(set), 4);
            if (joints.count() != vertices || weights.count() != vertices) document_.fail("its weights are incomplete");
            for (std::size_t i = 0; i < joints.values.size(); ++i) {
                addInfluence(rows[i / 4], joints.values[i], weights.values[i]);
            }
        }
        return rows;
    }

    void addInfluence(std::vector<double>& row, double joint, double weight) const
    {
        if (weight == 0) return;
        if (!(weight > 0)) document_.fail("a weight is negative");
        if (!(joint >= 0 && joint < static_cast<double>(skin_.bonesOfJoint.size()))) {
            document_.fail("a weight names a joint that does not exist");
        }
        std::vector<std::size_t> const& bones = skin_.bonesOfJoint[static_cast<std::size_t>(joint)];
        for (std::size_t const bone : bones) row[bone] += weight / static_cast<double>(bones.size());
    }

    // Rows sum to 1.
    void normalize(std::vector<double>& row, Vector3 const& position) const
    {
        double sum = 0;
        for (double const weight : row) sum += weight;
        if (!(sum > 0)) {
            row[nearestBone(position)] = 1;
        } else {
            for (double& weight : row) weight /= sum;
        }
    }

    std::size_t nearestBone(Vector3 const& position) const
    {
        std::size_t nearest = 0;
        for (std::size_t b = 1; b < skin_.skeleton.bones.size(); ++b) {
            bool const nearer =
                distanceToBone(skin_.skeleton, b, position) < distanceToBone(skin_.skeleton, nearest, position);
            if (nearer) nearest = b;
        }
        return nearest;
    }

    int addVertex(Vector3 const& position, std::vector<double> row)
    {
        if (!std::isfinite(position.x) || !std::isfinite(position.y) || !std::isfinite(position.z)) {
            document_.fail("a coordinate is not finite");
        }
        if (hasSkin()) normalize(row, position);
        std::vector<double> key = {position.x, position.y, position.z};
        key.insert(key.end(), row.begin(), row.end());
        auto const [found, isNew] = vertices_.emplace(std::move(key), static_cast<int>(model_.mesh.positions.size()));
        if (isNew) {
            model_.mesh.positions.push_back(position);
            if (hasSkin()) model_.weights.push_back(std::move(row));
        }
        return found->second;
    }

    Document const& document_;
    Nodes const& nodes_;
    Skin skin_;
    GlbModel model_;
    std::map<std::vector<double>, int> vertices_; // by position and weights
};

} // namespace

bool isGlb(std::string const& bytes)
{
    return bytes.compare(0, kMagic.size(), kMagic) == 0;
}

GlbModel parseGlb(std::string const& bytes, std::string const& file)
{
    Document const document(bytes, file);
    Nodes const nodes(document);
    return std::move(ModelBuilder(document, nodes).model());
}

} // namespace tool
