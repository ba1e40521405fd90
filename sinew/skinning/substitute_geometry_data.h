#pragma once

/// A scope guard with which a host draws a display object deformed or mirrored and gets the original back afterwards.

#include <sinew/core/transform.h>
#include <sinew/export.h>
#include <sinew/framework/smart_ptr.h>
#include <sinew/skinning/bone_transform_vector.h>
#include <sinew/skinning/display_data.h>

/// While it lives the display data shows a substitute surface; its destructor puts the earlier surface and placement
/// back, whatever was assigned to them in between.
///
/// Guards on one display data are destroyed in the reverse order of their construction. If an allocation fails during
/// construction, the display data is as it was. Not for display data that another thread uses at the same time.
class SubstituteGeometryData
{
public:
    /// The curve's geometry at construction; null unless made from a curve.
    smart_ptr<GeometryData> savedCurveGeometry;
    /// The display data's surface at construction; null when nothing was substituted.
    smart_ptr<SurfaceGeometryData> savedSurface;
    /// Null unless made from a curve.
    smart_ptr<CurveDisplayData> curve;
    /// The display data whose surface was substituted; null when nothing was.
    smart_ptr<DisplayData> display;
    /// The display data's placement at construction; the default one when made from a curve.
    Transform savedPlacement;

    /// Remembers the curve's geometry and puts it back at the end. Curves are not deformed; the bones are not used.
    SINEW_API SubstituteGeometryData(smart_ptr<CurveDisplayData> curveData, smart_ptr<BoneTransformVector> bones);

    /// Shows the surface deformed by the bones, in world space, with the default placement. The winding of its
    /// triangles is reversed where the placement's scale is below 0 (strictly): a mirror turns triangles inside out.
    SINEW_API SubstituteGeometryData(smart_ptr<DisplayData> data, smart_ptr<BoneTransformVector> bones);

    /// Shows the surface with reversed winding unless the placement's scale is above 0: zero and NaN are reversed too.
    /// Positions, normals and placement stay. With a scale above 0 nothing is substituted.
    SINEW_API explicit SubstituteGeometryData(smart_ptr<DisplayData> data);

    SINEW_API ~SubstituteGeometryData();

    SubstituteGeometryData(SubstituteGeometryData const&) = delete;
    SubstituteGeometryData& operator=(SubstituteGeometryData const&) = delete;
};
