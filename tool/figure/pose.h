#pragma once

/// Poses of a skeleton: joint angles in, bone transforms out.

#include <string>
#include <vector>

#include <sinew/core/matrix3.h>
#include <sinew/skinning/bone_transform.h>

#include <tool/io/skeleton.h>

namespace tool {

/// How every bone is turned against its rest direction, on top of what its parent does.
struct Pose
{
    std::vector<Matrix3> turns; ///< rotations, parallel to the skeleton's bones; about the bone's first joint
    double lift = 0;            ///< how far the lowest joint is above where the lowest one was at rest
};

/// A turn of one bone: named by the joint it ends in, about a coordinate axis (0, 1, 2), in degrees, right-handed.
struct Turn
{
    std::string joint;
    int axis;
    double degrees;
};

/// The pose with the given turns, in their order for one bone; joints that the skeleton does not have are passed over.
Pose poseOf(Skeleton const& skeleton, std::vector<Turn> const& turns, double lift = 0);

/// A skeleton in a pose.
struct PosedSkeleton
{
    std::vector<Vector3> joints;
    std::vector<BoneTransform> bones; ///< parallel to the skeleton's bones
};

/// Turns every bone about its first joint, from the roots outwards, and puts the lowest joint on the ground again.
///
/// Each bone gets the twist that makes its transform a pure rotation by all the turns above it. Bones that close a ring
/// follow the joints that others have placed; they may be stretched.
PosedSkeleton takePose(Skeleton const& skeleton, Pose const& pose);

/// A step of a walk of the bundled figure, at `phase` in [0, 1) of two steps.
Pose walking(Skeleton const& skeleton, double phase);

struct NamedPose
{
    std::string name;
    Pose pose;
};

/// Eight poses: of the bundled figure where the skeleton has its joints' names, otherwise eight moments of a wave that
/// runs along every chain of bones.
std::vector<NamedPose> eightPoses(Skeleton const& skeleton);

/// Whether the skeleton's joints bear the names of the bundled figure's.
bool hasNamesOfTheFigure(Skeleton const& skeleton);

/// A moment of the wave at `phase` in [0, 1): every bone but the first of a chain bends to and fro.
Pose waving(Skeleton const& skeleton, double phase);

} // namespace tool
