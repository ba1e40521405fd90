#pragma once

/// The arrays of `sinew::skin`: reads and writes the numbers of the host in blocks of vertices, whatever their types
/// and places are. Not installed.
///
/// Almost all of this is a part of the kernels: a call of a function for the baseline between wide vectors costs more
/// than its few instructions.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include <sinew/core/strided.h>
#include <sinew/skinning/detail/vertex_block.h>
#include <sinew/skinning/skin.h>

namespace sinew::detail {

/// A block gathers up to this many influences of a vertex; longer lists are read in place.
inline constexpr std::size_t kGathered = 16;
/// The index of no bone.
inline constexpr std::uint32_t kNoBone = 0xffffffffu;

// ---- numbers of the host, at any address ----

template <typename T>
SINEW_KERNEL T numberAt(char const* address)
{
    T number;
    std::memcpy(&number, address, sizeof number);
    return number;
}

template <typename Array>
SINEW_KERNEL auto bytesOfElement(Array const& array, std::size_t i)
{
    using Byte = std::conditional_t<std::is_const_v<std::remove_pointer_t<decltype(array.data)>>, char const, char>;
    return static_cast<Byte*>(array.data) + static_cast<std::ptrdiff_t>(i) * array.stride;
}

/// Calls visit(T()) with the type of the numbers.
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

/// An integer as an index. A negative one becomes a number beyond every array.
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
inline double realAt(RealArray const& array, char const* address)
{
    return withType(array, [address](auto type) { return static_cast<double>(numberAt<decltype(type)>(address)); });
}

/// Copies the vectors from element `start` on into the block; the lanes beyond `lanes` become zero.
SINEW_KERNEL void load(RealArray const& source, std::size_t start, std::size_t lanes, VertexBlock& block)
{
    if (lanes < kVertexBlock) block = {};
    withType(source, [&](auto type) {
        using T = decltype(type);
        char const* const first = bytesOfElement(source, start);
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
    char* const first = bytesOfElement(target, start);
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

/// The influences of one vertex in the arrays of the host.
struct List
{
    char const* bones;
    char const* weights;
    std::size_t size;
};

/// The arrays of influences, and the distances of the influences of one vertex in bytes.
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
        if (given.layout != VertexInfluences::Layout::fixed) return;
        boneStep = static_cast<std::ptrdiff_t>(given.bones.size);
        weightStep = given.weights.isDouble ? sizeof(double) : sizeof(float);
    }

    SINEW_KERNEL List listOf(std::size_t vertex) const
    {
        if (given.layout == VertexInfluences::Layout::fixed) return listFrom(vertex, given.perVertex);
        std::uint64_t const begin = integerAt(given.offsets, bytesOfElement(given.offsets, vertex));
        std::uint64_t const end = integerAt(given.offsets, bytesOfElement(given.offsets, vertex + 1));
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
        return {bytesOfElement(given.bones, element), bytesOfElement(given.weights, element), size};
    }
};

/// The influences of a block of vertices.
struct GatheredLists
{
    List lists[kVertexBlock];
    std::uint32_t bones[kVertexBlock][kGathered];
    double weights[kVertexBlock][kGathered];
    std::size_t sizes[kVertexBlock]; // above kGathered: the influences are not gathered
};

/// Leaves out the influences that name no bone.
inline void removeOthers(GatheredLists& lists, std::size_t l)
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

/// Calls convert(k, number) for the numbers of a list. `isDense`: they are consecutive, as in every fixed layout. Four
/// of them, the usual number, get a loop of their own, which the compiler unrolls.
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

/// Whether all indices name bones.
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

/// One loop over the whole block for each array, because the type of its numbers is then tested only once.
SINEW_KERNEL void gather(InfluenceArrays const& arrays, std::uint64_t boneCount, std::size_t start, std::size_t lanes,
                         GatheredLists& out)
{
    for (std::size_t l = 0; l < lanes; ++l) {
        out.lists[l] = arrays.listOf(start + l);
        out.sizes[l] = out.lists[l].size;
    }
    bool const isDense = arrays.given.layout == VertexInfluences::Layout::fixed;
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

} // namespace sinew::detail
