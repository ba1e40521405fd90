#pragma once

/// The loop of `sinew::skin` over blocks of vertices: a block is gathered into doubles, moved, and stored. The methods
/// of blending share it. Not installed.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include <sinew/detail/dispatch.h>
#include <sinew/skinning/detail/raw_influences.h>
#include <sinew/skinning/detail/vertex_block.h>
#include <sinew/skinning/skin.h>

namespace sinew::detail {

/// Position and tangents of the vertices of a block.
struct Moving
{
    VertexBlock p;
    VertexBlock tangent1;
    VertexBlock tangent2;
};

/// Moves the vertex in lane l by a bone at full weight.
template <VectorWidth width, bool withNormals>
SINEW_KERNEL void moveByOne(BoneColumns const& bone, std::size_t l, Moving& block)
{
    moveLane<width>(bone, block.p, l);
    if constexpr (withNormals) {
        turnLane<width>(bone, block.tangent1, l);
        turnLane<width>(bone, block.tangent2, l);
    }
}

/// Moves all vertices, `kVertexBlock` at a time.
///
/// A `Blend` is a method of blending. It has
/// - boneCount(), which is below kNoBone;
/// - moveByList<width, withNormals>(indices, weights, size, l, block), which moves the vertex in lane l by influences
///   that name bones;
/// - moveByLongList<withNormals>(arrays, list, l, block), the same for a list that is not gathered, and whose
/// influences
///   need not name bones;
/// - normals(block, n), which makes unit normals of the moved tangents.
template <bool withNormals, typename Blend>
struct SkinKernel
{
    SkinInput const& input;
    SkinOutput const& output;
    InfluenceArrays const& influences;
    Blend const& blend;
    std::size_t count;

    template <VectorWidth width>
    SINEW_KERNEL void run() const
    {
        GatheredLists lists;
        for (std::size_t start = 0; start < count; start += kVertexBlock) {
            moveBlock<width>(start, std::min(kVertexBlock, count - start), lists);
        }
    }

private:
    template <VectorWidth width>
    SINEW_KERNEL void moveBlock(std::size_t start, std::size_t lanes, GatheredLists& lists) const
    {
        Moving block;
        VertexBlock n;
        // First all loads, then all computations: a vector that is read right after its elements were stored one by one
        // waits for them.
        bool const isMoved = input.influences.layout != VertexInfluences::Layout::none;
        load(input.positions, start, lanes, block.p);
        if constexpr (withNormals) load(input.normals, start, lanes, n);
        if (isMoved) gather(influences, blend.boneCount(), start, lanes, lists);
        place(input.placement, input.placement.translation, block.p);
        if constexpr (withNormals) {
            place(input.placement, Vector3(), n);
            makeUnit(n);
        }
        if (isMoved) {
            if constexpr (withNormals) bases(n, block.tangent1, block.tangent2);
            for (std::size_t l = 0; l < lanes; ++l) {
                if (lists.sizes[l] <= kGathered) {
                    blend.template moveByList<width, withNormals>(lists.bones[l], lists.weights[l], lists.sizes[l], l,
                                                                  block);
                } else {
                    blend.template moveByLongList<withNormals>(influences, lists.lists[l], l, block);
                }
            }
            if constexpr (withNormals) blend.normals(block, n);
        }
        store(output.positions, start, lanes, block.p);
        if constexpr (withNormals) store(output.normals, start, lanes, n);
    }
};

/// Runs the kernel of a method at a vector width.
template <typename Blend>
void skinBy(Blend const& blend, SkinInput const& input, SkinOutput const& output, std::size_t count, VectorWidth width)
{
    InfluenceArrays const influences(input.influences);
    if (input.normals.data && output.normals.data) {
        dispatch(width, SkinKernel<true, Blend>{input, output, influences, blend, count});
    } else {
        dispatch(width, SkinKernel<false, Blend>{input, output, influences, blend, count});
    }
}

} // namespace sinew::detail
