#include <tool/io/obj_reader.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <string_view>

#define TINYOBJLOADER_USE_DOUBLE
#define TINYOBJLOADER_IMPLEMENTATION
#include <tiny_obj_loader.h>

#include <tool/io/files.h>
#include <tool/io/number_text.h>
#include <tool/support/user_error.h>

namespace tool {
namespace {

char const* const kExportMesh = "Export it again as Wavefront OBJ";
char const* const kExportAgain = "Export the mesh again, or correct this line";

// Checks a file line by line. The loader itself accepts damaged files (it reads a word as 0), and the pictures would be
// wrong.
class LineChecker
{
public:
    explicit LineChecker(std::string const& file) : file_(file) {}

    // Whether the loader needs this line.
    bool check(std::string_view line)
    {
        ++lineNumber_;
        std::string_view const keyword = nextWord(line);
        if (keyword == "v") {
            checkNumbers(line, 3, "a vertex");
            ++vertices_;
        } else if (keyword == "vt") {
            checkNumbers(line, 2, "a texture coordinate");
            ++texcoords_;
        } else if (keyword == "vn") {
            checkNumbers(line, 3, "a normal");
            ++normals_;
        } else if (keyword == "f") {
            checkFace(line);
        } else {
            return keyword == "g" || keyword == "o";
        }
        return true;
    }

    bool anyFace() const { return faces_ > 0; }

private:
    [[noreturn]] void fail(std::string const& what) const { throw UserError(file_, lineNumber_, what, kExportAgain); }

    void checkNumbers(std::string_view rest, int needed, std::string const& thing) const
    {
        for (int i = 0; i < needed; ++i) {
            std::string_view const word = nextWord(rest);
            if (word.empty()) {
                fail(thing + " needs " + std::to_string(needed) + " numbers, but has " + std::to_string(i));
            }
            double value = 0;
            if (!parseDouble(word, value)) fail("\"" + std::string(word) + "\" is not a number");
            if (!std::isfinite(value)) fail(thing + " has a coordinate that is not finite (" + std::string(word) + ")");
        }
    }

    void checkFace(std::string_view rest)
    {
        int corners = 0;
        for (std::string_view word = nextWord(rest); !word.empty(); word = nextWord(rest)) {
            checkCorner(word);
            ++corners;
        }
        if (corners < 3) fail("a face needs at least 3 corners, but has " + std::to_string(corners));
        ++faces_;
    }

    // A corner is v, v/vt, v//vn or v/vt/vn.
    void checkCorner(std::string_view word)
    {
        if (word.back() == '/') fail("the corner \"" + std::string(word) + "\" of a face ends with a slash");
        std::string_view parts[3];
        for (std::string_view& part : parts) {
            std::size_t const slash = word.find('/');
            part = word.substr(0, slash);
            word = slash == std::string_view::npos ? std::string_view() : word.substr(slash + 1);
        }
        checkIndex(parts[0], vertices_, "vertex");
        if (!parts[1].empty()) checkIndex(parts[1], texcoords_, "texture coordinate");
        if (!parts[2].empty()) checkIndex(parts[2], normals_, "normal");
        bool const textured = !parts[1].empty();
        if (anyCorner_ && textured != textured_) fail("some corners have texture coordinates and some have none");
        textured_ = textured;
        anyCorner_ = true;
    }

    // Indices count from 1. Negative indices count backwards from the latest entry.
    void checkIndex(std::string_view word, long count, std::string const& thing) const
    {
        long index = 0;
        if (!parseLong(word, index)) fail("\"" + std::string(word) + "\" is not the number of a " + thing);
        if (index == 0 || index > count || index < -count) {
            fail("a face names " + thing + " " + std::to_string(index) + ", but there are " + std::to_string(count) +
                 " so far");
        }
    }

