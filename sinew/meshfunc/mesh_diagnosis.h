#pragma once

/// What a host may want to know about a mesh function before it relies on it or saves it. Queries take any input as it
/// is, and saving packs what fits; here each oddity gets a name, a place and a sentence.

#include <cstddef>
#include <string>
#include <vector>

#include <sinew/export.h>
#include <sinew/meshfunc/mesh_function_2d.h>

namespace sinew {

/// What is odd about a mesh function.
enum class MeshFault
{
    incompleteFacets,   ///< `facets` ends within a triangle: there is no boundary. Index: of the first entry left over.
    missingVertex,      ///< A triangle names a vertex that is not there. Index: of the triangle, as in the next three.
    degenerateTriangle, ///< A determinant below the threshold, or not finite: it answers nothing, or nonsense.
    invertedTriangle,   ///< Oriented against the majority of the triangles: its edges stay boundaries.
    repeatedTriangle,   ///< The same three vertices as an earlier triangle.
    nonManifoldEdge,    ///< Shared by more than two triangles. Index: of the triangle that is one too many.
    unusedVertex,       ///< No triangle names it. Index: of the vertex, as in the next two.
    missingValue,       ///< A vertex without an entry in `values`.
    unpackableNumber,   ///< A coordinate or value that the packed text cannot hold: it would come back as another.
    unpackableScalar,   ///< A scalar that the packed text cannot hold. Index: into `normaldots`.
    unpackableCount,    ///< More vertices, scalars or facet entries than the packed text can count. Index: how many.
};

/// One finding of `diagnose`.
struct MeshProblem
{
    MeshFault fault;
    std::size_t index;
    /// What is wrong and what follows from it, for people.
    std::string sentence;
};

/// The reals that the packed text of a mesh function holds, in steps of 2^-20: from the first up to, not including, the
/// second. Up to that many it counts.
inline constexpr double kLeastPackable = -2.0;
inline constexpr double kPackableEnd = 14.0;
inline constexpr std::size_t kMostPackable = 262143;

/// Everything that is odd about a mesh function, in the order of `MeshFault`, then by index; empty when nothing is.
///
/// Coordinates that fit are still rounded to steps of 2^-20 when they are saved. The orientation of the majority is
/// that of more triangles; between equal numbers the positive one. Each triangle and each vertex is named once a
/// fault. Cost: n log n in triangles and vertices.
SINEW_API std::vector<MeshProblem> diagnose(MeshFunction2D const& function);

} // namespace sinew
