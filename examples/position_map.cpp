// Bakes a map of positions and normals: for every pixel of a texture the point of a 3D model that the pixel lies on. A
// painting program that has this map can paint in space, and a renderer can light the texture without the model.
//
// The model is a vase. Its surface was cut along one line and laid flat, with a margin on all sides. In the margin the
// map is extrapolated, so that a renderer that filters the texture finds no seam.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include <sinew/sinew.h>

namespace {

using Point = tzNM::vect2<double>;

constexpr double kPi = 3.14159265358979323846;
constexpr int kAround = 48;
constexpr int kUp = 32;
constexpr double kMargin = 0.1; // of the texture, on each side

// A vertex as a graphics card takes it. The map interpolates all six numbers.
struct Vertex
{
    float position[3];
    float normal[3];
};
constexpr std::size_t kNumbers = sizeof(Vertex) / sizeof(float);

double radiusAt(double height)
{
    return 0.6 + 0.25 * std::sin(5 * height);
}

Vertex vertexAt(double around, double height)
{
    double const angle = 2 * kPi * around;
    double const slope = 1.25 * std::cos(5 * height); // of the radius
    UVector3 const normal(std::cos(angle), -slope, std::sin(angle));
    double const radius = radiusAt(height);
    auto const f = [](double x) { return static_cast<float>(x); };
    return {{f(radius * std::cos(angle)), f(height), f(radius * std::sin(angle))},
            {f(normal.x), f(normal.y), f(normal.z)}};
}

struct Vase
{
    std::vector<Vertex> vertices;
    std::vector<Point> texcoords;
    std::vector<int> triangles;

    Vase()
    {
        for (int i = 0; i <= kAround; ++i) {
            for (int j = 0; j <= kUp; ++j) {
                double const around = static_cast<double>(i) / kAround;
                double const up = static_cast<double>(j) / kUp;
                vertices.push_back(vertexAt(around, 2 * up));
                texcoords.emplace_back(kMargin + (1 - 2 * kMargin) * around, kMargin + (1 - 2 * kMargin) * up);
            }
        }
        for (int i = 0; i < kAround; ++i) {
            for (int j = 0; j < kUp; ++j) {
                int const a = i * (kUp + 1) + j;
                int const b = a + kUp + 1;
                triangles.insert(triangles.end(), {a, b, b + 1, a, b + 1, a + 1});
            }
        }
    }
};

// Row 0 is the upper edge of the picture, which has the largest second coordinate.
sinew::Raster rasterOf(int width, int height)
{
    sinew::Raster raster;
    raster.width = width;
    raster.height = height;
    raster.step = {1.0 / width, -1.0 / height};
    raster.origin = {0.5 / width, 1 - 0.5 / height};
    return raster;
}

struct Map
{
    std::vector<sinew::Location> locations;
    std::vector<Vertex> pixels;
};

Map bake(Vase const& vase, sinew::Raster const& raster)
{
    // The function finds triangles. Its own values are not used here, so they may be anything, such as the positions in
    // the texture.
    MeshFunction2D const function(vase.texcoords, vase.texcoords, vase.triangles, {});
    std::size_t const count = static_cast<std::size_t>(raster.width) * static_cast<std::size_t>(raster.height);
    Map map{std::vector<sinew::Location>(count), std::vector<Vertex>(count)};
    sinew::locateRaster(function, raster, map.locations.data());
    sinew::blendMany(map.locations.data(), count, vase.vertices[0].position, kNumbers, kNumbers, map.pixels[0].position,
                     kNumbers);
    return map;
}

// How far the largest of the errors is: triangles are flat, the vase is not.
double largestError(Map const& map)
{
    double largest = 0;
    for (std::size_t i = 0; i < map.pixels.size(); ++i) {
        if (map.locations[i].rule != sinew::LocationRule::inside) continue;
        float const* const p = map.pixels[i].position;
        largest = std::max(largest, std::fabs(std::hypot(p[0], p[2]) - radiusAt(p[1])));
    }
    return largest;
}

void print(Map const& map, sinew::Raster const& raster)
{
    for (int row = 0; row < raster.height; ++row) {
        std::string line;
        for (int column = 0; column < raster.width; ++column) {
            std::size_t const i = static_cast<std::size_t>(row * raster.width + column);
            float const* const n = map.pixels[i].normal;
            double const light = 0.5 + 0.4 * n[0] + 0.3 * n[1] + 0.2 * n[2]; // from one side and from above
            int const shade = std::clamp(static_cast<int>(8 * light), 0, 7);
            line += map.locations[i].rule == sinew::LocationRule::inside ? " .:-=+*#"[shade] : '\'';
        }
        std::printf("  %s\n", line.c_str());
    }
}

} // namespace

int main()
{
    Vase const vase;
    sinew::Raster const raster = rasterOf(72, 30);
    Map const map = bake(vase, raster);
    std::printf("the light on the vase, unrolled; ' marks extrapolated pixels\n");
    print(map, raster);

    auto const isWritten = [](sinew::Location const& l) { return l.rule != sinew::LocationRule::none; };
    bool const isComplete = std::all_of(map.locations.begin(), map.locations.end(), isWritten);
    double const error = largestError(map);
    std::printf("every pixel has a position: %s; largest distance from the vase: %.4f\n", isComplete ? "yes" : "no",
                error);
    return isComplete && error < 0.01 ? 0 : 1;
}
