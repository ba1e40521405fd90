#include <sinew/skinning/substitute_geometry_data.h>

#include <utility>

namespace {

void reverseWinding(SurfaceGeometryData& surface)
{
    std::vector<int>& indices = surface.indices;
    // An incomplete last triangle may have one index only, which cannot be swapped.
    for (std::size_t k = 0; k + 1 < indices.size(); k += 3) std::swap(indices[k], indices[k + 1]);
}

} // namespace

// The public interface passes handles by value.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
SubstituteGeometryData::SubstituteGeometryData(smart_ptr<CurveDisplayData> curveData, smart_ptr<BoneTransformVector>)
    : savedCurveGeometry(curveData->geometry), curve(std::move(curveData))
{
}

SubstituteGeometryData::SubstituteGeometryData(smart_ptr<DisplayData> data, smart_ptr<BoneTransformVector> bones)
    : savedSurface(data->surface), display(std::move(data)), savedPlacement(display->placement)
{
    smart_ptr<SurfaceGeometryData> deformed = BoneTransformModifyer(std::move(bones))(display);
    // The statements below do not throw, so a failed construction leaves the display data unchanged.
    display->placement = Transform();
    if (savedPlacement.scale < 0) reverseWinding(*deformed);
    display->surface = std::move(deformed);
}

SubstituteGeometryData::SubstituteGeometryData(smart_ptr<DisplayData> data) : savedPlacement(data->placement)
{
    if (savedPlacement.scale > 0) return;
    smart_ptr<SurfaceGeometryData> mirrored(new SurfaceGeometryData);
    if (data->surface) *mirrored = *data->surface;
    reverseWinding(*mirrored);
    savedSurface = data->surface;
    display = std::move(data);
    display->surface = std::move(mirrored);
}

SubstituteGeometryData::~SubstituteGeometryData()
{
    if (display) {
        display->surface = savedSurface;
        display->placement = savedPlacement;
    }
    if (curve) curve->geometry = savedCurveGeometry;
}
