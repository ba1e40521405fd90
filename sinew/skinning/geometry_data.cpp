#include <sinew/skinning/geometry_data.h>

GeometryData::GeometryData() = default;
GeometryData::GeometryData(GeometryData const&) = default;
GeometryData& GeometryData::operator=(GeometryData const&) = default;
GeometryData::~GeometryData() = default;

SurfaceGeometryData::SurfaceGeometryData() = default;
SurfaceGeometryData::SurfaceGeometryData(SurfaceGeometryData const&) = default;
SurfaceGeometryData& SurfaceGeometryData::operator=(SurfaceGeometryData const&) = default;
SurfaceGeometryData::~SurfaceGeometryData() = default;
