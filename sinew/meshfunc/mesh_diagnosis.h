#pragma once

/// A check of a mesh function before a host relies on it or saves it. Queries and saving accept any input; `diagnose`
/// reports the input for which their results may surprise.

#include <cstddef>

#include <sinew/export.h>
#include <sinew/framework/findings.h>
#include <sinew/meshfunc/mesh_function_2d.h>

namespace sinew {

/// What `diagnose` finds in a mesh function. Each enumerator states what `Finding::indices` and `Finding::value` hold.
/// "The triangle" in `indices` is its number t; its vertex indices are the entries 3t, 3t + 1, 3t + 2 of `facets`.
enum class MeshFault
{
    /// `facets` ends within a triangle, so the function has no boundary.
    /// Indices: the first entry of `facets` that is left over. Value: how many are left over, 1 or 2.
    incompleteFacets,

    /// A triangle names a vertex that has no position or no value. The triangle is ignored.
    /// Indices: the triangle, its three vertex indices. Value: the first of these that names no vertex.
    missingVertex,

    /// The magnitude of the determinant is below `kGramZero`, so the triangle accepts no point; or the determinant is
    /// not finite, so the triangle may give NaN.
    /// Indices: the triangle, its three vertices. Value: the determinant.
    degenerateTriangle,

    /// The triangle has the orientation of the minority. The edges that it shares with the majority stay boundaries.
    /// Indices: the triangle, its three vertices. Value: the determinant.
    invertedTriangle,

    /// The triangle has the same three vertices as an earlier one, which is used in its place.
    /// Indices: the triangle, the first triangle with these vertices. Value: 0.
    repeatedTriangle,

    /// The triangle is the third or a later one at one of its edges. The order of the triangles decides where the
    /// boundary runs there.
    /// Indices: the triangle, the smaller and the larger vertex of the edge; of several such edges the one with the
    /// smallest vertices. Value: the number of triangles at that edge.
    nonManifoldEdge,

    /// No triangle names the vertex.
    /// Indices: the vertex. Value: 0.
    unusedVertex,

    /// The vertex has a position and no entry in `values`.
    /// Indices: the vertex. Value: 0.
    missingValue,

    /// A coordinate of a position or a value lies outside [-2, 14), so the packed text changes it.
    /// Indices: the vertex. Value: the first such number of position x, position y, value x, value y.
    unpackableNumber,

    /// A scalar lies outside [-2, 14), so the packed text changes it.
    /// Indices: the entry of `normaldots`. Value: the scalar.
    unpackableScalar,

    /// There are more vertices, scalars or entries of `facets` than the packed text can count.
    /// Indices: empty. Value: how many there are.
    unpackableCount,
};

/// All findings about one mesh function.
using MeshDiagnosis = Diagnosis<MeshFault>;

/// The packed text of a mesh function holds reals from the first of these up to, and excluding, the second one, in
/// steps of 2^-20. It holds numbers of items up to the third one.
inline constexpr double kLeastPackable = -2.0;
inline constexpr double kPackableEnd = 14.0;
inline constexpr std::size_t kMostPackable = 262143;

/// Reports everything in a mesh function that queries ignore or that saving changes. No finding means that there is
/// nothing of that kind.
///
/// The findings are sorted by kind, then by indices. Each triangle and each vertex has at most one finding of each
/// kind. Findings of `unpackableCount` come in the order vertices, scalars, entries of `facets`.
///
/// Coordinates within the packable range are rounded to steps of 2^-20 by saving; that is not reported. The majority of
/// the triangles decides which orientation is inverted. Ties: with equally many of each, the negative one is inverted.
/// Triangles of `missingVertex` take no part in the other checks of triangles, and vertices that only these name count
/// as unused. Cost: n log n for n triangles and vertices. Strong guarantee.
SINEW_API MeshDiagnosis diagnose(MeshFunction2D const& function);

} // namespace sinew
