// Linear blend skinning in blocks of vertices.
//
// Sources: N. Magnenat-Thalmann, R. Laperrière, D. Thalmann, Joint-dependent local deformations for hand animation and
// object grasping, Graphics Interface 1988, for the weighted sum over the bones; K. Turkowski, Properties of
// surface-normal transformations, Graphics Gems, 1990, for normals as cross products of transformed tangents.

#include <sinew/skinning/detail/surface_deformer.h>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <iterator>
#include <utility>

#include <sinew/core/tolerances.h>

namespace {

using sinew::detail::DeformationInput;
using sinew::detail::VectorWidth;
using Influences = std::vector<std::pair<int, double>>;

// Vertices of one block. All blocks of a step fit into the first-level cache. A much smaller block is slower: compilers
// unroll a loop of eight steps completely before they try to vectorise it, and the result is scalar code (measured:
// half the speed).
constexpr std::size_t kBlock = 32;

// The vectors of one block, component by component, so that one instruction works on several vectors. Where the
// functions for a single vector branch, the functions for a block compute both sides and select one.
struct Block
{
    double x[kBlock];
    double y[kBlock];
    double z[kBlock];
};

// Rows of a bone's 3x3 linear part, and one row of padding, so that a column fills a vector of four doubles.
constexpr int kPaddedRows = 4;

using PaddedColumns = double[3][kPaddedRows]; // [column][row]
using PaddedVector = double[kPaddedRows];

// A bone, arranged so that one instruction works on all rows of a column.
struct BoneColumns
{
    PaddedColumns linear;
    PaddedVector translation;
};

BoneColumns columnsOf(BoneTransform const& bone)
{
    BoneColumns result = {};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) result.linear[j][i] = bone.linear(i, j);
        result.translation[i] = bone.translation[i];
    }
    return result;
}

// Copies `lanes` vectors into the block; the other lanes become zero.
template <typename Vector>
SINEW_KERNEL void load(Vector const* source, std::size_t lanes, Block& block)
{
    block = {};
    for (std::size_t l = 0; l < lanes; ++l) {
        block.x[l] = source[l].x;
        block.y[l] = source[l].y;
        block.z[l] = source[l].z;
    }
}

// Maps each vector v to linear * (scale * v) + translation, in the order of operations of `Transform`.
SINEW_KERNEL void place(Transform const& t, Vector3 const& translation, Block& block)
{
    Matrix3 const m = t.linear;
    double const scale = t.scale;
    for (std::size_t l = 0; l < kBlock; ++l) {
        double const x = block.x[l] * scale;
        double const y = block.y[l] * scale;
        double const z = block.z[l] * scale;
        block.x[l] = m(0, 0) * x + m(0, 1) * y + m(0, 2) * z + translation.x;
        block.y[l] = m(1, 0) * x + m(1, 1) * y + m(1, 2) * z + translation.y;
        block.z[l] = m(2, 0) * x + m(2, 1) * y + m(2, 2) * z + translation.z;
    }
}

// Normalises each vector as the constructor of `UVector3` does.
SINEW_KERNEL void makeUnit(Block& block)
{
    for (std::size_t l = 0; l < kBlock; ++l) {
        double const x = block.x[l];
        double const y = block.y[l];
        double const z = block.z[l];
        double const lengthSq = x * x + y * y + z * z;
        double const r = 1.0 / std::sqrt(lengthSq);
        bool const null = lengthSq < sinew::kNullLengthSq;
        block.x[l] = null ? x : x * r;
        block.y[l] = null ? y : y * r;
        block.z[l] = null ? 1.0 : z * r;
    }
}

SINEW_KERNEL void crossProducts(Block const& a, Block const& b, Block& result)
{
    for (std::size_t l = 0; l < kBlock; ++l) {
        result.x[l] = a.y[l] * b.z[l] - b.y[l] * a.z[l];
        result.y[l] = a.z[l] * b.x[l] - b.z[l] * a.x[l];
        result.z[l] = a.x[l] * b.y[l] - b.x[l] * a.y[l];
    }
}

