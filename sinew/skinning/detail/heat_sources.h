#pragma once

/// Where the surface is heated, by which bones, and how strongly. Not installed.

#include <cstddef>
#include <vector>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/core/vector3.h>
#include <sinew/skinning/detail/heat_surface.h>

namespace sinew::detail {

/// The segment of a bone.
struct HeatBone
{
    Vector3 start;
    Vector3 end;
};

/// What a place sees of the bones.
enum class Sight
{
    lit,      ///< One of its nearest bones.
    shaded,   ///< None of these, but another bone.
    sightless ///< No bone.
};

/// The heat of each place, and the bones that share it equally.
struct HeatSources
{
    std::vector<Sight> sight;
    std::vector<double> heat;           ///< area times one over the squared distance, at least `leastHeat`; finite
    std::vector<double> leastHeat;      ///< above 0
    std::vector<std::size_t> firstBone; ///< the bones of place i are bones[firstBone[i]] .. bones[firstBone[i + 1] - 1]
    std::vector<int> bones;             ///< ascending for each place
    std::size_t shadedPieces = 0;       ///< pieces in which every place is shaded
};

/// There is at least one bone. The coordinates of bones and places have magnitudes below 4.
///
/// @param hidesBones  whether the surface hides bones; if not, every place is lit
HeatSources heatSources(HeatSurface const& surface, std::vector<HeatBone> const& skeleton, bool hidesBones,
                        ProgressMeter* meter);

} // namespace sinew::detail
