#pragma once

/// The limbs of a skeleton, such as arms and legs, found in the graph of its bones.

#include <string>
#include <vector>

#include <tool/io/skeleton.h>

namespace tool {

/// A chain of joints without branches.
struct Limb
{
    std::vector<int> joints; ///< at least two; the first again at the end of a ring
    std::vector<int> bones;  ///< the bones between them, in order
    std::string name;        ///< "chest - left-hand"
};

/// Divides the skeleton where it branches. Every bone is in exactly one limb. Rings without a branch come last.
std::vector<Limb> limbsOf(Skeleton const& skeleton);

/// The positions of the limb's joints, in order.
std::vector<Vector3> jointsOf(Skeleton const& skeleton, Limb const& limb);

/// Points along the limb, with its ends: `perBone` (at least 1) equally spaced points for each bone, and the last
/// joint.
std::vector<Vector3> pointsAlong(Skeleton const& skeleton, Limb const& limb, int perBone);

/// Length of the limb along its bones.
double lengthOf(Skeleton const& skeleton, Limb const& limb);

} // namespace tool
