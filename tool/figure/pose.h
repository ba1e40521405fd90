#pragma once

/// Poses of a skeleton: from joint angles to bone transforms.

#include <string>
#include <vector>

#include <sinew/core/matrix3.h>
#include <sinew/skinning/bone_transform.h>

#include <tool/io/skeleton.h>

namespace tool {

/// The rotation of every bone, relative to its parent.
struct Pose
{
    std::vector<Matrix3> turns; ///< rotations about the bone's first joint, parallel to the skeleton's bones
    double lift = 0;            ///< height of the lowest joint above the lowest joint at rest
};

/// A rotation of one bone.
struct Turn
{
    std::string joint; ///< name of the joint at the bone's end
    int axis;          ///< coordinate axis: 0, 1 or 2
    double degrees;    ///< right-handed
};

/// The pose with the given turns. Several turns of one bone apply in their order. Turns of joints that the skeleton
/// does not have are ignored.
Pose poseOf(Skeleton const& skeleton, std::vector<Turn> const& turns, double lift = 0);

/// A skeleton in a pose.
struct PosedSkeleton
{
    std::vector<Vector3> joints;
    std::vector<BoneTransform> bones; ///< parallel to the skeleton's bones
};

/// Rotates every bone about its first joint, parents before children, and then shifts the skeleton so that its lowest
/// joint is at the rest height plus `pose.lift`.
///
/// Each bone gets the twist that makes its transform a pure rotation by the turns of the bone and of all its ancestors.
/// A bone that closes a ring connects joints which other bones have placed; it may be stretched.
PosedSkeleton takePose(Skeleton const& skeleton, Pose const& pose);

/// The bundled figure in a walk. `phase` in [0, 1) is the part of a cycle of two steps.
Pose walking(Skeleton const& skeleton, double phase);

struct NamedPose
{
    std::string name;
    Pose pose;
};

/// Eight poses of a skeleton: the bundled figure's where `hasNamesOfTheFigure`, otherwise eight phases of `waving`.
std::vector<NamedPose> eightPoses(Skeleton const& skeleton);

/// Whether the skeleton has the joint names that the poses of the bundled figure use.
bool hasNamesOfTheFigure(Skeleton const& skeleton);

/// A wave that runs along every chain of bones: each bone but the first of a chain swings. `phase` in [0, 1) is the
/// part of a swing.
Pose waving(Skeleton const& skeleton, double phase);

/// The second last bone of every chain is turned about itself, by `degrees`, and the last one with it: forearms with
/// hands, lower legs with feet. Without a chain of three bones, the last bones are turned.
Pose twisting(Skeleton const& skeleton, double degrees);

} // namespace tool
