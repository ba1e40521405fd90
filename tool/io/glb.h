#pragma once

/// Skinned and animated figures as binary glTF files, for other programs.
/// Source of the format: glTF 2.0, Khronos Group, ISO/IEC 12113:2022.

#include <string>
#include <vector>

#include <sinew/skinning/bone_transform.h>

#include <tool/io/skeleton.h>
#include <tool/io/textured_mesh.h>

namespace tool {

/// A surface with bone weights. Everything is referenced, not copied.
struct SkinnedFigure
{
    std::vector<Vector3> const& positions;
    std::vector<Vector3> const& normals; ///< unit, parallel to `positions`
    std::vector<Triangle> const& triangles;
    std::vector<std::vector<double>> const& weights; ///< weights[v][b]; the file keeps the four greatest of a vertex
    Skeleton const& skeleton;
};

/// The bones at one moment of an animation. The file keeps their rotations and the positions of their first joints; a
/// viewer interpolates between the moments.
struct KeyFrame
{
    double seconds;
    std::vector<BoneTransform> bones; ///< parallel to the skeleton's bones
};

/// The bytes of the file. Without frames it has no animation.
std::string skinnedGlb(SkinnedFigure const& figure, std::vector<KeyFrame> const& frames);

} // namespace tool
