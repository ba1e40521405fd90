#pragma once

/// The reference-counted geometry that the library and its host share: points, and surfaces of triangles.

#include <vector>

#include <sinew/core/vector3.h>
#include <sinew/export.h>
#include <sinew/framework/smart_ptr.h>

/// A set of points.
class SINEW_API GeometryData : public smart_base
{
public:
    /// The points in object space. A vertex is named by its index in this vector.
    std::vector<::Vector3> positions;

    GeometryData();
    GeometryData(GeometryData const&);
    /// Strong guarantee: if an allocation fails, the points are unchanged.
    GeometryData& operator=(GeometryData const& other);
    ~GeometryData() override;
};

/// A triangulated surface. Copying and assigning copy the three vectors but not the reference count. Memory: 24 bytes a
/// position, 24 a normal, 4 an index.
class SINEW_API SurfaceGeometryData : public GeometryData
{
public:
    /// One unit normal per position, in the same order.
    std::vector<UVector3> normals;
    /// Triangles as consecutive triples of indices into `positions`.
    std::vector<int> indices;

    SurfaceGeometryData();
    SurfaceGeometryData(SurfaceGeometryData const&);
    /// Strong guarantee: if an allocation fails, the surface is unchanged.
    SurfaceGeometryData& operator=(SurfaceGeometryData const& other);
    ~SurfaceGeometryData() override;
};
