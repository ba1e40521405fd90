// The picture of texture compaction in docs/meshfunc.md: an atlas, the triangles that show a used texel, and the
// smaller texture they are moved to.

#include <cmath>
#include <string>
#include <vector>

#include <sinew/meshfunc/mesh_function_2d.h>
#include <sinew/meshfunc/texture_compaction.h>

#include "svg.h"

using figures::Point;
using figures::Svg;

namespace {

int const kSize = 64;

// Two used blobs in one quarter of the texture.
bool isUsed(int x, int y)
{
    auto const inBlob = [x, y](double cx, double cy, double rx, double ry) {
        double const u = (x + 0.5 - cx) / rx, v = (y + 0.5 - cy) / ry;
        return u * u + v * v < 1;
    };
    return inBlob(18, 40, 8, 6) || inBlob(31, 47, 5, 7);
}

MeshFunction2D squareMesh(int cells)
{
    std::vector<Point> points;
    std::vector<int> facets;
    for (int j = 0; j <= cells; ++j) {
        for (int i = 0; i <= cells; ++i) points.emplace_back(i / double(cells), j / double(cells));
    }
    for (int j = 0; j < cells; ++j) {
        for (int i = 0; i < cells; ++i) {
            int const a = i + (cells + 1) * j;
            facets.insert(facets.end(), {a, a + 1, a + cells + 1, a + 1, a + cells + 2, a + cells + 1});
        }
    }
    return MeshFunction2D(points, points, facets, {});
}

void drawTriangles(Svg& svg, MeshFunction2D const& f, std::string const& style)
{
    for (std::size_t t = 0; t + 2 < f.facets.size(); t += 3) {
        std::vector<Point> corners;
        for (std::size_t k = 0; k < 3; ++k) corners.push_back(f.values[static_cast<std::size_t>(f.facets[t + k])]);
        svg.polygon(corners, style);
    }
}

void drawTexels(Svg& svg, double texelWidth, double texelHeight, int dx, int dy)
{
    for (int y = 0; y < kSize; ++y) {
        for (int x = 0; x < kSize; ++x) {
            if (!isUsed(x, y)) continue;
            svg.rect({(x + dx) * texelWidth, (y + dy) * texelHeight},
                     {(x + dx + 1) * texelWidth, (y + dy + 1) * texelHeight}, "fill='#7fb6d0'");
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    std::string const folder = argc > 1 ? argv[1] : ".";
    std::vector<bool> used(kSize * kSize);
    for (int y = 0; y < kSize; ++y) {
        for (int x = 0; x < kSize; ++x) used[static_cast<std::size_t>(x + kSize * y)] = isUsed(x, y);
    }
    MeshFunction2D f = squareMesh(16);
    TextureOptimizer const optimizer(used, kSize, kSize);
    TextureOptimizer::RectMotion const& box = optimizer.motions.at(0);

    Svg svg(800, 490);
    svg.origin = {20, 50};
    svg.scale = 400;
    svg.text({0, 1.02}, "64 x 64: triangles that show a used texel (dark), and the rest");
    drawTexels(svg, 1.0 / kSize, 1.0 / kSize, 0, 0);
    drawTriangles(svg, f, "fill='none' stroke='#c9c3b8' stroke-width='0.7'");
    f.eraseExtraTriangles(EmptyRectTester(used, kSize, kSize));
    drawTriangles(svg, f, "fill='none' stroke='#2b2b2b' stroke-width='1'");
    auto const texel = [](int t) { return t / double(kSize); };
    svg.rect({texel(box.x), texel(box.y)}, {texel(box.x + box.w), texel(box.y + box.h)},
             "fill='none' stroke='#d1495b' stroke-width='2.2'");
    svg.rect({0, 0}, {1, 1}, "fill='none' stroke='#2b2b2b' stroke-width='1.4'");
    svg.text({0, -0.06}, "red: the used part with its margin of one texel, which moves", "fill='#d1495b'");

    // The new texture at the same size of a texel.
    double const scale = 400.0 / kSize;
    svg.origin = {520, 200};
    svg.scale = 1;
    svg.text({0, optimizer.newHeight * scale + 12},
             std::to_string(optimizer.newWidth) + " x " + std::to_string(optimizer.newHeight) + ": the same texels");
    drawTexels(svg, scale, scale, box.dx, box.dy);
    f.remapToOptimized(optimizer);
    for (Point& value : f.values) value = {value.x * optimizer.newWidth * scale, value.y * optimizer.newHeight * scale};
    drawTriangles(svg, f, "fill='none' stroke='#2b2b2b' stroke-width='1'");
    svg.rect({0, 0}, {box.w * scale, box.h * scale}, "fill='none' stroke='#d1495b' stroke-width='2.2'");
    svg.rect({0, 0}, {optimizer.newWidth * scale, optimizer.newHeight * scale},
             "fill='none' stroke='#2b2b2b' stroke-width='1.4'");
    svg.save(folder + "/meshfunc_compaction.svg");
}
