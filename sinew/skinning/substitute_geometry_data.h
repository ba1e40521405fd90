#pragma once

/// A scope guard with which a host draws a display object deformed or with reversed winding, and which restores the
/// original afterwards.

#include <sinew/core/transform.h>
#include <sinew/export.h>
#include <sinew/framework/smart_ptr.h>
#include <sinew/skinning/bone_transform_vector.h>
#include <sinew/skinning/display_data.h>

/// Substitutes the surface of a display data while the guard exists. The destructor restores the original surface and
/// placement, even if the host has assigned others in the meantime.
///
/// Guards on the same display data must be destroyed in the reverse order of their construction. If an allocation fails
/// during construction, the display data is unchanged. The guard requires exclusive access to the display data. The
/// display data or curve must not be null; the bones may be.
class SubstituteGeometryData
{
public:
    /// The geometry of the curve at construction; null unless the guard was made from a curve.
    smart_ptr<GeometryData> savedCurveGeometry;
    /// The surface of the display data at construction; null if the guard substitutes nothing.
    smart_ptr<SurfaceGeometryData> savedSurface;
    /// The curve; null unless the guard was made from a curve.
    smart_ptr<CurveDisplayData> curve;
    /// The display data with the substituted surface; null if the guard substitutes nothing.
    smart_ptr<DisplayData> display;
    /// The placement of the display data at construction; the default placement if the guard was made from a curve.
    ::Transform savedPlacement;

    /// Stores the geometry of the curve, which the destructor restores. Curves are not deformed; `bones` is not used.
    SINEW_API SubstituteGeometryData(smart_ptr<CurveDisplayData> curveData, smart_ptr<BoneTransformVector> bones);

    /// Substitutes the surface deformed by the bones. It is in world space, so the placement becomes the default one.
    /// The winding of the triangles is reversed if the scale of the original placement is below 0 (strict), because a
    /// mirror image reverses the orientation of triangles. Linear in vertices, influences and indices.
    SINEW_API SubstituteGeometryData(smart_ptr<DisplayData> data, smart_ptr<BoneTransformVector> bones);

    /// Substitutes a copy of the surface with reversed winding, unless the scale of the placement is above 0; a scale
    /// of zero or NaN reverses too. Positions, normals and placement do not change. If the scale is above 0, the guard
    /// substitutes nothing. Linear in vertices and indices.
    SINEW_API explicit SubstituteGeometryData(smart_ptr<DisplayData> data);

    SINEW_API ~SubstituteGeometryData();

    SubstituteGeometryData(SubstituteGeometryData const&) = delete;
    SubstituteGeometryData& operator=(SubstituteGeometryData const&) = delete;
};
