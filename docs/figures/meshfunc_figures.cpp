// The pictures of docs/meshfunc.md that show a mesh function: its grid, its extrapolation outside the boundary loops,
// and a position map that was baked with one.

#include <cmath>
#include <map>
#include <string>
#include <vector>

#include <sinew/meshfunc/mesh_function_2d.h>

#include <tool/io/files.h>
#include <tool/tour/position_map.h>
#include <tool/tour/textured_function.h>

#include "figure.h"

namespace {

using figures::Vector2;
using tool::Canvas;
namespace colours = figures::colours;

constexpr double kWidth = 640;
constexpr double kHeight = 400;
constexpr figures::Frame kFrame{{225, 199.5}, 150};

// A ring of sixteen sectors with a hole in the middle, and an island beside it.
MeshFunction2D ringAndIsland()
{
    std::vector<Vector2> params, values;
    std::vector<int> facets;
    constexpr int kSectors = 16;
    for (int i = 0; i < kSectors; ++i) {
        double const angle = 2 * 3.14159265358979323846 * i / kSectors;
        for (double radius : {0.45, 1.0}) params.emplace_back(radius * std::cos(angle), radius * std::sin(angle));
    }
    for (int i = 0; i < kSectors; ++i) {
        int const a = 2 * i, b = 2 * ((i + 1) % kSectors);
        facets.insert(facets.end(), {a, a + 1, b + 1, a, b + 1, b});
    }
    int const island = static_cast<int>(params.size());
    for (Vector2 const& p : {Vector2(1.35, -0.5), Vector2(1.95, -0.3), Vector2(1.75, 0.4), Vector2(1.3, 0.2)}) {
        params.push_back(p);
    }
    facets.insert(facets.end(), {island, island + 1, island + 2, island, island + 2, island + 3});
    for (Vector2 const& p : params) values.emplace_back(p.x + 0.25 * p.y * p.y, p.y - 0.3 * std::sin(2 * p.x));
    return MeshFunction2D(params, values, facets, {});
}

void drawTriangles(Canvas& canvas, MeshFunction2D const& f)
{
    std::vector<std::vector<tool::Point>> triangles;
    for (std::size_t i = 0; i + 2 < f.facets.size(); i += 3) {
        triangles.emplace_back();
        for (std::size_t k = 0; k < 3; ++k) {
            triangles.back().push_back(kFrame(f.params[static_cast<std::size_t>(f.facets[i + k])]));
        }
    }
    canvas.polylines(triangles, {tool::Colour::hex(0x6b655a), 1.2}, true);
}

void drawLoops(Canvas& canvas, MeshFunction2D const& f)
{
    constexpr tool::Colour kColours[] = {colours::red, colours::blue, colours::green};
    for (std::size_t k = 0; k < f.boundaryProjectors.size(); ++k) {
        std::vector<tool::Point> loop;
        for (Vector3 const& p : f.boundaryProjectors[k]->points) loop.push_back(kFrame(p));
        canvas.polyline(loop, {kColours[k % 3], 3});
    }
}

// The cells of the public grid, darker where they list more triangles.
void drawCells(Canvas& canvas, MeshFunction2D const& f)
{
    std::vector<std::vector<tool::Point>> outlines;
    std::map<std::size_t, std::vector<std::vector<tool::Point>>> cellsByCount;
    for (int cx = 0; cx < f.gridSize[0]; ++cx) {
        for (int cy = 0; cy < f.gridSize[1]; ++cy) {
            auto const corner = [&](int x, int y) {
                return Vector2(f.domainMin.x + x / f.gridScale[0], f.domainMin.y + y / f.gridScale[1]);
            };
            outlines.push_back(
                kFrame.line({corner(cx, cy), corner(cx + 1, cy), corner(cx + 1, cy + 1), corner(cx, cy + 1)}));
            std::size_t const listed = f.gridCells[static_cast<std::size_t>(cx * f.gridSize[1] + cy)].size();
            if (listed > 0) cellsByCount[listed].push_back(outlines.back());
        }
    }
    for (auto const& [count, cells] : cellsByCount) {
        canvas.polygons(cells, tool::Colour::hex(0xe0a030, 0.13 * static_cast<double>(count)));
    }
    canvas.polylines(outlines, {tool::Colour::hex(0xd9d4c7), 0.7}, true);
}

void drawGrid(Canvas& canvas)
{
    MeshFunction2D const f = ringAndIsland();
    drawCells(canvas, f);
    drawTriangles(canvas, f);
    drawLoops(canvas, f);
}

// A chequer in the space of values, seen through the function: strong inside the mesh, pale where it is extrapolated.
tool::Colour chequer(MeshFunction2D const& f, Vector2 const& p)
{
    constexpr tool::Colour kInside[] = {tool::Colour::hex(0x9fcbe3), colours::blue};
    constexpr tool::Colour kOutside[] = {tool::Colour::hex(0xf4f0e6), tool::Colour::hex(0xe3dccb)};
    Vector2 value;
    if (!f.extrapolate(p, &value, nullptr)) return tool::palette::paper;
    int const parity = static_cast<int>(std::floor(value.x * 5)) + static_cast<int>(std::floor(value.y * 5));
    return (f.evaluate(p, nullptr, nullptr) ? kInside : kOutside)[parity & 1];
}

void drawOutside(Canvas& canvas)
{
    MeshFunction2D const f = ringAndIsland();
    figures::paint(canvas, {0, 0, kWidth, kHeight}, kFrame, 1, [&f](Vector2 const& p) { return chequer(f, p); });
    drawLoops(canvas, f);
}

// The vase of examples/position_map.cpp: a surface of revolution, cut along one line and laid flat. On its seam the
// vertices of both sides are the same points of space with different texture coordinates.
tool::TexturedMesh vase()
{
    constexpr int kAround = 48, kUp = 32;
    constexpr double kMargin = 0.1; // of the texture, on each side
    tool::TexturedMesh mesh;
    mesh.name = "vase";
    for (int i = 0; i <= kAround; ++i) {
        for (int j = 0; j <= kUp; ++j) {
            double const around = static_cast<double>(i) / kAround, up = static_cast<double>(j) / kUp;
            mesh.texcoords.emplace_back(kMargin + (1 - 2 * kMargin) * around, kMargin + (1 - 2 * kMargin) * up);
            if (i == kAround) continue;
            double const angle = 2 * 3.14159265358979323846 * around, radius = 0.6 + 0.25 * std::sin(10 * up);
            mesh.positions.emplace_back(radius * std::cos(angle), 2 * up, -radius * std::sin(angle));
        }
    }
    int const inMesh = kAround * (kUp + 1); // vertices; the last column is the first one again
    for (int i = 0; i < kAround; ++i) {
        for (int j = 0; j < kUp; ++j) {
            int const a = i * (kUp + 1) + j, b = a + kUp + 1;
            for (tool::Triangle const& t : {tool::Triangle{a, b, b + 1}, tool::Triangle{a, b + 1, a + 1}}) {
                mesh.texTriangles.push_back(t);
                mesh.triangles.push_back({t[0] % inMesh, t[1] % inMesh, t[2] % inMesh});
            }
        }
    }
    return mesh;
}

// The map of the whole texture on the left; on the right the vase, drawn from the map.
void drawPositionMap(Canvas& canvas)
{
    constexpr double kSide = 520;
    tool::Rect const left{0, 0, kSide, kSide}, right{kSide, 0, canvas.width() - kSide, kSide};
    tool::TexturedMesh const mesh = vase();
    MeshFunction2D const f = tool::sideViewFunction(mesh);
    int const texels = canvas.pixels(kSide);
    tool::PositionMap const map =
        tool::bakePositions(mesh, f, tool::rasterOf({{0, 0}, {1, 1}, left}, left, texels, texels));
    tool::PositionColours const colours(mesh.positions);
    tool::Solid const solid = tool::solidOf(map, f.facets, f.params.size(), colours);
    tool::drawSolids(canvas, {solid}, tool::View::fitted(mesh.positions, 20, 24, right, 0.8));
    canvas.image(tool::pictureOf(map, colours, kSide / texels), left);
    figures::Frame const frame{{0, kSide}, kSide};
    for (auto const& loop : f.boundaryProjectors) {
        std::vector<tool::Point> line;
        for (Vector3 const& p : loop->points) line.push_back(frame(p));
        canvas.polyline(line, {tool::palette::ink, 1.5});
    }
}

} // namespace

int main(int argc, char** argv)
{
    std::string const folder = argc > 1 ? argv[1] : ".";
    tool::writeFile(folder + "/meshfunc_grid.svg", tool::svgOf(kWidth, kHeight, drawGrid));
    tool::writeFile(folder + "/meshfunc_outside.svg", tool::svgOf(kWidth, kHeight, drawOutside));
    Canvas positionMap(900, 520);
    drawPositionMap(positionMap);
    tool::writeFile(folder + "/meshfunc_position_map.png", positionMap.png());
}
