#pragma once

/// Reads numbers and vectors from the arrays of a host. Not installed.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include <sinew/core/strided.h>
#include <sinew/core/vector3.h>
#include <sinew/framework/vect2.h>

namespace sinew::detail {

/// The number at any address, which need not be aligned.
template <typename T>
T unaligned(void const* address)
{
    T number;
    std::memcpy(&number, address, sizeof number);
    return number;
}

/// The number of elements. An array without data has none, whatever its count is.
template <typename Array>
std::size_t elementsOf(Array const& array)
{
    return array.data ? array.count : 0;
}

/// The first byte of element `i`.
template <typename Array>
char const* elementAt(Array const& array, std::size_t i)
{
    return static_cast<char const*>(array.data) + static_cast<std::ptrdiff_t>(i) * array.stride;
}

/// The first number of element `i`.
inline double numberAt(RealArray const& array, std::size_t i)
{
    char const* const element = elementAt(array, i);
    return array.isDouble ? unaligned<double>(element) : double{unaligned<float>(element)};
}

/// Number `component` of element `i`. An unsigned number above 2^63 - 1 gives 2^63 - 1.
inline std::int64_t integerAt(IntegerArray const& array, std::size_t i, std::size_t component = 0)
{
    char const* const number = elementAt(array, i) + component * array.size;
    switch (array.size) {
    case 1:
        return array.isSigned ? std::int64_t{unaligned<std::int8_t>(number)} : unaligned<std::uint8_t>(number);
    case 2:
        return array.isSigned ? std::int64_t{unaligned<std::int16_t>(number)} : unaligned<std::uint16_t>(number);
    case 4:
        return array.isSigned ? std::int64_t{unaligned<std::int32_t>(number)} : unaligned<std::uint32_t>(number);
    default:
        break;
    }
    if (array.isSigned) return unaligned<std::int64_t>(number);
    constexpr std::uint64_t kGreatest = std::numeric_limits<std::int64_t>::max();
    return static_cast<std::int64_t>(std::min(unaligned<std::uint64_t>(number), kGreatest));
}

/// The first two numbers of element `i`.
inline tzNM::vect2<double> pointAt(RealArray const& array, std::size_t i)
{
    char const* const element = elementAt(array, i);
    if (array.isDouble) return {unaligned<double>(element), unaligned<double>(element + sizeof(double))};
    return {double{unaligned<float>(element)}, double{unaligned<float>(element + sizeof(float))}};
}

/// The three numbers of element `i`, whatever their type and alignment are.
inline Vector3 vectorAt(RealArray const& array, std::size_t i)
{
    char const* const element = elementAt(array, i);
    if (array.isDouble) {
        double numbers[3];
        std::memcpy(numbers, element, sizeof numbers);
        return {numbers[0], numbers[1], numbers[2]};
    }
    float numbers[3];
    std::memcpy(numbers, element, sizeof numbers);
    return {static_cast<double>(numbers[0]), static_cast<double>(numbers[1]), static_cast<double>(numbers[2])};
}

/// Calls visit(vectors, first, count) for parts of the array in order: `vectors` points to the elements from `first`
/// on, as doubles. All parts but the last one have `kPartOfArray` elements.
inline constexpr std::size_t kPartOfArray = 64;

template <typename Visit>
void forParts(RealArray const& array, Visit const& visit)
{
    Vector3 part[kPartOfArray];
    for (std::size_t first = 0; first < array.count; first += kPartOfArray) {
        std::size_t const count = std::min(kPartOfArray, array.count - first);
        for (std::size_t i = 0; i < count; ++i) part[i] = vectorAt(array, first + i);
        visit(static_cast<Vector3 const*>(part), first, count);
    }
}

} // namespace sinew::detail
