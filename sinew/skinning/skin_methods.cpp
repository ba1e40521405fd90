// The functions of skin.h: linear blend skinning of raw arrays in blocks of vertices, and the choice of the method. The
// other method is detail/dual_quaternion_blend.cpp. A unit of its own, because skin.h is a part of what the methods
// share.
//
// Sources: N. Magnenat-Thalmann, R. Laperrière, D. Thalmann, Joint-dependent local deformations for hand animation and
// object grasping, Graphics Interface 1988, for the weighted sum over the bones; K. Turkowski, Properties of
// surface-normal transformations, Graphics Gems, 1990, for normals as cross products of transformed tangents.

#include <sinew/skinning/skin.h>

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <vector>

#include <sinew/detail/element_count.h>
#include <sinew/skinning/detail/dual_quaternion_blend.h>
#include <sinew/skinning/detail/raw_influences.h>
#include <sinew/skinning/detail/raw_skinning.h>
#include <sinew/skinning/detail/skin_kernel.h>
#include <sinew/skinning/detail/vertex_block.h>

namespace sinew {

namespace {

using detail::BlendSums;
using detail::BoneColumns;
using detail::InfluenceArrays;
using detail::List;
using detail::moveByOne;
using detail::Moving;
using detail::setLane;
using detail::VectorWidth;
using detail::VertexBlock;

using Layout = VertexInfluences::Layout;

template <VectorWidth width, bool withNormals>
SINEW_KERNEL void moveBySums(BlendSums<width, withNormals> const& sums, std::size_t l, Moving& block)
{
    setLane<width>(block.p, l, sums.position);
    if constexpr (withNormals) {
        sums.turn(block.tangent1, l);
        sums.turn(block.tangent2, l);
    }
}

// Weighted sums of positions and of linear parts.
struct LinearBlend
{
    BoneColumns const* bones;
    std::uint64_t count; // below kNoBone

    SINEW_KERNEL std::uint64_t boneCount() const { return count; }

    template <VectorWidth width, bool withNormals>
    SINEW_KERNEL void moveByList(std::uint32_t const* indices, double const* weights, std::size_t size, std::size_t l,
                                 Moving& block) const
    {
        if (size == 0) return;
        if (size == 1) return moveByOne<width, withNormals>(bones[indices[0]], l, block);
        double const x = block.p.x[l];
        double const y = block.p.y[l];
        double const z = block.p.z[l];
        BlendSums<width, withNormals> sums;
        sums.start(bones[indices[0]], weights[0], x, y, z);
        for (std::size_t k = 1; k < size; ++k) sums.add(bones[indices[k]], weights[k], x, y, z);
        moveBySums<width>(sums, l, block);
    }

    // A function of its own, not a part of the kernel, because it is hardly ever called.
    template <bool withNormals>
    void moveByLongList(InfluenceArrays const& arrays, List const& list, std::size_t l, Moving& block) const
    {
        double const x = block.p.x[l];
        double const y = block.p.y[l];
        double const z = block.p.z[l];
        constexpr VectorWidth kWidth = VectorWidth::baseline;
        BlendSums<kWidth, withNormals> sums;
        BoneColumns const* first = nullptr;
        double firstWeight = 0.0;
        bool hasFirst = false;
        bool isBlend = false;
        for (std::size_t k = 0; k < list.size; ++k) {
            std::uint64_t const index = arrays.bone(list, k);
            if (index >= count) continue;
            BoneColumns const& bone = bones[index];
            double const weight = arrays.weight(list, k);
            if (!hasFirst) {
                hasFirst = true;
                first = &bone;
                firstWeight = weight;
                continue;
            }
            if (!isBlend) sums.start(*first, firstWeight, x, y, z);
            isBlend = true;
            sums.add(bone, weight, x, y, z);
        }
        if (isBlend) {
            moveBySums<kWidth>(sums, l, block);
        } else if (hasFirst) {
            moveByOne<kWidth, withNormals>(*first, l, block);
        }
    }

    SINEW_KERNEL void normals(Moving const& block, VertexBlock& n) const
    {
        crossProducts(block.tangent1, block.tangent2, n);
        makeUnit(n);
    }
};

// The number of vertices that all arrays have.
std::size_t commonCount(SkinInput const& input, SkinOutput const& output, bool withNormals)
{
    std::size_t count = std::min(input.positions.count, output.positions.count);
    if (withNormals) count = std::min({count, input.normals.count, output.normals.count});
    VertexInfluences const& influences = input.influences;
    if (influences.layout == Layout::fixed && influences.perVertex > 0)
        return std::min({count, influences.bones.count, influences.weights.count});
    if (influences.layout != Layout::lists) return count;
    return std::min(count, influences.offsets.count > 0 ? influences.offsets.count - 1 : 0);
}

} // namespace

std::size_t detail::skin(SkinInput const& input, SkinOutput const& output, VectorWidth width)
{
    assert(width <= widestVectors());
    bool const withNormals = input.normals.data && output.normals.data;
    std::size_t const count = commonCount(input, output, withNormals);
    if (count == 0) return 0;
    std::vector<BoneColumns> bones(
        detail::elementCount<BoneColumns>(std::min<std::size_t>(input.boneCount, detail::kNoBone - 1)));
    std::transform(input.bones, input.bones + bones.size(), bones.begin(), detail::columnsOf);
    if (input.method == SkinMethod::dualQuaternion) {
        detail::skinByDualQuaternions(bones, input, output, count, width);
    } else {
        detail::skinBy(LinearBlend{bones.data(), bones.size()}, input, output, count, width);
    }
    return count;
}

std::size_t skin(SkinInput const& input, SkinOutput const& output)
{
    return detail::skin(input, output, detail::widestVectors());
}

void bonesFromMatrices(RealArray const& matrices, MatrixOrder order, BoneTransform* bones)
{
    std::size_t const alongRow = order == MatrixOrder::rows ? 1 : 4;
    std::size_t const alongColumn = order == MatrixOrder::rows ? 4 : 1;
    std::size_t const size = matrices.isDouble ? sizeof(double) : sizeof(float);
    for (std::size_t b = 0; b < matrices.count; ++b) {
        char const* const matrix = detail::bytesOfElement(matrices, b);
        for (std::size_t i = 0; i < 3; ++i) {
            auto const entry = [&](std::size_t j) {
                return detail::realAt(matrices, matrix + (i * alongColumn + j * alongRow) * size);
            };
            int const row = static_cast<int>(i);
            for (int j = 0; j < 3; ++j) bones[b].linear(row, j) = entry(static_cast<std::size_t>(j));
            bones[b].translation[row] = entry(3);
        }
    }
}

} // namespace sinew
