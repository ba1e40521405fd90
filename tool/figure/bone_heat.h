#pragma once

/// Bone weights by heat balance on a surface.

#include <functional>
#include <string>
#include <vector>

#include <sinew/core/vector3.h>

#include <tool/io/skeleton.h>
#include <tool/io/textured_mesh.h>

namespace tool {

/// weight[v][b]: how far vertex v follows bone b; in [0, 1], a row sums to 1.
using BoneWeights = std::vector<std::vector<double>>;

/// The weights, and what is known about the surface and the system that gave them.
struct BoneHeat
{
    BoneWeights weights; ///< empty if the system could not be factored
    std::string fault;   ///< why not, in words; otherwise empty

    // The surface.
    int pieces = 0;              ///< connected pieces, after vertices at equal positions have been joined
    std::size_t joined = 0;      ///< vertices whose position equals that of an earlier one
    std::size_t withoutArea = 0; ///< vertices on no triangle with area; they get the weights of their nearest bones
    std::size_t raisedEdges = 0; ///< edges whose cotangent weight was negative and was set to 0

    // The system.
    std::size_t unknowns = 0;
    std::size_t matrixEntries = 0; ///< of the lower triangle
    std::size_t factorEntries = 0;
    double factorSeconds = 0;
    double solveSeconds = 0; ///< for all bones together

    // The solution, before the weights are clamped to [0, 1] and divided by their sum.
    double lowest = 0;
    double highest = 0;
    double largestSumError = 0; ///< largest |sum - 1| of a vertex
    double largestResidual = 0; ///< largest |A x - b| of a system, relative to the largest |b|
};

/// Weights of the skeleton's bones on a surface.
///
/// One bone is hot and the others are cold; the temperature of the surface is the weight of the hot bone. For every
/// bone this solves (L + A H) w = A H p:
///
/// - L is the cotangent Laplacian. Negative edge weights are set to 0, so that all w lie in [0, 1].
/// - A is the diagonal matrix of the vertices' areas.
/// - H is the diagonal matrix of one over the squared distance to the nearest bone.
/// - p is 1 where the hot bone is the nearest one, 1/n where it is one of n equally near bones, and 0 elsewhere.
///
/// All bones share one factorisation. Vertices at exactly equal positions are one unknown, because files split vertices
/// at seams and heat must cross seams. Each separate piece of the surface is heated by the bones nearest to it, so
/// every vertex gets weights.
///
/// Source: I. Baran, J. Popovic, Automatic Rigging and Animation of 3D Characters, SIGGRAPH 2007, section 4. The paper
/// ignores bones that are hidden from a vertex; here the nearest bone counts even if it is hidden.
///
/// `show`, if there is one, receives the part of the factorisation and of the solutions that is done, in [0, 1].
BoneHeat boneHeat(std::vector<Vector3> const& positions, std::vector<Triangle> const& triangles,
                  Skeleton const& skeleton, std::function<void(double)> const& show = nullptr);

} // namespace tool
