#pragma once

/// Pictures of surfaces in space. The renderer has a depth buffer and smooth normals; a key light with shadows and the
/// light of a uniform sky with ambient shadows; and a ground of the background's colour, on which shadows fall.

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
    Colour colour = Colour::hex(0xd8d2c6); ///< used when `colours` and `colourAt` are empty
    std::vector<Colour> colours = {};      ///< one a vertex, interpolated in between; or empty
    /// The colour inside a triangle, at the barycentric weights of its three corners. If set, it replaces the two
    /// above.
    std::function<Colour(std::size_t triangle, double const* weights)> colourAt = {};
    double gloss = 0.12; ///< strength of the highlight, 0 for chalk
};

struct RenderOptions
{
    Colour background = palette::paper;
    bool ground = true; ///< a ground at the lowest point of all solids
};

/// Draws the solids, seen by `view`, into an image that covers `view.where()` with `pixelsPerUnit` pixels a unit.
Image render(std::vector<Solid> const& solids, View const& view, double pixelsPerUnit,
             RenderOptions const& options = {});

/// One picture of the solid for each set of vertex colours. Lighting and visibility are computed once for all of them.
std::vector<Image> renderColours(Solid const& solid, std::vector<std::vector<Colour>> const& colours, View const& view,
                                 double pixelsPerUnit, RenderOptions const& options = {});

/// Puts the picture that `render` makes onto the sheet, in the sheet's resolution.
void drawSolids(Canvas& sheet, std::vector<Solid> const& solids, View const& view, RenderOptions const& options = {});

/// Unit normals of the vertices: means over the triangles around them, weighted by area. A vertex without a triangle of
/// positive area gets (0, 0, 1).
std::vector<Vector3> vertexNormals(std::vector<Vector3> const& positions, std::vector<Triangle> const& triangles);

} // namespace tool
