// Linear blend skinning in blocks of vertices.
//
// Sources: N. Magnenat-Thalmann, R. Laperrière, D. Thalmann, Joint-dependent local deformations for hand animation and
// object grasping, Graphics Interface 1988, for the weighted sum over the bones; K. Turkowski, Properties of
// surface-normal transformations, Graphics Gems, 1990, for normals as cross products of transformed tangents.

#include <sinew/skinning/detail/surface_deformer.h>

#include <algorithm>
#include <cassert>
#include <iterator>
#include <utility>

#include <sinew/skinning/detail/vertex_block.h>

namespace {

using sinew::detail::BlendSums;
using sinew::detail::BoneColumns;
using sinew::detail::DeformationInput;
using sinew::detail::kVertexBlock;
using sinew::detail::moveLane;
using sinew::detail::setLane;
using sinew::detail::turnLane;
using sinew::detail::VectorWidth;
using sinew::detail::VertexBlock;
using Influences = std::vector<std::pair<int, double>>;

// Copies `lanes` vectors into the block; the other lanes become zero.
template <typename Vector>
SINEW_KERNEL void load(Vector const* source, std::size_t lanes, VertexBlock& block)
{
    block = {};
    for (std::size_t l = 0; l < lanes; ++l) {
        block.x[l] = source[l].x;
        block.y[l] = source[l].y;
        block.z[l] = source[l].z;
    }
}

// Moves the vertex in lane l by a bone at full weight.
template <VectorWidth width>
SINEW_KERNEL void moveByOne(BoneColumns const& bone, std::size_t l, VertexBlock& p, VertexBlock& tangent1,
                            VertexBlock& tangent2)
{
    moveLane<width>(bone, p, l);
    turnLane<width>(bone, tangent1, l);
    turnLane<width>(bone, tangent2, l);
}

// Moves the vertex in lane l by two or more weighted bones: the position by the weighted sum of the moved positions,
// the tangents by the weighted sum of the linear parts.
template <VectorWidth width>
SINEW_KERNEL void moveByBlend(BoneColumns const* bones, Influences const& influences, std::size_t l, VertexBlock& p,
                              VertexBlock& tangent1, VertexBlock& tangent2)
{
    double const x = p.x[l];
    double const y = p.y[l];
    double const z = p.z[l];
    BlendSums<width, true> sums;
    sums.start(bones[influences[0].first], influences[0].second, x, y, z);
    for (std::size_t k = 1; k < influences.size(); ++k) {
        sums.add(bones[influences[k].first], influences[k].second, x, y, z);
    }
    setLane<width>(p, l, sums.position);
    sums.turn(tangent1, l);
    sums.turn(tangent2, l);
}

// The bones of the figure.
struct Bones
{
    BoneColumns const* first;
    std::size_t count;
};

// Moves the vertex in lane l by influences that name bones, if there are any. A single influence moves it fully,
// whatever its weight.
template <VectorWidth width>
SINEW_KERNEL void moveByValid(Bones const& bones, Influences const& influences, std::size_t l, VertexBlock& p,
                              VertexBlock& tangent1, VertexBlock& tangent2)
{
    if (influences.empty()) return;
    if (influences.size() == 1) {
        moveByOne<width>(bones.first[influences[0].first], l, p, tangent1, tangent2);
    } else {
        moveByBlend<width>(bones.first, influences, l, p, tangent1, tangent2);
    }
}

// Moves the vertex in lane l by those of its influences that name bones. A function of its own, because it is hardly
// ever called: it would only make the loop longer.
void moveByBonesThatExist(Bones const& bones, Influences const& influences, std::size_t l, VertexBlock& p,
                          VertexBlock& tangent1, VertexBlock& tangent2)
{
    moveByValid<VectorWidth::baseline>(bones, sinew::detail::influencesOfBones(influences, bones.count), l, p, tangent1,
                                       tangent2);
}

template <VectorWidth width>
SINEW_KERNEL void moveByBones(Bones const& bones, Influences const& influences, std::size_t l, VertexBlock& p,
                              VertexBlock& tangent1, VertexBlock& tangent2)
{
    if (sinew::detail::allNameBones(influences, bones.count)) {
        moveByValid<width>(bones, influences, l, p, tangent1, tangent2);
    } else {
        moveByBonesThatExist(bones, influences, l, p, tangent1, tangent2);
    }
}

// Deforms all vertices, `kVertexBlock` at a time.
struct DeformKernel
{
    DeformationInput const& input;
    Bones bones;
    Vector3* positions;
    UVector3* normals;

    template <VectorWidth width>
    SINEW_KERNEL void run() const
    {
        for (std::size_t start = 0; start < input.count; start += kVertexBlock) {
            deformBlock<width>(start, std::min(kVertexBlock, input.count - start));
        }
    }

private:
    template <VectorWidth width>
    SINEW_KERNEL void deformBlock(std::size_t start, std::size_t lanes) const
    {
        VertexBlock p;
        VertexBlock n;
        load(input.positions + start, lanes, p);
        load(input.normals + start, lanes, n);
        place(input.placement, input.placement.translation, p);
        place(input.placement, Vector3(), n);
        makeUnit(n);
        if (input.weights) {
            VertexBlock tangent1;
            VertexBlock tangent2;
            bases(n, tangent1, tangent2);
            Influences const* const lists = input.weights->influences.data() + start;
            for (std::size_t l = 0; l < lanes; ++l) moveByBones<width>(bones, lists[l], l, p, tangent1, tangent2);
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
