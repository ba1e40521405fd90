#pragma once

/// Triangle meshes of the surface on which a field is zero.

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

    /// The value at `p`, and the gradient unless the pointer is null.
    virtual double value(Vector3 const& p, Vector3* gradient) const = 0;

    /// Resizes `values` and sets values[i] = value(points[i], nullptr).
    virtual void values(std::vector<Vector3> const& points, std::vector<double>& values) const = 0;

    /// Whether the field may have a zero within `radius` of `centre`. False means that there is none.
    virtual bool mayCross(Vector3 const& centre, double radius) const = 0;
};

/// A mesh of the zeros of a field.
struct MeshedSurface
{
    std::vector<Vector3> positions;
    std::vector<Vector3> normals;    ///< unit vectors in the direction of the field's gradient, parallel to `positions`
    std::vector<Triangle> triangles; ///< counter-clockwise seen from outside
    std::size_t blocks = 0;          ///< number of blocks of cubes in the box
    std::size_t visitedBlocks = 0;   ///< number of blocks at whose corners the field was evaluated
    double largestValue = 0;         ///< largest |field| at a vertex
};

/// Meshes the zeros of the field in the box from `low` to `high`, on cubes of edge `cell`. All zeros must lie in the
/// box; otherwise the surface has open edges.
///
/// Each patch of the surface in a cube gives one vertex, and each cube edge that the surface crosses gives one
/// quadrilateral. A cube with several patches has several vertices, so parts of the surface that are close to each
/// other stay separate. The vertices are then distributed evenly along the surface, and moved onto it by Newton steps
/// with the field's gradient.
///
/// The field is evaluated only in blocks of cubes for which `mayCross` is true.
/// Source: G. M. Nielson, Dual Marching Cubes, IEEE Visualization 2004.
MeshedSurface meshZeros(BodyField const& field, Vector3 const& low, Vector3 const& high, double cell);

/// The topology of a triangle mesh.
struct SurfaceTopology
{
    /// Edges that the triangles do not use exactly once in each direction: 0 for a closed, oriented surface.
    std::size_t openEdges = 0;
    int pieces = 0;
    /// Used vertices - edges + triangles: 2 for each closed piece, less 2 for each of its handles.
    long eulerNumber = 0;
};

SurfaceTopology topologyOf(std::vector<Triangle> const& triangles, std::size_t vertexCount);

} // namespace tool
