#pragma once

/// The reference-counted geometry that the library and its host share: points, and surfaces made of triangles.

#include <vector>

#include <sinew/core/vector3.h>
#include <sinew/export.h>
#include <sinew/framework/smart_ptr.h>

/// Points in object space.
class SINEW_API GeometryData : public smart_base
{
public:
    std::vector<Vector3> positions;

    GeometryData();
    GeometryData(GeometryData const&);
    GeometryData& operator=(GeometryData const&);
    ~GeometryData() override;
};

/// A triangulated surface. Copies take the three vectors; the reference counts of both objects stay their own.
class SINEW_API SurfaceGeometryData : public GeometryData
{
public:
    /// One unit normal per position, in the same order.
    std::vector<UVector3> normals;
    /// Triangles as consecutive triples of indices into `positions`.
    std::vector<int> indices;

    SurfaceGeometryData();
    SurfaceGeometryData(SurfaceGeometryData const&);
    SurfaceGeometryData& operator=(SurfaceGeometryData const&);
    ~SurfaceGeometryData() override;
};
