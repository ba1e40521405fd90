#pragma once

/// Skinning of raw arrays, linear or by dual quaternions, for hosts that do not use the classes of display_data.h:
/// positions, normals, bone indices and weights stay in the host's buffers, in single or double precision, interleaved
/// or not.

#include <cstddef>

#include <sinew/core/strided.h>
#include <sinew/core/transform.h>
#include <sinew/export.h>
#include <sinew/skinning/bone_transform.h>

namespace sinew {

/// Which bones move each vertex, and their weights, as flat arrays of the host.
///
/// An index that is negative or not below the number of bones names no bone; the influence is left out, as in
/// `BoneTransformModifyer`. So unused places hold -1, or 255 in an array of bytes. Weights are used unchanged: they are
/// not normalised, an influence of weight 0 counts as one, and a NaN weight makes the vertex NaN unless it is the only
/// influence. `SkinMethod` tells where blending by dual quaternions differs.
struct VertexInfluences
{
    /// How the arrays are arranged.
    enum class Layout
    {
        none,  ///< There are no influences. The vertices are only placed, as without a weight table.
        fixed, ///< Every vertex has `perVertex` influences.
        lists  ///< Each vertex has a list of any length.
    };

    Layout layout = Layout::none;
    std::size_t perVertex = 0; ///< for `fixed`
    IntegerArray bones;        ///< indices
    RealArray weights;         ///< in the order of the indices
    IntegerArray offsets;      ///< for `lists`

    /// No influences.
    VertexInfluences() = default;

    /// The same number of influences for every vertex. Element i of both arrays belongs to vertex i and has `perVertex`
    /// consecutive numbers. If `perVertex` is 0, every vertex has an empty list.
    VertexInfluences(std::size_t perVertex_, IntegerArray const& bones_, RealArray const& weights_)
        : layout(Layout::fixed), perVertex(perVertex_), bones(bones_), weights(weights_)
    {
    }

    /// Vertex i has the influences offsets[i] .. offsets[i + 1] - 1. So there is one offset more than vertices. Each
    /// element of `bones` and of `weights` is one influence.
    ///
    /// Influences beyond the end of the shorter array do not exist; this holds for negative offsets too. If an offset
    /// is larger than the next one, the list is empty.
    VertexInfluences(IntegerArray const& offsets_, IntegerArray const& bones_, RealArray const& weights_)
        : layout(Layout::lists), bones(bones_), weights(weights_), offsets(offsets_)
    {
    }
};

/// How `skin` blends the bones of a vertex that has several.
enum class SkinMethod
{
    /// The weighted sum of the images of the vertex. Where two bones twist against each other, vertices with both bones
    /// come nearer to the axis; at half a turn they lie on it.
    linear,

