#pragma once

/// Skeletons of joints and bones, and their text form (`.tgf`, Trivial Graph Format):
///
///     1  0.00 0.95 0.00  pelvis 0.11   number, x, y, z; then optionally a name, then optionally the body's radius
///     2  0.00 1.10 0.01  waist
///     #
///     1 2                              a bone: the numbers of its two joints, the parent first

#include <array>
#include <string>
#include <vector>

#include <sinew/core/vector3.h>

#include <tool/support/as_index.h>

namespace tool {

/// Joints and the bones between them.
struct Skeleton
{
    std::vector<Vector3> joints;
    std::vector<std::string> jointNames;   ///< parallel to `joints`; "joint 7" where the file has no name
    std::vector<double> radii;             ///< parallel to `joints`; 0 where the file gives none
    std::vector<std::array<int, 2>> bones; ///< indices into `joints`, the parent first

    /// Positions of the bone's two joints.
    Vector3 const& startOf(std::size_t bone) const { return joints[asIndex(bones[bone][0])]; }
    Vector3 const& endOf(std::size_t bone) const { return joints[asIndex(bones[bone][1])]; }

    /// The names of the bone's two joints: "shoulder - elbow".
    std::string boneName(std::size_t bone) const;
};

/// Distance from `p` to the segment between the bone's joints.
double distanceToBone(Skeleton const& skeleton, std::size_t bone, Vector3 const& p);

/// Reads the skeleton in `text`; error messages name it `file`.
///
/// Throws `UserError` for a line that does not parse, a coordinate that is not finite, a joint number given twice, a
/// bone to a missing joint or to its own joint, and a skeleton without bones. Numbers after the coordinates, which some
/// programs write in place of a name, are ignored.
Skeleton parseTgf(std::string const& text, std::string const& file);

/// `parseTgf` of the content of a file.
Skeleton readTgf(std::string const& path);

} // namespace tool
