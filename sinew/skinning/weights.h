#pragma once

/// Questions a host may ask of bone weights before it uses them. The deforming operations themselves use weights as
/// they stand and check nothing.

#include <cstddef>
#include <string>
#include <vector>

#include <sinew/export.h>
#include <sinew/skinning/display_data.h>

namespace sinew {

/// What is odd about a vertex's influences.
enum class WeightFault
{
    listMissing,    ///< The table ends before this vertex: deforming it would read past the end.
    noInfluence,    ///< No bone moves this vertex; it stays where its placement puts it.
    boneOutOfRange, ///< A bone index names no bone. Negative ones mean "stay" for positions, but not with normals.
    notFinite,      ///< A weight is NaN or infinite.
    negativeWeight, ///< A weight below 0.
    sumNotOne,      ///< Finite weights that do not sum to 1, by more than `kWeightSumTolerance`.
};

/// One finding of `checkWeights`.
struct WeightProblem
{
    WeightFault fault;
    int vertex;
    /// What is wrong and what follows from it, for people.
    std::string sentence;
};

/// How far a sum of weights may be from 1, absolute: weights often come from single-precision files.
inline constexpr double kWeightSumTolerance = 1e-6;

/// Everything that is odd about the weights of `vertexCount` vertices under `boneCount` bones, by ascending vertex; for
/// one vertex in the order of `WeightFault`, each fault at most once. Empty when nothing is. Lists beyond `vertexCount`
/// are not looked at. Linear in the number of influences.
SINEW_API std::vector<WeightProblem> checkWeights(BoneWeightTable const& table, std::size_t vertexCount,
                                                  std::size_t boneCount);

/// Divides every vertex's weights by their sum, taken in list order, so that they sum to 1 to rounding.
///
/// A list that is empty, or whose sum is not a positive finite number, stays as it is.
/// @return the number of lists that stayed for that reason.
SINEW_API std::size_t normalizeWeights(BoneWeightTable& table);

} // namespace sinew
