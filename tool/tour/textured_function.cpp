#include <tool/tour/textured_function.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <utility>

#include <tool/support/as_index.h>
#include <tool/support/bounds.h>

namespace tool {
namespace {

constexpr double kSmallestExtent = 1e-300; // for a model without extent: no division by zero

constexpr Colour kPale = Colour::hex(0xf6efe3);
constexpr Colour kRed = Colour::hex(0xd9481c);
constexpr Colour kBlack = Colour::hex(0x23262c);

// A smooth function of the plane that looks random, in about [-1, 1]: a sum of waves in several directions.
double ripple(Vector2 const& p, double phase)
{
    double sum = 0;
    double const directions[][2] = {{1.0, 0.35}, {-0.55, 0.95}, {0.85, -0.9}, {0.2, 1.3}, {-1.2, 0.15}};
    for (auto const& d : directions) sum += std::sin(d[0] * p.x + d[1] * p.y + phase * (1 + d[0] - 0.7 * d[1]));
    return sum / 2.6;
}

double edge(double value, double threshold, double softness)
{
    double const t = std::clamp((value - threshold) / softness + 0.5, 0.0, 1.0);
    return t * t * (3 - 2 * t);
}

} // namespace

SideView::SideView(std::vector<Vector3> const& positions) : right(0), up(1), towards(2)
{
    Vector3 low, high;
    boundsOf(positions, low, high);
    Vector3 const extent = high - low;
    if (extent.x < extent.z && extent.x < extent.y) {
        right = 2;
        towards = 0;
    } else if (extent.y < extent.z && extent.y < extent.x) {
        up = 2;
        towards = 1;
    }
}

UnfoldedMesh unfold(TexturedMesh const& mesh)
{
    UnfoldedMesh unfolded;
    std::map<std::pair<int, int>, int> vertexOf;
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        for (std::size_t k = 0; k < 3; ++k) {
            std::pair const corner(mesh.triangles[t][k], mesh.texTriangles[t][k]);
            auto const [found, isNew] = vertexOf.emplace(corner, static_cast<int>(unfolded.positions.size()));
            unfolded.facets.push_back(found->second);
            if (!isNew) continue;
            unfolded.positions.push_back(corner.first);
            unfolded.texcoords.push_back(corner.second);
        }
    }
    return unfolded;
}

SideProjection::SideProjection(std::vector<Vector3> const& positions) : side_(positions)
{
    Vector3 high;
    boundsOf(positions, low_, high);
    longest_ = std::max({high[side_.right] - low_[side_.right], high[side_.up] - low_[side_.up], kSmallestExtent});
    width_ = (high[side_.right] - low_[side_.right]) / longest_;
}

Vector2 SideProjection::operator()(Vector3 const& p) const
{
    double const across = (p[side_.right] - low_[side_.right]) / longest_;
    // Seen from +z, the axis `right` points to the right. Seen from +x or from +y it points to the left.
    return {side_.towards == 2 ? across : width_ - across, (p[side_.up] - low_[side_.up]) / longest_};
}

MeshFunction2D sideViewFunction(TexturedMesh const& mesh)
{
    SideProjection const inSideView(mesh.positions);
    std::vector<Vector3> const normals = vertexNormals(mesh.positions, mesh.triangles);
    UnfoldedMesh const unfolded = unfold(mesh);
    std::vector<Vector2> params, values;
    std::vector<float> cosines;
    for (std::size_t v = 0; v < unfolded.positions.size(); ++v) {
        std::size_t const position = asIndex(unfolded.positions[v]);
        params.push_back(mesh.texcoords[asIndex(unfolded.texcoords[v])]);
        values.push_back(inSideView(mesh.positions[position]));
        cosines.push_back(static_cast<float>(normals[position][inSideView.towards()]));
    }
    return {params, values, unfolded.facets, cosines};
}

Colour koiPattern(Vector2 const& value)
{
    Vector2 const p = value * 14.0;
    double const red = edge(ripple(p, 1.9) + 0.25 * ripple(p * 2.3, 0.4), 0.18, 0.10);
    double const black = edge(ripple(p * 1.35, 4.4) + 0.3 * ripple(p * 3.1, 2.0), 0.72, 0.08);
    // The scales are arcs of overlapping circles, with every second row shifted by half a circle.
    double const row = std::floor(value.y * 46);
    double const x = value.x * 46 + 0.5 * std::fmod(std::fabs(row), 2.0);
    double const arc = std::hypot(x - std::floor(x) - 0.5, value.y * 46 - row - 0.15);
    double const shade = 0.10 * edge(arc, 0.52, 0.25);
    Colour const base = mix(mix(kPale, kRed, red), kBlack, black);
    return mix(base, Colour(0.35, 0.22, 0.16), shade);
}

sinew::Raster rasterOf(PlaneMap const& map, Rect const& where, int width, int height)
{
    double const unitsX = where.width / width, unitsY = where.height / height;
    Point const first = map.inverse({where.x + 0.5 * unitsX, where.y + 0.5 * unitsY});
    sinew::Raster raster;
    raster.origin = {first.x, first.y};
    raster.step = {unitsX / map.scale(), -unitsY / map.scale()};
    raster.width = width;
    raster.height = height;
    return raster;
}

Colour asOutside(Colour const& colour, double x, double y)
{
    bool const stripe = std::fmod(x + y, 14.0) < 4;
    return mix(desaturate(colour, 0.75), palette::paper, stripe ? 0.82 : 0.55);
}

Image bakeTexture(MeshFunction2D const& function, int size)
{
    PlaneMap const unitSquare({0, 0}, {1, 1}, {0, 0, 1, 1});
    sinew::Raster const raster = rasterOf(unitSquare, {0, 0, 1, 1}, size, size);
    std::size_t const count = asIndex(size) * asIndex(size);
    std::vector<Vector2> values(count);
    auto const found = std::make_unique<bool[]>(count);
    sinew::extrapolateRaster(function, raster, values.data(), nullptr, found.get());
    Image texture(size, size, kPale);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            std::size_t const i = asIndex(y) * asIndex(size) + asIndex(x);
            if (found[i]) texture.at(x, y) = koiPattern(values[i]);
        }
    }
    return texture;
}

Solid texturedSolid(TexturedMesh const& mesh, std::function<Colour(Vector2 const&)> colourAt)
{
    Solid solid{mesh.positions, mesh.triangles};
    solid.gloss = 0.3;
    solid.colourAt = [&mesh, colourAt = std::move(colourAt)](std::size_t triangle, double const* weights) {
        Vector2 texcoord;
        for (std::size_t k = 0; k < 3; ++k) {
            texcoord += mesh.texcoords[asIndex(mesh.texTriangles[triangle][k])] * weights[k];
        }
        return colourAt(texcoord);
    };
    return solid;
}

double sideAzimuth(TexturedMesh const& mesh)
{
    return SideView(mesh.positions).towards == 0 ? 62 : 28;
}

} // namespace tool
