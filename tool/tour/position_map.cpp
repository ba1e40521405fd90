#include <tool/tour/position_map.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include <tool/figure/mesh_pieces.h>
#include <tool/support/as_index.h>
#include <tool/support/bounds.h>
#include <tool/tour/textured_function.h>

namespace tool {
namespace {

constexpr double kSmallestExtent = 1e-300; // for a flat model: no division by zero

// The interpolated vectors of all texels. `ofVertices` are parallel to the function's vertices.
std::vector<Vector3> blended(std::vector<sinew::Location> const& locations, std::vector<Vector3> const& ofVertices)
{
    std::vector<Vector3> result(locations.size());
    if (ofVertices.empty() || result.empty()) return result;
    sinew::blendMany(locations.data(), locations.size(), &ofVertices[0].x, 3, 3, &result[0].x, 3);
    return result;
}

std::vector<Vector3> chosen(std::vector<Vector3> const& vectors, std::vector<int> const& indices)
{
    std::vector<Vector3> result;
    for (int const i : indices) result.push_back(vectors[asIndex(i)]);
    return result;
}

// Adds the triangles of texels on one island to a solid, and the texels that they need.
class TexelMesher
{
public:
    TexelMesher(PositionMap const& map, std::vector<int> const& islandOfTriangle, PositionColours const& colours)
        : map_(map), islandOfTriangle_(islandOfTriangle), colours_(colours), vertexOf_(map.locations.size(), -1)
    {
    }

    void add(std::size_t a, std::size_t b, std::size_t c)
    {
        bool const isOnModel = map_.isInside(a) || map_.isInside(b) || map_.isInside(c);
        if (!isOnModel || islandOf(a) != islandOf(b) || islandOf(a) != islandOf(c)) return;
        solid_.triangles.push_back({vertex(a), vertex(b), vertex(c)});
    }

    Solid take() { return std::move(solid_); }

private:
    int islandOf(std::size_t texel) const
    {
        int const triangle = map_.locations[texel].triangle;
        return triangle < 0 ? -1 : islandOfTriangle_[asIndex(triangle)];
    }

    int vertex(std::size_t texel)
    {
        int& index = vertexOf_[texel];
        if (index >= 0) return index;
        index = static_cast<int>(solid_.positions.size());
        solid_.positions.push_back(map_.positions[texel]);
        solid_.normals.push_back(UVector3(map_.normals[texel]));
        solid_.colours.push_back(colours_(map_.positions[texel]));
        return index;
    }

    PositionMap const& map_;
    std::vector<int> const& islandOfTriangle_;
    PositionColours const& colours_;
    std::vector<int> vertexOf_; // -1 for a texel that is not used yet
    Solid solid_;
};

} // namespace

PositionMap bakePositions(TexturedMesh const& mesh, MeshFunction2D const& function, sinew::Raster const& raster)
{
    UnfoldedMesh const unfolded = unfold(mesh);
    PositionMap map{raster, {}, {}, {}};
    map.locations.resize(asIndex(raster.width) * asIndex(raster.height));
    sinew::locateRaster(function, raster, map.locations.data());
    map.positions = blended(map.locations, chosen(mesh.positions, unfolded.positions));
    map.normals = blended(map.locations, chosen(vertexNormals(mesh.positions, mesh.triangles), unfolded.positions));
    return map;
}

PositionColours::PositionColours(std::vector<Vector3> const& positions)
{
    boundsOf(positions, low_, high_);
}

Colour PositionColours::operator()(Vector3 const& p) const
{
    constexpr double kDarkest = 0.14, kBrightest = 0.93; // of a channel
    double channel[3];
    for (int k = 0; k < 3; ++k) {
        double const share = (p[k] - low_[k]) / std::max(high_[k] - low_[k], kSmallestExtent);
        channel[k] = kDarkest + (kBrightest - kDarkest) * std::fmin(std::fmax(share, 0.0), 1.0); // NaN counts as 0
    }
    return {channel[0], channel[1], channel[2]};
}

Image pictureOf(PositionMap const& map, PositionColours const& colours, double unitsPerTexel)
{
    Image image(map.raster.width, map.raster.height, palette::paper);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            std::size_t const texel = map.texelAt(x, y);
            if (map.locations[texel].rule == sinew::LocationRule::none) continue;
            Colour const colour = colours(map.positions[texel]);
            image.at(x, y) = map.isInside(texel) ? colour : asOutside(colour, x * unitsPerTexel, y * unitsPerTexel);
        }
    }
    return image;
}

Solid solidOf(PositionMap const& map, std::vector<int> const& facets, std::size_t vertexCount,
              PositionColours const& colours)
{
    int islands = 0;
    std::vector<int> const islandOfTriangle = pieceOfTriangle(facets, vertexCount, islands);
    TexelMesher mesher(map, islandOfTriangle, colours);
    for (int y = 0; y + 1 < map.raster.height; ++y) {
        for (int x = 0; x + 1 < map.raster.width; ++x) {
            std::size_t const topLeft = map.texelAt(x, y), bottomLeft = map.texelAt(x, y + 1);
            mesher.add(topLeft, bottomLeft, bottomLeft + 1);
            mesher.add(topLeft, bottomLeft + 1, topLeft + 1);
        }
    }
    return mesher.take();
}

} // namespace tool