    /// The blend of the bones' motions as dual quaternions. Bones that only turn and shift move the vertices around a
    /// joint rigidly, so that a twisted limb keeps its thickness.
    ///
    /// Meaning: the linear part of a bone is split into a stretch and a rotation that follows it (polar decomposition).
    /// The stretch acts about the vertex itself, so the rest is the rigid motion that turns as the bone does and maps
    /// the vertex to the same image. The unit dual quaternions of these motions are summed with their weights, the sum
    /// is divided by the length of its real part, and the resulting motion is applied. Normals follow the derivative of
    /// this map, in which the stretches are blended too.
    ///
    /// - Bones that have equal rotations give the result of the linear method, for weights of sum 1.
    /// - A point that all bones map to the same point goes there. Results move with the frame: it does not matter where
    ///   the origin is.
    /// - Signs: q and -q are the same rotation. Each quaternion takes the sign for which its dot product with that of
    ///   the pivot is not negative. The pivot is the influence of the greatest weight in magnitude, the first one of
    ///   several. So two bones blend along the shorter way; if they differ by exactly half a turn, rounding decides the
    ///   direction. In weights that are not negative and not all zero, results are continuous for two bones, and
    ///   for more if their rotations lie within a quarter turn of a common one.
    /// - Weights: only their ratios count. Influences of weight 0 are left out if there are others, so one that remains
    ///   moves the vertex fully, with the bits of the linear method (of its normal where the cross product of the
    ///   moved tangents has a length in [1e-13, 1e150]; elsewhere that of the linear method may be wrong). If all
    ///   weights are 0, or if weights of different signs cancel (to 1e-10 of the greatest), the pivot moves the vertex
    ///   fully. A weight that is NaN or infinite makes the vertex NaN unless it is the only one that is not 0.
    /// - Mirroring bones (negative determinant) have the rotation of the negative of their linear part. A figure whose
    ///   bones all contain one reflection blends as its mirror image does. A bone that mirrors blends badly with one
    ///   that does not.
    /// - Singular bones: a bone that flattens in one direction has a unique rotation. If it collapses everything to a
    ///   line (the other stretches are below 1e-12 of the first), the smallest of the possible rotations is taken; for
    ///   the zero matrix that is the identity. A determinant that is negative by less than 1e-6 of the cube of the
    ///   root-mean-square stretch counts as zero, because rounding makes such ones of flat bones.
    /// - A linear part with an element that is not finite makes NaN of all vertices that the bone shares with others,
    ///   and of their normals. If their weights do not cancel, NaN in the translation makes NaN of their positions, and
    ///   an infinity there makes each of their coordinates infinite or NaN; their normals do not depend on
    ///   translations.
    /// - Normals are unit vectors at any scale of the bones. Tangents whose cross product is exactly zero give the
    ///   normal (0, 0, 1).
    ///
    /// Accuracy: for stretches in [0.3, 3] and weights that are not negative, a position is right to 8 * 2^-53 of the
    /// largest coordinate. Thin bones lose accuracy: the error of a rotation grows with the largest stretch divided by
    /// the sum of the two smaller ones. Coordinates of images should stay below 1e150; beyond, results may be infinite
    /// or NaN.
    ///
    /// Sources: L. Kavan, S. Collins, J. Žára, C. O'Sullivan, Geometric skinning with approximate dual quaternion
    /// blending, ACM Transactions on Graphics 2008; N. J. Higham, Computing the polar decomposition, with applications,
    /// 1986. That the stretch acts about the vertex is ours: about the origin, a joint that all bones keep in its place
    /// would leave it.
    dualQuaternion
};

/// What `skin` reads.
struct SkinInput
{
    RealArray positions;                    ///< three coordinates an element, in object space
    RealArray normals;                      ///< three coordinates an element; without data, normals are not computed
    VertexInfluences influences;            ///< of the vertices
    BoneTransform const* bones = nullptr;   ///< `boneCount` maps, applied in the world; may be null if there are none
    std::size_t boneCount = 0;              ///< number of bones
    ::Transform placement;                  ///< from object space to the world; the identity if not set
    SkinMethod method = SkinMethod::linear; ///< how the bones of a vertex are blended
};

/// Where `skin` writes.
struct SkinOutput
{
    RealOutput positions; ///< three coordinates an element, in the world
    RealOutput normals;   ///< three coordinates an element; without data, normals are not computed
};

/// Moves vertices, and normals if both arrays for them have data, by weighted bones.
///
/// By the method `linear`, the results have the bits of `BoneTransformModifyer` for the same numbers, computed in
/// double precision. See `BoneTransformVector::getTransformed` with a normal for the definition: the position is the
/// sum of weight * (bone applied to the placed vertex) in list order, a single influence moves the vertex fully
/// whatever its weight, and the new normal is the unit cross product of the deformed tangents. `SkinMethod` defines the
/// other method.
///
/// An input of floats gives the same bits as the doubles of equal value; an output of floats holds the results rounded
/// to floats. Positions are the same with and without normals.
///
/// As many vertices are written as all arrays for vertices have: positions, normals if they are computed, influences
/// and outputs. The elements beyond are left unwritten. All other bytes of the buffers are neither read nor written.
///
/// @return the number of vertices written.
///
/// Linear in vertices and influences. Several threads may call it at the same time for different outputs. Memory: 128
/// bytes a bone, and 192 more for dual quaternions; if it cannot be allocated, std::bad_alloc is thrown and nothing is
/// written.
/// Sources: see `BoneTransformVector` and `SkinMethod`.
///
/// @code
/// struct Vertex { float position[3]; float normal[3]; std::uint8_t bones[4]; float weights[4]; };
/// std::vector<Vertex> const rest = {{{1, 0, 0}, {0, 0, 1}, {0, 1, 255, 255}, {0.5f, 0.5f, 0, 0}}};
/// std::vector<BoneTransform> figure(2); // two identities; the second one is moved
/// figure[1].translation = {0, 2, 0};
/// std::vector<float> posed(3 * rest.size());
///
/// using sinew::Strided;
/// sinew::SkinInput input;
/// input.positions = Strided<float const>(rest[0].position, rest.size(), sizeof(Vertex));
/// input.influences = {4, Strided<std::uint8_t const>(rest[0].bones, rest.size(), sizeof(Vertex)),
///                     Strided<float const>(rest[0].weights, rest.size(), sizeof(Vertex))};
/// input.bones = figure.data();
/// input.boneCount = figure.size();
/// sinew::skin(input, {Strided<float>(posed.data(), rest.size(), 3 * sizeof(float)), {}});
/// std::printf("(%g, %g, %g)\n", posed[0], posed[1], posed[2]); // (1, 1, 0)
/// @endcode
SINEW_API std::size_t skin(SkinInput const& input, SkinOutput const& output);

/// How the numbers of a matrix follow each other in memory.
enum class MatrixOrder
{
    rows,   ///< Row by row, four numbers a row; the translation is at places 3, 7 and 11. Three rows are read.
    columns ///< Column by column, four numbers a column; the translation is at places 12, 13 and 14.
};

/// The affine maps of matrices in a buffer of the host: element i becomes bones[i]. The last row (0, 0, 0, 1) is not
/// read, so a buffer of 3x4 matrices in the order `rows` may have elements of twelve numbers.
///
/// `bones` receives `matrices.count` maps. Exact; NaN and infinities are kept. Linear, no allocation.
SINEW_API void bonesFromMatrices(RealArray const& matrices, MatrixOrder order, BoneTransform* bones);

} // namespace sinew