// Two tangents of each normal, as `getBasis` gives them.
SINEW_KERNEL void bases(Block const& n, Block& e1, Block& e2)
{
    for (std::size_t l = 0; l < kBlock; ++l) {
        double const ax = std::fabs(n.x[l]);
        double const ay = std::fabs(n.y[l]);
        double const az = std::fabs(n.z[l]);
        bool const alongX = (ay > ax) & (az > ax);
        bool const aboveY = az > ay;
        double const sx = alongX ? 1.0 : 0.0;
        double const sy = alongX ? 0.0 : (aboveY ? 1.0 : 0.0);
        double const sz = alongX ? 0.0 : (aboveY ? 0.0 : 1.0);
        double const dot = n.x[l] * sx + n.y[l] * sy + n.z[l] * sz;
        e1.x[l] = sx - n.x[l] * dot;
        e1.y[l] = sy - n.y[l] * dot;
        e1.z[l] = sz - n.z[l] * dot;
    }
    makeUnit(e1);
    crossProducts(n, e1, e2);
    makeUnit(e2);
}

// linear * (x, y, z), one row a lane. Each row sums its three products in the order of `Matrix3`.
SINEW_KERNEL void transformed(PaddedColumns const& linear, double x, double y, double z, PaddedVector& result)
{
    for (int r = 0; r < kPaddedRows; ++r) result[r] = linear[0][r] * x + linear[1][r] * y + linear[2][r] * z;
}

SINEW_KERNEL void setLane(Block& block, std::size_t l, PaddedVector const& v)
{
    block.x[l] = v[0];
    block.y[l] = v[1];
    block.z[l] = v[2];
}

// Applies the linear map to the vector in lane l.
SINEW_KERNEL void transformLane(PaddedColumns const& linear, Block& block, std::size_t l)
{
    PaddedVector result;
    transformed(linear, block.x[l], block.y[l], block.z[l], result);
    setLane(block, l, result);
}

// Moves the vertex in lane l by a bone at full weight.
SINEW_KERNEL void moveByOne(BoneColumns const& bone, std::size_t l, Block& p, Block& tangent1, Block& tangent2)
{
    PaddedVector moved;
    transformed(bone.linear, p.x[l], p.y[l], p.z[l], moved);
    for (int r = 0; r < kPaddedRows; ++r) moved[r] = moved[r] + bone.translation[r];
    setLane(p, l, moved);
    transformLane(bone.linear, tangent1, l);
    transformLane(bone.linear, tangent2, l);
}

// Moves the vertex in lane l by two or more weighted bones: the position by the weighted sum of the moved positions,
// the tangents by the weighted sum of the linear parts.
SINEW_KERNEL void moveByBlend(BoneColumns const* bones, Influences const& influences, std::size_t l, Block& p,
                              Block& tangent1, Block& tangent2)
{
    double const x = p.x[l];
    double const y = p.y[l];
    double const z = p.z[l];
    BoneColumns const& first = bones[influences[0].first];
    double const weight = influences[0].second;
    PaddedVector moved;
    PaddedVector position;
    PaddedColumns blended;
    transformed(first.linear, x, y, z, moved);
    for (int r = 0; r < kPaddedRows; ++r) {
        // The sum of positions starts from zero, which turns -0.0 into 0.0; the sum of matrices starts from its first
        // term.
        position[r] = 0.0 + (moved[r] + first.translation[r]) * weight;
        for (int j = 0; j < 3; ++j) blended[j][r] = first.linear[j][r] * weight;
    }
    for (std::size_t k = 1; k < influences.size(); ++k) {
        BoneColumns const& bone = bones[influences[k].first];
        double const w = influences[k].second;
        transformed(bone.linear, x, y, z, moved);
        for (int r = 0; r < kPaddedRows; ++r) {
            position[r] = position[r] + (moved[r] + bone.translation[r]) * w;
            for (int j = 0; j < 3; ++j) blended[j][r] = blended[j][r] + bone.linear[j][r] * w;
        }
    }
    setLane(p, l, position);
    transformLane(blended, tangent1, l);
    transformLane(blended, tangent2, l);
}

