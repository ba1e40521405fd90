#include <sinew/skinning/geometry_data.h>

#include <utility>

GeometryData::GeometryData() = default;
GeometryData::GeometryData(GeometryData const&) = default;
GeometryData::~GeometryData() = default;

GeometryData& GeometryData::operator=(GeometryData const& other)
{
    positions = std::vector(other.positions);
    return *this;
}

SurfaceGeometryData::SurfaceGeometryData() = default;
SurfaceGeometryData::SurfaceGeometryData(SurfaceGeometryData const&) = default;
SurfaceGeometryData::~SurfaceGeometryData() = default;

SurfaceGeometryData& SurfaceGeometryData::operator=(SurfaceGeometryData const& other)
{
    // Every copy is made before the first member changes.
    std::vector normalCopy(other.normals);
    std::vector indexCopy(other.indices);
    GeometryData::operator=(other);
    normals = std::move(normalCopy);
    indices = std::move(indexCopy);
    return *this;
}
