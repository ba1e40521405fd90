// Linear blend skinning of raw arrays in blocks of vertices: a block is gathered into doubles, moved, and stored.
//
// Sources: N. Magnenat-Thalmann, R. Laperrière, D. Thalmann, Joint-dependent local deformations for hand animation and
// object grasping, Graphics Interface 1988, for the weighted sum over the bones; K. Turkowski, Properties of
// surface-normal transformations, Graphics Gems, 1990, for normals as cross products of transformed tangents.

#include <sinew/skinning/skin.h>

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <vector>

#include <sinew/detail/element_count.h>
#include <sinew/skinning/detail/raw_skinning.h>
#include <sinew/skinning/detail/vertex_block.h>

namespace sinew {

namespace {

using detail::BlendSums;
using detail::BoneColumns;
using detail::kVertexBlock;
using detail::moveLane;
using detail::setLane;
using detail::turnLane;
using detail::VectorWidth;
using detail::VertexBlock;

using Layout = VertexInfluences::Layout;

// A block gathers up to this many influences of a vertex; longer lists are read in place.
constexpr std::size_t kGathered = 16;
constexpr std::uint32_t kNoBone = 0xffffffffu;

// ---- numbers of the host, at any address ----
//
// All of this is a part of the kernels: a call of a function for the baseline between wide vectors costs more than its
// few instructions.

template <typename T>
SINEW_KERNEL T numberAt(char const* address)
{
    T number;
    std::memcpy(&number, address, sizeof number);
    return number;
}

template <typename Array>
SINEW_KERNEL auto elementAt(Array const& array, std::size_t i)
{
    using Byte = std::conditional_t<std::is_const_v<std::remove_pointer_t<decltype(array.data)>>, char const, char>;
    return static_cast<Byte*>(array.data) + static_cast<std::ptrdiff_t>(i) * array.stride;
}

// Calls visit(T()) with the type of the numbers.
// NOLINTBEGIN(bugprone-branch-clone): the branches differ in the type
template <typename Visit>
SINEW_KERNEL auto withType(RealArray const& array, Visit const& visit)
{
    return array.isDouble ? visit(double()) : visit(float());
}
template <typename Visit>
SINEW_KERNEL auto withType(IntegerArray const& array, Visit const& visit)
{
    switch (array.size) {
    case 1:
        return array.isSigned ? visit(std::int8_t()) : visit(std::uint8_t());
    case 2:
        return array.isSigned ? visit(std::int16_t()) : visit(std::uint16_t());
    case 4:
        return array.isSigned ? visit(std::int32_t()) : visit(std::uint32_t());
    default:
        return array.isSigned ? visit(std::int64_t()) : visit(std::uint64_t());
    }
}
// NOLINTEND(bugprone-branch-clone)

// An integer as an index. A negative one becomes a number beyond every array.
template <typename T>
SINEW_KERNEL std::uint64_t asNumber(T number)
{
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(number));
}
SINEW_KERNEL std::uint64_t asNumber(std::uint64_t number)
{
    return number;
}

SINEW_KERNEL std::uint64_t integerAt(IntegerArray const& array, char const* address)
{
    return withType(array, [address](auto type) { return asNumber(numberAt<decltype(type)>(address)); });
}
double realAt(RealArray const& array, char const* address)
{
    return withType(array, [address](auto type) { return static_cast<double>(numberAt<decltype(type)>(address)); });
}

// Copies the vectors from element `start` on into the block; the lanes beyond `lanes` become zero.
SINEW_KERNEL void load(RealArray const& source, std::size_t start, std::size_t lanes, VertexBlock& block)
{
    if (lanes < kVertexBlock) block = {};
    withType(source, [&](auto type) {
        using T = decltype(type);
        char const* const first = elementAt(source, start);
        std::ptrdiff_t const stride =
            source.stride; // a copy: the compiler cannot know that the stores do not change it
        for (std::size_t l = 0; l < lanes; ++l) {
            char const* const element = first + static_cast<std::ptrdiff_t>(l) * stride;
            block.x[l] = static_cast<double>(numberAt<T>(element));
            block.y[l] = static_cast<double>(numberAt<T>(element + sizeof(T)));
            block.z[l] = static_cast<double>(numberAt<T>(element + 2 * sizeof(T)));
        }
    });
}

template <typename T>
SINEW_KERNEL void storeAs(RealOutput const& target, std::size_t start, std::size_t lanes, VertexBlock const& block)
{
    char* const first = elementAt(target, start);
    std::ptrdiff_t const stride = target.stride;
    for (std::size_t l = 0; l < lanes; ++l) {
        T const v[3] = {static_cast<T>(block.x[l]), static_cast<T>(block.y[l]), static_cast<T>(block.z[l])};
        std::memcpy(first + static_cast<std::ptrdiff_t>(l) * stride, v, sizeof v);
    }
}

SINEW_KERNEL void store(RealOutput const& target, std::size_t start, std::size_t lanes, VertexBlock const& block)
{
    if (target.isDouble) {
        storeAs<double>(target, start, lanes, block);
    } else {
        storeAs<float>(target, start, lanes, block);
    }
}

// ---- influences ----

// The influences of one vertex in the arrays of the host.
struct List
{
    char const* bones;
    char const* weights;
    std::size_t size;
};

// The arrays of influences, and the distances of the influences of one vertex in bytes.
struct InfluenceArrays
{
    VertexInfluences const& given;
    std::ptrdiff_t boneStep;
    std::ptrdiff_t weightStep;
    std::size_t count; // influences in the arrays; for lists

