#pragma once

/// Linear blend skinning of raw arrays, for hosts that do not use the classes of display_data.h: positions, normals,
/// bone indices and weights stay in the host's buffers, in single or double precision, interleaved or not.

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
/// influence.
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

/// What `skin` reads.
struct SkinInput
{
    RealArray positions;                  ///< three coordinates an element, in object space
    RealArray normals;                    ///< three coordinates an element; without data, normals are not computed
    VertexInfluences influences;          ///< of the vertices
    BoneTransform const* bones = nullptr; ///< `boneCount` maps, applied in the world; may be null if there are none
    std::size_t boneCount = 0;            ///< number of bones
    ::Transform placement;                ///< from object space to the world; the identity if not set
};

/// Where `skin` writes.
struct SkinOutput
{
    RealOutput positions; ///< three coordinates an element, in the world
    RealOutput normals;   ///< three coordinates an element; without data, normals are not computed
};

/// Moves vertices, and normals if both arrays for them have data, by weighted bones.
///
/// The results have the bits of `BoneTransformModifyer` for the same numbers, computed in double precision. An input
/// of floats gives the same bits as the doubles of equal value; an output of floats holds the results rounded to
/// floats. Positions are the same with and without normals. See `BoneTransformVector::getTransformed` with a normal for
/// the definition: the position is the sum of weight * (bone applied to the placed vertex) in list order, a single
/// influence moves the vertex fully whatever its weight, and the new normal is the unit cross product of the deformed
/// tangents.
///
/// As many vertices are written as all arrays for vertices have: positions, normals if they are computed, influences
/// and outputs. The elements beyond are left unwritten. All other bytes of the buffers are neither read nor written.
///
/// @return the number of vertices written.
///
/// Linear in vertices and influences. Several threads may call it at the same time for different outputs. Memory: 128
/// bytes a bone; if it cannot be allocated, std::bad_alloc is thrown and nothing is written.
/// Sources: see `BoneTransformVector`.
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
