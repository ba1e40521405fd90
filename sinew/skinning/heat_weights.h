#pragma once

/// Bone weights of a surface, computed from the positions of its vertices and bones by the balance of heat. Use them
/// where a figure comes without weights, for instance as the influences of `sinew::skin`.

#include <cstddef>
#include <optional>
#include <vector>

#include <sinew/core/progress.h>
#include <sinew/core/strided.h>
#include <sinew/core/vector3.h>
#include <sinew/export.h>
#include <sinew/framework/findings.h>

namespace sinew {

/// A triangle mesh in the arrays of a host.
///
/// An array without data has no elements. The winding of triangles has no effect. The surface may have holes, loose
/// parts, triangles that intersect or occur twice, edges with more than two triangles, and vertices without triangle.
struct HeatMesh
{
    RealArray positions;    ///< three coordinates an element: the vertices
    IntegerArray triangles; ///< three vertices an element
};

/// A bone at rest, in the frame of the mesh. If both points are equal, the bone is a point.
struct BoneSegment
{
    ::Vector3 start;
    ::Vector3 end;
};

/// Whether the surface hides bones.
enum class BoneVisibility
{
    respected, ///< A bone that is hidden from a vertex does not heat it, with the exceptions in `heatWeights`.
    ignored    ///< Every vertex is heated by its nearest bones. Faster, for skeletons that lie outside of their figure.
};

/// Why a mesh or a skeleton was refused. A refusal has at most one finding of each kind: for the first place in the
/// arrays that has this fault. Its sentence tells how many others there are.
enum class HeatFault
{
    tooLarge,        ///< More than 2^31 - 1 vertices, triangles or bones. `indices` hold these three numbers.
    noBones,         ///< The skeleton is empty. `indices` are empty.
    vertexNotFinite, ///< `indices` hold the vertex, `value` its first coordinate that is NaN or infinite.
    boneNotFinite,   ///< `indices` hold the bone, `value` its first coordinate that is NaN or infinite.
    cornerOutOfRange ///< A corner is no vertex. `indices` hold {triangle, index that it gives}.
};

/// The weights, or the reasons why there are none. Findings are in the order of `HeatFault`. With findings, there are
/// no weights, and all counts are 0.
struct HeatWeights : Diagnosis<HeatFault>
{
    std::size_t boneCount = 0;   ///< number of weights a vertex
    std::vector<double> weights; ///< vertex by vertex: that of bone b at vertex v stands at v * boneCount + b

    // The surface.
    std::size_t joined = 0;      ///< vertices whose position equals that of another one with a smaller index
    std::size_t isolated = 0;    ///< vertices that exchange no heat with others, since no edge at them conducts
    std::size_t pieces = 0;      ///< parts between which no heat flows, without isolated vertices
    std::size_t raisedEdges = 0; ///< edges whose conductance was negative and was set to 0

    // The view of the bones.
    std::size_t shaded = 0;       ///< vertices that see none of their nearest bones, but another bone
    std::size_t sightless = 0;    ///< vertices that see no bone
    std::size_t shadedPieces = 0; ///< pieces and isolated points with shaded vertices only

    // The system.
    std::size_t unknowns = 0;      ///< distinct positions
    std::size_t matrixEntries = 0; ///< entries of the lower triangle of the matrix
    std::size_t factorEntries = 0; ///< entries of its factor
    double largestCorrection =
        0.0; ///< the largest difference between 1 and the sum of the weights of a vertex as solved

    HeatWeights() = default;
    HeatWeights(HeatWeights const&) = default;
    HeatWeights(HeatWeights&&) noexcept = default;
    /// Strong guarantee: if an allocation fails, nothing has changed.
    HeatWeights& operator=(HeatWeights const& other) { return *this = HeatWeights(other); }
    HeatWeights& operator=(HeatWeights&&) noexcept = default;
    ~HeatWeights() = default;

    /// Whether there are no findings.
    bool succeeded() const { return findings.empty(); }

