#pragma once

/// Models from binary glTF files (`.glb`), with the skin that they contain.
/// Source of the format: glTF 2.0, Khronos Group, ISO/IEC 12113:2022.

#include <string>

#include <tool/io/skeleton.h>
#include <tool/io/textured_mesh.h>
#include <tool/io/weights.h>

namespace tool {

/// A surface and, if the file has a skin, the skeleton and the weights of that skin.
struct GlbModel
{
    TexturedMesh mesh;
    Skeleton skeleton;   ///< without bones if the file has no skin
    BoneWeights weights; ///< of the vertices of `mesh`; empty if the file has no skin
};

/// Whether the bytes begin as those of a binary glTF file.
bool isGlb(std::string const& bytes);

/// Reads the model in `bytes`; error messages name it `file`.
///
/// The mesh consists of the triangles of all nodes with a mesh, at the places of the nodes. If a node has a skin, the
/// mesh consists of the nodes with that skin, in its bind pose. Vertices with equal positions and influences, which
/// files split at seams, are one vertex. The texture's vertical axis points upwards, as in OBJ files. Images,
/// materials, morph targets and animations are ignored.
///
/// A bone goes from each joint of the skin to each of its child joints. A joint without a child gets a bone half as
/// long as the one that ends there, in the same direction. The weight of a joint is divided equally among the bones
/// that begin there: the joint moves its vertices as one. A vertex without weights follows its nearest bone.
///
/// Throws `UserError` for a file that is damaged, that has no triangles, or that uses what is not read: other files,
/// sparse or compressed data. Indices and sizes are checked, so that any bytes give a valid model or this error.
GlbModel parseGlb(std::string const& bytes, std::string const& file);

} // namespace tool
