#pragma once

/// Reads vectors from the arrays of a host. Not installed.

#include <algorithm>
#include <cstddef>
#include <cstring>

#include <sinew/core/strided.h>
#include <sinew/core/vector3.h>

namespace sinew::detail {

/// The three numbers of element `i`, whatever their type and alignment are.
inline Vector3 vectorAt(RealArray const& array, std::size_t i)
{
    char const* const element = static_cast<char const*>(array.data) + static_cast<std::ptrdiff_t>(i) * array.stride;
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
