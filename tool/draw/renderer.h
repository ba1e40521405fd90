#pragma once

/// Pictures of surfaces in space: a depth buffer, smooth normals, one key light with shadows, the light of an even sky
/// with ambient shadows, and a ground that shows nothing but the shadows on it.

#include <functional>
#include <vector>

#include <sinew/core/vector3.h>

#include <tool/draw/view.h>
#include <tool/io/textured_mesh.h>

namespace tool {

/// A surface to draw. Both of its sides are lit.
struct Solid
{
    std::vector<Vector3> positions;
    std::vector<Triangle> triangles;
    std::vector<Vector3> normals = {};     ///< unit, parallel to `positions`; empty: averaged from the triangles
    Colour colour = Colour::hex(0xd8d2c6); ///< where nothing below says otherwise
    std::vector<Colour> colours = {};      ///< one a vertex, blended in between; or empty
    /// The colour inside a triangle at barycentric weights (of its three corners); wins over the two above.
    std::function<Colour(std::size_t triangle, double const* weights)> colourAt = {};
    double gloss = 0.12; ///< strength of the highlight, 0 for chalk
};

struct RenderOptions
{
    Colour background = palette::paper;
    bool ground = true; ///< a ground at the lowest point of all solids
};

/// Draws the solids as seen by `view` into an image that covers `view.where()`, `pixelsPerUnit` pixels a unit.
Image render(std::vector<Solid> const& solids, View const& view, double pixelsPerUnit,
             RenderOptions const& options = {});

/// One picture of the solid for each set of vertex colours: lighting and visibility are worked out once.
std::vector<Image> renderColours(Solid const& solid, std::vector<std::vector<Colour>> const& colours, View const& view,
                                 double pixelsPerUnit, RenderOptions const& options = {});

/// `render` straight onto the sheet, at the sheet's resolution.
void drawSolids(Canvas& sheet, std::vector<Solid> const& solids, View const& view, RenderOptions const& options = {});

/// Unit normals of the vertices, averaged over the triangles around them by area. A vertex without any gets (0, 0, 1).
std::vector<Vector3> vertexNormals(std::vector<Vector3> const& positions, std::vector<Triangle> const& triangles);

/// The smallest box around the points; from (0, 0, 0) to (0, 0, 0) without any.
void boundsOf(std::vector<Vector3> const& points, Vector3& low, Vector3& high);

} // namespace tool
