#pragma once

/// A closed triangle mesh of the surface on which a field is zero.

#include <cstddef>
#include <vector>

#include <sinew/core/vector3.h>

#include <tool/io/textured_mesh.h>

namespace tool {

/// A function of space, negative inside a body and positive outside.
class BodyField
{
public:
    virtual ~BodyField() = default;

    virtual double value(Vector3 const& p, Vector3* gradient) const = 0;

    /// values[i] = value(points[i]).
    virtual void values(std::vector<Vector3> const& points, std::vector<double>& values) const = 0;

    /// False only where the field certainly has no zero within `radius` of `centre`.
    virtual bool mayCross(Vector3 const& centre, double radius) const = 0;
};

struct MeshedSurface
{
    std::vector<Vector3> positions;
    std::vector<Vector3> normals;    ///< the field's gradient, unit
    std::vector<Triangle> triangles; ///< counter-clockwise seen from outside
    std::size_t blocks = 0;          ///< blocks of cells that the box was divided into
    std::size_t visitedBlocks = 0;   ///< those whose corners were evaluated
    double largestValue = 0;         ///< largest |field| at a vertex
};

/// Meshes the zeros of the field in the box from `low` to `high` on cubes of edge `cell`. The zeros must lie inside.
///
/// One vertex stands for each patch of the surface in a cube, one quadrilateral for each cube edge that crosses it. A
/// cube with several patches has several vertices, so that sheets that pass close to each other stay apart. Vertices
/// are evened out along the surface and brought onto it by Newton steps with the field's own gradient.
///
/// Only blocks of cubes that `mayCross` allows are evaluated.
/// Source: G. M. Nielson, Dual Marching Cubes, IEEE Visualization 2004.
MeshedSurface meshZeros(BodyField const& field, Vector3 const& low, Vector3 const& high, double cell);

/// What holds of a triangle mesh as a surface.
struct SurfaceTopology
{
    std::size_t openEdges = 0; ///< edges that are not passed exactly once each way: 0 for a closed, oriented surface
    int pieces = 0;
    long eulerNumber = 0; ///< vertices - edges + triangles; 2 for each piece without a handle
};
SurfaceTopology topologyOf(std::vector<Triangle> const& triangles, std::size_t vertexCount);

} // namespace tool
