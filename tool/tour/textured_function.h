#pragma once

/// The mesh function of a textured model: it maps a point of the texture to its position in a side view of the model.

#include <functional>
#include <vector>

#include <sinew/meshfunc/mesh_function_2d.h>
#include <sinew/meshfunc/raster.h>

#include <tool/draw/canvas.h>
#include <tool/draw/image.h>
#include <tool/draw/renderer.h>
#include <tool/io/textured_mesh.h>

namespace tool {

using Vector2 = tzNM::vect2<double>;

/// The direction from which the side of a model is seen: along the shortest edge of its bounding box. y points upwards,
/// unless that is the direction.
struct SideView
{
    // Coordinate axes: 0, 1 or 2.
    int right;
    int up;
    int towards; ///< to the viewer

    explicit SideView(std::vector<Vector3> const& positions);
};

/// Positions in the side view, scaled so that the longer edge of the model is [0, 1].
class SideProjection
{
public:
    explicit SideProjection(std::vector<Vector3> const& positions);

    Vector2 operator()(Vector3 const& p) const;

    int towards() const { return side_.towards; }
    double longestEdge() const { return longest_; }

private:
    SideView side_;
    Vector3 low_;
    double longest_;
    double width_; ///< of the side view
};

/// The surface of a model as it lies in its texture. Its vertices are the different pairs of a position and a texture
/// coordinate. Seams of either are therefore boundaries.
struct UnfoldedMesh
{
    // Of each vertex, the indices of the mesh.
    std::vector<int> positions;
    std::vector<int> texcoords;
    std::vector<int> facets; ///< three vertices a triangle, in the order of the mesh's triangles
};

UnfoldedMesh unfold(TexturedMesh const& mesh);

/// The mesh function of a model with texture coordinates.
///
/// - Its domain is the texture.
/// - Its value is the position in the side view: the `SideProjection`.
/// - Its scalar is the cosine of the angle between the surface's normal and the direction to the viewer. It is negative
///   on the far side.
///
/// Its vertices are those of `unfold(mesh)`.
MeshFunction2D sideViewFunction(TexturedMesh const& mesh);

/// The middles of the pixels of a rectangle on a sheet, as points of the plane that `map` draws there. Row 0 is at the
/// top.
sinew::Raster rasterOf(PlaneMap const& map, Rect const& where, int width, int height);

/// A picture in the plane of the side view that resembles a koi: red and black patches on a pale ground.
Colour koiPattern(Vector2 const& value);

/// A colour of a point outside the islands, on a sheet at the units (x, y): paler, greyer and hatched.
Colour asOutside(Colour const& colour, double x, double y);

/// A texture of size x size texels over [0, 1] x [0, 1], with row 0 at the top. The colour of a texel is the pattern's
/// colour at the function's value. Outside the islands the value is extrapolated, so that no seam shows a wrong colour.
/// Texels without a value are pale.
Image bakeTexture(MeshFunction2D const& function, int size);

/// The model in the colours that `colourAt` gives for texture coordinates. It refers to the mesh.
Solid texturedSolid(TexturedMesh const& mesh, std::function<Colour(Vector2 const&)> colourAt);

/// The azimuth, in degrees, of a view of the model's side that is turned a little to the front.
double sideAzimuth(TexturedMesh const& mesh);

} // namespace tool
