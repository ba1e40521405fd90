#include <sinew/skinning/display_data.h>

BoneWeightTable::BoneWeightTable() = default;
BoneWeightTable::BoneWeightTable(BoneWeightTable const&) = default;
BoneWeightTable::~BoneWeightTable() = default;

BoneWeightTable& BoneWeightTable::operator=(BoneWeightTable const& other)
{
    influences = std::vector(other.influences);
    return *this;
}

BaseDisplayData::~BaseDisplayData() = default;
DisplayData::~DisplayData() = default;
CurveDisplayData::~CurveDisplayData() = default;
DecalDisplayData::~DecalDisplayData() = default;

smart_ptr<GeometryData const> DisplayData::getGeometry() const
{
    return surface;
}

smart_ptr<GeometryData const> CurveDisplayData::getGeometry() const
{
    return geometry;
}

void intrusive_ptr_add_ref(DecalDisplayData const* object)
{
    object->addReference();
}
void intrusive_ptr_release(DecalDisplayData const* object)
{
    object->releaseReference();
}
void intrusive_ptr_add_ref(SurfaceGeometryData const* object)
{
    object->addReference();
}
void intrusive_ptr_release(SurfaceGeometryData const* object)
{
    object->releaseReference();
}
void intrusive_ptr_add_ref(CurveDisplayData const* object)
{
    object->addReference();
}
void intrusive_ptr_release(CurveDisplayData const* object)
{
    object->releaseReference();
}
void intrusive_ptr_add_ref(DisplayData const* object)
{
    object->addReference();
}
void intrusive_ptr_release(DisplayData const* object)
{
    object->releaseReference();
}
