#pragma once

/// Reads vectors from the arrays of a host. Not installed.

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

} // namespace sinew::detail
