#pragma once

/// Checks and normalisation of bone weights, for a host to use before it deforms anything. The deforming operations
/// themselves check nothing and use weights unchanged.

#include <cstddef>

#include <sinew/export.h>
#include <sinew/framework/findings.h>
#include <sinew/skinning/display_data.h>

namespace sinew {

/// What `diagnose` can find in the influences of a vertex.
enum class WeightFault
{
    /// The table ends before this vertex, so deforming the vertex would read past the end of the table. `indices` holds
    /// the vertex, `value` the number of lists in the table.
    listMissing,
    /// The list of this vertex is empty, so no bone moves the vertex. `indices` holds the vertex; `value` is 0.
    noInfluence,
    /// A bone index names no bone. A negative index means the identity where only a position is computed. In all other
    /// cases the deforming operations leave the influence out. `indices` holds the vertex and the bone index, `value`
    /// the number of bones.
    boneOutOfRange,
    /// A weight is NaN or infinite. `indices` holds the vertex and the bone index, `value` the weight.
    notFinite,
    /// A weight is below 0. `indices` holds the vertex and the bone index, `value` the weight.
    negativeWeight,
    /// All weights of the vertex are finite, but their sum differs from 1 by more than `kWeightSumTolerance`. `indices`
    /// holds the vertex, `value` the sum.
    sumNotOne,
};

/// The result of `diagnose` for bone weights.
using WeightDiagnosis = Diagnosis<WeightFault>;

/// The greatest accepted difference between a sum of weights and 1, absolute. It allows for the rounding of weights
/// that come from single-precision files.
inline constexpr double kWeightSumTolerance = 1e-6;

/// Examines the weights of the vertices 0 to `vertexCount` - 1 of an object that is moved by `boneCount` bones.
///
/// The findings are sorted by vertex, and for each vertex in the order of `WeightFault`. Each fault occurs at most once
/// for a vertex; it then describes the first influence concerned. Lists beyond `vertexCount` are not examined.
/// Linear in the number of influences. Strong guarantee.
SINEW_API WeightDiagnosis diagnose(BoneWeightTable const& table, std::size_t vertexCount, std::size_t boneCount);

/// Divides the weights of each vertex by their sum, so that they sum to 1, to rounding. The sum is taken in list order.
///
/// An empty list, and a list whose sum is not a positive finite number, is left unchanged.
/// @return the number of lists that were left unchanged. Linear in the number of influences. Never throws.
SINEW_API std::size_t normalizeWeights(BoneWeightTable& table);

} // namespace sinew
