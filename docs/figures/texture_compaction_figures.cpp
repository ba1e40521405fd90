// The picture of texture compaction in docs/meshfunc.md: an atlas, the triangles that show a used texel, and the
// smaller texture to which they move.

#include <cmath>
#include <string>
#include <vector>

#include <sinew/meshfunc/mesh_function_2d.h>
#include <sinew/meshfunc/texture_compaction.h>

#include <tool/io/files.h>

#include "figure.h"

namespace {

using figures::Frame;
using figures::Vector2;
using tool::Canvas;
using tool::Colour;
namespace colours = figures::colours;

constexpr int kSize = 64;       // texels along a side of the texture
constexpr double kTexel = 6.25; // units of the canvas along a side of a texel
constexpr int kCells = 16;      // of the mesh, along a side
constexpr double kFrameWidth = 1.4;

// Two used blobs in one quarter of the texture.
bool isUsed(int x, int y)
{
    auto const inBlob = [x, y](double cx, double cy, double rx, double ry) {
        double const u = (x + 0.5 - cx) / rx, v = (y + 0.5 - cy) / ry;
        return u * u + v * v < 1;
    };
    return inBlob(18, 40, 8, 6) || inBlob(31, 47, 5, 7);
}

std::vector<bool> usedTexels()
{
    std::vector<bool> used;
    for (int y = 0; y < kSize; ++y) {
        for (int x = 0; x < kSize; ++x) used.push_back(isUsed(x, y));
    }
    return used;
}

// The unit square, mapped to itself.
MeshFunction2D squareMesh()
{
    std::vector<Vector2> points;
    std::vector<int> facets;
    for (int j = 0; j <= kCells; ++j) {
        for (int i = 0; i <= kCells; ++i) {
            points.emplace_back(static_cast<double>(i) / kCells, static_cast<double>(j) / kCells);
        }
    }
    for (int j = 0; j < kCells; ++j) {
        for (int i = 0; i < kCells; ++i) {
            int const a = i + (kCells + 1) * j;
            facets.insert(facets.end(), {a, a + 1, a + kCells + 1, a + 1, a + kCells + 2, a + kCells + 1});
        }
    }
    return MeshFunction2D(points, points, facets, {});
}

// The triangles on a texture of width x height texels, in a frame whose unit is a texel.
void drawTriangles(Canvas& canvas, Frame const& frame, MeshFunction2D const& f, int width, int height,
                   tool::Stroke const& stroke)
{
    std::vector<std::vector<tool::Point>> triangles;
    for (std::size_t t = 0; t + 2 < f.facets.size(); t += 3) {
        triangles.emplace_back();
        for (std::size_t k = 0; k < 3; ++k) {
            Vector2 const& value = f.values[static_cast<std::size_t>(f.facets[t + k])];
            triangles.back().push_back(frame(Vector2(value.x * width, value.y * height)));
        }
    }
    canvas.polylines(triangles, stroke, true);
}

void drawTexels(Canvas& canvas, Frame const& frame, int dx, int dy)
{
    std::vector<std::vector<tool::Point>> texels;
    for (int y = 0; y < kSize; ++y) {
        for (int x = 0; x < kSize; ++x) {
            double const left = x + dx, low = y + dy;
            if (!isUsed(x, y)) continue;
            texels.push_back(frame.line({{left, low}, {left + 1, low}, {left + 1, low + 1}, {left, low + 1}}));
        }
    }
    canvas.polygons(texels, colours::lightBlue);
}

// A rectangle of texels from its lower left corner.
void drawRectangle(Canvas& canvas, Frame const& frame, int x, int y, int width, int height, tool::Stroke const& stroke)
{
    canvas.frame(frame.box(Vector2(x, y), Vector2(x + width, y + height)), stroke);
}

void drawCompaction(Canvas& canvas)
{
    constexpr Colour kInk = tool::palette::ink;
    std::vector<bool> const used = usedTexels();
    MeshFunction2D f = squareMesh();
    TextureOptimizer const optimizer(used, kSize, kSize);
    TextureOptimizer::RectMotion const& moved = optimizer.motions.at(0);

    Frame const before{{20, 440}, kTexel};
    canvas.text({20, 31}, "64 x 64: triangles that show a used texel (dark), and the others", {14});
    drawTexels(canvas, before, 0, 0);
    drawTriangles(canvas, before, f, kSize, kSize, {Colour::hex(0xc9c3b8), 0.7});
    f.eraseExtraTriangles(EmptyRectTester(used, kSize, kSize));
    drawTriangles(canvas, before, f, kSize, kSize, {kInk, 1});
    drawRectangle(canvas, before, moved.x, moved.y, moved.w, moved.h, {colours::red, 2.2});
    drawRectangle(canvas, before, 0, 0, kSize, kSize, {kInk, kFrameWidth});
    canvas.text({20, 464}, "red: the used part and a margin of one texel; it moves", {14, colours::red});

    int const width = optimizer.newWidth, height = optimizer.newHeight;
    Frame const after{{520, 290}, kTexel};
    canvas.text({520, 290 - kTexel * height - 12},
                std::to_string(width) + " x " + std::to_string(height) + ": the same texels", {14});
    drawTexels(canvas, after, moved.dx, moved.dy);
    f.remapToOptimized(optimizer);
    drawTriangles(canvas, after, f, width, height, {kInk, 1});
    drawRectangle(canvas, after, 0, 0, moved.w, moved.h, {colours::red, 2.2});
    drawRectangle(canvas, after, 0, 0, width, height, {kInk, kFrameWidth});
}

} // namespace

int main(int argc, char** argv)
{
    std::string const folder = argc > 1 ? argv[1] : ".";
    tool::writeFile(folder + "/meshfunc_compaction.svg", tool::svgOf(800, 490, drawCompaction));
}
