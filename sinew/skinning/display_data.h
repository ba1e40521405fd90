#pragma once

/// What the library asks of the host's display data. A host derives from these classes or uses them as they are.
///
/// A vertex is named by its index into the positions of the geometry. Bone weights are used as they stand: they are not
/// normalised and need not sum to 1 (`sinew::checkWeights` tells what is odd about them).

#include <utility>
#include <vector>

#include <sinew/core/transform.h>
#include <sinew/export.h>
#include <sinew/framework/smart_ptr.h>
#include <sinew/skinning/geometry_data.h>

/// Which bones move which vertex, and how much.
class SINEW_API BoneWeightTable : public smart_base
{
public:
    /// For every vertex its list of (bone index, weight).
    std::vector<std::vector<std::pair<int, double>>> influences;

    ~BoneWeightTable() override;
};

/// Anything placed in the world that bones may deform.
class SINEW_API BaseDisplayData : public smart_base
{
public:
    /// May be null: then no bone moves this.
    smart_ptr<BoneWeightTable> boneWeights;
    /// From object space to the world.
    Transform placement;

    ~BaseDisplayData() override;

    /// The geometry whose positions are deformed; the first virtual operation after those of `smart_base`.
    virtual smart_ptr<GeometryData const> getGeometry() const = 0;
};

/// A surface on display.
class SINEW_API DisplayData : public BaseDisplayData
{
public:
    smart_ptr<SurfaceGeometryData> surface;

    ~DisplayData() override;
    /// The surface.
    smart_ptr<GeometryData const> getGeometry() const override;
};

/// A curve on display.
class SINEW_API CurveDisplayData : public BaseDisplayData
{
public:
    smart_ptr<GeometryData> geometry;

    ~CurveDisplayData() override;
    /// The curve's points.
    smart_ptr<GeometryData const> getGeometry() const override;
};

/// A decal on display: a surface like any other to this library.
class SINEW_API DecalDisplayData : public DisplayData
{
public:
    ~DecalDisplayData() override;
};

/// Reference-counting hooks for hosts whose own handles look them up by argument type. Both go through the object's
/// virtual `addReference` and `releaseReference`, so that overrides are honoured. `object` must not be null.
SINEW_API void intrusive_ptr_add_ref(DecalDisplayData const* object);
SINEW_API void intrusive_ptr_release(DecalDisplayData const* object);
SINEW_API void intrusive_ptr_add_ref(SurfaceGeometryData const* object);
SINEW_API void intrusive_ptr_release(SurfaceGeometryData const* object);
SINEW_API void intrusive_ptr_add_ref(CurveDisplayData const* object);
SINEW_API void intrusive_ptr_release(CurveDisplayData const* object);
SINEW_API void intrusive_ptr_add_ref(DisplayData const* object);
SINEW_API void intrusive_ptr_release(DisplayData const* object);
