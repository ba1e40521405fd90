#pragma once

/// A skeleton of joints and bones, and its text form (`.tgf`, a trivial graph file):
///
///     1  0.00 0.95 0.00  pelvis 0.11   number, x, y, z; then, if wanted, a name and the body's radius there
///     2  0.00 1.10 0.01  waist
///     #
///     1 2                              a bone, from joint to joint, by their numbers

#include <array>
#include <string>
#include <vector>

#include <sinew/core/vector3.h>

namespace tool {

struct Skeleton
{
    std::vector<Vector3> joints;
    std::vector<std::string> jointNames;   ///< parallel to `joints`; "joint 7" where the file has no name
    std::vector<double> radii;             ///< parallel to `joints`; 0 where the file gives none
    std::vector<std::array<int, 2>> bones; ///< indices into `joints`, the parent first

    /// "shoulder - elbow": the names of the bone's two joints.
    std::string boneName(std::size_t bone) const;
};

/// Reads the skeleton in `text`; `file` names it in error messages. A line that does not parse, a coordinate that is
/// not finite, a joint number given twice, a bone to a missing joint or a skeleton without bones throws `UserError`.
Skeleton parseTgf(std::string const& text, std::string const& file);

/// `parseTgf` of a file's content.
Skeleton readTgf(std::string const& path);

} // namespace tool