// The bones of the figure.
struct Bones
{
    BoneColumns const* first;
    std::size_t count;
};

// Moves the vertex in lane l by influences that name bones, if there are any. A single influence moves it fully,
// whatever its weight.
SINEW_KERNEL void moveByValid(Bones const& bones, Influences const& influences, std::size_t l, Block& p,
                              Block& tangent1, Block& tangent2)
{
    if (influences.empty()) return;
    if (influences.size() == 1) {
        moveByOne(bones.first[influences[0].first], l, p, tangent1, tangent2);
    } else {
        moveByBlend(bones.first, influences, l, p, tangent1, tangent2);
    }
}

// Moves the vertex in lane l by those of its influences that name bones. A function of its own, because it is hardly
// ever called: it would only make the loop longer.
void moveByBonesThatExist(Bones const& bones, Influences const& influences, std::size_t l, Block& p, Block& tangent1,
                          Block& tangent2)
{
    moveByValid(bones, sinew::detail::influencesOfBones(influences, bones.count), l, p, tangent1, tangent2);
}

SINEW_KERNEL void moveByBones(Bones const& bones, Influences const& influences, std::size_t l, Block& p,
                              Block& tangent1, Block& tangent2)
{
    if (sinew::detail::allNameBones(influences, bones.count)) {
        moveByValid(bones, influences, l, p, tangent1, tangent2);
    } else {
        moveByBonesThatExist(bones, influences, l, p, tangent1, tangent2);
    }
}

// Deforms all vertices, `kBlock` at a time.
struct DeformKernel
{
    DeformationInput const& input;
    Bones bones;
    Vector3* positions;
    UVector3* normals;

    template <VectorWidth>
    SINEW_KERNEL void run() const
    {
        for (std::size_t start = 0; start < input.count; start += kBlock) {
            deformBlock(start, std::min(kBlock, input.count - start));
        }
    }

private:
    SINEW_KERNEL void deformBlock(std::size_t start, std::size_t lanes) const
    {
        Block p;
        Block n;
        load(input.positions + start, lanes, p);
        load(input.normals + start, lanes, n);
        place(input.placement, input.placement.translation, p);
        place(input.placement, Vector3(), n);
        makeUnit(n);
        if (input.weights) {
            Block tangent1;
            Block tangent2;
            bases(n, tangent1, tangent2);
            Influences const* const lists = input.weights->influences.data() + start;
            for (std::size_t l = 0; l < lanes; ++l) moveByBones(bones, lists[l], l, p, tangent1, tangent2);
            crossProducts(tangent1, tangent2, n);
            makeUnit(n);
        }
        for (std::size_t l = 0; l < lanes; ++l) {
            positions[start + l] = Vector3(p.x[l], p.y[l], p.z[l]);
            static_cast<Vector3&>(normals[start + l]) = Vector3(n.x[l], n.y[l], n.z[l]);
        }
    }
};

} // namespace

std::vector<std::pair<int, double>>
sinew::detail::influencesOfBones(std::vector<std::pair<int, double>> const& influences, std::size_t boneCount)
{
    std::vector<std::pair<int, double>> valid;
    valid.reserve(influences.size());
    std::copy_if(influences.begin(), influences.end(), std::back_inserter(valid), [boneCount](auto const& influence) {
        return static_cast<std::size_t>(influence.first) < boneCount; // a negative index becomes a large number
    });
    return valid;
}

void sinew::detail::deformVertices(DeformationInput const& input, Vector3* positions, UVector3* normals,
                                   VectorWidth width)
{
    assert(width <= widestVectors());
    assert(!input.weights || input.weights->influences.size() >= input.count);
    std::vector<BoneColumns> bones;
    bones.reserve(input.bones.size());
    for (BoneTransform const& bone : input.bones) bones.push_back(columnsOf(bone));
    dispatch(width, DeformKernel{input, {bones.data(), bones.size()}, positions, normals});
}