    /// How far vertex `v` follows bone `b`. Neither is checked.
    double weight(std::size_t v, std::size_t b) const { return weights[v * boneCount + b]; }
};

/// Weights with which the vertices of a surface follow the bones of a skeleton.
///
/// One bone is hot and the others are cold; the temperature of the surface in balance is the weight of the hot bone.
/// All weights lie in [0, 1], and those of a vertex sum to 1, to a few units in the last place if there are up to a
/// thousand bones. For every bone, w solves (L + A H) w = A H p:
///
/// - L is the cotangent Laplacian. A negative conductance of an edge counts as 0, so that no weight can be negative.
/// - A is the diagonal matrix of areas: a third of the area of the triangles around a vertex.
/// - H is the diagonal matrix of one over the squared distance to the nearest bone, and 0 for a vertex that no bone
///   heats.
/// - p is 1 where the hot bone is the nearest one, and 1/n where it is one of n equally near bones. Distances are
///   equal if they differ by at most 1e-4 of the smallest one.
///
/// **Visibility.** A bone is visible from a vertex if no triangle crosses the segment from the vertex to the nearest
/// point of the bone. Crossings are decided exactly (`rayTriangle`), so that nothing is seen through an edge that two
/// triangles share. They do not count in the first and the last 1e-4 of the segment: a bone may lie on the surface, and
/// seams may be open by the rounding of a file.
/// - Of several nearest bones, those that are visible heat the vertex.
/// - A *shaded* vertex sees none of its nearest bones, but another bone. No bone heats it; it gets the temperature of
///   its neighbours. Examples are a finger beside a thinner one, and the inner side of an arm that touches the body.
/// - A *sightless* vertex sees no bone. Visibility says nothing about it, so its nearest bones heat it. Examples are
///   buttons on a closed body, and the outer side of clothes that are modelled with both sides.
/// - If all vertices of a piece are shaded, their nearest bones heat them.
///
/// **Pieces.** Vertices at exactly equal positions are one point, because files split vertices at seams. Heat does not
/// flow between pieces that share no conducting edge; each is heated by the bones that are nearest to it. Rows of
/// weights at equal positions have equal bits. A vertex without triangle gets equal weights for the bones that heat it.
///
/// **Limits.** A distance below 1e-3 of the size of the piece (the diagonal of its box) counts as this one. The
/// conductances by one triangle are at most 2^20, and those of an edge below 2^-20 count as 0. The heat of a vertex
/// with n edges is at least 2^-34 or 2^-44 n of the conductances around it, by its nearest bones, and more if the
/// matrix would otherwise have no factor; so every row has a solution, whatever the triangles are. This heat also holds
/// for shaded vertices. Hidden bones thus have a small weight: about 1e-10 times the square of the number of edges to
/// the nearest vertex that another bone heats, and more across thin triangles.
///
/// **Scale.** If all coordinates are multiplied by a power of two, the weights keep their bits, as long as no
/// coordinate is rounded to a subnormal number. Edges below about 1e-77 of the largest coordinate lose
/// digits, and below 1e-82 they conduct nothing.
///
/// **Order.** The bits do not depend on the order of vertices or triangles. If bones are exchanged, so are their
/// weights, which may then differ in the last place.
///
/// Refused are the faults in `HeatFault`: a skeleton without bones, NaN and infinite coordinates, also of vertices that
/// no triangle uses, and corners that are no vertices. Any other input has weights. A mesh without vertices has none.
///
/// Cost: for n vertices and b bones, n b distances, up to n b segments in a tree of triangles (n if most vertices see
/// their nearest bone), and one factorisation with b solutions. A segment that ends exactly on a vertex takes an exact
/// test with each of its triangles. Memory: the weights, the factor, about 600 bytes a vertex, and 4 to 12 bytes for
/// each bone of a vertex that is nearest to it. Strong guarantee.
///
/// Source: I. Baran, J. Popović, Automatic rigging and animation of 3D characters, ACM Transactions on Graphics 26,
/// 2007, section 4. There, n equally near bones give n times the heat; here they share it, because the distance alone
/// would then change by a factor where two bones meet. The source decides visibility by a distance field, which a
/// surface with holes does not have, and leaves sightless vertices and shaded pieces open.
///
/// @code
/// std::vector<float> const positions = {0, 1, 0, 0, -1, 1, 0, -1, -1, 4, 1, 0, 4, -1, 1, 4, -1, -1};
/// std::vector<int> const triangles = {0, 1, 4, 0, 4, 3, 1, 2, 5, 1, 5, 4, 2, 0, 3, 2, 3, 5}; // an open tube
/// std::vector<sinew::BoneSegment> const skeleton = {{{0, 0, 0}, {2, 0, 0}}, {{2, 0, 0}, {4, 0, 0}}};
/// using sinew::packed;
/// sinew::HeatWeights const heat = sinew::heatWeights({packed(positions, 3), packed(triangles, 3)}, skeleton);
/// if (!heat.succeeded()) std::printf("%s", heat.text().c_str());
/// std::printf("%.2f %.2f\n", heat.weight(0, 0), heat.weight(0, 1)); // 0.89 0.11
/// @endcode
SINEW_API HeatWeights heatWeights(HeatMesh const& mesh, std::vector<BoneSegment> const& skeleton,
                                  BoneVisibility visibility = BoneVisibility::respected);

/// The same with progress. See `Progress`. Visibility counts as the first 35 percent, the factorisation as the next 45.
SINEW_API std::optional<HeatWeights> heatWeights(HeatMesh const& mesh, std::vector<BoneSegment> const& skeleton,
                                                 BoneVisibility visibility, Progress const& progress);

} // namespace sinew
