// The pictures of docs/meshfunc.md, as SVG: the grid over a mesh, and how boundary loops continue a function outside.

#include <cmath>
#include <fstream>
#include <string>
#include <vector>

#include <sinew/sinew.h>

namespace {

using Point = tzNM::vect2<double>;

// A ring of eight sectors with a gap in the middle, and an island beside it.
MeshFunction2D ringAndIsland()
{
    std::vector<Point> params, values;
    std::vector<int> facets;
    int const sectors = 16;
    for (int i = 0; i < sectors; ++i) {
        double const angle = 2 * 3.14159265358979323846 * i / sectors;
        for (double radius : {0.45, 1.0}) params.emplace_back(radius * std::cos(angle), radius * std::sin(angle));
    }
    for (int i = 0; i < sectors; ++i) {
        int const a = 2 * i, b = 2 * ((i + 1) % sectors);
        facets.insert(facets.end(), {a, a + 1, b + 1, a, b + 1, b});
    }
    int const island = static_cast<int>(params.size());
    for (Point const& p : {Point(1.35, -0.5), Point(1.95, -0.3), Point(1.75, 0.4), Point(1.3, 0.2)})
        params.push_back(p);
    facets.insert(facets.end(), {island, island + 1, island + 2, island, island + 2, island + 3});
    for (Point const& p : params) values.emplace_back(p.x + 0.25 * p.y * p.y, p.y - 0.3 * std::sin(2 * p.x));
    return MeshFunction2D(params, values, facets, {});
}

// Maps the plane around the mesh to a picture of 640 x 400.
std::string at(Point const& p)
{
    return std::to_string(150 * (p.x + 1.5)) + "," + std::to_string(150 * (1.33 - p.y));
}

std::string polygon(std::vector<Point> const& points, std::string const& style)
{
    std::string text = "<polygon points='";
    for (Point const& p : points) text += at(p) + " ";
    return text + "' " + style + "/>\n";
}

void save(std::string const& file, std::string const& body)
{
    std::ofstream(file) << "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 640 400' width='640'>\n"
                        << "<rect width='100%' height='100%' fill='#fcfbf8'/>\n"
                        << body << "</svg>\n";
}

std::string drawTriangles(MeshFunction2D const& f, std::string const& style)
{
    std::string body;
    for (std::size_t i = 0; i + 2 < f.facets.size(); i += 3) {
        std::vector<Point> corners;
        for (std::size_t k = 0; k < 3; ++k) corners.push_back(f.params[static_cast<std::size_t>(f.facets[i + k])]);
        body += polygon(corners, style);
    }
    return body;
}

std::string drawLoops(MeshFunction2D const& f)
{
    static char const* const colours[] = {"#d1495b", "#0b6fa4", "#3a7d44"};
    std::string body;
    for (std::size_t k = 0; k < f.boundaryProjectors.size(); ++k) {
        body += "<polyline fill='none' stroke-width='3' stroke='" + std::string(colours[k % 3]) + "' points='";
        for (Vector3 const& p : f.boundaryProjectors[k]->points) body += at({p.x, p.y}) + " ";
        body += "'/>\n";
    }
    return body;
}

// The cells of the public grid, darker where they list more triangles.
std::string drawCells(MeshFunction2D const& f)
{
    std::string body;
    for (int cx = 0; cx < f.gridSize[0]; ++cx) {
        for (int cy = 0; cy < f.gridSize[1]; ++cy) {
            std::size_t const listed = f.gridCells[static_cast<std::size_t>(cx * f.gridSize[1] + cy)].size();
            auto const corner = [&](int x, int y) {
                return Point(f.domainMin.x + x / f.gridScale[0], f.domainMin.y + y / f.gridScale[1]);
            };
            body += polygon({corner(cx, cy), corner(cx + 1, cy), corner(cx + 1, cy + 1), corner(cx, cy + 1)},
                            "stroke='#d9d4c7' stroke-width='0.7' fill='#e0a030' fill-opacity='" +
                                std::to_string(0.13 * static_cast<double>(listed)) + "'");
        }
    }
    return body;
}

// A chequer in the space of values, seen through the function: strong inside, pale where it is continued. One path a
// colour, of strips three pixels high.
std::string drawChequer(MeshFunction2D const& f)
{
    std::string const fills[] = {"#f4f0e6", "#e3dccb", "#9fcbe3", "#0b6fa4"};
    std::string paths[4];
    for (int y = 0; y < 400; y += 3) {
        for (int x = 0, start = 0, current = -1; x <= 640; ++x) {
            int colour = -1;
            Point const p((x + 0.5) / 150 - 1.5, 1.33 - (y + 1.5) / 150);
            Point value;
            if (x < 640 && f.extrapolate(p, &value, nullptr)) {
                int const parity =
                    static_cast<int>(std::floor(value.x * 5)) + static_cast<int>(std::floor(value.y * 5));
                colour = (parity & 1) + (f.evaluate(p, nullptr, nullptr) ? 2 : 0);
            }
            if (colour == current) continue;
            if (current >= 0) {
                paths[current] += "M" + std::to_string(start) + " " + std::to_string(y) + "h" +
                                  std::to_string(x - start) + "v3H" + std::to_string(start) + "z";
            }
            start = x;
            current = colour;
        }
    }
    std::string body;
    for (int i = 0; i < 4; ++i) {
        body += "<path shape-rendering='crispEdges' fill='" + fills[i] + "' d='" + paths[i] + "'/>\n";
    }
    return body;
}

} // namespace

int main(int argc, char** argv)
{
    std::string const folder = argc > 1 ? argv[1] : ".";
    MeshFunction2D const f = ringAndIsland();
    save(folder + "/meshfunc_grid.svg",
         drawCells(f) + drawTriangles(f, "fill='none' stroke='#6b655a' stroke-width='1.2'") + drawLoops(f));
    save(folder + "/meshfunc_outside.svg", drawChequer(f) + drawLoops(f));
}
