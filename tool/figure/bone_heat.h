#pragma once

/// Bone weights by heat balance: every bone in turn is hot, the others are cold, and the surface's temperature is the
/// bone's weight.

#include <vector>

#include <sinew/core/vector3.h>

#include <tool/io/skeleton.h>
#include <tool/io/textured_mesh.h>

namespace tool {

/// weight[v][b]: how far vertex v follows bone b; in [0, 1], a row sums to 1.
using BoneWeights = std::vector<std::vector<double>>;

struct BoneHeat
{
    BoneWeights weights; ///< empty if the system could not be factored

    // The surface.
    int pieces = 0;              ///< of the surface, after vertices at the same place have been joined
    std::size_t joined = 0;      ///< vertices that share their place with an earlier one
    std::size_t withoutArea = 0; ///< vertices on no triangle with area; they follow the bone that is nearest
    std::size_t raisedEdges = 0; ///< edges whose cotangent weight was negative and counts as 0

    // The system.
    std::size_t unknowns = 0;
    std::size_t matrixEntries = 0; ///< of the lower triangle
    std::size_t factorEntries = 0;
    double factorSeconds = 0;
    double solveSeconds = 0; ///< for all bones together

    // How well the weights came out, before they were tidied up to lie in [0, 1] and sum to 1.
    double lowest = 0;
    double highest = 0;
    double largestSumError = 0; ///< largest |sum - 1| of a vertex
    double largestResidual = 0; ///< largest |A x - b| of a system, relative to the largest |b|
};

/// Weights of the skeleton's bones on a surface.
///
/// Solves (L + A H) w = A H p for every bone: L the cotangent Laplacian with its edge weights kept at 0 or above (so
/// that no weight leaves [0, 1]), A the vertices' areas, H one over the squared distance to the nearest bone, p 1 where
/// that is the bone at hand, shared where several are equally near. One factorisation serves all bones.
///
/// Vertices at exactly the same place are one vertex of the system: files split them at seams, and heat must cross a
/// seam. Pieces that hang on nothing are heated by the bones nearest to them, so that none is left without weights.
///
/// Source: I. Baran, J. Popovic, Automatic Rigging and Animation of 3D Characters, SIGGRAPH 2007, section 4. They leave
/// out bones that a vertex does not see; here the nearest bone counts whether seen or not.
BoneHeat boneHeat(std::vector<Vector3> const& positions, std::vector<Triangle> const& triangles,
                  Skeleton const& skeleton);

} // namespace tool
