#pragma once

/// The vector widths at which a test can run the kernels.

#include <vector>

#include <sinew/detail/dispatch.h>

namespace test {

/// All widths that this processor and this build support, the baseline first.
inline std::vector<sinew::detail::VectorWidth> vectorWidths()
{
    using sinew::detail::VectorWidth;
    std::vector<VectorWidth> widths = {VectorWidth::baseline, VectorWidth::avx2, VectorWidth::avx512};
    while (widths.back() > sinew::detail::widestVectors()) widths.pop_back();
    return widths;
}

} // namespace test
