#pragma once

/// The display data that the library requires from its host. A host derives from these classes or uses them directly.
///
/// A vertex is named by its index in the positions of the geometry. The deforming operations neither check nor
/// normalise bone weights, and the weights of a vertex need not sum to 1; `sinew::diagnose` reports unusual ones.

#include <utility>
#include <vector>

#include <sinew/core/transform.h>
#include <sinew/export.h>
#include <sinew/framework/smart_ptr.h>
#include <sinew/skinning/geometry_data.h>

/// The bones that move each vertex, and their weights.
class SINEW_API BoneWeightTable : public smart_base
{
public:
    /// For each vertex the list of its influences, as pairs of bone index and weight: 24 bytes a vertex, 16 an
    /// influence.
    std::vector<std::vector<std::pair<int, double>>> influences;

    BoneWeightTable();
    BoneWeightTable(BoneWeightTable const&);
    /// Strong guarantee: if an allocation fails, the table is unchanged.
    BoneWeightTable& operator=(BoneWeightTable const& other);
    ~BoneWeightTable() override;
};

/// An object that is placed in the world and that bones can deform.
class SINEW_API BaseDisplayData : public smart_base
{
public:
    /// May be null; no bone moves the object then.
    smart_ptr<BoneWeightTable> boneWeights;
    /// The transform from object space to the world.
    ::Transform placement;

    ~BaseDisplayData() override;

    /// The geometry whose positions are deformed. This is the first virtual function after those of `smart_base`;
    /// callers may rely on its slot.
    virtual smart_ptr<GeometryData const> getGeometry() const = 0;
};

/// A surface on display.
class SINEW_API DisplayData : public BaseDisplayData
{
public:
    /// May be null.
    smart_ptr<SurfaceGeometryData> surface;

    ~DisplayData() override;
    /// Returns `surface`.
    smart_ptr<GeometryData const> getGeometry() const override;
};

/// A curve on display.
class SINEW_API CurveDisplayData : public BaseDisplayData
{
public:
    /// The points of the curve; may be null.
    smart_ptr<GeometryData> geometry;

    ~CurveDisplayData() override;
    /// Returns `geometry`.
    smart_ptr<GeometryData const> getGeometry() const override;
};

/// A decal on display. The library treats it as any other surface.
class SINEW_API DecalDisplayData : public DisplayData
{
public:
    ~DecalDisplayData() override;
};

/// Reference-counting functions for handle classes of the host that find them by argument-dependent lookup. They call
/// the virtual functions `addReference` and `releaseReference`, so overrides take effect. `object` must not be null.
SINEW_API void intrusive_ptr_add_ref(DecalDisplayData const* object);
SINEW_API void intrusive_ptr_release(DecalDisplayData const* object);
SINEW_API void intrusive_ptr_add_ref(SurfaceGeometryData const* object);
SINEW_API void intrusive_ptr_release(SurfaceGeometryData const* object);
SINEW_API void intrusive_ptr_add_ref(CurveDisplayData const* object);
SINEW_API void intrusive_ptr_release(CurveDisplayData const* object);
SINEW_API void intrusive_ptr_add_ref(DisplayData const* object);
SINEW_API void intrusive_ptr_release(DisplayData const* object);