    std::string file_;
    std::size_t lineNumber_ = 0;
    long vertices_ = 0;
    long texcoords_ = 0;
    long normals_ = 0;
    long faces_ = 0;
    bool anyCorner_ = false;
    bool textured_ = false;
};

// The lines of a mesh that the loader needs. It does not get others: it converts their numbers without a check of their
// range.
std::string checkedLines(std::string const& text, std::string const& file)
{
    LineChecker checker(file);
    std::string lines;
    forEachLine(text, [&](std::string_view line) {
        if (checker.check(line)) lines.append(line).append("\n");
    });
    if (!checker.anyFace()) throw UserError(file, "no faces in this file", "Choose a mesh in Wavefront OBJ form");
    return lines;
}

void addShape(tinyobj::shape_t const& shape, TexturedMesh& mesh)
{
    std::vector<tinyobj::index_t> const& corners = shape.mesh.indices;
    int const group = static_cast<int>(mesh.groups.size());
    mesh.groups.push_back(shape.name);
    for (std::size_t i = 0; i + 2 < corners.size(); i += 3) {
        mesh.triangles.push_back({corners[i].vertex_index, corners[i + 1].vertex_index, corners[i + 2].vertex_index});
        mesh.groupOfTriangle.push_back(group);
        if (corners[i].texcoord_index < 0) continue;
        mesh.texTriangles.push_back(
            {corners[i].texcoord_index, corners[i + 1].texcoord_index, corners[i + 2].texcoord_index});
    }
}

bool nameElements(std::vector<Triangle> const& triangles, std::size_t count)
{
    return std::all_of(triangles.begin(), triangles.end(), [=](Triangle const& triangle) {
        return std::all_of(triangle.begin(), triangle.end(),
                           [=](int corner) { return corner >= 0 && static_cast<std::size_t>(corner) < count; });
    });
}

bool isFinite(tzNM::vect2<double> const& p)
{
    return std::isfinite(p.x) && std::isfinite(p.y);
}
bool isFinite(Vector3 const& p)
{
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

template <typename Points>
bool areFinite(Points const& points)
{
    return std::all_of(points.begin(), points.end(), [](auto const& p) { return isFinite(p); });
}

// The loader divides a damaged line into words, and words into numbers, in its own way.
void checkLoaded(TexturedMesh const& mesh, std::string const& file)
{
    if (!nameElements(mesh.triangles, mesh.positions.size()) ||
        !nameElements(mesh.texTriangles, mesh.texcoords.size())) {
        throw UserError(file, "a face names a vertex or a texture coordinate that does not exist", kExportMesh);
    }
    if (!areFinite(mesh.positions) || !areFinite(mesh.texcoords)) {
        throw UserError(file, "a coordinate is not finite", kExportMesh);
    }
}

} // namespace

TexturedMesh parseObj(std::string const& text, std::string const& file)
{
    std::string const lines = checkedLines(text, file);
    tinyobj::ObjReader reader;
    tinyobj::ObjReaderConfig config;
    config.triangulate = true;
    config.vertex_color = false;
    if (!reader.ParseFromString(lines, "", config)) {
        throw UserError(file, "not a readable mesh (" + reader.Error() + ")", kExportMesh);
    }

    TexturedMesh mesh;
    mesh.name = textOf(pathOf(file).filename());
    tinyobj::attrib_t const& attrib = reader.GetAttrib();
    for (std::size_t i = 0; i + 2 < attrib.vertices.size(); i += 3) {
        mesh.positions.emplace_back(attrib.vertices[i], attrib.vertices[i + 1], attrib.vertices[i + 2]);
    }
    for (std::size_t i = 0; i + 1 < attrib.texcoords.size(); i += 2) {
        mesh.texcoords.emplace_back(attrib.texcoords[i], attrib.texcoords[i + 1]);
    }
    for (tinyobj::shape_t const& shape : reader.GetShapes()) addShape(shape, mesh);
    if (mesh.triangles.empty()) throw UserError(file, "no faces in this file", "Choose a mesh in Wavefront OBJ form");
    checkLoaded(mesh, file);
    if (!mesh.hasTexture()) mesh.texcoords.clear();
    return mesh;
}

} // namespace tool
