#pragma once

/// Splits long arrays into parts, to tell the progress between them. Not installed.

#include <algorithm>
#include <cstddef>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/core/strided.h>

namespace sinew::detail {

/// The elements of an array from `first` on, `count` of them.
inline RealArray partOf(RealArray array, std::size_t first, std::size_t count)
{
    array.data = static_cast<char const*>(array.data) + static_cast<std::ptrdiff_t>(first) * array.stride;
    array.count = count;
    return array;
}

/// Calls run(part, first) for consecutive parts of an array, which begin at element `first` and have `partSize`
/// elements, except the last one. Tells the progress before each.
template <typename Run>
void forPartsWithProgress(RealArray const& array, std::size_t partSize, ProgressMeter& meter, Run const& run)
{
    for (std::size_t first = 0; first < array.count; first += partSize) {
        meter.reached(fractionOf(first, array.count));
        run(partOf(array, first, std::min(partSize, array.count - first)), first);
    }
}

} // namespace sinew::detail
