#pragma once

/// A skinned and animated figure as a binary glTF file, which any viewer opens.
/// Source of the format: glTF 2.0, Khronos Group, ISO/IEC 12113:2022.

#include <string>
#include <vector>

#include <sinew/skinning/bone_transform.h>

#include <tool/io/skeleton.h>
#include <tool/io/textured_mesh.h>

namespace tool {

struct SkinnedFigure
{
    std::vector<Vector3> const& positions;
    std::vector<Vector3> const& normals; ///< unit, parallel to `positions`
    std::vector<Triangle> const& triangles;
    std::vector<std::vector<double>> const& weights; ///< weight[v][b]; the four greatest of a vertex are kept
    Skeleton const& skeleton;
};

/// One moment of an animation: where every bone is, parallel to the skeleton's bones. Only their rotations and where
/// they carry their first joint are kept; a viewer blends in between.
struct KeyFrame
{
    double seconds;
    std::vector<BoneTransform> bones;
};

/// The bytes of the file. `frames` may be empty: then the figure stands still.
std::string skinnedGlb(SkinnedFigure const& figure, std::vector<KeyFrame> const& frames);

} // namespace tool