    explicit InfluenceArrays(VertexInfluences const& influences)
        : given(influences), boneStep(influences.bones.stride), weightStep(influences.weights.stride),
          count(std::min(influences.bones.count, influences.weights.count))
    {
        if (given.layout != Layout::fixed) return;
        boneStep = static_cast<std::ptrdiff_t>(given.bones.size);
        weightStep = given.weights.isDouble ? sizeof(double) : sizeof(float);
    }

    SINEW_KERNEL List listOf(std::size_t vertex) const
    {
        if (given.layout == Layout::fixed) return listFrom(vertex, given.perVertex);
        std::uint64_t const begin = integerAt(given.offsets, elementAt(given.offsets, vertex));
        std::uint64_t const end = integerAt(given.offsets, elementAt(given.offsets, vertex + 1));
        std::size_t const first = static_cast<std::size_t>(std::min<std::uint64_t>(begin, count));
        std::size_t const last = static_cast<std::size_t>(std::min<std::uint64_t>(end, count));
        return listFrom(first, last > first ? last - first : 0);
    }

    std::uint64_t bone(List const& list, std::size_t k) const
    {
        return integerAt(given.bones, list.bones + static_cast<std::ptrdiff_t>(k) * boneStep);
    }
    double weight(List const& list, std::size_t k) const
    {
        return realAt(given.weights, list.weights + static_cast<std::ptrdiff_t>(k) * weightStep);
    }

private:
    SINEW_KERNEL List listFrom(std::size_t element, std::size_t size) const
    {
        if (size == 0) return {nullptr, nullptr, 0}; // the arrays may be null
        return {elementAt(given.bones, element), elementAt(given.weights, element), size};
    }
};

// The influences of a block of vertices.
struct GatheredLists
{
    List lists[kVertexBlock];
    std::uint32_t bones[kVertexBlock][kGathered];
    double weights[kVertexBlock][kGathered];
    std::size_t sizes[kVertexBlock]; // above kGathered: the influences are not gathered
};

// Leaves out the influences that name no bone.
void removeOthers(GatheredLists& lists, std::size_t l)
{
    std::size_t kept = 0;
    for (std::size_t k = 0; k < lists.sizes[l]; ++k) {
        if (lists.bones[l][k] == kNoBone) continue;
        lists.bones[l][kept] = lists.bones[l][k];
        lists.weights[l][kept] = lists.weights[l][k];
        ++kept;
    }
    lists.sizes[l] = kept;
}

// Calls convert(k, number) for the numbers of a list. `isDense`: they are consecutive, as in every fixed layout. Four
// of them, the usual number, get a loop of their own, which the compiler unrolls.
template <typename T, bool isDense, typename Convert>
SINEW_KERNEL void forNumbers(char const* first, std::ptrdiff_t given, std::size_t size, Convert const& convert)
{
    std::ptrdiff_t const step = isDense ? static_cast<std::ptrdiff_t>(sizeof(T)) : given;
    if (isDense && size == 4) {
        for (std::size_t k = 0; k < 4; ++k) convert(k, numberAt<T>(first + static_cast<std::ptrdiff_t>(k) * step));
        return;
    }
    for (std::size_t k = 0; k < size; ++k) convert(k, numberAt<T>(first + static_cast<std::ptrdiff_t>(k) * step));
}

// Whether all indices name bones.
template <typename T, bool isDense>
SINEW_KERNEL bool gatherBones(std::ptrdiff_t step, std::uint64_t boneCount, std::size_t lanes, GatheredLists& out)
{
    bool all = true;
    for (std::size_t l = 0; l < lanes; ++l) {
        if (out.sizes[l] > kGathered) continue;
        std::uint32_t* const bones = out.bones[l];
        forNumbers<T, isDense>(out.lists[l].bones, step, out.sizes[l], [&](std::size_t k, T number) {
            std::uint64_t const bone = asNumber(number);
            bones[k] = bone < boneCount ? static_cast<std::uint32_t>(bone) : kNoBone;
            all = all & (bone < boneCount);
        });
    }
    return all;
}

template <typename T, bool isDense>
SINEW_KERNEL void gatherWeights(std::ptrdiff_t step, std::size_t lanes, GatheredLists& out)
{
    for (std::size_t l = 0; l < lanes; ++l) {
        if (out.sizes[l] > kGathered) continue;
        double* const weights = out.weights[l];
        forNumbers<T, isDense>(out.lists[l].weights, step, out.sizes[l],
                               [weights](std::size_t k, T number) { weights[k] = static_cast<double>(number); });
    }
}

// One loop over the whole block for each array, because the type of its numbers is then tested only once.
SINEW_KERNEL void gather(InfluenceArrays const& arrays, std::uint64_t boneCount, std::size_t start, std::size_t lanes,
                         GatheredLists& out)
{
    for (std::size_t l = 0; l < lanes; ++l) {
        out.lists[l] = arrays.listOf(start + l);
        out.sizes[l] = out.lists[l].size;
    }
    bool const isDense = arrays.given.layout == Layout::fixed;
    bool const allExist = withType(arrays.given.bones, [&](auto type) {
        using T = decltype(type);
        return isDense ? gatherBones<T, true>(arrays.boneStep, boneCount, lanes, out)
                       : gatherBones<T, false>(arrays.boneStep, boneCount, lanes, out);
    });
    withType(arrays.given.weights, [&](auto type) {
        using T = decltype(type);
        return isDense ? gatherWeights<T, true>(arrays.weightStep, lanes, out)
                       : gatherWeights<T, false>(arrays.weightStep, lanes, out);
    });
    if (allExist) return;
    for (std::size_t l = 0; l < lanes; ++l) {
        if (out.sizes[l] <= kGathered) removeOthers(out, l);
    }
}

// ---- moving ----

struct Bones
{
    BoneColumns const* first;
    std::uint64_t count; // below kNoBone
};

// Position and tangents of the vertices of a block.
struct Moving
{
    VertexBlock p;
    VertexBlock tangent1;
    VertexBlock tangent2;
};

template <VectorWidth width, bool withNormals>
SINEW_KERNEL void moveByOne(BoneColumns const& bone, std::size_t l, Moving& block)
{
    moveLane<width>(bone, block.p, l);
    if constexpr (withNormals) {
        turnLane<width>(bone, block.tangent1, l);
        turnLane<width>(bone, block.tangent2, l);
    }
}

template <VectorWidth width, bool withNormals>
SINEW_KERNEL void moveBySums(BlendSums<width, withNormals> const& sums, std::size_t l, Moving& block)
{
    setLane<width>(block.p, l, sums.position);
    if constexpr (withNormals) {
        sums.turn(block.tangent1, l);
        sums.turn(block.tangent2, l);
    }
}

// Moves the vertex in lane l by `size` influences that name bones.
template <VectorWidth width, bool withNormals>
SINEW_KERNEL void moveByList(BoneColumns const* bones, std::uint32_t const* indices, double const* weights,
                             std::size_t size, std::size_t l, Moving& block)
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

// The same for a list that is not gathered, and whose influences need not name bones.
template <bool withNormals>
void moveByLongList(Bones const& bones, InfluenceArrays const& arrays, List const& list, std::size_t l, Moving& block)
{
    double const x = block.p.x[l];
    double const y = block.p.y[l];
    double const z = block.p.z[l];
    constexpr VectorWidth kWidth = VectorWidth::baseline; // this function is not a part of the kernel
    BlendSums<kWidth, withNormals> sums;
    BoneColumns const* first = nullptr;
    double firstWeight = 0.0;
    bool isBlend = false;
    for (std::size_t k = 0; k < list.size; ++k) {
        std::uint64_t const index = arrays.bone(list, k);
        if (index >= bones.count) continue;
        BoneColumns const& bone = bones.first[index];
        double const weight = arrays.weight(list, k);
        if (!first) {
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
    } else if (first) {
        moveByOne<kWidth, withNormals>(*first, l, block);
    }
}

// Moves all vertices, `kVertexBlock` at a time.
template <bool withNormals>
struct SkinKernel
{
    SkinInput const& input;
    SkinOutput const& output;
    InfluenceArrays const& influences;
    Bones bones;
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
        bool const isMoved = input.influences.layout != Layout::none;
        load(input.positions, start, lanes, block.p);
        if constexpr (withNormals) load(input.normals, start, lanes, n);
        if (isMoved) gather(influences, bones.count, start, lanes, lists);
        place(input.placement, input.placement.translation, block.p);
        if constexpr (withNormals) {
            place(input.placement, Vector3(), n);
            makeUnit(n);
        }
        if (isMoved) {
            if constexpr (withNormals) bases(n, block.tangent1, block.tangent2);
            for (std::size_t l = 0; l < lanes; ++l) {
                if (lists.sizes[l] <= kGathered) {
                    moveByList<width, withNormals>(bones.first, lists.bones[l], lists.weights[l], lists.sizes[l], l,
                                                   block);
                } else {
                    moveByLongList<withNormals>(bones, influences, lists.lists[l], l, block);
                }
            }
            if constexpr (withNormals) {
                crossProducts(block.tangent1, block.tangent2, n);
                makeUnit(n);
            }
        }
        store(output.positions, start, lanes, block.p);
        if constexpr (withNormals) store(output.normals, start, lanes, n);
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
        detail::elementCount<BoneColumns>(std::min<std::size_t>(input.boneCount, kNoBone - 1)));
    std::transform(input.bones, input.bones + bones.size(), bones.begin(), columnsOf);
    InfluenceArrays const influences(input.influences);
    if (withNormals) {
        dispatch(width, SkinKernel<true>{input, output, influences, {bones.data(), bones.size()}, count});
    } else {
        dispatch(width, SkinKernel<false>{input, output, influences, {bones.data(), bones.size()}, count});
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
        char const* const matrix = elementAt(matrices, b);
        for (std::size_t i = 0; i < 3; ++i) {
            auto const entry = [&](std::size_t j) {
                return realAt(matrices, matrix + (i * alongColumn + j * alongRow) * size);
            };
            int const row = static_cast<int>(i);
            for (int j = 0; j < 3; ++j) bones[b].linear(row, j) = entry(static_cast<std::size_t>(j));
            bones[b].translation[row] = entry(3);
        }
    }
}

} // namespace sinew
