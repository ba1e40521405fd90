#pragma once

/// A position map: for every texel of a texture, the point of the model that the texel lies on, and the normal there.
/// Baked once, it replaces the model wherever a program knows only the texture.

#include <vector>

#include <sinew/meshfunc/mesh_function_2d.h>
#include <sinew/meshfunc/raster.h>

#include <tool/draw/image.h>
#include <tool/draw/renderer.h>
#include <tool/io/textured_mesh.h>
#include <tool/support/as_index.h>

namespace tool {

struct PositionMap
{
    sinew::Raster raster;
    // Of each texel, row by row.
    std::vector<sinew::Location> locations;
    std::vector<Vector3> positions; ///< zero where the location has no triangle
    std::vector<Vector3> normals;   ///< interpolated, so not of unit length

    std::size_t texelAt(int x, int y) const { return asIndex(y) * asIndex(raster.width) + asIndex(x); }
    bool isInside(std::size_t texel) const { return locations[texel].rule == sinew::LocationRule::inside; }
};

/// Bakes the positions and normals of a model. Outside the islands they are extrapolated.
///
/// @param function  a mesh function of `unfold(mesh)`. Its values are not used.
PositionMap bakePositions(TexturedMesh const& mesh, MeshFunction2D const& function, sinew::Raster const& raster);

/// The colour of a point of the model: red, green and blue grow with x, y and z, each from one side of the bounding box
/// to the other.
class PositionColours
{
public:
    explicit PositionColours(std::vector<Vector3> const& positions);

    Colour operator()(Vector3 const& p) const;

private:
    Vector3 low_;
    Vector3 high_;
};

/// The map as a picture, pale and hatched outside the islands.
/// @param unitsPerTexel  size of a texel on the sheet, for the hatching.
Image pictureOf(PositionMap const& map, PositionColours const& colours, double unitsPerTexel);

/// The model, drawn from the map and from nothing else: its vertices are the texels. The texels around the islands are
/// used too, because extrapolation continues the surface across the seams; without them there would be gaps.
///
/// @param facets, vertexCount  of the function; a triangle of texels must lie on one island.
Solid solidOf(PositionMap const& map, std::vector<int> const& facets, std::size_t vertexCount,
              PositionColours const& colours);

} // namespace tool
