/// The mesh function of a textured model: its domain, its values, and what it says beyond its border.

#include <algorithm>

#include <tool/tour/stage.h>
#include <tool/tour/texture_islands.h>

namespace tool {
namespace {

constexpr double kSheet = 1200;
constexpr double kMargin = 60;

/// Maps the texture's bounding box, with a border around it, to a sheet.
PlaneMap domainMap(TexturedMesh const& mesh)
{
    Point low{mesh.texcoords[0].x, mesh.texcoords[0].y};
    Point high = low;
    for (auto const& p : mesh.texcoords) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y)};
    }
    return {low, high, Rect{0, 0, kSheet, kSheet}.inset(kMargin)};
}

void drawIslands(Canvas& sheet, TexturedMesh const& mesh, PlaneMap const& map)
{
    int islandCount = 0;
    std::vector<int> const island = islandOfTriangle(mesh, islandCount);
    for (std::size_t t = 0; t < mesh.texTriangles.size(); ++t) {
        std::vector<Point> corners;
        for (int const i : mesh.texTriangles[t]) {
            auto const& p = mesh.texcoords[static_cast<std::size_t>(i)];
            corners.push_back(map({p.x, p.y}));
        }
        Colour const colour = categorical(island[t]);
        sheet.polygon(corners, mix(palette::paper, colour, 0.35));
        sheet.polyline(corners, {mix(palette::paper, colour, 0.7), 0.6}, true);
    }
}

} // namespace

void meshFunctionStage(TourContext& tour)
{
    Section& section = tour.report.add("Mesh function");
    PlaneMap const map = domainMap(tour.mesh);
    Canvas sheet = tour.sheet(kSheet, kSheet);
    drawIslands(sheet, tour.mesh, map);
    section.picture("islands.png", sheet, "The islands of the texture.", Width::half);
}

} // namespace tool
