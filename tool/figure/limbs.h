#pragma once

/// The limbs of a skeleton: what people call an arm or a leg, found in the graph of its bones.

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

/// Cuts the skeleton where it branches or ends. Every bone is in exactly one limb; rings without a branch come last.
std::vector<Limb> limbsOf(Skeleton const& skeleton);

/// Points along the limb, evenly on each bone, its ends included: `perBone` (at least 1) for each bone and one more.
std::vector<Vector3> pointsAlong(Skeleton const& skeleton, Limb const& limb, int perBone);

/// Length of the limb along its bones.
double lengthOf(Skeleton const& skeleton, Limb const& limb);

} // namespace tool
